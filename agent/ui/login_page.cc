// SPDX-License-Identifier: Apache-2.0
// Velmora agent UI: the HTML of the login views (login_page.hh).
#include "ui/login_page.hh"

namespace vagent::ui {

namespace {

constexpr const char *kStyle =
    "body{font-family:sans-serif;max-width:26em;margin:3em auto;padding:0 1em;color:#222}"
    "h1{font-size:1.4em}label{display:block;margin:.8em 0 .2em}"
    "input[type=text],input[type=password],input[type=email]{width:100%;padding:.4em;"
    "box-sizing:border-box}"
    ".buttons{margin-top:1.2em}button{margin-right:.6em;padding:.4em 1em}"
    ".message{background:#fde8e8;border:1px solid #e0a0a0;padding:.6em}"
    ".who{color:#555}";

std::string head(const std::string &title) {
  return "<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
         "<meta name=\"referrer\" content=\"same-origin\"><title>" +
         html_escape(title) + "</title><style>" + kStyle + "</style></head><body>\n";
}

std::string who_asks(const PageContext &page) {
  const std::string what = page.kind == ViewKind::kSignIn
                               ? "to sign in to your Velmora account"
                               : "to confirm that it is you, with your Velmora password";
  const std::string who = page.caller.empty()
                              ? "A program on this device"
                              : "The application <b>" + html_escape(page.caller) + "</b>";
  return "<p class=\"who\">" + who + " asks you " + what + ".</p>\n";
}

std::string message_box(const PageContext &page) {
  if (page.message.empty()) return "";
  return "<p class=\"message\" id=\"message\" role=\"alert\">" + html_escape(page.message) +
         "</p>\n";
}

std::string form_start(const PageContext &page) {
  return "<form method=\"post\" action=\"" + html_escape(page.base) +
         "submit\" autocomplete=\"on\">\n<input type=\"hidden\" name=\"csrf\" value=\"" +
         html_escape(page.csrf) + "\">\n";
}

std::string presence(const PageContext &page) {
  return "<iframe src=\"" + html_escape(page.base) +
         "alive\" title=\"\" width=\"0\" height=\"0\" hidden></iframe>\n";
}

}  // namespace

std::string html_escape(const std::string &text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string credentials_page(const PageContext &page, const std::string &login_id) {
  const bool sign_in = page.kind == ViewKind::kSignIn;
  const std::string title = sign_in ? "Sign in to Velmora" : "Confirm it is you";
  return head(title) + "<h1>" + title + "</h1>\n" + who_asks(page) + message_box(page) +
         form_start(page) +
         "<label for=\"login_id\">Login ID</label>"
         "<input type=\"text\" id=\"login_id\" name=\"login_id\" autocomplete=\"username\" "
         "required maxlength=\"255\" value=\"" +
         html_escape(login_id) +
         "\">\n"
         "<label for=\"password\">Password</label>"
         "<input type=\"password\" id=\"password\" name=\"password\" "
         "autocomplete=\"current-password\" required maxlength=\"1024\">\n"
         "<div class=\"buttons\"><button type=\"submit\" id=\"submit\" name=\"action\" value=\"" +
         (sign_in ? std::string("sign_in\">Sign in") : std::string("confirm\">Confirm")) +
         "</button><button type=\"submit\" id=\"cancel\" name=\"action\" value=\"cancel\" "
         "formnovalidate>Cancel</button></div>\n</form>\n" +
         presence(page) + "</body></html>\n";
}

std::string number_page(const PageContext &page, const std::string &login_id) {
  return head("Sign-in number") + "<h1>Enter your sign-in number</h1>\n" + who_asks(page) +
         "<p>We sent a number by SMS to the phone of <b>" + html_escape(login_id) + "</b>.</p>\n" +
         message_box(page) + form_start(page) +
         "<label for=\"number\">Sign-in number</label>"
         "<input type=\"text\" id=\"number\" name=\"number\" inputmode=\"numeric\" "
         "autocomplete=\"one-time-code\" required maxlength=\"16\">\n"
         "<label><input type=\"checkbox\" id=\"trust\" name=\"trust\" value=\"Y\"> Trust this "
         "device: do not ask for a number here next time</label>\n"
         "<div class=\"buttons\"><button type=\"submit\" id=\"submit\" name=\"action\" "
         "value=\"verify\">Sign in</button><button type=\"submit\" id=\"resend\" name=\"action\" "
         "value=\"resend\" formnovalidate>Send a new number</button><button type=\"submit\" "
         "id=\"cancel\" name=\"action\" value=\"cancel\" formnovalidate>Cancel</button></div>\n"
         "</form>\n" +
         presence(page) + "</body></html>\n";
}

std::string outcome_page(const std::string &title, const std::string &text) {
  return head(title) + "<h1>" + html_escape(title) + "</h1>\n<p id=\"outcome\">" +
         html_escape(text) + "</p>\n</body></html>\n";
}

std::string presence_page(int heartbeat_s) {
  return "<!doctype html>\n<html><head><meta charset=\"utf-8\">"
         "<meta http-equiv=\"refresh\" content=\"" +
         std::to_string(heartbeat_s) + "\"><title>alive</title></head><body></body></html>\n";
}

}  // namespace vagent::ui
