// Pictures: what an image file is, read from its first bytes, and its
// pixels, decoded by whatever the platform offers.
//
// Decoding is the one thing about pictures that needs the platform: the
// Windows build installs a decoder built on Windows' own imaging
// (engine/win/wic_picture_decoder), and the core's tests install their own.
// Without one, pictures still lay out and export (a JPEG goes into a PDF as
// it is) but show no pixels on screen.
//
// Decoded pictures are kept, a few dozen at a time, so that every page, the
// design surface and each repaint share one decoding of the same file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "engine/formula/value.h"
#include "engine/layout/display_list.h"
#include "engine/model/report_definition.h"

namespace mervane::engine::layout {

enum class PictureFormat { Unknown, Png, Jpeg, Bmp, Gif };

// What the file's header says; width and height 0 when it does not say.
struct PictureHeader {
  PictureFormat format = PictureFormat::Unknown;
  std::int32_t width = 0;
  std::int32_t height = 0;
  int components = 0;  // JPEG: 1 grey, 3 colour, 4 CMYK
};
PictureHeader readPictureHeader(std::string_view bytes);

struct DecodedPicture {
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::vector<std::uint32_t> pixels;  // 0xAARRGGBB, top row first
};

class PictureDecoder {
 public:
  virtual ~PictureDecoder() = default;
  // False when the bytes cannot be decoded. May be called on any thread.
  virtual bool decode(std::string_view bytes, DecodedPicture& out) = 0;
};

// The decoder pictures use from now on (null: none).
void installPictureDecoder(std::shared_ptr<PictureDecoder> decoder);

// A picture ready to draw: null pixels when no decoder is installed.
struct LoadedPicture {
  PictureHeader header;
  std::shared_ptr<const std::vector<std::uint32_t>> pixels;
  std::shared_ptr<const std::string> jpeg;  // the file itself, when it is a JPEG
};

// The picture `bytes` hold, or null when they are not a picture this
// program shows (unknown header, or the decoder refused them).
std::shared_ptr<const LoadedPicture> loadPicture(const std::shared_ptr<const std::string>& bytes);

// A picture's bytes from a column's value: the data door hands binary
// columns over as hexadecimal text (a leading "0x" or "\\x" allowed). Null
// for anything else.
std::shared_ptr<const std::string> pictureBytesOf(const formula::Value& value);

// Where a picture of pixelWidth x pixelHeight goes in `frame`: the whole
// frame when stretched, else the largest box of the picture's shape,
// centred.
Rect fitPicture(const Rect& frame, std::int32_t pixelWidth, std::int32_t pixelHeight, bool stretch);

// The display items of a picture object drawn in `frame`: the picture, or
// an empty frame (a thin border) when there is none to show; the object's
// own border over it.
void appendPictureItems(const model::ReportObject& object, const Rect& frame,
                        const std::shared_ptr<const std::string>& bytes, std::vector<DisplayItem>& items);

}  // namespace mervane::engine::layout
