/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora platform: the platform log.
 *
 * dlog_print() formats a line printf-style and hands it to the platform log under a tag with a
 * priority. A call is one line of the log: control characters in the formatted line (newlines,
 * escape sequences) are written as escapes, so that a logged value cannot forge a line. The host
 * implementation prints lines at or above VELMORA_LOG_LEVEL to stderr and lets tests capture every
 * line (see velmora_host.h).
 */
#ifndef VELMORA_PLATFORM_DLOG_H
#define VELMORA_PLATFORM_DLOG_H

#include "platform_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The priority of a log line, lowest first. */
typedef enum {
  DLOG_UNKNOWN = 0,
  DLOG_DEFAULT = 1,
  DLOG_VERBOSE = 2,
  DLOG_DEBUG = 3,
  DLOG_INFO = 4,
  DLOG_WARN = 5,
  DLOG_ERROR = 6,
  DLOG_FATAL = 7,
  DLOG_SILENT = 8,
} log_priority;

/* Returns the number of bytes of the formatted line, or a negative value on a bad argument. */
PLATFORM_API int dlog_print(log_priority prio, const char *tag, const char *fmt, ...)
    __attribute__((format(printf, 3, 4)));

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_PLATFORM_DLOG_H */
