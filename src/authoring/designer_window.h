// The designer window (frmNewReport) as the new-report and edit flows
// drive it.
//
// The caller loads it (through its maker, which also creates its
// engine application object), sets the eight connection properties, calls
// newReport() or openReport(), shows it modally, reads reportTitle() once it
// has hidden itself, and unloads it by letting go of the object (the report
// is released first, then the engine application).
#pragma once

#include "base/text.h"

namespace mervane {

class DesignerWindow {
 public:
  virtual ~DesignerWindow() = default;
  virtual void setCaption(const Text& caption) = 0;
  // The connection properties (write-only).
  virtual void setUserName(const Text& value) = 0;
  virtual void setUserPassword(const Text& value) = 0;
  virtual void setOdbcName(const Text& value) = 0;
  virtual void setSqlDatabase(const Text& value) = 0;
  virtual void setSqlLogin(const Text& value) = 0;
  virtual void setSqlPassword(const Text& value) = 0;
  virtual void setSqlServer(const Text& value) = 0;
  virtual void setSqlConnString(const Text& value) = 0;
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

}  // namespace mervane
