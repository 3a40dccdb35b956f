// The report engine over compound files, reading its data through ODBC.
#include "engine/win/engine_factory.h"

#include "engine/data/catalogue.h"
#include "engine/data/odbc_data_provider.h"
#include "engine/engine.h"
#include "engine/win/compound_report_files.h"
#include "engine/win/wic_picture_decoder.h"

namespace mervane {

std::unique_ptr<engine::Engine> createReportEngine() {
  engine::win::useWindowsPictureDecoder();
  engine::EngineParts parts;
  parts.files = std::make_shared<engine::CompoundReportFiles>();
  parts.data = engine::data::createOdbcDataProvider();
  parts.catalogues = [](const DataSource& connection) { return engine::data::openCatalogue(connection); };
  return std::make_unique<engine::Engine>(std::move(parts));
}

std::unique_ptr<EngineApplication> createEngineApplication() { return createReportEngine(); }

}  // namespace mervane
