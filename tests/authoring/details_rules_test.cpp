// The report details dialog's OK checks: refusals and their messages, the
// extensions each kind keeps or gets appended, and the existence test.
#include "authoring/details_rules.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

#include "../support/fake_services.h"

namespace mervane::details {
namespace {

// A folder holding some files; the test can also be made to fail.
struct Folder : testing::FakeFileSystem {
  std::set<Text> present;
  std::vector<Text> asked;
  bool broken = false;
  bool fileExists(const Text& path) override {
    asked.push_back(path);
    if (broken) throw std::runtime_error("no file system");
    return present.count(path) > 0;
  }
};

struct Case {
  const char16_t* typed;
  std::int32_t kind;
  const char16_t* expected;  // the box afterwards, or the refusal's message
};

TEST(DetailsRules, ExtensionsKeptAppendedOrRefusedByKind) {
  const Case cases[] = {
      // Crystal: only .RPT (any case) is kept; the newer Vardo family is refused.
      {u"sales", 1, u"sales.rpt"},
      {u"sales.txt", 1, u"sales.txt.rpt"},
      {u"sales.srt", 1, u"sales.srt.rpt"},
      {u"sales.Rpt", 1, u"sales.Rpt"},
      {u"SALES.RPT", 1, u"SALES.RPT"},
      {u"rpt", 1, u"rpt.rpt"},                // no dot: the extension is "RPT", not ".RPT"
      {u"sales.rpt ", 1, u"sales.rpt .rpt"},  // taken from the untrimmed text
      {u"sales.layout", 1, kCrystalExtension},
      {u"a.b.TEMPLATE", 1, kCrystalExtension},
      // Vardo: a trailing .RPT is refused; the dialog's own short list is kept.
      {u"sales", 2, u"sales.report"},
      {u"sales.srt", 2, u"sales.srt"},
      {u"sales.letter", 2, u"sales.letter"},
      {u"sales.REPORT", 2, u"sales.REPORT"},
      {u"sales.sly", 2, u"sales.sly.report"},  // older family, but not on the dialog's list
      {u"sales.rpt", 2, kVardoExtension},
      {u"SALES.RPT", 2, kVardoExtension},
      {u".rpt", 2, kVardoExtension},
      {u"rpt", 2, u"rpt.report"},
      // Any other kind: no extension rule at all.
      {u"sales", 0, u"sales"},
      {u"sales.layout", 3, u"sales.layout"},
  };
  for (const Case& c : cases) {
    Folder folder;
    OkOutcome out = pressOk(c.typed, c.kind, u"C:\\R\\", folder);
    SCOPED_TRACE(toUtf8(c.typed) + " kind " + std::to_string(c.kind));
    if (out.message) {
      EXPECT_EQ(*out.message, c.expected);
      EXPECT_FALSE(out.focusFileName);  // an extension refusal leaves the focus where it is
      EXPECT_EQ(out.fileName, c.typed);
      EXPECT_TRUE(folder.asked.empty());
    } else {
      EXPECT_EQ(out.fileName, c.expected);
      EXPECT_EQ(folder.asked, std::vector<Text>{u"C:\\R\\" + out.fileName});
    }
  }
}

TEST(DetailsRules, BlankNamesAreRefusedBeforeAnyOtherCheck) {
  for (const char16_t* typed : {u"", u"   "}) {
    Folder folder;
    OkOutcome out = pressOk(typed, 1, u"C:\\R\\", folder);
    EXPECT_EQ(out.message, Text(kNoFileName));
    EXPECT_TRUE(out.focusFileName);
    EXPECT_EQ(out.fileName, typed);
    EXPECT_TRUE(folder.asked.empty());
  }
  // Only spaces count as blank.
  Folder folder;
  EXPECT_TRUE(pressOk(u"\t", 0, u"", folder).accepted());
}

TEST(DetailsRules, AnExistingOrUntestableFileIsRefusedAndKeepsTheAppendedExtension) {
  Folder folder;
  folder.present = {u"C:\\R\\sales.rpt"};
  OkOutcome out = pressOk(u"sales", 1, u"C:\\R\\", folder);
  EXPECT_EQ(out.message, Text(kFileExists));
  EXPECT_TRUE(out.focusFileName);
  EXPECT_EQ(out.fileName, u"sales.rpt");

  // Joined with nothing between: a folder without its separator names a
  // file beside it.
  folder.present = {u"C:\\Rsales.rpt"};
  EXPECT_EQ(pressOk(u"sales", 1, u"C:\\R", folder).message, Text(kFileExists));
  EXPECT_TRUE(pressOk(u"sales", 1, u"C:\\R\\", folder).accepted());

  folder.broken = true;
  out = pressOk(u"new.report", 2, u"C:\\R\\", folder);
  EXPECT_EQ(out.message, Text(kFileExists));
  EXPECT_EQ(out.fileName, u"new.report");
}

}  // namespace
}  // namespace mervane::details
