// Figures of the designer control, under Wine or Windows:
//   designer-open-ms   a report of 1,000 objects handed to the designer and
//                      painted for the first time
//   designer-open-pictures-first-ms
//                      the same with 20 of the objects pictures (each its own
//                      copy of a JPEG file, by default the tests' logo; the
//                      first argument names another), all in view, opened
//                      the first time: painted with the pictures' frames,
//                      the pictures still being decoded
//   designer-pictures-shown-ms
//                      from that opening until every picture is decoded and
//                      painted
//   designer-open-pictures-ms
//                      the same report opened again (best of five): the
//                      pictures decoded before are painted at once
//   designer-frame-ms  one full repaint of the surface while 100 selected
//                      objects are dragged (median of 60 frames)
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include <fstream>
#include <iterator>
#include <string>

#include "authoring/designer/win/designer_control.h"
#include "engine/layout/picture.h"

namespace model = mervane::engine::model;
using mervane::authoring::win::DesignerControl;
using Clock = std::chrono::steady_clock;

namespace {

double msSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

void pump() {
  MSG m;
  while (PeekMessageW(&m, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&m);
    DispatchMessageW(&m);
  }
}

// Fields, texts, lines and boxes spread over the sections, 1,000 in all.
mervane::engine::ReportDocument report(int objects) {
  mervane::engine::ReportDocument doc;
  doc.definition = model::blankReport();
  doc.definition.data.tables.push_back({.alias = u"Orders", .location = u"Orders"});
  for (auto& s : doc.definition.sections) s.height = 2400;
  for (int i = 0; i < objects; ++i) {
    model::ReportObject o;
    o.kind = i % 10 == 0 ? model::ObjectKind::Box : i % 10 == 1 ? model::ObjectKind::Line
             : i % 2 ? model::ObjectKind::DatabaseField : model::ObjectKind::Text;
    o.name = u"O" + mervane::decimal(i);
    o.text = u"Label " + mervane::decimal(i);
    o.field = {u"Orders", u"Column" + mervane::decimal(i % 17)};
    o.x = (i % 8) * 1200;
    o.y = (i / 8 % 10) * 240;
    o.width = 1100;
    o.height = o.kind == model::ObjectKind::Line ? 0 : 220;
    o.format.bold = i % 3 == 0;
    doc.definition.sections[static_cast<std::size_t>(i / 80 % 5)].objects.push_back(std::move(o));
  }
  return doc;
}

// Turns 20 of the objects of the first two sections into pictures, each
// with bytes of its own (the file with a different comment after its start).
void addPictures(mervane::engine::ReportDocument& doc, const std::string& jpeg) {
  int placed = 0;
  for (auto& section : doc.definition.sections) {
    for (auto& o : section.objects) {
      if (placed == 20 || o.kind != model::ObjectKind::Text) continue;
      const std::string comment = "picture " + std::to_string(placed);
      std::string bytes = jpeg.substr(0, 2) + "\xFF\xFE" + static_cast<char>(0) +
                          static_cast<char>(comment.size() + 2) + comment + jpeg.substr(2);
      o.kind = model::ObjectKind::Picture;
      o.picture.image = model::SharedBytes(std::move(bytes));
      ++placed;
    }
  }
}

double openOnce(DesignerControl& control, HWND designer, const mervane::engine::ReportDocument& doc) {
  control.setDocument(nullptr, {});
  pump();
  auto copy = doc;
  const auto start = Clock::now();
  control.setDocument(&copy, [] {});
  UpdateWindow(designer);
  UpdateWindow(control.canvas());
  const double ms = msSince(start);
  control.setDocument(nullptr, {});
  return ms;
}

}  // namespace

int main(int argc, char** argv) {
  WNDCLASSW wc{};
  wc.lpfnWndProc = DefWindowProcW;
  wc.hInstance = GetModuleHandleW(nullptr);
  wc.lpszClassName = L"DesignerBenchHost";
  RegisterClassW(&wc);
  HWND host = CreateWindowExW(0, L"DesignerBenchHost", L"Designer bench", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, 0, 0,
                              1280, 900, nullptr, nullptr, nullptr, nullptr);
  DesignerControl control;
  HWND designer = control.create(host);
  control.setColumnSource(nullptr);
  ShowWindow(host, SW_SHOW);
  RECT client;
  GetClientRect(host, &client);
  MoveWindow(designer, 0, 0, client.right, client.bottom, TRUE);
  pump();

  // Opening: best of five, each with a fresh document.
  double open = 1e9;
  auto doc = report(1000);
  for (int run = 0; run < 5; ++run) open = std::min(open, openOnce(control, designer, doc));

  std::ifstream file(argc > 1 ? argv[1] : MERVANE_BENCH_PICTURE, std::ios::binary);
  const std::string jpeg((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  auto withPictures = report(1000);
  addPictures(withPictures, jpeg);
  double picturesFirst = 0, picturesShown = 0;
  {
    control.setDocument(nullptr, {});
    pump();
    auto copy = withPictures;
    const auto start = Clock::now();
    control.setDocument(&copy, [] {});
    UpdateWindow(designer);
    UpdateWindow(control.canvas());
    picturesFirst = msSince(start);
    const auto decoded = [&] {
      std::shared_ptr<const mervane::engine::layout::LoadedPicture> picture;
      for (const auto& section : copy.definition.sections)
        for (const auto& o : section.objects)
          if (o.kind == model::ObjectKind::Picture &&
              !mervane::engine::layout::findLoadedPicture(o.picture.image.shared(), picture))
            return false;
      return true;
    };
    while (!decoded() && msSince(start) < 60000) {
      pump();
      Sleep(1);
    }
    pump();  // the last picture's repaint
    UpdateWindow(control.canvas());
    picturesShown = msSince(start);
    control.setDocument(nullptr, {});
  }
  double pictures = 1e9;
  for (int run = 0; run < 5; ++run) pictures = std::min(pictures, openOnce(control, designer, withPictures));

  control.setDocument(&doc, [] {});
  pump();
  auto& editor = control.editor();
  mervane::authoring::designer::Selection hundred;
  for (std::size_t i = 0; i < 100; ++i) hundred.add({0, i % 80}), hundred.add({1, i % 20});
  hundred.objects.resize(100);
  editor.select(hundred);
  const auto& first = doc.definition.sections[0].objects[0];
  const auto* band = editor.layout().band(0);
  const mervane::authoring::designer::Point grab{first.x + 10, band->bodyTop + first.y + 10};
  editor.press(grab, 0, 60);
  std::vector<double> frames;
  for (int frame = 0; frame < 60; ++frame) {
    // The drag step (grid and edge snapping) and the repaint it causes.
    const auto start = Clock::now();
    editor.dragTo({grab.x + frame * 37, grab.y + frame * 11});
    InvalidateRect(control.canvas(), nullptr, FALSE);
    UpdateWindow(control.canvas());
    frames.push_back(msSince(start));
  }
  editor.release({grab.x + 600, grab.y + 200});
  std::sort(frames.begin(), frames.end());

  std::printf("designer-open-ms: %.1f ms\n", open);
  std::printf("designer-open-pictures-first-ms: %.1f ms\n", picturesFirst);
  std::printf("designer-pictures-shown-ms: %.1f ms\n", picturesShown);
  std::printf("designer-open-pictures-ms: %.1f ms\n", pictures);
  std::printf("designer-picture-kb: %.0f KB\n", jpeg.size() / 1024.0);
  std::printf("designer-frame-ms: %.2f ms\n", frames[frames.size() / 2]);
  std::printf("designer-frame-max-ms: %.2f ms\n", frames.back());
  DestroyWindow(host);
  return 0;
}
