// SPDX-License-Identifier: Apache-2.0
// Velmora agent: MCC of an account.
#include "mcc.hh"

#include "device.hh"

namespace vagent {

Result<MccInfo> Mcc::current(const std::string &login_id) {
  Result<User> user = accounts_.signed_in_user(login_id);
  if (!user.ok()) return user.status();
  const std::string device = device_mcc();
  return MccInfo{user->login_id, device.empty() ? user->mcc : device, user->country_code};
}

Status Mcc::set(const std::string &login_id, const std::string &mcc) {
  Status st = accounts_.require_signed_in(login_id);
  if (!st.ok()) return st;
  return users_.set_mcc(login_id, mcc);
}

}  // namespace vagent
