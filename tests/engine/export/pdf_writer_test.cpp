// The PDF export, read back by independent readers: poppler's pdftotext
// (the text, and where each word stands), pdfinfo and pdfimages, and qpdf's
// structural check where it is installed.
#include "engine/export/pdf_writer.h"

#include <regex>
#include <sstream>

#include "engine/export/pdf_fonts.h"
#include "export_test_support.h"

using namespace mervane;
using namespace mervane::engine;
using namespace mervane::engine::exporting;
using namespace mervane::engine::exporting::testing;

namespace {

PdfOptions embedded() {
  static auto fonts = std::make_shared<FontFolder>();
  PdfOptions options;
  options.fonts = fonts;
  return options;
}

std::filesystem::path writeFile(const std::string& name, std::vector<layout::Page> pages,
                                const PdfOptions& options = embedded()) {
  auto path = scratch(name);
  std::ofstream out(path, std::ios::binary);
  EXPECT_TRUE(writePdf(feedOf(std::move(pages)), out, {}, options));
  return path;
}

std::string text(const std::filesystem::path& pdf, const std::string& options = "") {
  return capture("pdftotext -enc UTF-8 " + options + " '" + pdf.string() + "' -");
}

void expectValid(const std::filesystem::path& pdf) {
  if (!have("qpdf")) return;
  int status = -1;
  std::string report = capture("qpdf --check '" + pdf.string() + "' 2>&1", &status);
  EXPECT_EQ(status, 0) << report;
  EXPECT_EQ(report.find("WARNING"), std::string::npos) << report;
}

// The left and right edge, in points, of the word `word` on the first page.
std::pair<double, double> wordEdges(const std::filesystem::path& pdf, const std::string& word) {
  std::string html = capture("pdftotext -bbox -f 1 -l 1 '" + pdf.string() + "' -");
  std::smatch m;
  std::regex pattern("<word xMin=\"([0-9.]+)\" yMin=\"[0-9.]+\" xMax=\"([0-9.]+)\"[^>]*>" + word + "</word>");
  if (!std::regex_search(html, m, pattern)) return {-1, -1};
  return {std::stod(m[1]), std::stod(m[2])};
}

std::string pageCount(const std::filesystem::path& pdf) {
  std::string info = capture("pdfinfo '" + pdf.string() + "'");
  std::smatch m;
  return std::regex_search(info, m, std::regex("Pages: +([0-9]+)")) ? m[1].str() : info;
}

}  // namespace

TEST(PdfExport, EveryScriptStaysTextInEmbeddedSubsets) {
  const std::u16string lines[] = {u"Łódź Przemysł", u"Dvořák Strojírna", u"İstanbul Şişli Ağaç",
                                  u"Αθήνα Ωμέγα", u"Москва Щука", u"Hà Nội Việt Nam",
                                  u"Snow \u2603 falls"};  // Liberation has no snowman: DejaVu draws it
  layout::Page page;
  int y = 1440;
  for (const auto& line : lines) page.items.push_back(run(1440, y += 400, line, 0, {}, layout::TextAlign::Left, 6000));
  layout::TextRun styled = run(1440, y += 400, u"Times New Roman bold italic ő", 0, {}, layout::TextAlign::Left, 6000);
  styled.font = {u"Times New Roman", 240, true, true, false};
  page.items.push_back(styled);
  layout::TextRun mono = run(1440, y += 400, u"Courier New (fixed) \\ ž", 0, {}, layout::TextAlign::Left, 6000);
  mono.font = {u"Courier New", 200, true, false, false};
  page.items.push_back(mono);
  PdfOptions options = embedded();
  options.title = u"Invoices – Łódź";
  options.subject = u"Customers";
  auto pdf = writeFile("scripts.pdf", {page}, options);
  expectValid(pdf);
  std::string out = text(pdf);
  for (const auto& line : lines) EXPECT_NE(out.find(toUtf8(line)), std::string::npos) << out;
  EXPECT_NE(out.find("Times New Roman bold italic ő"), std::string::npos) << out;
  EXPECT_NE(out.find("Courier New (fixed) \\ ž"), std::string::npos) << out;

  // pdffonts: one line per font after two heading lines, "emb" and "sub" both yes.
  std::string fonts = capture("pdffonts '" + pdf.string() + "'");
  std::istringstream rows(fonts);
  std::string row;
  int count = 0;
  for (int i = 0; std::getline(rows, row); ++i) {
    if (i < 2) continue;
    ++count;
    EXPECT_NE(row.find("CID TrueType      Identity-H       yes yes yes"), std::string::npos) << fonts;
  }
  EXPECT_EQ(count, 4) << fonts;  // Liberation Sans, Serif Bold Italic, Mono Bold, DejaVu Sans
  for (const char* face : {"+LiberationSans ", "+LiberationSerif-BoldItalic", "+LiberationMono-Bold", "+DejaVuSans "})
    EXPECT_NE(fonts.find(face), std::string::npos) << fonts;

  std::string info = capture("pdfinfo '" + pdf.string() + "'");
  EXPECT_NE(info.find("Title:           Invoices – Łódź"), std::string::npos) << info;
  EXPECT_NE(info.find("Subject:         Customers"), std::string::npos) << info;
  EXPECT_NE(info.find("CreationDate:"), std::string::npos) << info;

  // The subsets render: poppler draws ink where the text is, and complains of nothing.
  int status = -1;
  std::string complaints = capture("pdftoppm -r 30 -gray '" + pdf.string() + "' '" + scratch("scripts").string() +
                                   "' 2>&1", &status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(complaints, "");
}

TEST(PdfExport, WithoutFontFilesTheStandardFontsStandIn) {
  layout::Page page;
  page.items.push_back(run(1440, 1440, u"Müller & Söhne, Zoë Ñandú — 12 €"));
  page.items.push_back(run(1440, 1800, u"He said \"(hi)\" \\ ok", 0, {}, layout::TextAlign::Left, 6000));
  page.items.push_back(run(1440, 2160, u"Greek Ω stays out; tab\there"));
  layout::TextRun bold = run(1440, 2520, u"Bold Times Italic");
  bold.font = {u"Times New Roman", 240, true, true, true};
  page.items.push_back(bold);
  layout::TextRun mono = run(1440, 2880, u"Courier (fixed)");
  mono.font.name = u"Courier New";
  page.items.push_back(mono);
  auto pdf = writeFile("text.pdf", {page}, {});
  expectValid(pdf);
  std::string out = text(pdf);
  EXPECT_NE(out.find("Müller & Söhne, Zoë Ñandú — 12 €"), std::string::npos) << out;
  EXPECT_NE(out.find("He said \"(hi)\" \\ ok"), std::string::npos) << out;
  EXPECT_NE(out.find("Greek ? stays out; tab here"), std::string::npos) << out;
  EXPECT_NE(out.find("Bold Times Italic"), std::string::npos) << out;
  EXPECT_NE(out.find("Courier (fixed)"), std::string::npos) << out;
  std::string fonts = capture("pdffonts '" + pdf.string() + "'");
  EXPECT_NE(fonts.find("Times-BoldItalic"), std::string::npos) << fonts;
  EXPECT_NE(fonts.find("Courier"), std::string::npos) << fonts;
  EXPECT_NE(fonts.find("Helvetica"), std::string::npos) << fonts;
}

TEST(PdfExport, RunsAreAlignedInTheirBoxesByTheFontsOwnWidths) {
  layout::Page page;  // boxes from 72 to 216 points across
  page.items.push_back(run(1440, 1440, u"Leftword", 0, {}, layout::TextAlign::Left, 2880));
  page.items.push_back(run(1440, 1800, u"Rightword", 0, {}, layout::TextAlign::Right, 2880));
  page.items.push_back(run(1440, 2160, u"Centreword", 0, {}, layout::TextAlign::Centre, 2880));
  auto pdf = writeFile("align.pdf", {page});
  auto [leftMin, leftMax] = wordEdges(pdf, "Leftword");
  auto [rightMin, rightMax] = wordEdges(pdf, "Rightword");
  auto [centreMin, centreMax] = wordEdges(pdf, "Centreword");
  EXPECT_NEAR(leftMin, 72, 1);
  EXPECT_NEAR(rightMax, 216, 1.5);
  EXPECT_NEAR((centreMin + centreMax) / 2, 144, 1.5);
  // Liberation Sans at 10 points, from its hmtx: "Leftword" is 38.35 points.
  EXPECT_NEAR(leftMax - leftMin, 38.35, 0.2);
  EXPECT_GT(rightMin, 72);
}

TEST(PdfExport, LinesBoxesAndImagesMakeAValidFile) {
  layout::Page page;
  page.width = 16838;  // A4 across
  page.height = 11906;
  for (auto style : {model::BorderStyle::Single, model::BorderStyle::Double, model::BorderStyle::Dashed,
                     model::BorderStyle::Dotted, model::BorderStyle::None})
    page.items.push_back(layout::LineItem{100, 100 + 200 * static_cast<int>(style), 5000, 900, 30, 0xFF0000, style});
  page.items.push_back(layout::BoxItem{{2000, 2000, 3000, 1000}, model::BorderStyle::Double, 40, 0x0000FF, true, 0xEEEEEE});
  page.items.push_back(layout::BoxItem{{2000, 4000, 0, 1000}});  // empty: left out
  auto pixels = std::make_shared<std::vector<std::uint32_t>>(
      std::vector<std::uint32_t>{0xFFFF0000, 0x8000FF00, 0xFF0000FF, 0x00FFFFFF, 0xFF000000, 0xFF123456});
  page.items.push_back(layout::ImageItem{{6000, 2000, 1440, 960}, 3, 2, pixels});
  page.items.push_back(layout::ImageItem{{6000, 4000, 1440, 960}, 30, 20, pixels});  // too few pixels: left out
  layout::Page again = page;  // the same picture on a second page: written once
  auto pdf = writeFile("shapes.pdf", {page, again});
  expectValid(pdf);
  std::string info = capture("pdfinfo '" + pdf.string() + "'");
  EXPECT_NE(info.find("841.9 x 595.3 pts"), std::string::npos) << info;
  std::string images = capture("pdfimages -list '" + pdf.string() + "'");
  EXPECT_NE(images.find("smask"), std::string::npos) << images;
  std::regex picture("\n +([12]) +[0-9]+ image +3 +2 +rgb +3 +8 +image +no +([0-9]+) ");
  std::vector<std::string> objects;
  for (std::sregex_iterator it(images.begin(), images.end(), picture), end; it != end; ++it)
    objects.push_back((*it)[2]);
  ASSERT_EQ(objects.size(), 2u) << images;
  EXPECT_EQ(objects[0], objects[1]) << images;
}

TEST(PdfExport, AJpegGoesInAsItCameOnceForAllPages) {
  std::ifstream in(std::string(MERVANE_TEST_PICTURES) + "/logo.jpg", std::ios::binary);
  auto jpeg = std::make_shared<const std::string>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  layout::ImageItem logo{{1440, 1440, 2880, 1440}, 160, 80, nullptr, jpeg, 3};
  layout::Page first, second;
  first.items.push_back(logo);
  second.items.push_back(logo);
  auto pdf = writeFile("jpeg.pdf", {first, second});
  expectValid(pdf);
  std::string images = capture("pdfimages -list '" + pdf.string() + "'");
  std::regex embedded("\n +([12]) +[0-9]+ image +160 +80 +rgb +3 +8 +jpeg +no +([0-9]+) ");
  std::vector<std::string> objects;
  for (std::sregex_iterator it(images.begin(), images.end(), embedded), end; it != end; ++it) objects.push_back((*it)[2]);
  ASSERT_EQ(objects.size(), 2u) << images;
  EXPECT_EQ(objects[0], objects[1]) << images;
  // The file's bytes, unchanged, are the image's stream.
  std::ifstream written(pdf, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(written)), std::istreambuf_iterator<char>());
  EXPECT_NE(bytes.find(*jpeg), std::string::npos);
}

TEST(PdfExport, AThousandPagesStreamAndCanBeStopped) {
  auto feed = [](std::int32_t number) -> std::shared_ptr<const layout::Page> {
    if (number > 1000) return nullptr;
    auto page = std::make_shared<layout::Page>();
    page->number = number;
    for (int line = 0; line < 40; ++line)
      page->items.push_back(run(720, 720 + line * 360, u"Page " + decimal(number) + u" line " + decimal(line), line + 1));
    return page;
  };
  auto path = scratch("thousand.pdf");
  {
    std::ofstream out(path, std::ios::binary);
    std::int32_t last = 0;
    EXPECT_TRUE(writePdf(feed, out, [&](std::int32_t done) {
      EXPECT_EQ(done, last + 1);
      last = done;
      return true;
    }));
    EXPECT_EQ(last, 1000);
  }
  expectValid(path);
  EXPECT_EQ(pageCount(path), "1000");
  EXPECT_NE(text(path, "-f 1000 -l 1000").find("Page 1000 line 39"), std::string::npos);

  std::ostringstream stopped;
  EXPECT_FALSE(writePdf(feed, stopped, [](std::int32_t done) { return done < 3; }));
}

TEST(PdfExport, NoPagesStillMakesAFileAndAFailingStreamThrows) {
  auto pdf = writeFile("empty.pdf", {});
  expectValid(pdf);
  EXPECT_EQ(pageCount(pdf), "1");

  std::ostringstream broken;
  broken.setstate(std::ios::badbit);
  EXPECT_THROW(writePdf(feedOf(std::vector<layout::Page>(1)), broken), std::ios_base::failure);
}

TEST(PdfFonts, ReportFontsChooseTheNearestStandardFont) {
  EXPECT_STREQ(pdfFontFor({u"Arial", 200, true, false, false}).baseFont(), "Helvetica-Bold");
  EXPECT_STREQ(pdfFontFor({u"Times New Roman", 200, false, true, false}).baseFont(), "Times-Italic");
  EXPECT_STREQ(pdfFontFor({u"Liberation Serif", 200, false, false, false}).baseFont(), "Times-Roman");
  EXPECT_STREQ(pdfFontFor({u"DejaVu Sans Mono", 200, true, true, false}).baseFont(), "Courier-BoldOblique");
  EXPECT_STREQ(pdfFontFor({u"Liberation Sans", 200, false, false, false}).baseFont(), "Helvetica");
  EXPECT_STREQ(pdfFontFor({u"Tahoma", 200, false, false, false}).baseFont(), "Helvetica");
  EXPECT_EQ(winAnsi(u"€Œœ\U0001F600x"), "\x80\x8C\x9C?x");
}
