// Running a report: its pages, laid out from its data.
#include "engine/engine.h"

namespace mervane::engine {
namespace {

// Rows for a report whose engine was made without data access: every run
// says so on its page.
class NoData final : public data::DataProvider {
 public:
  std::unique_ptr<data::ReportData> open(const ReportDocument&, const model::ReportDefinition&,
                                         const Text&) override {
    throw data::DataError(u"This engine has no access to databases.");
  }
};

}  // namespace

std::unique_ptr<layout::PageSource> Report::run(std::shared_ptr<layout::TextMeasure> measure,
                                                const layout::RunOptions& options) {
  static NoData noData;
  data::DataProvider& provider = parts_.data ? *parts_.data : noData;
  return layout::runReport(document(), provider, std::move(measure), options);
}

}  // namespace mervane::engine
