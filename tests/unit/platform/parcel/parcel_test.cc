// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the host platform's parcel primitives: round trips, little-endian fixed-width
// layout, bounds-checked reads that fail without touching their out-argument, the size limit and
// the refusal of element counts the bytes cannot back.
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "rpc_port_parcel.h"
#include "velmora_host.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes raw(rpc_port_parcel_h p) {
  const void *data = nullptr;
  unsigned int size = 0;
  EXPECT_EQ(velmora_host_parcel_get_raw(p, &data, &size), 0);
  const auto *b = static_cast<const unsigned char *>(data);
  return Bytes(b, b + size);
}

rpc_port_parcel_h from(const Bytes &bytes) {
  rpc_port_parcel_h p = nullptr;
  EXPECT_EQ(velmora_host_parcel_create_from_raw(&p, bytes.data(), (unsigned int)bytes.size()), 0);
  return p;
}

struct Parcel {
  rpc_port_parcel_h p = nullptr;
  Parcel() { EXPECT_EQ(rpc_port_parcel_create(&p), 0); }
  explicit Parcel(const Bytes &b) : p(from(b)) {}
  ~Parcel() { rpc_port_parcel_destroy(p); }
  Parcel(const Parcel &) = delete;
  Parcel &operator=(const Parcel &) = delete;
};

// One fixed-width primitive: its size, a writer of a sample, and a reader that checks the out
// argument is untouched on failure.
struct Prim {
  const char *name;
  size_t size;
  std::function<int(rpc_port_parcel_h)> write_sample;
  // Reads; returns the result and whether the out-argument kept its sentinel.
  std::function<int(rpc_port_parcel_h, bool *untouched)> read;
};

template <typename T>
std::function<int(rpc_port_parcel_h, bool *)> reader(int (*fn)(rpc_port_parcel_h, T *),
                                                     T sentinel) {
  return [fn, sentinel](rpc_port_parcel_h p, bool *untouched) {
    T v = sentinel;
    int r = fn(p, &v);
    *untouched = memcmp(&v, &sentinel, sizeof(T)) == 0;
    return r;
  };
}

std::vector<Prim> prims() {
  return {
      {"byte", 1, [](rpc_port_parcel_h p) { return rpc_port_parcel_write_byte(p, 'x'); },
       reader<char>(rpc_port_parcel_read_byte, 'S')},
      {"int16", 2, [](rpc_port_parcel_h p) { return rpc_port_parcel_write_int16(p, 0x1234); },
       reader<short>(rpc_port_parcel_read_int16, 77)},
      {"int32", 4, [](rpc_port_parcel_h p) { return rpc_port_parcel_write_int32(p, 0x12345678); },
       reader<int>(rpc_port_parcel_read_int32, 77)},
      {"int64", 8,
       [](rpc_port_parcel_h p) { return rpc_port_parcel_write_int64(p, 0x123456789abcdefLL); },
       reader<long long>(rpc_port_parcel_read_int64, 77)},
      {"float", 4, [](rpc_port_parcel_h p) { return rpc_port_parcel_write_float(p, 1.25f); },
       reader<float>(rpc_port_parcel_read_float, 7.5f)},
      {"double", 8, [](rpc_port_parcel_h p) { return rpc_port_parcel_write_double(p, 2.5); },
       reader<double>(rpc_port_parcel_read_double, 7.5)},
      {"bool", 1, [](rpc_port_parcel_h p) { return rpc_port_parcel_write_bool(p, true); },
       [](rpc_port_parcel_h p, bool *untouched) {
         bool v = false;
         int r = rpc_port_parcel_read_bool(p, &v);
         *untouched = v == false;
         return r;
       }},
      {"array_count", 4,
       [](rpc_port_parcel_h p) { return rpc_port_parcel_write_array_count(p, 0); },
       reader<int>(rpc_port_parcel_read_array_count, 77)},
      {"string", 4 + 3, [](rpc_port_parcel_h p) { return rpc_port_parcel_write_string(p, "abc"); },
       [](rpc_port_parcel_h p, bool *untouched) {
         char sentinel = 0;
         char *v = &sentinel;
         int r = rpc_port_parcel_read_string(p, &v);
         *untouched = v == &sentinel;
         if (v != &sentinel) free(v);
         return r;
       }},
  };
}

}  // namespace

TEST(ParcelPrimitives, EveryPrimitiveRoundTripsItsExtremes) {
  Parcel w;
  ASSERT_EQ(rpc_port_parcel_write_byte(w.p, (char)0xff), 0);
  ASSERT_EQ(rpc_port_parcel_write_int16(w.p, SHRT_MIN), 0);
  ASSERT_EQ(rpc_port_parcel_write_int16(w.p, SHRT_MAX), 0);
  ASSERT_EQ(rpc_port_parcel_write_int32(w.p, INT_MIN), 0);
  ASSERT_EQ(rpc_port_parcel_write_int32(w.p, INT_MAX), 0);
  ASSERT_EQ(rpc_port_parcel_write_int64(w.p, LLONG_MIN), 0);
  ASSERT_EQ(rpc_port_parcel_write_int64(w.p, LLONG_MAX), 0);
  ASSERT_EQ(rpc_port_parcel_write_float(w.p, -FLT_MAX), 0);
  ASSERT_EQ(rpc_port_parcel_write_double(w.p, 0.1 + 0.2), 0);
  ASSERT_EQ(rpc_port_parcel_write_double(w.p, -0.0), 0);
  ASSERT_EQ(rpc_port_parcel_write_bool(w.p, true), 0);
  ASSERT_EQ(rpc_port_parcel_write_bool(w.p, false), 0);
  ASSERT_EQ(rpc_port_parcel_write_string(w.p, ""), 0);
  ASSERT_EQ(rpc_port_parcel_write_string(w.p, "h\xc3\xa9llo"), 0);
  ASSERT_EQ(rpc_port_parcel_write_array_count(w.p, -7), 0);
  ASSERT_EQ(rpc_port_parcel_write_array_count(w.p, 1), 0);
  ASSERT_EQ(rpc_port_parcel_write_int32(w.p, 0), 0);  // backs the count of 1

  Parcel r(raw(w.p));
  char b = 0;
  short s1 = 0, s2 = 0;
  int i1 = 0, i2 = 0, c1 = 0, c2 = 0, tail = -1;
  long long l1 = 0, l2 = 0;
  float f = 0;
  double d1 = 0, d2 = 1;
  bool t = false, fl = true;
  char *e = nullptr, *h = nullptr;
  EXPECT_EQ(rpc_port_parcel_read_byte(r.p, &b), 0);
  EXPECT_EQ(rpc_port_parcel_read_int16(r.p, &s1), 0);
  EXPECT_EQ(rpc_port_parcel_read_int16(r.p, &s2), 0);
  EXPECT_EQ(rpc_port_parcel_read_int32(r.p, &i1), 0);
  EXPECT_EQ(rpc_port_parcel_read_int32(r.p, &i2), 0);
  EXPECT_EQ(rpc_port_parcel_read_int64(r.p, &l1), 0);
  EXPECT_EQ(rpc_port_parcel_read_int64(r.p, &l2), 0);
  EXPECT_EQ(rpc_port_parcel_read_float(r.p, &f), 0);
  EXPECT_EQ(rpc_port_parcel_read_double(r.p, &d1), 0);
  EXPECT_EQ(rpc_port_parcel_read_double(r.p, &d2), 0);
  EXPECT_EQ(rpc_port_parcel_read_bool(r.p, &t), 0);
  EXPECT_EQ(rpc_port_parcel_read_bool(r.p, &fl), 0);
  EXPECT_EQ(rpc_port_parcel_read_string(r.p, &e), 0);
  EXPECT_EQ(rpc_port_parcel_read_string(r.p, &h), 0);
  EXPECT_EQ(rpc_port_parcel_read_array_count(r.p, &c1), 0);
  EXPECT_EQ(rpc_port_parcel_read_array_count(r.p, &c2), 0);
  EXPECT_EQ(rpc_port_parcel_read_int32(r.p, &tail), 0);
  EXPECT_EQ(b, (char)0xff);
  EXPECT_EQ(s1, SHRT_MIN);
  EXPECT_EQ(s2, SHRT_MAX);
  EXPECT_EQ(i1, INT_MIN);
  EXPECT_EQ(i2, INT_MAX);
  EXPECT_EQ(l1, LLONG_MIN);
  EXPECT_EQ(l2, LLONG_MAX);
  EXPECT_EQ(f, -FLT_MAX);
  EXPECT_EQ(d1, 0.1 + 0.2);
  EXPECT_TRUE(d2 == 0.0 && std::signbit(d2));
  EXPECT_TRUE(t);
  EXPECT_FALSE(fl);
  EXPECT_STREQ(e, "");
  EXPECT_STREQ(h, "h\xc3\xa9llo");
  EXPECT_EQ(c1, -7);
  EXPECT_EQ(c2, 1);
  EXPECT_EQ(tail, 0);
  free(e);
  free(h);
  char more = 0;
  EXPECT_EQ(rpc_port_parcel_read_byte(r.p, &more), RPC_PORT_ERROR_IO_ERROR);  // all consumed
}

TEST(ParcelLayout, PrimitivesAreFixedWidthLittleEndian) {
  Parcel w;
  rpc_port_parcel_write_byte(w.p, 0x41);
  rpc_port_parcel_write_int16(w.p, 0x0102);
  rpc_port_parcel_write_int32(w.p, 0x01020304);
  rpc_port_parcel_write_int64(w.p, 0x0102030405060708LL);
  rpc_port_parcel_write_float(w.p, 1.0f);
  rpc_port_parcel_write_double(w.p, 1.0);
  rpc_port_parcel_write_bool(w.p, true);
  rpc_port_parcel_write_bool(w.p, false);
  rpc_port_parcel_write_string(w.p, "ab");
  rpc_port_parcel_write_array_count(w.p, -2);
  rpc_port_parcel_write_int32(w.p, -1);
  const Bytes want = {
      0x41,                                            // byte
      0x02, 0x01,                                      // int16
      0x04, 0x03, 0x02, 0x01,                          // int32
      0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01,  // int64
      0x00, 0x00, 0x80, 0x3f,                          // float 1.0
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xf0, 0x3f,  // double 1.0
      0x01, 0x00,                                      // bools
      0x02, 0x00, 0x00, 0x00, 'a',  'b',               // string: uint32 length, bytes, no NUL
      0xfe, 0xff, 0xff, 0xff,                          // count -2
      0xff, 0xff, 0xff, 0xff,                          // int32 -1
  };
  EXPECT_EQ(raw(w.p), want);
}

TEST(ParcelShortRead, EveryPrimitiveFailsOnEveryShortInputAndLeavesItsOutArgument) {
  for (const Prim &prim : prims()) {
    Parcel w;
    ASSERT_EQ(prim.write_sample(w.p), 0) << prim.name;
    Bytes full = raw(w.p);
    ASSERT_EQ(full.size(), prim.size) << prim.name;
    for (size_t n = 0; n < prim.size; ++n) {
      Parcel r(Bytes(full.begin(), full.begin() + (long)n));
      bool untouched = false;
      EXPECT_EQ(prim.read(r.p, &untouched), RPC_PORT_ERROR_IO_ERROR) << prim.name << " " << n;
      EXPECT_TRUE(untouched) << prim.name << " with " << n << " bytes";
    }
    Parcel r(full);
    bool untouched = true;
    EXPECT_EQ(prim.read(r.p, &untouched), 0) << prim.name;
    EXPECT_FALSE(untouched) << prim.name;
  }
}

TEST(ParcelShortRead, AFailedReadConsumesNothing) {
  Parcel w;
  rpc_port_parcel_write_int32(w.p, 42);
  Parcel r(raw(w.p));
  long long big = 5;
  EXPECT_EQ(rpc_port_parcel_read_int64(r.p, &big), RPC_PORT_ERROR_IO_ERROR);
  EXPECT_EQ(big, 5);
  int v = 0;
  EXPECT_EQ(rpc_port_parcel_read_int32(r.p, &v), 0);
  EXPECT_EQ(v, 42);
}

TEST(ParcelShortRead, StringLongerThanTheRestFails) {
  for (unsigned int len : {4u, 1000u, 0x7fffffffu, 0xffffffffu}) {
    Parcel w;
    rpc_port_parcel_write_int32(w.p, (int)len);
    rpc_port_parcel_write_int32(w.p, 0x61616161);  // only four bytes follow
    Parcel r(raw(w.p));
    char sentinel = 0;
    char *v = &sentinel;
    if (len == 4u) {
      EXPECT_EQ(rpc_port_parcel_read_string(r.p, &v), 0);
      EXPECT_STREQ(v, "aaaa");
      free(v);
    } else {
      EXPECT_EQ(rpc_port_parcel_read_string(r.p, &v), RPC_PORT_ERROR_IO_ERROR) << len;
      EXPECT_EQ(v, &sentinel);
    }
  }
}

TEST(ParcelArrayCount, CountTheRestCannotBackIsRefusedAndNotConsumed) {
  // 16 bytes after the count back at most four elements.
  for (int count : {5, 1000, INT_MAX}) {
    Parcel w;
    rpc_port_parcel_write_array_count(w.p, count);
    for (int i = 0; i < 4; ++i) rpc_port_parcel_write_int32(w.p, i);
    Parcel r(raw(w.p));
    int v = 77;
    EXPECT_EQ(rpc_port_parcel_read_array_count(r.p, &v), RPC_PORT_ERROR_IO_ERROR) << count;
    EXPECT_EQ(v, 77);
    int again = 0;
    EXPECT_EQ(rpc_port_parcel_read_int32(r.p, &again), 0);
    EXPECT_EQ(again, count);
  }
}

TEST(ParcelArrayCount, CountBackedByFourBytesPerElementIsAccepted) {
  for (int count : {0, 1, 4}) {
    Parcel w;
    rpc_port_parcel_write_array_count(w.p, count);
    for (int i = 0; i < 4; ++i) rpc_port_parcel_write_int32(w.p, i);
    Parcel r(raw(w.p));
    int v = 77;
    EXPECT_EQ(rpc_port_parcel_read_array_count(r.p, &v), 0);
    EXPECT_EQ(v, count);
  }
}

TEST(ParcelArrayCount, NegativeCountIsHandedOutAsItIs) {
  for (int count : {-1, INT_MIN}) {
    Parcel w;
    rpc_port_parcel_write_array_count(w.p, count);
    Parcel r(raw(w.p));
    int v = 0;
    EXPECT_EQ(rpc_port_parcel_read_array_count(r.p, &v), 0);
    EXPECT_EQ(v, count);
  }
}

TEST(ParcelMaxSize, WritesPastTheLimitFailAndLeaveTheParcelAsItWas) {
  Parcel w;
  std::string big(RPC_PORT_PARCEL_MAX_SIZE - 4 - 8, 'z');
  ASSERT_EQ(rpc_port_parcel_write_string(w.p, big.c_str()), 0);
  ASSERT_EQ(rpc_port_parcel_write_int64(w.p, 1), 0);  // exactly at the limit now
  EXPECT_EQ(raw(w.p).size(), (size_t)RPC_PORT_PARCEL_MAX_SIZE);
  EXPECT_EQ(rpc_port_parcel_write_byte(w.p, 1), RPC_PORT_ERROR_OUT_OF_MEMORY);
  EXPECT_EQ(rpc_port_parcel_write_int32(w.p, 1), RPC_PORT_ERROR_OUT_OF_MEMORY);
  EXPECT_EQ(rpc_port_parcel_write_string(w.p, ""), RPC_PORT_ERROR_OUT_OF_MEMORY);
  EXPECT_EQ(raw(w.p).size(), (size_t)RPC_PORT_PARCEL_MAX_SIZE);
}

TEST(ParcelMaxSize, StringLargerThanTheLimitIsRefused) {
  Parcel w;
  std::string big(RPC_PORT_PARCEL_MAX_SIZE, 'z');
  EXPECT_EQ(rpc_port_parcel_write_string(w.p, big.c_str()), RPC_PORT_ERROR_OUT_OF_MEMORY);
  EXPECT_TRUE(raw(w.p).empty());
}

// A field that cannot be written fails the parcel as a whole: the fields after it are not
// written either, so that no parcel goes out with a field missing.
TEST(ParcelMaxSize, AFieldThatCannotBeWrittenFailsEveryLaterWrite) {
  Parcel w;
  ASSERT_EQ(rpc_port_parcel_write_string(w.p, "before"), 0);
  std::string big(RPC_PORT_PARCEL_MAX_SIZE, 'z');
  EXPECT_EQ(rpc_port_parcel_write_string(w.p, big.c_str()), RPC_PORT_ERROR_OUT_OF_MEMORY);
  EXPECT_EQ(rpc_port_parcel_write_int32(w.p, 7), RPC_PORT_ERROR_OUT_OF_MEMORY);
  EXPECT_EQ(rpc_port_parcel_write_string(w.p, "after"), RPC_PORT_ERROR_OUT_OF_MEMORY);
  EXPECT_EQ(raw(w.p).size(), 4u + 6u);  // "before" only
}

TEST(ParcelMaxSize, RecordWithAFieldThatCannotBeWrittenIsAFailedWrite) {
  struct Fields {
    std::string first, second;
  } fields{std::string(RPC_PORT_PARCEL_MAX_SIZE, 'z'), "second"};
  rpc_port_parcelable_t pair = {[](rpc_port_parcel_h p, void *data) {
                                  // As generated records do: every field written, the results not
                                  // looked at.
                                  auto *f = static_cast<Fields *>(data);
                                  rpc_port_parcel_write_string(p, f->first.c_str());
                                  rpc_port_parcel_write_string(p, f->second.c_str());
                                },
                                nullptr};
  Parcel w;
  EXPECT_EQ(rpc_port_parcel_write(w.p, &pair, &fields), RPC_PORT_ERROR_OUT_OF_MEMORY);
  EXPECT_TRUE(raw(w.p).empty());
  fields.first = "first";
  Parcel ok;
  EXPECT_EQ(rpc_port_parcel_write(ok.p, &pair, &fields), RPC_PORT_ERROR_NONE);
}

TEST(ParcelMaxSize, RawInputLargerThanTheLimitIsRefused) {
  Bytes big(RPC_PORT_PARCEL_MAX_SIZE + 1u, 0);
  rpc_port_parcel_h p = nullptr;
  EXPECT_EQ(velmora_host_parcel_create_from_raw(&p, big.data(), (unsigned int)big.size()),
            RPC_PORT_ERROR_OUT_OF_MEMORY);
  EXPECT_EQ(p, nullptr);
  big.pop_back();
  EXPECT_EQ(velmora_host_parcel_create_from_raw(&p, big.data(), (unsigned int)big.size()), 0);
  rpc_port_parcel_destroy(p);
}

TEST(ParcelArguments, NullArgumentsAreInvalidParameter) {
  Parcel w;
  const int inval = RPC_PORT_ERROR_INVALID_PARAMETER;
  EXPECT_EQ(rpc_port_parcel_create(nullptr), inval);
  EXPECT_EQ(rpc_port_parcel_destroy(nullptr), inval);
  EXPECT_EQ(rpc_port_parcel_write_int32(nullptr, 1), inval);
  EXPECT_EQ(rpc_port_parcel_write_string(nullptr, "x"), inval);
  EXPECT_EQ(rpc_port_parcel_write_string(w.p, nullptr), inval);
  EXPECT_EQ(rpc_port_parcel_write_bool(nullptr, true), inval);
  int i = 0;
  char *s = nullptr;
  bool b = false;
  EXPECT_EQ(rpc_port_parcel_read_int32(nullptr, &i), inval);
  EXPECT_EQ(rpc_port_parcel_read_int32(w.p, nullptr), inval);
  EXPECT_EQ(rpc_port_parcel_read_string(nullptr, &s), inval);
  EXPECT_EQ(rpc_port_parcel_read_string(w.p, nullptr), inval);
  EXPECT_EQ(rpc_port_parcel_read_bool(w.p, nullptr), inval);
  EXPECT_EQ(rpc_port_parcel_read_bool(nullptr, &b), inval);
  EXPECT_EQ(rpc_port_parcel_read_array_count(w.p, nullptr), inval);
  EXPECT_EQ(rpc_port_parcel_read_array_count(nullptr, &i), inval);
  const void *data = nullptr;
  unsigned int size = 0;
  EXPECT_EQ(velmora_host_parcel_get_raw(nullptr, &data, &size), inval);
  EXPECT_EQ(velmora_host_parcel_create_from_raw(nullptr, "x", 1), inval);
  rpc_port_parcel_h p = nullptr;
  EXPECT_EQ(velmora_host_parcel_create_from_raw(&p, nullptr, 1), inval);
  EXPECT_EQ(velmora_host_parcel_create_from_raw(&p, nullptr, 0), 0);  // an empty parcel
  EXPECT_EQ(rpc_port_parcel_read_int32(p, &i), RPC_PORT_ERROR_IO_ERROR);
  rpc_port_parcel_destroy(p);
  EXPECT_TRUE(raw(w.p).empty());
}

namespace {
struct Recorder {
  rpc_port_parcelable_t pair;  // heads the record, as in every generated record
  int written = 0;
  int read = 0;
};
}  // namespace

TEST(ParcelParcelable, WriteAndReadRunTheRecordsOwnFunctions) {
  Recorder rec;
  rec.pair.to = [](rpc_port_parcel_h p, void *data) {
    auto *r = static_cast<Recorder *>(data);
    ++r->written;
    rpc_port_parcel_write_int32(p, 99);
  };
  rec.pair.from = [](rpc_port_parcel_h p, void *data) {
    auto *r = static_cast<Recorder *>(data);
    rpc_port_parcel_read_int32(p, &r->read);
  };
  Parcel w;
  EXPECT_EQ(rpc_port_parcel_write(w.p, &rec.pair, &rec), 0);
  EXPECT_EQ(rec.written, 1);
  Parcel r(raw(w.p));
  EXPECT_EQ(rpc_port_parcel_read(r.p, &rec.pair, &rec), 0);
  EXPECT_EQ(rec.read, 99);

  rpc_port_parcelable_t empty = {nullptr, nullptr};
  EXPECT_EQ(rpc_port_parcel_write(w.p, nullptr, &rec), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_parcel_write(w.p, &empty, &rec), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_parcel_write(nullptr, &rec.pair, &rec), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_parcel_read(r.p, &empty, &rec), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_parcel_read(nullptr, &rec.pair, &rec), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rec.written, 1);
}
