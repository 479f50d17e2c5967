/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora platform: symbol export marker shared by the platform interface headers.
 */
#ifndef VELMORA_PLATFORM_EXPORT_H
#define VELMORA_PLATFORM_EXPORT_H

#if defined(__GNUC__)
#define PLATFORM_API __attribute__((visibility("default")))
#else
#define PLATFORM_API
#endif

#endif /* VELMORA_PLATFORM_EXPORT_H */
