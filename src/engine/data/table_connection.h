// Where one table of a report reads its data, decided in one place for the
// report's rows and the designer's field list.
//
// The connect text comes from, in this order: what the table was given since
// the report was opened; what the report stored; the report's connection
// string; the table's log-on (server, database, user and password, as it was
// given them), read as an OLE DB text naming them would be; the report's
// log-on, read the same way.
//
// A SQL table pointed at a database (its location) reads that database,
// whatever the text names: on a server the text's connection reaches it;
// where the text names a database file that does not hold it, the table's
// log-on does (a table without a log-on server keeps the file).
#pragma once

#include "engine/data/connection_resolver.h"
#include "engine/document.h"

namespace mervane::engine::data {

// Holds the password: never log it. Empty when the table has none of these.
Text tableConnectText(const ReportDocument& document, const Text& subreport, const model::Table& table);

// That text resolved in the table's database. The error names the table.
Resolution resolveTable(const ReportDocument& document, const Text& subreport, const model::Table& table,
                        const OdbcEnvironment& environment);

}  // namespace mervane::engine::data
