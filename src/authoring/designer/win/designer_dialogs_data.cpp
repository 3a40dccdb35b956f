// The designer's dialogs about the report's data: which field to insert,
// special fields, summaries, groups, the sort order, the links between
// tables and subreports. Each dialog edits a copy of the caller's objects,
// which take the copy's value only when the user presses OK.
#include <windows.h>
#include <commctrl.h>

#include <algorithm>

#include "authoring/designer/win/designer_dialogs_kit.h"
#include "base/win/wide.h"
#include "engine/formula/formula.h"

namespace mervane::authoring::win {

namespace {

constexpr DWORD kList = WS_TABSTOP | WS_VSCROLL | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT;
constexpr DWORD kDropList = WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST;
constexpr DWORD kLabel = SS_LEFT;
constexpr DWORD kButton = WS_TABSTOP | BS_PUSHBUTTON;
constexpr DWORD kOkButton = WS_TABSTOP | BS_DEFPUSHBUTTON;

std::size_t at(int index) { return static_cast<std::size_t>(index); }

const wchar_t* directionName(model::SortDirection direction) {
  return direction == model::SortDirection::Descending ? L"descending" : L"ascending";
}

using mervane::win::fromWide;

// ---------------------------------------------------------------------------
// Insert Field: one list of the tables' columns and the formulas.

enum FieldIds { kFieldLabel = 101, kFieldList };

class FieldDialog final : public ModalDialog {
 public:
  FieldDialog(model::FieldRef& field, const FieldCatalogue& fields, const wchar_t* caption = L"Insert Field",
              bool withFormulas = true)
      : ModalDialog(caption, 4800, 4170), field_(field), choices_(fieldChoices(fields, withFormulas)) {}

 private:
  std::vector<ControlLayout> layout() const override {
    return {
        {WC_STATICW, L"&Fields:", kFieldLabel, 120, 120, 4560, 195, kLabel},
        {WC_LISTBOXW, L"", kFieldList, 120, 330, 4560, 3180, kList},
        {WC_BUTTONW, L"OK", IDOK, 2625, 3675, 975, 375, kOkButton},
        {WC_BUTTONW, L"Cancel", IDCANCEL, 3705, 3675, 975, 375, kButton},
    };
  }
  void onInit() override {
    const int current = choiceIndex(choices_, field_);
    for (const FieldChoice& choice : choices_) addItem(kFieldList, choice.shown);
    select(kFieldList, current >= 0 ? current : 0);
    enable(IDOK, selected(kFieldList) >= 0);
  }
  void onCommand(int id, int code) override {
    if (id != kFieldList) return;
    if (code == LBN_SELCHANGE) enable(IDOK, selected(kFieldList) >= 0);
    // A double-click chooses, as OK does.
    if (code == LBN_DBLCLK && selected(kFieldList) >= 0) PostMessageW(hwnd(), WM_COMMAND, IDOK, 0);
  }
  bool onOk() override {
    const int index = selected(kFieldList);
    if (index < 0) return false;
    field_ = choices_[at(index)].field;
    return true;
  }

  model::FieldRef& field_;
  std::vector<FieldChoice> choices_;
};

// ---------------------------------------------------------------------------
// Insert Special Field

const struct {
  model::SpecialFieldKind kind;
  const wchar_t* shown;
} kSpecialFields[] = {
    {model::SpecialFieldKind::PageNumber, L"Page number"},
    {model::SpecialFieldKind::TotalPages, L"Total pages"},
    {model::SpecialFieldKind::PageNofM, L"Page N of M"},
    {model::SpecialFieldKind::PrintDate, L"Print date"},
    {model::SpecialFieldKind::PrintTime, L"Print time"},
    {model::SpecialFieldKind::ReportTitle, L"Report title"},
    {model::SpecialFieldKind::RecordNumber, L"Record number"},
};

class SpecialFieldDialog final : public ModalDialog {
 public:
  explicit SpecialFieldDialog(model::SpecialFieldKind& kind)
      : ModalDialog(L"Insert Special Field", 4200, 2850), kind_(kind) {}

 private:
  std::vector<ControlLayout> layout() const override {
    return {
        {WC_STATICW, L"&Special fields:", kFieldLabel, 120, 120, 3960, 195, kLabel},
        {WC_LISTBOXW, L"", kFieldList, 120, 330, 3960, 1860, kList},
        {WC_BUTTONW, L"OK", IDOK, 2025, 2355, 975, 375, kOkButton},
        {WC_BUTTONW, L"Cancel", IDCANCEL, 3105, 2355, 975, 375, kButton},
    };
  }
  void onInit() override {
    int current = 0;
    for (const auto& special : kSpecialFields) {
      const int index = addItem(kFieldList, fromWide(special.shown));
      if (special.kind == kind_) current = index;
    }
    select(kFieldList, current);
  }
  void onCommand(int id, int code) override {
    if (id == kFieldList && code == LBN_DBLCLK) PostMessageW(hwnd(), WM_COMMAND, IDOK, 0);
  }
  bool onOk() override {
    const int index = selected(kFieldList);
    if (index < 0 || at(index) >= std::size(kSpecialFields)) return false;
    kind_ = kSpecialFields[at(index)].kind;
    return true;
  }

  model::SpecialFieldKind& kind_;
};

// ---------------------------------------------------------------------------
// Insert Summary: operation, field, and where it sums up.

enum SummaryIds { kOperationLabel = 101, kOperationBox, kSummaryFieldLabel, kSummaryFieldBox, kWhereLabel, kWhereBox };

const struct {
  model::SummaryOperation operation;
  const wchar_t* shown;
} kOperations[] = {
    {model::SummaryOperation::Sum, L"Sum"},
    {model::SummaryOperation::Count, L"Count"},
    {model::SummaryOperation::DistinctCount, L"Distinct count"},
    {model::SummaryOperation::Average, L"Average"},
    {model::SummaryOperation::Minimum, L"Minimum"},
    {model::SummaryOperation::Maximum, L"Maximum"},
};

class SummaryDialog final : public ModalDialog {
 public:
  SummaryDialog(model::SummaryOperation& operation, model::FieldRef& field, std::int32_t& group,
                const FieldCatalogue& fields)
      : ModalDialog(L"Insert Summary", 5700, 1875),
        operation_(operation),
        field_(field),
        group_(group),
        fields_(fields),
        choices_(fieldChoices(fields, true)) {}

 private:
  std::vector<ControlLayout> layout() const override {
    return {
        {WC_STATICW, L"&Operation:", kOperationLabel, 120, 150, 1020, 195, kLabel},
        {WC_COMBOBOXW, L"", kOperationBox, 1200, 120, 4380, 2400, kDropList},
        {WC_STATICW, L"&Field:", kSummaryFieldLabel, 120, 540, 1020, 195, kLabel},
        {WC_COMBOBOXW, L"", kSummaryFieldBox, 1200, 510, 4380, 2400, kDropList},
        {WC_STATICW, L"&Where:", kWhereLabel, 120, 930, 1020, 195, kLabel},
        {WC_COMBOBOXW, L"", kWhereBox, 1200, 900, 4380, 2400, kDropList},
        {WC_BUTTONW, L"OK", IDOK, 3525, 1380, 975, 375, kOkButton},
        {WC_BUTTONW, L"Cancel", IDCANCEL, 4605, 1380, 975, 375, kButton},
    };
  }
  void onInit() override {
    int current = 0;
    for (const auto& operation : kOperations) {
      const int index = addItem(kOperationBox, fromWide(operation.shown));
      if (operation.operation == operation_) current = index;
    }
    select(kOperationBox, current);
    const int field = choiceIndex(choices_, field_);
    for (const FieldChoice& choice : choices_) addItem(kSummaryFieldBox, choice.shown);
    select(kSummaryFieldBox, field >= 0 ? field : 0);
    addItem(kWhereBox, u"Whole report");
    for (std::size_t i = 0; i < fields_.groups.size(); ++i) {
      addItem(kWhereBox, u"Group " + decimal(static_cast<std::int64_t>(i + 1)) + u": " + shownField(fields_.groups[i]));
    }
    select(kWhereBox, group_ >= 0 && static_cast<std::size_t>(group_) <= fields_.groups.size() ? group_ : 0);
    enable(IDOK, !choices_.empty());
  }
  bool onOk() override {
    const int operation = selected(kOperationBox), field = selected(kSummaryFieldBox), where = selected(kWhereBox);
    if (field < 0) {
      refuse(kSummaryFieldBox, u"Please choose the field to summarise.");
      return false;
    }
    if (operation >= 0) operation_ = kOperations[at(operation)].operation;
    field_ = choices_[at(field)].field;
    group_ = where > 0 ? where : 0;
    return true;
  }

  model::SummaryOperation& operation_;
  model::FieldRef& field_;
  std::int32_t& group_;
  const FieldCatalogue& fields_;
  std::vector<FieldChoice> choices_;
};

// ---------------------------------------------------------------------------
// Insert Group: its field and direction.

enum GroupIds { kGroupLabel = 101, kGroupBox, kAscending, kDescending };

class GroupDialog final : public ModalDialog {
 public:
  GroupDialog(model::Group& group, const FieldCatalogue& fields)
      : ModalDialog(L"Insert Group", 5700, 1500),
        group_(group),
        fields_(fields),
        choices_(fieldChoices(fields, true)) {}

 private:
  std::vector<ControlLayout> layout() const override {
    return {
        {WC_STATICW, L"&Group by:", kGroupLabel, 120, 150, 1020, 195, kLabel},
        {WC_COMBOBOXW, L"", kGroupBox, 1200, 120, 4380, 2400, kDropList},
        {WC_BUTTONW, L"&Ascending", kAscending, 1200, 540, 1500, 255, WS_TABSTOP | WS_GROUP | BS_AUTORADIOBUTTON},
        {WC_BUTTONW, L"&Descending", kDescending, 2820, 540, 1500, 255, BS_AUTORADIOBUTTON},
        {WC_BUTTONW, L"OK", IDOK, 3525, 1005, 975, 375, kOkButton | WS_GROUP},
        {WC_BUTTONW, L"Cancel", IDCANCEL, 4605, 1005, 975, 375, kButton},
    };
  }
  void onInit() override {
    const int current = choiceIndex(choices_, group_.field);
    for (const FieldChoice& choice : choices_) addItem(kGroupBox, choice.shown);
    select(kGroupBox, current >= 0 ? current : 0);
    const bool descending = group_.direction == model::SortDirection::Descending;
    setChecked(kAscending, !descending);
    setChecked(kDescending, descending);
    enable(IDOK, !choices_.empty());
  }
  bool onOk() override {
    const int index = selected(kGroupBox);
    if (index < 0) {
      refuse(kGroupBox, u"Please choose the field to group by.");
      return false;
    }
    const model::FieldRef& field = choices_[at(index)].field;
    for (const model::FieldRef& grouped : fields_.groups) {
      if (grouped.table == field.table && grouped.column == field.column) {
        refuse(kGroupBox, u"The report is already grouped by " + shownField(field) + u".");
        return false;
      }
    }
    group_.field = field;
    group_.direction = isChecked(kDescending) ? model::SortDirection::Descending : model::SortDirection::Ascending;
    return true;
  }

  model::Group& group_;
  const FieldCatalogue& fields_;
  std::vector<FieldChoice> choices_;
};

// ---------------------------------------------------------------------------
// Sort Order: the fields the report's records are sorted by, first first.

enum SortIds {
  kAvailableLabel = 101,
  kAvailableList,
  kAddSort,
  kRemoveSort,
  kSortLabel,
  kSortList,
  kSortUp,
  kSortDown,
  kSortAscending,
  kSortDescending,
};

class SortDialog final : public ModalDialog {
 public:
  SortDialog(std::vector<model::SortField>& sort, const FieldCatalogue& fields)
      : ModalDialog(L"Sort Order", 7800, 4215), sort_(sort), choices_(fieldChoices(fields, true)) {}

 private:
  std::vector<ControlLayout> layout() const override {
    return {
        {WC_STATICW, L"A&vailable fields:", kAvailableLabel, 120, 120, 3000, 195, kLabel},
        {WC_LISTBOXW, L"", kAvailableList, 120, 330, 3000, 3240, kList},
        {WC_BUTTONW, L"&Add >", kAddSort, 3240, 330, 1200, 375, kButton},
        {WC_BUTTONW, L"< &Remove", kRemoveSort, 3240, 780, 1200, 375, kButton},
        {WC_STATICW, L"&Sort fields:", kSortLabel, 4560, 120, 3120, 195, kLabel},
        {WC_LISTBOXW, L"", kSortList, 4560, 330, 3120, 2400, kList},
        {WC_BUTTONW, L"&Up", kSortUp, 4560, 2820, 975, 375, kButton},
        {WC_BUTTONW, L"Do&wn", kSortDown, 5640, 2820, 975, 375, kButton},
        {WC_BUTTONW, L"As&cending", kSortAscending, 4560, 3300, 1400, 255, WS_TABSTOP | WS_GROUP | BS_AUTORADIOBUTTON},
        {WC_BUTTONW, L"&Descending", kSortDescending, 6060, 3300, 1500, 255, BS_AUTORADIOBUTTON},
        {WC_BUTTONW, L"OK", IDOK, 5625, 3720, 975, 375, kOkButton | WS_GROUP},
        {WC_BUTTONW, L"Cancel", IDCANCEL, 6705, 3720, 975, 375, kButton},
    };
  }
  void onInit() override {
    for (const model::SortField& sorted : sort_) choiceIndex(choices_, sorted.field);
    for (const FieldChoice& choice : choices_) addItem(kAvailableList, choice.shown);
    if (!choices_.empty()) select(kAvailableList, 0);
    showSortList(sort_.empty() ? -1 : 0);
  }
  void onCommand(int id, int code) override {
    if ((id == kAddSort && code == BN_CLICKED) || (id == kAvailableList && code == LBN_DBLCLK)) {
      add();
    } else if ((id == kRemoveSort && code == BN_CLICKED) || (id == kSortList && code == LBN_DBLCLK)) {
      remove();
    } else if ((id == kSortUp || id == kSortDown) && code == BN_CLICKED) {
      move(id == kSortUp ? -1 : 1);
    } else if ((id == kSortAscending || id == kSortDescending) && code == BN_CLICKED) {
      const int index = selected(kSortList);
      if (index < 0) return;
      sort_[at(index)].direction =
          id == kSortDescending ? model::SortDirection::Descending : model::SortDirection::Ascending;
      showSortList(index);
    } else if (id == kSortList && code == LBN_SELCHANGE) {
      showSelection();
    }
  }
  void add() {
    const int index = selected(kAvailableList);
    if (index < 0) return;
    const model::FieldRef& field = choices_[at(index)].field;
    // A field sorts once: adding it again selects it.
    for (std::size_t i = 0; i < sort_.size(); ++i) {
      if (sort_[i].field == field) return showSortList(static_cast<int>(i));
    }
    model::SortField sorted;
    sorted.field = field;
    sort_.push_back(sorted);
    showSortList(static_cast<int>(sort_.size() - 1));
  }
  void remove() {
    const int index = selected(kSortList);
    if (index < 0) return;
    sort_.erase(sort_.begin() + index);
    showSortList(std::min(index, static_cast<int>(sort_.size()) - 1));
  }
  void move(int by) {
    const int index = selected(kSortList), to = index + by;
    if (index < 0 || to < 0 || at(to) >= sort_.size()) return;
    std::swap(sort_[at(index)], sort_[at(to)]);
    showSortList(to);
  }
  void showSortList(int selection) {
    clearItems(kSortList);
    for (const model::SortField& sorted : sort_) {
      const wchar_t* direction = directionName(sorted.direction);
      addItem(kSortList, shownField(sorted.field) + u" (" + fromWide(direction) + u")");
    }
    if (selection >= 0) select(kSortList, selection);
    showSelection();
  }
  void showSelection() {
    const int index = selected(kSortList);
    const bool any = index >= 0;
    enable(kRemoveSort, any);
    enable(kSortUp, any && index > 0);
    enable(kSortDown, any && at(index) + 1 < sort_.size());
    enable(kSortAscending, any);
    enable(kSortDescending, any);
    const bool descending = any && sort_[at(index)].direction == model::SortDirection::Descending;
    setChecked(kSortAscending, any && !descending);
    setChecked(kSortDescending, descending);
  }

  std::vector<model::SortField>& sort_;
  std::vector<FieldChoice> choices_;
};

// ---------------------------------------------------------------------------
// Links: pairs of columns that join the report's tables.

enum LinkIds {
  kLinksLabel = 101,
  kLinksList,
  kNewLink,
  kDeleteLink,
  kFromLabel,
  kFromTable,
  kFromColumn,
  kToLabel,
  kToTable,
  kToColumn,
  kJoinLabel,
  kJoinBox,
  kUnlinkedNote,
};

const wchar_t* const kJoinNames[] = {L"Inner join", L"Left outer join", L"Right outer join", L"Full outer join"};

class LinksDialog final : public ModalDialog {
 public:
  LinksDialog(std::vector<model::TableLink>& links, const FieldCatalogue& fields)
      : ModalDialog(L"Links", 8400, 4215), links_(links), fields_(fields) {}

 private:
  std::vector<ControlLayout> layout() const override {
    return {
        {WC_STATICW, L"&Links:", kLinksLabel, 120, 120, 8160, 195, kLabel},
        {WC_LISTBOXW, L"", kLinksList, 120, 330, 6960, 1890, kList},
        {WC_STATICW, L"", kUnlinkedNote, 120, 2280, 8160, 195, kLabel},
        {WC_BUTTONW, L"&New", kNewLink, 7200, 330, 1080, 375, kButton},
        {WC_BUTTONW, L"&Delete", kDeleteLink, 7200, 780, 1080, 375, kButton},
        {WC_STATICW, L"&From:", kFromLabel, 120, 2670, 600, 195, kLabel},
        {WC_COMBOBOXW, L"", kFromTable, 720, 2640, 2280, 2400, kDropList},
        {WC_COMBOBOXW, L"", kFromColumn, 3120, 2640, 2280, 2400, kDropList},
        {WC_STATICW, L"&Join:", kJoinLabel, 5580, 2670, 600, 195, kLabel},
        {WC_COMBOBOXW, L"", kJoinBox, 6180, 2640, 2100, 2400, kDropList},
        {WC_STATICW, L"&To:", kToLabel, 120, 3060, 600, 195, kLabel},
        {WC_COMBOBOXW, L"", kToTable, 720, 3030, 2280, 2400, kDropList},
        {WC_COMBOBOXW, L"", kToColumn, 3120, 3030, 2280, 2400, kDropList},
        {WC_BUTTONW, L"OK", IDOK, 6225, 3720, 975, 375, kOkButton},
        {WC_BUTTONW, L"Cancel", IDCANCEL, 7305, 3720, 975, 375, kButton},
    };
  }
  // With no link yet, the first thing to do is to make one.
  int firstFocus() const override { return links_.empty() && !fields_.tables.empty() ? kNewLink : 0; }

  void onInit() override {
    for (int box : {kFromTable, kToTable}) {
      for (const FieldCatalogue::TableColumns& table : fields_.tables) addItem(box, table.table);
    }
    for (const wchar_t* join : kJoinNames) addItem(kJoinBox, fromWide(join));
    enable(kNewLink, !fields_.tables.empty());
    showLinks(links_.empty() ? -1 : 0);
  }
  void onCommand(int id, int code) override {
    if (id == kNewLink && code == BN_CLICKED) {
      addLink();
    } else if (id == kDeleteLink && code == BN_CLICKED) {
      const int index = selected(kLinksList);
      if (index < 0) return;
      links_.erase(links_.begin() + index);
      showLinks(std::min(index, static_cast<int>(links_.size()) - 1));
    } else if (id == kLinksList && code == LBN_SELCHANGE) {
      showSelection();
    } else if (code == CBN_SELCHANGE && id >= kFromTable && id <= kJoinBox) {
      takeEdit(id);
    }
  }
  bool onOk() override {
    for (std::size_t i = 0; i < links_.size(); ++i) {
      const model::TableLink& link = links_[i];
      Text problem;
      if (link.from.table.empty() || link.from.column.empty() || link.to.table.empty() || link.to.column.empty()) {
        problem = u"Link " + decimal(static_cast<std::int64_t>(i + 1)) + u" needs a column at both ends.";
      } else if (link.from.table == link.to.table) {
        problem = u"Link " + decimal(static_cast<std::int64_t>(i + 1)) + u" joins " + link.from.table +
                  u" to itself: please choose two different tables.";
      }
      if (!problem.empty()) {
        showLinks(static_cast<int>(i));
        refuse(kLinksList, problem);
        return false;
      }
    }
    return true;
  }

  const FieldCatalogue::TableColumns* table(const Text& alias) const {
    for (const FieldCatalogue::TableColumns& t : fields_.tables) {
      if (t.table == alias) return &t;
    }
    return nullptr;
  }
  int tableIndex(const Text& alias) const {
    for (std::size_t i = 0; i < fields_.tables.size(); ++i) {
      if (fields_.tables[i].table == alias) return static_cast<int>(i);
    }
    return -1;
  }

  // A new link from the first table to the next one, by their first columns.
  void addLink() {
    if (fields_.tables.empty()) return;
    const FieldCatalogue::TableColumns& from = fields_.tables.front();
    const FieldCatalogue::TableColumns& to = fields_.tables.size() > 1 ? fields_.tables[1] : fields_.tables.front();
    model::TableLink link;
    link.from.table = from.table;
    if (!from.columns.empty()) link.from.column = from.columns.front();
    link.to.table = to.table;
    if (!to.columns.empty()) link.to.column = to.columns.front();
    links_.push_back(link);
    showLinks(static_cast<int>(links_.size() - 1));
    focus(kFromTable);
  }

  static Text describe(const model::TableLink& link) {
    const auto join = static_cast<std::size_t>(link.join);
    Text text = shownField(link.from) + u" = " + shownField(link.to);
    if (join < std::size(kJoinNames)) text += u"   (" + fromWide(kJoinNames[join]) + u")";
    return text;
  }

  void showLinks(int selection) {
    clearItems(kLinksList);
    for (const model::TableLink& link : links_) addItem(kLinksList, describe(link));
    if (selection >= 0) select(kLinksList, selection);
    showSelection();
    showUnlinked();
  }

  // The tables no link reaches: each of their rows meets every row of the
  // others, which is rarely what a report wants.
  void showUnlinked() {
    Text names;
    if (fields_.tables.size() > 1) {
      for (const FieldCatalogue::TableColumns& t : fields_.tables) {
        const bool linked = std::any_of(links_.begin(), links_.end(), [&](const model::TableLink& l) {
          return l.from.table != l.to.table && (l.from.table == t.table || l.to.table == t.table);
        });
        if (!linked) names += (names.empty() ? u"" : u", ") + t.table;
      }
    }
    setText(kUnlinkedNote, names.empty() ? Text() : u"Not linked: " + names);
  }

  void fillColumns(int box, const model::FieldRef& field) {
    clearItems(box);
    int current = -1;
    if (const FieldCatalogue::TableColumns* t = table(field.table)) {
      for (const Text& column : t->columns) {
        const int index = addItem(box, column);
        if (column == field.column) current = index;
      }
    }
    // A column the catalogue does not list stays as it is.
    if (current < 0 && !field.column.empty()) current = addItem(box, field.column);
    select(box, current);
  }

  void showSelection() {
    const int index = selected(kLinksList);
    const bool any = index >= 0;
    for (int id : {kDeleteLink, kFromTable, kFromColumn, kToTable, kToColumn, kJoinBox}) enable(id, any);
    if (!any) {
      for (int id : {kFromTable, kFromColumn, kToTable, kToColumn, kJoinBox}) select(id, -1);
      return;
    }
    const model::TableLink& link = links_[at(index)];
    select(kFromTable, tableIndex(link.from.table));
    fillColumns(kFromColumn, link.from);
    select(kToTable, tableIndex(link.to.table));
    fillColumns(kToColumn, link.to);
    const auto join = static_cast<int>(link.join);
    select(kJoinBox, join >= 0 && at(join) < std::size(kJoinNames) ? join : -1);
  }

  // A choice in one of the boxes changes the selected link.
  void takeEdit(int box) {
    const int index = selected(kLinksList);
    if (index < 0) return;
    model::TableLink& link = links_[at(index)];
    const int choice = selected(box);
    if (choice < 0) return;
    if (box == kFromTable || box == kToTable) {
      model::FieldRef& end = box == kFromTable ? link.from : link.to;
      const FieldCatalogue::TableColumns& t = fields_.tables[at(choice)];
      if (end.table != t.table) {
        end.table = t.table;
        end.column = t.columns.empty() ? Text() : t.columns.front();
      }
    } else if (box == kFromColumn || box == kToColumn) {
      (box == kFromColumn ? link.from : link.to).column = itemText(box, choice);
    } else if (box == kJoinBox) {
      link.join = static_cast<model::JoinType>(choice);
    }
    clearItems(kLinksList);
    for (const model::TableLink& each : links_) addItem(kLinksList, describe(each));
    select(kLinksList, index);
    if (box == kFromTable) fillColumns(kFromColumn, link.from);
    if (box == kToTable) fillColumns(kToColumn, link.to);
    showUnlinked();
  }

  std::vector<model::TableLink>& links_;
  const FieldCatalogue& fields_;
};

// ---------------------------------------------------------------------------
// Insert Subreport: its name, its table, and the fields that link it.

enum SubreportIds {
  kSubNameLabel = 101,
  kSubNameBox,
  kSubTableLabel,
  kSubTableBox,
  kSubLinksLabel,
  kSubLinksList,
  kMainFieldLabel,
  kMainFieldBox,
  kSubFieldLabel,
  kSubFieldBox,
  kAddSubLink,
  kRemoveSubLink,
  kSubOnDemand,
  kSubLinkTextLabel,
  kSubLinkTextBox,
};

class SubreportDialog final : public ModalDialog {
 public:
  SubreportDialog(model::Subreport& subreport, const FieldCatalogue& fields, bool linksOnly)
      : ModalDialog(linksOnly ? L"Subreport Links" : L"Insert Subreport", 7200, 4635),
        subreport_(subreport),
        links_(subreport.links),
        fields_(fields),
        mainChoices_(fieldChoices(fields, true)),
        linksOnly_(linksOnly) {
    tables_ = fields.tables;
    for (const auto& other : fields.otherTables)
      if (std::none_of(tables_.begin(), tables_.end(), [&](const auto& t) { return equalsNoCase(t.table, other.table); }))
        tables_.push_back(other);
  }

 private:
  std::vector<ControlLayout> layout() const override {
    return {
        {WC_STATICW, L"&Name:", kSubNameLabel, 120, 150, 1500, 195, kLabel},
        {WC_EDITW, L"", kSubNameBox, 1680, 120, 5400, 285, WS_TABSTOP | ES_AUTOHSCROLL},
        {WC_STATICW, L"&Table:", kSubTableLabel, 120, 540, 1500, 195, kLabel},
        {WC_COMBOBOXW, L"", kSubTableBox, 1680, 510, 5400, 2400, WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWN | CBS_AUTOHSCROLL},
        {WC_STATICW, L"&Links:", kSubLinksLabel, 120, 930, 6960, 195, kLabel},
        {WC_LISTBOXW, L"", kSubLinksList, 120, 1140, 6960, 1080, kList},
        {WC_STATICW, L"&Main report field:", kMainFieldLabel, 120, 2370, 1500, 195, kLabel},
        {WC_COMBOBOXW, L"", kMainFieldBox, 1680, 2340, 4200, 2400, kDropList},
        {WC_STATICW, L"Su&breport field:", kSubFieldLabel, 120, 2760, 1500, 195, kLabel},
        {WC_COMBOBOXW, L"", kSubFieldBox, 1680, 2730, 4200, 2400, WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWN | CBS_AUTOHSCROLL},
        {WC_BUTTONW, L"&Add", kAddSubLink, 6000, 2340, 1080, 375, kButton},
        {WC_BUTTONW, L"&Remove", kRemoveSubLink, 6000, 2730, 1080, 375, kButton},
        {WC_BUTTONW, L"&On-demand subreport: the page shows a link that opens it in the preview", kSubOnDemand, 120,
         3240, 6960, 285, WS_TABSTOP | BS_AUTOCHECKBOX},
        {WC_STATICW, L"Link te&xt:", kSubLinkTextLabel, 120, 3660, 1500, 195, kLabel},
        {WC_EDITW, L"", kSubLinkTextBox, 1680, 3630, 5400, 285, WS_TABSTOP | ES_AUTOHSCROLL},
        {WC_BUTTONW, L"OK", IDOK, 5025, 4140, 975, 375, kOkButton},
        {WC_BUTTONW, L"Cancel", IDCANCEL, 6105, 4140, 975, 375, kButton},
    };
  }

  // The link's text is asked for only when the subreport shows as a link.
  void showOnDemand() {
    enable(kSubLinkTextLabel, isChecked(kSubOnDemand));
    enable(kSubLinkTextBox, isChecked(kSubOnDemand));
  }

  Text currentTable() const {
    if (subreport_.definition && !subreport_.definition->data.tables.empty()) {
      return subreport_.definition->data.tables.front().alias;
    }
    return Text();
  }

  void onInit() override {
    setText(kSubNameBox, subreport_.name);
    for (const FieldCatalogue::TableColumns& table : tables_) addItem(kSubTableBox, table.table);
    setText(kSubTableBox, currentTable());
    if (linksOnly_) {
      enable(kSubNameBox, false);
      enable(kSubTableBox, false);
    }
    for (const FieldChoice& choice : mainChoices_) addItem(kMainFieldBox, choice.shown);
    if (!mainChoices_.empty()) select(kMainFieldBox, 0);
    fillSubreportColumns();
    showLinks(links_.empty() ? -1 : 0);
    setChecked(kSubOnDemand, subreport_.onDemand);
    setText(kSubLinkTextBox, subreport_.linkText);
    showOnDemand();
  }

  void onCommand(int id, int code) override {
    if (id == kSubTableBox && (code == CBN_SELCHANGE || code == CBN_EDITCHANGE)) {
      if (code == CBN_SELCHANGE) {
        // The edit part takes the chosen text only after this notice.
        const int index = selected(kSubTableBox);
        if (index >= 0) setText(kSubTableBox, tables_[at(index)].table);
      }
      fillSubreportColumns();
    } else if (id == kAddSubLink && code == BN_CLICKED) {
      addLink();
    } else if (id == kRemoveSubLink && code == BN_CLICKED) {
      const int index = selected(kSubLinksList);
      if (index < 0) return;
      links_.erase(links_.begin() + index);
      showLinks(std::min(index, static_cast<int>(links_.size()) - 1));
    } else if (id == kSubOnDemand && code == BN_CLICKED) {
      showOnDemand();
    } else if (id == kSubLinksList && code == LBN_SELCHANGE) {
      enable(kRemoveSubLink, selected(kSubLinksList) >= 0);
    }
  }

  bool onOk() override {
    const Text name = trim(text(kSubNameBox));
    const Text tableName = trim(text(kSubTableBox));
    if (name.empty()) {
      refuse(kSubNameBox, u"Please give the subreport a name.");
      return false;
    }
    if (tableName.empty()) {
      refuse(kSubTableBox, u"Please choose the table the subreport shows.");
      return false;
    }
    // The links name the subreport's table as it now is.
    for (model::SubreportLink& link : links_) link.subreportField.table = tableName;
    subreport_.links = links_;
    subreport_.onDemand = isChecked(kSubOnDemand);
    subreport_.linkText = subreport_.onDemand ? trim(text(kSubLinkTextBox)) : subreport_.linkText;
    if (linksOnly_) return true;
    subreport_.name = name;
    if (!subreport_.definition) subreport_.definition = model::Deep<model::ReportDefinition>(model::blankReport());
    if (tableName != currentTable()) {
      // A new table: the designer gives it the main report's log-on.
      model::Table table;
      table.alias = tableName;
      table.location = tableName;
      subreport_.definition->data.tables = {table};
    }
    return true;
  }

  void fillSubreportColumns() {
    const Text tableName = trim(text(kSubTableBox));
    const Text typed = text(kSubFieldBox);
    clearItems(kSubFieldBox);
    for (const FieldCatalogue::TableColumns& table : tables_) {
      if (!equalsNoCase(table.table, tableName)) continue;
      for (const Text& column : table.columns) addItem(kSubFieldBox, column);
      break;
    }
    if (itemCount(kSubFieldBox) > 0) select(kSubFieldBox, 0);
    else setText(kSubFieldBox, typed);
  }

  void addLink() {
    const int main = selected(kMainFieldBox);
    const Text column = trim(text(kSubFieldBox));
    if (main < 0) {
      refuse(kMainFieldBox, u"Please choose the main report's field.");
      return;
    }
    if (column.empty()) {
      refuse(kSubFieldBox, u"Please choose the subreport's field.");
      return;
    }
    model::SubreportLink link;
    link.mainField = mainChoices_[at(main)].field;
    link.subreportField.table = trim(text(kSubTableBox));
    link.subreportField.column = column;
    if (fields_.linkRefusal) {
      const Text refusal = fields_.linkRefusal(link.mainField, link.subreportField);
      if (!refusal.empty()) {
        refuse(kSubFieldBox, refusal);
        return;
      }
    }
    links_.push_back(link);
    showLinks(static_cast<int>(links_.size() - 1));
  }

  void showLinks(int selection) {
    clearItems(kSubLinksList);
    for (const model::SubreportLink& link : links_) {
      addItem(kSubLinksList, shownField(link.mainField) + u" = " +
                                 engine::formula::fieldReference(trim(text(kSubTableBox)), link.subreportField.column));
    }
    if (selection >= 0) select(kSubLinksList, selection);
    enable(kRemoveSubLink, selection >= 0);
  }

  model::Subreport& subreport_;
  std::vector<model::SubreportLink> links_;
  const FieldCatalogue& fields_;
  std::vector<FieldChoice> mainChoices_;
  std::vector<FieldCatalogue::TableColumns> tables_;  // the report's, then the database's others
  bool linksOnly_;
};

}  // namespace

bool chooseField(HWND owner, model::FieldRef& field, const FieldCatalogue& fields) {
  return answered([&] {
    model::FieldRef answer = field;
    if (!FieldDialog(answer, fields).run(owner)) return false;
    field = std::move(answer);
    return true;
  });
}

bool choosePictureField(HWND owner, model::FieldRef& field, const FieldCatalogue& fields) {
  return answered([&] {
    model::FieldRef answer = field;
    if (!FieldDialog(answer, fields, L"Picture from Field", false).run(owner)) return false;
    field = std::move(answer);
    return true;
  });
}

bool chooseSpecialField(HWND owner, model::SpecialFieldKind& kind) {
  return answered([&] {
    model::SpecialFieldKind answer = kind;
    if (!SpecialFieldDialog(answer).run(owner)) return false;
    kind = answer;
    return true;
  });
}

bool chooseSummary(HWND owner, model::SummaryOperation& operation, model::FieldRef& field, std::int32_t& group,
                   const FieldCatalogue& fields) {
  return answered([&] {
    model::SummaryOperation newOperation = operation;
    model::FieldRef newField = field;
    std::int32_t newGroup = group;
    if (!SummaryDialog(newOperation, newField, newGroup, fields).run(owner)) return false;
    operation = newOperation;
    field = std::move(newField);
    group = newGroup;
    return true;
  });
}

bool chooseGroup(HWND owner, model::Group& group, const FieldCatalogue& fields) {
  return answered([&] {
    model::Group answer = group;
    if (!GroupDialog(answer, fields).run(owner)) return false;
    group = std::move(answer);
    return true;
  });
}

bool editSortFields(HWND owner, std::vector<model::SortField>& sort, const FieldCatalogue& fields) {
  return answered([&] {
    std::vector<model::SortField> answer = sort;
    if (!SortDialog(answer, fields).run(owner)) return false;
    sort = std::move(answer);
    return true;
  });
}

bool editLinks(HWND owner, std::vector<model::TableLink>& links, const FieldCatalogue& fields) {
  return answered([&] {
    std::vector<model::TableLink> answer = links;
    if (!LinksDialog(answer, fields).run(owner)) return false;
    links = std::move(answer);
    return true;
  });
}

bool chooseSubreport(HWND owner, model::Subreport& subreport, const FieldCatalogue& fields, bool linksOnly) {
  return answered([&] {
    model::Subreport answer = subreport;
    if (!SubreportDialog(answer, fields, linksOnly).run(owner)) return false;
    subreport = std::move(answer);
    return true;
  });
}

}  // namespace mervane::authoring::win
