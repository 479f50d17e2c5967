/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora platform: rpc-port parcels.
 *
 * A parcel is a growable byte buffer with a read position. Primitives are written fixed-width and
 * little-endian; a string is its byte length (uint32) followed by its bytes. Every read is checked
 * against the bytes that are there: a read past the end fails with RPC_PORT_ERROR_IO_ERROR and
 * leaves its out-argument untouched. A parcel never grows beyond RPC_PORT_PARCEL_MAX_SIZE bytes.
 *
 * A write that fails (the parcel would grow beyond the maximum, memory runs out, a NULL string)
 * leaves the parcel failed: every later write fails too, rpc_port_parcel_write reports the failure
 * of a record that wrote into it, and rpc_port_parcel_send refuses it
 * (RPC_PORT_ERROR_INVALID_PARAMETER), so that a parcel never travels with a field missing.
 */
#ifndef VELMORA_PLATFORM_RPC_PORT_PARCEL_H
#define VELMORA_PLATFORM_RPC_PORT_PARCEL_H

#include <stdbool.h>
#include <stdint.h>

#include "platform_export.h"
#include "rpc_port.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The largest parcel, and so the largest frame on a port (4 MiB). */
#define RPC_PORT_PARCEL_MAX_SIZE (4u * 1024u * 1024u)

/* A parcel: the values of one frame, written in order and read back in the same order. */
typedef struct rpc_port_parcel_s *rpc_port_parcel_h;

/* The pair that heads every record that can be written to and read from a parcel. */
typedef struct rpc_port_parcelable_s {
  void (*to)(rpc_port_parcel_h h, void *data);   /* writes the record's fields to the parcel */
  void (*from)(rpc_port_parcel_h h, void *data); /* reads them back from the parcel */
} rpc_port_parcelable_t;

/* A new, empty parcel in *h; the caller frees it with rpc_port_parcel_destroy. */
PLATFORM_API int rpc_port_parcel_create(rpc_port_parcel_h *h);
/*
 * Reads one frame from `port` into a new parcel. On a main port of a proxy this blocks until the
 * frame arrives, the connection ends, or the port's time-out passes (then the connection is
 * closed). On any other port it takes a frame that has already arrived (announced by a received
 * event) and fails at once when there is none. On failure *h is set to NULL.
 */
PLATFORM_API int rpc_port_parcel_create_from_port(rpc_port_parcel_h *h, rpc_port_h port);
/* Sends the whole parcel as one frame on `port`. */
PLATFORM_API int rpc_port_parcel_send(rpc_port_parcel_h h, rpc_port_h port);
/* Frees a parcel. */
PLATFORM_API int rpc_port_parcel_destroy(rpc_port_parcel_h h);

/* Appends one value. A parcel that would grow past RPC_PORT_PARCEL_MAX_SIZE fails, and so does
 * every later write to it. */
PLATFORM_API int rpc_port_parcel_write_byte(rpc_port_parcel_h h, char b);
PLATFORM_API int rpc_port_parcel_write_int16(rpc_port_parcel_h h, short i);
PLATFORM_API int rpc_port_parcel_write_int32(rpc_port_parcel_h h, int i);
PLATFORM_API int rpc_port_parcel_write_int64(rpc_port_parcel_h h, long long i);
PLATFORM_API int rpc_port_parcel_write_float(rpc_port_parcel_h h, float f);
PLATFORM_API int rpc_port_parcel_write_double(rpc_port_parcel_h h, double d);
/* A NULL string is refused (RPC_PORT_ERROR_INVALID_PARAMETER); callers write "" for none. */
PLATFORM_API int rpc_port_parcel_write_string(rpc_port_parcel_h h, const char *str);
/* Appends a boolean, or the number of items of an array that follows. */
PLATFORM_API int rpc_port_parcel_write_bool(rpc_port_parcel_h h, bool b);
PLATFORM_API int rpc_port_parcel_write_array_count(rpc_port_parcel_h h, int count);
/* Runs parcelable->to(h, data): the record writes its own fields in place. Fails when the parcel is
 * failed afterwards (a field could not be written). */
PLATFORM_API int rpc_port_parcel_write(rpc_port_parcel_h h, rpc_port_parcelable_t *parcelable,
                                       void *data);

/* Reads the next value into the out-argument. Reading past the end fails and leaves the
 * out-argument as it was. */
PLATFORM_API int rpc_port_parcel_read_byte(rpc_port_parcel_h h, char *b);
PLATFORM_API int rpc_port_parcel_read_int16(rpc_port_parcel_h h, short *i);
PLATFORM_API int rpc_port_parcel_read_int32(rpc_port_parcel_h h, int *i);
PLATFORM_API int rpc_port_parcel_read_int64(rpc_port_parcel_h h, long long *i);
PLATFORM_API int rpc_port_parcel_read_float(rpc_port_parcel_h h, float *f);
PLATFORM_API int rpc_port_parcel_read_double(rpc_port_parcel_h h, double *d);
/* Hands out a new NUL-terminated copy in *str (the caller frees it). */
PLATFORM_API int rpc_port_parcel_read_string(rpc_port_parcel_h h, char **str);
PLATFORM_API int rpc_port_parcel_read_bool(rpc_port_parcel_h h, bool *b);
/*
 * Reads an element count. A negative count is handed out as it is; a positive count larger than
 * the unread bytes could back (every element takes at least 4 bytes on the wire) fails with
 * RPC_PORT_ERROR_IO_ERROR, so that no reader allocates for elements that are not there.
 */
PLATFORM_API int rpc_port_parcel_read_array_count(rpc_port_parcel_h h, int *count);
/* Runs parcelable->from(h, data): the record reads its own fields in place. */
PLATFORM_API int rpc_port_parcel_read(rpc_port_parcel_h h, rpc_port_parcelable_t *parcelable,
                                      void *data);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_PLATFORM_RPC_PORT_PARCEL_H */
