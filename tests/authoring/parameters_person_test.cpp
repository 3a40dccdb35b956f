// Parameters as a person uses them: an order list whose record filter asks
// for a date range. The person adds the range parameter in Report >
// Parameters (a default that is not a date is refused first), opens the
// Preview and cancels the prompt (nothing runs), refreshes, types a value
// that is not a date (refused), then the range; and exports the pages to
// PDF. Deleting the parameter then asks first, as the filter and the
// heading use it; one undo brings it back. Then customers with an Orders subreport that asks for a date of its
// own, added on the subreport's tab, in the same prompt as the main
// report's. check_parameters_pdf.py reads the PDFs back: only the orders
// asked for, and the range in the page header.
#include <windows.h>
#include <commctrl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "authoring/designer/win/designer_control.h"
#include "authoring/designer/win/designer_dialogs.h"
#include "authoring/viewer/win/export_dialog.h"
#include "authoring/viewer/win/viewer_control.h"
#include "authoring/win/designer_form.h"
#include "base/win/com.h"
#include "engine/engine.h"
#include "engine/win/engine_factory.h"
#include "company_designer.h"
#include "person.h"

namespace mervane {
namespace {

namespace fs = std::filesystem;
namespace model = engine::model;
using testing::Person;

void clickTab(HWND tabs, int index) {
  RECT tab{};
  SendMessageW(tabs, TCM_GETITEMRECT, index, reinterpret_cast<LPARAM>(&tab));
  const LPARAM at = MAKELPARAM((tab.left + tab.right) / 2, (tab.top + tab.bottom) / 2);
  PostMessageW(tabs, WM_LBUTTONDOWN, MK_LBUTTON, at);
  PostMessageW(tabs, WM_LBUTTONUP, 0, at);
}

void hold() {
  if (const char* ms = std::getenv("MERVANE_DIALOG_HOLD_MS")) Sleep(static_cast<DWORD>(std::atoi(ms)));
}

// Orders with their date and status; the page header shows the range.
model::ReportDefinition orderList() {
  model::ReportDefinition r = model::blankReport();
  model::Table orders;
  orders.alias = orders.location = u"Orders";
  orders.logOn.database = u"company";
  r.data.tables = {orders};
  r.data.recordFilter = u"{Orders.OrderDate} in {?Period}";
  r.data.sortFields = {{{u"Orders", u"OrderID", {}}, model::SortDirection::Ascending, {}}};
  auto field = [](const Text& column, std::int32_t x) {
    model::ReportObject o;
    o.kind = model::ObjectKind::DatabaseField;
    o.name = column;
    o.field = {u"Orders", column, {}};
    o.x = x;
    o.width = 1800;
    return o;
  };
  for (model::Section& s : r.sections) {
    if (s.kind == model::SectionKind::Details) s.objects = {field(u"OrderID", 0), field(u"OrderDate", 2000)};
    if (s.kind == model::SectionKind::PageHeader) {
      model::ReportObject heading;
      heading.kind = model::ObjectKind::Text;
      heading.name = u"Heading";
      heading.text = u"Orders of {?Period}";
      heading.width = 6000;
      s.objects = {heading};
    }
  }
  return r;
}

// Customers up to a number asked for, each with its orders since a date
// its Orders subreport asks for. The subreport's own "Customers up to" is
// the main report's question and is not asked twice.
model::ReportDefinition customersWithOrders() {
  model::ReportDefinition r = model::blankReport();
  model::Table customers;
  customers.alias = customers.location = u"Customers";
  customers.logOn.database = u"company";
  r.data.tables = {customers};
  model::Parameter upTo;
  upTo.name = u"Customers up to";
  upTo.type = model::ParameterType::Number;
  upTo.defaultValue = u"3";
  r.parameters = {upTo};
  r.data.recordFilter = u"{Customers.CustomerID} <= {?Customers up to}";
  r.data.sortFields = {{{u"Customers", u"CustomerID", {}}, model::SortDirection::Ascending, {}}};
  model::ReportDefinition sub = orderList();
  sub.data.recordFilter = u"{Orders.OrderDate} >= {?Since} and {Orders.CustomerID} <= {?Customers up to}";
  sub.parameters = {upTo};
  model::ReportObject name, orders;
  name.kind = model::ObjectKind::DatabaseField;
  name.name = u"Name";
  name.field = {u"Customers", u"Name", {}};
  name.width = 3000;
  orders.kind = model::ObjectKind::Subreport;
  orders.name = u"Orders";
  orders.x = 3200;
  orders.width = 4000;
  orders.height = 240;
  orders.subreport.name = u"Orders";
  orders.subreport.links = {{{u"Customers", u"CustomerID", {}}, {u"Orders", u"CustomerID", {}}, {}}};
  orders.subreport.definition.emplace() = sub;
  for (model::Section& s : r.sections)
    if (s.kind == model::SectionKind::Details) s.objects = {name, orders};
  return r;
}

// The report saved under `name` in the test's folder, opened in the
// designer window on the company database.
std::unique_ptr<authoring::win::DesignerForm> openSaved(const model::ReportDefinition& definition, const Text& name,
                                                        const Text& caption) {
  const fs::path reportFile = fs::current_path() / "parameters" / (name + u".rpt");
  {
    std::unique_ptr<engine::Engine> engine = createReportEngine();
    std::unique_ptr<engine::Report> report = engine->create();
    report->document().definition = definition;
    report->setTitle(name);
    report->save(win::fromWide(reportFile.c_str()));
  }
  return testing::companyDesigner(caption, reportFile, name);
}

// File > Export as PDF into `pdf`; what went wrong, if anything.
std::wstring exportPdf(Person& p, HWND window, const fs::path& pdf) {
  PostMessageW(window, WM_COMMAND, authoring::win::kCommandExport, 0);
  HWND exportDialog = Person::waitForWindow(viewer::win::kExportCaption, nullptr, 1000);
  if (!exportDialog) return L"no Export dialog";
  p.pressKey(exportDialog, VK_RETURN);
  HWND save = Person::waitForWindow(L"Export Report", nullptr, 1000);
  if (!save) return L"no save dialog";
  Sleep(300);
  SendMessageW(Person::focus(save), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(pdf.wstring().c_str()));
  p.press(save, IDOK);
  if (!Person::waitFor([&] { return fs::exists(pdf); }, 60000)) return L"no PDF written";
  Sleep(500);
  return L"";
}

class Parameters : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    CoInitialize(nullptr);
    fs::remove_all(fs::current_path() / "parameters");
    fs::create_directories(fs::current_path() / "parameters");
  }
  static void TearDownTestSuite() { CoUninitialize(); }
};

TEST_F(Parameters, APersonAsksForADateRangeAndGetsOnlyItsOrders) {
  const fs::path folder = fs::current_path() / "parameters";
  auto owned = openSaved(orderList(), u"Orders by date", u"Parameters test");
  authoring::win::DesignerForm& form = *owned;
  ASSERT_TRUE(form.currentReport());

  std::vector<std::wstring> problems;
  std::wstring badDefault, badValue, deleteQuestion;
  bool cancelledGaveNothing = false, deleted = false;
  int listedAfterNo = 0;
  const fs::path pdf = folder / "orders.pdf";
  {
    Person person(L"Parameters test", [&](Person& p, HWND window) {
      using namespace authoring::win;
      // Report > Parameters: a new parameter, a date range.
      PostMessageW(window, WM_COMMAND, kCommandParameters, 0);
      HWND dialog = Person::waitForWindow(kParametersCaption, window);
      if (!dialog) return problems.push_back(L"no Parameters dialog");
      p.press(dialog, kParameterNew);
      p.type(dialog, kParameterName, L"Period");
      SendMessageW(GetDlgItem(dialog, kParameterType), CB_SETCURSEL, 3, 0);  // Date
      p.type(dialog, kParameterPrompt, L"Order dates");
      p.press(dialog, kParameterRange);
      p.type(dialog, kParameterDefault, L"abc");
      p.type(dialog, kParameterDefaultTo, L"2026-12-31");
      hold();
      p.press(dialog, IDOK);
      badDefault = p.answerMessage(dialog).text;
      p.type(dialog, kParameterDefault, L"2026-01-01");
      p.press(dialog, IDOK);
      if (!Person::waitHidden(dialog)) return problems.push_back(L"the Parameters dialog stayed");

      // Preview: the prompt; Cancel runs nothing.
      clickTab(form.tabStrip(), 1);
      HWND prompt = Person::waitForWindow(kPromptCaption, window, 1000);
      if (!prompt) return problems.push_back(L"no prompt on the first Preview");
      hold();
      p.press(prompt, IDCANCEL);
      Person::waitHidden(prompt);
      cancelledGaveNothing = !form.currentReport()->document().definition.parameters.at(0).given;

      // Refresh asks again: a value that is not a date is refused, then the range.
      Person::click(GetDlgItem(form.viewerWindow(), viewer::win::kRefreshButton));
      prompt = Person::waitForWindow(kPromptCaption, window, 1000);
      if (!prompt) return problems.push_back(L"no prompt on Refresh");
      p.type(prompt, kPromptFirstBox, L"March");
      p.press(prompt, IDOK);
      badValue = p.answerMessage(prompt).text;
      p.type(prompt, kPromptFirstBox, L"");
      p.typeKeys(prompt, L"2026-03-01");
      p.type(prompt, kPromptFirstBox + 1, L"2026-03-31");
      hold();
      p.press(prompt, IDOK);
      if (!Person::waitHidden(prompt)) return problems.push_back(L"the prompt stayed");
      Sleep(1000);
      hold();

      if (const std::wstring problem = exportPdf(p, window, pdf); !problem.empty()) problems.push_back(problem);

      // Delete in Report > Parameters asks first: No keeps it, Yes takes it, undo brings it back.
      PostMessageW(window, WM_COMMAND, kCommandParameters, 0);
      dialog = Person::waitForWindow(kParametersCaption, window);
      if (!dialog) return problems.push_back(L"no Parameters dialog to delete in");
      p.press(dialog, kParameterDelete);
      hold();
      deleteQuestion = p.answerMessage(dialog, IDNO).text;
      listedAfterNo = static_cast<int>(SendMessageW(GetDlgItem(dialog, kParameterList), LB_GETCOUNT, 0, 0));
      p.press(dialog, kParameterDelete);
      p.answerMessage(dialog, IDYES);
      p.press(dialog, IDOK);
      Person::waitHidden(dialog);
      deleted = form.currentReport()->document().definition.parameters.empty();
      PostMessageW(window, WM_COMMAND, kCommandUndo, 0);
      Sleep(300);
      PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
      p.answerMessage(window, IDNO);  // the new parameter is not saved
    });
    form.showModal();
  }
  for (const auto& problem : problems) ADD_FAILURE() << toUtf8(win::fromWide(problem.c_str()));
  EXPECT_EQ(badDefault, L"The default value 'abc' is not a date (yyyy-mm-dd).");
  EXPECT_TRUE(cancelledGaveNothing);
  EXPECT_EQ(badValue, L"Order dates: 'March' is not a date (yyyy-mm-dd).");
  EXPECT_EQ(deleteQuestion,
            L"The parameter Period is used by the record filter and the text object Heading.\n\nDelete it anyway? "
            L"Parameter fields that show it are removed with it; formulas that use it will say it is missing, and "
            L"texts will show {?Period} as written, until you change them.");
  EXPECT_EQ(listedAfterNo, 1);
  EXPECT_TRUE(deleted);
  EXPECT_TRUE(form.designerControl()->fieldItem(u"?", u"Period"));  // under "Parameter Fields"
  const auto& parameters = form.currentReport()->document().definition.parameters;
  ASSERT_EQ(parameters.size(), 1u);
  EXPECT_EQ(parameters[0].current, u"2026-03-01");
  EXPECT_EQ(parameters[0].currentTo, u"2026-03-31");
  EXPECT_TRUE(fs::exists(pdf));
}

// On the Orders subreport's tab (a double-click on it), Report > Parameters
// adds its own date; the Preview's one prompt asks the main report's
// question, then the subreport's under its name, and not the one they
// share twice.
TEST_F(Parameters, ASubreportAsksForItsOwnDateInTheSamePrompt) {
  auto form = openSaved(customersWithOrders(), u"Customers and orders", u"Subreport parameters test");
  ASSERT_TRUE(form->currentReport());
  auto& designer = *form->designerControl();
  std::vector<std::wstring> problems;
  std::wstring heading, thirdBox = L"none";
  const fs::path pdf = fs::current_path() / "parameters" / "customers-orders.pdf";
  {
    Person person(L"Subreport parameters test", [&](Person& p, HWND window) {
      using namespace authoring::win;
      const auto& editor = designer.editor();
      const auto* band = editor.layout().band(2);
      if (!band) return problems.push_back(L"no details");
      const POINT at = designer.canvasPoint({3400, band->bodyTop + 100});
      const LPARAM where = MAKELPARAM(at.x, at.y);
      PostMessageW(designer.canvas(), WM_LBUTTONDOWN, MK_LBUTTON, where);
      PostMessageW(designer.canvas(), WM_LBUTTONUP, 0, where);
      PostMessageW(designer.canvas(), WM_LBUTTONDBLCLK, MK_LBUTTON, where);
      PostMessageW(designer.canvas(), WM_LBUTTONUP, 0, where);
      if (!Person::waitFor([&] { return editor.openedSubreport().has_value(); })) return problems.push_back(L"no subreport tab");
      PostMessageW(window, WM_COMMAND, kCommandParameters, 0);
      HWND dialog = Person::waitForWindow(kParametersCaption, window);
      if (!dialog) return problems.push_back(L"no Parameters dialog");
      p.press(dialog, kParameterNew);
      p.type(dialog, kParameterName, L"Since");
      SendMessageW(GetDlgItem(dialog, kParameterType), CB_SETCURSEL, 3, 0);  // Date
      p.type(dialog, kParameterPrompt, L"Orders since");
      p.type(dialog, kParameterDefault, L"2026-01-01");
      p.press(dialog, IDOK);
      if (!Person::waitHidden(dialog)) return problems.push_back(L"the Parameters dialog stayed");

      clickTab(form->tabStrip(), 1);
      HWND prompt = Person::waitForWindow(kPromptCaption, window, 1000);
      if (!prompt) return problems.push_back(L"no prompt");
      heading = Person::text(prompt, 4001);
      if (GetDlgItem(prompt, kPromptFirstBox + 4)) thirdBox = L"there";
      p.type(prompt, kPromptFirstBox + 2, L"2026-06-01");
      hold();
      p.press(prompt, IDOK);
      if (!Person::waitHidden(prompt)) return problems.push_back(L"the prompt stayed");
      Sleep(1000);
      if (const std::wstring problem = exportPdf(p, window, pdf); !problem.empty()) problems.push_back(problem);
      PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
      p.answerMessage(window, IDNO);
    });
    form->showModal();
  }
  for (const auto& problem : problems) ADD_FAILURE() << toUtf8(win::fromWide(problem.c_str()));
  EXPECT_EQ(heading, L"The subreport Orders asks:");
  EXPECT_EQ(thirdBox, L"none");
  const auto& main = form->currentReport()->document().definition;
  const auto& sub = *main.sections[2].objects[1].subreport.definition;
  ASSERT_EQ(sub.parameters.size(), 2u);
  EXPECT_EQ(sub.parameters[1].current, u"2026-06-01");
  EXPECT_TRUE(main.parameters[0].given);
  EXPECT_TRUE(fs::exists(pdf));
}

}  // namespace
}  // namespace mervane
