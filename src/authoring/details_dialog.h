// The report details dialog (frmGetFileName) as the copy operation drives it.
#pragma once

#include "base/text.h"

namespace mervane {

class DetailsDialog {
 public:
  virtual ~DetailsDialog() = default;
};

}  // namespace mervane
