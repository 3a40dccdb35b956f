// Writing an archive: the files of the pattern list, compressed a chunk at a
// time by the worker pool while this thread reads ahead, writes the results
// in file order and fires the events.
//
// The caller's thread alternates between two jobs. It reads the next chunks
// of the next files and hands them to the pool, up to a window of work in
// flight; and it takes the oldest chunk, waits for it if need be, writes its
// bytes behind the entry's local header and reports progress. An entry of
// one chunk gets its complete header at once; a longer one gets its CRC
// (and compressed size) patched in when its last chunk is written. A file
// that cannot be read is rolled back: the next entry is written over it.
#include <zlib.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <deque>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <optional>
#include <system_error>

#include "maintenance/archive/archive_support.h"
#include "maintenance/archive/archiver.h"
#include "maintenance/archive/chunk_compressor.h"
#include "maintenance/archive/file_patterns.h"
#include "base/zip/zip_format.h"

namespace mervane {

namespace {

namespace fs = std::filesystem;

// Entries from this size on get ZIP64 sizes: deflate may grow incompressible
// data by a little, and the compressed size must still fit.
constexpr std::uint64_t kZip64EntrySize = 0xFF000000;

bool isAscii(std::string_view s) {
  return std::all_of(s.begin(), s.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

zip::DosTime dosTimeOf(fs::file_time_type modified) {
  auto sys = std::chrono::file_clock::to_sys(modified);
  std::time_t t = std::chrono::system_clock::to_time_t(
      std::chrono::time_point_cast<std::chrono::system_clock::duration>(sys));
  // Called on the caller's thread only; Windows keeps this buffer per thread.
  const std::tm* local = std::localtime(&t);
  if (!local) return {};
  return zip::dosTimeFromLocal(local->tm_year + 1900, local->tm_mon + 1, local->tm_mday,
                               local->tm_hour, local->tm_min, local->tm_sec);
}

// What the central directory needs to know of a written entry.
struct EntryRecord {
  std::string name;  // UTF-8
  std::uint16_t method = zip::kMethodDeflated;
  zip::DosTime time;
  std::uint32_t crc = 0;
  std::uint64_t compressedSize = 0;
  std::uint64_t size = 0;
  std::uint64_t headerOffset = 0;
  bool zip64Sizes = false;  // the local header carries the sizes in a ZIP64 extra field

  std::uint16_t flags() const { return isAscii(name) ? 0 : zip::kFlagUtf8; }
  std::uint16_t versionNeeded() const {
    if (zip64Sizes || headerOffset >= zip::kMax32) return zip::kVersionZip64;
    return method == zip::kMethodStored ? 10 : zip::kVersionDeflate;
  }
};

// One chunk in flight, or (without a chunk) the point where a file failed.
struct Pending {
  std::size_t file = 0;
  std::uint64_t offset = 0;
  std::shared_ptr<Chunk> chunk;
  std::future<void> done;
};

class ArchiveWriter {
 public:
  ArchiveWriter(std::vector<MatchedFile> files, ArchiveEvents& events,
                const ArchiveOptions& options, ArchiveResult& result)
      : files_(std::move(files)),
        options_(options),
        result_(result),
        reporter_(events, files_.size(), totalSize(files_)),
        decisions_(files_.size(), Decision::undecided),
        maxJobs_(std::max(1u, options.workerThreads * 4)),
        pool_(options.workerThreads) {}

  // Writes every file into `out`, then the central directory.
  void write(std::ofstream& out) {
    out_ = &out;
    for (;;) {
      while (pending_.size() < maxJobs_ && pendingBytes_ < kMaxPendingBytes && produce()) {
      }
      if (pending_.empty()) break;
      consume();
    }
    if (!records_.empty()) writeCentralDirectory();
  }

  std::uint64_t end() const { return position_; }
  std::size_t entryCount() const { return records_.size(); }
  ProgressReporter& reporter() { return reporter_; }

 private:
  enum class Decision : unsigned char { undecided, stored, deflated };
  static constexpr std::size_t kMaxPendingBytes = 16 * kChunkSize;

  static std::uint64_t totalSize(const std::vector<MatchedFile>& files) {
    std::uint64_t total = 0;
    for (const auto& f : files) total += f.size;
    return total;
  }

  // --- Reading ahead -----------------------------------------------------

  // Queues the next chunk of the next file; false when all are queued.
  bool produce() {
    if (nextFile_ == files_.size()) return false;
    const MatchedFile& file = files_[nextFile_];
    if (nextOffset_ == 0 && !source_.is_open()) {
      source_.open(file.path, std::ios::binary);
      if (!source_.is_open()) return failRead();
    }
    std::size_t n =
        static_cast<std::size_t>(std::min<std::uint64_t>(kChunkSize, file.size - nextOffset_));
    auto chunk = std::make_shared<Chunk>();
    chunk->input.resize(n);
    source_.read(reinterpret_cast<char*>(chunk->input.data()), static_cast<std::streamsize>(n));
    if (static_cast<std::size_t>(source_.gcount()) != n) return failRead();
    chunk->last = nextOffset_ + n == file.size;
    // A file that changed since it was listed is not taken half-way.
    if (chunk->last && source_.peek() != std::ifstream::traits_type::eof()) return failRead();
    chunk->level = options_.compressionLevel;
    if (nextOffset_ == 0) {
      chunk->mode = ChunkMode::decide;
    } else {
      chunk->mode =
          decisions_[nextFile_] == Decision::stored ? ChunkMode::copy : ChunkMode::deflate;
      chunk->dictionary = dictionary_;
    }
    keepDictionary(chunk->input);

    Pending p{nextFile_, nextOffset_, chunk, pool_.submit([chunk] { compress(*chunk); })};
    pending_.push_back(std::move(p));
    pendingBytes_ += n;
    nextOffset_ += n;
    if (chunk->last) nextSource();
    return true;
  }

  bool failRead() {
    pending_.push_back(Pending{nextFile_, nextOffset_, nullptr, {}});
    nextSource();
    return true;
  }

  void nextSource() {
    source_.close();
    source_.clear();
    ++nextFile_;
    nextOffset_ = 0;
    dictionary_.clear();
  }

  // The last 32 KiB read, which primes the deflating of the next chunk.
  void keepDictionary(const std::vector<unsigned char>& input) {
    if (input.size() >= kDictionarySize) {
      dictionary_.assign(input.end() - kDictionarySize, input.end());
      return;
    }
    dictionary_.insert(dictionary_.end(), input.begin(), input.end());
    if (dictionary_.size() > kDictionarySize)
      dictionary_.erase(dictionary_.begin(), dictionary_.end() - kDictionarySize);
  }

  // --- Writing in order --------------------------------------------------

  void consume() {
    Pending p = std::move(pending_.front());
    pending_.pop_front();
    if (p.chunk) pendingBytes_ -= p.chunk->input.size();
    if (abandoned_ == p.file) return;
    if (!p.chunk) return abandon(p.file, ArchiveError::unreadableFile);
    try {
      p.done.get();
    } catch (const std::exception&) {
      return abandon(p.file, ArchiveError::internal);
    }
    const Chunk& chunk = *p.chunk;
    const MatchedFile& file = files_[p.file];
    if (p.offset == 0) beginEntry(p.file, chunk);
    EntryRecord& entry = records_.back();

    const auto& data = entry.method == zip::kMethodStored ? chunk.input : chunk.output;
    writeBytes(data.data(), data.size());
    entry.compressedSize += data.size();
    entry.crc = p.offset == 0
                    ? chunk.crc
                    : static_cast<std::uint32_t>(crc32_combine(
                          entry.crc, chunk.crc, static_cast<z_off_t>(chunk.input.size())));
    std::uint64_t done = p.offset + chunk.input.size();
    if (!chunk.last) {
      reporter_.fileProgress(displayName(file), file.size, done);
      return;
    }
    if (p.offset != 0) patchLocalHeader(entry);
    entryOpen_ = false;
    reporter_.fileFinished(displayName(file), file.size);
  }

  void beginEntry(std::size_t index, const Chunk& first) {
    const MatchedFile& file = files_[index];
    reporter_.fileStarted(displayName(file), file.size);
    EntryRecord entry;
    entry.name = toUtf8(file.name);
    entry.method = first.stored ? zip::kMethodStored : zip::kMethodDeflated;
    decisions_[index] = first.stored ? Decision::stored : Decision::deflated;
    entry.time = dosTimeOf(file.modified);
    entry.size = file.size;
    entry.headerOffset = position_;
    entry.zip64Sizes = options_.forceZip64 || file.size >= kZip64EntrySize;
    if (first.last) {  // everything is known already
      entry.crc = first.crc;
      entry.compressedSize = first.stored ? first.input.size() : first.output.size();
    }
    writeLocalHeader(entry);
    entry.compressedSize = 0;  // counted again as the data is written
    records_.push_back(std::move(entry));
    entryOpen_ = true;
  }

  void writeLocalHeader(const EntryRecord& e) {
    std::string h;
    zip::RecordWriter w(h);
    w.u32(zip::kLocalHeaderSignature);
    w.u16(e.versionNeeded());
    w.u16(e.flags());
    w.u16(e.method);
    w.u16(e.time.time);
    w.u16(e.time.date);
    w.u32(e.crc);
    w.u32(e.zip64Sizes ? zip::kMax32 : static_cast<std::uint32_t>(e.compressedSize));
    w.u32(e.zip64Sizes ? zip::kMax32 : static_cast<std::uint32_t>(e.size));
    w.u16(static_cast<std::uint16_t>(e.name.size()));
    w.u16(e.zip64Sizes ? 20 : 0);
    w.bytes(e.name);
    if (e.zip64Sizes) {
      w.u16(zip::kExtraZip64);
      w.u16(16);
      w.u64(e.size);
      w.u64(e.compressedSize);
    }
    writeBytes(h.data(), h.size());
  }

  // A multi-chunk entry's CRC and compressed size, known only now.
  void patchLocalHeader(const EntryRecord& e) {
    if (!e.zip64Sizes && e.compressedSize >= zip::kMax32) throw ArchiveStop{ArchiveError::internal};
    std::string crc, size;
    zip::RecordWriter(crc).u32(e.crc);
    if (e.zip64Sizes)
      zip::RecordWriter(size).u64(e.compressedSize);
    else
      zip::RecordWriter(size).u32(static_cast<std::uint32_t>(e.compressedSize));
    std::uint64_t sizeAt = e.zip64Sizes
                               ? e.headerOffset + zip::kLocalHeaderSize + e.name.size() + 4 + 8
                               : e.headerOffset + 18;
    writeAt(e.headerOffset + 14, crc);
    writeAt(sizeAt, size);
    out_->seekp(static_cast<std::streamoff>(position_));
    if (out_->fail()) throw ArchiveStop{ArchiveError::cannotWrite};
  }

  void writeAt(std::uint64_t at, const std::string& bytes) {
    out_->seekp(static_cast<std::streamoff>(at));
    out_->write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (out_->fail()) throw ArchiveStop{ArchiveError::cannotWrite};
  }

  // Gives up a file: whatever of it was written is overwritten by the next.
  void abandon(std::size_t index, ArchiveError reason) {
    abandoned_ = index;
    result_.failures.push_back({files_[index].path.u16string(), reason});
    if (!entryOpen_ || records_.empty()) return;
    entryOpen_ = false;
    position_ = records_.back().headerOffset;
    records_.pop_back();
    out_->seekp(static_cast<std::streamoff>(position_));
    if (out_->fail()) throw ArchiveStop{ArchiveError::cannotWrite};
  }

  void writeBytes(const void* data, std::size_t size) {
    out_->write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
    if (out_->fail()) throw ArchiveStop{ArchiveError::cannotWrite};
    position_ += size;
  }

  static Text displayName(const MatchedFile& file) { return file.path.u16string(); }

  // --- The central directory ---------------------------------------------

  void writeCentralDirectory() {
    std::uint64_t start = position_;
    std::string cd;
    for (const EntryRecord& e : records_) {
      bool bigOffset = options_.forceZip64 || e.headerOffset >= zip::kMax32;
      std::string extra;
      zip::RecordWriter x(extra);
      if (e.zip64Sizes || bigOffset) {
        x.u16(zip::kExtraZip64);
        x.u16(static_cast<std::uint16_t>((e.zip64Sizes ? 16 : 0) + (bigOffset ? 8 : 0)));
        if (e.zip64Sizes) {
          x.u64(e.size);
          x.u64(e.compressedSize);
        }
        if (bigOffset) x.u64(e.headerOffset);
      }
      zip::RecordWriter w(cd);
      w.u32(zip::kCentralHeaderSignature);
      // Made by: Unix attributes. Tools on every system read those, and with
      // MS-DOS ones Info-ZIP's unzip takes the UTF-8 names for OEM text.
      w.u16(static_cast<std::uint16_t>(zip::kHostUnix << 8 | e.versionNeeded()));
      w.u16(e.versionNeeded());
      w.u16(e.flags());
      w.u16(e.method);
      w.u16(e.time.time);
      w.u16(e.time.date);
      w.u32(e.crc);
      w.u32(e.zip64Sizes ? zip::kMax32 : static_cast<std::uint32_t>(e.compressedSize));
      w.u32(e.zip64Sizes ? zip::kMax32 : static_cast<std::uint32_t>(e.size));
      w.u16(static_cast<std::uint16_t>(e.name.size()));
      w.u16(static_cast<std::uint16_t>(extra.size()));
      w.u16(0);                            // comment
      w.u16(0);                            // disk
      w.u16(0);                            // internal attributes
      w.u32(zip::kRegularFileMode << 16);  // external attributes
      w.u32(bigOffset ? zip::kMax32 : static_cast<std::uint32_t>(e.headerOffset));
      w.bytes(e.name);
      w.bytes(extra);
      if (cd.size() >= kChunkSize) {
        writeBytes(cd.data(), cd.size());
        cd.clear();
      }
    }
    writeBytes(cd.data(), cd.size());
    std::uint64_t size = position_ - start;
    std::uint64_t count = records_.size();

    const std::string tail = zip::endRecords(count, start, size, position_, options_.forceZip64);
    writeBytes(tail.data(), tail.size());
  }

  std::vector<MatchedFile> files_;
  const ArchiveOptions& options_;
  ArchiveResult& result_;
  ProgressReporter reporter_;
  std::vector<Decision> decisions_;
  std::vector<EntryRecord> records_;
  std::ofstream* out_ = nullptr;
  std::uint64_t position_ = 0;  // where the next byte goes; rolled back with a failed file
  bool entryOpen_ = false;
  std::optional<std::size_t> abandoned_;

  std::size_t nextFile_ = 0;
  std::uint64_t nextOffset_ = 0;
  std::ifstream source_;
  std::vector<unsigned char> dictionary_;
  std::deque<Pending> pending_;
  std::size_t pendingBytes_ = 0;
  const std::size_t maxJobs_;
  WorkerPool pool_;  // last: its threads stop before the chunks they work on go
};

void run(const Text& archivePath, const Text& patternList, ArchiveEvents& events,
         const ArchiveOptions& options, ArchiveResult& result) {
  fs::path target(archivePath);
  std::vector<fs::path> duplicates;
  std::vector<MatchedFile> files = matchFiles(parsePatternList(patternList), &duplicates);
  // The archive never goes into itself.
  std::error_code ec;
  if (fs::exists(target, ec)) {
    std::erase_if(files, [&](const MatchedFile& f) {
      std::error_code e;
      return fs::equivalent(f.path, target, e);
    });
  }
  for (const auto& d : duplicates)
    result.failures.push_back({d.u16string(), ArchiveError::duplicateName});
  if (files.empty()) throw ArchiveStop{ArchiveError::noFiles};

  std::mt19937_64 random = makeRandom();
  fs::path folder = target.parent_path();
  TempFile temp(folder.empty() ? fs::path(".") : folder, random);
  ArchiveWriter writer(std::move(files), events, options, result);
  try {
    writer.write(temp.stream());
    if (writer.entryCount() == 0) throw ArchiveStop{ArchiveError::noFiles};
    if (!temp.close()) throw ArchiveStop{ArchiveError::cannotWrite};
    // A file given up at the very end leaves bytes past the directory's end.
    if (fs::file_size(temp.path(), ec) != writer.end() || ec) {
      fs::resize_file(temp.path(), writer.end(), ec);
      if (ec) throw ArchiveStop{ArchiveError::cannotWrite};
    }
    if (!temp.commit(target)) throw ArchiveStop{ArchiveError::cannotWrite};
  } catch (...) {
    writer.reporter().retractCount();
    throw;
  }
  result.processedFiles = clamp32(writer.entryCount());
}

}  // namespace

ArchiveResult writeArchive(const Text& archivePath, const Text& patternList, ArchiveEvents& events,
                           const ArchiveOptions& options) {
  ArchiveResult result;
  try {
    run(archivePath, patternList, events, options, result);
  } catch (const ArchiveStop& stop) {
    result.error = stop.reason;
  } catch (...) {
    result.error = ArchiveError::internal;
  }
  if (result.error != ArchiveError::none) result.processedFiles = 0;
  result.failedFiles = clamp32(result.failures.size());
  return result;
}

}  // namespace mervane
