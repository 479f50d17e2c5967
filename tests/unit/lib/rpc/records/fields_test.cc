// SPDX-License-Identifier: Apache-2.0
// Velmora tests: set_ and get_ of every field of every record type, per field kind, and the list
// fields of ProfileS and PlaceInfoS.
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <functional>

#include "dlog.h"
#include "log_capture.hh"
#include "logged_only.hh"
#include "record_table.hh"

using rtest::FieldOps;
using rtest::Kind;
using rtest::LoggedOnly;
using rtest::TypeOps;

namespace {

// Calls fn(type, field) for every field of every record type (not the list types) of kind k.
template <typename Fn>
int for_each_field(Kind k, Fn fn) {
  int n = 0;
  for (const TypeOps &t : rtest::all_types()) {
    if (rtest::is_list_type(t)) continue;
    for (const FieldOps &f : t.fields)
      if (f.kind == k) {
        fn(t, f);
        ++n;
      }
  }
  return n;
}

char *const kUntouched = reinterpret_cast<char *>(0x5a5a);

}  // namespace

// ---- string fields ----

TEST(RecordsStringField, SetThenGetReturnsAFreshCopyOfTheValue) {
  int n = for_each_field(Kind::STRING, [](const TypeOps &t, const FieldOps &f) {
    void *h = rtest::make(t);
    std::string value = std::string("value of ") + f.field;
    std::vector<char> buffer(value.begin(), value.end());
    buffer.push_back('\0');
    vtest::LogCapture log;
    EXPECT_EQ(f.set_string(h, buffer.data()), 0) << f.type << "." << f.field;
    buffer[0] = 'X';  // the record keeps its own copy
    char *a = nullptr;
    char *b = nullptr;
    EXPECT_EQ(f.get_string(h, &a), 0);
    EXPECT_EQ(f.get_string(h, &b), 0);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_STREQ(a, value.c_str()) << f.type << "." << f.field;
    EXPECT_NE(a, b);  // every get hands out a new copy
    EXPECT_TRUE(log.lines().empty()) << log.dump();
    free(a);
    free(b);
    t.destroy(h);
  });
  EXPECT_EQ(n, 20 + 10 + 7 + 4 * 5 + 3 + 4 * 2 + 5 + 4 + 4 + 4 + 7 + 1);
}

TEST(RecordsStringField, GetOfAnUnsetFieldFailsAndLeavesTheOutArgument) {
  for_each_field(Kind::STRING, [](const TypeOps &t, const FieldOps &f) {
    void *h = rtest::make(t);
    vtest::LogCapture log;
    char *v = kUntouched;
    EXPECT_EQ(f.get_string(h, &v), -1) << f.type << "." << f.field;
    EXPECT_EQ(v, kUntouched);
    EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR,
                           std::string("Invalid parameter: h->") + f.field + " is NULL",
                           f.function("get")));
    t.destroy(h);
  });
}

TEST(RecordsStringField, SetNullFailsAndKeepsTheOldValue) {
  for_each_field(Kind::STRING, [](const TypeOps &t, const FieldOps &f) {
    void *h = rtest::make(t);
    f.set_string(h, "old");
    vtest::LogCapture log;
    EXPECT_EQ(f.set_string(h, nullptr), -1) << f.type << "." << f.field;
    EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR, "Invalid parameter", f.function("set")));
    char *v = nullptr;
    EXPECT_EQ(f.get_string(h, &v), 0);
    EXPECT_STREQ(v, "old");
    free(v);
    t.destroy(h);
  });
}

TEST(RecordsStringField, SetReplacesTheOldValue) {
  for_each_field(Kind::STRING, [](const TypeOps &t, const FieldOps &f) {
    void *h = rtest::make(t);
    EXPECT_EQ(f.set_string(h, "first"), 0);
    EXPECT_EQ(f.set_string(h, ""), 0);
    char *v = nullptr;
    EXPECT_EQ(f.get_string(h, &v), 0);
    EXPECT_STREQ(v, "") << f.type << "." << f.field;
    free(v);
    EXPECT_EQ(f.set_string(h, "third"), 0);
    EXPECT_EQ(f.get_string(h, &v), 0);
    EXPECT_STREQ(v, "third");
    free(v);
    t.destroy(h);
  });
}

TEST(RecordsStringField, NullHandleOrOutIsInvalidParameter) {
  for_each_field(Kind::STRING, [](const TypeOps &t, const FieldOps &f) {
    {
      vtest::LogCapture log;
      EXPECT_EQ(f.set_string(nullptr, "x"), -1);
      EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR, "Invalid parameter", f.function("set")));
    }
    {
      vtest::LogCapture log;
      char *v = kUntouched;
      EXPECT_EQ(f.get_string(nullptr, &v), -1);
      EXPECT_EQ(v, kUntouched);
      EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR, "Invalid parameter", f.function("get")));
    }
    void *h = rtest::make(t);
    f.set_string(h, "set");
    {
      vtest::LogCapture log;
      EXPECT_EQ(f.get_string(h, nullptr), -1);
      EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR, "Invalid parameter", f.function("get")));
    }
    t.destroy(h);
  });
}

// ---- int, long long and double fields ----

TEST(RecordsIntField, SetThenGetKeepsEveryValue) {
  int n = for_each_field(Kind::INT, [](const TypeOps &t, const FieldOps &f) {
    void *h = rtest::make(t);
    for (int value : {INT_MIN, -1, 0, 1, INT_MAX}) {
      EXPECT_EQ(f.set_int(h, value), 0);
      int got = 12345;
      EXPECT_EQ(f.get_int(h, &got), 0);
      EXPECT_EQ(got, value) << f.type << "." << f.field;
    }
    t.destroy(h);
  });
  EXPECT_EQ(n, 3 + 14 + 3 + 1);
}

TEST(RecordsIntField, OtherFieldsAreNotTouched) {
  // Each int field is its own slot: setting one leaves the others at their values.
  const TypeOps &t = rtest::type("PrivacyS");
  void *h = rtest::make(t);
  for (size_t i = 0; i < t.fields.size(); ++i) t.fields[i].set_int(h, (int)i * 100 + 1);
  for (size_t i = 0; i < t.fields.size(); ++i) {
    int v = 0;
    t.fields[i].get_int(h, &v);
    EXPECT_EQ(v, (int)i * 100 + 1) << t.fields[i].field;
  }
  t.destroy(h);
}

TEST(RecordsLongLongField, KeepsValuesBeyond32Bits) {
  int n = for_each_field(Kind::LLONG, [](const TypeOps &t, const FieldOps &f) {
    void *h = rtest::make(t);
    for (long long value :
         {LLONG_MIN, -(1LL << 33) - 7, (1LL << 32) + 1, 4102444800123LL, LLONG_MAX}) {
      EXPECT_EQ(f.set_llong(h, value), 0);
      long long got = 0;
      EXPECT_EQ(f.get_llong(h, &got), 0);
      EXPECT_EQ(got, value) << f.type << "." << f.field;
    }
    t.destroy(h);
  });
  EXPECT_EQ(n, 2);
}

TEST(RecordsDoubleField, KeepsExactValues) {
  int n = for_each_field(Kind::DOUBLE, [](const TypeOps &t, const FieldOps &f) {
    void *h = rtest::make(t);
    for (double value : {-90.0, 37.566535123456789, -122.41941550000001, DBL_MIN, DBL_MAX, -0.0}) {
      EXPECT_EQ(f.set_double(h, value), 0);
      double got = 1.5;
      EXPECT_EQ(f.get_double(h, &got), 0);
      EXPECT_EQ(memcmp(&got, &value, sizeof(double)), 0)
          << f.type << "." << f.field << " " << value;
    }
    t.destroy(h);
  });
  EXPECT_EQ(n, 2);
}

TEST(RecordsScalarField, NullHandleOrOutIsInvalidParameter) {
  for (Kind k : {Kind::INT, Kind::LLONG, Kind::DOUBLE}) {
    for_each_field(k, [](const TypeOps &t, const FieldOps &f) {
      void *h = rtest::make(t);
      {
        vtest::LogCapture log;
        int r = f.kind == Kind::INT     ? f.set_int(nullptr, 1)
                : f.kind == Kind::LLONG ? f.set_llong(nullptr, 1)
                                        : f.set_double(nullptr, 1);
        EXPECT_EQ(r, -1);
        EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR, "Invalid parameter", f.function("set")));
      }
      for (void *handle : {(void *)nullptr, h}) {
        vtest::LogCapture log;
        int r;
        if (f.kind == Kind::INT) {
          int v = 3;
          r = handle ? f.get_int(handle, nullptr) : f.get_int(handle, &v);
          EXPECT_EQ(v, 3);
        } else if (f.kind == Kind::LLONG) {
          long long v = 3;
          r = handle ? f.get_llong(handle, nullptr) : f.get_llong(handle, &v);
          EXPECT_EQ(v, 3);
        } else {
          double v = 3;
          r = handle ? f.get_double(handle, nullptr) : f.get_double(handle, &v);
          EXPECT_EQ(v, 3);
        }
        EXPECT_EQ(r, -1);
        EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR, "Invalid parameter", f.function("get")));
      }
      t.destroy(h);
    });
  }
}

// ---- nested record fields ----

TEST(RecordsRecordField, SetStoresACloneAndGetHandsOutAClone) {
  int n = for_each_field(Kind::RECORD, [](const TypeOps &t, const FieldOps &f) {
    const TypeOps &it = rtest::type(f.item);
    void *h = rtest::make(t);
    void *item = rtest::make(it);
    rtest::fill(it, item, 42);
    std::string want = rtest::describe(it, item);
    {
      vtest::LogCapture log;
      EXPECT_EQ(f.set_record(h, item), 0) << f.type << "." << f.field;
      EXPECT_TRUE(log.lines().empty()) << log.dump();
    }
    it.destroy(item);  // the record holds its own clone
    void *a = nullptr;
    void *b = nullptr;
    EXPECT_EQ(f.get_record(h, &a), 0);
    EXPECT_EQ(f.get_record(h, &b), 0);
    ASSERT_NE(a, nullptr);
    EXPECT_NE(a, b);
    EXPECT_EQ(rtest::describe(it, a), want);
    it.destroy(a);
    it.destroy(b);
    t.destroy(h);
  });
  EXPECT_EQ(n, 8);
}

TEST(RecordsRecordField, SetReplacesTheOldRecord) {
  for_each_field(Kind::RECORD, [](const TypeOps &t, const FieldOps &f) {
    const TypeOps &it = rtest::type(f.item);
    void *h = rtest::make(t);
    void *first = rtest::make(it);
    rtest::fill(it, first, 1);
    void *second = rtest::make(it);
    rtest::fill(it, second, 2);
    f.set_record(h, first);
    EXPECT_EQ(f.set_record(h, second), 0);
    void *got = nullptr;
    f.get_record(h, &got);
    EXPECT_EQ(rtest::describe(it, got), rtest::describe(it, second)) << f.type << "." << f.field;
    it.destroy(got);
    it.destroy(first);
    it.destroy(second);
    t.destroy(h);
  });
}

TEST(RecordsRecordField, GetOfAnUnsetFieldFailsAndLeavesTheOutArgument) {
  for_each_field(Kind::RECORD, [](const TypeOps &t, const FieldOps &f) {
    void *h = rtest::make(t);
    vtest::LogCapture log;
    void *v = kUntouched;
    EXPECT_EQ(f.get_record(h, &v), -1);
    EXPECT_EQ(v, kUntouched);
    EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR,
                           std::string("Invalid parameter: h->") + f.field + " is NULL",
                           f.function("get")));
    t.destroy(h);
  });
}

TEST(RecordsRecordField, NullArgumentsAreInvalidParameter) {
  for_each_field(Kind::RECORD, [](const TypeOps &t, const FieldOps &f) {
    const TypeOps &it = rtest::type(f.item);
    void *h = rtest::make(t);
    void *item = rtest::make(it);
    {
      vtest::LogCapture log;
      EXPECT_EQ(f.set_record(nullptr, item), -1);
      EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR, "Invalid parameter", f.function("set")));
    }
    {
      vtest::LogCapture log;
      EXPECT_EQ(f.set_record(h, nullptr), -1);
      EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR, "Invalid parameter", f.function("set")));
    }
    f.set_record(h, item);
    {
      vtest::LogCapture log;
      EXPECT_EQ(f.get_record(h, nullptr), -1);
      EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR, "Invalid parameter", f.function("get")));
    }
    {
      vtest::LogCapture log;
      void *v = kUntouched;
      EXPECT_EQ(f.get_record(nullptr, &v), -1);
      EXPECT_EQ(v, kUntouched);
      EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR, "Invalid parameter", f.function("get")));
    }
    it.destroy(item);
    t.destroy(h);
  });
}

// ---- list fields of records ----

namespace {

// A filled item of the field's item type, told apart by seed.
void *item_for(const FieldOps &f, int seed) {
  const TypeOps &it = rtest::type(f.item);
  void *item = rtest::make(it);
  rtest::fill(it, item, seed);
  return item;
}

std::string describe_item(const FieldOps &f, const void *item) {
  return rtest::describe(rtest::type(f.item), const_cast<void *>(item));
}

}  // namespace

TEST(RecordsListField, AddAppendsClonesInOrder) {
  int n = for_each_field(Kind::LIST, [](const TypeOps &t, const FieldOps &f) {
    void *h = rtest::make(t);
    std::vector<std::string> want;
    for (int i = 0; i < 3; ++i) {
      void *item = item_for(f, i);
      want.push_back(describe_item(f, item));
      EXPECT_EQ(f.add(h, item), 0) << f.type << "." << f.field;
      rtest::type(f.item).destroy(item);
    }
    unsigned int len = 0;
    EXPECT_EQ(f.length(h, &len), 0);
    EXPECT_EQ(len, 3u);
    std::vector<const void *> items;
    EXPECT_EQ(f.items(h, &items, -1), 0);
    ASSERT_EQ(items.size(), 3u);
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(describe_item(f, items[i]), want[i]);
    t.destroy(h);
  });
  EXPECT_EQ(n, 8);
}

TEST(RecordsListField, AddOfTheSameItemTwiceStoresTwoIndependentCopies) {
  for_each_field(Kind::LIST, [](const TypeOps &t, const FieldOps &f) {
    void *h = rtest::make(t);
    void *item = item_for(f, 9);
    EXPECT_EQ(f.add(h, item), 0);
    EXPECT_EQ(f.add(h, item), 0);
    std::vector<const void *> items;
    f.items(h, &items, -1);
    ASSERT_EQ(items.size(), 2u);
    EXPECT_NE(items[0], items[1]);
    EXPECT_NE(items[0], item);
    EXPECT_EQ(describe_item(f, items[0]), describe_item(f, item));
    EXPECT_EQ(describe_item(f, items[1]), describe_item(f, item));
    rtest::type(f.item).destroy(item);
    t.destroy(h);
  });
}

TEST(RecordsListField, ForeachStopsWhenTheCallbackReturnsFalse) {
  for_each_field(Kind::LIST, [](const TypeOps &t, const FieldOps &f) {
    void *h = rtest::make(t);
    for (int i = 0; i < 3; ++i) {
      void *item = item_for(f, i);
      f.add(h, item);
      rtest::type(f.item).destroy(item);
    }
    vtest::LogCapture log;
    std::vector<const void *> items;
    EXPECT_EQ(f.items(h, &items, 1), 0);
    EXPECT_EQ(items.size(), 1u) << f.type << "." << f.field;
    items.clear();
    EXPECT_EQ(f.items(h, &items, 2), 0);
    EXPECT_EQ(items.size(), 2u);
    EXPECT_TRUE(log.lines().empty()) << log.dump();
    t.destroy(h);
  });
}

TEST(RecordsListField, RemoveDestroysTheNthItem) {
  for_each_field(Kind::LIST, [](const TypeOps &t, const FieldOps &f) {
    void *h = rtest::make(t);
    std::vector<std::string> want;
    for (int i = 0; i < 3; ++i) {
      void *item = item_for(f, i);
      want.push_back(describe_item(f, item));
      f.add(h, item);
      rtest::type(f.item).destroy(item);
    }
    EXPECT_EQ(f.remove(h, 1), 0);
    std::vector<const void *> items;
    f.items(h, &items, -1);
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(describe_item(f, items[0]), want[0]);
    EXPECT_EQ(describe_item(f, items[1]), want[2]);
    EXPECT_EQ(f.remove(h, 0), 0);
    EXPECT_EQ(f.remove(h, 0), 0);
    unsigned int len = 9;
    f.length(h, &len);
    EXPECT_EQ(len, 0u);
    t.destroy(h);
  });
}

TEST(RecordsListField, RemovePastTheEndFailsSilentlyAndChangesNothing) {
  for_each_field(Kind::LIST, [](const TypeOps &t, const FieldOps &f) {
    void *h = rtest::make(t);
    void *item = item_for(f, 1);
    f.add(h, item);
    f.add(h, item);
    rtest::type(f.item).destroy(item);
    vtest::LogCapture log;
    EXPECT_EQ(f.remove(h, 2), -1);
    EXPECT_EQ(f.remove(h, UINT_MAX), -1);
    EXPECT_TRUE(log.lines().empty()) << log.dump();
    unsigned int len = 0;
    f.length(h, &len);
    EXPECT_EQ(len, 2u);
    t.destroy(h);
  });
}

TEST(RecordsListField, NullArgumentsAreInvalidParameter) {
  for_each_field(Kind::LIST, [](const TypeOps &t, const FieldOps &f) {
    void *h = rtest::make(t);
    void *item = item_for(f, 1);
    struct Case {
      const char *verb;
      std::function<int()> call;
    };
    std::vector<Case> cases = {
        {"add", [&] { return f.add(nullptr, item); }},
        {"add", [&] { return f.add(h, nullptr); }},
        {"foreach",
         [&] {
           std::vector<const void *> v;
           return f.items(nullptr, &v, -1);
         }},
        {"foreach", [&] { return f.items(h, nullptr, -1); }},
        {"remove", [&] { return f.remove(nullptr, 0); }},
        {"length",
         [&] {
           unsigned int n;
           return f.length(nullptr, &n);
         }},
        {"length", [&] { return f.length(h, nullptr); }},
    };
    for (const Case &c : cases) {
      vtest::LogCapture log;
      EXPECT_EQ(c.call(), -1) << f.function(c.verb);
      EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR, "Invalid parameter", f.function(c.verb)));
    }
    unsigned int len = 9;
    f.length(h, &len);
    EXPECT_EQ(len, 0u);
    rtest::type(f.item).destroy(item);
    t.destroy(h);
  });
}

// A NULL item cannot be added through the interface; planted directly, foreach skips it with a
// warning and goes on.
TEST(RecordsListField, ForeachSkipsANullItemWithAWarning) {
  rpc_port_PlaceInfoS_h h = nullptr;
  rpc_port_PlaceInfoS_create(&h);
  rpc_port_PlaceS_h place = nullptr;
  rpc_port_PlaceS_create(&place);
  rpc_port_PlaceS_set_Name(place, "home");
  h->PlaceList = g_list_append(h->PlaceList, nullptr);
  rpc_port_PlaceInfoS_add_PlaceList(h, place);
  rpc_port_PlaceS_destroy(place);

  const FieldOps &f = rtest::field("PlaceInfoS", "PlaceList");
  vtest::LogCapture log;
  std::vector<const void *> items;
  EXPECT_EQ(f.items(h, &items, -1), 0);
  ASSERT_EQ(items.size(), 1u);
  EXPECT_STREQ(static_cast<rpc_port_PlaceS_h>(const_cast<void *>(items[0]))->Name, "home");
  EXPECT_TRUE(LoggedOnly(log, DLOG_WARN, "Warning: value is NULL",
                         "rpc_port_PlaceInfoS_foreach_PlaceList"));
  unsigned int len = 0;
  rpc_port_PlaceInfoS_get_PlaceList_length(h, &len);
  EXPECT_EQ(len, 2u);  // the NULL item counts
  rpc_port_PlaceInfoS_destroy(h);
}
