// The desktop under the library's failure policy: a call that fails is
// skipped and nothing is raised.
#pragma once

#include "base/attempt.h"
#include "components/desktop.h"

namespace mervane {

class ForgivingDesktop {
 public:
  explicit ForgivingDesktop(Desktop& desktop) : desktop_(desktop) {}

  void processMessages() noexcept { attempt([&] { desktop_.processMessages(); }); }
  void setBusyPointer(bool busy) noexcept { attempt([&] { desktop_.setBusyPointer(busy); }); }
  void showMessage(const Text& text, const Text& title) noexcept {
    attempt([&] { desktop_.showMessage(text, title); });
  }

 private:
  Desktop& desktop_;
};

}  // namespace mervane
