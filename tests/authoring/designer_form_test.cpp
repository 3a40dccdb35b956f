// The designer window as the host reaches it through EditVisualReport and
// NewVisualReport, with a person at the window: tabs clicked with the
// mouse, the window resized and closed with its close button; the title
// read back and the stored report values afterwards.
#include <windows.h>
#include <commctrl.h>
#include <commdlg.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <tuple>

#include "Mervane100.h"
#include "authoring/designer/win/designer_control.h"
#include "authoring/viewer/win/export_dialog.h"
#include "authoring/viewer/win/viewer_control.h"
#include "authoring/win/designer_form.h"
#include "base/win/com.h"
#include "catalogue/catalogue_scan.h"
#include "engine/data/catalogue.h"
#include "engine/data/odbc_data_provider.h"
#include "engine/engine.h"
#include "engine/win/compound_report_files.h"
#include "engine/win/engine_factory.h"
#include "engine/win/gdi_font_source.h"
#include "engine/win/gdi_measure.h"
#include "engine/export/pdf_writer.h"
#include "components/win/host_components.h"
#include "company_designer.h"
#include "person.h"

namespace mervane {
namespace {

namespace fs = std::filesystem;
using testing::Person;
using win::Bstr;
using win::ComPtr;

const Text kRoot = u"Mervane Designer Test";
const std::wstring kRootKey = L"Software\\VB and VBA Program Settings\\Mervane Designer Test";

Text text(const std::wstring& w) { return Text(w.begin(), w.end()); }

fs::path fromUnix(std::string unix) {
  std::replace(unix.begin(), unix.end(), '/', '\\');
  return fs::path(L"Z:" + std::wstring(unix.begin(), unix.end()));
}

std::string bytes(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// Clicks a tab of the window's tab strip with the mouse.
void clickTab(HWND window, int index) {
  HWND tabs = GetDlgItem(window, authoring::win::DesignerForm::kTabStrip);
  RECT r{};
  SendMessageW(tabs, TCM_GETITEMRECT, index, reinterpret_cast<LPARAM>(&r));
  LPARAM at = MAKELPARAM((r.left + r.right) / 2, (r.top + r.bottom) / 2);
  PostMessageW(tabs, WM_LBUTTONDOWN, MK_LBUTTON, at);
  PostMessageW(tabs, WM_LBUTTONUP, 0, at);
  Sleep(300);
}

// The first child window of a class (the field list is the designer's only
// tree).
HWND findChild(HWND window, const std::wstring& className) {
  struct Search {
    const std::wstring& name;
    HWND found;
  } search{className, nullptr};
  EnumChildWindows(
      window,
      [](HWND child, LPARAM p) -> BOOL {
        auto* s = reinterpret_cast<Search*>(p);
        wchar_t name[64] = {};
        GetClassNameW(child, name, 64);
        if (s->name != name) return TRUE;
        s->found = child;
        return FALSE;
      },
      reinterpret_cast<LPARAM>(&search));
  return search.found;
}

std::wstring itemText(HWND tree, HTREEITEM i) {
  wchar_t text[256] = {};
  TVITEMW item = {};
  item.mask = TVIF_TEXT;
  item.hItem = i;
  item.pszText = text;
  item.cchTextMax = 256;
  TreeView_GetItem(tree, &item);
  return text;
}

// The field list's tables, under its first branch.
std::vector<std::wstring> fieldListTables(HWND tree) {
  std::vector<std::wstring> tables;
  for (HTREEITEM i = TreeView_GetChild(tree, TreeView_GetRoot(tree)); i; i = TreeView_GetNextSibling(tree, i))
    tables.push_back(itemText(tree, i));
  return tables;
}

// The field list's item for a table's column once the list has settled
// (the columns the report uses come first, the database's a moment later);
// null if there is none within five seconds.
HTREEITEM columnItem(HWND tree, const std::wstring& table, const std::wstring& column) {
  const auto find = [&]() -> HTREEITEM {
    for (HTREEITEM t = TreeView_GetChild(tree, TreeView_GetRoot(tree)); t; t = TreeView_GetNextSibling(tree, t))
      if (itemText(tree, t) == table)
        for (HTREEITEM c = TreeView_GetChild(tree, t); c; c = TreeView_GetNextSibling(tree, c))
          if (itemText(tree, c) == column) return c;
    return nullptr;
  };
  HTREEITEM last = nullptr;
  for (int attempt = 0; attempt < 20; ++attempt, Sleep(250)) {
    HTREEITEM found = find();
    if (found && found == last) return found;
    last = found;
  }
  return nullptr;
}

// Drags a column from the field list with the mouse and lets go of it over
// the design surface at `to` (a point of the surface's window).
bool dragColumn(HWND window, const std::wstring& table, const std::wstring& column, POINT to) {
  HWND tree = findChild(window, WC_TREEVIEWW);
  HWND canvas = findChild(window, L"MervaneDesignCanvas");
  HTREEITEM item = tree && canvas ? columnItem(tree, table, column) : nullptr;
  if (!item) return false;
  RECT r{};
  TreeView_GetItemRect(tree, item, &r, TRUE);
  MapWindowPoints(canvas, tree, &to, 1);
  PostMessageW(tree, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM((r.left + r.right) / 2, (r.top + r.bottom) / 2));
  PostMessageW(tree, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(to.x, to.y));
  PostMessageW(tree, WM_LBUTTONUP, 0, MAKELPARAM(to.x, to.y));
  Sleep(300);
  return true;
}

// A point of the design surface's window inside its first band.
constexpr POINT kOnTheSurface{70, 70};

// What the save dialog proposes: the file name and the folder.
struct Proposal {
  std::wstring name, folder;
};
Proposal readSaveDialog(HWND dialog) {
  wchar_t name[MAX_PATH] = {}, folder[MAX_PATH] = {};
  SendMessageW(dialog, CDM_GETSPEC, MAX_PATH, reinterpret_cast<LPARAM>(name));
  SendMessageW(dialog, CDM_GETFOLDERPATH, MAX_PATH, reinterpret_cast<LPARAM>(folder));
  return {name, folder};
}

bool sameFolder(const std::wstring& a, const fs::path& b) {
  std::error_code error;
  return !a.empty() && fs::equivalent(fs::path(a), b, error);
}

// Rows of the company database, counted as each run of a report asks for
// its data.
struct CountingData final : engine::data::DataProvider {
  std::shared_ptr<engine::data::DataProvider> odbc = engine::data::createOdbcDataProvider();
  std::atomic<int> runs{0};
  std::unique_ptr<engine::data::ReportData> open(const engine::ReportDocument& document,
                                                 const engine::model::ReportDefinition& definition,
                                                 const Text& subreport) override {
    if (subreport.empty()) ++runs;
    return odbc->open(document, definition, subreport);
  }
};

// The example customer list opened for designing on the company database,
// in a window of its own with the given caption.
std::unique_ptr<authoring::win::DesignerForm> openCustomerList(const Text& caption) {
  return testing::companyDesigner(caption, fromUnix(MERVANE_EXAMPLE_REPORTS) / "Customer List.rpt", u"Customers");
}

// Where the details stand among the report's sections.
std::size_t detailsOf(const engine::model::ReportDefinition& definition) {
  const auto& sections = definition.sections;
  return static_cast<std::size_t>(std::find_if(sections.begin(), sections.end(), [](const auto& s) {
                                    return s.kind == engine::model::SectionKind::Details;
                                  }) - sections.begin());
}

// MERVANE_DIALOG_HOLD_MS keeps the window as it is for that long, for
// screenshots.
void holdForScreenshots() {
  if (const char* hold = std::getenv("MERVANE_DIALOG_HOLD_MS")) Sleep(static_cast<DWORD>(std::atoi(hold)));
}

int selectedTab(HWND window) {
  return static_cast<int>(SendMessageW(GetDlgItem(window, authoring::win::DesignerForm::kTabStrip), TCM_GETCURSEL, 0, 0));
}

// The visible child windows of the form other than the tab strip.
std::vector<HWND> visibleControls(HWND window) {
  std::vector<HWND> out;
  for (HWND c = GetWindow(window, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
    if (IsWindowVisible(c) && GetDlgCtrlID(c) != authoring::win::DesignerForm::kTabStrip) out.push_back(c);
  return out;
}

class DesignerFormTest : public ::testing::Test {
 protected:
  void SetUp() override {
    CoInitialize(nullptr);
    RegDeleteTreeW(HKEY_CURRENT_USER, kRootKey.c_str());
    folder_ = fs::temp_directory_path() / ("designer-" + std::to_string(GetCurrentProcessId()));
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    fs::copy_file(fromUnix(MERVANE_EXAMPLE_REPORTS) / "Monthly Sales.rpt", folder_ / "Monthly Sales.rpt");
    ASSERT_EQ(CoCreateInstance(CLSID_ReportFunctions, nullptr, CLSCTX_INPROC_SERVER, IID__ReportFunctions,
                               functions_.putVoid()),
              S_OK);
    functions_->put_RegistryPath(Bstr(kRoot).get());
    functions_->put_SqlDatabase(Bstr(u"company").get());
    functions_->put_SqlConnString(Bstr(u"Driver={SQLite3};Database=" + fromUtf8(MERVANE_COMPANY_DB) +
                                       u";StepAPI=1;NoCreat=1")
                                      .get());
  }
  void TearDown() override {
    functions_.reset();
    fs::remove_all(folder_);
    RegDeleteTreeW(HKEY_CURRENT_USER, kRootKey.c_str());
    CoUninitialize();
  }
  Text path(const wchar_t* name) const { return text((folder_ / name).wstring()); }
  void store(const Text& key, const Text& value) { threadSettingsStore().write(kRoot, kReportsSection, key, value); }
  Text stored(const Text& key) { return threadSettingsStore().read(kRoot, kReportsSection, key, u"<none>"); }

  ComPtr<_ReportFunctions> functions_;
  fs::path folder_;
};

TEST_F(DesignerFormTest, EditShowsTheReportAndTheTabsSwitchTheControls) {
  const Text file = path(L"Monthly Sales.rpt");
  store(file, u"Monthly Sales;Y;17");
  const std::string before = bytes(folder_ / "Monthly Sales.rpt");
  bool sawDesign = false, sawPreview = false, laidOut = false, tinyKept = false;
  {
    Person person(L"Edit Report - " + std::wstring(file.begin(), file.end()), [&](Person&, HWND window) {
      RECT frame{};
      GetWindowRect(window, &frame);
      // 0.9 of the screen each way.
      laidOut = std::abs((frame.right - frame.left) - GetSystemMetrics(SM_CXSCREEN) * 9 / 10) <= 2;
      sawDesign = selectedTab(window) == 0 && visibleControls(window).size() == 1;
      clickTab(window, 1);
      sawPreview = selectedTab(window) == 1 && visibleControls(window).size() == 1;
      clickTab(window, 0);
      // Every control fills the tab strip's client area; a window too small
      // for it leaves them where they were.
      HWND tabs = GetDlgItem(window, authoring::win::DesignerForm::kTabStrip);
      RECT area{};
      GetWindowRect(tabs, &area);
      MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&area), 2);
      SendMessageW(tabs, TCM_ADJUSTRECT, FALSE, reinterpret_cast<LPARAM>(&area));
      RECT shown{};
      HWND front = visibleControls(window).empty() ? nullptr : visibleControls(window)[0];
      GetWindowRect(front, &shown);
      MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&shown), 2);
      laidOut = laidOut && EqualRect(&area, &shown);
      SetWindowPos(window, nullptr, 0, 0, 40, 30, SWP_NOZORDER | SWP_NOMOVE);
      Sleep(200);
      RECT after{};
      GetWindowRect(front, &after);
      MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&after), 2);
      tinyKept = EqualRect(&after, &shown);
      PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
    });
    Bstr repName(u"Monthly Sales");
    BSTR raw = repName.get();
    functions_->EditVisualReport(&raw, Bstr(file).get());
    EXPECT_EQ(win::toText(raw), u"Monthly Sales");
  }
  EXPECT_TRUE(laidOut);
  EXPECT_TRUE(sawDesign);
  EXPECT_TRUE(sawPreview);
  EXPECT_TRUE(tinyKept);
  // Nothing written: the stored value and the file are as they were.
  EXPECT_EQ(stored(file), u"Monthly Sales;Y;17");
  EXPECT_EQ(bytes(folder_ / "Monthly Sales.rpt"), before);
}

TEST_F(DesignerFormTest, TheTitleReadsBackAsGivenAndAChangedTitleIsStored) {
  using authoring::win::DesignerForm;
  auto form = std::make_unique<DesignerForm>(authoring::win::DesignerFormParts{
      [] { return createReportEngine(); }, nullptr, nullptr});
  form->load();
  ASSERT_TRUE(form->hwnd());
  form->openReport(path(L"Monthly Sales.rpt"), u"Given title");
  ASSERT_TRUE(form->hasReport());
  EXPECT_EQ(form->reportTitle(), u"Given title");  // not the file's
  form->currentReport()->setTitle(u"Edited");
  EXPECT_EQ(form->reportTitle(), u"Edited");
  // A file that does not open: an empty window and an empty title.
  form->openReport(path(L"missing.rpt"), u"Given title");
  EXPECT_FALSE(form->hasReport());
  EXPECT_EQ(form->reportTitle(), u"");

  // A missing file through the host: the window opens empty, and the host's
  // title and the stored values stay.
  store(path(L"missing.rpt"), u"Old;N;1");
  {
    Person person(L"Edit Report - " + (folder_ / L"missing.rpt").wstring(),
                  [&](Person&, HWND window) { PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0); });
    Bstr repName(u"Old");
    BSTR raw = repName.get();
    functions_->EditVisualReport(&raw, Bstr(path(L"missing.rpt")).get());
    EXPECT_EQ(win::toText(raw), u"Old");
  }
  EXPECT_EQ(stored(path(L"missing.rpt")), u"Old;N;1");
}

// Another program writes over the report's file, or deletes it, while the
// report is open in the window: the preview still runs from what was read,
// and Save writes the whole report back.
TEST_F(DesignerFormTest, AFileChangedOnDiskWhileOpenIsWrittenWholeBySave) {
  const fs::path file = folder_ / "Monthly Sales.rpt";
  for (const bool deleted : {false, true}) {
    SCOPED_TRACE(deleted ? "deleted" : "overwritten");
    bool written = false, stillOpen = false;
    {
      Person person(L"Edit Report - " + file.wstring(), [&](Person&, HWND window) {
        if (deleted) {
          written = DeleteFileW(file.c_str()) != FALSE;
        } else {
          std::ofstream out(file, std::ios::binary | std::ios::trunc);
          out << "not a report any more";
          written = out.good();
        }
        clickTab(window, 1);
        PostMessageW(window, WM_COMMAND, authoring::win::kCommandSave, 0);
        Sleep(500);
        stillOpen = IsWindowVisible(window) != FALSE;
        PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
      });
      Bstr repName(u"Monthly Sales");
      BSTR raw = repName.get();
      EXPECT_EQ(functions_->EditVisualReport(&raw, Bstr(text(file.wstring())).get()), S_OK);
      EXPECT_EQ(win::toText(raw), u"Monthly Sales");
    }
    EXPECT_TRUE(stillOpen);
    EXPECT_TRUE(written);  // the window does not hold the file
    auto engine = createEngineApplication();
    auto reopened = engine->openReport(text(file.wstring()));
    ASSERT_TRUE(reopened);
    EXPECT_TRUE(static_cast<engine::Report&>(*reopened).document().hasLayout);
  }
}

TEST_F(DesignerFormTest, ClosingWithChangesAsksAndSavesOnlyOnYes) {
  using authoring::win::DesignerForm;
  const fs::path file = folder_ / "Monthly Sales.rpt";
  const std::string before = bytes(file);
  auto form = std::make_unique<DesignerForm>(authoring::win::DesignerFormParts{
      [] { return createReportEngine(); }, nullptr, nullptr});
  form->load();
  form->setCaption(u"Closing test");
  form->openReport(text(file.wstring()), u"Monthly Sales");
  form->currentReport()->document().definition.sections[0].height += 100;
  form->currentReport()->markChanged();

  // No: the window hides, nothing is written.
  {
    Person person(L"Closing test", [&](Person& p, HWND window) {
      PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
      auto box = p.answerMessage(window, IDNO);
      EXPECT_EQ(box.title, L"Close Report");
    });
    form->showModal();
  }
  EXPECT_EQ(bytes(file), before);
  // Yes: the report is written to its file, safely, and then the window hides.
  {
    Person person(L"Closing test", [&](Person& p, HWND window) {
      PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
      p.answerMessage(window, IDYES);
    });
    form->showModal();
  }
  EXPECT_NE(bytes(file), before);
  EXPECT_FALSE(form->currentReport()->modified());
  auto engine = createEngineApplication();
  auto reopened = engine->openReport(text(file.wstring()));
  ASSERT_TRUE(reopened);
  auto& reread = static_cast<engine::Report&>(*reopened).document();
  EXPECT_TRUE(reread.hasLayout);
  EXPECT_EQ(reread.definition.sections[0].height, form->currentReport()->document().definition.sections[0].height);
}

// Closing asks only about the user's own changes, names the report, and
// Enter on the question writes nothing. Save As proposes the title as the
// file name, in the report's folder.
TEST_F(DesignerFormTest, ClosingAsksOnlyAboutTheUsersChanges) {
  fs::copy_file(fromUnix(MERVANE_EXAMPLE_REPORTS) / "Customer List.rpt", folder_ / "Customer List.rpt");
  const Text file = path(L"Customer List.rpt");
  const std::wstring caption = L"Edit Report - " + std::wstring(file.begin(), file.end());
  const std::string before = bytes(folder_ / "Customer List.rpt");
  const auto edit = [&](Text title, std::function<void(Person&, HWND)> script) {
    Person person(caption, std::move(script));
    Bstr repName(title);
    BSTR raw = repName.get();
    functions_->EditVisualReport(&raw, Bstr(file).get());
  };

  // Opened and closed: no question.
  bool quiet = false;
  edit(u"Sales by Month", [&](Person&, HWND window) {
    PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
    quiet = Person::waitHidden(window);
  });
  EXPECT_TRUE(quiet);

  // A field added: Save As proposes the title; the question names it, and
  // Enter keeps the window open without writing anything.
  bool dragged = false, keptOpen = false;
  Proposal proposal;
  std::wstring question;
  edit(u"Sales by Month", [&](Person& p, HWND window) {
    dragged = dragColumn(window, L"Customers", L"City", kOnTheSurface);
    p.pressKey(window, VK_F12);
    if (HWND dialog = Person::waitForWindow(L"Save Report As")) {
      proposal = readSaveDialog(dialog);
      PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
      Person::waitHidden(dialog);
    }
    PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
    if (HWND box = Person::waitForMessageBox(window)) {
      question = Person::text(box, 0xFFFF);
      Person::waitFor([&] { return IsChild(box, Person::focus(box)); });
      p.pressKey(box, VK_RETURN);
      Person::waitHidden(box);
      Sleep(300);
      keptOpen = IsWindowVisible(window) && !FindWindowW(nullptr, L"Save Report As");
    }
    PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
    p.answerMessage(window, IDNO);
  });
  EXPECT_TRUE(dragged);
  EXPECT_EQ(proposal.name, L"Sales by Month.rpt");
  EXPECT_TRUE(sameFolder(proposal.folder, folder_)) << proposal.folder;
  EXPECT_EQ(question, L"Do you want to save the changes to \"Sales by Month\"?");
  EXPECT_TRUE(keptOpen);

  // A report without a title is the untitled report.
  proposal = {};
  question.clear();
  edit(u"", [&](Person& p, HWND window) {
    dragColumn(window, L"Customers", L"City", kOnTheSurface);
    p.pressKey(window, VK_F12);
    if (HWND dialog = Person::waitForWindow(L"Save Report As")) {
      proposal = readSaveDialog(dialog);
      PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
      Person::waitHidden(dialog);
    }
    PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
    question = p.answerMessage(window, IDNO).text;
  });
  EXPECT_EQ(question, L"Do you want to save the changes to \"Untitled report\"?");
  EXPECT_EQ(proposal.name, L"Untitled report.rpt");
  EXPECT_EQ(bytes(folder_ / "Customer List.rpt"), before);
}

// Designing reads no data: the report runs when Preview is first shown, and
// again only after a change.
TEST_F(DesignerFormTest, PreviewRunsTheReportOnlyWhenFirstShownOrChanged) {
  using authoring::win::DesignerForm;
  auto data = std::make_shared<CountingData>();
  engine::EngineParts parts{std::make_shared<engine::CompoundReportFiles>(), data,
                            [](const DataSource& connect) { return engine::data::openCatalogue(connect); }};
  auto form = std::make_unique<DesignerForm>(authoring::win::DesignerFormParts{
      [&] { return std::make_unique<engine::Engine>(parts); }, nullptr, nullptr});
  form->load();
  form->setCaption(u"Preview test");
  form->setSessionData(testing::companySession());
  form->openReport(text((fromUnix(MERVANE_EXAMPLE_REPORTS) / "Customer List.rpt").wstring()), u"Customers");
  EXPECT_EQ(data->runs, 0);
  int designing = -1, firstPreview = -1, secondPreview = -1, afterChange = -1;
  {
    Person person(L"Preview test", [&](Person& p, HWND window) {
      Sleep(300);
      designing = data->runs;
      clickTab(window, 1);
      Person::waitFor([&] { return data->runs >= 1; });
      firstPreview = data->runs;
      clickTab(window, 0);
      clickTab(window, 1);
      secondPreview = data->runs;
      clickTab(window, 0);
      dragColumn(window, L"Customers", L"City", kOnTheSurface);
      clickTab(window, 1);
      Person::waitFor([&] { return data->runs >= 2; });
      afterChange = data->runs;
      PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
      p.answerMessage(window, IDNO);
    });
    form->showModal();
  }
  EXPECT_EQ(designing, 0);
  EXPECT_EQ(firstPreview, 1);
  EXPECT_EQ(secondPreview, 1);
  EXPECT_EQ(afterChange, 2);
}

// A customer's name dragged from the field list into the details is wide
// enough for the names, and its heading as wide: the preview shows every
// name whole, as the report's own name column does.
TEST_F(DesignerFormTest, AFieldFromTheFieldListShowsItsValuesWhole) {
  auto form = openCustomerList(u"Field test");
  ASSERT_TRUE(form->currentReport());
  auto& definition = form->currentReport()->document().definition;
  const std::size_t details = detailsOf(definition);
  ASSERT_LT(details, definition.sections.size());
  const std::size_t objectsBefore = definition.sections[details].objects.size();
  // Where the details begin, at the left margin.
  auto& designer = *form->designerControl();
  const POINT at = designer.canvasPoint({0, designer.editor().layout().band(details)->bodyTop + 30});
  bool dragged = false;
  {
    Person person(L"Field test", [&](Person& p, HWND window) {
      dragged = dragColumn(window, L"Customers", L"Name", at);
      holdForScreenshots();
      clickTab(window, 1);
      Sleep(1000);
      holdForScreenshots();
      PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
      p.answerMessage(window, IDNO);
    });
    form->showModal();
  }
  ASSERT_TRUE(dragged);
  ASSERT_EQ(definition.sections[details].objects.size(), objectsBefore + 1);
  const engine::model::ReportObject field = definition.sections[details].objects.back();
  EXPECT_GT(field.width, 1440);
  const auto header = std::find_if(definition.sections.begin(), definition.sections.end(),
                                   [](const auto& s) { return s.kind == engine::model::SectionKind::PageHeader; });
  ASSERT_NE(header, definition.sections.end());
  const auto& heading = header->objects.back();
  EXPECT_EQ(heading.text, u"Name");
  EXPECT_EQ(heading.width, field.width);

  auto run = form->currentReport()->run(std::make_shared<engine::win::GdiMeasure>());
  auto page = run->page(1);
  ASSERT_TRUE(page);
  std::vector<Text> shown, whole;
  for (const auto& item : page->items)
    if (const auto* r = std::get_if<engine::layout::TextRun>(&item)) {
      if (r->source == field.name) shown.push_back(r->text);
      if (r->source == u"Customers.Name") whole.push_back(r->text);
    }
  EXPECT_GT(whole.size(), 10u);
  EXPECT_EQ(shown, whole);
}

// A report on company and host data together: the products come from the
// company database, the stock per warehouse from the host's data source
// "Halyard" in a subreport; the first page shows both, as the databases
// hold them.
TEST_F(DesignerFormTest, ShowsCompanyAndHostDataInOneReport) {
  using authoring::win::DesignerForm;
  auto form = std::make_unique<DesignerForm>(authoring::win::DesignerFormParts{
      [] { return createReportEngine(); }, nullptr, nullptr});
  form->load();
  form->setSessionData(testing::companySession(u"ana", u"Halyard"));
  form->openReport(text((fromUnix(MERVANE_EXAMPLE_REPORTS) / "Stock Valuation.rpt").wstring()), u"Stock");
  ASSERT_TRUE(form->currentReport());
  auto run = form->currentReport()->run(std::make_shared<engine::win::GdiMeasure>());
  auto page = run->page(1);
  ASSERT_TRUE(page);
  EXPECT_EQ(run->problem(), u"");
  // Row by row down the page: a product's line, then its warehouses.
  std::vector<std::pair<std::int32_t, Text>> runs;
  for (const auto& item : page->items)
    if (const auto* r = std::get_if<engine::layout::TextRun>(&item)) runs.push_back({r->box.y * 100000 + r->box.x, r->text});
  std::sort(runs.begin(), runs.end());
  Text all;
  for (const auto& [at, t] : runs) all += t + u"|";
  // Aktenschrank (product 4): 92 in Göteborg, 18 in Kraków, in the host's data.
  EXPECT_NE(all.find(u"Aktenschrank|229.00|high|GOT|92|KRK|18|"), Text::npos) << toUtf8(all);
}

// NewVisualReport on the example company database (a SQLite file named as
// the server, the database by its base name): the user ticks two tables
// with the space bar, confirms, and the designer window shows a new report
// on them, linked by their common column; closing it returns true.
TEST_F(DesignerFormTest, NewVisualReportBuildsAReportOnTheTicketTables) {
  functions_->put_SqlServer(Bstr(fromUtf8(MERVANE_COMPANY_DB)).get());
  std::vector<std::wstring> nodes, reportTables;
  bool designerShown = false, closedQuietly = false;
  std::wstring caption;
  {
    Person chooser(L"Choose Tables", [&](Person& p, HWND dialog) {
      HWND tree = GetDlgItem(dialog, 101);
      HTREEITEM root = TreeView_GetRoot(tree);
      for (HTREEITEM i = TreeView_GetChild(tree, root); i; i = TreeView_GetNextSibling(tree, i)) {
        nodes.push_back(itemText(tree, i));
        if (nodes.back() == L"Customers" || nodes.back() == L"Orders") {
          TreeView_SelectItem(tree, i);
          SetFocus(tree);
          PostMessageW(tree, WM_KEYDOWN, VK_SPACE, 1);
          PostMessageW(tree, WM_KEYUP, VK_SPACE, 0xC0000001);
          // The next selection is a sent message and would overtake the posted
          // key: wait for the tick to show before moving on.
          Person::waitFor([&] { return TreeView_GetCheckState(tree, i) == 1; });
        }
      }
      p.press(dialog, IDOK);
    });
    Person designer(L"New Report", [&](Person&, HWND window) {
      designerShown = true;
      caption = Person::text(window);
      // The designer's field list fills as the columns come from the database.
      HWND fields = findChild(window, WC_TREEVIEWW);
      const std::vector<std::wstring> expected{L"Customers", L"Orders"};
      Person::waitFor([&] { return fields && (reportTables = fieldListTables(fields)) == expected; });
      clickTab(window, 1);
      clickTab(window, 0);
      // The report as built is not a change of the user's: it closes without a question.
      PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
      closedQuietly = Person::waitHidden(window);
    }, 3000);  // after the chooser and the report's first columns
    VARIANT_BOOL shown = VARIANT_FALSE;
    functions_->NewVisualReport(&shown);
    EXPECT_EQ(shown, VARIANT_TRUE);
  }
  EXPECT_TRUE(designerShown);
  EXPECT_EQ(caption, L"New Report");
  EXPECT_EQ(nodes, (std::vector<std::wstring>{L"Customers", L"Products", L"Orders", L"Order Lines"}));
  EXPECT_EQ(reportTables, (std::vector<std::wstring>{L"Customers", L"Orders"}));
  EXPECT_TRUE(closedQuietly);
}

TEST_F(DesignerFormTest, NewVisualReportCancelledShowsNothing) {
  functions_->put_SqlServer(Bstr(u"no-such-server").get());
  std::size_t items = 99;
  {
    Person chooser(L"Choose Tables", [&](Person& p, HWND dialog) {
      items = static_cast<std::size_t>(TreeView_GetCount(GetDlgItem(dialog, 101)));
      p.press(dialog, IDCANCEL);
    });
    VARIANT_BOOL shown = VARIANT_TRUE;
    functions_->NewVisualReport(&shown);
    EXPECT_EQ(shown, VARIANT_FALSE);
  }
  EXPECT_EQ(items, 0u);  // an unknown server: an empty tree
}

// File > Print from the Preview tab, the print dialog confirmed: the job
// goes to the system's default printer. print_to_pdf.sh runs this with a
// PDF printer as the default and reads the PDF it writes.
TEST_F(DesignerFormTest, PrintsThePreviewThroughThePrintDialog) {
  const char* report = std::getenv("MERVANE_PRINT_REPORT");
  if (!report) GTEST_SKIP() << "run by print_to_pdf.sh";
  const std::wstring file = fromUnix(report).wstring();
  bool confirmed = false;
  {
    Person person(L"Edit Report - " + file, [&](Person& p, HWND window) {
      clickTab(window, 1);
      Sleep(1500);
      PostMessageW(window, WM_COMMAND, authoring::win::kCommandPrint, 0);
      HWND dialog = nullptr;
      for (int i = 0; i < 5 && !dialog; ++i) dialog = Person::waitForWindow(L"Print");
      if (dialog) {
        p.press(dialog, IDOK);
        confirmed = true;
      }
      // The job runs in the background with its progress window.
      for (int i = 0; i < 300 && Person::waitForWindow(L"Printing") == nullptr; ++i) Sleep(10);
      for (int i = 0; i < 3000 && FindWindowW(nullptr, L"Printing"); ++i) Sleep(10);
      Sleep(500);
      PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
    });
    Bstr repName(u"Customers");
    BSTR raw = repName.get();
    functions_->EditVisualReport(&raw, Bstr(text(file)).get());
  }
  EXPECT_TRUE(confirmed);
}

// The text runs of a page, row by row down the page, left to right, as
// one text with "|" between runs.
Text pageText(const engine::layout::Page& page) {
  std::vector<std::pair<std::int64_t, Text>> runs;
  for (const auto& item : page.items)
    if (const auto* r = std::get_if<engine::layout::TextRun>(&item))
      runs.push_back({static_cast<std::int64_t>(r->box.y) * 100000 + r->box.x, r->text});
  std::sort(runs.begin(), runs.end());
  Text all;
  for (const auto& [at, t] : runs) all += t + u"|";
  return all;
}

// Double-clicks a surface point of the designer's canvas.
void doubleClick(HWND canvas, POINT at) {
  const LPARAM where = MAKELPARAM(at.x, at.y);
  PostMessageW(canvas, WM_LBUTTONDOWN, MK_LBUTTON, where);
  PostMessageW(canvas, WM_LBUTTONUP, 0, where);
  PostMessageW(canvas, WM_LBUTTONDBLCLK, MK_LBUTTON, where);
  PostMessageW(canvas, WM_LBUTTONUP, 0, where);
  Sleep(300);
}

// Clicks a report tab of the designer (the right button: its context menu).
void clickReportTab(HWND tabs, int index, bool right = false) {
  RECT r{};
  TabCtrl_GetItemRect(tabs, index, &r);
  POINT at{(r.left + r.right) / 2, (r.top + r.bottom) / 2}, screen = at;
  ClientToScreen(tabs, &screen);
  SetCursorPos(screen.x, screen.y);
  PostMessageW(tabs, right ? WM_RBUTTONDOWN : WM_LBUTTONDOWN, right ? MK_RBUTTON : MK_LBUTTON, MAKELPARAM(at.x, at.y));
  PostMessageW(tabs, right ? WM_RBUTTONUP : WM_LBUTTONUP, 0, MAKELPARAM(at.x, at.y));
  Sleep(300);
}

std::wstring tabCaption(HWND tabs, int index) {
  wchar_t caption[64] = {};
  TCITEMW item{};
  item.mask = TCIF_TEXT;
  item.pszText = caption;
  item.cchTextMax = 64;
  SendMessageW(tabs, TCM_GETITEMW, index, reinterpret_cast<LPARAM>(&item));
  return caption;
}

// The customer list with an Orders subreport: inserted on the Orders table,
// opened on its own tab with a double-click, a column dragged into it,
// linked to the customers through Report > Subreport Links (a link between
// a number and a text refused first), then the main report's tab again.
// Each customer prints with its own orders under it.
TEST_F(DesignerFormTest, ASubreportDesignedOnItsTabPrintsEachCustomersOrders) {
  namespace model = engine::model;
  auto form = openCustomerList(u"Subreport test");
  ASSERT_TRUE(form->currentReport());
  auto& definition = form->currentReport()->document().definition;
  auto& designer = *form->designerControl();
  auto& editor = designer.editor();
  const std::size_t details = detailsOf(definition);
  bool tabShown = false, dragged = false;
  std::wstring refusal, caption;
  {
    Person person(L"Subreport test", [&](Person& p, HWND window) {
      HWND canvas = findChild(window, L"MervaneDesignCanvas");
      columnItem(findChild(window, WC_TREEVIEWW), L"Customers", L"CustomerID");  // the columns are in
      // A click in the details, then Insert > Subreport there.
      const POINT place = designer.canvasPoint({2000, editor.layout().band(details)->bodyTop + 20});
      PostMessageW(canvas, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(place.x, place.y));
      PostMessageW(canvas, WM_LBUTTONUP, 0, MAKELPARAM(place.x, place.y));
      Sleep(200);
      PostMessageW(window, WM_COMMAND, authoring::win::kCommandInsertSubreport, 0);
      if (HWND dialog = Person::waitForWindow(L"Insert Subreport")) {
        p.type(dialog, 102, L"Orders");
        p.type(dialog, 104, L"Orders");
        p.press(dialog, IDOK);
      }
      Person::waitFor([&] { return !Person::waitForWindow(L"Insert Subreport", nullptr, 1); });
      const auto& objects = definition.sections[details].objects;
      if (objects.empty() || objects.back().kind != model::ObjectKind::Subreport) {
        PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
        p.answerMessage(window, IDNO);
        return;
      }
      const auto& inserted = objects.back();
      const authoring::designer::Point middle{inserted.x + 200, editor.layout().band(details)->bodyTop + inserted.y + 100};
      doubleClick(canvas, designer.canvasPoint(middle));
      HWND tabs = designer.reportTabs();
      tabShown = IsWindowVisible(tabs) && TabCtrl_GetCurSel(tabs) == 1;
      caption = tabCaption(tabs, 1);
      // The order's status, dragged in beside the columns the subreport came with.
      dragged = dragColumn(window, L"Orders", L"Status", designer.canvasPoint({4600, editor.layout().band(2)->bodyTop + 30}));
      holdForScreenshots();
      // Linked by the customer: a name against a number is refused in words.
      for (const std::wstring sub : {L"CustomerID", L"CustomerID"}) {
        PostMessageW(window, WM_COMMAND, authoring::win::kCommandSubreportLinks, 0);
        HWND links = Person::waitForWindow(L"Subreport Links");
        if (!links) break;
        const std::wstring main = refusal.empty() ? L"{Customers.Name}" : L"{Customers.CustomerID}";
        SendMessageW(GetDlgItem(links, 108), CB_SELECTSTRING, static_cast<WPARAM>(-1),
                     reinterpret_cast<LPARAM>(main.c_str()));
        p.type(links, 110, sub);
        p.press(links, 111);
        if (refusal.empty()) {
          refusal = p.answerMessage(links).text;
          p.press(links, IDCANCEL);
        } else {
          holdForScreenshots();
          p.press(links, IDOK);
        }
        Person::waitFor([&] { return !Person::waitForWindow(L"Subreport Links", nullptr, 1); });
      }
      clickReportTab(tabs, 0);
      holdForScreenshots();
      clickTab(window, 1);
      Sleep(1500);
      holdForScreenshots();
      PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
      p.answerMessage(window, IDNO);
    });
    form->showModal();
  }
  EXPECT_TRUE(tabShown);
  EXPECT_EQ(caption, L"Orders");
  EXPECT_TRUE(dragged);
  EXPECT_EQ(refusal,
            L"The field Customers.Name holds text and Orders.CustomerID holds numbers: a link needs two fields of the "
            L"same type.");
  EXPECT_FALSE(editor.openedSubreport());  // the main report's tab again
  const auto& objects = definition.sections[details].objects;
  ASSERT_FALSE(objects.empty());
  const model::ReportObject& sub = objects.back();
  ASSERT_EQ(sub.kind, model::ObjectKind::Subreport);
  ASSERT_EQ(sub.subreport.links.size(), 1u);
  EXPECT_EQ(sub.subreport.links[0].mainField.column, u"CustomerID");
  ASSERT_TRUE(sub.subreport.definition);
  const auto& subDetails = sub.subreport.definition->sections[2].objects;
  ASSERT_FALSE(subDetails.empty());
  EXPECT_EQ(subDetails.back().field.column, u"Status");

  auto run = form->currentReport()->run(std::make_shared<engine::win::GdiMeasure>());
  auto page = run->page(1);
  ASSERT_TRUE(page);
  EXPECT_EQ(run->problem(), u"");
  const Text all = pageText(*page);
  // Each customer's line, then its own orders (customer 198 has orders 71
  // and 170; the next customer none), each with the status dragged in.
  const auto first = all.find(u"Anna Bergström|"), next = all.find(u"Anna Czajkowski|");
  const auto orders = all.find(u"|71|198|2026-04-23|invoiced|170|198|2026-08-01|invoiced|");
  EXPECT_LT(first, orders) << toUtf8(all);
  EXPECT_LT(orders, next) << toUtf8(all);
  EXPECT_EQ(all.find(u"|198|", next), Text::npos) << toUtf8(all);
  // Exported as the viewer's Export does, for pdftotext to read back.
  fs::create_directories("subreport-export");
  std::ofstream out("subreport-export/customers-orders.pdf", std::ios::binary | std::ios::trunc);
  engine::exporting::PdfOptions options;
  options.fonts = std::make_shared<engine::win::GdiFontSource>();
  EXPECT_TRUE(engine::exporting::writePdf(engine::exporting::feedOf(*run), out, {}, options));
}

// Two subreports of the customer list, each opened on a tab of its own by a
// double-click: switching tabs with the mouse keeps what was selected on
// each and where it was scrolled; Insert > Subreport is greyed on a subreport's tab and refused in
// words if asked for, as is pasting a subreport there; a tab closed from
// its context menu keeps the changes made on it; deleting a subreport closes its tab and one undo
// brings the subreport back.
TEST_F(DesignerFormTest, SubreportsOpenOnTabsOfTheirOwnAndKeepTheirPlace) {
  namespace model = engine::model;
  auto form = openCustomerList(u"Subreport tabs test");
  ASSERT_TRUE(form->currentReport());
  auto& definition = form->currentReport()->document().definition;
  auto& designer = *form->designerControl();
  auto& editor = designer.editor();
  const std::size_t details = detailsOf(definition);
  const std::int32_t top = editor.layout().band(details)->bodyTop;
  for (const auto& [name, x] : {std::pair{u"Orders", 6000}, std::pair{u"Payments", 8500}}) {
    model::ReportObject o;
    o.kind = model::ObjectKind::Subreport;
    o.width = 2000;
    o.height = 240;
    o.name = editor.uniqueName(u"Subreport");
    o.subreport.name = name;
    model::ReportDefinition& sub = o.subreport.definition.emplace() = model::blankReport();
    model::ReportObject note;
    note.kind = model::ObjectKind::Text;
    note.text = name;
    note.width = 1440;
    note.height = 240;
    sub.sections[detailsOf(sub)].objects.push_back(note);
    ASSERT_TRUE(editor.placeObject(o, {x, top}));
  }
  const std::size_t orders = definition.sections[details].objects.size() - 2, payments = orders + 1;
  // The tabs shown (none while the strip hides), the one selected, a caption.
  using Seen = std::tuple<int, int, std::wstring>;
  const auto seen = [](HWND tabs, int index) {
    return Seen{IsWindowVisible(tabs) ? TabCtrl_GetItemCount(tabs) : 0, TabCtrl_GetCurSel(tabs), tabCaption(tabs, index)};
  };
  Seen bothOpen, afterClose, afterDelete;
  authoring::designer::Selection ordersSelection, ordersAgain;
  bool insertGreyed = false, menuShown = false;
  LONG ordersScroll = 0, paymentsScroll = 0, ordersScrollAgain = 0;
  std::wstring refusal, pasteRefusal;
  {
    Person person(L"Subreport tabs test", [&](Person& p, HWND window) {
      HWND canvas = findChild(window, L"MervaneDesignCanvas");
      HWND tabs = designer.reportTabs();
      const auto objectPoint = [&](std::size_t section, std::size_t index) {
        const auto& o = editor.definition()->sections[section].objects[index];
        return designer.canvasPoint({o.x + 100, editor.layout().band(section)->bodyTop + o.y + 100});
      };
      const auto click = [&](POINT at) {
        PostMessageW(canvas, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(at.x, at.y));
        PostMessageW(canvas, WM_LBUTTONUP, 0, MAKELPARAM(at.x, at.y));
        Sleep(200);
      };
      doubleClick(canvas, objectPoint(details, orders));
      // The Orders subreport's text selected, then the Payments subreport opened beside it.
      const std::size_t subDetails = detailsOf(*editor.definition());
      click(objectPoint(subDetails, 0));
      ordersSelection = editor.selection();
      PostMessageW(window, WM_COMMAND, authoring::win::kCommandZoom200, 0);
      PostMessageW(canvas, WM_HSCROLL, SB_PAGERIGHT, 0);
      Sleep(200);
      ordersScroll = designer.canvasPoint({0, 0}).x;
      HMENU insert = GetSubMenu(GetMenu(window), 2);
      insertGreyed = (GetMenuState(insert, authoring::win::kCommandInsertSubreport, MF_BYCOMMAND) & MF_GRAYED) != 0;
      PostMessageW(window, WM_COMMAND, authoring::win::kCommandInsertSubreport, 0);
      refusal = p.answerMessage(window).text;
      clickReportTab(tabs, 0);
      click(objectPoint(details, payments));
      PostMessageW(window, WM_COMMAND, authoring::win::kCommandCopy, 0);
      doubleClick(canvas, objectPoint(details, payments));
      bothOpen = seen(tabs, 2);
      paymentsScroll = designer.canvasPoint({0, 0}).x;
      holdForScreenshots();
      clickReportTab(tabs, 1);
      ordersAgain = editor.selection();
      ordersScrollAgain = designer.canvasPoint({0, 0}).x;
      PostMessageW(window, WM_COMMAND, authoring::win::kCommandPaste, 0);
      pasteRefusal = p.answerMessage(window).text;
      // Its text deleted, then the tab closed from its context menu.
      p.pressKey(window, VK_DELETE);
      clickReportTab(tabs, 1, true);
      HWND menu = nullptr;
      Person::waitFor([&] { return (menu = FindWindowW(L"#32768", nullptr)) && IsWindowVisible(menu); });
      menuShown = menu != nullptr;
      holdForScreenshots();
      PostMessageW(menu, WM_KEYDOWN, VK_DOWN, 0);
      PostMessageW(menu, WM_KEYDOWN, VK_RETURN, 0);
      Person::waitFor([&] { return TabCtrl_GetItemCount(tabs) == 2; });
      afterClose = seen(tabs, 1);
      // On the main report's tab, the Payments subreport deleted.
      clickReportTab(tabs, 0);
      click(objectPoint(details, payments));
      p.pressKey(window, VK_DELETE);
      afterDelete = seen(tabs, 0);
      PostMessageW(window, WM_COMMAND, authoring::win::kCommandUndo, 0);
      Sleep(300);
      PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
      p.answerMessage(window, IDNO);
    });
    form->showModal();
  }
  EXPECT_EQ(bothOpen, (Seen{3, 2, L"Payments"}));
  EXPECT_EQ(ordersSelection.objects.size(), 1u);
  EXPECT_EQ(ordersAgain, ordersSelection);
  EXPECT_LT(ordersScroll, paymentsScroll);  // scrolled right on Orders, not on the tab opened after
  EXPECT_EQ(ordersScrollAgain, ordersScroll);
  EXPECT_TRUE(insertGreyed);
  EXPECT_EQ(refusal, L"A subreport cannot hold subreports of its own. Insert subreports on the Main Report tab.");
  EXPECT_EQ(pasteRefusal, L"A subreport cannot hold subreports of its own. Paste subreports on the Main Report tab.");
  EXPECT_TRUE(menuShown);
  EXPECT_EQ(afterClose, (Seen{2, 0, L"Payments"}));  // the main report's shown, as the closed tab was
  EXPECT_EQ(std::get<0>(afterDelete), 0);             // no subreport tab left: the strip hides
  // The text deleted on the closed tab stays deleted; the undone delete brought Payments back.
  const auto& objects = definition.sections[details].objects;
  ASSERT_EQ(objects.size(), payments + 1);
  const model::ReportDefinition& ordersReport = *objects[orders].subreport.definition;
  EXPECT_TRUE(ordersReport.sections[detailsOf(ordersReport)].objects.empty());
  EXPECT_EQ(objects[payments].subreport.name, u"Payments");
}

// Report > Tables on the customer list: Orders ticked in the tree of the
// database's tables is added, linked to the customers by its key; one of
// its columns placed and previewed. Unticked again, the designer asks
// before it takes the table and that field away, and one undo brings both
// back.
TEST_F(DesignerFormTest, ATableAddedThroughReportTablesIsLinkedPlacedAndPreviewed) {
  namespace model = engine::model;
  auto form = openCustomerList(u"Tables test");
  ASSERT_TRUE(form->currentReport());
  auto& definition = form->currentReport()->document().definition;
  auto& designer = *form->designerControl();
  auto& editor = designer.editor();
  const std::size_t details = detailsOf(definition);
  const std::size_t fieldsBefore = definition.sections[details].objects.size();
  std::vector<std::wstring> listed;
  std::vector<bool> tickedAtFirst;
  std::vector<model::TableLink> links;
  bool dragged = false;
  std::size_t fieldsWithOrders = 0;
  Text previewed;
  std::wstring question;
  // Ticks or unticks a table with the space bar, then OK.
  const auto tick = [&](Person& p, HWND dialog, const std::wstring& table, bool record) {
    HWND tree = GetDlgItem(dialog, 101);
    for (HTREEITEM i = TreeView_GetChild(tree, TreeView_GetRoot(tree)); i; i = TreeView_GetNextSibling(tree, i)) {
      if (record) {
        listed.push_back(itemText(tree, i));
        tickedAtFirst.push_back(TreeView_GetCheckState(tree, i) == 1);
      }
      if (itemText(tree, i) != table) continue;
      const UINT before = TreeView_GetCheckState(tree, i);
      TreeView_SelectItem(tree, i);
      SetFocus(tree);
      PostMessageW(tree, WM_KEYDOWN, VK_SPACE, 1);
      PostMessageW(tree, WM_KEYUP, VK_SPACE, 0xC0000001);
      Person::waitFor([&] { return TreeView_GetCheckState(tree, i) != before; });
    }
    holdForScreenshots();
    p.press(dialog, IDOK);
  };
  {
    Person person(L"Tables test", [&](Person& p, HWND window) {
      columnItem(findChild(window, WC_TREEVIEWW), L"Customers", L"CustomerID");
      PostMessageW(window, WM_COMMAND, authoring::win::kCommandTables, 0);
      if (HWND dialog = Person::waitForWindow(L"Tables")) tick(p, dialog, L"Orders", true);
      Person::waitFor([&] { return definition.data.tables.size() == 2; });
      links = definition.data.links;
      dragged = dragColumn(window, L"Orders", L"OrderDate",
                           designer.canvasPoint({5600, editor.layout().band(details)->bodyTop + 30}));
      fieldsWithOrders = definition.sections[details].objects.size();
      clickTab(window, 1);
      Sleep(1500);
      holdForScreenshots();
      if (auto page = form->currentReport()->run(std::make_shared<engine::win::GdiMeasure>())->page(1))
        previewed = pageText(*page);
      clickTab(window, 0);
      PostMessageW(window, WM_COMMAND, authoring::win::kCommandTables, 0);
      if (HWND dialog = Person::waitForWindow(L"Tables")) tick(p, dialog, L"Orders", false);
      question = p.answerMessage(window, IDYES).text;
      Sleep(300);
      PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
      p.answerMessage(window, IDNO);
    });
    form->showModal();
  }
  EXPECT_EQ(listed, (std::vector<std::wstring>{L"Customers", L"Products", L"Orders", L"Order Lines"}));
  EXPECT_EQ(tickedAtFirst, (std::vector<bool>{true, false, false, false}));
  ASSERT_EQ(links.size(), 1u);
  EXPECT_EQ(links[0].from.table + u"." + links[0].from.column, u"Customers.CustomerID");
  EXPECT_EQ(links[0].to.table + u"." + links[0].to.column, u"Orders.CustomerID");
  EXPECT_TRUE(dragged);
  EXPECT_EQ(fieldsWithOrders, fieldsBefore + 1);
  // Customer 198's two orders, each on a line of its own with its date.
  EXPECT_NE(previewed.find(u"Anna Bergström|Århus|DK|2026-04-23|25,000|"), Text::npos) << toUtf8(previewed);
  EXPECT_NE(previewed.find(u"Anna Bergström|Århus|DK|2026-08-01|25,000|"), Text::npos) << toUtf8(previewed);
  EXPECT_EQ(question, L"Remove the table Orders and the field that shows its columns?");
  EXPECT_EQ(definition.data.tables.size(), 1u);
  EXPECT_TRUE(definition.data.links.empty());
  EXPECT_EQ(definition.sections[details].objects.size(), fieldsBefore);
  ASSERT_TRUE(editor.undo());
  EXPECT_EQ(definition.data.tables.size(), 2u);
  EXPECT_EQ(definition.sections[details].objects.size(), fieldsBefore + 1);
}

// A click of the mouse where `at` (a point of `window`) is, after moving
// the pointer there until it takes the shape expected; the shape it took.
HCURSOR clickWithTheMouse(HWND window, POINT at, HCURSOR expected) {
  ClientToScreen(window, &at);
  CURSORINFO shape{sizeof(shape)};
  // Moved there, and a little again while the pointer has not changed yet.
  for (int attempt = 0; attempt < 5 && shape.hCursor != expected; ++attempt) {
    SetCursorPos(at.x + attempt, at.y);
    INPUT move{INPUT_MOUSE};
    move.mi.dwFlags = MOUSEEVENTF_MOVE;
    SendInput(1, &move, sizeof(move));
    Sleep(200);
    GetCursorInfo(&shape);
  }
  INPUT click[2] = {{INPUT_MOUSE}, {INPUT_MOUSE}};
  click[0].mi.dwFlags = MOUSEEVENTF_LEFTDOWN;
  click[1].mi.dwFlags = MOUSEEVENTF_LEFTUP;
  SendInput(2, click, sizeof(INPUT));
  Sleep(300);
  return shape.hCursor;
}

// The customer list with an on-demand Orders subreport, inserted as a
// person inserts it: the preview shows a link on each customer's line; the
// hand over it, a click opens that customer's orders on a tab of their own,
// exported to PDF from there; Esc goes back. Tab and Enter open it too, and
// the Close button closes it.
TEST_F(DesignerFormTest, AnOnDemandSubreportOpensACustomersOrdersFromItsLink) {
  namespace model = engine::model;
  auto form = openCustomerList(u"On-demand test");
  ASSERT_TRUE(form->currentReport());
  auto& definition = form->currentReport()->document().definition;
  auto& designer = *form->designerControl();
  const std::size_t details = detailsOf(definition);
  viewer::win::ViewerControl* viewer = form->viewerControl();
  const fs::path pdf = fs::absolute("on-demand/orders.pdf");
  fs::create_directories(pdf.parent_path());
  fs::remove(pdf);
  bool hand = false, opened = false, backByEsc = false, byKeys = false, closed = false;
  std::wstring tab;
  std::vector<std::wstring> formatsOnTab;  // offered by the Export dialog on the subreport's tab
  Text linkShown;
  {
    Person person(L"On-demand test", [&](Person& p, HWND window) {
      HWND canvas = findChild(window, L"MervaneDesignCanvas");
      columnItem(findChild(window, WC_TREEVIEWW), L"Customers", L"CustomerID");
      PostMessageW(window, WM_COMMAND, authoring::win::kCommandInsertSubreport, 0);
      if (HWND dialog = Person::waitForWindow(L"Insert Subreport")) {
        p.type(dialog, 102, L"Orders");
        p.type(dialog, 104, L"Orders");
        SendMessageW(GetDlgItem(dialog, 108), CB_SELECTSTRING, static_cast<WPARAM>(-1),
                     reinterpret_cast<LPARAM>(L"{Customers.CustomerID}"));
        p.type(dialog, 110, L"CustomerID");
        p.press(dialog, 111);  // Add
        p.press(dialog, 113);  // On-demand subreport
        holdForScreenshots();
        p.press(dialog, IDOK);
      }
      Person::waitFor([&] { return !Person::waitForWindow(L"Insert Subreport", nullptr, 1); });
      // The link, placed at the start of the line, dragged to the credit limit's column.
      const std::int32_t row = designer.editor().layout().band(details)->bodyTop + 100;
      const POINT from = designer.canvasPoint({200, row}), to = designer.canvasPoint({6700, row});
      PostMessageW(canvas, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(from.x, from.y));
      for (int step = 1; step <= 4; ++step)
        PostMessageW(canvas, WM_MOUSEMOVE, MK_LBUTTON,
                     MAKELPARAM(from.x + (to.x - from.x) * step / 4, from.y));
      PostMessageW(canvas, WM_LBUTTONUP, 0, MAKELPARAM(to.x, to.y));
      Sleep(300);
      holdForScreenshots();
      clickTab(window, 1);
      std::optional<POINT> link;
      Person::waitFor([&] { return viewer->pageShown() && (link = viewer->linkPoint(0)); });
      if (!link) return;
      holdForScreenshots();
      const HCURSOR handShape = LoadCursorW(nullptr, IDC_HAND);
      hand = clickWithTheMouse(viewer->pageArea(), *link, handShape) == handShape;
      viewer::win::ViewerControl* orders = nullptr;
      opened = Person::waitFor([&] { return (orders = viewer->linkedView()) && orders->pageShown(); });
      if (opened) {
        HWND tabs = GetDlgItem(viewer->hwnd(), viewer::win::kLinkTabs);
        wchar_t caption[64] = {};
        TCITEMW item{TCIF_TEXT};
        item.pszText = caption;
        item.cchTextMax = 64;
        SendMessageW(tabs, TCM_GETITEMW, 1, reinterpret_cast<LPARAM>(&item));
        tab = caption;
        holdForScreenshots();
        Person::click(GetDlgItem(orders->hwnd(), viewer::win::kExportButton));
        if (HWND dialog = Person::waitForWindow(viewer::win::kExportCaption, window)) {
          HWND list = GetDlgItem(dialog, viewer::win::kExportFormat);
          for (int i = 0; i < static_cast<int>(SendMessageW(list, CB_GETCOUNT, 0, 0)); ++i) {
            wchar_t name[80] = {};
            SendMessageW(list, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(name));
            formatsOnTab.push_back(name);
          }
          p.pressKey(dialog, VK_ESCAPE);
          Person::waitHidden(dialog);
        }
        orders->exportTo(pdf.wstring());
        Person::waitFor([&] { return orders->lastExport().has_value(); });
        // Clicks beside the pages put the keys there.
        clickWithTheMouse(orders->pageArea(), POINT{4, 4}, LoadCursorW(nullptr, IDC_ARROW));
        p.pressKey(window, VK_ESCAPE);
        backByEsc = Person::waitFor([&] { return viewer->linkedTabs() == 0 && IsWindowVisible(viewer->pageArea()); });
        clickWithTheMouse(viewer->pageArea(), POINT{4, 4}, LoadCursorW(nullptr, IDC_ARROW));
        p.pressKey(window, VK_TAB);
        holdForScreenshots();
        p.pressKey(window, VK_RETURN);
        byKeys = Person::waitFor([&] { return viewer->linkedView() != nullptr; });
        p.press(viewer->hwnd(), viewer::win::kCloseLinkButton);
        closed = Person::waitFor([&] { return viewer->linkedTabs() == 0; });
      }
      if (auto page = form->currentReport()->run(std::make_shared<engine::win::GdiMeasure>())->page(1))
        linkShown = pageText(*page);
      PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
      p.answerMessage(window, IDNO);
    });
    form->showModal();
  }
  const auto& objects = definition.sections[details].objects;
  ASSERT_FALSE(objects.empty());
  EXPECT_TRUE(objects.back().subreport.onDemand);
  EXPECT_GE(objects.back().x, 6400);
  EXPECT_TRUE(hand);
  EXPECT_TRUE(opened);
  EXPECT_EQ(tab, L"Orders (198)");  // Anna Bergström, the first customer by name
  EXPECT_TRUE(fs::exists(pdf));  // read back by on_demand_pdf_read_back
  // Its pages go out in every format made from pages; data only needs a whole report.
  EXPECT_EQ(formatsOnTab, (std::vector<std::wstring>{L"PDF document", L"Excel workbook, as printed",
                                                     L"Web page (HTML)", L"CSV, comma-separated values"}));
  EXPECT_TRUE(backByEsc);
  EXPECT_TRUE(byKeys);
  EXPECT_TRUE(closed);
  // The report's own pages show the link's text, never the orders.
  EXPECT_NE(linkShown.find(u"|Orders|"), Text::npos) << toUtf8(linkShown);
  EXPECT_EQ(linkShown.find(u"2026-04-23"), Text::npos) << toUtf8(linkShown);
}

}  // namespace
}  // namespace mervane
