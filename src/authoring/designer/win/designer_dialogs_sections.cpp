// The designer's dialogs about sections and groups: a section's options,
// and the report's groups changed, reordered and deleted.
#include <windows.h>
#include <commctrl.h>

#include <algorithm>

#include "authoring/designer/win/designer_dialogs_kit.h"
#include "base/win/wide.h"

namespace mervane::authoring::win {

namespace {

constexpr DWORD kList = WS_TABSTOP | WS_VSCROLL | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT;
constexpr DWORD kDropList = WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST;
constexpr DWORD kLabel = SS_LEFT;
constexpr DWORD kButton = WS_TABSTOP | BS_PUSHBUTTON;
constexpr DWORD kOkButton = WS_TABSTOP | BS_DEFPUSHBUTTON;
constexpr DWORD kCheck = WS_TABSTOP | BS_AUTOCHECKBOX;

std::size_t at(int index) { return static_cast<std::size_t>(index); }

// ---------------------------------------------------------------------------
// Section: how the section prints.

enum SectionIds { kSuppress = 101, kNewPageBefore, kNewPageAfter, kKeepTogether, kPrintAtBottom, kResetPageNumber };

class SectionDialog final : public ModalDialog {
 public:
  explicit SectionDialog(model::Section& section)
      : ModalDialog(L"Section Options: " + mervane::win::toWide(section.name), 4800, 2730), section_(section) {}

 private:
  std::vector<ControlLayout> layout() const override {
    return {
        {WC_BUTTONW, L"&Suppress (does not print)", kSuppress, 240, 180, 4320, 255, kCheck},
        {WC_BUTTONW, L"New page &before", kNewPageBefore, 240, 510, 4320, 255, kCheck},
        {WC_BUTTONW, L"New page &after", kNewPageAfter, 240, 840, 4320, 255, kCheck},
        {WC_BUTTONW, L"&Keep together with what follows", kKeepTogether, 240, 1170, 4320, 255, kCheck},
        {WC_BUTTONW, L"&Print at bottom of page", kPrintAtBottom, 240, 1500, 4320, 255, kCheck},
        {WC_BUTTONW, L"&Reset page number after", kResetPageNumber, 240, 1830, 4320, 255, kCheck},
        {WC_BUTTONW, L"OK", IDOK, 2625, 2235, 975, 375, kOkButton},
        {WC_BUTTONW, L"Cancel", IDCANCEL, 3705, 2235, 975, 375, kButton},
    };
  }
  void onInit() override {
    setChecked(kSuppress, section_.suppress);
    setChecked(kNewPageBefore, section_.newPageBefore);
    setChecked(kNewPageAfter, section_.newPageAfter);
    setChecked(kKeepTogether, section_.keepTogether);
    setChecked(kPrintAtBottom, section_.printAtBottom);
    setChecked(kResetPageNumber, section_.resetPageNumberAfter);
  }
  bool onOk() override {
    section_.suppress = isChecked(kSuppress);
    section_.newPageBefore = isChecked(kNewPageBefore);
    section_.newPageAfter = isChecked(kNewPageAfter);
    section_.keepTogether = isChecked(kKeepTogether);
    section_.printAtBottom = isChecked(kPrintAtBottom);
    section_.resetPageNumberAfter = isChecked(kResetPageNumber);
    return true;
  }

  model::Section& section_;
};

// ---------------------------------------------------------------------------
// Groups: the report's groups, outermost first.

enum GroupsIds {
  kGroupsLabel = 101,
  kGroupsList,
  kGroupUp,
  kGroupDown,
  kGroupDelete,
  kGroupFieldLabel,
  kGroupField,
  kGroupAscending,
  kGroupDescending,
};

class GroupsDialog final : public ModalDialog {
 public:
  GroupsDialog(std::vector<designer::GroupPlace>& groups, const std::vector<bool>& holding, const FieldCatalogue& fields)
      : ModalDialog(L"Groups", 7200, 3900), groups_(groups), holding_(holding), choices_(fieldChoices(fields, true)) {}

 private:
  std::vector<ControlLayout> layout() const override {
    return {
        {WC_STATICW, L"&Groups, outermost first:", kGroupsLabel, 120, 120, 4800, 195, kLabel},
        {WC_LISTBOXW, L"", kGroupsList, 120, 330, 5640, 1920, kList},
        {WC_BUTTONW, L"&Up", kGroupUp, 5880, 330, 1200, 375, kButton},
        {WC_BUTTONW, L"Do&wn", kGroupDown, 5880, 780, 1200, 375, kButton},
        {WC_BUTTONW, L"De&lete", kGroupDelete, 5880, 1230, 1200, 375, kButton},
        {WC_STATICW, L"&Field:", kGroupFieldLabel, 120, 2460, 900, 195, kLabel},
        {WC_COMBOBOXW, L"", kGroupField, 1080, 2430, 4680, 2400, kDropList},
        {WC_BUTTONW, L"&Ascending", kGroupAscending, 1080, 2880, 1500, 255, WS_TABSTOP | WS_GROUP | BS_AUTORADIOBUTTON},
        {WC_BUTTONW, L"&Descending", kGroupDescending, 2700, 2880, 1500, 255, BS_AUTORADIOBUTTON},
        {WC_BUTTONW, L"OK", IDOK, 5025, 3405, 975, 375, kOkButton | WS_GROUP},
        {WC_BUTTONW, L"Cancel", IDCANCEL, 6105, 3405, 975, 375, kButton},
    };
  }
  void onInit() override {
    for (const auto& g : groups_) choiceIndex(choices_, g.group.field);
    for (const FieldChoice& choice : choices_) addItem(kGroupField, choice.shown);
    showList(groups_.empty() ? -1 : 0);
  }
  void onCommand(int id, int code) override {
    const int index = selected(kGroupsList);
    if (id == kGroupsList && code == LBN_SELCHANGE) return showSelection();
    if (index < 0) return;
    if ((id == kGroupUp || id == kGroupDown) && code == BN_CLICKED) {
      const int to = index + (id == kGroupUp ? -1 : 1);
      if (to < 0 || at(to) >= groups_.size()) return;
      std::swap(groups_[at(index)], groups_[at(to)]);
      showList(to);
    } else if (id == kGroupDelete && code == BN_CLICKED) {
      groups_.erase(groups_.begin() + index);
      showList(std::min(index, static_cast<int>(groups_.size()) - 1));
    } else if (id == kGroupField && code == CBN_SELCHANGE) {
      const int field = selected(kGroupField);
      if (field < 0) return;
      groups_[at(index)].group.field = choices_[at(field)].field;
      showList(index);
    } else if ((id == kGroupAscending || id == kGroupDescending) && code == BN_CLICKED) {
      groups_[at(index)].group.direction =
          id == kGroupDescending ? model::SortDirection::Descending : model::SortDirection::Ascending;
      showList(index);
    }
  }
  bool onOk() override {
    // Two groups on one field would print each group once per row.
    for (std::size_t i = 0; i < groups_.size(); ++i)
      for (std::size_t j = i + 1; j < groups_.size(); ++j)
        if (groups_[i].group.field == groups_[j].group.field) {
          refuse(kGroupsList, u"The report is grouped twice by " + shownField(groups_[i].group.field) +
                                  u". Please choose another field for one of them.");
          return false;
        }
    // Deleting a group deletes its header and footer: ask first when they hold anything.
    Text losing;
    for (std::size_t was = 1; was < holding_.size(); ++was) {
      const bool kept = std::any_of(groups_.begin(), groups_.end(),
                                    [was](const designer::GroupPlace& g) { return g.was == static_cast<std::int32_t>(was); });
      if (!kept && holding_[was]) losing += (losing.empty() ? u"#" : u", #") + decimal(static_cast<std::int64_t>(was));
    }
    if (!losing.empty()) {
      const std::wstring question = L"The header or footer of group " + mervane::win::toWide(losing) +
                                    L" holds objects. Deleting the group deletes them too.\n\nDelete it anyway?";
      if (MessageBoxW(hwnd(), question.c_str(), L"Groups", MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2) != IDYES)
        return false;
    }
    return true;
  }
  void showList(int selection) {
    clearItems(kGroupsList);
    for (std::size_t i = 0; i < groups_.size(); ++i) {
      const auto& g = groups_[i].group;
      addItem(kGroupsList, u"Group #" + decimal(static_cast<std::int64_t>(i + 1)) + u": " + shownField(g.field) +
                               (g.direction == model::SortDirection::Descending ? u" (descending)" : u" (ascending)"));
    }
    if (selection >= 0) select(kGroupsList, selection);
    showSelection();
  }
  void showSelection() {
    const int index = selected(kGroupsList);
    const bool any = index >= 0;
    enable(kGroupUp, any && index > 0);
    enable(kGroupDown, any && at(index) + 1 < groups_.size());
    for (int id : {kGroupDelete, kGroupField, kGroupAscending, kGroupDescending}) enable(id, any);
    if (!any) return;
    const auto& g = groups_[at(index)].group;
    select(kGroupField, choiceIndex(choices_, g.field));
    setChecked(kGroupAscending, g.direction != model::SortDirection::Descending);
    setChecked(kGroupDescending, g.direction == model::SortDirection::Descending);
  }

  std::vector<designer::GroupPlace>& groups_;
  const std::vector<bool>& holding_;
  std::vector<FieldChoice> choices_;
};

}  // namespace

bool editSectionOptions(HWND owner, model::Section& section) {
  return answered([&] {
    model::Section answer = section;
    if (!SectionDialog(answer).run(owner)) return false;
    section = std::move(answer);
    return true;
  });
}

bool editGroups(HWND owner, std::vector<designer::GroupPlace>& groups, const std::vector<bool>& holding,
                const FieldCatalogue& fields) {
  return answered([&] {
    std::vector<designer::GroupPlace> answer = groups;
    if (!GroupsDialog(answer, holding, fields).run(owner)) return false;
    groups = std::move(answer);
    return true;
  });
}

}  // namespace mervane::authoring::win
