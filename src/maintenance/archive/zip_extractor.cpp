// Extracting an archive into one folder, every entry by its file name only.
//
// Each file is inflated into a temporary file in the target folder and
// renamed onto its name only after its size and CRC check out, so a broken
// entry never leaves a half-written file nor replaces a good one.
#include <filesystem>
#include <new>
#include <system_error>

#include "maintenance/archive/archive_support.h"
#include "maintenance/archive/archiver.h"
#include "base/zip/zip_format.h"
#include "maintenance/archive/zip_reader.h"

namespace mervane {

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kProgressStep = 1 << 20;

void extractOne(ZipReader& reader, const ZipEntry& entry, const fs::path& target,
                const fs::path& folder, std::mt19937_64& random, ProgressReporter& reporter) {
  TempFile temp(folder, random);
  std::uint64_t done = 0, reported = 0;
  reader.readEntry(entry, [&](const unsigned char* data, std::size_t size) {
    temp.stream().write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    if (temp.stream().fail()) throw ArchiveStop{ArchiveError::cannotWriteFile};
    done += size;
    if (done - reported >= kProgressStep && done < entry.size) {
      reporter.fileProgress(entry.name, entry.size, done);
      reported = done;
    }
  });
  if (!temp.commit(target)) throw ArchiveStop{ArchiveError::cannotWriteFile};
}

void run(const Text& archivePath, const Text& targetFolder, ArchiveEvents& events,
         ArchiveResult& result) {
  ZipReader reader{fs::path(archivePath)};
  fs::path folder(targetFolder);
  std::error_code ec;
  fs::create_directories(folder, ec);
  if (!fs::is_directory(folder, ec)) throw ArchiveStop{ArchiveError::cannotWrite};

  std::uint64_t files = 0, bytes = 0;
  for (const ZipEntry& e : reader.entries()) {
    if (zip::isFolderEntry(e.name)) continue;
    ++files;
    bytes += e.size;
  }
  if (files == 0) throw ArchiveStop{ArchiveError::noFiles};

  ProgressReporter reporter(events, files, bytes);
  std::mt19937_64 random = makeRandom();
  for (const ZipEntry& entry : reader.entries()) {
    if (zip::isFolderEntry(entry.name)) continue;
    reporter.fileStarted(entry.name, entry.size);
    try {
      if (entry.problem != ArchiveError::none) throw ArchiveStop{entry.problem};
      auto name = zip::safeFileName(entry.name);
      if (!name) throw ArchiveStop{ArchiveError::unsafeName};
      extractOne(reader, entry, folder / fs::path(*name), folder, random, reporter);
    } catch (const ArchiveStop& stop) {
      if (stop.reason == ArchiveError::interrupted) throw;
      ArchiveError reason =
          stop.reason == ArchiveError::cannotWrite ? ArchiveError::cannotWriteFile : stop.reason;
      result.failures.push_back({entry.name, reason});
      continue;
    }
    reporter.fileFinished(entry.name, entry.size);
    result.processedFiles = reporter.processedFiles();
  }
}

}  // namespace

ArchiveResult extractArchive(const Text& archivePath, const Text& targetFolder,
                             ArchiveEvents& events) {
  ArchiveResult result;
  try {
    run(archivePath, targetFolder, events, result);
  } catch (const ArchiveStop& stop) {
    result.error = stop.reason;
  } catch (...) {
    result.error = ArchiveError::internal;
  }
  result.failedFiles = clamp32(result.failures.size());
  return result;
}

}  // namespace mervane
