// Writes example report files: OLE compound files with a SummaryInformation
// property set (title, comments and a few other properties, in an ANSI or a
// Unicode set) and streams and storages standing for the rest of a report.
// The example reports folder and the engine's tests are made with it.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace mervane::tools {

enum class SummaryKind {
  None,     // no SummaryInformation stream at all
  Ansi,     // code page 1252, strings as VT_LPSTR
  Unicode,  // code page 1200, strings as VT_LPWSTR
};

struct ExampleReport {
  std::wstring fileName;
  std::wstring title;
  std::wstring comments;  // the application-data text
  SummaryKind summary = SummaryKind::Ansi;
  // Adds storages and streams of every size class (empty, below and above the
  // 4096-byte small-stream limit, several hundred kilobytes).
  bool large = false;
  // The engine's definition stream; empty for a report from another
  // designer.
  std::vector<std::uint8_t> definition;
};

// The class id stored in every example's root storage.
extern const CLSID kExampleReportClass;

// Writes one report; returns the first failure.
HRESULT writeExampleReport(const std::wstring& path, const ExampleReport& report);

// The example reports, the large one last.
std::vector<ExampleReport> exampleReports();

}  // namespace mervane::tools
