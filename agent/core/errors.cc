// Velmora agent: the table of the agent's error codes.
#include "errors.hh"

namespace vagent {

const std::vector<ErrorInfo> &error_table() {
  static const std::vector<ErrorInfo> table = {
      {errc::kNone, "NONE", "success"},
      {errc::kOutOfMemory, "OUT_OF_MEMORY", "the agent ran out of memory"},
      {errc::kPermissionDenied, "PERMISSION_DENIED", "the caller may not use this operation"},
      {errc::kResourceBusy, "RESOURCE_BUSY", "a database stayed busy past its time-out"},
      {errc::kInvalidParameter, "INVALID_PARAMETER",
       "a mandatory field is missing or a value is malformed"},
      {errc::kNotSupported, "NOT_SUPPORTED", "not offered on this device profile"},
      {errc::kDbFailed, "DB_FAILED", "the agent's state or the platform account store failed"},
      {errc::kNeedSignIn, "NEED_SIGNIN", "the login id is not signed in on this device"},
      {errc::kUnknownUser, "AGENT_ERROR_UNKNOWN_USER", "no user has this login id (or user id)"},
      {errc::kWrongPassword, "AGENT_ERROR_WRONG_PASSWORD", "the password does not match"},
      {errc::kUserExists, "AGENT_ERROR_USER_EXISTS", "a user with this login id exists already"},
      {errc::kUnknownClient, "AGENT_ERROR_UNKNOWN_CLIENT", "the client id is not registered"},
      {errc::kWrongClientSecret, "AGENT_ERROR_WRONG_CLIENT_SECRET",
       "the client secret does not match (or is required and missing)"},
      {errc::kScopeNotAllowed, "AGENT_ERROR_SCOPE_NOT_ALLOWED",
       "a requested scope is not allowed for the client"},
      {errc::kUnknownCode, "AGENT_ERROR_UNKNOWN_CODE", "the authorization code was never issued"},
      {errc::kCodeExpired, "AGENT_ERROR_CODE_EXPIRED", "the authorization code has expired"},
      {errc::kCodeAlreadyUsed, "AGENT_ERROR_CODE_ALREADY_USED",
       "the authorization code was redeemed before"},
      {errc::kCodeClientMismatch, "AGENT_ERROR_CODE_CLIENT_MISMATCH",
       "the authorization code was issued to another client"},
      {errc::kCodeAccountMismatch, "AGENT_ERROR_CODE_ACCOUNT_MISMATCH",
       "the authorization code was issued for another login id"},
      {errc::kUnknownToken, "AGENT_ERROR_UNKNOWN_TOKEN",
       "the token was not issued to this account and client, or was revoked"},
      {errc::kTokenExpired, "AGENT_ERROR_TOKEN_EXPIRED", "the token has expired"},
      {errc::kNoToken, "AGENT_ERROR_NO_TOKEN",
       "no access token was issued for this login id and client"},
      {errc::kConsentRequired, "AGENT_ERROR_CONSENT_REQUIRED",
       "the mandatory terms consents (bits 1 and 2) are missing"},
      {errc::kUnknownFaultKey, "AGENT_ERROR_UNKNOWN_FAULT_KEY",
       "fault injection: unknown key or bad value"},
      {errc::kStateLost, "AGENT_ERROR_STATE_LOST",
       "the agent's state does not match the platform account store or its identity record"},
  };
  return table;
}

const ErrorInfo *find_error(int code) {
  for (const ErrorInfo &e : error_table())
    if (e.code == code) return &e;
  return nullptr;
}

std::string error_name(int code) {
  const ErrorInfo *e = find_error(code);
  return e ? e->name : "error " + std::to_string(code);
}

}  // namespace vagent
