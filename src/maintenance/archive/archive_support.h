// Pieces shared by the writer and the extractor: the temporary file that
// becomes a real file only when complete, the failure that ends an
// operation, and the bookkeeping behind the progress events.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <vector>

#include "maintenance/archive/archiver.h"

namespace mervane {

// Archives, and the files in them, may pass 4 GB on 32-bit hosts too: every
// position and size in a file is a 64-bit number on every target.
static_assert(sizeof(std::streamoff) == 8 && sizeof(std::uintmax_t) == 8);

// Thrown inside the archiver to end an operation (or one file) with a reason;
// the entry points turn it into their result.
struct ArchiveStop {
  ArchiveError reason;
};

// A file being written under a fresh temporary name in the folder of its
// final name. commit() renames it into place, replacing what was there;
// until then the final name is untouched, and destruction without commit
// removes the temporary file.
class TempFile {
 public:
  TempFile(const std::filesystem::path& folder, std::mt19937_64& random);
  ~TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  std::ofstream& stream() { return stream_; }
  const std::filesystem::path& path() const { return path_; }
  // Closes the stream; false when anything written did not reach the file.
  bool close();
  // Closes and renames onto `target`; false (and the temporary file removed)
  // on failure.
  bool commit(const std::filesystem::path& target);

 private:
  std::filesystem::path path_;
  std::vector<char> buffer_;
  std::ofstream stream_;
  bool open_ = false;
  bool committed_ = false;
};

// Clamps to what a 32-bit event argument can show.
std::int32_t clamp32(std::uint64_t value);
std::int16_t percentOf(std::uint64_t done, std::uint64_t size);

// The running totals of one operation and the events that show them.
class ProgressReporter {
 public:
  ProgressReporter(ArchiveEvents& events, std::uint64_t totalFiles, std::uint64_t totalBytes)
      : events_(events), totalFiles_(totalFiles), totalBytes_(totalBytes) {}

  // Event handlers that raise an error stop the operation (ArchiveStop).
  void fileStarted(const Text& name, std::uint64_t size) { progress(name, size, 0, 0); }
  void fileProgress(const Text& name, std::uint64_t size, std::uint64_t done) {
    progress(name, size, done, percentOf(done, size));
  }
  // A file finished: its last progress, then the counts and the count event.
  void fileFinished(const Text& name, std::uint64_t size);
  // Tells a listener that keeps the last count that nothing was done after all.
  void retractCount() noexcept;
  std::int32_t processedFiles() const { return clamp32(processedFiles_); }

 private:
  void progress(const Text& name, std::uint64_t size, std::uint64_t done, std::int16_t percent);

  ArchiveEvents& events_;
  std::uint64_t totalFiles_;
  std::uint64_t totalBytes_;
  std::uint64_t processedFiles_ = 0;
  std::uint64_t processedBytes_ = 0;
};

// Seeds the generator behind temporary names.
std::mt19937_64 makeRandom();

}  // namespace mervane
