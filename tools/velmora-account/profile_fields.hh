// SPDX-License-Identifier: Apache-2.0
// velmora-account: the profile's categories and fields as the command line names them (the words
// of the agent's profile keys), with the library's item ids.
#pragma once

#include <string>
#include <vector>

namespace vacc {

struct ProfileField {
  const char *word;  // "value", "givenName", "date:year", ...
  int item;          // VELMORA_ACCOUNT_PROFILE_ITEM_*
};

struct ProfileCategory {
  int category;  // VELMORA_ACCOUNT_PROFILE_CATEGORY_*
  const char *word;
  int limit;  // items it holds
  std::vector<ProfileField> fields;
  int source_item;  // NAME and BIRTHDAY: the SOURCE item id; 0 for the others
};

// The fourteen categories, in the library's order.
const std::vector<ProfileCategory> &profile_categories();
// The category named `word` ("phoneNumbers"), or nullptr.
const ProfileCategory *find_profile_category(const std::string &word);

}  // namespace vacc
