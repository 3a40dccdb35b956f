// Figures of the designer control, under Wine or Windows:
//   designer-open-ms   a report of 1,000 objects handed to the designer and
//                      painted for the first time
//   designer-frame-ms  one full repaint of the surface while 100 selected
//                      objects are dragged (median of 60 frames)
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "authoring/designer/win/designer_control.h"

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

}  // namespace

int main() {
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
  for (int run = 0; run < 5; ++run) {
    control.setDocument(nullptr, {});
    pump();
    auto copy = doc;
    const auto start = Clock::now();
    control.setDocument(&copy, [] {});
    UpdateWindow(designer);
    UpdateWindow(control.canvas());
    open = std::min(open, msSince(start));
    control.setDocument(nullptr, {});
  }

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
  std::printf("designer-frame-ms: %.2f ms\n", frames[frames.size() / 2]);
  std::printf("designer-frame-max-ms: %.2f ms\n", frames.back());
  DestroyWindow(host);
  return 0;
}
