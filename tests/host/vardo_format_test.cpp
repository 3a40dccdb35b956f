// The Vardo file formats: what the readers take from well-formed, odd and
// damaged headers, and that the shipped example reports read as documented.
#include "host/vardo_format.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace mervane::host {
namespace {

Text titleOf(const VardoProperties& p, TextView name = u"TITLE") { return p.find(name).value_or(u"<none>"); }

TEST(VardoDefinition, ReadsHeaderUpToTheBodyInEitherEncoding) {
  // Windows-1252: é is E9, the en dash 96, the euro sign 80.
  auto p = readDefinition(
      "VARDO DEFINITION 1\r\n; comment=ignored\r\n\r\n  title = Ventes \xE9t\xE9 \x96 \x80 \r\nAppData=12\r\n"
      "TITLE=second wins nothing\r\n[BODY]\r\nAPPDATA=99\r\nAUTHOR=in body\r\n");
  EXPECT_EQ(titleOf(p), u"Ventes été – €");
  EXPECT_EQ(definitionApplicationData(p), 12);
  EXPECT_FALSE(p.find(u"AUTHOR"));
  EXPECT_FALSE(p.find(u"; comment"));

  // A UTF-8 byte order mark switches the encoding; bare CR ends lines too.
  p = readDefinition("\xEF\xBB\xBFvardo  definition   3\rTITLE=Zahlungserinnerung \xE2\x80\x93 \xC3\xBC\rAPPDATA=-41");
  EXPECT_EQ(titleOf(p), u"Zahlungserinnerung – ü");
  EXPECT_EQ(definitionApplicationData(p), -41);

  // "=" inside a value stays; a line without "=" or without a name is skipped.
  p = readDefinition("VARDO DEFINITION 1\nTITLE=a=b\nNOTHING\n=orphan\n");
  EXPECT_EQ(titleOf(p), u"a=b");
  EXPECT_EQ(p.size(), 1u);
}

TEST(VardoDefinition, DamagedOrForeignFilesGiveNothing) {
  for (const char* bytes : {"", "\r\n", "VARDO DEFINITION\nTITLE=x", "VARDO DEFINITION 0\nTITLE=x",
                            "VARDO DEFINITION one\nTITLE=x", "VARDO DEFINITION 1 extra\nTITLE=x",
                            "VARDO REPORT 1\nTITLE=x", "#VARDO-DOCUMENT 2\n[Properties]\nTitle=x",
                            "\nVARDO DEFINITION 1\nTITLE=x", "VARDO DEFINITION 9999999999\nTITLE=x"}) {
    auto p = readDefinition(bytes);
    EXPECT_TRUE(p.empty()) << bytes;
    EXPECT_EQ(definitionApplicationData(p), 0) << bytes;
  }
  std::string garbage;
  for (int i = 0; i < 4096; ++i) garbage.push_back(static_cast<char>((i * 7919) & 0xFF));
  EXPECT_TRUE(readDefinition(garbage).empty());
  EXPECT_TRUE(readDefinition(std::string("VARDO\0DEFINITION 1\nTITLE=x", 27)).empty());

  // A file cut short keeps what it has.
  auto p = readDefinition("VARDO DEFINITION 1\r\nAPPDATA=7\r\nTITLE=Half a tit");
  EXPECT_EQ(titleOf(p), u"Half a tit");
  EXPECT_EQ(definitionApplicationData(p), 7);
}

TEST(VardoDefinition, ApplicationDataIsStrictDecimalIn32Bits) {
  auto data = [](const char* value) {
    return definitionApplicationData(readDefinition(std::string("VARDO DEFINITION 1\nAPPDATA=") + value));
  };
  EXPECT_EQ(data("2147483647"), 2147483647);
  EXPECT_EQ(data("-2147483648"), INT32_MIN);
  EXPECT_EQ(data("+5"), 5);
  EXPECT_EQ(data("007"), 7);
  for (const char* bad : {"", "-", "2147483648", "-2147483649", "99999999999", "12a", "1 2", "&H10", "1.5", "1e3"})
    EXPECT_EQ(data(bad), 0) << bad;
  EXPECT_EQ(definitionApplicationData(readDefinition("VARDO DEFINITION 1\nTITLE=t")), 0);
}

TEST(VardoDocument, ReadsOnlyThePropertiesSection) {
  auto p = readDocument(
      "\xEF\xBB\xBF#VARDO-DOCUMENT 2\nTitle = before any section\n[Data]\nTitle = data section\n"
      "[ properties ]\n# comment\n; comment\ntitle = \xC3\x89tiquettes 3 \xC3\x97 8\n"
      "AppSpecificData = 17\nTITLE = duplicate\nFormula = a=b\n[Layout]\nAppSpecificData = 99\n");
  EXPECT_EQ(titleOf(p, u"Title"), u"Étiquettes 3 × 8");
  EXPECT_EQ(titleOf(p, u"appspecificdata"), u"17");
  EXPECT_EQ(titleOf(p, u"Formula"), u"a=b");
  EXPECT_EQ(p.size(), 3u);
}

TEST(VardoDocument, DamagedOrForeignFilesGiveNothing) {
  for (const char* bytes : {"", "#VARDO-DOCUMENT\n[Properties]\nTitle=x", "VARDO-DOCUMENT 2\n[Properties]\nTitle=x",
                            "VARDO DEFINITION 1\nTITLE=x", "#VARDO-DOCUMENT 2\nTitle=x\n[Layout]\nTitle=y"})
    EXPECT_TRUE(readDocument(bytes).empty()) << bytes;
  // Invalid UTF-8 in a value is replaced, not fatal.
  auto p = readDocument("#VARDO-DOCUMENT 2\n[Properties]\nTitle=ab\xFF\xC3\n");
  EXPECT_EQ(titleOf(p, u"Title"), u"ab\uFFFD\uFFFD");
}

TEST(Windows1252, MapsTheHighControlRangeAndKeepsLatin1) {
  EXPECT_EQ(fromWindows1252("\x80\x8A\x96\x9F\xA0\xE9\xFF"), u"€Š–Ÿ\u00A0éÿ");
  EXPECT_EQ(fromWindows1252("\x81\x8D\x8F\x90\x9D"), u"\u0081\u008D\u008F\u0090\u009D");
}

std::string fileBytes(const std::string& name) {
  std::ifstream in(std::string(MERVANE_VARDO_EXAMPLES) + "/" + name, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

TEST(VardoExamples, ShippedReportsReadAsDocumented) {
  struct Older {
    const char* file;
    Text title;
    std::int32_t data;
  };
  for (const Older& e : {Older{"SALES.SRT", u"Ventes mensuelles par région", 12},
                         Older{"INVOICE.SLY", u"Invoice layout – A4 with logo", 3},
                         Older{"REMINDER.SLT", u"Zahlungserinnerung – 1. Mahnung", 41}}) {
    auto p = readDefinition(fileBytes(e.file));
    EXPECT_EQ(titleOf(p), e.title) << e.file;
    EXPECT_EQ(definitionApplicationData(p), e.data) << e.file;
  }
  struct Newer {
    const char* file;
    Text title, data;
  };
  for (const Newer& e : {Newer{"stock.report", u"Stock valuation by warehouse", u"21"},
                         Newer{"delivery.layout", u"Lieferschein mit Übersicht", u"7"},
                         Newer{"address.label", u"Étiquettes adresse 3 × 8", u"0"},
                         Newer{"welcome.letter", u"Carta de bienvenida para clientes nuevos", u"205"}}) {
    auto p = readDocument(fileBytes(e.file));
    EXPECT_EQ(titleOf(p, u"Title"), e.title) << e.file;
    EXPECT_EQ(titleOf(p, u"AppSpecificData"), e.data) << e.file;
  }
}

}  // namespace
}  // namespace mervane::host
