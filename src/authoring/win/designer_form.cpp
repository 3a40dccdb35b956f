// frmNewReport: layout, tabs, OpenReport, NewReport, the title, closing.
//
// The designer and viewer operations that callers of such a window know by
// dispatch id, and what they are in our controls, in one place:
//   designer 17         its report object      DesignerControl::setReport
//   designer 13 true    display option         the field list is shown
//   designer 9 true     display option         the grid is shown, objects snap to it
//   designer 18 false   display option         the report may be changed (not read-only)
//                       (design_options.h says the same from the designer's side)
//   viewer 250          its report source      ViewerControl::setReportSource
//   viewer 360 with 1   the view's mode        ViewerControl::showAsPages (whole pages, as printed)
//   viewer 265          show the report        ViewerControl::viewReport (the first run starts
//                                              when the viewer is first shown)
//   viewer 402 false    refresh                ViewerControl::bringUpToDate (runs the report again
//                                              if it changed since the run shown, else keeps its
//                                              pages; false: no prompt for parameters)
#include "authoring/win/designer_form.h"

#include <commctrl.h>
#include <commdlg.h>

#include <set>
#include <vector>

#include "authoring/designer/design_options.h"
#include "authoring/designer/win/designer_control.h"
#include "authoring/designer/win/designer_dialogs.h"
#include "authoring/viewer/win/viewer_control.h"
#include "base/attempt.h"
#include "base/win/com.h"
#include "components/forgiving_report_engine.h"
#include "connections/report_locations.h"
#include "engine/engine.h"

namespace mervane::authoring::win {
namespace {

using viewer::win::ForgivingViewerControl;

constexpr int kDesignTab = 1;  // the tabs' indexes, from 1
constexpr int kPreviewTab = 2;
constexpr int kMargin = 120;   // twips around the tab strip

constexpr char16_t kUntitled[] = u"Untitled report";

// The distinct values of a column of the report's data, for a parameter's
// list of allowed values: the first thousand found; none when the data
// cannot be read.
std::vector<engine::formula::Value> columnValues(engine::Report& report, const engine::model::FieldRef& column) {
  constexpr std::size_t kMostValues = 1000;
  std::vector<engine::formula::Value> values;
  if (!report.parts().data) return values;
  try {
    engine::model::ReportDefinition whole = report.document().definition;
    whole.data.recordFilter.clear();
    whole.data.sortFields.clear();
    whole.data.groups.clear();
    auto data = report.parts().data->open(report.document(), whole, u"");
    auto rows = data->rows({column}, {});
    std::set<Text> seen;
    std::vector<engine::formula::Value> row;
    while (values.size() < kMostValues && rows->next(row)) {
      if (row.empty() || row[0].isNull()) continue;
      if (seen.insert(engine::formula::toText(row[0])).second) values.push_back(row[0]);
    }
  } catch (...) {
    values.clear();
  }
  return values;
}

Text folderOf(const Text& path) {
  std::size_t slash = path.find_last_of(u"\\/");
  return slash == Text::npos ? Text() : path.substr(0, slash);
}

// What the user calls the report: its title, trimmed, or "Untitled report".
Text reportName(const Text& title) {
  Text name = trim(title);
  return name.empty() ? Text(kUntitled) : name;
}

// A file name made from the report's title: characters Windows refuses in
// a name become "_", and a name of dots and blanks only is no name.
Text fileNameFor(const Text& title) {
  Text name = reportName(title);
  for (char16_t& c : name)
    if (c < 32 || Text(u"\\/:*?\"<>|").find(c) != Text::npos) c = u'_';
  while (!name.empty() && (name.back() == u'.' || name.back() == u' ')) name.pop_back();
  if (name.empty()) name = kUntitled;
  return name + u".rpt";
}

// The standard save dialog for a report file, proposing `name` in
// `folder`; empty when cancelled.
Text askReportFileName(HWND owner, const Text& folderPath, const Text& name) {
  std::wstring file(32768, L'\0');
  std::wstring wideName = mervane::win::toWide(name);
  wideName.copy(file.data(), std::min(wideName.size(), file.size() - 1));
  std::wstring folder = mervane::win::toWide(folderPath);
  OPENFILENAMEW ofn = {};
  ofn.lStructSize = sizeof(ofn);
  ofn.hwndOwner = owner;
  ofn.lpstrFilter = L"Reports (*.rpt)\0*.rpt\0All files (*.*)\0*.*\0";
  ofn.lpstrFile = file.data();
  ofn.nMaxFile = static_cast<DWORD>(file.size());
  ofn.lpstrInitialDir = folder.empty() ? nullptr : folder.c_str();
  ofn.lpstrDefExt = L"rpt";
  ofn.lpstrTitle = L"Save Report As";
  ofn.Flags = OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
  if (!GetSaveFileNameW(&ofn)) return Text();
  return mervane::win::fromWide(file.c_str());
}

}  // namespace

DesignerForm::DesignerForm(DesignerFormParts parts) : Form(L"New Report", 9390, 6720), parts_(std::move(parts)) {
  windowStyle_ = WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN;
  windowExStyle_ = WS_EX_APPWINDOW;
}

DesignerForm::~DesignerForm() {
  // Unloading: the controls let go of the report, then the report is
  // released, then the engine application.
  if (designer_) designer_->setReport(nullptr);
  if (viewer_) viewer_->setReportSource(nullptr);
  designer_.reset();
  viewer_.reset();
  report_.reset();
  engine_.reset();
}

void DesignerForm::onLoad() {
  // The tab strip lies behind the two controls; the designer is in front.
  static const mervane::win::ControlLayout kControls[] = {
      {WC_TABCONTROLW, L"", kTabStrip, 120, 120, 9015, 6495, WS_CLIPSIBLINGS | WS_TABSTOP},
  };
  addControls(kControls);
  HWND tabs = control(kTabStrip);
  for (const wchar_t* caption : {L"Design", L"Preview"}) {
    TCITEMW item = {};
    item.mask = TCIF_TEXT;
    item.pszText = const_cast<wchar_t*>(caption);
    SendMessageW(tabs, TCM_INSERTITEMW, SendMessageW(tabs, TCM_GETITEMCOUNT, 0, 0), reinterpret_cast<LPARAM>(&item));
  }

  viewer_ = std::make_unique<viewer::win::ViewerControl>();
  if (!viewer_->create(hwnd())) viewer_.reset();
  if (viewer_) {
    viewer_->setParameterPrompt([this](std::vector<engine::model::AskedParameter>& parameters) {
      engine::Report* report = currentReport();
      if (!report) return false;
      return promptParameters(hwnd(), parameters,
                              [report](const engine::model::FieldRef& column) { return columnValues(*report, column); });
    });
  }
  designer_ = std::make_unique<DesignerControl>();
  if (!designer_->create(hwnd())) designer_.reset();
  auto place = [&](HWND h, int left, int top, int width, int height) {
    if (h) SetWindowPos(h, HWND_TOP, pixelsX(left), pixelsY(top), pixelsX(width), pixelsY(height), SWP_NOACTIVATE);
  };
  if (viewer_) place(viewer_->hwnd(), 240, 600, 8655, 5775);
  if (designer_) place(designer_->hwnd(), 240, 600, 8655, 5895);
  tabChosen(kDesignTab);

  // The designer's menus (File, Edit, Insert, Report, View) with their
  // keys; the File commands come back here.
  menu_ = CreateMenu();
  if (designer_) designer_->appendMenus(menu_);
  SetMenu(hwnd(), menu_);

  // 0.9 of the screen each way, in the middle of it.
  const int width = GetSystemMetrics(SM_CXSCREEN) * 9 / 10;
  const int height = GetSystemMetrics(SM_CYSCREEN) * 9 / 10;
  SetWindowPos(hwnd(), nullptr, (GetSystemMetrics(SM_CXSCREEN) - width) / 2,
               (GetSystemMetrics(SM_CYSCREEN) - height) / 2, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
  engine_ = parts_.createEngine ? parts_.createEngine() : nullptr;
}

HWND DesignerForm::designerWindow() const { return designer_ ? designer_->hwnd() : nullptr; }
HWND DesignerForm::viewerWindow() const { return viewer_ ? viewer_->hwnd() : nullptr; }

void DesignerForm::setCaption(const Text& caption) { Form::setCaption(mervane::win::toWide(caption)); }

// The tab strip keeps a margin of 120 twips on each side; both controls
// fill its client area. A size that would come out negative leaves that
// control where it was.
void DesignerForm::layOut() {
  RECT client;
  if (!GetClientRect(hwnd(), &client)) return;
  HWND tabs = control(kTabStrip);
  const int width = client.right - 2 * pixelsX(kMargin);
  const int height = client.bottom - 2 * pixelsY(kMargin);
  if (tabs && width >= 0 && height >= 0) MoveWindow(tabs, pixelsX(kMargin), pixelsY(kMargin), width, height, TRUE);

  RECT area;
  if (!tabs || !GetWindowRect(tabs, &area)) return;
  MapWindowPoints(nullptr, hwnd(), reinterpret_cast<POINT*>(&area), 2);
  SendMessageW(tabs, TCM_ADJUSTRECT, FALSE, reinterpret_cast<LPARAM>(&area));
  const int areaWidth = area.right - area.left, areaHeight = area.bottom - area.top;
  if (areaWidth < 0 || areaHeight < 0) return;
  for (HWND h : {designerWindow(), viewerWindow()})
    if (h) SetWindowPos(h, nullptr, area.left, area.top, areaWidth, areaHeight, SWP_NOZORDER | SWP_NOACTIVATE);
}

// Design brings the designer to the front; Preview brings the viewer and
// shows the report as it now stands, with the hourglass: run the first time,
// run again after a change, and otherwise the pages already made.
void DesignerForm::tabChosen(int index) {
  HWND front = nullptr, back = nullptr;
  if (index == kDesignTab) {
    front = designerWindow();
    back = viewerWindow();
  } else if (index == kPreviewTab) {
    front = viewerWindow();
    back = designerWindow();
  } else {
    return;
  }
  if (front) {
    SetWindowPos(front, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_SHOWWINDOW);
    if (IsWindowVisible(hwnd())) SetFocus(front);
  }
  if (back) ShowWindow(back, SW_HIDE);
  if (index == kPreviewTab && viewer_) {
    mervane::win::WaitCursor hourglass;
    ForgivingViewerControl(viewer_.get()).bringUpToDate();
  }
}

void DesignerForm::giveToDesigner() {
  ForgivingDesignerControl control(designer_.get());
  control.setReport(currentReport());
  control.setDisplayOption(designer::kDisplayFieldList, true);
  control.setDisplayOption(designer::kDisplayGrid, true);
  control.setDisplayOption(designer::kDisplayReadOnly, false);
}

// OpenReport asks for the page view (360) before showing the report (265);
// NewReport the other way round.
void DesignerForm::giveToViewer(bool pagesFirst) {
  ForgivingViewerControl viewer(viewer_.get());
  viewer.setReportSource(currentReport());
  if (pagesFirst) {
    viewer.showAsPages();
    viewer.viewReport();
  } else {
    viewer.viewReport();
    viewer.showAsPages();
  }
}

void DesignerForm::dropReport() {
  ForgivingDesignerControl(designer_.get()).setReport(nullptr);
  ForgivingViewerControl(viewer_.get()).setReportSource(nullptr);
  report_.reset();
}

void DesignerForm::openReport(const Text& fileName, const Text& repName) {
  dropReport();
  // A file the engine cannot open leaves the window without a report.
  if (engine_)
    report_ = attemptOr<std::unique_ptr<engine::Report>>(
        nullptr, [&] { return engine_->open(fileName, OpenMethod::ByTemporaryCopy); });
  setReportLocations(report_.get(), session_);
  giveToDesigner();
  giveToViewer(true);
  ForgivingReport::borrowing(report_.get()).setTitle(repName);
  markUnchanged();
}

// The report as it was made or opened (its tables pointed at the session's
// data) is where the user's own changes start.
void DesignerForm::markUnchanged() {
  if (engine::Report* report = currentReport()) unchangedRevision_ = report->revision();
}

bool DesignerForm::changedByUser() const {
  engine::Report* report = currentReport();
  return report && report->modified() && report->revision() != unchangedRevision_;
}

Text DesignerForm::reportTitle() { return ForgivingReport::borrowing(report_.get()).title(); }

// ---- NewReport ----

bool DesignerForm::newReport() {
  std::unique_ptr<DatabaseServer> server = attemptOr<std::unique_ptr<DatabaseServer>>(nullptr, parts_.createServer);
  if (!server) return false;
  const bool built = buildNewReport(session_.sqlLogOn, *server, parts_.loadChooser, *this);
  // The tables were added after the designer was given the report: its
  // field list reads them again.
  if (built) ForgivingDesignerControl(designer_.get()).setReport(currentReport());
  markUnchanged();
  return built;
}

void DesignerForm::setHourglass(bool on) {
  SetCursor(LoadCursorW(nullptr, on ? IDC_WAIT : IDC_ARROW));
}

void DesignerForm::processMessages() { mervane::win::processMessages(); }

void DesignerForm::createReport() {
  dropReport();
  if (engine_) report_ = engine_->create();
  giveToDesigner();
  giveToViewer(false);
}

std::shared_ptr<EngineDatabase> DesignerForm::reportDatabase() {
  return report_ ? report_->database() : nullptr;
}

// ---- saving and closing ----

// Save writes the opened file; Save As (or Save of a report that has no
// file yet) asks for a name first. False when nothing was written.
bool DesignerForm::save(bool askForName) {
  engine::Report* report = currentReport();
  if (!report) return false;
  Text path = report->path();
  if (askForName || path.empty()) {
    path = askReportFileName(hwnd(), folderOf(path), fileNameFor(report->title()));
    if (path.empty()) return false;
  }
  try {
    mervane::win::WaitCursor hourglass;
    report->save(path);
    return true;
  } catch (const std::exception&) {
    std::wstring text = L"The report could not be saved to " + mervane::win::toWide(path) +
                        L".\nThe file is as it was before.";
    MessageBoxW(hwnd(), text.c_str(), L"Save Report", MB_OK | MB_ICONEXCLAMATION);
    return false;
  }
}

// The close button hides the window (the caller reads the title and
// unloads it). When the user changed the report and has not saved it, they
// are asked first: Yes saves, No closes without saving, Cancel keeps the
// window open. Cancel is the default, so that Enter writes nothing and
// loses nothing.
void DesignerForm::onCloseRequest() {
  if (changedByUser()) {
    std::wstring question = L"Do you want to save the changes to \"" +
                            mervane::win::toWide(reportName(currentReport()->title())) + L"\"?";
    int answer = MessageBoxW(hwnd(), question.c_str(), L"Close Report",
                             MB_YESNOCANCEL | MB_ICONQUESTION | MB_DEFBUTTON3);
    if (answer == IDCANCEL) return;
    if (answer == IDYES && !save(false)) return;
  }
  hide();
}

void DesignerForm::onMenu(UINT id) {
  switch (id) {
    case kCommandSave: save(false); return;
    case kCommandSaveAs: save(true); return;
    case kCommandClose: onCloseRequest(); return;
    case kCommandParameterValues:
      // The prompt comes again at the next run; at once when the pages show.
      if (engine::Report* report = currentReport()) engine::model::forgetAnswers(report->document().definition);
      if (viewer_ && IsWindowVisible(viewerWindow())) ForgivingViewerControl(viewer_.get()).refresh();
      return;
    case kCommandPrint:
    case kCommandExport: {
      // What is printed is the report as it now stands.
      ForgivingViewerControl viewer(viewer_.get());
      viewer.bringUpToDate();
      // Pages that say the report was not run: the prompt again, and
      // nothing to print if it is cancelled once more.
      if (viewer_ && !viewer_->hasRun()) viewer.refresh();
      if (!viewer_ || !viewer_->hasRun()) return;
      if (id == kCommandPrint)
        viewer.print();
      else
        viewer.exportTo();
      return;
    }
    default:
      ForgivingDesignerControl(designer_.get()).onCommand(id);
  }
}

// The designer's keys work on both tabs: its File keys (save, print) are
// the window's.
bool DesignerForm::preTranslateMessage(MSG& message) {
  return designer_ && designer_->translateAccelerator(message);
}

// Menus (code 0) and accelerators (code 1); the two controls keep their own
// controls' notices.
void DesignerForm::onCommand(int id, int code) {
  if (code == 0 || code == 1) onMenu(static_cast<UINT>(id));
}

LRESULT DesignerForm::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_SIZE:
      layOut();
      return 0;
    case WM_NOTIFY: {
      const auto* header = reinterpret_cast<const NMHDR*>(lParam);
      if (header->idFrom == kTabStrip && header->code == TCN_SELCHANGE)
        tabChosen(static_cast<int>(SendMessageW(header->hwndFrom, TCM_GETCURSEL, 0, 0)) + 1);
      break;
    }
  }
  return Form::onMessage(message, wParam, lParam);
}

}  // namespace mervane::authoring::win
