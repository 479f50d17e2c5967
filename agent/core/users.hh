// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the users the agent knows (login id, user id, password hash, country, MCC, server
// URLs, terms consents).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "clock.hh"
#include "result.hh"
#include "schema.hh"
#include "state_db.hh"

namespace vagent {

struct User {
  std::string login_id;
  std::string user_id;  // the account's GUID
  std::string country_code;
  std::string mcc;
  std::string api_server_url;
  std::string auth_server_url;
  int tnc = 0;  // terms consents bitmask (see consents.hh)
  int64_t created_at = 0;
};

struct NewUser {
  std::string login_id;
  std::string password;
  std::string user_id;       // generated when empty
  std::string country_code;  // defaults of config.hh when empty
  std::string mcc;
  std::string api_server_url;
  std::string auth_server_url;
};

const SchemaArea &users_schema();

// The columns a User is read from, in order, each after `prefix` ("" or "u." for a join).
#define VAGENT_USER_COLUMNS(prefix)                                                    \
  prefix "login_id, " prefix "user_id, " prefix "country_code, " prefix "mcc, " prefix \
         "api_server_url, " prefix "auth_server_url, " prefix "tnc, " prefix "created_at"
inline constexpr int kUserColumnCount = 8;
// A User from a row that starts with VAGENT_USER_COLUMNS.
User read_user(const Query &q);

class Users {
 public:
  Users(StateDb &db, const Clock &clock) : db_(db), clock_(clock) {}

  // Stores a new user; the password only as its Argon2id hash (password_hash.hh).
  // INVALID_PARAMETER for a bad login id, empty password or malformed MCC; USER_EXISTS for a login
  // id (or user id) in use.
  Result<User> create(const NewUser &user);
  // UNKNOWN_USER when there is none.
  Result<User> find(const std::string &login_id);
  Result<User> find_by_user_id(const std::string &user_id);
  // Ok when the password matches; UNKNOWN_USER, WRONG_PASSWORD otherwise. An unknown login id
  // costs the same hashing time as a known one. A match against a hash of an earlier scheme
  // replaces it with an Argon2id hash.
  Status verify_password(const std::string &login_id, const std::string &password);
  Status set_mcc(const std::string &login_id, const std::string &mcc);
  Status set_tnc(const std::string &login_id, int tnc);
  Result<std::vector<User>> list();

  // Login ids: 1..255 bytes of printable characters without blanks. MCCs: three digits.
  static bool valid_login_id(const std::string &login_id);
  static bool valid_mcc(const std::string &mcc);

 private:
  Result<User> find_where(const Statement &statement, const std::string &key);
  StateDb &db_;
  const Clock &clock_;
};

}  // namespace vagent
