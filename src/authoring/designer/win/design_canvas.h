// The design surface as a window: rulers along the top and left, the bands
// with their names, the grid, the report objects as they will print, the
// selection's handles, and the previews of a gesture under way. Mouse and
// arrow keys go to the editor; painting is double-buffered, the objects
// painted by the same painter as the report's pages.
#pragma once

#include <windows.h>

#include <functional>
#include <memory>

#include "authoring/designer/editor.h"
#include "engine/layout/picture.h"
#include "engine/win/page_painter.h"

namespace mervane::authoring::win {

class DesignCanvas {
 public:
  DesignCanvas() = default;
  ~DesignCanvas();
  DesignCanvas(const DesignCanvas&) = delete;
  DesignCanvas& operator=(const DesignCanvas&) = delete;

  // `acted` is called after each mouse gesture or key the editor took.
  void create(HWND parent, int id, designer::Editor& editor, std::function<void()> acted);
  HWND hwnd() const { return hwnd_; }
  // After the report changed: new scroll range, fresh paint.
  void refresh();
  void setZoom(int percent);
  int zoom() const { return zoom_; }
  // Where the surface is scrolled to, in pixels (kept per report tab).
  POINT scrollPosition() const { return {scrollX_, scrollY_}; }
  void setScrollPosition(POINT at) { scrollTo(at.x, at.y); }
  designer::Point toSurface(POINT client) const;
  POINT toClient(designer::Point surface) const;
  // A double-click on an object is offered here first; true takes it.
  void setOnOpen(std::function<bool(designer::ObjectRef)> open) { open_ = std::move(open); }
  // Paints the whole client area into `dc` (the window's paint, and benchmarks).
  void paint(HDC dc, const RECT& client);
  // Opens a box over a text object to type its text in place: Enter or a
  // click elsewhere ends it as one change, Esc leaves the text as it was.
  void editText(designer::ObjectRef ref);
  // The box a text is typed into; null when none is open.
  HWND textBox() const { return textBox_; }

 private:
  static LRESULT CALLBACK windowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
  LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam);
  void onPaint();
  void onMouse(UINT message, WPARAM wParam, LPARAM lParam);
  bool onKey(WPARAM key);
  void onScroll(int bar, int code);
  void scrollTo(int x, int y);
  void updateScrollBars();
  void paintBands(HDC dc, const RECT& client);
  void paintSelection(HDC dc);
  void paintRulers(HDC dc, const RECT& client);
  void paintGuides(HDC dc);
  void endTextEdit(bool keep);
  static LRESULT CALLBACK textBoxProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR, DWORD_PTR data);
  // Scrolls while a gesture's pointer is near the edge; false when it is not.
  bool autoScroll();
  double pixelsPerTwip() const;
  std::int32_t slackTwips() const;

  HWND hwnd_ = nullptr;
  designer::Editor* editor_ = nullptr;
  std::function<void()> acted_;
  std::function<bool(designer::ObjectRef)> open_;
  engine::win::PagePainter painter_;  // the one that paints report pages
  // The objects' items, kept while neither the report nor the view changes
  // (a drag repaints often and changes neither until it ends).
  engine::layout::Page scene_;
  std::uint64_t sceneRevision_ = ~0ull;
  designer::Box sceneVisible_;
  HFONT uiFont_ = nullptr;
  HDC buffer_ = nullptr;
  HBITMAP bufferBitmap_ = nullptr;
  HGDIOBJ bufferOld_ = nullptr;
  SIZE bufferSize_{};
  // Decodes the pictures in view while the surface shows their frames.
  std::unique_ptr<engine::layout::PictureLoader> pictures_;
  int zoom_ = 100;
  int dpi_ = 96;
  int scrollX_ = 0, scrollY_ = 0;  // pixels
  HWND textBox_ = nullptr;
  HFONT textFont_ = nullptr;
  designer::ObjectRef textRef_;
  bool scrolling_ = false;  // the auto-scroll timer runs
  POINT pointer_{};         // where the pointer was last while dragging
};

}  // namespace mervane::authoring::win
