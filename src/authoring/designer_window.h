// The designer window (frmNewReport) as the new-report and edit flows
// drive it.
//
// The caller loads it (through its maker, which also creates its
// engine application object), gives it the session's data, calls
// newReport() or openReport(), shows it modally, reads reportTitle() once it
// has hidden itself, and unloads it by letting go of the object (the report
// is released first, then the engine application).
#pragma once

#include "base/text.h"
#include "components/forgiving.h"
#include "connections/session_data.h"

namespace mervane {

class DesignerWindow {
 public:
  virtual ~DesignerWindow() = default;
  virtual void setCaption(const Text& caption) = 0;
  // Where the new or opened report reads its data (write-only): the
  // window's connection properties, as one value.
  virtual void setSessionData(const SessionData& data) = 0;
  // Builds a new report on tables the user chooses; true when the window
  // is ready to be shown.
  virtual bool newReport() = 0;
  virtual void openReport(const Text& fileName, const Text& repName) = 0;
  // The current report's title as it now stands; empty without a report.
  virtual Text reportTitle() = 0;
  // Whether a report was opened or made (an empty window has none).
  virtual bool hasReport() = 0;
  // Returns when the window hides itself (its close button).
  virtual void showModal() = 0;
};

// The window under the library's failure policy: each call is skipped when
// the window is missing or the call fails; a failed read gives an empty
// title or false.
class ForgivingDesignerWindow : public ForgivingPart<DesignerWindow> {
 public:
  explicit ForgivingDesignerWindow(const Maker<DesignerWindow>& make) : ForgivingPart(make) {}

  void setCaption(const Text& caption) noexcept { step([&](DesignerWindow& w) { w.setCaption(caption); }); }
  void setSessionData(const SessionData& data) noexcept { step([&](DesignerWindow& w) { w.setSessionData(data); }); }
  bool newReport() { return value(false, [](DesignerWindow& w) { return w.newReport(); }); }
  void openReport(const Text& fileName, const Text& repName) noexcept {
    step([&](DesignerWindow& w) { w.openReport(fileName, repName); });
  }
  Text reportTitle() { return value(Text(), [](DesignerWindow& w) { return w.reportTitle(); }); }
  bool hasReport() { return value(false, [](DesignerWindow& w) { return w.hasReport(); }); }
  void showModal() noexcept { step([](DesignerWindow& w) { w.showModal(); }); }
};

}  // namespace mervane
