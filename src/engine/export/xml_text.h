// Text for XML and HTML content and attribute values, shared by the writers
// that produce markup. Characters XML 1.0 cannot carry (the control
// characters but tab, and line breaks where `keepLineBreaks`) are left out.
#pragma once

#include <string>
#include <string_view>

namespace mervane::engine::exporting {

inline void appendXmlEscaped(std::string& out, std::string_view utf8, bool keepLineBreaks) {
  for (char c : utf8) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      case '\t': out += c; break;
      case '\n':
      case '\r':
        if (keepLineBreaks) out += c;
        break;
      default:
        if (static_cast<unsigned char>(c) >= 0x20) out += c;
    }
  }
}

}  // namespace mervane::engine::exporting
