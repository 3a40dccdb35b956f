// Names: which entry names are safe to extract, how name bytes are decoded,
// and how the export's pattern list picks its files.
#include <gtest/gtest.h>

#include "archive_test_support.h"
#include "maintenance/archive/file_patterns.h"
#include "base/zip/zip_format.h"

namespace mervane {
namespace {

using namespace archive_test;

TEST(ZipNames, SafeNamesKeepTheFileNameOnly) {
  EXPECT_EQ(zip::safeFileName(u"sales.rpt"), Text(u"sales.rpt"));
  EXPECT_EQ(zip::safeFileName(u"Reports/2024/Übersicht.rpt"), Text(u"Übersicht.rpt"));
  EXPECT_EQ(zip::safeFileName(u"a\\b\\c.rpt"), Text(u"c.rpt"));
  EXPECT_EQ(zip::safeFileName(u"./x.rpt"), Text(u"x.rpt"));
  EXPECT_EQ(zip::safeFileName(u"console.rpt"), Text(u"console.rpt"));
}

TEST(ZipNames, UnsafeNamesAreRefused) {
  for (const char16_t* bad : {u"",
                              u"/etc/passwd",
                              u"\\Windows\\x.dll",
                              u"C:\\x.rpt",
                              u"C:x.rpt",
                              u"../x.rpt",
                              u"a/../../x.rpt",
                              u"a\\..\\x.rpt",
                              u"a/..",
                              u"folder/",
                              u"x.rpt.",
                              u"x.rpt ",
                              u"nul",
                              u"NUL.rpt",
                              u"com1.txt",
                              u"LPT9",
                              u"Con .rpt",
                              u"a:stream",
                              u"x\u0001.rpt",
                              u"a*.rpt",
                              u"what?.rpt",
                              u"."}) {
    EXPECT_FALSE(zip::safeFileName(bad).has_value()) << toUtf8(bad);
  }
}

TEST(ZipNames, DecodingFollowsFlagExtraFieldAndHost) {
  const std::string utf8 = "Caf\xC3\xA9.rpt";
  EXPECT_EQ(zip::decodeEntryName(utf8, zip::kFlagUtf8, 0, {}), u"Café.rpt");
  // Unix tools write their locale's bytes, unflagged.
  EXPECT_EQ(zip::decodeEntryName(utf8, 0, 3, {}), u"Café.rpt");
  // DOS and NTFS hosts mean the OEM code page.
  EXPECT_EQ(zip::decodeEntryName("Caf\x82.rpt", 0, 0, {}), u"Café.rpt");
  EXPECT_EQ(zip::decodeEntryName(utf8, 0, 11, {}), u"Caf├⌐.rpt");
  // The Unicode path field wins while its CRC matches the header name.
  std::string header = "Caf\x82.rpt", extra;
  zip::RecordWriter w(extra);
  w.u16(zip::kExtraUnicodePath);
  w.u16(static_cast<std::uint16_t>(5 + utf8.size()));
  extra.push_back(1);
  w.u32(static_cast<std::uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(header.data()), 9)));
  w.bytes(utf8);
  EXPECT_EQ(zip::decodeEntryName(header, 0, 0, extra), u"Café.rpt");
  EXPECT_EQ(zip::decodeEntryName("Cafe.rpt", 0, 0, extra), u"Cafe.rpt");
}

TEST(ZipNames, PatternListSplitsFolderAndWildcard) {
  auto p = parsePatternList(u"C:\\Reports\\*.rpt|C:\\Reports\\*.srt|/data/x/*.label||*.txt|\\*.a|");
  ASSERT_EQ(p.size(), 5u);
  EXPECT_EQ(p[0].folder, u"C:\\Reports");
  EXPECT_EQ(p[0].wildcard, u"*.rpt");
  EXPECT_EQ(p[2].folder, u"/data/x");
  EXPECT_EQ(p[3].folder, u".");
  EXPECT_EQ(p[4].folder, u"\\");
}

TEST(ZipNames, WildcardsIgnoreCase) {
  EXPECT_TRUE(matchesWildcard(u"*.rpt", u"SALES.RPT"));
  EXPECT_TRUE(matchesWildcard(u"*.template", u"a.b.Template"));
  EXPECT_FALSE(matchesWildcard(u"*.rpt", u"sales.rpt.bak"));
  EXPECT_FALSE(matchesWildcard(u"*.rpt", u"reports.zip"));
  EXPECT_TRUE(matchesWildcard(u"s?les*.r*t", u"sales-2024.rpt"));
  EXPECT_TRUE(matchesWildcard(u"*.*", u"README"));
  EXPECT_TRUE(matchesWildcard(u"*ä*", u"BÄR.rpt"));
  EXPECT_FALSE(matchesWildcard(u"a*b*c", u"aXbXd"));
}

TEST(ZipNames, MatchingTakesEachNameOnceFromTheFolderItself) {
  ScratchFolder dir;
  fs::path a = dir.make("a"), b = dir.make("b");
  fs::create_directories(a / "sub.rpt");  // a folder that matches is not a file
  writeFile(a / "sub.rpt" / "inner.rpt", "x");
  writeFile(a / "Two.RPT", "2");
  writeFile(a / "one.rpt", "1");
  writeFile(a / "notes.txt", "n");
  writeFile(b / "one.rpt", "other");
  std::vector<fs::path> duplicates;
  Text list = text(a) + u"/*.rpt|" + text(a) + u"\\*.RPT|" + text(b) + u"/*.rpt|";
  auto files = matchFiles(parsePatternList(list), &duplicates);
  ASSERT_EQ(files.size(), 2u);
  EXPECT_EQ(files[0].name, u"Two.RPT");  // ordered by name, code unit order
  EXPECT_EQ(files[1].name, u"one.rpt");
  EXPECT_EQ(files[1].size, 1u);
  ASSERT_EQ(duplicates.size(), 1u);
  EXPECT_EQ(duplicates[0], b / "one.rpt");
}

}  // namespace
}  // namespace mervane
