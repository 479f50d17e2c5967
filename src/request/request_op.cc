// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the exported operation URIs of app-control requests.
#include "va_constants.h"
#include "velmora_account_request_op.h"

#define AGENT_OP(path) AGENT_OPERATION_PREFIX path
#define PLATFORM_OP(path) PLATFORM_OPERATION_PREFIX path

// Exported through their declarations in the public header (which carry VELMORA_API).
extern "C" {

const char *const REQUEST_OP_ACCOUNT_LINKING =
    AGENT_OP("/appcontrol/operation/getaccountlinkingstatus");
const char *const REQUEST_OP_2FACTOR_SMS =
    AGENT_OP("/appcontrol/operation/requestsmsauthentication");
const char *const REQUEST_OP_GETACCOUNT_FROM_GUID =
    PLATFORM_OP("/appcontrol/operation/getaccountfromguid");
const char *const REQUEST_OP_TNC_UPDATE = PLATFORM_OP("/appcontrol/operation/updatetnc");
const char *const REQUEST_OP_CURRENT_MCC = PLATFORM_OP("/appcontrol/operation/getcurrentmcc");
const char *const REQUEST_OP_CONFIRMUSER = PLATFORM_OP("/appcontrol/operation/confirmuser");
const char *const REQUEST_OP_GETAUTHCODE_EFFORTLESS =
    PLATFORM_OP("/appcontrol/operation/getauthcodeforeffortlesslogin");
const char *const REQUEST_OP_GETAUTHCODE = PLATFORM_OP("/appcontrol/operation/getauthcode");
const char *const REQUEST_OP_GETACCESSTOKEN = PLATFORM_OP("/appcontrol/operation/getaccesstoken");
const char *const REQUEST_OP_GETLASTACCESSTOKEN =
    PLATFORM_OP("/appcontrol/operation/getlastaccesstoken");
const char *const REQUEST_OP_GETDEFAULTACCOUNT =
    PLATFORM_OP("/appcontrol/operation/getdefaultaccount");
const char *const REQUEST_OP_SETDEFAULTACCOUNT =
    PLATFORM_OP("/appcontrol/operation/setdefaultaccount");
const char *const REQUEST_OP_SIGNINWITHAUTHCODE =
    PLATFORM_OP("/appcontrol/operation/signinwithauthcode");
const char *const REQUEST_OP_SIGNOUT = PLATFORM_OP("/appcontrol/operation/signout");
const char *const REQUEST_OP_SIGNIN = PLATFORM_OP("/appcontrol/operation/signin");
const char *const REQUEST_OP_IS_SIGNEDINLIST = PLATFORM_OP("/appcontrol/operation/getaccounts");
const char *const REQUEST_OP_IS_SIGNEDIN = PLATFORM_OP("/appcontrol/operation/issignin");
const char *const REQUEST_OP_CONFIRMUSER_POPUP = AGENT_OP("/internal/confirmuser");
const char *const REQUEST_OP_SIGNIN_POPUP = AGENT_OP("/internal/signin");
const char *const REQUEST_OP_COMPANION_ACCOUNT_EXIST =
    AGENT_OP("/appcontrol/operation/companion_accountexist");
const char *const REQUEST_OP_COMPANION_SIGNIN = AGENT_OP("/appcontrol/operation/companion_signin");
const char *const REQUEST_OP_PLACE_GET = PLATFORM_OP("/appcontrol/operation/getuserplacelist");
const char *const REQUEST_OP_PROFILE_UNSUBSCRIBE =
    PLATFORM_OP("/appcontrol/operation/unregisteruserprofilenotification");
const char *const REQUEST_OP_PROFILE_SUBSCRIBE =
    PLATFORM_OP("/appcontrol/operation/registeruserprofilenotification");
const char *const REQUEST_OP_PROFILE_UPDATE =
    PLATFORM_OP("/appcontrol/operation/updateuserprofile");
const char *const REQUEST_OP_PROFILE_GET = PLATFORM_OP("/appcontrol/operation/getuserprofile");

}  // extern "C"
