// Every authoring dialog walked as a keyboard user and a reader meet it:
// the focus starts on the first field, Tab goes through the controls in
// reading order, every label's underlined letter is its own and reaches
// the box it names, no text is cut off or covered, the dialog sits centred
// on its owner inside the screen, and Esc closes it changing nothing.
#include <windows.h>
#include <commctrl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "authoring/designer/win/designer_dialogs.h"
#include "authoring/viewer/win/export_dialog.h"
#include "../person.h"

namespace mervane::authoring::win {
namespace {

using testing::Person;

std::wstring className(HWND w) {
  wchar_t name[64] = {};
  GetClassNameW(w, name, 64);
  return name;
}
LONG style(HWND w) { return GetWindowLongW(w, GWL_STYLE); }
bool isStatic(HWND w) { return _wcsicmp(className(w).c_str(), WC_STATICW) == 0; }
bool isButton(HWND w) { return _wcsicmp(className(w).c_str(), WC_BUTTONW) == 0; }
bool isGroupBox(HWND w) { return isButton(w) && (style(w) & BS_TYPEMASK) == BS_GROUPBOX; }
bool isInput(HWND w) {
  for (const wchar_t* input : {WC_EDITW, WC_COMBOBOXW, WC_LISTBOXW, WC_TREEVIEWW})
    if (_wcsicmp(className(w).c_str(), input) == 0) return true;
  return false;
}
bool shown(HWND w) { return IsWindowVisible(w) != FALSE; }
std::string narrow(const std::wstring& w) { return std::string(w.begin(), w.end()); }
std::string named(HWND w) { return narrow(className(w)) + " \"" + narrow(Person::text(w)) + "\""; }

// A control's place in the dialog's client area.
RECT placeOf(HWND dialog, HWND control) {
  RECT r;
  GetWindowRect(control, &r);
  MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&r), 2);
  return r;
}

// The letter after a single '&', lower case; 0 for none.
wchar_t mnemonicOf(const std::wstring& text) {
  for (std::size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] != L'&') continue;
    if (text[i + 1] != L'&') return static_cast<wchar_t>(towlower(text[i + 1]));
    ++i;
  }
  return 0;
}
std::wstring withoutAmpersands(const std::wstring& text) {
  std::wstring out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == L'&' && i + 1 < text.size()) ++i;
    out += text[i];
  }
  return out;
}

// Whether a control's text fits it, measured in its own font as it draws.
bool textFits(HWND control) {
  const std::wstring text = withoutAmpersands(Person::text(control));
  if (text.empty()) return true;
  RECT client;
  GetClientRect(control, &client);
  int room = client.right;
  if (isButton(control)) {
    const LONG type = style(control) & BS_TYPEMASK;
    if (type == BS_CHECKBOX || type == BS_AUTOCHECKBOX || type == BS_RADIOBUTTON || type == BS_AUTORADIOBUTTON ||
        type == BS_3STATE || type == BS_AUTO3STATE) {
      room -= GetSystemMetrics(SM_CXMENUCHECK) + 4;
    } else {
      room -= isGroupBox(control) ? 16 : 8;
    }
  }
  HDC dc = GetDC(control);
  HGDIOBJ old = SelectObject(dc, reinterpret_cast<HFONT>(SendMessageW(control, WM_GETFONT, 0, 0)));
  RECT need = {0, 0, std::max(room, 1), 0};
  const bool wraps = isStatic(control) && (style(control) & SS_TYPEMASK) == SS_LEFT;
  DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &need,
            DT_CALCRECT | DT_NOPREFIX | (wraps ? DT_WORDBREAK : DT_SINGLELINE));
  SelectObject(dc, old);
  ReleaseDC(control, dc);
  if (isGroupBox(control)) return need.right <= room;
  return need.right <= room && need.bottom <= client.bottom;
}

bool overlap(const RECT& a, const RECT& b) {
  return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}
bool inside(const RECT& inner, const RECT& outer) {
  return inner.left >= outer.left && inner.right <= outer.right && inner.top >= outer.top &&
         inner.bottom <= outer.bottom;
}

// What is checked of every dialog while it is open. The focus should start
// on the box after the label reading `first` (empty: the first Tab stop).
void walk(Person& p, HWND dialog, HWND owner, const std::wstring& first) {
  SCOPED_TRACE(narrow(Person::text(dialog)));
  std::vector<HWND> controls;
  for (HWND c = GetWindow(dialog, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
    if (shown(c)) controls.push_back(c);

  // Where it sits: inside the screen, centred on its owner.
  RECT frame, over;
  GetWindowRect(dialog, &frame);
  GetWindowRect(owner, &over);
  EXPECT_TRUE(inside(frame, RECT{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)}));
  EXPECT_NEAR((frame.left + frame.right) / 2, (over.left + over.right) / 2, 2);
  EXPECT_NEAR((frame.top + frame.bottom) / 2, (over.top + over.bottom) / 2, 2);

  // Every control inside the client area, its text whole, none covering another.
  RECT client;
  GetClientRect(dialog, &client);
  for (std::size_t i = 0; i < controls.size(); ++i) {
    const RECT a = placeOf(dialog, controls[i]);
    EXPECT_TRUE(inside(a, client)) << named(controls[i]) << " reaches outside the dialog";
    EXPECT_TRUE(textFits(controls[i])) << named(controls[i]) << " is cut off";
    for (std::size_t j = i + 1; j < controls.size(); ++j) {
      const RECT b = placeOf(dialog, controls[j]);
      if ((isGroupBox(controls[i]) && inside(b, a)) || (isGroupBox(controls[j]) && inside(a, b))) continue;
      EXPECT_FALSE(overlap(a, b)) << named(controls[i]) << " and " << named(controls[j]) << " overlap";
    }
  }

  // Underlined letters: each used once; a label without one before a box is
  // a box the keyboard cannot reach directly.
  std::map<wchar_t, HWND> letters;
  for (HWND c : controls) {
    if (!isStatic(c) && !isButton(c)) continue;
    if (isStatic(c) && (style(c) & SS_NOPREFIX)) continue;
    const wchar_t letter = mnemonicOf(Person::text(c));
    HWND next = GetWindow(c, GW_HWNDNEXT);
    if (!letter) {
      EXPECT_FALSE(isStatic(c) && !Person::text(c).empty() && next && isInput(next))
          << named(c) << " names a box but has no underlined letter";
      continue;
    }
    EXPECT_EQ(letters.count(letter), 0u) << named(c) << " shares its letter with " << named(letters[letter]);
    letters[letter] = c;
  }
  // The focus starts on the first field.
  HWND firstField = GetNextDlgTabItem(dialog, nullptr, FALSE);
  for (HWND c : controls)
    if (!first.empty() && Person::text(c).rfind(first, 0) == 0) firstField = GetWindow(c, GW_HWNDNEXT);
  EXPECT_EQ(Person::focus(dialog), firstField) << named(Person::focus(dialog)) << " has the focus";

  // Alt and a label's letter reach the box after it (when it can take the focus).
  for (const auto& [letter, label] : letters) {
    if (!isStatic(label) || !IsWindowEnabled(GetWindow(label, GW_HWNDNEXT))) continue;
    PostMessageW(Person::focus(dialog), WM_SYSCHAR, letter, 0x20000001);
    Sleep(60);
    HWND box = GetWindow(label, GW_HWNDNEXT);
    EXPECT_EQ(Person::focus(dialog), box) << "Alt+" << char(letter) << " from " << named(label) << " reaches "
                                          << named(Person::focus(dialog));
  }

  // Tab from the first field goes through the controls top to bottom, left
  // to right on a line, and comes back round.
  SendMessageW(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(firstField), TRUE);
  Sleep(60);
  std::vector<HWND> order{Person::focus(dialog)};
  for (int i = 0; i < 60; ++i) {
    p.pressKey(dialog, VK_TAB);
    HWND now = Person::focus(dialog);
    if (GetParent(now) != dialog && GetParent(now)) now = GetParent(now);  // a combo box's own edit
    if (now == order.front()) break;
    order.push_back(now);
  }
  EXPECT_LT(order.size(), 60u) << "Tab does not come back to the first field";
  // The round read from the top left (the first field is not always there).
  const auto top = std::find(order.begin(), order.end(), GetNextDlgTabItem(dialog, nullptr, FALSE));
  EXPECT_NE(top, order.end());
  if (top != order.end()) std::rotate(order.begin(), top, order.end());
  for (std::size_t i = 1; i < order.size(); ++i) {
    const RECT a = placeOf(dialog, order[i - 1]), b = placeOf(dialog, order[i]);
    const bool sameLine = b.top < a.bottom && a.top < b.bottom;
    EXPECT_TRUE(sameLine ? b.left >= a.left : b.top >= a.top)
        << "Tab goes from " << named(order[i - 1]) << " back up to " << named(order[i]);
  }

  p.pressKey(dialog, VK_ESCAPE);
  EXPECT_TRUE(Person::waitHidden(dialog)) << "Esc does not close it";
}

FieldCatalogue catalogue() {
  FieldCatalogue c;
  c.tables = {{u"Orders", {u"Id", u"CustomerId", u"Date", u"Amount"}}, {u"Customers", {u"Id", u"Name"}}};
  c.formulas = {u"Tax"};
  model::FieldRef name;
  name.table = u"Customers";
  name.column = u"Name";
  c.groups = {name};
  return c;
}

// A visible window to own the dialogs, away from the screen's centre.
struct Owner {
  Owner() {
    window = CreateWindowExW(0, WC_STATICW, L"Designer", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 60, 40, 900, 700, nullptr,
                             nullptr, nullptr, nullptr);
  }
  ~Owner() { DestroyWindow(window); }
  HWND window;
};

void sweep(const wchar_t* caption, const std::function<bool(HWND)>& open, const std::wstring& first = L"") {
  Owner owner;
  Person person(caption, [&](Person& p, HWND dialog) { walk(p, dialog, owner.window, first); });
  EXPECT_FALSE(open(owner.window)) << narrow(caption) << ": Esc answered as OK";
}

TEST(AuthoringDialogs, KeyboardAndLayoutAsAWindowsDialog) {
  const FieldCatalogue fields = catalogue();
  sweep(L"Conditional Formatting: Amount", [&](HWND owner) {
    std::vector<ConditionRow> rows;
    for (const char16_t* label : {u"Suppress", u"Font colour", u"Background colour", u"Bold", u"Italic", u"Border"})
      rows.push_back({label, u"true or false", Text()});
    return editConditions(owner, u"Conditional Formatting: Amount", rows, fields);
  });
  sweep(L"Section Conditions: Details", [&](HWND owner) {
    std::vector<ConditionRow> rows;
    for (const char16_t* label : {u"Suppress", u"New page before", u"New page after"})
      rows.push_back({label, u"true or false", Text()});
    return editConditions(owner, u"Section Conditions: Details", rows, fields);
  });
  sweep(L"Formula Editor", [&](HWND owner) {
    Text name = u"Net", text = u"{Orders.Amount}";
    return editFormula(owner, name, true, text, fields);
  });
  sweep(
      L"Font colour", [&](HWND owner) {
        Text text;
        return editCondition(owner, u"Font colour", text, fields);
      },
      L"&Text");
  sweep(L"Running Total", [&](HWND owner) {
    model::RunningTotal total;
    total.evaluate = model::RunningTotalEvaluate::OnFormula;
    total.reset = model::RunningTotalReset::OnChangeOfGroup;
    return editRunningTotal(owner, total, fields, nullptr);
  });
  sweep(L"Section: Details", [&](HWND owner) {
    model::Section section;
    section.name = u"Details";
    return editSectionOptions(owner, section);
  });
  sweep(L"Groups", [&](HWND owner) {
    std::vector<designer::GroupPlace> groups(1);
    groups[0].group.field = fields.groups[0];
    return editGroups(owner, groups, {false}, fields);
  });
  sweep(L"Picture from Field", [&](HWND owner) {
    model::FieldRef field;
    return choosePictureField(owner, field, fields);
  });
  sweep(viewer::win::kExportCaption, [&](HWND owner) {
    return viewer::win::askExport(owner, u"Customers", 2, 5, 5).has_value();
  });
}

}  // namespace
}  // namespace mervane::authoring::win
