// The small modeless window that shows the catalogue scan's progress. Calls
// may fail (they throw).
#pragma once

#include <cstdint>

#include "base/text.h"
#include "components/forgiving.h"

namespace mervane {

class ScanWindow {
 public:
  virtual ~ScanWindow() = default;
  virtual void setMaximum(std::int32_t maximum) = 0;
  virtual void setValue(std::int32_t value) = 0;
  virtual std::int32_t value() = 0;
  virtual void setLabel(const Text& text) = 0;
  virtual void show() = 0;  // modeless
  virtual void close() = 0;
};

// The scan window under the library's failure policy: each call is skipped
// when the window is missing or the call fails.
class ForgivingScanWindow : public ForgivingPart<ScanWindow> {
 public:
  explicit ForgivingScanWindow(const Maker<ScanWindow>& make) : ForgivingPart(make) {}

  void setMaximum(std::int32_t maximum) noexcept { step([&](ScanWindow& w) { w.setMaximum(maximum); }); }
  void setValue(std::int32_t value) noexcept { step([&](ScanWindow& w) { w.setValue(value); }); }
  // One more on the bar; skipped when the bar's value cannot be read.
  void advance() noexcept { step([](ScanWindow& w) { w.setValue(w.value() + 1); }); }
  void setLabel(const Text& text) noexcept { step([&](ScanWindow& w) { w.setLabel(text); }); }
  void show() noexcept { step([](ScanWindow& w) { w.show(); }); }
  void close() noexcept { step([](ScanWindow& w) { w.close(); }); }
};

}  // namespace mervane
