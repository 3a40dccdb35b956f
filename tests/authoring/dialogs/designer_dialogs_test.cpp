// The designer's dialogs as a person meets them: typing a formula with a
// mistake, reading where it is, fixing it; inserting from the lists; page
// measures in centimetres and inches; sort fields, links, summaries,
// subreports; Enter, Esc and the mnemonics; and nothing changed on Cancel.
#include <windows.h>

#include <gtest/gtest.h>

#include "authoring/designer/formula_editing.h"
#include "authoring/designer/win/designer_dialogs.h"
#include "authoring/designer/win/designer_dialogs_kit.h"
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

TEST(ReportTitle, EnterConfirmsAndEscCancels) {
  Text title = u"Sales";
  {
    Person person(L"Report Title", [](Person& p, HWND dialog) {
      HWND box = labelled(dialog, L"&Title:");
      EXPECT_EQ(Person::focus(dialog), box);
      EXPECT_EQ(Person::selection(box), std::make_pair(0, 5));
      typeKeys(p, dialog, L"Monthly sales");
      p.pressKey(dialog, VK_ESCAPE);
    });
    EXPECT_FALSE(editTitle(nullptr, title));
    EXPECT_EQ(title, u"Sales");
  }
  Person person(L"Report Title", [](Person& p, HWND dialog) {
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
    EXPECT_EQ(Person::focus(dialog), labelled(dialog, L"&Paper size:"));
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
    EXPECT_EQ(Person::focus(dialog), available);
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

}  // namespace
}  // namespace mervane::authoring::win
