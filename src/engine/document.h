// A report as the engine holds it in memory: its definition, its summary,
// and the log-on secrets given to it since it was opened.
//
// The definition is what is saved. The secrets (passwords, connect texts
// that carry a password) live only here and are never written anywhere: a
// report opened again needs its log-on again, which is what the library's
// table re-pointing gives it each time.
//
// A file written by another designer has a summary but no definition of
// ours: it opens with `hasLayout` false and `layoutProblem` saying why, so
// that the viewer can say so in words.
#pragma once

#include <map>

#include "base/text.h"
#include "engine/model/report_definition.h"

namespace mervane::engine {

// What one table was told at run time.
struct TableSecrets {
  Text connectText;  // the connect text as given, password included; empty: none given
  Text password;     // from its log-on information
};

// The report-wide log-on.
struct ServerLogOn {
  Text server;
  Text database;
  Text user;
  Text password;
  Text connectionString;
  bool given = false;
};

// Which table: the subreport's name (empty for the main report) and the
// table's alias.
struct TableKey {
  Text subreport;
  Text alias;
  auto operator<=>(const TableKey&) const = default;
};

struct ReportDocument {
  model::ReportDefinition definition;
  Text title;
  Text applicationData;
  bool hasLayout = true;
  Text layoutProblem;  // in words, when hasLayout is false

  std::map<TableKey, TableSecrets> secrets;
  ServerLogOn logOn;

  const TableSecrets* secretsFor(const TableKey& key) const {
    auto found = secrets.find(key);
    return found == secrets.end() ? nullptr : &found->second;
  }
};

}  // namespace mervane::engine
