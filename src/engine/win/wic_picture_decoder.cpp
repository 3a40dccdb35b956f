// The picture decoder over WIC. Each decoding makes its own imaging factory
// on the calling thread (export and page threads may not have COM started,
// so it is started for the call when needed), decodes the first frame and
// converts it to 32-bit BGRA, which is the display list's 0xAARRGGBB.
#include "engine/win/wic_picture_decoder.h"

#include <windows.h>
#include <wincodec.h>

#include <limits>
#include <memory>
#include <mutex>

#include "base/win/com.h"
#include "engine/layout/picture.h"

namespace mervane::engine::win {
namespace {

using mervane::win::ComPtr;

// 25 megapixels, 100 MB decoded: far beyond any logo, short of exhausting memory.
constexpr std::uint64_t kMaxPixels = 25000000;

// COM started for the length of a call, when the thread had not started it.
class ComForCall {
 public:
  ComForCall() : hr_(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
  ~ComForCall() {
    if (SUCCEEDED(hr_)) CoUninitialize();
  }
  ComForCall(const ComForCall&) = delete;
  ComForCall& operator=(const ComForCall&) = delete;

 private:
  HRESULT hr_;
};

class WicDecoder final : public layout::PictureDecoder {
 public:
  bool decode(std::string_view bytes, layout::DecodedPicture& out) override {
    try {
      return decodeWith(bytes, out);
    } catch (...) {
      return false;  // out of memory for a huge picture: shown as an empty frame
    }
  }

 private:
  static bool decodeWith(std::string_view bytes, layout::DecodedPicture& out) {
    if (bytes.empty() || static_cast<std::uint64_t>(bytes.size()) > std::numeric_limits<DWORD>::max()) return false;
    ComForCall com;
    ComPtr<IWICImagingFactory> factory;
    if (FAILED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                                factory.putVoid())))
      return false;
    ComPtr<IWICStream> stream;
    if (FAILED(factory->CreateStream(stream.put()))) return false;
    // WIC reads the bytes where they are; they outlive the decoder.
    auto* data = reinterpret_cast<BYTE*>(const_cast<char*>(bytes.data()));
    if (FAILED(stream->InitializeFromMemory(data, static_cast<DWORD>(bytes.size())))) return false;
    ComPtr<IWICBitmapDecoder> decoder;
    if (FAILED(factory->CreateDecoderFromStream(stream.get(), nullptr, WICDecodeMetadataCacheOnDemand, decoder.put())))
      return false;
    ComPtr<IWICBitmapFrameDecode> frame;
    if (FAILED(decoder->GetFrame(0, frame.put()))) return false;
    ComPtr<IWICFormatConverter> converter;
    if (FAILED(factory->CreateFormatConverter(converter.put()))) return false;
    if (FAILED(converter->Initialize(frame.get(), GUID_WICPixelFormat32bppBGRA, WICBitmapDitherTypeNone, nullptr, 0,
                                     WICBitmapPaletteTypeCustom)))
      return false;
    UINT width = 0, height = 0;
    if (FAILED(converter->GetSize(&width, &height)) || width == 0 || height == 0 ||
        static_cast<std::uint64_t>(width) * height > kMaxPixels)
      return false;
    out.width = static_cast<std::int32_t>(width);
    out.height = static_cast<std::int32_t>(height);
    out.pixels.assign(static_cast<std::size_t>(width) * height, 0);
    const UINT stride = width * 4;
    if (FAILED(converter->CopyPixels(nullptr, stride, stride * height, reinterpret_cast<BYTE*>(out.pixels.data()))))
      return false;
    return true;
  }
};

}  // namespace

void useWindowsPictureDecoder() {
  static std::once_flag once;
  std::call_once(once, [] { layout::installPictureDecoder(std::make_shared<WicDecoder>()); });
}

}  // namespace mervane::engine::win
