// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the one table of result codes with their names and explanations: the
// library's codes and the account agent's own (velmora_account_error_name,
// velmora_account_error_message; the agent and the tools read the same table through
// va_error_table).
#include <cstddef>

#include "va_error_table.h"
#include "velmora_account_error.h"

namespace {

constexpr int agent_code(unsigned n) { return static_cast<int>(0xC1000000u + n); }

constexpr va_error_info kErrors[] = {
    // The library's codes; the agent answers with those marked true as well.
    {VELMORA_ACCOUNT_ERROR_NONE, "VELMORA_ACCOUNT_ERROR_NONE", "success", true},
    {VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY, "VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY",
     "out of memory, or the request could not be handed to the agent (its launch or its port "
     "failed)",
     false},
    {VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED, "VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED",
     "the platform or the agent refused this caller", true},
    {VELMORA_ACCOUNT_ERROR_RESOURCE_BUSY, "VELMORA_ACCOUNT_ERROR_RESOURCE_BUSY",
     "the agent rejected the launch request, or a database stayed busy: try again later", true},
    {VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER, "VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER",
     "a required value is missing or malformed (login id, client id, client secret on a TV ...)",
     true},
    {VELMORA_ACCOUNT_ERROR_NO_DATA, "VELMORA_ACCOUNT_ERROR_NO_DATA",
     "the value asked for is not set, or the result is empty", false},
    {VELMORA_ACCOUNT_ERROR_UNKNOWN, "VELMORA_ACCOUNT_ERROR_UNKNOWN",
     "the account store failed without a more precise reason", false},
    {VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED, "VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED",
     "the account agent is not installed or could not be launched, or the call is not offered "
     "on this device profile or with this kind of handle",
     true},
    {VELMORA_ACCOUNT_ERROR_DB_FAILED, "VELMORA_ACCOUNT_ERROR_DB_FAILED",
     "the agent's state or the platform account store failed", true},
    {VELMORA_ACCOUNT_ERROR_NEED_SIGNIN, "VELMORA_ACCOUNT_ERROR_NEED_SIGNIN",
     "the account is not signed in on this device: sign in first", true},
    {VELMORA_ACCOUNT_ERROR_LOWER_VERSION, "VELMORA_ACCOUNT_ERROR_LOWER_VERSION",
     "the installed account agent is too old for this call", false},
    // The account agent's own codes (0xC1000001 ..): the agent sends them, the library passes
    // them through unchanged.
    {agent_code(0x01), "AGENT_ERROR_UNKNOWN_USER", "no user has this login id (or user id)", true},
    {agent_code(0x02), "AGENT_ERROR_WRONG_PASSWORD", "the password does not match", true},
    {agent_code(0x03), "AGENT_ERROR_USER_EXISTS", "a user with this login id exists already", true},
    {agent_code(0x04), "AGENT_ERROR_UNKNOWN_CLIENT", "the client id is not registered", true},
    {agent_code(0x05), "AGENT_ERROR_WRONG_CLIENT_SECRET",
     "the client secret does not match (or is required and missing)", true},
    {agent_code(0x06), "AGENT_ERROR_SCOPE_NOT_ALLOWED",
     "a requested scope is not allowed for the client", true},
    {agent_code(0x07), "AGENT_ERROR_UNKNOWN_CODE", "the authorization code was never issued", true},
    {agent_code(0x08), "AGENT_ERROR_CODE_EXPIRED", "the authorization code has expired", true},
    {agent_code(0x09), "AGENT_ERROR_CODE_ALREADY_USED",
     "the authorization code was redeemed before", true},
    {agent_code(0x0A), "AGENT_ERROR_CODE_CLIENT_MISMATCH",
     "the authorization code was issued to another client", true},
    {agent_code(0x0B), "AGENT_ERROR_CODE_ACCOUNT_MISMATCH",
     "the authorization code was issued for another login id", true},
    {agent_code(0x0C), "AGENT_ERROR_UNKNOWN_TOKEN",
     "the token was not issued to this account and client, or was revoked", true},
    {agent_code(0x0D), "AGENT_ERROR_TOKEN_EXPIRED", "the token has expired", true},
    {agent_code(0x0E), "AGENT_ERROR_NO_TOKEN",
     "no access token was issued for this login id and client", true},
    {agent_code(0x0F), "AGENT_ERROR_CONSENT_REQUIRED",
     "the mandatory terms consents (bits 1 and 2) are missing", true},
    {agent_code(0x10), "AGENT_ERROR_UNKNOWN_FAULT_KEY", "fault injection: unknown key or bad value",
     true},
    {agent_code(0x11), "AGENT_ERROR_STATE_LOST",
     "the agent's state does not match the platform account store or its identity record", true},
    {agent_code(0x12), "AGENT_ERROR_ACCOUNT_LOCKED",
     "too many wrong passwords for this login id: it is locked for a while, try again later", true},
    {agent_code(0x13), "AGENT_ERROR_2FACTOR_REQUIRED",
     "this user signs in with a second factor: request an SMS number and sign in with it", true},
    {agent_code(0x14), "AGENT_ERROR_WRONG_AUTH_NUMBER",
     "the SMS number does not match (the attempts left are limited)", true},
    {agent_code(0x15), "AGENT_ERROR_AUTH_NUMBER_EXPIRED",
     "the SMS number has expired or its attempts are used up: request a new one", true},
    {agent_code(0x16), "AGENT_ERROR_NO_AUTH_NUMBER",
     "no SMS number was requested for this login id", true},
    {agent_code(0x17), "AGENT_ERROR_WRONG_AUTHENTICATE_TOKEN",
     "the authenticate token is not the one the password step handed out", true},
    {agent_code(0x18), "AGENT_ERROR_TOO_MANY_AUTH_NUMBERS",
     "too many SMS numbers were requested for this login id lately: try again later", true},
    {agent_code(0x19), "AGENT_ERROR_NO_PHONE_NUMBER",
     "the user has no phone number for a second factor", true},
    {agent_code(0x1A), "AGENT_ERROR_SMS_NOT_SENT", "the SMS could not be sent", true},
    {agent_code(0x1B), "AGENT_ERROR_CODE_DEVICE_MISMATCH",
     "the authorization code was issued for another device security code", true},
    {agent_code(0x1C), "AGENT_ERROR_CANCELED", "the person cancelled the login view", true},
    {agent_code(0x1D), "AGENT_ERROR_LOGIN_VIEW_CLOSED",
     "the login view was closed before anybody signed in", true},
    {agent_code(0x1E), "AGENT_ERROR_LOGIN_VIEW_TIMED_OUT",
     "nobody signed in on the login view in time", true},
    {agent_code(0x1F), "AGENT_ERROR_LOGIN_VIEW_UNAVAILABLE",
     "the agent's UI application cannot show a login view now", true},
    {agent_code(0x20), "AGENT_ERROR_UNKNOWN_PLACE", "the user has no saved place with this id",
     true},
    {agent_code(0x21), "AGENT_ERROR_TOO_MANY_PLACES",
     "the user keeps the most places allowed (100)", true},
    {agent_code(0x22), "AGENT_ERROR_NOT_PAIRED",
     "this wearable is not paired with a phone (velmora-platform pair --phone ROOT)", true},
    {agent_code(0x23), "AGENT_ERROR_PHONE_UNREACHABLE",
     "the paired phone's agent could not be reached, died, or did not answer in time", true},
    {agent_code(0x24), "AGENT_ERROR_NO_PHONE_ACCOUNT",
     "the paired phone has no signed-in account: sign in on the phone first", true},
    {agent_code(0x30), "AGENT_ERROR_PROFILE_LIMIT",
     "a profile change holds more items than the category takes (2 names, 2 birthdays, 50)", true},
    {agent_code(0x31), "AGENT_ERROR_READ_ONLY_FIELD",
     "a profile change sets a verified field, which only the agent sets", true},
};

const va_error_info *find(int code) {
  for (const va_error_info &e : kErrors)
    if (e.code == code) return &e;
  return nullptr;
}

}  // namespace

extern "C" {

const va_error_info *va_error_table(size_t *count) {
  *count = sizeof kErrors / sizeof kErrors[0];
  return kErrors;
}

VELMORA_API const char *velmora_account_error_name(int code) {
  const va_error_info *e = find(code);
  return e ? e->name : nullptr;
}

VELMORA_API const char *velmora_account_error_message(int code) {
  const va_error_info *e = find(code);
  return e ? e->message : nullptr;
}

}  // extern "C"
