// velmora-account: what the command's parts share: the options, the session with the account
// agent and the printing of outcomes.
//
// Built on the public interface of the account client (include/*.h); the host platform is used
// only to learn why a launch failed (its log lines) and to pick the platform root.
#pragma once

#include <glib.h>

#include <string>

#include "cli.hh"
#include "velmora_account.h"

namespace vacc {

using vcli::Args;

enum class Transport { kAppControl, kNidl };

// The parsed options (the subcommands' and the global ones).
struct Options {
  gchar *root = nullptr;
  gchar *transport = nullptr;  // "app-control" (default) or "nidl"
  gchar *login_id = nullptr;
  gchar *client_id = nullptr;
  gchar *client_secret_file = nullptr;  // a file, or "-" for standard input
  gchar *scope = nullptr;
  gchar *expired_token = nullptr;
  gchar *device_code = nullptr;
  gboolean json = FALSE;
  gboolean sync = FALSE;
  gboolean verbose = FALSE;
  gint timeout_s = 30;
};
Options &options();

// What prepare() made of the options.
struct Request {
  Transport transport = Transport::kAppControl;
  bool transport_given = false;
  std::string client_secret;  // read from --client-secret-file
};
Request &request();

const vcli::Tool &tool();

// The exit status of an answer that lacks what was asked for (the same as any failure).
inline constexpr int kExitIncomplete = vcli::kExitFailed;

// ---- the session: a handle in the chosen transport, and waiting for answers ----

// A handle of the transport in *handle, with the request properties set. Connecting waits (main
// loop, bounded by --timeout) for the agent to accept. Returns the exit status; on failure it has
// printed why.
int open_handle(const char *what, velmora_account_h *handle);
void close_handle(velmora_account_h handle);

// Sends an asynchronous request with `send`, runs the main loop until its callback or --timeout,
// and prints the outcome; `required` is the string property the answer must carry. Returns the
// exit status.
using AsyncRequest = int (*)(velmora_account_h, velmora_account_response_cb, void *);
int run_request(const char *what, AsyncRequest send, int required);

// ---- printing (one JSON object per outcome under --json) ----

// Starts collecting the platform's error lines, which say why a launch or a connection failed.
void watch_platform_log();
// Prints the answer of `what`: the set properties of `account` on success (failing when the
// property `required` is missing), else the failure. Returns the exit status.
int print_result(const char *what, int result, velmora_account_h account, int required);
// Prints a failure that happened before any answer (connecting, a refused call).
int print_failure(const char *what, int result);
// Prints that no answer came within --timeout. Returns kExitTimeout.
int print_timeout(const char *what, const std::string &waiting_for);

}  // namespace vacc
