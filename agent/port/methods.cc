// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the table of the AccountSvc methods the agent serves.
//
// Synchronous methods answer in their result. Methods with a reply delegate answer in the pushed
// callback: tokens, codes, the MCC, terms consents, the account of a user id, the linking
// status, the saved places and profiles come from the agent core.
#include "port/methods.hh"

#include "port/answers.hh"

namespace vagent::nidl {

namespace {

using K = ArgKind;

}  // namespace

const std::vector<Method> &methods() {
  static const std::vector<Method> table = {
      {2, "GetDefaultAccount", {}, OutKind::kString, get_default_account},
      {3, "SetDefaultAccount", {K::kString}, OutKind::kNone, set_default_account},
      {4, "IsSignedIn", {K::kString}, OutKind::kBool, is_signed_in},
      {5, "GetAccountList", {}, OutKind::kStringList, get_account_list},
      {6, "GetLastAccessToken", {K::kAccount}, OutKind::kAccount, get_last_access_token},
      {7, "RequestAccessToken", {K::kAccount, K::kDelegate}, OutKind::kNone, request_access_token},
      {8, "RequestAuthcode", {K::kAccount, K::kDelegate}, OutKind::kNone, request_authcode},
      {9,
       "RequestAuthcodeEffortless",
       {K::kAccount, K::kDelegate},
       OutKind::kNone,
       request_authcode_effortless},
      {10, "RequestPlaceInfo", {K::kAccount, K::kDelegate}, OutKind::kNone, request_place_info},
      {11,
       "RequestProfileInfo",
       {K::kAccount, K::kString, K::kDelegate},
       OutKind::kNone,
       request_profile_info},
      {12,
       "UpdateProfileInfo",
       {K::kAccount, K::kInt, K::kProfile, K::kDelegate},
       OutKind::kNone,
       update_profile_info},
      {13,
       "UpdatePrivacyInfo",
       {K::kAccount, K::kPrivacy, K::kDelegate},
       OutKind::kNone,
       update_privacy_info},
      {14, "CommonAccount", {K::kAccount, K::kInt, K::kDelegate}, OutKind::kNone, common_account},
      {15,
       "CommonProfile",
       {K::kAccount, K::kInt, K::kString, K::kDelegate},
       OutKind::kNone,
       common_profile},
  };
  return table;
}

const Method *find_method(int id) {
  for (const Method &m : methods())
    if (m.id == id) return &m;
  return nullptr;
}

Answer error_answer(const Method &method, int code) {
  if (method.has_delegate()) return pushed(code);
  Answer a;
  a.result = code;
  return a;
}

}  // namespace vagent::nidl
