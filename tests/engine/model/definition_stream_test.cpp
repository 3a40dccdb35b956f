// The definition stream: round trips, fields of newer versions, refusal of
// newer major versions, damaged and hostile bytes, limits and passwords.
#include "engine/model/definition_stream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <string>

#include <zlib.h>

#include "sample_definition.h"

namespace mervane::engine::model {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing::makeObject;
using testing::richReport;

// Encoding helpers for hand-made fields.
void varint(std::string& out, std::uint64_t v) {
  while (v >= 0x80) {
    out.push_back(static_cast<char>((v & 0x7F) | 0x80));
    v >>= 7;
  }
  out.push_back(static_cast<char>(v));
}
std::string numberField(std::uint32_t number, std::int64_t value) {
  std::string out;
  varint(out, std::uint64_t{number} << 3);
  varint(out, (static_cast<std::uint64_t>(value) << 1) ^ static_cast<std::uint64_t>(value >> 63));
  return out;
}
std::string bytesField(std::uint32_t number, const std::string& payload) {
  std::string out;
  varint(out, (std::uint64_t{number} << 3) | 2);
  varint(out, payload.size());
  return out + payload;
}

std::uint32_t crc32(const std::uint8_t* bytes, std::size_t size) {
  return static_cast<std::uint32_t>(crc32_z(0, bytes, size));
}

// A stream with a valid header around `body`.
Bytes sealed(const std::string& body, std::uint16_t major = 1, std::uint16_t minor = 0) {
  Bytes out = {'M', 'V', 'R', 'D'};
  auto put = [&](std::uint32_t v, int n) {
    for (int i = 0; i < n; ++i) out.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
  };
  put(major, 2);
  put(minor, 2);
  put(static_cast<std::uint32_t>(body.size()), 4);
  put(crc32(reinterpret_cast<const std::uint8_t*>(body.data()), body.size()), 4);
  out.insert(out.end(), body.begin(), body.end());
  return out;
}
std::string bodyOf(const Bytes& stream) { return std::string(stream.begin() + kDefinitionHeaderSize, stream.end()); }

ReportDefinition readOk(const Bytes& stream, const DefinitionLimits& limits = {}) {
  DefinitionReadResult result = readDefinition(stream, limits);
  EXPECT_TRUE(result.definition) << toUtf8(result.message);
  return result.definition ? std::move(*result.definition) : ReportDefinition{};
}

bool contains(const Bytes& haystack, const std::string& needle) {
  return std::search(haystack.begin(), haystack.end(), needle.begin(), needle.end()) != haystack.end();
}

TEST(DefinitionStream, RichReportRoundTripsExactly) {
  const ReportDefinition original = richReport();
  const Bytes stream = writeDefinition(original);
  const ReportDefinition read = readOk(stream);
  EXPECT_EQ(read, original);
  EXPECT_EQ(writeDefinition(read), stream);

  // The parts a reader of the file relies on, checked by hand as well.
  const ReportObject& sub = read.sections[4].objects[4];
  EXPECT_EQ(read.sections[4].kind, SectionKind::Details);
  EXPECT_EQ(static_cast<int>(sub.kind), 5);
  ASSERT_TRUE(sub.subreport.definition);
  EXPECT_EQ(sub.subreport.definition->data.tables.at(0).location, u"dbo.OrderLines");
  EXPECT_EQ(sub.subreport.links.at(0).subreportField.column, u"CustomerId");
  EXPECT_TRUE(sub.subreport.onDemand);
  EXPECT_EQ(sub.subreport.linkText, u"Show orders");
  EXPECT_EQ(static_cast<int>(read.data.tables[0].type), 2);
  EXPECT_EQ(read.sections[0].objects[0].text, u"Kundenübersicht — 顧客");
  EXPECT_EQ(read.sections[0].objects[0].x, -20);
  EXPECT_EQ(read.sections[4].objects[1].conditions.background, u"Color(255, 240, 240)");
  EXPECT_EQ(read.sections[4].conditions.newPageAfter, u"RecordNumber > 50");
  EXPECT_EQ(static_cast<int>(read.sections[4].objects[5].kind), 10);
  EXPECT_EQ(read.runningTotals.at(1).resetFormula, u"{Customers.City} = \"Oslo\"");

  // Objects and sections without conditions write no record for them.
  ReportDefinition plain = original;
  for (Section& section : plain.sections) {
    section.conditions = {};
    for (ReportObject& object : section.objects) object.conditions = {};
  }
  EXPECT_LT(writeDefinition(plain).size() + 80, stream.size());
  EXPECT_EQ(readOk(writeDefinition(plain)), plain);
}

TEST(DefinitionStream, EmptyAndDefaultValuesRoundTrip) {
  ReportDefinition empty;
  EXPECT_EQ(readOk(writeDefinition(empty)), empty);
  // Texts set to empty must not come back as their defaults.
  ReportDefinition r;
  ReportObject o;
  o.format.fontName.clear();
  r.sections.push_back({SectionKind::Details, 0, u"", 0, false, false, {o}, {}});
  r.data.tables.push_back({});
  r.data.tables[0].delimiter.clear();
  EXPECT_EQ(readOk(writeDefinition(r)), r);
}

TEST(DefinitionStream, FieldsOfNewerVersionsAreKeptAcrossASave) {
  // Unknown fields at three levels: the report, a section, and an object's
  // format; numbers, texts and nested records among them.
  const std::string reportExtra = numberField(40, -7) + bytesField(41, "future text");
  const std::string sectionExtra = bytesField(30, numberField(1, 5) + bytesField(2, "x"));
  const std::string formatExtra = numberField(99, 123456789012LL);

  ReportDefinition r = blankReport();
  r.sections[2].objects.push_back(makeObject(ObjectKind::Text, 0, 0));
  const std::string known = bodyOf(writeDefinition(r));
  // Rebuild the body by hand with the extras placed among the known fields,
  // as a newer writer would place them.
  ReportDefinition withExtras = r;
  withExtras.unknown.bytes = reportExtra;
  withExtras.sections[2].unknown.bytes = sectionExtra;
  withExtras.sections[2].objects[0].format.unknown.bytes = formatExtra;
  const std::string body = reportExtra + bodyOf(writeDefinition(withExtras));
  // The report-level extras now appear twice: first, then after the known fields.
  ReportDefinition read = readOk(sealed(body, 1, 9));
  EXPECT_EQ(read.unknown.bytes, reportExtra + reportExtra);
  EXPECT_EQ(read.sections[2].unknown.bytes, sectionExtra);
  EXPECT_EQ(read.sections[2].objects[0].format.unknown.bytes, formatExtra);
  read.unknown.bytes = reportExtra;
  EXPECT_EQ(read, withExtras);

  // Change a known field and save: the extras go back with their records.
  read.sections[2].height = 999;
  const Bytes saved = writeDefinition(read);
  const ReportDefinition again = readOk(saved);
  EXPECT_EQ(again.sections[2].height, 999);
  EXPECT_EQ(again.unknown.bytes, reportExtra);
  EXPECT_EQ(again.sections[2].unknown.bytes, sectionExtra);
  EXPECT_EQ(again.sections[2].objects[0].format.unknown.bytes, formatExtra);
  EXPECT_GT(bodyOf(saved).size(), known.size());

  // Enumeration values of a newer version are kept as numbers.
  ReportDefinition future = r;
  future.sections[2].objects[0].kind = static_cast<ObjectKind>(42);
  EXPECT_EQ(static_cast<int>(readOk(writeDefinition(future)).sections[2].objects[0].kind), 42);
}

TEST(DefinitionStream, NewerMajorVersionIsRefusedAndOtherHeadersAreNotOurs) {
  const std::string body = bodyOf(writeDefinition(richReport()));
  DefinitionReadResult newer = readDefinition(sealed(body, 2, 0));
  EXPECT_FALSE(newer.definition);
  EXPECT_EQ(newer.error, DefinitionError::NewerVersion);
  EXPECT_EQ(newer.majorVersion, 2);
  EXPECT_NE(toUtf8(newer.message).find("newer version"), std::string::npos);

  EXPECT_EQ(readDefinition(sealed(body, 0, 3)).error, DefinitionError::Damaged);
  const Bytes text = {'<', 'x', 'm', 'l', '>', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(readDefinition(text).error, DefinitionError::NotADefinition);
  Bytes trailing = writeDefinition(richReport());
  trailing.push_back(0);
  EXPECT_EQ(readDefinition(trailing).error, DefinitionError::Damaged);
}

TEST(DefinitionStream, EveryTruncationAndEveryFlippedByteIsAnError) {
  const Bytes stream = writeDefinition(richReport());
  for (std::size_t n = 0; n < stream.size(); ++n) {
    const DefinitionReadResult r = readDefinition(std::span(stream.data(), n));
    ASSERT_FALSE(r.definition) << "prefix of " << n;
    ASSERT_EQ(r.error, DefinitionError::Truncated) << n;
    ASSERT_FALSE(r.message.empty());
  }
  for (std::size_t i = 0; i < stream.size(); ++i) {
    Bytes damaged = stream;
    damaged[i] ^= 0x5A;
    const bool minorVersion = i == 6 || i == 7;  // a newer minor version reads
    ASSERT_EQ(readDefinition(damaged).definition.has_value(), minorVersion) << "byte " << i;
  }
}

TEST(DefinitionStream, DamagedBodiesWithAValidChecksumGiveAnErrorOrADefinition) {
  // The checksum stops accidents; these bytes get past it, as a hostile
  // writer's would. Each must end in a clean result either way.
  const std::string body = bodyOf(writeDefinition(richReport()));
  int errors = 0;
  for (std::size_t i = 0; i < body.size(); ++i) {
    for (std::uint8_t value : {0x00, 0xFF}) {
      std::string changed = body;
      changed[i] = static_cast<char>(value);
      const DefinitionReadResult r = readDefinition(sealed(changed));
      if (!r.definition) {
        ++errors;
        ASSERT_FALSE(r.message.empty());
        ASSERT_LE(r.errorOffset, changed.size() + kDefinitionHeaderSize);
      }
    }
    // Cut short inside the body, with a header that agrees.
    ASSERT_NO_FATAL_FAILURE(readDefinition(sealed(body.substr(0, i))));
  }
  EXPECT_GT(errors, 0);
}

TEST(DefinitionStream, HostileLengthsNumbersAndTypesAreRefused) {
  auto errorOf = [](const std::string& body) { return readDefinition(sealed(body)).error; };
  auto readsOk = [](const std::string& body) { return readDefinition(sealed(body)).definition.has_value(); };
  // A record claiming far more bytes than there are.
  std::string huge;
  varint(huge, (2u << 3) | 2);
  varint(huge, std::uint64_t{1} << 62);
  EXPECT_EQ(errorOf(huge), DefinitionError::Damaged);
  // A varint of eleven bytes, and one that overflows 64 bits.
  EXPECT_EQ(errorOf(std::string(11, '\x80')), DefinitionError::Damaged);
  EXPECT_EQ(errorOf(std::string("\x08") + std::string(9, '\xFF') + "\x02"), DefinitionError::Damaged);
  // Field number 0, and a wire type we do not know.
  EXPECT_EQ(errorOf(numberField(0, 1)), DefinitionError::Damaged);
  EXPECT_EQ(errorOf(std::string("\x0D\x00\x00\x00\x00", 5)), DefinitionError::Damaged);
  // A known field with the wrong type of value.
  EXPECT_EQ(errorOf(numberField(2, 1)), DefinitionError::Damaged);
  // Sizes, positions and colours out of range; yes/no neither 0 nor 1.
  const std::string page = bytesField(1, numberField(5, -1));
  EXPECT_EQ(errorOf(page), DefinitionError::Damaged);
  EXPECT_TRUE(readsOk(bytesField(1, numberField(5, 1000000))));
  EXPECT_EQ(errorOf(bytesField(1, numberField(5, 1000001))), DefinitionError::Damaged);
  EXPECT_EQ(errorOf(bytesField(2, numberField(1, std::int64_t{1} << 40))), DefinitionError::Damaged);
  EXPECT_EQ(errorOf(bytesField(2, numberField(5, 2))), DefinitionError::Damaged);
  EXPECT_EQ(errorOf(bytesField(2, bytesField(7, bytesField(7, numberField(6, 0x1000000))))), DefinitionError::Damaged);
  // A nested record whose last field runs past the record's end.
  EXPECT_EQ(errorOf(bytesField(2, bytesField(3, "abc").substr(0, 3)) + "bc"), DefinitionError::Damaged);
  // Invalid UTF-8 is not an error: it reads as replacement characters.
  const DefinitionReadResult bad = readDefinition(sealed(bytesField(2, bytesField(3, "\xC3(\xFF"))));
  ASSERT_TRUE(bad.definition);
  EXPECT_EQ(bad.definition->sections.at(0).name, u"\uFFFD(\uFFFD");
}

TEST(DefinitionStream, LimitsOnRecordsTextsDepthAndSize) {
  ReportDefinition many = blankReport();
  for (int i = 0; i < 200; ++i) many.sections[2].objects.push_back(makeObject(ObjectKind::Text, i, 0));
  const Bytes manyBytes = writeDefinition(many);
  DefinitionLimits limits;
  limits.maxRecords = 300;
  EXPECT_EQ(readDefinition(manyBytes, limits).error, DefinitionError::TooLarge);
  limits.maxRecords = 2000;
  readOk(manyBytes, limits);

  ReportDefinition longText = blankReport();
  ReportObject o = makeObject(ObjectKind::Text, 0, 0);
  o.text = Text(5000, u'é');  // 10,000 bytes in UTF-8
  longText.sections[2].objects.push_back(o);
  limits.maxTextBytes = 9999;
  EXPECT_EQ(readDefinition(writeDefinition(longText), limits).error, DefinitionError::TooLarge);
  limits.maxTextBytes = 10000;
  readOk(writeDefinition(longText), limits);

  ReportDefinition bigPicture = blankReport();
  o = makeObject(ObjectKind::Picture, 0, 0);
  o.picture.image = SharedBytes(std::string(20000, '\xFF'));
  bigPicture.sections[0].objects.push_back(o);
  limits.maxPictureBytes = 19999;
  EXPECT_EQ(readDefinition(writeDefinition(bigPicture), limits).error, DefinitionError::TooLarge);
  limits.maxPictureBytes = 20000;
  EXPECT_EQ(readOk(writeDefinition(bigPicture), limits), bigPicture);

  // Subreports inside subreports: the depth the limit allows reads, one more does not.
  auto nestedTo = [](int depth) {
    ReportDefinition r;
    for (int i = 0; i < depth; ++i) {
      ReportDefinition outer;
      ReportObject sub = makeObject(ObjectKind::Subreport, 0, 0);
      sub.subreport.definition = Deep<ReportDefinition>(std::move(r));
      outer.sections.push_back({SectionKind::Details, 0, u"", 100, false, false, {sub}, {}});
      r = std::move(outer);
    }
    return r;
  };
  EXPECT_EQ(readOk(writeDefinition(nestedTo(4))), nestedTo(4));
  EXPECT_EQ(readDefinition(writeDefinition(nestedTo(5))).error, DefinitionError::TooLarge);
  EXPECT_EQ(readDefinition(writeDefinition(nestedTo(40))).error, DefinitionError::TooLarge);

  limits = {};
  limits.maxStreamBytes = manyBytes.size() - 1;
  EXPECT_EQ(readDefinition(manyBytes, limits).error, DefinitionError::TooLarge);
}

TEST(DefinitionStream, NoPasswordIsEverWritten) {
  ReportDefinition r = blankReport();
  Table host;
  host.logOn.server = u"ODBC;DATABASE=Halyard;UID=ana;PWD=s3cret-1;DSN=Halyard";
  host.logOn.user = u"ana";
  Table company;
  company.location = u"Provider=SQLOLEDB;Password={s3cret-2;x};User ID=sa";
  company.subLocation = u"Data Source=db;Jet OLEDB:Database Password='s3cret-3'";
  r.data.tables = {host, company};
  const Bytes stream = writeDefinition(r);
  EXPECT_FALSE(contains(stream, "s3cret"));
  const ReportDefinition read = readOk(stream);
  EXPECT_EQ(read.data.tables[0].logOn.server, u"ODBC;DATABASE=Halyard;UID=ana;PWD=;DSN=Halyard");
  EXPECT_EQ(read.data.tables[1].location, u"Provider=SQLOLEDB;User ID=sa");
  EXPECT_EQ(read.data.tables[1].subLocation, u"Data Source=db;");
}

TEST(DefinitionStream, AThousandObjectsReadAndWriteQuickly) {
  ReportDefinition r = richReport();
  Section& details = r.sections[4];
  for (int i = 0; i < 1000; ++i) {
    ReportObject o = makeObject(i % 2 ? ObjectKind::DatabaseField : ObjectKind::Text, (i % 10) * 1000, (i / 10) * 300);
    o.text = u"Label number " + decimal(i);
    o.field = {u"Customers", u"Column" + decimal(i % 37), {}};
    details.objects.push_back(o);
  }
  using Clock = std::chrono::steady_clock;
  const auto t0 = Clock::now();
  const Bytes stream = writeDefinition(r);
  const auto t1 = Clock::now();
  const DefinitionReadResult read = readDefinition(stream);
  const auto t2 = Clock::now();
  ASSERT_TRUE(read.definition);
  EXPECT_EQ(*read.definition, r);
  const double writeMs = std::chrono::duration<double, std::milli>(t1 - t0).count();
  const double readMs = std::chrono::duration<double, std::milli>(t2 - t1).count();
  std::printf("definition of %zu bytes: write %.2f ms, read %.2f ms\n", stream.size(), writeMs, readMs);
  EXPECT_LT(writeMs, 50.0);
  EXPECT_LT(readMs, 50.0);
}

}  // namespace
}  // namespace mervane::engine::model
