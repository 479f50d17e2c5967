// SPDX-License-Identifier: Apache-2.0
// Velmora agent: users and their passwords.
#include "users.hh"

#include <cctype>

#include "config.hh"
#include "dlog.h"
#include "password_hash.hh"
#include "secure_random.hh"

namespace vagent {

namespace {

#define USER_COLUMNS VAGENT_USER_COLUMNS("")

const Statement kInsert{
    "INSERT INTO users(login_id, user_id, password_hash, country_code, mcc, api_server_url,"
    " auth_server_url, tnc, created_at) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, 0, ?8)"};
const Statement kFind{"SELECT " USER_COLUMNS " FROM users WHERE login_id = ?1", Access::kLookup,
                      "PRIMARY KEY"};
const Statement kFindByUserId{"SELECT " USER_COLUMNS " FROM users WHERE user_id = ?1",
                              Access::kLookup, "users_by_user_id"};
const Statement kPasswordHash{"SELECT password_hash FROM users WHERE login_id = ?1",
                              Access::kLookup, "PRIMARY KEY"};
const Statement kSetPasswordHash{"UPDATE users SET password_hash = ?2 WHERE login_id = ?1",
                                 Access::kLookup, "PRIMARY KEY"};
const Statement kSetMcc{"UPDATE users SET mcc = ?2 WHERE login_id = ?1", Access::kLookup,
                        "PRIMARY KEY"};
const Statement kSetTnc{"UPDATE users SET tnc = ?2 WHERE login_id = ?1", Access::kLookup,
                        "PRIMARY KEY"};
const Statement kList{"SELECT " USER_COLUMNS " FROM users ORDER BY created_at, login_id",
                      Access::kListing};

constexpr const char *kLogTag = "VELMORA_AGENT";

std::string or_default(const std::string &value, const char *fallback) {
  return value.empty() ? fallback : value;
}

// A hash that matches no password, verified for unknown login ids so that they take as long as
// known ones.
const std::string &decoy_hash() {
  static const std::string hash = hash_password(random_hex(16)).value_or("");
  return hash;
}

}  // namespace

User read_user(const Query &q) {
  User u;
  u.login_id = q.text(0);
  u.user_id = q.text(1);
  u.country_code = q.text(2);
  u.mcc = q.text(3);
  u.api_server_url = q.text(4);
  u.auth_server_url = q.text(5);
  u.tnc = static_cast<int>(q.integer(6));
  u.created_at = q.integer(7);
  return u;
}

const SchemaArea &users_schema() {
  static const SchemaArea area{
      "users",
      {
          // 1
          "CREATE TABLE users("
          "  login_id TEXT PRIMARY KEY,"
          "  user_id TEXT NOT NULL UNIQUE,"
          "  password_hash TEXT NOT NULL,"
          "  country_code TEXT NOT NULL DEFAULT '',"
          "  mcc TEXT NOT NULL DEFAULT '',"
          "  api_server_url TEXT NOT NULL DEFAULT '',"
          "  auth_server_url TEXT NOT NULL DEFAULT '',"
          "  tnc INTEGER NOT NULL DEFAULT 0,"
          "  created_at INTEGER NOT NULL);",
          // 2: looked up by login id: the table is its key's b-tree (no rowid, no second index).
          "CREATE TABLE users_v2("
          "  login_id TEXT PRIMARY KEY,"
          "  user_id TEXT NOT NULL,"
          "  password_hash TEXT NOT NULL,"
          "  country_code TEXT NOT NULL DEFAULT '',"
          "  mcc TEXT NOT NULL DEFAULT '',"
          "  api_server_url TEXT NOT NULL DEFAULT '',"
          "  auth_server_url TEXT NOT NULL DEFAULT '',"
          "  tnc INTEGER NOT NULL DEFAULT 0,"
          "  created_at INTEGER NOT NULL) WITHOUT ROWID;"
          "INSERT INTO users_v2 SELECT login_id, user_id, password_hash, country_code, mcc,"
          "  api_server_url, auth_server_url, tnc, created_at FROM users;"
          "DROP TABLE users;"
          "ALTER TABLE users_v2 RENAME TO users;"
          "CREATE UNIQUE INDEX users_by_user_id ON users(user_id);",
      },
      {&kInsert, &kFind, &kFindByUserId, &kPasswordHash, &kSetPasswordHash, &kSetMcc, &kSetTnc,
       &kList}};
  return area;
}

bool Users::valid_login_id(const std::string &login_id) {
  if (login_id.empty() || login_id.size() > 255) return false;
  for (unsigned char c : login_id)
    if (c <= 0x20 || c == 0x7f) return false;
  return true;
}

bool Users::valid_mcc(const std::string &mcc) {
  return mcc.size() == 3 && isdigit(static_cast<unsigned char>(mcc[0])) &&
         isdigit(static_cast<unsigned char>(mcc[1])) && isdigit(static_cast<unsigned char>(mcc[2]));
}

Result<User> Users::create(const NewUser &in) {
  if (!valid_login_id(in.login_id))
    return Status::fail(errc::kInvalidParameter, "invalid login id");
  if (in.password.empty()) return Status::fail(errc::kInvalidParameter, "empty password");
  User u;
  u.login_id = in.login_id;
  u.user_id = in.user_id.empty() ? random_hex(kUserIdBytes) : in.user_id;
  u.country_code = or_default(in.country_code, kDefaultCountryCode);
  u.mcc = or_default(in.mcc, kDefaultMcc);
  u.api_server_url = or_default(in.api_server_url, kDefaultApiServerUrl);
  u.auth_server_url = or_default(in.auth_server_url, kDefaultAuthServerUrl);
  u.created_at = clock_.now();
  if (!valid_mcc(u.mcc)) return Status::fail(errc::kInvalidParameter, "MCC must be three digits");
  if (!valid_login_id(u.user_id)) return Status::fail(errc::kInvalidParameter, "invalid user id");

  const std::optional<std::string> hash = hash_password(in.password);
  if (!hash) return Status::fail(errc::kOutOfMemory, "no memory to hash the password");
  Query q(db_, kInsert);
  q.bind(1, u.login_id).bind(2, u.user_id).bind(3, *hash).bind(4, u.country_code).bind(5, u.mcc);
  q.bind(6, u.api_server_url).bind(7, u.auth_server_url).bind(8, u.created_at);
  int rc = q.step();
  if (rc == SQLITE_CONSTRAINT_PRIMARYKEY || rc == SQLITE_CONSTRAINT_UNIQUE)
    return Status::fail(errc::kUserExists, "login id or user id in use: " + u.login_id);
  if (rc != SQLITE_DONE) return db_.failure(rc, "insert user");
  return u;
}

Result<User> Users::find_where(const Statement &statement, const std::string &key) {
  Query q(db_, statement);
  q.bind(1, key);
  Status st;
  if (q.next(&st)) return read_user(q);
  if (!st.ok()) return st;
  return Status::fail(errc::kUnknownUser, "no such user: " + key);
}

Result<User> Users::find(const std::string &login_id) { return find_where(kFind, login_id); }

Result<User> Users::find_by_user_id(const std::string &user_id) {
  return find_where(kFindByUserId, user_id);
}

Status Users::verify_password(const std::string &login_id, const std::string &password) {
  std::string hash;
  {
    Query q(db_, kPasswordHash);
    q.bind(1, login_id);
    Status st;
    if (q.next(&st)) hash = q.text(0);
    if (!st.ok()) return st;
  }
  if (hash.empty()) {
    (void)vagent::verify_password(password, decoy_hash());
    return Status::fail(errc::kUnknownUser, "no such user: " + login_id);
  }
  if (!vagent::verify_password(password, hash))
    return Status::fail(errc::kWrongPassword, "wrong password for " + login_id);
  if (password_needs_rehash(hash)) {
    // The password is known right now: its hash moves to the current scheme. A failure here
    // leaves the old hash, which still verifies; the next sign-in tries again.
    const std::optional<std::string> upgraded = hash_password(password);
    Status st;
    if (upgraded) {
      Query q(db_, kSetPasswordHash);
      q.bind(1, login_id).bind(2, *upgraded);
      st = q.run();
    }
    if (!upgraded || !st.ok())
      dlog_print(DLOG_WARN, kLogTag, "users: the password hash of %s stays in its old scheme",
                 login_id.c_str());
  }
  return Status::success();
}

Status Users::set_mcc(const std::string &login_id, const std::string &mcc) {
  if (!valid_mcc(mcc)) return Status::fail(errc::kInvalidParameter, "MCC must be three digits");
  Query q(db_, kSetMcc);
  q.bind(1, login_id).bind(2, mcc);
  Status st = q.run();
  if (st.ok() && q.changes() == 0)
    return Status::fail(errc::kUnknownUser, "no such user: " + login_id);
  return st;
}

Status Users::set_tnc(const std::string &login_id, int tnc) {
  Query q(db_, kSetTnc);
  q.bind(1, login_id).bind(2, static_cast<int64_t>(tnc));
  Status st = q.run();
  if (st.ok() && q.changes() == 0)
    return Status::fail(errc::kUnknownUser, "no such user: " + login_id);
  return st;
}

Result<std::vector<User>> Users::list() {
  Query q(db_, kList);
  std::vector<User> users;
  Status st;
  while (q.next(&st)) users.push_back(read_user(q));
  if (!st.ok()) return st;
  return users;
}

}  // namespace vagent
