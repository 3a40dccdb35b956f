// A run of a report: the background pass that reads the rows, spools them
// and finds where every page starts, and the pages laid out on demand from
// those starting points.
//
// The background pass lays out page 1 (and any page someone is waiting
// for) in full, and only measures the others, saving each page's starting
// state. A page asked for later is laid out again from its state and the
// spool on the asking thread; a few recent pages are kept. A mistake found
// on the way (a data source that fails, a formula that cannot be worked
// out) ends the run: the pages before it stay, and the page where it struck
// says what went wrong.
#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <ctime>
#include <list>
#include <mutex>
#include <set>
#include <thread>
#include <unordered_map>

#include "engine/layout/page_layout.h"
#include "engine/layout/page_source.h"

namespace mervane::engine::layout {
namespace {

constexpr std::size_t kCachedPages = 16;

// Measures of a device need not be safe across threads; the background
// pass and a page laid out on demand take turns.
class SharedMeasure final : public TextMeasure {
 public:
  explicit SharedMeasure(std::shared_ptr<TextMeasure> inner) : inner_(std::move(inner)) {}
  std::int32_t width(const Font& font, TextView text) override {
    std::lock_guard lock(mutex_);
    return inner_->width(font, text);
  }
  std::int32_t lineHeight(const Font& font) override {
    std::lock_guard lock(mutex_);
    return inner_->lineHeight(font);
  }

 private:
  std::shared_ptr<TextMeasure> inner_;
  std::mutex mutex_;
};

// Whether the report or one of its subreports has a running total that
// counts distinct values.
bool countsDistinctValues(const PreparedReport& report) {
  for (const PreparedRunningTotal& total : report.runningTotals)
    if (total.operation == model::SummaryOperation::DistinctCount) return true;
  for (const PreparedSubreport& sub : report.subreports)
    if (sub.report && countsDistinctValues(*sub.report)) return true;
  return false;
}

double localNow() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
#ifdef _WIN32
  localtime_s(&local, &now);
#else
  localtime_r(&now, &local);
#endif
  return static_cast<double>(formula::dayNumber(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday)) +
         (local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec) / 86400.0;
}

struct Cancelled {};

// A subreport run on its own, for one set of link values: its definition
// (on the main report's paper), its name, and the rows it shows.
struct LinkedSubreport {
  model::ReportDefinition definition;
  Text name;
  std::vector<data::FieldMatch> match;
};

class Run final : public PageSource {
 public:
  Run(const ReportDocument& document, data::DataProvider& data, std::shared_ptr<TextMeasure> measure,
      const RunOptions& options, const LinkedSubreport* linked = nullptr)
      : document_(document),
        data_(data),
        measure_(std::make_shared<SharedMeasure>(measure ? std::move(measure) : std::make_shared<ApproximateMeasure>())),
        printDateTime_(options.printDateTime.value_or(localNow())),
        spoolFolder_(options.spoolFolder),
        parameters_(document_.definition.parameters) {
    if (!document_.hasLayout) {
      stop(1, document_.layoutProblem.empty() ? Text(u"The report file holds no layout that this program can show.")
                                              : document_.layoutProblem);
      return;
    }
    try {
      if (linked) {
        linked_ = true;
        linkedName_ = linked->name;
        match_ = linked->match;
        model::ReportDefinition definition = linked->definition;
        definition.page = document_.definition.page;
        report_ = prepare(definition, false);
      } else {
        report_ = prepare(document_.definition, true);
      }
      spool_ = std::make_unique<Spool>(options.spoolFolder);
      for (std::size_t i = 0; i < report_->subreports.size(); ++i) {
        subreportSpools_.push_back(std::make_unique<Spool>(options.spoolFolder));
        subreportBlocks_.push_back(std::make_unique<SubreportBlocks>());
      }
      if (countsDistinctValues(*report_)) distinctValues_ = std::make_unique<Spool>(options.spoolFolder);
    } catch (const PrepareError& error) {
      stop(1, error.message());
      return;
    } catch (const std::exception& error) {
      stop(1, fromUtf8(error.what()));
      return;
    }
    thread_ = std::thread([this] { background(); });
  }

  ~Run() override {
    cancel();
    if (thread_.joinable()) thread_.join();
  }

  std::shared_ptr<const Page> page(std::int32_t number) override {
    if (number < 1) return nullptr;
    std::unique_lock lock(mutex_);
    for (;;) {
      if (problemPage_ && number == problemNumber_) return problemPage_;
      if (auto cached = fromCache(number)) return cached;
      if (number <= done_) {
        const std::string start = checkpoints_[static_cast<std::size_t>(number - 1)];
        const std::optional<std::int32_t> count = finished_ && !cancelled_ ? count_ : std::nullopt;
        const std::int32_t known = done_;
        lock.unlock();
        auto laidOut = render(number, start, count, known);
        lock.lock();
        remember(laidOut);
        return laidOut;
      }
      if (finished_ || cancelled_) return nullptr;
      wanted_.insert(number);
      changed_.wait(lock);
    }
  }

  std::int32_t pagesKnown() override {
    std::lock_guard lock(mutex_);
    return count_ ? *count_ : done_;
  }

  std::optional<std::int32_t> pageCount() override {
    std::lock_guard lock(mutex_);
    return finished_ ? count_ : std::nullopt;
  }

  std::optional<std::int32_t> waitForCount(std::chrono::milliseconds timeout) override {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, timeout, [this] { return finished_ || cancelled_; });
    return finished_ ? count_ : std::nullopt;
  }

  bool counting() override {
    std::lock_guard lock(mutex_);
    return !finished_ && !cancelled_;
  }

  void cancel() override {
    {
      std::lock_guard lock(mutex_);
      cancelled_ = true;
      if (cursor_) cursor_->cancel();
    }
    changed_.notify_all();
  }

  Text problem() override {
    std::lock_guard lock(mutex_);
    return problem_;
  }

  std::unique_ptr<PageSource> runLink(const PageLink& link) override {
    // report_ is set once, before the background starts, and never changes.
    if (!report_ || link.subreport < 0 || static_cast<std::size_t>(link.subreport) >= report_->subreports.size())
      return nullptr;
    const PreparedSubreport& sub = report_->subreports[static_cast<std::size_t>(link.subreport)];
    if (sub.links.size() != link.values.size()) return nullptr;
    LinkedSubreport linked{sub.report->definition, sub.name, {}};
    for (std::size_t i = 0; i < sub.links.size(); ++i)
      linked.match.push_back(data::FieldMatch{sub.links[i].subreportField, link.values[i]});
    RunOptions options;
    options.printDateTime = printDateTime_;
    options.spoolFolder = spoolFolder_;
    return std::make_unique<Run>(document_, data_, measure_, options, &linked);
  }

 private:
  LayoutEnvironment environment() {
    LayoutEnvironment environment;
    environment.measure = measure_.get();
    environment.title = document_.title;
    environment.printDateTime = printDateTime_;
    environment.parameters = parameters_;
    environment.dataSummaries = [this]() -> const std::vector<formula::Value>& { return dataSummaries(); };
    for (const auto& spool : subreportSpools_) environment.subreportSpools.push_back(spool.get());
    for (const auto& blocks : subreportBlocks_) environment.subreportBlocks.push_back(blocks.get());
    environment.distinctValues = distinctValues_.get();
    return environment;
  }

  bool isCancelled() {
    std::lock_guard lock(mutex_);
    return cancelled_;
  }

  void background() {
    std::int32_t number = 1;
    try {
      pass(number);
    } catch (const Cancelled&) {
    } catch (const formula::FormulaError& error) {
      stop(number, error.message());
    } catch (const data::DataError& error) {
      stop(number, error.message());
    } catch (const std::exception& error) {
      stop(number, fromUtf8(error.what()));
    } catch (...) {
      stop(number, u"The report could not be laid out.");
    }
    std::lock_guard lock(mutex_);
    finished_ = true;
    changed_.notify_all();
  }

  // The whole-report totals from the data, read by the first page that
  // shows one: a report whose totals stand at its end, or on later pages
  // only, shows its first page without waiting for them.
  const std::vector<formula::Value>& dataSummaries() {
    std::lock_guard lock(summariesMutex_);
    if (summariesRead_) return dataSummaries_;
    std::vector<data::SummaryRequest> requests;
    std::vector<std::size_t> asked;
    for (std::size_t i = 0; i < report_->slots.size(); ++i) {
      const SummarySlot& slot = report_->slots[i];
      if (!slot.fromData) continue;
      requests.push_back(data::SummaryRequest{slot.field, slot.operation});
      asked.push_back(i);
    }
    std::vector<formula::Value> values;
    if (!requests.empty()) {
      std::shared_ptr<data::ReportData> reportData;
      {
        std::lock_guard runLock(mutex_);
        reportData = reportData_;
      }
      if (!reportData) throw data::DataError(u"The report's data is not open.");
      values = reportData->summaries(requests, match_);
    }
    dataSummaries_.assign(report_->slots.size(), formula::Value());
    for (std::size_t i = 0; i < asked.size() && i < values.size(); ++i) dataSummaries_[asked[i]] = values[i];
    summariesRead_ = true;
    return dataSummaries_;
  }

  void pass(std::int32_t& number) {
    std::shared_ptr<data::ReportData> reportData =
        data_.open(document_, linked_ ? report_->definition : document_.definition,
                   linkedName_);
    {
      std::lock_guard lock(mutex_);
      reportData_ = reportData;
    }
    std::shared_ptr<data::RowCursor> cursor = reportData->rows(report_->fields, match_);
    // The cursor goes before the data it reads, and cancel() stops reaching it first.
    struct Forget {
      Run& run;
      ~Forget() {
        std::lock_guard lock(run.mutex_);
        run.cursor_.reset();
      }
    } forget{*this};
    {
      std::lock_guard lock(mutex_);
      cursor_ = cursor;
      if (cancelled_) throw Cancelled{};
    }

    const std::size_t fields = report_->fields.size();
    std::vector<formula::Value> values;
    RowFeed feed(*spool_, fields, [&](EncodedRow& row) {
      const bool more = cursor->next(values);
      if (cancelled_) throw Cancelled{};  // a cancelled cursor's end is not the rows' end
      if (!more) return false;
      values.resize(fields);
      row.encode(values);
      return true;
    });

    std::vector<std::unique_ptr<data::ReportData>> subreportData(report_->subreports.size());
    // The block spooled for each set of link values, per subreport. Bounded:
    // when full it starts again, and a set of values seen before the
    // restart is queried once more.
    constexpr std::size_t kRememberedLinkValues = 16384;
    std::vector<std::unordered_map<std::string, std::uint64_t>> blockOfValues(report_->subreports.size());
    LayoutEnvironment environment = this->environment();
    environment.fetchSubreport = [&](int index, const std::vector<data::FieldMatch>& match) -> std::uint64_t {
      const auto at = static_cast<std::size_t>(index);
      std::vector<formula::Value> linkValues;
      for (const data::FieldMatch& m : match) linkValues.push_back(m.value);
      EncodedRow key;
      key.encode(linkValues);
      auto& remembered = blockOfValues[at];
      const std::string keyBytes(key.bytes());
      if (auto found = remembered.find(keyBytes); found != remembered.end()) return found->second;

      const PreparedSubreport& sub = report_->subreports[at];
      auto& opened = subreportData[at];
      if (!opened) opened = data_.open(document_, sub.report->definition, sub.name);
      Spool& spool = *subreportSpools_[at];
      const std::uint64_t start = spool.end();
      const std::size_t subFields = sub.report->fields.size();
      std::unique_ptr<data::RowCursor> rows = opened->rows(sub.report->fields, match);
      std::vector<formula::Value> subValues;
      EncodedRow row;
      while (rows->next(subValues)) {
        if (cancelled_) throw Cancelled{};
        subValues.resize(subFields);
        row.encode(subValues);
        spool.append(row.bytes());
      }
      spool.appendBlockEnd();
      if (remembered.size() >= kRememberedLinkValues) remembered.clear();
      remembered.emplace(keyBytes, start);
      return start;
    };

    PageState state = firstPageState(*report_);
    for (;; ++number) {
      bool emit = false;
      {
        std::lock_guard lock(mutex_);
        checkpoints_.push_back(saveState(state));
        emit = number == 1 || wanted_.count(number) > 0;
      }
      environment.pagesSoFar = number;
      Page page;
      const bool more = layoutPage(*report_, feed, environment, state, emit ? &page : nullptr);
      {
        std::lock_guard lock(mutex_);
        done_ = number;
        if (!more) count_ = number;
        if (emit) {
          wanted_.erase(number);
          if (!more) page.provisional = false;  // the last page knows the count it showed
          remember(std::make_shared<const Page>(std::move(page)));
        }
        if (!more) {
          finished_ = true;
          cache_.remove_if([](const std::shared_ptr<const Page>& p) { return p->provisional; });
        }
      }
      changed_.notify_all();
      if (!more) {
        // The pages were counted without their values: a page asked for
        // later may still show a total from the data, so the totals are
        // read now, once, before the data goes. A failure shows on the
        // pages that show one.
        try {
          dataSummaries();
        } catch (const data::DataError&) {
        }
        std::lock_guard lock(mutex_);
        reportData_.reset();
        return;
      }
      if (cancelled_) throw Cancelled{};
    }
  }

  // Ends the run with a page saying why.
  void stop(std::int32_t number, const Text& reason) {
    std::lock_guard lock(mutex_);
    if (cancelled_) return;
    const model::PageSetup& setup = document_.definition.page;
    problem_ = reason;
    problemNumber_ = number;
    problemPage_ = std::make_shared<const Page>(problemPage(setup, *measure_, reason, number));
    count_ = number;
    done_ = std::min(done_, number - 1);
    finished_ = true;
    changed_.notify_all();
  }

  std::shared_ptr<const Page> render(std::int32_t number, const std::string& start,
                                     std::optional<std::int32_t> count, std::int32_t known) {
    try {
      PageState state = loadState(start);
      RowFeed feed(*spool_, report_->fields.size());
      LayoutEnvironment environment = this->environment();
      environment.pageCount = count;
      environment.pagesSoFar = known;
      Page page;
      layoutPage(*report_, feed, environment, state, &page);
      return std::make_shared<const Page>(std::move(page));
    } catch (const formula::FormulaError& error) {
      return std::make_shared<const Page>(problemPage(document_.definition.page, *measure_, error.message(), number));
    } catch (const data::DataError& error) {
      return std::make_shared<const Page>(problemPage(document_.definition.page, *measure_, error.message(), number));
    } catch (const std::exception& error) {
      return std::make_shared<const Page>(
          problemPage(document_.definition.page, *measure_, fromUtf8(error.what()), number));
    }
  }

  std::shared_ptr<const Page> fromCache(std::int32_t number) {
    for (auto it = cache_.begin(); it != cache_.end(); ++it) {
      if ((*it)->number != number) continue;
      std::shared_ptr<const Page> found = *it;
      cache_.erase(it);
      cache_.push_front(found);
      return found;
    }
    return nullptr;
  }

  void remember(const std::shared_ptr<const Page>& page) {
    if (!page || (finished_ && page->provisional)) return;
    cache_.remove_if([&](const std::shared_ptr<const Page>& p) { return p->number == page->number; });
    cache_.push_front(page);
    if (cache_.size() > kCachedPages) cache_.pop_back();
  }

  const ReportDocument document_;
  data::DataProvider& data_;
  std::shared_ptr<TextMeasure> measure_;
  const double printDateTime_;
  const Text spoolFolder_;
  const model::ParameterValues parameters_;
  bool linked_ = false;                  // a subreport run on its own
  Text linkedName_;                      // its name
  std::vector<data::FieldMatch> match_;  // and its link values
  std::unique_ptr<PreparedReport> report_;
  std::unique_ptr<Spool> spool_;
  std::vector<std::unique_ptr<Spool>> subreportSpools_;
  std::vector<std::unique_ptr<SubreportBlocks>> subreportBlocks_;
  std::unique_ptr<Spool> distinctValues_;  // when a running total counts distinct values
  std::mutex summariesMutex_;  // taken before mutex_, never while holding it
  bool summariesRead_ = false;
  std::vector<formula::Value> dataSummaries_;
  std::shared_ptr<data::ReportData> reportData_;  // the main report's, once the pass has opened it

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> checkpoints_;  // where page n starts, at [n - 1]
  std::int32_t done_ = 0;                 // pages laid out by the background pass
  bool finished_ = false;
  std::atomic<bool> cancelled_{false};
  std::optional<std::int32_t> count_;
  Text problem_;
  std::shared_ptr<const Page> problemPage_;
  std::int32_t problemNumber_ = 0;
  std::set<std::int32_t> wanted_;
  std::list<std::shared_ptr<const Page>> cache_;  // most recent first
  std::shared_ptr<data::RowCursor> cursor_;
  std::thread thread_;
};

}  // namespace

std::optional<std::int32_t> PageSource::waitForCount(std::chrono::milliseconds timeout) {
  if (auto count = pageCount()) return count;
  std::this_thread::sleep_for(std::min(timeout, std::chrono::milliseconds(10)));
  return pageCount();
}

std::unique_ptr<PageSource> runReport(const ReportDocument& document, data::DataProvider& data,
                                      std::shared_ptr<TextMeasure> measure, const RunOptions& options) {
  return std::make_unique<Run>(document, data, std::move(measure), options);
}

}  // namespace mervane::engine::layout
