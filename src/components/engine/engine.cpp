// The engine's application and report objects.
#include "components/engine/engine.h"

namespace mervane::engine {

Report::Report(std::unique_ptr<ReportFile> file)
    : file_(std::move(file)), title_(file_->summary().title), applicationData_(file_->summary().comments) {}

void Report::saveAs(const Text& path, int format) {
  if (format != kReportFileFormat) throw UnsupportedFormat();
  file_->writeCopy(path, ReportChanges{title_});
}

std::unique_ptr<EngineReport> Engine::openReport(const Text& path, OpenMethod method) {
  std::unique_ptr<ReportFile> file = files_->open(path, method);
  if (!file) return nullptr;
  return std::make_unique<Report>(std::move(file));
}

}  // namespace mervane::engine
