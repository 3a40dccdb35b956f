// A folder of TrueType files as a font source.
#include "engine/export/font_source.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "engine/export/truetype.h"

namespace mervane::engine::exporting {

namespace {

std::string readFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Windows faces and the free faces drawn for them, as a Wine prefix maps them.
Text lookAlike(const Text& face) {
  static const std::pair<const char16_t*, const char16_t*> kFaces[] = {
      {u"ARIAL", u"LIBERATION SANS"},        {u"HELVETICA", u"LIBERATION SANS"},
      {u"TIMES NEW ROMAN", u"LIBERATION SERIF"}, {u"TIMES", u"LIBERATION SERIF"},
      {u"COURIER NEW", u"LIBERATION MONO"},  {u"COURIER", u"LIBERATION MONO"},
      {u"TAHOMA", u"DEJAVU SANS"},           {u"VERDANA", u"DEJAVU SANS"},
      {u"SEGOE UI", u"DEJAVU SANS"},         {u"MS SANS SERIF", u"DEJAVU SANS"},
      {u"MS SHELL DLG", u"LIBERATION SANS"}};
  Text key = upper(face);
  for (auto [from, to] : kFaces)
    if (key == from) return to;
  return key;
}

}  // namespace

FontFolder::FontFolder(std::filesystem::path folder) : folder_(std::move(folder)) {}

void FontFolder::scan() {
  if (scanned_) return;
  scanned_ = true;
  std::error_code error;
  std::vector<std::filesystem::path> paths;
  for (std::filesystem::recursive_directory_iterator it(folder_, error), end; !error && it != end; it.increment(error)) {
    std::string extension = it->path().extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](unsigned char c) { return std::tolower(c); });
    if (extension == ".ttf" || extension == ".ttc") paths.push_back(it->path());
  }
  std::sort(paths.begin(), paths.end());
  for (const auto& path : paths) {
    try {
      TrueTypeFont font(readFile(path));
      Text family = upper(fromUtf8(font.family()));
      if (family.empty()) continue;
      if (files_.emplace(std::make_tuple(family, font.bold(), font.italic()), path).second &&
          std::find(families_.begin(), families_.end(), family) == families_.end())
        families_.push_back(family);
    } catch (const FontError&) {
    }
  }
}

std::string FontFolder::fontFile(const Text& face, bool bold, bool italic) {
  std::lock_guard guard(lock_);
  scan();
  Text family = lookAlike(face);
  // The style asked for, else the family's regular face (drawn emboldened
  // or slanted), else the default face.
  for (const Text& name : {family, Text(u"LIBERATION SANS"), Text(u"DEJAVU SANS")})
    for (auto [b, i] : {std::pair{bold, italic}, std::pair{false, false}})
      if (auto found = files_.find({name, b, i}); found != files_.end()) return readFile(found->second);
  return {};
}

std::vector<Text> FontFolder::fallbackFaces() {
  std::lock_guard guard(lock_);
  scan();
  // The widest faces first, then every other family the folder holds.
  std::vector<Text> out;
  for (const char16_t* first : {u"DEJAVU SANS", u"NOTO SANS CJK SC", u"DROID SANS FALLBACK"})
    if (std::find(families_.begin(), families_.end(), first) != families_.end()) out.emplace_back(first);
  for (const Text& family : families_)
    if (std::find(out.begin(), out.end(), family) == out.end()) out.push_back(family);
  return out;
}

}  // namespace mervane::engine::exporting
