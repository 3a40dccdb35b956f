#include "catalogue/catalogue_scan.h"

#include <gtest/gtest.h>

#include "../support/fake_services.h"

namespace mervane {
namespace {

using testing::FakeServices;

class CatalogueScan : public ::testing::Test {
 protected:
  void SetUp() override {
    session.registryPath = u"Host";
    session.path = u"C:\\Data\\Reports\\";
  }
  void folder(std::vector<Text> names) { services.files.folders[u"C:\\Data\\Reports"] = std::move(names); }
  Text stored(const Text& name) { return services.store.value(u"Reports", u"C:\\Data\\Reports\\" + name); }
  void store(const Text& name, const Text& value) {
    services.store.sections[u"Reports"].push_back({u"C:\\Data\\Reports\\" + name, value});
  }

  SessionSettings session;
  FakeServices services;
  ReportCollection reports;
};

TEST_F(CatalogueScan, ListsTheThreeFamiliesInListingOrderAndStoresCrystalOnFirstSight) {
  folder({u"a.rpt", u"b.txt", u"c.report", u"d.SRT"});
  services.engineTemplate.files[u"C:\\Data\\Reports\\a.rpt"] = {u"Alpha", u"Dept=4;AppData=17;Owner=x"};
  services.readerTemplate.files[u"C:\\Data\\Reports\\c.report"] = {u"Gamma", u" 5 "};
  services.legacyTemplate.reports[u"Reports\\d.SRT"] = {u"Delta", 9};

  scanCatalogue(session, services.scan(), &reports);

  ASSERT_EQ(reports.size(), 3u);
  auto a = reports.at(1), c = reports.at(2), d = reports.at(3);
  EXPECT_EQ(a->reportTitle, u"Alpha");
  EXPECT_EQ(a->fileName, u"a.rpt");
  EXPECT_EQ(a->regKey, u"C:\\Data\\Reports\\a.rpt");
  EXPECT_EQ(a->reportType, u"Crystal");
  EXPECT_EQ(a->applicationData, 17);
  EXPECT_FALSE(a->favourite);
  EXPECT_EQ(c->reportTitle, u"Gamma");
  EXPECT_EQ(c->reportType, u"Vardo");
  EXPECT_EQ(c->applicationData, 5);
  EXPECT_EQ(d->reportTitle, u"Delta");
  EXPECT_EQ(d->applicationData, 9);
  EXPECT_EQ(reports.find(u"D.srt"), d);

  EXPECT_EQ(stored(u"a.rpt"), u"Alpha;N;17");
  EXPECT_EQ(stored(u"c.report"), u"<none>");  // the newer family is never stored
  EXPECT_EQ(services.opened, std::vector<Text>{u"C:\\Data\\Reports\\a.rpt"});
  EXPECT_EQ(services.legacyNames, std::vector<Text>{u"Reports\\d.SRT"});

  // Progress: every file counts, the label ends one past the count.
  EXPECT_TRUE(services.window.shown);
  EXPECT_TRUE(services.window.closed);
  EXPECT_EQ(services.window.maximum, 4);
  EXPECT_EQ(services.window.value, 4);
  EXPECT_EQ(services.window.label, u"Report 5 of 4");
  EXPECT_EQ(services.messagePumps, 5);

  // A second scan takes the stored value and does not open the file again.
  ReportCollection again;
  scanCatalogue(session, services.scan(), &again);
  EXPECT_EQ(services.opened.size(), 1u);
  EXPECT_EQ(again.at(1)->reportTitle, u"Alpha");
  EXPECT_EQ(again.at(1)->applicationData, 17);
}

TEST_F(CatalogueScan, StoredValuesAreTakenApartFromTheirEnd) {
  folder({u"fav.rpt", u"semi.rpt", u"bad.rpt", u"short.rpt", u"lower.rpt", u"newer.layout"});
  store(u"fav.rpt", u"Sales;Y;3");
  store(u"semi.rpt", u"Profit;loss;N;4");
  store(u"bad.rpt", u"Costs;N;12x");
  store(u"short.rpt", u"x;5");
  store(u"lower.rpt", u"Wages;y;1");
  store(u"newer.layout", u"Stored;Y;0");
  services.readerTemplate.files[u"C:\\Data\\Reports\\newer.layout"] = {u"Label", u"not a number"};

  scanCatalogue(session, services.scan(), &reports);

  auto item = [&](const char16_t* name) { return reports.find(name); };
  EXPECT_EQ(item(u"fav.rpt")->reportTitle, u"Sales");
  EXPECT_EQ(item(u"fav.rpt")->applicationData, 3);
  EXPECT_TRUE(item(u"fav.rpt")->favourite);
  EXPECT_EQ(item(u"semi.rpt")->reportTitle, u"Profit;loss");
  EXPECT_EQ(item(u"semi.rpt")->applicationData, 4);
  EXPECT_EQ(item(u"bad.rpt")->reportTitle, u"Costs");
  EXPECT_EQ(item(u"bad.rpt")->applicationData, 0);
  EXPECT_EQ(item(u"short.rpt")->reportTitle, u"");
  EXPECT_EQ(item(u"short.rpt")->applicationData, 5);
  EXPECT_FALSE(item(u"lower.rpt")->favourite);
  // The newer family takes its favourite mark from a stored value too.
  EXPECT_TRUE(item(u"newer.layout")->favourite);
  EXPECT_EQ(item(u"newer.layout")->applicationData, 0);
  EXPECT_TRUE(services.opened.empty());
}

TEST_F(CatalogueScan, ApplicationDataMarkerAndNamePrefixRules) {
  EXPECT_EQ(applicationDataFromText(u"Dept=4;AppData=17;Owner=x"), 17);
  EXPECT_EQ(applicationDataFromText(u"AppData=17"), 0);
  EXPECT_EQ(applicationDataFromText(u"appdata=17;"), 0);
  EXPECT_EQ(applicationDataFromText(u"AppData=99999999999;"), 0);
  EXPECT_EQ(applicationDataFromText(u"AppData=&H10;AppData=3;"), 16);

  session.module = u" letters ";
  EXPECT_EQ(legacyNamePrefix(session), u"");
  session.module = u"";
  EXPECT_EQ(legacyNamePrefix(session), u"Reports\\");
  session.path = u"Reports";
  EXPECT_EQ(legacyNamePrefix(session), u"Reports\\");
}

TEST_F(CatalogueScan, FailuresLeaveValuesAtTheirStartAndStillListTheReport) {
  folder({u"broken.rpt", u"old.slt", u"new.label", u"ok.rpt"});
  store(u"ok.rpt", u"Kept;N;1");
  services.noEngine = true;
  services.noReader = true;  // the legacy service has no such report either

  scanCatalogue(session, services.scan(), &reports);
  ASSERT_EQ(reports.size(), 4u);
  EXPECT_EQ(reports.at(1)->reportTitle, u"");
  EXPECT_EQ(stored(u"broken.rpt"), u";N;0");
  EXPECT_EQ(reports.at(2)->reportTitle, u"");
  EXPECT_EQ(reports.at(3)->reportTitle, u"");
  EXPECT_EQ(reports.at(3)->reportType, u"Vardo");
  EXPECT_EQ(reports.at(4)->reportTitle, u"Kept");

  // An item already in the collection under a file's name stays.
  ReportCollection existing;
  existing.add(u"Mine", u"ok.rpt", u"OK.RPT");
  scanCatalogue(session, services.scan(), &existing);
  EXPECT_EQ(existing.find(u"ok.rpt")->reportTitle, u"Mine");
  EXPECT_EQ(existing.size(), 4u);
}

TEST_F(CatalogueScan, NoCollectionAndMissingFolder) {
  folder({u"new.rpt"});
  services.engineTemplate.files[u"C:\\Data\\Reports\\new.rpt"] = {u"New", u""};
  scanCatalogue(session, services.scan(), nullptr);
  EXPECT_EQ(stored(u"new.rpt"), u"New;N;0");

  session.path = u"C:\\Nowhere\\";
  services.window = {};
  scanCatalogue(session, services.scan(), &reports);
  EXPECT_EQ(reports.size(), 0u);
  EXPECT_TRUE(services.window.shown);
  EXPECT_TRUE(services.window.closed);
  EXPECT_EQ(services.window.label, u"Report 1 of 1");  // the count was never known
}

TEST(Favourites, ListsValuesFlaggedYInStoreOrder) {
  FakeServices services;
  SessionSettings session;
  auto& rows = services.store.sections[u"Reports"];
  rows = {{u"C:\\R\\a.rpt", u"Sales;Y;0"},   {u"C:\\R\\b.rpt", u"Costs;N;0"},
          {u"C:\\R\\c.rpt", u"Wages;y;0"},   {u"C:\\R\\d.rpt", u"Profit;Loss;Y;0"},
          {u"C:\\R\\e.rpt", u"no separator"}, {u"C:\\S\\a.rpt", u"Other;Y;1"},
          {u"f.rpt", u"Bare;Y;2"},            {u"C:\\R\\g.rpt", u"   "}};
  ReportCollection full;
  listFavourites(session, services.store, &full, false);
  ASSERT_EQ(full.size(), 3u);
  EXPECT_EQ(full.at(1)->reportTitle, u"Sales");
  EXPECT_EQ(full.at(1)->fileName, u"C:\\R\\a.rpt");
  EXPECT_TRUE(full.at(1)->favourite);
  EXPECT_EQ(full.at(1)->regKey, u"");
  EXPECT_EQ(full.at(1)->reportType, u"");

  ReportCollection stripped;
  listFavourites(session, services.store, &stripped, true);
  ASSERT_EQ(stripped.size(), 2u);  // the second a.rpt shares the first one's key
  EXPECT_EQ(stripped.at(1)->fileName, u"a.rpt");
  EXPECT_EQ(stripped.find(u"A.RPT")->reportTitle, u"Sales");
  EXPECT_EQ(stripped.at(2)->fileName, u"f.rpt");

  services.store.sections.clear();
  ReportCollection none;
  listFavourites(session, services.store, &none, false);
  services.store.failing = true;
  listFavourites(session, services.store, &none, false);
  listFavourites(session, services.store, nullptr, false);
  EXPECT_EQ(none.size(), 0u);
}

}  // namespace
}  // namespace mervane
