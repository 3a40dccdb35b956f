// The Reports collection through its COM interface, as a host calls it:
// time per item to add keyed items, look each up by key and enumerate them,
// at 10,000 and 100,000 items. A flat time per item shows linear growth.
#include <windows.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "Mervane100.h"
#include "base/win/com.h"
#include "server/reports_object.h"

using namespace mervane;
using namespace mervane::server;

namespace {

double nanosPerItem(int count) {
  std::vector<std::wstring> keys;
  for (int i = 0; i < count; ++i) keys.push_back(L"C:\\Reports\\report" + std::to_wstring(i) + L".rpt");
  auto start = std::chrono::steady_clock::now();
  auto reports = ReportsObject::create();
  win::Bstr title(u"Title"), file(u"file.rpt");
  for (int i = 0; i < count; ++i) {
    BSTR t = title.get(), f = file.get(), k = SysAllocString(keys[i].c_str());
    win::ComPtr<_ReportItem> item;
    reports->Add(&t, &f, &k, item.put());
    SysFreeString(k);
  }
  long found = 0;
  for (int i = 0; i < count; ++i) {
    VARIANT key;
    V_VT(&key) = VT_BSTR;
    V_BSTR(&key) = SysAllocString(keys[i].c_str());
    win::ComPtr<_ReportItem> item;
    reports->get_Item(&key, item.put());
    found += item ? 1 : 0;
    VariantClear(&key);
  }
  win::ComPtr<IUnknown> unknown;
  reports->get_NewEnum(unknown.put());
  auto enumerator = unknown.query<IEnumVARIANT>(IID_IEnumVARIANT);
  VARIANT v;
  ULONG fetched = 0;
  while (enumerator->Next(1, &v, &fetched) == S_OK) {
    ++found;
    VariantClear(&v);
  }
  double ns = std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
  if (found != 2L * count) std::fprintf(stderr, "warning: %ld of %d found\n", found, 2 * count);
  return ns / count;
}

}  // namespace

int main() {
  CoInitialize(nullptr);
  nanosPerItem(1000);
  std::printf("com-reports-10000-ns-per-item: %.0f ns\n", nanosPerItem(10000));
  std::printf("com-reports-100000-ns-per-item: %.0f ns\n", nanosPerItem(100000));
  return 0;
}
