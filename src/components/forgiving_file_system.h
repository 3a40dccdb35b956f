// The file system under the library's failure policy: a call that fails is
// skipped and nothing is raised. A failed listing gives nothing; a failed
// test answers false; a failed change is not made, and says so.
#pragma once

#include <optional>
#include <vector>

#include "base/attempt.h"
#include "components/file_system.h"

namespace mervane {

class ForgivingFileSystem {
 public:
  explicit ForgivingFileSystem(FileSystem& files) : files_(files) {}

  std::optional<std::vector<FileEntry>> listFiles(const Text& folder) {
    return attemptValue([&] { return files_.listFiles(folder); });
  }
  bool fileExists(const Text& path) noexcept { return attemptOr(false, [&] { return files_.fileExists(path); }); }
  // Makes the folder unless it is there; when the test itself fails, nothing
  // is made.
  bool makeFolder(const Text& path) noexcept {
    return attempt([&] {
      if (!files_.folderExists(path)) files_.createFolder(path);
    });
  }
  bool moveFile(const Text& from, const Text& to) noexcept { return attempt([&] { files_.moveFile(from, to); }); }
  bool copyFile(const Text& from, const Text& to) noexcept { return attempt([&] { files_.copyFile(from, to); }); }

 private:
  FileSystem& files_;
};

}  // namespace mervane
