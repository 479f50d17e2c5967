/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the library's own allocations.
 *
 * Every block the library allocates itself (zeroed records and handles, string copies) comes from
 * va_calloc or va_strdup and is released with free(). In a build with VELMORA_ALLOC_FAULTS (the
 * test builds), va_alloc_fail_at makes one chosen allocation fail, so that tests can walk every
 * allocation of an operation and show that the operation then reports
 * VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY (or its layer's failure value), frees what it took and never
 * crashes. List cells come from GLib, which ends the process when it cannot allocate one; they are
 * not counted.
 */
#ifndef VELMORA_VA_ALLOC_H
#define VELMORA_VA_ALLOC_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* calloc(count, size), or NULL when out of memory (or when this allocation is made to fail). */
void *va_calloc(size_t count, size_t size);
/* strdup(s), or NULL when out of memory (or when this allocation is made to fail). */
char *va_strdup(const char *s);

/* Test builds only (false elsewhere, and nothing changes): from now on the n-th allocation
 * through va_calloc / va_strdup fails and every other one succeeds; n = 0 stops failing. The
 * count starts again at each call. */
bool va_alloc_fail_at(long n);
/* Allocations through va_calloc / va_strdup since the last va_alloc_fail_at. */
long va_alloc_count(void);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_VA_ALLOC_H */
