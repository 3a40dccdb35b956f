// The picture is read back from the window's device context into a 32-bit
// bitmap, turned into RGB rows each led by filter byte 0, compressed in one
// go and written as the three chunks a PNG needs.
#include "png_file.h"

#include <zlib.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

namespace {

void putBig32(std::string& out, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out += static_cast<char>((value >> shift) & 0xFF);
}

void chunk(std::string& out, const char* type, const std::string& data) {
  putBig32(out, static_cast<std::uint32_t>(data.size()));
  std::string typed = std::string(type, 4) + data;
  out += typed;
  putBig32(out, static_cast<std::uint32_t>(
                    crc32(0, reinterpret_cast<const Bytef*>(typed.data()), static_cast<uInt>(typed.size()))));
}

}  // namespace

bool saveWindowPicture(HWND window, const std::wstring& path) {
  RECT r{};
  if (!GetWindowRect(window, &r)) return false;
  const int width = r.right - r.left, height = r.bottom - r.top;
  if (width <= 0 || height <= 0) return false;

  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width) * height);
  HDC source = GetWindowDC(window);
  HDC memory = CreateCompatibleDC(source);
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;  // top row first
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  void* bits = nullptr;
  HBITMAP bitmap = CreateDIBSection(source, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  bool copied = false;
  if (source && memory && bitmap) {
    HGDIOBJ old = SelectObject(memory, bitmap);
    copied = BitBlt(memory, 0, 0, width, height, source, 0, 0, SRCCOPY) != 0;
    GdiFlush();
    if (copied) memcpy(pixels.data(), bits, pixels.size() * sizeof(std::uint32_t));
    SelectObject(memory, old);
  }
  if (bitmap) DeleteObject(bitmap);
  if (memory) DeleteDC(memory);
  if (source) ReleaseDC(window, source);
  if (!copied) return false;

  std::string rows;
  rows.reserve(static_cast<std::size_t>(width * 3 + 1) * height);
  for (int y = 0; y < height; ++y) {
    rows += '\0';
    for (int x = 0; x < width; ++x) {
      std::uint32_t p = pixels[static_cast<std::size_t>(y) * width + x];  // 0x00RRGGBB
      rows += static_cast<char>((p >> 16) & 0xFF);
      rows += static_cast<char>((p >> 8) & 0xFF);
      rows += static_cast<char>(p & 0xFF);
    }
  }
  uLongf size = compressBound(static_cast<uLong>(rows.size()));
  std::string packed(size, '\0');
  if (compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(rows.data()),
                static_cast<uLong>(rows.size()), 6) != Z_OK)
    return false;
  packed.resize(size);

  std::string header;
  putBig32(header, static_cast<std::uint32_t>(width));
  putBig32(header, static_cast<std::uint32_t>(height));
  header += std::string("\x08\x02\x00\x00\x00", 5);  // 8 bits, RGB, deflate, no filter choice, no interlace
  std::string file = "\x89PNG\r\n\x1A\n";
  chunk(file, "IHDR", header);
  chunk(file, "IDAT", packed);
  chunk(file, "IEND", "");

  // Written under another name first, so a half-written picture never stands
  // under the real one.
  std::wstring temp = path + L".part";
  {
    std::ofstream out(std::filesystem::path(temp), std::ios::binary | std::ios::trunc);
    out.write(file.data(), static_cast<std::streamsize>(file.size()));
    if (!out) return false;
  }
  return MoveFileExW(temp.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
}
