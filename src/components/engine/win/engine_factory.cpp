// The report engine over compound files.
#include "components/engine/win/engine_factory.h"

#include "components/engine/engine.h"
#include "components/engine/win/compound_report_files.h"

namespace mervane {

std::unique_ptr<EngineApplication> createEngineApplication() {
  engine::EngineParts parts;
  parts.files = std::make_shared<engine::CompoundReportFiles>();
  return std::make_unique<engine::Engine>(std::move(parts));
}

}  // namespace mervane
