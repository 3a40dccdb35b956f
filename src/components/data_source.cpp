// Reading connection texts and settings into one value; see data_source.h.
#include "components/data_source.h"

#include <algorithm>
#include <array>

namespace mervane {
namespace {

bool startsWithNoCase(TextView text, TextView prefix) {
  return text.size() >= prefix.size() && equalsNoCase(text.substr(0, prefix.size()), prefix);
}

// ---------------------------------------------------------------------------
// The host's fixed shapes, split at their own separators. Values before the
// free one end at the first following separator, values after it start at
// the last preceding one, and the free value (the password, or the database
// when there is none) takes whatever is left between, ';' and '=' included.

struct Shape {
  TextView prefix;
  std::vector<TextView> separators;
  std::vector<TextView> keys;  // one per value, as the parsed form names them
  std::size_t freeValue;
  std::vector<Attribute> fixed;  // the attributes the prefix itself sets
};

// Where each value lies in the text: offset and length.
struct Span {
  std::size_t at = 0;
  std::size_t length = 0;
};

std::optional<std::vector<Span>> splitShape(TextView text, const Shape& shape) {
  if (text.substr(0, shape.prefix.size()) != shape.prefix) return std::nullopt;
  const std::size_t count = shape.separators.size() + 1;
  std::vector<Span> values(count);
  std::size_t left = shape.prefix.size();
  for (std::size_t i = 0; i < shape.freeValue; ++i) {
    std::size_t at = text.find(shape.separators[i], left);
    if (at == TextView::npos) return std::nullopt;
    values[i] = {left, at - left};
    left = at + shape.separators[i].size();
  }
  std::size_t right = text.size();
  for (std::size_t i = count - 1; i > shape.freeValue; --i) {
    TextView sep = shape.separators[i - 1];
    if (right < left + sep.size()) return std::nullopt;
    std::size_t at = text.substr(0, right).rfind(sep);
    if (at == TextView::npos || at < left) return std::nullopt;
    values[i] = {at + sep.size(), right - at - sep.size()};
    right = at;
  }
  values[shape.freeValue] = {left, right - left};
  return values;
}

const Shape& hostShape() {
  static const Shape shape{u"ODBC;DATABASE=", {u";UID=", u";PWD=", u";DSN="}, {u"DATABASE", u"UID", u"PWD", u"DSN"}, 2, {}};
  return shape;
}

const std::array<Shape, 2>& oleDbShapes() {
  static const std::array<Shape, 2> shapes{
      Shape{u"Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;Initial Catalog=",
            {u";Data Source="},
            {u"Initial Catalog", u"Data Source"},
            0,
            {{u"Provider", u"SQLOLEDB.1"}, {u"Integrated Security", u"SSPI"}, {u"Persist Security Info", u"False"}}},
      Shape{u"Provider=SQLOLEDB.1;Password=",
            {u";Persist Security Info=True;User ID=", u";Initial Catalog=", u";Data Source="},
            {u"Password", u"User ID", u"Initial Catalog", u"Data Source"},
            0,
            {{u"Provider", u"SQLOLEDB.1"}, {u"Persist Security Info", u"True"}}},
  };
  return shapes;
}

// The attributes of a text in one of the fixed shapes, split at the shape's
// separators: such texts are plain concatenations of settings, so every value
// is taken exactly as it stands (blanks, quotes and braces included).
std::optional<AttributeList> readShaped(TextView text, const Shape& shape) {
  std::optional<std::vector<Span>> values = splitShape(text, shape);
  if (!values) return std::nullopt;
  AttributeList list;
  for (const Attribute& a : shape.fixed) list.set(a.key, a.value);
  for (std::size_t i = 0; i < values->size(); ++i)
    list.set(shape.keys[i], Text(text.substr((*values)[i].at, (*values)[i].length)));
  return list;
}

// The text of a fixed shape with its password values emptied: the shape
// stays whole, so it reads back the same way, without the password.
std::optional<Text> shapedWithoutPasswords(TextView text, const Shape& shape) {
  std::optional<std::vector<Span>> values = splitShape(text, shape);
  if (!values) return std::nullopt;
  Text out(text);
  for (std::size_t i = values->size(); i-- > 0;)
    if (isSecretKey(shape.keys[i])) out.erase((*values)[i].at, (*values)[i].length);
  return out;
}

bool holdsPassword(TextView key) {
  const Text k = upper(trim(key));
  return k == u"PWD" || k.find(u"PASSWORD") != Text::npos;
}

// An attribute list without its password values, read item by item as the
// attribute reader reads it but never refusing the text: an unclosed quote
// runs to the end, and text after a closing quote belongs to its item. A
// bare password ends at the next ';', so the items without '=' after it are
// taken for the rest of it (a ';' inside an unquoted password) and go too.
Text listWithoutPasswords(TextView text) {
  Text out;
  std::size_t i = 0;
  bool afterBarePassword = false;
  while (i < text.size()) {
    const std::size_t start = i;
    while (i < text.size() && text[i] != u'=' && text[i] != u';') ++i;
    if (i == text.size() || text[i] == u';') {
      if (i < text.size()) ++i;
      if (!afterBarePassword) out.append(text.substr(start, i - start));
      continue;
    }
    const TextView key = text.substr(start, i - start);
    ++i;
    while (i < text.size() && text[i] == u' ') ++i;
    const std::size_t valueStart = i;
    const bool quotedValue = i < text.size() && (text[i] == u'{' || text[i] == u'"' || text[i] == u'\'');
    if (quotedValue) {
      const char16_t close = text[i] == u'{' ? u'}' : text[i];
      for (++i; i < text.size(); ++i) {
        if (text[i] != close) continue;
        if (i + 1 < text.size() && text[i + 1] == close) {
          ++i;  // a doubled closing character stands for itself
          continue;
        }
        ++i;
        break;
      }
    }
    while (i < text.size() && text[i] != u';') ++i;
    const std::size_t valueEnd = i;
    if (i < text.size()) ++i;  // the separator goes with its item
    afterBarePassword = false;
    if (holdsPassword(key)) {
      afterBarePassword = !quotedValue;
      continue;
    }
    if (equalsNoCase(trim(key), u"Extended Properties")) {
      // The OLE DB provider for ODBC carries a whole ODBC string here: it
      // goes through the same, and is quoted again if it lost anything. A
      // value that cannot be read cannot be trusted to be clean: it goes.
      ParsedAttributes item = parseAttributes(text.substr(start, valueEnd - start));
      std::optional<Text> value = item.ok() ? item.list.get(trim(key)) : std::nullopt;
      Text kept = value ? listWithoutPasswords(*value) : Text();
      if (!value || kept != *value) {
        out.append(text.substr(start, valueStart - start));
        if (value) {
          out += u'"';
          for (char16_t c : kept) out += c == u'"' ? Text(u"\"\"") : Text(1, c);
          out += u'"';
        }
        out.append(text.substr(valueEnd, i - valueEnd));
        continue;
      }
    }
    out.append(text.substr(start, i - start));
  }
  return out;
}

// Offsets count from the start of the whole connection text, from 1.
Text syntaxMessage(const SyntaxError& e, std::size_t textStart) {
  return u"The connection text is not a list of attributes: " + e.reason + u" (at character " +
         decimal(static_cast<std::int64_t>(textStart + e.offset) + 1) + u").";
}

// ---------------------------------------------------------------------------
// Reading

DataSource withProblem(DataSource source, Text problem) {
  source.problem = std::move(problem);
  return source;
}

// The host's text: its data source, database and log-on.
void readHost(DataSource& s, const AttributeList& a) {
  s.form = TextForm::HostConnect;
  s.server = a.get(u"DSN").value_or(Text());
  s.database = a.get(u"DATABASE").value_or(Text());
  s.user = a.get(u"UID").value_or(Text());
  s.password = a.get(u"PWD").value_or(Text());
  s.mustBeDataSource = true;
  s.integrated = s.user.empty() && s.password.empty();
}

void readOdbc(DataSource& s, const AttributeList& a, TextForm form) {
  s.form = form;
  s.odbc = a;
}

void readOleDb(DataSource& s, const AttributeList& a) {
  s.form = TextForm::OleDb;
  Text provider = trim(a.get(u"Provider").value_or(Text()));
  if (startsWithNoCase(provider, u"MSDASQL")) {
    s.notes.push_back(u"OLE DB provider for ODBC: using its ODBC settings");
    if (std::optional<Text> extended = a.get(u"Extended Properties")) {
      ParsedAttributes inner = parseAttributes(*extended);
      if (!inner.ok()) {
        s.problem = u"The Extended Properties of the OLE DB text are not a list of attributes: " +
                    inner.error->reason + u".";
        return;
      }
      readOdbc(s, inner.list, TextForm::OleDb);
      return;
    }
    s.server = a.get(u"Data Source").value_or(Text());
    s.database = a.get(u"Initial Catalog").value_or(Text());
    s.user = a.get(u"User ID").value_or(Text());
    s.password = a.get(u"Password").value_or(Text());
    s.mustBeDataSource = true;
    s.integrated = s.user.empty() && s.password.empty();
    return;
  }
  if (!provider.empty() && !startsWithNoCase(provider, u"SQLOLEDB") && !startsWithNoCase(provider, u"SQLNCLI") &&
      !startsWithNoCase(provider, u"MSOLEDBSQL")) {
    s.problem = u"The OLE DB provider '" + provider + u"' cannot be reached through ODBC.";
    return;
  }
  s.server = a.get(u"Data Source").value_or(Text());
  s.database = a.get(u"Initial Catalog").value_or(Text());
  s.user = a.get(u"User ID").value_or(Text());
  s.password = a.get(u"Password").value_or(Text());
  s.integrated = isYes(a.get(u"Integrated Security")) || isYes(a.get(u"Trusted_Connection"));
  if (!s.integrated && s.user.empty()) {
    s.integrated = true;
    s.notes.push_back(u"No user name given: connecting as the current user");
  }
}

}  // namespace

bool isYes(const std::optional<Text>& value) {
  if (!value) return false;
  Text v = trim(*value);
  return equalsNoCase(v, u"SSPI") || equalsNoCase(v, u"true") || equalsNoCase(v, u"yes");
}

DataSource readDataSource(TextView connectionText) {
  DataSource s;
  if (connectionText.empty()) return s;
  s.text = Text(connectionText);
  TextView text = connectionText;
  while (!text.empty() && (text.front() == u' ' || text.front() == u'\t')) text.remove_prefix(1);
  if (text.empty()) return withProblem(std::move(s), u"The connection text is empty.");
  // The driver reads the connection string up to its first NUL: whatever
  // followed would be lost without a word.
  if (text.find(u'\0') != TextView::npos)
    return withProblem(std::move(s), u"The connection text holds a NUL character, which would cut it short.");
  const std::size_t start = connectionText.size() - text.size();

  if (startsWithNoCase(text, u"ODBC;")) {
    TextView body = text.substr(5);
    if (std::optional<AttributeList> shaped = readShaped(text, hostShape())) {
      readHost(s, *shaped);
      return s;
    }
    ParsedAttributes parsed = parseAttributes(body);
    if (!parsed.ok()) return withProblem(std::move(s), syntaxMessage(*parsed.error, start + 5));
    bool hostKeysOnly = std::all_of(parsed.list.items().begin(), parsed.list.items().end(), [](const Attribute& a) {
      return equalsNoCase(a.key, u"DATABASE") || equalsNoCase(a.key, u"UID") || equalsNoCase(a.key, u"PWD") ||
             equalsNoCase(a.key, u"DSN");
    });
    if (hostKeysOnly && parsed.list.has(u"DSN"))
      readHost(s, parsed.list);
    else
      readOdbc(s, parsed.list, TextForm::HostConnect);
    return s;
  }

  for (const Shape& shape : oleDbShapes()) {
    if (std::optional<AttributeList> shaped = readShaped(text, shape)) {
      readOleDb(s, *shaped);
      return s;
    }
  }
  ParsedAttributes parsed = parseAttributes(text);
  if (!parsed.ok()) return withProblem(std::move(s), syntaxMessage(*parsed.error, start));
  const AttributeList& list = parsed.list;
  if (list.has(u"Provider") || list.has(u"Data Source") || list.has(u"Initial Catalog"))
    readOleDb(s, list);
  else
    readOdbc(s, list, TextForm::Odbc);
  return s;
}

DataSource hostDataSource(TextView database, TextView user, TextView password, TextView dsn) {
  DataSource s;
  s.fromSettings = true;
  AttributeList values;
  values.set(u"DATABASE", Text(database));
  values.set(u"UID", Text(user));
  values.set(u"PWD", Text(password));
  values.set(u"DSN", Text(dsn));
  readHost(s, values);
  return s;
}

DataSource serverDataSource(TextView server, TextView database, TextView user, TextView password) {
  DataSource s;
  s.fromSettings = true;
  AttributeList values;
  values.set(u"Provider", u"SQLOLEDB.1");
  if (user.empty()) {
    values.set(u"Integrated Security", u"SSPI");
  } else {
    values.set(u"Password", Text(password));
    values.set(u"User ID", Text(user));
  }
  values.set(u"Initial Catalog", Text(database));
  values.set(u"Data Source", Text(server));
  readOleDb(s, values);
  s.password = Text(password);  // kept for a log-on asked for later, even when Windows log-on comes first
  return s;
}

Text DataSource::connectText() const {
  if (!fromSettings) return text;
  if (form == TextForm::HostConnect)
    return u"ODBC;DATABASE=" + database + u";UID=" + user + u";PWD=" + password + u";DSN=" + server;
  return logOnConnectText(server, database, user, password);
}

Text DataSource::storedText() const { return withoutPasswords(connectText()); }

Text logOnConnectText(TextView server, TextView database, TextView user, TextView password) {
  if (user.empty())
    return u"Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;Initial Catalog=" +
           Text(database) + u";Data Source=" + Text(server);
  return u"Provider=SQLOLEDB.1;Password=" + Text(password) + u";Persist Security Info=True;User ID=" + Text(user) +
         u";Initial Catalog=" + Text(database) + u";Data Source=" + Text(server);
}

Text withoutPasswords(TextView connectionText) {
  std::size_t lead = 0;
  while (lead < connectionText.size() && (connectionText[lead] == u' ' || connectionText[lead] == u'\t')) ++lead;
  const TextView text = connectionText.substr(lead);
  const Text blanks(connectionText.substr(0, lead));
  if (startsWithNoCase(text, u"ODBC;")) {
    if (std::optional<Text> shaped = shapedWithoutPasswords(text, hostShape())) return blanks + *shaped;
    return blanks + Text(text.substr(0, 5)) + listWithoutPasswords(text.substr(5));
  }
  for (const Shape& shape : oleDbShapes())
    if (std::optional<Text> shaped = shapedWithoutPasswords(text, shape)) return blanks + *shaped;
  return blanks + listWithoutPasswords(text);
}

}  // namespace mervane
