// velmora-account: names and explanations of the library's result codes.
#include "cli.hh"

namespace vcli {

namespace {

struct ErrorText {
  int code;
  const char *name;
  const char *explanation;
};

constexpr ErrorText kErrors[] = {
    {VELMORA_ACCOUNT_ERROR_NONE, "VELMORA_ACCOUNT_ERROR_NONE", "success"},
    {VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY, "VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY",
     "out of memory, or the request could not be handed to the agent (launch or port failure)"},
    {VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED, "VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED",
     "the platform or the agent refused this caller"},
    {VELMORA_ACCOUNT_ERROR_RESOURCE_BUSY, "VELMORA_ACCOUNT_ERROR_RESOURCE_BUSY",
     "the agent rejected the launch request, or the account store was busy"},
    {VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER, "VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER",
     "a required value is missing or invalid (login id, client id, client secret on a TV ...)"},
    {VELMORA_ACCOUNT_ERROR_NO_DATA, "VELMORA_ACCOUNT_ERROR_NO_DATA", "nothing to report"},
    {VELMORA_ACCOUNT_ERROR_UNKNOWN, "VELMORA_ACCOUNT_ERROR_UNKNOWN",
     "the account store failed without a more precise reason"},
    {VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED, "VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED",
     "the account agent is not installed, or this call is not offered on this device or transport"},
    {VELMORA_ACCOUNT_ERROR_DB_FAILED, "VELMORA_ACCOUNT_ERROR_DB_FAILED",
     "the account store's database failed"},
    {VELMORA_ACCOUNT_ERROR_NEED_SIGNIN, "VELMORA_ACCOUNT_ERROR_NEED_SIGNIN",
     "the account is not signed in on this device"},
    {VELMORA_ACCOUNT_ERROR_LOWER_VERSION, "VELMORA_ACCOUNT_ERROR_LOWER_VERSION",
     "the installed account agent is too old for this call"},
};

const ErrorText *find(int code) {
  for (const ErrorText &e : kErrors)
    if (e.code == code) return &e;
  return nullptr;
}

}  // namespace

const char *error_name(int code) {
  const ErrorText *e = find(code);
  return e ? e->name : "";
}

const char *error_explanation(int code) {
  const ErrorText *e = find(code);
  return e ? e->explanation : "a code of the account agent (see `velmora-agent errors`)";
}

}  // namespace vcli
