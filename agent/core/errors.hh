// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the error codes the agent answers with.
//
// These are the numbers the agent sends as "error_code" (app-control replies) and as the result of
// a reply delegate (AccountSvc port). Where a code of the client library fits, the agent uses it
// (invalid parameter, need sign-in, not supported, ...); everything else is the agent's own, in the
// range 0xC1000001.. (negative as int32), which no library code uses. Names and meanings come from
// the one table of result codes shared with the library and the tools (velmora_account_error_name);
// `velmora-agent errors` prints the agent's part of it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vagent {

namespace errc {

// Codes shared with the client library.
inline constexpr int kNone = 0;
inline constexpr int kOutOfMemory = -12;
inline constexpr int kPermissionDenied = -13;
inline constexpr int kResourceBusy = -16;  // a database stayed busy past its time-out
inline constexpr int kInvalidParameter = -22;
inline constexpr int kNotSupported = static_cast<int>(0xC0000002u);
inline constexpr int kDbFailed = static_cast<int>(0xBFFFFFFBu);
inline constexpr int kNeedSignIn = static_cast<int>(0xBFFFFFFAu);  // login id not signed in

// The agent's own codes.
inline constexpr int kUnknownUser = static_cast<int>(0xC1000001u);
inline constexpr int kWrongPassword = static_cast<int>(0xC1000002u);
inline constexpr int kUserExists = static_cast<int>(0xC1000003u);
inline constexpr int kUnknownClient = static_cast<int>(0xC1000004u);
inline constexpr int kWrongClientSecret = static_cast<int>(0xC1000005u);
inline constexpr int kScopeNotAllowed = static_cast<int>(0xC1000006u);
inline constexpr int kUnknownCode = static_cast<int>(0xC1000007u);
inline constexpr int kCodeExpired = static_cast<int>(0xC1000008u);
inline constexpr int kCodeAlreadyUsed = static_cast<int>(0xC1000009u);
inline constexpr int kCodeClientMismatch = static_cast<int>(0xC100000Au);
inline constexpr int kCodeAccountMismatch = static_cast<int>(0xC100000Bu);
inline constexpr int kUnknownToken = static_cast<int>(0xC100000Cu);
inline constexpr int kTokenExpired = static_cast<int>(0xC100000Du);
inline constexpr int kNoToken = static_cast<int>(0xC100000Eu);
inline constexpr int kConsentRequired = static_cast<int>(0xC100000Fu);
inline constexpr int kUnknownFaultKey = static_cast<int>(0xC1000010u);
// The agent's state does not match the platform account store or its identity record.
inline constexpr int kStateLost = static_cast<int>(0xC1000011u);
// Signing in (sign_in.hh).
inline constexpr int kAccountLocked = static_cast<int>(0xC1000012u);
inline constexpr int kSecondFactorRequired = static_cast<int>(0xC1000013u);
inline constexpr int kWrongAuthNumber = static_cast<int>(0xC1000014u);
inline constexpr int kAuthNumberExpired = static_cast<int>(0xC1000015u);
inline constexpr int kNoAuthNumber = static_cast<int>(0xC1000016u);
inline constexpr int kWrongAuthenticateToken = static_cast<int>(0xC1000017u);
inline constexpr int kTooManyAuthNumbers = static_cast<int>(0xC1000018u);
inline constexpr int kNoPhoneNumber = static_cast<int>(0xC1000019u);
inline constexpr int kSmsNotSent = static_cast<int>(0xC100001Au);
inline constexpr int kCodeDeviceMismatch = static_cast<int>(0xC100001Bu);
// The login view of the UI application.
inline constexpr int kCanceled = static_cast<int>(0xC100001Cu);
inline constexpr int kLoginViewClosed = static_cast<int>(0xC100001Du);
inline constexpr int kLoginViewTimedOut = static_cast<int>(0xC100001Eu);
inline constexpr int kLoginViewUnavailable = static_cast<int>(0xC100001Fu);
// Saved places.
inline constexpr int kUnknownPlace = static_cast<int>(0xC1000020u);
inline constexpr int kTooManyPlaces = static_cast<int>(0xC1000021u);
// Companion accounts (a wearable reaching its paired phone).
inline constexpr int kNotPaired = static_cast<int>(0xC1000022u);         // no phone is paired
inline constexpr int kPhoneUnreachable = static_cast<int>(0xC1000023u);  // the phone did not answer
inline constexpr int kNoPhoneAccount = static_cast<int>(0xC1000024u);    // the phone has no account
// A profile change with more items than a category holds (2 names, 2 birthdays, 50 of a list).
inline constexpr int kProfileLimit = static_cast<int>(0xC1000030u);
// A profile change that sets a "verified" field, which only the agent sets.
inline constexpr int kReadOnlyField = static_cast<int>(0xC1000031u);

}  // namespace errc

struct ErrorInfo {
  int code;
  const char *name;     // e.g. "AGENT_ERROR_UNKNOWN_USER"
  const char *meaning;  // one line, for people
};

// Every code the agent can answer with, in table order.
const std::vector<ErrorInfo> &error_table();
// The entry of a code, or nullptr for a number the agent never sends on its own (a code given by
// fault injection may be any number).
const ErrorInfo *find_error(int code);
// "AGENT_ERROR_UNKNOWN_USER" and the like; "error <n>" for a number outside the table.
std::string error_name(int code);

}  // namespace vagent
