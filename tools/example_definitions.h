// The layouts of the example reports, built with the engine's model: a
// customer list, daily sales grouped by order date with totals, customers by
// region with their orders in a subreport, and the company's products with
// the host's stock levels in a subreport (company and host data in one
// report). The example reports folder, the engine's tests and benchmarks
// use them.
#pragma once

#include "engine/model/report_definition.h"

namespace mervane::tools {

engine::model::ReportDefinition customerListDefinition();
engine::model::ReportDefinition monthlySalesDefinition();  // the grouped report of the benchmarks
engine::model::ReportDefinition ordersByRegionDefinition();
engine::model::ReportDefinition stockValuationDefinition();

}  // namespace mervane::tools
