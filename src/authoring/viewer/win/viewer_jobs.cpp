// The viewer control's print and export jobs: the print dialog and a print
// job of the pages chosen, and the Export dialog and an export job
// (export_job.h) on a thread of its own, which talks back to the window only
// through the job and posted messages.
#include "authoring/viewer/win/viewer_jobs.h"

#include <filesystem>

#include "authoring/viewer/win/export_dialog.h"
#include "base/win/wide.h"
#include "printing/win/report_printing.h"

namespace mervane::viewer::win {

using mervane::win::fromWide;
using mervane::win::toWide;

// ---------------------------------------------------------------------------
// Print and export.
// ---------------------------------------------------------------------------

void ViewerControl::print() {
  if (!source_ || !hwnd_) return;
  if (printJob_ && !printJob_->finished()) {
    if (printJob_->progressWindow()) SetForegroundWindow(printJob_->progressWindow());
    return;
  }
  auto choice = printing::win::askPrintChoice(GetAncestor(hwnd_, GA_ROOT), nav_.last(),
                                              nav_.final() ? std::optional<std::int32_t>(nav_.last()) : std::nullopt);
  if (choice) print(*choice);
}

void ViewerControl::print(const printing::win::PrintChoice& choice) {
  if (!source_ || (printJob_ && !printJob_->finished())) return;
  printJob_.reset();
  std::wstring title = toWide(report_ ? report_->title() : title_);
  if (title.empty()) title = L"Report";
  printJob_ = std::make_unique<printing::win::PrintJob>(GetAncestor(hwnd_, GA_ROOT), source_, choice, title);
}

void ViewerControl::exportTo() {
  if (!source_ || !hwnd_ || (exportJob_ && !exportJob_->finished())) return;
  // Data only is made from the report itself: pages without one (an
  // on-demand subreport's) go out as pages.
  auto request = askExport(GetAncestor(hwnd_, GA_ROOT), report_ ? report_->title() : title_, nav_.current(),
                           nav_.last(), nav_.final() ? std::optional<std::int32_t>(nav_.last()) : std::nullopt,
                           report_ != nullptr);
  if (request) exportTo(*request);
}

void ViewerControl::exportTo(const std::wstring& path) {
  exportTo(ExportRequest{formatOfFile(fromWide(path.c_str())).value_or(ExportFormat::Pdf), {}, path});
}

void ViewerControl::exportTo(const ExportRequest& request) {
  if (!source_ || !hwnd_ || (exportJob_ && !exportJob_->finished())) return;
  exportJob_.reset();
  exportResult_.reset();
  ExportSources sources;
  sources.run = source_;
  sources.title = title_;
  if (report_) {  // the subject: the report file it was made from
    sources.title = report_->title();
    sources.subject = fromWide(std::filesystem::path(toWide(report_->path())).filename().wstring().c_str());
    sources.document = std::make_shared<const engine::ReportDocument>(report_->document());
    sources.data = report_->parts().data;
  }
  exportJob_ = std::make_unique<ExportJob>(GetAncestor(hwnd_, GA_ROOT), request, std::move(sources), hwnd_,
                                           kExportProgress);
  setStatus(L"Exporting\x2026");
  updateTools();
}

void ViewerControl::onExportProgress() {
  if (!exportJob_) return;
  if (!exportJob_->finished()) {
    if (std::int32_t counted = exportJob_->counting())
      setStatus(L"Counting pages (" + std::to_wstring(counted) + L" so far)\x2026");
    else
      setStatus(L"Exporting: " + std::to_wstring(exportJob_->done()) + L" done\x2026");
    return;
  }
  if (exportResult_) return;  // told already
  exportResult_ = exportJob_->succeeded();
  std::wstring name = std::filesystem::path(exportJob_->path()).filename().wstring();
  setStatus(exportJob_->succeeded() ? L"Exported to " + name
            : exportJob_->cancelled() ? std::wstring(L"Export stopped") : L"Could not write " + name);
  updateTools();
}

}  // namespace mervane::viewer::win
