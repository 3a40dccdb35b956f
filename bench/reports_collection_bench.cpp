// Reports collection: time per item to add keyed items, look each up by key
// and enumerate them, at 10,000 and 100,000 items. Linear growth shows as a
// flat time per item.
#include <chrono>
#include <cstdio>
#include <memory>

#include "catalogue/keyed_collection.h"

using namespace mervane;

namespace {

double nanosPerItem(int count) {
  auto start = std::chrono::steady_clock::now();
  KeyedCollection<std::shared_ptr<int>> c;
  std::vector<Text> keys;
  keys.reserve(count);
  for (int i = 0; i < count; ++i) keys.push_back(ascii("C:\\Reports\\report" + std::to_string(i) + ".rpt"));
  for (int i = 0; i < count; ++i) c.add(std::make_shared<int>(i), keys[i]);
  long long sum = 0;
  for (int i = 0; i < count; ++i) sum += **c.find(upper(keys[i]));
  for (const auto& v : c.values()) sum += *v;
  auto elapsed = std::chrono::steady_clock::now() - start;
  if (sum < 0) std::puts("");
  return std::chrono::duration<double, std::nano>(elapsed).count() / count;
}

}  // namespace

int main() {
  nanosPerItem(1000);  // warm-up
  std::printf("reports-10000-ns-per-item: %.0f ns\n", nanosPerItem(10000));
  std::printf("reports-100000-ns-per-item: %.0f ns\n", nanosPerItem(100000));
  return 0;
}
