// Export and import against a scripted archive window: what the dialogs and
// the archiver are given, when the user's answer counts as a go-ahead, and
// when success is reported.
#include <gtest/gtest.h>

#include "fake_archive_window.h"
#include "maintenance/export_import/export_import.h"

namespace mervane {
namespace {

using testing::ArchiveServices;
using Log = std::vector<std::string>;

SessionSettings session(const Text& path) {
  SessionSettings s;
  s.path = path;
  return s;
}

TEST(ReportFileList, OneTrailingSeparatorDropped) {
  const Text list = reportFileList(u"C:\\Reports\\");
  EXPECT_EQ(list, reportFileList(u"C:\\Reports"));
  EXPECT_EQ(list,
            u"C:\\Reports\\*.rpt|C:\\Reports\\*.srt|C:\\Reports\\*.sly|C:\\Reports\\*.slt|C:\\Reports\\*.slb|"
            u"C:\\Reports\\*.stm|C:\\Reports\\*.report|C:\\Reports\\*.layout|C:\\Reports\\*.letter|"
            u"C:\\Reports\\*.label|C:\\Reports\\*.template|");
  EXPECT_EQ(reportFileList(u"C:\\R\\\\").substr(0, 12), u"C:\\R\\\\*.rpt|");
  EXPECT_EQ(reportFileList(u"").substr(0, 7), u"\\*.rpt|");
}

TEST(Export, WritesTheReportsAndConfirms) {
  ArchiveServices services;
  services.script.answer = u" D:\\Backups\\reports.zip ";
  EXPECT_TRUE(exportReports(session(u"C:\\Reports\\"), services.archive()));

  const auto& s = services.script;
  EXPECT_EQ(s.log, (Log{"load", "save", "bar 0", "zip", "show", "pump", "unload", "message"}));
  EXPECT_EQ(s.expImp, false);
  EXPECT_EQ(s.dialog.title, u"Specify Reports Export File");
  EXPECT_EQ(s.dialog.flags, 0x200806u);
  EXPECT_EQ(s.dialog.defaultExtension, u"zip");
  EXPECT_EQ(s.dialog.fileName, u"reports.zip");
  EXPECT_EQ(s.dialog.initialFolder, u"C:\\Users\\ann\\Documents");
  EXPECT_EQ(s.dialog.filter, u"Reports Export File (*.zip)|*.zip|All Files (*.*)|*.*");
  EXPECT_EQ(s.dialog.filterIndex, 0);
  // The name is used as given, blanks and all.
  EXPECT_EQ(s.zip.archivePath, u" D:\\Backups\\reports.zip ");
  EXPECT_EQ(s.driveTested, u" D:\\Backups\\reports.zip ");
  EXPECT_EQ(s.zip.fileList, reportFileList(u"C:\\Reports"));
  EXPECT_FALSE(s.zip.diskPrompts);
  ASSERT_EQ(services.messages.size(), 1u);
  EXPECT_EQ(services.messages[0], std::make_pair(Text(u"Export of reports complete."), Text(u"Export Reports")));
}

TEST(Export, DiskPromptsOnRemovableDrivesOnly) {
  ArchiveServices services;
  services.script.removable = true;
  EXPECT_TRUE(exportReports(session(u"C:\\Reports"), services.archive()));
  EXPECT_TRUE(services.script.zip.diskPrompts);
}

TEST(Export, NoGoAheadMeansNoRunAndNoMessage) {
  struct Case {
    const char* what;
    void (*arrange)(ArchiveServices&);
  };
  const Case cases[] = {
      {"cancel", [](ArchiveServices& s) { s.script.answer.reset(); }},
      {"blank name", [](ArchiveServices& s) { s.script.answer = u"   "; }},
      {"empty name", [](ArchiveServices& s) { s.script.answer = u""; }},
      {"earlier failure", [](ArchiveServices& s) { s.script.personalFolderFails = true; }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    ArchiveServices services;
    c.arrange(services);
    EXPECT_FALSE(exportReports(session(u"C:\\Reports"), services.archive()));
    EXPECT_EQ(services.script.log, (Log{"load", "save", "unload"}));
    EXPECT_TRUE(services.messages.empty());
  }
  ArchiveServices services;
  services.noWindow = true;
  EXPECT_FALSE(exportReports(session(u"C:\\Reports"), services.archive()));
  EXPECT_TRUE(services.script.log.empty());
}

TEST(Export, NothingArchivedIsNoSuccess) {
  for (std::int32_t files : {0, -1}) {
    ArchiveServices services;
    services.script.filesAfterRun = files;
    EXPECT_FALSE(exportReports(session(u"C:\\Reports"), services.archive()));
    EXPECT_EQ(services.script.log.back(), "unload");
    EXPECT_TRUE(services.messages.empty());
  }
}

TEST(Import, ExtractsIntoTheReportsFolderAndConfirms) {
  for (const Text path : {u"C:\\Reports\\", u"C:\\Reports"}) {
    ArchiveServices services;
    EXPECT_TRUE(importReports(session(path), services.archive()));
    const auto& s = services.script;
    EXPECT_EQ(s.log, (Log{"load", "open", "bar 0", "unzip", "show", "pump", "unload", "message"}));
    EXPECT_EQ(s.expImp, true);
    EXPECT_EQ(s.dialog.title, u"Specify Reports Export File To Import");
    EXPECT_EQ(s.dialog.flags, 0x1806u);
    EXPECT_EQ(s.dialog.fileName, u"reports.zip");
    EXPECT_EQ(s.unzip.archivePath, u"D:\\Backups\\reports.zip");
    EXPECT_EQ(s.unzip.targetFolder, u"C:\\Reports");
    EXPECT_EQ(s.unzip.entries, u"*.*");
    EXPECT_TRUE(s.driveTested.empty());
    EXPECT_EQ(services.messages.at(0),
              std::make_pair(Text(u"Import of reports complete."), Text(u"Import Reports")));
  }
}

TEST(Import, CancelOrEmptyArchiveIsNoSuccess) {
  ArchiveServices cancelled;
  cancelled.script.answer.reset();
  EXPECT_FALSE(importReports(session(u"C:\\Reports"), cancelled.archive()));
  EXPECT_EQ(cancelled.script.log, (Log{"load", "open", "unload"}));

  ArchiveServices empty;
  empty.script.filesAfterRun = 0;
  EXPECT_FALSE(importReports(session(u"C:\\Reports"), empty.archive()));
  EXPECT_TRUE(empty.messages.empty());
}

}  // namespace
}  // namespace mervane
