// The settings store under the library's failure policy: a call that fails
// is skipped and nothing is raised. A failed read gives the fallback, a
// failed read of a whole section gives nothing, a failed write or removal is
// lost; each says whether it went through.
#pragma once

#include <optional>
#include <vector>

#include "base/attempt.h"
#include "components/settings_store.h"

namespace mervane {

class ForgivingSettingsStore {
 public:
  using Row = SettingsStore::Row;

  explicit ForgivingSettingsStore(SettingsStore& store) : store_(store) {}

  Text read(const Text& root, const Text& section, const Text& key, const Text& fallback = Text()) {
    return attemptOr(fallback, [&] { return store_.read(root, section, key, fallback); });
  }
  std::optional<std::vector<Row>> readAll(const Text& root, const Text& section) {
    return attemptValue([&] { return store_.readAll(root, section); });
  }
  bool write(const Text& root, const Text& section, const Text& key, const Text& value) noexcept {
    return attempt([&] { store_.write(root, section, key, value); });
  }
  bool remove(const Text& root, const Text& section, const Text& key) noexcept {
    return attempt([&] { store_.remove(root, section, key); });
  }

 private:
  SettingsStore& store_;
};

}  // namespace mervane
