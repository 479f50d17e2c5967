// SPDX-License-Identifier: Apache-2.0
// velmora-account: what the command's parts share: the options, the session with the account
// agent and the printing of outcomes.
//
// Built on the public interface of the account client (include/*.h); the host platform is used
// only to learn why a launch failed (its log lines) and to pick the platform root.
#pragma once

#include <glib.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "cli.hh"
#include "velmora_account.h"

namespace vacc {

using vcli::Args;

enum class Transport { kAppControl, kNidl };

// --timeout when it was not given (prepare() then picks the command's default).
inline constexpr gint kTimeoutNotGiven = G_MININT;

// The parsed options (the subcommands' and the global ones).
struct Options {
  gchar *root = nullptr;
  gchar *transport = nullptr;  // "app-control" (default) or "nidl"
  gchar *login_id = nullptr;
  gchar *client_id = nullptr;
  gchar *client_secret_file = nullptr;  // a file, or "-" for standard input
  gchar *scope = nullptr;
  gchar *expired_token_file = nullptr;  // a file, or "-" for standard input
  gchar *device_code = nullptr;
  gchar *user_id = nullptr;
  gchar *mcc = nullptr;
  gchar *partner_client_id = nullptr;
  gchar *access_token_file = nullptr;  // a file, or "-" for standard input
  gchar *authcode_file = nullptr;      // a file, or "-" for standard input
  gchar *api_server_url = nullptr;
  gchar *auth_server_url = nullptr;
  gboolean json = FALSE;
  gboolean sync = FALSE;
  gboolean verbose = FALSE;
  gint timeout_s = kTimeoutNotGiven;
  gint count = 1;  // profile watch: the changes to wait for
};
Options &options();

// What prepare() made of the options.
struct Request {
  Transport transport = Transport::kAppControl;
  bool transport_given = false;
  std::string client_secret;  // read from --client-secret-file
  std::string access_token;   // read from --access-token-file
  std::string authcode;       // read from --authcode-file
  std::string expired_token;  // read from --expired-token-file
};
Request &request();

const vcli::Tool &tool();

// The exit status of an answer that lacks what was asked for (the same as any failure).
inline constexpr int kExitIncomplete = vcli::kExitFailed;
// The `required` of an operation whose answer need not carry any property (sign-out).
inline constexpr int kNothingRequired = -1;

// ---- the session: a handle in the chosen transport, and waiting for answers ----

// A handle of the transport in *handle, with the request properties set. Connecting waits (main
// loop, bounded by --timeout) for the agent to accept. Returns the exit status; on failure it has
// printed why.
int open_handle(const char *what, velmora_account_h *handle);
void close_handle(velmora_account_h handle);

// Sends an asynchronous request with `send`, runs the main loop until its callback or --timeout,
// and prints the outcome; `required` is the string property the answer must carry. While it
// waits, `tick` (when given) runs about every 300 ms until it returns false. Returns the exit
// status.
using AsyncRequest = int (*)(velmora_account_h, velmora_account_response_cb, void *);
// `shown_flag`, when not -1, is a bool property the answer shows even when it reads false.
int run_request(const char *what, AsyncRequest send, int required, int shown_flag = -1,
                std::function<bool()> tick = {});

// Waiting for one callback on the main loop, bounded by --timeout.
struct Wait {
  GMainLoop *loop = nullptr;
  bool done = false;
  bool timed_out = false;
};
// Runs the loop until finish() was called or --timeout passed; false on time-out.
bool wait_for(Wait *wait);
// Called by the callback: ends wait_for.
void finish(Wait *wait);

// What an asynchronous request's callback received (commands extend it with the answer).
struct Reply {
  Wait wait;
  int result = 0;
};
// What a callback of the form (result, value, user data) received, for a request whose answer is
// one handle (a response handle, a profile list): the result and the handle, which is the
// receiver's to release. `Answer<T>::on` is the callback; its user data is the Answer.
template <typename T>
struct Answer : Reply {
  T value = nullptr;
  static void on(int result, T value, void *user_data) {
    auto *self = static_cast<Answer *>(user_data);
    self->result = result;
    self->value = value;
    finish(&self->wait);
  }
};

// After sending a request (`sent`: the library's result of sending it): waits for the reply when
// there is one to wait for (`reply` not null and the request went out), then closes the handle.
// *result becomes `sent`, or the reply's result. Returns kExitOk, or kExitTimeout once it has
// printed that no reply came within --timeout.
int await_reply(const char *what, velmora_account_h handle, int sent, Reply *reply, int *result);

// ---- printing (one JSON object per outcome under --json) ----

// Starts collecting the platform's error lines, which say why a launch or a connection failed.
void watch_platform_log();
// Prints the answer of `what`: the set properties of `account` on success (failing when the
// property `required` is missing), else the failure. `shown_flag` (not -1) is a bool property
// shown even when it reads false (the linking status: false is an answer too). Returns the exit
// status.
int print_result(const char *what, int result, velmora_account_h account, int required,
                 int shown_flag = -1);
// Prints a failure that happened before any answer (connecting, a refused call).
int print_failure(const char *what, int result);
// Prints a failure that has no result code: `error` names it, `message` says what happened.
int print_error(const char *what, const std::string &error, const std::string &message);
// Prints that no answer came within --timeout. Returns kExitTimeout.
int print_timeout(const char *what, const std::string &waiting_for);

// A successful answer that is not an account: named values, printed as "name: value" lines or as
// members of one JSON object. A list prints one value per line, or `empty_text` when it is empty
// (an empty JSON array). Returns kExitOk.
struct Value {
  enum class Kind { kText, kFlag, kList };
  const char *name = nullptr;
  Kind kind = Kind::kText;
  std::string text;
  bool flag = false;
  std::vector<std::string> list;
  const char *empty_text = nullptr;

  static Value of_text(const char *name, std::string text) {
    Value v;
    v.name = name;
    v.text = std::move(text);
    return v;
  }
  static Value of_flag(const char *name, bool flag) {
    Value v;
    v.name = name;
    v.kind = Kind::kFlag;
    v.flag = flag;
    return v;
  }
  static Value of_list(const char *name, std::vector<std::string> list, const char *empty_text) {
    Value v;
    v.name = name;
    v.kind = Kind::kList;
    v.list = std::move(list);
    v.empty_text = empty_text;
    return v;
  }
};
int print_values(const char *what, const std::vector<Value> &values);

}  // namespace vacc
