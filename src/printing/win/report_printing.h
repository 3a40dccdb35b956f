// Printing a report's pages: the print dialog with a page range, then each
// chosen page painted at the printer's own resolution on a worker thread,
// with a small progress window ("Printing page 3 of 12", Cancel). Each
// page's paper size and orientation are asked of the driver as it starts.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "engine/export/page_feed.h"

namespace mervane::printing::win {

// A printer and the pages to print on it.
struct PrintChoice {
  std::wstring driver, device, port;
  std::vector<std::uint8_t> devMode;  // the DEVMODEW the dialog chose; empty: the printer's own
  std::int32_t from = 1;
  std::int32_t to = 0;  // 0: to the last page
};

// The print dialog for a report of `pagesKnown` pages (`pageCount` once
// final), modal to `owner`. Nothing when the user cancels or there is no
// printer.
std::optional<PrintChoice> askPrintChoice(HWND owner, std::int32_t pagesKnown,
                                          std::optional<std::int32_t> pageCount);

// The system's default printer, every page; nothing when there is none.
std::optional<PrintChoice> defaultPrintChoice();

enum class PrintOutcome { Printed, Cancelled, Failed };

// Prints the chosen pages on the calling thread. `progress` is told each
// page as it starts (number, and how many pages are chosen when known:
// else 0); false cancels the job (AbortDoc), as does a feed that throws
// FeedStopped. `printed` receives the count.
PrintOutcome printPages(const engine::exporting::PageFeed& pages, const PrintChoice& choice,
                        const std::wstring& documentName,
                        const std::function<bool(std::int32_t page, std::int32_t of)>& progress = {},
                        std::int32_t* printed = nullptr);

// A print job on a worker thread with its progress window, owned by the
// window that started it and made on that window's thread. Pages that show
// the page total wait until the run has counted its pages ("Counting
// pages", with Cancel), so every printed page shows the final total.
class PrintJob {
 public:
  PrintJob(HWND owner, std::shared_ptr<engine::layout::PageSource> run, PrintChoice choice, std::wstring documentName);
  // Cancels the job if it still runs and waits for the worker.
  ~PrintJob();
  PrintJob(const PrintJob&) = delete;
  PrintJob& operator=(const PrintJob&) = delete;

  void cancel() { cancelled_ = true; }
  bool finished() const { return finished_; }
  PrintOutcome outcome() const { return outcome_; }
  std::int32_t pagesPrinted() const { return printed_; }
  HWND progressWindow() const { return progress_; }

 private:
  void run(PrintChoice choice, std::wstring documentName);

  HWND progress_ = nullptr;
  std::shared_ptr<engine::layout::PageSource> run_;
  std::atomic<bool> cancelled_{false};
  std::atomic<bool> finished_{false};
  std::atomic<PrintOutcome> outcome_{PrintOutcome::Failed};
  std::atomic<std::int32_t> printed_{0};
  std::thread worker_;
};

}  // namespace mervane::printing::win
