// Calculating: the small modeless window that shows the catalogue scan's
// progress ("Reading Reports...", a label and a bar).
//
// The scan updates it once per file, thousands of times a second on a warm
// folder. The form keeps the latest label and bar values and hands them to
// its controls at most every 40 ms (a timer brings the last ones when the
// updates pause), and always when it is shown or closed: a person sees no
// difference, and the scan does not spend its time drawing.
#pragma once

#include <cstdint>

#include "base/win/form.h"
#include "catalogue/scan_window.h"

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
  void show() override;
  void close() override;

 protected:
  void onLoad() override;
  void onCloseRequest() override {}  // the scan closes it; the user cannot
  LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  void refresh(bool now = false);
  std::uint64_t lastRefresh_ = 0;
  bool refreshPending_ = false;
  std::int32_t maximum_ = 100, value_ = 0, shownMaximum_ = 100, shownValue_ = 0;
  Text label_ = u"Report 1 of 1", shownLabel_ = label_;
};

}  // namespace mervane::win
