// SPDX-License-Identifier: Apache-2.0
// velmora-platform pair [--phone ROOT | --unpair]: pair this root (a wearable) with a phone's
// root, forget the pairing, or show it.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "commands.hh"
#include "velmora_host.h"

namespace vplat {

namespace {

int show() {
  char *peer = nullptr;
  std::string role = "none";
  if (velmora_host_paired_phone(&peer) == 0)
    role = "phone";
  else if (velmora_host_paired_wearable(&peer) == 0)
    role = "wearable";
  const std::string root = peer ? peer : "";
  free(peer);
  if (options().json) {
    vcli::JsonOut out;
    out.str("paired_with", role);
    if (root.empty())
      out.null("root");
    else
      out.str("root", root);
    out.print();
  } else if (root.empty()) {
    printf("not paired\n");
  } else {
    printf("%s %s\n", role.c_str(), root.c_str());
  }
  return kExitOk;
}

}  // namespace

int run_pair(const Args &) {
  const Options &o = options();
  char *error = nullptr;
  if (o.unpair && o.phone) return usage_error("give --phone or --unpair, not both");
  if (o.unpair) {
    if (const int err = velmora_host_unpair(&error); err != 0)
      return fail_with(err, error, "cannot unpair", kCannotWrite);
    if (o.json)
      vcli::JsonOut().str("paired_with", "none").null("root").print();
    else
      printf("unpaired\n");
    return kExitOk;
  }
  if (!o.phone) return show();
  if (const int err = velmora_host_pair_phone(o.phone, &error); err != 0)
    return fail_with(err, error, std::string("cannot pair with ") + o.phone, kCannotWrite);
  char *phone = nullptr;
  velmora_host_paired_phone(&phone);
  const std::string root = phone ? phone : o.phone;
  free(phone);
  if (o.json)
    vcli::JsonOut().str("paired_with", "phone").str("root", root).print();
  else
    printf("paired with phone %s\n", root.c_str());
  return kExitOk;
}

}  // namespace vplat
