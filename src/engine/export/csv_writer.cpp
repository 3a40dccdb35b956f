// Records from display lists: every text run printed for a detail record
// carries the record's number. A record's runs are grouped into cells (the
// lines of one report object together), ordered by where they stand across
// the page. Records are written as soon as a later one has started, so a
// record split over two pages still makes one line.
#include "engine/export/csv_writer.h"

#include <algorithm>
#include <map>

namespace mervane::engine::exporting {

namespace {

struct Cell {
  layout::Rect box;  // where its first line stands
  Text text;
};

// The cells of one record, left to right.
// The runs come page by page, top to bottom on each.
std::vector<Cell> cellsOf(const std::vector<const layout::TextRun*>& runs) {
  std::vector<Cell> cells;
  std::vector<Text> keys;
  for (const auto* run : runs) {
    // Lines of one object share its name; unnamed runs are told apart by place.
    Text key = run->source.empty() ? u"@" + decimal(run->box.x) : run->source;
    auto found = std::find(keys.begin(), keys.end(), key);
    if (found == keys.end()) {
      keys.push_back(key);
      cells.push_back({run->box, run->text});
    } else {
      Cell& cell = cells[static_cast<std::size_t>(found - keys.begin())];
      cell.text += u' ';
      cell.text += run->text;
    }
  }
  std::stable_sort(cells.begin(), cells.end(), [](const Cell& a, const Cell& b) {
    return a.box.x != b.box.x ? a.box.x < b.box.x : a.box.y < b.box.y;
  });
  return cells;
}

std::int32_t overlap(const layout::Rect& a, const layout::Rect& b) {
  return std::min(a.x + a.width, b.x + b.width) - std::max(a.x, b.x);
}

// Column headings: among the runs outside the details that stand above the
// first record, the row (runs of one height on the page) that lies over
// most of the record's cells, the lowest such row on a tie. Nothing when no
// row covers at least two columns (or the only one).
std::vector<Text> headingsFor(const layout::Page& page, const std::vector<Cell>& first) {
  std::int32_t top = first.empty() ? 0 : first.front().box.y;
  for (const auto& cell : first) top = std::min(top, cell.box.y);
  std::map<std::int32_t, std::vector<const layout::TextRun*>> rows;
  for (const auto& item : page.items)
    if (const auto* run = std::get_if<layout::TextRun>(&item))
      if (run->record == 0 && run->box.y + run->box.height <= top && !run->text.empty())
        rows[run->box.y].push_back(run);
  std::vector<Text> best;
  std::size_t bestMatches = 0;
  for (const auto& [y, runs] : rows) {
    std::vector<Text> headings(first.size());
    std::size_t matches = 0;
    for (std::size_t i = 0; i < first.size(); ++i) {
      const layout::TextRun* chosen = nullptr;
      for (const auto* run : runs)
        if (overlap(run->box, first[i].box) > 0 && (!chosen || overlap(run->box, first[i].box) >
                                                                    overlap(chosen->box, first[i].box)))
          chosen = run;
      if (chosen) {
        headings[i] = chosen->text;
        ++matches;
      }
    }
    if (matches >= bestMatches && matches > 0) {  // rows go top to bottom: the lower wins a tie
      best = std::move(headings);
      bestMatches = matches;
    }
  }
  if (bestMatches < std::min<std::size_t>(2, first.size())) return {};
  return best;
}

class CsvOut {
 public:
  explicit CsvOut(std::ostream& out) : out_(out) { write("\xEF\xBB\xBF"); }
  void line(const std::vector<Text>& fields) {
    std::string text;
    for (std::size_t i = 0; i < fields.size(); ++i) {
      if (i) text += ',';
      text += csvField(fields[i]);
    }
    write(text + "\r\n");
  }
  void record(const std::vector<const layout::TextRun*>& runs) {
    std::vector<Text> fields;
    for (auto& cell : cellsOf(runs)) fields.push_back(std::move(cell.text));
    line(fields);
  }

 private:
  void write(const std::string& bytes) {
    out_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out_) throw std::ios_base::failure("the CSV file could not be written");
  }
  std::ostream& out_;
};

}  // namespace

std::string csvField(TextView text) {
  bool quote = !text.empty() && (text.front() == u' ' || text.back() == u' ');
  for (char16_t c : text) quote = quote || c == u',' || c == u'"' || c == u'\r' || c == u'\n';
  if (!quote) return toUtf8(text);
  Text doubled;
  for (char16_t c : text) {
    if (c == u'"') doubled += u'"';
    doubled += c;
  }
  return '"' + toUtf8(doubled) + '"';
}

bool writeCsv(const PageFeed& pages, std::ostream& out, const Progress& progress) {
  CsvOut csv(out);
  bool headed = false;
  // Runs of records not yet written, by record number.
  std::map<std::int64_t, std::vector<layout::TextRun>> pending;
  auto flush = [&csv](const std::vector<layout::TextRun>& runs) {
    std::vector<const layout::TextRun*> pointers;
    for (const auto& run : runs) pointers.push_back(&run);
    csv.record(pointers);
  };
  for (std::int32_t number = 1;; ++number) {
    std::shared_ptr<const layout::Page> page = pages(number);
    if (!page) break;
    std::map<std::int64_t, std::vector<const layout::TextRun*>> records;
    for (const auto& item : page->items)
      if (const auto* run = std::get_if<layout::TextRun>(&item))
        if (run->record > 0) records[run->record].push_back(run);
    for (auto& [record, runs] : records)
      std::stable_sort(runs.begin(), runs.end(), [](const auto* a, const auto* b) { return a->box.y < b->box.y; });
    if (!headed && !records.empty()) {
      headed = true;
      std::vector<Text> headings = headingsFor(*page, cellsOf(records.begin()->second));
      if (!headings.empty()) csv.line(headings);
    }
    for (const auto& [record, runs] : records)
      for (const auto* run : runs) pending[record].push_back(*run);
    // Every record but the last may be written: only the last can go on
    // over the page break.
    while (pending.size() > 1) {
      flush(pending.begin()->second);
      pending.erase(pending.begin());
    }
    if (progress && !progress(number)) return false;
  }
  for (const auto& [record, runs] : pending) flush(runs);
  return true;
}

}  // namespace mervane::engine::exporting
