// Calculating: the small modeless window that shows the catalogue scan's
// progress ("Reading Reports...", a label and a bar).
#pragma once

#include <memory>

#include "base/win/form.h"
#include "components/services.h"

namespace mervane::win {

class CalculatingForm final : public Form, public ScanWindow {
 public:
  static constexpr int kLabel1 = 101;
  static constexpr int kProgressBar2 = 102;

  CalculatingForm();
  void setMaximum(std::int32_t maximum) override;
  void setValue(std::int32_t value) override;
  std::int32_t value() override;
  void setLabel(const Text& text) override;
  void show() override { showModeless(); }
  void close() override;

 protected:
  void onLoad() override;
  void onCloseRequest() override {}  // the scan closes it; the user cannot
};

}  // namespace mervane::win
