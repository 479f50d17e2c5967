// SPDX-License-Identifier: Apache-2.0
// Velmora agent: single-use authorization codes and effortless-login codes.
//
// A code is 24 random bytes (32 base64url characters), bound to the login id and client id it was
// issued for, valid for 600 s and good for one redemption. The agent keeps only its keyed digest
// (keyed_hash.hh), and remembers a redeemed or expired code for kCodeRetention so that a second
// use is told apart from a code never issued; a new code of the same login id and client prunes
// the older ones past that.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "accounts.hh"
#include "clients.hh"
#include "clock.hh"
#include "keyed_hash.hh"
#include "result.hh"
#include "schema.hh"
#include "state_db.hh"
#include "users.hh"

namespace vagent {

enum class CodeKind { kAuthCode, kEffortless };
const char *code_kind_name(CodeKind kind);  // "authcode", "effortless"

struct CodeRequest {
  std::string login_id;
  std::string client_id;
  std::string scope;               // empty: every scope the client is allowed
  std::string device_unique_code;  // optional, kept with the code
};

struct IssuedCode {
  std::string code;
  CodeKind kind = CodeKind::kAuthCode;
  int64_t issue_time = 0;
  int64_t expires_in = 0;
  std::string scope;
  std::string login_id;
  std::string client_id;
  std::string user_id;
  std::string country_code;
  std::string mcc;
  std::string api_server_url;
  std::string auth_server_url;
};

struct RedeemedCode {
  CodeKind kind = CodeKind::kAuthCode;
  std::string login_id;
  std::string client_id;
  std::string scope;
  std::string device_unique_code;
};

const SchemaArea &codes_schema();

class Codes {
 public:
  Codes(StateDb &db, const KeyedHash &hash, Clients &clients, Accounts &accounts,
        const Clock &clock)
      : db_(db), hash_(hash), clients_(clients), accounts_(accounts), clock_(clock) {}

  // Checks, in order: login id and client id given (INVALID_PARAMETER), the login id signed in
  // (UNKNOWN_USER / NEED_SIGNIN), the client registered (UNKNOWN_CLIENT), the scope
  // (SCOPE_NOT_ALLOWED).
  Result<IssuedCode> issue(CodeKind kind, const CodeRequest &request);
  // The token service's side of signing in with a code: an authorization code for `user`, who
  // need not be signed in on this device, bound to the client (UNKNOWN_CLIENT, SCOPE_NOT_ALLOWED)
  // and to request.device_unique_code, the device security code of the device that will sign in
  // with it (INVALID_PARAMETER when it is empty).
  Result<IssuedCode> issue_for_device(const User &user, const CodeRequest &request);
  // Uses a code up. `client_id` must be the one the code was issued to, unless empty (a code
  // redeemed by the agent itself, as when signing in with it); `login_id` likewise. UNKNOWN_CODE,
  // CODE_ALREADY_USED, CODE_EXPIRED, CODE_CLIENT_MISMATCH, CODE_ACCOUNT_MISMATCH — a mismatch does
  // not use the code up.
  // With `device_code`, the code must have been issued for that device security code
  // (CODE_DEVICE_MISMATCH otherwise, which does not use it up either).
  Result<RedeemedCode> redeem(CodeKind kind, const std::string &code, const std::string &client_id,
                              const std::string &login_id,
                              const std::optional<std::string> &device_code = std::nullopt);
  // Codes issued and not yet used or expired.
  Result<int64_t> pending_count();

 private:
  Result<IssuedCode> store_new(CodeKind kind, const User &user, const Client &client,
                               const std::string &scope, const CodeRequest &request);
  StateDb &db_;
  const KeyedHash &hash_;
  Clients &clients_;
  Accounts &accounts_;
  const Clock &clock_;
};

}  // namespace vagent
