// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: parcels.
//
// Fixed-width little-endian primitives; a string is a uint32 byte length and the bytes. Every read
// is checked against the unread bytes and leaves its out-argument untouched when it fails. Sending
// and receiving parcels on ports is the ports' business (ipc/).
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "alloc_fault.hh"
#include "parcel_internal.hh"
#include "rpc_port_parcel.h"
#include "velmora_host.h"

static_assert(sizeof(int) == 4 && sizeof(long long) == 8 && sizeof(short) == 2);
static_assert(sizeof(float) == 4 && sizeof(double) == 8);

namespace {

// Smallest wire size of any element of an array; bounds the counts a reader believes.
constexpr size_t kMinElementSize = 4;

template <typename T>
void to_le(T value, unsigned char *out) {
  uint64_t bits = 0;
  memcpy(&bits, &value, sizeof(T));
  for (size_t i = 0; i < sizeof(T); ++i) out[i] = (unsigned char)(bits >> (8 * i));
}

template <typename T>
T from_le(const unsigned char *in) {
  uint64_t bits = 0;
  for (size_t i = 0; i < sizeof(T); ++i) bits |= (uint64_t)in[i] << (8 * i);
  T value;
  memcpy(&value, &bits, sizeof(T));
  return value;
}

// Marks the parcel failed and returns the error.
int fail(rpc_port_parcel_h h, int error) {
  h->failed = true;
  return error;
}

int append(rpc_port_parcel_h h, const void *bytes, size_t n) {
  if (h->failed) return RPC_PORT_ERROR_OUT_OF_MEMORY;
  if (h->data.size() + n > RPC_PORT_PARCEL_MAX_SIZE) return fail(h, RPC_PORT_ERROR_OUT_OF_MEMORY);
  if (vhost::allocation_fails()) return fail(h, RPC_PORT_ERROR_OUT_OF_MEMORY);
  try {
    const auto *p = static_cast<const unsigned char *>(bytes);
    h->data.insert(h->data.end(), p, p + n);
  } catch (const std::bad_alloc &) {
    return fail(h, RPC_PORT_ERROR_OUT_OF_MEMORY);
  }
  return RPC_PORT_ERROR_NONE;
}

template <typename T>
int write_prim(rpc_port_parcel_h h, T value) {
  if (!h) return RPC_PORT_ERROR_INVALID_PARAMETER;
  unsigned char buf[sizeof(T)];
  to_le(value, buf);
  return append(h, buf, sizeof(T));
}

size_t unread(rpc_port_parcel_h h) { return h->data.size() - h->pos; }

template <typename T>
int read_prim(rpc_port_parcel_h h, T *out) {
  if (!h || !out) return RPC_PORT_ERROR_INVALID_PARAMETER;
  if (unread(h) < sizeof(T)) return RPC_PORT_ERROR_IO_ERROR;
  *out = from_le<T>(h->data.data() + h->pos);
  h->pos += sizeof(T);
  return RPC_PORT_ERROR_NONE;
}

}  // namespace

extern "C" {

int rpc_port_parcel_create(rpc_port_parcel_h *h) {
  if (!h) return RPC_PORT_ERROR_INVALID_PARAMETER;
  auto *p = vhost::allocation_fails() ? nullptr : new (std::nothrow) rpc_port_parcel_s;
  if (!p) return RPC_PORT_ERROR_OUT_OF_MEMORY;
  *h = p;
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_parcel_destroy(rpc_port_parcel_h h) {
  if (!h) return RPC_PORT_ERROR_INVALID_PARAMETER;
  delete h;
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_parcel_write_byte(rpc_port_parcel_h h, char b) { return write_prim<char>(h, b); }
int rpc_port_parcel_write_int16(rpc_port_parcel_h h, short i) { return write_prim<short>(h, i); }
int rpc_port_parcel_write_int32(rpc_port_parcel_h h, int i) { return write_prim<int>(h, i); }
int rpc_port_parcel_write_int64(rpc_port_parcel_h h, long long i) {
  return write_prim<long long>(h, i);
}
int rpc_port_parcel_write_float(rpc_port_parcel_h h, float f) { return write_prim<float>(h, f); }
int rpc_port_parcel_write_double(rpc_port_parcel_h h, double d) { return write_prim<double>(h, d); }
int rpc_port_parcel_write_bool(rpc_port_parcel_h h, bool b) {
  return write_prim<unsigned char>(h, b ? 1 : 0);
}
int rpc_port_parcel_write_array_count(rpc_port_parcel_h h, int count) {
  return write_prim<int>(h, count);
}

int rpc_port_parcel_write_string(rpc_port_parcel_h h, const char *str) {
  if (!h) return RPC_PORT_ERROR_INVALID_PARAMETER;
  if (!str) return fail(h, RPC_PORT_ERROR_INVALID_PARAMETER);
  size_t len = strlen(str);
  if (len > RPC_PORT_PARCEL_MAX_SIZE || h->data.size() + 4 + len > RPC_PORT_PARCEL_MAX_SIZE)
    return fail(h, RPC_PORT_ERROR_OUT_OF_MEMORY);
  unsigned char buf[4];
  to_le<uint32_t>((uint32_t)len, buf);
  int ret = append(h, buf, sizeof(buf));
  if (ret != RPC_PORT_ERROR_NONE) return ret;
  return append(h, str, len);
}

int rpc_port_parcel_write(rpc_port_parcel_h h, rpc_port_parcelable_t *parcelable, void *data) {
  if (!h) return RPC_PORT_ERROR_INVALID_PARAMETER;
  if (!parcelable || !parcelable->to) return fail(h, RPC_PORT_ERROR_INVALID_PARAMETER);
  parcelable->to(h, data);
  // The record writes its fields without looking at the results: a field it could not write
  // shows here, and the parcel is not sent.
  return h->failed ? RPC_PORT_ERROR_OUT_OF_MEMORY : RPC_PORT_ERROR_NONE;
}

int rpc_port_parcel_read_byte(rpc_port_parcel_h h, char *b) { return read_prim<char>(h, b); }
int rpc_port_parcel_read_int16(rpc_port_parcel_h h, short *i) { return read_prim<short>(h, i); }
int rpc_port_parcel_read_int32(rpc_port_parcel_h h, int *i) { return read_prim<int>(h, i); }
int rpc_port_parcel_read_int64(rpc_port_parcel_h h, long long *i) {
  return read_prim<long long>(h, i);
}
int rpc_port_parcel_read_float(rpc_port_parcel_h h, float *f) { return read_prim<float>(h, f); }
int rpc_port_parcel_read_double(rpc_port_parcel_h h, double *d) { return read_prim<double>(h, d); }

int rpc_port_parcel_read_bool(rpc_port_parcel_h h, bool *b) {
  unsigned char v;
  if (!b) return RPC_PORT_ERROR_INVALID_PARAMETER;
  int ret = read_prim<unsigned char>(h, &v);
  if (ret == RPC_PORT_ERROR_NONE) *b = v != 0;
  return ret;
}

int rpc_port_parcel_read_array_count(rpc_port_parcel_h h, int *count) {
  if (!h || !count) return RPC_PORT_ERROR_INVALID_PARAMETER;
  if (unread(h) < 4) return RPC_PORT_ERROR_IO_ERROR;
  int value = from_le<int>(h->data.data() + h->pos);
  // A count that the remaining bytes cannot back is a lie: refuse it before anyone allocates.
  if (value > 0 && (size_t)value > (unread(h) - 4) / kMinElementSize)
    return RPC_PORT_ERROR_IO_ERROR;
  h->pos += 4;
  *count = value;
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_parcel_read_string(rpc_port_parcel_h h, char **str) {
  if (!h || !str) return RPC_PORT_ERROR_INVALID_PARAMETER;
  if (unread(h) < 4) return RPC_PORT_ERROR_IO_ERROR;
  uint32_t len = from_le<uint32_t>(h->data.data() + h->pos);
  if (len > unread(h) - 4) return RPC_PORT_ERROR_IO_ERROR;
  char *copy = vhost::allocation_fails() ? nullptr : static_cast<char *>(malloc((size_t)len + 1));
  if (!copy) return RPC_PORT_ERROR_OUT_OF_MEMORY;
  memcpy(copy, h->data.data() + h->pos + 4, len);
  copy[len] = '\0';
  h->pos += 4 + (size_t)len;
  *str = copy;
  return RPC_PORT_ERROR_NONE;
}

int rpc_port_parcel_read(rpc_port_parcel_h h, rpc_port_parcelable_t *parcelable, void *data) {
  if (!h || !parcelable || !parcelable->from) return RPC_PORT_ERROR_INVALID_PARAMETER;
  parcelable->from(h, data);
  return RPC_PORT_ERROR_NONE;
}

int velmora_host_parcel_get_raw(rpc_port_parcel_h h, const void **raw, unsigned int *size) {
  if (!h || !raw || !size) return RPC_PORT_ERROR_INVALID_PARAMETER;
  *raw = h->data.data();
  *size = (unsigned int)h->data.size();
  return RPC_PORT_ERROR_NONE;
}

int velmora_host_parcel_create_from_raw(rpc_port_parcel_h *h, const void *raw, unsigned int size) {
  if (!h || (!raw && size > 0)) return RPC_PORT_ERROR_INVALID_PARAMETER;
  if (size > RPC_PORT_PARCEL_MAX_SIZE) return RPC_PORT_ERROR_OUT_OF_MEMORY;
  auto *p = vhost::allocation_fails() ? nullptr : new (std::nothrow) rpc_port_parcel_s;
  if (!p) return RPC_PORT_ERROR_OUT_OF_MEMORY;
  try {
    if (vhost::allocation_fails()) throw std::bad_alloc();
    const auto *bytes = static_cast<const unsigned char *>(raw);
    p->data.assign(bytes, bytes + size);
  } catch (const std::bad_alloc &) {
    delete p;
    return RPC_PORT_ERROR_OUT_OF_MEMORY;
  }
  *h = p;
  return RPC_PORT_ERROR_NONE;
}

}  // extern "C"
