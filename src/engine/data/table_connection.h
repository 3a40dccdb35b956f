// Where one table of a report reads its data, decided in one place for the
// report's rows and the designer's field list.
//
// The data source is, in this order: the table's connection (given since
// the report was opened, or stored with it); the report's connection; the
// table's log-on (server, database, user and password, as it was given
// them), read as a log-on to that server; the report's log-on, read the
// same way.
//
// A SQL table pointed at a database (its location) reads that database,
// whatever the data source names: on a server the connection reaches it;
// where the data source names a database file that does not hold it, the
// table's log-on does (a table without a log-on server keeps the file).
#pragma once

#include "engine/data/connection_resolver.h"
#include "engine/document.h"

namespace mervane::engine::data {

// Holds the password: never log it. Not given() when the table has none of
// these.
DataSource tableDataSource(const ReportDocument& document, const model::Table& table);

// That data source resolved in the table's database. The error names the
// table.
Resolution resolveTable(const ReportDocument& document, const model::Table& table, const OdbcEnvironment& environment);

}  // namespace mervane::engine::data
