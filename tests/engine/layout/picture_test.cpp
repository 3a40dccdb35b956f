// Pictures: their headers, their place in the frame, and picture objects
// laid out on pages, decoded once, with damaged files shown as empty frames.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <fstream>
#include <iterator>

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

// Gives every picture its header's size, in one grey, and counts the calls.
class CountingDecoder final : public PictureDecoder {
 public:
  bool decode(std::string_view bytes, DecodedPicture& out) override {
    ++calls;
    const PictureHeader header = readPictureHeader(bytes);
    if (header.format == PictureFormat::Jpeg && bytes.size() < 1000) return false;  // the damaged one is short
    out.width = header.width;
    out.height = header.height;
    out.pixels.assign(static_cast<std::size_t>(out.width) * out.height, 0xFF808080);
    return true;
  }
  std::atomic<int> calls{0};
};

model::ReportObject pictureObject(const Text& name, std::string bytes, std::int32_t x, bool stretch = false) {
  model::ReportObject o;
  o.kind = ObjectKind::Picture;
  o.name = name;
  o.picture.image = model::SharedBytes(std::move(bytes));
  o.picture.stretch = stretch;
  o.x = x;
  o.width = 1440;
  o.height = 1440;
  return o;
}

TEST(Pictures, HeadersGiveFormatAndSizeAndRefuseWhatIsNotAPicture) {
  struct Case {
    const char* file;
    PictureFormat format;
    std::int32_t width, height;
  } cases[] = {{"logo.jpg", PictureFormat::Jpeg, 160, 80},
               {"logo.png", PictureFormat::Png, 90, 45},
               {"logo.gif", PictureFormat::Gif, 30, 20},
               {"logo.bmp", PictureFormat::Bmp, 30, 20},
               {"notes.png", PictureFormat::Unknown, 0, 0}};
  for (const Case& c : cases) {
    const PictureHeader h = readPictureHeader(pictureFile(c.file));
    EXPECT_EQ(h.format, c.format) << c.file;
    EXPECT_EQ(h.width, c.width) << c.file;
    EXPECT_EQ(h.height, c.height) << c.file;
  }
  EXPECT_EQ(readPictureHeader(pictureFile("logo.jpg")).components, 3);
  // Every cut of a JPEG before its frame header, and odd segment lengths, read as no picture.
  const std::string jpeg = pictureFile("logo.jpg");
  for (std::size_t cut = 0; cut < 160; ++cut)
    EXPECT_EQ(readPictureHeader(std::string_view(jpeg).substr(0, cut)).width, 0) << cut;
  EXPECT_EQ(readPictureHeader(std::string("\xFF\xD8\xFF\xE0\x00\x00", 6)).format, PictureFormat::Unknown);
}

TEST(Pictures, FitTheirFrameKeepingTheirShapeUnlessStretched) {
  const Rect frame{100, 200, 2000, 1000};
  EXPECT_EQ(fitPicture(frame, 160, 80, false), frame);
  EXPECT_EQ(fitPicture(frame, 100, 100, false), (Rect{600, 200, 1000, 1000}));  // centred across
  EXPECT_EQ(fitPicture(frame, 400, 100, false), (Rect{100, 450, 2000, 500}));   // centred down
  EXPECT_EQ(fitPicture(frame, 100, 100, true), frame);
  EXPECT_EQ(fitPicture(frame, 0, 100, false), frame);
}

TEST(Pictures, LaidOutOnEveryPageDecodedOnceAndDamagedOnesShowAnEmptyFrame) {
  auto decoder = std::make_shared<CountingDecoder>();
  installPictureDecoder(decoder);
  model::ReportDefinition report = model::blankReport();
  for (auto& section : report.sections) {
    if (section.kind == SectionKind::ReportHeader) section.height = 0;
    if (section.kind == SectionKind::PageHeader) {
      section.height = 1500;
      section.objects.push_back(pictureObject(u"logo", pictureFile("logo.jpg"), 0));
      section.objects.push_back(pictureObject(u"broken", pictureFile("damaged.jpg"), 3000));
      section.objects.push_back(pictureObject(u"notes", pictureFile("notes.png"), 6000, true));
    }
    if (section.kind == SectionKind::Details) {
      model::ReportObject line;
      line.kind = ObjectKind::DatabaseField;
      line.field = {u"T", u"id", {}};
      section.objects.push_back(line);
    }
  }
  testing::FakeProvider data;
  data.tables[u""] = testing::FakeTable{{u"id"}, 200, [](std::int64_t row, std::size_t) {
                                          return formula::Value(static_cast<double>(row));
                                        }};
  ReportDocument document;
  document.definition = report;
  auto source = runReport(document, data, std::make_shared<ApproximateMeasure>());
  std::vector<std::shared_ptr<const Page>> pages;
  for (std::int32_t n = 1; auto page = source->page(n); ++n) pages.push_back(page);
  ASSERT_GE(pages.size(), 3u);

  const std::vector<std::uint32_t>* shared = nullptr;
  for (const auto& page : pages) {
    std::vector<const ImageItem*> images;
    std::vector<const BoxItem*> frames;
    for (const auto& item : page->items) {
      if (auto image = std::get_if<ImageItem>(&item)) images.push_back(image);
      if (auto box = std::get_if<BoxItem>(&item)) frames.push_back(box);
    }
    ASSERT_EQ(images.size(), 1u);
    // 160 x 80 in an inch square: full width, centred down, the file kept for the PDF.
    EXPECT_EQ(images[0]->box, (Rect{1440, 1440 + 360, 1440, 720}));
    EXPECT_EQ(images[0]->pixelWidth, 160);
    ASSERT_TRUE(images[0]->jpeg && images[0]->pixels);
    EXPECT_EQ(images[0]->jpegComponents, 3);
    if (!shared) shared = images[0]->pixels.get();
    EXPECT_EQ(images[0]->pixels.get(), shared);
    // The damaged JPEG and the text file: a thin frame each, nothing else.
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames[0]->box, (Rect{1440 + 3000, 1440, 1440, 1440}));
    EXPECT_EQ(frames[1]->box.x, 1440 + 6000);
    EXPECT_EQ(frames[0]->border, model::BorderStyle::Single);
  }
  EXPECT_EQ(decoder->calls.load(), 2);  // the logo and the damaged file, once each; the text file never

  // Without a decoder a JPEG still lays out, for exports that embed it whole.
  installPictureDecoder(nullptr);
  document.definition.sections[1].objects.resize(1);
  auto again = runReport(document, data, std::make_shared<ApproximateMeasure>());
  auto first = again->page(1);
  ASSERT_TRUE(first);
  auto image = std::find_if(first->items.begin(), first->items.end(),
                            [](const DisplayItem& item) { return std::holds_alternative<ImageItem>(item); });
  ASSERT_NE(image, first->items.end());
  EXPECT_FALSE(std::get<ImageItem>(*image).pixels);
  EXPECT_TRUE(std::get<ImageItem>(*image).jpeg);
}

TEST(Pictures, AWindowsLoaderGivesTheFrameFirstAndThePictureOnceDecoded) {
  auto decoder = std::make_shared<CountingDecoder>();
  installPictureDecoder(decoder);
  const auto logo = pictureFile("logo.png");
  const model::ReportObject object = pictureObject(u"logo", logo, 0);
  std::atomic<int> told{0};
  std::vector<DisplayItem> before, after;
  {
    PictureLoader loader([&] { ++told; });
    appendPictureItems(object, {0, 0, 900, 900}, object.picture.image.shared(), before, &loader);
    appendPictureItems(object, {0, 0, 900, 900}, object.picture.image.shared(), before, &loader);
    for (int i = 0; i < 500 && !loader.idle(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    ASSERT_TRUE(loader.idle());
    appendPictureItems(object, {0, 0, 900, 900}, object.picture.image.shared(), after, &loader);
  }
  ASSERT_EQ(before.size(), 2u);
  EXPECT_TRUE(std::holds_alternative<BoxItem>(before[0]));
  ASSERT_EQ(after.size(), 1u);
  EXPECT_TRUE(std::holds_alternative<ImageItem>(after[0]));
  EXPECT_EQ(decoder->calls.load(), 1);  // asked twice, decoded once
  EXPECT_GE(told.load(), 1);
  installPictureDecoder(nullptr);
}

TEST(Pictures, FromAColumnEachRecordShowsItsOwnAndOddValuesAnEmptyFrame) {
  installPictureDecoder(std::make_shared<CountingDecoder>());
  std::string hex;
  for (unsigned char c : pictureFile("logo.png")) hex += "0123456789ABCDEF"[c >> 4], hex += "0123456789abcdef"[c & 15];
  const Text png = fromUtf8(hex);
  // PNG bytes as the data door hands them over, bare or in the drivers' forms; then
  // a null, a number, bad hexadecimal and text that is not a picture.
  const std::vector<formula::Value> cells = {formula::Value(png), formula::Value(u"0x" + png),
                                             formula::Value(u"\\x" + png), formula::Value(u"X'" + png + u"'"),
                                             formula::Value(),
                                             formula::Value(42.0), formula::Value(u"0x89PG"),
                                             formula::Value(u"4E6F7420612070696374757265")};
  model::ReportDefinition report = model::blankReport();
  model::ReportObject photo;
  photo.kind = ObjectKind::Picture;
  photo.field = {u"T", u"photo", {}};
  photo.width = photo.height = 900;
  for (auto& section : report.sections)
    if (section.kind == SectionKind::Details) section.height = 1000, section.objects.push_back(photo);
  testing::FakeProvider data;
  data.tables[u""] = testing::FakeTable{{u"photo"}, static_cast<std::int64_t>(cells.size()),
                                        [&](std::int64_t row, std::size_t) { return cells[static_cast<std::size_t>(row)]; }};
  ReportDocument document;
  document.definition = report;
  auto page = runReport(document, data, std::make_shared<ApproximateMeasure>())->page(1);
  ASSERT_TRUE(page);
  std::vector<bool> shown;  // per record: a picture (true) or an empty frame
  for (const auto& item : page->items) {
    if (auto image = std::get_if<ImageItem>(&item)) {
      EXPECT_EQ(image->pixelWidth, 90);
      EXPECT_FALSE(image->jpeg);
      shown.push_back(true);
    } else if (std::holds_alternative<BoxItem>(item)) {
      shown.push_back(false);
    }
  }
  EXPECT_EQ(shown, (std::vector<bool>{true, true, true, true, false, false, false, false}));
  installPictureDecoder(nullptr);
}

}  // namespace
}  // namespace mervane::engine::layout
