/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora host platform: a look into the platform account store, for the admin command and
 * tests (the platform interface reads one custom value by key; this walk shows them all), and the
 * one-transaction rewrite of a package's records that the account agent keeps its mirror with.
 */
#ifndef VELMORA_HOST_STORE_H
#define VELMORA_HOST_STORE_H

#include <stdbool.h>
#include <stddef.h>

#include "platform_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* One record, lent for the call: its package, its user name (NULL when it has none) and its
 * custom values in the order they were set. Return true to go on, false to stop. */
typedef bool (*velmora_host_store_record_cb)(const char *package_name, const char *user_name,
                                             const char *const *keys, const char *const *values,
                                             size_t n_custom, void *user_data);

/* Visits the records of `package_name` (NULL: of every package, ordered by package then insertion)
 * in insertion order. Returns an account_error_e: ACCOUNT_ERROR_NONE also when there is no record,
 * DB_NOT_OPENED / DB_FAILED / DATABASE_BUSY when the store cannot be read. */
PLATFORM_API int velmora_host_store_foreach(const char *package_name,
                                            velmora_host_store_record_cb callback, void *user_data);

/* One record to write: its user name (NULL: none) and its custom values (keys unique). */
typedef struct {
  const char *user_name;     /* NULL: none */
  const char *const *keys;   /* the custom keys */
  const char *const *values; /* the custom values, in the order of the keys */
  size_t n_custom;           /* how many keys and values */
} velmora_host_store_record_s;

/* Makes the records of `package_name` exactly `records`, in that order, in one transaction:
 * readers see all of the old records or all of the new ones. Records already right at the head
 * are kept as they are. Returns an account_error_e: INVALID_PARAMETER, PERMISSION_DENIED (see
 * account_store.h for who may write), DUPLICATED (two records with one user name), DB_FAILED,
 * DB_NOT_OPENED, DATABASE_BUSY. */
PLATFORM_API int velmora_host_store_replace(const char *package_name,
                                            const velmora_host_store_record_s *records,
                                            size_t n_records);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_HOST_STORE_H */
