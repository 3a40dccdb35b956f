// Catalogue scan under Wine or Windows: a folder of 10,000 files (5,000
// report-engine files, 3,000 Vardo files of both families, 2,000 others).
// Prints reports per second for a cold scan (nothing stored: every RPT is
// opened) and a warm scan (everything stored), a baseline of a bare folder
// listing plus one settings read per report, and the cost of the progress
// window.
//   scan_bench <examples\reports folder>
#include <windows.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "base/win/com.h"
#include "catalogue/catalogue_scan.h"
#include "catalogue/report_kinds.h"
#include "server/windows_services.h"

using namespace mervane;

namespace {

struct NullWindow final : ScanWindow {
  std::int32_t v = 0;
  void setMaximum(std::int32_t) override {}
  void setValue(std::int32_t value) override { v = value; }
  std::int32_t value() override { return v; }
  void setLabel(const Text&) override {}
  void show() override {}
  void close() override {}
};

double millisSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

std::wstring firstWithExtension(const std::wstring& folder, const wchar_t* ext) {
  WIN32_FIND_DATAW data;
  HANDLE find = FindFirstFileW((folder + L"\\*." + ext).c_str(), &data);
  if (find == INVALID_HANDLE_VALUE) return L"";
  FindClose(find);
  return folder + L"\\" + data.cFileName;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: scan_bench <examples reports folder>\n");
    return 2;
  }
  CoInitialize(nullptr);
  std::wstring examples = win::toWide(fromUtf8(argv[1]));
  while (!examples.empty() && examples.back() == L'\\') examples.pop_back();
  std::wstring rpt = firstWithExtension(examples, L"rpt"), older = firstWithExtension(examples, L"srt"),
               newer = firstWithExtension(examples, L"report");
  if (rpt.empty() || older.empty() || newer.empty()) {
    std::fprintf(stderr, "examples folder lacks .rpt, .srt or .report files\n");
    return 2;
  }

  wchar_t temp[MAX_PATH];
  GetTempPathW(MAX_PATH, temp);
  std::wstring folder = std::wstring(temp) + L"mervane-scan-bench";
  CreateDirectoryW(folder.c_str(), nullptr);
  int made = 0;
  for (int i = 0; i < 10000; ++i) {
    std::wstring name = folder + L"\\file" + std::to_wstring(i);
    if (i < 5000) CopyFileW(rpt.c_str(), (name + L".rpt").c_str(), FALSE);
    else if (i < 6500) CopyFileW(older.c_str(), (name + L".srt").c_str(), FALSE);
    else if (i < 8000) CopyFileW(newer.c_str(), (name + L".report").c_str(), FALSE);
    else CopyFileW(rpt.c_str(), (name + L".txt").c_str(), FALSE);
    ++made;
  }

  SessionSettings session;
  session.registryPath = u"Mervane100 Scan Bench";
  session.path = win::fromWide(folder.c_str()) + u"\\";
  server::WindowsServices services;
  // The real ports, and the same with the window left out.
  const ScanPorts withWindow = services.scan();
  ScanPorts windowless = services.scan();
  windowless.window = [] { return std::unique_ptr<ScanWindow>(std::make_unique<NullWindow>()); };
  services.store().remove(session.registryPath, kReportsSection, Text());
  // Older-format reports are found by folder-relative name under this folder.
  services.store().write(session.registryPath, u"Company", u"ProgramReports", win::fromWide(temp));

  auto scan = [&](const ScanPorts& ports) {
    ReportCollection reports;
    auto start = std::chrono::steady_clock::now();
    scanCatalogue(session, ports, &reports);
    double ms = millisSince(start);
    if (reports.size() != 8000) std::fprintf(stderr, "warning: %zu reports listed\n", reports.size());
    return ms;
  };
  double cold = scan(withWindow);
  double warm = scan(withWindow);
  double warmWindowless = scan(windowless);
  double warm2 = scan(withWindow);
  double warmBest = warm < warm2 ? warm : warm2;

  // Baseline: list the folder and read one stored value per report.
  auto start = std::chrono::steady_clock::now();
  auto files = services.files().listFiles(session.path.substr(0, session.path.size() - 1));
  for (const FileEntry& f : files)
    if (classifyFileName(f.name) != ReportFamily::None)
      services.store().read(session.registryPath, kReportsSection, f.fullPath, u"");
  double baseline = millisSince(start);

  std::printf("files: %d\n", made);
  std::printf("cold-scan-ms: %.0f ms\n", cold);
  std::printf("cold-scan-reports-per-s: %.0f reports/s\n", 8000 / (cold / 1000));
  std::printf("cold-ms-per-rpt: %.3f ms\n", (cold - warmBest) / 5000);
  std::printf("warm-scan-ms: %.0f ms\n", warmBest);
  std::printf("warm-scan-reports-per-s: %.0f reports/s\n", 8000 / (warmBest / 1000));
  std::printf("baseline-ms: %.0f ms\n", baseline);
  std::printf("warm-to-baseline-ratio: %.2f x\n", warmBest / baseline);
  std::printf("warm-scan-without-window-ms: %.0f ms\n", warmWindowless);
  std::printf("progress-window-share: %.1f %%\n", 100.0 * (warmBest - warmWindowless) / warmBest);

  services.store().remove(session.registryPath, kReportsSection, Text());
  for (const FileEntry& f : files) DeleteFileW(win::toWide(f.fullPath).c_str());
  RemoveDirectoryW(folder.c_str());
  return 0;
}
