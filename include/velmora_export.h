/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the marker of exported declarations.
 *
 * The library is built with hidden visibility; a declaration marked VELMORA_API is part of the ABI.
 */
#ifndef VELMORA_EXPORT_H
#define VELMORA_EXPORT_H

#if defined(__GNUC__)
#define VELMORA_API __attribute__((visibility("default")))
#else
#define VELMORA_API
#endif

#endif /* VELMORA_EXPORT_H */
