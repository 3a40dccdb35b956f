// A small PDF 1.4 writer: objects written one after another with their byte
// offsets noted for the cross-reference table at the end. Object 1 is the
// catalogue and object 2 the page tree, written last once every page's
// object number is known; fonts are written at the end too, only those used.
//
// Page coordinates are points from the bottom left; the display lists are
// twips from the top left, so y is turned over and everything divided by 20.
#include "engine/export/pdf_writer.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <exception>
#include <map>
#include <mutex>
#include <thread>
#include <string>
#include <vector>

#include "engine/export/pdf_fonts.h"

namespace mervane::engine::exporting {

namespace {

// A number with at most two decimals, '.' as the point whatever the locale.
std::string num(double value) {
  auto hundredths = static_cast<long long>(std::llround(value * 100.0));
  std::string out = hundredths < 0 ? "-" : "";
  long long magnitude = hundredths < 0 ? -hundredths : hundredths;
  out += std::to_string(magnitude / 100);
  if (long long frac = magnitude % 100) {
    out += '.';
    out += static_cast<char>('0' + frac / 10);
    if (frac % 10) out += static_cast<char>('0' + frac % 10);
  }
  return out;
}

std::string colour(std::uint32_t rgb, const char* op) {
  return num(((rgb >> 16) & 0xFF) / 255.0) + ' ' + num(((rgb >> 8) & 0xFF) / 255.0) + ' ' +
         num((rgb & 0xFF) / 255.0) + ' ' + op + '\n';
}

// A PDF literal string: parentheses and backslashes escaped.
std::string literal(const std::string& bytes) {
  std::string out = "(";
  for (char c : bytes) {
    if (c == '(' || c == ')' || c == '\\') out += '\\';
    out += c;
  }
  return out + ')';
}

// Deflate with one compressor kept for the whole file: setting one up costs
// a quarter of a megabyte, too much to pay again for every page.
class Compressor {
 public:
  Compressor() {
    if (deflateInit(&stream_, 3) != Z_OK) throw std::bad_alloc();
  }
  ~Compressor() { deflateEnd(&stream_); }
  Compressor(const Compressor&) = delete;
  Compressor& operator=(const Compressor&) = delete;

  const std::string& operator()(const std::string& data) {
    deflateReset(&stream_);
    out_.resize(deflateBound(&stream_, static_cast<uLong>(data.size())));
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    stream_.avail_in = static_cast<uInt>(data.size());
    stream_.next_out = reinterpret_cast<Bytef*>(out_.data());
    stream_.avail_out = static_cast<uInt>(out_.size());
    if (::deflate(&stream_, Z_FINISH) != Z_STREAM_END) throw std::bad_alloc();
    out_.resize(out_.size() - stream_.avail_out);
    return out_;
  }

 private:
  z_stream stream_{};
  std::string out_;
};

class PdfFile {
 public:
  explicit PdfFile(std::ostream& out) : out_(out) {
    offsets_.resize(3, 0);  // 0 is the free head; 1 and 2 are kept for the catalogue and page tree
    write("%PDF-1.4\n%\xE2\xE3\xCF\xD3\n");
  }

  int reserve() {
    offsets_.push_back(0);
    return static_cast<int>(offsets_.size()) - 1;
  }

  void object(int number, const std::string& body) {
    begin(number);
    write(body);
    write("\nendobj\n");
  }

  void stream(int number, std::string dictionary, const std::string& data) {
    begin(number);
    write("<< " + dictionary + " /Length " + std::to_string(data.size()) + " >>\nstream\n");
    write(data);
    write("\nendstream\nendobj\n");
  }

  void finish(int info) {
    std::uint64_t xref = written_;
    write("xref\n0 " + std::to_string(offsets_.size()) + "\n0000000000 65535 f \n");
    for (std::size_t i = 1; i < offsets_.size(); ++i) {
      std::string offset = std::to_string(offsets_[i]);
      write(std::string(10 - offset.size(), '0') + offset + " 00000 n \n");
    }
    write("trailer\n<< /Size " + std::to_string(offsets_.size()) + " /Root 1 0 R /Info " +
          std::to_string(info) + " 0 R >>\nstartxref\n" +
          std::to_string(xref) + "\n%%EOF\n");
    out_.flush();
  }

 private:
  void begin(int number) {
    offsets_[static_cast<std::size_t>(number)] = written_;
    write(std::to_string(number) + " 0 obj\n");
  }
  void write(const std::string& bytes) {
    out_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out_) throw std::ios_base::failure("the PDF could not be written");
    written_ += bytes.size();
  }

  std::ostream& out_;
  std::vector<std::uint64_t> offsets_;
  std::uint64_t written_ = 0;
};

// What pages share: the file, the fonts, the pictures already written.
struct Document {
  explicit Document(std::ostream& out, std::shared_ptr<FontSource> source) : file(out), fonts(std::move(source)) {}
  PdfFile file;
  Compressor deflate;
  ShapedText shaped;  // one run's text at a time, its buffers kept
  std::string show;
  std::array<int, 12> standardFonts{};
  EmbeddedFonts fonts;
  // Pictures by their pixels, or their JPEG file; what the key points to is
  // held so that the key stays theirs.
  std::map<const void*, std::pair<std::shared_ptr<const void>, int>> images;
};

// One page's content stream and the resources it uses.
class PageContent {
 public:
  PageContent(Document& document, double heightPt) : doc_(document), height_(heightPt) {}

  void add(const layout::TextRun& run) {
    if (run.text.empty() || run.box.width <= 0 || run.box.height <= 0) return;
    double size = std::max(1, run.font.size) / 20.0;
    ShapedText& shaped = doc_.shaped;
    shaped.fakeBold = shaped.fakeItalic = false;
    std::string& show = doc_.show;  // the text operators, the font's or fonts' own
    show.clear();
    double width = 0, ascent = 0;
    if (doc_.fonts.shape(run.font, run.text, shaped)) {
      width = shaped.widthEm * size;
      ascent = shaped.ascentEm * size;
      std::string sizeText = num(size);
      for (std::size_t i = 0; i < shaped.count; ++i) {
        const auto& piece = shaped.pieces[i];
        std::string name = "F" + std::to_string(piece.font);
        if (!fonts_.count(name))
          fonts_.emplace(name, doc_.fonts.objectOf(piece.font, [this] { return doc_.file.reserve(); }));
        ((((((show += '/') += name) += ' ') += sizeText) += " Tf <") += piece.glyphs) += "> Tj ";
      }
    } else {
      PdfFont font = pdfFontFor(run.font);
      std::string text = winAnsi(run.text);
      width = textWidthEm(font, text) * size;
      ascent = font.ascent() * size;
      auto index = static_cast<std::size_t>(font.index());
      if (doc_.standardFonts[index] == 0) doc_.standardFonts[index] = doc_.file.reserve();
      fonts_.emplace("S" + std::to_string(index), doc_.standardFonts[index]);
      show = "/S" + std::to_string(index) + ' ' + num(size) + " Tf " + literal(text) + " Tj ";
    }
    double left = run.box.x / 20.0, top = run.box.y / 20.0, boxWidth = run.box.width / 20.0;
    double x = left;
    if (run.align == layout::TextAlign::Centre) x = left + (boxWidth - width) / 2;
    if (run.align == layout::TextAlign::Right) x = left + boxWidth - width;
    double baseline = height_ - (top + ascent);

    // Clipped to its box only when it would stand out of it: most runs fit,
    // and a clip costs a save, a path and a restore each.
    bool clip = width > boxWidth + 0.25 || x < left - 0.25 || size * 1.15 > run.box.height / 20.0 + 0.25;
    bool fake = shaped.fakeBold || shaped.fakeItalic;
    bool saved = clip || fake || run.font.underline;
    if (saved) content_ += "q ";
    if (clip) (content_ += rect(run.box)) += " re W n\n";
    if (saved || run.colour != fill_) {
      content_ += colour(run.colour, "rg");
      if (!saved) fill_ = run.colour;
    }
    content_ += "BT ";
    if (shaped.fakeBold) ((content_ += colour(run.colour, "RG")) += num(size * 0.03)) += " w 2 Tr ";
    content_ += shaped.fakeItalic ? "1 0 0.21 1 " : "";
    ((content_ += num(x)) += ' ') += num(baseline);
    content_ += shaped.fakeItalic ? " Tm " : " Td ";
    (content_ += show) += "ET\n";
    if (run.font.underline) {
      double y = baseline - size * 0.1;
      content_ += colour(run.colour, "RG") + num(size * 0.05) + " w " + num(x) + ' ' + num(y) + " m " +
                  num(x + width) + ' ' + num(y) + " l S\n";
    }
    if (saved) content_ += "Q\n";
  }

  void add(const layout::LineItem& line) {
    if (line.style == model::BorderStyle::None) return;
    double w = std::max(1, line.width) / 20.0;
    double x1 = line.x1 / 20.0, y1 = height_ - line.y1 / 20.0, x2 = line.x2 / 20.0, y2 = height_ - line.y2 / 20.0;
    content_ += "q " + colour(line.colour, "RG") + dash(line.style, w);
    if (line.style == model::BorderStyle::Double) {
      // Two thin lines a line's width apart, either side of the middle.
      double length = std::hypot(x2 - x1, y2 - y1);
      double nx = length > 0 ? -(y2 - y1) / length * w / 3 : 0, ny = length > 0 ? (x2 - x1) / length * w / 3 : 0;
      content_ += num(w / 3) + " w ";
      for (int side : {-1, 1})
        content_ += num(x1 + side * nx) + ' ' + num(y1 + side * ny) + " m " + num(x2 + side * nx) + ' ' +
                    num(y2 + side * ny) + " l S\n";
    } else {
      content_ += num(w) + " w " + num(x1) + ' ' + num(y1) + " m " + num(x2) + ' ' + num(y2) + " l S\n";
    }
    content_ += "Q\n";
  }

  void add(const layout::BoxItem& box) {
    if (box.box.width <= 0 || box.box.height <= 0) return;
    if (box.filled) content_ += "q " + colour(box.fill, "rg") + rect(box.box) + " re f Q\n";
    if (box.border == model::BorderStyle::None) return;
    double w = std::max(1, box.borderWidth) / 20.0;
    content_ += "q " + colour(box.borderColour, "RG") + dash(box.border, w);
    if (box.border == model::BorderStyle::Double) {
      content_ += num(w / 3) + " w " + rect(box.box) + " re S ";
      layout::Rect inner{box.box.x + box.borderWidth * 2 / 3, box.box.y + box.borderWidth * 2 / 3,
                         box.box.width - box.borderWidth * 4 / 3, box.box.height - box.borderWidth * 4 / 3};
      if (inner.width > 0 && inner.height > 0) content_ += rect(inner) + " re S";
      content_ += "\n";
    } else {
      content_ += num(w) + " w " + rect(box.box) + " re S\n";
    }
    content_ += "Q\n";
  }

  void add(const layout::ImageItem& image) {
    if (image.pixelWidth <= 0 || image.pixelHeight <= 0 || image.box.width <= 0 || image.box.height <= 0) return;
    int object = 0;
    const int components = image.jpegComponents;
    if (image.jpeg && (components == 1 || components == 3 || components == 4)) {
      // A JPEG goes in as it came: smaller than its pixels, and not decoded twice.
      auto& known = doc_.images[image.jpeg.get()];
      if (!known.first) known = {image.jpeg, writeJpeg(image)};
      object = known.second;
    } else {
      if (!image.pixels) return;
      auto count = static_cast<std::size_t>(image.pixelWidth) * static_cast<std::size_t>(image.pixelHeight);
      if (image.pixels->size() < count) return;
      auto& known = doc_.images[image.pixels.get()];
      if (!known.first) known = {image.pixels, writeImage(image, count)};
      object = known.second;
    }
    std::string name = "Im" + std::to_string(object);
    images_.emplace(name, object);
    content_ += "q " + num(image.box.width / 20.0) + " 0 0 " + num(image.box.height / 20.0) + ' ' +
                num(image.box.x / 20.0) + ' ' + num(height_ - (image.box.y + image.box.height) / 20.0) + " cm /" +
                name + " Do Q\n";
  }

  const std::string& content() const { return content_; }

  std::string resources() const {
    std::string out = "<< ";
    if (!fonts_.empty()) {
      out += "/Font << ";
      for (const auto& [name, object] : fonts_) out += '/' + name + ' ' + std::to_string(object) + " 0 R ";
      out += ">> ";
    }
    if (!images_.empty()) {
      out += "/XObject << ";
      for (const auto& [name, object] : images_) out += '/' + name + ' ' + std::to_string(object) + " 0 R ";
      out += ">> ";
    }
    return out + ">>";
  }

 private:
  // A rectangle's operands: left, bottom, width, height.
  std::string rect(const layout::Rect& r) const {
    return num(r.x / 20.0) + ' ' + num(height_ - (r.y + r.height) / 20.0) + ' ' + num(r.width / 20.0) + ' ' +
           num(r.height / 20.0);
  }
  static std::string dash(model::BorderStyle style, double width) {
    if (style == model::BorderStyle::Dashed) return "[" + num(width * 4) + ' ' + num(width * 2) + "] 0 d ";
    if (style == model::BorderStyle::Dotted) return "1 J [0 " + num(width * 2) + "] 0 d ";
    return "";
  }

  int writeJpeg(const layout::ImageItem& image) {
    const char* space = image.jpegComponents == 1 ? "/DeviceGray" : image.jpegComponents == 3 ? "/DeviceRGB" : "/DeviceCMYK";
    int number = doc_.file.reserve();
    doc_.file.stream(number,
                     std::string("/Type /XObject /Subtype /Image /ColorSpace ") + space + " /Width " +
                         std::to_string(image.pixelWidth) + " /Height " + std::to_string(image.pixelHeight) +
                         " /BitsPerComponent 8 /Filter /DCTDecode" +
                         // Adobe's CMYK JPEGs store their inks inverted.
                         (image.jpegComponents == 4 ? " /Decode [1 0 1 0 1 0 1 0]" : ""),
                     *image.jpeg);
    return number;
  }

  // The picture's pixels as an RGB image object, with a soft mask where
  // any pixel is not opaque.
  int writeImage(const layout::ImageItem& image, std::size_t count) {
    std::string rgb, alpha;
    rgb.reserve(count * 3);
    alpha.reserve(count);
    bool translucent = false;
    for (std::size_t i = 0; i < count; ++i) {
      std::uint32_t p = (*image.pixels)[i];
      rgb += static_cast<char>((p >> 16) & 0xFF);
      rgb += static_cast<char>((p >> 8) & 0xFF);
      rgb += static_cast<char>(p & 0xFF);
      alpha += static_cast<char>(p >> 24);
      translucent = translucent || (p >> 24) != 0xFF;
    }
    std::string size = "/Width " + std::to_string(image.pixelWidth) + " /Height " +
                       std::to_string(image.pixelHeight) + " /BitsPerComponent 8 /Filter /FlateDecode";
    int mask = 0;
    if (translucent) {
      mask = doc_.file.reserve();
      doc_.file.stream(mask, "/Type /XObject /Subtype /Image /ColorSpace /DeviceGray " + size, doc_.deflate(alpha));
    }
    int number = doc_.file.reserve();
    doc_.file.stream(number,
                     "/Type /XObject /Subtype /Image /ColorSpace /DeviceRGB " + size +
                         (mask ? " /SMask " + std::to_string(mask) + " 0 R" : ""),
                     doc_.deflate(rgb));
    return number;
  }

  Document& doc_;
  double height_;
  std::string content_;
  std::uint32_t fill_ = model::kBlack;  // the fill colour outside any q ... Q
  std::map<std::string, int> fonts_, images_;
};

// A text string of the document information: UTF-16BE with its byte order mark.
std::string infoText(const Text& text) {
  std::string out = "<FEFF";
  static constexpr char kHex[] = "0123456789ABCDEF";
  for (char16_t c : text)
    for (int shift = 12; shift >= 0; shift -= 4) out += kHex[(c >> shift) & 0xF];
  return out + '>';
}

std::string pdfDate(std::chrono::system_clock::time_point when) {
  using namespace std::chrono;
  auto day = floor<days>(when);
  year_month_day date{day};
  hh_mm_ss time{floor<seconds>(when - day)};
  char out[32];
  std::snprintf(out, sizeof out, "D:%04d%02u%02u%02d%02d%02dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()));
  return std::string("(") + out + ')';
}

// Pages laid out one ahead of the writer, on a thread of their own, so that
// laying out and writing share the machine's cores. At most a few pages
// wait; the feed is asked in order, as it expects.
class PagesAhead {
 public:
  explicit PagesAhead(const PageFeed& pages) : pages_(pages), worker_([this] { run(); }) {}
  ~PagesAhead() {
    {
      std::lock_guard guard(lock_);
      stop_ = true;
    }
    changed_.notify_all();
    worker_.join();
  }
  PagesAhead(const PagesAhead&) = delete;
  PagesAhead& operator=(const PagesAhead&) = delete;

  // The next page, or null after the last; what the feed threw, rethrown.
  std::shared_ptr<const layout::Page> next() {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [this] { return !ready_.empty() || done_; });
    if (ready_.empty()) {
      if (error_) std::rethrow_exception(error_);
      return nullptr;
    }
    auto page = std::move(ready_.front());
    ready_.pop_front();
    changed_.notify_all();
    return page;
  }

 private:
  void run() {
    for (std::int32_t number = 1;; ++number) {
      {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [this] { return ready_.size() < 4 || stop_; });
        if (stop_) break;
      }
      std::shared_ptr<const layout::Page> page;
      std::exception_ptr error;
      try {
        page = pages_(number);
      } catch (...) {
        error = std::current_exception();
      }
      std::lock_guard guard(lock_);
      if (!page) {
        error_ = error;
        break;
      }
      ready_.push_back(std::move(page));
      changed_.notify_all();
    }
    std::lock_guard guard(lock_);
    done_ = true;
    changed_.notify_all();
  }

  const PageFeed& pages_;
  std::mutex lock_;
  std::condition_variable changed_;
  std::deque<std::shared_ptr<const layout::Page>> ready_;
  std::exception_ptr error_;
  bool done_ = false, stop_ = false;
  std::thread worker_;  // last: started once the rest exists
};

}  // namespace

bool writePdf(const PageFeed& pages, std::ostream& out, const Progress& progress, const PdfOptions& options) {
  Document doc(out, options.fonts);
  PdfFile& file = doc.file;
  std::vector<int> pageObjects;
  PagesAhead ahead(pages);
  for (std::int32_t number = 1;; ++number) {
    std::shared_ptr<const layout::Page> page = ahead.next();
    if (!page) break;
    double width = std::max(1, page->width) / 20.0, height = std::max(1, page->height) / 20.0;
    PageContent content(doc, height);
    for (const auto& item : page->items) std::visit([&](const auto& it) { content.add(it); }, item);
    int stream = file.reserve();
    file.stream(stream, "/Filter /FlateDecode", doc.deflate(content.content()));
    int pageObject = file.reserve();
    file.object(pageObject, "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " + num(width) + ' ' + num(height) +
                                "] /Resources " + content.resources() + " /Contents " + std::to_string(stream) +
                                " 0 R >>");
    pageObjects.push_back(pageObject);
    if (progress && !progress(number)) return false;
  }
  if (pageObjects.empty()) {
    // A file without pages is not a valid PDF: give it one blank A4 page.
    int pageObject = file.reserve();
    file.object(pageObject, "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595.3 841.9] /Resources << >> >>");
    pageObjects.push_back(pageObject);
  }
  doc.fonts.write([&] { return file.reserve(); },
                  [&](int number, const std::string& body) { file.object(number, body); },
                  [&](int number, const std::string& dictionary, const std::string& data) {
                    file.stream(number, dictionary, data);
                  });
  for (int i = 0; i < 12; ++i) {
    if (doc.standardFonts[static_cast<std::size_t>(i)] == 0) continue;
    PdfFont font{static_cast<PdfFamily>(i / 4), (i & 1) != 0, (i & 2) != 0};
    file.object(doc.standardFonts[static_cast<std::size_t>(i)],
                std::string("<< /Type /Font /Subtype /Type1 /BaseFont /") + font.baseFont() +
                    " /Encoding /WinAnsiEncoding >>");
  }
  std::string kids;
  for (int object : pageObjects) kids += std::to_string(object) + " 0 R ";
  file.object(2, "<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(pageObjects.size()) + " >>");
  file.object(1, "<< /Type /Catalog /Pages 2 0 R >>");
  int info = file.reserve();
  std::string properties = "<< /Producer (Mervane100) /CreationDate " + pdfDate(options.created);
  if (!options.title.empty()) properties += " /Title " + infoText(options.title);
  if (!options.subject.empty()) properties += " /Subject " + infoText(options.subject);
  file.object(info, properties + " >>");
  file.finish(info);
  return true;
}

}  // namespace mervane::engine::exporting
