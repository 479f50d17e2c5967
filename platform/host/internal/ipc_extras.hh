// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the extras of an app control: key/value strings, unique keys, kept in the
// order their keys were first added (replacing a value keeps its place; a removed key that comes
// back goes to the end). A reply may carry about a thousand keys, so a key is found through an
// index (key -> position in the ordered list) rather than by walking the list.
//
// Every change either completes or, when an allocation throws, leaves the extras as they were.
// The key comparison is a parameter so that tests can count comparisons; the platform uses
// Extras.
#pragma once

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vhost::ipc {

struct ExtraKeyHash {
  using is_transparent = void;
  size_t operator()(std::string_view key) const { return std::hash<std::string_view>{}(key); }
};

template <class KeyEqual = std::equal_to<>>
class BasicExtras {
 public:
  using Entry = std::pair<std::string, std::string>;
  using const_iterator = typename std::vector<Entry>::const_iterator;

  BasicExtras() = default;
  BasicExtras(std::initializer_list<Entry> entries) {
    for (const Entry &e : entries) set(e.first, e.second);
  }

  // The value of key, or null.
  const std::string *find(std::string_view key) const {
    auto it = index_.find(key);
    return it == index_.end() ? nullptr : &entries_[it->second].second;
  }

  // Adds key at the end, or replaces its value where it is.
  void set(std::string_view key, std::string_view value) {
    auto it = index_.find(key);
    if (it != index_.end())
      entries_[it->second].second.assign(value);
    else
      add(std::string(key), std::string(value));
  }

  // Adds key at the end; false, and nothing changed, when the key is there already.
  bool add(std::string key, std::string value) {
    auto [it, added] = index_.try_emplace(key, entries_.size());
    if (!added) return false;
    try {
      entries_.emplace_back(std::move(key), std::move(value));
    } catch (...) {
      index_.erase(it);
      throw;
    }
    return true;
  }

  // Removes key; the others keep their order. False when it is not there.
  bool erase(std::string_view key) {
    auto it = index_.find(key);
    if (it == index_.end()) return false;
    const size_t pos = it->second;
    index_.erase(it);
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(pos));
    for (auto &[k, p] : index_)
      if (p > pos) --p;
    return true;
  }

  void reserve(size_t n) {
    entries_.reserve(n);
    index_.reserve(n);
  }

  size_t size() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }
  const Entry &operator[](size_t i) const { return entries_[i]; }
  const_iterator begin() const { return entries_.begin(); }
  const_iterator end() const { return entries_.end(); }

  // Same keys and values in the same order.
  friend bool operator==(const BasicExtras &a, const BasicExtras &b) {
    return a.entries_ == b.entries_;
  }

 private:
  std::vector<Entry> entries_;                                             // insertion order
  std::unordered_map<std::string, size_t, ExtraKeyHash, KeyEqual> index_;  // key -> position
};

using Extras = BasicExtras<>;

}  // namespace vhost::ipc
