// The pages of one run of a report, laid out on demand.
//
// Running a report starts reading its rows; page 1 is laid out as soon as
// its rows are in, later pages when they are asked for, while a background
// thread goes on through the rest of the rows to find the page count. Rows
// already read go to a spool file, so going back to an earlier page reads
// no data again and memory stays flat however many rows there are.
//
// A run that cannot show the report (no layout of ours in the file, a data
// source that is down, a formula with a mistake) still has pages: pages of
// text that say what went wrong.
//
// All members may be called from any thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

#include "engine/data/report_data.h"
#include "engine/document.h"
#include "engine/layout/display_list.h"
#include "engine/layout/text_measure.h"

namespace mervane::engine::layout {

class PageSource {
 public:
  virtual ~PageSource() = default;
  // Page `number` (from 1): waits until its rows are in. Null when the
  // report has fewer pages, or the run was cancelled.
  virtual std::shared_ptr<const Page> page(std::int32_t number) = 0;
  // Pages laid out so far (at least this many exist).
  virtual std::int32_t pagesKnown() = 0;
  // The page count, once the background work has found it.
  virtual std::optional<std::int32_t> pageCount() = 0;
  // Waits until the page count is found, the run is cancelled or `timeout`
  // passes; then what pageCount() says.
  virtual std::optional<std::int32_t> waitForCount(std::chrono::milliseconds timeout);
  // False once the page count is found or never will be (cancelled).
  virtual bool counting() { return !pageCount(); }
  // Stops the background work; page() then returns what it has or null.
  virtual void cancel() = 0;
  // The problem shown instead of the report, empty when it runs.
  virtual Text problem() = 0;
  // A run of the on-demand subreport that `link` (on one of these pages)
  // leads to, showing its rows for the link's values; its first page comes
  // as soon as those rows are in. Null when this run has no such subreport.
  virtual std::unique_ptr<PageSource> runLink(const PageLink&) { return nullptr; }
};

struct RunOptions {
  // Values of PrintDate and PrintTime: days since 30 December 1899, as
  // formula::DateTime; the time the run starts when not set.
  std::optional<double> printDateTime;
  // Where the spool file goes; the system's temporary folder when empty.
  Text spoolFolder;
};

// Runs a copy of the document's report. The copy is taken at once: later
// changes to the document do not reach this run.
std::unique_ptr<PageSource> runReport(const ReportDocument& document, data::DataProvider& data,
                                      std::shared_ptr<TextMeasure> measure, const RunOptions& options = {});

}  // namespace mervane::engine::layout
