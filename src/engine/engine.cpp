// The engine's application and report objects.
#include "engine/engine.h"

#include <algorithm>

#include "engine/engine_objects.h"
#include "engine/model/definition_stream.h"

namespace mervane::engine {

namespace {

// A connect text that no reading of it can split cleanly (a bare password
// holding ';' and '=' in an attribute list) might still spell out part of a
// password after the stream writer has taken out what it can read as one.
// The passwords this report was given are known: they go first, wherever
// they stand in its connect texts. Shorter ones cannot be told from the
// rest of a text and leave no piece worth the name.
bool forgetPasswords(model::ReportDefinition& definition, const std::vector<Text>& passwords) {
  auto forget = [&](Text& text) {
    bool changed = false;
    for (const Text& password : passwords)
      for (std::size_t at; (at = text.find(password)) != Text::npos; changed = true) text.erase(at, password.size());
    return changed;
  };
  bool changed = false;
  for (model::Table& table : definition.data.tables) {
    if (forget(table.logOn.server)) changed = true;
    // The connection as the file keeps it: its text, read again without
    // those pieces.
    Text text = table.connection.connectText();
    if (forget(text)) {
      table.connection = readDataSource(text);
      changed = true;
    }
  }
  for (model::Section& section : definition.sections)
    for (model::ReportObject& object : section.objects)
      if (object.subreport.definition && forgetPasswords(*object.subreport.definition, passwords)) changed = true;
  return changed;
}

// The passwords the tables were given, subreports' included.
void tablePasswords(const model::ReportDefinition& definition, const std::function<void(const Text&)>& known) {
  for (const model::Table& table : definition.data.tables) known(table.logOn.password);
  for (const model::Section& section : definition.sections)
    for (const model::ReportObject& object : section.objects)
      if (object.subreport.definition) tablePasswords(*object.subreport.definition, known);
}

std::vector<std::uint8_t> definitionWithoutPasswords(const ReportDocument& document) {
  std::vector<Text> passwords;
  auto known = [&](const Text& password) {
    if (password.size() >= 3) passwords.push_back(password);
  };
  known(document.logOn.password);
  tablePasswords(document.definition, known);
  if (passwords.empty()) return model::writeDefinition(document.definition);
  std::sort(passwords.begin(), passwords.end(), [](const Text& a, const Text& b) { return a.size() > b.size(); });
  model::ReportDefinition copy = document.definition;
  return model::writeDefinition(forgetPasswords(copy, passwords) ? copy : document.definition);
}

}  // namespace

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
  if (loaded_ && document_.hasLayout) changes.definition = definitionWithoutPasswords(document_);
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
  return std::make_shared<DatabaseObject>(*this, document().definition);
}

std::vector<std::shared_ptr<EngineSection>> Report::sections() {
  std::vector<std::shared_ptr<EngineSection>> result;
  model::ReportDefinition& definition = document().definition;
  for (std::size_t i = 0; i < definition.sections.size(); ++i)
    result.push_back(std::make_shared<SectionObject>(*this, definition, i));
  return result;
}

std::unique_ptr<Report> Engine::open(const Text& path, OpenMethod method) {
  std::unique_ptr<ReportFile> file = parts_.files->open(path, method);
  if (!file) return nullptr;
  return std::make_unique<Report>(std::move(file), parts_, path);
}

std::unique_ptr<Report> Engine::create() { return std::make_unique<Report>(nullptr, parts_); }

}  // namespace mervane::engine
