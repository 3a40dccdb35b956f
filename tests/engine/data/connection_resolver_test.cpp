// The data door's resolver, one row per connection text: what reaches
// SQLDriverConnect, or why nothing does. Also the attribute-list reader on
// its own, where the resolver's rows would not show a mistake.
#include "engine/data/connection_resolver.h"

#include <gtest/gtest.h>

namespace mervane::engine::data {
namespace {

// A machine like the test machines: SQLite and PostgreSQL drivers, one SQL
// Server driver, Wine's drive mappings.
OdbcEnvironment machine() {
  OdbcEnvironment env;
  env.drivers = {u"ODBC Driver 17 for SQL Server", u"SQL Server", u"SQLite3", u"PostgreSQL Unicode"};
  env.dataSources = {{u"Halyard", u"SQLite3", u"/srv/data/halyard.db"},
                     {u"Company", u"SQLite3", u"/srv/data/Company.sqlite3"},
                     {u"PgCompany", u"PostgreSQL Unicode", u"company"},
                     {u"Sales", u"SQL Server", u""},
                     {u"Orphan", u"Oracle 19", u""}};
  env.unixDrives = {{u'Z', u"/"}, {u'c', u"/home/u/.wine/drive_c/"}};
  return env;
}

OdbcEnvironment withDrivers(std::vector<Text> drivers) {
  OdbcEnvironment env = machine();
  env.drivers = std::move(drivers);
  return env;
}

const Text kIntegrated = u"Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;Initial Catalog=";
const Text kLogin = u"Provider=SQLOLEDB.1;Password=";
Text login(TextView pw, TextView user, TextView db, TextView server) {
  return kLogin + Text(pw) + u";Persist Security Info=True;User ID=" + Text(user) + u";Initial Catalog=" + Text(db) +
         u";Data Source=" + Text(server);
}
Text host(TextView user, TextView pw, TextView dsn) {
  return u"ODBC;DATABASE=Halyard;UID=" + Text(user) + u";PWD=" + Text(pw) + u";DSN=" + Text(dsn);
}

const Text kLongPassword = [] {
  Text pw;
  for (int i = 0; i < 1000; ++i) pw += static_cast<char16_t>(u"aé;}={ \"x"[i % 9]);
  return pw;
}();
Text braced(TextView v) {
  Text out = u"{";
  for (char16_t c : v) out += c == u'}' ? Text(u"}}") : Text(1, c);
  return out + u"}";
}

const Text kSql17 = u"DRIVER={ODBC Driver 17 for SQL Server};";
const Text kPg = u";UseDeclareFetch=1;Fetch=1000";

struct Row {
  const char* name;
  Text input;
  Text expected;  // the connection string, or a part of the error
  bool error = false;
  OdbcEnvironment env = machine();
};

const std::vector<Row>& rows() {
  static const std::vector<Row> table{
      // The host's connect text.
      {"host on SQLite", host(u"ann", u"secret", u"Halyard"), u"DSN=Halyard;NoCreat=1;StepAPI=1"},
      {"host DSN in other case", host(u"ann", u"secret", u"HALYARD"), u"DSN=Halyard;NoCreat=1;StepAPI=1"},
      {"host on PostgreSQL", host(u"ann", u"secret", u"PgCompany"),
       u"DSN=PgCompany;DATABASE=Halyard;UID=ann;PWD=secret" + kPg},
      {"host on SQL Server DSN", host(u"ann", u"secret", u"Sales"), u"DSN=Sales;DATABASE=Halyard;UID=ann;PWD=secret"},
      {"host empty password", host(u"ann", u"", u"PgCompany"), u"DSN=PgCompany;DATABASE=Halyard;UID=ann;PWD=" + kPg},
      {"host no log-on", host(u"", u"", u"PgCompany"), u"DSN=PgCompany;DATABASE=Halyard" + kPg},
      {"host password with ; = }", host(u"ann", u"a;b=c}", u"PgCompany"),
       u"DSN=PgCompany;DATABASE=Halyard;UID=ann;PWD={a;b=c}}}" + kPg},
      {"host password hiding a DSN", host(u"ann", u"x;DSN=Evil", u"PgCompany"),
       u"DSN=PgCompany;DATABASE=Halyard;UID=ann;PWD={x;DSN=Evil}" + kPg},
      {"host password of spaces and quotes", host(u"ann", u" \"p\" ", u"PgCompany"),
       u"DSN=PgCompany;DATABASE=Halyard;UID=ann;PWD={ \"p\" }" + kPg},
      {"host password in braces", host(u"ann", u"{p}", u"PgCompany"),
       u"DSN=PgCompany;DATABASE=Halyard;UID=ann;PWD={{p}}}" + kPg},
      {"host non-ASCII", host(u"Zoë", u"pässwörd€", u"PgCompany"),
       u"DSN=PgCompany;DATABASE=Halyard;UID=Zoë;PWD=pässwörd€" + kPg},
      {"host long password", host(u"ann", kLongPassword, u"PgCompany"),
       u"DSN=PgCompany;DATABASE=Halyard;UID=ann;PWD=" + braced(kLongPassword) + kPg},
      {"host unknown DSN", host(u"ann", u"pw", u"Nope"), u"no ODBC data source named 'Nope'", true},
      {"host DSN of a missing driver", host(u"ann", u"pw", u"Orphan"), u"'Oracle 19', which is not installed", true},
      {"host other order", u"ODBC;DSN=PgCompany;UID=bo;PWD=pw;DATABASE=Halyard",
       u"DSN=PgCompany;DATABASE=Halyard;UID=bo;PWD=pw" + kPg},
      {"host database not in the file", u"ODBC;DATABASE=Payroll;UID=a;PWD=b;DSN=Halyard",
       u"no database 'Payroll' in the data source 'Halyard': its only database is 'halyard'", true},
      // The integrated-security OLE DB string.
      {"integrated on SQLite DSN", kIntegrated + u"Company;Data Source=Company", u"DSN=Company;NoCreat=1;StepAPI=1"},
      {"integrated catalog in other case", kIntegrated + u"COMPANY;Data Source=company",
       u"DSN=Company;NoCreat=1;StepAPI=1"},
      {"integrated catalog not in the file", kIntegrated + u"Payroll;Data Source=Company", u"no database 'Payroll'",
       true},
      {"integrated on PostgreSQL DSN", kIntegrated + u"company;Data Source=PgCompany",
       u"DSN=PgCompany;DATABASE=company" + kPg},
      {"integrated on SQL Server DSN", kIntegrated + u"Company;Data Source=Sales",
       u"DSN=Sales;DATABASE=Company;Trusted_Connection=yes"},
      {"integrated on a server", kIntegrated + u"Company;Data Source=db01\\SQLEXPRESS,1433",
       kSql17 + u"SERVER=db01\\SQLEXPRESS,1433;DATABASE=Company;Trusted_Connection=yes"},
      {"integrated catalog with ;", kIntegrated + u"Co;mpany;Data Source=db01",
       kSql17 + u"SERVER=db01;DATABASE={Co;mpany};Trusted_Connection=yes"},
      {"integrated empty server", kIntegrated + u"Company;Data Source=", u"names no data source or server", true},
      {"integrated SQLite file", kIntegrated + u"orders;Data Source=Z:\\srv\\Orders.db",
       u"DRIVER={SQLite3};Database=/srv/Orders.db;NoCreat=1;StepAPI=1"},
      {"integrated SQLite file on C:", kIntegrated + u"Orders;Data Source=C:\\data\\orders.db",
       u"DRIVER={SQLite3};Database=/home/u/.wine/drive_c/data/orders.db;NoCreat=1;StepAPI=1"},
      {"SQLite file on an unmapped drive", kIntegrated + u"Orders;Data Source=Q:\\orders.db",
       u"on a drive the driver cannot reach", true},
      {"SQLite file on Windows", kIntegrated + u"Orders;Data Source=Q:\\orders.db",
       u"DRIVER={SQLite3};Database=Q:\\orders.db;NoCreat=1;StepAPI=1", false,
       [] { OdbcEnvironment e = machine(); e.unixDrives.clear(); return e; }()},
      {"SQLite file: the SQLite 3 driver before the SQLite 2 one listed first",
       kIntegrated + u"orders;Data Source=Z:\\srv\\Orders.db", u"DRIVER={SQLite3};Database=/srv/Orders.db;NoCreat=1;StepAPI=1",
       false, withDrivers({u"SQLite", u"SQLite3"})},
      // Driver choice for servers.
      {"best driver 18", kIntegrated + u"C;Data Source=db01",
       u"DRIVER={ODBC Driver 18 for SQL Server};SERVER=db01;DATABASE=C;Trusted_Connection=yes", false,
       withDrivers({u"SQL Server", u"ODBC Driver 17 for SQL Server", u"ODBC Driver 18 for SQL Server"})},
      {"native client over the old driver", kIntegrated + u"C;Data Source=db01",
       u"DRIVER={SQL Server Native Client 11.0};SERVER=db01;DATABASE=C;Trusted_Connection=yes", false,
       withDrivers({u"SQL Server", u"SQL Server Native Client 11.0"})},
      {"only the old driver", kIntegrated + u"C;Data Source=db01",
       u"DRIVER={SQL Server};SERVER=db01;DATABASE=C;Trusted_Connection=yes", false, withDrivers({u"SQL Server"})},
      {"no SQL Server driver", kIntegrated + u"C;Data Source=db01",
       u"no SQL Server ODBC driver is installed", true, withDrivers({u"SQLite3"})},
      // The SQL-login OLE DB string.
      {"login on a server", login(u"pw", u"sa", u"Company", u"db01"),
       kSql17 + u"SERVER=db01;DATABASE=Company;UID=sa;PWD=pw"},
      {"login on PostgreSQL", login(u"pw", u"sa", u"company", u"PgCompany"),
       u"DSN=PgCompany;DATABASE=company;UID=sa;PWD=pw" + kPg},
      {"login on SQLite drops the log-on", login(u"pw", u"sa", u"Company", u"Company"),
       u"DSN=Company;NoCreat=1;StepAPI=1"},
      {"login hostile password", login(u"p;w=}{\"'", u"sa", u"Company", u"db01"),
       kSql17 + u"SERVER=db01;DATABASE=Company;UID=sa;PWD={p;w=}}{\"'}"},
      {"login password repeating the separators", login(u"x;Initial Catalog=Evil;Data Source=evil", u"sa", u"C", u"db01"),
       kSql17 + u"SERVER=db01;DATABASE=C;UID=sa;PWD={x;Initial Catalog=Evil;Data Source=evil}"},
      {"login password with outer spaces", login(u"  pw ", u"sa", u"C", u"db01"),
       kSql17 + u"SERVER=db01;DATABASE=C;UID=sa;PWD={  pw }"},
      {"login long password", login(kLongPassword, u"sa", u"C", u"db01"),
       kSql17 + u"SERVER=db01;DATABASE=C;UID=sa;PWD=" + braced(kLongPassword)},
      {"login non-ASCII", login(u"Ωmega", u"Jürgen", u"Société", u"db01"),
       kSql17 + u"SERVER=db01;DATABASE=Société;UID=Jürgen;PWD=Ωmega"},
      {"login user with }", login(u"pw", u"a}b", u"C", u"db01"), kSql17 + u"SERVER=db01;DATABASE=C;UID={a}}b};PWD=pw"},
      // Other OLE DB strings, read as attribute lists.
      {"OLE DB quoted values", u"Provider=SQLNCLI11; Data Source = db01 ; User ID=\"s;a\";Password='it''s';Initial Catalog={C}}x}",
       kSql17 + u"SERVER=db01;DATABASE={C}}x};UID={s;a};PWD=it's"},
      {"OLE DB later duplicate wins", u"Provider=SQLOLEDB;Data Source=a;Data Source=db02;Trusted_Connection=yes",
       kSql17 + u"SERVER=db02;Trusted_Connection=yes"},
      {"OLE DB without a user", u"Provider=MSOLEDBSQL;Data Source=db01;Initial Catalog=C",
       kSql17 + u"SERVER=db01;DATABASE=C;Trusted_Connection=yes"},
      {"OLE DB for ODBC by DSN", u"Provider=MSDASQL.1;Data Source=PgCompany;User ID=u;Password=p",
       u"DSN=PgCompany;UID=u;PWD=p" + kPg},
      {"OLE DB for ODBC, extended", u"Provider=MSDASQL;Extended Properties=\"DSN=Halyard;Database=Z:\\d\\h.db\"",
       u"DSN=Halyard;Database=/d/h.db;NoCreat=1;StepAPI=1"},
      {"OLE DB for ODBC, unknown DSN", u"Provider=MSDASQL;Data Source=db01", u"no ODBC data source named 'db01'", true},
      {"other provider", u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=x.mdb",
       u"provider 'Microsoft.Jet.OLEDB.4.0' cannot be reached through ODBC", true},
      // Plain ODBC strings.
      {"ODBC SQLite by driver", u"Driver={SQLite3};Database=Z:\\srv\\co.db",
       u"Driver={SQLite3};Database=/srv/co.db;NoCreat=1;StepAPI=1"},
      {"ODBC keeps a given fetch size", u"DSN=PgCompany;Fetch=250;UID=u;PWD={a;b}",
       u"DSN=PgCompany;Fetch=250;UID=u;PWD={a;b};UseDeclareFetch=1"},
      {"ODBC turns streaming back on", u"DSN=PgCompany;UseDeclareFetch=0;Fetch=-3",
       u"DSN=PgCompany;UseDeclareFetch=1;Fetch=1000"},
      {"ODBC SQL Server passes through", u"DRIVER={SQL Server};SERVER=db01;Trusted_Connection=Yes",
       u"DRIVER={SQL Server};SERVER=db01;Trusted_Connection=Yes"},
      {"ODBC unknown driver", u"DRIVER={Oracle 19};DBQ=x", u"driver 'Oracle 19' is not installed", true},
      {"ODBC without driver or DSN", u"SERVER=db01;UID=a", u"names neither a driver nor a data source", true},
      // Text that is no connection at all.
      {"empty", u"   ", u"is empty", true},
      {"unclosed brace", u"DSN=PgCompany;PWD={abc", u"a quoted value is not closed (at character 19)", true},
      {"text after a quoted value", u"DSN=PgCompany;PWD={a}b", u"text follows a quoted value", true},
      {"bare word", u"DSN=PgCompany;secret", u"has no '=' and no value", true},
      {"error position counts the whole text", u"  ODBC;DSN=PgCompany;PWD=\"ab", u"not closed (at character 26)", true},
      {"value without name", u"=x;DSN=PgCompany", u"has a value but no name", true},
      {"NUL inside", Text(u"DSN=PgCompany;PWD=a\0;UID=b", 26), u"holds a NUL character", true},
  };
  return table;
}

TEST(ConnectionResolver, EveryTextOfTheTable) {
  for (const Row& row : rows()) {
    SCOPED_TRACE(row.name);
    Resolution r = resolveConnection(row.input, row.env);
    if (row.error) {
      ASSERT_FALSE(r.ok()) << toUtf8(r.connection->connectionString());
      EXPECT_NE(r.error.find(row.expected), Text::npos) << toUtf8(r.error);
    } else {
      ASSERT_TRUE(r.ok()) << toUtf8(r.error);
      EXPECT_EQ(toUtf8(r.connection->connectionString()), toUtf8(row.expected));
    }
  }
}

// Whatever the text, the password never shows in the redacted string, the
// description or an error; the test machine's secrets are all spelled so.
TEST(ConnectionResolver, PasswordsStayOutOfEverythingShown) {
  const std::vector<Text> secrets{u"secret", u"pw", u"p;w=}{\"'", kLongPassword, u"pässwörd€", u"{p}", u"a;b=c}"};
  for (const Row& row : rows()) {
    SCOPED_TRACE(row.name);
    Resolution r = resolveConnection(row.input, row.env);
    Text shown = r.ok() ? r.connection->redacted() + r.connection->description() : r.error;
    for (const Text& s : secrets) {
      if (row.input.find(u"PWD=" + s) == Text::npos && row.input.find(u"Password=" + s) == Text::npos) continue;
      EXPECT_EQ(shown.find(s), Text::npos) << toUtf8(shown);
    }
  }
}

TEST(ConnectionResolver, DescribesWhatItDid) {
  Resolution r = resolveConnection(login(u"pw", u"sa", u"Company", u"db01"), machine());
  ASSERT_TRUE(r.ok());
  const OdbcConnection& c = *r.connection;
  EXPECT_EQ(c.form, TextForm::OleDb);
  EXPECT_EQ(c.family, DriverFamily::SqlServer);
  EXPECT_EQ(c.user, u"sa");
  EXPECT_FALSE(c.integrated);
  EXPECT_EQ(toUtf8(c.redacted()), "DRIVER={ODBC Driver 17 for SQL Server};SERVER=db01;DATABASE=Company;UID=sa;PWD=***");
  EXPECT_NE(c.description().find(u"'db01' is not an ODBC data source"), Text::npos);

  r = resolveConnection(host(u"ann", u"pw", u"Halyard"), machine());
  ASSERT_TRUE(r.ok());
  EXPECT_EQ(r.connection->form, TextForm::HostConnect);
  EXPECT_EQ(r.connection->database, u"halyard");
  EXPECT_EQ(r.connection->dataSource, u"Halyard");
}

// Settings made into data sources resolve as the texts joined from them
// would, and keep each value whole where a joined text could not: a user
// holding the next separator. What a report file keeps has no password.
TEST(DataSource, SettingsResolveAsTheirTextsAndKeepAwkwardValuesWhole) {
  const OdbcEnvironment env = machine();
  auto resolved = [&](const DataSource& source) {
    Resolution r = resolveConnection(source, env);
    return r.ok() ? toUtf8(r.connection->connectionString()) : "error: " + toUtf8(r.error);
  };
  for (const Text& user : {Text(u"sa"), Text()}) {
    SCOPED_TRACE(toUtf8(user));
    EXPECT_EQ(resolved(serverDataSource(u" db01 ", u"Company", user, u"p;w")),
              resolved(readDataSource(user.empty() ? logOnConnectText(u" db01 ", u"Company", u"", u"")
                                                   : login(u"p;w", user, u"Company", u" db01 "))));
  }
  EXPECT_EQ(resolved(hostDataSource(u"Halyard", u"ann", u"p;w", u"PgCompany")),
            resolved(readDataSource(host(u"ann", u"p;w", u"PgCompany"))));

  const DataSource awkward = hostDataSource(u"Halyard", u"ann;PWD=x", u"Zq;1", u"PgCompany");
  Resolution r = resolveConnection(awkward, env);
  ASSERT_TRUE(r.ok()) << toUtf8(r.error);
  EXPECT_EQ(r.connection->user, u"ann;PWD=x");
  EXPECT_EQ(r.connection->attributes.get(u"PWD"), Text(u"Zq;1"));
  EXPECT_EQ(awkward.storedText().find(u"Zq;1"), Text::npos) << toUtf8(awkward.storedText());
}

// A table pointed at a database reads it, whatever the text names; a SQLite
// file or data source holds only its own, and one whose file the machine
// does not show is checked once connected.
TEST(ConnectionResolver, TheDatabaseAskedForTakesThePlaceOfTheTexts) {
  auto resolved = [](TextView text, TextView database, OdbcEnvironment env = machine()) {
    Resolution r = resolveConnection(text, env, database);
    return r.ok() ? toUtf8(r.connection->connectionString()) : "error: " + toUtf8(r.error);
  };
  EXPECT_EQ(resolved(login(u"pw", u"sa", u"Other", u"db01"), u"Company"),
            toUtf8(kSql17 + u"SERVER=db01;DATABASE=Company;UID=sa;PWD=pw"));
  EXPECT_EQ(resolved(u"DSN=PgCompany;DATABASE=postgres", u"company"), toUtf8(u"DSN=PgCompany;DATABASE=company" + kPg));
  EXPECT_EQ(resolved(kIntegrated + u"archive;Data Source=Company", u"company"), "DSN=Company;NoCreat=1;StepAPI=1");
  EXPECT_NE(resolved(kIntegrated + u"company;Data Source=Company", u"archive").find("no database 'archive'"),
            std::string::npos);
  EXPECT_NE(resolved(u"Driver={SQLite3};Database=Z:\\srv\\co.db", u"archive").find("no database 'archive'"),
            std::string::npos);
  EXPECT_EQ(resolved(host(u"ann", u"pw", u"Halyard"), u"company"), "DSN=Halyard;NoCreat=1;StepAPI=1");

  OdbcEnvironment wine = machine();
  wine.dataSources[1].database.clear();
  for (TextView asked : {u"company", u"archive"}) {
    Resolution r = resolveConnection(kIntegrated + u";Data Source=Company", wine, asked);
    ASSERT_TRUE(r.ok());
    EXPECT_TRUE(r.connection->databaseUnconfirmed);
    std::optional<Text> error = confirmDatabase(*r.connection, u"/srv/data/Company.sqlite3");
    EXPECT_EQ(error.has_value(), asked == u"archive");
    EXPECT_EQ(r.connection->database, error ? Text(u"archive") : Text(u"Company"));
  }
}

// What a report keeps of a connection text: every form the resolver reads
// loses its password whole, whatever the password holds, and what is kept
// still reaches the same place.
TEST(ConnectionResolver, WithoutPasswordsKeepsNoPieceOfOne) {
  auto quote = [](TextView v, char16_t q) {
    Text out(1, q);
    for (char16_t c : v) out += c == q ? Text(2, c) : Text(1, c);
    return out + q;
  };
  for (const Text& pw : {Text(u"Zq;1x"), Text(u"Zq}}x{{"), Text(u"Zq=x;=y"), Text(u"Zq\"x'y"), Text(u" Zq x "),
                         kLongPassword}) {
    const Text texts[] = {
        host(u"ann", pw, u"PgCompany"),
        login(pw, u"sa", u"Company", u"db01"),
        u"DSN=PgCompany;UID=u;PWD=" + braced(pw),
        u"ODBC;DSN=PgCompany;PWD=" + braced(pw) + u";UID=u",
        u"Provider=SQLNCLI11;Data Source=db01;Password=" + quote(pw, u'"') + u";User ID=sa",
        u"Provider=SQLNCLI11;Password=" + quote(pw, u'\'') + u";User ID=sa;Data Source=db01",
        u"Provider=MSDASQL.1;Extended Properties=" + quote(u"DSN=PgCompany;UID=u;PWD=" + braced(pw), u'"'),
    };
    for (const Text& text : texts) {
      SCOPED_TRACE(toUtf8(text).substr(0, 80));
      const Text kept = withoutPasswords(text);
      for (std::size_t i = 0; i + 3 <= pw.size(); ++i)
        ASSERT_EQ(kept.find(pw.substr(i, 3)), Text::npos) << toUtf8(kept);
      Resolution before = resolveConnection(text, machine()), after = resolveConnection(kept, machine());
      ASSERT_TRUE(before.ok()) << toUtf8(before.error);
      ASSERT_TRUE(after.ok()) << toUtf8(after.error);
      before.connection->attributes.erase(u"PWD");
      after.connection->attributes.erase(u"PWD");
      EXPECT_EQ(toUtf8(after.connection->connectionString()), toUtf8(before.connection->connectionString()));
    }
  }
  // A bare password cut short by a ';' goes with the rest of it; other
  // texts stay as they were.
  EXPECT_EQ(withoutPasswords(u"Data Source=db01;Password=pw;123;User ID=sa"), u"Data Source=db01;User ID=sa");
  EXPECT_EQ(withoutPasswords(u"Server=s;PasswordHint=x;Jet OLEDB:Database Password='a;b'"), u"Server=s;");
  for (TextView same : {u"", u"dbo.Customers", u"/data/a;b.csv", u"A=1;;B=2", u"Initial Catalog=c;Data Source=s"})
    EXPECT_EQ(withoutPasswords(same), same);
}

TEST(AttributeList, ReadsAndWritesRoundTrip) {
  for (Text value : {Text(u""), Text(u"plain"), Text(u" lead"), Text(u"trail "), Text(u"a;b"), Text(u"}{}"),
                     Text(u"x=y"), Text(u"ünï©ødé"), kLongPassword}) {
    AttributeList list;
    list.set(u"PWD", value);
    list.set(u"UID", u"u");
    ParsedAttributes back = parseAttributes(formatOdbc(list));
    ASSERT_TRUE(back.ok()) << toUtf8(value);
    EXPECT_EQ(back.list.get(u"pwd"), value);
    EXPECT_EQ(back.list.items().size(), 2u);
  }
}

TEST(DriverFamily, KnowsTheDriversByName) {
  EXPECT_EQ(driverFamily(u"SQLite3"), DriverFamily::Sqlite);
  EXPECT_EQ(driverFamily(u"PostgreSQL ANSI"), DriverFamily::PostgreSql);
  EXPECT_EQ(driverFamily(u"SQL Server Native Client 11.0"), DriverFamily::SqlServer);
  EXPECT_EQ(driverFamily(u"MySQL ODBC 8.0"), DriverFamily::Other);
}

}  // namespace
}  // namespace mervane::engine::data
