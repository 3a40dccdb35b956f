// frmNewReport: the designer window. A tab strip with "Design" and
// "Preview" decides which of the two controls, the report designer and the
// report viewer, is in front; both always fill the tab strip's client area.
//
// The window holds the engine application (from load to unload) and the
// current report (from NewReport or OpenReport to unload). It never writes
// the report unless the user asks (File > Save, Save As, or Yes when asked,
// on closing, whether to save the changes they made).
#pragma once

#include <memory>

#include "authoring/designer_window.h"
#include "authoring/new_report.h"
#include "base/win/form.h"
#include "components/report_engine.h"
#include "connections/session_data.h"

namespace mervane::engine {
class Engine;
class Report;
}
namespace mervane::viewer::win {
class ViewerControl;
}

namespace mervane::authoring::win {

class DesignerControl;

// What the window needs from outside: the engine (its own type: the window
// gives the engine's reports to the designer and the viewer), and for
// NewReport the company database server and a table chooser.
struct DesignerFormParts {
  std::function<std::unique_ptr<engine::Engine>()> createEngine;
  std::function<std::unique_ptr<DatabaseServer>()> createServer;
  std::function<std::unique_ptr<TableChooser>()> loadChooser;
};

class DesignerForm final : public mervane::win::Form, public DesignerWindow, private NewReportWindow {
 public:
  explicit DesignerForm(DesignerFormParts parts);
  ~DesignerForm() override;

  // DesignerWindow
  void setCaption(const Text& caption) override;
  void setSessionData(const SessionData& data) override { session_ = data; }
  bool newReport() override;
  void openReport(const Text& fileName, const Text& repName) override;
  Text reportTitle() override;
  bool hasReport() override { return report_ != nullptr; }
  void showModal() override { Form::showModal(); }

  // For tests: the two controls and the tab strip.
  HWND designerWindow() const;
  HWND viewerWindow() const;
  HWND tabStrip() const { return control(kTabStrip); }
  DesignerControl* designerControl() const { return designer_.get(); }
  viewer::win::ViewerControl* viewerControl() const { return viewer_.get(); }
  engine::Report* currentReport() const { return report_.get(); }

  static constexpr int kTabStrip = 1;

 protected:
  void onLoad() override;
  void onCloseRequest() override;
  void onCommand(int id, int code) override;
  LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
  bool preTranslateMessage(MSG& message) override;

 private:
  // NewReportWindow
  void setHourglass(bool on) override;
  void processMessages() override;
  void createReport() override;
  std::shared_ptr<EngineDatabase> reportDatabase() override;

  void layOut();
  void tabChosen(int index);
  void giveToDesigner();
  void giveToViewer(bool viewerFirstShows);
  void dropReport();
  void markUnchanged();
  bool changedByUser() const;
  bool save(bool askForName);
  void onMenu(UINT id);

  DesignerFormParts parts_;
  SessionData session_;
  std::unique_ptr<engine::Engine> engine_;
  std::unique_ptr<engine::Report> report_;
  std::unique_ptr<DesignerControl> designer_;
  std::unique_ptr<viewer::win::ViewerControl> viewer_;
  HMENU menu_ = nullptr;
  std::uint64_t unchangedRevision_ = 0;
};

}  // namespace mervane::authoring::win
