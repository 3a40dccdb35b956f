// Creates the report engine the library drives: the engine's objects over
// report files stored as OLE compound files.
#pragma once

#include <memory>

#include "components/report_engine.h"

namespace mervane {

namespace engine {
class Engine;
}

std::unique_ptr<EngineApplication> createEngineApplication();
// The same engine as its own type, for the designer window, which gives
// the engine's reports to the designer and the viewer.
std::unique_ptr<engine::Engine> createReportEngine();

}  // namespace mervane
