// SPDX-License-Identifier: Apache-2.0
// Velmora agent: companion accounts, a wearable reaching the account of its paired phone.
//
// On the wearable (device profile "wearable"):
//   REQUEST_OP_COMPANION_ACCOUNT_EXIST ("companion_accountexist") asks the phone's agent whether
//   the phone has a signed-in account and answers "check_mobile_account_exist" = "true" / "false"
//   (with the account's login id when there is one);
//   REQUEST_OP_COMPANION_SIGNIN ("companion_signin") asks the phone's agent for a companion
//   sign-in: the phone issues it for its default account, and the wearable signs that account in
//   here (its user is made on first use, with a random password nobody knows: the wearable signs
//   in only through the phone) and answers the account's facts with
//   "check_mobile_account_exist" = "true". "api_timeout" (seconds, 1..300) bounds the wait.
// On the phone: the two internal operations below answer the wearable's agent from the phone's
// state.
//
// The phone is reached over the platform's companion link (velmora_host_companion_send_launch_
// request): its agent is launched in the phone's root on demand. Failures: NOT_PAIRED (no phone is
// paired), PHONE_UNREACHABLE (the phone's agent cannot be launched, dies before it answers, or
// does not answer within "api_timeout"), NO_PHONE_ACCOUNT (sign-in, and the phone has no account),
// NOT_SUPPORTED (asked of a device of the wrong profile).
#include <glib.h>

#include <cstdlib>
#include <memory>

#include "app_control/operations.hh"
#include "dlog.h"
#include "secure_random.hh"
#include "velmora_account_request_op.h"
#include "velmora_host.h"

namespace vagent::appcontrol {

namespace {

// The operations the phone's agent serves for its wearable (not sent by the library).
const char *const kPhoneAccountOp = "http://dev.velmora.account/internal/companion/account";
const char *const kPhoneSignInOp = "http://dev.velmora.account/internal/companion/signin";
constexpr const char *kAgentAppId = "dev.velmora.account";
constexpr int kMaxApiTimeoutSeconds = 300;

int g_pending = 0;  // companion requests waiting for the phone

bool profile_is(const char *want) {
  char *profile = nullptr;
  const bool is =
      velmora_host_get_profile(&profile, nullptr) == 0 && profile && std::string(profile) == want;
  free(profile);
  return is;
}

// A request to the phone in flight: answered once, by the phone's reply or by the time-out.
struct PhoneCall {
  AgentState *state = nullptr;
  Respond respond;
  // What the phone's successful reply becomes on this side.
  Answer (*on_phone_answer)(AgentState &state, app_control_h reply) = nullptr;
  GSource *timer = nullptr;
  bool done = false;

  void finish(Answer answer) {
    if (done) return;
    done = true;
    --g_pending;
    if (timer) {
      g_source_destroy(timer);
      g_source_unref(timer);
      timer = nullptr;
    }
    respond(std::move(answer));
  }
};

void on_phone_reply(app_control_h, app_control_h reply, app_control_result_e result,
                    void *user_data) {
  auto *holder = static_cast<std::shared_ptr<PhoneCall> *>(user_data);
  std::shared_ptr<PhoneCall> call = *holder;
  delete holder;
  if (call->done) return;  // answered already (time-out)
  if (result == APP_CONTROL_RESULT_SUCCEEDED && reply) {
    call->finish(call->on_phone_answer(*call->state, reply));
    return;
  }
  // A failed answer of the phone's agent carries its error; no reply at all means the phone's
  // agent could not be reached or died.
  const std::string code = extra_of(reply, "error_code");
  call->finish(code.empty() ? failure(errc::kPhoneUnreachable) : failure(atoi(code.c_str())));
}

gboolean on_api_timeout(gpointer data) {
  auto *call = static_cast<PhoneCall *>(data);
  g_source_unref(call->timer);
  call->timer = nullptr;
  call->finish(failure(errc::kPhoneUnreachable));
  return G_SOURCE_REMOVE;
}

// Sends `operation` to the phone's agent; `convert` turns its successful reply into the answer.
void ask_phone(AgentState &state, const char *operation, int timeout_seconds,
               Answer (*convert)(AgentState &, app_control_h), Respond respond) {
  if (!profile_is("wearable")) return respond(failure(errc::kNotSupported));
  auto call = std::make_shared<PhoneCall>();
  call->state = &state;
  call->respond = std::move(respond);
  call->on_phone_answer = convert;
  ++g_pending;

  app_control_h request = nullptr;
  if (app_control_create(&request) != APP_CONTROL_ERROR_NONE)
    return call->finish(failure(errc::kOutOfMemory));
  app_control_set_app_id(request, kAgentAppId);
  app_control_set_operation(request, operation);
  auto *holder = new std::shared_ptr<PhoneCall>(call);
  const int ret = velmora_host_companion_send_launch_request(request, on_phone_reply, holder);
  app_control_destroy(request);
  if (ret != APP_CONTROL_ERROR_NONE) {
    dlog_print(DLOG_WARN, "VELMORA_AGENT", "companion: the phone cannot be reached (%d)", ret);
    delete holder;
    return call->finish(
        failure(ret == VELMORA_HOST_NOT_PAIRED ? errc::kNotPaired : errc::kPhoneUnreachable));
  }
  if (timeout_seconds > 0) {
    call->timer = g_timeout_source_new_seconds(static_cast<guint>(timeout_seconds));
    g_source_set_callback(call->timer, on_api_timeout, call.get(), nullptr);
    g_source_attach(call->timer, g_main_context_get_thread_default());
  }
}

// ---- on the wearable ----

Answer account_exist_answer(AgentState &, app_control_h reply) {
  Answer a;
  const std::string exists = extra_of(reply, "check_mobile_account_exist");
  a.extras.emplace_back("check_mobile_account_exist", exists == "true" ? "true" : "false");
  put(&a.extras, "login_id", extra_of(reply, "login_id"));
  return a;
}

void account_exist(AgentState &state, const Request &, Respond respond) {
  ask_phone(state, kPhoneAccountOp, 0, account_exist_answer, std::move(respond));
}

// Signs the phone's account in on this wearable.
Answer sign_in_answer(AgentState &state, app_control_h reply) {
  const std::string login_id = extra_of(reply, "login_id");
  if (!Users::valid_login_id(login_id)) return failure(errc::kNoPhoneAccount);
  if (state.users().find(login_id).code() == errc::kUnknownUser) {
    NewUser u;
    u.login_id = login_id;
    u.password = random_base64url(32);
    u.user_id = extra_of(reply, "user_id");
    u.country_code = extra_of(reply, "cc");
    u.mcc = extra_of(reply, "mcc");
    u.api_server_url = extra_of(reply, "api_server_url");
    u.auth_server_url = extra_of(reply, "auth_server_url");
    Result<User> made = state.users().create(u);
    if (!made.ok()) return failure(made.code());
  }
  return answer(
      state.accounts().sign_in_verified(login_id),
      [](Extras *e, const User &user) {
        put_facts(e, user);
        e->emplace_back("check_mobile_account_exist", "true");
      },
      Tell::kCodeOnly);
}

void sign_in(AgentState &state, const Request &req, Respond respond) {
  // The library sends no "api_timeout" for 0 and refuses more than 300; anything else is ignored.
  int timeout = atoi(req.extra("api_timeout").c_str());
  if (timeout < 0 || timeout > kMaxApiTimeoutSeconds) timeout = 0;
  ask_phone(state, kPhoneSignInOp, timeout, sign_in_answer, std::move(respond));
}

// ---- on the phone ----

Answer phone_account(AgentState &state, const Request &) {
  if (!profile_is("mobile")) return failure(errc::kNotSupported);
  Answer a;
  Result<std::string> login_id = state.accounts().default_account();
  const bool exists = login_id.ok() && !login_id->empty();
  a.extras.emplace_back("check_mobile_account_exist", exists ? "true" : "false");
  if (exists) put(&a.extras, "login_id", login_id.value());
  return a;
}

Answer phone_sign_in(AgentState &state, const Request &) {
  if (!profile_is("mobile")) return failure(errc::kNotSupported);
  Result<std::string> login_id = state.accounts().default_account();
  if (!login_id.ok() || login_id->empty()) return failure(errc::kNoPhoneAccount);
  return answer(state.users().find(login_id.value()), put_facts<User>, Tell::kCodeOnly);
}

}  // namespace

bool companion_busy() { return g_pending > 0; }

const std::vector<Operation> &companion_operations() {
  static const std::vector<Operation> table = {
      {&REQUEST_OP_COMPANION_ACCOUNT_EXIST, "companion_accountexist", nullptr, account_exist},
      {&REQUEST_OP_COMPANION_SIGNIN, "companion_signin", nullptr, sign_in},
      {&kPhoneAccountOp, "companion_phone_account", phone_account},
      {&kPhoneSignInOp, "companion_phone_signin", phone_sign_in},
  };
  return table;
}

}  // namespace vagent::appcontrol
