// The designer control given an engine report: it edits the report's
// document and tells the report of every change.
#include "authoring/designer/win/designer_control.h"
#include "engine/engine.h"

namespace mervane::authoring::win {

void DesignerControl::setReport(engine::Report* report) {
  engine::ReportDocument* document = nullptr;
  try {
    if (report) document = &report->document();
  } catch (...) {
    document = nullptr;
  }
  if (!document) {
    setDocument(nullptr, {});
    return;
  }
  setDocument(document, [report] { report->markChanged(); });
}

}  // namespace mervane::authoring::win
