// Entries deflated as they come, headers patched when each one ends, the
// central directory written last (see zip_stream_writer.h).
#include "base/zip/zip_stream_writer.h"

#include <zlib.h>

#include <algorithm>
#include <ios>

#include "base/zip/zip_format.h"

namespace mervane::zip {

struct StreamWriter::Entry {
  std::string name;
  std::uint32_t crc = 0;
  std::uint64_t compressedSize = 0;
  std::uint64_t size = 0;
  std::uint64_t headerOffset = 0;
};

struct StreamWriter::Deflater {
  z_stream stream{};
  explicit Deflater(int level) {
    if (deflateInit2(&stream, level, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK)
      throw std::ios_base::failure("the compressor could not start");
  }
  ~Deflater() { deflateEnd(&stream); }
};

namespace {

constexpr std::size_t kBufferSize = 256 * 1024;
constexpr std::uint16_t kVersion = kVersionDeflate;

bool ascii(std::string_view s) {
  return std::all_of(s.begin(), s.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace

StreamWriter::StreamWriter(std::ostream& out, int level) : out_(out), level_(level), buffer_(kBufferSize) {}

StreamWriter::~StreamWriter() = default;

void StreamWriter::put(const void* data, std::size_t size) {
  out_.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
  if (!out_) throw std::ios_base::failure("the zip file could not be written");
  position_ += size;
}

void StreamWriter::begin(std::string_view name) {
  end();
  Entry entry;
  entry.name = std::string(name);
  entry.headerOffset = position_;
  std::string h;
  RecordWriter w(h);
  w.u32(kLocalHeaderSignature);
  w.u16(kVersion);
  w.u16(ascii(name) ? 0 : kFlagUtf8);
  w.u16(kMethodDeflated);
  const DosTime time;
  w.u16(time.time);
  w.u16(time.date);
  w.u32(0);  // CRC and sizes: patched in by end()
  w.u32(0);
  w.u32(0);
  w.u16(static_cast<std::uint16_t>(name.size()));
  w.u16(0);
  w.bytes(name);
  put(h.data(), h.size());
  entries_.push_back(std::move(entry));
  if (!deflater_) {
    deflater_ = std::make_unique<Deflater>(level_);
  } else if (deflateReset(&deflater_->stream) != Z_OK) {
    throw std::ios_base::failure("the compressor could not start");
  }
  open_ = true;
}

void StreamWriter::deflateSome(const char* data, std::size_t size, bool last) {
  z_stream& z = deflater_->stream;
  Entry& entry = entries_.back();
  // zlib counts in 32 bits: hand it at most 1 GiB at a time.
  do {
    const std::size_t piece = std::min<std::size_t>(size, std::size_t{1} << 30);
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data));
    z.avail_in = static_cast<uInt>(piece);
    entry.crc = static_cast<std::uint32_t>(crc32(entry.crc, z.next_in, z.avail_in));
    entry.size += piece;
    data += piece;
    size -= piece;
    const int flush = last && size == 0 ? Z_FINISH : Z_NO_FLUSH;
    int result = Z_OK;
    do {
      z.next_out = buffer_.data();
      z.avail_out = static_cast<uInt>(buffer_.size());
      result = deflate(&z, flush);
      if (result == Z_STREAM_ERROR) throw std::ios_base::failure("the compressor failed");
      const std::size_t produced = buffer_.size() - z.avail_out;
      if (produced) put(buffer_.data(), produced);
      entry.compressedSize += produced;
    } while (z.avail_out == 0 || (flush == Z_FINISH && result != Z_STREAM_END));
  } while (size > 0);
}

void StreamWriter::write(std::string_view bytes) {
  if (!open_ || bytes.empty()) return;
  deflateSome(bytes.data(), bytes.size(), false);
}

void StreamWriter::end() {
  if (!open_) return;
  open_ = false;
  deflateSome("", 0, true);
  const Entry& entry = entries_.back();
  if (entry.size >= kMax32 || entry.compressedSize >= kMax32)
    throw std::ios_base::failure("a zip entry grew past 4 GiB");
  std::string fields;
  RecordWriter w(fields);
  w.u32(entry.crc);
  w.u32(static_cast<std::uint32_t>(entry.compressedSize));
  w.u32(static_cast<std::uint32_t>(entry.size));
  out_.seekp(static_cast<std::streamoff>(entry.headerOffset + 14));
  out_.write(fields.data(), static_cast<std::streamsize>(fields.size()));
  out_.seekp(static_cast<std::streamoff>(position_));
  if (!out_) throw std::ios_base::failure("the zip file could not be written");
}

void StreamWriter::finish() {
  if (finished_) return;
  end();
  finished_ = true;
  const std::uint64_t start = position_;
  std::string cd;
  for (const Entry& e : entries_) {
    const bool bigOffset = e.headerOffset >= kMax32;
    const std::uint16_t needed = bigOffset ? kVersionZip64 : kVersion;
    RecordWriter w(cd);
    w.u32(kCentralHeaderSignature);
    w.u16(static_cast<std::uint16_t>(kHostUnix << 8 | needed));
    w.u16(needed);
    w.u16(ascii(e.name) ? 0 : kFlagUtf8);
    w.u16(kMethodDeflated);
    const DosTime time;
    w.u16(time.time);
    w.u16(time.date);
    w.u32(e.crc);
    w.u32(static_cast<std::uint32_t>(e.compressedSize));
    w.u32(static_cast<std::uint32_t>(e.size));
    w.u16(static_cast<std::uint16_t>(e.name.size()));
    w.u16(bigOffset ? 12 : 0);
    w.u16(0);  // comment
    w.u16(0);  // disk
    w.u16(0);  // internal attributes
    w.u32(kRegularFileMode << 16);
    w.u32(bigOffset ? kMax32 : static_cast<std::uint32_t>(e.headerOffset));
    w.bytes(e.name);
    if (bigOffset) {
      w.u16(kExtraZip64);
      w.u16(8);
      w.u64(e.headerOffset);
    }
  }
  put(cd.data(), cd.size());
  const std::uint64_t size = position_ - start;
  const std::uint64_t count = entries_.size();
  const std::string tail = endRecords(count, start, size, position_);
  put(tail.data(), tail.size());
  out_.flush();
  if (!out_) throw std::ios_base::failure("the zip file could not be written");
}

}  // namespace mervane::zip
