// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the version of the library at run time.
#include "velmora_account_version.h"

extern "C" VELMORA_API int velmora_account_version_get(int *major, int *minor, int *patch) {
  if (major) *major = VELMORA_ACCOUNT_VERSION_MAJOR;
  if (minor) *minor = VELMORA_ACCOUNT_VERSION_MINOR;
  if (patch) *patch = VELMORA_ACCOUNT_VERSION_PATCH;
  return 0;
}
