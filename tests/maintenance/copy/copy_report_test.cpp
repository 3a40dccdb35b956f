// CopyReport's flow against a scripted dialog, engine, store and files: the
// order in which the dialog is driven, the Crystal copy and its stored value
// (also when the engine fails), byte copies of the other kinds, cancel.
#include "maintenance/copy/copy_report.h"

#include <gtest/gtest.h>

#include "fake_details_dialog.h"

namespace mervane {
namespace {

using testing::confirms;
using testing::DialogServices;
using Calls = std::vector<std::string>;

const Text kFolder = u"C:\\Reports\\";

struct CopyReportTest : ::testing::Test {
  DialogServices services;
  SessionSettings session;
  Text newFileName = u"as passed";

  void SetUp() override {
    session.appName = u"Books";
    session.registryPath = u"Books\\Settings";
    services.reports[kFolder + u"Sales.rpt"] = {u"Sales", u"Author=x;AppData=12;"};
    services.copying.present = {kFolder + u"SALES.SRT"};
  }
  bool copy(std::int32_t kind, const Text& oldFile = u"Sales.rpt", const Text& title = u"Sales") {
    return copyReport(session, services.copy(), {title, oldFile, kFolder, kind}, newFileName);
  }
  Text entry(const Text& fileName) { return services.store.value(u"Reports", kFolder + fileName); }
};

TEST_F(CopyReportTest, CrystalCopyIsSavedUnderTheNewNameAndGetsItsOwnValue) {
  services.store.write(session.registryPath, u"Reports", kFolder + u"Sales.rpt", u"Sales;Y;12");
  services.dialog.user = confirms(u"sales2.rpt", u"Sales; by month");
  EXPECT_TRUE(copy(1));

  EXPECT_EQ(services.dialog.calls, (Calls{"load", "AppName", "RepPath", "RepType", "setTitle", "show",
                                          "processMessages", "OkSelected", "fileName", "title", "unload",
                                          "release engine"}));
  EXPECT_EQ(services.dialog.appName, u"Books");
  EXPECT_EQ(services.dialog.repPath, kFolder);
  EXPECT_EQ(services.dialog.repType, 1);
  EXPECT_FALSE(services.dialog.titleDisabled);
  EXPECT_EQ(newFileName, u"sales2.rpt");

  EXPECT_EQ(services.opened, std::vector<Text>{kFolder + u"Sales.rpt"});
  ASSERT_EQ(services.saves.size(), 1u);
  EXPECT_EQ(services.saves[0].path, kFolder + u"sales2.rpt");
  EXPECT_EQ(services.saves[0].title, u"Sales; by month");
  EXPECT_EQ(services.saves[0].format, 1792);
  // Never a favourite; the title goes in as typed, ";" and all.
  EXPECT_EQ(entry(u"sales2.rpt"), u"Sales; by month;N;12");
  EXPECT_EQ(entry(u"Sales.rpt"), u"Sales;Y;12");
  EXPECT_TRUE(services.copying.copies.empty());
}

TEST_F(CopyReportTest, ApplicationDataIsZeroWithoutAWellFormedMarker) {
  const Text texts[] = {u"", u"AppData=12", u"appdata=12;", u"AppData=twelve;", u"AppData=;"};
  for (const Text& text : texts) {
    services.reports[kFolder + u"Sales.rpt"].second = text;
    services.dialog.user = confirms(u"copy.rpt");
    copy(1);
    EXPECT_EQ(entry(u"copy.rpt"), u"Sales;N;0") << toUtf8(text);
  }
  services.reports[kFolder + u"Sales.rpt"].second = u"AppData=-7;AppData=9;";
  copy(1);
  EXPECT_EQ(entry(u"copy.rpt"), u"Sales;N;-7");
}

TEST_F(CopyReportTest, TheValueIsWrittenEvenWhenTheEngineFails) {
  // A source the engine cannot open: nothing saved, the value still written.
  services.dialog.user = confirms(u"a.rpt", u"Copy A");
  copy(1, u"Missing.rpt");
  EXPECT_TRUE(services.saves.empty());
  EXPECT_EQ(entry(u"a.rpt"), u"Copy A;N;0");

  // A failed save: the number is still read from the source.
  services.failSave = true;
  services.dialog.user = confirms(u"b.rpt", u"Copy B");
  copy(1);
  EXPECT_TRUE(services.saves.empty());
  EXPECT_EQ(entry(u"b.rpt"), u"Copy B;N;12");

  // No engine at all.
  services.noEngine = true;
  services.dialog.user = confirms(u"c.rpt", u"Copy C");
  EXPECT_TRUE(copy(1));
  EXPECT_EQ(entry(u"c.rpt"), u"Copy C;N;0");
  EXPECT_EQ(newFileName, u"c.rpt");

  // A store that refuses the write: the call still ends normally.
  services.store.failing = true;
  services.dialog.user = confirms(u"d.rpt");
  EXPECT_TRUE(copy(1));
  EXPECT_EQ(newFileName, u"d.rpt");
}

TEST_F(CopyReportTest, CancelLeavesEverythingAsItWas) {
  services.dialog.user = [](testing::DialogScript& s) { s.fileName = u"typed but cancelled"; };
  for (std::int32_t kind : {1, 2}) {
    EXPECT_FALSE(copy(kind, kind == 1 ? u"Sales.rpt" : u"SALES.SRT"));
    EXPECT_EQ(newFileName, u"as passed");
    EXPECT_TRUE(services.dialog.unloaded);
  }
  EXPECT_EQ(services.enginesMade, 2);  // made on every call, whatever happens
  EXPECT_TRUE(services.opened.empty());
  EXPECT_TRUE(services.copying.copies.empty());
  EXPECT_EQ(services.store.writes, 0);
}

TEST_F(CopyReportTest, OtherKindsAreCopiedByteForByteWithoutAnEntry) {
  services.dialog.user = confirms(u"SALES2.SRT", u"ignored title");
  EXPECT_TRUE(copy(2, u"SALES.SRT", u"Sales listing"));
  EXPECT_TRUE(services.dialog.titleDisabled);
  EXPECT_EQ(services.dialog.title, u"ignored title");
  ASSERT_EQ(services.copying.copies.size(), 1u);
  EXPECT_EQ(services.copying.copies[0], std::make_pair(kFolder + u"SALES.SRT", kFolder + u"SALES2.SRT"));

  // Kind 0: the title stays editable and is ignored; a copy is refused when
  // the destination exists, and the name still goes back to the host.
  services.dialog = {};
  services.dialog.user = confirms(u"SALES2.SRT");
  EXPECT_TRUE(copy(0, u"SALES.SRT"));
  EXPECT_FALSE(services.dialog.titleDisabled);
  EXPECT_EQ(services.copying.copies.size(), 1u);
  EXPECT_EQ(newFileName, u"SALES2.SRT");

  EXPECT_EQ(services.store.writes, 0);
  EXPECT_TRUE(services.opened.empty());
}

TEST_F(CopyReportTest, WithoutADialogNothingIsCopied) {
  services.noDialog = true;
  EXPECT_FALSE(copy(1));
  EXPECT_EQ(newFileName, u"as passed");
  EXPECT_EQ(services.store.writes, 0);
  EXPECT_TRUE(services.opened.empty());
}

}  // namespace
}  // namespace mervane
