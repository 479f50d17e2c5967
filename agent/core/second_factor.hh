// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the second factor of a sign-in: which users need one, the one-time numbers sent
// to them by SMS, and the devices they trust.
//
// A user enrolled here (with the phone number the SMS goes to) signs in with a password and a
// one-time number. The password step hands out an authenticate token (kept as its keyed digest);
// a request for a number makes kAuthNumberDigits random digits, valid for kAuthNumberLifetime and
// kMaxAuthNumberAttempts tries, and keeps only their salted keyed digest. At most
// kMaxAuthNumbersPerWindow numbers go to a login id within kAuthNumberWindow. A new token or number
// replaces the earlier one; a right number uses both up. A device the user chose to trust skips
// the second factor for kTrustedDeviceLifetime: this state belongs to one device (its platform
// root), so trusting is a mark per login id. Values: config.hh.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "clock.hh"
#include "keyed_hash.hh"
#include "result.hh"
#include "schema.hh"
#include "state_db.hh"

namespace vagent {

const SchemaArea &second_factor_schema();

class SecondFactor {
 public:
  SecondFactor(StateDb &db, const KeyedHash &hash, const Clock &clock)
      : db_(db), hash_(hash), clock_(clock) {}

  // Marks the user as needing a second factor, sent to `phone` (1..32 printable characters).
  // INVALID_PARAMETER, UNKNOWN_USER.
  Status enrol(const std::string &login_id, const std::string &phone);
  // The user signs in with a password alone again; its pending numbers and trust go too.
  Status withdraw(const std::string &login_id);
  // The phone of an enrolled user; nullopt when the user needs no second factor.
  Result<std::optional<std::string>> phone_of(const std::string &login_id);

  // A new authenticate token for the login id (after its password was checked).
  Result<std::string> issue_token(const std::string &login_id);
  // A new one-time number for the login id, to be sent to its phone. TOO_MANY_AUTH_NUMBERS.
  Result<std::string> new_number(const std::string &login_id);
  // Checks the authenticate token (when `token` is given) and the number; a right pair uses both
  // up. NO_AUTH_NUMBER (none requested), WRONG_AUTHENTICATE_TOKEN, AUTH_NUMBER_EXPIRED (expired or
  // no attempts left), WRONG_AUTH_NUMBER (an attempt is used up).
  Status verify(const std::string &login_id, const std::optional<std::string> &token,
                const std::string &number);

  // Lets this device skip the second factor for the login id.
  Status trust_device(const std::string &login_id);
  Result<bool> device_trusted(const std::string &login_id);

  static bool valid_phone(const std::string &phone);

 private:
  struct Challenge {
    std::string token_digest;
    int64_t token_expires_at = 0;
    std::string salt;
    std::string number_digest;
    int64_t number_expires_at = 0;
    int attempts_left = 0;
    int sent = 0;
    int64_t window_start = 0;
  };
  Result<std::optional<Challenge>> read(const std::string &login_id);
  Status store(const std::string &login_id, const Challenge &c);
  Status drop(const std::string &login_id);
  StateDb &db_;
  const KeyedHash &hash_;
  const Clock &clock_;
};

}  // namespace vagent
