#include "catalogue/keyed_collection.h"
#include "catalogue/report_list.h"

#include <gtest/gtest.h>

namespace mervane {
namespace {

TEST(KeyedCollection, KeepsInsertionOrderAndFindsKeysWithoutCase) {
  KeyedCollection<int> c;
  EXPECT_TRUE(c.add(1, u"A.RPT"));
  EXPECT_TRUE(c.add(2, u""));
  EXPECT_TRUE(c.add(3, u"b.rpt"));
  EXPECT_FALSE(c.add(4, u"a.rpt"));
  EXPECT_EQ(c.size(), 3u);
  EXPECT_EQ(*c.at(1), 1);
  EXPECT_EQ(*c.at(2), 2);
  EXPECT_EQ(*c.find(u"a.rpt"), 1);
  EXPECT_EQ(*c.find(u"B.RPT"), 3);
  EXPECT_EQ(c.at(0), nullptr);
  EXPECT_EQ(c.at(4), nullptr);
  EXPECT_EQ(c.at(-1), nullptr);
  EXPECT_EQ(c.find(u"c.rpt"), nullptr);
  EXPECT_EQ(c.find(u""), nullptr);
}

TEST(KeyedCollection, RemovalByPositionAndKeyKeepsTheRestConsistent) {
  KeyedCollection<int> c;
  c.add(1, u"one");
  c.add(2, u"two");
  c.add(3, u"three");
  EXPECT_TRUE(c.removeAt(1));
  EXPECT_EQ(c.find(u"one"), nullptr);
  EXPECT_EQ(*c.at(1), 2);
  EXPECT_FALSE(c.remove(u"missing"));
  EXPECT_TRUE(c.remove(u"TWO"));
  EXPECT_EQ(c.size(), 1u);
  EXPECT_EQ(*c.find(u"three"), 3);
  EXPECT_FALSE(c.removeAt(2));
  // A freed key can be used again.
  EXPECT_TRUE(c.add(4, u"one"));
  EXPECT_EQ(c.values(), (std::vector<int>{3, 4}));
}

TEST(ReportCollection, DuplicateKeyStillReturnsANewItem) {
  ReportCollection reports;
  reports.add(u"First", u"a.rpt", u"a.rpt");
  auto second = reports.add(u"Second", u"a.rpt", u"A.RPT");
  second->setFavourite(true);
  EXPECT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports.find(u"a.rpt")->reportTitle, u"First");
  EXPECT_FALSE(reports.find(u"a.rpt")->favourite);
  auto fresh = reports.at(1);
  EXPECT_EQ(fresh->regKey, u"");
  EXPECT_EQ(fresh->applicationData, 0);
}

}  // namespace
}  // namespace mervane
