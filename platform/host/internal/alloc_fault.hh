// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: failure injection for the allocations of parcels and app control
// objects (test builds).
//
// Every place of the parcel primitives and of the app control object functions (app_control.h:
// create, clone, set, add and get) that allocates asks allocation_fails() first. In a build
// with VELMORA_ALLOC_FAULTS, velmora_host_alloc_fail_at (velmora_host.h) chooses one of those
// allocations to fail, so that tests can walk them all; elsewhere it is always false.
#pragma once

namespace vhost {

bool allocation_fails();

}  // namespace vhost
