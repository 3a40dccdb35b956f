// The report viewer control: a child window that shows a report's pages as
// they will print, with a row of tools above them (first, previous, the page
// box, next, last, zoom, find, refresh, print, export).
//
// Pages come from a run of the report (engine::Report::run), which lays
// them out on its own threads. The window never waits for one: a page not
// laid out yet is asked for on the page cache's worker thread
// (page_cache.h) and shows "Loading…" until it comes; the page count is followed with a timer while
// the run still counts; printing and export run on threads of their own and
// can be cancelled, and a page that shows the page total waits there until
// the run has counted its pages. Closing the window cancels them all.
//
// Keys on the pages: Page Up/Down, Home/End (top and bottom of the page),
// Ctrl+Home/End (first and last page), arrows scroll, Ctrl+F find, F5
// refresh, Ctrl+P print.
//
// Links to on-demand subreports: the pointer turns to a hand over one, and
// a click (or Tab to reach it and Enter) opens the subreport's own pages
// for that record on a tab beside the report's, with the same tools; Esc
// or Ctrl+F4 on those pages, or the Close button, closes the tab and goes
// back to the report. A new run of the report closes them all.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "authoring/viewer/page_cache.h"
#include "authoring/viewer/viewer_state.h"
#include "authoring/viewer/win/export_job.h"
#include "components/forgiving.h"
#include "engine/engine.h"
#include "engine/layout/page_source.h"
#include "engine/model/parameters.h"
#include "engine/win/page_painter.h"

namespace mervane::printing::win {
class PrintJob;
struct PrintChoice;
}  // namespace mervane::printing::win

namespace mervane::viewer::win {

// Control ids of the tools, for tests and the keyboard.
enum ViewerId : int {
  kFirstButton = 1001,
  kPreviousButton,
  kPageBox,
  kNextButton,
  kLastButton,
  kZoomBox,
  kFindBox,
  kFindButton,
  kRefreshButton,
  kPrintButton,
  kExportButton,
  kStatusText,
  kPageArea,
  kLinkTabs,          // the report and its opened subreports, once one is open
  kCloseLinkButton,   // closes the subreport tab shown
};

class ViewerControl {
 public:
  using PageSourceFactory = std::function<std::unique_ptr<engine::layout::PageSource>()>;

  ViewerControl();
  ~ViewerControl();
  ViewerControl(const ViewerControl&) = delete;
  ViewerControl& operator=(const ViewerControl&) = delete;

  // Makes the window, a visible child of `parent`; the parent places it.
  bool create(HWND parent);
  HWND hwnd() const { return hwnd_; }

  // The report to show; null: an empty view. Shows nothing until
  // viewReport() or refresh().
  void setReportSource(engine::Report* report);
  // Pages as they will print (the only view there is): back to the first
  // page, the pages in front.
  void showAsPages();
  // Starts showing the report, unless a run of it is shown already; a
  // hidden viewer waits until it is shown.
  void viewReport();
  // Runs the report again as it now stands (its data read again).
  void refresh();
  // Runs the report again only if it changed since the run shown, or that
  // run found a problem; otherwise the pages shown stay, with the data they
  // were made from.
  void bringUpToDate();
  // The print dialog, then the chosen pages printed in the background.
  void print();
  // Prints without asking (tests, the bench): pages as chosen.
  void print(const printing::win::PrintChoice& choice);
  // The Export dialog and the save dialog, then the file written in the
  // background.
  void exportTo();
  // Writes to `path` without asking, every page, in the format its
  // extension names (PDF for any other).
  void exportTo(const std::wstring& path);
  void exportTo(const ExportRequest& request);

  // Asks for the values of the report's parameters before a run that needs
  // them (none given yet); false: the person cancelled, and the pages shown
  // stay (no run yet: a page says the report was not run). Without one, a
  // run takes the parameters' defaults.
  using ParameterPrompt = std::function<bool(std::vector<engine::model::AskedParameter>& parameters)>;
  void setParameterPrompt(ParameterPrompt prompt) { prompt_ = std::move(prompt); }
  // Whether the pages shown come from a run of the report (false before the
  // first run and after a cancelled prompt).
  bool hasRun() const { return source_ != nullptr && !notRun_; }

  // Where runs come from instead of the report (tests; the designer's
  // sample pages).
  void setPageSourceFactory(PageSourceFactory factory) { factory_ = std::move(factory); }

  // For tests and the designer window.
  const PageNavigation& navigation() const { return nav_; }
  Zoom zoom() const { return zoom_; }
  void setZoom(const Zoom& zoom);
  ScrollPosition scroll() const { return scroll_; }
  bool pageShown() const;  // the current page is laid out and painted
  bool busy() const;       // a print job or export still runs
  std::optional<FindHit> findHit() const { return hit_; }
  // The outcome of the last export: true written, false failed or
  // cancelled; nothing while none finished.
  std::optional<bool> lastExport() const { return exportResult_; }

  // Opens a link of the pages shown on a tab of its own (or shows the tab
  // that has it open already); false when it leads nowhere.
  bool openLink(const engine::layout::PageLink& link);
  // The viewer of the subreport tab shown; null while the report's is.
  ViewerControl* linkedView() const;
  std::size_t linkedTabs() const { return linked_.size(); }
  // Closes the subreport tab of `view` (null: the one shown).
  void closeLinkedTab(ViewerControl* view = nullptr);
  // For tests: the page area, and the middle of the current page's
  // `index`-th link in it (nothing when there is no such link).
  HWND pageArea() const { return area_; }
  std::optional<POINT> linkPoint(std::size_t index) const;

 private:
  static LRESULT CALLBACK controlProc(HWND, UINT, WPARAM, LPARAM);
  static LRESULT CALLBACK pageAreaProc(HWND, UINT, WPARAM, LPARAM);
  static LRESULT CALLBACK toolProc(HWND, UINT, WPARAM, LPARAM, UINT_PTR, DWORD_PTR);
  LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam);
  LRESULT onPageAreaMessage(HWND area, UINT message, WPARAM wParam, LPARAM lParam);
  bool onKey(WPARAM key);

  void makeTools();
  void layoutTools();
  void onCommand(int id, int code);
  void startRun(std::unique_ptr<engine::layout::PageSource> source);
  bool parametersWanted() const;
  void dropRun();
  void stopAll();
  void followCount();
  void showPage(std::int32_t page, std::int32_t scrollY = 0);
  void request(std::int32_t number);
  void onPageReady();
  void find();
  void onFindDone();
  void onExportProgress();
  void updateTools();
  void updateScrollBars();
  void paintPages(HDC dc, const RECT& client);
  double scale() const;
  SIZE contentSize() const;
  void scrollTo(ScrollPosition at);
  void setStatus(const std::wstring& text);
  engine::win::Placement placement() const;
  std::shared_ptr<const engine::layout::PageLink> linkAt(POINT point) const;
  RECT linkRect(const engine::layout::TextRun& run) const;
  void focusNextLink(bool backwards);
  void showTab(int index);
  void closeAllLinked();

  HWND hwnd_ = nullptr;
  HWND area_ = nullptr;
  HFONT font_ = nullptr;
  engine::Report* report_ = nullptr;
  PageSourceFactory factory_;
  ParameterPrompt prompt_;
  bool notRun_ = false;  // the page shown says the report was not run
  bool prompting_ = false;
  std::shared_ptr<engine::layout::TextMeasure> measure_;

  // The run shown and its generation (each run a new one, so late answers
  // about an earlier run are told apart).
  std::shared_ptr<engine::layout::PageSource> source_;
  std::uint64_t generation_ = 0;
  std::uint64_t runRevision_ = 0;  // the report's revision the run was made from
  bool viewWhenShown_ = false;
  PageNavigation nav_;
  Zoom zoom_;
  ScrollPosition scroll_;
  std::int32_t pageWidth_ = 11906, pageHeight_ = 16838;  // of the last page seen
  std::optional<FindHit> hit_;
  std::shared_ptr<std::atomic<bool>> findStop_;
  engine::win::PagePainter painter_;

  std::unique_ptr<PageCache> pages_;  // and letting go of old runs
  std::unique_ptr<Worker> finder_;
  std::unique_ptr<printing::win::PrintJob> printJob_;
  std::unique_ptr<ExportJob> exportJob_;
  std::optional<bool> exportResult_;

  // Subreports opened from links, each a viewer of its own on a tab.
  struct LinkedTab {
    std::unique_ptr<ViewerControl> view;
    std::int32_t subreport = -1;
    std::vector<engine::formula::Value> values;
  };
  std::vector<LinkedTab> linked_;
  HWND tabs_ = nullptr;
  ViewerControl* owner_ = nullptr;  // a subreport's viewer: the report's viewer that opened it
  Text title_;                      // a subreport's viewer: its name, for printing and export
  int focusedLink_ = -1;            // the link reached with Tab, among the page's links
};

// The viewer as its host window drives it, under the library's failure
// policy: each call is skipped when there is no viewer or the call fails.
// The host keeps the viewer; the wrapper only borrows it.
class ForgivingViewerControl : public ForgivingPart<ViewerControl, std::shared_ptr<ViewerControl>> {
 public:
  explicit ForgivingViewerControl(ViewerControl* viewer)
      : ForgivingPart(std::shared_ptr<ViewerControl>(std::shared_ptr<void>(), viewer)) {}

  void setReportSource(engine::Report* report) noexcept {
    step([&](ViewerControl& v) { v.setReportSource(report); });
  }
  void showAsPages() noexcept { step([](ViewerControl& v) { v.showAsPages(); }); }
  void viewReport() noexcept { step([](ViewerControl& v) { v.viewReport(); }); }
  void bringUpToDate() noexcept { step([](ViewerControl& v) { v.bringUpToDate(); }); }
  void refresh() noexcept { step([](ViewerControl& v) { v.refresh(); }); }
  void print() noexcept { step([](ViewerControl& v) { v.print(); }); }
  void exportTo() noexcept { step([](ViewerControl& v) { v.exportTo(); }); }
};

}  // namespace mervane::viewer::win
