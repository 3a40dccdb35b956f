// The spool file: records appended by the background reader, read back by
// every page laid out.
#include "engine/layout/spool.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <random>
#include <stdexcept>

namespace mervane::engine::layout {

// A million rows easily pass 4 GB of spool: its offsets are 64-bit numbers,
// and so are the file positions they become, on 32-bit hosts as well.
static_assert(sizeof(std::streamoff) == 8);

namespace {

constexpr std::size_t kTailLimit = std::size_t{1} << 20;
constexpr std::size_t kReadBlock = std::size_t{64} << 10;

std::filesystem::path spoolPath(const Text& folder) {
  std::error_code error;
  std::filesystem::path directory =
      folder.empty() ? std::filesystem::temp_directory_path(error) : std::filesystem::path(folder);
  if (error) throw std::runtime_error("There is no temporary folder for the report's rows.");
  static std::atomic<unsigned> counter{0};
  std::random_device random;
  const std::string name = "mervane-rows-" + std::to_string(random()) + "-" + std::to_string(++counter) + ".tmp";
  return directory / name;
}

}  // namespace

Spool::Spool(const Text& folder) : path_(spoolPath(folder)) {
  file_.open(path_, std::ios::in | std::ios::out | std::ios::binary | std::ios::trunc);
  if (!file_) {
    throw std::runtime_error("The report's rows cannot be kept: the file " + toUtf8(path_.u16string()) +
                             " cannot be made.");
  }
  tail_.reserve(kTailLimit + kReadBlock);
}

Spool::~Spool() {
  file_.close();
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

void Spool::flushTail() {
  file_.clear();
  file_.seekp(static_cast<std::streamoff>(flushed_));
  file_.write(tail_.data(), static_cast<std::streamsize>(tail_.size()));
  file_.flush();
  if (!file_) throw std::runtime_error("The report's rows cannot be kept: the temporary file cannot be written.");
  flushed_ += tail_.size();
  tail_.clear();
}

std::uint64_t Spool::append(std::string_view row) {
  std::lock_guard lock(mutex_);
  const std::uint64_t at = flushed_ + tail_.size();
  const auto length = static_cast<std::uint32_t>(std::min<std::size_t>(row.size(), kBlockEnd - 1));
  char prefix[4];
  std::memcpy(prefix, &length, 4);
  tail_.append(prefix, 4);
  tail_.append(row.data(), length);
  if (tail_.size() >= kTailLimit) flushTail();
  return at;
}

std::uint64_t Spool::appendBlockEnd() {
  std::lock_guard lock(mutex_);
  const std::uint64_t at = flushed_ + tail_.size();
  char marker[4];
  std::memcpy(marker, &kBlockEnd, 4);
  tail_.append(marker, 4);
  return at;
}

std::uint64_t Spool::end() const {
  std::lock_guard lock(mutex_);
  return flushed_ + tail_.size();
}

std::size_t Spool::memoryBytes() const {
  std::lock_guard lock(mutex_);
  return tail_.capacity();
}

void Spool::copy(std::uint64_t offset, char* out, std::size_t size) {
  std::lock_guard lock(mutex_);
  if (offset < flushed_) {
    const auto fromFile = static_cast<std::size_t>(std::min<std::uint64_t>(size, flushed_ - offset));
    file_.clear();
    file_.seekg(static_cast<std::streamoff>(offset));
    file_.read(out, static_cast<std::streamsize>(fromFile));
    if (file_.gcount() != static_cast<std::streamsize>(fromFile)) {
      throw std::runtime_error("The report's rows cannot be read back from the temporary file.");
    }
    out += fromFile;
    size -= fromFile;
    offset += fromFile;
  }
  if (size > 0) std::memcpy(out, tail_.data() + (offset - flushed_), size);
}

bool SpoolReader::ensure(std::uint64_t offset, std::size_t size) {
  if (offset >= start_ && offset + size <= start_ + length_) return true;
  const std::uint64_t end = spool_.end();
  if (offset + size > end) return false;
  // Reading backwards (a chain of entries that each name an earlier one),
  // the block read reaches back half its size, so that the next reads find
  // their records in it too.
  const std::uint64_t from = offset < start_ ? offset - std::min<std::uint64_t>(offset, kReadBlock / 2) : offset;
  const std::size_t reach = static_cast<std::size_t>(offset - from) + size;
  const auto want = static_cast<std::size_t>(std::min<std::uint64_t>(std::max(reach, kReadBlock), end - from));
  if (buffer_.size() < want) buffer_.resize(want);
  // A huge record does not keep its buffer for the rest of the run.
  if (buffer_.size() > 4 * kReadBlock && want <= kReadBlock) buffer_.assign(kReadBlock, 0);
  spool_.copy(from, buffer_.data(), want);
  start_ = from;
  length_ = want;
  return true;
}

SpoolReader::Result SpoolReader::read(std::uint64_t offset, std::string_view& row, std::uint64_t& after) {
  if (!ensure(offset, 4)) return Result::End;
  std::uint32_t length;
  std::memcpy(&length, buffer_.data() + (offset - start_), 4);
  if (length == kBlockEnd) {
    after = offset + 4;
    return Result::BlockEnd;
  }
  if (!ensure(offset, 4 + std::size_t{length})) return Result::End;
  row = std::string_view(buffer_.data() + (offset - start_) + 4, length);
  after = offset + 4 + length;
  return Result::Row;
}

}  // namespace mervane::engine::layout
