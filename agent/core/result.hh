// SPDX-License-Identifier: Apache-2.0
// Velmora agent: Status and Result<T>, how the core's operations report success or an error code.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

#include "errors.hh"

namespace vagent {

// An error code of errors.hh with a short message for logs and the admin command. Messages never
// hold a password, secret, token or code.
struct [[nodiscard]] Status {
  int code = errc::kNone;
  std::string message;

  bool ok() const { return code == errc::kNone; }
  static Status success() { return {}; }
  static Status fail(int code, std::string message) { return {code, std::move(message)}; }
  // "AGENT_ERROR_UNKNOWN_USER: no user 'x'"
  std::string describe() const {
    return error_name(code) + (message.empty() ? "" : ": " + message);
  }
};

// A value, or the Status of why there is none.
template <typename T>
class [[nodiscard]] Result {
 public:
  Result(T value) : value_(std::move(value)) {}         // NOLINT: implicit on purpose
  Result(Status status) : status_(std::move(status)) {  // NOLINT: implicit on purpose
    if (status_.ok()) abort();                          // an error result needs an error code
  }

  bool ok() const { return value_.has_value(); }
  int code() const { return status_.code; }
  const Status &status() const { return status_; }
  const T &value() const { return *value_; }
  T &value() { return *value_; }
  const T &operator*() const { return *value_; }
  T &operator*() { return *value_; }
  const T *operator->() const { return &*value_; }
  T *operator->() { return &*value_; }

 private:
  Status status_;
  std::optional<T> value_;
};

}  // namespace vagent
