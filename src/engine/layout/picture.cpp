// Picture headers, the installed decoder and the decoded pictures kept.
#include "engine/layout/picture.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <list>
#include <mutex>

namespace mervane::engine::layout {
namespace {

std::uint32_t bigEndian(std::string_view b, std::size_t at, int size) {
  std::uint32_t v = 0;
  for (int i = 0; i < size; ++i) v = v << 8 | static_cast<std::uint8_t>(b[at + static_cast<std::size_t>(i)]);
  return v;
}

std::uint32_t littleEndian(std::string_view b, std::size_t at, int size) {
  std::uint32_t v = 0;
  for (int i = size - 1; i >= 0; --i) v = v << 8 | static_cast<std::uint8_t>(b[at + static_cast<std::size_t>(i)]);
  return v;
}

// A JPEG's size is in its start-of-frame segment, after any number of
// others; each segment says how long it is.
PictureHeader jpegHeader(std::string_view b) {
  PictureHeader h;
  std::size_t at = 2;
  while (at + 4 <= b.size()) {
    if (static_cast<std::uint8_t>(b[at]) != 0xFF) return h;
    const std::uint8_t marker = static_cast<std::uint8_t>(b[at + 1]);
    if (marker == 0xFF) {  // fill byte
      ++at;
      continue;
    }
    if (marker == 0xD8 || (marker >= 0xD0 && marker <= 0xD7) || marker == 0x01) {
      at += 2;
      continue;
    }
    if (marker == 0xD9 || marker == 0xDA) return h;  // image data before any frame
    const std::size_t length = bigEndian(b, at + 2, 2);
    const bool frame = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
    if (frame) {
      if (length < 8 || at + 2 + 8 > b.size()) return h;
      h.format = PictureFormat::Jpeg;
      h.height = static_cast<std::int32_t>(bigEndian(b, at + 5, 2));
      h.width = static_cast<std::int32_t>(bigEndian(b, at + 7, 2));
      h.components = static_cast<std::uint8_t>(b[at + 9]);
      return h;
    }
    if (length < 2) return h;
    at += 2 + length;
  }
  return h;
}

struct Kept {
  std::shared_ptr<const std::string> bytes;  // keeps the key's address in use
  std::shared_ptr<const LoadedPicture> picture;
};

std::mutex lock;
std::shared_ptr<PictureDecoder> installed;
std::list<Kept> kept;  // most recently used first
constexpr std::size_t kKeep = 48;

}  // namespace

PictureHeader readPictureHeader(std::string_view b) {
  PictureHeader h;
  if (b.size() >= 24 && b.substr(0, 8) == std::string_view("\x89PNG\r\n\x1a\n", 8) && b.substr(12, 4) == "IHDR") {
    h.format = PictureFormat::Png;
    h.width = static_cast<std::int32_t>(bigEndian(b, 16, 4));
    h.height = static_cast<std::int32_t>(bigEndian(b, 20, 4));
  } else if (b.size() >= 4 && static_cast<std::uint8_t>(b[0]) == 0xFF && static_cast<std::uint8_t>(b[1]) == 0xD8) {
    h = jpegHeader(b);
  } else if (b.size() >= 10 && (b.substr(0, 6) == "GIF87a" || b.substr(0, 6) == "GIF89a")) {
    h.format = PictureFormat::Gif;
    h.width = static_cast<std::int32_t>(littleEndian(b, 6, 2));
    h.height = static_cast<std::int32_t>(littleEndian(b, 8, 2));
  } else if (b.size() >= 26 && b.substr(0, 2) == "BM") {
    h.format = PictureFormat::Bmp;
    const std::uint32_t info = littleEndian(b, 14, 4);
    if (info == 12) {
      h.width = static_cast<std::int32_t>(littleEndian(b, 18, 2));
      h.height = static_cast<std::int32_t>(littleEndian(b, 20, 2));
    } else {
      h.width = static_cast<std::int32_t>(littleEndian(b, 18, 4));
      const auto height = static_cast<std::int32_t>(littleEndian(b, 22, 4));
      h.height = height == INT32_MIN ? 0 : std::abs(height);  // negative: stored top row first
    }
  }
  if (h.width <= 0 || h.height <= 0 || h.width > 65535 || h.height > 65535) return {};
  return h;
}

void installPictureDecoder(std::shared_ptr<PictureDecoder> decoder) {
  std::lock_guard guard(lock);
  installed = std::move(decoder);
  kept.clear();
}

std::shared_ptr<const LoadedPicture> loadPicture(const std::shared_ptr<const std::string>& bytes) {
  if (!bytes || bytes->empty()) return nullptr;
  std::shared_ptr<PictureDecoder> decoder;
  {
    std::lock_guard guard(lock);
    auto found = std::find_if(kept.begin(), kept.end(), [&](const Kept& k) { return k.bytes == bytes; });
    if (found != kept.end()) {
      kept.splice(kept.begin(), kept, found);
      return found->picture;
    }
    decoder = installed;
  }
  // Decoded outside the lock: two threads may decode the same file at
  // once, and one of them is kept.
  std::shared_ptr<const LoadedPicture> picture;
  const PictureHeader header = readPictureHeader(*bytes);
  if (header.format != PictureFormat::Unknown) {
    auto loaded = std::make_shared<LoadedPicture>();
    loaded->header = header;
    bool readable = true;
    if (decoder) {
      DecodedPicture decoded;
      readable = decoder->decode(*bytes, decoded) && decoded.width > 0 && decoded.height > 0 &&
                 decoded.pixels.size() >= static_cast<std::size_t>(decoded.width) * static_cast<std::size_t>(decoded.height);
      if (readable) {
        loaded->header.width = decoded.width;
        loaded->header.height = decoded.height;
        loaded->pixels = std::make_shared<const std::vector<std::uint32_t>>(std::move(decoded.pixels));
      }
    }
    if (header.format == PictureFormat::Jpeg) loaded->jpeg = bytes;
    loaded->file = bytes;
    if (readable) picture = std::move(loaded);
  }
  std::lock_guard guard(lock);
  kept.push_front({bytes, picture});
  if (kept.size() > kKeep) kept.pop_back();
  return picture;
}

std::shared_ptr<const std::string> pictureBytesOf(const formula::Value& value) {
  if (value.kind() != formula::ValueKind::Text) return nullptr;
  TextView hex = value.text();
  if (hex.size() >= 3 && (hex[0] == u'X' || hex[0] == u'x') && hex[1] == u'\'' && hex.back() == u'\'') {
    hex = hex.substr(2, hex.size() - 3);  // SQLite's driver: X'89504E47...'
  } else if (hex.size() >= 2 && (hex[0] == u'0' || hex[0] == u'\\') && (hex[1] == u'x' || hex[1] == u'X')) {
    hex.remove_prefix(2);
  }
  if (hex.empty() || hex.size() % 2) return nullptr;
  const auto digit = [](char16_t c) {
    return c >= u'0' && c <= u'9' ? c - u'0' : c >= u'a' && c <= u'f' ? c - u'a' + 10 : c >= u'A' && c <= u'F' ? c - u'A' + 10 : -1;
  };
  auto bytes = std::make_shared<std::string>(hex.size() / 2, '\0');
  for (std::size_t i = 0; i < bytes->size(); ++i) {
    const int high = digit(hex[2 * i]), low = digit(hex[2 * i + 1]);
    if (high < 0 || low < 0) return nullptr;
    (*bytes)[i] = static_cast<char>(high << 4 | low);
  }
  return bytes;
}

bool findLoadedPicture(const std::shared_ptr<const std::string>& bytes, std::shared_ptr<const LoadedPicture>& picture) {
  if (!bytes || bytes->empty()) {
    picture = nullptr;
    return true;
  }
  std::lock_guard guard(lock);
  auto found = std::find_if(kept.begin(), kept.end(), [&](const Kept& k) { return k.bytes == bytes; });
  if (found == kept.end()) return false;
  kept.splice(kept.begin(), kept, found);
  picture = found->picture;
  return true;
}

PictureLoader::PictureLoader(std::function<void()> ready) : ready_(std::move(ready)), thread_([this] { run(); }) {}

PictureLoader::~PictureLoader() {
  {
    std::lock_guard guard(lock_);
    stop_ = true;
  }
  wake_.notify_all();
  thread_.join();
}

void PictureLoader::request(const std::shared_ptr<const std::string>& bytes) {
  {
    std::lock_guard guard(lock_);
    if (std::find(waiting_.begin(), waiting_.end(), bytes) != waiting_.end()) return;
    waiting_.push_back(bytes);
  }
  wake_.notify_all();
}

bool PictureLoader::idle() {
  std::lock_guard guard(lock_);
  return waiting_.empty() && !busy_;
}

void PictureLoader::run() {
  // Told when the queue runs dry, and meanwhile every tenth of a second:
  // a window repainting after every picture would spend more on painting
  // than on decoding.
  using Clock = std::chrono::steady_clock;
  auto told = Clock::now();
  std::unique_lock guard(lock_);
  for (;;) {
    wake_.wait(guard, [&] { return stop_ || !waiting_.empty(); });
    if (stop_) return;
    auto bytes = std::move(waiting_.front());
    waiting_.pop_front();
    busy_ = true;
    guard.unlock();
    try {
      loadPicture(bytes);
    } catch (...) {
      // Out of memory: the picture stays an empty frame.
    }
    guard.lock();
    busy_ = false;
    if (ready_ && (waiting_.empty() || Clock::now() - told > std::chrono::milliseconds(100))) {
      told = Clock::now();
      guard.unlock();
      ready_();
      guard.lock();
    }
  }
}

Rect fitPicture(const Rect& frame, std::int32_t pixelWidth, std::int32_t pixelHeight, bool stretch) {
  if (stretch || pixelWidth <= 0 || pixelHeight <= 0 || frame.width <= 0 || frame.height <= 0) return frame;
  // Compare frame.width / frame.height with pixelWidth / pixelHeight without dividing.
  const std::int64_t across = static_cast<std::int64_t>(frame.width) * pixelHeight;
  const std::int64_t down = static_cast<std::int64_t>(frame.height) * pixelWidth;
  Rect r = frame;
  if (across > down) {  // the frame is wider than the picture: full height
    r.width = static_cast<std::int32_t>(down / pixelHeight);
    r.x += (frame.width - r.width) / 2;
  } else {
    r.height = static_cast<std::int32_t>(across / pixelWidth);
    r.y += (frame.height - r.height) / 2;
  }
  return r;
}

void appendPictureItems(const model::ReportObject& object, const Rect& frame,
                        const std::shared_ptr<const std::string>& bytes, std::vector<DisplayItem>& items,
                        PictureLoader* loader) {
  const model::Format& f = object.format;
  if (frame.width <= 0 || frame.height <= 0) return;
  if (f.filled) items.push_back(BoxItem{frame, model::BorderStyle::None, 0, f.borderColour, true, f.background});
  std::shared_ptr<const LoadedPicture> picture;
  if (!loader) {
    picture = loadPicture(bytes);
  } else if (!findLoadedPicture(bytes, picture)) {
    loader->request(bytes);
  }
  if (picture) {
    ImageItem image;
    image.box = fitPicture(frame, picture->header.width, picture->header.height, object.picture.stretch);
    image.pixelWidth = picture->header.width;
    image.pixelHeight = picture->header.height;
    image.pixels = picture->pixels;
    image.jpeg = picture->jpeg;
    image.jpegComponents = picture->header.components;
    image.file = picture->file;
    items.push_back(std::move(image));
  }
  if (f.border != model::BorderStyle::None) {
    items.push_back(BoxItem{frame, f.border, std::max(0, f.lineWidth), f.borderColour, false, model::kWhite});
  } else if (!picture) {
    // Nothing to show: an empty frame, so the place stays visible.
    items.push_back(BoxItem{frame, model::BorderStyle::Single, 10, 0x808080, false, model::kWhite});
  }
}

}  // namespace mervane::engine::layout
