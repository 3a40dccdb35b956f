// SettingsStore: the host's store of per-user text values, addressed by root,
// section and key. Any call may fail (it throws); every caller decides what a
// failure means for its own step.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "base/text.h"

namespace mervane {

class SettingsStore {
 public:
  using Row = std::pair<Text, Text>;  // key, value

  virtual ~SettingsStore() = default;
  // Removes one key, or with an empty key every value of the section.
  virtual void remove(const Text& root, const Text& section, const Text& key) = 0;
  // Every value of the section in the store's order; empty when it has none.
  virtual std::vector<Row> readAll(const Text& root, const Text& section) = 0;
  virtual Text read(const Text& root, const Text& section, const Text& key, const Text& fallback) = 0;
  virtual void write(const Text& root, const Text& section, const Text& key, const Text& value) = 0;
};

}  // namespace mervane
