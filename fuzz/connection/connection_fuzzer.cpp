// Fuzzes the connection-text resolver. The first byte picks the machine
// (with or without Wine's drive mappings); the rest is the connection text,
// in UTF-8, as a report or the host may carry it.
//
// A text either resolves or gives a reason. A resolved connection's string
// must say to the driver exactly what was resolved: read back by ODBC's own
// rules (the text ends at a NUL, attributes split at ';' outside braces, a
// braced value with "}}" for '}'), it gives the same attributes, so that no
// value can smuggle in an attribute of its own or cut off the ones after it.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "engine/data/connection_resolver.h"

using namespace mervane;
using namespace mervane::engine::data;

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

// A connection string as a driver manager reads it: up to its first NUL.
std::optional<std::vector<Attribute>> readAsDriver(TextView s) {
  s = s.substr(0, s.find(u'\0'));
  std::vector<Attribute> out;
  std::size_t i = 0;
  while (i < s.size()) {
    std::size_t eq = s.find(u'=', i);
    if (eq == TextView::npos) return std::nullopt;
    Attribute a{Text(s.substr(i, eq - i)), Text()};
    if (a.key.find(u';') != Text::npos) return std::nullopt;
    i = eq + 1;
    if (i < s.size() && s[i] == u'{') {
      for (++i;; ++i) {
        if (i >= s.size()) return std::nullopt;
        if (s[i] == u'}') {
          if (i + 1 < s.size() && s[i + 1] == u'}') {
            a.value += u'}';
            ++i;
            continue;
          }
          ++i;
          break;
        }
        a.value += s[i];
      }
      if (i < s.size() && s[i] != u';') return std::nullopt;
    } else {
      std::size_t end = std::min(s.find(u';', i), s.size());
      a.value = Text(s.substr(i, end - i));
      i = end;
    }
    if (i < s.size()) ++i;  // ';'
    out.push_back(std::move(a));
  }
  return out;
}

OdbcEnvironment machine(bool wine) {
  OdbcEnvironment env;
  env.dataSources = {{u"Company", u"SQLite3", u"/srv/data/company.db"},
                     {u"Halyard", u"PostgreSQL Unicode", u"halyard"},
                     {u"Ledger", u"ODBC Driver 17 for SQL Server", u""}};
  env.drivers = {u"SQLite3", u"PostgreSQL Unicode", u"ODBC Driver 17 for SQL Server", u"SQL Server"};
  if (wine) env.unixDrives = {{u'C', u"/home/user/.wine/drive_c/"}, {u'Z', u"/"}};
  return env;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  static const OdbcEnvironment windows = machine(false), wine = machine(true);
  const Text text = fromUtf8(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1));
  const Resolution r = resolveConnection(text, (data[0] & 1) ? wine : windows);
  if (!r.ok()) {
    check(!r.error.empty());
    return 0;
  }
  const std::vector<Attribute>& resolved = r.connection->attributes.items();
  std::optional<std::vector<Attribute>> read = readAsDriver(r.connection->connectionString());
  check(read.has_value() && read->size() == resolved.size());
  for (std::size_t i = 0; i < resolved.size(); ++i)
    check(equalsNoCase((*read)[i].key, resolved[i].key) && (*read)[i].value == resolved[i].value);
  r.connection->description();
  return 0;
}
