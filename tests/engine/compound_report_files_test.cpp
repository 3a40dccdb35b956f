// The report engine over real compound files: titles and texts from ANSI and
// Unicode summaries, damaged files, and copies made by saveAs. The copies and
// a list of them stay in engine-files/ for check_copies.py, which compares
// them with their sources through an independent reader.
#include <windows.h>
#include <objbase.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "base/win/com.h"
#include "engine/win/engine_factory.h"
#include "example_reports.h"
#include "property_set_bytes.h"

namespace mervane {
namespace {

using tools::ExampleReport;
using tools::SummaryKind;
using win::ComPtr;

class ComEnvironment : public ::testing::Environment {
 public:
  void SetUp() override { CoInitialize(nullptr); }
  void TearDown() override { CoUninitialize(); }
};
const auto* const kEnv = ::testing::AddGlobalTestEnvironment(new ComEnvironment);

std::wstring wide(const Text& t) { return win::toWide(t); }
Text text(const std::wstring& w) { return win::fromWide(w.c_str()); }

void removeTree(const std::wstring& folder) {
  WIN32_FIND_DATAW found;
  HANDLE find = FindFirstFileW((folder + L"\\*").c_str(), &found);
  if (find != INVALID_HANDLE_VALUE) {
    do {
      std::wstring name = found.cFileName;
      if (name == L"." || name == L"..") continue;
      std::wstring path = folder + L"\\" + name;
      if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
        removeTree(path);
      else
        DeleteFileW(path.c_str());
    } while (FindNextFileW(find, &found));
    FindClose(find);
  }
  RemoveDirectoryW(folder.c_str());
}

std::vector<std::wstring> filesIn(const std::wstring& folder) {
  std::vector<std::wstring> names;
  WIN32_FIND_DATAW found;
  HANDLE find = FindFirstFileW((folder + L"\\*").c_str(), &found);
  if (find == INVALID_HANDLE_VALUE) return names;
  do {
    if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) names.push_back(found.cFileName);
  } while (FindNextFileW(find, &found));
  FindClose(find);
  return names;
}

std::string readBytes(const std::wstring& path) {
  std::ifstream in(std::filesystem::path(path), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void writeBytes(const std::wstring& path, const std::string& bytes) {
  std::ofstream(std::filesystem::path(path), std::ios::binary | std::ios::trunc).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// A compound file whose summary stream holds exactly `summary`.
void writeRawSummary(const std::wstring& path, const std::vector<std::uint8_t>& summary) {
  ComPtr<IStorage> root;
  const DWORD mode = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
  ASSERT_EQ(StgCreateDocfile(path.c_str(), mode, 0, root.put()), S_OK);
  ComPtr<IStream> stream;
  ASSERT_EQ(root->CreateStream(L"\005SummaryInformation", mode, 0, 0, stream.put()), S_OK);
  ULONG written = 0;
  ASSERT_EQ(stream->Write(summary.data(), static_cast<ULONG>(summary.size()), &written), S_OK);
  ComPtr<IStream> other;
  ASSERT_EQ(root->CreateStream(L"Contents", mode, 0, 0, other.put()), S_OK);
  ASSERT_EQ(other->Write("contents", 8, &written), S_OK);
  ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
}

// engine-files/ under the working folder, emptied for each run; the list of
// copies for the olefile check is written as the tests go.
class EngineFiles : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    wchar_t cwd[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, cwd);
    folder_ = std::wstring(cwd) + L"\\engine-files";
    removeTree(folder_);
    CreateDirectoryW(folder_.c_str(), nullptr);
    for (const ExampleReport& r : tools::exampleReports())
      ASSERT_EQ(tools::writeExampleReport(folder_ + L"\\" + r.fileName, r), S_OK) << r.fileName.size();
    // Windows-1251 strings, which the platform's property writer refuses
    // unless it is the system's code page.
    writeRawSummary(folder_ + L"\\Cyrillic.rpt", testing::PropertySetBytes()
                                                    .codePage(1251)
                                                    .lpstr(2, "\xCE\xF2\xF7\xB8\xF2; \xEF\xF0\xEE\xE4\xE0\xE6\xE8")
                                                    .lpstr(6, "AppData=5;")
                                                    .build());
  }

  std::wstring at(const std::wstring& name) const { return folder_ + L"\\" + name; }
  std::unique_ptr<EngineReport> open(const std::wstring& name, OpenMethod method = OpenMethod::Default) {
    return engine_->openReport(text(at(name)), method);
  }
  // Saves a copy with a new title, checks it through the engine and leaves
  // it on the list for the olefile check.
  void copyWithTitle(const std::wstring& source, const std::wstring& copy, const Text& title,
                     OpenMethod method = OpenMethod::Default) {
    SCOPED_TRACE(toUtf8(text(copy)));
    std::string before = readBytes(at(source));
    auto report = open(source, method);
    ASSERT_TRUE(report);
    Text comments = report->applicationDataText();
    report->setTitle(title);
    report->saveAs(text(at(copy)), kReportFileFormat);
    if (source != copy) {
      EXPECT_EQ(readBytes(at(source)), before);  // the source is never written
    }
    auto copied = open(copy);
    ASSERT_TRUE(copied);
    EXPECT_EQ(copied->title(), title);
    EXPECT_EQ(copied->applicationDataText(), comments);
    if (source == copy) return;  // the olefile check needs the source as it was
    std::ofstream(std::filesystem::path(at(L"copies.txt")), std::ios::app | std::ios::binary)
        << toUtf8(text(source)) << '\t' << toUtf8(text(copy)) << '\t' << toUtf8(title) << '\n';
  }

  static std::wstring folder_;
  std::unique_ptr<EngineApplication> engine_ = createEngineApplication();
};
std::wstring EngineFiles::folder_;

TEST_F(EngineFiles, ReadsTitleAndTextFromAnsiAndUnicodeSummaries) {
  for (const ExampleReport& r : tools::exampleReports()) {
    for (OpenMethod method : {OpenMethod::Default, OpenMethod::ByTemporaryCopy}) {
      auto report = open(r.fileName, method);
      ASSERT_TRUE(report) << toUtf8(text(r.fileName));
      EXPECT_EQ(wide(report->title()), r.title);
      EXPECT_EQ(wide(report->applicationDataText()), r.comments);
    }
  }
  // An ANSI set is decoded with its own code page, not the system's.
  auto report = open(L"Cyrillic.rpt");
  ASSERT_TRUE(report);
  EXPECT_EQ(report->title(), u"\u041E\u0442\u0447\u0451\u0442; \u043F\u0440\u043E\u0434\u0430\u0436\u0438");
  EXPECT_EQ(report->applicationDataText(), u"AppData=5;");
}

TEST_F(EngineFiles, DamagedFilesGiveNoReport) {
  const std::string good = readBytes(at(L"Monthly Sales.rpt"));
  writeBytes(at(L"empty.rpt"), "");
  writeBytes(at(L"text.rpt"), "Title=Monthly Sales\r\nAppData=17;\r\n");
  writeBytes(at(L"header only.rpt"), good.substr(0, 512));
  std::string noise(8192, '\0');
  for (std::size_t i = 0; i < noise.size(); ++i) noise[i] = static_cast<char>((i * 7919u) >> 3);
  writeBytes(at(L"noise.rpt"), noise);
  writeBytes(at(L"noise with header.rpt"), good.substr(0, 8) + noise);
  CreateDirectoryW(at(L"folder.rpt").c_str(), nullptr);
  for (const wchar_t* name : {L"empty.rpt", L"text.rpt", L"header only.rpt", L"noise.rpt", L"noise with header.rpt",
                              L"folder.rpt", L"missing.rpt"}) {
    EXPECT_FALSE(open(name)) << toUtf8(text(name));
    EXPECT_FALSE(open(name, OpenMethod::ByTemporaryCopy)) << toUtf8(text(name));
  }

  // A compound file without a summary, or with one that is not a property
  // set, is a report with neither title nor text; its copy gets a summary.
  ExampleReport bare{L"No Summary.rpt", L"ignored", L"ignored", SummaryKind::None, false};
  ASSERT_EQ(tools::writeExampleReport(at(bare.fileName), bare), S_OK);
  writeRawSummary(at(L"Bad Summary.rpt"), std::vector<std::uint8_t>(200, 0xAB));
  for (const wchar_t* name : {L"No Summary.rpt", L"Bad Summary.rpt"}) {
    auto report = open(name);
    ASSERT_TRUE(report);
    EXPECT_EQ(report->title(), u"");
    EXPECT_EQ(report->applicationDataText(), u"");
  }
  copyWithTitle(L"No Summary.rpt", L"No Summary copy.rpt", u"Now titled");
  copyWithTitle(L"Bad Summary.rpt", L"Bad Summary copy.rpt", u"Repaired");
}

TEST_F(EngineFiles, TruncatedFilesOpenCleanlyOrNotAtAllAndNeverCopy) {
  const std::string whole = readBytes(at(L"Sales Archive.rpt"));
  ASSERT_GT(whole.size(), 300000u);
  writeBytes(at(L"target.rpt"), "keep me");
  int opened = 0;
  for (std::size_t size = 512; size < whole.size(); size += 4096 + 512) {
    writeBytes(at(L"cut.rpt"), whole.substr(0, size));
    for (OpenMethod method : {OpenMethod::Default, OpenMethod::ByTemporaryCopy}) {
      auto report = open(L"cut.rpt", method);
      if (!report) continue;
      ++opened;
      EXPECT_TRUE(report->title().empty() || wide(report->title()) == L"Sales Archive \u2013 Ann\u00E9e 2023");
      // Some stream always lies beyond the cut, so no copy may replace the
      // target, and no temporary file may be left behind.
      report->setTitle(u"Cut");
      EXPECT_ANY_THROW(report->saveAs(text(at(L"target.rpt")), kReportFileFormat)) << size;
      EXPECT_EQ(readBytes(at(L"target.rpt")), "keep me") << size;
    }
  }
  std::printf("truncated files that still opened: %d\n", opened);
  for (const std::wstring& name : filesIn(folder_)) EXPECT_EQ(name.find(L".tmp"), std::wstring::npos);
}

TEST_F(EngineFiles, SaveAsCopiesEverythingWithTheNewTitle) {
  copyWithTitle(L"Sales Archive.rpt", L"Sales Archive copy.rpt", u"Sales 2; Ann\u00E9e");
  // Not representable in the ANSI set's code page: stored as Unicode.
  copyWithTitle(L"Monthly Sales.rpt", L"Monthly Sales copy.rpt", u"\u03A3\u03CD\u03BD\u03BF\u03BB\u03BF \u0141\u00F3d\u017A");
  copyWithTitle(L"Customer List.rpt", L"Customer List copy.rpt", u"Kunden \u2013 Z\u00FCrich", OpenMethod::ByTemporaryCopy);
  copyWithTitle(L"Cyrillic.rpt", L"Cyrillic copy.rpt", u"\u041A\u043E\u043F\u0438\u044F");
  copyWithTitle(L"Untitled.rpt", L"Untitled copy.rpt", u"");
  // Over an existing file, and over itself.
  writeBytes(at(L"Existing.rpt"), "old content");
  copyWithTitle(L"Stock Valuation.rpt", L"Existing.rpt", u"Stock 2");
  CopyFileW(at(L"Stock Valuation.rpt").c_str(), at(L"Self.rpt").c_str(), FALSE);
  copyWithTitle(L"Self.rpt", L"Self.rpt", u"Stock 3");
}

TEST_F(EngineFiles, FailedSavesLeaveNothingBehind) {
  auto report = open(L"Monthly Sales.rpt");
  ASSERT_TRUE(report);
  report->setTitle(u"Lost");
  EXPECT_ANY_THROW(report->saveAs(text(at(L"no such folder\\copy.rpt")), kReportFileFormat));
  EXPECT_EQ(GetFileAttributesW(at(L"no such folder").c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_ANY_THROW(report->saveAs(text(at(L"Other format.rpt")), 1791));
  EXPECT_EQ(GetFileAttributesW(at(L"Other format.rpt").c_str()), INVALID_FILE_ATTRIBUTES);
  // A target that is a folder stays a folder, and no temporary file is left.
  CreateDirectoryW(at(L"taken.rpt").c_str(), nullptr);
  EXPECT_ANY_THROW(report->saveAs(text(at(L"taken.rpt")), kReportFileFormat));
  EXPECT_TRUE(GetFileAttributesW(at(L"taken.rpt").c_str()) & FILE_ATTRIBUTE_DIRECTORY);
  for (const std::wstring& name : filesIn(folder_)) EXPECT_EQ(name.find(L".tmp"), std::wstring::npos);
}

TEST_F(EngineFiles, OpenReportsDoNotHoldTheirFile) {
  CopyFileW(at(L"Monthly Sales.rpt").c_str(), at(L"Held.rpt").c_str(), FALSE);
  auto byDefault = open(L"Held.rpt");
  auto byCopy = open(L"Held.rpt", OpenMethod::ByTemporaryCopy);
  ASSERT_TRUE(byDefault && byCopy);
  HANDLE writer = CreateFileW(at(L"Held.rpt").c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_NE(writer, INVALID_HANDLE_VALUE);
  if (writer != INVALID_HANDLE_VALUE) CloseHandle(writer);

  // Once the file is gone, only the temporary copy can still be saved.
  ASSERT_TRUE(DeleteFileW(at(L"Held.rpt").c_str()));
  writeBytes(at(L"Held copy.rpt"), "keep me");
  EXPECT_ANY_THROW(byDefault->saveAs(text(at(L"Held copy.rpt")), kReportFileFormat));
  EXPECT_EQ(readBytes(at(L"Held copy.rpt")), "keep me");
  byCopy->setTitle(u"From memory");
  byCopy->saveAs(text(at(L"Held copy.rpt")), kReportFileFormat);
  auto copied = open(L"Held copy.rpt");
  ASSERT_TRUE(copied);
  EXPECT_EQ(copied->title(), u"From memory");
  EXPECT_EQ(copied->applicationDataText(), u"Dept=4;AppData=17;Owner=x");
}

}  // namespace
}  // namespace mervane
