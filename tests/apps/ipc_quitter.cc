// SPDX-License-Identifier: Apache-2.0
// Velmora tests: an application that exits at once without listening (see test_apps.hh).
#include "app_common.hh"

int main() {
  vtest::app::mark_start();
  return 3;
}
