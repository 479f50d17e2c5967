/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora platform: the platform account store.
 *
 * A device-wide store of account records. Each record belongs to a package (the service that keeps
 * it), has a user name and string custom values by key. Any application may read it; only account
 * services (such as the account agent) and the device's admin commands write it: a write by
 * another application fails with ACCOUNT_ERROR_PERMISSION_DENIED. The client library only reads.
 */
#ifndef VELMORA_PLATFORM_ACCOUNT_STORE_H
#define VELMORA_PLATFORM_ACCOUNT_STORE_H

#include <stdbool.h>

#include "platform_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The result codes of the account store. */
typedef enum {
  ACCOUNT_ERROR_NONE = 0,
  ACCOUNT_ERROR_OUT_OF_MEMORY = -12,
  ACCOUNT_ERROR_PERMISSION_DENIED = -13,
  ACCOUNT_ERROR_INVALID_PARAMETER = -22,
  ACCOUNT_ERROR_NO_DATA = -61,
  ACCOUNT_ERROR_NOT_SUPPORTED = (int)0xC0000002,
  ACCOUNT_ERROR_DUPLICATED = (int)0xFF000001,
  ACCOUNT_ERROR_RECORD_NOT_FOUND = (int)0xFF000003,
  ACCOUNT_ERROR_DB_FAILED = (int)0xFF000004,
  ACCOUNT_ERROR_DB_NOT_OPENED = (int)0xFF000005,
  ACCOUNT_ERROR_QUERY_SYNTAX_ERROR = (int)0xFF000006,
  ACCOUNT_ERROR_DATABASE_BUSY = (int)0xFF000010,
} account_error_e;

/* One record of the account store: a user name, a package name and custom values. */
typedef struct account_s *account_h;

/* Called once per record; `account` is lent for the call. Return true to go on, false to stop. */
typedef bool (*account_cb)(account_h account, void *user_data);

/* ---- reading ---- */

/* Visits the records of `package_name` in insertion order. ACCOUNT_ERROR_RECORD_NOT_FOUND when
 * there is none. */
PLATFORM_API int account_query_account_by_package_name(account_cb callback,
                                                       const char *package_name, void *user_data);
/* The caller frees the copies. ACCOUNT_ERROR_RECORD_NOT_FOUND for a custom key that is not set. */
PLATFORM_API int account_get_user_name(account_h account, char **user_name);
PLATFORM_API int account_get_custom(account_h account, const char *key, char **value);
PLATFORM_API int account_get_package_name(account_h account, char **package_name);

/* ---- writing (account services; others get ACCOUNT_ERROR_PERMISSION_DENIED) ---- */

/* A new, empty record in *account, which the caller destroys with account_destroy; its setters
 * copy what they are given. Nothing reaches the store before account_insert_to_db. */
PLATFORM_API int account_create(account_h *account);
PLATFORM_API int account_destroy(account_h account);
PLATFORM_API int account_set_user_name(account_h account, const char *user_name);
PLATFORM_API int account_set_package_name(account_h account, const char *package_name);
PLATFORM_API int account_set_custom(account_h account, const char *key, const char *value);
/* Inserts a new record; ACCOUNT_ERROR_DUPLICATED when the package already has this user name. */
PLATFORM_API int account_insert_to_db(account_h account, int *account_db_id);
/* Replaces the record of `user_name` in `package_name` (user name and custom values). */
PLATFORM_API int account_update_to_db_by_user_name(account_h account, const char *user_name,
                                                   const char *package_name);
/* Removes the record of `user_name` in `package_name`; ACCOUNT_ERROR_RECORD_NOT_FOUND without one.
 */
PLATFORM_API int account_delete_from_db_by_user_name(const char *user_name,
                                                     const char *package_name);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_PLATFORM_ACCOUNT_STORE_H */
