// Property rows for objects, sections and the report, and the commands
// their values make.
#include "authoring/designer/properties.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <functional>
#include <optional>
#include <string>

namespace mervane::authoring::designer {

namespace {

const Text kYes = u"Yes";
const Text kNo = u"No";

Text yesNo(bool b) { return b ? kYes : kNo; }
std::optional<bool> parseYesNo(const Text& t) {
  const Text v = trim(t);
  if (equalsNoCase(v, kYes) || equalsNoCase(v, u"True") || v == u"1") return true;
  if (equalsNoCase(v, kNo) || equalsNoCase(v, u"False") || v == u"0") return false;
  return std::nullopt;
}

std::optional<std::int32_t> parseLength(const Text& t, std::int32_t low, std::int32_t high) {
  auto n = parseLong(t);
  if (!n || *n < low || *n > high) return std::nullopt;
  return n;
}

Text colourText(std::uint32_t c) {
  static const char digits[] = "0123456789ABCDEF";
  Text out = u"#";
  for (int shift = 20; shift >= 0; shift -= 4) out += static_cast<char16_t>(digits[(c >> shift) & 0xF]);
  return out;
}
std::optional<std::uint32_t> parseColour(const Text& t) {
  Text v = trim(t);
  if (!v.empty() && v[0] == u'#') v.erase(0, 1);
  if (v.size() != 6) return std::nullopt;
  std::uint32_t c = 0;
  for (char16_t ch : v) {
    int d = ch >= u'0' && ch <= u'9' ? ch - u'0' : ch >= u'a' && ch <= u'f' ? ch - u'a' + 10 : ch >= u'A' && ch <= u'F' ? ch - u'A' + 10 : -1;
    if (d < 0) return std::nullopt;
    c = c << 4 | static_cast<std::uint32_t>(d);
  }
  return c;
}

// Points with up to two decimals, e.g. "10" or "8.25"; stored in twentieths.
Text pointsText(std::int32_t twentieths) {
  Text out = decimal(twentieths / 20);
  const int rest = (twentieths % 20) * 5;  // hundredths
  if (rest) {
    out += u'.';
    out += static_cast<char16_t>(u'0' + rest / 10);
    if (rest % 10) out += static_cast<char16_t>(u'0' + rest % 10);
  }
  return out;
}
std::optional<std::int32_t> parsePoints(const Text& t) {
  const std::string s = toUtf8(trim(t));
  double points = 0;
  auto [end, error] = std::from_chars(s.data(), s.data() + s.size(), points);
  if (error != std::errc() || end != s.data() + s.size() || !(points >= 1 && points <= 1638)) return std::nullopt;
  return static_cast<std::int32_t>(std::lround(points * 20));
}

template <class E>
struct Names {
  E value;
  const char16_t* name;
};
constexpr Names<model::Alignment> kAlignments[] = {{model::Alignment::Default, u"Default"},
                                                   {model::Alignment::Left, u"Left"},
                                                   {model::Alignment::Centre, u"Centre"},
                                                   {model::Alignment::Right, u"Right"},
                                                   {model::Alignment::Justified, u"Justified"}};
constexpr Names<model::BorderStyle> kBorders[] = {{model::BorderStyle::None, u"None"},
                                                  {model::BorderStyle::Single, u"Single"},
                                                  {model::BorderStyle::Double, u"Double"},
                                                  {model::BorderStyle::Dashed, u"Dashed"},
                                                  {model::BorderStyle::Dotted, u"Dotted"}};
constexpr Names<std::int32_t> kPapers[] = {{model::paper::kA4, u"A4"},
                                           {model::paper::kLetter, u"Letter"},
                                           {model::paper::kLegal, u"Legal"},
                                           {model::paper::kA3, u"A3"},
                                           {model::paper::kCustom, u"Custom"}};
constexpr Names<model::Orientation> kOrientations[] = {{model::Orientation::Portrait, u"Portrait"},
                                                       {model::Orientation::Landscape, u"Landscape"}};

template <class E, std::size_t N>
Text nameOf(const Names<E> (&names)[N], E value) {
  for (const auto& n : names)
    if (n.value == value) return n.name;
  return decimal(static_cast<std::int64_t>(value));
}
template <class E, std::size_t N>
std::optional<E> valueOf(const Names<E> (&names)[N], const Text& text) {
  for (const auto& n : names)
    if (equalsNoCase(trim(text), n.name)) return n.value;
  return std::nullopt;
}
template <class E, std::size_t N>
std::vector<Text> choicesOf(const Names<E> (&names)[N]) {
  std::vector<Text> out;
  for (const auto& n : names) out.push_back(n.name);
  return out;
}

// One object property: how to read it and how to set it from text.
struct ObjectProperty {
  const char16_t* key;
  const char16_t* label;
  PropertyKind kind;
  std::function<Text(const model::ReportObject&)> get;
  std::function<bool(model::ReportObject&, const Text&)> set;  // false: refused
  std::vector<Text> choices = {};
  bool textOnly = false;  // shown only when every selected object is fixed text
  bool pictureOnly = false;  // shown only when every selected object is a picture
  bool subreportOnly = false;  // shown only when every selected object is a subreport
};

template <class F>
auto lengthSetter(F member, std::int32_t low) {
  return [member, low](model::ReportObject& o, const Text& t) {
    auto v = parseLength(t, low, 1000000);
    if (v) o.*member = *v;
    return v.has_value();
  };
}
template <class F>
auto flagSetter(F member) {
  return [member](model::ReportObject& o, const Text& t) {
    auto v = parseYesNo(t);
    if (v) o.format.*member = *v;
    return v.has_value();
  };
}

const std::vector<ObjectProperty>& objectProperties() {
  using O = model::ReportObject;
  static const std::vector<ObjectProperty> all = {
      {u"name", u"Name", PropertyKind::Text, [](const O& o) { return o.name; },
       [](O& o, const Text& t) { o.name = trim(t); return !o.name.empty(); }},
      {u"text", u"Text", PropertyKind::Text, [](const O& o) { return o.text; },
       [](O& o, const Text& t) { o.text = t; return true; }, {}, true},
      {u"x", u"Left (twips)", PropertyKind::Number, [](const O& o) { return decimal(o.x); }, lengthSetter(&O::x, -1000000)},
      {u"y", u"Top (twips)", PropertyKind::Number, [](const O& o) { return decimal(o.y); }, lengthSetter(&O::y, -1000000)},
      {u"width", u"Width (twips)", PropertyKind::Number, [](const O& o) { return decimal(o.width); }, lengthSetter(&O::width, 0)},
      {u"height", u"Height (twips)", PropertyKind::Number, [](const O& o) { return decimal(o.height); }, lengthSetter(&O::height, 0)},
      {u"font", u"Font", PropertyKind::Text, [](const O& o) { return o.format.fontName; },
       [](O& o, const Text& t) { o.format.fontName = trim(t); return !o.format.fontName.empty(); }},
      {u"fontSize", u"Font size (points)", PropertyKind::Number, [](const O& o) { return pointsText(o.format.fontSize); },
       [](O& o, const Text& t) {
         auto v = parsePoints(t);
         if (v) o.format.fontSize = *v;
         return v.has_value();
       }},
      {u"bold", u"Bold", PropertyKind::YesNo, [](const O& o) { return yesNo(o.format.bold); }, flagSetter(&model::Format::bold)},
      {u"italic", u"Italic", PropertyKind::YesNo, [](const O& o) { return yesNo(o.format.italic); }, flagSetter(&model::Format::italic)},
      {u"underline", u"Underline", PropertyKind::YesNo, [](const O& o) { return yesNo(o.format.underline); },
       flagSetter(&model::Format::underline)},
      {u"alignment", u"Alignment", PropertyKind::Choice, [](const O& o) { return nameOf(kAlignments, o.format.alignment); },
       [](O& o, const Text& t) {
         auto v = valueOf(kAlignments, t);
         if (v) o.format.alignment = *v;
         return v.has_value();
       },
       choicesOf(kAlignments)},
      {u"numberFormat", u"Number format", PropertyKind::Text, [](const O& o) { return o.format.numberFormat; },
       [](O& o, const Text& t) { o.format.numberFormat = trim(t); return true; }},
      {u"dateFormat", u"Date format", PropertyKind::Text, [](const O& o) { return o.format.dateFormat; },
       [](O& o, const Text& t) { o.format.dateFormat = trim(t); return true; }},
      {u"border", u"Border", PropertyKind::Choice, [](const O& o) { return nameOf(kBorders, o.format.border); },
       [](O& o, const Text& t) {
         auto v = valueOf(kBorders, t);
         if (v) o.format.border = *v;
         return v.has_value();
       },
       choicesOf(kBorders)},
      {u"colour", u"Colour", PropertyKind::Text, [](const O& o) { return colourText(o.format.colour); },
       [](O& o, const Text& t) {
         auto v = parseColour(t);
         if (v) o.format.colour = *v;
         return v.has_value();
       }},
      {u"background", u"Background", PropertyKind::Text,
       [](const O& o) { return o.format.filled ? colourText(o.format.background) : Text(u"None"); },
       [](O& o, const Text& t) {
         if (equalsNoCase(trim(t), u"None") || isBlank(t)) {
           o.format.filled = false;
           return true;
         }
         auto v = parseColour(t);
         if (v) o.format.filled = true, o.format.background = *v;
         return v.has_value();
       }},
      {u"canGrow", u"Can grow", PropertyKind::YesNo, [](const O& o) { return yesNo(o.format.canGrow); },
       flagSetter(&model::Format::canGrow)},
      {u"stretch", u"Stretch to fill", PropertyKind::YesNo, [](const O& o) { return yesNo(o.picture.stretch); },
       [](O& o, const Text& t) {
         auto v = parseYesNo(t);
         if (v) o.picture.stretch = *v;
         return v.has_value();
       },
       {}, false, true},
      {u"onDemand", u"On-demand subreport", PropertyKind::YesNo, [](const O& o) { return yesNo(o.subreport.onDemand); },
       [](O& o, const Text& t) {
         auto v = parseYesNo(t);
         if (v) o.subreport.onDemand = *v;
         return v.has_value();
       },
       {}, false, false, true},
      {u"linkText", u"Link text", PropertyKind::Text, [](const O& o) { return o.subreport.linkText; },
       [](O& o, const Text& t) { o.subreport.linkText = trim(t); return true; }, {}, false, false, true},
  };
  return all;
}

bool allOf(const engine::ReportDocument& document, const Selection& selection, model::ObjectKind kind) {
  for (ObjectRef r : selection.objects)
    if (document.definition.sections[r.section].objects[r.index].kind != kind) return false;
  return true;
}
bool allText(const engine::ReportDocument& document, const Selection& selection) {
  return allOf(document, selection, model::ObjectKind::Text);
}
bool shown(const ObjectProperty& p, const engine::ReportDocument& document, const Selection& selection) {
  return (!p.textOnly || allText(document, selection)) &&
         (!p.pictureOnly || allOf(document, selection, model::ObjectKind::Picture)) &&
         (!p.subreportOnly || allOf(document, selection, model::ObjectKind::Subreport));
}

// Rows of a section; `set` for one of them gives the changed section.
std::vector<Property> sectionRows(const model::Section& s) {
  return {{u"sectionName", u"Section", PropertyKind::Text, s.name, {}, true},
          {u"height", u"Height (twips)", PropertyKind::Number, decimal(s.height)},
          {u"suppress", u"Suppress", PropertyKind::YesNo, yesNo(s.suppress), {kYes, kNo}},
          {u"newPageBefore", u"New page before", PropertyKind::YesNo, yesNo(s.newPageBefore), {kYes, kNo}},
          {u"newPageAfter", u"New page after", PropertyKind::YesNo, yesNo(s.newPageAfter), {kYes, kNo}},
          {u"keepTogether", u"Keep together", PropertyKind::YesNo, yesNo(s.keepTogether), {kYes, kNo}},
          {u"printAtBottom", u"Print at bottom of page", PropertyKind::YesNo, yesNo(s.printAtBottom), {kYes, kNo}},
          {u"resetPageNumberAfter", u"Reset page number after", PropertyKind::YesNo, yesNo(s.resetPageNumberAfter),
           {kYes, kNo}}};
}

bool setSectionValue(model::Section& s, const Text& key, const Text& value) {
  if (key == u"height") {
    auto v = parseLength(value, 0, 1000000);
    if (v) s.height = *v;
    return v.has_value();
  }
  std::optional<bool> flag = parseYesNo(value);
  if (!flag) return false;
  if (key == u"suppress") s.suppress = *flag;
  else if (key == u"newPageAfter") s.newPageAfter = *flag;
  else if (key == u"newPageBefore") s.newPageBefore = *flag;
  else if (key == u"keepTogether") s.keepTogether = *flag;
  else if (key == u"printAtBottom") s.printAtBottom = *flag;
  else if (key == u"resetPageNumberAfter") s.resetPageNumberAfter = *flag;
  else return false;
  return true;
}

std::vector<Property> reportRows(const engine::ReportDocument& d) {
  const model::PageSetup& p = d.definition.page;
  return {{u"title", u"Title", PropertyKind::Text, d.title},
          {u"paperSize", u"Paper", PropertyKind::Choice, nameOf(kPapers, p.paperSize), choicesOf(kPapers)},
          {u"paperWidth", u"Paper width (twips)", PropertyKind::Number, decimal(p.paperWidth)},
          {u"paperHeight", u"Paper height (twips)", PropertyKind::Number, decimal(p.paperHeight)},
          {u"orientation", u"Orientation", PropertyKind::Choice, nameOf(kOrientations, p.orientation),
           choicesOf(kOrientations)},
          {u"marginLeft", u"Left margin (twips)", PropertyKind::Number, decimal(p.marginLeft)},
          {u"marginRight", u"Right margin (twips)", PropertyKind::Number, decimal(p.marginRight)},
          {u"marginTop", u"Top margin (twips)", PropertyKind::Number, decimal(p.marginTop)},
          {u"marginBottom", u"Bottom margin (twips)", PropertyKind::Number, decimal(p.marginBottom)}};
}

bool setReportValue(ReportParts& parts, const Text& key, const Text& value) {
  model::PageSetup& p = parts.page;
  if (key == u"title") {
    parts.title = value;
    return true;
  }
  if (key == u"paperSize") {
    auto v = valueOf(kPapers, value);
    if (v) p.paperSize = *v;
    return v.has_value();
  }
  if (key == u"orientation") {
    auto v = valueOf(kOrientations, value);
    if (v) p.orientation = *v;
    return v.has_value();
  }
  std::int32_t* length = key == u"paperWidth"     ? &p.paperWidth
                         : key == u"paperHeight"  ? &p.paperHeight
                         : key == u"marginLeft"   ? &p.marginLeft
                         : key == u"marginRight"  ? &p.marginRight
                         : key == u"marginTop"    ? &p.marginTop
                         : key == u"marginBottom" ? &p.marginBottom
                                                  : nullptr;
  if (!length) return false;
  const bool paper = key == u"paperWidth" || key == u"paperHeight";
  auto v = parseLength(value, paper ? 1440 : 0, paper ? 1000000 : 100000);
  if (v) *length = *v;
  return v.has_value();
}

}  // namespace

Text designText(const model::ReportObject& o) {
  switch (o.kind) {
    case model::ObjectKind::Text: return o.text;
    case model::ObjectKind::DatabaseField:
      return u"{" + (o.field.isFormula() ? u"@" + o.field.column : o.field.table + u"." + o.field.column) + u"}";
    case model::ObjectKind::FormulaField: return u"{@" + o.formula + u"}";
    case model::ObjectKind::RunningTotalField: return u"{#" + o.formula + u"}";
    case model::ObjectKind::ParameterField: return u"{?" + o.text + u"}";
    case model::ObjectKind::SpecialField:
      switch (o.special) {
        case model::SpecialFieldKind::PageNumber: return u"Page Number";
        case model::SpecialFieldKind::TotalPages: return u"Total Pages";
        case model::SpecialFieldKind::PageNofM: return u"Page N of M";
        case model::SpecialFieldKind::PrintDate: return u"Print Date";
        case model::SpecialFieldKind::PrintTime: return u"Print Time";
        case model::SpecialFieldKind::ReportTitle: return u"Report Title";
        case model::SpecialFieldKind::RecordNumber: return u"Record Number";
      }
      return u"Special Field";
    case model::ObjectKind::SummaryField: {
      static const char16_t* const ops[] = {u"Sum", u"Count", u"Distinct Count", u"Average", u"Minimum", u"Maximum"};
      const auto op = static_cast<std::int32_t>(o.summary);
      const Text name = op >= 1 && op <= 6 ? ops[op - 1] : u"Summary";
      const Text field = o.field.isFormula() ? u"@" + o.field.column : o.field.table + u"." + o.field.column;
      return name + u" of {" + field + u"}";
    }
    case model::ObjectKind::Subreport:
      return (o.subreport.onDemand ? u"On-demand subreport: " : u"Subreport: ") + o.subreport.name;
    case model::ObjectKind::Picture:
      return o.picture.image.empty() && !o.field.column.empty() ? u"{" + o.field.table + u"." + o.field.column + u"}"
                                                                 : Text(u"Picture");
    default: return {};
  }
}

std::vector<Property> describeSelection(const engine::ReportDocument& document, const Selection& selection) {
  const auto& sections = document.definition.sections;
  if (!selection.objects.empty()) {
    std::vector<Property> rows;
    for (const auto& p : objectProperties()) {
      if (!shown(p, document, selection)) continue;
      Property row{p.key, p.label, p.kind, {}, p.choices};
      if (p.kind == PropertyKind::YesNo) row.choices = {kYes, kNo};
      bool first = true;
      for (ObjectRef r : selection.objects) {
        Text v = p.get(sections[r.section].objects[r.index]);
        if (first) row.value = std::move(v), first = false;
        else if (v != row.value) {
          row.value.clear();
          break;
        }
      }
      rows.push_back(std::move(row));
    }
    return rows;
  }
  if (selection.hasSection && selection.section < sections.size()) return sectionRows(sections[selection.section]);
  return reportRows(document);
}

bool selectionShowsText(const engine::ReportDocument& document, const Selection& selection) {
  const auto& sections = document.definition.sections;
  return std::any_of(selection.objects.begin(), selection.objects.end(), [&](ObjectRef r) {
    if (r.section >= sections.size() || r.index >= sections[r.section].objects.size()) return false;
    switch (sections[r.section].objects[r.index].kind) {
      case model::ObjectKind::Line:
      case model::ObjectKind::Box:
      case model::ObjectKind::Picture:
      case model::ObjectKind::Subreport:
        return false;
      default:
        return true;
    }
  });
}

std::unique_ptr<Command> propertyCommand(const engine::ReportDocument& document, const Selection& selection,
                                         const Text& key, const Text& value) {
  const auto& sections = document.definition.sections;
  if (!selection.objects.empty()) {
    const ObjectProperty* property = nullptr;
    for (const auto& p : objectProperties())
      if (key == p.key) property = &p;
    if (!property || !shown(*property, document, selection)) return nullptr;
    std::vector<ObjectChange> changes;
    for (ObjectRef r : selection.objects) {
      const model::ReportObject& before = sections[r.section].objects[r.index];
      model::ReportObject after = before;
      if (!property->set(after, value)) return nullptr;
      if (!(after == before)) changes.push_back({r, before, std::move(after)});
    }
    return changes.empty() ? nullptr : changeObjects(std::move(changes));
  }
  if (selection.hasSection && selection.section < sections.size()) {
    const model::Section& before = sections[selection.section];
    const model::Section values = withoutObjects(before);
    model::Section after = values;
    if (!setSectionValue(after, key, value) || after == values) return nullptr;
    return changeSection(selection.section, before, after);
  }
  ReportParts before = reportParts(document), after = before;
  if (!setReportValue(after, key, value) || after == before) return nullptr;
  return changeReport(std::move(before), std::move(after));
}

}  // namespace mervane::authoring::designer
