// Page Setup: paper size (the usual ones or a size of the user's own),
// orientation and margins, shown in centimetres or inches as the user
// chooses and kept in twips. A box shows its length with as many decimals
// as it takes to read back the same twips, so a value nobody touched comes
// back exactly as it was, whichever unit it was shown in.
#include <windows.h>
#include <commctrl.h>

#include <array>

#include "authoring/designer/win/designer_dialogs_kit.h"

namespace mervane::authoring::win {

namespace {

enum PageIds {
  kPaperLabel = 101,
  kPaperBox,
  kWidthLabel,
  kWidthBox,
  kWidthUnit,
  kHeightLabel,
  kHeightBox,
  kHeightUnit,
  kOrientationFrame,
  kPortrait,
  kLandscape,
  kUnitsLabel,
  kUnitsBox,
  kMarginsFrame,
  kLeftLabel,
  kLeftBox,
  kLeftUnit,
  kRightLabel,
  kRightBox,
  kRightUnit,
  kTopLabel,
  kTopBox,
  kTopUnit,
  kBottomLabel,
  kBottomBox,
  kBottomUnit,
};

struct Paper {
  std::int32_t code;
  const char16_t* name;
  std::int32_t width, height;  // twips, portrait
};
const Paper kPapers[] = {
    {model::paper::kA4, u"A4 (21 x 29.7 cm)", 11906, 16838},
    {model::paper::kLetter, u"Letter (8.5 x 11 in)", 12240, 15840},
    {model::paper::kLegal, u"Legal (8.5 x 14 in)", 12240, 20160},
    {model::paper::kA3, u"A3 (29.7 x 42 cm)", 16838, 23811},
};
constexpr std::int32_t kSmallestPaper = 720;  // half an inch

constexpr DWORD kLabel = SS_LEFT;
constexpr DWORD kBox = WS_TABSTOP | ES_AUTOHSCROLL | ES_RIGHT;

class PageSetupDialog final : public ModalDialog {
 public:
  explicit PageSetupDialog(model::PageSetup& page)
      : ModalDialog(L"Page Setup", 6600, 3915), page_(page), unit_(userMeasureUnit()) {}

 private:
  std::vector<ControlLayout> layout() const override {
    return {
        {WC_STATICW, L"&Paper size:", kPaperLabel, 120, 150, 1200, 195, kLabel},
        {WC_COMBOBOXW, L"", kPaperBox, 1320, 120, 3000, 2400, WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST},
        {WC_STATICW, L"&Width:", kWidthLabel, 120, 540, 1200, 195, kLabel},
        {WC_EDITW, L"", kWidthBox, 1320, 510, 1080, 285, kBox},
        {WC_STATICW, L"", kWidthUnit, 2460, 540, 420, 195, kLabel | SS_NOPREFIX},
        {WC_STATICW, L"&Height:", kHeightLabel, 3000, 540, 780, 195, kLabel},
        {WC_EDITW, L"", kHeightBox, 3840, 510, 1080, 285, kBox},
        {WC_STATICW, L"", kHeightUnit, 4980, 540, 420, 195, kLabel | SS_NOPREFIX},
        {WC_BUTTONW, L"Orientation", kOrientationFrame, 120, 900, 2760, 1080, BS_GROUPBOX},
        {WC_BUTTONW, L"P&ortrait", kPortrait, 300, 1170, 2400, 255, WS_TABSTOP | WS_GROUP | BS_AUTORADIOBUTTON},
        {WC_BUTTONW, L"&Landscape", kLandscape, 300, 1530, 2400, 255, BS_AUTORADIOBUTTON},
        {WC_STATICW, L"&Units:", kUnitsLabel, 3000, 1170, 780, 195, kLabel},
        {WC_COMBOBOXW, L"", kUnitsBox, 3840, 1140, 1560, 2400,
         WS_TABSTOP | WS_GROUP | WS_VSCROLL | CBS_DROPDOWNLIST},
        {WC_BUTTONW, L"Margins", kMarginsFrame, 120, 2070, 6360, 1080, BS_GROUPBOX},
        {WC_STATICW, L"L&eft:", kLeftLabel, 300, 2370, 840, 195, kLabel},
        {WC_EDITW, L"", kLeftBox, 1140, 2340, 1080, 285, kBox},
        {WC_STATICW, L"", kLeftUnit, 2280, 2370, 420, 195, kLabel | SS_NOPREFIX},
        {WC_STATICW, L"&Right:", kRightLabel, 3300, 2370, 840, 195, kLabel},
        {WC_EDITW, L"", kRightBox, 4140, 2340, 1080, 285, kBox},
        {WC_STATICW, L"", kRightUnit, 5280, 2370, 420, 195, kLabel | SS_NOPREFIX},
        {WC_STATICW, L"&Top:", kTopLabel, 300, 2760, 840, 195, kLabel},
        {WC_EDITW, L"", kTopBox, 1140, 2730, 1080, 285, kBox},
        {WC_STATICW, L"", kTopUnit, 2280, 2760, 420, 195, kLabel | SS_NOPREFIX},
        {WC_STATICW, L"&Bottom:", kBottomLabel, 3300, 2760, 840, 195, kLabel},
        {WC_EDITW, L"", kBottomBox, 4140, 2730, 1080, 285, kBox},
        {WC_STATICW, L"", kBottomUnit, 5280, 2760, 420, 195, kLabel | SS_NOPREFIX},
        {WC_BUTTONW, L"OK", IDOK, 4425, 3360, 975, 375, WS_TABSTOP | WS_GROUP | BS_DEFPUSHBUTTON},
        {WC_BUTTONW, L"Cancel", IDCANCEL, 5505, 3360, 975, 375, WS_TABSTOP | BS_PUSHBUTTON},
    };
  }

  static constexpr int kLengthBoxes[] = {kWidthBox, kHeightBox, kLeftBox, kRightBox, kTopBox, kBottomBox};

  void onInit() override {
    separator_ = userDecimalSeparator();
    int current = -1;
    for (const Paper& paper : kPapers) {
      const int index = addItem(kPaperBox, paper.name);
      if (paper.code == page_.paperSize) current = index;
    }
    customIndex_ = addItem(kPaperBox, u"Custom size");
    if (page_.paperSize == model::paper::kCustom) current = customIndex_;
    if (current < 0) {
      // A paper of the printer's that this list does not name keeps its code.
      otherIndex_ = addItem(kPaperBox, u"Printer paper " + decimal(page_.paperSize));
      current = otherIndex_;
    }
    select(kPaperBox, current);
    addItem(kUnitsBox, u"Centimetres (cm)");
    addItem(kUnitsBox, u"Inches (in)");
    select(kUnitsBox, unit_ == MeasureUnit::Inches ? 1 : 0);
    const bool landscape = page_.orientation == model::Orientation::Landscape;
    setChecked(kPortrait, !landscape);
    setChecked(kLandscape, landscape);

    shown_ = {paperWidth(current), paperHeight(current), page_.marginLeft, page_.marginRight, page_.marginTop,
              page_.marginBottom};
    showLengths();
    enablePaperSize();
  }

  void onCommand(int id, int code) override {
    if (id == kPaperBox && code == CBN_SELCHANGE) {
      // Custom starts from the size shown before; a named paper shows its own.
      const int index = selected(kPaperBox);
      if (index != customIndex_) {
        shown_[0] = paperWidth(index);
        shown_[1] = paperHeight(index);
        showLength(0);
        showLength(1);
      }
      enablePaperSize();
    } else if (id == kUnitsBox && code == CBN_SELCHANGE) {
      const MeasureUnit unit = selected(kUnitsBox) == 1 ? MeasureUnit::Inches : MeasureUnit::Centimetres;
      if (unit == unit_) return;
      // What the user typed is converted; a box that cannot be read keeps its text.
      const MeasureUnit before = unit_;
      unit_ = unit;
      for (std::size_t i = 0; i < std::size(kLengthBoxes); ++i) {
        if (auto twips = parseMeasure(text(kLengthBoxes[i]), before)) {
          shown_[i] = *twips;
          showLength(i);
        }
      }
      showUnits();
    }
  }

  bool onOk() override {
    std::int32_t lengths[std::size(kLengthBoxes)] = {};
    for (std::size_t i = 0; i < std::size(kLengthBoxes); ++i) {
      const auto twips = parseMeasure(text(kLengthBoxes[i]), unit_);
      if (!twips) {
        refuse(kLengthBoxes[i], u"Please type a length in " + unitName() + u", such as " +
                                    formatMeasure(1440, unit_, separator_) + u".");
        return false;
      }
      lengths[i] = *twips;
    }
    const int paper = selected(kPaperBox);
    const bool custom = paper == customIndex_;
    if (custom) {
      for (int i : {0, 1}) {
        if (lengths[i] < kSmallestPaper) {
          refuse(kLengthBoxes[i], u"The paper must be at least " + formatMeasure(kSmallestPaper, unit_, separator_) +
                                      u" " + unitSymbol() + u" wide and high.");
          return false;
        }
      }
    }
    const bool landscape = isChecked(kLandscape);
    const std::int32_t across = landscape ? lengths[1] : lengths[0];
    const std::int32_t down = landscape ? lengths[0] : lengths[1];
    if (std::int64_t{lengths[2]} + lengths[3] >= across) {
      refuse(kLeftBox, u"The left and right margins leave no room across the page.");
      return false;
    }
    if (std::int64_t{lengths[4]} + lengths[5] >= down) {
      refuse(kTopBox, u"The top and bottom margins leave no room down the page.");
      return false;
    }
    if (custom) {
      page_.paperSize = model::paper::kCustom;
      page_.paperWidth = lengths[0];
      page_.paperHeight = lengths[1];
    } else if (paper >= 0 && paper != otherIndex_) {
      page_.paperSize = kPapers[static_cast<std::size_t>(paper)].code;
    }
    page_.orientation = landscape ? model::Orientation::Landscape : model::Orientation::Portrait;
    page_.marginLeft = lengths[2];
    page_.marginRight = lengths[3];
    page_.marginTop = lengths[4];
    page_.marginBottom = lengths[5];
    return true;
  }

  std::int32_t paperWidth(int index) const {
    if (index >= 0 && static_cast<std::size_t>(index) < std::size(kPapers)) {
      return kPapers[static_cast<std::size_t>(index)].width;
    }
    return page_.paperWidth;
  }
  std::int32_t paperHeight(int index) const {
    if (index >= 0 && static_cast<std::size_t>(index) < std::size(kPapers)) {
      return kPapers[static_cast<std::size_t>(index)].height;
    }
    return page_.paperHeight;
  }

  void showLength(std::size_t i) { setText(kLengthBoxes[i], formatMeasure(shown_[i], unit_, separator_)); }
  void showLengths() {
    for (std::size_t i = 0; i < std::size(kLengthBoxes); ++i) showLength(i);
    showUnits();
  }
  void showUnits() {
    for (int id : {kWidthUnit, kHeightUnit, kLeftUnit, kRightUnit, kTopUnit, kBottomUnit}) setText(id, unitSymbol());
  }
  void enablePaperSize() {
    const bool custom = selected(kPaperBox) == customIndex_;
    for (int id : {kWidthBox, kHeightBox}) SendMessageW(item(id), EM_SETREADONLY, custom ? FALSE : TRUE, 0);
  }
  Text unitSymbol() const { return unit_ == MeasureUnit::Inches ? u"in" : u"cm"; }
  Text unitName() const { return unit_ == MeasureUnit::Inches ? u"inches" : u"centimetres"; }

  model::PageSetup& page_;
  MeasureUnit unit_;
  char16_t separator_ = u'.';
  int customIndex_ = -1, otherIndex_ = -1;
  std::array<std::int32_t, 6> shown_{};  // twips behind each length box
};

}  // namespace

bool editPageSetup(HWND owner, model::PageSetup& page) {
  return answered([&] {
    model::PageSetup answer = page;
    if (!PageSetupDialog(answer).run(owner)) return false;
    page = std::move(answer);
    return true;
  });
}

}  // namespace mervane::authoring::win
