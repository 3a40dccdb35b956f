// A one-page run holding a heading and a message broken into lines.
#include "authoring/viewer/message_pages.h"

#include <utility>

namespace mervane::viewer {

namespace {

namespace layout = engine::layout;

class MessagePages final : public layout::PageSource {
 public:
  explicit MessagePages(std::shared_ptr<const layout::Page> page, Text problem)
      : page_(std::move(page)), problem_(std::move(problem)) {}
  std::shared_ptr<const layout::Page> page(std::int32_t number) override { return number == 1 ? page_ : nullptr; }
  std::int32_t pagesKnown() override { return 1; }
  std::optional<std::int32_t> pageCount() override { return 1; }
  void cancel() override {}
  Text problem() override { return problem_; }

 private:
  std::shared_ptr<const layout::Page> page_;
  Text problem_;
};

// Lines of at most `width` characters, broken at spaces where there are any.
std::vector<Text> wrap(const Text& text, std::size_t width) {
  std::vector<Text> lines;
  Text line;
  std::size_t at = 0;
  while (at <= text.size()) {
    std::size_t end = text.find_first_of(u" \n", at);
    if (end == Text::npos) end = text.size();
    Text word = text.substr(at, end - at);
    while (word.size() > width) {  // a word longer than a line is cut
      if (!line.empty()) lines.push_back(std::exchange(line, Text()));
      lines.push_back(word.substr(0, width));
      word.erase(0, width);
    }
    if (!line.empty() && line.size() + 1 + word.size() > width) lines.push_back(std::exchange(line, Text()));
    if (!word.empty()) line += (line.empty() ? u"" : u" ") + word;
    if (end < text.size() && text[end] == u'\n') lines.push_back(std::exchange(line, Text()));
    at = end + 1;
  }
  if (!line.empty()) lines.push_back(line);
  return lines;
}

}  // namespace

std::unique_ptr<layout::PageSource> messagePages(const Text& heading, const Text& message) {
  auto page = std::make_shared<layout::Page>();
  std::int32_t y = 1440;
  layout::TextRun title;
  title.box = {1134, y, page->width - 2 * 1134, 400};
  title.font.size = 280;
  title.font.bold = true;
  title.text = heading;
  page->items.push_back(title);
  y += 720;
  for (const Text& line : wrap(message, 80)) {
    layout::TextRun run;
    run.box = {1134, y, page->width - 2 * 1134, 300};
    run.text = line;
    page->items.push_back(run);
    y += 300;
    if (y > page->height - 1440) break;
  }
  return std::make_unique<MessagePages>(std::move(page), message);
}

}  // namespace mervane::viewer
