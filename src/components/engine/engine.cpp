// The engine's application and report objects.
#include "components/engine/engine.h"

#include "components/engine/engine_objects.h"
#include "components/engine/model/definition_stream.h"

namespace mervane::engine {

const char16_t kForeignReportProblem[] =
    u"This report was made with another report designer. Its title and summary can be read and copied, "
    u"but its layout is not stored in a form this designer can show.";

Report::Report(std::unique_ptr<ReportFile> file, EngineParts parts, Text path)
    : file_(std::move(file)), parts_(std::move(parts)), path_(std::move(path)) {
  if (file_) {
    document_.title = file_->summary().title;
    document_.applicationData = file_->summary().comments;
  } else {
    document_.definition = model::blankReport();
    loaded_ = true;
  }
}

ReportDocument& Report::document() {
  if (loaded_) return document_;
  loaded_ = true;
  std::optional<std::vector<std::uint8_t>> bytes;
  try {
    bytes = file_->definition();
  } catch (...) {
    document_.hasLayout = false;
    document_.layoutProblem = u"The report's layout could not be read from its file: the file is damaged.";
    return document_;
  }
  if (!bytes) {
    document_.hasLayout = false;
    document_.layoutProblem = kForeignReportProblem;
    return document_;
  }
  model::DefinitionReadResult read = model::readDefinition(*bytes);
  if (read.definition) {
    document_.definition = std::move(*read.definition);
  } else {
    document_.hasLayout = false;
    document_.layoutProblem = u"The report's layout cannot be shown: " + read.message;
  }
  return document_;
}

void Report::setTitle(const Text& title) { document_.title = title; }

void Report::write(const Text& path) {
  ReportChanges changes{document_.title, std::nullopt};
  // A definition that was never read, or could not be, stays as the file
  // holds it.
  if (loaded_ && document_.hasLayout) changes.definition = model::writeDefinition(document_.definition);
  if (file_)
    file_->writeCopy(path, changes);
  else
    parts_.files->create(path, changes);
}

void Report::saveAs(const Text& path, int format) {
  if (format != kReportFileFormat) throw UnsupportedFormat();
  write(path);
}

void Report::save(const Text& path) {
  document();
  write(path);
  path_ = path;
  savedRevision_ = revision_;
}

std::shared_ptr<EngineDatabase> Report::database() {
  return std::make_shared<DatabaseObject>(*this, document().definition, Text());
}

std::vector<std::shared_ptr<EngineSection>> Report::sections() {
  std::vector<std::shared_ptr<EngineSection>> result;
  model::ReportDefinition& definition = document().definition;
  for (std::size_t i = 0; i < definition.sections.size(); ++i)
    result.push_back(std::make_shared<SectionObject>(*this, definition, i));
  return result;
}

std::unique_ptr<EngineReport> Engine::openReport(const Text& path, OpenMethod method) {
  std::unique_ptr<ReportFile> file = parts_.files->open(path, method);
  if (!file) return nullptr;
  return std::make_unique<Report>(std::move(file), parts_, path);
}

std::unique_ptr<EngineReport> Engine::newReport() { return std::make_unique<Report>(nullptr, parts_); }

}  // namespace mervane::engine
