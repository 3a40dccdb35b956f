// The archive reader: end records, central directory, local headers, data.
#include "maintenance/archive/zip_reader.h"

#include <zlib.h>

#include <algorithm>
#include <numeric>
#include <string>

#include "maintenance/archive/archive_support.h"
#include "base/zip/zip_format.h"

namespace mervane {

namespace {

constexpr std::size_t kReadBlock = 256 * 1024;

[[noreturn]] void stop(ArchiveError reason) { throw ArchiveStop{reason}; }

// Owns a raw inflate stream.
class Inflater {
 public:
  Inflater() {
    if (inflateInit2(&stream_, -MAX_WBITS) != Z_OK) stop(ArchiveError::internal);
  }
  ~Inflater() { inflateEnd(&stream_); }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;
  z_stream* get() { return &stream_; }

 private:
  z_stream stream_{};
};

// Values of a ZIP64 extra field, present only for the fields whose 32-bit
// value is the 0xFFFFFFFF marker, in this order.
bool applyZip64Extra(std::string_view extra, bool wantSize, bool wantCompressed, bool wantOffset,
                     ZipEntry& entry) {
  zip::RecordReader r(reinterpret_cast<const unsigned char*>(extra.data()), extra.size());
  while (r.remaining() >= 4) {
    std::uint16_t id = r.u16();
    std::uint16_t size = r.u16();
    std::string_view body = r.bytes(size);
    if (r.failed()) return false;
    if (id != zip::kExtraZip64) continue;
    zip::RecordReader b(reinterpret_cast<const unsigned char*>(body.data()), body.size());
    if (wantSize) entry.size = b.u64();
    if (wantCompressed) entry.compressedSize = b.u64();
    if (wantOffset) entry.headerOffset = b.u64();
    return !b.failed();
  }
  return !(wantSize || wantCompressed || wantOffset);
}

}  // namespace

ZipReader::ZipReader(const std::filesystem::path& path) {
  // Unbuffered: every read below is explicit and sized.
  file_.rdbuf()->pubsetbuf(nullptr, 0);
  file_.open(path, std::ios::binary);
  if (!file_.is_open()) stop(ArchiveError::cannotOpen);
  file_.seekg(0, std::ios::end);
  auto end = file_.tellg();
  if (end < 0) stop(ArchiveError::cannotOpen);
  fileSize_ = static_cast<std::uint64_t>(end);
  readDirectory();
  checkLocalHeaders();
}

void ZipReader::readAt(std::uint64_t offset, void* buffer, std::size_t size) {
  if (offset > fileSize_ || size > fileSize_ - offset) stop(ArchiveError::corrupt);
  file_.clear();
  file_.seekg(static_cast<std::streamoff>(offset));
  file_.read(static_cast<char*>(buffer), static_cast<std::streamsize>(size));
  if (static_cast<std::size_t>(file_.gcount()) != size) stop(ArchiveError::cannotOpen);
}

void ZipReader::readDirectory() {
  if (fileSize_ < zip::kEndSize) stop(ArchiveError::notAnArchive);
  // The end record is the last 22 bytes, or further up if a comment follows.
  std::size_t tailSize = static_cast<std::size_t>(
      std::min<std::uint64_t>(fileSize_, zip::kEndSize + zip::kMaxCommentSize));
  std::string tail(tailSize, '\0');
  std::uint64_t tailAt = fileSize_ - tailSize;
  readAt(tailAt, tail.data(), tailSize);
  const auto* t = reinterpret_cast<const unsigned char*>(tail.data());
  std::size_t at = tailSize - zip::kEndSize + 1;
  bool found = false;
  while (at-- > 0) {
    if (zip::readU32(t + at) == zip::kEndSignature &&
        at + zip::kEndSize + zip::readU16(t + at + 20) <= tailSize) {
      found = true;
      break;
    }
  }
  if (!found) stop(ArchiveError::notAnArchive);
  std::uint64_t endAt = tailAt + at;

  zip::RecordReader e(t + at + 4, zip::kEndSize - 4);
  std::uint32_t disk = e.u16(), directoryDisk = e.u16();
  std::uint64_t entriesHere = e.u16();
  entryCount_ = e.u16();
  directorySize_ = e.u32();
  directoryOffset_ = e.u32();
  std::uint64_t recordsStart = endAt;

  // A ZIP64 locator right before the end record points at the ZIP64 end record.
  if (endAt >= zip::kZip64LocatorSize) {
    unsigned char loc[zip::kZip64LocatorSize];
    readAt(endAt - zip::kZip64LocatorSize, loc, sizeof loc);
    if (zip::readU32(loc) == zip::kZip64LocatorSignature) {
      std::uint64_t recordAt = zip::readU64(loc + 8);
      if (zip::readU32(loc + 16) > 1) stop(ArchiveError::spanned);
      if (recordAt > endAt - zip::kZip64LocatorSize ||
          endAt - zip::kZip64LocatorSize - recordAt < zip::kZip64EndSize)
        stop(ArchiveError::corrupt);
      unsigned char rec[zip::kZip64EndSize];
      readAt(recordAt, rec, sizeof rec);
      zip::RecordReader z(rec, sizeof rec);
      if (z.u32() != zip::kZip64EndSignature) stop(ArchiveError::corrupt);
      z.skip(8 + 2 + 2);
      disk = z.u32();
      directoryDisk = z.u32();
      entriesHere = z.u64();
      entryCount_ = z.u64();
      directorySize_ = z.u64();
      directoryOffset_ = z.u64();
      recordsStart = recordAt;
    }
  }
  if (disk != 0 || directoryDisk != 0 || entriesHere != entryCount_) stop(ArchiveError::spanned);
  if (directoryOffset_ > recordsStart || directorySize_ > recordsStart - directoryOffset_)
    stop(ArchiveError::corrupt);
  if (directorySize_ > kMaxDirectorySize) stop(ArchiveError::corrupt);
  // Every central header takes at least 46 bytes: a larger count is a lie.
  if (entryCount_ > directorySize_ / zip::kCentralHeaderSize) stop(ArchiveError::corrupt);

  std::string directory(static_cast<std::size_t>(directorySize_), '\0');
  readAt(directoryOffset_, directory.data(), directory.size());
  zip::RecordReader r(reinterpret_cast<const unsigned char*>(directory.data()), directory.size());
  entries_.reserve(static_cast<std::size_t>(entryCount_));
  for (std::uint64_t i = 0; i < entryCount_; ++i) {
    if (r.u32() != zip::kCentralHeaderSignature) stop(ArchiveError::corrupt);
    ZipEntry entry;
    std::uint16_t madeBy = r.u16();
    r.skip(2);  // version needed
    entry.flags = r.u16();
    entry.method = r.u16();
    r.skip(4);  // time, date
    entry.crc = r.u32();
    std::uint32_t compressed32 = r.u32(), size32 = r.u32();
    std::uint16_t nameSize = r.u16(), extraSize = r.u16(), commentSize = r.u16();
    std::uint16_t entryDisk = r.u16();
    r.skip(2 + 4);  // attributes
    std::uint32_t offset32 = r.u32();
    std::string_view name = r.bytes(nameSize);
    std::string_view extra = r.bytes(extraSize);
    r.skip(commentSize);
    if (r.failed()) stop(ArchiveError::corrupt);

    entry.compressedSize = compressed32;
    entry.size = size32;
    entry.headerOffset = offset32;
    entry.name =
        zip::decodeEntryName(name, entry.flags, static_cast<std::uint8_t>(madeBy >> 8), extra);
    if (!applyZip64Extra(extra, size32 == zip::kMax32, compressed32 == zip::kMax32,
                         offset32 == zip::kMax32, entry))
      entry.problem = ArchiveError::corrupt;
    else if (entryDisk != 0 && entryDisk != zip::kMax16)
      entry.problem = ArchiveError::spanned;
    else if (entry.flags & (zip::kFlagEncrypted | zip::kFlagStrongEncryption))
      entry.problem = ArchiveError::encrypted;
    else if (entry.method != zip::kMethodStored && entry.method != zip::kMethodDeflated)
      entry.problem = ArchiveError::unsupportedMethod;
    entries_.push_back(std::move(entry));
  }
}

void ZipReader::checkLocalHeaders() {
  std::vector<std::size_t> order(entries_.size());
  std::iota(order.begin(), order.end(), 0);
  std::sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
    if (entries_[a].headerOffset != entries_[b].headerOffset)
      return entries_[a].headerOffset < entries_[b].headerOffset;
    return a < b;
  });
  // Entry data must lie before the directory, each entry after the end of
  // the previous one. `reach` is the furthest end seen so far.
  std::uint64_t reach = 0;
  std::size_t reachOwner = 0;
  for (std::size_t index : order) {
    ZipEntry& e = entries_[index];
    auto mark = [&e](ArchiveError why) {
      if (e.problem == ArchiveError::none) e.problem = why;
    };
    if (e.headerOffset < reach) {
      mark(ArchiveError::overlapping);
      if (entries_[reachOwner].problem == ArchiveError::none)
        entries_[reachOwner].problem = ArchiveError::overlapping;
    }
    if (e.headerOffset > directoryOffset_ ||
        directoryOffset_ - e.headerOffset < zip::kLocalHeaderSize) {
      mark(ArchiveError::overlapping);
      continue;
    }
    unsigned char h[zip::kLocalHeaderSize];
    readAt(e.headerOffset, h, sizeof h);
    std::uint16_t flags = zip::readU16(h + 6), method = zip::readU16(h + 8);
    if (zip::readU32(h) != zip::kLocalHeaderSignature || method != e.method ||
        (flags & zip::kFlagEncrypted) != (e.flags & zip::kFlagEncrypted)) {
      mark(ArchiveError::badLocalHeader);
      continue;
    }
    e.dataOffset =
        e.headerOffset + zip::kLocalHeaderSize + zip::readU16(h + 26) + zip::readU16(h + 28);
    if (e.dataOffset > directoryOffset_ || e.compressedSize > directoryOffset_ - e.dataOffset) {
      mark(ArchiveError::overlapping);
      continue;
    }
    std::uint64_t end = e.dataOffset + e.compressedSize;
    if (end > reach) {
      reach = end;
      reachOwner = index;
    }
  }
}

void ZipReader::readEntry(const ZipEntry& entry, const Sink& sink) {
  if (entry.problem != ArchiveError::none) stop(entry.problem);
  std::vector<unsigned char> in(
      static_cast<std::size_t>(std::min<std::uint64_t>(kReadBlock, entry.compressedSize)));
  std::uint64_t remaining = entry.compressedSize;
  std::uint64_t produced = 0;
  std::uint32_t crc = 0;
  file_.clear();
  file_.seekg(static_cast<std::streamoff>(entry.dataOffset));
  auto readBlock = [&]() -> std::size_t {
    std::size_t n = static_cast<std::size_t>(std::min<std::uint64_t>(in.size(), remaining));
    file_.read(reinterpret_cast<char*>(in.data()), static_cast<std::streamsize>(n));
    if (static_cast<std::size_t>(file_.gcount()) != n) stop(ArchiveError::cannotOpen);
    remaining -= n;
    return n;
  };

  if (entry.method == zip::kMethodStored) {
    if (entry.compressedSize != entry.size) stop(ArchiveError::sizeMismatch);
    while (remaining > 0) {
      std::size_t n = readBlock();
      crc = static_cast<std::uint32_t>(crc32_z(crc, in.data(), n));
      sink(in.data(), n);
    }
  } else {
    // Deflate cannot expand further than this; a larger size is a lie.
    if (entry.size / zip::kMaxDeflateRatio > entry.compressedSize) stop(ArchiveError::sizeMismatch);
    Inflater inflater;
    z_stream* z = inflater.get();
    std::vector<unsigned char> out(kReadBlock);
    for (;;) {
      if (z->avail_in == 0) {
        if (remaining == 0) stop(ArchiveError::sizeMismatch);  // data ends before the stream does
        z->avail_in = static_cast<uInt>(readBlock());
        z->next_in = in.data();
      }
      z->next_out = out.data();
      z->avail_out = static_cast<uInt>(out.size());
      int rc = inflate(z, Z_NO_FLUSH);
      if (rc != Z_OK && rc != Z_STREAM_END) stop(ArchiveError::corrupt);
      std::size_t got = out.size() - z->avail_out;
      produced += got;
      if (produced > entry.size) stop(ArchiveError::sizeMismatch);  // stop reading: it is lying
      crc = static_cast<std::uint32_t>(crc32_z(crc, out.data(), got));
      sink(out.data(), got);
      if (rc == Z_STREAM_END) break;
    }
    if (produced != entry.size) stop(ArchiveError::sizeMismatch);
  }
  if (crc != entry.crc) stop(ArchiveError::checksumMismatch);
}

}  // namespace mervane
