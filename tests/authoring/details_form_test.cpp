// The report details dialog as a person meets it: refusals with their
// messages, the focus and selection they leave, the appended extension, the
// existing-file refusal, Enter, Esc and the close button.
#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "authoring/details_rules.h"
#include "authoring/win/details_form.h"
#include "components/win/win32_file_system.h"
#include "person.h"

namespace mervane::win {
namespace {

namespace fs = std::filesystem;
using testing::Person;
using Ids = DetailsForm;  // control ids

const std::wstring kCaption = L"Enter Report Details";

std::wstring wide(const char16_t* t) { return std::wstring(t, t + std::char_traits<char16_t>::length(t)); }

class DetailsFormTest : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / ("details-form-" + std::to_string(GetCurrentProcessId()));
    fs::create_directories(folder_);
    std::ofstream(folder_ / "sales.rpt") << "x";
    form_.load();
    ASSERT_TRUE(form_.hwnd());
    form_.setAppName(u"Books & Co");
    std::wstring path = folder_.wstring() + L"\\";
    form_.setRepPath(Text(path.begin(), path.end()));
  }
  void TearDown() override { fs::remove_all(folder_); }

  Win32FileSystem files_;
  DetailsForm form_{files_};
  fs::path folder_;
};

TEST_F(DetailsFormTest, RefusalsShowTheirMessageAndLeaveTheDialogOpen) {
  form_.setRepType(1);
  form_.setTitle(u"Monthly sales");
  Person person(kCaption, [](Person& p, HWND dialog) {
    HWND name = GetDlgItem(dialog, Ids::kFileNameBox);
    // Laid out in twips: 5700 x 1380 at the screen's resolution.
    RECT client{};
    GetClientRect(dialog, &client);
    HDC dc = GetDC(nullptr);
    const int dpi = GetDeviceCaps(dc, LOGPIXELSX);
    ReleaseDC(nullptr, dc);
    EXPECT_EQ(client.right, MulDiv(5700, dpi, 1440));
    EXPECT_EQ(client.bottom, MulDiv(1380, dpi, 1440));
    EXPECT_EQ(Person::focus(dialog), name);

    p.type(dialog, Ids::kFileNameBox, L"   ");
    p.press(dialog, Ids::kOk);
    Person::Message m = p.answerMessage(dialog);
    EXPECT_EQ(m.text, wide(details::kNoFileName));
    EXPECT_EQ(m.title, L"Books & Co");
    EXPECT_TRUE(m.exclamation);
    EXPECT_EQ(Person::focus(dialog), name);
    EXPECT_EQ(Person::selection(name), std::make_pair(0, 3));

    // The wrong kind's extension: the focus stays on OK.
    p.type(dialog, Ids::kFileNameBox, L"sales.layout");
    p.press(dialog, Ids::kOk);
    EXPECT_EQ(p.answerMessage(dialog).text, wide(details::kCrystalExtension));
    EXPECT_EQ(Person::focus(dialog), GetDlgItem(dialog, Ids::kOk));
    EXPECT_EQ(Person::text(name), L"sales.layout");

    // An existing file: the box keeps the appended extension, all selected.
    p.type(dialog, Ids::kFileNameBox, L"sales");
    p.press(dialog, Ids::kOk);
    EXPECT_EQ(p.answerMessage(dialog).text, wide(details::kFileExists));
    EXPECT_EQ(Person::text(name), L"sales.rpt");
    EXPECT_EQ(Person::focus(dialog), name);
    EXPECT_EQ(Person::selection(name), std::make_pair(0, 9));
    EXPECT_TRUE(IsWindowVisible(dialog));

    // Typing replaces the selected name; Enter presses OK.
    p.typeKeys(dialog, L"sales2");
    p.pressKey(dialog, VK_RETURN);
    EXPECT_TRUE(Person::waitHidden(dialog));
  });
  form_.showModal();
  EXPECT_TRUE(form_.okSelected());
  EXPECT_EQ(form_.fileName(), u"sales2.rpt");
  EXPECT_EQ(form_.title(), u"Monthly sales");
}

TEST_F(DetailsFormTest, EscAndTheCloseButtonHideWithOkSelectedFalse) {
  form_.setRepType(2);
  for (bool escape : {true, false}) {
    {
      Person person(kCaption, [escape](Person& p, HWND dialog) {
        p.type(dialog, Ids::kFileNameBox, L"SALES.RPT");
        p.press(dialog, Ids::kOk);
        EXPECT_EQ(p.answerMessage(dialog).text, wide(details::kVardoExtension));
        if (escape)
          p.pressKey(dialog, VK_ESCAPE);
        else
          PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0);
        EXPECT_TRUE(Person::waitHidden(dialog));
      });
      form_.showModal();
    }
    EXPECT_FALSE(form_.okSelected());
    // Hidden, not destroyed: the boxes can still be read.
    EXPECT_EQ(form_.fileName(), u"SALES.RPT");
  }
}

}  // namespace
}  // namespace mervane::win
