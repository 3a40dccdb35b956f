// The settings store failing at one call, for every call an operation makes
// in turn (the host's store on a network profile that goes away for a
// moment). Whichever call fails, nothing is raised, the operation does the
// rest of its work, and what is stored afterwards still reads as a whole:
// the next scan with a healthy store lists every report with its title.
#include <gtest/gtest.h>

#include <set>

#include "../support/fake_services.h"
#include "authoring/report_flows.h"
#include "catalogue/catalogue_scan.h"
#include "connections/recent_reports.h"
#include "maintenance/delete_report.h"

namespace mervane {
namespace {

using testing::FakeServices;

const Text kFolder = u"C:\\Data\\Reports";

struct Catalogue : FakeServices {
  Catalogue() {
    files.folders[kFolder] = {u"a.rpt", u"b.rpt", u"c.SRT", u"d.report", u"e.rpt"};
    engineTemplate.files[kFolder + u"\\a.rpt"] = {u"Alpha", u"AppData=17;"};
    engineTemplate.files[kFolder + u"\\b.rpt"] = {u"Bravo", u"AppData=2;"};
    engineTemplate.files[kFolder + u"\\e.rpt"] = {u"Echo", u""};
    legacyTemplate.reports[u"Reports\\c.SRT"] = {u"Charlie", 9};
    readerTemplate.files[kFolder + u"\\d.report"] = {u"Delta", u"5"};
    store.sections[u"Reports"] = {{kFolder + u"\\b.rpt", u"Bravo;Y;2"}, {kFolder + u"\\e.rpt", u"Echo;N;0"}};
  }
};

SessionSettings session() {
  SessionSettings s;
  s.registryPath = u"Host";
  s.path = kFolder + u"\\";
  return s;
}

// Title and application data of each report listed, in order.
std::vector<std::pair<Text, std::int32_t>> listed(FakeServices& services) {
  ReportCollection reports;
  scanCatalogue(session(), services.scan(), &reports);
  std::vector<std::pair<Text, std::int32_t>> out;
  for (std::size_t i = 1; i <= reports.size(); ++i) out.push_back({reports.at(i)->reportTitle, reports.at(i)->applicationData});
  return out;
}

// Runs `operation` once with a healthy store to count its calls, then once
// per call with that call failing; `check` looks at what each run left.
template <class Operation, class Check>
void failEachCall(Operation operation, Check check) {
  int calls = 0;
  {
    Catalogue clean;
    operation(clean);
    calls = clean.store.calls;
  }
  ASSERT_GT(calls, 0);
  for (int k = 1; k <= calls; ++k) {
    SCOPED_TRACE("store call " + std::to_string(k) + " of " + std::to_string(calls) + " fails");
    Catalogue services;
    services.store.failAt = k;
    EXPECT_NO_THROW(operation(services));
    services.store.failAt = 0;
    check(services);
  }
}

TEST(SettingsStoreFaults, TheScanListsEveryReportWhicheverCallFails) {
  Catalogue healthy;
  const auto expected = listed(healthy);
  ASSERT_EQ(expected.size(), 5u);
  failEachCall([](Catalogue& s) { EXPECT_EQ(listed(s).size(), 5u); },
               [&](Catalogue& s) { EXPECT_EQ(listed(s), expected); });
}

TEST(SettingsStoreFaults, DeleteAndRetitleLeaveWholeValues) {
  failEachCall(
      [](Catalogue& s) {
        s.files.folders[kFolder + u"\\Deleted Reports"];
        deleteReport(session(), s.store, s.fileSystem(), kFolder + u"\\", u"b.rpt");
      },
      [](Catalogue& s) {
        // The entry is gone or still whole; the others are untouched.
        const Text b = s.store.value(u"Reports", kFolder + u"\\b.rpt");
        EXPECT_TRUE(b == u"<none>" || b == u"Bravo;Y;2") << toUtf8(b);
        EXPECT_EQ(s.store.value(u"Reports", kFolder + u"\\e.rpt"), u"Echo;N;0");
      });
  failEachCall([](Catalogue& s) { retitleStoredReports(session(), s.store, u"Echo", u"Echo 2"); },
               [](Catalogue& s) {
                 const Text e = s.store.value(u"Reports", kFolder + u"\\e.rpt");
                 EXPECT_TRUE(e == u"Echo;N;0" || e == u"Echo 2;N;0") << toUtf8(e);
                 EXPECT_EQ(s.store.value(u"Reports", kFolder + u"\\b.rpt"), u"Bravo;Y;2");
               });
}

// The recent list's entries, as the host lists them.
std::vector<Text> recent(FakeServices& services) {
  ReportCollection reports;
  listRecentReports(session(), services.store, &reports);
  std::vector<Text> out;
  for (std::size_t i = 1; i <= reports.size(); ++i) out.push_back(reports.at(i)->fileName);
  return out;
}

TEST(SettingsStoreFaults, TheRecentListStaysAListWhicheverCallFails) {
  auto seed = [](Catalogue& s) {
    for (int n = 1; n <= 4; ++n)
      s.store.sections[u"RecentReports"].push_back({decimal(n), u"T" + decimal(n) + u",C:\\r" + decimal(n) + u".rpt"});
  };
  auto wellFormed = [](Catalogue& s) {
    const auto entries = recent(s);
    EXPECT_LE(entries.size(), 10u);
    EXPECT_EQ(std::set<Text>(entries.begin(), entries.end()).size(), entries.size()) << "an entry twice";
  };
  failEachCall(
      [&](Catalogue& s) {
        seed(s);
        addRecentReport(session(), s.store, u"C:\\new.rpt", u"New");
      },
      [&](Catalogue& s) {
        wellFormed(s);
        const auto entries = recent(s);
        // The new report is first, or not there at all.
        for (std::size_t i = 1; i < entries.size(); ++i) EXPECT_NE(entries[i], u"C:\\new.rpt");
      });
  failEachCall(
      [&](Catalogue& s) {
        seed(s);
        removeRecentReport(session(), s.store, 2);
        recent(s);
      },
      wellFormed);
}

}  // namespace
}  // namespace mervane
