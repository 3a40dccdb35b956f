// Where a database lives and how to log on to it, as one value: read once
// from the text that names it, or made from the settings that name it, and
// handed as it is to the connection resolver (connection_resolver.h).
//
// Three kinds of text arrive: OLE DB strings for SQL Server ("Provider=
// SQLOLEDB.1;...;Initial Catalog=...;Data Source=..."), the host's own
// connect text ("ODBC;DATABASE=...;UID=...;PWD=...;DSN=..."), and plain ODBC
// connection strings.
//
// The host's texts are put together from settings without any quoting, so a
// value may hold ';', '=', quotes or blanks. A text in one of those fixed
// shapes is split at the shape's own separators and each value is taken as it
// stands; the password may hold anything, the other values anything but the
// separator that follows them. Other texts are read as attribute lists.
// Values made from settings are taken whole, with nothing to split.
//
// The password is held for connecting only: storedText() leaves it out, and
// it is never logged.
#pragma once

#include <optional>
#include <vector>

#include "base/text.h"
#include "components/attribute_list.h"

namespace mervane {

enum class TextForm { OleDb, HostConnect, Odbc };

struct DataSource {
  TextForm form = TextForm::Odbc;
  // A server name, an ODBC data source or a SQLite file, with the database
  // and log-on to use there (OLE DB strings, the host's text, a log-on).
  // Values are kept as given; an OLE DB server name is read without the
  // blanks around it.
  Text server;
  Text database;  // empty: the server's or data source's own
  Text user;
  Text password;
  bool integrated = false;        // log on as the current user
  bool mustBeDataSource = false;  // `server` must be an ODBC data source
  // An ODBC connection string's own attributes (also inside an OLE DB text
  // for the provider for ODBC, and an "ODBC;" text with other keys). When
  // present, the fields above are not used.
  std::optional<AttributeList> odbc;
  std::vector<Text> notes;  // what reading decided, in words
  Text problem;             // why it cannot be used; empty when it can
  // The text it was read from, as given (password included); empty when it
  // was made from settings.
  Text text;
  bool fromSettings = false;

  // Something was given: a text, or settings.
  bool given() const { return fromSettings || !text.empty(); }
  // Nothing to connect with: nothing given, or a text of blanks.
  bool blank() const { return !fromSettings && isBlank(text); }
  // The text naming it: as given, or made from the settings in the shape
  // readDataSource reads each value back from. Holds the password.
  Text connectText() const;
  // What a report file keeps: that text without its passwords.
  Text storedText() const;
  bool operator==(const DataSource&) const = default;
};

// A setting that switches something on ("SSPI", "true" or "yes", in any
// letter case, blanks around it ignored).
bool isYes(const std::optional<Text>& value);

// Any connection text, read once. A text that cannot be read says why in
// `problem`; an empty text gives a value that is not given().
DataSource readDataSource(TextView text);

// The host's own data: the ODBC data source `dsn`, its database, the user
// and password, each taken whole.
DataSource hostDataSource(TextView database, TextView user, TextView password, TextView dsn);

// A server's database with a log-on, as a new report's tables are added:
// Windows log-on without a user, the SQL login with one.
DataSource serverDataSource(TextView server, TextView database, TextView user, TextView password);

// The OLE DB text naming such a log-on, in the shapes readDataSource reads
// each value back from exactly as it was given.
Text logOnConnectText(TextView server, TextView database, TextView user, TextView password);

// The text without the values that hold a password (keys PWD, Password or
// any key containing "password", in any letter case), each read the way
// readDataSource reads the text: in the host's and the OLE DB fixed shapes
// the whole free value goes, however many ';', '=', quotes or braces it
// holds; in attribute lists a braced or quoted value goes whole, a bare value
// with the items without '=' that follow it, and the OLE DB provider for
// ODBC's Extended Properties lose theirs too. Everything else stays as it
// was.
Text withoutPasswords(TextView connectionText);

}  // namespace mervane
