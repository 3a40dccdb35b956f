// Font files from GDI. A face may live in a collection (.ttc), where
// GetFontData's whole-file read gives the collection's offsets rather than
// the face's, so the file is put together again from the face's tables.
#include "engine/win/gdi_font_source.h"

#include <algorithm>
#include <map>

#include "base/win/com.h"
#include "engine/export/truetype.h"

namespace mervane::engine::win {

namespace {

// A font made for one DC and gone with the guard.
class SelectedFont {
 public:
  SelectedFont(HDC dc, const Text& face, bool bold, bool italic) : dc_(dc) {
    LOGFONTW lf{};
    lf.lfHeight = -2048;
    lf.lfWeight = bold ? FW_BOLD : FW_NORMAL;
    lf.lfItalic = italic;
    lf.lfCharSet = DEFAULT_CHARSET;
    lf.lfOutPrecision = OUT_TT_ONLY_PRECIS;
    std::wstring name = mervane::win::toWide(face);
    name.resize(std::min<std::size_t>(name.size(), LF_FACESIZE - 1));
    std::copy(name.begin(), name.end(), lf.lfFaceName);
    font_ = CreateFontIndirectW(&lf);
    if (font_) previous_ = SelectObject(dc_, font_);
  }
  ~SelectedFont() {
    if (previous_) SelectObject(dc_, previous_);
    if (font_) DeleteObject(font_);
  }
  SelectedFont(const SelectedFont&) = delete;
  SelectedFont& operator=(const SelectedFont&) = delete;
  bool ok() const { return previous_ != nullptr; }

  // The face GDI actually chose.
  std::wstring face() const {
    wchar_t name[LF_FACESIZE] = {};
    return GetTextFaceW(dc_, LF_FACESIZE, name) ? std::wstring(name) : std::wstring();
  }

  std::string table(DWORD tag) const {
    DWORD size = GetFontData(dc_, tag, 0, nullptr, 0);
    if (size == GDI_ERROR || size == 0 || size > (64u << 20)) return {};
    std::string data(size, '\0');
    if (GetFontData(dc_, tag, 0, data.data(), size) != size) return {};
    return data;
  }

 private:
  HDC dc_;
  HFONT font_ = nullptr;
  HGDIOBJ previous_ = nullptr;
};

DWORD tagOf(const char* tag) {
  return static_cast<DWORD>(static_cast<unsigned char>(tag[0])) | static_cast<DWORD>(static_cast<unsigned char>(tag[1])) << 8 |
         static_cast<DWORD>(static_cast<unsigned char>(tag[2])) << 16 | static_cast<DWORD>(static_cast<unsigned char>(tag[3])) << 24;
}

}  // namespace

GdiFontSource::GdiFontSource() : dc_(CreateCompatibleDC(nullptr)) {}

GdiFontSource::~GdiFontSource() {
  if (dc_) DeleteDC(dc_);
}

std::string GdiFontSource::fontFile(const Text& face, bool bold, bool italic) {
  std::lock_guard guard(lock_);
  if (!dc_) return {};
  SelectedFont font(dc_, face, bold, italic);
  if (!font.ok()) return {};
  // The face's table directory, then each table by its tag.
  DWORD size = GetFontData(dc_, 0, 0, nullptr, 0);
  if (size == GDI_ERROR || size < 12) return {};
  unsigned char head[12];
  if (GetFontData(dc_, 0, 0, head, 12) != 12) return {};
  DWORD count = static_cast<DWORD>(head[4]) << 8 | head[5];
  if (count == 0 || count > 200) return {};
  std::string directory(16 * count, '\0');
  if (GetFontData(dc_, 0, 12, directory.data(), 16 * count) != 16 * count) return {};
  std::map<std::string, std::string> tables;
  for (DWORD i = 0; i < count; ++i) {
    std::string tag = directory.substr(16 * i, 4);
    std::string data = font.table(tagOf(tag.c_str()));
    if (!data.empty()) tables.emplace(tag, std::move(data));
  }
  return exporting::sfntOf(tables);
}

std::vector<Text> GdiFontSource::fallbackFaces() {
  static const wchar_t* const kFaces[] = {
      L"Segoe UI", L"Arial Unicode MS", L"Tahoma", L"Microsoft Sans Serif", L"Segoe UI Symbol",
      L"Nirmala UI", L"Microsoft YaHei", L"SimSun", L"MS Gothic", L"Malgun Gothic", L"DejaVu Sans",
      L"Noto Sans CJK SC", L"Droid Sans Fallback", L"Liberation Sans"};
  std::lock_guard guard(lock_);
  std::vector<Text> out;
  if (!dc_) return out;
  for (const wchar_t* face : kFaces) {
    SelectedFont font(dc_, mervane::win::fromWide(face), false, false);
    // A face the system lacks comes back as a substitute: take it only under
    // its own name.
    if (font.ok() && _wcsicmp(font.face().c_str(), face) == 0) out.push_back(mervane::win::fromWide(face));
  }
  return out;
}

}  // namespace mervane::engine::win
