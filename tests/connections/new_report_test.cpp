// NewReport's construction against a scripted server, chooser and window:
// the order of its calls, Windows log-on first and the SQL login only when
// it fails, each table tried with both connection strings, what becomes a
// table source, cancelling, and the clean-up whatever fails.
#include "authoring/new_report.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>

namespace mervane {
namespace {

using Log = std::vector<std::string>;

std::string u8(const Text& t) { return toUtf8(t); }

const DataSource kSql = serverDataSource(u"srv", u"Company", u"sa", u"pw;1");
const Text kIntegrated =
    u"Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;Initial Catalog=Company;Data "
    u"Source=srv";
const Text kLogin =
    u"Provider=SQLOLEDB.1;Password=pw;1;Persist Security Info=True;User ID=sa;Initial Catalog=Company;Data "
    u"Source=srv";

struct FakeServer : DatabaseServer {
  Log& log;
  bool integratedFails = false, loginFails = false, findFails = false;
  std::optional<ServerDatabase> database;
  explicit FakeServer(Log& l) : log(l) {}
  void setLoginTimeout(int s) override { log.push_back("timeout " + std::to_string(s)); }
  void connectIntegrated(const Text& server) override {
    log.push_back("integrated " + u8(server));
    if (integratedFails) throw std::runtime_error("refused");
  }
  void connectWithLogin(const Text& server, const Text& login, const Text& password) override {
    log.push_back("login " + u8(server) + " " + u8(login) + " " + u8(password));
    if (loginFails) throw std::runtime_error("refused");
  }
  std::optional<ServerDatabase> findDatabase(const Text& name) override {
    log.push_back("find " + u8(name));
    if (findFails) throw std::runtime_error("down");
    return database;
  }
  void disconnect() override { log.push_back("disconnect"); }
};

struct FakeChooser : TableChooser {
  Log& log;
  std::vector<ChooserNodeState> tree;
  std::set<Text> keys;
  std::function<void(FakeChooser&)> user;  // what the person does while it is shown
  bool ok = false, showFails = false, okFails = false;
  explicit FakeChooser(Log& l) : log(l) {}
  ~FakeChooser() override { log.push_back("unload"); }
  void addDataSetNode(const Text& key, const Text& caption) override {
    log.push_back("dataset " + u8(key) + " " + u8(caption));
    keys.insert(key);
    tree.push_back({caption, false, false});
  }
  void addTableNode(const Text& parentKey, const Text& text) override {
    if (!keys.contains(parentKey)) throw std::invalid_argument("no parent");
    log.push_back("table " + u8(text));
    tree.front().hasChildren = true;
    tree.push_back({text, false, false});
  }
  void showModal() override {
    log.push_back("show");
    if (showFails) throw std::runtime_error("show");
    if (user) user(*this);
  }
  bool okSelected() override {
    if (okFails) throw std::runtime_error("ok");
    return ok;
  }
  std::vector<ChooserNodeState> nodes() override { return tree; }
  void tick(const Text& text) {
    for (auto& n : tree)
      if (n.text == text) n.checked = true;
  }
};

struct FakeReportDatabase : EngineDatabase {
  Log& log;
  std::set<Text> refusedWithIntegrated, refusedWithLogin;  // table names
  explicit FakeReportDatabase(Log& l) : log(l) {}
  std::vector<std::shared_ptr<EngineTable>> tables() override { return {}; }
  void addOleDbSource(const DataSource& source, const Text& table) override {
    const Text connection = source.connectText();
    const bool integrated = connection == kIntegrated;
    log.push_back(std::string(integrated ? "add-integrated " : connection == kLogin ? "add-login " : "add-? ") +
                  u8(table));
    if ((integrated ? refusedWithIntegrated : refusedWithLogin).contains(table)) throw std::runtime_error("no");
  }
  void logOnServerEx(const Text&, const Text&, const Text&, const Text&, const Text&, const Text&,
                     const DataSource&) override {}
};

struct FakeWindow : NewReportWindow {
  Log& log;
  std::shared_ptr<FakeReportDatabase> database;
  explicit FakeWindow(Log& l) : log(l), database(std::make_shared<FakeReportDatabase>(l)) {}
  void setHourglass(bool on) override { log.push_back(on ? "hourglass" : "pointer"); }
  void processMessages() override { log.push_back("events"); }
  void createReport() override {
    log.push_back("create");
  }
  std::shared_ptr<EngineDatabase> reportDatabase() override { return database; }
};

class NewReportTest : public ::testing::Test {
 protected:
  NewReportTest() {
    server_.database = ServerDatabase{u"company", {{u"Customers", false}, {u"sysdiagrams", true}, {u"Orders", false}}};
  }
  bool run() {
    return buildNewReport(kSql, server_, [this]() -> std::unique_ptr<TableChooser> {
      if (loadFails) throw std::runtime_error("load");
      auto c = std::make_unique<FakeChooser>(log_);
      c->user = user;
      c->showFails = showFails;
      c->okFails = okFails;
      return c;
    }, window_);
  }
  // The calls after the chooser was shown.
  Log afterShow() const {
    auto it = std::find(log_.begin(), log_.end(), "show");
    return it == log_.end() ? Log{} : Log(it + 1, log_.end());
  }

  Log log_;
  FakeServer server_{log_};
  FakeWindow window_{log_};
  std::function<void(FakeChooser&)> user;
  bool loadFails = false, showFails = false, okFails = false;
};

TEST_F(NewReportTest, ConfirmedChoiceBuildsTheReportStepByStep) {
  user = [](FakeChooser& c) {
    EXPECT_EQ(c.tree.size(), 3u);  // the system table is not listed
    c.tick(u"Current Data Set(company)");
    c.tick(u"Customers");
    c.tick(u"Orders");
    c.ok = true;
  };
  EXPECT_TRUE(run());
  EXPECT_EQ(log_, (Log{"hourglass", "timeout 15", "integrated srv", "find Company", "dataset company Current Data "
                       "Set(company)", "table Customers", "table Orders", "pointer", "show", "events", "hourglass",
                       "create", "add-integrated Customers", "add-integrated Orders", "pointer", "unload",
                       "disconnect"}));
}

TEST_F(NewReportTest, SqlLoginOnlyWhenWindowsLogOnFailsAndEachTableTriesBoth) {
  server_.integratedFails = true;
  window_.database->refusedWithIntegrated = {u"Customers", u"Orders"};
  window_.database->refusedWithLogin = {u"Customers"};
  user = [](FakeChooser& c) {
    c.tick(u"Customers");
    c.tick(u"Orders");
    c.ok = true;
  };
  EXPECT_TRUE(run());
  EXPECT_EQ(Log(log_.begin() + 2, log_.begin() + 5), (Log{"integrated srv", "login srv sa pw;1", "find Company"}));
  // Customers fails both ways and is left out; Orders comes in by the login.
  EXPECT_EQ(afterShow(), (Log{"events", "hourglass", "create", "add-integrated Customers", "add-login Customers",
                              "add-integrated Orders", "add-login Orders", "pointer", "unload", "disconnect"}));
}

TEST_F(NewReportTest, OnlyTickedNodesWithoutChildrenBecomeTables) {
  // A database of system tables only: the data-set node alone counts as a
  // table, by its caption.
  server_.database->tables = {{u"sysusers", true}};
  user = [](FakeChooser& c) {
    c.tick(u"Current Data Set(company)");
    c.ok = true;
  };
  EXPECT_TRUE(run());
  EXPECT_EQ(std::count(log_.begin(), log_.end(), "add-integrated Current Data Set(company)"), 1);

  // With tables under it, a ticked data-set node is never added.
  log_.clear();
  server_.database->tables = {{u"A", false}, {u"B", false}};
  user = [](FakeChooser& c) {
    c.tick(u"Current Data Set(company)");
    c.tick(u"B");
    c.ok = true;
  };
  EXPECT_TRUE(run());
  EXPECT_EQ(afterShow(), (Log{"events", "hourglass", "create", "add-integrated B", "pointer", "unload", "disconnect"}));
}

TEST_F(NewReportTest, CancelOrNoDatabaseGivesFalseAndStillDisconnects) {
  user = [](FakeChooser& c) { c.ok = false; };
  EXPECT_FALSE(run());
  EXPECT_EQ(afterShow(), (Log{"events", "unload", "disconnect"}));

  // Neither log-on works and the database cannot be asked: an empty tree.
  for (bool findFails : {false, true}) {
    log_.clear();
    server_.integratedFails = server_.loginFails = true;
    server_.findFails = findFails;
    if (!findFails) server_.database.reset();
    user = [](FakeChooser& c) { EXPECT_TRUE(c.tree.empty()); };
    EXPECT_FALSE(run());
    EXPECT_EQ(std::count_if(log_.begin(), log_.end(), [](auto& l) { return l.starts_with("dataset"); }), 0);
    EXPECT_EQ(log_.back(), "disconnect");
  }
}

TEST_F(NewReportTest, ChooserThatCannotBeLoadedShownOrAskedGivesFalse) {
  user = [](FakeChooser& c) { c.ok = true; };
  loadFails = true;
  EXPECT_FALSE(run());
  EXPECT_EQ(Log(log_.end() - 2, log_.end()), (Log{"pointer", "disconnect"}));
  loadFails = false;
  for (bool show : {true, false}) {
    log_.clear();
    showFails = show;
    okFails = !show;
    EXPECT_FALSE(run());
    EXPECT_EQ(std::count(log_.begin(), log_.end(), "create"), 0);
    EXPECT_EQ(Log(log_.end() - 2, log_.end()), (Log{"unload", "disconnect"}));
  }
}

}  // namespace
}  // namespace mervane
