// Text helpers shared by every subsystem; no platform headers.
#include "base/text.h"

#include <cmath>
#include <limits>

namespace mervane {

Text fromUtf8(std::string_view utf8) {
  Text out;
  out.reserve(utf8.size());
  std::size_t i = 0;
  while (i < utf8.size()) {
    unsigned char c = static_cast<unsigned char>(utf8[i]);
    char32_t cp = 0xFFFD;
    std::size_t len = 1;
    if (c < 0x80) {
      cp = c;
    } else if ((c >> 5) == 0x6) {
      len = 2;
    } else if ((c >> 4) == 0xE) {
      len = 3;
    } else if ((c >> 3) == 0x1E) {
      len = 4;
    }
    if (len > 1) {
      if (i + len > utf8.size()) {
        cp = 0xFFFD;
        len = 1;
      } else {
        cp = c & (0x7F >> len);
        bool ok = true;
        for (std::size_t k = 1; k < len; ++k) {
          unsigned char cc = static_cast<unsigned char>(utf8[i + k]);
          if ((cc >> 6) != 0x2) {
            ok = false;
            break;
          }
          cp = (cp << 6) | (cc & 0x3F);
        }
        if (!ok || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
          cp = 0xFFFD;
          len = 1;
        }
      }
    }
    if (cp >= 0x10000) {
      cp -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(cp));
    }
    i += len;
  }
  return out;
}

std::string toUtf8(TextView text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t cp = text[i];
    if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
        text[i + 1] <= 0xDFFF) {
      cp = 0x10000 + ((cp - 0xD800) << 10) + (text[i + 1] - 0xDC00);
      ++i;
    } else if (cp >= 0xD800 && cp <= 0xDFFF) {
      cp = 0xFFFD;
    }
    if (cp < 0x80) {
      out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
  }
  return out;
}

Text trim(TextView text) {
  std::size_t b = 0, e = text.size();
  while (b < e && text[b] == u' ') ++b;
  while (e > b && text[e - 1] == u' ') --e;
  return Text(text.substr(b, e - b));
}

bool isBlank(TextView text) {
  for (char16_t c : text)
    if (c != u' ') return false;
  return true;
}

char16_t upperChar(char16_t c) {
  if (c < 0x80) return (c >= u'a' && c <= u'z') ? static_cast<char16_t>(c - 32) : c;
  // Latin-1 supplement: à..þ except ÷; ÿ maps outside the block.
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return static_cast<char16_t>(c - 32);
  if (c == 0xFF) return 0x178;
  if (c == 0xB5) return 0x39C;
  // Latin Extended-A: pairs, mostly even = upper, odd = lower.
  if (c >= 0x100 && c <= 0x17F) {
    if (c == 0x131) return u'I';
    if (c == 0x17F) return u'S';
    bool oddPairs = (c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E);
    if (oddPairs) return (c % 2 == 0) ? static_cast<char16_t>(c - 1) : c;
    if (c == 0x138 || c == 0x149) return c;
    return (c % 2 == 1) ? static_cast<char16_t>(c - 1) : c;
  }
  // Greek.
  if (c >= 0x3B1 && c <= 0x3CB && c != 0x3C2) return static_cast<char16_t>(c - 32);
  if (c == 0x3C2) return 0x3A3;
  if (c == 0x3AC) return 0x386;
  if (c >= 0x3AD && c <= 0x3AF) return static_cast<char16_t>(c - 37);
  if (c == 0x3CC) return 0x38C;
  if (c == 0x3CD || c == 0x3CE) return static_cast<char16_t>(c - 63);
  // Cyrillic.
  if (c >= 0x430 && c <= 0x44F) return static_cast<char16_t>(c - 32);
  if (c >= 0x450 && c <= 0x45F) return static_cast<char16_t>(c - 80);
  // Full-width Latin.
  if (c >= 0xFF41 && c <= 0xFF5A) return static_cast<char16_t>(c - 32);
  return c;
}

Text upper(TextView text) {
  Text out(text);
  for (char16_t& c : out) c = upperChar(c);
  return out;
}

bool equalsNoCase(TextView a, TextView b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (a[i] != b[i] && upperChar(a[i]) != upperChar(b[i])) return false;
  return true;
}

Text caseFoldKey(TextView text) { return upper(text); }

namespace {

bool isSpace(char16_t c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\v' || c == u'\f' || c == 0xA0; }

// Rounds half to even and checks the 32-bit range.
std::optional<std::int32_t> fitLong(long double v) {
  long double r = std::nearbyint(v);  // default rounding mode: to nearest, ties to even
  if (r < static_cast<long double>(std::numeric_limits<std::int32_t>::min()) ||
      r > static_cast<long double>(std::numeric_limits<std::int32_t>::max()))
    return std::nullopt;
  return static_cast<std::int32_t>(r);
}

}  // namespace

std::optional<std::int32_t> parseLong(TextView s) {
  std::size_t i = 0, n = s.size();
  while (i < n && isSpace(s[i])) ++i;
  while (n > i && isSpace(s[n - 1])) --n;
  if (i == n) return std::nullopt;

  // &H / &O radix forms: the bits are taken as a 32-bit pattern.
  if (s[i] == u'&' && i + 1 < n) {
    char16_t k = upperChar(s[i + 1]);
    unsigned base = k == u'H' ? 16 : (k == u'O' ? 8 : 0);
    if (base == 0) return std::nullopt;
    std::size_t j = i + 2;
    if (j == n) return std::nullopt;
    std::uint64_t v = 0;
    for (; j < n; ++j) {
      char16_t c = upperChar(s[j]);
      unsigned d;
      if (c >= u'0' && c <= u'9') d = c - u'0';
      else if (base == 16 && c >= u'A' && c <= u'F') d = c - u'A' + 10;
      else return std::nullopt;
      if (d >= base) return std::nullopt;
      v = v * base + d;
      if (v > 0xFFFFFFFFull) return std::nullopt;
    }
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(v));
  }

  bool negative = false, signSeen = false, parens = false;
  if (s[i] == u'(') {
    if (s[n - 1] != u')') return std::nullopt;
    parens = true;
    ++i;
    --n;
    while (i < n && isSpace(s[i])) ++i;
    while (n > i && isSpace(s[n - 1])) --n;
  }
  if (i < n && (s[i] == u'+' || s[i] == u'-')) {
    negative = s[i] == u'-';
    signSeen = true;
    ++i;
    while (i < n && isSpace(s[i])) ++i;
  }
  if (!signSeen && n > i && (s[n - 1] == u'+' || s[n - 1] == u'-')) {
    negative = s[n - 1] == u'-';
    signSeen = true;
    --n;
    while (n > i && isSpace(s[n - 1])) --n;
  }
  if (parens && signSeen) return std::nullopt;

  long double mantissa = 0;
  int fractionDigits = 0;
  bool digits = false, point = false;
  std::size_t j = i;
  for (; j < n; ++j) {
    char16_t c = s[j];
    if (c >= u'0' && c <= u'9') {
      digits = true;
      mantissa = mantissa * 10 + (c - u'0');
      if (point) ++fractionDigits;
    } else if (c == u',' && !point && digits) {
      continue;  // thousands separator
    } else if (c == u'.' && !point) {
      point = true;
    } else {
      break;
    }
  }
  if (!digits) return std::nullopt;
  int exponent = 0;
  if (j < n && (s[j] == u'e' || s[j] == u'E')) {
    ++j;
    bool expNeg = false;
    if (j < n && (s[j] == u'+' || s[j] == u'-')) expNeg = s[j++] == u'-';
    if (j == n) return std::nullopt;
    for (; j < n; ++j) {
      if (s[j] < u'0' || s[j] > u'9') return std::nullopt;
      exponent = exponent * 10 + (s[j] - u'0');
      if (exponent > 400) exponent = 400;
    }
    if (expNeg) exponent = -exponent;
  }
  if (j != n) return std::nullopt;
  long double v = mantissa * std::pow(10.0L, exponent - fractionDigits);
  if (negative || parens) v = -v;
  return fitLong(v);
}

Text decimal(std::int64_t value) { return ascii(std::to_string(value)); }

Text ascii(std::string_view text) { return Text(text.begin(), text.end()); }

}  // namespace mervane
