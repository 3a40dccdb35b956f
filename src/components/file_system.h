// FileSystem: the folder listing and file operations the library uses, as
// the standard scripting file-system object offers them. Calls may fail
// (they throw).
#pragma once

#include <vector>

#include "base/text.h"

namespace mervane {

struct FileEntry {
  Text name;      // the bare file name with its extension
  Text fullPath;  // the folder's absolute path, "\", the name
};

class FileSystem {
 public:
  virtual ~FileSystem() = default;
  // The folder's own files (no subfolders), in the order the system lists
  // them. Throws when the folder cannot be found or read.
  virtual std::vector<FileEntry> listFiles(const Text& folder) = 0;
  virtual bool fileExists(const Text& path) = 0;
  virtual bool folderExists(const Text& path) = 0;
  // Creates the last level of path; throws on failure.
  virtual void createFolder(const Text& path) = 0;
  // Moves a file; never replaces an existing destination (throws instead).
  virtual void moveFile(const Text& from, const Text& to) = 0;
  // Copies a file byte for byte; never replaces an existing destination.
  virtual void copyFile(const Text& from, const Text& to) = 0;
};

}  // namespace mervane
