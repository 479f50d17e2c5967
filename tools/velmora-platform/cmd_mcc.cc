// SPDX-License-Identifier: Apache-2.0
// velmora-platform mcc [MCC | none]: show the mobile country code of the network the device is on,
// or set it ("none": the device is on no network).
#include <cstdio>
#include <cstdlib>
#include <string>

#include "commands.hh"
#include "velmora_host.h"

namespace vplat {

namespace {

int print_mcc(const std::string &mcc) {
  if (options().json) {
    vcli::JsonOut json;
    if (mcc.empty())
      json.null("mcc");
    else
      json.str("mcc", mcc);
    json.print();
  } else {
    printf("%s\n", mcc.empty() ? "no network (no MCC)" : mcc.c_str());
  }
  return kExitOk;
}

}  // namespace

int run_mcc(const Args &args) {
  char *error = nullptr;
  if (args.empty()) {
    char *mcc = nullptr;
    if (const int err = velmora_host_get_mcc(&mcc, &error); err != 0)
      return fail_with(err, error, "cannot read the MCC", kDamagedDeviceConfig);
    const std::string value = mcc ? mcc : "";
    free(mcc);
    return print_mcc(value);
  }
  const std::string value = args[0] == "none" ? "" : args[0];
  if (!value.empty() &&
      (value.size() != 3 || value.find_first_not_of("0123456789") != std::string::npos))
    return usage_error("an MCC is three digits, not '" + args[0] + "' (or none)");
  if (const int err = velmora_host_set_mcc(value.c_str(), &error); err != 0)
    return fail_with(err, error, "cannot set the MCC", kCannotWrite);
  return print_mcc(value);
}

}  // namespace vplat
