/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora platform: the per-thread last result.
 *
 * Platform functions that return a handle or a value rather than a code record their status here;
 * the generated proxy records the send status of each method call.
 */
#ifndef VELMORA_PLATFORM_RESULT_H
#define VELMORA_PLATFORM_RESULT_H

#include "platform_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Records `result` as the calling thread's last result. */
PLATFORM_API void set_last_result(int result);
/* The calling thread's last result; 0 when nothing was recorded on this thread. */
PLATFORM_API int get_last_result(void);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_PLATFORM_RESULT_H */
