// Reading and writing OLE DB / ODBC attribute lists; see attribute_list.h.
#include "components/attribute_list.h"

namespace mervane {
namespace {

bool isSpace(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; }

TextView trimSpaces(TextView text) {
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  return text;
}

Text braced(TextView value) {
  Text out = u"{";
  for (char16_t c : value) {
    out += c;
    if (c == u'}') out += u'}';
  }
  out += u'}';
  return out;
}

// Reads the text one attribute at a time; stops at the first mistake.
class Reader {
 public:
  explicit Reader(TextView text) : text_(text) {}

  ParsedAttributes run() {
    ParsedAttributes result;
    while (true) {
      skip([](char16_t c) { return isSpace(c) || c == u';'; });
      if (atEnd()) break;
      std::size_t keyStart = pos_;
      while (!atEnd() && text_[pos_] != u'=' && text_[pos_] != u';') ++pos_;
      Text key(trimSpaces(text_.substr(keyStart, pos_ - keyStart)));
      if (atEnd() || text_[pos_] == u';') {
        result.error = SyntaxError{keyStart, u"an attribute has no '=' and no value"};
        return result;
      }
      if (key.empty()) {
        result.error = SyntaxError{keyStart, u"an attribute has a value but no name"};
        return result;
      }
      ++pos_;  // '='
      skip(isSpace);
      std::optional<Text> value = readValue(result);
      if (!value) return result;
      result.list.set(key, std::move(*value));
      ++result.attributesRead;
    }
    return result;
  }

 private:
  bool atEnd() const { return pos_ >= text_.size(); }

  template <typename Pred>
  void skip(Pred pred) {
    while (!atEnd() && pred(text_[pos_])) ++pos_;
  }

  std::optional<Text> readValue(ParsedAttributes& result) {
    if (atEnd()) return Text();
    char16_t open = text_[pos_];
    if (open == u'{' || open == u'"' || open == u'\'') {
      char16_t close = open == u'{' ? u'}' : open;
      std::size_t start = pos_++;
      Text value;
      while (true) {
        if (atEnd()) {
          result.error = SyntaxError{start, u"a quoted value is not closed"};
          return std::nullopt;
        }
        char16_t c = text_[pos_++];
        if (c != close) {
          value += c;
        } else if (!atEnd() && text_[pos_] == close) {
          value += c;
          ++pos_;
        } else {
          break;
        }
      }
      skip(isSpace);
      if (!atEnd() && text_[pos_] != u';') {
        result.error = SyntaxError{pos_, u"text follows a quoted value before the next ';'"};
        return std::nullopt;
      }
      return value;
    }
    std::size_t start = pos_;
    while (!atEnd() && text_[pos_] != u';') ++pos_;
    return Text(trimSpaces(text_.substr(start, pos_ - start)));
  }

  TextView text_;
  std::size_t pos_ = 0;
};

}  // namespace

std::optional<Text> AttributeList::get(TextView key) const {
  for (const Attribute& a : items_)
    if (equalsNoCase(a.key, key)) return a.value;
  return std::nullopt;
}

void AttributeList::set(TextView key, Text value) {
  for (Attribute& a : items_) {
    if (equalsNoCase(a.key, key)) {
      a.value = std::move(value);
      return;
    }
  }
  items_.push_back({Text(key), std::move(value)});
}

void AttributeList::erase(TextView key) {
  std::erase_if(items_, [&](const Attribute& a) { return equalsNoCase(a.key, key); });
}

ParsedAttributes parseAttributes(TextView text) { return Reader(text).run(); }

Text odbcValue(TextView value) {
  bool braces = !value.empty() && (isSpace(value.front()) || isSpace(value.back()));
  for (char16_t c : value)
    if (c == u';' || c == u'{' || c == u'}') braces = true;
  return braces ? braced(value) : Text(value);
}

bool isSecretKey(TextView key) { return equalsNoCase(key, u"PWD") || equalsNoCase(key, u"Password"); }

Text formatOdbc(const AttributeList& list, bool redact) {
  Text out;
  for (const Attribute& a : list.items()) {
    if (!out.empty()) out += u';';
    out += a.key;
    out += u'=';
    if (redact && isSecretKey(a.key))
      out += u"***";
    else if (equalsNoCase(a.key, u"DRIVER"))
      out += braced(a.value);  // driver names are braced by convention
    else
      out += odbcValue(a.value);
  }
  return out;
}

}  // namespace mervane
