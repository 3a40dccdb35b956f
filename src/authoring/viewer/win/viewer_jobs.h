// The viewer control's print and export jobs (viewer_jobs.cpp): what the
// window and an export's thread share. Printing is printing::win::PrintJob.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

#include "authoring/viewer/win/viewer_control.h"

namespace mervane::viewer::win {

// Posted to the viewer window as an export goes on, and when it ends.
constexpr UINT kExportProgress = WM_APP + 3;

struct ViewerControl::ExportJob {
  std::thread thread;
  std::atomic<bool> cancel{false};
  std::atomic<bool> done{false};
  std::atomic<bool> ok{false};
  std::atomic<std::int32_t> pages{0};
  std::atomic<std::int32_t> counted{0};  // while waiting for the page count: pages counted so far
  std::wstring path;
  ~ExportJob() {
    cancel = true;
    if (thread.joinable()) thread.join();
  }
};

}  // namespace mervane::viewer::win
