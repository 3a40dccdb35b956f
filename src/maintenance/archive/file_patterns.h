// The file list of an export: "<folder>\*.rpt|<folder>\*.srt|..." turned into
// the files it names, in a fixed order and each file once.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "base/text.h"

namespace mervane {

struct FilePattern {
  Text folder;    // as written; "." when the pattern names no folder
  Text wildcard;  // "*" and "?" wildcards, matched without regard to case
};

// Splits a list of patterns separated (and usually ended) by "|". Each
// pattern is split at its last "\" or "/"; empty patterns are skipped.
std::vector<FilePattern> parsePatternList(TextView list);

// "*" matches any run of characters, "?" any one; "*.*" matches every name,
// as it does on Windows.
bool matchesWildcard(TextView wildcard, TextView name);

struct MatchedFile {
  std::filesystem::path path;
  Text name;  // the file name, which is also the entry name
  std::uint64_t size = 0;
  std::filesystem::file_time_type modified;
};

// The regular files of each pattern's folder (not its subfolders) whose names
// match, pattern by pattern and by name within a pattern. A name already
// taken by an earlier match (compared without regard to case) is left out:
// the same file matched twice goes in once, and two files that would land on
// one name when extracted never share an archive; those of the second kind
// are listed in `duplicates`.
std::vector<MatchedFile> matchFiles(const std::vector<FilePattern>& patterns,
                                    std::vector<std::filesystem::path>* duplicates = nullptr);

}  // namespace mervane
