// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the login view over HTTP (login_view_driver.hh).
#include "login_view_driver.hh"

#include <glib.h>

namespace vtest {

namespace {

constexpr int kListWaitMs = 20000;
constexpr int kPollMs = 100;

Page send(SoupSession *session, SoupMessage *msg) {
  Page page;
  GError *error = nullptr;
  GBytes *body = soup_session_send_and_read(session, msg, nullptr, &error);
  if (body == nullptr) {
    page.body = error ? error->message : "no answer";
    g_clear_error(&error);
  } else {
    gsize size = 0;
    const char *data = static_cast<const char *>(g_bytes_get_data(body, &size));
    page.body.assign(data ? data : "", size);
    g_bytes_unref(body);
    page.status = soup_message_get_status(msg);
  }
  g_object_unref(msg);
  return page;
}

}  // namespace

LoginViewDriver::LoginViewDriver()
    : session_(soup_session_new_with_options("timeout", 30, "idle-timeout", 5, nullptr)) {}

LoginViewDriver::~LoginViewDriver() { g_object_unref(session_); }

std::vector<vagent::ui::LoginViewInfo> LoginViewDriver::views() {
  std::vector<vagent::ui::LoginViewInfo> out;
  std::string error;
  vagent::ui::list_login_views(kListWaitMs, &out, &error);
  return out;
}

bool LoginViewDriver::wait_for_view(size_t count) {
  const gint64 deadline = g_get_monotonic_time() + static_cast<gint64>(kListWaitMs) * 1000;
  while (g_get_monotonic_time() < deadline) {
    std::vector<vagent::ui::LoginViewInfo> now = views();
    if (now.size() >= count) {
      url_ = now.back().url;
      return true;
    }
    // Let replies of the test's own requests arrive meanwhile.
    const gint64 until = g_get_monotonic_time() + kPollMs * 1000;
    while (g_get_monotonic_time() < until) g_main_context_iteration(nullptr, FALSE);
    g_usleep(10 * 1000);
  }
  return false;
}

std::string LoginViewDriver::origin() const {
  const size_t at = url_.find("/login/");
  return at == std::string::npos ? url_ : url_.substr(0, at);
}

void LoginViewDriver::remember(const Page &page) {
  const std::string marker = "name=\"csrf\" value=\"";
  const size_t at = page.body.find(marker);
  if (at == std::string::npos) return;
  const size_t end = page.body.find('"', at + marker.size());
  if (end != std::string::npos)
    csrf_ = page.body.substr(at + marker.size(), end - at - marker.size());
}

Page LoginViewDriver::get(const std::string &url,
                          const std::map<std::string, std::string> &headers) {
  SoupMessage *msg = soup_message_new("GET", url.c_str());
  if (msg == nullptr) return Page{0, "bad URL"};
  for (const auto &[k, v] : headers)
    soup_message_headers_replace(soup_message_get_request_headers(msg), k.c_str(), v.c_str());
  Page page = send(session_, msg);
  remember(page);
  return page;
}

Page LoginViewDriver::open() { return get(url_); }

Page LoginViewDriver::alive() { return get(url_ + "alive"); }

Page LoginViewDriver::post(const std::string &url, const std::map<std::string, std::string> &fields,
                           const std::map<std::string, std::string> &headers) {
  GHashTable *form = g_hash_table_new(g_str_hash, g_str_equal);
  for (const auto &[k, v] : fields)
    g_hash_table_insert(form, const_cast<char *>(k.c_str()), const_cast<char *>(v.c_str()));
  SoupMessage *msg =
      soup_message_new_from_encoded_form("POST", url.c_str(), soup_form_encode_hash(form));
  g_hash_table_unref(form);
  if (msg == nullptr) return Page{0, "bad URL"};
  for (const auto &[k, v] : headers)
    soup_message_headers_replace(soup_message_get_request_headers(msg), k.c_str(), v.c_str());
  Page page = send(session_, msg);
  remember(page);
  return page;
}

Page LoginViewDriver::submit(const std::map<std::string, std::string> &fields) {
  std::map<std::string, std::string> all = fields;
  all["csrf"] = csrf_;
  return post(url_ + "submit", all, {{"Origin", origin()}});
}

}  // namespace vtest
