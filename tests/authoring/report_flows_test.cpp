// The new and edit flows with a scripted designer window: what the window
// is told and in which order, and what the edit flow does with the title
// the user leaves.
#include "authoring/report_flows.h"

#include <gtest/gtest.h>

#include "authoring/designer_window.h"
#include "catalogue/catalogue_scan.h"
#include "../support/fake_services.h"

namespace mervane {
namespace {

struct Script {
  std::vector<std::string> calls;
  bool newReportAnswer = true;
  bool opens = true;      // openReport finds the file
  Text userTitle;         // what the user leaves in the designer; empty: unchanged
  bool throwOnShow = false;
};

class ScriptedWindow : public DesignerWindow {
 public:
  explicit ScriptedWindow(Script& s) : s_(s) {}
  ~ScriptedWindow() override { s_.calls.push_back("unload"); }
  void setCaption(const Text& c) override { s_.calls.push_back("caption " + toUtf8(c)); }
  void setSessionData(const SessionData& d) override {
    s_.calls.push_back(toUtf8(u"data " + d.host.connectText() + u" | " + d.sqlLogOn.connectText() + u" | " +
                              d.sqlConnection.connectText()));
  }
  bool newReport() override {
    s_.calls.push_back("NewReport");
    return s_.newReportAnswer;
  }
  void openReport(const Text& f, const Text& r) override {
    s_.calls.push_back("OpenReport " + toUtf8(f) + " | " + toUtf8(r));
    if (s_.opens) title_ = r;
  }
  Text reportTitle() override { return s_.opens && !s_.userTitle.empty() ? s_.userTitle : title_; }
  bool hasReport() override { return s_.opens; }
  void showModal() override {
    s_.calls.push_back("show");
    if (s_.throwOnShow) throw std::runtime_error("show");
  }

 private:
  Script& s_;
  Text title_;
};

struct WindowServices : testing::FakeServices {
  Script script;
  bool noWindow = false;
  std::unique_ptr<DesignerWindow> loadDesignerWindow() override {
    if (noWindow) throw std::runtime_error("no window");
    script.calls.push_back("load");
    return std::make_unique<ScriptedWindow>(script);
  }
  void setBusyPointer(bool busy) override { script.calls.push_back(busy ? "hourglass" : "pointer"); }
};

SessionSettings session() {
  SessionSettings s;
  s.registryPath = u"Software\\Host";
  s.odbcServer = u"HalyardDSN";
  s.userName = u"ana";
  s.userPassword = u"pw";
  s.sqlServer = u"srv";
  s.sqlDatabase = u"company";
  s.sqlLogin = u"sa";
  s.sqlPassword = u"sqlpw";
  s.sqlConnString = u"cs";
  return s;
}

// All eight connection settings reach the window.
const std::vector<std::string> kConfiguration = {
    "data ODBC;DATABASE=Halyard;UID=ana;PWD=pw;DSN=HalyardDSN | Provider=SQLOLEDB.1;Password=sqlpw;Persist Security "
    "Info=True;User ID=sa;Initial Catalog=company;Data Source=srv | cs"};

std::vector<std::string> with(std::vector<std::string> head, const std::vector<std::string>& middle,
                              const std::vector<std::string>& tail) {
  head.insert(head.end(), middle.begin(), middle.end());
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

TEST(NewVisualReport, ShowsTheWindowOnlyWhenTheReportWasBuilt) {
  WindowServices services;
  EXPECT_TRUE(newVisualReport(session(), services.designer()));
  EXPECT_EQ(services.script.calls, with({"load"}, kConfiguration, {"NewReport", "show", "unload"}));

  WindowServices cancelled;
  cancelled.script.newReportAnswer = false;
  EXPECT_FALSE(newVisualReport(session(), cancelled.designer()));
  EXPECT_EQ(cancelled.script.calls, with({"load"}, kConfiguration, {"NewReport", "unload"}));

  WindowServices broken;
  broken.noWindow = true;
  EXPECT_FALSE(newVisualReport(session(), broken.designer()));
  // A failing show still counts as shown: NewReport answered true.
  WindowServices failingShow;
  failingShow.script.throwOnShow = true;
  EXPECT_TRUE(newVisualReport(session(), failingShow.designer()));
  // Nothing is recorded anywhere.
  EXPECT_EQ(services.store.writes, 0);
}

class EditVisualReportTest : public ::testing::Test {
 protected:
  void store(const Text& key, const Text& value) { services_.store.write(u"", kReportsSection, key, value); }
  Text stored(const Text& key) { return services_.store.value(kReportsSection, key); }
  Text edit(Text repName, Text userTitle, bool opens = true) {
    services_.script.userTitle = std::move(userTitle);
    services_.script.opens = opens;
    services_.store.writes = 0;
    editVisualReport(session(), services_.designer(), repName, u"C:\\r\\sales.rpt");
    return repName;
  }
  WindowServices services_;
};

TEST_F(EditVisualReportTest, TellsTheWindowEverythingInOrder) {
  EXPECT_EQ(edit(u"Sales", u""), u"Sales");
  EXPECT_EQ(services_.script.calls,
            with({"hourglass", "load", "caption Edit Report - C:\\r\\sales.rpt"}, kConfiguration,
                 {"OpenReport C:\\r\\sales.rpt | Sales", "pointer", "show", "pointer", "unload"}));
}

TEST_F(EditVisualReportTest, AnUnchangedTitleChangesNothing) {
  store(u"a", u"  Sales ;Y;3");
  EXPECT_EQ(edit(u" Sales ", u""), u" Sales ");  // exactly as it came
  EXPECT_EQ(edit(u"Sales", u"   Sales  "), u"Sales");
  EXPECT_EQ(services_.store.writes, 0);
  EXPECT_EQ(stored(u"a"), u"  Sales ;Y;3");
}

TEST_F(EditVisualReportTest, ANewTitleRewritesEveryMatchingValue) {
  store(u"C:\\r\\sales.rpt", u"Sales;Y;3");
  store(u"C:\\r\\copy.rpt", u" Sales ;N;4;extra");
  store(u"C:\\r\\other.rpt", u"sales;N;5");  // letter case differs: not the old title
  store(u"C:\\r\\short.rpt", u"Sales;Y");     // one separator: left alone
  EXPECT_EQ(edit(u"Sales", u"  Revenue  "), u"Revenue");
  EXPECT_EQ(stored(u"C:\\r\\sales.rpt"), u"  Revenue  ;Y;3");
  EXPECT_EQ(stored(u"C:\\r\\copy.rpt"), u"  Revenue  ;N;4;extra");
  EXPECT_EQ(stored(u"C:\\r\\other.rpt"), u"sales;N;5");
  EXPECT_EQ(stored(u"C:\\r\\short.rpt"), u"Sales;Y");
  EXPECT_EQ(services_.store.writes, 2);

  // A change of letter case is a change.
  EXPECT_EQ(edit(u"Revenue", u"REVENUE"), u"REVENUE");
  EXPECT_EQ(stored(u"C:\\r\\sales.rpt"), u"REVENUE;Y;3");
}

TEST_F(EditVisualReportTest, NoStoredValuesStillHandsBackTheNewTitle) {
  EXPECT_EQ(edit(u"Sales", u"Revenue "), u"Revenue");
  EXPECT_EQ(services_.store.writes, 0);
}

TEST_F(EditVisualReportTest, AReportThatNeverOpenedWipesNothing) {
  store(u"C:\\r\\sales.rpt", u"Sales;Y;3");
  EXPECT_EQ(edit(u"Sales", u"", false), u"Sales");
  EXPECT_EQ(stored(u"C:\\r\\sales.rpt"), u"Sales;Y;3");
  EXPECT_EQ(services_.store.writes, 0);
}

TEST_F(EditVisualReportTest, AFailingStoreIsIgnored) {
  store(u"a", u"Sales;Y;3");
  services_.store.failing = true;
  EXPECT_EQ(edit(u"Sales", u"Revenue"), u"Revenue");
}

}  // namespace
}  // namespace mervane
