// Temporary files, clamped event values and progress bookkeeping.
#include "maintenance/archive/archive_support.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <system_error>

namespace mervane {

namespace fs = std::filesystem;

std::mt19937_64 makeRandom() {
  std::random_device device;
  std::seed_seq seed{
      device(), device(),
      static_cast<unsigned>(std::chrono::steady_clock::now().time_since_epoch().count())};
  return std::mt19937_64(seed);
}

TempFile::TempFile(const fs::path& folder, std::mt19937_64& random) : buffer_(256 * 1024) {
  static constexpr char kHex[] = "0123456789abcdef";
  for (int attempt = 0; attempt < 16 && !open_; ++attempt) {
    std::uint64_t n = random();
    std::string name = "~mv";
    for (int i = 0; i < 16; ++i, n >>= 4) name.push_back(kHex[n & 15]);
    name += ".tmp";
    fs::path candidate = folder / name;
    std::error_code ec;
    if (fs::exists(candidate, ec) || ec) continue;
    stream_.rdbuf()->pubsetbuf(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    stream_.open(candidate, std::ios::binary | std::ios::out | std::ios::trunc);
    if (stream_.is_open()) {
      path_ = candidate;
      open_ = true;
    }
  }
  if (!open_) throw ArchiveStop{ArchiveError::cannotWrite};
}

TempFile::~TempFile() {
  if (committed_) return;
  if (stream_.is_open()) stream_.close();
  std::error_code ec;
  fs::remove(path_, ec);
}

bool TempFile::close() {
  if (!stream_.is_open()) return !stream_.fail();
  stream_.close();
  return !stream_.fail();
}

bool TempFile::commit(const fs::path& target) {
  if (!close()) return false;
  std::error_code ec;
  fs::rename(path_, target, ec);
  if (ec) return false;
  committed_ = true;
  return true;
}

std::int32_t clamp32(std::uint64_t value) {
  return static_cast<std::int32_t>(
      std::min<std::uint64_t>(value, std::numeric_limits<std::int32_t>::max()));
}

std::int16_t percentOf(std::uint64_t done, std::uint64_t size) {
  if (size == 0) return done == 0 ? 0 : 100;
  // Sizes up to 2^64 / 100 are safe; beyond that, divide first.
  std::uint64_t p = size > (1ull << 56) ? done / (size / 100) : done * 100 / size;
  return static_cast<std::int16_t>(std::min<std::uint64_t>(p, 100));
}

void ProgressReporter::progress(const Text& name, std::uint64_t size, std::uint64_t done,
                                std::int16_t percent) {
  try {
    events_.progress(name, clamp32(size), clamp32(done), percent, clamp32(totalFiles_),
                     clamp32(processedFiles_), clamp32(totalBytes_),
                     clamp32(processedBytes_ + done));
  } catch (...) {
    throw ArchiveStop{ArchiveError::interrupted};
  }
}

void ProgressReporter::fileFinished(const Text& name, std::uint64_t size) {
  progress(name, size, size, 100);
  ++processedFiles_;
  processedBytes_ += size;
  try {
    events_.fileCount(name, clamp32(processedFiles_));
  } catch (...) {
    throw ArchiveStop{ArchiveError::interrupted};
  }
}

void ProgressReporter::retractCount() noexcept {
  if (processedFiles_ == 0) return;
  processedFiles_ = 0;
  try {
    events_.fileCount(Text(), 0);
  } catch (...) {
    // The listener is failing already; the result tells the caller.
  }
}

}  // namespace mervane
