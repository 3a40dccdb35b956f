// Where the PDF export finds the report's fonts: given a face name and
// style, the font file's bytes. On Windows GDI hands them over (the face it
// would draw with on screen); natively a folder of TrueType files stands in.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include "base/text.h"

namespace mervane::engine::exporting {

class FontSource {
 public:
  virtual ~FontSource() = default;
  // The file of the face the system would draw `face` with in that style;
  // empty when it has none. Must be safe to call from any thread.
  virtual std::string fontFile(const Text& face, bool bold, bool italic) = 0;
  // Faces to try, in order, for a character the report's font lacks.
  virtual std::vector<Text> fallbackFaces() = 0;
};

// TrueType files under a folder (and its subfolders), found by the family
// name and style they declare. The Windows faces reports name most often
// are mapped to their metric-compatible look-alikes (Arial to Liberation
// Sans, and so on); a face the folder lacks is drawn in the first fallback,
// as GDI draws an unknown face in its default one.
class FontFolder final : public FontSource {
 public:
  explicit FontFolder(std::filesystem::path folder = "/usr/share/fonts/truetype");
  std::string fontFile(const Text& face, bool bold, bool italic) override;
  std::vector<Text> fallbackFaces() override;

 private:
  void scan();  // with the lock held

  std::mutex lock_;
  std::filesystem::path folder_;
  bool scanned_ = false;
  // Upper-case family, bold, italic -> file.
  std::map<std::tuple<Text, bool, bool>, std::filesystem::path> files_;
  std::vector<Text> families_;
};

}  // namespace mervane::engine::exporting
