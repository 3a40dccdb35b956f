// Attribute lists: the "key=value;key=value" texts of OLE DB and ODBC
// connection strings, read and written.
//
// Reading accepts both families' quoting: a value in braces ({...}, a '}'
// inside written as "}}"), or in double or single quotes (the quote doubled
// inside). Blanks around keys, '=' and unquoted values are dropped; keys
// compare without regard to case; a key given twice keeps its first place and
// its last value. Writing produces ODBC's form, bracing a value only when it
// must be braced.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "base/text.h"

namespace mervane {

struct Attribute {
  Text key;
  Text value;
  bool operator==(const Attribute&) const = default;
};

class AttributeList {
 public:
  std::optional<Text> get(TextView key) const;
  bool has(TextView key) const { return get(key).has_value(); }
  // Replaces the value of an existing key (keeping its place and spelling) or
  // appends the key.
  void set(TextView key, Text value);
  void erase(TextView key);
  const std::vector<Attribute>& items() const { return items_; }
  bool empty() const { return items_.empty(); }
  bool operator==(const AttributeList&) const = default;

 private:
  std::vector<Attribute> items_;
};

// Why a text is not an attribute list, and where (0-based offset). The text
// itself is never repeated: it may hold a password.
struct SyntaxError {
  std::size_t offset = 0;
  Text reason;
};

struct ParsedAttributes {
  AttributeList list;
  std::size_t attributesRead = 0;  // more than list.items().size() when keys repeat
  std::optional<SyntaxError> error;
  bool ok() const { return !error; }
};

ParsedAttributes parseAttributes(TextView text);

// A value as ODBC wants it: unchanged when it can stand bare, otherwise in
// braces with each '}' doubled.
Text odbcValue(TextView value);

// Keys whose values are secrets.
bool isSecretKey(TextView key);

// The list in ODBC form. With redact, every secret value reads "***".
Text formatOdbc(const AttributeList& list, bool redact = false);

}  // namespace mervane
