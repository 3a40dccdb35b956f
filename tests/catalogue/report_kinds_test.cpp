#include "catalogue/report_kinds.h"

#include <gtest/gtest.h>

namespace mervane {
namespace {

TEST(ReportKinds, ExtensionIsTextAfterLastDotOrWholeName) {
  EXPECT_EQ(extensionOf(u"sales.rpt"), u"rpt");
  EXPECT_EQ(extensionOf(u"sales.rpt.bak"), u"bak");
  EXPECT_EQ(extensionOf(u"RPT"), u"RPT");
  EXPECT_EQ(extensionOf(u"sales."), u"");
  EXPECT_EQ(extensionOf(u"a.RPT "), u"RPT ");
}

TEST(ReportKinds, ClassifiesByUpperCasedExtensionExactly) {
  EXPECT_EQ(classifyFileName(u"sales.Rpt"), ReportFamily::Crystal);
  EXPECT_EQ(classifyFileName(u"SALES.RPT"), ReportFamily::Crystal);
  EXPECT_EQ(classifyFileName(u"RPT"), ReportFamily::Crystal);
  EXPECT_EQ(classifyFileName(u"sales.rpt.bak"), ReportFamily::None);
  EXPECT_EQ(classifyFileName(u"sales.rpt "), ReportFamily::None);
  EXPECT_EQ(classifyFileName(u"sales."), ReportFamily::None);
  EXPECT_EQ(classifyFileName(u"REPORT"), ReportFamily::VardoNewer);
  for (auto name : {u"a.srt", u"a.SLY", u"a.slt", u"a.Slb", u"a.stm"})
    EXPECT_EQ(classifyFileName(name), ReportFamily::VardoOlder) << toUtf8(name);
  for (auto name : {u"a.report", u"a.layout", u"a.LABEL", u"a.template", u"a.letter"})
    EXPECT_EQ(classifyFileName(name), ReportFamily::VardoNewer) << toUtf8(name);
  EXPECT_EQ(classifyFileName(u"a.txt"), ReportFamily::None);
  EXPECT_EQ(classifyFileName(u""), ReportFamily::None);
}

TEST(ReportKinds, KindTextsAndExportOrder) {
  EXPECT_EQ(kindText(ReportFamily::Crystal), u"Crystal");
  EXPECT_EQ(kindText(ReportFamily::VardoOlder), u"Vardo");
  EXPECT_EQ(kindText(ReportFamily::VardoNewer), u"Vardo");
  EXPECT_EQ(kExportExtensions[7], u"layout");
  EXPECT_EQ(kExportExtensions[8], u"letter");
  EXPECT_EQ(kExportExtensions[10], u"template");
}

}  // namespace
}  // namespace mervane
