// Choosing a picture file: the standard open dialog, then the file read and
// checked before anything reaches the report.
#include <windows.h>
#include <commdlg.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "authoring/designer/win/designer_dialogs.h"
#include "base/win/wide.h"
#include "engine/layout/picture.h"
#include "engine/model/definition_stream.h"

namespace mervane::authoring::win {
namespace {

struct FileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};

// The whole file, or nothing when it cannot be read or is larger than `limit`.
std::optional<std::string> readWhole(const std::wstring& path, std::size_t limit, bool& tooLarge) {
  std::unique_ptr<std::FILE, FileCloser> file(_wfopen(path.c_str(), L"rb"));
  if (!file) return std::nullopt;
  std::string bytes;
  char buffer[65536];
  for (;;) {
    const std::size_t got = std::fread(buffer, 1, sizeof buffer, file.get());
    bytes.append(buffer, got);
    if (bytes.size() > limit) {
      tooLarge = true;
      return std::nullopt;
    }
    if (got < sizeof buffer) break;
  }
  if (std::ferror(file.get())) return std::nullopt;
  return bytes;
}

}  // namespace

bool choosePicture(HWND owner, model::Picture& picture) {
  wchar_t path[MAX_PATH * 4] = L"";
  OPENFILENAMEW ofn{};
  ofn.lStructSize = sizeof ofn;
  ofn.hwndOwner = owner;
  ofn.lpstrFilter = L"Pictures (*.png;*.jpg;*.jpeg;*.bmp;*.gif)\0*.png;*.jpg;*.jpeg;*.bmp;*.gif\0All Files (*.*)\0*.*\0";
  ofn.lpstrFile = path;
  ofn.nMaxFile = static_cast<DWORD>(std::size(path));
  ofn.lpstrTitle = L"Insert Picture";
  ofn.Flags = OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR | OFN_EXPLORER;
  if (!GetOpenFileNameW(&ofn)) return false;

  const std::size_t limit = model::DefinitionLimits{}.maxPictureBytes;
  bool tooLarge = false;
  auto bytes = readWhole(path, limit, tooLarge);
  std::wstring problem;
  if (tooLarge) {
    problem = L"The picture is larger than " + std::to_wstring(limit >> 20) +
              L" MB, too large to keep in the report. Save it smaller and try again.";
  } else if (!bytes) {
    problem = L"The file could not be read.";
  } else {
    model::SharedBytes image(std::move(*bytes));
    if (engine::layout::loadPicture(image.shared())) {
      picture.image = std::move(image);
      return true;
    }
    problem = L"This file is not a picture that can be shown. Choose a PNG, JPEG, BMP or GIF file.";
  }
  MessageBoxW(owner, (std::wstring(path) + L"\n\n" + problem).c_str(), L"Insert Picture", MB_OK | MB_ICONEXCLAMATION);
  return false;
}

}  // namespace mervane::authoring::win
