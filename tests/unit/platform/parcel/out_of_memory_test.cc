// SPDX-License-Identifier: Apache-2.0
// Velmora tests: parcels when the platform runs out of memory. Every allocation of one life of a
// parcel (create, writes of every kind and of a whole AccountS record, a copy from raw bytes,
// every read) is made to fail in turn (tests/support/alloc_faults.hh): each call returns
// RPC_PORT_ERROR_OUT_OF_MEMORY or succeeds, a parcel that failed a write fails every later write
// (it lacks a field), a failed read leaves its out-argument untouched, nothing crashes and nothing
// leaks.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "alloc_faults.hh"
#include "record_table.hh"
#include "rpc_port_parcel.h"
#include "velmora_host.h"

namespace {

bool none_or_oom(int ret) {
  return ret == RPC_PORT_ERROR_NONE || ret == RPC_PORT_ERROR_OUT_OF_MEMORY;
}

// A filled AccountS, made before the walk (its own allocations are the library's).
struct Account {
  Account() {
    h = rtest::make(rtest::type("AccountS"));
    rtest::fill(rtest::type("AccountS"), h, 3);
  }
  ~Account() { rtest::type("AccountS").destroy(h); }
  void *h = nullptr;
};

void one_life(void *account, long n) {
  rpc_port_parcel_h p = nullptr;
  const int created = rpc_port_parcel_create(&p);
  if (created != RPC_PORT_ERROR_NONE) {
    EXPECT_EQ(created, RPC_PORT_ERROR_OUT_OF_MEMORY);
    return;
  }
  // Writes: once one fails, every later one fails too.
  bool failed = false;
  auto wrote = [&](int ret) {
    EXPECT_TRUE(none_or_oom(ret)) << ret;
    if (failed) {
      EXPECT_NE(ret, RPC_PORT_ERROR_NONE) << "a write after a failed one";
    }
    failed = failed || ret != RPC_PORT_ERROR_NONE;
  };
  wrote(rpc_port_parcel_write_int32(p, 7));
  wrote(rpc_port_parcel_write_string(p, "a string of the parcel"));
  wrote(rpc_port_parcel_write_int64(p, 1LL << 40));
  wrote(rpc_port_parcel_write_array_count(p, 2));
  wrote(rpc_port_parcel_write_bool(p, true));
  wrote(rpc_port_parcel_write(p, va::rec::parcelable_of(account), account));
  wrote(rpc_port_parcel_write_string(p, "the end"));
  if (n == 0) {
    EXPECT_FALSE(failed);
  }

  const void *raw = nullptr;
  unsigned int size = 0;
  ASSERT_EQ(velmora_host_parcel_get_raw(p, &raw, &size), RPC_PORT_ERROR_NONE);
  rpc_port_parcel_h copy = nullptr;
  const int copied = velmora_host_parcel_create_from_raw(&copy, raw, size);
  rpc_port_parcel_destroy(p);
  if (copied != RPC_PORT_ERROR_NONE) {
    EXPECT_EQ(copied, RPC_PORT_ERROR_OUT_OF_MEMORY);
    EXPECT_EQ(copy, nullptr);
    return;
  }
  // Reads: a string that cannot be copied out is an error and leaves the out-argument alone.
  int i = 0;
  EXPECT_TRUE(none_or_oom(rpc_port_parcel_read_int32(copy, &i)) || failed);
  char *text = reinterpret_cast<char *>(&i);  // a sentinel the read must not touch
  const int read = rpc_port_parcel_read_string(copy, &text);
  if (read == RPC_PORT_ERROR_NONE) {
    EXPECT_STREQ(text, "a string of the parcel");
    free(text);
  } else {
    EXPECT_TRUE(read == RPC_PORT_ERROR_OUT_OF_MEMORY || failed) << read;
    EXPECT_EQ(text, reinterpret_cast<char *>(&i));
  }
  rpc_port_parcel_destroy(copy);
}

TEST(ParcelOutOfMemory, EveryAllocationOfAParcelsLifeMayFail) {
  if (!vtest::allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
  Account account;
  const long total = vtest::each_failing_allocation(vtest::kPlatformAllocations,
                                                    [&](long n) { one_life(account.h, n); });
  EXPECT_GE(total, 4);
}

}  // namespace
