// The report details dialog (frmGetFileName) as the copy operation drives it.
//
// The caller loads it (through its maker), sets AppName, RepPath and
// RepType, fills the title box and may disable it, shows it modally, reads
// OkSelected and both boxes once the dialog has hidden itself, and unloads it
// by letting go of the object. The checks that OK makes live in
// details_rules.h, apart from any window.
#pragma once

#include <cstdint>
#include <optional>

#include "base/text.h"
#include "components/forgiving.h"

namespace mervane {

class DetailsDialog {
 public:
  virtual ~DetailsDialog() = default;
  // The title of every message box the dialog shows.
  virtual void setAppName(const Text& appName) = 0;
  // The reports folder, with its trailing separator: file names are joined
  // to it with nothing between.
  virtual void setRepPath(const Text& repPath) = 0;
  // A vdReportType value; any value but 1 and 2 skips the extension rules.
  virtual void setRepType(std::int32_t repType) = 0;
  virtual void setTitle(const Text& title) = 0;
  // Makes the title box read-only to the user: disabled, and skipped by Tab.
  virtual void disableTitle() = 0;
  // Returns when the dialog hides itself: OK with every check passed,
  // Cancel, or the window's close button.
  virtual void showModal() = 0;
  virtual bool okSelected() = 0;
  // The file name box, with any extension the checks appended.
  virtual Text fileName() = 0;
  virtual Text title() = 0;
};

// The dialog under the library's failure policy: each call is skipped when
// the dialog is missing or the call fails; a failed read gives nothing.
class ForgivingDetailsDialog : public ForgivingPart<DetailsDialog> {
 public:
  explicit ForgivingDetailsDialog(const Maker<DetailsDialog>& make) : ForgivingPart(make) {}

  void setAppName(const Text& appName) noexcept { step([&](DetailsDialog& d) { d.setAppName(appName); }); }
  void setRepPath(const Text& repPath) noexcept { step([&](DetailsDialog& d) { d.setRepPath(repPath); }); }
  void setRepType(std::int32_t repType) noexcept { step([&](DetailsDialog& d) { d.setRepType(repType); }); }
  void setTitle(const Text& title) noexcept { step([&](DetailsDialog& d) { d.setTitle(title); }); }
  void disableTitle() noexcept { step([](DetailsDialog& d) { d.disableTitle(); }); }
  void showModal() noexcept { step([](DetailsDialog& d) { d.showModal(); }); }
  // False when the answer cannot be read.
  bool okSelected() { return value(false, [](DetailsDialog& d) { return d.okSelected(); }); }
  std::optional<Text> fileName() {
    return value(std::optional<Text>(), [](DetailsDialog& d) { return std::optional<Text>(d.fileName()); });
  }
  std::optional<Text> title() {
    return value(std::optional<Text>(), [](DetailsDialog& d) { return std::optional<Text>(d.title()); });
  }
};

}  // namespace mervane
