// The HTML export, read back by Python's HTML parser: pages as sections,
// texts in reading order whatever order they were drawn in, pictures as
// PNG data inside the file, and the flowing document's header and footer
// once.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "engine/export/html_writer.h"
#include "export_test_support.h"

namespace mervane::engine::exporting {
namespace {

using testing::capture;
using testing::run;
using testing::scratch;

// Page `number`: a header, then two lines of a record drawn right column
// first and the lower line before the upper, a rule, a framed box and a
// 2 x 3 picture.
layout::Page page(std::int32_t number) {
  layout::Page p;
  p.number = number;
  auto header = run(1440, 1000, u"Customers & <friends>");
  header.section = model::SectionKind::PageHeader;
  auto footer = run(1440, 15000, u"Page " + decimal(number));
  footer.section = model::SectionKind::PageFooter;
  const Text n = decimal(number);
  p.items = {run(6000, 2000, u"Łódź " + n, 1), run(1440, 2000, u"Dvořák " + n, 1), footer,
             run(6000, 1700, u"right " + n, 1), run(1440, 1700, u"left " + n, 1), header,
             layout::LineItem{1440, 1500, 10000, 1500}, layout::BoxItem{{1440, 3000, 4000, 800}}};
  auto pixels = std::make_shared<const std::vector<std::uint32_t>>(6, 0xFF336699u);
  p.items.push_back(layout::ImageItem{{8000, 3000, 600, 900}, 2, 3, pixels});
  // Page 2's picture came as a JPEG file: that file goes in, not its pixels.
  if (number == 2) std::get<layout::ImageItem>(p.items.back()).jpeg = std::make_shared<const std::string>("\xFF\xD8\xFF\xE0");
  return p;
}

std::vector<std::string> readBack(const HtmlOptions& options) {
  const auto path = scratch(options.flowing ? "flowing.html" : "pages.html");
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    EXPECT_TRUE(writeHtml(feedOf({page(1), page(2)}), out, {}, options));
  }
  int status = -1;
  std::istringstream lines(capture("/usr/bin/python3 " MERVANE_HTML_READER " '" + path.string() + "'", &status));
  EXPECT_EQ(status, 0);
  std::vector<std::string> items;
  for (std::string line; std::getline(lines, line);) items.push_back(line);
  return items;
}

TEST(HtmlExport, PagesHoldTheirTextsInReadingOrderAndPicturesInside) {
  const std::vector<std::string> expected = {
      "page Page 1", "svg", "image 2x3", "text Customers & <friends>", "text left 1", "text right 1",
      "text Dvořák 1", "text Łódź 1", "text Page 1",
      "page Page 2", "svg", "image jpeg", "text Customers & <friends>", "text left 2", "text right 2",
      "text Dvořák 2", "text Łódź 2", "text Page 2"};
  EXPECT_EQ(readBack({u"Customers", false}), expected);
}

TEST(HtmlExport, AFlowingDocumentHasTheHeaderOnceAndTheFooterAtTheEnd) {
  const std::vector<std::string> expected = {
      "flow", "svg", "image 2x3", "text Customers & <friends>", "text left 1", "text right 1", "text Dvořák 1",
      "text Łódź 1", "flow", "svg", "image jpeg", "text left 2", "text right 2", "text Dvořák 2", "text Łódź 2",
      "flow", "text Page 2"};
  EXPECT_EQ(readBack({u"Customers", true}), expected);
}

}  // namespace
}  // namespace mervane::engine::exporting
