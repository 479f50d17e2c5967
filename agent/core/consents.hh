// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the terms-and-conditions consents of an account (TNC bitmask).
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "accounts.hh"
#include "clock.hh"
#include "mcc.hh"
#include "result.hh"
#include "schema.hh"
#include "state_db.hh"
#include "users.hh"

namespace vagent {

enum TncBit : int {
  kTncService = 1,              // the account service's own terms (mandatory)
  kTncPersonalInfo = 2,         // personal information (mandatory)
  kTncCustomizedService = 4,    // customized service
  kTncCustomizedServiceAd = 8,  // customized-service advertisement
};
inline constexpr int kTncMandatory = kTncService | kTncPersonalInfo;
inline constexpr int kTncAll = 15;

struct TncBitInfo {
  int bit;
  const char *extra_key;  // the app-control extra that carries it as "Y" / "N"
};
// The four consents in bit order.
const std::vector<TncBitInfo> &tnc_bits();
// The bitmask from "Y"/"N" extras; `lookup` gives a key's value ("" when absent).
int tnc_from_extras(const std::function<std::string(const char *key)> &lookup);

struct TncUpdate {
  std::string login_id;
  std::string mcc;  // three digits
  int tnc = 0;      // bitmask of TncBit
};

// One consent of a user as last recorded: given or withdrawn, and when (unix seconds).
struct ConsentRecord {
  int bit = 0;
  const char *extra_key = "";
  bool given = false;
  int64_t at = 0;
};

// The consents a user has given are kept per user (not per sign-in: they outlive a sign-out), one
// row per consent with the time it was last given or withdrawn.
const SchemaArea &consents_schema();

class Consents {
 public:
  Consents(StateDb &db, Users &users, Accounts &accounts, const Clock &clock)
      : db_(db), users_(users), accounts_(accounts), clock_(clock) {}

  // Records the consents (each with the time of this update when it changed) and the MCC, all in
  // one transaction. INVALID_PARAMETER (login id, MCC, bits outside 1..15), UNKNOWN_USER,
  // NEED_SIGNIN, CONSENT_REQUIRED (bit 1 or 2 missing: nothing is recorded). Answers the
  // account's MCC.
  Result<MccInfo> update(const TncUpdate &update);
  // The bitmask of the consents given. UNKNOWN_USER.
  Result<int> get(const std::string &login_id);
  // Every consent in bit order, as last recorded (never recorded: not given, at 0). UNKNOWN_USER.
  Result<std::vector<ConsentRecord>> records(const std::string &login_id);

 private:
  StateDb &db_;
  Users &users_;
  Accounts &accounts_;
  const Clock &clock_;
};

}  // namespace vagent
