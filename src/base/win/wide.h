// Text and the wide strings of the Windows API: both are UTF-16, so a text
// crosses unchanged, embedded NULs included. The one pair of conversions
// every Windows adapter and form uses.
#pragma once

#include <string>
#include <string_view>

#include "base/text.h"

namespace mervane::win {

static_assert(sizeof(wchar_t) == sizeof(char16_t), "Windows texts are UTF-16");

inline std::wstring toWide(TextView text) { return std::wstring(text.begin(), text.end()); }
inline Text fromWide(std::wstring_view text) { return Text(text.begin(), text.end()); }
// Up to the first NUL; a null pointer is the empty text.
inline Text fromWide(const wchar_t* text) { return text ? fromWide(std::wstring_view(text)) : Text(); }

}  // namespace mervane::win
