// The archive window's reactions to the archiver's events, and the
// middle-shortening of the current file's name.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "maintenance/export_import/archive_progress.h"

namespace mervane {
namespace {

// Ten twips per character, a label 300 twips wide: 30 characters fit.
int tenPerChar(const Text& t) { return static_cast<int>(t.size()) * 10; }

Text numbered(int length) {
  Text t;
  for (int i = 0; i < length; ++i) t += static_cast<char16_t>(u'A' + i % 26);
  return t;
}

TEST(FitToWidth, ShortensFromTheMiddleDownToFourEachSide) {
  const Text sixty = numbered(60);
  EXPECT_EQ(fitToWidth(u"C:\\R\\a.rpt", 300, tenPerChar), u"C:\\R\\a.rpt");
  EXPECT_EQ(fitToWidth(sixty, 600, tenPerChar), sixty);
  // n starts at 28; 2n + 3 <= 30 first holds at n = 13.
  EXPECT_EQ(fitToWidth(sixty, 300, tenPerChar), sixty.substr(0, 13) + u"..." + sixty.substr(47));
  // Nothing fits: stops at n = 4.
  EXPECT_EQ(fitToWidth(sixty, 5, tenPerChar), u"ABCD...EFGH");
  EXPECT_EQ(fitToWidth(numbered(12), 5, tenPerChar), u"ABCD...IJKL");
  EXPECT_EQ(fitToWidth(numbered(11), 5, tenPerChar), numbered(11));

  // One measurement per pass, plus the first.
  int measured = 0;
  fitToWidth(sixty, 300, [&](const Text& t) {
    ++measured;
    return tenPerChar(t);
  });
  EXPECT_EQ(measured, 28 - 13 + 2);
}

struct RecordingView : ProgressView {
  std::map<ValueLabel, Text> labels;
  std::int32_t bar = -1;
  std::vector<std::string> calls;
  std::vector<std::pair<Text, Text>> messages;

  void setValue(ValueLabel l, const Text& t) override {
    labels[l] = t;
    calls.push_back("label " + std::to_string(static_cast<int>(l)));
  }
  int currentFileWidth() override { return 300; }
  int textWidth(const Text& t) override { return tenPerChar(t); }
  void setBar(std::int32_t p) override {
    bar = p;
    calls.push_back("bar");
  }
  void showMessage(const Text& text, const Text& title) override {
    messages.push_back({text, title});
    calls.push_back("message");
  }
  void processMessages() override { calls.push_back("pump"); }
};

TEST(ArchiveProgress, ProgressFillsEveryValueThenTheBarThenPumps) {
  RecordingView view;
  ArchiveProgress events(view);
  events.progress(numbered(40), 2000000, -5, 100, 7, 3, 123456789, 2147483647);
  EXPECT_EQ(view.labels[ValueLabel::currentFile], numbered(40).substr(0, 13) + u"..." + numbered(40).substr(27));
  EXPECT_EQ(view.labels[ValueLabel::totalFiles], u"7");
  EXPECT_EQ(view.labels[ValueLabel::totalBytes], u"123456789");
  EXPECT_EQ(view.labels[ValueLabel::processedFiles], u"3");
  EXPECT_EQ(view.labels[ValueLabel::processedBytes], u"2147483647");
  EXPECT_EQ(view.labels[ValueLabel::originalSize], u"2000000");
  EXPECT_EQ(view.labels[ValueLabel::bytesRead], u"-5");
  EXPECT_EQ(view.labels[ValueLabel::percentDone], u"100");
  EXPECT_EQ(view.bar, 100);
  EXPECT_EQ(view.calls.front(), "label 1");
  EXPECT_EQ(std::vector<std::string>(view.calls.end() - 2, view.calls.end()),
            (std::vector<std::string>{"bar", "pump"}));
  EXPECT_EQ(view.labels.count(ValueLabel::disk), 0u);
  EXPECT_EQ(events.files(), 0);  // only the count event sets it
}

TEST(ArchiveProgress, FilesFollowsTheLastCountEvenBackToZero) {
  RecordingView view;
  ArchiveProgress events(view);
  events.fileCount(u"a.rpt", 1);
  events.fileCount(u"b.rpt", 2);
  EXPECT_EQ(events.files(), 2);
  events.fileCount(u"", 0);  // the archive could not be completed after all
  EXPECT_EQ(events.files(), 0);
  EXPECT_TRUE(view.calls.empty());
}

TEST(ArchiveProgress, DiskPrompts) {
  RecordingView view;
  ArchiveProgress events(view);
  events.diskFull(2);
  EXPECT_EQ(view.messages.back(),
            std::make_pair(Text(u"The current disk is full.  Please enter a new disk."), Text(u"Backup")));
  EXPECT_EQ(view.labels[ValueLabel::disk], u"2");
  events.diskRequest(0);
  EXPECT_EQ(view.messages.back(),
            std::make_pair(Text(u"Please enter the last disk from the backup set."), Text(u"Restore")));
  EXPECT_EQ(view.labels[ValueLabel::disk], u"0");
  events.diskRequest(3);
  EXPECT_EQ(view.messages.back().first, u"Please enter disk number 3 from the backup set.");
  EXPECT_EQ(view.labels[ValueLabel::disk], u"3");
  EXPECT_EQ(view.calls, (std::vector<std::string>{"message", "label 3", "pump", "message", "label 3", "pump",
                                                  "message", "label 3", "pump"}));
}

}  // namespace
}  // namespace mervane
