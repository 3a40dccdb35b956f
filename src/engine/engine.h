// The report engine's application and report objects (components/
// report_engine.h) on top of a ReportFiles store and a DataProvider.
//
// A report is a document loaded from its file: reading and changing it never
// touches the file, and saving writes a new file from the source file plus
// the document. The designer edits the document in place; the viewer runs a
// copy of it.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>

#include "engine/data/catalogue.h"
#include "engine/data/report_data.h"
#include "engine/document.h"
#include "engine/layout/page_source.h"
#include "engine/report_file.h"
#include "components/report_engine.h"

namespace mervane::engine {

// Thrown by saveAs for a format code the engine does not write.
class UnsupportedFormat : public std::exception {
 public:
  const char* what() const noexcept override { return "unsupported report file format"; }
};

// Opens the catalogue of the database a data source reaches (normally
// data::openCatalogue); throws when it cannot.
using CatalogueOpener = std::function<std::unique_ptr<data::DatabaseCatalogue>(const DataSource& connection)>;

// What a report reaches outside itself: its file store, its data, and the
// catalogues of databases (to add tables and link them).
struct EngineParts {
  std::shared_ptr<ReportFiles> files;
  std::shared_ptr<data::DataProvider> data;  // null: the report's data cannot be read
  CatalogueOpener catalogues;                // empty: tables cannot be added
};

class Report final : public EngineReport {
 public:
  // `file` is null for a new report; `path` is where it was opened from.
  Report(std::unique_ptr<ReportFile> file, EngineParts parts, Text path = Text());

  // EngineReport
  Text title() override { return document_.title; }
  void setTitle(const Text& title) override;
  Text applicationDataText() override { return document_.applicationData; }
  void saveAs(const Text& path, int format) override;
  std::shared_ptr<EngineDatabase> database() override;
  std::vector<std::shared_ptr<EngineSection>> sections() override;

  // The engine's own side, for the designer and the viewer.
  // The definition is read from the file when first asked for.
  ReportDocument& document();
  // The file the report was opened from; empty for a new report.
  const Text& path() const { return path_; }
  // Writes the report to `path` (temporary file beside it, then renamed into
  // place; the other parts of the source file kept byte for byte; no
  // password). Afterwards the report belongs to `path` and is unmodified.
  void save(const Text& path);
  // Everyone who changes the document says so; the count tells viewers
  // that what they show is out of date.
  void markChanged() { ++revision_; }
  std::uint64_t revision() const { return revision_; }
  bool modified() const { return revision_ != savedRevision_; }
  // A run of the report as it now stands.
  std::unique_ptr<layout::PageSource> run(std::shared_ptr<layout::TextMeasure> measure,
                                          const layout::RunOptions& options = {});
  const EngineParts& parts() const { return parts_; }

 private:
  void write(const Text& path);

  std::unique_ptr<ReportFile> file_;
  EngineParts parts_;
  ReportDocument document_;
  bool loaded_ = false;
  Text path_;
  std::uint64_t revision_ = 0;
  std::uint64_t savedRevision_ = 0;
};

class Engine final : public EngineApplication {
 public:
  explicit Engine(EngineParts parts) : parts_(std::move(parts)) {}
  std::unique_ptr<EngineReport> openReport(const Text& path, OpenMethod method = OpenMethod::Default) override {
    return open(path, method);
  }
  std::unique_ptr<EngineReport> newReport() override { return create(); }
  // The same, as the engine's own reports, for the designer and the viewer.
  std::unique_ptr<Report> open(const Text& path, OpenMethod method = OpenMethod::Default);
  std::unique_ptr<Report> create();

 private:
  EngineParts parts_;
};

// The text a viewer shows for a report file that holds no layout of ours.
extern const char16_t kForeignReportProblem[];

}  // namespace mervane::engine
