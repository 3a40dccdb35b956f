// The report engine's application and report objects, as the library drives
// them (components/report_engine.h), on top of a ReportFiles store.
//
// A report is a document loaded from its file: reading and changing it never
// touches the file, and saving writes a new file from the source file plus
// the document's changes.
#pragma once

#include <exception>
#include <memory>

#include "components/engine/report_file.h"
#include "components/report_engine.h"

namespace mervane::engine {

// Thrown by saveAs for a format code the engine does not write.
class UnsupportedFormat : public std::exception {
 public:
  const char* what() const noexcept override { return "unsupported report file format"; }
};

class Report final : public EngineReport {
 public:
  explicit Report(std::unique_ptr<ReportFile> file);

  Text title() override { return title_; }
  void setTitle(const Text& title) override { title_ = title; }
  Text applicationDataText() override { return applicationData_; }
  void saveAs(const Text& path, int format) override;

 private:
  std::unique_ptr<ReportFile> file_;
  Text title_;
  Text applicationData_;
};

class Engine final : public EngineApplication {
 public:
  explicit Engine(std::shared_ptr<ReportFiles> files) : files_(std::move(files)) {}
  std::unique_ptr<EngineReport> openReport(const Text& path, OpenMethod method = OpenMethod::Default) override;

 private:
  std::shared_ptr<ReportFiles> files_;
};

}  // namespace mervane::engine
