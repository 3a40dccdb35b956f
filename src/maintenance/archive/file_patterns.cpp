// Pattern lists and wildcard matching for the export's file list.
#include "maintenance/archive/file_patterns.h"

#include <algorithm>
#include <system_error>
#include <unordered_map>

namespace mervane {

namespace fs = std::filesystem;

std::vector<FilePattern> parsePatternList(TextView list) {
  std::vector<FilePattern> patterns;
  std::size_t start = 0;
  while (start < list.size()) {
    std::size_t end = list.find(u'|', start);
    if (end == TextView::npos) end = list.size();
    TextView pattern = list.substr(start, end - start);
    start = end + 1;
    if (isBlank(pattern)) continue;
    std::size_t sep = pattern.find_last_of(u"\\/");
    if (sep == TextView::npos) {
      patterns.push_back({u".", Text(pattern)});
    } else {
      // "\*.rpt" names the root: keep the separator as the folder.
      TextView folder = sep == 0 ? pattern.substr(0, 1) : pattern.substr(0, sep);
      patterns.push_back({Text(folder), Text(pattern.substr(sep + 1))});
    }
  }
  return patterns;
}

bool matchesWildcard(TextView wildcard, TextView name) {
  if (wildcard == u"*.*") wildcard = u"*";
  Text w = upper(wildcard);
  Text n = upper(name);
  // Greedy matching with one backtrack point: linear in practice.
  std::size_t wi = 0, ni = 0, starW = Text::npos, starN = 0;
  while (ni < n.size()) {
    if (wi < w.size() && (w[wi] == u'?' || w[wi] == n[ni])) {
      ++wi;
      ++ni;
    } else if (wi < w.size() && w[wi] == u'*') {
      starW = wi++;
      starN = ni;
    } else if (starW != Text::npos) {
      wi = starW + 1;
      ni = ++starN;
    } else {
      return false;
    }
  }
  while (wi < w.size() && w[wi] == u'*') ++wi;
  return wi == w.size();
}

std::vector<MatchedFile> matchFiles(const std::vector<FilePattern>& patterns,
                                    std::vector<fs::path>* duplicates) {
  std::vector<MatchedFile> files;
  std::unordered_map<Text, fs::path> taken;  // case-folded name -> the file that has it
  // Listing a folder once serves every pattern on it.
  std::unordered_map<Text, std::vector<MatchedFile>> listings;

  for (const FilePattern& pattern : patterns) {
    auto [listing, fresh] = listings.try_emplace(caseFoldKey(pattern.folder));
    if (fresh) {
      std::error_code ec;
      fs::directory_iterator it(fs::path(pattern.folder), ec), end;
      for (; !ec && it != end; it.increment(ec)) {
        std::error_code fileEc;
        if (!it->is_regular_file(fileEc)) continue;
        MatchedFile f;
        f.path = it->path();
        try {
          f.name = f.path.filename().u16string();
        } catch (const std::exception&) {
          continue;  // a name the platform cannot express in UTF-16
        }
        f.size = it->file_size(fileEc);
        if (fileEc) continue;
        f.modified = it->last_write_time(fileEc);
        listing->second.push_back(std::move(f));
      }
      std::sort(listing->second.begin(), listing->second.end(),
                [](const MatchedFile& a, const MatchedFile& b) { return a.name < b.name; });
    }
    for (const MatchedFile& f : listing->second) {
      if (!matchesWildcard(pattern.wildcard, f.name)) continue;
      auto [owner, added] = taken.try_emplace(caseFoldKey(f.name), f.path);
      if (added) {
        files.push_back(f);
        continue;
      }
      std::error_code ec;
      if (duplicates && owner->second != f.path && !fs::equivalent(owner->second, f.path, ec))
        duplicates->push_back(f.path);
    }
  }
  return files;
}

}  // namespace mervane
