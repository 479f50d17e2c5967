// velmora-account: what the command's parts share: the options, the subcommand table, the session
// with the account agent and the printing of results.
//
// Built on the public interface of the account client only (include/*.h).
#pragma once

#include <string>
#include <vector>

#include "velmora_account.h"

namespace vcli {

enum class Transport { kAppControl, kNidl };

// Exit statuses.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;   // the library or the agent reported a failure
inline constexpr int kExitUsage = 2;    // bad command line
inline constexpr int kExitTimeout = 3;  // no answer within --timeout

struct Options {
  Transport transport = Transport::kAppControl;
  bool transport_given = false;
  std::string login_id, client_id, client_secret, scope, expired_token, device_code;
  bool json = false;
  bool sync = false;
  bool verbose = false;
  int timeout_s = 30;
  bool help = false;
};

// One subcommand: its name, a line of help, the options it reads, and what it does.
struct Command {
  const char *name;
  const char *summary;
  const char *options;  // the subcommand's own options, for --help
  int (*run)(const Options &options);
};

const std::vector<Command> &commands();

// ---- the session: a handle in the chosen transport, and waiting for answers ----

// A handle of the transport in *handle, with the request properties of `options` set. Connecting
// waits (main loop, bounded by the time-out) for the agent to accept. Returns the exit status;
// on failure it has printed why.
int open_handle(const Options &options, velmora_account_h *handle);
// Releases a handle of open_handle.
void close_handle(const Options &options, velmora_account_h handle);

// Sends an asynchronous request with `send` and runs the main loop until its callback or the
// time-out; prints the outcome. Returns the exit status.
using AsyncRequest = int (*)(velmora_account_h, velmora_account_response_cb, void *);
int run_request(const Options &options, const char *what, AsyncRequest send);

// ---- printing ----

// "VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER", or "" for a code the table does not name.
const char *error_name(int code);
// A short explanation of a result code.
const char *error_explanation(int code);
// Prints the result of `what`: the set properties of `account` on success, else the failure.
// Returns the exit status.
int print_result(const Options &options, const char *what, int result, velmora_account_h account);
// Prints a failure that happened before any request (connecting, a refused call).
int print_failure(const Options &options, const char *what, int result);

}  // namespace vcli
