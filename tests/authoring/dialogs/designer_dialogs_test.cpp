// The designer's dialogs as a person meets them: typing a formula with a
// mistake, reading where it is, fixing it; inserting from the lists; page
// measures in centimetres and inches; sort fields, links, summaries,
// subreports; Enter, Esc and the mnemonics; and nothing changed on Cancel;
// then every dialog's keyboard and layout in one sweep.
#include <windows.h>
#include <commctrl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>

#include "authoring/designer/formula_editing.h"
#include "authoring/designer/win/designer_dialogs.h"
#include "authoring/designer/win/designer_dialogs_kit.h"
#include "authoring/viewer/win/export_dialog.h"
#include "engine/formula/formula.h"
#include "../person.h"

namespace mervane::authoring::win {
namespace {

using testing::Person;

std::wstring wide(TextView text) { return std::wstring(text.begin(), text.end()); }

// The dialog's child whose text starts with `text` (a label or a button).
HWND child(HWND dialog, const std::wstring& text) {
  for (HWND c = GetWindow(dialog, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT)) {
    if (Person::text(c).rfind(text, 0) == 0) return c;
  }
  ADD_FAILURE() << "no control reads " << std::string(text.begin(), text.end());
  return nullptr;
}
// The box a label stands for: the control made right after it.
HWND labelled(HWND dialog, const std::wstring& label) { return GetWindow(child(dialog, label), GW_HWNDNEXT); }
int id(HWND control) { return GetDlgCtrlID(control); }
bool enabled(HWND control) { return IsWindowEnabled(control) != FALSE; }

void notify(HWND dialog, HWND control, int code) {
  PostMessageW(dialog, WM_COMMAND, MAKEWPARAM(id(control), code), reinterpret_cast<LPARAM>(control));
  Sleep(60);
}
// Picks an entry of a drop-down list as a click would.
void choose(HWND dialog, HWND combo, int index) {
  SendMessageW(combo, CB_SETCURSEL, static_cast<WPARAM>(index), 0);
  notify(dialog, combo, CBN_SELCHANGE);
}
void pick(HWND dialog, HWND list, int index) {
  SendMessageW(list, LB_SETCURSEL, static_cast<WPARAM>(index), 0);
  notify(dialog, list, LBN_SELCHANGE);
}
void doubleClick(HWND dialog, HWND list, int index) {
  SendMessageW(list, LB_SETCURSEL, static_cast<WPARAM>(index), 0);
  notify(dialog, list, LBN_DBLCLK);
}
// Types into the control with the focus and waits until it shows what was
// typed (each keystroke is checked by the dialog as it comes).
void typeKeys(Person& p, HWND dialog, const std::wstring& keys) {
  HWND box = Person::focus(dialog);
  p.typeKeys(dialog, keys);
  for (int i = 0; i < 200 && Person::text(box).find(keys) == std::wstring::npos; ++i) Sleep(10);
}
// Alt and a label's underlined letter.
void mnemonic(HWND dialog, wchar_t letter) {
  PostMessageW(Person::focus(dialog), WM_SYSCHAR, letter, 0x20000001);
  Sleep(60);
}
std::vector<std::wstring> items(HWND list) {
  std::vector<std::wstring> out;
  const bool combo = SendMessageW(list, CB_GETCOUNT, 0, 0) > 0;
  const int count = static_cast<int>(SendMessageW(list, combo ? CB_GETCOUNT : LB_GETCOUNT, 0, 0));
  for (int i = 0; i < count; ++i) {
    wchar_t buffer[256] = {};
    SendMessageW(list, combo ? CB_GETLBTEXT : LB_GETTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(buffer));
    out.emplace_back(buffer);
  }
  return out;
}

model::FieldRef field(const char16_t* table, const char16_t* column) {
  model::FieldRef f;
  f.table = table;
  f.column = column;
  return f;
}

FieldCatalogue catalogue() {
  FieldCatalogue c;
  c.tables = {{u"Orders", {u"Id", u"CustomerId", u"Date", u"Amount"}}, {u"Customers", {u"Id", u"Name"}}};
  c.formulas = {u"Tax", u"Discount"};
  c.groups = {field(u"Customers", u"Name")};
  return c;
}

// ---------------------------------------------------------------------------
// Formula editor and record filter

TEST(FormulaEditor, ShowsWhereTheMistakeIsAndKeepsOkDisabledUntilItIsFixed) {
  Text name, text;
  const std::wstring typed = L"{Orders.Amount} * * 2";
  Person person(L"Formula Editor", [&](Person& p, HWND dialog) {
    HWND nameBox = labelled(dialog, L"&Name:");
    HWND textBox = labelled(dialog, L"&Text");
    HWND status = GetWindow(textBox, GW_HWNDNEXT);
    HWND ok = child(dialog, L"OK");
    EXPECT_EQ(Person::focus(dialog), nameBox);
    typeKeys(p, dialog, L"Net");
    mnemonic(dialog, L't');
    EXPECT_EQ(Person::focus(dialog), textBox);

    typeKeys(p, dialog, typed);
    EXPECT_EQ(Person::text(textBox), typed);
    const auto mistake = engine::formula::check(Text(typed.begin(), typed.end()));
    ASSERT_TRUE(mistake);
    EXPECT_EQ(Person::text(status), wide(statusLine(mistake)));
    EXPECT_EQ(Person::text(status).rfind(L"Line 1, column 19: ", 0), 0u);
    EXPECT_FALSE(enabled(ok));

    // Enter does not close it; Show (Alt+S) selects the offending character.
    p.pressKey(dialog, VK_RETURN);
    EXPECT_TRUE(IsWindowVisible(dialog));
    mnemonic(dialog, L's');
    EXPECT_EQ(Person::focus(dialog), textBox);
    EXPECT_EQ(Person::selection(textBox), std::make_pair(18, 19));

    p.pressKey(dialog, VK_DELETE);
    EXPECT_EQ(Person::text(status), wide(kNoMistake));
    EXPECT_TRUE(enabled(ok));
    p.pressKey(dialog, VK_RETURN);
  });
  EXPECT_TRUE(editFormula(nullptr, name, true, text, catalogue()));
  EXPECT_EQ(name, u"Net");
  EXPECT_EQ(text, u"{Orders.Amount} *  2");
}

TEST(FormulaEditor, ListsInsertAtTheCaret) {
  Text name = u"Tax", text = u" * 0.2";
  Person person(L"Formula Editor", [&](Person& p, HWND dialog) {
    HWND textBox = labelled(dialog, L"&Text");
    HWND fields = labelled(dialog, L"&Fields:");
    HWND formulas = labelled(dialog, L"F&ormulas");
    HWND functions = labelled(dialog, L"F&unctions:");
    // A fixed name: the focus starts on the text, at its end.
    EXPECT_EQ(Person::focus(dialog), textBox);
    EXPECT_EQ(Person::selection(textBox), std::make_pair(6, 6));
    p.pressKey(dialog, VK_HOME);
    EXPECT_NE(GetWindowLongW(labelled(dialog, L"&Name:"), GWL_STYLE) & ES_READONLY, 0);
    EXPECT_EQ(items(fields).front(), L"{Orders.Id}");
    // The formula being edited is not offered to itself.
    EXPECT_EQ(items(formulas), std::vector<std::wstring>{L"{@Discount}"});

    doubleClick(dialog, fields, 3);
    EXPECT_EQ(Person::focus(dialog), textBox);
    p.pressKey(dialog, VK_END);
    typeKeys(p, dialog, L" - ");
    doubleClick(dialog, formulas, 0);
    typeKeys(p, dialog, L" + ");
    const auto names = functionNames();
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (Text(names[i].inserted) == u"Abs(") doubleClick(dialog, functions, static_cast<int>(i));
    }
    EXPECT_FALSE(enabled(child(dialog, L"OK")));
    typeKeys(p, dialog, L"-1)");
    EXPECT_TRUE(enabled(child(dialog, L"OK")));
    p.press(dialog, IDOK);
  });
  EXPECT_TRUE(editFormula(nullptr, name, false, text, catalogue()));
  EXPECT_EQ(name, u"Tax");
  EXPECT_EQ(text, u"{Orders.Amount} * 0.2 - {@Discount} + Abs(-1)");
}

TEST(FormulaEditor, RefusesAMissingOrTakenNameAndCancelChangesNothing) {
  Text name = u"Tax", text = u"{Orders.Amount} * 0.2";
  Person person(L"Formula Editor", [&](Person& p, HWND dialog) {
    HWND nameBox = labelled(dialog, L"&Name:");
    p.type(dialog, id(nameBox), L"  ");
    p.press(dialog, IDOK);
    Person::Message m = p.answerMessage(dialog);
    EXPECT_EQ(m.text, L"Please give the formula a name.");
    EXPECT_EQ(m.title, L"Formula Editor");
    EXPECT_EQ(Person::focus(dialog), nameBox);
    p.type(dialog, id(nameBox), L"discount");
    p.press(dialog, IDOK);
    EXPECT_EQ(p.answerMessage(dialog).text, L"The report already has a formula named discount.");
    // Keeping its own name is no clash.
    p.type(dialog, id(nameBox), L"TAX");
    mnemonic(dialog, L't');
    typeKeys(p, dialog, L" + 1");
    p.pressKey(dialog, VK_ESCAPE);
  });
  EXPECT_FALSE(editFormula(nullptr, name, true, text, catalogue()));
  EXPECT_EQ(name, u"Tax");
  EXPECT_EQ(text, u"{Orders.Amount} * 0.2");
}

TEST(RecordFilter, EmptySelectsEverythingAndMistakesOnLaterLinesAreFound) {
  Text filter = u"{Orders.Amount} >\n* 2";
  Person person(L"Record Filter", [&](Person& p, HWND dialog) {
    HWND textBox = labelled(dialog, L"&Text");
    HWND status = GetWindow(textBox, GW_HWNDNEXT);
    EXPECT_EQ(Person::focus(dialog), textBox);
    EXPECT_EQ(Person::text(textBox), L"{Orders.Amount} >\r\n* 2");
    EXPECT_EQ(Person::text(status).rfind(L"Line 2, column 1: ", 0), 0u);
    EXPECT_FALSE(enabled(child(dialog, L"OK")));
    p.press(dialog, id(child(dialog, L"&Show")));
    EXPECT_EQ(Person::focus(dialog), textBox);
    EXPECT_EQ(Person::selection(textBox), std::make_pair(19, 20));
    // Blanks only: no filter.
    SendMessageW(textBox, EM_SETSEL, 0, -1);
    typeKeys(p, dialog, L"  ");
    EXPECT_EQ(Person::text(status), L"No filter: every record is selected.");
    p.pressKey(dialog, VK_RETURN);
  });
  EXPECT_TRUE(editRecordFilter(nullptr, filter, catalogue()));
  EXPECT_EQ(filter, u"");
}

TEST(ReportTitle, TypedOverAndConfirmedByEnter) {
  Text title = u"Sales";
  Person person(L"Report Title", [](Person& p, HWND dialog) {
    EXPECT_EQ(Person::selection(labelled(dialog, L"&Title:")), std::make_pair(0, 5));
    typeKeys(p, dialog, L"Monthly sales");
    p.pressKey(dialog, VK_RETURN);
  });
  EXPECT_TRUE(editTitle(nullptr, title));
  EXPECT_EQ(title, u"Monthly sales");
}

// ---------------------------------------------------------------------------
// Page setup

TEST(PageMeasures, ConvertToTwipsExactlyAndShowAsFewDecimalsAsReadBackTheSame) {
  EXPECT_EQ(parseMeasure(u"2.54", MeasureUnit::Centimetres), 1440);
  EXPECT_EQ(parseMeasure(u" 1,5 ", MeasureUnit::Inches), 2160);
  EXPECT_EQ(parseMeasure(u"2", MeasureUnit::Centimetres), 1134);  // 1133.86
  EXPECT_EQ(parseMeasure(u".000348", MeasureUnit::Inches), 1);  // 0.501 twip
  EXPECT_EQ(parseMeasure(u"0.000347", MeasureUnit::Inches), 0);  // 0.4997 twip
  for (const char16_t* bad : {u"", u"-1", u"1.2.3", u"2 cm", u"1e3", u"9999999"}) {
    EXPECT_FALSE(parseMeasure(bad, MeasureUnit::Centimetres)) << toUtf8(bad);
  }
  EXPECT_EQ(formatMeasure(1440, MeasureUnit::Centimetres), u"2.54");
  EXPECT_EQ(formatMeasure(1440, MeasureUnit::Inches, u','), u"1");
  EXPECT_EQ(formatMeasure(16838, MeasureUnit::Centimetres, u','), u"29,7");
  EXPECT_EQ(formatMeasure(1134, MeasureUnit::Inches), u"0.7875");
  for (std::int32_t twips = 0; twips <= 40000; ++twips) {
    for (MeasureUnit unit : {MeasureUnit::Centimetres, MeasureUnit::Inches}) {
      ASSERT_EQ(parseMeasure(formatMeasure(twips, unit), unit), twips);
    }
  }
}

TEST(PageSetup, MarginsTypedInEitherUnitBecomeExactTwips) {
  model::PageSetup page;  // A4 portrait, one-inch margins
  Person person(L"Page Setup", [](Person& p, HWND dialog) {
    HWND units = labelled(dialog, L"&Units:");
    HWND left = labelled(dialog, L"L&eft:"), top = labelled(dialog, L"&Top:");
    HWND width = labelled(dialog, L"&Width:");
    EXPECT_EQ(GetWindowLongW(width, GWL_STYLE) & ES_READONLY, ES_READONLY);
    choose(dialog, units, 0);
    EXPECT_EQ(Person::text(left), L"2.54");
    EXPECT_EQ(Person::text(width), L"21");
    EXPECT_EQ(Person::text(GetWindow(left, GW_HWNDNEXT)), L"cm");
    p.type(dialog, id(left), L"2");
    choose(dialog, units, 1);
    EXPECT_EQ(Person::text(left), L"0.7875");
    EXPECT_EQ(Person::text(GetWindow(left, GW_HWNDNEXT)), L"in");
    p.type(dialog, id(top), L"0.75");
    choose(dialog, units, 0);
    EXPECT_EQ(Person::text(top), L"1.905");
    p.press(dialog, IDOK);
  });
  EXPECT_TRUE(editPageSetup(nullptr, page));
  EXPECT_EQ(page.marginLeft, 1134);
  EXPECT_EQ(page.marginTop, 1080);
  EXPECT_EQ(page.marginRight, 1440);
  EXPECT_EQ(page.marginBottom, 1440);
  EXPECT_EQ(page.paperSize, model::paper::kA4);
}

TEST(PageSetup, CustomPaperLandscapeAndRefusals) {
  model::PageSetup page;
  page.paperSize = model::paper::kLetter;
  const model::PageSetup before = page;
  // Refused margins, then Cancel: nothing changes.
  {
    Person person(L"Page Setup", [](Person& p, HWND dialog) {
      choose(dialog, labelled(dialog, L"&Units:"), 1);
      HWND left = labelled(dialog, L"L&eft:");
      p.type(dialog, id(left), L"abc");
      p.press(dialog, IDOK);
      EXPECT_EQ(p.answerMessage(dialog).text, L"Please type a length in inches, such as 1.");
      EXPECT_EQ(Person::focus(dialog), left);
      p.type(dialog, id(left), L"4.5");
      p.type(dialog, id(labelled(dialog, L"&Right:")), L"4");
      p.press(dialog, IDOK);
      EXPECT_EQ(p.answerMessage(dialog).text, L"The left and right margins leave no room across the page.");
      p.press(dialog, IDCANCEL);
    });
    EXPECT_FALSE(editPageSetup(nullptr, page));
    EXPECT_EQ(page, before);
  }
  Person person(L"Page Setup", [](Person& p, HWND dialog) {
    HWND paper = labelled(dialog, L"&Paper size:");
    EXPECT_EQ(items(paper).size(), 5u);
    choose(dialog, labelled(dialog, L"&Units:"), 0);
    choose(dialog, paper, 4);  // Custom size, starting from Letter's
    HWND width = labelled(dialog, L"&Width:"), height = labelled(dialog, L"&Height:");
    EXPECT_EQ(GetWindowLongW(width, GWL_STYLE) & ES_READONLY, 0);
    EXPECT_EQ(Person::text(width), L"21.59");
    p.type(dialog, id(width), L"20");
    p.type(dialog, id(height), L"0.5");
    p.press(dialog, IDOK);
    EXPECT_EQ(p.answerMessage(dialog).text, L"The paper must be at least 1.27 cm wide and high.");
    p.type(dialog, id(height), L"25");
    p.press(dialog, id(child(dialog, L"&Landscape")));
    p.press(dialog, IDOK);
  });
  EXPECT_TRUE(editPageSetup(nullptr, page));
  EXPECT_EQ(page.paperSize, model::paper::kCustom);
  EXPECT_EQ(page.paperWidth, 11339);   // 20 cm
  EXPECT_EQ(page.paperHeight, 14173);  // 25 cm
  EXPECT_EQ(page.orientation, model::Orientation::Landscape);
  EXPECT_EQ(page.marginLeft, 1440);
}

// ---------------------------------------------------------------------------
// Data dialogs

TEST(SortOrder, AddsOrdersAndTurnsFieldsAndCancelKeepsTheOldOrder) {
  std::vector<model::SortField> sort(1);
  sort[0].field = field(u"Orders", u"Date");
  const auto before = sort;
  {
    Person person(L"Sort Order", [](Person& p, HWND dialog) {
      doubleClick(dialog, labelled(dialog, L"A&vailable fields:"), 5);
      p.pressKey(dialog, VK_ESCAPE);
    });
    EXPECT_FALSE(editSortFields(nullptr, sort, catalogue()));
    EXPECT_EQ(sort, before);
  }
  Person person(L"Sort Order", [](Person& p, HWND dialog) {
    HWND available = labelled(dialog, L"A&vailable fields:");
    HWND sorted = labelled(dialog, L"&Sort fields:");
    EXPECT_EQ(items(sorted), std::vector<std::wstring>{L"{Orders.Date} (ascending)"});
    EXPECT_FALSE(enabled(child(dialog, L"&Up")));
    pick(dialog, available, 5);  // {Customers.Name}
    p.press(dialog, id(child(dialog, L"&Add >")));
    p.press(dialog, id(child(dialog, L"&Descending")));
    p.press(dialog, id(child(dialog, L"&Up")));
    // Adding a field again only selects it.
    pick(dialog, available, 2);
    p.press(dialog, id(child(dialog, L"&Add >")));
    EXPECT_EQ(items(sorted),
              (std::vector<std::wstring>{L"{Customers.Name} (descending)", L"{Orders.Date} (ascending)"}));
    EXPECT_EQ(SendMessageW(sorted, LB_GETCURSEL, 0, 0), 1);
    EXPECT_FALSE(enabled(child(dialog, L"Do&wn")));
    p.press(dialog, IDOK);
  });
  EXPECT_TRUE(editSortFields(nullptr, sort, catalogue()));
  ASSERT_EQ(sort.size(), 2u);
  EXPECT_EQ(sort[0].field, field(u"Customers", u"Name"));
  EXPECT_EQ(sort[0].direction, model::SortDirection::Descending);
  EXPECT_EQ(sort[1], before[0]);
}

TEST(Links, NewLinkEditedByItsBoxesAndASelfJoinRefused) {
  std::vector<model::TableLink> links;
  Person person(L"Links", [](Person& p, HWND dialog) {
    HWND list = labelled(dialog, L"&Links:");
    HWND fromTable = labelled(dialog, L"&From:");
    HWND fromColumn = GetWindow(fromTable, GW_HWNDNEXT);
    HWND toTable = labelled(dialog, L"&To:");
    EXPECT_FALSE(enabled(fromTable));
    EXPECT_EQ(Person::focus(dialog), child(dialog, L"&New"));
    // Until a link joins them, the tables say they are not linked.
    HWND unlinked = GetWindow(list, GW_HWNDNEXT);
    EXPECT_EQ(Person::text(unlinked), L"Not linked: Orders, Customers");
    p.press(dialog, id(child(dialog, L"&New")));
    EXPECT_EQ(Person::text(unlinked), L"");
    EXPECT_EQ(items(list), std::vector<std::wstring>{L"{Orders.Id} = {Customers.Id}   (Inner join)"});
    EXPECT_EQ(Person::focus(dialog), fromTable);
    choose(dialog, fromColumn, 1);
    choose(dialog, labelled(dialog, L"&Join:"), 1);
    EXPECT_EQ(items(list), std::vector<std::wstring>{L"{Orders.CustomerId} = {Customers.Id}   (Left outer join)"});
    choose(dialog, toTable, 0);
    p.press(dialog, IDOK);
    EXPECT_EQ(p.answerMessage(dialog).text, L"Link 1 joins Orders to itself: please choose two different tables.");
    choose(dialog, toTable, 1);
    p.press(dialog, IDOK);
  });
  EXPECT_TRUE(editLinks(nullptr, links, catalogue()));
  ASSERT_EQ(links.size(), 1u);
  EXPECT_EQ(links[0].from, field(u"Orders", u"CustomerId"));
  EXPECT_EQ(links[0].to, field(u"Customers", u"Id"));
  EXPECT_EQ(links[0].join, model::JoinType::LeftOuter);
}

TEST(Summary, OperationFieldAndGroup) {
  auto operation = model::SummaryOperation::Sum;
  model::FieldRef summed;
  std::int32_t group = 0;
  Person person(L"Insert Summary", [](Person&, HWND dialog) {
    HWND where = labelled(dialog, L"&Where:");
    EXPECT_EQ(items(where), (std::vector<std::wstring>{L"Whole report", L"Group 1: {Customers.Name}"}));
    choose(dialog, labelled(dialog, L"&Operation:"), 3);
    choose(dialog, labelled(dialog, L"&Field:"), 3);
    choose(dialog, where, 1);
    PostMessageW(dialog, WM_COMMAND, IDOK, 0);
  });
  EXPECT_TRUE(chooseSummary(nullptr, operation, summed, group, catalogue()));
  EXPECT_EQ(operation, model::SummaryOperation::Average);
  EXPECT_EQ(summed, field(u"Orders", u"Amount"));
  EXPECT_EQ(group, 1);
}

TEST(Subreport, ATableTheReportLacksWithItsLinkField) {
  model::Subreport subreport;
  Person person(L"Insert Subreport", [](Person& p, HWND dialog) {
    HWND name = labelled(dialog, L"&Name:");
    EXPECT_EQ(Person::focus(dialog), name);
    p.press(dialog, IDOK);
    EXPECT_EQ(p.answerMessage(dialog).text, L"Please give the subreport a name.");
    p.type(dialog, id(name), L"Lines");
    HWND table = labelled(dialog, L"&Table:");
    SetWindowTextW(table, L"OrderLines");
    notify(dialog, table, CBN_EDITCHANGE);
    choose(dialog, labelled(dialog, L"&Main report field:"), 0);
    SetWindowTextW(labelled(dialog, L"Su&breport field:"), L"OrderId");
    p.press(dialog, id(child(dialog, L"&Add")));
    EXPECT_EQ(items(labelled(dialog, L"&Links:")), std::vector<std::wstring>{L"{Orders.Id} = {OrderLines.OrderId}"});
    p.press(dialog, IDOK);
  });
  EXPECT_TRUE(chooseSubreport(nullptr, subreport, catalogue()));
  EXPECT_EQ(subreport.name, u"Lines");
  ASSERT_TRUE(subreport.definition);
  ASSERT_EQ(subreport.definition->data.tables.size(), 1u);
  EXPECT_EQ(subreport.definition->data.tables[0].alias, u"OrderLines");
  EXPECT_TRUE(model::sectionsInOrder(*subreport.definition));
  ASSERT_EQ(subreport.links.size(), 1u);
  EXPECT_EQ(subreport.links[0].mainField, field(u"Orders", u"Id"));
  EXPECT_EQ(subreport.links[0].subreportField, field(u"OrderLines", u"OrderId"));
}

TEST(Choosers, FieldSpecialFieldAndGroupChooseByDoubleClickOrOk) {
  model::FieldRef chosen = field(u"Gone", u"Column");  // no longer in the catalogue: kept and shown
  {
    Person person(L"Insert Field", [](Person&, HWND dialog) {
      HWND list = labelled(dialog, L"&Fields:");
      EXPECT_EQ(items(list).back(), L"{Gone.Column}");
      EXPECT_EQ(SendMessageW(list, LB_GETCURSEL, 0, 0), 8);
      doubleClick(dialog, list, 6);
    });
    EXPECT_TRUE(chooseField(nullptr, chosen, catalogue()));
    EXPECT_TRUE(chosen.isFormula());
    EXPECT_EQ(chosen.column, u"Tax");
  }
  {
    auto kind = model::SpecialFieldKind::PrintDate;
    Person person(L"Insert Special Field", [](Person& p, HWND dialog) {
      EXPECT_EQ(SendMessageW(labelled(dialog, L"&Special fields:"), LB_GETCURSEL, 0, 0), 3);
      p.pressKey(dialog, VK_DOWN);
      p.pressKey(dialog, VK_RETURN);
    });
    EXPECT_TRUE(chooseSpecialField(nullptr, kind));
    EXPECT_EQ(kind, model::SpecialFieldKind::PrintTime);
  }
  model::Group group;
  Person person(L"Insert Group", [](Person& p, HWND dialog) {
    HWND box = labelled(dialog, L"&Group by:");
    choose(dialog, box, 5);
    p.press(dialog, IDOK);
    EXPECT_EQ(p.answerMessage(dialog).text, L"The report is already grouped by {Customers.Name}.");
    choose(dialog, box, 2);
    mnemonic(dialog, L'd');
    p.pressKey(dialog, VK_RETURN);
  });
  EXPECT_TRUE(chooseGroup(nullptr, group, catalogue()));
  EXPECT_EQ(group.field, field(u"Orders", u"Date"));
  EXPECT_EQ(group.direction, model::SortDirection::Descending);
}

// ---------------------------------------------------------------------------
// Every dialog walked as a keyboard user and a reader meet it: the focus
// starts on the first field, Tab goes through the controls in reading
// order, every label's underlined letter is its own and reaches the box it
// names, no text is cut off or covered, the dialog sits centred on its
// owner inside the screen, and Esc closes it changing nothing.

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

// Whether a control's text fits it, measured in its own font as it draws.
bool textFits(HWND control) {
  const std::wstring text = Person::text(control);
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
            DT_CALCRECT | (wraps ? DT_WORDBREAK : DT_SINGLELINE));
  SelectObject(dc, old);
  ReleaseDC(control, dc);
  if (isGroupBox(control)) return need.right <= room;
  return need.right <= room && need.bottom <= client.bottom;
}

bool overlap(const RECT& a, const RECT& b) {
  RECT both;
  return IntersectRect(&both, &a, &b) != FALSE;
}
bool inside(const RECT& inner, const RECT& outer) {
  RECT both;
  return UnionRect(&both, &inner, &outer) && EqualRect(&both, &outer);
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
    total.reset = model::RunningTotalReset::OnFormula;
    return editRunningTotal(owner, total, fields, nullptr);
  });
  sweep(L"Section Options: Details", [&](HWND owner) {
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
  sweep(L"Report Title", [&](HWND owner) {
    Text title = u"Sales";
    return editTitle(owner, title);
  });
  sweep(L"Record Filter", [&](HWND owner) {
    Text filter;
    return editRecordFilter(owner, filter, fields);
  }, L"&Text");
  sweep(L"Page Setup", [&](HWND owner) {
    model::PageSetup page;
    return editPageSetup(owner, page);
  });
  sweep(L"Sort Order", [&](HWND owner) {
    std::vector<model::SortField> sort;
    return editSortFields(owner, sort, fields);
  });
  sweep(L"Links", [&](HWND owner) {
    std::vector<model::TableLink> links(1);
    links[0].from = {u"Orders", u"CustomerId", {}};
    links[0].to = {u"Customers", u"Id", {}};
    return editLinks(owner, links, fields);
  });
  sweep(L"Insert Summary", [&](HWND owner) {
    auto operation = model::SummaryOperation::Sum;
    model::FieldRef field;
    std::int32_t group = 0;
    return chooseSummary(owner, operation, field, group, fields);
  });
  sweep(L"Insert Group", [&](HWND owner) {
    model::Group group;
    return chooseGroup(owner, group, fields);
  });
  sweep(L"Insert Special Field", [&](HWND owner) {
    auto kind = model::SpecialFieldKind::PageNumber;
    return chooseSpecialField(owner, kind);
  });
  sweep(viewer::win::kExportCaption, [&](HWND owner) {
    return viewer::win::askExport(owner, u"Customers", 2, 5, 5).has_value();
  });
}

}  // namespace
}  // namespace mervane::authoring::win
