/* SPDX-License-Identifier: Apache-2.0 */
/* Placeholder translation unit for an area that has no sources yet. */
typedef int velmora_empty_area_t;
