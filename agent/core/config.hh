// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the agent's fixed names and default values.
#pragma once

#include <cstdint>

namespace vagent {

// The agent's application and package id; signed-in accounts are kept under it in the platform
// account store.
inline constexpr const char *kAgentAppId = "dev.velmora.account";
inline constexpr const char *kAgentUiAppId = "dev.velmora.account.ui";
// On a TV the platform's single-sign-on service owns the accounts in the platform store.
inline constexpr const char *kSsoServicePackageId = "dev.velmora.sso";
// The platform store's custom key that marks the default account, and its value.
inline constexpr const char *kDefaultKey = "default";
inline constexpr const char *kDefaultValue = "true";

// Files below the platform root.
inline constexpr const char *kStateDir = "agent";
inline constexpr const char *kStateFile = "agent/state.db";
inline constexpr const char *kIdentityFile = "agent/identity";
inline constexpr const char *kFaultsFile = "agent/faults.conf";
inline constexpr const char *kClockFile = "agent/clock.conf";

// Lifetimes, in seconds.
inline constexpr int64_t kAccessTokenLifetime = 3600;
inline constexpr int64_t kRefreshTokenLifetime = 30 * 24 * 3600;
inline constexpr int64_t kAuthCodeLifetime = 600;
inline constexpr int64_t kEffortlessCodeLifetime = 600;
// How long a used or expired code is remembered (so that a second use is told apart from a code
// never issued) before the next code of its login id and client prunes it.
inline constexpr int64_t kCodeRetention = 24 * 3600;

// Wrong passwords (sign_in_guard.hh): kMaxPasswordFailures within kPasswordFailureWindow lock the
// login id for kLockoutSeconds.
inline constexpr int kMaxPasswordFailures = 5;
inline constexpr int64_t kPasswordFailureWindow = 15 * 60;
inline constexpr int64_t kLockoutSeconds = 15 * 60;

// Second factor (second_factor.hh): an SMS number of kAuthNumberDigits digits lives
// kAuthNumberLifetime and allows kMaxAuthNumberAttempts tries; at most kMaxAuthNumbersPerWindow
// numbers are sent per login id within kAuthNumberWindow. The authenticate token of the password
// step lives as long as a number. A trusted device skips the second factor for
// kTrustedDeviceLifetime.
inline constexpr int kAuthNumberDigits = 6;
inline constexpr int64_t kAuthNumberLifetime = 5 * 60;
inline constexpr int kMaxAuthNumberAttempts = 3;
inline constexpr int kMaxAuthNumbersPerWindow = 5;
inline constexpr int64_t kAuthNumberWindow = 15 * 60;
inline constexpr int kAuthenticateTokenBytes = 24;
inline constexpr int kAuthNumberSaltBytes = 16;
inline constexpr int64_t kTrustedDeviceLifetime = 90 * 24 * 3600;

// Grants (access token with its refresh token) kept per login id and client: a grant lasts this
// many of the pair's turns, and the pair's next grant revokes it.
inline constexpr int kMaxGrantsPerClient = 16;

// Sizes of the random parts, in bytes (as base64url text: 32 -> 43 characters, 24 -> 32).
inline constexpr int kAccessTokenBytes = 32;
inline constexpr int kRefreshTokenBytes = 32;
inline constexpr int kClientSecretBytes = 32;
inline constexpr int kCodeBytes = 24;
inline constexpr int kUserIdBytes = 8;  // user ids (GUIDs) are 16 hex characters

// What a user gets when the seed gives nothing else.
inline constexpr const char *kDefaultCountryCode = "US";
inline constexpr const char *kDefaultMcc = "310";
inline constexpr const char *kDefaultApiServerUrl = "https://api.velmora.dev";
inline constexpr const char *kDefaultAuthServerUrl = "https://auth.velmora.dev";

}  // namespace vagent
