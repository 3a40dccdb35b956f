// The designer control in a window of its own, driven with mouse messages
// and keys as a person would: selecting, rubber band, dragging, arrow keys,
// undo and redo, cut and paste, a value typed into the property panel, the
// Format menu and the toolbar, texts typed in place, objects dragged from
// one section to another, and a group deleted through Report > Groups.
// (A column dragged from the field list: designer_form_test.)
//
// MERVANE_DIALOG_HOLD_MS keeps the window open that long at the end of the
// first test, for screenshots.
#include <windows.h>
#include <commctrl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>

#include "authoring/designer/win/designer_control.h"
#include "authoring/designer/win/property_panel.h"
#include "engine/data/odbc_data_provider.h"
#include "engine/export/page_feed.h"
#include "engine/export/pdf_writer.h"
#include "engine/layout/page_source.h"
#include "engine/win/gdi_font_source.h"
#include "engine/win/gdi_measure.h"
#include "engine/model/definition_stream.h"
#include "../person.h"
#include "base/win/wide.h"

#include <filesystem>
#include <fstream>

namespace mervane::authoring::win {
namespace {

namespace model = engine::model;
using designer::Point;

struct FakeColumns final : designer::ColumnSource {
  std::optional<std::vector<designer::FieldColumn>> columns(const engine::ReportDocument&, const model::Table&) override {
    return std::vector<designer::FieldColumn>{
        {u"OrderID", {}}, {u"Customer", {}}, {u"Amount", {engine::formula::ValueKind::Number, 12, 2}}};
  }
};

model::ReportObject text(Text name, std::int32_t x, std::int32_t y) {
  model::ReportObject o;
  o.name = name;
  o.text = std::move(name);
  o.x = x, o.y = y;
  return o;
}

class DesignerWindow : public ::testing::Test {
 protected:
  void SetUp() override {
    doc.definition = model::blankReport();
    doc.title = u"Orders";
    doc.definition.data.tables.push_back({.alias = u"Orders", .location = u"Orders"});
    doc.definition.sections[2].height = 720;
    doc.definition.sections[2].objects = {text(u"First", 0, 0), text(u"Second", 2880, 240)};

    WNDCLASSW wc{};
    wc.lpfnWndProc = hostProc;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.lpszClassName = L"DesignerTestHost";
    wc.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
    RegisterClassW(&wc);
    host = CreateWindowExW(0, L"DesignerTestHost", L"Designer test", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, 0, 0, 1200,
                           800, nullptr, nullptr, nullptr, nullptr);
    SetWindowLongPtrW(host, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&control));
    control.create(host);
    HMENU bar = CreateMenu();
    control.appendMenus(bar);
    SetMenu(host, bar);
    control.setColumnSource(std::make_shared<FakeColumns>());
    control.setDocument(&doc, [this] { ++changes; });
    ShowWindow(host, SW_SHOW);
    SendMessageW(host, WM_SIZE, 0, 0);
    SetForegroundWindow(host);
    for (int i = 0; i < 100 && control.readingColumns(); ++i) pump(20);
    pump(50);
  }
  void TearDown() override {
    control.setDocument(nullptr, {});
    DestroyWindow(host);
  }

  static LRESULT CALLBACK hostProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* designer = reinterpret_cast<DesignerControl*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
    if (designer && message == WM_COMMAND && designer->onCommand(LOWORD(wParam))) return 0;
    if (designer && message == WM_SIZE && designer->hwnd()) {
      RECT r;
      GetClientRect(hwnd, &r);
      MoveWindow(designer->hwnd(), 0, 0, r.right, r.bottom, TRUE);
    }
    return DefWindowProcW(hwnd, message, wParam, lParam);
  }

  // The host's message loop, for a while.
  void pump(DWORD ms = 30) {
    const DWORD end = GetTickCount() + ms;
    do {
      MSG m;
      while (PeekMessageW(&m, nullptr, 0, 0, PM_REMOVE)) {
        if (control.translateAccelerator(m)) continue;
        TranslateMessage(&m);
        DispatchMessageW(&m);
      }
      Sleep(5);
    } while (GetTickCount() < end);
  }

  LPARAM at(POINT p) { return MAKELPARAM(p.x, p.y); }
  POINT onCanvas(std::size_t section, std::int32_t x, std::int32_t y) {
    return control.canvasPoint({x, control.editor().layout().band(section)->bodyTop + y});
  }
  void mouse(HWND window, UINT message, POINT p, WPARAM keys = 0) {
    PostMessageW(window, message, keys, at(p));
    pump(10);
  }
  void drag(POINT from, POINT to, WPARAM keys = 0) {
    HWND canvas = control.canvas();
    mouse(canvas, WM_LBUTTONDOWN, from, MK_LBUTTON | keys);
    mouse(canvas, WM_MOUSEMOVE, {(from.x + to.x) / 2, (from.y + to.y) / 2}, MK_LBUTTON | keys);
    mouse(canvas, WM_MOUSEMOVE, to, MK_LBUTTON | keys);
    mouse(canvas, WM_LBUTTONUP, to, keys);
    pump(30);
  }
  void click(POINT p, WPARAM keys = 0) { drag(p, p, keys); }
  // A key, with Ctrl held when asked, into the window that has the focus.
  void key(UINT vk, bool ctrl = false, bool shift = false) {
    BYTE state[256] = {};
    GetKeyboardState(state);
    state[VK_CONTROL] = ctrl ? 0x80 : 0;
    state[VK_SHIFT] = shift ? 0x80 : 0;
    SetKeyboardState(state);
    HWND target = GetFocus() ? GetFocus() : control.canvas();
    PostMessageW(target, WM_KEYDOWN, vk, 1);
    PostMessageW(target, WM_KEYUP, vk, 0xC0000001);
    pump(40);
    state[VK_CONTROL] = state[VK_SHIFT] = 0;
    SetKeyboardState(state);
  }
  const std::vector<model::ReportObject>& details() { return doc.definition.sections[2].objects; }
  void hold() {
    if (const char* ms = std::getenv("MERVANE_DIALOG_HOLD_MS")) pump(static_cast<DWORD>(std::atoi(ms)));
  }

  engine::ReportDocument doc;
  DesignerControl control;
  HWND host = nullptr;
  int changes = 0;
};

TEST_F(DesignerWindow, SelectDragNudgeUndoRedo) {
  SetFocus(control.canvas());
  click(onCanvas(2, 300, 100));
  EXPECT_EQ(control.editor().selection().objects.size(), 1u);
  // Shift-click adds; a rubber band across both from empty space selects both.
  click(onCanvas(2, 3000, 300), MK_SHIFT);
  EXPECT_EQ(control.editor().selection().objects.size(), 2u);
  click(onCanvas(2, 7000, 600));
  EXPECT_TRUE(control.editor().selection().hasSection);
  drag(onCanvas(2, 7000, 650), onCanvas(2, 100, 50));
  EXPECT_EQ(control.editor().selection().objects.size(), 2u);
  EXPECT_EQ(changes, 0);

  // Both move together by the snapped distance.
  drag(onCanvas(2, 300, 100), onCanvas(2, 300 + 1450, 100 + 250));
  EXPECT_EQ(details()[0].x, 1440);
  EXPECT_EQ(details()[0].y, 240);
  EXPECT_EQ(details()[1].x, 2880 + 1440);
  EXPECT_EQ(changes, 1);

  key(VK_RIGHT);
  EXPECT_EQ(details()[0].x, 1560);
  key('Z', true);
  key('Z', true);
  EXPECT_EQ(details()[0].x, 0);
  EXPECT_EQ(details()[1].y, 240);
  key('Y', true);
  EXPECT_EQ(details()[0].x, 1440);
  hold();
}

TEST_F(DesignerWindow, ResizeShiftArrowAndBandEdge) {
  SetFocus(control.canvas());
  click(onCanvas(2, 300, 100));
  // The bottom right handle of First (0, 0, 1440, 240).
  drag(onCanvas(2, 1440, 240), onCanvas(2, 2890, 250));
  EXPECT_EQ(details()[0].width, 2880);
  EXPECT_EQ(details()[0].height, 240);
  key(VK_DOWN, false, true);  // Shift+arrow sizes by a grid step
  EXPECT_EQ(details()[0].height, 360);
  EXPECT_EQ(details()[0].y, 0);
  const auto* band = control.editor().layout().band(2);
  drag(control.canvasPoint({6000, band->bottom()}), control.canvasPoint({6000, band->bottom() + 480}));
  EXPECT_EQ(doc.definition.sections[2].height, 1200);
}

TEST_F(DesignerWindow, CutPasteAndDelete) {
  SetFocus(control.canvas());
  click(onCanvas(2, 3000, 300));
  key('X', true);
  ASSERT_EQ(details().size(), 1u);
  EXPECT_EQ(details()[0].name, u"First");
  click(onCanvas(4, 500, 100));  // the report footer
  key('V', true);
  ASSERT_EQ(doc.definition.sections[4].objects.size(), 1u);
  EXPECT_EQ(doc.definition.sections[4].objects[0].name, u"Second");
  click(onCanvas(2, 300, 100));
  key(VK_DELETE);
  EXPECT_TRUE(details().empty());
  key('Z', true);
  EXPECT_EQ(details().size(), 1u);
}

TEST_F(DesignerWindow, PropertyPanelEdits) {
  SetFocus(control.canvas());
  click(onCanvas(2, 300, 100));
  PropertyPanel& panel = control.properties();
  const auto& rows = panel.rows();
  auto found = std::find_if(rows.begin(), rows.end(), [](const auto& p) { return p.key == u"text"; });
  ASSERT_NE(found, rows.end());
  const int row = static_cast<int>(found - rows.begin());
  SetFocus(panel.list());
  ListView_SetItemState(panel.list(), row, LVIS_FOCUSED | LVIS_SELECTED, LVIS_FOCUSED | LVIS_SELECTED);
  key(VK_F2);
  ASSERT_NE(panel.valueBox(), nullptr);
  SendMessageW(panel.valueBox(), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"Grand total"));
  key(VK_RETURN);
  EXPECT_EQ(details()[0].text, u"Grand total");
  EXPECT_EQ(panel.valueBox(), nullptr);
  // A refused value changes nothing.
  found = std::find_if(panel.rows().begin(), panel.rows().end(), [](const auto& p) { return p.key == u"width"; });
  panel.beginEdit(static_cast<int>(found - panel.rows().begin()));
  SendMessageW(panel.valueBox(), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"wide"));
  key(VK_RETURN);
  EXPECT_EQ(details()[0].width, 1440);
  // With nothing selected the panel shows the report.
  SetFocus(control.canvas());
  key(VK_ESCAPE);
  EXPECT_EQ(panel.rows().front().key, u"title");
  EXPECT_EQ(panel.rows().front().value, u"Orders");
}

TEST_F(DesignerWindow, OddReportsOpenAndStayUsable) {
  // 5,000 objects, some of no size, some outside the page, in a font that
  // is not installed; sections of no height.
  engine::ReportDocument odd;
  odd.definition = model::blankReport();
  for (auto& s : odd.definition.sections) s.height = 0;
  for (int i = 0; i < 5000; ++i) {
    model::ReportObject o = text(u"T" + decimal(i), (i % 40) * 400 - 1000, (i / 40) * 30 - 200);
    o.width = i % 5 ? 380 : 0;
    o.height = i % 7 ? 200 : 0;
    o.format.fontName = u"No Such Font At All";
    odd.definition.sections[static_cast<std::size_t>(i % 5)].objects.push_back(std::move(o));
  }
  odd.definition.sections[2].objects[0].x = 50000000;
  const DWORD start = GetTickCount();
  control.setDocument(&odd, [this] { ++changes; });
  UpdateWindow(control.canvas());
  EXPECT_LT(GetTickCount() - start, 2000u);
  SetFocus(control.canvas());
  EXPECT_TRUE(control.onCommand(kCommandSelectAll));
  key(VK_RIGHT);
  EXPECT_EQ(odd.definition.sections[2].objects[1].x, 1800 + 120);  // the object of i = 7
  key('Z', true);
  EXPECT_EQ(odd.definition.sections[2].objects[1].x, 1800);
  EXPECT_TRUE(control.onCommand(kCommandZoom200));
  pump(50);
  EXPECT_EQ(changes, 2);
}

TEST_F(DesignerWindow, EmptyAndReadOnly) {
  control.setReadOnly(true);
  SetFocus(control.canvas());
  drag(onCanvas(2, 300, 100), onCanvas(2, 3000, 100));
  key(VK_DELETE);
  EXPECT_EQ(details()[0].x, 0);
  EXPECT_EQ(details().size(), 2u);
  EXPECT_EQ(changes, 0);
  control.setDocument(nullptr, {});
  click({200, 200});
  key('Z', true);
  EXPECT_FALSE(control.onCommand(kCommandSave));  // the host's
  EXPECT_TRUE(control.onCommand(kCommandSelectAll));
}

// Negative amounts turned red and a running balance added through the
// dialogs, as a person does it; the report then laid out over a file of
// order lines and exported to conditions.pdf for conditions_pdf_read_back.
TEST_F(DesignerWindow, NegativeAmountsRedAndARunningBalance) {
  namespace fs = std::filesystem;
  using mervane::testing::Person;
  const fs::path lines = fs::current_path() / "order-lines.csv";
  std::ofstream(lines) << "OrderID,Customer,Amount\n1,Ann,120.5\n2,Ann,-30\n3,Bob,45\n4,Bob,-12.25\n5,Cy,10\n";
  model::Table& table = doc.definition.data.tables[0];
  table.type = model::DatabaseType::DelimitedTextFile;
  table.location = mervane::win::fromWide(lines.wstring());
  model::ReportObject amount;
  amount.kind = model::ObjectKind::DatabaseField;
  amount.name = u"Amount";
  amount.field = {u"Orders", u"Amount", {}};
  amount.x = 5760;
  amount.format.numberFormat = u"0.00";
  amount.format.alignment = model::Alignment::Right;
  doc.definition.sections[2].objects.push_back(amount);
  control.setDocument(&doc, [this] { ++changes; });
  pump(50);
  SetFocus(control.canvas());

  // Insert > Running Total at an empty place of the details: first without
  // a name (refused in words), then named and on the amounts.
  click(onCanvas(2, 7300, 60));
  std::wstring refusal;
  {
    Person person(L"Running Total", [&](Person& p, HWND dialog) {
      p.type(dialog, 102, L"");
      p.press(dialog, IDOK);
      refusal = p.answerMessage(dialog).text;
      p.type(dialog, 102, L"Balance");
      SendMessageW(GetDlgItem(dialog, 104), CB_SELECTSTRING, static_cast<WPARAM>(-1),
                   reinterpret_cast<LPARAM>(L"{Orders.Amount}"));
      hold();
      p.press(dialog, IDOK);
    });
    PostMessageW(host, WM_COMMAND, kCommandInsertRunningTotal, 0);
    pump(300);
  }
  EXPECT_EQ(refusal, L"Please give the running total a name.");
  ASSERT_EQ(doc.definition.runningTotals.size(), 1u);
  EXPECT_EQ(doc.definition.runningTotals[0].field.column, u"Amount");
  ASSERT_EQ(details().back().kind, model::ObjectKind::RunningTotalField);
  EXPECT_EQ(details().back().formula, u"Balance");

  // The amount's Conditional Formatting: a mistake shown with its place as
  // it is typed, then the formula finished and confirmed.
  click(onCanvas(2, 5900, 100));
  ASSERT_EQ(control.editor().selection().objects.size(), 1u);
  std::wstring status;
  bool refusedWhileWrong = false;
  {
    Person person(L"Conditional Formatting: Amount", [&](Person& p, HWND dialog) {
      // From the first row's box past its "..." button to the font colour's.
      p.pressKey(dialog, VK_TAB);
      p.pressKey(dialog, VK_TAB);
      const std::wstring typed = L"if {Orders.Amount} < 0 then crRed else";
      p.typeKeys(dialog, typed);
      for (int i = 0; i < 100 && Person::text(dialog, 204) != typed; ++i) Sleep(20);
      status = Person::text(dialog, 190);
      refusedWhileWrong = !IsWindowEnabled(GetDlgItem(dialog, IDOK));
      p.typeKeys(dialog, L" crBlack");
      hold();
      p.press(dialog, IDOK);
    });
    PostMessageW(host, WM_COMMAND, kCommandConditionalFormatting, 0);
    pump(300);
  }
  EXPECT_EQ(status, L"Font colour, line 1, column 39: Expected a value, found the end of the formula");
  EXPECT_TRUE(refusedWhileWrong);
  const model::ReportObject& shown = details()[2];
  EXPECT_EQ(shown.conditions.fontColour, u"if {Orders.Amount} < 0 then crRed else crBlack");

  // Report > Running Total... on the balance's field renames it; the field
  // follows, and one undo takes both back.
  const model::ReportObject& balance = details().back();
  click(onCanvas(2, balance.x + balance.width / 2, balance.y + balance.height / 2));
  {
    Person person(L"Running Total", [&](Person& p, HWND dialog) {
      p.type(dialog, 102, L"Running balance");
      p.press(dialog, IDOK);
    });
    PostMessageW(host, WM_COMMAND, kCommandEditRunningTotal, 0);
    pump(300);
  }
  EXPECT_EQ(doc.definition.runningTotals[0].name, u"Running balance");
  EXPECT_EQ(details().back().formula, u"Running balance");
  SetFocus(control.canvas());
  key('Z', true);
  EXPECT_EQ(details().back().formula, u"Balance");
  key('Y', true);
  EXPECT_EQ(doc.definition.runningTotals[0].name, u"Running balance");
  hold();

  // The report as it prints: the negative amounts red, the balance line by line.
  auto data = engine::data::createOdbcDataProvider();
  auto source = engine::layout::runReport(doc, *data, std::make_shared<engine::win::GdiMeasure>());
  std::vector<Text> reds, balances;
  for (std::int32_t n = 1; auto page = source->page(n); ++n) {
    for (const auto& item : page->items) {
      const auto* run = std::get_if<engine::layout::TextRun>(&item);
      if (run && run->source == u"Amount" && run->colour == 0xFF0000) reds.push_back(run->text);
      if (run && run->source == details().back().name) balances.push_back(run->text);
    }
  }
  ASSERT_TRUE(source->problem().empty()) << toUtf8(source->problem());
  EXPECT_EQ(reds, (std::vector<Text>{u"-30.00", u"-12.25"}));
  EXPECT_EQ(balances, (std::vector<Text>{u"120.5", u"90.5", u"135.5", u"123.25", u"133.25"}));
  std::ofstream pdf(fs::current_path() / "conditions.pdf", std::ios::binary);
  engine::exporting::PdfOptions options;
  options.fonts = std::make_shared<engine::win::GdiFontSource>();
  EXPECT_TRUE(engine::exporting::writePdf(engine::exporting::feedOf(*source), pdf, {}, options));
}

// The toolbar button sending `command`, clicked.
void clickToolbar(HWND toolbar, UINT command) {
  RECT r{};
  SendMessageW(toolbar, TB_GETRECT, command, reinterpret_cast<LPARAM>(&r));
  const LPARAM middle = MAKELPARAM((r.left + r.right) / 2, (r.top + r.bottom) / 2);
  PostMessageW(toolbar, WM_MOUSEMOVE, 0, middle);
  PostMessageW(toolbar, WM_LBUTTONDOWN, MK_LBUTTON, middle);
  PostMessageW(toolbar, WM_LBUTTONUP, 0, middle);
}

// Alt and a letter, or a letter in an open menu, picks one entry only.
TEST_F(DesignerWindow, EachMenuUnderlinesEachLetterOnce) {
  std::vector<HMENU> menus{GetMenu(host)};
  for (std::size_t m = 0; m < menus.size(); ++m) {
    std::map<wchar_t, std::wstring> letters;
    for (int i = 0; i < GetMenuItemCount(menus[m]); ++i) {
      if (HMENU sub = GetSubMenu(menus[m], i)) menus.push_back(sub);
      wchar_t text[128] = {};
      GetMenuStringW(menus[m], static_cast<UINT>(i), text, 128, MF_BYPOSITION);
      const wchar_t* amp = wcschr(text, L'&');
      if (!amp || !amp[1]) continue;
      const auto [at, added] = letters.emplace(towlower(amp[1]), text);
      EXPECT_TRUE(added) << std::string(text, text + wcslen(text)) << " and "
                         << std::string(at->second.begin(), at->second.end()) << " share a letter";
    }
  }
  EXPECT_GT(menus.size(), 6u);
}

TEST_F(DesignerWindow, FormatMenuAndToolbarFollowTheSelection) {
  SetFocus(control.canvas());
  HWND toolbar = GetDlgItem(control.hwnd(), 4);
  ASSERT_NE(toolbar, nullptr);
  HMENU format = GetSubMenu(GetMenu(host), 3);
  click(onCanvas(2, 3000, 300));  // Second
  EXPECT_TRUE(GetMenuState(format, kCommandAlignLeft, MF_BYCOMMAND) & MF_GRAYED);  // one object: nothing to align
  click(onCanvas(2, 300, 100), MK_SHIFT);  // First, the one clicked last
  EXPECT_FALSE(GetMenuState(format, kCommandAlignLeft, MF_BYCOMMAND) & MF_GRAYED);
  EXPECT_TRUE(GetMenuState(format, kCommandSpaceAcross, MF_BYCOMMAND) & MF_GRAYED);
  PostMessageW(host, WM_COMMAND, kCommandAlignTop, 0);
  pump(50);
  EXPECT_EQ(details()[1].y, 0);
  EXPECT_EQ(details()[1].x, 2880);
  PostMessageW(host, WM_COMMAND, kCommandSameWidth, 0);
  pump(50);
  EXPECT_EQ(changes, 1);  // already as wide: nothing changed

  clickToolbar(toolbar, kCommandBold);
  pump(50);
  EXPECT_TRUE(details()[0].format.bold && details()[1].format.bold);
  EXPECT_TRUE(SendMessageW(toolbar, TB_ISBUTTONCHECKED, kCommandBold, 0));
  clickToolbar(toolbar, kCommandTextRight);
  pump(50);
  EXPECT_EQ(details()[1].format.alignment, model::Alignment::Right);
  key('I', true);  // the menu's shortcut
  EXPECT_TRUE(details()[0].format.italic);
  EXPECT_TRUE(SendMessageW(toolbar, TB_ISBUTTONCHECKED, kCommandItalic, 0));
  key('E', true);
  EXPECT_EQ(details()[0].format.alignment, model::Alignment::Centre);
  EXPECT_FALSE(SendMessageW(toolbar, TB_ISBUTTONCHECKED, kCommandTextRight, 0));
  EXPECT_EQ(changes, 5);
  // A size typed into the toolbar's box counts once the box is left.
  HWND size = GetDlgItem(toolbar, kCommandFontSize);
  SetFocus(size);
  SetWindowTextW(size, L"14");
  pump(30);
  SetFocus(control.canvas());
  pump(50);
  EXPECT_EQ(details()[0].format.fontSize, 280);
  EXPECT_EQ(details()[1].format.fontSize, 280);
  key('Z', true);
  // Nothing selected: the formatting buttons grey out.
  key(VK_ESCAPE);
  EXPECT_FALSE(SendMessageW(toolbar, TB_ISBUTTONENABLED, kCommandBold, 0));
  clickToolbar(toolbar, kCommandUndo);
  pump(50);
  EXPECT_EQ(details()[0].format.alignment, model::Alignment::Right);
  // A line, just inserted and selected, takes no text format: greyed.
  clickToolbar(toolbar, kCommandInsertLine);
  pump(50);
  EXPECT_FALSE(GetMenuState(format, kCommandBringToFront, MF_BYCOMMAND) & MF_GRAYED);
  EXPECT_TRUE(GetMenuState(format, kCommandBold, MF_BYCOMMAND) & MF_GRAYED);
  EXPECT_FALSE(SendMessageW(toolbar, TB_ISBUTTONENABLED, kCommandBold, 0));
  hold();
}

TEST_F(DesignerWindow, TextTypedInPlaceAndObjectsDraggedBetweenSections) {
  SetFocus(control.canvas());
  mouse(control.canvas(), WM_LBUTTONDOWN, onCanvas(2, 300, 100), MK_LBUTTON);
  mouse(control.canvas(), WM_LBUTTONUP, onCanvas(2, 300, 100));
  mouse(control.canvas(), WM_LBUTTONDBLCLK, onCanvas(2, 300, 100), MK_LBUTTON);
  mouse(control.canvas(), WM_LBUTTONUP, onCanvas(2, 300, 100));
  pump(30);
  HWND box = GetFocus();
  ASSERT_NE(box, control.canvas());
  for (wchar_t c : std::wstring(L"Customer")) PostMessageW(box, WM_CHAR, c, 1);
  pump(30);
  key(VK_RETURN);
  EXPECT_EQ(details()[0].text, u"Customer");
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(GetFocus(), control.canvas());
  // Esc leaves the text as it was; a click elsewhere keeps what was typed.
  mouse(control.canvas(), WM_LBUTTONDBLCLK, onCanvas(2, 300, 100), MK_LBUTTON);
  mouse(control.canvas(), WM_LBUTTONUP, onCanvas(2, 300, 100));
  for (wchar_t c : std::wstring(L"xyz")) PostMessageW(GetFocus(), WM_CHAR, c, 1);
  key(VK_ESCAPE);
  EXPECT_EQ(details()[0].text, u"Customer");
  mouse(control.canvas(), WM_LBUTTONDBLCLK, onCanvas(2, 300, 100), MK_LBUTTON);
  mouse(control.canvas(), WM_LBUTTONUP, onCanvas(2, 300, 100));
  for (wchar_t c : std::wstring(L"Name")) PostMessageW(GetFocus(), WM_CHAR, c, 1);
  pump(30);
  click(onCanvas(2, 7000, 600));
  EXPECT_EQ(details()[0].text, u"Name");
  EXPECT_EQ(changes, 2);

  // Second dragged up into the page header keeps its look.
  doc.definition.sections[2].objects[1].format.bold = true;
  click(onCanvas(2, 3000, 300));
  drag(onCanvas(2, 3000, 300), onCanvas(1, 3000, 60));
  ASSERT_EQ(doc.definition.sections[1].objects.size(), 1u);
  EXPECT_EQ(doc.definition.sections[1].objects[0].name, u"Second");
  EXPECT_TRUE(doc.definition.sections[1].objects[0].format.bold);
  EXPECT_EQ(details().size(), 1u);
  key('Z', true);
  EXPECT_EQ(details().size(), 2u);
  EXPECT_TRUE(doc.definition.sections[1].objects.empty());

  // Held near the lower edge, the surface scrolls on by itself.
  control.setZoom(400);
  pump(30);
  RECT client;
  GetClientRect(control.canvas(), &client);
  const POINT first = onCanvas(2, 300, 100);
  mouse(control.canvas(), WM_LBUTTONDOWN, first, MK_LBUTTON);
  mouse(control.canvas(), WM_MOUSEMOVE, {first.x, client.bottom - 4}, MK_LBUTTON);
  pump(300);
  EXPECT_GT(GetScrollPos(control.canvas(), SB_VERT), 0);
  mouse(control.canvas(), WM_LBUTTONUP, {first.x, client.bottom - 4});
  EXPECT_EQ(changes, 5);  // typed twice, dragged, undone, dragged
}

TEST_F(DesignerWindow, GroupDeletedThroughReportGroupsAfterAskingAndSaved) {
  model::addGroup(doc.definition, model::Group{{u"Orders", u"Country"}, {}, {}});
  model::addGroup(doc.definition, model::Group{{u"Orders", u"City"}, {}, {}});
  doc.definition.sections[2].objects.push_back(text(u"Country heading", 0, 0));  // group 1's header
  control.setDocument(&doc, [this] { ++changes; });
  pump(30);
  std::wstring asked;
  {
    testing::Person person(L"Groups", [&](testing::Person& p, HWND dialog) {
      p.press(dialog, 105);  // Delete: the first group, selected
      p.press(dialog, IDOK);
      asked = p.answerMessage(dialog, IDYES).text;
    });
    PostMessageW(host, WM_COMMAND, kCommandGroups, 0);
    pump(1500);
  }
  EXPECT_NE(asked.find(L"holds objects"), std::wstring::npos);
  ASSERT_EQ(doc.definition.data.groups.size(), 1u);
  EXPECT_EQ(doc.definition.data.groups[0].field.column, u"City");
  EXPECT_EQ(doc.definition.sections.size(), 7u);
  EXPECT_TRUE(model::sectionsInOrder(doc.definition));
  for (const auto& s : doc.definition.sections)
    for (const auto& o : s.objects) EXPECT_NE(o.name, u"Country heading");
  const auto reopened = model::readDefinition(model::writeDefinition(doc.definition));
  ASSERT_TRUE(reopened.definition);
  EXPECT_EQ(*reopened.definition, doc.definition);
  key('Z', true);
  EXPECT_EQ(doc.definition.data.groups.size(), 2u);
}

}  // namespace
}  // namespace mervane::authoring::win
