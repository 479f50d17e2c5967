// Velmora agent: the terms-and-conditions consents of an account (TNC bitmask).
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "accounts.hh"
#include "mcc.hh"
#include "result.hh"
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

class Consents {
 public:
  Consents(Users &users, Accounts &accounts) : users_(users), accounts_(accounts) {}

  // Records the consents and the MCC. INVALID_PARAMETER (login id, MCC, bits outside 1..15),
  // UNKNOWN_USER, NEED_SIGNIN, CONSENT_REQUIRED (bit 1 or 2 missing). Answers the account's MCC.
  Result<MccInfo> update(const TncUpdate &update);
  Result<int> get(const std::string &login_id);

 private:
  Users &users_;
  Accounts &accounts_;
};

}  // namespace vagent
