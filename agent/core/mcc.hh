// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the mobile country code (MCC) and country code of a signed-in account.
#pragma once

#include <string>

#include "accounts.hh"
#include "result.hh"
#include "users.hh"

namespace vagent {

struct MccInfo {
  std::string login_id;
  std::string mcc;
  std::string country_code;
};

class Mcc {
 public:
  Mcc(Users &users, Accounts &accounts) : users_(users), accounts_(accounts) {}

  // The MCC of the network the device is on now (the platform's device settings), else, when the
  // device is on none, the account's own. INVALID_PARAMETER, UNKNOWN_USER, NEED_SIGNIN.
  Result<MccInfo> current(const std::string &login_id);
  // Three digits, else INVALID_PARAMETER.
  Status set(const std::string &login_id, const std::string &mcc);

 private:
  Users &users_;
  Accounts &accounts_;
};

}  // namespace vagent
