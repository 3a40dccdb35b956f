// The report viewer's state as plain values: which page is shown, what is
// known of the page count, the zoom and the scale it gives for a window,
// where the page is scrolled to, and finding text in the pages. The window
// (win/viewer_control) keeps one of these and draws what it says.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/text.h"
#include "engine/layout/display_list.h"

namespace mervane::viewer {

namespace layout = engine::layout;

// ---------------------------------------------------------------------------
// Pages and the page box.
// ---------------------------------------------------------------------------

class PageNavigation {
 public:
  // A new run: page 1, nothing known yet.
  void reset();
  // What the run has found so far: pages laid out, and the count once final.
  void update(std::int32_t pagesKnown, std::optional<std::int32_t> pageCount);

  std::int32_t current() const { return current_; }
  // The last page that can be shown now (0 while none is known).
  std::int32_t last() const { return count_ ? *count_ : known_; }
  bool final() const { return count_.has_value(); }

  // Each returns true when the current page changed. Going past the pages
  // known so far stops at the last one known; going to a page of a run
  // still counting is allowed up to what it has laid out.
  bool first();
  bool previous();
  bool next();
  bool lastPage();
  bool goTo(std::int32_t page);

  // "3 of 10", "3 of 10+" while the count is still growing, "" with no pages.
  Text pageBoxText() const;

 private:
  std::int32_t current_ = 1;
  std::int32_t known_ = 0;
  std::optional<std::int32_t> count_;
};

// The page a person typed into the page box ("12", " 12 of 40"); nothing
// when it does not start with a number.
std::optional<std::int32_t> parsePageBox(TextView text);

// ---------------------------------------------------------------------------
// Zoom.
// ---------------------------------------------------------------------------

enum class ZoomMode { WholePage, PageWidth, Percent };

struct Zoom {
  ZoomMode mode = ZoomMode::PageWidth;
  std::int32_t percent = 100;  // for Percent: 50 to 400
  bool operator==(const Zoom&) const = default;
};

constexpr std::int32_t kMinZoom = 50;
constexpr std::int32_t kMaxZoom = 400;

// The zoom choices offered, in order, with their texts.
struct ZoomChoice {
  Zoom zoom;
  Text text;
};
const std::vector<ZoomChoice>& zoomChoices();
// A typed zoom ("150", "150%", "page width"); percentages outside 50 to 400
// are brought inside; nothing for text that means no zoom.
std::optional<Zoom> parseZoom(TextView text);
Text zoomText(const Zoom& zoom);

// The blank border around the page in the page area, in pixels.
constexpr std::int32_t kPageMargin = 12;

// Device pixels per twip for a page shown in a view `viewWidth` by
// `viewHeight` pixels on a screen of `dpi` pixels per inch.
double pixelsPerTwip(const Zoom& zoom, std::int32_t viewWidth, std::int32_t viewHeight, std::int32_t pageWidth,
                     std::int32_t pageHeight, std::int32_t dpi);

// ---------------------------------------------------------------------------
// Scrolling within the page shown.
// ---------------------------------------------------------------------------

// Scroll offsets in pixels of a page `content` pixels large (margins
// included) in a view; always inside 0 .. content - view.
struct ScrollPosition {
  std::int32_t x = 0;
  std::int32_t y = 0;
};

ScrollPosition clampScroll(ScrollPosition at, std::int32_t contentWidth, std::int32_t contentHeight,
                           std::int32_t viewWidth, std::int32_t viewHeight);

// Page Down: scroll a view down the page, or go to the next page's top when
// the bottom is already shown. Page Up the same upwards (to the previous
// page's bottom).
enum class PageKey { Up, Down };
struct PageKeyResult {
  std::int32_t pageStep = 0;  // -1, 0 or 1
  std::int32_t scrollY = 0;   // in the resulting page; -1: its bottom
};
PageKeyResult pageKey(PageKey key, std::int32_t scrollY, std::int32_t contentHeight, std::int32_t viewHeight);

// ---------------------------------------------------------------------------
// Finding text.
// ---------------------------------------------------------------------------

// A text run that holds what was looked for.
struct FindHit {
  std::int32_t page = 0;
  std::int32_t item = 0;  // index in the page's display list
  layout::Rect box;
  bool operator==(const FindHit&) const = default;
};

// Page `number` (from 1) or null after the last.
using PageLookup = std::function<std::shared_ptr<const layout::Page>(std::int32_t number)>;

// The next run holding `needle` (letter case ignored) after `after` (a
// previous hit; or page p, item -1 to start at page p's top), going on past
// the last page at page 1 and stopping where it started. `stop` is asked
// before each page; true gives up.
std::optional<FindHit> findNext(const PageLookup& pages, TextView needle, FindHit after,
                                const std::function<bool()>& stop = {});

}  // namespace mervane::viewer
