// Desktop: what the library's forms need from the desktop they live on:
// waiting window messages processed, the pointer, a message box. Calls may
// fail (they throw).
#pragma once

#include "base/text.h"

namespace mervane {

class Desktop {
 public:
  virtual ~Desktop() = default;
  // Lets waiting window messages be processed once.
  virtual void processMessages() = 0;
  // The hourglass pointer on (true) or the normal pointer back (false).
  virtual void setBusyPointer(bool busy) = 0;
  // An OK-only message box with the exclamation icon.
  virtual void showMessage(const Text& text, const Text& title) = 0;
};

}  // namespace mervane
