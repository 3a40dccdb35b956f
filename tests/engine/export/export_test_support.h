// Shared by the export tests: pages built by hand, files in a scratch
// folder, and running the outside tools that read what we write.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include "engine/layout/display_list.h"

namespace mervane::engine::exporting::testing {

inline layout::TextRun run(std::int32_t x, std::int32_t y, Text text, std::int64_t record = 0, Text source = {},
                           layout::TextAlign align = layout::TextAlign::Left, std::int32_t width = 2000) {
  layout::TextRun r;
  r.box = {x, y, width, 300};
  r.text = std::move(text);
  r.record = record;
  r.source = std::move(source);
  r.align = align;
  return r;
}

// One folder per process, removed when the process ends: two runs of the
// tests at once (a build and its sanitized twin) must not read each other's
// files.
inline const std::filesystem::path& scratchFolder() {
  static const struct Folder {
    std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("mervane-export-tests-" + std::to_string(getpid()));
    ~Folder() {
      std::error_code ignored;
      std::filesystem::remove_all(path, ignored);
    }
  } folder;
  return folder.path;
}

inline std::filesystem::path scratch(const std::string& name) {
  std::filesystem::create_directories(scratchFolder());
  return scratchFolder() / name;
}

// What the command printed on standard output; its exit code in `status`.
inline std::string capture(const std::string& command, int* status = nullptr) {
  std::string out;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char buffer[4096];
    while (std::size_t n = fread(buffer, 1, sizeof buffer, pipe)) out.append(buffer, n);
    int rc = pclose(pipe);
    if (status) *status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
  }
  return out;
}

inline bool have(const std::string& tool) { return std::system(("command -v " + tool + " >/dev/null").c_str()) == 0; }

}  // namespace mervane::engine::exporting::testing
