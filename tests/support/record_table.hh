// SPDX-License-Identifier: Apache-2.0
// Velmora tests: every AccountSvc record and list type with its exported functions, for
// table-driven tests. Expanded from the same table as the library, but it reaches the records only
// through the exported rpc_port_* functions, each wrapped in a lambda of one uniform signature per
// kind. Shared by the records, lists and encoding tests and the fuzz seed generator.
#pragma once

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "account_svc_proxy.h"
#include "records_internal.hh"
#include "velmora_host.h"

namespace rtest {

enum class Kind { STRING, INT, LLONG, DOUBLE, RECORD, LIST, STRLIST };

struct FieldOps {
  const char *type;   // "ProfileS"
  const char *field;  // "Nickname"
  Kind kind;
  const char *item;  // RECORD / LIST: the item type; otherwise "_"
  // The kind's functions; the others stay null. Getters pass the caller's out value in and back,
  // so that "left untouched" can be checked; a null out pointer is passed through as NULL.
  int (*set_string)(void *h, const char *value) = nullptr;
  int (*get_string)(void *h, char **value) = nullptr;
  int (*set_int)(void *h, int value) = nullptr;
  int (*get_int)(void *h, int *value) = nullptr;
  int (*set_llong)(void *h, long long value) = nullptr;
  int (*get_llong)(void *h, long long *value) = nullptr;
  int (*set_double)(void *h, double value) = nullptr;
  int (*get_double)(void *h, double *value) = nullptr;
  int (*set_record)(void *h, void *value) = nullptr;
  int (*get_record)(void *h, void **value) = nullptr;
  // LIST / STRLIST: the item is a record handle or a const char *.
  int (*add)(void *h, const void *value) = nullptr;
  // Runs foreach collecting the lent items into *out; the callback returns false once `stop_after`
  // items were seen (negative: never). out == nullptr passes a NULL callback.
  int (*items)(void *h, std::vector<const void *> *out, int stop_after) = nullptr;
  int (*remove)(void *h, unsigned int nth) = nullptr;
  int (*length)(void *h, unsigned int *length) = nullptr;

  // The exported name of this field's function for `verb` ("get" -> "rpc_port_AccountS_get_Mcc";
  // "length" -> "rpc_port_ProfileS_get_NameList_length").
  std::string function(const std::string &verb) const {
    if (verb == "length") return std::string("rpc_port_") + type + "_get_" + field + "_length";
    return std::string("rpc_port_") + type + "_" + verb + "_" + field;
  }
};

struct TypeOps {
  const char *name;
  int (*create)(void **h);  // passes *h in and back; nullptr passes NULL
  int (*destroy)(void *h);
  int (*clone)(void *h, void **copy);
  std::vector<FieldOps> fields;

  std::string function(const std::string &verb) const {
    return std::string("rpc_port_") + name + "_" + verb;
  }
};

// ---- the table ----
#define RT_H_(T) static_cast<rpc_port_##T##_h>(h)
#define RT_OUT_(C, call)            \
  if (!value) return call(nullptr); \
  C out = static_cast<C>(*value);   \
  int ret = call(&out);             \
  *value = out;                     \
  return ret;

#define RT_FIELD_(T, F, K, A) RT_FIELD_##K##_(T, F, A)
#define RT_FIELD_STRING_(T, F, A)                                                               \
  FieldOps{                                                                                     \
      .type = #T,                                                                               \
      .field = #F,                                                                              \
      .kind = Kind::STRING,                                                                     \
      .item = #A,                                                                               \
      .set_string = [](void *h, const char *v) { return rpc_port_##T##_set_##F(RT_H_(T), v); }, \
      .get_string = [](void *h, char **v) { return rpc_port_##T##_get_##F(RT_H_(T), v); }},
#define RT_FIELD_SCALAR_(T, F, K, A, C, S)                                              \
  FieldOps{.type = #T,                                                                  \
           .field = #F,                                                                 \
           .kind = Kind::K,                                                             \
           .item = #A,                                                                  \
           .set_##S = [](void *h, C v) { return rpc_port_##T##_set_##F(RT_H_(T), v); }, \
           .get_##S = [](void *h, C *v) { return rpc_port_##T##_get_##F(RT_H_(T), v); }},
#define RT_FIELD_INT_(T, F, A) RT_FIELD_SCALAR_(T, F, INT, A, int, int)
#define RT_FIELD_LLONG_(T, F, A) RT_FIELD_SCALAR_(T, F, LLONG, A, long long, llong)
#define RT_FIELD_DOUBLE_(T, F, A) RT_FIELD_SCALAR_(T, F, DOUBLE, A, double, double)
#define RT_FIELD_RECORD_(T, F, A)                                                           \
  FieldOps{.type = #T,                                                                      \
           .field = #F,                                                                     \
           .kind = Kind::RECORD,                                                            \
           .item = #A,                                                                      \
           .set_record =                                                                    \
               [](void *h, void *v) {                                                       \
                 return rpc_port_##T##_set_##F(RT_H_(T), static_cast<rpc_port_##A##_h>(v)); \
               },                                                                           \
           .get_record =                                                                    \
               [](void *h, void **value) {                                                  \
                 auto call = [h](rpc_port_##A##_h *o) {                                     \
                   return rpc_port_##T##_get_##F(RT_H_(T), o);                              \
                 };                                                                         \
                 RT_OUT_(rpc_port_##A##_h, call)                                            \
               }},
#define RT_FIELD_ITEMS_(T, F, K, A, I, ITEM_OF_V)                                                \
  FieldOps{                                                                                      \
      .type = #T,                                                                                \
      .field = #F,                                                                               \
      .kind = Kind::K,                                                                           \
      .item = #A,                                                                                \
      .add = [](void *h, const void *v) { return rpc_port_##T##_add_##F(RT_H_(T), ITEM_OF_V); }, \
      .items =                                                                                   \
          [](void *h, std::vector<const void *> *out, int stop_after) {                          \
            struct Ctx {                                                                         \
              std::vector<const void *> *out;                                                    \
              int stop_after;                                                                    \
            } ctx{out, stop_after};                                                              \
            if (!out) return rpc_port_##T##_foreach_##F(RT_H_(T), nullptr, nullptr);             \
            return rpc_port_##T##_foreach_##F(                                                   \
                RT_H_(T),                                                                        \
                [](I item, void *user_data) -> bool {                                            \
                  auto *c = static_cast<Ctx *>(user_data);                                       \
                  c->out->push_back(item);                                                       \
                  return c->stop_after < 0 || (int)c->out->size() < c->stop_after;               \
                },                                                                               \
                &ctx);                                                                           \
          },                                                                                     \
      .remove = [](void *h,                                                                      \
                   unsigned int nth) { return rpc_port_##T##_remove_##F(RT_H_(T), nth); },       \
      .length = [](void *h,                                                                      \
                   unsigned int *n) { return rpc_port_##T##_get_##F##_length(RT_H_(T), n); }},
#define RT_FIELD_LIST_(T, F, A)                    \
  RT_FIELD_ITEMS_(T, F, LIST, A, rpc_port_##A##_h, \
                  static_cast<rpc_port_##A##_h>(const_cast<void *>(v)))
#define RT_FIELD_STRLIST_(T, F, A) \
  RT_FIELD_ITEMS_(T, F, STRLIST, A, const char *, static_cast<const char *>(v))

#define RT_TYPE_(T)                                                                             \
  TypeOps{#T,                                                                                   \
          [](void **value) { RT_OUT_(rpc_port_##T##_h, rpc_port_##T##_create) },                \
          [](void *h) { return rpc_port_##T##_destroy(RT_H_(T)); },                             \
          [](void *h, void **value) {                                                           \
            auto call = [h](rpc_port_##T##_h *o) { return rpc_port_##T##_clone(RT_H_(T), o); }; \
            RT_OUT_(rpc_port_##T##_h, call)                                                     \
          },                                                                                    \
          {RPC_PORT_FIELDS_##T(RT_FIELD_)}},

// All nineteen records, then the nine lists.
inline const std::vector<TypeOps> &all_types() {
  static const std::vector<TypeOps> types = {RPC_PORT_RECORDS(RT_TYPE_) RPC_PORT_LISTS(RT_TYPE_)};
  return types;
}

inline const TypeOps &type(const std::string &name) {
  for (const TypeOps &t : all_types())
    if (name == t.name) return t;
  throw std::out_of_range("no record type " + name);
}

inline const FieldOps &field(const std::string &type_name, const std::string &field_name) {
  for (const FieldOps &f : type(type_name).fields)
    if (field_name == f.field) return f;
  throw std::out_of_range("no field " + type_name + "." + field_name);
}

inline bool is_list_type(const TypeOps &t) { return strncmp(t.name, "list_", 5) == 0; }

// ---- values ----

inline void *make(const TypeOps &t) {
  void *h = nullptr;
  if (t.create(&h) != 0) throw std::runtime_error(std::string("create failed: ") + t.name);
  return h;
}

// A string value that tells field and seed apart and is not plain ASCII.
inline std::string string_value(const FieldOps &f, int seed) {
  return std::string(f.field) + "-" + std::to_string(seed) + "-\xc3\xa9\xe2\x82\xac";
}
inline int int_value(int seed) {
  return seed % 2 ? -2147480000 - seed % 3000 : 2147480000 + seed % 3000;
}
inline long long llong_value(int seed) {
  return seed % 2 ? -(5000000000LL + seed) : (1LL << 40) + 12345 + seed;
}
inline double double_value(int seed) { return 37.56653500000001 + seed / 3.0; }

// Sets every field of h through the exported setters: strings, numbers beyond 32 bits, doubles
// that are not short decimals, every nested record (itself filled) and `items` items per list.
inline void fill(const TypeOps &t, void *h, int seed, int items = 2) {
  for (const FieldOps &f : t.fields) {
    int s = seed * 31 + (int)(&f - t.fields.data());
    switch (f.kind) {
      case Kind::STRING:
        f.set_string(h, string_value(f, s).c_str());
        break;
      case Kind::INT:
        f.set_int(h, int_value(s));
        break;
      case Kind::LLONG:
        f.set_llong(h, llong_value(s));
        break;
      case Kind::DOUBLE:
        f.set_double(h, double_value(s));
        break;
      case Kind::RECORD: {
        const TypeOps &it = type(f.item);
        void *item = nullptr;
        if (it.create(&item) != 0) break;  // out of memory (allocation-failure tests): left out
        fill(it, item, s, items);
        f.set_record(h, item);
        it.destroy(item);
        break;
      }
      case Kind::LIST: {
        const TypeOps &it = type(f.item);
        for (int i = 0; i < items; ++i) {
          void *item = nullptr;
          if (it.create(&item) != 0) continue;  // as above
          fill(it, item, s + i, items);
          f.add(h, item);
          it.destroy(item);
        }
        break;
      }
      case Kind::STRLIST:
        for (int i = 0; i < items; ++i) {
          std::string v = i == 1 ? std::string() : string_value(f, s + i);
          f.add(h, v.c_str());
        }
        break;
    }
  }
}

// A readable dump of every field, read back through the exported getters; two records describe
// alike when they hold the same values. An unset string shows as (null), unless null_as_empty.
// Getters of unset fields log errors: call it outside log captures that count lines.
inline std::string describe(const TypeOps &t, void *h, bool null_as_empty = false) {
  std::string out = std::string(t.name) + "{";
  for (const FieldOps &f : t.fields) {
    out += f.field;
    out += "=";
    char buf[64];
    switch (f.kind) {
      case Kind::STRING: {
        char *v = nullptr;
        if (f.get_string(h, &v) == 0) {
          out += "\"" + std::string(v) + "\"";
          free(v);
        } else {
          out += null_as_empty ? "\"\"" : "(null)";
        }
        break;
      }
      case Kind::INT: {
        int v = 0;
        f.get_int(h, &v);
        out += std::to_string(v);
        break;
      }
      case Kind::LLONG: {
        long long v = 0;
        f.get_llong(h, &v);
        out += std::to_string(v);
        break;
      }
      case Kind::DOUBLE: {
        double v = 0;
        f.get_double(h, &v);
        snprintf(buf, sizeof(buf), "%a", v);
        out += buf;
        break;
      }
      case Kind::RECORD: {
        void *v = nullptr;
        if (f.get_record(h, &v) == 0) {
          out += describe(type(f.item), v, null_as_empty);
          type(f.item).destroy(v);
        } else {
          out += "(null)";
        }
        break;
      }
      case Kind::LIST:
      case Kind::STRLIST: {
        std::vector<const void *> items;
        f.items(h, &items, -1);
        out += "[";
        for (const void *item : items) {
          if (f.kind == Kind::LIST)
            out += describe(type(f.item), const_cast<void *>(item), null_as_empty);
          else
            out += "\"" + std::string(static_cast<const char *>(item)) + "\"";
          out += ",";
        }
        out += "]";
        break;
      }
    }
    out += ";";
  }
  return out + "}";
}

// ---- parcels ----

using Bytes = std::vector<unsigned char>;

inline Bytes parcel_bytes(rpc_port_parcel_h p) {
  const void *raw = nullptr;
  unsigned int size = 0;
  velmora_host_parcel_get_raw(p, &raw, &size);
  const auto *b = static_cast<const unsigned char *>(raw);
  return Bytes(b, b + size);
}

// The bytes of h written with rpc_port_parcel_write through its parcelable pair.
inline Bytes encode(void *h) {
  rpc_port_parcel_h p = nullptr;
  rpc_port_parcel_create(&p);
  rpc_port_parcel_write(p, va::rec::parcelable_of(h), h);
  Bytes out = parcel_bytes(p);
  rpc_port_parcel_destroy(p);
  return out;
}

// Reads `bytes` into the existing record h; returns the number of bytes left unread.
inline size_t decode_into(void *h, const Bytes &bytes) {
  rpc_port_parcel_h p = nullptr;
  velmora_host_parcel_create_from_raw(&p, bytes.data(), (unsigned int)bytes.size());
  rpc_port_parcel_read(p, va::rec::parcelable_of(h), h);
  size_t left = 0;
  char b;
  while (rpc_port_parcel_read_byte(p, &b) == 0) ++left;
  rpc_port_parcel_destroy(p);
  return left;
}

// A fresh record of type t read from `bytes`.
inline void *decode(const TypeOps &t, const Bytes &bytes) {
  void *h = make(t);
  decode_into(h, bytes);
  return h;
}

// Builds expected bytes with the parcel primitives themselves.
class Expect {
 public:
  Expect() { rpc_port_parcel_create(&p_); }
  ~Expect() { rpc_port_parcel_destroy(p_); }
  Expect(const Expect &) = delete;
  Expect &operator=(const Expect &) = delete;
  Expect &str(const char *s) {
    rpc_port_parcel_write_string(p_, s);
    return *this;
  }
  Expect &i32(int v) {
    rpc_port_parcel_write_int32(p_, v);
    return *this;
  }
  Expect &i64(long long v) {
    rpc_port_parcel_write_int64(p_, v);
    return *this;
  }
  Expect &dbl(double v) {
    rpc_port_parcel_write_double(p_, v);
    return *this;
  }
  Expect &count(int n) {
    rpc_port_parcel_write_array_count(p_, n);
    return *this;
  }
  Bytes bytes() const { return parcel_bytes(p_); }

 private:
  rpc_port_parcel_h p_ = nullptr;
};

}  // namespace rtest
