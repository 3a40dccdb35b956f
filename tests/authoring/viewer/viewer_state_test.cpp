// The viewer's state: page box and navigation while the count grows, zoom
// parsing and scales, Page Up/Down over tall pages, and find across pages.
#include "authoring/viewer/viewer_state.h"

#include <gtest/gtest.h>

using namespace mervane;
using namespace mervane::viewer;
namespace layout = mervane::engine::layout;

TEST(PageNavigation, FollowsTheCountAsItGrowsAndStopsAtWhatIsKnown) {
  PageNavigation nav;
  EXPECT_EQ(nav.pageBoxText(), u"");
  EXPECT_FALSE(nav.next());
  nav.update(3, std::nullopt);
  EXPECT_EQ(nav.pageBoxText(), u"1 of 3+");
  EXPECT_TRUE(nav.lastPage());
  EXPECT_EQ(nav.current(), 3);
  EXPECT_FALSE(nav.next());  // page 4 is not laid out yet
  nav.update(2, std::nullopt);  // known pages never go back
  EXPECT_EQ(nav.last(), 3);
  nav.update(40, 41);
  EXPECT_EQ(nav.pageBoxText(), u"3 of 41");
  EXPECT_TRUE(nav.goTo(500));
  EXPECT_EQ(nav.current(), 41);
  EXPECT_TRUE(nav.goTo(-7));
  EXPECT_EQ(nav.current(), 1);
  EXPECT_FALSE(nav.previous());
  EXPECT_TRUE(nav.next());
  EXPECT_TRUE(nav.first());

  nav.goTo(41);
  nav.reset();  // a new run
  EXPECT_EQ(nav.current(), 1);
  EXPECT_EQ(nav.pageBoxText(), u"");
  nav.update(0, 0);
  EXPECT_EQ(nav.pageBoxText(), u"0 of 0");
  // A count smaller than the page shown (the report was changed) brings
  // the page back inside.
  nav.reset();
  nav.update(9, std::nullopt);
  nav.goTo(9);
  nav.update(9, 9);
  nav.reset();
  nav.update(5, 5);
  EXPECT_EQ(nav.current(), 1);
}

TEST(PageNavigation, PageBoxAcceptsWhatPeopleType) {
  EXPECT_EQ(parsePageBox(u"12"), 12);
  EXPECT_EQ(parsePageBox(u"  7 of 40+"), 7);
  EXPECT_EQ(parsePageBox(u"of 40"), std::nullopt);
  EXPECT_EQ(parsePageBox(u""), std::nullopt);
  EXPECT_EQ(parsePageBox(u"99999999999999"), std::nullopt);
}

TEST(Zoom, ParsesChoicesAndPercentagesInsideTheRange) {
  EXPECT_EQ(parseZoom(u"page WIDTH"), (Zoom{ZoomMode::PageWidth, 100}));
  EXPECT_EQ(parseZoom(u"Whole page"), (Zoom{ZoomMode::WholePage, 100}));
  EXPECT_EQ(parseZoom(u"150%"), (Zoom{ZoomMode::Percent, 150}));
  EXPECT_EQ(parseZoom(u" 125 "), (Zoom{ZoomMode::Percent, 125}));
  EXPECT_EQ(parseZoom(u"1000%"), (Zoom{ZoomMode::Percent, 400}));
  EXPECT_EQ(parseZoom(u"10"), (Zoom{ZoomMode::Percent, 50}));
  EXPECT_EQ(parseZoom(u"big"), std::nullopt);
  EXPECT_EQ(parseZoom(u"%"), std::nullopt);
  for (const auto& choice : zoomChoices()) EXPECT_EQ(parseZoom(zoomText(choice.zoom)), choice.zoom);
}

TEST(Zoom, ScalesForTheWindow) {
  // A4 portrait (11906 x 16838 twips) at 96 dpi.
  EXPECT_DOUBLE_EQ(pixelsPerTwip({ZoomMode::Percent, 100}, 800, 600, 11906, 16838, 96), 96 / 1440.0);
  EXPECT_DOUBLE_EQ(pixelsPerTwip({ZoomMode::Percent, 200}, 800, 600, 11906, 16838, 96), 2 * 96 / 1440.0);
  EXPECT_DOUBLE_EQ(pixelsPerTwip({ZoomMode::PageWidth, 0}, 824, 600, 11906, 16838, 96), 800 / 11906.0);
  EXPECT_DOUBLE_EQ(pixelsPerTwip({ZoomMode::WholePage, 0}, 824, 624, 11906, 16838, 96), 600 / 16838.0);
  EXPECT_DOUBLE_EQ(pixelsPerTwip({ZoomMode::WholePage, 0}, 324, 2000, 11906, 16838, 96), 300 / 11906.0);
  // A window shrunk to nothing, or a page of no size: still a usable scale.
  EXPECT_DOUBLE_EQ(pixelsPerTwip({ZoomMode::WholePage, 0}, 0, 0, 11906, 16838, 96), 96 / 1440.0 * 0.1);
  EXPECT_DOUBLE_EQ(pixelsPerTwip({ZoomMode::PageWidth, 0}, 800, 600, 0, 0, 96), 96 / 1440.0 * 8);
}

TEST(Scrolling, PageKeysScrollATallPageBeforeTurningIt) {
  // Content 2500 high in a view of 1000.
  EXPECT_EQ(pageKey(PageKey::Down, 0, 2500, 1000).scrollY, 1000);
  EXPECT_EQ(pageKey(PageKey::Down, 1000, 2500, 1000).scrollY, 1500);
  auto turn = pageKey(PageKey::Down, 1500, 2500, 1000);
  EXPECT_EQ(turn.pageStep, 1);
  EXPECT_EQ(turn.scrollY, 0);
  EXPECT_EQ(pageKey(PageKey::Up, 1500, 2500, 1000).scrollY, 500);
  EXPECT_EQ(pageKey(PageKey::Up, 500, 2500, 1000).scrollY, 0);
  auto back = pageKey(PageKey::Up, 0, 2500, 1000);
  EXPECT_EQ(back.pageStep, -1);
  EXPECT_EQ(back.scrollY, -1);
  // A page that fits turns at once.
  EXPECT_EQ(pageKey(PageKey::Down, 0, 500, 1000).pageStep, 1);

  auto at = clampScroll({-5, 9000}, 1200, 2500, 1000, 1000);
  EXPECT_EQ(at.x, 0);
  EXPECT_EQ(at.y, 1500);
  EXPECT_EQ(clampScroll({50, 50}, 500, 500, 1000, 1000).y, 0);
}

namespace {

// Pages whose runs hold the texts given, page by page.
PageLookup pagesOf(std::vector<std::vector<Text>> texts, int* asked = nullptr) {
  return [texts, asked](std::int32_t number) -> std::shared_ptr<const layout::Page> {
    if (asked) ++*asked;
    if (number < 1 || number > static_cast<std::int32_t>(texts.size())) return nullptr;
    auto page = std::make_shared<layout::Page>();
    page->number = number;
    page->items.push_back(layout::LineItem{});  // not text: skipped
    for (const auto& t : texts[static_cast<std::size_t>(number) - 1]) {
      layout::TextRun run;
      run.text = t;
      run.box.y = static_cast<std::int32_t>(page->items.size()) * 300;
      page->items.push_back(run);
    }
    return page;
  };
}

}  // namespace

TEST(Find, GoesOnFromTheLastHitAcrossPagesAndWrapsOnce) {
  auto pages = pagesOf({{u"Alpha", u"Zoë Müller"}, {u"nothing"}, {u"MÜLLER and sons", u"beta"}});
  auto hit = findNext(pages, u"müller", {1, -1, {}});
  ASSERT_TRUE(hit);
  EXPECT_EQ(hit->page, 1);
  EXPECT_EQ(hit->item, 2);
  EXPECT_EQ(hit->box.y, 600);
  hit = findNext(pages, u"müller", *hit);
  ASSERT_TRUE(hit);
  EXPECT_EQ(hit->page, 3);
  EXPECT_EQ(hit->item, 1);
  hit = findNext(pages, u"müller", *hit);  // past the last page: from page 1 again
  ASSERT_TRUE(hit);
  EXPECT_EQ(hit->page, 1);
  EXPECT_EQ(hit->item, 2);

  // A single match is found again from itself; no match ends after one round.
  auto once = findNext(pages, u"beta", {3, 2, {}});
  ASSERT_TRUE(once);
  EXPECT_EQ(once->item, 2);
  int asked = 0;
  EXPECT_FALSE(findNext(pagesOf({{u"a"}, {u"b"}}, &asked), u"zzz", {2, -1, {}}));
  EXPECT_LE(asked, 4);
  EXPECT_FALSE(findNext(pages, u"", {1, -1, {}}));
  EXPECT_FALSE(findNext(pagesOf({}), u"a", {1, -1, {}}));
  // Starting beyond the last page (the report got shorter) starts over.
  auto restart = findNext(pages, u"alpha", {9, -1, {}});
  ASSERT_TRUE(restart);
  EXPECT_EQ(restart->page, 1);
  // Asked to stop, it stops.
  EXPECT_FALSE(findNext(pages, u"beta", {1, -1, {}}, [] { return true; }));
}
