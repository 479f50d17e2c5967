// SPDX-License-Identifier: Apache-2.0
// Velmora agent: what the port's answers are made of, shared by the methods of every area.
#pragma once

#include <string>
#include <utility>

#include "port/methods.hh"

namespace vagent::nidl {

using Setter = int (*)(rpc_port_AccountS_h, const char *);

// Sets a string field when the value is not empty.
inline void put(const Account &a, Setter set, const std::string &value) {
  if (a && !value.empty()) set(a.get(), value.c_str());
}

// The facts of the account that every account reply carries.
template <typename T>
void put_facts(const Account &a, const T &facts) {
  put(a, rpc_port_AccountS_set_LoginId, facts.login_id);
  put(a, rpc_port_AccountS_set_UserId, facts.user_id);
  put(a, rpc_port_AccountS_set_CountryCode, facts.country_code);
  put(a, rpc_port_AccountS_set_Mcc, facts.mcc);
  put(a, rpc_port_AccountS_set_ApiServerUrl, facts.api_server_url);
  put(a, rpc_port_AccountS_set_AuthServerUrl, facts.auth_server_url);
}

// A delegate answer: the callback's result and account.
inline Answer pushed(int result, Account account = nullptr) {
  Answer a;
  a.push_result = result;
  a.push_account = std::move(account);
  return a;
}

}  // namespace vagent::nidl
