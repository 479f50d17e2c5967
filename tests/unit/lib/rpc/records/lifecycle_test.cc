// SPDX-License-Identifier: Apache-2.0
// Velmora tests: create, destroy and clone of every AccountSvc record type.
#include <gtest/gtest.h>

#include "dlog.h"
#include "log_capture.hh"
#include "logged_only.hh"
#include "record_table.hh"

using rtest::FieldOps;
using rtest::Kind;
using rtest::LoggedOnly;
using rtest::TypeOps;

TEST(RecordsCreate, NullOutArgumentIsInvalidParameter) {
  for (const TypeOps &t : rtest::all_types()) {
    vtest::LogCapture log;
    EXPECT_EQ(t.create(nullptr), -1) << t.name;
    EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR, "Invalid parameter", t.function("create"))) << t.name;
  }
}

TEST(RecordsCreate, NewRecordHasEveryFieldUnsetAndLogsNothing) {
  for (const TypeOps &t : rtest::all_types()) {
    void *h = nullptr;
    {
      vtest::LogCapture log;
      ASSERT_EQ(t.create(&h), 0) << t.name;
      ASSERT_NE(h, nullptr);
      EXPECT_TRUE(log.lines().empty()) << log.dump();
    }
    for (const FieldOps &f : t.fields) {
      switch (f.kind) {
        case Kind::STRING: {
          char *v = nullptr;
          EXPECT_EQ(f.get_string(h, &v), -1) << f.type << "." << f.field;
          break;
        }
        case Kind::INT: {
          int v = 7;
          EXPECT_EQ(f.get_int(h, &v), 0);
          EXPECT_EQ(v, 0) << f.type << "." << f.field;
          break;
        }
        case Kind::LLONG: {
          long long v = 7;
          EXPECT_EQ(f.get_llong(h, &v), 0);
          EXPECT_EQ(v, 0) << f.type << "." << f.field;
          break;
        }
        case Kind::DOUBLE: {
          double v = 7;
          EXPECT_EQ(f.get_double(h, &v), 0);
          EXPECT_EQ(v, 0.0) << f.type << "." << f.field;
          break;
        }
        case Kind::RECORD: {
          void *v = nullptr;
          EXPECT_EQ(f.get_record(h, &v), -1) << f.type << "." << f.field;
          break;
        }
        case Kind::LIST:
        case Kind::STRLIST: {
          unsigned int n = 99;
          EXPECT_EQ(f.length(h, &n), 0);
          EXPECT_EQ(n, 0u) << f.type << "." << f.field;
          break;
        }
      }
    }
    EXPECT_EQ(t.destroy(h), 0);
  }
}

TEST(RecordsCreate, SetsTheTypesParcelablePair) {
  for (const va::rec::RecordDesc *d : va::rec::all_types()) {
    const TypeOps &t = rtest::type(d->name);
    void *h = rtest::make(t);
    rpc_port_parcelable_t *pair = va::rec::parcelable_of(h);
    EXPECT_NE(pair->to, nullptr) << d->name;
    EXPECT_NE(pair->from, nullptr) << d->name;
    EXPECT_EQ(pair->to, d->parcelable.to) << d->name;
    EXPECT_EQ(pair->from, d->parcelable.from) << d->name;
    t.destroy(h);
  }
}

TEST(RecordsCreate, EachTypeHasItsOwnWriteAndReadFunctions) {
  std::vector<void (*)(rpc_port_parcel_h, void *)> seen;
  for (const va::rec::RecordDesc *d : va::rec::all_types()) {
    for (auto *fn : seen) EXPECT_NE(fn, d->parcelable.to) << d->name;
    seen.push_back(d->parcelable.to);
  }
}

TEST(RecordsDestroy, NullIsInvalidParameter) {
  for (const TypeOps &t : rtest::all_types()) {
    vtest::LogCapture log;
    EXPECT_EQ(t.destroy(nullptr), -1) << t.name;
    EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR, "Invalid parameter", t.function("destroy")));
  }
}

// Destroying a populated record frees everything (the leak checker fails the test otherwise).
TEST(RecordsDestroy, FreesAPopulatedProfileTree) {
  const TypeOps &t = rtest::type("ProfileS");
  void *h = rtest::make(t);
  rtest::fill(t, h, 3, 4);
  vtest::LogCapture log;
  EXPECT_EQ(t.destroy(h), 0);
  EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST(RecordsClone, NullSourceOrOutIsInvalidParameter) {
  for (const TypeOps &t : rtest::all_types()) {
    void *h = rtest::make(t);
    {
      vtest::LogCapture log;
      void *copy = nullptr;
      EXPECT_EQ(t.clone(nullptr, &copy), -1);
      EXPECT_EQ(copy, nullptr);
      EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR, "Invalid parameter", t.function("clone")));
    }
    {
      vtest::LogCapture log;
      EXPECT_EQ(t.clone(h, nullptr), -1);
      EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR, "Invalid parameter", t.function("clone")));
    }
    t.destroy(h);
  }
}

TEST(RecordsClone, AllNullStringsCloneToAllNull) {
  for (const TypeOps &t : rtest::all_types()) {
    void *h = rtest::make(t);
    void *copy = nullptr;
    {
      vtest::LogCapture log;
      ASSERT_EQ(t.clone(h, &copy), 0) << t.name;
      EXPECT_TRUE(log.lines().empty()) << log.dump();
    }
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, h);
    for (const FieldOps &f : t.fields) {
      if (f.kind != Kind::STRING && f.kind != Kind::RECORD) continue;
      vtest::LogCapture log;
      if (f.kind == Kind::STRING) {
        char *v = nullptr;
        EXPECT_EQ(f.get_string(copy, &v), -1) << f.type << "." << f.field;
      } else {
        void *v = nullptr;
        EXPECT_EQ(f.get_record(copy, &v), -1) << f.type << "." << f.field;
      }
      EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR,
                             std::string("Invalid parameter: h->") + f.field + " is NULL",
                             f.function("get")));
    }
    t.destroy(copy);
    t.destroy(h);
  }
}

TEST(RecordsClone, CopiesEveryFieldOfEveryType) {
  for (const TypeOps &t : rtest::all_types()) {
    void *h = rtest::make(t);
    rtest::fill(t, h, 11);
    void *copy = nullptr;
    ASSERT_EQ(t.clone(h, &copy), 0) << t.name;
    EXPECT_EQ(rtest::describe(t, copy), rtest::describe(t, h));
    t.destroy(copy);
    t.destroy(h);
  }
}

TEST(RecordsClone, CopyIsIndependentOfTheOriginal) {
  for (const TypeOps &t : rtest::all_types()) {
    void *h = rtest::make(t);
    rtest::fill(t, h, 5);
    std::string before = rtest::describe(t, h);
    void *copy = nullptr;
    ASSERT_EQ(t.clone(h, &copy), 0) << t.name;
    // Change the original everywhere, then free it: the copy keeps the old values.
    rtest::fill(t, h, 6, 1);
    EXPECT_NE(rtest::describe(t, h), before) << t.name;
    t.destroy(h);
    EXPECT_EQ(rtest::describe(t, copy), before) << t.name;
    t.destroy(copy);
  }
}

TEST(RecordsClone, FullProfileTreeClonesDeeplyAndDestroysCleanly) {
  const TypeOps &t = rtest::type("ProfileS");
  void *h = rtest::make(t);
  rtest::fill(t, h, 1, 5);
  std::string want = rtest::describe(t, h);
  void *copy = nullptr;
  ASSERT_EQ(t.clone(h, &copy), 0);
  // No node of the copy is shared with the original.
  auto *a = static_cast<rpc_port_ProfileS_h>(h);
  auto *b = static_cast<rpc_port_ProfileS_h>(copy);
  EXPECT_NE(a->NameList, b->NameList);
  EXPECT_NE(a->NameList->data, b->NameList->data);
  EXPECT_NE(a->Nickname, b->Nickname);
  EXPECT_NE(a->Privacy, b->Privacy);
  EXPECT_NE(a->Type, b->Type);
  EXPECT_EQ(g_list_length(b->PhoneList), 5u);
  t.destroy(h);
  EXPECT_EQ(rtest::describe(t, copy), want);
  void *second = nullptr;
  ASSERT_EQ(t.clone(copy, &second), 0);
  t.destroy(copy);
  EXPECT_EQ(rtest::describe(t, second), want);
  t.destroy(second);
}

// A NULL item in a list field cannot be added through the interface; it is planted directly to
// show that clone refuses it and leaves nothing behind.
TEST(RecordsClone, NullItemInAListFieldFailsTheWholeClone) {
  rpc_port_ProfileS_h h = nullptr;
  ASSERT_EQ(rpc_port_ProfileS_create(&h), 0);
  rpc_port_NameS_h name = nullptr;
  rpc_port_NameS_create(&name);
  rpc_port_NameS_set_GivenName(name, "Ada");
  rpc_port_ProfileS_add_NameList(h, name);
  rpc_port_NameS_destroy(name);
  rpc_port_ProfileS_set_Type(h, "all");
  h->NameList = g_list_append(h->NameList, nullptr);

  vtest::LogCapture log;
  rpc_port_ProfileS_h copy = reinterpret_cast<rpc_port_ProfileS_h>(0x1);
  EXPECT_EQ(rpc_port_ProfileS_clone(h, &copy), -1);
  EXPECT_EQ(copy, reinterpret_cast<rpc_port_ProfileS_h>(0x1));
  EXPECT_TRUE(LoggedOnly(log, DLOG_ERROR, "Error: value is NULL", "rpc_port_ProfileS_clone"));
  rpc_port_ProfileS_destroy(h);
}

TEST(RecordsClone, UnsetNestedRecordsStayUnsetInTheCopy) {
  rpc_port_ProfileS_h h = nullptr;
  rpc_port_ProfileS_create(&h);
  rpc_port_NoteS_h note = nullptr;
  rpc_port_NoteS_create(&note);
  rpc_port_NoteS_set_Value(note, "hello");
  rpc_port_ProfileS_set_Note(h, note);
  rpc_port_NoteS_destroy(note);

  rpc_port_ProfileS_h copy = nullptr;
  ASSERT_EQ(rpc_port_ProfileS_clone(h, &copy), 0);
  EXPECT_EQ(copy->Nickname, nullptr);
  EXPECT_EQ(copy->Privacy, nullptr);
  ASSERT_NE(copy->Note, nullptr);
  EXPECT_NE(copy->Note, h->Note);
  EXPECT_STREQ(copy->Note->Value, "hello");
  EXPECT_EQ(copy->Note->Verified, nullptr);
  rpc_port_ProfileS_destroy(copy);
  rpc_port_ProfileS_destroy(h);
}
