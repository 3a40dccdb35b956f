// The archiver on Windows itself: UTF-16 names that no code page holds,
// drive paths with backslashes, and replacing files that already exist,
// which Windows does differently from POSIX.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "maintenance/archive/archiver.h"

namespace mervane {
namespace {

namespace fs = std::filesystem;

struct CountingEvents : ArchiveEvents {
  std::int32_t last = 0;
  void progress(const Text&, std::int32_t, std::int32_t, std::int16_t, std::int32_t, std::int32_t,
                std::int32_t, std::int32_t) override {}
  void fileCount(const Text&, std::int32_t n) override { last = n; }
  void diskFull(std::int16_t) override {}
  void diskRequest(std::int16_t) override {}
};

void write(const fs::path& p, const std::string& bytes) {
  std::ofstream(p, std::ios::binary) << bytes;
}

std::string read(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

TEST(ZipOnWindows, UnicodeNamesAndReplacingExistingFiles) {
  fs::path root =
      fs::temp_directory_path() / ("mervane-zip-" + std::to_string(std::random_device{}()));
  fs::path reports = root / L"Reports", imported = root / L"Imported";
  fs::create_directories(reports);
  fs::create_directories(imported);
  const std::wstring names[] = {L"\u0141\u00F3d\u017A \u0394\u03B5\u03BB\u03C4\u03AF\u03BF.rpt",
                                L"\u5831\u544A.report", L"Plain.RPT"};
  for (const auto& n : names)
    write(reports / n, std::string(200000, 'r') + toUtf8(fs::path(n).u16string()));
  write(root / L"reports.zip", "an older archive");
  write(imported / L"Plain.RPT", "an older report");

  CountingEvents events;
  Text list = reports.u16string() + u"\\*.rpt|" + reports.u16string() + u"\\*.report|";
  ArchiveResult w = writeArchive((root / L"reports.zip").u16string(), list, events);
  EXPECT_TRUE(w.ok());
  EXPECT_EQ(w.processedFiles, 3);
  ArchiveResult r =
      extractArchive((root / L"reports.zip").u16string(), imported.u16string(), events);
  EXPECT_TRUE(r.ok());
  EXPECT_EQ(events.last, 3);
  for (const auto& n : names) EXPECT_EQ(read(imported / n), read(reports / n));
  int files = 0;
  for (const auto& e : fs::directory_iterator(imported)) files += e.is_regular_file();
  EXPECT_EQ(files, 3);
  std::error_code ec;
  fs::remove_all(root, ec);
}

}  // namespace
}  // namespace mervane
