// A small PDF 1.4 writer: objects written one after another with their byte
// offsets noted for the cross-reference table at the end. Object 1 is the
// catalogue and object 2 the page tree, written last once every page's
// object number is known; fonts are written at the end too, only those used.
//
// Page coordinates are points from the bottom left; the display lists are
// twips from the top left, so y is turned over and everything divided by 20.
#include "components/engine/export/pdf_writer.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "components/engine/export/pdf_fonts.h"

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

std::string deflate(const std::string& data) {
  uLongf size = compressBound(static_cast<uLong>(data.size()));
  std::string out(size, '\0');
  if (compress2(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(data.data()),
                static_cast<uLong>(data.size()), 6) != Z_OK)
    throw std::bad_alloc();
  out.resize(size);
  return out;
}

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

  void finish() {
    std::uint64_t xref = written_;
    write("xref\n0 " + std::to_string(offsets_.size()) + "\n0000000000 65535 f \n");
    for (std::size_t i = 1; i < offsets_.size(); ++i) {
      std::string offset = std::to_string(offsets_[i]);
      write(std::string(10 - offset.size(), '0') + offset + " 00000 n \n");
    }
    write("trailer\n<< /Size " + std::to_string(offsets_.size()) + " /Root 1 0 R >>\nstartxref\n" +
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

// One page's content stream and the resources it uses.
class PageContent {
 public:
  PageContent(PdfFile& file, std::array<int, 12>& fontObjects, double heightPt)
      : file_(file), fontObjects_(fontObjects), height_(heightPt) {}

  void add(const layout::TextRun& run) {
    if (run.text.empty() || run.box.width <= 0 || run.box.height <= 0) return;
    PdfFont font = pdfFontFor(run.font);
    std::string text = winAnsi(run.text);
    double size = std::max(1, run.font.size) / 20.0;
    double width = textWidthEm(font, text) * size;
    double left = run.box.x / 20.0, top = run.box.y / 20.0, boxWidth = run.box.width / 20.0;
    double x = left;
    if (run.align == layout::TextAlign::Centre) x = left + (boxWidth - width) / 2;
    if (run.align == layout::TextAlign::Right) x = left + boxWidth - width;
    double baseline = height_ - (top + font.ascent() * size);
    usedFonts_[static_cast<std::size_t>(font.index())] = true;
    if (fontObjects_[static_cast<std::size_t>(font.index())] == 0)
      fontObjects_[static_cast<std::size_t>(font.index())] = file_.reserve();

    content_ += "q " + rect(run.box) + " re W n\n";
    content_ += colour(run.colour, "rg");
    content_ += "BT /F" + std::to_string(font.index()) + ' ' + num(size) + " Tf " + num(x) + ' ' + num(baseline) +
                " Td " + literal(text) + " Tj ET\n";
    if (run.font.underline) {
      double y = baseline - size * 0.1;
      content_ += colour(run.colour, "RG") + num(size * 0.05) + " w " + num(x) + ' ' + num(y) + " m " +
                  num(x + width) + ' ' + num(y) + " l S\n";
    }
    content_ += "Q\n";
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
    if (!image.pixels || image.pixelWidth <= 0 || image.pixelHeight <= 0 || image.box.width <= 0 ||
        image.box.height <= 0)
      return;
    auto count = static_cast<std::size_t>(image.pixelWidth) * static_cast<std::size_t>(image.pixelHeight);
    if (image.pixels->size() < count) return;
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
      mask = file_.reserve();
      file_.stream(mask, "/Type /XObject /Subtype /Image /ColorSpace /DeviceGray " + size, deflate(alpha));
    }
    int number = file_.reserve();
    file_.stream(number,
                 "/Type /XObject /Subtype /Image /ColorSpace /DeviceRGB " + size +
                     (mask ? " /SMask " + std::to_string(mask) + " 0 R" : ""),
                 deflate(rgb));
    std::string name = "Im" + std::to_string(images_.size());
    images_.push_back(name + ' ' + std::to_string(number) + " 0 R");
    content_ += "q " + num(image.box.width / 20.0) + " 0 0 " + num(image.box.height / 20.0) + ' ' +
                num(image.box.x / 20.0) + ' ' + num(height_ - (image.box.y + image.box.height) / 20.0) + " cm /" +
                name + " Do Q\n";
  }

  const std::string& content() const { return content_; }

  std::string resources() const {
    std::string fonts, out = "<< ";
    for (std::size_t i = 0; i < usedFonts_.size(); ++i)
      if (usedFonts_[i]) fonts += "/F" + std::to_string(i) + ' ' + std::to_string(fontObjects_[i]) + " 0 R ";
    if (!fonts.empty()) out += "/Font << " + fonts + ">> ";
    if (!images_.empty()) {
      out += "/XObject << ";
      for (const auto& image : images_) out += "/" + image + ' ';
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

  PdfFile& file_;
  std::array<int, 12>& fontObjects_;
  double height_;
  std::string content_;
  std::array<bool, 12> usedFonts_{};
  std::vector<std::string> images_;
};

}  // namespace

bool writePdf(const PageFeed& pages, std::ostream& out, const Progress& progress) {
  PdfFile file(out);
  std::array<int, 12> fontObjects{};
  std::vector<int> pageObjects;
  for (std::int32_t number = 1;; ++number) {
    std::shared_ptr<const layout::Page> page = pages(number);
    if (!page) break;
    double width = std::max(1, page->width) / 20.0, height = std::max(1, page->height) / 20.0;
    PageContent content(file, fontObjects, height);
    for (const auto& item : page->items) std::visit([&](const auto& it) { content.add(it); }, item);
    int stream = file.reserve();
    file.stream(stream, "/Filter /FlateDecode", deflate(content.content()));
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
  for (int i = 0; i < 12; ++i) {
    if (fontObjects[static_cast<std::size_t>(i)] == 0) continue;
    PdfFont font{static_cast<PdfFamily>(i / 4), (i & 1) != 0, (i & 2) != 0};
    file.object(fontObjects[static_cast<std::size_t>(i)],
                std::string("<< /Type /Font /Subtype /Type1 /BaseFont /") + font.baseFont() +
                    " /Encoding /WinAnsiEncoding >>");
  }
  std::string kids;
  for (int object : pageObjects) kids += std::to_string(object) + " 0 R ";
  file.object(2, "<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(pageObjects.size()) + " >>");
  file.object(1, "<< /Type /Catalog /Pages 2 0 R >>");
  file.finish();
  return true;
}

}  // namespace mervane::engine::exporting
