// KeyedCollection: the ordered, optionally keyed list behind Reports.
//
// Items keep the order in which they were added; positions count from 1.
// Keys are optional and compare without regard to letter case. Adding under a
// key that is already taken leaves the collection unchanged. Lookups by key
// are constant time; removal is linear, as it is for the host's own
// collections.
#pragma once

#include <algorithm>
#include <cstddef>
#include <unordered_map>
#include <vector>

#include "base/text.h"

namespace mervane {

template <class T>
class KeyedCollection {
 public:
  // Adds value at the end under key (empty: no key). False when key is taken.
  bool add(T value, TextView key) {
    if (!key.empty()) {
      Text folded = caseFoldKey(key);
      if (byKey_.count(folded)) return false;
      byKey_.emplace(folded, value);
      entries_.push_back(Entry{std::move(folded), std::move(value)});
    } else {
      entries_.push_back(Entry{Text(), std::move(value)});
    }
    return true;
  }

  std::size_t size() const { return entries_.size(); }

  // Position from 1; nullptr when out of range.
  const T* at(long long position) const {
    if (position < 1 || position > static_cast<long long>(entries_.size())) return nullptr;
    return &entries_[static_cast<std::size_t>(position - 1)].value;
  }

  // nullptr when no item carries the key (an empty key is never present).
  const T* find(TextView key) const {
    if (key.empty()) return nullptr;
    auto it = byKey_.find(caseFoldKey(key));
    return it == byKey_.end() ? nullptr : &it->second;
  }

  bool removeAt(long long position) {
    if (position < 1 || position > static_cast<long long>(entries_.size())) return false;
    auto it = entries_.begin() + static_cast<std::ptrdiff_t>(position - 1);
    if (!it->foldedKey.empty()) byKey_.erase(it->foldedKey);
    entries_.erase(it);
    return true;
  }

  bool remove(TextView key) {
    if (key.empty()) return false;
    Text folded = caseFoldKey(key);
    if (!byKey_.erase(folded)) return false;
    auto it = std::find_if(entries_.begin(), entries_.end(),
                           [&](const Entry& e) { return e.foldedKey == folded; });
    if (it != entries_.end()) entries_.erase(it);
    return true;
  }

  // The values in collection order (a copy, so callers may keep it while the
  // collection changes).
  std::vector<T> values() const {
    std::vector<T> out;
    out.reserve(entries_.size());
    for (const Entry& e : entries_) out.push_back(e.value);
    return out;
  }

 private:
  struct Entry {
    Text foldedKey;
    T value;
  };
  std::vector<Entry> entries_;
  std::unordered_map<Text, T> byKey_;
};

}  // namespace mervane
