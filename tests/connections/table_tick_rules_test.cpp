// The chooser's tick rules on a plain tree where the window cannot show them:
// a data set without tables, the busy flag against a tree that reports its
// own changes back, and the node collection's keys and order. (The window's
// test drives the rules themselves by mouse and keyboard.)
#include "connections/table_tick_rules.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace mervane::chooser {
namespace {

struct Flags : CheckMarks {
  std::vector<bool> ticks;
  int writes = 0;
  std::function<void(int)> onChange;  // a control that reports programmatic changes
  bool checked(int node) override { return ticks.at(static_cast<std::size_t>(node)); }
  void setChecked(int node, bool value) override {
    ++writes;
    ticks.at(static_cast<std::size_t>(node)) = value;
    if (onChange) onChange(node);
  }
};

class TickRulesTest : public ::testing::Test {
 protected:
  // "Current Data Set(co)" with tables A, B, C: indices 0, 1, 2, 3.
  void SetUp() override {
    nodes_.addRoot(u"co", u"Current Data Set(co)", kDataSetPicture);
    for (const char16_t* t : {u"A", u"B", u"C"}) nodes_.addChild(u"co", t, kTablePicture);
    marks_.ticks.assign(nodes_.size(), false);
  }
  // The user clicks a node's check box: it flips, then the handler runs.
  void click(int node) {
    marks_.ticks[static_cast<std::size_t>(node)] = !marks_.ticks[static_cast<std::size_t>(node)];
    rules_.nodeChecked(nodes_, marks_, node);
  }
  std::vector<bool> ticks() const { return marks_.ticks; }

  NodeCollection nodes_;
  Flags marks_;
  TickRules rules_;
};

TEST_F(TickRulesTest, DataSetWithoutTablesChangesNothingElseAndCountsForOk) {
  NodeCollection nodes;
  nodes.addRoot(u"empty", u"Current Data Set(empty)", kDataSetPicture);
  nodes.addRoot(u"other", u"Current Data Set(other)", kDataSetPicture);
  nodes.addChild(u"other", u"T", kTablePicture);
  Flags marks;
  marks.ticks = {true, false, false};
  EXPECT_FALSE(nodes.hasChildren(0));
  rules_.nodeChecked(nodes, marks, 0);
  EXPECT_EQ(marks.ticks, (std::vector<bool>{true, false, false}));
  EXPECT_EQ(marks.writes, 0);
  EXPECT_FALSE(rules_.busy());
  EXPECT_TRUE(anyChecked(nodes, marks));
  marks.ticks[0] = false;
  EXPECT_FALSE(anyChecked(nodes, marks));
}

TEST_F(TickRulesTest, BusyFlagKeepsTheDataSetUpdateFromSpreadingToItsTables) {
  // A tree control that raises its check event for changes made by code:
  // without the busy flag, ticking the data set for B would tick A and C.
  marks_.onChange = [this](int node) { rules_.nodeChecked(nodes_, marks_, node); };
  click(2);
  EXPECT_EQ(ticks(), (std::vector<bool>{true, false, true, false}));
  EXPECT_FALSE(rules_.busy());
  // A failing read still clears the flag.
  marks_.onChange = nullptr;
  struct Failing : Flags {
    bool checked(int) override { throw std::runtime_error("gone"); }
  } failing;
  failing.ticks = ticks();
  EXPECT_THROW(rules_.nodeChecked(nodes_, failing, 1), std::runtime_error);
  EXPECT_FALSE(rules_.busy());
}

TEST(NodeCollectionTest, KeysParentsAndTreeOrder) {
  NodeCollection nodes;
  EXPECT_EQ(nodes.addRoot(u"a", u"A", kDataSetPicture), 0);
  EXPECT_EQ(nodes.addRoot(u"b", u"B", kDataSetPicture), 1);
  EXPECT_EQ(nodes.addChild(u"a", u"a1", kTablePicture), 2);
  EXPECT_EQ(nodes.addChild(u"b", u"b1", kTablePicture), 3);
  EXPECT_EQ(nodes.addChild(u"a", u"a2", kTablePicture), 4);
  EXPECT_THROW(nodes.addRoot(u"a", u"again", kDataSetPicture), std::invalid_argument);
  EXPECT_THROW(nodes.addChild(u"A", u"wrong case", kTablePicture), std::invalid_argument);
  EXPECT_THROW(nodes.addChild(u"", u"no key", kTablePicture), std::invalid_argument);
  // Nodes without a key do not collide.
  EXPECT_NO_THROW(nodes.addRoot(u"", u"x", kDataSetPicture));
  EXPECT_NO_THROW(nodes.addRoot(u"", u"y", kDataSetPicture));

  EXPECT_EQ(nodes.find(u"b"), 1);
  EXPECT_EQ(nodes.find(u"B"), kNoNode);
  EXPECT_EQ(nodes.treeOrder(), (std::vector<int>{0, 2, 4, 1, 3, 5, 6}));
  EXPECT_EQ(nodes.firstChild(0), 2);
  EXPECT_EQ(nodes.lastSibling(2), 4);
  EXPECT_EQ(nodes.nextSibling(2), 4);
  EXPECT_EQ(nodes.nextSibling(4), kNoNode);
  EXPECT_EQ(nodes.parent(4), 0);
  EXPECT_EQ(nodes.firstChild(4), kNoNode);
  EXPECT_EQ(nodes.lastSibling(1), 6);
}

}  // namespace
}  // namespace mervane::chooser
