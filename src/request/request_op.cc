// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the exported operation URIs of app-control requests.
#include "va_constants.h"
#include "velmora_account_request_op.h"

#define AGENT_OP(path) AGENT_OPERATION_PREFIX path
#define PLATFORM_OP(path) PLATFORM_OPERATION_PREFIX path

extern "C" {

VELMORA_API const char *const REQUEST_OP_ACCOUNT_LINKING =
    AGENT_OP("/appcontrol/operation/getaccountlinkingstatus");
VELMORA_API const char *const REQUEST_OP_2FACTOR_SMS =
    AGENT_OP("/appcontrol/operation/requestsmsauthentication");
VELMORA_API const char *const REQUEST_OP_GETACCOUNT_FROM_GUID =
    PLATFORM_OP("/appcontrol/operation/getaccountfromguid");
VELMORA_API const char *const REQUEST_OP_TNC_UPDATE =
    PLATFORM_OP("/appcontrol/operation/updatetnc");
VELMORA_API const char *const REQUEST_OP_CURRENT_MCC =
    PLATFORM_OP("/appcontrol/operation/getcurrentmcc");
VELMORA_API const char *const REQUEST_OP_CONFIRMUSER =
    PLATFORM_OP("/appcontrol/operation/confirmuser");
VELMORA_API const char *const REQUEST_OP_GETAUTHCODE_EFFORTLESS =
    PLATFORM_OP("/appcontrol/operation/getauthcodeforeffortlesslogin");
VELMORA_API const char *const REQUEST_OP_GETAUTHCODE =
    PLATFORM_OP("/appcontrol/operation/getauthcode");
VELMORA_API const char *const REQUEST_OP_GETACCESSTOKEN =
    PLATFORM_OP("/appcontrol/operation/getaccesstoken");
VELMORA_API const char *const REQUEST_OP_GETLASTACCESSTOKEN =
    PLATFORM_OP("/appcontrol/operation/getlastaccesstoken");
VELMORA_API const char *const REQUEST_OP_GETDEFAULTACCOUNT =
    PLATFORM_OP("/appcontrol/operation/getdefaultaccount");
VELMORA_API const char *const REQUEST_OP_SETDEFAULTACCOUNT =
    PLATFORM_OP("/appcontrol/operation/setdefaultaccount");
VELMORA_API const char *const REQUEST_OP_SIGNINWITHAUTHCODE =
    PLATFORM_OP("/appcontrol/operation/signinwithauthcode");
VELMORA_API const char *const REQUEST_OP_SIGNOUT = PLATFORM_OP("/appcontrol/operation/signout");
VELMORA_API const char *const REQUEST_OP_SIGNIN = PLATFORM_OP("/appcontrol/operation/signin");
VELMORA_API const char *const REQUEST_OP_IS_SIGNEDINLIST =
    PLATFORM_OP("/appcontrol/operation/getaccounts");
VELMORA_API const char *const REQUEST_OP_IS_SIGNEDIN =
    PLATFORM_OP("/appcontrol/operation/issignin");
VELMORA_API const char *const REQUEST_OP_CONFIRMUSER_POPUP = AGENT_OP("/internal/confirmuser");
VELMORA_API const char *const REQUEST_OP_SIGNIN_POPUP = AGENT_OP("/internal/signin");
VELMORA_API const char *const REQUEST_OP_COMPANION_ACCOUNT_EXIST =
    AGENT_OP("/appcontrol/operation/companion_accountexist");
VELMORA_API const char *const REQUEST_OP_COMPANION_SIGNIN =
    AGENT_OP("/appcontrol/operation/companion_signin");
VELMORA_API const char *const REQUEST_OP_PLACE_GET =
    PLATFORM_OP("/appcontrol/operation/getuserplacelist");
VELMORA_API const char *const REQUEST_OP_PROFILE_UNSUBSCRIBE =
    PLATFORM_OP("/appcontrol/operation/unregisteruserprofilenotification");
VELMORA_API const char *const REQUEST_OP_PROFILE_SUBSCRIBE =
    PLATFORM_OP("/appcontrol/operation/registeruserprofilenotification");
VELMORA_API const char *const REQUEST_OP_PROFILE_UPDATE =
    PLATFORM_OP("/appcontrol/operation/updateuserprofile");
VELMORA_API const char *const REQUEST_OP_PROFILE_GET =
    PLATFORM_OP("/appcontrol/operation/getuserprofile");

}  // extern "C"
