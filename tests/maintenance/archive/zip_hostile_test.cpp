// Archives that lie, are cut short, are corrupted or aim outside the target
// folder: extraction skips what it cannot trust, never writes a broken or
// half-written file, never replaces a good file with a bad one, and never
// writes outside the target.
#include <gtest/gtest.h>

#include <chrono>
#include <map>

#include "../../support/sanitizers.h"
#include "archive_test_support.h"

namespace mervane {
namespace {

using namespace archive_test;

const std::string kA = reportText(20000, 21), kB = randomBytes(1000, 22), kC = reportText(5000, 23);

RawZip threeEntries() {
  return buildZip({{"a.rpt", kA}, {"b.rpt", kB, zip::kMethodStored}, {"c.rpt", kC}});
}

struct Extraction {
  ArchiveResult result;
  std::map<std::string, ArchiveError> failures;  // by entry name
  std::vector<std::string> files;                // left in the target
};

Extraction extract(const ScratchFolder& dir, const std::string& archiveBytes) {
  fs::path archive = dir / "x.zip";
  fs::path target = dir / "target";
  fs::remove_all(target);
  fs::create_directories(target);
  writeFile(archive, archiveBytes);
  RecordingEvents events;
  Extraction e;
  e.result = extractArchive(text(archive), text(target), events);
  for (const auto& f : e.result.failures) e.failures[toUtf8(f.fileName)] = f.reason;
  e.files = listFolder(target);
  EXPECT_EQ(static_cast<std::size_t>(e.result.processedFiles), e.files.size());
  EXPECT_EQ(static_cast<std::size_t>(e.result.processedFiles), events.counts.size());
  return e;
}

TEST(ZipHostile, LyingDirectoryEntriesAreSkippedTheRestExtracted) {
  ScratchFolder dir;
  const RawZip z = threeEntries();
  auto central = [&](int entry, std::size_t field) { return z.centralAt[entry] + field; };
  struct Case {
    const char* what;
    std::function<void(std::string&)> mutate;
    std::map<std::string, ArchiveError> failures;
    bool reasonMayVary = false;  // damaged deflate data: corrupt, too long or a bad checksum
  };
  const std::vector<Case> cases = {
      {"size too small: inflating beyond it stops",
       [&](std::string& b) { put32(b, central(0, kCentralSize), 1000); },
       {{"a.rpt", ArchiveError::sizeMismatch}}},
      {"size too large",
       [&](std::string& b) { put32(b, central(0, kCentralSize), 30000); },
       {{"a.rpt", ArchiveError::sizeMismatch}}},
      {"size beyond what deflate can reach",
       [&](std::string& b) { put32(b, central(2, kCentralSize), 0x7FFFFFFF); },
       {{"c.rpt", ArchiveError::sizeMismatch}}},
      {"stored size differs from compressed",
       [&](std::string& b) { put32(b, central(1, kCentralSize), 999); },
       {{"b.rpt", ArchiveError::sizeMismatch}}},
      {"compressed size runs into the next entry",
       [&](std::string& b) {
         put32(b, central(0, kCentralCompressed),
               static_cast<std::uint32_t>(z.localAt[1] - 35 + 10));
       },
       {{"a.rpt", ArchiveError::overlapping}, {"b.rpt", ArchiveError::overlapping}}},
      {"compressed size runs into the directory",
       [&](std::string& b) { put32(b, central(2, kCentralCompressed), 100000); },
       {{"c.rpt", ArchiveError::overlapping}}},
      {"two entries share one local header",
       [&](std::string& b) {
         put32(b, central(2, kCentralOffset), static_cast<std::uint32_t>(z.localAt[1]));
       },
       {{"b.rpt", ArchiveError::overlapping}, {"c.rpt", ArchiveError::overlapping}}},
      {"offset points into data",
       [&](std::string& b) { put32(b, central(0, kCentralOffset), 7); },
       {{"a.rpt", ArchiveError::badLocalHeader}}},
      {"checksum",
       [&](std::string& b) { put32(b, central(1, kCentralCrc), 12345); },
       {{"b.rpt", ArchiveError::checksumMismatch}}},
      {"method differs from the local header",
       [&](std::string& b) { put16(b, central(2, kCentralMethod), zip::kMethodStored); },
       {{"c.rpt", ArchiveError::badLocalHeader}}},
      {"unknown method",
       [&](std::string& b) {
         put16(b, central(2, kCentralMethod), 99);
         put16(b, z.localAt[2] + 8, 99);
       },
       {{"c.rpt", ArchiveError::unsupportedMethod}}},
      {"encrypted",
       [&](std::string& b) {
         put16(b, central(1, kCentralFlags), zip::kFlagEncrypted);
         put16(b, z.localAt[1] + 6, zip::kFlagEncrypted);
       },
       {{"b.rpt", ArchiveError::encrypted}}},
      {"corrupt deflate data",
       [&](std::string& b) { b[z.localAt[0] + 40] ^= 0x55; },
       {{"a.rpt", ArchiveError::checksumMismatch}},
       true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::string bytes = z.bytes;
    c.mutate(bytes);
    Extraction e = extract(dir, bytes);
    EXPECT_EQ(e.result.error, ArchiveError::none);
    if (c.reasonMayVary)
      for (auto& f : e.failures) f.second = c.failures.at(f.first);
    EXPECT_EQ(e.failures, c.failures);
    std::vector<std::string> expected;
    for (const char* name : {"a.rpt", "b.rpt", "c.rpt"})
      if (!c.failures.count(name)) expected.push_back(name);
    EXPECT_EQ(e.files, expected);
    if (!c.failures.count("a.rpt")) {
      EXPECT_EQ(readFile(dir / "target" / "a.rpt"), kA);
    }
  }
}

TEST(ZipHostile, BrokenWholeArchivesAreRefusedWithNothingWritten) {
  ScratchFolder dir;
  const RawZip z = threeEntries();
  const std::size_t end = z.endAt;
  std::string cutMiddle = z.bytes;
  cutMiddle.erase(z.localAt[1] + 10, 100);
  std::string shortCount = z.bytes, longCount = z.bytes, badOffset = z.bytes, hugeSize = z.bytes,
              spanned = z.bytes, badSignature = z.bytes;
  put16(longCount, end + 8, 4);
  put16(longCount, end + 10, 4);
  put16(shortCount, end + 8, 1);
  put16(shortCount, end + 10, 1);
  put32(badOffset, end + 16, static_cast<std::uint32_t>(z.centralAt[0] + 1));
  put32(hugeSize, end + 12, 0x7FFFFFFF);
  put16(spanned, end + 4, 1);
  badSignature[z.centralAt[1]] = 'X';
  const std::vector<std::pair<std::string, ArchiveError>> cases = {
      {z.bytes.substr(0, z.bytes.size() - 1), ArchiveError::notAnArchive},
      {z.bytes.substr(0, z.bytes.size() / 2), ArchiveError::notAnArchive},
      {z.bytes.substr(0, 10), ArchiveError::notAnArchive},
      {"", ArchiveError::notAnArchive},
      {cutMiddle, ArchiveError::corrupt},
      {longCount, ArchiveError::corrupt},
      {badOffset, ArchiveError::corrupt},
      {hugeSize, ArchiveError::corrupt},
      {spanned, ArchiveError::spanned},
      {badSignature, ArchiveError::corrupt},
      {buildZip({}).bytes, ArchiveError::noFiles},
  };
  for (std::size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    Extraction e = extract(dir, cases[i].first);
    EXPECT_EQ(e.result.error, cases[i].second);
    EXPECT_TRUE(e.files.empty());
  }
  // A directory that admits fewer entries than it holds is taken at its word.
  Extraction e = extract(dir, shortCount);
  EXPECT_EQ(e.files, std::vector<std::string>{"a.rpt"});
}

TEST(ZipHostile, RandomDamageNeverLeavesAWrongFile) {
  ScratchFolder dir;
  const RawZip z = threeEntries();
  std::mt19937 g(99);
  for (int round = 0; round < 300; ++round) {
    std::string bytes = z.bytes;
    for (int k = 0; k < 1 + round % 3; ++k) bytes[g() % bytes.size()] = static_cast<char>(g());
    Extraction e = extract(dir, bytes);
    for (const std::string& name : e.files) {
      std::string got = readFile(dir / "target" / name);
      // A damaged name may change which file it is, never what it holds.
      EXPECT_TRUE(got == kA || got == kB || got == kC) << "round " << round << " " << name;
    }
  }
}

TEST(ZipHostile, BombsStopAtTheDeclaredSize) {
  ScratchFolder dir;
  RawZip z = buildZip({{"zeros.rpt", std::string(64 << 20, '\0')}, {"ok.rpt", kC}});
  put32(z.bytes, z.centralAt[0] + kCentralSize, 1 << 20);  // claims one megabyte
  auto start = std::chrono::steady_clock::now();
  Extraction e = extract(dir, z.bytes);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
  EXPECT_EQ(e.failures,
            (std::map<std::string, ArchiveError>{{"zeros.rpt", ArchiveError::sizeMismatch}}));
  EXPECT_EQ(e.files, std::vector<std::string>{"ok.rpt"});
}

TEST(ZipHostile, HundredThousandEntriesOnOneHeaderAreRefusedQuickly) {
  // One real entry and 100,000 directory records pointing at it: the
  // overlapping kind of bomb, with ZIP64 end records for the count.
  std::string bytes;
  zip::RecordWriter w(bytes);
  const std::string data = "hello";
  auto crc = static_cast<std::uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(data.data()), 5));
  w.u32(zip::kLocalHeaderSignature);
  w.u16(10), w.u16(0), w.u16(0), w.u32(0x21), w.u32(crc), w.u32(5), w.u32(5), w.u16(5), w.u16(0);
  w.bytes("x.rpt" + data);
  const std::uint64_t cdAt = bytes.size();
  constexpr int kEntries = 100000;
  for (int i = 0; i < kEntries; ++i) {
    char name[32];
    std::snprintf(name, sizeof name, "f%06d.rpt", i);
    w.u32(zip::kCentralHeaderSignature);
    w.u16(20), w.u16(10), w.u16(0), w.u16(0), w.u32(0x21), w.u32(crc), w.u32(5), w.u32(5);
    w.u16(11), w.u16(0), w.u16(0), w.u16(0), w.u16(0), w.u32(0), w.u32(0);
    w.bytes(std::string_view(name, 11));
  }
  const std::uint64_t cdSize = bytes.size() - cdAt, recordAt = bytes.size();
  w.u32(zip::kZip64EndSignature), w.u64(44), w.u16(45), w.u16(45), w.u32(0), w.u32(0);
  w.u64(kEntries), w.u64(kEntries), w.u64(cdSize), w.u64(cdAt);
  w.u32(zip::kZip64LocatorSignature), w.u32(0), w.u64(recordAt), w.u32(1);
  w.u32(zip::kEndSignature), w.u32(0), w.u16(0xFFFF), w.u16(0xFFFF), w.u32(0xFFFFFFFF),
      w.u32(0xFFFFFFFF), w.u16(0);

  ScratchFolder dir;
  auto start = std::chrono::steady_clock::now();
  Extraction e = extract(dir, bytes);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(testing::kAddressSanitizer ? 12 : 3));
  EXPECT_EQ(e.result.error, ArchiveError::none);
  EXPECT_EQ(e.result.failedFiles, kEntries);
  EXPECT_EQ(e.failures.size(), static_cast<std::size_t>(kEntries));
  EXPECT_EQ(e.failures.begin()->second, ArchiveError::overlapping);
  EXPECT_TRUE(e.files.empty());
}

TEST(ZipHostile, NamesNeverLeadOutOfTheTarget) {
  ScratchFolder dir;
  RawZip z = buildZip({{"../escaped.rpt", "x"},
                       {"/absolute.rpt", "x"},
                       {"C:\\drive.rpt", "x"},
                       {"C:drive2.rpt", "x"},
                       {"sub/../../escaped2.rpt", "x"},
                       {"..\\escaped3.rpt", "x"},
                       {"NUL.rpt", "x"},
                       {"folder/", ""},
                       {"deep/er/nested.rpt", "nested"},
                       {"plain.rpt", "plain"}});
  Extraction e = extract(dir, z.bytes);
  EXPECT_EQ(e.result.error, ArchiveError::none);
  EXPECT_EQ(e.files, (std::vector<std::string>{"nested.rpt", "plain.rpt"}));
  EXPECT_EQ(e.failures.size(), 7u);
  for (const auto& [name, reason] : e.failures) EXPECT_EQ(reason, ArchiveError::unsafeName) << name;
  EXPECT_EQ(listFolder(dir.path()), (std::vector<std::string>{"target", "x.zip"}));
}

TEST(ZipHostile, OnlyAVerifiedEntryReplacesAnExistingFile) {
  ScratchFolder dir;
  RawZip z = buildZip({{"keep.rpt", "damaged"}, {"swap.rpt", "new"}});
  put32(z.bytes, z.centralAt[0] + kCentralCrc, 1);
  fs::path archive = dir / "x.zip", target = dir.make("target");
  writeFile(archive, z.bytes);
  writeFile(target / "keep.rpt", "old keep");
  writeFile(target / "swap.rpt", "old swap");
  RecordingEvents events;
  ArchiveResult r = extractArchive(text(archive), text(target), events);
  EXPECT_EQ(r.processedFiles, 1);
  EXPECT_EQ(readFile(target / "keep.rpt"), "old keep");
  EXPECT_EQ(readFile(target / "swap.rpt"), "new");
  EXPECT_EQ(listFolder(target), (std::vector<std::string>{"keep.rpt", "swap.rpt"}));
  // A folder in the way of a name is not replaced either.
  fs::remove(target / "swap.rpt");
  fs::create_directories(target / "swap.rpt" / "inside");
  r = extractArchive(text(archive), text(target), events);
  EXPECT_EQ(r.processedFiles, 0);
  EXPECT_EQ(r.failures.back().reason, ArchiveError::cannotWriteFile);
  EXPECT_TRUE(fs::is_directory(target / "swap.rpt" / "inside"));
  EXPECT_EQ(listFolder(target), (std::vector<std::string>{"keep.rpt", "swap.rpt"}));
}

}  // namespace
}  // namespace mervane
