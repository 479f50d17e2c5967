// Velmora agent: users and their passwords.
#include "users.hh"

#include <cctype>

#include "config.hh"
#include "password_hash.hh"
#include "secure_random.hh"

namespace vagent {

namespace {

constexpr const char *kColumns =
    "login_id, user_id, country_code, mcc, api_server_url, auth_server_url, tnc, created_at";

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

std::string or_default(const std::string &value, const char *fallback) {
  return value.empty() ? fallback : value;
}

// A hash that matches no password, verified for unknown login ids so that they take as long as
// known ones.
const std::string &decoy_hash() {
  static const std::string hash = hash_secret(random_hex(16));
  return hash;
}

}  // namespace

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

  const std::string hash = hash_secret(in.password);
  Query q(db_,
          "INSERT INTO users(login_id, user_id, password_hash, country_code, mcc, api_server_url,"
          " auth_server_url, tnc, created_at) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, 0, ?8)");
  q.bind(1, u.login_id).bind(2, u.user_id).bind(3, hash).bind(4, u.country_code).bind(5, u.mcc);
  q.bind(6, u.api_server_url).bind(7, u.auth_server_url).bind(8, u.created_at);
  int rc = q.step();
  if (rc == SQLITE_CONSTRAINT_PRIMARYKEY || rc == SQLITE_CONSTRAINT_UNIQUE)
    return Status::fail(errc::kUserExists, "login id or user id in use: " + u.login_id);
  if (rc != SQLITE_DONE) return db_.failure(rc, "insert user");
  return u;
}

Result<User> Users::find_where(const char *sql, const std::string &key) {
  Query q(db_, sql);
  q.bind(1, key);
  Status st;
  if (q.next(&st)) return read_user(q);
  if (!st.ok()) return st;
  return Status::fail(errc::kUnknownUser, "no such user: " + key);
}

Result<User> Users::find(const std::string &login_id) {
  static const std::string sql =
      std::string("SELECT ") + kColumns + " FROM users WHERE login_id = ?1";
  return find_where(sql.c_str(), login_id);
}

Result<User> Users::find_by_user_id(const std::string &user_id) {
  static const std::string sql =
      std::string("SELECT ") + kColumns + " FROM users WHERE user_id = ?1";
  return find_where(sql.c_str(), user_id);
}

Status Users::verify_password(const std::string &login_id, const std::string &password) {
  std::string hash;
  {
    Query q(db_, "SELECT password_hash FROM users WHERE login_id = ?1");
    q.bind(1, login_id);
    Status st;
    if (q.next(&st)) hash = q.text(0);
    if (!st.ok()) return st;
  }
  if (hash.empty()) {
    (void)verify_secret(password, decoy_hash());
    return Status::fail(errc::kUnknownUser, "no such user: " + login_id);
  }
  if (!verify_secret(password, hash))
    return Status::fail(errc::kWrongPassword, "wrong password for " + login_id);
  return Status::success();
}

Status Users::set_mcc(const std::string &login_id, const std::string &mcc) {
  if (!valid_mcc(mcc)) return Status::fail(errc::kInvalidParameter, "MCC must be three digits");
  Query q(db_, "UPDATE users SET mcc = ?2 WHERE login_id = ?1");
  q.bind(1, login_id).bind(2, mcc);
  Status st = q.run();
  if (st.ok() && q.changes() == 0)
    return Status::fail(errc::kUnknownUser, "no such user: " + login_id);
  return st;
}

Status Users::set_tnc(const std::string &login_id, int tnc) {
  Query q(db_, "UPDATE users SET tnc = ?2 WHERE login_id = ?1");
  q.bind(1, login_id).bind(2, static_cast<int64_t>(tnc));
  Status st = q.run();
  if (st.ok() && q.changes() == 0)
    return Status::fail(errc::kUnknownUser, "no such user: " + login_id);
  return st;
}

Result<std::vector<User>> Users::list() {
  static const std::string sql =
      std::string("SELECT ") + kColumns + " FROM users ORDER BY created_at, login_id";
  Query q(db_, sql.c_str());
  std::vector<User> users;
  Status st;
  while (q.next(&st)) users.push_back(read_user(q));
  if (!st.ok()) return st;
  return users;
}

}  // namespace vagent
