// The report engine over compound files, reading its data through ODBC.
#include "components/engine/win/engine_factory.h"

#include "components/engine/data/catalogue.h"
#include "components/engine/data/odbc_data_provider.h"
#include "components/engine/engine.h"
#include "components/engine/win/compound_report_files.h"

namespace mervane {

std::unique_ptr<EngineApplication> createEngineApplication() {
  engine::EngineParts parts;
  parts.files = std::make_shared<engine::CompoundReportFiles>();
  parts.data = engine::data::createOdbcDataProvider();
  parts.catalogues = [](const Text& connectText) { return engine::data::openCatalogue(connectText); };
  return std::make_unique<engine::Engine>(std::move(parts));
}

}  // namespace mervane
