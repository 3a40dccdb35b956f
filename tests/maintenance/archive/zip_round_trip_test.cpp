// Export and import with our own writer and reader: the bytes come back,
// the archive is the same however many threads wrote it, the events tell
// the window the truth, and a failed export never costs an existing archive.
#include <gtest/gtest.h>

#include <map>

#include "archive_test_support.h"
#include "maintenance/archive/archive_support.h"
#include "maintenance/archive/chunk_compressor.h"
#include "maintenance/archive/zip_reader.h"

namespace mervane {
namespace {

using namespace archive_test;

// A reports folder with text, an empty file, noise, a multi-megabyte file
// that mixes text and noise, and a file no pattern names.
struct ReportsFolder {
  ScratchFolder dir;
  fs::path reports = dir.make("Reports");
  std::map<std::string, std::string> files = {
      {"Übersicht Q1.rpt", reportText(200000, 1)},
      {"empty.srt", ""},
      {"noise.label", randomBytes(300000, 2)},
      {"big.report", reportText(1500000, 3) + randomBytes(1200000, 4) + reportText(900000, 5)},
  };
  ReportsFolder() {
    for (const auto& [name, bytes] : files) writeFile(reports / name, bytes);
    writeFile(reports / "notes.txt", "not a report");
  }
  Text patterns() const {
    Text r = text(reports);
    return r + u"\\*.rpt|" + r + u"\\*.srt|" + r + u"\\*.label|" + r + u"\\*.report|";
  }
};

TEST(ZipRoundTrip, FilesComeBackByteForByteDirectlyInTheTarget) {
  ReportsFolder f;
  RecordingEvents events;
  fs::path archive = f.dir / "reports.zip";
  ArchiveResult written = writeArchive(text(archive), f.patterns(), events);
  ASSERT_TRUE(written.ok());
  EXPECT_EQ(written.processedFiles, 4);
  EXPECT_EQ(listFolder(f.dir.path()), (std::vector<std::string>{"Reports", "reports.zip"}));

  ZipReader reader(archive);
  std::map<Text, std::uint16_t> methods;
  for (const auto& e : reader.entries()) methods[e.name] = e.method;
  EXPECT_EQ(methods[u"noise.label"], zip::kMethodStored);
  EXPECT_EQ(methods[u"empty.srt"], zip::kMethodStored);
  EXPECT_EQ(methods[u"Übersicht Q1.rpt"], zip::kMethodDeflated);
  EXPECT_EQ(methods[u"big.report"], zip::kMethodDeflated);
  EXPECT_LT(fs::file_size(archive), 2200000u);

  fs::path target = f.dir.make("Imported");
  writeFile(target / "empty.srt", "an older file is replaced");
  ArchiveResult read = extractArchive(text(archive), text(target), events);
  ASSERT_TRUE(read.ok());
  EXPECT_EQ(read.processedFiles, 4);
  std::vector<std::string> expected;
  for (const auto& [name, bytes] : f.files) {
    expected.push_back(name);
    EXPECT_EQ(readFile(target / name), bytes) << name;
  }
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(listFolder(target), expected);  // no temporary file left behind
}

TEST(ZipRoundTrip, SameBytesWhateverTheThreadsAndLevelDecide) {
  ReportsFolder f;
  RecordingEvents events;
  std::vector<std::string> archives;
  for (unsigned threads : {0u, 2u, 2u, 3u}) {
    fs::path archive = f.dir / ("t" + std::to_string(archives.size()) + ".zip");
    ArchiveOptions options;
    options.workerThreads = threads;
    ASSERT_TRUE(writeArchive(text(archive), f.patterns(), events, options).ok());
    archives.push_back(readFile(archive));
  }
  for (const auto& a : archives) EXPECT_TRUE(a == archives[0]);
  ArchiveOptions fast;
  fast.compressionLevel = 1;
  ASSERT_TRUE(writeArchive(text(f.dir / "fast.zip"), f.patterns(), events, fast).ok());
  EXPECT_NE(readFile(f.dir / "fast.zip"), archives[0]);
}

TEST(ZipRoundTrip, EventsReportEachFileInOrderWithRunningTotals) {
  ReportsFolder f;
  fs::path archive = f.dir / "reports.zip";
  for (bool extracting : {false, true}) {
    RecordingEvents events;
    ArchiveResult r = extracting ? extractArchive(text(archive), text(f.dir.make("out")), events)
                                 : writeArchive(text(archive), f.patterns(), events);
    ASSERT_TRUE(r.ok());
    ASSERT_EQ(events.counts.size(), 4u);
    std::int32_t lastProcessedBytes = 0;
    std::size_t call = 0;
    for (std::int32_t n = 1; n <= 4; ++n) {
      const Text& name = events.counts[n - 1].first;
      EXPECT_EQ(events.counts[n - 1].second, n);
      // start, possibly some in between, end; all for this file
      const Progress& start = events.progressCalls.at(call);
      EXPECT_EQ(start.name, name);
      EXPECT_EQ(start.bytesRead, 0);
      EXPECT_EQ(start.percent, 0);
      EXPECT_EQ(start.processedFiles, n - 1);
      int calls = 0;
      while (events.progressCalls.at(call).name == name &&
             events.progressCalls.at(call).percent < 100) {
        EXPECT_GE(events.progressCalls[call].processedBytes, lastProcessedBytes);
        lastProcessedBytes = events.progressCalls[call].processedBytes;
        ++call, ++calls;
      }
      const Progress& end = events.progressCalls.at(call++);
      EXPECT_EQ(end.name, name);
      EXPECT_EQ(end.bytesRead, end.originalSize);
      EXPECT_EQ(end.totalFiles, 4);
      EXPECT_EQ(end.totalBytes, 200000 + 300000 + 3600000);
      if (end.originalSize > 3000000) {
        EXPECT_GE(calls, 3) << "progress within a large file";
      }
    }
    EXPECT_EQ(call, events.progressCalls.size());
    if (!extracting) {
      EXPECT_NE(events.counts[0].first.find(u"Reports"), Text::npos) << "full path";
    }
  }
}

TEST(ZipRoundTrip, OnlyNoiseWithoutRepeatsSkipsDeflate) {
  auto check = [](const std::string& s) {
    return looksIncompressible(reinterpret_cast<const unsigned char*>(s.data()), s.size());
  };
  EXPECT_TRUE(check(randomBytes(300000, 1)));
  EXPECT_FALSE(check(reportText(300000, 1)));
  std::string block = randomBytes(20000, 2);
  EXPECT_FALSE(check(block + block + block));  // repeats within deflate's window
  std::string skewed = randomBytes(300000, 3);
  for (std::size_t i = 0; i < skewed.size(); i += 3) skewed[i] = 'x';
  EXPECT_FALSE(check(skewed));
  // A chunk that deflate cannot shrink is stored even when the test passes it.
  Chunk chunk;
  std::string tiny = randomBytes(1000, 4);
  chunk.input.assign(tiny.begin(), tiny.end());
  compress(chunk);
  EXPECT_TRUE(chunk.stored);
}

TEST(ZipRoundTrip, ClampsSizesBeyondThirtyTwoBits) {
  EXPECT_EQ(clamp32(5000000000ull), 2147483647);
  EXPECT_EQ(clamp32(7), 7);
  EXPECT_EQ(percentOf(2500000000ull, 5000000000ull), 50);
  EXPECT_EQ(percentOf(1ull << 62, 1ull << 63), 50);
  EXPECT_EQ(percentOf(3, 3), 100);
}

TEST(ZipRoundTrip, NoMatchingFileWritesNothing) {
  ReportsFolder f;
  RecordingEvents events;
  fs::path archive = f.dir / "reports.zip";
  ArchiveResult r = writeArchive(text(archive), text(f.reports) + u"\\*.layout|", events);
  EXPECT_EQ(r.error, ArchiveError::noFiles);
  EXPECT_EQ(r.processedFiles, 0);
  EXPECT_FALSE(fs::exists(archive));
  EXPECT_EQ(writeArchive(text(f.dir / "missing" / "r.zip"), f.patterns(), events).error,
            ArchiveError::cannotWrite);
  EXPECT_EQ(extractArchive(text(f.dir / "none.zip"), text(f.dir.path()), events).error,
            ArchiveError::cannotOpen);
  EXPECT_TRUE(events.counts.empty());
}

TEST(ZipRoundTrip, TheArchiveNeverGoesIntoItself) {
  ReportsFolder f;
  RecordingEvents events;
  fs::path archive = f.reports / "reports.zip";
  Text everything = text(f.reports) + u"/*.*";
  ASSERT_EQ(writeArchive(text(archive), everything, events).processedFiles, 5);
  ASSERT_EQ(writeArchive(text(archive), everything, events).processedFiles, 5);
  EXPECT_EQ(ZipReader(archive).entries().size(), 5u);
}

TEST(ZipRoundTrip, FailedExportKeepsTheExistingArchiveAndRetractsTheCount) {
  ReportsFolder f;
  fs::path archive = f.dir / "reports.zip";
  writeFile(archive, "the previous archive");
  RecordingEvents events;
  events.throwAfterCounts = 2;
  ArchiveResult r = writeArchive(text(archive), f.patterns(), events);
  EXPECT_EQ(r.error, ArchiveError::interrupted);
  EXPECT_EQ(r.processedFiles, 0);
  EXPECT_EQ(readFile(archive), "the previous archive");
  EXPECT_EQ(listFolder(f.dir.path()), (std::vector<std::string>{"Reports", "reports.zip"}));
  ASSERT_FALSE(events.counts.empty());
  EXPECT_EQ(events.counts.back(), std::make_pair(Text(), 0));
}

TEST(ZipRoundTrip, AFileThatChangesWhileBeingReadIsLeftOutCleanly) {
  // One chunk of work ahead at most: the event of one file runs before the
  // next file (or chunk) is read.
  ArchiveOptions sequential;
  sequential.workerThreads = 0;
  ScratchFolder dir;
  fs::path reports = dir.make("Reports");
  writeFile(reports / "a.rpt", reportText(1000, 1));
  writeFile(reports / "b.rpt", reportText(100, 2));
  writeFile(reports / "c.rpt", reportText(3000000, 3));
  RecordingEvents events;
  events.onProgress = [&](const Progress& p) {
    if (p.name.ends_with(u"a.rpt") && p.bytesRead == 0)
      writeFile(reports / "b.rpt", reportText(200, 9));  // grown since listed
    if (p.name.ends_with(u"c.rpt") && p.bytesRead > 0 && p.percent < 100)
      fs::resize_file(reports / "c.rpt", 1500000);  // shrinks under the writer's feet
  };
  fs::path archive = dir / "r.zip";
  ArchiveResult r = writeArchive(text(archive), text(reports) + u"/*.rpt", events, sequential);
  EXPECT_EQ(r.error, ArchiveError::none);
  EXPECT_EQ(r.processedFiles, 1);
  ASSERT_EQ(r.failures.size(), 2u);
  EXPECT_EQ(r.failures[0].reason, ArchiveError::unreadableFile);
  // c.rpt had a megabyte written before it was given up: the archive ends
  // right after the directory all the same.
  EXPECT_EQ(shell("unzip -tq " + quote(archive)), 0);
  ZipReader reader(archive);
  ASSERT_EQ(reader.entries().size(), 1u);
  EXPECT_EQ(reader.entries()[0].name, u"a.rpt");
  EXPECT_LT(fs::file_size(archive), 2000u);
}

TEST(ZipRoundTrip, ForcedZip64RecordsReadBack) {
  ReportsFolder f;
  RecordingEvents events;
  ArchiveOptions zip64;
  zip64.forceZip64 = true;
  fs::path archive = f.dir / "z64.zip";
  ASSERT_TRUE(writeArchive(text(archive), f.patterns(), events, zip64).ok());
  std::string bytes = readFile(archive);
  EXPECT_NE(bytes.find("PK\x06\x06"), std::string::npos);
  EXPECT_NE(bytes.find("PK\x06\x07"), std::string::npos);
  fs::path target = f.dir.make("out");
  ASSERT_TRUE(extractArchive(text(archive), text(target), events).ok());
  for (const auto& [name, data] : f.files) EXPECT_EQ(readFile(target / name), data) << name;
}

}  // namespace
}  // namespace mervane
