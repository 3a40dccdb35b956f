// Export and Import on Windows (or Wine), as a person uses them: the real
// file dialogs answered from a second thread, the "Processing" window
// running our archiver, the completion message read and dismissed.
//   MERVANE_INFOZIP_ARCHIVE: an archive written by Info-ZIP, to import.
#include <windows.h>
#include <dlgs.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "maintenance/export_import/win/archive_dialogs.h"
#include "maintenance/export_import/win/archive_form.h"
#include "server/report_functions_object.h"

namespace mervane {
namespace {

namespace fs = std::filesystem;

// The person at the keyboard: answers each dialog of this process as it
// appears, noting its caption and, for message boxes, its text.
class Person {
 public:
  // `fileName` is typed into the file dialog; empty: press Cancel there.
  explicit Person(std::wstring fileName) : fileName_(std::move(fileName)), thread_([this] { run(); }) {}
  ~Person() { leave(); }
  void leave() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
  }
  std::vector<std::wstring> captions, messages;
  std::atomic<bool> sawProgressWindow{false};

 private:
  static BOOL CALLBACK visit(HWND w, LPARAM found) {
    DWORD pid = 0;
    GetWindowThreadProcessId(w, &pid);
    wchar_t cls[32] = {};
    GetClassNameW(w, cls, 32);
    if (pid != GetCurrentProcessId() || !IsWindowVisible(w) || std::wcscmp(cls, L"#32770")) return TRUE;
    *reinterpret_cast<HWND*>(found) = w;
    return FALSE;
  }
  static std::wstring textOf(HWND w) {
    wchar_t text[512] = {};
    GetWindowTextW(w, text, 512);
    return text;
  }
  void answer(HWND dlg) {
    if (HWND message = GetDlgItem(dlg, 0xFFFF)) {
      messages.push_back(textOf(message));
      PostMessageW(dlg, WM_COMMAND, IDOK, 0);
      return;
    }
    if (fileName_.empty()) {
      SendMessageW(GetDlgItem(dlg, IDCANCEL), BM_CLICK, 0, 0);
      return;
    }
    // The file name box: a combo box in the Explorer-style dialog, an edit in others.
    HWND box = GetDlgItem(dlg, cmb13);
    if (!box) box = GetDlgItem(dlg, edt1);
    SendMessageW(box, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(fileName_.c_str()));
    SendMessageW(GetDlgItem(dlg, IDOK), BM_CLICK, 0, 0);
  }
  void run() {
    while (!stop_) {
      HWND progress = FindWindowW(L"Mervane100Form", L"Processing");
      if (progress && IsWindowVisible(progress)) sawProgressWindow = true;
      HWND dlg = nullptr;
      EnumWindows(visit, reinterpret_cast<LPARAM>(&dlg));
      if (!dlg) {
        Sleep(10);
        continue;
      }
      Sleep(150);  // let it finish initialising
      captions.push_back(textOf(dlg));
      answer(dlg);
      for (int i = 0; i < 200 && IsWindow(dlg) && IsWindowVisible(dlg); ++i) Sleep(10);
    }
  }
  std::wstring fileName_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

void write(const fs::path& p, const std::string& bytes) { std::ofstream(p, std::ios::binary) << bytes; }

std::string read(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

std::set<std::wstring> namesIn(const fs::path& folder) {
  std::set<std::wstring> names;
  for (const auto& e : fs::directory_iterator(folder)) names.insert(e.path().filename().wstring());
  return names;
}

class ExportImport : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = fs::temp_directory_path() / ("mervane-export-" + std::to_string(std::random_device{}()));
    fs::create_directories(reports_ = root_ / L"Reports");
    fs::create_directories(imported_ = root_ / L"Imported");
    write(reports_ / L"sales.rpt", std::string(70000, 's') + "sales");
    write(reports_ / L"wages.report", "<report>wages</report>");
    write(reports_ / L"notes.txt", "not a report");
  }
  void TearDown() override {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
  }
  // Runs Export or Import on a fresh ReportFunctions whose Path is `folder`.
  bool call(bool import, const fs::path& folder, Person& person) {
    auto functions = server::ReportFunctionsObject::create();
    std::wstring path = folder.wstring() + L"\\";
    BSTR bstr = SysAllocString(path.c_str());
    functions->put_Path(bstr);
    SysFreeString(bstr);
    VARIANT_BOOL result = 1;
    import ? functions->Import(&result) : functions->Export(&result);
    person.leave();
    return result == VARIANT_TRUE;
  }
  fs::path root_, reports_, imported_;
};

TEST_F(ExportImport, ExportTakesTheReportsAndImportRestoresThem) {
  const fs::path archive = root_ / L"reports.zip";
  Person exporter(archive.wstring());
  EXPECT_TRUE(call(false, reports_, exporter));
  EXPECT_EQ(exporter.captions, (std::vector<std::wstring>{L"Specify Reports Export File", L"Export Reports"}));
  EXPECT_EQ(exporter.messages, std::vector<std::wstring>{L"Export of reports complete."});
  EXPECT_TRUE(exporter.sawProgressWindow);
  ASSERT_TRUE(fs::exists(archive));

  Person importer(archive.wstring());
  EXPECT_TRUE(call(true, imported_, importer));
  EXPECT_EQ(importer.captions,
            (std::vector<std::wstring>{L"Specify Reports Export File To Import", L"Import Reports"}));
  EXPECT_EQ(importer.messages, std::vector<std::wstring>{L"Import of reports complete."});
  EXPECT_EQ(namesIn(imported_), (std::set<std::wstring>{L"sales.rpt", L"wages.report"}));
  for (const wchar_t* name : {L"sales.rpt", L"wages.report"})
    EXPECT_EQ(read(imported_ / name), read(reports_ / name)) << name;
}

TEST_F(ExportImport, CancelAndNothingToArchiveGiveFalseWithoutMessage) {
  Person cancelling(L"");
  EXPECT_FALSE(call(false, reports_, cancelling));
  EXPECT_EQ(cancelling.captions, std::vector<std::wstring>{L"Specify Reports Export File"});
  EXPECT_FALSE(fs::exists(root_ / L"reports.zip"));

  Person cancellingImport(L"");
  EXPECT_FALSE(call(true, imported_, cancellingImport));
  EXPECT_EQ(cancellingImport.captions, std::vector<std::wstring>{L"Specify Reports Export File To Import"});
  EXPECT_TRUE(namesIn(imported_).empty());

  // A folder without reports: the window runs, nothing is archived.
  Person empty((root_ / L"empty.zip").wstring());
  EXPECT_FALSE(call(false, imported_, empty));
  EXPECT_EQ(empty.captions, std::vector<std::wstring>{L"Specify Reports Export File"});
  EXPECT_FALSE(fs::exists(root_ / L"empty.zip"));
}

TEST_F(ExportImport, ImportsAnArchiveWrittenByInfoZip) {
  const char* archive = std::getenv("MERVANE_INFOZIP_ARCHIVE");
  if (!archive || !*archive) GTEST_SKIP() << "no Info-ZIP archive given";
  Person importer(std::wstring(archive, archive + std::strlen(archive)));
  EXPECT_TRUE(call(true, imported_, importer));
  EXPECT_EQ(importer.messages, std::vector<std::wstring>{L"Import of reports complete."});
  // Every entry comes back, a report or not.
  EXPECT_EQ(namesIn(imported_), (std::set<std::wstring>{L"ledger.rpt", L"readme.txt"}));
  EXPECT_EQ(read(imported_ / L"readme.txt"), "written by Info-ZIP\n");
}

// The window itself: the totals it shows after a run of many files, the
// current file's name shortened to its label, value labels sized to text.
TEST_F(ExportImport, ProgressWindowShowsTheRun) {
  const fs::path many = root_ / L"A folder with a rather long name for its reports";
  fs::create_directories(many);
  for (int i = 0; i < 300; ++i)
    write(many / (L"report number " + std::to_wstring(i) + L".rpt"), std::string(3000 + i, 'x'));
  win::ArchiveForm form;
  form.load();
  ASSERT_TRUE(form.hwnd());
  EXPECT_EQ(form.text(win::ArchiveForm::kLabel1 + 3), L"1");
  EXPECT_EQ(form.text(win::ArchiveForm::kLabel1 + 9), L"");
  form.configureZip({(root_ / L"many.zip").u16string(), (many / L"*.rpt|").u16string(), false});
  const std::uint64_t start = GetTickCount64();
  form.showModal();
  const std::uint64_t took = GetTickCount64() - start;
  EXPECT_FALSE(form.visible());
  EXPECT_EQ(form.files(), 300);
  EXPECT_EQ(form.text(win::ArchiveForm::kLabel1 + 6), L"300");
  EXPECT_EQ(form.text(win::ArchiveForm::kLabel1 + 17), L"100");
  EXPECT_LT(took, 5000u);

  const std::wstring shown = form.text(win::ArchiveForm::kLabel1 + 1);
  EXPECT_NE(shown.find(L"..."), std::wstring::npos) << shown;
  EXPECT_EQ(shown.substr(0, 4), many.wstring().substr(0, 4));
  RECT fileLabel{}, countLabel{};
  GetWindowRect(form.control(win::ArchiveForm::kLabel1 + 1), &fileLabel);
  GetWindowRect(form.control(win::ArchiveForm::kLabel1 + 6), &countLabel);
  EXPECT_EQ(fileLabel.right - fileLabel.left, form.pixelsX(3375));
  EXPECT_GT(countLabel.right - countLabel.left, 0);
  EXPECT_LT(countLabel.right - countLabel.left, form.pixelsX(720));
}

TEST(PersonalFolder, FoundThroughTheShell) {
  const Text folder = win::personalFolder(nullptr);
  ASSERT_FALSE(folder.empty());
  EXPECT_TRUE(fs::is_directory(fs::path(folder)));
  EXPECT_FALSE(win::onRemovableDrive(folder));
}

}  // namespace
}  // namespace mervane
