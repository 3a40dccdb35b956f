// The table chooser's window as a person meets it: its layout and pictures,
// ticks by mouse clicks on the check boxes and by the space bar following
// the rules, OK refused with nothing ticked (by the button and by Enter),
// a data set without tables counting for OK, Esc and the close button; and
// filled from a file database, which is looked up by its name.
#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>

#include <cstring>

#include "../authoring/person.h"
#include "authoring/new_report.h"
#include "connections/server_catalogue.h"
#include "connections/win/select_tables_form.h"

namespace mervane::win {
namespace {

using testing::Person;
using Ids = SelectTablesForm;

const std::wstring kCaption = L"Choose Tables";

bool ticked(HWND tree, HTREEITEM item) {
  return (SendMessageW(tree, TVM_GETITEMSTATE, reinterpret_cast<WPARAM>(item), TVIS_STATEIMAGEMASK) >> 12) == 2;
}

// Clicks the middle of an item's check box, found by the tree's own hit test
// left of the item's text.
void clickCheckBox(HWND tree, HTREEITEM item) {
  RECT text = {};
  std::memcpy(&text, &item, sizeof item);  // the item goes in, its rectangle comes back
  SendMessageW(tree, TVM_GETITEMRECT, TRUE, reinterpret_cast<LPARAM>(&text));
  const int y = (text.top + text.bottom) / 2;
  int right = -1, left = -1;
  for (int x = text.left - 1; x >= 0; --x) {
    TVHITTESTINFO hit = {};
    hit.pt = {x, y};
    SendMessageW(tree, TVM_HITTEST, 0, reinterpret_cast<LPARAM>(&hit));
    const bool onBox = hit.hItem == item && (hit.flags & TVHT_ONITEMSTATEICON);
    if (onBox && right < 0) right = x;
    if (onBox) left = x;
    if (!onBox && right >= 0) break;
  }
  ASSERT_GE(right, 0) << "no check box left of the item's text";
  const POINT p = {(left + right) / 2, y};
  PostMessageW(tree, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(p.x, p.y));
  PostMessageW(tree, WM_LBUTTONUP, 0, MAKELPARAM(p.x, p.y));
  Sleep(150);
}

void pressSpaceOn(Person& p, HWND dialog, HWND tree, HTREEITEM item) {
  SendMessageW(tree, TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(item));
  EXPECT_EQ(Person::focus(dialog), tree);
  p.pressKey(dialog, VK_SPACE);
  Sleep(60);
}

int pixels(int twips) {
  HDC dc = GetDC(nullptr);
  const int dpi = GetDeviceCaps(dc, LOGPIXELSX);
  ReleaseDC(nullptr, dc);
  return MulDiv(twips, dpi, 1440);
}

TEST(SelectTablesFormTest, MouseAndSpaceBarTickByTheRules) {
  SelectTablesForm form;
  form.load();
  ASSERT_TRUE(form.hwnd());
  form.addDataSetNode(u"company", u"Current Data Set(company)");
  for (const char16_t* t : {u"Customers", u"Order Lines", u"Ördrè \"x\""}) form.addTableNode(u"company", t);
  EXPECT_THROW(form.addDataSetNode(u"company", u"again"), std::exception);
  EXPECT_THROW(form.addTableNode(u"nowhere", u"lost"), std::exception);
  const HTREEITEM root = form.item(0), a = form.item(1), b = form.item(2), c = form.item(3);

  Person person(kCaption, [&](Person& p, HWND dialog) {
    HWND tree = GetDlgItem(dialog, Ids::kTree);
    // The layout table, in pixels at the screen's resolution.
    RECT client = {}, box = {};
    GetClientRect(dialog, &client);
    EXPECT_EQ(client.right, pixels(6660));
    EXPECT_EQ(client.bottom, pixels(3495));
    GetWindowRect(GetDlgItem(dialog, Ids::kOk), &box);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&box), 2);
    EXPECT_EQ(box.left, pixels(4200));
    EXPECT_EQ(box.top, pixels(3000));
    EXPECT_EQ(Person::text(dialog, Ids::kOk), L"OK");
    EXPECT_EQ(Person::text(dialog, Ids::kCancel), L"Cancel");
    EXPECT_TRUE(GetWindowLongW(tree, GWL_STYLE) & TVS_CHECKBOXES);
    // Two 16 x 16 pictures: the data set's first, the table's second.
    auto pictures = reinterpret_cast<HIMAGELIST>(SendMessageW(tree, TVM_GETIMAGELIST, TVSIL_NORMAL, 0));
    ASSERT_TRUE(pictures);
    int w = 0, h = 0;
    ImageList_GetIconSize(pictures, &w, &h);
    EXPECT_EQ(ImageList_GetImageCount(pictures), 2);
    EXPECT_EQ(w, 16);
    EXPECT_EQ(h, 16);
    for (auto [item, picture] : {std::pair{root, 0}, std::pair{c, 1}}) {
      TVITEMW tv = {};
      tv.mask = TVIF_IMAGE;
      tv.hItem = item;
      SendMessageW(tree, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&tv));
      EXPECT_EQ(tv.iImage, picture);
    }

    auto state = [&] { return std::vector<bool>{ticked(tree, root), ticked(tree, a), ticked(tree, b), ticked(tree, c)}; };
    clickCheckBox(tree, b);
    EXPECT_EQ(state(), (std::vector<bool>{true, false, true, false}));
    clickCheckBox(tree, b);
    EXPECT_EQ(state(), (std::vector<bool>{false, false, false, false}));

    pressSpaceOn(p, dialog, tree, root);
    EXPECT_EQ(state(), (std::vector<bool>{true, true, true, true}));
    clickCheckBox(tree, c);  // A and B still hold the data set
    clickCheckBox(tree, a);
    EXPECT_EQ(state(), (std::vector<bool>{true, false, true, false}));
    pressSpaceOn(p, dialog, tree, b);
    EXPECT_EQ(state(), (std::vector<bool>{false, false, false, false}));
    clickCheckBox(tree, c);  // the last table alone
    EXPECT_EQ(state(), (std::vector<bool>{true, false, false, true}));
    clickCheckBox(tree, root);
    EXPECT_EQ(state(), (std::vector<bool>{false, false, false, false}));
    // Ticking a data set leaves the selection where it was.
    EXPECT_EQ(reinterpret_cast<HTREEITEM>(SendMessageW(tree, TVM_GETNEXTITEM, TVGN_CARET, 0)), b);
    pressSpaceOn(p, dialog, tree, c);
    // Enter presses OK.
    p.pressKey(dialog, VK_RETURN);
    EXPECT_TRUE(Person::waitHidden(dialog));
  });
  form.showModal();
  EXPECT_TRUE(form.okSelected());
  // Hidden, not unloaded: the caller reads the ticks.
  const std::vector<ChooserNodeState> nodes = form.nodes();
  ASSERT_EQ(nodes.size(), 4u);
  EXPECT_EQ(nodes[0].text, u"Current Data Set(company)");
  EXPECT_TRUE(nodes[0].checked && nodes[0].hasChildren);
  EXPECT_EQ(nodes[3].text, u"Ördrè \"x\"");
  EXPECT_TRUE(nodes[3].checked);
  EXPECT_FALSE(nodes[1].checked || nodes[2].checked || nodes[3].hasChildren);
}

TEST(SelectTablesFormTest, OkRefusedUntilSomethingIsTickedEscAndCloseHideWithFalse) {
  SelectTablesForm form;
  form.load();
  {
    Person person(kCaption, [](Person& p, HWND dialog) {
      for (bool enter : {false, true}) {
        if (enter)
          p.pressKey(dialog, VK_RETURN);
        else
          p.press(dialog, Ids::kOk);
        Person::Message m = p.answerMessage(dialog);
        EXPECT_EQ(m.text, L"You must select at least one table.");
        EXPECT_EQ(m.title, L"Select Tables");
        EXPECT_TRUE(m.exclamation);
        EXPECT_TRUE(IsWindowVisible(dialog));
      }
      p.pressKey(dialog, VK_ESCAPE);
      EXPECT_TRUE(Person::waitHidden(dialog));
    });
    form.showModal();
  }
  EXPECT_FALSE(form.okSelected());

  // A data set without tables: ticked, it counts for OK; after a Cancel and
  // a close, the next show starts from OkSelected false again.
  form.addDataSetNode(u"empty", u"Current Data Set(empty)");
  for (int step = 0; step < 3; ++step) {
    {
      Person person(kCaption, [&form, step](Person& p, HWND dialog) {
        HWND tree = GetDlgItem(dialog, Ids::kTree);
        if (step == 0) {
          pressSpaceOn(p, dialog, tree, form.item(0));
          EXPECT_TRUE(ticked(tree, form.item(0)));
          p.press(dialog, Ids::kOk);
        } else if (step == 1) {
          p.press(dialog, Ids::kCancel);
        } else {
          PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0);
        }
        EXPECT_TRUE(Person::waitHidden(dialog));
      });
      form.showModal();
    }
    EXPECT_EQ(form.okSelected(), step == 0);
    EXPECT_TRUE(IsWindow(form.hwnd()));
  }
}

TEST(SelectTablesFormTest, LoadedChooserFillsTwoThousandTablesAndTicksThemAll) {
  std::unique_ptr<TableChooser> chooser = loadSelectTablesForm();
  chooser->addDataSetNode(u"big", u"Current Data Set(big)");
  for (int i = 0; i < 2000; ++i) chooser->addTableNode(u"big", u"Table " + ascii(std::to_string(i)));
  auto& form = static_cast<SelectTablesForm&>(*chooser);
  Person person(kCaption, [&form](Person& p, HWND dialog) {
    HWND tree = GetDlgItem(dialog, Ids::kTree);
    // A person looks at the list before pressing a key: let the window
    // settle after its first show.
    Sleep(300);
    pressSpaceOn(p, dialog, tree, form.item(0));
    for (int i = 0; i < 100 && !ticked(tree, form.item(2000)); ++i) Sleep(20);
    EXPECT_TRUE(ticked(tree, form.item(1)));
    EXPECT_TRUE(ticked(tree, form.item(2000)));
    p.press(dialog, Ids::kOk);
  });
  chooser->showModal();
  EXPECT_TRUE(chooser->okSelected());
  const auto nodes = chooser->nodes();
  EXPECT_EQ(std::count_if(nodes.begin(), nodes.end(), [](auto& n) { return n.checked; }), 2001);
}

struct QuietWindow : NewReportWindow {
  void setHourglass(bool) override {}
  void processMessages() override {}
  void createReport() override {}
  std::shared_ptr<EngineDatabase> reportDatabase() override { return nullptr; }
};

// The new-report construction on "Halyard", a SQLite data source of the
// tests' odbc.ini: a file database is named by its file's name without the
// extension (in any letter case); another name lists nothing, as a server's
// missing database does.
TEST(SelectTablesFormTest, FileDatabaseIsLookedUpByItsName) {
  for (const char16_t* database : {u"archive", u"HALYARD"}) {
    SCOPED_TRACE(toUtf8(database));
    int count = -1;
    std::wstring root;
    {
      Person person(kCaption, [&](Person& p, HWND dialog) {
        HWND tree = GetDlgItem(dialog, Ids::kTree);
        count = static_cast<int>(SendMessageW(tree, TVM_GETCOUNT, 0, 0));
        wchar_t text[200] = {};
        TVITEMW tv = {};
        tv.mask = TVIF_TEXT;
        tv.hItem = reinterpret_cast<HTREEITEM>(SendMessageW(tree, TVM_GETNEXTITEM, TVGN_ROOT, 0));
        tv.pszText = text;
        tv.cchTextMax = 200;
        if (tv.hItem) SendMessageW(tree, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&tv));
        root = text;
        p.press(dialog, Ids::kCancel);
        EXPECT_TRUE(Person::waitHidden(dialog));
      });
      OdbcDatabaseServer server;
      QuietWindow window;
      EXPECT_FALSE(buildNewReport(serverDataSource(u"Halyard", database, u"", u""), server, loadSelectTablesForm, window));
    }
    if (database == Text(u"archive")) {
      EXPECT_EQ(count, 0);
    } else {
      EXPECT_EQ(root, L"Current Data Set(halyard)");
      EXPECT_EQ(count, 4);  // the data set and its three tables
    }
  }
}

}  // namespace
}  // namespace mervane::win
