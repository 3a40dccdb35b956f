// The stored per-report value, section "Reports", key = the report file's
// full path:
//   <title>;<flag>;<application data>      e.g.  Monthly sales;N;0
// The flag "Y" marks a favourite. Every reader and writer of these values
// takes them apart and puts them together here.
//
// The title may itself hold ";". The catalogue scan takes the value apart
// from its end; the favourites list and re-titling take the title up to the
// first ";", as the values were always read there.
#pragma once

#include <cstdint>
#include <optional>

#include "base/text.h"

namespace mervane {

inline constexpr char16_t kReportsSection[] = u"Reports";

struct StoredValue {
  // Application data: the text after the last ";" as a number, else 0.
  static std::int32_t applicationData(TextView value);
  // Title: the value without its last ";", the flag and the ";" before it;
  // nothing when the value is too short to hold them.
  static std::optional<Text> title(TextView value);
  // The favourite test: the character after the first ";" is exactly "Y".
  static bool isFavourite(TextView value);
  // The text before the first ";"; nothing when there is no ";".
  static std::optional<Text> leadingTitle(TextView value);
  static Text compose(TextView title, char16_t flag, std::int32_t applicationData);

  // A value taken apart at its first two ";": the title, the flag as written
  // and everything after the second ";" (which may hold more ";").
  struct Parts {
    Text title, flag, rest;
    Text joined() const;
  };
  static std::optional<Parts> split(TextView value);
};

// "AppData=<n>;" inside a report's application-data text; 0 when absent or
// not a number.
std::int32_t applicationDataFromText(TextView text);

}  // namespace mervane
