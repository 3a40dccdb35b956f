// Table re-pointing against the engine's real report objects: a definition
// with host tables, company tables, a text file and subreports (one of them
// holding a subreport of its own) goes through the routine, and the
// definition and the in-memory log-on are read back.
#include "connections/report_locations.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "engine/engine.h"
#include "engine/model/definition_stream.h"

namespace mervane {
namespace {

using namespace engine;
using model::DatabaseType;

// One report file held in memory; saving records the definition's bytes.
struct MemoryFiles : ReportFiles {
  std::vector<std::uint8_t> stored;
  std::vector<std::uint8_t> saved;
  struct File : ReportFile {
    MemoryFiles& files;
    ReportSummary summary_{u"Sales", u"AppData=3;"};
    explicit File(MemoryFiles& f) : files(f) {}
    const ReportSummary& summary() const override { return summary_; }
    std::optional<std::vector<std::uint8_t>> definition() override { return files.stored; }
    void writeCopy(const Text&, const ReportChanges& changes) override {
      if (changes.definition) files.saved = *changes.definition;
    }
  };
  std::unique_ptr<ReportFile> open(const Text&, OpenMethod) override { return std::make_unique<File>(*this); }
  void create(const Text&, const ReportChanges&) override {}
};

model::Table sqlTable(Text alias, Text database) {
  model::Table t;
  t.alias = alias;
  t.location = alias;
  t.logOn.server = u"oldserver";
  t.logOn.database = std::move(database);
  return t;
}

model::ReportObject subreportObject(Text name, model::ReportDefinition definition) {
  model::ReportObject o;
  o.kind = model::ObjectKind::Subreport;
  o.subreport.name = std::move(name);
  o.subreport.definition = model::Deep<model::ReportDefinition>(std::move(definition));
  return o;
}

model::ReportDefinition sampleReport() {
  model::ReportDefinition main = model::blankReport();
  main.data.tables = {sqlTable(u"Users", u"Halyard"),     sqlTable(u"Shifts", u"hALYARD"),
                      sqlTable(u"Notes", u"   "),         sqlTable(u"Customers", u"oldcompany"),
                      sqlTable(u"Archive", u"Halyard2"),  sqlTable(u"Rates", u"Halyard")};
  main.data.tables[5].type = DatabaseType::DelimitedTextFile;
  main.data.tables[5].location = u"/data/rates.csv";

  model::ReportDefinition inner = model::blankReport();
  inner.data.tables = {sqlTable(u"Deep", u"oldcompany")};
  model::ReportDefinition sub = model::blankReport();
  sub.data.tables = {sqlTable(u"Orders", u"oldcompany"), sqlTable(u"Staff", u"")};
  sub.sections[2].objects.push_back(subreportObject(u"Inner", inner));

  model::ReportObject text;  // any other kind is passed over
  text.kind = model::ObjectKind::Text;
  main.sections[0].objects.push_back(text);
  main.sections[2].objects.push_back(subreportObject(u"Orders", sub));
  return main;
}

SessionSettings settings(Text userPassword = u"u-secret") {
  SessionSettings s;
  s.odbcServer = u"HalyardDSN";
  s.userName = u"ana";
  s.userPassword = std::move(userPassword);
  s.sqlServer = u"SRV\\SQL";
  s.sqlDatabase = u"company";
  s.sqlLogin = u"sa";
  s.sqlPassword = u"sql-secret";
  s.sqlConnString = u"Provider=SQLOLEDB.1;Password=sql-secret;User ID=sa;Initial Catalog=company;Data Source=SRV\\SQL";
  return s;
}

SessionData session(Text userPassword = u"u-secret") { return readSessionData(settings(std::move(userPassword))); }

class ReportLocationsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    files_->stored = model::writeDefinition(sampleReport());
    engine_ = std::make_unique<Engine>(EngineParts{files_, nullptr, {}});
    report_ = engine_->open(u"sales.rpt", OpenMethod::ByTemporaryCopy);
    ASSERT_TRUE(report_);
  }
  Report& report() { return *report_; }
  model::ReportDefinition& definition() { return report().document().definition; }
  model::ReportDefinition& sub() { return *definition().sections[2].objects[0].subreport.definition; }

  std::shared_ptr<MemoryFiles> files_ = std::make_shared<MemoryFiles>();
  std::unique_ptr<Engine> engine_;
  std::unique_ptr<Report> report_;
};

TEST_F(ReportLocationsTest, HostTablesGetTheUsersOdbcLogOnAndOthersTheSqlServer) {
  const SessionData s = session();
  setReportLocations(report_.get(), s);
  // The host's connect text is its pieces joined as they are, an empty
  // password included.
  const Text host = u"ODBC;DATABASE=Halyard;UID=ana;PWD=u-secret;DSN=HalyardDSN";
  ASSERT_EQ(s.host.connectText(), host);
  EXPECT_EQ(session(u"").host.connectText(), u"ODBC;DATABASE=Halyard;UID=ana;PWD=;DSN=HalyardDSN");

  ReportDocument& doc = report().document();
  EXPECT_TRUE(doc.logOn.given);
  EXPECT_EQ(doc.logOn.server, u"SRV\\SQL");
  EXPECT_EQ(doc.logOn.password, u"sql-secret");
  EXPECT_EQ(doc.logOn.connection, s.sqlConnection);

  for (const char16_t* alias : {u"Users", u"Shifts", u"Notes"}) {
    SCOPED_TRACE(toUtf8(alias));
    auto& tables = definition().data.tables;
    auto& t = *std::find_if(tables.begin(), tables.end(), [&](auto& x) { return x.alias == alias; });
    EXPECT_EQ(t.logOn.server, host);
    EXPECT_EQ(t.logOn.database, u"Halyard");
    EXPECT_EQ(t.logOn.user, u"ana");
    EXPECT_EQ(t.location, alias);  // nothing else changes for host tables
    EXPECT_EQ(t.subLocation, u"");
    EXPECT_EQ(t.logOn.password, u"u-secret");
    EXPECT_EQ(t.connection, s.host);
  }
  // "Halyard2" only begins like the host's database: a company table.
  for (const char16_t* alias : {u"Customers", u"Archive"}) {
    SCOPED_TRACE(toUtf8(alias));
    auto& tables = definition().data.tables;
    auto& t = *std::find_if(tables.begin(), tables.end(), [&](auto& x) { return x.alias == alias; });
    EXPECT_EQ(t.logOn.server, u"SRV\\SQL");
    EXPECT_EQ(t.logOn.database, u"company");
    EXPECT_EQ(t.logOn.user, u"sa");
    EXPECT_EQ(t.location, alias);  // the name stays; the database is the session's
    EXPECT_EQ(t.subLocation, u"company");
    EXPECT_EQ(t.connection, s.sqlConnection);
    EXPECT_EQ(t.logOn.password, u"sql-secret");
  }
  const model::Table& rates = definition().data.tables[5];
  EXPECT_EQ(rates.logOn.server, u"oldserver");
  EXPECT_FALSE(rates.connection.given());

  // The subreport's tables get the same rule; its own subreport is not
  // looked into.
  EXPECT_EQ(sub().data.tables[0].logOn.database, u"company");
  EXPECT_EQ(sub().data.tables[0].connection, s.sqlConnection);
  EXPECT_EQ(sub().data.tables[1].logOn.server, host);
  EXPECT_EQ(sub().data.tables[1].logOn.password, u"u-secret");
  const model::Table& deep = sub().sections[2].objects[0].subreport.definition->data.tables[0];
  EXPECT_EQ(deep.logOn.database, u"oldcompany");
  EXPECT_EQ(deep.logOn.server, u"oldserver");
}

// Every 3-character piece of the text, as the saved bytes would spell it in
// UTF-8, in UTF-16 and in a single-byte code page.
std::vector<std::string> piecesOf(const Text& secret) {
  std::vector<std::string> pieces;
  for (std::size_t i = 0; i + 3 <= secret.size(); ++i) {
    const Text piece = secret.substr(i, 3);
    pieces.push_back(toUtf8(piece));
    std::string wide, narrow;
    for (char16_t c : piece) {
      wide += static_cast<char>(c & 0xFF);
      wide += static_cast<char>(c >> 8);
      narrow += static_cast<char>(c & 0xFF);
    }
    pieces.push_back(wide);
    pieces.push_back(narrow);
  }
  return pieces;
}

TEST_F(ReportLocationsTest, TheRepointedReportSavesWithoutAnyPieceOfAPassword) {
  const Text hostile[] = {u"Zq;1x", u"Zq}x{{y", u"Zq=x;=y", u"Zq\"x'y", u" Zq x ", u"Zq{;}Xv= \"Yw'"};
  for (const Text& pw : hostile)
  for (bool shaped : {true, false}) {
    SCOPED_TRACE(toUtf8(pw));
    SetUp();
    SessionSettings s = settings(pw);
    s.sqlPassword = pw + u"\u00e9";
    // As a new report's tables are added, or a bare password no reading can
    // tell from the items after it.
    s.sqlConnString = shaped ? u"Provider=SQLOLEDB.1;Password=" + s.sqlPassword +
                                   u";Persist Security Info=True;User ID=sa;Initial Catalog=company;Data Source=SRV"
                             : u"Data Source=SRV;User ID=sa;Password=" + s.sqlPassword;
    setReportLocations(report_.get(), readSessionData(s));
    report().save(u"copy.rpt");
    ASSERT_FALSE(files_->saved.empty());
    const std::string bytes(files_->saved.begin(), files_->saved.end());
    for (const Text& secret : {s.userPassword, s.sqlPassword})
      for (const std::string& piece : piecesOf(secret)) EXPECT_EQ(bytes.find(piece), std::string::npos) << piece;
    // What was saved is the re-pointed report.
    auto read = model::readDefinition(files_->saved);
    ASSERT_TRUE(read.definition);
    EXPECT_EQ(read.definition->data.tables[3].subLocation, u"company");
    EXPECT_EQ(read.definition->data.tables[0].logOn.server, u"ODBC;DATABASE=Halyard;UID=ana;PWD=;DSN=HalyardDSN");
  }
}

TEST(ReportLocations, AReportThatDidNotOpenPassesThrough) {
  setReportLocations(nullptr, session());
  // A report without a layout of ours has no tables and no sections; only
  // the report-wide log-on is taken.
  auto files = std::make_shared<MemoryFiles>();
  Engine engine(EngineParts{files, nullptr, {}});
  auto report = engine.open(u"x.rpt");
  files->stored = {1, 2, 3};  // not a definition
  setReportLocations(report.get(), session());
  auto& doc = report->document();
  EXPECT_FALSE(doc.hasLayout);
  EXPECT_TRUE(doc.logOn.given);
  EXPECT_TRUE(doc.definition.data.tables.empty());
}

}  // namespace
}  // namespace mervane
