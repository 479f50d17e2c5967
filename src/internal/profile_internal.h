/*
 * Velmora Account client: what the profile area's files share: copying items into a list, and
 * (with the requests) turning replies into lists and lists into update bodies.
 */
#ifndef VELMORA_PROFILE_INTERNAL_H
#define VELMORA_PROFILE_INTERNAL_H

#include <stdbool.h>

#include "profile_record.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Copies every non-NULL string field of the item record `source` into `dest` (both of
 * `category`), replacing what `dest` held; the field at `skip_position` is left alone (-1: none).
 * A NULL source copies nothing. False when out of memory (the fields copied so far stay). */
bool va_profile_item_copy(void *dest, const void *source, int category, int skip_position);

/* Copies the profile's item of `category` into `dest` at position count (the single record of a
 * single category), allocating the item record when missing; the profile's privacy, when known,
 * becomes the list's privacy for the category. The count is left to the caller.
 * Returns NONE, INVALID_PARAMETER (NULL argument), OUT_OF_MEMORY. */
int va_profile_append_item(velmora_account_profile_list_h dest, velmora_account_profile_h source,
                           int category);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_PROFILE_INTERNAL_H */
