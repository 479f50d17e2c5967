// SPDX-License-Identifier: Apache-2.0
// velmora-account: printing an answer (only the properties that are set) or a failure, as text or
// as one JSON object (json-glib), with the result code's name and explanation from the library's
// table and, when the platform said why a launch or a connection failed, its reason.
#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "account_cli.hh"
#include "dlog.h"
#include "json_out.hh"
#include "velmora_host.h"

namespace vacc {

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

std::vector<Row> rows_of(velmora_account_h account, int shown_flag) {
  std::vector<Row> rows;
  for (const Named &p : kStrProperties) {
    // An authorization code read from --authcode-file is the caller's secret: not printed.
    if (p.id == VELMORA_ACCOUNT_PROPERTY_AUTHCODE && !request().authcode.empty()) continue;
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
        (value || p.id == shown_flag))
      rows.push_back({p.name, {value ? "true" : "false", false}});
  }
  return rows;
}

// The platform's error lines of this run (why a launch or a connection failed), the last few.
constexpr size_t kKeptReasons = 4;
std::mutex g_reasons_mutex;
std::vector<std::string> g_reasons;

void on_log_line(int priority, const char *tag, const char *, const char *line, void *) {
  // The platform's own tags (VELMORA_IPC, VELMORA_HOST, VELMORA_STORE ...), errors only.
  if (priority < DLOG_ERROR || !g_str_has_prefix(tag, "VELMORA_")) return;
  std::lock_guard<std::mutex> lock(g_reasons_mutex);
  if (g_reasons.size() == kKeptReasons) g_reasons.erase(g_reasons.begin());
  g_reasons.emplace_back(line);
}

std::string platform_reason() {
  std::lock_guard<std::mutex> lock(g_reasons_mutex);
  std::string text;
  for (const std::string &r : g_reasons) text += (text.empty() ? "" : "; ") + r;
  return text;
}

std::string hex(int code) {
  char text[16];
  snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(code));
  return text;
}

// "VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER (-22)", "AGENT_ERROR_UNKNOWN_USER (-1056964607,
// 0xC1000001)" or just the number for a code nobody named.
std::string code_text(int code) {
  const char *name = velmora_account_error_name(code);
  const std::string number = std::to_string(code) + (code < -4096 ? ", " + hex(code) : "");
  return name ? std::string(name) + " (" + number + ")" : number;
}

const char *explanation(int code) {
  const char *message = velmora_account_error_message(code);
  return message ? message : "a code no table names (an agent's own, or set by fault injection)";
}

const char *name_of_property(int id) {
  for (const Named &p : kStrProperties)
    if (p.id == id) return p.name;
  return "the value asked for";
}

// A failure as one JSON object, or as text on stderr. `error` and `message` describe it; `result`
// is the code when there is one.
int report_failure(const char *what, const int *result, const std::string &error,
                   const std::string &message, int status) {
  const std::string reason = platform_reason();
  if (options().json) {
    vcli::JsonOut json;
    json.str("operation", what);
    if (result)
      json.integer("result", *result);
    else
      json.null("result");
    json.str("error", error).str("message", message);
    if (!reason.empty()) json.str("platform_reason", reason);
    json.integer("exit_status", status).print();
  }
  // The text goes to stderr in both forms, as with the other tools.
  const char *name = result ? velmora_account_error_name(*result) : nullptr;
  const std::string headline = !result ? error
                               : name && error == name
                                   ? code_text(*result)
                                   : error + " (result " + code_text(*result) + ")";
  fprintf(stderr, "velmora-account: %s failed: %s\n  %s\n", what, headline.c_str(),
          message.c_str());
  if (!reason.empty()) fprintf(stderr, "  the platform said: %s\n", reason.c_str());
  return status;
}

}  // namespace

void watch_platform_log() { velmora_host_set_log_hook(on_log_line, nullptr); }

int print_failure(const char *what, int result) {
  const char *name = velmora_account_error_name(result);
  return report_failure(what, &result, name ? name : std::to_string(result), explanation(result),
                        vcli::kExitFailed);
}

int print_error(const char *what, const std::string &error, const std::string &message) {
  return report_failure(what, nullptr, error, message, vcli::kExitFailed);
}

int print_timeout(const char *what, const std::string &waiting_for) {
  return report_failure(
      what, nullptr, "TIMED_OUT",
      "waited " + std::to_string(options().timeout_s) + " s for " + waiting_for + " (--timeout)",
      vcli::kExitTimeout);
}

int print_result(const char *what, int result, velmora_account_h account, int required,
                 int shown_flag) {
  if (result != VELMORA_ACCOUNT_ERROR_NONE) return print_failure(what, result);
  const std::vector<Row> rows = account ? rows_of(account, shown_flag) : std::vector<Row>{};
  const char *required_name = name_of_property(required);
  bool complete = required == kNothingRequired;
  for (const auto &[name, value] : rows)
    if (name == required_name && !value.first.empty()) complete = true;
  if (!complete)
    return report_failure(
        what, &result, "INCOMPLETE_ANSWER",
        std::string("the agent reported success but its answer has no ") + required_name,
        kExitIncomplete);
  if (options().json) {
    vcli::JsonOut json;
    json.str("operation", what).integer("result", 0).str("error", "VELMORA_ACCOUNT_ERROR_NONE");
    json.begin_object("account");
    for (const auto &[name, value] : rows) {
      if (value.second)
        json.str(name.c_str(), value.first);
      else if (value.first == "true" || value.first == "false")
        json.boolean(name.c_str(), value.first == "true");
      else
        json.integer(name.c_str(), atoll(value.first.c_str()));
    }
    json.end_object().integer("exit_status", vcli::kExitOk).print();
  } else {
    for (const auto &[name, value] : rows) printf("%s: %s\n", name.c_str(), value.first.c_str());
    if (rows.empty()) printf("%s: done\n", what);
  }
  return vcli::kExitOk;
}

int print_values(const char *what, const std::vector<Value> &values) {
  if (options().json) {
    vcli::JsonOut json;
    json.str("operation", what).integer("result", 0).str("error", "VELMORA_ACCOUNT_ERROR_NONE");
    for (const Value &v : values) {
      switch (v.kind) {
        case Value::Kind::kText:
          json.str(v.name, v.text);
          break;
        case Value::Kind::kFlag:
          json.boolean(v.name, v.flag);
          break;
        case Value::Kind::kList:
          json.begin_array(v.name);
          for (const std::string &item : v.list) json.add_str(item);
          json.end_array();
          break;
      }
    }
    json.integer("exit_status", vcli::kExitOk).print();
    return vcli::kExitOk;
  }
  for (const Value &v : values) {
    switch (v.kind) {
      case Value::Kind::kText:
        printf("%s: %s\n", v.name, v.text.c_str());
        break;
      case Value::Kind::kFlag:
        printf("%s: %s\n", v.name, v.flag ? "true" : "false");
        break;
      case Value::Kind::kList:
        if (v.list.empty() && v.empty_text) printf("%s\n", v.empty_text);
        for (const std::string &item : v.list) printf("%s\n", item.c_str());
        break;
    }
  }
  return vcli::kExitOk;
}

}  // namespace vacc
