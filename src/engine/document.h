// A report as the engine holds it in memory: its definition, its summary,
// and the report-wide log-on given to it since it was opened.
//
// The definition is what is saved. The passwords it holds (its tables'
// log-ons and connections) and the report's log-on are never written: a
// report opened again needs its log-on again, which is what the library's
// table re-pointing gives it each time.
//
// A file written by another designer has a summary but no definition of
// ours: it opens with `hasLayout` false and `layoutProblem` saying why, so
// that the viewer can say so in words.
#pragma once

#include "base/text.h"
#include "engine/model/report_definition.h"

namespace mervane::engine {

// The report-wide log-on.
struct ServerLogOn {
  Text server;
  Text database;
  Text user;
  Text password;
  DataSource connection;
  bool given = false;
};

struct ReportDocument {
  model::ReportDefinition definition;
  Text title;
  Text applicationData;
  bool hasLayout = true;
  Text layoutProblem;  // in words, when hasLayout is false

  ServerLogOn logOn;
};

}  // namespace mervane::engine
