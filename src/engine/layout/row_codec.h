// Rows and layout states in a compact binary form.
//
// A spooled row is its values one after another, each a tag byte and its
// payload: nothing for null and the booleans, 4 bytes for a whole number
// of 32 bits, 8 for other numbers and dates, a 4-byte length and then one
// byte a character for a Latin-1 text, two (UTF-16) for any other. EncodedRow
// holds one such row and reads single values out of it without decoding
// the others, so the layout can compare group values and add up totals
// without making a formula::Value (and allocating) for every field of
// every row.
//
// ByteWriter and ByteReader write and read the same form for the layout's
// page checkpoints.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engine/formula/value.h"

namespace mervane::engine::layout {

class EncodedRow {
 public:
  // Takes an encoded row (as the spool stores it). False when the bytes do
  // not hold exactly `fields` values.
  bool assign(std::string_view bytes, std::size_t fields);
  // Encodes values.
  void encode(const std::vector<formula::Value>& values);

  std::size_t size() const { return offsets_.empty() ? 0 : offsets_.size() - 1; }
  std::string_view bytes() const { return bytes_; }
  // The encoded value: equal values have equal bytes.
  std::string_view raw(std::size_t field) const;
  bool isNull(std::size_t field) const;
  formula::ValueKind kind(std::size_t field) const;
  // A number's value (a date gives its days); false for other kinds.
  bool number(std::size_t field, double& out) const;
  formula::Value value(std::size_t field) const;

 private:
  void index(std::size_t fields);
  std::string bytes_;
  std::vector<std::uint32_t> offsets_;  // where each value starts, and the end
};

class ByteWriter {
 public:
  void u64(std::uint64_t value);
  void i64(std::int64_t value) { u64(static_cast<std::uint64_t>(value)); }
  void f64(double value);
  void value(const formula::Value& value);
  void bytes(std::string_view data);  // with its length
  std::string& result() { return out_; }

 private:
  std::string out_;
};

// Reads what ByteWriter wrote; reading past the end gives zeros and nulls.
class ByteReader {
 public:
  explicit ByteReader(std::string_view data) : data_(data) {}
  std::uint64_t u64();
  std::int64_t i64() { return static_cast<std::int64_t>(u64()); }
  double f64();
  formula::Value value();
  std::string_view bytes();

 private:
  bool take(void* out, std::size_t size);
  std::string_view data_;
  std::size_t at_ = 0;
};

// Appends one encoded value to `out`.
void encodeValue(const formula::Value& value, std::string& out);

}  // namespace mervane::engine::layout
