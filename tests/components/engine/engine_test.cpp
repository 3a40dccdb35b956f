// The engine's report objects against a fake report file: what a report
// reads, what a save carries to the file, and what it refuses.
#include "components/engine/engine.h"

#include <gtest/gtest.h>

#include <vector>

namespace mervane::engine {
namespace {

struct Saved {
  Text path;
  Text title;
};

class FakeFile : public ReportFile {
 public:
  FakeFile(ReportSummary summary, std::vector<Saved>& saves) : summary_(std::move(summary)), saves_(saves) {}
  const ReportSummary& summary() const override { return summary_; }
  std::optional<std::vector<std::uint8_t>> definition() override { return std::nullopt; }
  void writeCopy(const Text& path, const ReportChanges& changes) override { saves_.push_back({path, changes.title}); }

 private:
  ReportSummary summary_;
  std::vector<Saved>& saves_;
};

class FakeFiles : public ReportFiles {
 public:
  std::unique_ptr<ReportFile> open(const Text& path, OpenMethod method) override {
    methods.push_back(method);
    if (path == u"missing.rpt") return nullptr;
    return std::make_unique<FakeFile>(ReportSummary{u"Sales; 2023", u"Dept=4;AppData=17;"}, saves);
  }
  void create(const Text& path, const ReportChanges& changes) override { saves.push_back({path, changes.title}); }
  std::vector<OpenMethod> methods;
  std::vector<Saved> saves;
};

TEST(Engine, ReportsSaveTheirOwnTitleInTheFormatAskedFor) {
  auto files = std::make_shared<FakeFiles>();
  Engine engine(EngineParts{files, nullptr, {}});
  EXPECT_EQ(engine.openReport(u"missing.rpt"), nullptr);
  auto first = engine.openReport(u"a.rpt", OpenMethod::ByTemporaryCopy);
  auto second = engine.openReport(u"a.rpt");
  ASSERT_TRUE(first && second);
  EXPECT_EQ(files->methods.back(), OpenMethod::Default);
  EXPECT_EQ(files->methods[1], OpenMethod::ByTemporaryCopy);

  // A new title lives in its own report until saved; the text stays.
  first->setTitle(u"Sales 2");
  EXPECT_EQ(second->title(), u"Sales; 2023");
  EXPECT_EQ(first->applicationDataText(), u"Dept=4;AppData=17;");
  for (int format : {0, 1791, 1793}) EXPECT_THROW(first->saveAs(u"b.rpt", format), UnsupportedFormat);
  EXPECT_TRUE(files->saves.empty());
  first->saveAs(u"b.rpt", kReportFileFormat);
  second->saveAs(u"c.rpt", kReportFileFormat);
  ASSERT_EQ(files->saves.size(), 2u);
  EXPECT_EQ(files->saves[0].path, u"b.rpt");
  EXPECT_EQ(files->saves[0].title, u"Sales 2");
  EXPECT_EQ(files->saves[1].title, u"Sales; 2023");
}

}  // namespace
}  // namespace mervane::engine
