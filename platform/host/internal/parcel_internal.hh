// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the parcel record, shared by the parcel primitives and the ports.
#pragma once

#include <cstddef>
#include <vector>

struct rpc_port_parcel_s {
  std::vector<unsigned char> data;  // every byte written or received
  size_t pos = 0;                   // read position
  // A write failed (over the maximum size, or out of memory): the parcel lacks a field, so every
  // later write fails too and it is never sent.
  bool failed = false;
};
