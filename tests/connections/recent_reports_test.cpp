#include "connections/recent_reports.h"

#include <gtest/gtest.h>

#include "../support/fake_services.h"

namespace mervane {
namespace {

class RecentReports : public ::testing::Test {
 protected:
  void seed(std::vector<Text> values) {
    auto& rows = services.store.sections[u"RecentReports"];
    rows.clear();
    for (size_t i = 0; i < values.size(); ++i) rows.push_back({decimal(static_cast<long long>(i + 1)), values[i]});
  }
  // The stored list by number, "-" for a missing number, up to the first gap.
  std::vector<Text> list(int upTo = 12) {
    std::vector<Text> out;
    for (int n = 1; n <= upTo; ++n) out.push_back(services.store.value(u"RecentReports", decimal(n)));
    while (!out.empty() && out.back() == u"<none>") out.pop_back();
    return out;
  }
  std::vector<Text> entries(int count, const char16_t* prefix = u"T") {
    std::vector<Text> v;
    for (int i = 1; i <= count; ++i) v.push_back(prefix + decimal(i) + u",C:\\R\\" + decimal(i) + u".rpt");
    return v;
  }
  SessionSettings session;
  testing::FakeServices services;
};

TEST_F(RecentReports, AddPutsTheReportFirstAndMovesTheRestDown) {
  EXPECT_EQ(addRecentReport(session, services.store, u"C:\\R\\a.rpt", u"A"), 1);
  EXPECT_EQ(list(), std::vector<Text>{u"A,C:\\R\\a.rpt"});
  EXPECT_EQ(addRecentReport(session, services.store, u"C:\\R\\a.rpt", u"Renamed"), 0);
  EXPECT_EQ(list(), std::vector<Text>{u"A,C:\\R\\a.rpt"});

  seed(entries(6));
  EXPECT_EQ(addRecentReport(session, services.store, u"C:\\R\\4.rpt", u"Four"), 1);
  EXPECT_EQ(list(), (std::vector<Text>{u"Four,C:\\R\\4.rpt", u"T1,C:\\R\\1.rpt", u"T2,C:\\R\\2.rpt",
                                      u"T3,C:\\R\\3.rpt", u"T5,C:\\R\\5.rpt", u"T6,C:\\R\\6.rpt"}));

  seed(entries(10));
  addRecentReport(session, services.store, u"C:\\R\\new.rpt", u"New");
  auto l = list();
  ASSERT_EQ(l.size(), 10u);
  EXPECT_EQ(l[0], u"New,C:\\R\\new.rpt");
  EXPECT_EQ(l[9], u"T9,C:\\R\\9.rpt");

  // Paths compare exactly: another case is another report.
  seed({u"A,C:\\R\\A.rpt"});
  addRecentReport(session, services.store, u"c:\\r\\a.rpt", u"a");
  EXPECT_EQ(list().size(), 2u);
}

TEST_F(RecentReports, BlankValuesAreNotCarriedAlong) {
  seed({u"T1,C:\\R\\1.rpt", u"   ", u"T3,C:\\R\\3.rpt"});
  addRecentReport(session, services.store, u"C:\\R\\3.rpt", u"Three");
  // Old 2 (blank) would move to 3 and is not written: number 3 is left empty.
  EXPECT_EQ(services.store.value(u"RecentReports", u"1"), u"Three,C:\\R\\3.rpt");
  EXPECT_EQ(services.store.value(u"RecentReports", u"2"), u"T1,C:\\R\\1.rpt");
  EXPECT_EQ(services.store.value(u"RecentReports", u"3"), u"<none>");
}

TEST_F(RecentReports, GetListsEntriesSkipsPlaceholdersAndMarksFavourites) {
  seed({u"A,C:\\R\\a.rpt", u" deleted ", u"B,D:\\Other\\b.rpt", u"nocomma", u"C,C:\\R\\A.RPT"});
  services.store.sections[u"Reports"] = {{u"C:\\Elsewhere\\b.rpt", u"B;Y;0"}};
  ReportCollection got;
  listRecentReports(session, services.store, &got);
  ASSERT_EQ(got.size(), 3u);  // the last entry repeats the first path without regard to case
  EXPECT_EQ(got.at(1)->reportTitle, u"A");
  EXPECT_EQ(got.at(1)->fileName, u"C:\\R\\a.rpt");
  EXPECT_EQ(got.at(1)->regKey, u"1");
  EXPECT_FALSE(got.at(1)->favourite);
  EXPECT_EQ(got.at(2)->regKey, u"3");
  EXPECT_TRUE(got.at(2)->favourite);  // matched by bare file name
  EXPECT_EQ(got.at(3)->fileName, u"nocomma");
  EXPECT_EQ(got.at(3)->regKey, u"4");
  listRecentReports(session, services.store, nullptr);
}

TEST_F(RecentReports, GetRepairsAListLongerThanTen) {
  seed(entries(12));
  ReportCollection got;
  listRecentReports(session, services.store, &got);
  EXPECT_EQ(got.size(), 12u);
  EXPECT_EQ(got.at(12)->regKey, u"12");
  auto l = list();
  ASSERT_EQ(l.size(), 10u);
  EXPECT_EQ(l[0], u"T12,C:\\R\\12.rpt");
  EXPECT_EQ(l[9], u"T3,C:\\R\\3.rpt");
}

TEST_F(RecentReports, RemoveClosesTheGap) {
  seed(entries(3));
  removeRecentReport(session, services.store, 1);
  EXPECT_EQ(list(), (std::vector<Text>{u"T2,C:\\R\\2.rpt", u"T3,C:\\R\\3.rpt"}));
  seed(entries(3));
  removeRecentReport(session, services.store, 11);
  removeRecentReport(session, services.store, 0);
  removeRecentReport(session, services.store, -5);
  EXPECT_EQ(list().size(), 3u);
  seed(entries(10));
  removeRecentReport(session, services.store, 10);
  EXPECT_EQ(list().size(), 9u);
}

}  // namespace
}  // namespace mervane
