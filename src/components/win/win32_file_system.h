// The file system through Win32: folder listings in the system's order,
// moves and copies that never replace an existing file.
#pragma once

#include "components/file_system.h"

namespace mervane::win {

class Win32FileSystem final : public FileSystem {
 public:
  std::vector<FileEntry> listFiles(const Text& folder) override;
  bool fileExists(const Text& path) override;
  bool folderExists(const Text& path) override;
  void createFolder(const Text& path) override;
  void moveFile(const Text& from, const Text& to) override;
  void copyFile(const Text& from, const Text& to) override;
};

}  // namespace mervane::win
