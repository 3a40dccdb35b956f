// Text: the library's string vocabulary.
//
// Every text the host hands us is UTF-16 of any length, NULs included, so the
// core works on std::u16string on every build. Character positions in the
// business rules count from 1, as the host's own language does; the helpers
// here take and return 0-based offsets and say so where it matters.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mervane {

using Text = std::u16string;
using TextView = std::u16string_view;

// UTF-8 <-> UTF-16. Invalid input never throws: bad bytes become U+FFFD.
Text fromUtf8(std::string_view utf8);
std::string toUtf8(TextView text);

// Leading and trailing blanks (U+0020 only) removed, as the host's Trim does.
Text trim(TextView text);
bool isBlank(TextView text);

// Upper case by the simple one-to-one mappings of the Latin, Greek and
// Cyrillic blocks; other characters are left as they are.
char16_t upperChar(char16_t c);
Text upper(TextView text);

// Equality without regard to letter case, as collection keys compare.
bool equalsNoCase(TextView a, TextView b);
// A key suitable for hashing so that equalsNoCase texts hash alike.
Text caseFoldKey(TextView text);

// Converts text to a 32-bit integer the way the automation runtime converts
// a string to a Long: surrounding white space, leading or trailing sign,
// parentheses for negative, &H hex and &O octal, thousands separators, a
// decimal part rounded half to even, an exponent. Anything else, or a value
// outside the 32-bit range, gives nothing.
std::optional<std::int32_t> parseLong(TextView text);

// Plain decimal text with a leading '-' when negative.
Text decimal(std::int64_t value);

// Text literal helper for ASCII: u"..." is usually enough; this is for
// building texts from narrow ASCII at run time.
Text ascii(std::string_view text);

}  // namespace mervane
