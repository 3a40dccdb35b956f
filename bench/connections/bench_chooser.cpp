// The table chooser with 2,000 tables, as a person waits for it:
//   chooser-open-ms      load, fill and show until the window is painted
//   chooser-tick-all-ms  space bar on the data set until every table is
//                        ticked and the tree repainted
// Each figure is the median of five rounds, with the slowest beside it.
// Run under Wine with a display: xvfb-run -a wine bench_chooser.exe
#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "connections/win/select_tables_form.h"

namespace {

using Clock = std::chrono::steady_clock;
using mervane::win::SelectTablesForm;
constexpr int kTables = 2000;
constexpr int kRounds = 5;

double msSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

bool ticked(HWND tree, HTREEITEM item) {
  return (SendMessageW(tree, TVM_GETITEMSTATE, reinterpret_cast<WPARAM>(item), TVIS_STATEIMAGEMASK) >> 12) == 2;
}

struct Round {
  double open = 0, tickAll = 0;
};

Round runRound() {
  Round round;
  const Clock::time_point start = Clock::now();
  SelectTablesForm form;
  form.load();
  form.addDataSetNode(u"big", u"Current Data Set(big)");
  for (int i = 0; i < kTables; ++i) form.addTableNode(u"big", u"Table " + mervane::ascii(std::to_string(i)));

  // A second thread watches as a person would and closes the chooser.
  std::thread watcher([&] {
    HWND dialog = form.hwnd();
    while (!IsWindowVisible(dialog)) Sleep(1);
    RedrawWindow(dialog, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    round.open = msSince(start);

    HWND tree = form.control(SelectTablesForm::kTree);
    SendMessageW(tree, TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(form.item(0)));
    const Clock::time_point press = Clock::now();
    PostMessageW(tree, WM_KEYDOWN, VK_SPACE, 1);
    PostMessageW(tree, WM_KEYUP, VK_SPACE, 0xC0000001);
    while (!ticked(tree, form.item(kTables))) Sleep(1);
    RedrawWindow(dialog, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    round.tickAll = msSince(press);
    PostMessageW(form.control(SelectTablesForm::kOk), BM_CLICK, 0, 0);
  });
  form.showModal();
  watcher.join();
  return round;
}

void report(const char* name, std::vector<double> values) {
  std::sort(values.begin(), values.end());
  std::printf("%s: %.0f ms (slowest %.0f ms, %d tables)\n", name, values[values.size() / 2], values.back(), kTables);
}

}  // namespace

int main() {
  std::vector<double> open, tickAll;
  for (int i = 0; i < kRounds; ++i) {
    Round r = runRound();
    open.push_back(r.open);
    tickAll.push_back(r.tickAll);
  }
  report("chooser-open-ms", open);
  report("chooser-tick-all-ms", tickAll);
  return 0;
}
