#include "maintenance/delete_report.h"

#include <gtest/gtest.h>

#include "../support/fake_services.h"

namespace mervane {
namespace {

// Records moves so the rules of the paths can be checked.
struct MovingFiles : testing::FakeFileSystem {
  std::vector<std::pair<Text, Text>> moves;
  std::vector<Text> created;
  bool refuseMove = false;
  void createFolder(const Text& p) override {
    created.push_back(p);
    folders[p];
  }
  void moveFile(const Text& from, const Text& to) override {
    if (refuseMove) throw std::runtime_error("exists");
    moves.push_back({from, to});
  }
};

struct DeletingServices : testing::FakeServices {
  MovingFiles moving;
  FileSystem& fileSystem() override { return moving; }
};

TEST(DeleteReport, MovesIntoDeletedReportsAndRemovesTheStoredValue) {
  for (const Text& folder : {Text(u"C:\\Reports\\"), Text(u"C:\\Reports")}) {
    DeletingServices services;
    SessionSettings session;
    services.moving.folders[u"C:\\Reports"];
    services.store.sections[u"Reports"] = {{u"C:\\Reports\\Sales.rpt", u"Sales;Y;0"}, {u"C:\\Other.rpt", u"O;N;0"}};
    deleteReport(session, services.store, services.fileSystem(), folder, u"Sales.rpt");
    EXPECT_EQ(services.moving.created, std::vector<Text>{u"C:\\Reports\\Deleted Reports"});
    ASSERT_EQ(services.moving.moves.size(), 1u);
    EXPECT_EQ(services.moving.moves[0].first, u"C:\\Reports\\Sales.rpt");
    EXPECT_EQ(services.moving.moves[0].second, u"C:\\Reports\\Deleted Reports\\Sales.rpt");
    EXPECT_EQ(services.store.value(u"Reports", u"C:\\Reports\\Sales.rpt"), u"<none>");
    EXPECT_EQ(services.store.value(u"Reports", u"C:\\Other.rpt"), u"O;N;0");
    // The folder is made once and used again.
    deleteReport(session, services.store, services.fileSystem(), folder, u"Other.rpt");
    EXPECT_EQ(services.moving.created.size(), 1u);
  }
}

// A failed move (held_files_test has a real one) still removes the value.
TEST(DeleteReport, OnlyABackslashSeparatesAndAFailedMoveStillRemovesTheValue) {
  DeletingServices services;
  SessionSettings session;
  services.moving.refuseMove = true;
  services.store.sections[u"Reports"] = {{u"C:\\R/\\x.rpt", u"X;N;0"}};
  deleteReport(session, services.store, services.fileSystem(), u"C:\\R/", u"x.rpt");
  EXPECT_EQ(services.store.value(u"Reports", u"C:\\R/\\x.rpt"), u"<none>");
}

}  // namespace
}  // namespace mervane
