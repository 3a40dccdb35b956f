// Web pages from display lists: absolutely placed elements in points,
// texts in reading order, pictures as PNG data (see html_writer.h).
#include "engine/export/html_writer.h"

#include <zlib.h>

#include <algorithm>
#include <ios>
#include <map>
#include <string>

#include "engine/export/xml_text.h"

namespace mervane::engine::exporting {

namespace {

using layout::TextRun;

std::string pt(std::int32_t twips) {
  // Twentieths of a point, written shortest.
  std::string s = std::to_string(twips / 20);
  const int rest = std::abs(twips % 20);
  if (rest) {
    std::string fraction = std::to_string(rest * 5);  // hundredths
    if (fraction.size() < 2) fraction.insert(0, "0");
    while (fraction.back() == '0') fraction.pop_back();
    if (twips < 0 && twips > -20) s = "-0";
    s += "." + fraction;
  }
  return s + "pt";
}

std::string colour(std::uint32_t rgb) {
  static const char digits[] = "0123456789abcdef";
  std::string s = "#";
  for (int shift = 20; shift >= 0; shift -= 4) s += digits[(rgb >> shift) & 0xF];
  return s;
}

// Line breaks have no place in a placed run of text.
void appendEscaped(std::string& out, TextView text) { appendXmlEscaped(out, toUtf8(text), false); }

std::string base64(const std::string& bytes) {
  static const char table[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  std::size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    const unsigned n = static_cast<unsigned char>(bytes[i]) << 16 | static_cast<unsigned char>(bytes[i + 1]) << 8 |
                       static_cast<unsigned char>(bytes[i + 2]);
    out += {table[n >> 18], table[(n >> 12) & 63], table[(n >> 6) & 63], table[n & 63]};
  }
  if (i < bytes.size()) {
    unsigned n = static_cast<unsigned char>(bytes[i]) << 16;
    if (i + 1 < bytes.size()) n |= static_cast<unsigned char>(bytes[i + 1]) << 8;
    out += table[n >> 18];
    out += table[(n >> 12) & 63];
    out += i + 1 < bytes.size() ? table[(n >> 6) & 63] : '=';
    out += '=';
  }
  return out;
}

void appendU32(std::string& out, std::uint32_t v) {
  out += static_cast<char>(v >> 24);
  out += static_cast<char>(v >> 16);
  out += static_cast<char>(v >> 8);
  out += static_cast<char>(v);
}

void chunk(std::string& png, const char* type, const std::string& data) {
  appendU32(png, static_cast<std::uint32_t>(data.size()));
  std::string body = std::string(type, 4) + data;
  png += body;
  appendU32(png, static_cast<std::uint32_t>(
                     crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()))));
}

const char* dashes(model::BorderStyle style) {
  switch (style) {
    case model::BorderStyle::Dashed: return " stroke-dasharray=\"4 2\"";
    case model::BorderStyle::Dotted: return " stroke-dasharray=\"1 2\"";
    default: return "";
  }
}

// Texts in reading order: lines top to bottom (runs that start above the
// first one's middle share its line), each left to right.
std::vector<const TextRun*> readingOrder(std::vector<const TextRun*> runs) {
  std::stable_sort(runs.begin(), runs.end(),
                   [](const auto* a, const auto* b) { return a->box.y != b->box.y ? a->box.y < b->box.y : a->box.x < b->box.x; });
  for (std::size_t i = 0; i < runs.size();) {
    const std::int32_t middle = runs[i]->box.y + std::max(1, runs[i]->box.height / 2);
    std::size_t end = i;
    while (end < runs.size() && runs[end]->box.y < middle) ++end;
    std::stable_sort(runs.begin() + static_cast<std::ptrdiff_t>(i), runs.begin() + static_cast<std::ptrdiff_t>(end),
                     [](const auto* a, const auto* b) { return a->box.x < b->box.x; });
    i = end;
  }
  return runs;
}

class HtmlOut {
 public:
  HtmlOut(std::ostream& out, const HtmlOptions& options) : out_(out), options_(options) {
    std::string head =
        "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\">\n<title>";
    appendEscaped(head, options.title);
    head +=
        "</title>\n<style>\n"
        "body{margin:0;padding:12pt 0;background:#8c8c8c}\n"
        ".page{position:relative;margin:0 auto 12pt;background:#fff;overflow:hidden;box-shadow:0 1pt 4pt #0007}\n"
        ".flow{position:relative;margin:0 auto;background:#fff;overflow:hidden}\n"
        ".page>*,.flow>*{position:absolute;margin:0;overflow:hidden;white-space:pre;line-height:1.15}\n"
        ".page>svg,.flow>svg{left:0;top:0}\n"
        ".r{text-align:right}.c{text-align:center}.u{text-decoration:underline}\n"
        "</style></head>\n<body>\n<main>\n";
    write(head);
  }

  void page(const layout::Page& page, std::int32_t top, std::int32_t height,
            const std::vector<const TextRun*>& texts, bool keepDecoration) {
    std::string html = options_.flowing ? "<div class=\"flow\"" : "<section class=\"page\" aria-label=\"Page " + std::to_string(page.number) + "\"";
    html += " style=\"width:" + pt(page.width) + ";height:" + pt(height) + "\">\n";
    if (keepDecoration) {
      decoration(html, page, top, height);
      for (const auto& item : page.items)
        if (const auto* image = std::get_if<layout::ImageItem>(&item)) picture(html, *image, top, height);
    }
    for (const TextRun* run : readingOrder(texts)) {
      html += "<p";
      if (run->align != layout::TextAlign::Left || run->font.underline) {
        html += " class=\"";
        if (run->align == layout::TextAlign::Right) html += "r";
        if (run->align == layout::TextAlign::Centre) html += "c";
        if (run->font.underline) html += run->align == layout::TextAlign::Left ? "u" : " u";
        html += '"';
      }
      html += " style=\"left:" + pt(run->box.x) + ";top:" + pt(run->box.y - top) + ";width:" + pt(run->box.width) +
              ";height:" + pt(run->box.height) + ";font:";
      if (run->font.italic) html += "italic ";
      if (run->font.bold) html += "bold ";
      html += pt(run->font.size) + " '";
      appendEscaped(html, run->font.name);
      html += "',sans-serif";
      if (run->colour != model::kBlack) html += ";color:" + colour(run->colour);
      html += "\">";
      appendEscaped(html, run->text);
      html += "</p>\n";
    }
    html += options_.flowing ? "</div>\n" : "</section>\n";
    write(html);
  }

  void finish() { write("</main>\n</body></html>\n"); }

 private:
  // Lines and boxes in one picture behind the text, left out of what a
  // screen reader reads.
  void decoration(std::string& html, const layout::Page& page, std::int32_t top, std::int32_t height) {
    std::string svg;
    for (const auto& item : page.items) {
      if (const auto* line = std::get_if<layout::LineItem>(&item)) {
        if (line->style == model::BorderStyle::None) continue;
        if (std::max(line->y1, line->y2) < top || std::min(line->y1, line->y2) > top + height) continue;
        svg += "<line x1=\"" + pt(line->x1) + "\" y1=\"" + pt(line->y1 - top) + "\" x2=\"" + pt(line->x2) +
               "\" y2=\"" + pt(line->y2 - top) + "\" stroke=\"" + colour(line->colour) + "\" stroke-width=\"" +
               pt(std::max(1, line->width)) + "\"" + dashes(line->style) + "/>";
      } else if (const auto* box = std::get_if<layout::BoxItem>(&item)) {
        if (box->box.y + box->box.height < top || box->box.y > top + height) continue;
        const bool border = box->border != model::BorderStyle::None && box->borderWidth > 0;
        if (!border && !box->filled) continue;
        svg += "<rect x=\"" + pt(box->box.x) + "\" y=\"" + pt(box->box.y - top) + "\" width=\"" +
               pt(box->box.width) + "\" height=\"" + pt(box->box.height) + "\" fill=\"" +
               (box->filled ? colour(box->fill) : std::string("none")) + "\"";
        if (border)
          svg += " stroke=\"" + colour(box->borderColour) + "\" stroke-width=\"" + pt(box->borderWidth) + "\"" +
                 dashes(box->border);
        svg += "/>";
      }
    }
    if (svg.empty()) return;
    html += "<svg aria-hidden=\"true\" width=\"" + pt(page.width) + "\" height=\"" + pt(height) + "\">" + svg +
            "</svg>\n";
  }

  void picture(std::string& html, const layout::ImageItem& image, std::int32_t top, std::int32_t height) {
    if (image.box.y + image.box.height < top || image.box.y > top + height) return;
    // A JPEG goes in as its file; other pictures as PNGs of their pixels.
    const void* key = image.jpeg ? static_cast<const void*>(image.jpeg.get()) : image.pixels.get();
    if (!image.jpeg && (!image.pixels || image.pixelWidth <= 0 || image.pixelHeight <= 0 ||
                        static_cast<std::int64_t>(image.pixelWidth) * image.pixelHeight >
                            static_cast<std::int64_t>(image.pixels->size())))
      return;
    // Each distinct picture is encoded once, however many pages show it.
    auto found = images_.find(key);
    if (found == images_.end()) {
      if (images_.size() > 64) images_.clear();
      Encoded encoded;
      if (image.jpeg) {
        encoded = {image.jpeg, "data:image/jpeg;base64," + base64(*image.jpeg)};
      } else {
        encoded = {image.pixels, "data:image/png;base64," +
                                     base64(encodePng(*image.pixels, image.pixelWidth, image.pixelHeight))};
      }
      found = images_.emplace(key, std::move(encoded)).first;
    }
    html += "<img alt=\"\" src=\"" + found->second.uri + "\" style=\"left:" + pt(image.box.x) + ";top:" +
            pt(image.box.y - top) + ";width:" + pt(image.box.width) + ";height:" + pt(image.box.height) + "\">\n";
  }

  void write(const std::string& bytes) {
    out_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out_) throw std::ios_base::failure("the web page could not be written");
  }

  struct Encoded {
    std::shared_ptr<const void> source;  // the pixels or the file: keeps the key alive
    std::string uri;
  };
  std::ostream& out_;
  const HtmlOptions& options_;
  std::map<const void*, Encoded> images_;
};

}  // namespace

std::string encodePng(const std::vector<std::uint32_t>& pixels, std::int32_t width, std::int32_t height) {
  std::string raw;
  raw.reserve(static_cast<std::size_t>(height) * (static_cast<std::size_t>(width) * 4 + 1));
  for (std::int32_t y = 0; y < height; ++y) {
    raw += '\0';  // no filter
    for (std::int32_t x = 0; x < width; ++x) {
      const std::uint32_t p = pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
      raw += static_cast<char>(p >> 16);
      raw += static_cast<char>(p >> 8);
      raw += static_cast<char>(p);
      raw += static_cast<char>(p >> 24);
    }
  }
  uLongf size = compressBound(static_cast<uLong>(raw.size()));
  std::string packed(size, '\0');
  if (compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(raw.data()),
                static_cast<uLong>(raw.size()), 6) != Z_OK)
    return {};
  packed.resize(size);
  std::string png = "\x89PNG\r\n\x1a\n";
  std::string header;
  appendU32(header, static_cast<std::uint32_t>(width));
  appendU32(header, static_cast<std::uint32_t>(height));
  header += std::string("\x08\x06\x00\x00\x00", 5);  // 8 bits, RGBA, deflate, no filter, no interlace
  chunk(png, "IHDR", header);
  chunk(png, "IDAT", packed);
  chunk(png, "IEND", {});
  return png;
}

bool writeHtml(const PageFeed& pages, std::ostream& out, const Progress& progress, const HtmlOptions& options) {
  HtmlOut html(out, options);
  std::shared_ptr<const layout::Page> previous;
  std::vector<const TextRun*> lastFooter;
  for (std::int32_t number = 1;; ++number) {
    std::shared_ptr<const layout::Page> page = pages(number);
    if (!page) break;
    std::vector<const TextRun*> texts, footer;
    for (const auto& item : page->items)
      if (const auto* run = std::get_if<TextRun>(&item)) {
        if (!options.flowing) {
          texts.push_back(run);
        } else if (run->section == model::SectionKind::PageFooter) {
          footer.push_back(run);
        } else if (number == 1 || run->section != model::SectionKind::PageHeader) {
          texts.push_back(run);
        }
      }
    if (!options.flowing) {
      html.page(*page, 0, page->height, texts, true);
    } else if (!texts.empty()) {
      // The body's extent: from its first text down to whatever stands
      // below it above the page footer.
      std::int32_t top = texts.front()->box.y, bottom = 0, footerTop = page->height;
      for (const auto* run : footer) footerTop = std::min(footerTop, run->box.y);
      for (const auto* run : texts) top = std::min(top, run->box.y);
      for (const auto& item : page->items) {
        std::int32_t y = 0, end = 0;
        if (const auto* run = std::get_if<TextRun>(&item)) {
          y = run->box.y, end = run->box.y + run->box.height;
        } else if (const auto* line = std::get_if<layout::LineItem>(&item)) {
          y = std::min(line->y1, line->y2), end = std::max(line->y1, line->y2) + line->width;
        } else if (const auto* box = std::get_if<layout::BoxItem>(&item)) {
          y = box->box.y, end = box->box.y + box->box.height;
        } else if (const auto* image = std::get_if<layout::ImageItem>(&item)) {
          y = image->box.y, end = image->box.y + image->box.height;
        }
        if (y >= top && end <= footerTop) bottom = std::max(bottom, end);
      }
      html.page(*page, top, bottom - top, texts, true);
    }
    lastFooter = std::move(footer);
    previous = page;  // keeps the footer's runs alive
    if (progress && !progress(number)) return false;
  }
  if (options.flowing && previous && !lastFooter.empty()) {
    std::int32_t top = lastFooter.front()->box.y, bottom = 0;
    for (const auto* run : lastFooter) {
      top = std::min(top, run->box.y);
      bottom = std::max(bottom, run->box.y + run->box.height);
    }
    html.page(*previous, top, bottom - top, lastFooter, false);
  }
  html.finish();
  return true;
}

}  // namespace mervane::engine::exporting
