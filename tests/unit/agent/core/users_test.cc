// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the agent's users and their passwords.
#include <glib.h>
#include <gtest/gtest.h>

#include <string>

#include "agent_state_fixture.hh"

using agent_test::AgentTest;
namespace errc = vagent::errc;

namespace {

// Every byte of every file in the agent's state directory (database, WAL, shared memory).
std::string state_bytes(const std::string &root) {
  std::string all;
  const std::string dir = root + "/agent";
  GDir *d = g_dir_open(dir.c_str(), 0, nullptr);
  if (!d) return all;
  while (const gchar *name = g_dir_read_name(d)) {
    gchar *data = nullptr;
    gsize len = 0;
    if (g_file_get_contents((dir + "/" + name).c_str(), &data, &len, nullptr))
      all.append(data, len);
    g_free(data);
  }
  g_dir_close(d);
  return all;
}

vagent::NewUser new_user(const std::string &login, const std::string &password) {
  vagent::NewUser u;
  u.login_id = login;
  u.password = password;
  return u;
}

}  // namespace

class Users : public AgentTest {};

TEST_F(Users, PasswordIsNeverStoredInPlainText) {
  const std::string password = "Plain-Text-Canary-7781";
  seed("alice@velmora.dev", password);
  ASSERT_TRUE(state().confirm_user("alice@velmora.dev", password).ok());
  const std::string bytes = state_bytes(root_.path());
  ASSERT_NE(bytes.find("alice@velmora.dev"), std::string::npos);  // the files were read
  EXPECT_EQ(bytes.find(password), std::string::npos);
}

TEST_F(Users, ClientSecretIsNeverStoredInPlainText) {
  const std::string secret = client("app.one", true, {"profile.read"});
  ASSERT_EQ(secret.size(), 43u);
  const std::string bytes = state_bytes(root_.path());
  ASSERT_NE(bytes.find("app.one"), std::string::npos);
  EXPECT_EQ(bytes.find(secret), std::string::npos);
}

TEST_F(Users, VerifyPasswordTellsGoodFromBadAndUnknown) {
  seed("alice@velmora.dev", "right", false);
  EXPECT_TRUE(state().users().verify_password("alice@velmora.dev", "right").ok());
  EXPECT_EQ(state().users().verify_password("alice@velmora.dev", "wrong").code,
            errc::kWrongPassword);
  EXPECT_EQ(state().users().verify_password("alice@velmora.dev", "").code, errc::kWrongPassword);
  EXPECT_EQ(state().users().verify_password("nobody@velmora.dev", "right").code,
            errc::kUnknownUser);
}

TEST_F(Users, CreateFillsDefaultsAndAGeneratedUserId) {
  vagent::User u = seed("alice@velmora.dev", "pw", false);
  EXPECT_EQ(u.user_id.size(), 16u);
  EXPECT_EQ(u.user_id.find_first_not_of("0123456789abcdef"), std::string::npos);
  EXPECT_EQ(u.mcc, "310");
  EXPECT_EQ(u.country_code, "US");
  EXPECT_EQ(u.api_server_url, "https://api.velmora.dev");
  EXPECT_EQ(u.auth_server_url, "https://auth.velmora.dev");
  EXPECT_EQ(u.created_at, agent_test::kStartTime);
  vagent::User other = seed("bob@velmora.dev", "pw", false);
  EXPECT_NE(other.user_id, u.user_id);
}

TEST_F(Users, FindByLoginIdAndByUserId) {
  vagent::NewUser nu = new_user("alice@velmora.dev", "pw");
  nu.user_id = "guid-alice";
  nu.mcc = "450";
  nu.country_code = "KR";
  ASSERT_TRUE(state().users().create(nu).ok());
  auto by_login = state().users().find("alice@velmora.dev");
  ASSERT_TRUE(by_login.ok());
  EXPECT_EQ(by_login->user_id, "guid-alice");
  EXPECT_EQ(by_login->mcc, "450");
  EXPECT_EQ(by_login->country_code, "KR");
  auto by_guid = state().users().find_by_user_id("guid-alice");
  ASSERT_TRUE(by_guid.ok());
  EXPECT_EQ(by_guid->login_id, "alice@velmora.dev");
  EXPECT_EQ(state().users().find("nobody").code(), errc::kUnknownUser);
  EXPECT_EQ(state().users().find_by_user_id("guid-nobody").code(), errc::kUnknownUser);
}

TEST_F(Users, ExistingLoginIdOrUserIdIsUserExists) {
  vagent::NewUser nu = new_user("alice@velmora.dev", "pw");
  nu.user_id = "guid-1";
  ASSERT_TRUE(state().users().create(nu).ok());
  EXPECT_EQ(state().users().create(new_user("alice@velmora.dev", "other")).code(),
            errc::kUserExists);
  vagent::NewUser same_guid = new_user("bob@velmora.dev", "pw");
  same_guid.user_id = "guid-1";
  EXPECT_EQ(state().users().create(same_guid).code(), errc::kUserExists);
  // The first user's password still holds.
  EXPECT_TRUE(state().users().verify_password("alice@velmora.dev", "pw").ok());
}

TEST_F(Users, InvalidFieldsAreInvalidParameter) {
  EXPECT_EQ(state().users().create(new_user("", "pw")).code(), errc::kInvalidParameter);
  EXPECT_EQ(state().users().create(new_user("has space", "pw")).code(), errc::kInvalidParameter);
  EXPECT_EQ(state().users().create(new_user(std::string(256, 'a'), "pw")).code(),
            errc::kInvalidParameter);
  EXPECT_EQ(state().users().create(new_user("alice", "")).code(), errc::kInvalidParameter);
  vagent::NewUser bad_mcc = new_user("alice", "pw");
  bad_mcc.mcc = "31";
  EXPECT_EQ(state().users().create(bad_mcc).code(), errc::kInvalidParameter);
  auto list = state().users().list();
  ASSERT_TRUE(list.ok());
  EXPECT_TRUE(list->empty());
}
