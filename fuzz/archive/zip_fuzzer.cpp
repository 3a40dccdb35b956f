// Fuzzes the zip reader through extraction: the input is written as an
// archive and extracted into an empty folder, as importing does. Whatever the
// archive says, extraction must return a result (never throw), must write
// nothing outside the target folder, must leave no temporary file behind,
// and every file it leaves must carry a safe name and exactly the size an
// entry of that name declared.
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "maintenance/archive/archive_support.h"
#include "maintenance/archive/archiver.h"
#include "base/zip/zip_format.h"
#include "maintenance/archive/zip_reader.h"

namespace fs = std::filesystem;
using namespace mervane;

namespace {

class QuietEvents : public ArchiveEvents {
 public:
  void progress(const Text&, std::int32_t, std::int32_t, std::int16_t, std::int32_t, std::int32_t, std::int32_t,
                std::int32_t) override {}
  void fileCount(const Text&, std::int32_t) override {}
  void diskFull(std::int16_t) override {}
  void diskRequest(std::int16_t) override {}
};

// A scratch folder of this process, in memory where the system offers it.
// libFuzzer ends without running exit handlers, so each run first clears
// away the folders of runs that are over.
const fs::path& scratch() {
  static const fs::path folder = [] {
    const fs::path base = fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
    const std::string prefix = "mervane-zip-fuzz-";
    std::error_code ec;
    for (const fs::directory_entry& e : fs::directory_iterator(base, ec)) {
      const std::string name = e.path().filename().string();
      if (!name.starts_with(prefix)) continue;
      const long pid = std::strtol(name.c_str() + prefix.size(), nullptr, 10);
      if (pid > 0 && kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH) fs::remove_all(e.path(), ec);
    }
    fs::path f = base / (prefix + std::to_string(getpid()));
    fs::remove_all(f);
    fs::create_directories(f);
    return f;
  }();
  return folder;
}

void check(bool ok) {
  if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fs::path archive = scratch() / "in.zip";
  const fs::path target = scratch() / "out";
  fs::remove_all(target);
  {
    std::ofstream out(archive, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }

  // The sizes each safe name may end up with.
  std::multiset<std::pair<Text, std::uint64_t>> declared;
  try {
    ZipReader reader(archive);
    for (const ZipEntry& e : reader.entries()) {
      if (auto name = zip::safeFileName(e.name)) {
        check(name->find_first_of(u"/\\:") == Text::npos && *name != u"..");
        declared.insert({*name, e.size});
      }
    }
  } catch (const ArchiveStop&) {
  }

  QuietEvents events;
  const ArchiveResult result = extractArchive(archive.u16string(), target.u16string(), events);
  check(result.processedFiles >= 0 && result.failedFiles == static_cast<std::int32_t>(result.failures.size()));

  // Only the archive and the target folder stand beside each other.
  for (const fs::directory_entry& e : fs::directory_iterator(scratch()))
    check(e.path() == archive || e.path() == target);
  if (!fs::exists(target)) return 0;
  std::int32_t files = 0;
  for (const fs::directory_entry& e : fs::directory_iterator(target)) {
    check(e.is_regular_file());
    const Text name = e.path().filename().u16string();
    auto it = declared.lower_bound({name, 0});
    bool sizeDeclared = false;
    for (; it != declared.end() && it->first == name; ++it) sizeDeclared |= it->second == e.file_size();
    check(sizeDeclared);
    ++files;
  }
  check(files <= result.processedFiles);
  return 0;
}
