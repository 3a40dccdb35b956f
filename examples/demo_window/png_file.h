// A window's picture saved as a PNG file (8-bit RGB, one zlib stream).
#pragma once

#include <windows.h>

#include <string>

// Copies what `window` shows, frame included, into the PNG file `path`.
bool saveWindowPicture(HWND window, const std::wstring& path);
