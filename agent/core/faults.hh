// SPDX-License-Identifier: Apache-2.0
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
// The operation's own group overrides "*" key by key. A test changes faults while the agent runs:
// the agent reads the file again after it changed (FaultsFile), not for every request. A
// malformed file counts as no faults.
#pragma once

#include <glib.h>

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "file_watch.hh"
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
  // One set key: a flag (value 1) or a number.
  struct Setting {
    const char *key;
    bool is_flag;
    int64_t value;
  };
  // The keys that are set, in the order of the key table.
  std::vector<Setting> settings() const;
  // "delay_ms=200 error_code=-22", or "" without faults.
  std::string describe() const;
};

// The group that applies to every operation.
inline constexpr const char *kAllOperations = "*";

// The faults for `operation` under the current platform root (VELMORA_PLATFORM_ROOT), read afresh.
Fault faults_for(const std::string &operation);
// The same under the root `root`.
Fault faults_for(const std::string &root, const std::string &operation);

// The faults file of one root as the serving agent reads it: once, and again only after it
// changed (file_watch.hh). Each operation's faults are worked out once per version of the file.
class FaultsFile {
 public:
  explicit FaultsFile(const std::string &root);
  ~FaultsFile();
  FaultsFile(const FaultsFile &) = delete;
  FaultsFile &operator=(const FaultsFile &) = delete;
  Fault faults(const std::string &operation);
  // How many times the file was read (tests).
  uint64_t reads() const { return reads_; }

 private:
  std::string path_;
  WatchedFile watch_;
  GKeyFile *file_ = nullptr;  // as last read (nullptr: missing or malformed)
  std::unordered_map<std::string, Fault> by_operation_;
  uint64_t reads_ = 0;
};

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
