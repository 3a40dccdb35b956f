// A disk that fills up part way through an export or an import: the system
// refuses every write past a chosen size (the process's file-size limit),
// and the limit is moved over every write the operation makes. Whatever the
// point of failure, the operation answers with a failure instead of
// raising, the archive or report file that was there before is intact, a
// file that was written is complete, and no temporary file is left. The
// same holds for a folder the user may read but not write.
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "archive_test_support.h"

namespace mervane {
namespace {

using namespace archive_test;

// Writes beyond `bytes` fail (EFBIG) while this lives.
class DiskFullAfter {
 public:
  explicit DiskFullAfter(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &saved_);
    previous_ = signal(SIGXFSZ, SIG_IGN);
    rlimit limit = saved_;
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~DiskFullAfter() {
    setrlimit(RLIMIT_FSIZE, &saved_);
    signal(SIGXFSZ, previous_);
  }
  DiskFullAfter(const DiskFullAfter&) = delete;
  DiskFullAfter& operator=(const DiskFullAfter&) = delete;

 private:
  rlimit saved_{};
  void (*previous_)(int) = nullptr;
};

struct Reports {
  ScratchFolder dir;
  fs::path folder = dir.make("Reports");
  std::map<std::string, std::string> files = {
      {"Sales.rpt", reportText(90000, 7)},
      {"noise.label", randomBytes(70000, 8)},
      {"empty.srt", ""},
  };
  Reports() {
    for (const auto& [name, bytes] : files) writeFile(folder / name, bytes);
  }
  Text patterns() const {
    Text r = text(folder);
    return r + u"\\*.rpt|" + r + u"\\*.srt|" + r + u"\\*.label|";
  }
};

// The limits tried: every 4 KB up to `size` and a little beyond, so each
// of the operation's writes (and its last, short one) is the one that fails.
std::vector<rlim_t> limitsUpTo(std::uintmax_t size) {
  std::vector<rlim_t> out;
  for (rlim_t at = 0; at <= size + 4096; at += at < 64 ? 1 : 4096) out.push_back(at);
  return out;
}

TEST(ArchiveDiskFull, AnExportNeverLeavesAHalfWrittenArchive) {
  Reports r;
  RecordingEvents events;
  const fs::path archive = r.dir / "reports.zip";
  ASSERT_TRUE(writeArchive(text(archive), r.patterns(), events).ok());
  const std::string earlier = readFile(archive);
  // The next export adds a file, so a complete one differs from the earlier.
  writeFile(r.folder / "Added.rpt", reportText(30000, 9));

  int failed = 0;
  for (rlim_t limit : limitsUpTo(earlier.size() + 30000)) {
    SCOPED_TRACE(limit);
    ArchiveResult result;
    {
      DiskFullAfter full(limit);
      RecordingEvents quiet;
      result = writeArchive(text(archive), r.patterns(), quiet);
    }
    EXPECT_EQ(listFolder(r.dir.path()), (std::vector<std::string>{"Reports", "reports.zip"}));
    if (!result.ok()) {
      ++failed;
      EXPECT_EQ(result.error, ArchiveError::cannotWrite);
      ASSERT_EQ(readFile(archive), earlier);
      continue;
    }
    // Written: the archive is whole, every file comes back.
    fs::path target = r.dir.make("check");
    EXPECT_EQ(extractArchive(text(archive), text(target), events).processedFiles, 4);
    EXPECT_EQ(readFile(target / "Added.rpt"), readFile(r.folder / "Added.rpt"));
    fs::remove_all(target);
    writeFile(archive, earlier);
  }
  EXPECT_GT(failed, 20);
}

TEST(ArchiveDiskFull, AnImportKeepsEachReportWholeOldOrNew) {
  Reports r;
  RecordingEvents events;
  const fs::path archive = r.dir / "reports.zip";
  ASSERT_TRUE(writeArchive(text(archive), r.patterns(), events).ok());
  const fs::path target = r.dir.make("Imported");
  const std::map<std::string, std::string> older = {
      {"Sales.rpt", "the older Sales report"}, {"noise.label", "the older label"}};

  int partial = 0;
  for (rlim_t limit : limitsUpTo(90000)) {
    SCOPED_TRACE(limit);
    for (const auto& [name, bytes] : older) writeFile(target / name, bytes);
    fs::remove(target / "empty.srt");
    ArchiveResult result;
    {
      DiskFullAfter full(limit);
      RecordingEvents quiet;
      result = extractArchive(text(archive), text(target), quiet);
    }
    // Every report is the older one or the archive's, never a part of one.
    for (const auto& [name, bytes] : older) {
      const std::string now = readFile(target / name);
      EXPECT_TRUE(now == bytes || now == r.files[name]) << name << ": " << now.size() << " bytes";
    }
    EXPECT_EQ(result.processedFiles + result.failedFiles, 3);
    if (result.failedFiles) {
      ++partial;
      for (const auto& failure : result.failures) EXPECT_EQ(failure.reason, ArchiveError::cannotWriteFile);
    }
    // Nothing but the reports themselves in the folder.
    for (const std::string& name : listFolder(target))
      EXPECT_TRUE(name == "Sales.rpt" || name == "noise.label" || name == "empty.srt") << name;
  }
  EXPECT_GT(partial, 10);
}

// Folders given read-only for as long as this lives; as root (which may
// write anywhere) the process acts as "nobody" meanwhile.
class ReadOnly {
 public:
  explicit ReadOnly(std::vector<fs::path> folders) : folders_(std::move(folders)) {
    for (const auto& f : folders_) chmod(f.c_str(), 0555);
    if (geteuid() == 0) switched_ = seteuid(65534) == 0;
  }
  ~ReadOnly() {
    if (switched_ && seteuid(0) != 0) std::abort();
    for (const auto& f : folders_) chmod(f.c_str(), 0755);
  }
  ReadOnly(const ReadOnly&) = delete;
  ReadOnly& operator=(const ReadOnly&) = delete;

 private:
  std::vector<fs::path> folders_;
  bool switched_ = false;
};

TEST(ArchiveReadOnlyFolder, ExportAndImportWriteNothingAndSaySo) {
  Reports r;
  RecordingEvents events;
  const fs::path archive = r.dir / "reports.zip";
  ASSERT_TRUE(writeArchive(text(archive), r.patterns(), events).ok());
  const std::string earlier = readFile(archive);
  writeFile(r.folder / "Sales.rpt", "the user's own Sales report");
  ArchiveResult exported, imported;
  {
    ReadOnly locked({r.dir.path(), r.folder});
    RecordingEvents quiet;
    exported = writeArchive(text(archive), r.patterns(), quiet);
    imported = extractArchive(text(archive), text(r.folder), quiet);
  }
  EXPECT_EQ(exported.error, ArchiveError::cannotWrite);
  EXPECT_EQ(readFile(archive), earlier);
  EXPECT_EQ(imported.processedFiles, 0);
  EXPECT_EQ(imported.failedFiles, 3);
  EXPECT_EQ(readFile(r.folder / "Sales.rpt"), "the user's own Sales report");
  EXPECT_EQ(listFolder(r.dir.path()), (std::vector<std::string>{"Reports", "reports.zip"}));
  EXPECT_EQ(listFolder(r.folder), (std::vector<std::string>{"Sales.rpt", "empty.srt", "noise.label"}));
}

}  // namespace
}  // namespace mervane
