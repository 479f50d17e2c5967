// SPDX-License-Identifier: Apache-2.0
// Velmora tests: records and lists when the library runs out of memory.
//
// For each type, every allocation of one life of a record (create, every setter and list add,
// clone, clone of a list, a write to a parcel and a read back) is made to fail in turn
// (tests/support/alloc_faults.hh): each function reports its failure (-1, no handle) or succeeds,
// a clone is whole or absent, nothing crashes and nothing leaks. `make check` walks a
// representative set of types; VELMORA_ALLOC_FAULTS_ALL=1 (`make alloc-faults`) walks all of them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "alloc_faults.hh"
#include "record_table.hh"

namespace {

using rtest::TypeOps;

// One life of a record of type t; n > 0: some allocation in it fails.
void one_life(const TypeOps &t, long n) {
  void *h = nullptr;
  const int created = t.create(&h);
  if (created != 0) {
    EXPECT_EQ(created, -1);
    EXPECT_EQ(h, nullptr);
    return;
  }
  ASSERT_NE(h, nullptr);
  rtest::fill(t, h, 7);  // setters that cannot copy their value fail; the record stays usable
  // Written with the parcel's allocations, which do not fail here (the encoding holds every field).
  const rtest::Bytes bytes = rtest::encode(h);

  void *copy = nullptr;
  const int cloned = t.clone(h, &copy);
  if (cloned == 0) {
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(rtest::encode(copy), bytes);  // a clone is whole
    t.destroy(copy);
  } else {
    EXPECT_EQ(cloned, -1);
  }

  // Read back into a new record.
  void *back = nullptr;
  if (t.create(&back) == 0) {
    rtest::decode_into(back, bytes);
    if (n == 0) {
      EXPECT_EQ(rtest::encode(back), bytes);  // nothing failed: read back whole
    }
    t.destroy(back);
  }
  t.destroy(h);
}

std::vector<const TypeOps *> types_to_walk() {
  std::vector<const TypeOps *> out;
  const char *all = getenv("VELMORA_ALLOC_FAULTS_ALL");
  for (const TypeOps &t : rtest::all_types()) {
    const std::string name = t.name;
    // Flat strings, nested records and lists of records, string lists, a stand-alone list.
    if ((all != nullptr && *all == '1') || name == "AccountS" || name == "ProfileS" ||
        name == "PlaceInfoS" || name == "list_PhoneS" || name == "list_string")
      out.push_back(&t);
  }
  return out;
}

TEST(RecordsOutOfMemory, EveryAllocationOfARecordsLifeMayFail) {
  if (!vtest::allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
  const auto types = types_to_walk();
  ASSERT_GE(types.size(), 5u);
  for (const TypeOps *t : types) {
    SCOPED_TRACE(t->name);
    const long total = vtest::each_failing_allocation(vtest::kLibraryAllocations,
                                                      [&](long n) { one_life(*t, n); });
    EXPECT_GT(total, 1);
    if (HasFailure()) break;
  }
}

}  // namespace
