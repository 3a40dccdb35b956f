// Fuzzes the SummaryInformation property set reader with any stream bytes.
// It must never read outside them, and every string it hands back is cut at
// its first NUL and held in the one form its type says.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "engine/summary_information.h"

using namespace mervane::engine;

namespace {

void check(const std::optional<PropertyString>& s) {
  if (!s) return;
  bool ok = s->isUnicode ? s->bytes.empty() && s->unicode.find(u'\0') == mervane::Text::npos
                         : s->unicode.empty() && s->bytes.find('\0') == std::string::npos;
  if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::optional<SummaryInformation> info = parseSummaryInformation(std::span<const std::uint8_t>(data, size));
  if (info) {
    check(info->title);
    check(info->comments);
  }
  return 0;
}
