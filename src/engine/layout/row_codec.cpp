// Rows and layout states in a compact binary form: tag bytes and payloads.
#include "engine/layout/row_codec.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace mervane::engine::layout {
namespace {

// Whole numbers that fit 32 bits and texts of Latin-1 characters (most
// figures and names) take the shorter forms; a value has one encoding only,
// so equal values still have equal bytes.
enum Tag : unsigned char { kNull = 0, kNumber = 1, kText = 2, kFalse = 3, kTrue = 4, kDate = 5, kInteger = 6, kLatin = 7 };

template <class T>
void put(std::string& out, T value) {
  char raw[sizeof(T)];
  std::memcpy(raw, &value, sizeof(T));
  out.append(raw, sizeof(T));
}

template <class T>
T get(const char* at) {
  T value;
  std::memcpy(&value, at, sizeof(T));
  return value;
}

// The length of the value starting at `at`, or 0 when it does not fit in `size`.
std::size_t valueLength(const char* at, std::size_t size) {
  if (size == 0) return 0;
  switch (static_cast<unsigned char>(at[0])) {
    case kNull:
    case kFalse:
    case kTrue: return 1;
    case kNumber:
    case kDate: return size >= 9 ? 9 : 0;
    case kInteger: return size >= 5 ? 5 : 0;
    case kText:
    case kLatin: {
      if (size < 5) return 0;
      const std::uint64_t units = get<std::uint32_t>(at + 1);
      const std::uint64_t length = 5 + units * (at[0] == kText ? 2 : 1);
      return length <= size ? static_cast<std::size_t>(length) : 0;
    }
    default: return 0;
  }
}

formula::Value decode(const char* at) {
  switch (static_cast<unsigned char>(at[0])) {
    case kNumber: return formula::Value(get<double>(at + 1));
    case kInteger: return formula::Value(static_cast<double>(get<std::int32_t>(at + 1)));
    case kLatin: {
      Text text(get<std::uint32_t>(at + 1), u'\0');
      for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<unsigned char>(at[5 + i]);
      return formula::Value(std::move(text));
    }
    case kDate: return formula::Value(formula::DateTime{get<double>(at + 1)});
    case kFalse: return formula::Value(false);
    case kTrue: return formula::Value(true);
    case kText: {
      Text text(get<std::uint32_t>(at + 1), u'\0');
      if (!text.empty()) std::memcpy(text.data(), at + 5, text.size() * 2);
      return formula::Value(std::move(text));
    }
    default: return formula::Value();
  }
}

}  // namespace

void encodeValue(const formula::Value& value, std::string& out) {
  switch (value.kind()) {
    case formula::ValueKind::Null: out.push_back(static_cast<char>(kNull)); break;
    case formula::ValueKind::Number: {
      const double number = value.number();
      if (number >= -2147483648.0 && number <= 2147483647.0 && number == static_cast<double>(static_cast<std::int32_t>(number)) &&
          !(number == 0 && std::signbit(number))) {
        out.push_back(static_cast<char>(kInteger));
        put(out, static_cast<std::int32_t>(number));
      } else {
        out.push_back(static_cast<char>(kNumber));
        put(out, number);
      }
      break;
    }
    case formula::ValueKind::Date:
      out.push_back(static_cast<char>(kDate));
      put(out, value.date().days);
      break;
    case formula::ValueKind::Boolean: out.push_back(static_cast<char>(value.boolean() ? kTrue : kFalse)); break;
    case formula::ValueKind::Text: {
      const Text& text = value.text();
      const bool latin = std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x100; });
      out.push_back(static_cast<char>(latin ? kLatin : kText));
      put(out, static_cast<std::uint32_t>(text.size()));
      if (latin) {
        const std::size_t at = out.size();
        out.resize(at + text.size());
        char* to = out.data() + at;
        for (char16_t c : text) *to++ = static_cast<char>(c);
      } else {
        out.append(reinterpret_cast<const char*>(text.data()), text.size() * 2);
      }
      break;
    }
  }
}

bool EncodedRow::assign(std::string_view bytes, std::size_t fields) {
  bytes_.assign(bytes.data(), bytes.size());
  offsets_.clear();
  std::size_t at = 0;
  for (std::size_t i = 0; i < fields; ++i) {
    offsets_.push_back(static_cast<std::uint32_t>(at));
    const std::size_t length = valueLength(bytes_.data() + at, bytes_.size() - at);
    if (length == 0) {
      offsets_.clear();
      bytes_.clear();
      return false;
    }
    at += length;
  }
  offsets_.push_back(static_cast<std::uint32_t>(at));
  return at == bytes_.size();
}

void EncodedRow::encode(const std::vector<formula::Value>& values) {
  bytes_.clear();
  offsets_.clear();
  for (const formula::Value& value : values) {
    offsets_.push_back(static_cast<std::uint32_t>(bytes_.size()));
    encodeValue(value, bytes_);
  }
  offsets_.push_back(static_cast<std::uint32_t>(bytes_.size()));
}

std::string_view EncodedRow::raw(std::size_t field) const {
  if (field >= size()) return {};
  return std::string_view(bytes_).substr(offsets_[field], offsets_[field + 1] - offsets_[field]);
}

bool EncodedRow::isNull(std::size_t field) const {
  return field >= size() || static_cast<unsigned char>(bytes_[offsets_[field]]) == kNull;
}

formula::ValueKind EncodedRow::kind(std::size_t field) const {
  if (field >= size()) return formula::ValueKind::Null;
  switch (static_cast<unsigned char>(bytes_[offsets_[field]])) {
    case kNumber: return formula::ValueKind::Number;
    case kInteger: return formula::ValueKind::Number;
    case kText:
    case kLatin: return formula::ValueKind::Text;
    case kFalse:
    case kTrue: return formula::ValueKind::Boolean;
    case kDate: return formula::ValueKind::Date;
    default: return formula::ValueKind::Null;
  }
}

bool EncodedRow::number(std::size_t field, double& out) const {
  if (field >= size()) return false;
  const char* at = bytes_.data() + offsets_[field];
  switch (static_cast<unsigned char>(at[0])) {
    case kNumber:
    case kDate: out = get<double>(at + 1); return true;
    case kInteger: out = get<std::int32_t>(at + 1); return true;
    default: return false;
  }
}

formula::Value EncodedRow::value(std::size_t field) const {
  if (field >= size()) return formula::Value();
  return decode(bytes_.data() + offsets_[field]);
}

void ByteWriter::u64(std::uint64_t value) { put(out_, value); }
void ByteWriter::f64(double value) { put(out_, value); }
void ByteWriter::value(const formula::Value& value) { encodeValue(value, out_); }
void ByteWriter::bytes(std::string_view data) {
  u64(data.size());
  out_.append(data);
}

bool ByteReader::take(void* out, std::size_t size) {
  if (data_.size() - at_ < size) {
    std::memset(out, 0, size);
    at_ = data_.size();
    return false;
  }
  std::memcpy(out, data_.data() + at_, size);
  at_ += size;
  return true;
}

std::uint64_t ByteReader::u64() {
  std::uint64_t value;
  take(&value, sizeof value);
  return value;
}

double ByteReader::f64() {
  double value;
  take(&value, sizeof value);
  return value;
}

formula::Value ByteReader::value() {
  const std::size_t length = valueLength(data_.data() + at_, data_.size() - at_);
  if (length == 0) {
    at_ = data_.size();
    return formula::Value();
  }
  formula::Value result = decode(data_.data() + at_);
  at_ += length;
  return result;
}

std::string_view ByteReader::bytes() {
  const std::uint64_t size = u64();
  if (size > data_.size() - at_) {
    at_ = data_.size();
    return {};
  }
  std::string_view result = data_.substr(at_, static_cast<std::size_t>(size));
  at_ += static_cast<std::size_t>(size);
  return result;
}

}  // namespace mervane::engine::layout
