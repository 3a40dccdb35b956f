// The viewer control's print and export jobs: the print dialog and a print
// job of the pages chosen, and the save dialog and an export to PDF or CSV on
// a thread of its own, which talks back to the window only through the job
// and posted messages.
#include "authoring/viewer/win/viewer_jobs.h"

#include <commdlg.h>

#include <filesystem>
#include <fstream>

#include "base/win/wide.h"
#include "engine/export/csv_writer.h"
#include "engine/export/pdf_writer.h"
#include "engine/win/gdi_font_source.h"
#include "printing/win/report_printing.h"

namespace mervane::viewer::win {

namespace {

using mervane::win::fromWide;
using mervane::win::toWide;

bool endsWithNoCase(const std::wstring& text, const std::wstring& tail) {
  return text.size() >= tail.size() && equalsNoCase(fromWide(text.substr(text.size() - tail.size()).c_str()),
                                                    fromWide(tail.c_str()));
}

}  // namespace

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
  std::wstring title = report_ ? toWide(report_->title()) : std::wstring();
  if (title.empty()) title = L"Report";
  printJob_ = std::make_unique<printing::win::PrintJob>(GetAncestor(hwnd_, GA_ROOT), source_, choice, title);
}

void ViewerControl::exportTo() {
  if (!source_ || !hwnd_ || (exportJob_ && !exportJob_->done)) return;
  wchar_t file[MAX_PATH] = {};
  std::wstring title = report_ ? toWide(report_->title()) : std::wstring();
  for (wchar_t& c : title)
    if (wcschr(L"\\/:*?\"<>|", c)) c = L'_';
  wcsncpy(file, title.c_str(), MAX_PATH - 1);
  OPENFILENAMEW ofn{};
  ofn.lStructSize = sizeof(ofn);
  ofn.hwndOwner = GetAncestor(hwnd_, GA_ROOT);
  ofn.lpstrFilter = L"PDF document (*.pdf)\0*.pdf\0CSV, comma-separated values (*.csv)\0*.csv\0";
  ofn.lpstrFile = file;
  ofn.nMaxFile = MAX_PATH;
  ofn.lpstrTitle = L"Export Report";
  ofn.lpstrDefExt = L"pdf";
  ofn.Flags = OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST | OFN_NOCHANGEDIR | OFN_HIDEREADONLY;
  if (!GetSaveFileNameW(&ofn)) return;
  std::wstring path = file;
  if (ofn.nFilterIndex == 2 && !endsWithNoCase(path, L".csv")) path += L".csv";
  exportTo(path);
}

void ViewerControl::exportTo(const std::wstring& path) {
  if (!source_ || !hwnd_ || (exportJob_ && !exportJob_->done)) return;
  exportJob_.reset();
  exportResult_.reset();
  auto job = std::make_unique<ExportJob>();
  job->path = path;
  bool csv = endsWithNoCase(path, L".csv");
  engine::exporting::PdfOptions pdf;
  pdf.fonts = std::make_shared<engine::win::GdiFontSource>();
  if (report_) {  // the subject: the report file it was made from
    pdf.title = report_->title();
    pdf.subject = fromWide(std::filesystem::path(toWide(report_->path())).filename().wstring().c_str());
  }
  HWND window = hwnd_;
  ExportJob* running = job.get();
  job->thread = std::thread([running, window, csv, pdf = std::move(pdf), source = source_] {
    std::filesystem::path target(running->path);
    wchar_t temp[MAX_PATH] = {};
    std::wstring folder = target.parent_path().wstring();
    if (folder.empty()) folder = L".";
    bool ok = false;
    // Written beside the target under a name of its own, then renamed into
    // place: the target is never half-written, and an old one stays until
    // the new one is complete.
    if (GetTempFileNameW(folder.c_str(), L"mvx", 0, temp)) {
      try {
        bool complete = false;
        {
          std::ofstream out(std::filesystem::path(temp), std::ios::binary | std::ios::trunc);
          // Pages showing the page total wait for the count, so the file
          // never holds a total that was still growing.
          auto feed = engine::exporting::finalPagesOf(source, [running] { return running->cancel.load(); },
                                                      [running, window](std::int32_t known) {
                                                        running->counted = known;
                                                        PostMessageW(window, kExportProgress, 0, 0);
                                                      });
          auto progress = [running, window](std::int32_t n) {
            running->counted = 0;
            running->pages = n;
            PostMessageW(window, kExportProgress, 0, 0);
            return !running->cancel.load();
          };
          if (out) {
            complete = csv ? engine::exporting::writeCsv(feed, out, progress)
                           : engine::exporting::writePdf(feed, out, progress, pdf);
            out.close();
            complete = complete && !out.fail();
          }
        }
        ok = complete && !running->cancel &&
             MoveFileExW(temp, target.wstring().c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
      } catch (...) {
        ok = false;
      }
      if (!ok) DeleteFileW(temp);
    }
    running->ok = ok;
    running->done = true;
    PostMessageW(window, kExportProgress, 0, 0);
  });
  exportJob_ = std::move(job);
  setStatus(L"Exporting\x2026");
  updateTools();
}

void ViewerControl::onExportProgress() {
  if (!exportJob_) return;
  if (!exportJob_->done) {
    if (std::int32_t counted = exportJob_->counted)
      setStatus(L"Counting pages (" + std::to_wstring(counted) + L" so far)\x2026");
    else
      setStatus(L"Exporting page " + std::to_wstring(exportJob_->pages.load()) + L"\x2026");
    return;
  }
  if (exportJob_->thread.joinable()) exportJob_->thread.join();
  exportResult_ = exportJob_->ok.load();
  std::wstring name = std::filesystem::path(exportJob_->path).filename().wstring();
  setStatus(exportJob_->ok ? L"Exported to " + name
                           : exportJob_->cancel ? std::wstring(L"Export stopped") : L"Could not write " + name);
  updateTools();
}

}  // namespace mervane::viewer::win
