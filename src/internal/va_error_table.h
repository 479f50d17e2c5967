/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the table of result codes behind velmora_account_error_name and
 * velmora_account_error_message, for the agent and the tools that list every code.
 */
#ifndef VELMORA_VA_ERROR_TABLE_H
#define VELMORA_VA_ERROR_TABLE_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct {
  int code;
  const char *name;    /* "VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER", "AGENT_ERROR_UNKNOWN_USER" */
  const char *message; /* one line, for people */
  bool agent_sends;    /* the account agent answers with this code */
} va_error_info;

/* The whole table, in order; *count entries. */
const va_error_info *va_error_table(size_t *count);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_VA_ERROR_TABLE_H */
