// Laying out pages: the section stream of a report and the pager.
//
// The section stream walks the report's rows and says which section prints
// next: the report header, then for each row the headers of the groups that
// start there, the details, and the footers of the groups that end after
// it (known by reading one row ahead), then the report footer. It keeps the
// group totals as the rows pass. The pager puts those sections on pages:
// page headers at the top of each page, page footers at the bottom, a
// section that does not fit moved whole to the next page, a section marked
// "new page before" starting one and "new page after" ending its page, a
// section marked "print at bottom of page" put at the foot of the body and
// ending its page, a section marked "keep together" moved on with the
// section after it when that one (from the same record) has no room, and
// page numbers starting again from 1 after a section marked "reset page
// number after".
//
// Everything the stream and pager know at the start of a page fits in a
// PageState: where the rows stand in the spool, which section comes next,
// and the running totals. Saved as a few bytes per page, it lets any page be
// laid out again later from the spool alone, on any thread.
//
// Laying out only to find where pages break ("measuring") skips the work of
// making display items for sections whose height does not depend on their
// rows, which is most of them; so the background pass through a million
// rows costs little more than reading them.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "engine/data/report_data.h"
#include "engine/formula/value_order.h"
#include "engine/layout/display_list.h"
#include "engine/layout/prepared_report.h"
#include "engine/layout/row_codec.h"
#include "engine/layout/spool.h"
#include "engine/layout/text_measure.h"
#include "engine/model/parameters.h"

namespace mervane::engine::layout {

struct PageGeometry {
  std::int32_t width = 11906;
  std::int32_t height = 16838;
  std::int32_t left = 1440, right = 1440, top = 1440, bottom = 1440;
};

// Paper size, orientation and margins, brought within sensible bounds.
PageGeometry geometryOf(const model::PageSetup& setup);

// A running summary, as far as the rows have gone.
struct Accumulator {
  std::int64_t count = 0;    // values that are not null
  std::int64_t numbers = 0;  // of them numbers
  double sum = 0;
  formula::Extremes extremes;  // for minimum and maximum
};

// The values a distinct count has seen since it last started again. While
// the pages are laid out in order they are in `seen`. With a spool, each
// value is also written to it once, as a chain whose entries each name the
// one before: a page's saved start then keeps only where the chain ends,
// not the values, and laying that page out again reads them back. Without
// one the saved start holds the values themselves.
struct DistinctValues {
  static constexpr std::uint64_t kNoEntry = ~std::uint64_t{0};
  std::unordered_set<std::string> seen;
  std::uint64_t chain = kNoEntry;  // the spool's entry for the last value taken
  bool unread = false;             // loaded from a saved start: `seen` is still in the spool

  void clear() {
    seen.clear();
    chain = kNoEntry;
    unread = false;
  }
  void take(std::string_view value, Spool* spool);
  // Throws std::runtime_error when the spool does not hold the chain.
  void readBack(Spool& spool);
};

// A running total, as far as the rows have gone.
struct RunningState {
  Accumulator sums;
  DistinctValues distinct;  // distinct counts only
  std::string last;                          // evaluated on a change of field: that field's value before
  bool haveLast = false;
};

enum class Phase : std::uint8_t { ReportHeader, FirstRow, GroupHeaders, Details, NextRow, GroupFooters, ReportFooter, Done };

// Where a report's section stream stands.
struct FlowState {
  Phase phase = Phase::ReportHeader;
  std::int32_t level = 0;   // the group whose header or footer prints
  std::uint32_t item = 0;   // which of the sections of that kind
  std::int32_t changed = 1; // the outermost group that ends or starts here
  std::uint64_t startOffset = 0;    // the first row in the spool
  std::uint64_t currentOffset = 0;  // the current row
  std::uint64_t afterCurrent = 0;   // the row after it
  std::uint64_t afterNext = 0;      // the row after that, when it has been read
  bool haveNext = false;
  std::int64_t record = 0;  // the current row's number, from 1; 0 before the first
  std::vector<Accumulator> running;   // per summary slot
  std::vector<formula::Value> ahead;  // per slot, for levels read ahead
  std::vector<RunningState> totals;   // per running total
};

// A subreport instance that did not fit on its page: the rest prints at the
// top of the next page, in the same place across it.
struct SubreportContinuation {
  std::int32_t section = -1;  // the main report's section holding it
  std::int32_t object = -1;   // its place among the section's prepared objects
  std::uint64_t block = 0;    // its rows in the subreport's spool
  FlowState flow;             // where its section stream stands
  std::int32_t pending = -1;  // its section that did not fit
};

struct PageState {
  std::int32_t number = 1;
  FlowState flow;
  std::int32_t pending = -1;  // a section moved over from the page before
  std::vector<std::uint64_t> subreportInstances;  // instances laid out so far, per subreport
  // A section kept together with `pending`, moved over before it.
  std::int32_t pendingBefore = -1;
  // The page whose number shows as 1: page numbering restarts after a
  // section marked "reset page number after".
  std::int32_t numberingFrom = 1;
  std::int32_t shownNumber() const { return number - numberingFrom + 1; }
  std::optional<SubreportContinuation> continuation;
};

PageState firstPageState(const PreparedReport& report);
std::string saveState(const PageState& state);
PageState loadState(std::string_view saved);

// The rows of a flow, read from the spool. With a `pull`, reaching the end
// of what is spooled fetches the next row from the data and spools it;
// without one (laying out a page again) the rows must already be there.
class RowFeed {
 public:
  using Pull = std::function<bool(EncodedRow&)>;
  RowFeed(Spool& spool, std::size_t fields, Pull pull = {});
  // The row at `offset`, and where the next starts. False at the end of
  // the rows.
  bool read(std::uint64_t offset, EncodedRow& row, std::uint64_t& after);
  // Just past the end-of-rows mark, once it has been read.
  std::uint64_t endAfter() const { return endAfter_; }

 private:
  Spool& spool_;
  SpoolReader reader_;
  std::size_t fields_;
  Pull pull_;
  std::uint64_t endAfter_ = 0;
};

// Where each instance of one subreport finds its rows in the subreport's
// spool, in the order the instances print. Instances with the same link
// values share one block of rows, so the subreport's query runs once per
// distinct set of link values. Eight bytes an instance; any thread.
class SubreportBlocks {
 public:
  // The block of the `instance`-th instance (from 0), once it is known.
  std::optional<std::uint64_t> block(std::uint64_t instance) const {
    std::lock_guard lock(mutex_);
    if (instance >= blocks_.size()) return std::nullopt;
    return blocks_[static_cast<std::size_t>(instance)];
  }
  // The next instance's block.
  void add(std::uint64_t block) {
    std::lock_guard lock(mutex_);
    blocks_.push_back(block);
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::uint64_t> blocks_;
};

// What a page's layout needs beyond the report and its rows.
struct LayoutEnvironment {
  TextMeasure* measure = nullptr;
  Text title;
  double printDateTime = 0;
  // The main report's parameters as this run sees them (a subreport's are
  // its prepared report's).
  model::ParameterValues parameters;
  // Whole-report totals from the data, per slot of the main report: asked
  // for only when a page shows one (the query runs then, once). Throws
  // data::DataError. Empty: no totals from the data.
  std::function<const std::vector<formula::Value>&()> dataSummaries;
  // The page count when known; until then the pages known so far, and the
  // pages that show it are provisional.
  std::optional<std::int32_t> pageCount;
  std::int32_t pagesSoFar = 1;
  // One spool, and the blocks of its instances, per subreport of the main
  // report.
  std::vector<Spool*> subreportSpools;
  std::vector<SubreportBlocks*> subreportBlocks;
  // The block of a subreport's rows for these link values: rows fetched
  // into its spool, or the block of an earlier instance with the same
  // values (background pass only; null when laying out a page again).
  std::function<std::uint64_t(int subreport, const std::vector<data::FieldMatch>& match)> fetchSubreport;
  // Where distinct-count running totals keep the values they have seen, so
  // that saved page starts stay small (see DistinctValues). Optional.
  Spool* distinctValues = nullptr;
};

// Lays out the page that `state` starts and moves `state` to the next
// page's start. `out` null: only find where the page ends. Returns false
// after the last page. Throws formula::FormulaError, data::DataError and
// std::runtime_error (spool trouble).
bool layoutPage(const PreparedReport& report, RowFeed& feed, LayoutEnvironment& environment, PageState& state,
                Page* out);

// A page that says why the report cannot be shown.
Page problemPage(const model::PageSetup& setup, TextMeasure& measure, const Text& reason, std::int32_t number);

}  // namespace mervane::engine::layout
