// What the ODBC tests share: the fixture's databases (make_fixture.sh) as a
// report reaches them, report tables on them, and reading every row.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "components/data_source.h"
#include "engine/data/report_data.h"
#include "engine/document.h"
#include "../../support/postgres_env.h"

namespace mervane::engine::data::fixture {

inline model::FieldRef field(Text table, Text column) {
  model::FieldRef f;
  f.table = std::move(table);
  f.column = std::move(column);
  return f;
}

// A SQL table named as its alias, reached through `connection`.
inline model::Table sqlTable(Text name, const Text& connection = Text()) {
  model::Table t;
  t.alias = name;
  t.location = std::move(name);
  t.connection = readDataSource(connection);
  return t;
}

// The private PostgreSQL server's company database, without a log-on.
inline Text postgresCompany(const std::map<std::string, std::string>& env, const std::string& more = "") {
  return fromUtf8("DRIVER={PostgreSQL Unicode};SERVER=127.0.0.1;PORT=" + env.at("PGPORT") + ";DATABASE=company" +
                  more);
}

// The server's password user as a report's log-on.
inline ServerLogOn postgresLogOn(const std::map<std::string, std::string>& env) {
  ServerLogOn logOn;
  logOn.user = fromUtf8(env.at("PG_PASSWORD_USER"));
  logOn.password = fromUtf8(env.at("PG_PASSWORD"));
  logOn.given = true;
  return logOn;
}

inline std::vector<std::vector<formula::Value>> allRows(ReportData& data, const std::vector<model::FieldRef>& fields,
                                                        const std::vector<FieldMatch>& match = {}) {
  std::vector<std::vector<formula::Value>> out;
  auto cursor = data.rows(fields, match);
  std::vector<formula::Value> row;
  while (cursor->next(row)) out.push_back(row);
  return out;
}

}  // namespace mervane::engine::data::fixture
