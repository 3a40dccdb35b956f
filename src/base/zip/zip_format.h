// The zip file format in one place: record signatures and sizes, little-endian
// encoding, DOS timestamps, entry-name encodings and the rule that decides
// which entry names are safe to extract.
//
// Layout of an archive as this archiver writes it:
//   [local header, name, ZIP64 extra?, data] for each entry
//   [central header, name, ZIP64 extra?]     for each entry
//   [ZIP64 end record, ZIP64 locator]        only when 32 bits do not suffice
//   [end of central directory]
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/text.h"

namespace mervane::zip {

constexpr std::uint32_t kLocalHeaderSignature = 0x04034b50;
constexpr std::uint32_t kCentralHeaderSignature = 0x02014b50;
constexpr std::uint32_t kEndSignature = 0x06054b50;
constexpr std::uint32_t kZip64EndSignature = 0x06064b50;
constexpr std::uint32_t kZip64LocatorSignature = 0x07064b50;

constexpr std::size_t kLocalHeaderSize = 30;
constexpr std::size_t kCentralHeaderSize = 46;
constexpr std::size_t kEndSize = 22;
constexpr std::size_t kZip64EndSize = 56;
constexpr std::size_t kZip64LocatorSize = 20;
constexpr std::size_t kMaxCommentSize = 0xFFFF;

constexpr std::uint16_t kMethodStored = 0;
constexpr std::uint16_t kMethodDeflated = 8;

constexpr std::uint16_t kFlagEncrypted = 0x0001;
constexpr std::uint16_t kFlagStrongEncryption = 0x0040;
constexpr std::uint16_t kFlagUtf8 = 0x0800;

constexpr std::uint16_t kExtraZip64 = 0x0001;
constexpr std::uint16_t kExtraUnicodePath = 0x7075;

constexpr std::uint16_t kVersionDeflate = 20;  // 2.0: deflate
constexpr std::uint16_t kVersionZip64 = 45;    // 4.5: ZIP64 records

constexpr std::uint8_t kHostUnix = 3;
constexpr std::uint32_t kRegularFileMode = 0100644;  // rw-r--r--, a regular file

constexpr std::uint32_t kMax32 = 0xFFFFFFFF;
constexpr std::uint16_t kMax16 = 0xFFFF;

// Deflate cannot expand data more than 1032 times: an entry that declares
// more is lying about its size.
constexpr std::uint64_t kMaxDeflateRatio = 1032;

// Appends little-endian fields to a byte string.
class RecordWriter {
 public:
  explicit RecordWriter(std::string& out) : out_(out) {}
  void u16(std::uint16_t v);
  void u32(std::uint32_t v);
  void u64(std::uint64_t v);
  void bytes(std::string_view b) { out_.append(b); }

 private:
  std::string& out_;
};

// Reads little-endian fields from a byte range; every read is bounds-checked
// and a read past the end sets failed() and yields 0.
class RecordReader {
 public:
  RecordReader(const unsigned char* data, std::size_t size) : data_(data), size_(size) {}
  std::uint16_t u16();
  std::uint32_t u32();
  std::uint64_t u64();
  std::string_view bytes(std::size_t n);
  void skip(std::size_t n);
  std::size_t remaining() const { return failed_ ? 0 : size_ - pos_; }
  bool failed() const { return failed_; }

 private:
  bool take(std::size_t n);
  const unsigned char* data_;
  std::size_t size_;
  std::size_t pos_ = 0;
  bool failed_ = false;
};

// The records that end a zip file, for a central directory of `count`
// entries, `size` bytes long, that starts at `start` and ends at `end`: the
// ZIP64 end record and its locator when a count or an offset does not fit
// the classic record (or when `forceZip64`), then the classic end record,
// with the fields ZIP64 carries set to their maximum.
std::string endRecords(std::uint64_t count, std::uint64_t start, std::uint64_t size, std::uint64_t end,
                       bool forceZip64 = false);

std::uint16_t readU16(const unsigned char* p);
std::uint32_t readU32(const unsigned char* p);
std::uint64_t readU64(const unsigned char* p);

// MS-DOS date and time (local time, two-second steps, 1980 to 2107).
struct DosTime {
  std::uint16_t time = 0;
  std::uint16_t date = (0 << 9) | (1 << 5) | 1;  // 1980-01-01 00:00:00
};
DosTime dosTimeFromLocal(int year, int month, int day, int hour, int minute, int second);

// Entry names: how the name bytes of a central header are read.
bool isValidUtf8(std::string_view bytes);
Text fromCodePage437(std::string_view bytes);
// `hostSystem` is the high byte of "version made by": 0 (MS-DOS), 6 (OS/2),
// 10 and 11 (NTFS, as numbered by the format and by Info-ZIP) and 14 (VFAT)
// mean the OEM code page unless flagged UTF-8.
Text decodeEntryName(std::string_view bytes, std::uint16_t flags, std::uint8_t hostSystem,
                     std::string_view extraField);

// True for entries that only record a folder ("reports/").
bool isFolderEntry(TextView name);

// The file name an entry may be extracted under, or nothing when its name
// is unsafe: absolute paths, drive letters, ".." anywhere, characters or
// device names that Windows gives a meaning of their own. A safe name with
// folders gives its last component only.
std::optional<Text> safeFileName(TextView entryName);

}  // namespace mervane::zip
