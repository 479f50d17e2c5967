// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: text messages. The host has no phone network: a message "sent" here is
// appended to the root's outbox, where whoever plays the phone reads it (velmora_host.h).
#include <fcntl.h>
#include <glib.h>
#include <glib/gstdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "host_root.hh"
#include "velmora_host.h"

namespace {

constexpr const char *kOutbox = "sms/outbox";
// An outbox past this size moves to "outbox.1" (replacing the one before) before the next line.
constexpr off_t kOutboxMaxBytes = 64 * 1024;
constexpr size_t kMaxTo = 32;
constexpr size_t kMaxText = 480;

int fail(int code, const std::string &message, char **error) {
  if (error) *error = strdup(message.c_str());
  return code;
}

// Printable text on one line: no control characters (tabs and line breaks would break the
// outbox's lines); bytes of UTF-8 above 0x7f are kept.
bool one_line(const char *text, size_t max) {
  const size_t n = strlen(text);
  if (n == 0 || n > max) return false;
  for (size_t i = 0; i < n; ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c < 0x20 || c == 0x7f) return false;
  }
  return g_utf8_validate(text, static_cast<gssize>(n), nullptr);
}

}  // namespace

extern "C" {

char *velmora_host_sms_outbox_path(void) { return strdup(vhost::root_path(kOutbox).c_str()); }

int velmora_host_sms_send(const char *to, const char *text, char **error) {
  if (error) *error = nullptr;
  if (!to || !one_line(to, kMaxTo))
    return fail(
        -EINVAL,
        "an SMS needs a recipient of 1.." + std::to_string(kMaxTo) + " printable characters",
        error);
  if (!text || !one_line(text, kMaxText))
    return fail(
        -EINVAL,
        "an SMS text is 1.." + std::to_string(kMaxText) + " bytes of printable UTF-8 on one line",
        error);
  const std::string path = vhost::root_path(kOutbox);
  std::string message;
  if (!vhost::private_file(path, &message)) return fail(-EIO, message, error);
  struct stat st {};
  if (stat(path.c_str(), &st) == 0 && st.st_size >= kOutboxMaxBytes) {
    const std::string previous = path + ".1";
    if (g_rename(path.c_str(), previous.c_str()) != 0 || !vhost::private_file(path, &message))
      return fail(-EIO, "cannot start a new SMS outbox " + path, error);
  }
  const std::string line = std::to_string(static_cast<long long>(g_get_real_time() / 1000000)) +
                           "\t" + to + "\t" + text + "\n";
  const int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NOFOLLOW);
  if (fd < 0)
    return fail(-EIO, "cannot open the SMS outbox " + path + ": " + strerror(errno), error);
  // One write of a short line to a file opened for appending: concurrent senders do not mix.
  const ssize_t n = write(fd, line.data(), line.size());
  const int saved = errno;
  close(fd);
  if (n != static_cast<ssize_t>(line.size()))
    return fail(-EIO, "cannot write the SMS outbox " + path + ": " + strerror(saved), error);
  return 0;
}

}  // extern "C"
