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

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
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
  std::shared_ptr<const std::string> file;  // the file itself, whatever it is
};

// The picture `bytes` hold, or null when they are not a picture this
// program shows (unknown header, or the decoder refused them).
std::shared_ptr<const LoadedPicture> loadPicture(const std::shared_ptr<const std::string>& bytes);

// The same from what is already decoded only: false (and `picture` left
// alone) when the bytes have not been decoded yet.
bool findLoadedPicture(const std::shared_ptr<const std::string>& bytes, std::shared_ptr<const LoadedPicture>& picture);

// Decodes pictures one after another on a thread of its own, so that a
// window can show its pictures' frames at once and the pictures as they
// come. `ready` is called on that thread after each one.
class PictureLoader {
 public:
  explicit PictureLoader(std::function<void()> ready);
  ~PictureLoader();  // waits for the picture being decoded, drops the rest
  PictureLoader(const PictureLoader&) = delete;
  PictureLoader& operator=(const PictureLoader&) = delete;
  void request(const std::shared_ptr<const std::string>& bytes);
  // Nothing asked for is still waiting or being decoded.
  bool idle();

 private:
  void run();
  std::function<void()> ready_;
  std::mutex lock_;
  std::condition_variable wake_;
  std::deque<std::shared_ptr<const std::string>> waiting_;
  bool busy_ = false;
  bool stop_ = false;
  std::thread thread_;
};

// A picture's bytes from a column's value: the data door hands binary
// columns over as hexadecimal text, bare or as 0x..., \x... or X'...'
// (as SQLite's driver writes it). Null for anything else.
std::shared_ptr<const std::string> pictureBytesOf(const formula::Value& value);

// Where a picture of pixelWidth x pixelHeight goes in `frame`: the whole
// frame when stretched, else the largest box of the picture's shape,
// centred.
Rect fitPicture(const Rect& frame, std::int32_t pixelWidth, std::int32_t pixelHeight, bool stretch);

// The display items of a picture object drawn in `frame`: the picture, or
// an empty frame (a thin border) when there is none to show; the object's
// own border over it. With a `loader`, a picture not decoded yet is asked
// of it and shows as an empty frame meanwhile.
void appendPictureItems(const model::ReportObject& object, const Rect& frame,
                        const std::shared_ptr<const std::string>& bytes, std::vector<DisplayItem>& items,
                        PictureLoader* loader = nullptr);

}  // namespace mervane::engine::layout
