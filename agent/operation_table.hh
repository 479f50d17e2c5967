// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the operation tables of the agent and of its UI application
// (app_control/operations.hh, ui/operations.hh). Each is joined once from the tables of its areas
// and looked up by operation URI; a row is any struct whose `uri` is a `const char *const *`
// (&REQUEST_OP_...).
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

namespace vagent {

// The rows of every area, in the order given.
template <typename Row>
std::vector<Row> join_areas(std::initializer_list<const std::vector<Row> *> areas) {
  std::vector<Row> all;
  for (const std::vector<Row> *area : areas) all.insert(all.end(), area->begin(), area->end());
  return all;
}

// The first row of `table` for `uri`, or nullptr.
template <typename Row>
const Row *find_by_uri(const std::vector<Row> &table, const std::string &uri) {
  for (const Row &row : table)
    if (uri == *row.uri) return &row;
  return nullptr;
}

}  // namespace vagent
