#include "base/win/com.h"

#include <new>

namespace mervane::win {

Bstr::Bstr(TextView text) : b_(allocBstr(text)) {}

Text Bstr::text() const { return toText(b_); }

Text toText(BSTR b) {
  if (!b) return Text();
  return Text(reinterpret_cast<const char16_t*>(b), SysStringLen(b));
}

BSTR allocBstr(TextView text) {
  if (text.size() > 0x7FFFFFF0u) throw std::bad_alloc();
  BSTR b = SysAllocStringLen(reinterpret_cast<const OLECHAR*>(text.data()), static_cast<UINT>(text.size()));
  if (!b) throw std::bad_alloc();
  return b;
}

}  // namespace mervane::win
