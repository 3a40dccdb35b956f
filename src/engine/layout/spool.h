// The spool: rows already read, kept in a temporary file.
//
// The layout reads every row from here, including rows just fetched, so
// laying out page 40 again after page 900 reads the rows of page 40 from
// the file instead of asking the database again. Each record is a 4-byte
// length and the encoded row (row_codec.h); a length of 0xFFFFFFFF ends a
// block (the rows of one subreport instance). The newest records stay in
// memory until a megabyte of them is collected, so memory stays flat
// however many rows a report has.
//
// One thread appends while others read: every member may be called from
// any thread. The file is removed when the spool goes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"

namespace mervane::engine::layout {

class Spool {
 public:
  // Makes the file in `folder` (the system's temporary folder when empty).
  // Throws std::runtime_error, saying why in words, when it cannot.
  explicit Spool(const Text& folder);
  ~Spool();
  Spool(const Spool&) = delete;
  Spool& operator=(const Spool&) = delete;

  // Adds a record; returns where it starts. Throws std::runtime_error when
  // the file cannot be written.
  std::uint64_t append(std::string_view row);
  std::uint64_t appendBlockEnd();
  std::uint64_t end() const;
  // Bytes kept in memory, for the tests' and benchmark's look at memory.
  std::size_t memoryBytes() const;

  // Copies `size` bytes from `offset` (all within end()).
  void copy(std::uint64_t offset, char* out, std::size_t size);

 private:
  void flushTail();

  mutable std::mutex mutex_;
  std::filesystem::path path_;
  std::fstream file_;
  std::uint64_t flushed_ = 0;  // bytes in the file
  std::string tail_;           // bytes after them
};

// Reads records of a spool through a buffer of its own; one per thread.
class SpoolReader {
 public:
  explicit SpoolReader(Spool& spool) : spool_(spool) {}
  enum class Result { Row, BlockEnd, End };
  // The record at `offset`: its bytes (valid until the next read) and where
  // the next record starts. End when nothing has been written there yet.
  Result read(std::uint64_t offset, std::string_view& row, std::uint64_t& after);

 private:
  bool ensure(std::uint64_t offset, std::size_t size);
  Spool& spool_;
  std::vector<char> buffer_;
  std::uint64_t start_ = 0;
  std::size_t length_ = 0;
};

constexpr std::uint32_t kBlockEnd = 0xFFFFFFFFu;

}  // namespace mervane::engine::layout
