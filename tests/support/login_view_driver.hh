// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a person at the agent's login view, played over HTTP (libsoup's client): finds
// the open view through the UI application's listing, reads its pages and posts its forms as a
// browser without JavaScript would.
#pragma once

#include <libsoup/soup.h>

#include <map>
#include <string>
#include <vector>

#include "ui/login_views.hh"

namespace vtest {

struct Page {
  guint status = 0;
  std::string body;
  bool has(const std::string &text) const { return body.find(text) != std::string::npos; }
};

class LoginViewDriver {
 public:
  LoginViewDriver();
  ~LoginViewDriver();
  LoginViewDriver(const LoginViewDriver &) = delete;
  LoginViewDriver &operator=(const LoginViewDriver &) = delete;

  // Waits (bounded, running the main context) until the UI application lists `count` open views;
  // the newest view's URL then becomes the driver's page. False when none appeared in time.
  bool wait_for_view(size_t count = 1);
  // The views listed now (the UI application is asked).
  std::vector<vagent::ui::LoginViewInfo> views();
  const std::string &url() const { return url_; }
  void set_url(const std::string &url) { url_ = url; }

  // GET of the view's page (or of `path` below its origin, or of an absolute URL).
  Page open();
  Page get(const std::string &url, const std::map<std::string, std::string> &headers = {});
  // Posts the view's form with `fields` and the CSRF token of the last page seen.
  Page submit(const std::map<std::string, std::string> &fields);
  // Posts `fields` as they are (no token added) to `url`, with extra `headers`.
  Page post(const std::string &url, const std::map<std::string, std::string> &fields,
            const std::map<std::string, std::string> &headers = {});
  // The presence frame's reload.
  Page alive();

  const std::string &csrf() const { return csrf_; }
  // "http://127.0.0.1:<port>" of the view.
  std::string origin() const;

 private:
  void remember(const Page &page);
  SoupSession *session_;
  std::string url_;
  std::string csrf_;
};

}  // namespace vtest
