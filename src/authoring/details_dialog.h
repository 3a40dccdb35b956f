// The report details dialog (frmGetFileName) as the copy operation drives it.
//
// The caller loads it (Services::loadDetailsDialog), sets AppName, RepPath and
// RepType, fills the title box and may disable it, shows it modally, reads
// OkSelected and both boxes once the dialog has hidden itself, and unloads it
// by letting go of the object. The checks that OK makes live in
// details_rules.h, apart from any window.
#pragma once

#include <cstdint>

#include "base/text.h"

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

}  // namespace mervane
