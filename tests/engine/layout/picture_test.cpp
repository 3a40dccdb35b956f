// Pictures: their headers, and picture objects laid out on pages (from the
// report file or a column), decoded once, damaged ones as empty frames.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>

#include "engine/layout/page_source.h"
#include "engine/layout/picture.h"
#include "fake_data.h"

namespace mervane::engine::layout {
namespace {

using model::ObjectKind;
using model::SectionKind;

std::string pictureFile(const char* name) {
  std::ifstream in(std::string(MERVANE_TEST_PICTURES) + "/" + name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// Gives every picture its header's size in one grey, counting the calls;
// refuses the damaged JPEG (the short one).
class CountingDecoder final : public PictureDecoder {
 public:
  bool decode(std::string_view bytes, DecodedPicture& out) override {
    ++calls;
    const PictureHeader header = readPictureHeader(bytes);
    if (header.format == PictureFormat::Jpeg && bytes.size() < 1000) return false;
    out.width = header.width;
    out.height = header.height;
    out.pixels.assign(static_cast<std::size_t>(out.width) * out.height, 0xFF808080);
    return true;
  }
  std::atomic<int> calls{0};
};

model::ReportObject pictureObject(std::string bytes, std::int32_t x) {
  model::ReportObject o;
  o.kind = ObjectKind::Picture;
  o.picture.image = model::SharedBytes(std::move(bytes));
  o.x = x;
  o.width = o.height = 1440;
  return o;
}

template <class Item>
std::vector<const Item*> itemsOf(const Page& page) {
  std::vector<const Item*> found;
  for (const auto& item : page.items)
    if (auto p = std::get_if<Item>(&item)) found.push_back(p);
  return found;
}

std::shared_ptr<const Page> firstPage(const model::ReportDefinition& report, testing::FakeTable table,
                                      std::vector<std::shared_ptr<const Page>>* all = nullptr) {
  testing::FakeProvider data;
  data.tables[u""] = std::move(table);
  ReportDocument document;
  document.definition = report;
  auto source = runReport(document, data, std::make_shared<ApproximateMeasure>());
  if (all)
    for (std::int32_t n = 1; auto page = source->page(n); ++n) all->push_back(page);
  return source->page(1);
}

TEST(Pictures, HeadersGiveFormatAndSizeAndRefuseWhatIsNotAPicture) {
  const std::tuple<const char*, PictureFormat, int, int> cases[] = {
      {"logo.jpg", PictureFormat::Jpeg, 160, 80}, {"logo.png", PictureFormat::Png, 90, 45},
      {"logo.gif", PictureFormat::Gif, 30, 20},   {"logo.bmp", PictureFormat::Bmp, 30, 20},
      {"notes.png", PictureFormat::Unknown, 0, 0}};
  for (const auto& [file, format, width, height] : cases) {
    const PictureHeader h = readPictureHeader(pictureFile(file));
    EXPECT_EQ(h.format, format) << file;
    EXPECT_EQ(std::pair(h.width, h.height), std::pair(width, height)) << file;
  }
  // Every cut of a JPEG before its frame header, and a zero segment length, read as no picture.
  const std::string jpeg = pictureFile("logo.jpg");
  for (std::size_t cut = 0; cut < 160; ++cut) EXPECT_EQ(readPictureHeader(std::string_view(jpeg).substr(0, cut)).width, 0);
  EXPECT_EQ(readPictureHeader(std::string("\xFF\xD8\xFF\xE0\x00\x00", 6)).format, PictureFormat::Unknown);
}

TEST(Pictures, OnEveryPageDecodedOnceAndDamagedOnesAnEmptyFrame) {
  auto decoder = std::make_shared<CountingDecoder>();
  installPictureDecoder(decoder);
  model::ReportDefinition report = model::blankReport();
  report.sections[0].height = 0;  // report header
  report.sections[1].height = 1500;  // page header
  report.sections[1].objects = {pictureObject(pictureFile("logo.jpg"), 0), pictureObject(pictureFile("damaged.jpg"), 3000),
                                pictureObject(pictureFile("notes.png"), 6000)};
  report.sections[2].objects.push_back(model::ReportObject{.kind = ObjectKind::DatabaseField, .field = {u"T", u"id"}});
  std::vector<std::shared_ptr<const Page>> pages;
  firstPage(report, {{u"id"}, 200, [](std::int64_t row, std::size_t) { return formula::Value(double(row)); }}, &pages);
  ASSERT_GE(pages.size(), 3u);
  for (const auto& page : pages) {
    const auto images = itemsOf<ImageItem>(*page);
    const auto frames = itemsOf<BoxItem>(*page);
    ASSERT_EQ(images.size(), 1u);
    // 160 x 80 in an inch square: full width, centred down, the file kept for the PDF.
    EXPECT_EQ(images[0]->box, (Rect{1440, 1440 + 360, 1440, 720}));
    ASSERT_TRUE(images[0]->jpeg && images[0]->pixels);
    EXPECT_EQ(images[0]->jpegComponents, 3);
    EXPECT_EQ(images[0]->pixels, itemsOf<ImageItem>(*pages[0])[0]->pixels);
    ASSERT_EQ(frames.size(), 2u);  // the damaged JPEG and the text file
    EXPECT_EQ(frames[0]->box, (Rect{1440 + 3000, 1440, 1440, 1440}));
  }
  EXPECT_EQ(decoder->calls.load(), 2);  // the logo and the damaged file, once each; the text file never

  // A window's loader: a frame until the picture is decoded, then the picture.
  const auto logo = pictureObject(pictureFile("logo.png"), 0);
  std::vector<DisplayItem> before, after;
  {
    PictureLoader loader({});
    appendPictureItems(logo, {0, 0, 900, 900}, logo.picture.image.shared(), before, &loader);
    for (int i = 0; i < 500 && !loader.idle(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    appendPictureItems(logo, {0, 0, 900, 900}, logo.picture.image.shared(), after, &loader);
  }
  EXPECT_TRUE(before.size() == 1 && std::holds_alternative<BoxItem>(before[0]));
  EXPECT_TRUE(after.size() == 1 && std::holds_alternative<ImageItem>(after[0]));
  installPictureDecoder(nullptr);
}

TEST(Pictures, FromAColumnEachRecordShowsItsOwnAndOddValuesAnEmptyFrame) {
  installPictureDecoder(std::make_shared<CountingDecoder>());
  std::string hex;
  for (unsigned char c : pictureFile("logo.png")) hex += "0123456789ABCDEF"[c >> 4], hex += "0123456789abcdef"[c & 15];
  const Text png = fromUtf8(hex);
  // PNG bytes as the data door hands them over, bare or in the drivers' forms;
  // then a null, a number, bad hexadecimal and text that is not a picture.
  const std::vector<formula::Value> cells = {png, u"0x" + png, u"\\x" + png, u"X'" + png + u"'", {}, 42.0, u"0x89PG",
                                             u"4E6F7420612070696374757265"};
  model::ReportDefinition report = model::blankReport();
  model::ReportObject photo{.kind = ObjectKind::Picture, .width = 900, .height = 900, .field = {u"T", u"photo"}};
  photo.picture.stretch = true;
  report.sections[2].height = 1000;
  report.sections[2].objects.push_back(photo);
  auto page = firstPage(report, {{u"photo"}, std::int64_t(cells.size()), [&](std::int64_t row, std::size_t) {
                                   return cells[static_cast<std::size_t>(row)];
                                 }});
  ASSERT_TRUE(page);
  std::vector<bool> shown;  // per record: the picture, stretched to its frame, or an empty frame
  for (const auto& item : page->items) {
    if (auto image = std::get_if<ImageItem>(&item)) {
      EXPECT_EQ(image->box.height, 900);
    }
    if (!std::holds_alternative<TextRun>(item)) shown.push_back(std::holds_alternative<ImageItem>(item));
  }
  EXPECT_EQ(shown, (std::vector<bool>{true, true, true, true, false, false, false, false}));
  installPictureDecoder(nullptr);
}

}  // namespace
}  // namespace mervane::engine::layout
