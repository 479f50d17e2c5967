// SPDX-License-Identifier: Apache-2.0
// Velmora agent: profiles as app-control extras, the keys the client library reads and writes.
//
// Replies and change notifications carry, per category:
//   "<resource>"                        its privacy, when one is set ("phoneNumbers" = "0")
//   "<resource>_count"                  how many items it has
//   "<resource>_<n>:<word>"             field <word> of item n (1-based) of a list category
//   "<resource>:<word>"                 field <word> of a single category's item
//   "<resource>[_<n>]:metadata:source:type"   a NAME or BIRTHDAY item's source (ACCOUNT, PROFILE)
// with the words of the library's profile table (va_profile_category()->wire_words).
//
// Update bodies come the other way: "resource" names the one category sent, and its items travel
// as "<resource><suffix>:<word>", where the suffix is empty for the first item and "_<n>"
// otherwise. Items are told apart by the number after the underscore and kept in the order they
// first appear (the library's tenth item arrives as "_1", after "_9").
#pragma once

#include <string>

#include "app_control/operations.hh"
#include "profiles.hh"

namespace vagent::appcontrol {

// Which parts of a category to write.
enum ProfileParts { kPrivacyPart = 1, kItemsPart = 2, kBothParts = 3 };

// Appends the keys of `category` of `profile`.
void put_profile_category(Extras *extras, const UserProfile &profile, int category,
                          int parts = kBothParts);
// Appends the keys of every category.
void put_profile(Extras *extras, const UserProfile &profile, int parts = kBothParts);

// Logs that a read asked for the server's copy ("request_to_server"): `what` is the resource
// asked for, `transport` "app control" or "port".
void note_request_to_server(const std::string &what, const char *transport);

// The category whose resource word is `word`, or -1.
int category_of_resource(const std::string &word);

// Reads the update body in `extras` ("resource" and the item keys of that category) into a change
// that replaces the category's items. INVALID_PARAMETER (no or an unknown resource, a key of
// another category, an unknown field word, a bad source word), READ_ONLY_FIELD (a verified key),
// PROFILE_LIMIT (more items than the category holds).
Result<ProfileChange> read_update_body(const Extras &extras);

// Reads privacy values ("<resource>" = "0" .. "2") from `extras`; other keys are not looked at.
// INVALID_PARAMETER for a value that is not 0, 1 or 2, or when no privacy key is there.
Result<ProfileChange> read_privacy_body(const Extras &extras);

}  // namespace vagent::appcontrol
