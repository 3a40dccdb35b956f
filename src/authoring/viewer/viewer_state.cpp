// The viewer's state: page navigation, zoom, scrolling and find.
#include "authoring/viewer/viewer_state.h"

#include <algorithm>

namespace mervane::viewer {

void PageNavigation::reset() {
  current_ = 1;
  known_ = 0;
  count_.reset();
}

void PageNavigation::update(std::int32_t pagesKnown, std::optional<std::int32_t> pageCount) {
  known_ = std::max(known_, std::max(0, pagesKnown));
  count_ = pageCount;
  if (count_) *count_ = std::max(0, *count_);
  if (last() > 0 && current_ > last()) current_ = last();
}

bool PageNavigation::goTo(std::int32_t page) {
  std::int32_t target = std::clamp(page, 1, std::max(1, last()));
  if (target == current_) return false;
  current_ = target;
  return true;
}

bool PageNavigation::first() { return goTo(1); }
bool PageNavigation::previous() { return goTo(current_ - 1); }
bool PageNavigation::next() { return goTo(current_ + 1); }
bool PageNavigation::lastPage() { return goTo(last()); }

Text PageNavigation::pageBoxText() const {
  if (last() == 0) return final() ? u"0 of 0" : Text();
  return decimal(current_) + u" of " + decimal(last()) + (final() ? u"" : u"+");
}

std::optional<std::int32_t> parsePageBox(TextView text) {
  Text trimmed = trim(text);
  std::size_t end = 0;
  while (end < trimmed.size() && trimmed[end] >= u'0' && trimmed[end] <= u'9') ++end;
  if (end == 0) return std::nullopt;
  return parseLong(TextView(trimmed).substr(0, end));
}

const std::vector<ZoomChoice>& zoomChoices() {
  static const std::vector<ZoomChoice> choices = {
      {{ZoomMode::WholePage, 100}, u"Whole page"}, {{ZoomMode::PageWidth, 100}, u"Page width"},
      {{ZoomMode::Percent, 50}, u"50%"},           {{ZoomMode::Percent, 75}, u"75%"},
      {{ZoomMode::Percent, 100}, u"100%"},         {{ZoomMode::Percent, 150}, u"150%"},
      {{ZoomMode::Percent, 200}, u"200%"},         {{ZoomMode::Percent, 300}, u"300%"},
      {{ZoomMode::Percent, 400}, u"400%"}};
  return choices;
}

std::optional<Zoom> parseZoom(TextView text) {
  Text trimmed = trim(text);
  for (const auto& choice : zoomChoices())
    if (equalsNoCase(trimmed, choice.text)) return choice.zoom;
  if (!trimmed.empty() && trimmed.back() == u'%') trimmed = trim(TextView(trimmed).substr(0, trimmed.size() - 1));
  auto percent = parseLong(trimmed);
  if (!percent || trimmed.empty()) return std::nullopt;
  return Zoom{ZoomMode::Percent, std::clamp(*percent, kMinZoom, kMaxZoom)};
}

Text zoomText(const Zoom& zoom) {
  if (zoom.mode == ZoomMode::WholePage) return zoomChoices()[0].text;
  if (zoom.mode == ZoomMode::PageWidth) return zoomChoices()[1].text;
  return decimal(zoom.percent) + u"%";
}

double pixelsPerTwip(const Zoom& zoom, std::int32_t viewWidth, std::int32_t viewHeight, std::int32_t pageWidth,
                     std::int32_t pageHeight, std::int32_t dpi) {
  double actual = std::max(1, dpi) / 1440.0;
  double fitWidth = std::max(1, viewWidth - 2 * kPageMargin) / static_cast<double>(std::max(1, pageWidth));
  double fitHeight = std::max(1, viewHeight - 2 * kPageMargin) / static_cast<double>(std::max(1, pageHeight));
  double scale = actual * std::clamp(zoom.percent, kMinZoom, kMaxZoom) / 100.0;
  if (zoom.mode == ZoomMode::PageWidth) scale = fitWidth;
  if (zoom.mode == ZoomMode::WholePage) scale = std::min(fitWidth, fitHeight);
  // However small or large the window, the page stays between a tenth of
  // its size and eight times it.
  return std::clamp(scale, actual * 0.1, actual * 8.0);
}

ScrollPosition clampScroll(ScrollPosition at, std::int32_t contentWidth, std::int32_t contentHeight,
                           std::int32_t viewWidth, std::int32_t viewHeight) {
  return {std::clamp(at.x, 0, std::max(0, contentWidth - viewWidth)),
          std::clamp(at.y, 0, std::max(0, contentHeight - viewHeight))};
}

PageKeyResult pageKey(PageKey key, std::int32_t scrollY, std::int32_t contentHeight, std::int32_t viewHeight) {
  std::int32_t bottom = std::max(0, contentHeight - viewHeight);
  if (key == PageKey::Down) {
    if (scrollY < bottom) return {0, std::min(bottom, scrollY + std::max(1, viewHeight))};
    return {1, 0};
  }
  if (scrollY > 0) return {0, std::max(0, scrollY - std::max(1, viewHeight))};
  return {-1, -1};
}

std::optional<FindHit> findNext(const PageLookup& pages, TextView needle, FindHit after,
                                const std::function<bool()>& stop) {
  if (needle.empty()) return std::nullopt;
  const Text wanted = upper(needle);
  const std::int32_t start = std::max(1, after.page);
  std::int32_t number = start;
  std::int32_t from = std::max(0, after.item + 1);
  bool wrapped = false;
  for (;;) {
    if (stop && stop()) return std::nullopt;
    std::shared_ptr<const layout::Page> page = pages(number);
    if (!page) {
      if (wrapped || number == 1) return std::nullopt;
      wrapped = true;
      number = 1;
      from = 0;
      continue;
    }
    bool back = wrapped && number == start;
    auto limit = static_cast<std::int32_t>(page->items.size());
    if (back) limit = std::min(limit, after.item + 1);
    for (std::int32_t i = from; i < limit; ++i) {
      const auto* run = std::get_if<layout::TextRun>(&page->items[static_cast<std::size_t>(i)]);
      if (run && upper(run->text).find(wanted) != Text::npos) return FindHit{number, i, run->box};
    }
    if (back) return std::nullopt;
    ++number;
    from = 0;
  }
}

}  // namespace mervane::viewer
