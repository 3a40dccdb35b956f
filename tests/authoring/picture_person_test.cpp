// A logo placed as a person places it: Insert > Picture from the menu with
// the keyboard, a file that is not a picture tried first and refused in a
// message, then the logo chosen in the open dialog; the report exported to
// PDF and to Excel (as printed) through the Export dialog and saved. The
// report also holds a picture whose bytes are damaged, which must print as
// an empty frame. The files stay in pictures/ of the build folder for
// check_picture_exports.sh to read back.
// MERVANE_DIALOG_HOLD_MS keeps each dialog up for screenshots.
#include <windows.h>
#include <commctrl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "authoring/designer/editor.h"
#include "authoring/designer/win/designer_control.h"
#include "authoring/viewer/win/export_dialog.h"
#include "authoring/win/designer_form.h"
#include "base/win/com.h"
#include "engine/engine.h"
#include "engine/win/engine_factory.h"
#include "company_designer.h"
#include "person.h"

namespace mervane {
namespace {

namespace fs = std::filesystem;
using testing::Person;

fs::path fromUnix(std::string unix) {
  std::replace(unix.begin(), unix.end(), '/', '\\');
  return fs::path(L"Z:" + std::wstring(unix.begin(), unix.end()));
}

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void hold() {
  if (const char* ms = std::getenv("MERVANE_DIALOG_HOLD_MS")) Sleep(static_cast<DWORD>(std::atoi(ms)));
}

// Opens a top-level menu by its underlined letter and picks an item by its own.
void pickFromMenu(HWND window, wchar_t menu, wchar_t item) {
  PostMessageW(window, WM_SYSCOMMAND, SC_KEYMENU, menu);
  Sleep(300);
  PostMessageW(window, WM_CHAR, item, 1);
  Sleep(100);
}

std::size_t picturesIn(const engine::model::ReportDefinition& definition) {
  std::size_t count = 0;
  for (const auto& section : definition.sections)
    count += std::count_if(section.objects.begin(), section.objects.end(),
                           [](const auto& o) { return o.kind == engine::model::ObjectKind::Picture; });
  return count;
}

TEST(Pictures, APersonPlacesALogoFromAFileAndExportsItToPdfAndExcel) {
  CoInitialize(nullptr);
  const fs::path folder = fs::current_path() / "pictures";
  fs::remove_all(folder);
  fs::create_directories(folder);
  const fs::path pictures = fromUnix(MERVANE_TEST_PICTURES);
  const fs::path report = folder / "Customer List.rpt";
  fs::copy_file(fromUnix(MERVANE_EXAMPLE_REPORTS) / "Customer List.rpt", report);
  {
    // A picture whose file was damaged after it was placed: the report footer's.
    auto engine = createReportEngine();
    auto opened = engine->open(win::fromWide(report.c_str()));
    auto& footer = opened->document().definition.sections.back();
    footer.objects.push_back({.kind = engine::model::ObjectKind::Picture, .name = u"Damaged", .x = 4320, .width = 1440,
                              .height = 1440});
    footer.objects.back().picture.image = engine::model::SharedBytes(readFile(pictures / "damaged.jpg"));
    footer.height = std::max(footer.height, 1600);
    opened->markChanged();
    opened->save(win::fromWide(report.c_str()));
  }

  const auto designer = testing::companyDesigner(u"Picture test", report, u"Customers");
  authoring::win::DesignerForm& form = *designer;
  ASSERT_TRUE(form.currentReport());
  ASSERT_EQ(picturesIn(form.currentReport()->document().definition), 1u);

  const fs::path pdf = folder / "logo.pdf";
  std::vector<std::wstring> problems;
  Person::Message refusal;
  {
    Person person(L"Picture test", [&](Person& p, HWND window) {
      auto choose = [&](const fs::path& file) {
        pickFromMenu(window, L'i', L'p');
        HWND open = Person::waitForWindow(L"Insert Picture");
        if (!open) {
          problems.push_back(L"Insert > Picture opened no dialog");
          return false;
        }
        Sleep(300);
        hold();
        SendMessageW(Person::focus(open), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(file.c_str()));
        p.press(open, IDOK);
        return Person::waitHidden(open);
      };
      // The report header chosen by a click on its name; the title fills it.
      authoring::win::DesignerControl* designer = form.designerControl();
      const HWND canvas = designer->canvas();
      const auto mouse = [&](UINT message, WPARAM keys, std::int32_t x, std::int32_t y) {  // twips in the header
        const auto* header = designer->editor().layout().band(0);
        const POINT at = designer->canvasPoint({x, (header ? header->bodyTop : 0) + y});
        PostMessageW(canvas, message, keys, MAKELPARAM(at.x, at.y));
        Sleep(30);
      };
      mouse(WM_LBUTTONDOWN, MK_LBUTTON, 200, -100);
      mouse(WM_LBUTTONUP, 0, 200, -100);
      Sleep(200);
      if (choose(pictures / "notes.png")) refusal = p.answerMessage(window);
      if (choose(pictures / "logo.jpg") && Person::waitForMessageBox(window))
        problems.push_back(L"the logo was refused");
      // It lands in the header's corner, under the title: dragged to the right.
      Sleep(200);
      mouse(WM_LBUTTONDOWN, MK_LBUTTON, 700, 600);
      for (int step = 1; step <= 10; ++step) mouse(WM_MOUSEMOVE, MK_LBUTTON, 700 + step * 750, 600);
      mouse(WM_LBUTTONUP, 0, 8200, 600);
      hold();

      // File > Export, the format `downs` below the first in the list.
      const auto exportTo = [&](int downs, const fs::path& file) {
        pickFromMenu(window, L'f', L'e');
        HWND dialog = Person::waitForWindow(viewer::win::kExportCaption);
        if (!dialog) return problems.push_back(L"File > Export opened no dialog");
        SetFocus(GetDlgItem(dialog, viewer::win::kExportFormat));
        p.pressKey(dialog, VK_HOME);
        for (int i = 0; i < downs; ++i) p.pressKey(dialog, VK_DOWN);
        hold();
        p.pressKey(dialog, VK_RETURN);  // every page
        HWND save = Person::waitForWindow(L"Export Report");
        if (!save) return problems.push_back(L"no save dialog for " + file.filename().wstring());
        Sleep(300);
        SendMessageW(Person::focus(save), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(file.c_str()));
        p.press(save, IDOK);
        if (!Person::waitFor([&] { return fs::exists(file); }, 60000))
          problems.push_back(L"nothing written to " + file.filename().wstring());
        Sleep(500);
      };
      exportTo(0, pdf);
      exportTo(1, folder / "logo.xlsx");  // Excel, as printed
      PostMessageW(window, WM_COMMAND, authoring::win::kCommandSave, 0);
      Sleep(500);
      PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
    });
    form.showModal();
  }
  for (const auto& problem : problems) ADD_FAILURE() << toUtf8(win::fromWide(problem.c_str()));
  EXPECT_NE(refusal.text.find(L"not a picture"), std::wstring::npos) << toUtf8(win::fromWide(refusal.text.c_str()));
  EXPECT_TRUE(refusal.exclamation);

  // Saved and opened again: the logo's bytes are in the report file, and the
  // file that is not a picture left nothing behind.
  auto engine = createReportEngine();
  auto reopened = engine->open(win::fromWide(report.c_str()));
  const auto& header = reopened->document().definition.sections.front();
  EXPECT_EQ(picturesIn(reopened->document().definition), 2u);
  ASSERT_FALSE(header.objects.empty());
  EXPECT_EQ(header.objects.back().picture.image.view(), readFile(pictures / "logo.jpg"));
  // In the report header, which grew to hold it.
  EXPECT_GE(header.objects.back().x, 7000);
  EXPECT_GE(header.height, header.objects.back().y + header.objects.back().height);
  CoUninitialize();
}

}  // namespace
}  // namespace mervane
