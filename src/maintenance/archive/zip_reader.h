// Reading an archive: the central directory is the source of truth, and
// nothing in it is used before it has been checked against the file.
//
// Opening an archive finds the end record (and the ZIP64 one), reads the
// whole central directory and then the local header of every entry, in
// file order, to learn where each entry's data starts and to find entries
// whose data runs into another entry or into the directory. An entry that
// fails any of these checks keeps the reason in `problem` and is never read.
// readEntry() then inflates one entry, stopping as soon as it yields more
// than its declared size, and checks its size and CRC.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <vector>

#include "maintenance/archive/archiver.h"

namespace mervane {

struct ZipEntry {
  Text name;
  std::uint16_t flags = 0;
  std::uint16_t method = 0;
  std::uint32_t crc = 0;
  std::uint64_t compressedSize = 0;
  std::uint64_t size = 0;
  std::uint64_t headerOffset = 0;
  std::uint64_t dataOffset = 0;
  ArchiveError problem = ArchiveError::none;
};

class ZipReader {
 public:
  // Throws ArchiveStop when the file cannot be read as one whole archive.
  explicit ZipReader(const std::filesystem::path& path);

  const std::vector<ZipEntry>& entries() const { return entries_; }

  // Passes the entry's bytes to `sink` as they are inflated. Throws
  // ArchiveStop with the entry's problem, a size or checksum mismatch, or
  // corrupt data; what reached the sink before is then to be discarded.
  using Sink = std::function<void(const unsigned char* data, std::size_t size)>;
  void readEntry(const ZipEntry& entry, const Sink& sink);

  // The central directory is read whole; beyond this it is refused.
  static constexpr std::uint64_t kMaxDirectorySize = 64ull << 20;

 private:
  void readAt(std::uint64_t offset, void* buffer, std::size_t size);
  void readDirectory();
  void checkLocalHeaders();

  std::ifstream file_;
  std::uint64_t fileSize_ = 0;
  std::uint64_t directoryOffset_ = 0;
  std::uint64_t directorySize_ = 0;
  std::uint64_t entryCount_ = 0;
  std::vector<ZipEntry> entries_;
};

}  // namespace mervane
