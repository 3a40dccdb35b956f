// An export of a report on a worker thread, with its progress window.
//
// The file is written beside the target under a temporary name and renamed
// into place only when it is complete: a failed or cancelled export leaves
// no half-written file, and an earlier file of that name stays until the
// new one replaces it. Pages that show the page total wait for the count,
// so every file holds final totals. The progress window ("Exporting page
// 12", Cancel) appears only when the export takes more than a moment.
#pragma once

#include <windows.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "authoring/viewer/export_choice.h"
#include "engine/data/report_data.h"
#include "engine/document.h"
#include "engine/layout/page_source.h"

namespace mervane::viewer::win {

struct ExportRequest {
  ExportFormat format = ExportFormat::Pdf;
  ExportPages pages;
  std::wstring path;
};

// What an export reads: the run's pages, and for data-only workbooks the
// report itself (a copy, taken before the job starts) and its data.
struct ExportSources {
  std::shared_ptr<engine::layout::PageSource> run;
  std::shared_ptr<const engine::ReportDocument> document;
  std::shared_ptr<engine::data::DataProvider> data;
  Text title;
  Text subject;
};

class ExportJob {
 public:
  // Starts at once. `notify` is posted `message` as the job goes on and
  // once more when it has finished.
  ExportJob(HWND owner, ExportRequest request, ExportSources sources, HWND notify, UINT message);
  // Cancels the job if it still runs and waits for the worker.
  ~ExportJob();
  ExportJob(const ExportJob&) = delete;
  ExportJob& operator=(const ExportJob&) = delete;

  void cancel() { cancelled_ = true; }
  bool cancelled() const { return cancelled_; }
  bool finished() const { return finished_; }
  bool succeeded() const { return succeeded_; }
  const std::wstring& path() const { return request_.path; }
  // Pages (records, for data only) written so far; while the run counts
  // its pages, the count so far in `counting`.
  std::int64_t done() const { return done_; }
  std::int32_t counting() const { return counting_; }
  HWND progressWindow() const;

 private:
  class Progress;
  void run();

  ExportRequest request_;
  ExportSources sources_;
  HWND notify_;
  UINT message_;
  std::unique_ptr<Progress> progress_;
  std::atomic<bool> cancelled_{false};
  std::atomic<bool> finished_{false};
  std::atomic<bool> succeeded_{false};
  std::atomic<std::int64_t> done_{0};
  std::atomic<std::int32_t> counting_{0};
  std::thread worker_;
};

}  // namespace mervane::viewer::win
