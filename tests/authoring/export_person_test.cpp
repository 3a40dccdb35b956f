// The Export dialog as a person uses it: the customer list previewed in the
// designer window, its Export button clicked, a format picked with the
// keys, the page range set, the save dialog's proposed name read and a
// folder typed in, once per format; Esc and Cancel leave nothing behind.
// The files stay in exports/ of the build folder, listed in exports.txt, for
// check_exports.sh to read back with poppler, openpyxl and Python's HTML
// parser. MERVANE_DIALOG_HOLD_MS keeps each dialog up for screenshots.
#include <windows.h>
#include <commctrl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "authoring/viewer/win/export_dialog.h"
#include "authoring/viewer/win/viewer_control.h"
#include "authoring/win/designer_form.h"
#include "base/win/com.h"
#include "engine/win/engine_factory.h"
#include "company_designer.h"
#include "person.h"

namespace mervane {
namespace {

namespace fs = std::filesystem;
using testing::Person;
using namespace viewer::win;

fs::path fromUnix(std::string unix) {
  std::replace(unix.begin(), unix.end(), '/', '\\');
  return fs::path(L"Z:" + std::wstring(unix.begin(), unix.end()));
}

void hold() {
  if (const char* ms = std::getenv("MERVANE_DIALOG_HOLD_MS")) Sleep(static_cast<DWORD>(std::atoi(ms)));
}

struct Round {
  int downs;           // arrow presses from the first format
  const wchar_t* name;  // the file's name
  bool currentPage;
};

TEST(ExportDialog, APersonExportsEveryFormatFromTheViewer) {
  CoInitialize(nullptr);
  const fs::path folder = fs::current_path() / "exports";
  fs::remove_all(folder);
  fs::create_directories(folder);
  const auto designer =
      testing::companyDesigner(u"Export test", fromUnix(MERVANE_EXAMPLE_REPORTS) / "Customer List.rpt", u"Customers");
  authoring::win::DesignerForm& form = *designer;
  ASSERT_TRUE(form.currentReport());
  const std::wstring title = win::toWide(form.currentReport()->title());

  const Round rounds[] = {{0, L"customers.pdf", false},   {1, L"as-printed.xlsx", false},
                          {2, L"data-only.xlsx", false},  {3, L"customers.html", false},
                          {4, L"customers.csv", false},   {0, L"first-page.pdf", true}};
  std::vector<std::wstring> proposed, problems;
  bool escapeClosed = false, cancelLeftNothing = false;
  {
    Person person(L"Export test", [&](Person& p, HWND window) {
      // The Preview tab, then its Export button.
      HWND tabs = GetDlgItem(window, authoring::win::DesignerForm::kTabStrip);
      RECT tab{};
      SendMessageW(tabs, TCM_GETITEMRECT, 1, reinterpret_cast<LPARAM>(&tab));
      PostMessageW(tabs, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM((tab.left + tab.right) / 2, tab.bottom / 2));
      PostMessageW(tabs, WM_LBUTTONUP, 0, MAKELPARAM((tab.left + tab.right) / 2, tab.bottom / 2));
      HWND exportButton = GetDlgItem(form.viewerWindow(), viewer::win::kExportButton);
      if (!Person::waitFor([&] { return IsWindowVisible(exportButton) && IsWindowEnabled(exportButton); }, 20000)) {
        problems.push_back(L"the Export button never came on");
        return;
      }
      // Esc closes the dialog, and nothing is written.
      Person::click(exportButton);
      if (HWND dialog = Person::waitForWindow(kExportCaption)) {
        hold();
        p.pressKey(dialog, VK_ESCAPE);
        escapeClosed = Person::waitHidden(dialog);
      }
      for (const Round& round : rounds) {
        Person::click(exportButton);
        HWND dialog = Person::waitForWindow(kExportCaption);
        if (!dialog) {
          problems.push_back(std::wstring(L"no dialog for ") + round.name);
          continue;
        }
        HWND list = GetDlgItem(dialog, kExportFormat);
        SetFocus(list);  // posted keys go to the focus: the list has it first
        p.pressKey(dialog, VK_HOME);
        for (int i = 0; i < round.downs; ++i) p.pressKey(dialog, VK_DOWN);
        if (round.currentPage) Person::click(GetDlgItem(dialog, kExportCurrentPage));
        Sleep(100);
        hold();
        p.pressKey(dialog, VK_RETURN);
        HWND save = Person::waitForWindow(L"Export Report");
        if (!save) {
          problems.push_back(std::wstring(L"no save dialog for ") + round.name);
          continue;
        }
        Sleep(300);
        HWND name = Person::focus(save);
        proposed.push_back(Person::text(name));
        hold();
        const std::wstring target = (folder / round.name).wstring();
        SendMessageW(name, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(target.c_str()));
        p.press(save, IDOK);
        if (!Person::waitFor([&] { return fs::exists(folder / round.name); }, 60000))
          problems.push_back(std::wstring(L"nothing written to ") + round.name);
        Person::waitFor([&] { return IsWindowEnabled(exportButton) && Person::text(exportButton) != L"Stop export"; });
      }
      // Cancel in the save dialog: no file.
      Person::click(exportButton);
      if (HWND dialog = Person::waitForWindow(kExportCaption)) {
        p.pressKey(dialog, VK_RETURN);
        if (HWND save = Person::waitForWindow(L"Export Report")) {
          Sleep(300);
          p.press(save, IDCANCEL);
          cancelLeftNothing = Person::waitHidden(save);
        }
      }
      PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
    });
    form.showModal();
  }
  for (const auto& problem : problems) ADD_FAILURE() << toUtf8(win::fromWide(problem.c_str()));
  EXPECT_TRUE(escapeClosed);
  EXPECT_TRUE(cancelLeftNothing);
  ASSERT_EQ(proposed.size(), std::size(rounds));
  EXPECT_EQ(proposed[0], title + L".pdf");
  EXPECT_EQ(proposed[1], title + L".xlsx");
  EXPECT_EQ(proposed[3], title + L".html");
  EXPECT_EQ(proposed[4], title + L".csv");
  std::size_t files = 0;
  std::ofstream list(folder / "exports.txt");
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().filename() == "exports.txt") continue;
    ++files;  // no temporary file left behind
    list << entry.path().filename().string() << "\n";
  }
  EXPECT_EQ(files, std::size(rounds));
  CoUninitialize();
}

}  // namespace
}  // namespace mervane
