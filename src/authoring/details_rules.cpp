#include "authoring/details_rules.h"

#include <algorithm>
#include <array>

#include "base/attempt.h"

namespace mervane::details {

namespace {

constexpr std::int32_t kCrystal = 1;
constexpr std::int32_t kVardo = 2;

// Extensions of the newer Vardo family: never a Crystal report's.
constexpr std::array<TextView, 5> kVardoOnly = {u".REPORT", u".LAYOUT", u".LABEL", u".LETTER", u".TEMPLATE"};
// What a Vardo name may keep as typed. Deliberately narrower than the
// catalogue's table: the other older-family extensions get ".report".
constexpr std::array<TextView, 6> kVardoKept = {u".SRT",    u".REPORT", u".LAYOUT",
                                                        u".LETTER", u".LABEL",  u".TEMPLATE"};

template <std::size_t N>
bool oneOf(TextView value, const std::array<TextView, N>& list) {
  return std::find(list.begin(), list.end(), value) != list.end();
}

}  // namespace

Text dialogExtension(TextView fileName) {
  std::size_t dot = fileName.rfind(u'.');
  return upper(dot == TextView::npos ? fileName : fileName.substr(dot));
}

OkOutcome pressOk(TextView fileName, std::int32_t repType, TextView repPath, FileSystem& files) {
  OkOutcome out;
  out.fileName = Text(fileName);
  if (isBlank(fileName)) {
    out.message = kNoFileName;
    out.focusFileName = true;
    return out;
  }

  // The extension is taken from the text as typed, spaces and all.
  const Text extension = dialogExtension(fileName);
  if (repType == kCrystal) {
    if (oneOf(extension, kVardoOnly)) {
      out.message = kCrystalExtension;
      return out;
    }
    if (extension != u".RPT") out.fileName += u".rpt";
  } else if (repType == kVardo) {
    if (fileName.size() >= 4 && upper(fileName.substr(fileName.size() - 4)) == u".RPT") {
      out.message = kVardoExtension;
      return out;
    }
    if (!oneOf(extension, kVardoKept)) out.fileName += u".report";
  }

  const Text path = Text(repPath) + out.fileName;
  const bool exists = attemptValue([&] { return files.fileExists(path); }).value_or(true);
  if (exists) {
    out.message = kFileExists;
    out.focusFileName = true;
  }
  return out;
}

}  // namespace mervane::details
