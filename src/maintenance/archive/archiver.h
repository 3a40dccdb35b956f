// The archiver: writes the reports into a zip archive and extracts one again.
//
// Both operations run synchronously on the caller's thread and report what
// they do through ArchiveEvents, in order, on that same thread (the archive
// progress window implements it). Neither ever throws: every failure ends up
// in the ArchiveResult. Writing goes to a temporary file beside the archive
// that replaces it only when complete; extraction writes every file under a
// temporary name and renames it into place only once its size and checksum
// are verified.
#pragma once

#include <cstdint>
#include <vector>

#include "base/text.h"

namespace mervane {

// What the archive window hears while the archiver runs. Numbers are the
// 32-bit values the window shows; sizes beyond their range are clamped.
class ArchiveEvents {
 public:
  virtual ~ArchiveEvents() = default;
  // At the start and end of every file and every megabyte or so in between.
  virtual void progress(const Text& fileName, std::int32_t originalSize, std::int32_t bytesRead,
                        std::int16_t percent, std::int32_t totalFiles, std::int32_t processedFiles,
                        std::int32_t totalBytes, std::int32_t processedBytes) = 0;
  // After each file archived or extracted, with the running count. When an
  // archive cannot be completed after files were counted, a last call with
  // an empty name and 0 says that nothing was written after all.
  virtual void fileCount(const Text& fileName, std::int32_t processedFiles) = 0;
  // Disk changes of archives spanning removable disks. Archives here are
  // always single files, so the archiver itself never raises these.
  virtual void diskFull(std::int16_t nextDisk) = 0;
  virtual void diskRequest(std::int16_t disk) = 0;
};

enum class ArchiveError {
  none,
  // Whole-operation outcomes.
  noFiles,       // no file matched the patterns / the archive holds no file
  cannotOpen,    // the archive cannot be opened or read
  notAnArchive,  // no end-of-central-directory record
  corrupt,       // the central directory contradicts itself or the file
  spanned,       // an archive split over several disks
  cannotWrite,   // the archive or the target folder cannot be written
  interrupted,   // an event handler raised an error; the work stopped
  internal,      // anything else (out of memory and the like)
  // Why one file was skipped.
  unreadableFile,  // a source file vanished, shrank or could not be read
  duplicateName,   // another file of the same name is already in the archive
  unsafeName,      // absolute, drive, "..", device or otherwise unusable name
  encrypted,
  unsupportedMethod,  // neither stored nor deflated
  badLocalHeader,     // the entry's own header disagrees with the directory
  overlapping,        // the entry's data overlaps another entry or the directory
  sizeMismatch,       // inflates to more or less than its declared size
  checksumMismatch,
  cannotWriteFile,  // the extracted file could not be written or renamed
};

struct ArchiveFailure {
  Text fileName;  // source file (writing) or entry name (extracting)
  ArchiveError reason;
};

struct ArchiveResult {
  std::int32_t processedFiles = 0;  // files archived (once committed) or extracted
  std::int32_t failedFiles = 0;
  ArchiveError error = ArchiveError::none;  // what stopped the operation, if anything
  std::vector<ArchiveFailure> failures;     // the files skipped, and why

  bool ok() const { return error == ArchiveError::none && failedFiles == 0; }
};

struct ArchiveOptions {
  // zlib's level 6 is Info-ZIP's default and gives archives of its size;
  // level 5 is much faster on report text but makes archives some 3% larger.
  int compressionLevel = 6;
  unsigned workerThreads = 2;  // compressing threads; 0 compresses on the caller's thread
  bool forceZip64 = false;     // write ZIP64 records even where 32 bits would do
};

// Writes the files named by `patternList` ("C:\Reports\*.rpt|C:\Reports\*.srt|...":
// each pattern a folder, "\" or "/", and a wildcard name matched without
// regard to case; files of that folder only) into `archivePath`. Entries
// carry the file name only. Nothing is written when no file matches.
ArchiveResult writeArchive(const Text& archivePath, const Text& patternList, ArchiveEvents& events,
                           const ArchiveOptions& options = {});

// Extracts every file of `archivePath` directly into `targetFolder`, by file
// name only. A file that fails any check is skipped and counted as failed;
// an existing file is replaced only by a verified one.
ArchiveResult extractArchive(const Text& archivePath, const Text& targetFolder,
                             ArchiveEvents& events);

}  // namespace mervane
