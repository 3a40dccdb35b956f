// Painting figures, run under Wine:
//   paint-page-ms     a dense report page painted into a bitmap, at 96 and
//                     600 dots per inch
//   print-pages-per-s pages printed to the default printer (the CUPS PDF
//                     printer on the test machines), when there is one
// Prints "name: value unit" lines like the other benchmarks.
#include <windows.h>

#include <chrono>
#include <cstdio>
#include <memory>

#include "engine/win/page_painter.h"
#include "fake_pages.h"
#include "printing/win/report_printing.h"

using namespace mervane;
using namespace mervane::engine;
using Clock = std::chrono::steady_clock;

namespace {

// An A4 page of 60 detail lines of eight columns, with rules and a header box.
std::shared_ptr<layout::Page> densePage(std::int32_t number) {
  auto page = std::make_shared<layout::Page>();
  page->number = number;
  page->items.push_back(layout::BoxItem{{567, 567, 10772, 800}, model::BorderStyle::Single, 20, 0, true, 0xDDEEFF});
  layout::TextRun title;
  title.box = {700, 650, 10000, 500};
  title.font = {u"Arial", 320, true};
  title.text = u"Orders by customer, page " + decimal(number);
  page->items.push_back(title);
  for (int line = 0; line < 60; ++line) {
    std::int32_t y = 1600 + line * 240;
    for (int column = 0; column < 8; ++column) {
      layout::TextRun run;
      run.box = {567 + column * 1340, y, 1300, 230};
      run.font = {u"Arial", 160};
      run.align = column >= 5 ? layout::TextAlign::Right : layout::TextAlign::Left;
      run.text = column >= 5 ? decimal(line * 1234 + column) + u".00" : u"Customer " + decimal(line) + u" café";
      run.record = line + 1;
      page->items.push_back(run);
    }
    if (line % 5 == 4) page->items.push_back(layout::LineItem{567, y + 235, 11339, y + 235, 10, 0x999999});
  }
  return page;
}

double paintMs(const layout::Page& page, int dpi, int rounds) {
  int width = page.width * dpi / 1440, height = page.height * dpi / 1440;
  BITMAPINFO info{};
  info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB};
  HDC dc = CreateCompatibleDC(nullptr);
  void* bits = nullptr;
  HBITMAP bitmap = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  if (!bitmap) {
    DeleteDC(dc);
    return -1;
  }
  HGDIOBJ old = SelectObject(dc, bitmap);
  win::PagePainter painter;
  win::Placement at{dpi / 1440.0, dpi / 1440.0, 0, 0};
  painter.paint(dc, page, at, true);  // fonts made once, as in the viewer
  GdiFlush();
  auto start = Clock::now();
  for (int i = 0; i < rounds; ++i) painter.paint(dc, page, at, true);
  GdiFlush();
  double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count() / rounds;
  SelectObject(dc, old);
  DeleteObject(bitmap);
  DeleteDC(dc);
  return ms;
}

}  // namespace

int main() {
  auto page = densePage(1);
  std::printf("page-items: %zu items\n", page->items.size());
  std::printf("paint-page-ms (96 dpi): %.2f ms\n", paintMs(*page, 96, 200));
  std::printf("paint-page-ms (600 dpi): %.2f ms\n", paintMs(*page, 600, 10));

  auto choice = printing::win::defaultPrintChoice();
  if (!choice) {
    std::printf("print-pages-per-s: no printer on this machine\n");
    return 0;
  }
  constexpr std::int32_t kPages = 20;
  auto feed = [](std::int32_t n) -> std::shared_ptr<const layout::Page> {
    return n <= kPages ? densePage(n) : nullptr;
  };
  std::int32_t printed = 0;
  auto start = Clock::now();
  auto outcome = printing::win::printPages(feed, *choice, L"Mervane paint bench", {}, &printed);
  double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  if (outcome != printing::win::PrintOutcome::Printed) {
    std::printf("print-pages-per-s: the printer refused the job\n");
    return 0;
  }
  std::printf("print-pages-per-s: %.1f pages/s (%d pages to the spooler)\n", printed / seconds, printed);
  return 0;
}
