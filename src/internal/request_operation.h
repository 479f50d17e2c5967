/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the asynchronous operation, described once as a table row.
 *
 * Every asynchronous operation of the library is one va_operation_s row and a one-line entry point
 * (src/ops/<area>.cc):
 *
 *   const va_operation_s kAccessToken = {.name = "velmora_account_request_access_token", ...};
 *
 *   int velmora_account_request_access_token(velmora_account_h handle,
 *                                            velmora_account_response_cb callback, void *user_data)
 * { return va_operation_run(&kAccessToken, handle, VA_REQUEST_CB(callback), user_data, NULL);
 *   }
 *
 * va_operation_run does the rest in the order the library's operations share:
 *
 *   1. entry line "[name]"
 *   2. agent installed, else "(is_agent_installed() == false)", NOT_SUPPORTED
 *   3. api_level > 0: the agent's level, else "(is_lower_agent(n) == true)", LOWER_VERSION
 *   4. handle, callback: "(handle == NULL)", "(callback == NULL)", INVALID_PARAMETER
 *   5. check_at == VA_CHECK_BEFORE_CLONE: the REQUIRED values of the extras table (else
 *      invalid_property_log, INVALID_PARAMETER), then those REQUIRED_ON_TV on a TV (else
 *      "Invalid Property, client_secret is not set. [VA_ERROR_INVALID_PARAMETER]")
 *   6. the row's check hook, when it has one (its own lines and result)
 *   7. the clone: "(clone == NULL)", OUT_OF_MEMORY; the reply holder when holder_size > 0
 *   8. the transport: over the AccountSvc port when the handle is connected and the row has a
 *      port method, else as an app-control launch request (also for a connected handle)
 *
 * The send paths, in src/request/send_*.cc, then log the mode line, build the app control (target,
 * operation, extras) or the AccountS record (the same extras table), make the request record and
 * send; their failures release the clone and everything made so far, each with its line.
 *
 * Replies reach one generic callback per transport (src/request/reply_*.cc), which finds the row
 * in the request record and logs under the row's reply name ("access_token_result_cb",
 * "NidlAccessTokenCb"). Without a parser of its own, a reply's values go into the clone (the keys
 * of va_foreach_extra_cb, the fields of va_fill_from_account_s) and the caller's
 * callback gets (result, clone, user data). An area whose reply is something else (a status, a
 * list, places, a companion handle, a profile) names its parser in the row.
 *
 * An operation whose checks come in another order (sign-in clones before it refuses a connected
 * handle, for example) writes its entry point from the same pieces instead: va_operation_check,
 * va_operation_clone, va_operation_send. It never copies the send or reply code.
 */
#ifndef VELMORA_REQUEST_OPERATION_H
#define VELMORA_REQUEST_OPERATION_H

#include <stdbool.h>
#include <stddef.h>

#include "account_svc_proxy.h"
#include "app_control.h"
#include "request_record.h"
#include "velmora_account.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The caller's callback of any type, as the request record keeps it. */
#define VA_REQUEST_CB(callback) ((velmora_account_request_cb)(callback))

/* ---- the values an operation sends ---- */

/* How much an operation needs a value. */
typedef enum {
  VA_EXTRA_OPTIONAL = 0,   /* sent only when set */
  VA_EXTRA_REQUIRED,       /* the operation fails with INVALID_PARAMETER when it is not set */
  VA_EXTRA_REQUIRED_ON_TV, /* required on a TV, optional elsewhere */
} va_extra_need_e;

/* Where a value comes from. */
typedef enum {
  VA_SOURCE_STR = 0, /* string property `property` of the caller's handle */
  VA_SOURCE_FLAG_YN, /* bool property `property`: "Y" when it holds true, else "N" */
  VA_SOURCE_CONST,   /* the fixed text `value` */
  VA_SOURCE_ARG,     /* argument `property` of the call (va_op_args_s.values), NULL: not set */
} va_extra_source_e;

/* Sets one string field of an AccountS record (rpc_port_AccountS_set_LoginId and its siblings). */
typedef int (*va_account_s_setter)(rpc_port_AccountS_h h, const char *value);

/* One value an operation sends, in the order sent. */
typedef struct {
  const char *key;           /* app-control extra key; NULL when not sent over app control */
  va_account_s_setter field; /* AccountS field over the port; NULL when not sent there */
  va_extra_source_e source;
  int property;      /* VA_SOURCE_STR / VA_SOURCE_FLAG_YN: the property id; VA_SOURCE_ARG: the
                        argument's index */
  const char *value; /* VA_SOURCE_CONST: the text sent */
  va_extra_need_e need;
  /* Optional values (app control only): the info line when it is set (followed by " [value]" when
   * log_value is true) and when it is not. NULL: no line. */
  const char *set_log;
  bool log_value;
  const char *unset_log;
} va_extra_s;

/* ---- one call ---- */

#define VA_OP_MAX_ARGS 4

/* What a call hands to the row besides the handle; NULL when nothing. */
typedef struct {
  const char *values[VA_OP_MAX_ARGS]; /* the values of VA_SOURCE_ARG extras */
  const char *resource;               /* port: replaces the row's resource when not NULL */
  void *body; /* port: the ProfileS or PrivacyS an update sends; app control: what the row's body
                 hook reads (a profile list) */
} va_op_args_s;

typedef struct va_operation_s va_operation_s;

/* One call of an operation, as the steps after the entry point see it. */
typedef struct {
  const va_operation_s *op;
  velmora_account_h handle; /* the caller's handle: read, never changed */
  velmora_account_request_cb callback;
  void *user_data;
  const va_op_args_s *args; /* NULL: none */
  velmora_account_h clone;  /* the response handle, once made */
  void *holder;             /* the reply holder (request field 2), or NULL */
} va_op_call_s;

/* ---- the row ---- */

/* Where the REQUIRED values are checked. */
typedef enum {
  VA_CHECK_BEFORE_CLONE = 0, /* step 5 of va_operation_run (most operations) */
  VA_CHECK_AFTER_TARGET,     /* by the app-control send, once the app control and its target
                                exist: the clone and the app control are released on failure */
} va_check_at_e;

/* A check the table cannot say (step 6): logs its own lines, returns NONE or the result. */
typedef int (*va_op_check_fn)(const va_op_call_s *call);

/*
 * Called by the app-control send once the app control exists with its target (and the AFTER_TARGET
 * check passed), before the operation and the extras are set: may log, may pick another row whose
 * operation, extras and reply the request then uses (*form; for operations with several forms, such
 * as sign-in), or fail: a result other than NONE releases the clone, the app control and the
 * holder, and is returned.
 */
typedef int (*va_op_prepare_fn)(va_op_call_s *call, app_control_h app_control,
                                const va_operation_s **form);

/*
 * An area's own reading of an app-control reply. Called by the generic reply callback after its
 * entry line, with the launch result (`launch`: APP_CONTROL_RESULT_SUCCEEDED, or the failure the
 * platform reported, with or without a reply) and the reply's result code (`result`: 0, or the
 * converted "error_code", which is 0 as well for a failed reply without one): reads the reply,
 * calls the caller's callback (request->app_control_cb, of the operation's callback type) and frees
 * what it keeps in the holder. The generic callback then frees the request record.
 */
typedef void (*va_reply_parser_fn)(velmora_account_request_h request, app_control_h reply,
                                   app_control_result_e launch, int result);

/* Adds what follows the extras table (a profile update's body) to the app control, from the call
 * (args->body). A result other than NONE releases the clone, the app control and the holder, and
 * is returned. */
typedef int (*va_op_body_fn)(const va_op_call_s *call, app_control_h app_control);

/* How a ResponseCb delegate's AccountS fills the clone (va_fill_from_account_s and
 * va_fill_linking_from_account_s). */
typedef int (*va_port_fill_fn)(velmora_account_h account, rpc_port_AccountS_h s);

/* The delegate type of a port method. */
typedef enum {
  VA_DELEGATE_ACCOUNT = 0, /* ResponseCb: (user data, result, AccountS) */
  VA_DELEGATE_PLACE,       /* ResponsePlaceCb: (user data, result, PlaceInfoS) */
  VA_DELEGATE_PROFILE,     /* ResponseProfileCb: (user data, result, ProfileS) */
  VA_DELEGATE_ERROR,       /* ResponseErrorCb: (user data, result) */
} va_delegate_kind_e;

/* Calls one AccountSvc method with the request's AccountS and delegate (src/request/port_calls.cc
 * has one for each method that answers through a delegate). */
typedef int (*va_port_invoke_fn)(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                                 rpc_port_AccountS_h account, void *delegate);

/* One asynchronous operation. Members a row does not use stay zero. */
struct va_operation_s {
  const char *name; /* the public function's name: its entry and exit lines name it */
  int api_level;    /* > 0: the agent must have at least this level */
  const va_extra_s *extras;
  size_t extra_count;
  va_check_at_e check_at;
  const char *invalid_property_log; /* the info line of a missing REQUIRED value */
  va_op_check_fn check;
  size_t holder_size; /* > 0: a zeroed reply holder of this size (failure: "(data_id == NULL)") */

  struct {
    const char *mode_log;         /* "Request AccessToken to [APP_CONTROL] Mode"; NULL: none */
    const char *app_id;           /* AGENT_APP_ID or AGENT_UI_APP_ID */
    const char *const *operation; /* &REQUEST_OP_... */
    va_op_prepare_fn prepare;
    va_op_body_fn body;        /* NULL: the extras table is all that is sent */
    const char *reply_name;    /* the reply callback's name in the log: "access_token_result_cb" */
    va_reply_parser_fn parser; /* NULL: the reply's extras into the clone, then the callback */
  } app_control;

  struct {
    va_port_invoke_fn invoke; /* NULL: no port form; a connected handle goes over app control */
    const char *mode_log;     /* "Request AccessToken to [NIDL] Mode" */
    int request_type;         /* CommonAccount, CommonProfile, UpdateProfileInfo */
    const char *resource;     /* CommonProfile, RequestProfileInfo */
    const char *fail_name;    /* the failure line: "Failed to <fail_name>. err = %d", or
                                 "Failed to <fail_name>[<request_type>]. err = %d" with fail_type */
    bool fail_type;
    va_delegate_kind_e delegate;
    const char *reply_name;   /* VA_DELEGATE_ACCOUNT: the callback's name: "NidlAccessTokenCb" */
    va_port_fill_fn fill;     /* VA_DELEGATE_ACCOUNT: NULL is va_fill_from_account_s */
    bool reply_keeps_request; /* the reply never frees the request record (the privacy update) */
    union {                   /* the other delegates: the area's delegate callback */
      rpc_port_AccountSvc_ResponsePlaceCb_cb place;
      rpc_port_AccountSvc_ResponseProfileCb_cb profile;
      rpc_port_AccountSvc_ResponseErrorCb_cb error;
    } reply;
  } port;
};

/* ---- running an operation ---- */

/* Steps 1 to 8 above for `op`. `args` may be NULL. */
int va_operation_run(const va_operation_s *op, velmora_account_h handle,
                     velmora_account_request_cb callback, void *user_data,
                     const va_op_args_s *args);

/* The pieces of va_operation_run, for entry points whose order differs. */

/* Steps 1 to 4 (entry line, agent, level, handle, callback). */
int va_operation_check(const va_op_call_s *call);
/* Step 5 (the REQUIRED and REQUIRED_ON_TV values). */
int va_operation_check_values(const va_op_call_s *call);
/* Step 7: the clone (and the holder) into the call. On failure nothing is left allocated. */
int va_operation_clone(va_op_call_s *call);
/* Step 8: sends the call over the port or as an app-control request; takes the clone and the
 * holder (released on failure). */
int va_operation_send(va_op_call_s *call);

/* Releases the clone of a call that will not be sent ("VELMORA_ACCOUNT_FREE") and its holder. */
void va_operation_release(va_op_call_s *call);

/* ---- the send paths (src/request/send_*.cc), for tests and for va_operation_send ---- */

/* The text `extra` sends for the call, or NULL when it has none (an unset string property, a NULL
 * argument). The text is lent from the handle, the table or the arguments. */
const char *va_extra_value(const va_extra_s *extra, const va_op_call_s *call);

/* True when a value of the row with need `need` is not set for the call. */
bool va_operation_missing(const va_op_call_s *call, va_extra_need_e need);

/* Fills a new AccountS record with the values of the row that are set for the call (only those
 * with an AccountS field). NULL when out of memory. */
rpc_port_AccountS_h va_operation_account_s(const va_op_call_s *call);

/*
 * Sends the call as an app-control launch request: mode line, app control with target, the
 * AFTER_TARGET check, the prepare hook, operation and extras, request record (clone, callback,
 * user data, holder, row), launch with the generic reply callback. Returns NONE,
 * INVALID_PARAMETER, OUT_OF_MEMORY, the prepare hook's failure or the converted launch failure.
 * Logs the operation's exit line when the launch was attempted. The clone and the holder belong to
 * the request from here: on failure they have been released.
 */
int va_send_app_control(va_op_call_s *call);

/*
 * Sends the call over the handle's AccountSvc port: mode line, AccountS from the row, request
 * record, a once-delegate, the method call. Returns NONE, OUT_OF_MEMORY, or the method's failure
 * (-1 becomes OUT_OF_MEMORY, other codes unchanged); on failure the request record, the delegate,
 * the clone and the holder are released. Logs the operation's exit line once the method was
 * called.
 */
int va_send_port(va_op_call_s *call);

/* ---- AccountSvc method calls for port.invoke (src/request/port_calls.cc) ---- */
int va_invoke_request_access_token(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                                   rpc_port_AccountS_h account, void *delegate);
int va_invoke_request_authcode(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                               rpc_port_AccountS_h account, void *delegate);
int va_invoke_request_authcode_effortless(const va_op_call_s *call,
                                          rpc_port_proxy_AccountSvc_h proxy,
                                          rpc_port_AccountS_h account, void *delegate);
/* CommonAccount with the row's request_type. */
int va_invoke_common_account(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                             rpc_port_AccountS_h account, void *delegate);
int va_invoke_request_place_info(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                                 rpc_port_AccountS_h account, void *delegate);
/* RequestProfileInfo with the call's resource, else the row's. */
int va_invoke_request_profile_info(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                                   rpc_port_AccountS_h account, void *delegate);
/* CommonProfile with the row's request_type and the call's resource, else the row's. */
int va_invoke_common_profile(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                             rpc_port_AccountS_h account, void *delegate);
/* UpdateProfileInfo with the row's request_type and the call's body (a ProfileS). */
int va_invoke_update_profile_info(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                                  rpc_port_AccountS_h account, void *delegate);
/* UpdatePrivacyInfo with the call's body (a PrivacyS). */
int va_invoke_update_privacy_info(const va_op_call_s *call, rpc_port_proxy_AccountSvc_h proxy,
                                  rpc_port_AccountS_h account, void *delegate);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_REQUEST_OPERATION_H */
