// SPDX-License-Identifier: Apache-2.0
// Velmora agent UI: the login views' HTTP server (web_server.hh).
#include "ui/web_server.hh"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "dlog.h"

namespace vagent::ui {

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT_UI";
constexpr const char *kPrefix = "/login/";

struct Web {
  SoupServer *server = nullptr;
  WebHandler handler = nullptr;
  std::string origin;     // "http://127.0.0.1:<port>"
  std::string host;       // "127.0.0.1:<port>"
  std::string localhost;  // "localhost:<port>"
};
Web g_web;

guint port_from_environment() {
  const char *text = getenv("VELMORA_LOGIN_VIEW_PORT");
  if (!text || !*text) return 0;
  char *end = nullptr;
  errno = 0;
  const long v = strtol(text, &end, 10);
  if (errno || *end || v < 0 || v > 65535) {
    dlog_print(DLOG_WARN, kLogTag, "ui: VELMORA_LOGIN_VIEW_PORT='%s' is not a port; any will do",
               text);
    return 0;
  }
  return static_cast<guint>(v);
}

bool host_is_ours(SoupServerMessage *msg) {
  const char *host =
      soup_message_headers_get_one(soup_server_message_get_request_headers(msg), "Host");
  return host && (g_web.host == host || g_web.localhost == host);
}

// Before a body is read: the request's host, and the size of what it would send.
void early(SoupServer *, SoupServerMessage *msg, const char *, GHashTable *, gpointer) {
  if (!host_is_ours(msg)) {
    respond_html(msg, SOUP_STATUS_MISDIRECTED_REQUEST,
                 "<!doctype html><title>Wrong address</title><p>Wrong address.</p>");
    return;
  }
  SoupMessageHeaders *headers = soup_server_message_get_request_headers(msg);
  const goffset length = soup_message_headers_get_content_length(headers);
  const SoupEncoding encoding = soup_message_headers_get_encoding(headers);
  if (encoding == SOUP_ENCODING_CHUNKED || encoding == SOUP_ENCODING_EOF || length > kMaxBodyBytes)
    respond_html(msg, SOUP_STATUS_REQUEST_ENTITY_TOO_LARGE,
                 "<!doctype html><title>Too large</title><p>The request is too large.</p>");
}

void dispatch(SoupServer *, SoupServerMessage *msg, const char *path, GHashTable *, gpointer) {
  if (soup_server_message_get_status(msg) != SOUP_STATUS_NONE) return;  // refused early
  if (!host_is_ours(msg)) {
    respond_html(msg, SOUP_STATUS_MISDIRECTED_REQUEST,
                 "<!doctype html><title>Wrong address</title><p>Wrong address.</p>");
    return;
  }
  if (strncmp(path, kPrefix, strlen(kPrefix)) != 0) {
    respond_html(msg, SOUP_STATUS_NOT_FOUND,
                 "<!doctype html><title>Not found</title><p>Nothing here.</p>");
    return;
  }
  g_web.handler(msg, path + strlen(kPrefix));
}

}  // namespace

bool web_start(WebHandler handler, std::string *error) {
  if (g_web.server) return true;
  SoupServer *server = soup_server_new("server-header", "velmora-login-view", nullptr);
  GError *err = nullptr;
  if (!soup_server_listen_local(server, port_from_environment(), SOUP_SERVER_LISTEN_IPV4_ONLY,
                                &err)) {
    *error = std::string("cannot listen on 127.0.0.1: ") + (err ? err->message : "unknown error");
    g_clear_error(&err);
    g_object_unref(server);
    return false;
  }
  GSList *uris = soup_server_get_uris(server);
  const int port = uris ? g_uri_get_port(static_cast<GUri *>(uris->data)) : -1;
  g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
  if (port <= 0) {
    *error = "the login view server has no port";
    g_object_unref(server);
    return false;
  }
  g_web.server = server;
  g_web.handler = handler;
  g_web.host = "127.0.0.1:" + std::to_string(port);
  g_web.localhost = "localhost:" + std::to_string(port);
  g_web.origin = "http://" + g_web.host;
  soup_server_add_early_handler(server, nullptr, early, nullptr, nullptr);
  soup_server_add_handler(server, nullptr, dispatch, nullptr, nullptr);
  dlog_print(DLOG_INFO, kLogTag, "ui: login views are served on %s", g_web.origin.c_str());
  return true;
}

const std::string &web_origin() { return g_web.origin; }

void web_stop() {
  if (!g_web.server) return;
  soup_server_disconnect(g_web.server);
  g_object_unref(g_web.server);
  g_web = Web{};
}

void respond_html(SoupServerMessage *msg, guint status, const std::string &html, Framing framing) {
  SoupMessageHeaders *h = soup_server_message_get_response_headers(msg);
  soup_message_headers_replace(h, "Cache-Control", "no-store");
  soup_message_headers_replace(h, "Pragma", "no-cache");
  // same-origin, not no-referrer: under no-referrer a browser posts the form with "Origin: null",
  // which foreign_origin() refuses; the one-time path still never leaves for another site.
  soup_message_headers_replace(h, "Referrer-Policy", "same-origin");
  soup_message_headers_replace(h, "X-Content-Type-Options", "nosniff");
  if (framing == Framing::kTopOnly) {
    soup_message_headers_replace(h, "X-Frame-Options", "DENY");
    soup_message_headers_replace(
        h, "Content-Security-Policy",
        "default-src 'none'; style-src 'unsafe-inline'; form-action "
        "'self'; frame-src 'self'; frame-ancestors 'none'; base-uri 'none'");
  } else {
    soup_message_headers_replace(h, "X-Frame-Options", "SAMEORIGIN");
    soup_message_headers_replace(h, "Content-Security-Policy",
                                 "default-src 'none'; frame-ancestors 'self'; base-uri 'none'");
  }
  soup_server_message_set_status(msg, status, nullptr);
  soup_server_message_set_response(msg, "text/html; charset=utf-8", SOUP_MEMORY_COPY, html.data(),
                                   html.size());
}

GHashTable *form_fields(SoupServerMessage *msg) {
  const char *type =
      soup_message_headers_get_content_type(soup_server_message_get_request_headers(msg), nullptr);
  if (!type || g_ascii_strcasecmp(type, "application/x-www-form-urlencoded") != 0) return nullptr;
  SoupMessageBody *body = soup_server_message_get_request_body(msg);
  GBytes *bytes = soup_message_body_flatten(body);
  gsize size = 0;
  const char *data = static_cast<const char *>(g_bytes_get_data(bytes, &size));
  if (size > static_cast<gsize>(kMaxBodyBytes)) {
    g_bytes_unref(bytes);
    return nullptr;
  }
  const std::string text(data ? data : "", size);
  g_bytes_unref(bytes);
  return soup_form_decode(text.c_str());
}

}  // namespace vagent::ui
