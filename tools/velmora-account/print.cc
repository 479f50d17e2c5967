// velmora-account: printing a response handle (only the properties that are set) or a failure, as
// text or as JSON.
#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "cli.hh"

namespace vcli {

namespace {

struct Named {
  int id;
  const char *name;
};

constexpr Named kStrProperties[] = {
    {VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN, "access_token"},
    {VELMORA_ACCOUNT_PROPERTY_API_SERVER_URL, "api_server_url"},
    {VELMORA_ACCOUNT_PROPERTY_AUTHCODE, "authcode"},
    {VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL, "auth_server_url"},
    {VELMORA_ACCOUNT_PROPERTY_CLIENT_ID, "client_id"},
    {VELMORA_ACCOUNT_PROPERTY_CC, "cc"},
    {VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE, "device_unique_code"},
    {VELMORA_ACCOUNT_PROPERTY_LAST_ACCESS_TOKEN, "last_access_token"},
    {VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "login_id"},
    {VELMORA_ACCOUNT_PROPERTY_MCC, "mcc"},
    {VELMORA_ACCOUNT_PROPERTY_REFRESH_TOKEN, "refresh_token"},
    {VELMORA_ACCOUNT_PROPERTY_SCOPE, "scope"},
    {VELMORA_ACCOUNT_PROPERTY_USER_ID, "user_id"},
    {VELMORA_ACCOUNT_PROPERTY_SIGNIN_APP_MESSAGE, "signin_app_message"},
    {VELMORA_ACCOUNT_PROPERTY_CUSTOMIZEDSERVICE, "customizedservice"},
    {VELMORA_ACCOUNT_PROPERTY_ID_TOKEN, "id_token"},
    {VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_TOKEN, "authentication_token"},
    {VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_CODE, "authentication_code"},
    {VELMORA_ACCOUNT_PROPERTY_PARTNER_CLIENT_ID, "partner_client_id"},
    // The client secret and the password are what the caller gave; they are not printed.
};

constexpr Named kIntProperties[] = {
    {VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_EXPIRES_IN, "access_token_expires_in"},
    {VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_ISSUE_TIME, "access_token_issue_time"},
    {VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, "api_timeout"},
};

constexpr Named kBoolProperties[] = {
    {VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER, "request_to_server"},
    {VELMORA_ACCOUNT_PROPERTY_BOOL_REGISTER_TRUSTED_DEVICE, "register_trusted_device"},
    {VELMORA_ACCOUNT_PROPERTY_BOOL_CHECK_2FACTOR_AUTHENTICATION, "check_2factor_authentication"},
    {VELMORA_ACCOUNT_PROPERTY_BOOL_MOBILE_ACCOUNT_EXIST, "mobile_account_exist"},
    {VELMORA_ACCOUNT_PROPERTY_BOOL_ACCOUNT_LINKING_STATUS, "account_linking_status"},
};

// (name, value, value is a JSON string)
using Row = std::pair<std::string, std::pair<std::string, bool>>;

std::vector<Row> rows_of(velmora_account_h account) {
  std::vector<Row> rows;
  for (const Named &p : kStrProperties) {
    char *value = nullptr;
    if (velmora_account_get_property_str(account, p.id, &value) == VELMORA_ACCOUNT_ERROR_NONE) {
      rows.push_back({p.name, {value ? value : "", true}});
      free(value);
    }
  }
  for (const Named &p : kIntProperties) {
    int value = 0;
    if (velmora_account_get_property_int(account, p.id, &value) == VELMORA_ACCOUNT_ERROR_NONE)
      rows.push_back({p.name, {std::to_string(value), false}});
  }
  // A response handle starts as a copy whose flags read false: only a true flag tells something.
  for (const Named &p : kBoolProperties) {
    bool value = false;
    if (velmora_account_get_property_bool(account, p.id, &value) == VELMORA_ACCOUNT_ERROR_NONE &&
        value)
      rows.push_back({p.name, {"true", false}});
  }
  return rows;
}

std::string json_string(const std::string &s) {
  std::string out = "\"";
  for (unsigned char c : s) {
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (c < 0x20) {
          char buf[8];
          snprintf(buf, sizeof buf, "\\u%04x", c);
          out += buf;
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  return out + "\"";
}

std::string code_text(int code) {
  const char *name = error_name(code);
  char hex[16];
  snprintf(hex, sizeof hex, "0x%08X", static_cast<unsigned>(code));
  const std::string number = std::to_string(code) + (code < -4096 ? std::string(", ") + hex : "");
  return name[0] ? std::string(name) + " (" + number + ")" : number;
}

}  // namespace

int print_failure(const Options &options, const char *what, int result) {
  if (options.json) {
    printf("{\"operation\": %s, \"result\": %d, \"error\": %s, \"explanation\": %s}\n",
           json_string(what).c_str(), result, json_string(error_name(result)).c_str(),
           json_string(error_explanation(result)).c_str());
  } else {
    fprintf(stderr, "velmora-account: %s failed: %s\n  %s\n", what, code_text(result).c_str(),
            error_explanation(result));
  }
  return kExitFailed;
}

int print_result(const Options &options, const char *what, int result, velmora_account_h account) {
  if (result != VELMORA_ACCOUNT_ERROR_NONE) return print_failure(options, what, result);
  const std::vector<Row> rows = account ? rows_of(account) : std::vector<Row>{};
  if (options.json) {
    std::string out = "{\"operation\": " + json_string(what) + ", \"result\": 0, \"account\": {";
    for (size_t i = 0; i < rows.size(); ++i) {
      const auto &[name, value] = rows[i];
      out += (i ? ", " : "") + json_string(name) + ": " +
             (value.second ? json_string(value.first) : value.first);
    }
    printf("%s}}\n", out.c_str());
  } else {
    for (const auto &[name, value] : rows) printf("%s: %s\n", name.c_str(), value.first.c_str());
  }
  return kExitOk;
}

}  // namespace vcli
