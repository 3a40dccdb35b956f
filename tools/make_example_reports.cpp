// Writes the example report files into a folder:
//   make_example_reports FOLDER [--large]
// The large report (several hundred kilobytes) is written only with --large.
#include <windows.h>
#include <objbase.h>

#include <cstdio>
#include <string>

#include "example_reports.h"

int wmain(int argc, wchar_t** argv) {
  if (argc < 2) {
    std::fputs("usage: make_example_reports FOLDER [--large]\n", stderr);
    return 2;
  }
  std::wstring folder = argv[1];
  if (!folder.empty() && folder.back() != L'\\' && folder.back() != L'/') folder += L'\\';
  const bool large = argc > 2 && std::wstring(argv[2]) == L"--large";

  int failures = 0;
  for (const mervane::tools::ExampleReport& report : mervane::tools::exampleReports()) {
    if (report.large && !large) continue;
    HRESULT hr = mervane::tools::writeExampleReport(folder + report.fileName, report);
    std::fprintf(SUCCEEDED(hr) ? stdout : stderr, "%ls: %s (0x%08lx)\n", report.fileName.c_str(),
                 SUCCEEDED(hr) ? "written" : "failed", static_cast<unsigned long>(hr));
    if (FAILED(hr)) ++failures;
  }
  return failures ? 1 : 0;
}
