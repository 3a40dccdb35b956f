// The archive progress window (frmExportImport) as export and import drive it.
#pragma once

#include "base/text.h"

namespace mervane {

class ArchiveWindow {
 public:
  virtual ~ArchiveWindow() = default;
};

}  // namespace mervane
