// Velmora agent: fault injection, set per platform root in "<root>/agent/faults.conf".
//
// The file is a key file with one group per operation name (an AccountSvc method such as
// "RequestAccessToken", or an app-control operation such as "getaccesstoken"; the servers name
// their operations) and the group "*" for every operation:
//
//   [*]
//   delay_ms=200
//
//   [RequestAccessToken]
//   error_code=-1073741830
//   never_answer=false
//
// Keys (a missing key is "off"):
//   delay_ms=<0..600000>            wait this long before answering
//   error_code=<int32>              answer with this code instead of doing the work (decimal, or
//                                   hex such as 0xC1000001)
//   never_answer=<bool>             accept the request but never answer it
//   crash=<bool>                    abort the agent in the middle of the request
//   close_connection=<bool>         AccountSvc port: close the caller's connection mid-call
//   reject_connection=<bool>        refuse the connection (AccountSvc port) or the launch request
//   push_unknown_delegate_id=<bool> AccountSvc port: push the reply with a delegate id nobody has
//   push_wrong_sequence=<bool>      AccountSvc port: push the reply with a wrong sequence number
//   push_malformed_body=<bool>      AccountSvc port: push a reply whose body cannot be read
//
// The operation's own group overrides "*" key by key. The file is read afresh for every request,
// so a test changes faults while the agent runs; a malformed file counts as no faults.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "result.hh"

namespace vagent {

struct Fault {
  int delay_ms = 0;
  std::optional<int> error_code;
  bool never_answer = false;
  bool crash = false;
  bool close_connection = false;
  bool reject_connection = false;
  bool push_unknown_delegate_id = false;
  bool push_wrong_sequence = false;
  bool push_malformed_body = false;

  // True when any fault is set.
  bool any() const;
  // "delay_ms=200 error_code=-22", or "" without faults.
  std::string describe() const;
};

// The group that applies to every operation.
inline constexpr const char *kAllOperations = "*";

// The faults for `operation` under the current platform root (VELMORA_PLATFORM_ROOT).
Fault faults_for(const std::string &operation);
// The same under the root `root`.
Fault faults_for(const std::string &root, const std::string &operation);

// "<root>/agent/faults.conf".
std::string faults_path(const std::string &root);

// The names of the keys, in table order.
std::vector<std::string> fault_keys();

// Sets keys of one operation's group (or of "*"). Every key and value is checked before anything
// is written: UNKNOWN_FAULT_KEY for an unknown key or a bad value, INVALID_PARAMETER for a bad
// operation name (letters, digits, '_', '-', '.', or "*").
Status set_faults(const std::string &root, const std::string &operation,
                  const std::vector<std::pair<std::string, std::string>> &settings);
// Removes every fault (the file goes).
Status clear_faults(const std::string &root);
// Removes one operation's group.
Status clear_faults(const std::string &root, const std::string &operation);
// Every group with its faults as written, in file order.
std::vector<std::pair<std::string, Fault>> list_faults(const std::string &root);

}  // namespace vagent
