// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the exported operation URIs of app-control requests.
#include <gtest/gtest.h>

#include <string>

#include "velmora_account_request_op.h"

TEST(RequestOperation, AgentOperationsUseTheAgentPrefix) {
  const char *agent = "http://dev.velmora.account";
  EXPECT_EQ(std::string(REQUEST_OP_ACCOUNT_LINKING),
            std::string(agent) + "/appcontrol/operation/getaccountlinkingstatus");
  EXPECT_EQ(std::string(REQUEST_OP_2FACTOR_SMS),
            std::string(agent) + "/appcontrol/operation/requestsmsauthentication");
  EXPECT_EQ(std::string(REQUEST_OP_CONFIRMUSER_POPUP),
            std::string(agent) + "/internal/confirmuser");
  EXPECT_EQ(std::string(REQUEST_OP_SIGNIN_POPUP), std::string(agent) + "/internal/signin");
  EXPECT_EQ(std::string(REQUEST_OP_COMPANION_ACCOUNT_EXIST),
            std::string(agent) + "/appcontrol/operation/companion_accountexist");
  EXPECT_EQ(std::string(REQUEST_OP_COMPANION_SIGNIN),
            std::string(agent) + "/appcontrol/operation/companion_signin");
}

TEST(RequestOperation, PlatformOperationsUseThePlatformPrefix) {
  const std::string p = "http://velmora.dev/appcontrol/operation/";
  EXPECT_EQ(REQUEST_OP_GETACCOUNT_FROM_GUID, p + "getaccountfromguid");
  EXPECT_EQ(REQUEST_OP_TNC_UPDATE, p + "updatetnc");
  EXPECT_EQ(REQUEST_OP_CURRENT_MCC, p + "getcurrentmcc");
  EXPECT_EQ(REQUEST_OP_CONFIRMUSER, p + "confirmuser");
  EXPECT_EQ(REQUEST_OP_GETAUTHCODE_EFFORTLESS, p + "getauthcodeforeffortlesslogin");
  EXPECT_EQ(REQUEST_OP_GETAUTHCODE, p + "getauthcode");
  EXPECT_EQ(REQUEST_OP_GETACCESSTOKEN, p + "getaccesstoken");
  EXPECT_EQ(REQUEST_OP_GETLASTACCESSTOKEN, p + "getlastaccesstoken");
  EXPECT_EQ(REQUEST_OP_GETDEFAULTACCOUNT, p + "getdefaultaccount");
  EXPECT_EQ(REQUEST_OP_SETDEFAULTACCOUNT, p + "setdefaultaccount");
  EXPECT_EQ(REQUEST_OP_SIGNINWITHAUTHCODE, p + "signinwithauthcode");
  EXPECT_EQ(REQUEST_OP_SIGNOUT, p + "signout");
  EXPECT_EQ(REQUEST_OP_SIGNIN, p + "signin");
  EXPECT_EQ(REQUEST_OP_IS_SIGNEDINLIST, p + "getaccounts");
  EXPECT_EQ(REQUEST_OP_IS_SIGNEDIN, p + "issignin");
  EXPECT_EQ(REQUEST_OP_PLACE_GET, p + "getuserplacelist");
  EXPECT_EQ(REQUEST_OP_PROFILE_UNSUBSCRIBE, p + "unregisteruserprofilenotification");
  EXPECT_EQ(REQUEST_OP_PROFILE_SUBSCRIBE, p + "registeruserprofilenotification");
  EXPECT_EQ(REQUEST_OP_PROFILE_UPDATE, p + "updateuserprofile");
  EXPECT_EQ(REQUEST_OP_PROFILE_GET, p + "getuserprofile");
}
