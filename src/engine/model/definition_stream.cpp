// Reading and writing the definition stream; the format is described in
// definition_stream.h. The reader keeps one cursor over the whole stream and
// checks every length against the end of the record it is in, so a record
// can never reach into its neighbour or past the stream.
#include "engine/model/definition_stream.h"

#include <array>
#include <cstring>
#include <limits>
#include <string>

#include <zlib.h>

#include "components/data_source.h"

namespace mervane::engine::model {
namespace {

constexpr std::array<std::uint8_t, 4> kMagic = {'M', 'V', 'R', 'D'};

// The CRC-32 of zip, from zlib.
std::uint32_t crc32(const std::uint8_t* bytes, std::size_t size) {
  return static_cast<std::uint32_t>(crc32_z(0, bytes, size));
}

std::uint16_t le16(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] | (p[1] << 8)); }
std::uint32_t le32(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
         (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

enum Wire : unsigned { kNumber = 0, kBytes = 2 };

// ---------------------------------------------------------------------------
// Reading
// ---------------------------------------------------------------------------

struct ReadFailure {
  DefinitionError error;
  std::size_t offset;
  std::string what;
};

struct Field {
  std::uint32_t number;
  unsigned wire;
  std::size_t start;  // offset of its key
};

class Reader {
 public:
  Reader(const std::uint8_t* stream, const DefinitionLimits& limits) : p_(stream), limits_(limits) {}

  ReportDefinition body(std::size_t begin, std::size_t end) {
    pos_ = begin;
    ReportDefinition report;
    countRecord();
    reportFields(report, end, 0);
    return report;
  }

 private:
  [[noreturn]] void fail(DefinitionError error, std::size_t at, std::string what) {
    throw ReadFailure{error, at, std::move(what)};
  }
  [[noreturn]] void damaged(std::string what) { fail(DefinitionError::Damaged, pos_, std::move(what)); }

  void countRecord() {
    if (++records_ > limits_.maxRecords) fail(DefinitionError::TooLarge, pos_, "too many parts");
  }

  std::uint64_t varint(std::size_t end) {
    std::uint64_t value = 0;
    for (int shift = 0; shift < 70; shift += 7) {
      if (pos_ >= end) damaged("a number runs past its record");
      const std::uint8_t byte = p_[pos_++];
      if (shift == 63 && byte > 1) damaged("a number is too long");
      value |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
      if (!(byte & 0x80)) return value;
    }
    damaged("a number is too long");
  }

  // Reads the fields of a record up to `end`, giving each to `known`; a
  // field it does not take is skipped and kept in `unknown`.
  template <class Known>
  void fields(std::size_t end, UnknownFields& unknown, Known&& known) {
    while (pos_ < end) {
      const std::size_t start = pos_;
      const std::uint64_t key = varint(end);
      const std::uint64_t number = key >> 3;
      const unsigned wire = static_cast<unsigned>(key & 7);
      if (number == 0 || number > (1u << 28)) fail(DefinitionError::Damaged, start, "a field has no valid number");
      if (wire != kNumber && wire != kBytes) fail(DefinitionError::Damaged, start, "a field has an unknown value type");
      const Field field{static_cast<std::uint32_t>(number), wire, start};
      if (!known(field, end)) {
        skip(field, end);
        unknown.bytes.append(reinterpret_cast<const char*>(p_ + start), pos_ - start);
      }
    }
  }

  void skip(const Field& f, std::size_t end) {
    if (f.wire == kNumber) {
      varint(end);
    } else {
      const std::size_t length = lengthOf(end);
      pos_ += length;
    }
  }

  std::size_t lengthOf(std::size_t end) {
    const std::uint64_t length = varint(end);
    if (length > end - pos_) damaged("a part runs past its record");
    return static_cast<std::size_t>(length);
  }

  void expect(const Field& f, unsigned wire) {
    if (f.wire != wire) fail(DefinitionError::Damaged, f.start, "a field holds the wrong type of value");
  }

  std::int64_t integer(const Field& f, std::size_t end) {
    expect(f, kNumber);
    const std::uint64_t z = varint(end);
    return static_cast<std::int64_t>(z >> 1) ^ -static_cast<std::int64_t>(z & 1);
  }

  std::int32_t inRange(const Field& f, std::size_t end, std::int64_t low, std::int64_t high) {
    const std::int64_t value = integer(f, end);
    if (value < low || value > high) fail(DefinitionError::Damaged, f.start, "a value is out of range");
    return static_cast<std::int32_t>(value);
  }
  std::int32_t any32(const Field& f, std::size_t end) {
    return inRange(f, end, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max());
  }
  std::int32_t position(const Field& f, std::size_t end) { return inRange(f, end, -limits_.maxTwips, limits_.maxTwips); }
  std::int32_t size(const Field& f, std::size_t end) { return inRange(f, end, 0, limits_.maxTwips); }
  std::uint32_t colour(const Field& f, std::size_t end) {
    return static_cast<std::uint32_t>(inRange(f, end, 0, 0xFFFFFF));
  }
  bool flag(const Field& f, std::size_t end) { return inRange(f, end, 0, 1) != 0; }
  template <class E>
  E enumeration(const Field& f, std::size_t end) {
    return static_cast<E>(any32(f, end));
  }

  Text text(const Field& f, std::size_t end) {
    expect(f, kBytes);
    const std::size_t length = lengthOf(end);
    if (length > limits_.maxTextBytes) fail(DefinitionError::TooLarge, f.start, "a text is too long");
    const std::string_view utf8(reinterpret_cast<const char*>(p_ + pos_), length);
    pos_ += length;
    return fromUtf8(utf8);
  }

  SharedBytes picture(const Field& f, std::size_t end) {
    expect(f, kBytes);
    const std::size_t length = lengthOf(end);
    if (length > limits_.maxPictureBytes) fail(DefinitionError::TooLarge, f.start, "a picture is too large");
    std::string bytes(reinterpret_cast<const char*>(p_ + pos_), length);
    pos_ += length;
    return SharedBytes(std::move(bytes));
  }

  // A nested record: `read(recordEnd)` reads its fields.
  template <class Read>
  void nested(const Field& f, std::size_t end, Read&& read) {
    expect(f, kBytes);
    const std::size_t length = lengthOf(end);
    countRecord();
    const std::size_t recordEnd = pos_ + length;
    read(recordEnd);
    if (pos_ != recordEnd) damaged("a record does not end where its length says");
  }

  // --- one function per record ---

  void reportFields(ReportDefinition& r, std::size_t end, int depth) {
    fields(end, r.unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: nested(f, e, [&](std::size_t re) { pageFields(r.page, re); }); return true;
        case 2: nested(f, e, [&](std::size_t re) { sectionFields(r.sections.emplace_back(), re, depth); }); return true;
        case 3: nested(f, e, [&](std::size_t re) { dataFields(r.data, re); }); return true;
        case 4: nested(f, e, [&](std::size_t re) { formulaFields(r.formulas.emplace_back(), re); }); return true;
        case 5: nested(f, e, [&](std::size_t re) { parameterFields(r.parameters.emplace_back(), re); }); return true;
        case 6: nested(f, e, [&](std::size_t re) { runningTotalFields(r.runningTotals.emplace_back(), re); }); return true;
        default: return false;
      }
    });
  }

  void pageFields(PageSetup& p, std::size_t end) {
    fields(end, p.unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: p.paperSize = any32(f, e); return true;
        case 2: p.paperWidth = size(f, e); return true;
        case 3: p.paperHeight = size(f, e); return true;
        case 4: p.orientation = enumeration<Orientation>(f, e); return true;
        case 5: p.marginLeft = size(f, e); return true;
        case 6: p.marginRight = size(f, e); return true;
        case 7: p.marginTop = size(f, e); return true;
        case 8: p.marginBottom = size(f, e); return true;
        default: return false;
      }
    });
  }

  void sectionFields(Section& s, std::size_t end, int depth) {
    fields(end, s.unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: s.kind = enumeration<SectionKind>(f, e); return true;
        case 2: s.group = inRange(f, e, 0, std::numeric_limits<std::int32_t>::max()); return true;
        case 3: s.name = text(f, e); return true;
        case 4: s.height = size(f, e); return true;
        case 5: s.suppress = flag(f, e); return true;
        case 6: s.newPageAfter = flag(f, e); return true;
        case 9: s.keepTogether = flag(f, e); return true;
        case 10: s.printAtBottom = flag(f, e); return true;
        case 11: s.resetPageNumberAfter = flag(f, e); return true;
        case 12: s.newPageBefore = flag(f, e); return true;
        case 7: nested(f, e, [&](std::size_t re) { objectFields(s.objects.emplace_back(), re, depth); }); return true;
        case 8: nested(f, e, [&](std::size_t re) { sectionConditionFields(s.conditions, re); }); return true;
        default: return false;
      }
    });
  }

  void objectFields(ReportObject& o, std::size_t end, int depth) {
    fields(end, o.unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: o.kind = enumeration<ObjectKind>(f, e); return true;
        case 2: o.name = text(f, e); return true;
        case 3: o.x = position(f, e); return true;
        case 4: o.y = position(f, e); return true;
        case 5: o.width = size(f, e); return true;
        case 6: o.height = size(f, e); return true;
        case 7: nested(f, e, [&](std::size_t re) { formatFields(o.format, re); }); return true;
        case 8: o.text = text(f, e); return true;
        case 9: nested(f, e, [&](std::size_t re) { fieldRefFields(o.field, re); }); return true;
        case 10: o.special = enumeration<SpecialFieldKind>(f, e); return true;
        case 11: o.summary = enumeration<SummaryOperation>(f, e); return true;
        case 12: o.summaryGroup = inRange(f, e, 0, std::numeric_limits<std::int32_t>::max()); return true;
        case 13: o.formula = text(f, e); return true;
        case 14: nested(f, e, [&](std::size_t re) { subreportFields(o.subreport, re, depth); }); return true;
        case 15: nested(f, e, [&](std::size_t re) { pictureFields(o.picture, re); }); return true;
        case 16: nested(f, e, [&](std::size_t re) { objectConditionFields(o.conditions, re); }); return true;
        default: return false;
      }
    });
  }

  void pictureFields(Picture& p, std::size_t end) {
    fields(end, p.unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: p.image = picture(f, e); return true;
        case 2: p.stretch = flag(f, e); return true;
        default: return false;
      }
    });
  }

  void formatFields(Format& m, std::size_t end) {
    fields(end, m.unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: m.fontName = text(f, e); return true;
        case 2: m.fontSize = size(f, e); return true;
        case 3: m.bold = flag(f, e); return true;
        case 4: m.italic = flag(f, e); return true;
        case 5: m.underline = flag(f, e); return true;
        case 6: m.colour = colour(f, e); return true;
        case 7: m.alignment = enumeration<Alignment>(f, e); return true;
        case 8: m.numberFormat = text(f, e); return true;
        case 9: m.dateFormat = text(f, e); return true;
        case 10: m.border = enumeration<BorderStyle>(f, e); return true;
        case 11: m.borderColour = colour(f, e); return true;
        case 12: m.filled = flag(f, e); return true;
        case 13: m.background = colour(f, e); return true;
        case 14: m.canGrow = flag(f, e); return true;
        case 15: m.lineWidth = size(f, e); return true;
        default: return false;
      }
    });
  }

  void fieldRefFields(FieldRef& r, std::size_t end) {
    fields(end, r.unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: r.table = text(f, e); return true;
        case 2: r.column = text(f, e); return true;
        default: return false;
      }
    });
  }

  void subreportFields(Subreport& s, std::size_t end, int depth) {
    fields(end, s.unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: s.name = text(f, e); return true;
        case 2:
          nested(f, e, [&](std::size_t re) {
            SubreportLink& link = s.links.emplace_back();
            fields(re, link.unknown, [&](const Field& lf, std::size_t le) {
              switch (lf.number) {
                case 1: nested(lf, le, [&](std::size_t fe) { fieldRefFields(link.mainField, fe); }); return true;
                case 2: nested(lf, le, [&](std::size_t fe) { fieldRefFields(link.subreportField, fe); }); return true;
                default: return false;
              }
            });
          });
          return true;
        case 3:
          if (depth + 1 > limits_.maxSubreportDepth)
            fail(DefinitionError::TooLarge, f.start, "subreports are nested too deeply");
          nested(f, e, [&](std::size_t re) { reportFields(s.definition.emplace(), re, depth + 1); });
          return true;
        case 4: s.onDemand = flag(f, e); return true;
        case 5: s.linkText = text(f, e); return true;
        default: return false;
      }
    });
  }

  void dataFields(Data& d, std::size_t end) {
    fields(end, d.unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: nested(f, e, [&](std::size_t re) { tableFields(d.tables.emplace_back(), re); }); return true;
        case 2: nested(f, e, [&](std::size_t re) { linkFields(d.links.emplace_back(), re); }); return true;
        case 3: d.recordFilter = text(f, e); return true;
        case 4:
          nested(f, e, [&](std::size_t re) {
            SortField& s = d.sortFields.emplace_back();
            orderedField(s.field, s.direction, s.unknown, re);
          });
          return true;
        case 5:
          nested(f, e, [&](std::size_t re) {
            Group& g = d.groups.emplace_back();
            orderedField(g.field, g.direction, g.unknown, re);
          });
          return true;
        default: return false;
      }
    });
  }

  void tableFields(Table& t, std::size_t end) {
    fields(end, t.unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: t.alias = text(f, e); return true;
        case 2: t.type = enumeration<DatabaseType>(f, e); return true;
        case 3:
          nested(f, e, [&](std::size_t re) {
            fields(re, t.logOn.unknown, [&](const Field& lf, std::size_t le) {
              switch (lf.number) {
                case 1: t.logOn.server = text(lf, le); return true;
                case 2: t.logOn.database = text(lf, le); return true;
                case 3: t.logOn.user = text(lf, le); return true;
                default: return false;
              }
            });
          });
          return true;
        case 4: t.location = text(f, e); return true;
        case 5: t.subLocation = text(f, e); return true;
        case 6: t.delimiter = text(f, e); return true;
        case 7: t.headerRow = flag(f, e); return true;
        case 8: t.connection = readDataSource(text(f, e)); return true;
        default: return false;
      }
    });
  }

  void linkFields(TableLink& l, std::size_t end) {
    fields(end, l.unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: nested(f, e, [&](std::size_t re) { fieldRefFields(l.from, re); }); return true;
        case 2: nested(f, e, [&](std::size_t re) { fieldRefFields(l.to, re); }); return true;
        case 3: l.join = enumeration<JoinType>(f, e); return true;
        default: return false;
      }
    });
  }

  void orderedField(FieldRef& field, SortDirection& direction, UnknownFields& unknown, std::size_t end) {
    fields(end, unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: nested(f, e, [&](std::size_t re) { fieldRefFields(field, re); }); return true;
        case 2: direction = enumeration<SortDirection>(f, e); return true;
        default: return false;
      }
    });
  }

  void formulaFields(Formula& m, std::size_t end) {
    fields(end, m.unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: m.name = text(f, e); return true;
        case 2: m.text = text(f, e); return true;
        default: return false;
      }
    });
  }

  void parameterFields(Parameter& m, std::size_t end) {
    fields(end, m.unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: m.name = text(f, e); return true;
        case 2: m.type = enumeration<ParameterType>(f, e); return true;
        case 3: m.prompt = text(f, e); return true;
        case 4: m.range = flag(f, e); return true;
        case 5: m.defaultValue = text(f, e); return true;
        case 6: m.defaultTo = text(f, e); return true;
        case 7: m.allowedValues.push_back(text(f, e)); return true;
        case 8: nested(f, e, [&](std::size_t re) { fieldRefFields(m.allowedFrom, re); }); return true;
        default: return false;
      }
    });
  }

  void objectConditionFields(ObjectConditions& c, std::size_t end) {
    fields(end, c.unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: c.suppress = text(f, e); return true;
        case 2: c.fontColour = text(f, e); return true;
        case 3: c.background = text(f, e); return true;
        case 4: c.bold = text(f, e); return true;
        case 5: c.italic = text(f, e); return true;
        case 6: c.border = text(f, e); return true;
        default: return false;
      }
    });
  }

  void sectionConditionFields(SectionConditions& c, std::size_t end) {
    fields(end, c.unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: c.suppress = text(f, e); return true;
        case 2: c.newPageBefore = text(f, e); return true;
        case 3: c.newPageAfter = text(f, e); return true;
        default: return false;
      }
    });
  }

  void runningTotalFields(RunningTotal& t, std::size_t end) {
    fields(end, t.unknown, [&](const Field& f, std::size_t e) {
      switch (f.number) {
        case 1: t.name = text(f, e); return true;
        case 2: nested(f, e, [&](std::size_t re) { fieldRefFields(t.field, re); }); return true;
        case 3: t.operation = enumeration<SummaryOperation>(f, e); return true;
        case 4: t.evaluate = enumeration<RunningTotalEvaluate>(f, e); return true;
        case 5: nested(f, e, [&](std::size_t re) { fieldRefFields(t.evaluateField, re); }); return true;
        case 6: t.evaluateFormula = text(f, e); return true;
        case 7: t.reset = enumeration<RunningTotalReset>(f, e); return true;
        case 8: t.resetGroup = inRange(f, e, 0, std::numeric_limits<std::int32_t>::max()); return true;
        case 9: t.resetFormula = text(f, e); return true;
        default: return false;
      }
    });
  }

  const std::uint8_t* p_;
  const DefinitionLimits& limits_;
  std::size_t pos_ = 0;
  std::size_t records_ = 0;
};

Text describe(DefinitionError error, std::size_t offset, const std::string& what) {
  std::string words;
  switch (error) {
    case DefinitionError::NotADefinition: words = "The report's layout is not in a format this program knows"; break;
    case DefinitionError::NewerVersion: words = "The report's layout was saved by a newer version of this program"; break;
    case DefinitionError::Truncated: words = "The report's layout is incomplete: the file was cut short"; break;
    case DefinitionError::Damaged: words = "The report's layout is damaged"; break;
    case DefinitionError::TooLarge: words = "The report's layout is larger than this program accepts"; break;
  }
  if (!what.empty()) words += " (" + what + ", at byte " + std::to_string(offset) + ")";
  return fromUtf8(words + ".");
}

DefinitionReadResult failure(DefinitionReadResult result, DefinitionError error, std::size_t offset, std::string what) {
  result.definition.reset();
  result.error = error;
  result.errorOffset = offset;
  result.message = describe(error, offset, what);
  return result;
}

// ---------------------------------------------------------------------------
// Writing
// ---------------------------------------------------------------------------

class Writer {
 public:
  std::string out;

  void varint(std::uint64_t v) {
    while (v >= 0x80) {
      out.push_back(static_cast<char>((v & 0x7F) | 0x80));
      v >>= 7;
    }
    out.push_back(static_cast<char>(v));
  }
  void key(std::uint32_t number, unsigned wire) { varint((static_cast<std::uint64_t>(number) << 3) | wire); }
  void integer(std::uint32_t number, std::int64_t v) {
    key(number, kNumber);
    varint((static_cast<std::uint64_t>(v) << 1) ^ static_cast<std::uint64_t>(v >> 63));
  }
  template <class E>
  void enumeration(std::uint32_t number, E v) {
    integer(number, static_cast<std::int32_t>(v));
  }
  void flag(std::uint32_t number, bool v) { integer(number, v ? 1 : 0); }
  void bytes(std::uint32_t number, std::string_view v) {
    key(number, kBytes);
    varint(v.size());
    out.append(v);
  }
  void text(std::uint32_t number, TextView v) { bytes(number, toUtf8(v)); }
  template <class Fill>
  void record(std::uint32_t number, Fill&& fill) {
    Writer inner;
    fill(inner);
    bytes(number, inner.out);
  }
  void unknown(const UnknownFields& u) { out.append(u.bytes); }
};

void writeFieldRef(Writer& w, const FieldRef& r) {
  w.text(1, r.table);
  w.text(2, r.column);
  w.unknown(r.unknown);
}

void writeReport(Writer& w, const ReportDefinition& r);

void writeFormat(Writer& w, const Format& m) {
  w.text(1, m.fontName);
  w.integer(2, m.fontSize);
  w.flag(3, m.bold);
  w.flag(4, m.italic);
  w.flag(5, m.underline);
  w.integer(6, m.colour);
  w.enumeration(7, m.alignment);
  w.text(8, m.numberFormat);
  w.text(9, m.dateFormat);
  w.enumeration(10, m.border);
  w.integer(11, m.borderColour);
  w.flag(12, m.filled);
  w.integer(13, m.background);
  w.flag(14, m.canGrow);
  w.integer(15, m.lineWidth);
  w.unknown(m.unknown);
}

void writeSubreport(Writer& w, const Subreport& s) {
  w.text(1, s.name);
  for (const SubreportLink& link : s.links) {
    w.record(2, [&](Writer& lw) {
      lw.record(1, [&](Writer& fw) { writeFieldRef(fw, link.mainField); });
      lw.record(2, [&](Writer& fw) { writeFieldRef(fw, link.subreportField); });
      lw.unknown(link.unknown);
    });
  }
  if (s.definition) w.record(3, [&](Writer& rw) { writeReport(rw, *s.definition); });
  w.flag(4, s.onDemand);
  w.text(5, s.linkText);
  w.unknown(s.unknown);
}

void writeObject(Writer& w, const ReportObject& o) {
  w.enumeration(1, o.kind);
  w.text(2, o.name);
  w.integer(3, o.x);
  w.integer(4, o.y);
  w.integer(5, o.width);
  w.integer(6, o.height);
  w.record(7, [&](Writer& fw) { writeFormat(fw, o.format); });
  w.text(8, o.text);
  w.record(9, [&](Writer& fw) { writeFieldRef(fw, o.field); });
  w.enumeration(10, o.special);
  w.enumeration(11, o.summary);
  w.integer(12, o.summaryGroup);
  w.text(13, o.formula);
  w.record(14, [&](Writer& sw) { writeSubreport(sw, o.subreport); });
  if (o.kind == ObjectKind::Picture) {
    w.record(15, [&](Writer& pw) {
      pw.bytes(1, o.picture.image.view());
      pw.flag(2, o.picture.stretch);
      pw.unknown(o.picture.unknown);
    });
  }
  const ObjectConditions& c = o.conditions;
  if (!c.empty() || !c.unknown.bytes.empty()) {
    w.record(16, [&](Writer& cw) {
      cw.text(1, c.suppress);
      cw.text(2, c.fontColour);
      cw.text(3, c.background);
      cw.text(4, c.bold);
      cw.text(5, c.italic);
      cw.text(6, c.border);
      cw.unknown(c.unknown);
    });
  }
  w.unknown(o.unknown);
}

void writeSection(Writer& w, const Section& s) {
  w.enumeration(1, s.kind);
  w.integer(2, s.group);
  w.text(3, s.name);
  w.integer(4, s.height);
  w.flag(5, s.suppress);
  w.flag(6, s.newPageAfter);
  for (const ReportObject& o : s.objects) w.record(7, [&](Writer& ow) { writeObject(ow, o); });
  const SectionConditions& c = s.conditions;
  if (!c.empty() || !c.unknown.bytes.empty()) {
    w.record(8, [&](Writer& cw) {
      cw.text(1, c.suppress);
      cw.text(2, c.newPageBefore);
      cw.text(3, c.newPageAfter);
      cw.unknown(c.unknown);
    });
  }
  w.flag(9, s.keepTogether);
  w.flag(10, s.printAtBottom);
  w.flag(11, s.resetPageNumberAfter);
  w.flag(12, s.newPageBefore);
  w.unknown(s.unknown);
}

void writeTable(Writer& w, const Table& t) {
  w.text(1, t.alias);
  w.enumeration(2, t.type);
  w.record(3, [&](Writer& lw) {
    lw.text(1, withoutPasswords(t.logOn.server));
    lw.text(2, t.logOn.database);
    lw.text(3, t.logOn.user);
    lw.unknown(t.logOn.unknown);
  });
  w.text(4, withoutPasswords(t.location));
  w.text(5, withoutPasswords(t.subLocation));
  w.text(6, t.delimiter);
  w.flag(7, t.headerRow);
  w.text(8, t.connection.storedText());
  w.unknown(t.unknown);
}

void writeData(Writer& w, const Data& d) {
  for (const Table& t : d.tables) w.record(1, [&](Writer& tw) { writeTable(tw, t); });
  for (const TableLink& l : d.links) {
    w.record(2, [&](Writer& lw) {
      lw.record(1, [&](Writer& fw) { writeFieldRef(fw, l.from); });
      lw.record(2, [&](Writer& fw) { writeFieldRef(fw, l.to); });
      lw.enumeration(3, l.join);
      lw.unknown(l.unknown);
    });
  }
  w.text(3, d.recordFilter);
  auto ordered = [&](std::uint32_t number, const FieldRef& field, SortDirection direction, const UnknownFields& unknown) {
    w.record(number, [&](Writer& ow) {
      ow.record(1, [&](Writer& fw) { writeFieldRef(fw, field); });
      ow.enumeration(2, direction);
      ow.unknown(unknown);
    });
  };
  for (const SortField& s : d.sortFields) ordered(4, s.field, s.direction, s.unknown);
  for (const Group& g : d.groups) ordered(5, g.field, g.direction, g.unknown);
  w.unknown(d.unknown);
}

void writeReport(Writer& w, const ReportDefinition& r) {
  w.record(1, [&](Writer& pw) {
    const PageSetup& p = r.page;
    pw.integer(1, p.paperSize);
    pw.integer(2, p.paperWidth);
    pw.integer(3, p.paperHeight);
    pw.enumeration(4, p.orientation);
    pw.integer(5, p.marginLeft);
    pw.integer(6, p.marginRight);
    pw.integer(7, p.marginTop);
    pw.integer(8, p.marginBottom);
    pw.unknown(p.unknown);
  });
  for (const Section& s : r.sections) w.record(2, [&](Writer& sw) { writeSection(sw, s); });
  w.record(3, [&](Writer& dw) { writeData(dw, r.data); });
  for (const Formula& f : r.formulas) {
    w.record(4, [&](Writer& fw) {
      fw.text(1, f.name);
      fw.text(2, f.text);
      fw.unknown(f.unknown);
    });
  }
  for (const Parameter& m : r.parameters) {
    w.record(5, [&](Writer& pw) {
      pw.text(1, m.name);
      pw.enumeration(2, m.type);
      pw.text(3, m.prompt);
      pw.flag(4, m.range);
      pw.text(5, m.defaultValue);
      pw.text(6, m.defaultTo);
      for (const Text& v : m.allowedValues) pw.text(7, v);
      pw.record(8, [&](Writer& fw) { writeFieldRef(fw, m.allowedFrom); });
      pw.unknown(m.unknown);
    });
  }
  for (const RunningTotal& t : r.runningTotals) {
    w.record(6, [&](Writer& tw) {
      tw.text(1, t.name);
      tw.record(2, [&](Writer& fw) { writeFieldRef(fw, t.field); });
      tw.enumeration(3, t.operation);
      tw.enumeration(4, t.evaluate);
      tw.record(5, [&](Writer& fw) { writeFieldRef(fw, t.evaluateField); });
      tw.text(6, t.evaluateFormula);
      tw.enumeration(7, t.reset);
      tw.integer(8, t.resetGroup);
      tw.text(9, t.resetFormula);
      tw.unknown(t.unknown);
    });
  }
  w.unknown(r.unknown);
}

}  // namespace

DefinitionReadResult readDefinition(std::span<const std::uint8_t> stream, const DefinitionLimits& limits) {
  DefinitionReadResult result;
  if (stream.size() > limits.maxStreamBytes)
    return failure(std::move(result), DefinitionError::TooLarge, 0, "the stream is too large");
  const std::uint8_t* p = stream.data();
  for (std::size_t i = 0; i < kMagic.size(); ++i) {
    if (i >= stream.size()) return failure(std::move(result), DefinitionError::Truncated, i, "the header is incomplete");
    if (p[i] != kMagic[i]) return failure(std::move(result), DefinitionError::NotADefinition, i, "");
  }
  if (stream.size() < kDefinitionHeaderSize)
    return failure(std::move(result), DefinitionError::Truncated, stream.size(), "the header is incomplete");
  result.majorVersion = le16(p + 4);
  result.minorVersion = le16(p + 6);
  if (result.majorVersion > kDefinitionMajorVersion) {
    return failure(std::move(result), DefinitionError::NewerVersion, 4,
                   "format " + std::to_string(result.majorVersion) + "." + std::to_string(result.minorVersion) +
                       "; this version reads format " + std::to_string(kDefinitionMajorVersion) + ".x");
  }
  if (result.majorVersion == 0) return failure(std::move(result), DefinitionError::Damaged, 4, "no format version");
  const std::size_t bodyLength = le32(p + 8);
  const std::size_t available = stream.size() - kDefinitionHeaderSize;
  if (bodyLength > available)
    return failure(std::move(result), DefinitionError::Truncated, stream.size(), "the stream ends early");
  if (bodyLength < available)
    return failure(std::move(result), DefinitionError::Damaged, kDefinitionHeaderSize + bodyLength,
                   "bytes follow the end of the layout");
  if (crc32(p + kDefinitionHeaderSize, bodyLength) != le32(p + 12))
    return failure(std::move(result), DefinitionError::Damaged, kDefinitionHeaderSize, "the checksum does not match");
  try {
    Reader reader(p, limits);
    result.definition = reader.body(kDefinitionHeaderSize, stream.size());
    result.message.clear();
    return result;
  } catch (const ReadFailure& f) {
    return failure(std::move(result), f.error, f.offset, f.what);
  }
}

std::vector<std::uint8_t> writeDefinition(const ReportDefinition& definition) {
  Writer body;
  writeReport(body, definition);
  const std::uint32_t length = static_cast<std::uint32_t>(body.out.size());
  const std::uint32_t crc = crc32(reinterpret_cast<const std::uint8_t*>(body.out.data()), body.out.size());
  std::string header(kMagic.begin(), kMagic.end());
  auto put = [&](std::uint32_t v, int bytes) {
    for (int i = 0; i < bytes; ++i) header.push_back(static_cast<char>(v >> (8 * i)));
  };
  put(kDefinitionMajorVersion, 2);
  put(kDefinitionMinorVersion, 2);
  put(length, 4);
  put(crc, 4);
  std::vector<std::uint8_t> out(header.size() + body.out.size());
  std::memcpy(out.data(), header.data(), header.size());
  if (!body.out.empty()) std::memcpy(out.data() + header.size(), body.out.data(), body.out.size());
  return out;
}

}  // namespace mervane::engine::model
