// The CSV export, read back by Python's csv module.
#include "engine/export/csv_writer.h"

#include <sstream>

#include "export_test_support.h"

using namespace mervane;
using namespace mervane::engine;
using namespace mervane::engine::exporting;
using namespace mervane::engine::exporting::testing;

namespace {

// The file as Python's csv module reads it, one record a line, fields
// joined by " | " and line breaks shown as "\n".
std::string readBack(const std::filesystem::path& path) {
  std::string script =
      "import csv,sys\n"
      "with open(sys.argv[1], newline='', encoding='utf-8-sig') as f:\n"
      "    for row in csv.reader(f, strict=True):\n"
      "        print(' | '.join(c.replace('\\n', '\\\\n') for c in row))\n";
  std::ofstream(scratch("read_csv.py")) << script;
  return capture("/usr/bin/python3 '" + scratch("read_csv.py").string() + "' '" + path.string() + "'");
}

}  // namespace

TEST(CsvExport, RecordsInColumnOrderWithHeadingsAndQuotingRoundTrip) {
  layout::Page one, two;
  // Page header: a title, then the column headings (placed right to left in
  // the list to show that order comes from the page).
  one.items.push_back(run(3000, 200, u"Orders by country"));
  one.items.push_back(run(6000, 600, u"Amount", 0, u"AmountHeading", layout::TextAlign::Right));
  one.items.push_back(run(500, 600, u"Customer", 0, u"CustomerHeading"));
  one.items.push_back(run(3000, 600, u"Note", 0, u"NoteHeading"));
  // A group header over one column only: not taken for the headings.
  one.items.push_back(run(500, 1000, u"Country: France"));
  // Record 1: fields drawn out of order, a note on two lines.
  one.items.push_back(run(6000, 1400, u"1,234.50", 1, u"Amount", layout::TextAlign::Right));
  one.items.push_back(run(500, 1400, u"Zoë \"Zed\" Müller", 1, u"Customer"));
  one.items.push_back(run(3000, 1400, u"first line", 1, u"Note"));
  one.items.push_back(run(3000, 1700, u"second line", 1, u"Note"));
  one.items.push_back(run(500, 2100, u" padded ", 2, u"Customer"));
  one.items.push_back(run(3000, 2100, u"multi\nline", 2, u"Note"));
  one.items.push_back(run(6000, 2100, u"7", 2, u"Amount"));
  // Record 3 goes on over the page break.
  one.items.push_back(run(500, 2500, u"Ångström AB", 3, u"Customer"));
  one.items.push_back(run(3000, 2500, u"starts here", 3, u"Note"));
  one.items.push_back(run(200, 16000, u"Page 1 of 2"));
  two.items.push_back(run(3000, 400, u"ends here", 3, u"Note"));
  two.items.push_back(run(6000, 400, u"0", 3, u"Amount"));
  two.items.push_back(run(500, 800, u"Last", 4, u"Customer"));
  two.items.push_back(run(200, 16000, u"Page 2 of 2"));

  auto path = scratch("orders.csv");
  {
    std::ofstream out(path, std::ios::binary);
    ASSERT_TRUE(writeCsv(feedOf({one, two}), out));
  }
  EXPECT_EQ(readBack(path),
            "Customer | Note | Amount\n"
            "Zoë \"Zed\" Müller | first line second line | 1,234.50\n"
            " padded  | multi\\nline | 7\n"
            "Ångström AB | starts here ends here | 0\n"
            "Last\n");
  std::ifstream in(path, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(bytes.rfind("\xEF\xBB\xBF", 0), 0u);
  EXPECT_NE(bytes.find("Customer,Note,Amount\r\n"), std::string::npos);
}

TEST(CsvExport, PagesWithoutDetailsGiveNoLinesAndStoppingIsHonoured) {
  layout::Page page;
  page.items.push_back(run(500, 500, u"Data source unavailable: the server refused the log-on"));
  std::ostringstream out;
  EXPECT_TRUE(writeCsv(feedOf({page}), out));
  EXPECT_EQ(out.str(), "\xEF\xBB\xBF");

  std::ostringstream stopped;
  EXPECT_FALSE(writeCsv(feedOf({page, page, page}), stopped, [](std::int32_t done) { return done < 2; }));
}

TEST(CsvExport, FieldQuoting) {
  EXPECT_EQ(csvField(u"plain"), "plain");
  EXPECT_EQ(csvField(u""), "");
  EXPECT_EQ(csvField(u"a,b"), "\"a,b\"");
  EXPECT_EQ(csvField(u"say \"hi\""), "\"say \"\"hi\"\"\"");
  EXPECT_EQ(csvField(u"cr\rlf"), "\"cr\rlf\"");
  EXPECT_EQ(csvField(u" lead"), "\" lead\"");
}
