// The PDF export with the fonts Windows draws with, under Wine: the file is
// left in pdf-export/ of the working folder for check_pdf.sh, which reads it
// back with poppler and qpdf.
#include "engine/win/gdi_font_source.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "engine/export/pdf_writer.h"
#include "engine/export/truetype.h"

using namespace mervane;
using namespace mervane::engine;

TEST(GdiFontSource, GivesTheFacesGdiDrawsWithAndWritesThemIntoThePdf) {
  auto fonts = std::make_shared<win::GdiFontSource>();
  exporting::TrueTypeFont arial(fonts->fontFile(u"Arial", false, false));
  EXPECT_EQ(arial.family(), "Liberation Sans");  // the prefix's stand-in for Arial
  EXPECT_TRUE(arial.has(U'ł'));
  exporting::TrueTypeFont bold(fonts->fontFile(u"Times New Roman", true, false));
  EXPECT_TRUE(bold.bold());
  std::vector<Text> fallbacks = fonts->fallbackFaces();
  EXPECT_FALSE(fallbacks.empty());

  layout::Page page;
  const Text lines[] = {u"Łódź Przemysł", u"Dvořák Strojírna", u"Москва Αθήνα", u"Snow \u2603 falls"};
  int y = 1440;
  for (const Text& line : lines) {
    layout::TextRun run;
    run.box = {1440, y += 400, 6000, 300};
    run.text = line;
    page.items.push_back(run);
  }
  std::filesystem::create_directories("pdf-export");
  {
    std::ofstream out("pdf-export/customers.pdf", std::ios::binary | std::ios::trunc);
    exporting::PdfOptions options;
    options.fonts = fonts;
    options.title = u"Customers";
    ASSERT_TRUE(exporting::writePdf(exporting::feedOf(std::vector<layout::Page>{page}), out, {}, options));
  }
  std::ifstream in("pdf-export/customers.pdf", std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_NE(bytes.find("/FontFile2"), std::string::npos);
  EXPECT_EQ(bytes.find("/Type1"), std::string::npos);
}
