// Creates the report engine the library drives: the engine's objects over
// report files stored as OLE compound files.
#pragma once

#include <memory>

#include "components/report_engine.h"

namespace mervane {

std::unique_ptr<EngineApplication> createEngineApplication();

}  // namespace mervane
