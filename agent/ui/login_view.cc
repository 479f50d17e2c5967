// SPDX-License-Identifier: Apache-2.0
// Velmora agent UI: the login views (login_view.hh): their table rows, pages and steps.
#include "ui/login_view.hh"

#include <sodium.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "clock.hh"
#include "dlog.h"
#include "errors.hh"
#include "secure_random.hh"
#include "ui/account_calls.hh"
#include "ui/login_page.hh"
#include "ui/login_views.hh"
#include "ui/operations.hh"
#include "ui/web_server.hh"
#include "velmora_account_error.h"
#include "velmora_account_request_op.h"

namespace vagent::ui {

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT_UI";
constexpr int kViewIdBytes = 24;
constexpr int kCsrfBytes = 24;

int setting_ms(const char *name, int fallback, int low, int high) {
  const char *text = getenv(name);
  if (!text || !*text) return fallback;
  char *end = nullptr;
  errno = 0;
  const long v = strtol(text, &end, 10);
  if (errno || *end || v < low || v > high) {
    dlog_print(DLOG_WARN, kLogTag, "ui: %s='%s' is not %d..%d ms; using %d", name, text, low, high,
               fallback);
    return fallback;
  }
  return static_cast<int>(v);
}

int timeout_ms() { return setting_ms("VELMORA_LOGIN_VIEW_TIMEOUT_MS", 240000, 100, 3600000); }
int heartbeat_s() {
  return (setting_ms("VELMORA_LOGIN_VIEW_HEARTBEAT_MS", 5000, 1, 600000) + 999) / 1000;
}

enum class Step { kCredentials, kNumber };

struct View {
  uint64_t serial = 0;  // names the view in the log (the id never appears there)
  std::string id;       // the path's one-time part
  std::string csrf;
  ViewKind kind = ViewKind::kSignIn;
  std::string caller;
  int64_t opened_at = 0;
  std::shared_ptr<UiRequest> request;
  Step step = Step::kCredentials;
  std::string login_id;
  std::string password;                  // between the password step and the number step only
  std::string token;                     // the authenticate token of the password step
  std::string number;                    // the number being checked (wiped once sent)
  bool trust = false;                    // trust this device once the number is right
  std::string message;                   // the error shown with the next page
  bool busy = false;                     // a library call is under way
  SoupServerMessage *waiting = nullptr;  // the paused POST that the call's outcome answers
  bool timed_out = false;
  gint64 last_seen_us = 0;  // the presence frame's last reload; 0: the page was never shown
  GSource *timer = nullptr;
  GSource *presence = nullptr;
};

struct Views {
  std::vector<std::unique_ptr<View>> open;
  uint64_t last_serial = 0;
};
Views g_views;

const char *kind_name(ViewKind kind) {
  return kind == ViewKind::kSignIn ? "sign-in" : "confirm-user";
}

void wipe(std::string *secret) {
  if (!secret->empty()) sodium_memzero(secret->data(), secret->size());
  secret->clear();
}

View *find_serial(uint64_t serial) {
  for (auto &v : g_views.open)
    if (v->serial == serial) return v.get();
  return nullptr;
}

// Compared in constant time, so that timing tells nothing about an id.
View *find_id(const std::string &id) {
  View *found = nullptr;
  for (auto &v : g_views.open)
    if (v->id.size() == id.size() && sodium_memcmp(v->id.data(), id.data(), id.size()) == 0)
      found = v.get();
  return found;
}

void drop_source(GSource **source) {
  if (*source == nullptr) return;
  g_source_destroy(*source);
  g_source_unref(*source);
  *source = nullptr;
}

PageContext page_of(const View &v) {
  PageContext p;
  p.kind = v.kind;
  p.base = "/login/" + v.id + "/";
  p.csrf = v.csrf;
  p.caller = v.caller;
  p.message = v.message;
  p.heartbeat_s = heartbeat_s();
  return p;
}

std::string current_page(const View &v) {
  return v.step == Step::kNumber ? number_page(page_of(v), v.login_id)
                                 : credentials_page(page_of(v), v.login_id);
}

// What the person reads for an error of a step.
std::string message_for(int code) {
  if (code == errc::kWrongPassword || code == errc::kUnknownUser)
    return "The login ID or the password is wrong.";
  if (code == errc::kAccountLocked)
    return "Too many wrong passwords: this login ID is locked for a while. Try again later.";
  if (code == errc::kWrongAuthNumber) return "The number is wrong. Check the SMS and try again.";
  if (code == errc::kAuthNumberExpired)
    return "The number has expired or was tried too often. Send a new number.";
  if (code == errc::kNoAuthNumber) return "No number was sent yet. Send a new number.";
  if (code == errc::kTooManyAuthNumbers)
    return "Too many numbers were sent lately. Try again later.";
  if (code == errc::kNoPhoneNumber)
    return "This account needs a number sent by SMS, but it has no phone number.";
  if (code == errc::kSmsNotSent) return "The SMS could not be sent. Try again.";
  if (code == errc::kInvalidParameter) return "Enter the login ID and the password.";
  return "It did not work: " + error_name(code) + " (" + std::to_string(code) + ").";
}

// Sends `html` as the answer of the paused POST, if one waits.
void answer_waiting(View &v, guint status, const std::string &html) {
  if (v.waiting == nullptr) return;
  respond_html(v.waiting, status, html);
  soup_server_message_unpause(v.waiting);
  g_object_unref(v.waiting);
  v.waiting = nullptr;
}

// Ends a view: the request gets its answer (ok with `extras`, or `code`), a waiting POST the
// outcome page, and the view is forgotten.
void finish(View &v, int code, const Extras &extras, const std::string &title,
            const std::string &text) {
  if (code == 0)
    v.request->succeed(extras);
  else
    v.request->fail(code);
  dlog_print(DLOG_INFO, kLogTag, "ui: login view %llu (%s) ended: %s",
             static_cast<unsigned long long>(v.serial), kind_name(v.kind),
             code == 0 ? "done" : error_name(code).c_str());
  answer_waiting(v, SOUP_STATUS_OK, outcome_page(title, text));
  wipe(&v.password);
  wipe(&v.token);
  drop_source(&v.timer);
  drop_source(&v.presence);
  auto &open = g_views.open;
  open.erase(std::remove_if(open.begin(), open.end(),
                            [&v](const std::unique_ptr<View> &p) { return p.get() == &v; }),
             open.end());
}

void finish_failed(View &v, int code) {
  if (code == errc::kCanceled)
    return finish(v, code, {}, "Cancelled", "Nobody was signed in. You can close this page.");
  if (code == errc::kLoginViewTimedOut)
    return finish(v, code, {}, "Timed out",
                  "This login view has expired. You can close this page.");
  finish(v, code, {}, "Closed", "This login view is closed. You can close this page.");
}

// A step's call is over: a view that timed out meanwhile ends unless the call succeeded.
bool ended_by_time_out(View &v) {
  if (!v.timed_out) return false;
  finish_failed(v, errc::kLoginViewTimedOut);
  return true;
}

void back_to_credentials(View &v, int code) {
  v.step = Step::kCredentials;
  wipe(&v.password);
  wipe(&v.token);
  v.message = message_for(code);
  answer_waiting(v, SOUP_STATUS_OK, current_page(v));
}

// Keeps the POST `msg` waiting for the outcome of the step it started.
void hold(View &v, SoupServerMessage *msg) {
  g_object_ref(msg);
  soup_server_message_pause(msg);
  v.waiting = msg;
}

// Starts a step's library call; `on_done` gets its outcome, also when it fails at once.
void start_call(View &v, int (*start)(View &v, CallDone done),
                void (*on_done)(View &v, const CallOutcome &o)) {
  const uint64_t serial = v.serial;
  v.busy = true;
  const int ret = start(v, [serial, on_done](const CallOutcome &o) {
    View *view = find_serial(serial);
    if (view == nullptr) return;  // the view ended while the call was under way
    view->busy = false;
    on_done(*view, o);
  });
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) {
    v.busy = false;
    CallOutcome o;
    o.result = ret;
    on_done(v, o);
  }
}

int request_number(View &v, CallDone done) { return call_request_number(v.login_id, done); }

int sign_in_with_password(View &v, CallDone done) {
  return v.kind == ViewKind::kSignIn ? call_sign_in(v.login_id, v.password, done)
                                     : call_confirm_user(v.login_id, v.password, done);
}

int sign_in_with_number(View &v, CallDone done) {
  const int ret =
      call_sign_in_with_number(v.login_id, v.password, v.token, v.number, v.trust, done);
  wipe(&v.number);
  return ret;
}

void number_sent(View &v, const CallOutcome &o) {
  if (ended_by_time_out(v)) return;
  if (o.result == VELMORA_ACCOUNT_ERROR_NONE) {
    v.step = Step::kNumber;
    answer_waiting(v, SOUP_STATUS_OK, current_page(v));
    return;
  }
  if (v.step == Step::kNumber) {
    v.message = message_for(o.result);
    answer_waiting(v, SOUP_STATUS_OK, current_page(v));
    return;
  }
  back_to_credentials(v, o.result);
}

void signed_in(View &v, const CallOutcome &o) {
  if (o.result == VELMORA_ACCOUNT_ERROR_NONE) {
    const bool sign_in = v.kind == ViewKind::kSignIn;
    finish(v, 0, o.account_extras(), sign_in ? "Signed in" : "Confirmed",
           (sign_in ? "You are signed in as " : "You confirmed that you are ") + o.login_id +
               ". You can close this page.");
    return;
  }
  if (ended_by_time_out(v)) return;
  if (o.result == errc::kSecondFactorRequired && v.step == Step::kCredentials) {
    // The password was right: a number goes to the phone, to be sent back with the token.
    v.token = o.authenticate_token;
    start_call(v, request_number, number_sent);
    return;
  }
  const bool number_problem = o.result == errc::kWrongAuthNumber ||
                              o.result == errc::kAuthNumberExpired ||
                              o.result == errc::kNoAuthNumber;
  if (v.step == Step::kNumber && number_problem) {
    v.message = message_for(o.result);
    answer_waiting(v, SOUP_STATUS_OK, current_page(v));
    return;
  }
  back_to_credentials(v, o.result);
}

std::string field(GHashTable *fields, const char *name) {
  const char *value = static_cast<const char *>(g_hash_table_lookup(fields, name));
  return value ? value : "";
}

bool csrf_matches(const View &v, const std::string &given) {
  return given.size() == v.csrf.size() &&
         sodium_memcmp(given.data(), v.csrf.data(), given.size()) == 0;
}

// A form of another site posted here: its Origin (browsers send one with every POST) is not ours.
bool foreign_origin(SoupServerMessage *msg) {
  const char *origin =
      soup_message_headers_get_one(soup_server_message_get_request_headers(msg), "Origin");
  return origin != nullptr && web_origin() != origin;
}

// The values the form posted; the table's copies of secrets are wiped before it goes.
struct Posted {
  std::string csrf, action, login_id, password, number;
  bool trust = false;
  ~Posted() {
    wipe(&password);
    wipe(&number);
  }
};

bool read_form(SoupServerMessage *msg, Posted *out) {
  GHashTable *fields = form_fields(msg);
  if (fields == nullptr) return false;
  out->csrf = field(fields, "csrf");
  out->action = field(fields, "action");
  out->login_id = field(fields, "login_id");
  out->password = field(fields, "password");
  out->number = field(fields, "number");
  out->trust = field(fields, "trust") == "Y";
  for (const char *secret : {"password", "number"})
    if (char *p = static_cast<char *>(g_hash_table_lookup(fields, secret)))
      sodium_memzero(p, strlen(p));
  g_hash_table_unref(fields);
  return true;
}

void submit(View &v, SoupServerMessage *msg) {
  if (strcmp(soup_server_message_get_method(msg), "POST") != 0) {
    respond_html(msg, SOUP_STATUS_METHOD_NOT_ALLOWED, current_page(v));
    return;
  }
  Posted form;
  if (!read_form(msg, &form) || foreign_origin(msg) || !csrf_matches(v, form.csrf)) {
    dlog_print(DLOG_WARN, kLogTag, "ui: login view %llu: a form without its token was refused",
               static_cast<unsigned long long>(v.serial));
    respond_html(msg, SOUP_STATUS_FORBIDDEN,
                 outcome_page("Refused", "This form did not come from the login view."));
    return;
  }
  v.message.clear();
  if (v.busy) {
    v.message = "Still working on the last step: a moment, please.";
    respond_html(msg, SOUP_STATUS_OK, current_page(v));
    v.message.clear();
    return;
  }
  if (form.action == "cancel") {
    hold(v, msg);
    finish_failed(v, errc::kCanceled);
    return;
  }
  if (v.step == Step::kCredentials && (form.action == "sign_in" || form.action == "confirm")) {
    v.login_id = form.login_id;
    if (v.login_id.empty() || form.password.empty()) {
      v.message = message_for(errc::kInvalidParameter);
      respond_html(msg, SOUP_STATUS_OK, current_page(v));
      return;
    }
    wipe(&v.password);
    v.password.swap(form.password);
    hold(v, msg);
    start_call(v, sign_in_with_password, signed_in);
    return;
  }
  if (v.step == Step::kNumber && form.action == "verify") {
    if (form.number.empty()) {
      v.message = "Enter the number from the SMS.";
      respond_html(msg, SOUP_STATUS_OK, current_page(v));
      return;
    }
    v.number.swap(form.number);
    v.trust = form.trust;
    hold(v, msg);
    start_call(v, sign_in_with_number, signed_in);
    return;
  }
  if (v.step == Step::kNumber && form.action == "resend") {
    hold(v, msg);
    start_call(v, request_number, number_sent);
    return;
  }
  respond_html(msg, SOUP_STATUS_BAD_REQUEST, current_page(v));
}

void presence_seen(View &v, SoupServerMessage *msg) {
  v.last_seen_us = g_get_monotonic_time();
  respond_html(msg, SOUP_STATUS_OK, presence_page(heartbeat_s()), Framing::kSameSite);
}

// Every request below "/login/": "<id>/" (the page), "<id>/submit", "<id>/alive".
void on_http(SoupServerMessage *msg, const std::string &rest) {
  const size_t slash = rest.find('/');
  View *v = slash == std::string::npos ? nullptr : find_id(rest.substr(0, slash));
  if (v == nullptr) {
    respond_html(msg, SOUP_STATUS_NOT_FOUND,
                 outcome_page("Not open", "This login view is not open (any more)."));
    return;
  }
  const std::string part = rest.substr(slash + 1);
  if (part.empty()) {
    if (v->last_seen_us == 0) v->last_seen_us = g_get_monotonic_time();
    respond_html(msg, SOUP_STATUS_OK, current_page(*v));
  } else if (part == "submit") {
    submit(*v, msg);
  } else if (part == "alive") {
    presence_seen(*v, msg);
  } else {
    respond_html(msg, SOUP_STATUS_NOT_FOUND,
                 outcome_page("Not found", "There is nothing at this address."));
  }
}

gboolean on_time_out(gpointer data) {
  View *v = find_serial(reinterpret_cast<uintptr_t>(data));
  if (v == nullptr) return G_SOURCE_REMOVE;
  g_source_unref(v->timer);
  v->timer = nullptr;
  if (v->busy) {
    v->timed_out = true;  // the call under way decides: signed in, or timed out
    return G_SOURCE_REMOVE;
  }
  finish_failed(*v, errc::kLoginViewTimedOut);
  return G_SOURCE_REMOVE;
}

// The page went away when its presence frame stopped reloading (after it was shown once).
gboolean on_presence_check(gpointer data) {
  View *v = find_serial(reinterpret_cast<uintptr_t>(data));
  if (v == nullptr) return G_SOURCE_REMOVE;
  const gint64 silence_us = static_cast<gint64>(3 * heartbeat_s() + 1) * G_USEC_PER_SEC;
  if (v->busy || v->last_seen_us == 0 || g_get_monotonic_time() - v->last_seen_us < silence_us)
    return G_SOURCE_CONTINUE;
  g_source_unref(v->presence);
  v->presence = nullptr;
  finish_failed(*v, errc::kLoginViewClosed);
  return G_SOURCE_REMOVE;
}

GSource *attach_timer(guint interval_ms, GSourceFunc fn, uint64_t serial) {
  GSource *s = g_timeout_source_new(interval_ms);
  g_source_set_callback(s, fn, reinterpret_cast<gpointer>(static_cast<uintptr_t>(serial)), nullptr);
  g_source_attach(s, g_main_context_get_thread_default());
  return s;
}

void open_view(const std::shared_ptr<UiRequest> &request, ViewKind kind) {
  if (g_views.open.size() >= kMaxLoginViews) {
    dlog_print(DLOG_WARN, kLogTag, "ui: %zu login views are open already; refused",
               g_views.open.size());
    request->fail(errc::kLoginViewUnavailable);
    return;
  }
  std::string error;
  if (!web_start(on_http, &error)) {
    dlog_print(DLOG_ERROR, kLogTag, "ui: %s", error.c_str());
    request->fail(errc::kLoginViewUnavailable);
    return;
  }
  auto v = std::make_unique<View>();
  v->serial = ++g_views.last_serial;
  v->id = random_base64url(kViewIdBytes);
  v->csrf = random_base64url(kCsrfBytes);
  v->kind = kind;
  v->caller = request->extra("caller_id");
  v->opened_at = Clock::wall();
  v->request = request;
  v->timer = attach_timer(static_cast<guint>(timeout_ms()), on_time_out, v->serial);
  v->presence =
      attach_timer(static_cast<guint>(heartbeat_s()) * 1000, on_presence_check, v->serial);
  dlog_print(DLOG_INFO, kLogTag, "ui: login view %llu (%s) opened for '%s'",
             static_cast<unsigned long long>(v->serial), kind_name(kind), v->caller.c_str());
  g_views.open.push_back(std::move(v));
}

void sign_in_view(const std::shared_ptr<UiRequest> &request) {
  open_view(request, ViewKind::kSignIn);
}

void confirm_user_view(const std::shared_ptr<UiRequest> &request) {
  open_view(request, ViewKind::kConfirmUser);
}

void list_views(const std::shared_ptr<UiRequest> &request) {
  Extras extras{{"view_count", std::to_string(g_views.open.size())}};
  int i = 0;
  for (const auto &v : g_views.open) {
    const std::string at = "view_" + std::to_string(++i) + "_";
    extras.emplace_back(at + "url", web_origin() + "/login/" + v->id + "/");
    extras.emplace_back(at + "kind", kind_name(v->kind));
    extras.emplace_back(at + "caller", v->caller);
    extras.emplace_back(at + "opened_at", std::to_string(v->opened_at));
  }
  request->succeed(extras);
}

const char *const kListOperation = kListLoginViewsOperation;

}  // namespace

bool login_views_open() { return !g_views.open.empty(); }

void close_login_views() {
  while (!g_views.open.empty()) finish_failed(*g_views.open.front(), errc::kLoginViewUnavailable);
  web_stop();
}

const std::vector<UiOperation> &login_view_operations() {
  static const std::vector<UiOperation> table = {
      {&REQUEST_OP_SIGNIN_POPUP, "signin_view", UiCallers::kAgent, sign_in_view},
      {&REQUEST_OP_CONFIRMUSER_POPUP, "confirmuser_view", UiCallers::kAgent, confirm_user_view},
      {&kListOperation, "loginviews", UiCallers::kAny, list_views},
  };
  return table;
}

}  // namespace vagent::ui
