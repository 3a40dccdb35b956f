// Opening report files: the time to open a report file through the engine
// and read its title and application-data text, as the catalogue scan does
// for every report of a folder. Writes the example "Monthly Sales" report to
// a temporary folder and opens it 1,000 times.
//
//   bench_open_report.exe [rounds]
#include <windows.h>
#include <objbase.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/win/wide.h"
#include "engine/win/engine_factory.h"
#include "example_reports.h"

using namespace mervane;

int wmain(int argc, wchar_t** argv) {
  const int rounds = argc > 1 ? std::max(1, _wtoi(argv[1])) : 1000;
  CoInitialize(nullptr);
  wchar_t temp[MAX_PATH] = {};
  GetTempPathW(MAX_PATH, temp);
  const std::wstring folder = std::wstring(temp) + L"mervane-open-bench";
  CreateDirectoryW(folder.c_str(), nullptr);
  const std::wstring path = folder + L"\\Monthly Sales.rpt";
  bool written = false;
  for (const tools::ExampleReport& r : tools::exampleReports())
    if (r.fileName == L"Monthly Sales.rpt") written = tools::writeExampleReport(path, r) == S_OK;
  if (!written) {
    std::printf("report-open-ms: cannot write the example report\n");
    return 1;
  }

  auto engine = createEngineApplication();
  std::size_t characters = 0;
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < rounds; ++i) {
    auto report = engine->openReport(win::fromWide(path), OpenMethod::Default);
    if (!report) {
      std::printf("report-open-ms: the report does not open\n");
      return 1;
    }
    characters += report->title().size() + report->applicationDataText().size();
  }
  const std::chrono::duration<double, std::milli> spent = std::chrono::steady_clock::now() - start;
  std::printf("report-open-ms: %.3f ms (open, title and text; %d reports, %zu characters)\n", spent.count() / rounds,
              rounds, characters);

  engine.reset();
  DeleteFileW(path.c_str());
  RemoveDirectoryW(folder.c_str());
  CoUninitialize();
  return 0;
}
