// SPDX-License-Identifier: Apache-2.0
// velmora-agent outbox: the text messages the host platform "sent" (the SMS numbers of second
// factors), oldest first: "<unix seconds>\t<to>\t<text>" per line, from the root's outbox.
#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "cli/agent_cli.hh"
#include "velmora_host.h"

namespace vagent::cli {

int run_outbox(const Args &) {
  char *path = velmora_host_sms_outbox_path();
  if (path == nullptr)
    return failed(Status::fail(errc::kInvalidParameter,
                               "no platform root: give --root or set VELMORA_PLATFORM_ROOT"));
  const std::string outbox = path;
  free(path);
  std::string all;
  for (const std::string &file : {outbox + ".1", outbox}) {
    gchar *text = nullptr;
    gsize size = 0;
    if (!g_file_get_contents(file.c_str(), &text, &size, nullptr)) continue;
    all.append(text, size);
    g_free(text);
  }
  if (options().json) {
    JsonReply json;
    json.begin_array("messages");
    std::istringstream lines(all);
    std::string line;
    while (std::getline(lines, line)) {
      const size_t tab1 = line.find('\t');
      const size_t tab2 = tab1 == std::string::npos ? tab1 : line.find('\t', tab1 + 1);
      if (tab2 == std::string::npos) continue;
      json.begin_object(nullptr)
          .integer("time", atoll(line.substr(0, tab1).c_str()))
          .str("to", line.substr(tab1 + 1, tab2 - tab1 - 1))
          .str("text", line.substr(tab2 + 1))
          .end_object();
    }
    json.end_array().print();
    return kExitOk;
  }
  fwrite(all.data(), 1, all.size(), stdout);
  if (all.empty()) fprintf(stderr, "velmora-agent: outbox: no message was sent\n");
  return kExitOk;
}

}  // namespace vagent::cli
