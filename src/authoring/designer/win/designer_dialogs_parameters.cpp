// The report's parameters: Report > Parameters (add, change, delete) and the
// prompt that asks for their values before the report runs. Both work on a
// copy; the caller's parameters change only on OK, and OK is refused in
// words while something cannot be kept.
#include <windows.h>
#include <commctrl.h>

#include <algorithm>
#include <list>

#include "authoring/designer/win/designer_dialogs_kit.h"
#include "base/win/wide.h"
#include "engine/model/parameters.h"

namespace mervane::authoring::win {

namespace {

using engine::model::Parameter;
using engine::model::ParameterType;

constexpr DWORD kList = WS_TABSTOP | WS_VSCROLL | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT;
constexpr DWORD kDropList = WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST;
constexpr DWORD kEdit = WS_TABSTOP | ES_AUTOHSCROLL;
constexpr DWORD kLines = WS_TABSTOP | WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_WANTRETURN;
constexpr DWORD kLabel = SS_LEFT;
constexpr DWORD kCheck = WS_TABSTOP | BS_AUTOCHECKBOX;
constexpr DWORD kButton = WS_TABSTOP | BS_PUSHBUTTON;
constexpr DWORD kOkButton = WS_TABSTOP | BS_DEFPUSHBUTTON;

constexpr int kTypeCount = 6;

// The text of a box of lines as its lines, blank ones left out.
std::vector<Text> linesOf(const Text& text) {
  std::vector<Text> lines;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find(u'\n', start);
    if (end == Text::npos) end = text.size();
    Text line = trim(text.substr(start, end - start));
    if (!line.empty()) lines.push_back(line);
    start = end + 1;
  }
  return lines;
}

Text joinLines(const std::vector<Text>& lines) {
  Text out;
  for (const Text& line : lines) out += (out.empty() ? u"" : u"\r\n") + line;
  return out;
}

// A parameter as the report keeps it, without the run's values.
bool sameDefinition(Parameter a, Parameter b) {
  a.given = b.given = false;
  a.current.clear(), a.currentTo.clear(), b.current.clear(), b.currentTo.clear();
  return a == b;
}

// ---------------------------------------------------------------------------
// Report > Parameters



class ParametersDialog final : public ModalDialog {
 public:
  ParametersDialog(std::vector<Parameter>& parameters, const FieldCatalogue& fields, const ParameterUsesOf& usesOf,
                   designer::ParameterEdits* edits)
      : ModalDialog(kParametersCaption, 8400, 5400),
        parameters_(parameters),
        list_(parameters),
        columns_(fieldChoices(fields, false)),
        usesOf_(usesOf),
        edits_(edits) {
    for (const Parameter& p : list_) origins_.push_back(p.name);
  }

 private:
  std::vector<ControlLayout> layout() const override {
    return {
        {WC_STATICW, L"&Parameters:", kParameterListLabel, 120, 120, 2400, 195, kLabel},
        {WC_LISTBOXW, L"", kParameterList, 120, 330, 2400, 3870, kList},
        {WC_BUTTONW, L"&New", kParameterNew, 120, 4320, 1140, 375, kButton},
        {WC_BUTTONW, L"&Delete", kParameterDelete, 1380, 4320, 1140, 375, kButton},
        {WC_STATICW, L"N&ame:", kParameterNameLabel, 2700, 375, 1500, 195, kLabel},
        {WC_EDITW, L"", kParameterName, 4260, 330, 4020, 300, kEdit},
        {WC_STATICW, L"&Type:", kParameterTypeLabel, 2700, 795, 1500, 195, kLabel},
        {WC_COMBOBOXW, L"", kParameterType, 4260, 750, 4020, 2400, kDropList},
        {WC_STATICW, L"P&rompt:", kParameterPromptLabel, 2700, 1215, 1500, 195, kLabel},
        {WC_EDITW, L"", kParameterPrompt, 4260, 1170, 4020, 300, kEdit},
        {WC_BUTTONW, L"Ask for a ran&ge (from - to)", kParameterRange, 4260, 1590, 4020, 255, kCheck},
        {WC_STATICW, L"De&fault:", kParameterDefaultLabel, 2700, 2055, 1500, 195, kLabel},
        {WC_EDITW, L"", kParameterDefault, 4260, 2010, 4020, 300, kEdit},
        {WC_STATICW, L"Default t&o:", kParameterDefaultToLabel, 2700, 2475, 1500, 195, kLabel},
        {WC_EDITW, L"", kParameterDefaultTo, 4260, 2430, 4020, 300, kEdit},
        {WC_STATICW, L"A&llowed values\n(one a line):", kParameterAllowedLabel, 2700, 2895, 1500, 400, kLabel},
        {WC_EDITW, L"", kParameterAllowed, 4260, 2850, 4020, 900, kLines},
        {WC_STATICW, L"&Values from:", kParameterFromLabel, 2700, 3915, 1500, 195, kLabel},
        {WC_COMBOBOXW, L"", kParameterFrom, 4260, 3870, 4020, 2400, kDropList},
        {WC_BUTTONW, L"OK", IDOK, 6180, 4860, 975, 375, kOkButton},
        {WC_BUTTONW, L"Cancel", IDCANCEL, 7305, 4860, 975, 375, kButton},
    };
  }

  void onInit() override {
    for (int t = 1; t <= kTypeCount; ++t) addItem(kParameterType, typeName(static_cast<ParameterType>(t)));
    addItem(kParameterFrom, u"(none: the values above)");
    for (const FieldChoice& c : columns_) addItem(kParameterFrom, c.shown);
    fillList();
    show(list_.empty() ? -1 : 0);
  }

  int firstFocus() const override { return list_.empty() ? kParameterNew : kParameterName; }

  void fillList() {
    clearItems(kParameterList);
    for (const Parameter& p : list_) addItem(kParameterList, p.name);
  }

  void show(int index) {
    current_ = index;
    const bool any = index >= 0;
    for (int id = kParameterName; id <= kParameterFrom; ++id) enable(id, any);
    enable(kParameterDelete, any);
    if (!any) {
      for (int id : {kParameterName, kParameterPrompt, kParameterDefault, kParameterDefaultTo, kParameterAllowed}) setText(id, u"");
      return;
    }
    select(kParameterList, index);
    const Parameter& p = list_[static_cast<std::size_t>(index)];
    setText(kParameterName, p.name);
    const int type = static_cast<int>(p.type);
    select(kParameterType, type >= 1 && type <= kTypeCount ? type - 1 : 0);
    setText(kParameterPrompt, p.prompt);
    setChecked(kParameterRange, p.range);
    setText(kParameterDefault, p.defaultValue);
    setText(kParameterDefaultTo, p.defaultTo);
    setText(kParameterAllowed, joinLines(p.allowedValues));
    int from = 0;
    if (!p.allowedFrom.table.empty()) {
      // A column the catalogue no longer lists is kept, and shown.
      from = choiceIndex(columns_, p.allowedFrom) + 1;
      if (itemCount(kParameterFrom) < static_cast<int>(columns_.size()) + 1) addItem(kParameterFrom, columns_.back().shown);
    }
    select(kParameterFrom, from);
    enable(kParameterDefaultTo, p.range);
  }

  // The boxes into the parameter shown; false (after saying why) when it
  // cannot be kept as it stands.
  bool commit() {
    if (current_ < 0) return true;
    Parameter p = list_[static_cast<std::size_t>(current_)];
    p.name = text(kParameterName);
    p.type = static_cast<ParameterType>(std::max(0, selected(kParameterType)) + 1);
    p.prompt = text(kParameterPrompt);
    p.range = isChecked(kParameterRange);
    p.defaultValue = trim(text(kParameterDefault));
    p.defaultTo = p.range ? trim(text(kParameterDefaultTo)) : Text();
    p.allowedValues = linesOf(text(kParameterAllowed));
    const int from = selected(kParameterFrom);
    p.allowedFrom = from > 0 ? columns_[static_cast<std::size_t>(from - 1)].field : model::FieldRef{};
    std::vector<Parameter> others = list_;
    others.erase(others.begin() + current_);
    const Text problem = checkParameter(p, others);
    if (!problem.empty()) {
      int focusOn = kParameterName;
      if (problem.find(u"default") != Text::npos) focusOn = kParameterDefault;
      if (problem.find(u"allowed value") != Text::npos && problem.find(u"default") == Text::npos) focusOn = kParameterAllowed;
      if (problem.find(u"range") != Text::npos) focusOn = kParameterRange;
      refuse(focusOn, problem);
      return false;
    }
    list_[static_cast<std::size_t>(current_)] = p;
    SendMessageW(item(kParameterList), LB_DELETESTRING, static_cast<WPARAM>(current_), 0);
    const std::wstring name = mervane::win::toWide(p.name);
    SendMessageW(item(kParameterList), LB_INSERTSTRING, static_cast<WPARAM>(current_),
                 reinterpret_cast<LPARAM>(name.c_str()));
    select(kParameterList, current_);
    return true;
  }

  void onCommand(int id, int code) override {
    if (id == kParameterList && code == LBN_SELCHANGE) {
      const int chosen = selected(kParameterList);
      if (chosen == current_) return;
      if (!commit()) {
        select(kParameterList, current_);
        return;
      }
      show(chosen);
    } else if (id == kParameterNew && code == BN_CLICKED) {
      if (!commit()) return;
      Parameter p;
      for (int n = 1;; ++n) {
        p.name = u"Parameter" + decimal(n);
        if (!engine::model::findParameter(list_, p.name)) break;
      }
      list_.push_back(p);
      origins_.emplace_back();
      addItem(kParameterList, p.name);
      show(static_cast<int>(list_.size()) - 1);
      focus(kParameterName);
    } else if (id == kParameterDelete && code == BN_CLICKED && current_ >= 0) {
      // One the report still uses goes only once the person agreed.
      const Text origin = origins_[static_cast<std::size_t>(current_)];
      const std::vector<Text> uses = origin.empty() || !usesOf_ ? std::vector<Text>() : usesOf_(origin);
      if (!uses.empty() &&
          MessageBoxW(hwnd(), mervane::win::toWide(designer::deleteParameterQuestion(origin, uses)).c_str(),
                      kParametersCaption, MB_YESNO | MB_ICONQUESTION) != IDYES)
        return;
      if (!origin.empty()) deleted_.push_back(origin);
      origins_.erase(origins_.begin() + current_);
      list_.erase(list_.begin() + current_);
      fillList();
      show(list_.empty() ? -1 : std::min(current_, static_cast<int>(list_.size()) - 1));
    } else if (id == kParameterRange && code == BN_CLICKED) {
      enable(kParameterDefaultTo, isChecked(kParameterRange));
    }
  }

  bool onOk() override {
    if (!commit()) return false;
    // A parameter whose definition changed is asked for again at the next run.
    for (Parameter& p : list_) {
      const Parameter* before = engine::model::findParameter(parameters_, p.name);
      if (!before || !sameDefinition(*before, p)) {
        p.given = false;
        p.current.clear();
        p.currentTo.clear();
      }
    }
    parameters_ = list_;
    if (edits_) {
      *edits_ = {};
      for (std::size_t i = 0; i < list_.size(); ++i)
        if (!origins_[i].empty() && origins_[i] != list_[i].name) edits_->renamed.push_back({origins_[i], list_[i].name});
      // A name deleted and given again is the new parameter's.
      for (const Text& name : deleted_)
        if (!engine::model::findParameter(list_, name)) edits_->deleted.push_back(name);
    }
    return true;
  }

  std::vector<Parameter>& parameters_;
  std::vector<Parameter> list_;
  std::vector<Text> origins_;  // each one's name when the dialog opened; empty: new
  std::vector<Text> deleted_;
  std::vector<FieldChoice> columns_;
  const ParameterUsesOf& usesOf_;
  designer::ParameterEdits* edits_;
  int current_ = -1;
};

// ---------------------------------------------------------------------------
// Insert Parameter Field

enum ChooseIds { kChooseLabel = 101, kChooseList };

class ChooseParameterDialog final : public ModalDialog {
 public:
  ChooseParameterDialog(const std::vector<Text>& names, Text& name)
      : ModalDialog(L"Insert Parameter Field", 4200, 2850), names_(names), name_(name) {}

 private:
  std::vector<ControlLayout> layout() const override {
    return {
        {WC_STATICW, L"&Parameters:", kChooseLabel, 120, 120, 3960, 195, kLabel},
        {WC_LISTBOXW, L"", kChooseList, 120, 330, 3960, 1860, kList},
        {WC_BUTTONW, L"OK", IDOK, 2025, 2355, 975, 375, kOkButton},
        {WC_BUTTONW, L"Cancel", IDCANCEL, 3105, 2355, 975, 375, kButton},
    };
  }
  void onInit() override {
    for (const Text& n : names_) addItem(kChooseList, n);
    if (!names_.empty()) select(kChooseList, 0);
    enable(IDOK, !names_.empty());
  }
  void onOkRefused() override { refuse(kChooseList, u"The report has no parameters yet: add them with Report > Parameters."); }
  void onCommand(int id, int code) override {
    if (id == kChooseList && code == LBN_DBLCLK) PostMessageW(hwnd(), WM_COMMAND, IDOK, 0);
  }
  bool onOk() override {
    const int index = selected(kChooseList);
    if (index < 0) return false;
    name_ = names_[static_cast<std::size_t>(index)];
    return true;
  }

  const std::vector<Text>& names_;
  Text& name_;
};

// ---------------------------------------------------------------------------
// The prompt: one row per parameter, a from and a to box for a range; a
// subreport's own parameters under a line naming the subreport.

constexpr int kRowHeight = 420;
constexpr int kTop = 480;
constexpr int kFirstLabel = 1000;  // + row
constexpr int kFirstToLabel = 3000;
constexpr int kFirstHeading = 4000;

// The rows the prompt needs: one per parameter, and a heading above the
// first parameter of each subreport.
int promptRows(const std::vector<engine::model::AskedParameter>& asked) {
  int rows = 0;
  for (std::size_t i = 0; i < asked.size(); ++i)
    rows += !asked[i].subreport.empty() && (i == 0 || asked[i - 1].subreport != asked[i].subreport) ? 2 : 1;
  return rows;
}

class PromptDialog final : public ModalDialog {
 public:
  PromptDialog(std::vector<engine::model::AskedParameter>& asked, const ColumnValues& columnValues)
      : ModalDialog(kPromptCaption, 8400, kTop + kRowHeight * promptRows(asked) + 600),
        asked_(asked),
        columnValues_(columnValues) {
    for (const auto& a : asked) parameters_.push_back(a.parameter);
  }

 private:
  static Text hint(const Parameter& p) {
    switch (p.type) {
      case ParameterType::Date: return u" (yyyy-mm-dd)";
      case ParameterType::DateTime: return u" (yyyy-mm-dd hh:mm)";
      default: return u"";
    }
  }
  // The values offered in a list, or none for a typed box.
  std::vector<Text> choices(const Parameter& p) const {
    if (p.type == ParameterType::Boolean) return {u"True", u"False"};
    if (p.range) return {};
    std::vector<engine::formula::Value> read;
    if (!p.allowedFrom.table.empty() && columnValues_) read = columnValues_(p.allowedFrom);
    return allowedChoices(p, read);
  }

  std::vector<ControlLayout> layout() const override {
    std::vector<ControlLayout> controls;
    controls.push_back({WC_STATICW, L"The report asks for these values:", 100, 120, 120, 8160, 195, kLabel});
    labels_.clear();
    headings_.clear();
    for (const Parameter& p : parameters_) {
      labels_.push_back(mervane::win::toWide((isBlank(p.prompt) ? p.name : trim(p.prompt)) + hint(p) + u":"));
    }
    int y = kTop - kRowHeight;
    for (std::size_t i = 0; i < parameters_.size(); ++i) {
      const Parameter& p = parameters_[i];
      y += kRowHeight;
      const int row = static_cast<int>(i);
      const Text& subreport = asked_[i].subreport;
      if (!subreport.empty() && (i == 0 || asked_[i - 1].subreport != subreport)) {
        headings_.push_back(mervane::win::toWide(u"The subreport " + subreport + u" asks:"));
        controls.push_back({WC_STATICW, headings_.back().c_str(), kFirstHeading + static_cast<int>(headings_.size()),
                            120, y + 45, 8160, 195, kLabel});
        y += kRowHeight;
      }
      controls.push_back({WC_STATICW, labels_[i].c_str(), kFirstLabel + row, 120, y + 45, 2940, 195, kLabel});
      const bool list = !choices(p).empty();
      const int fromWidth = p.range ? 2280 : 5100;
      if (list)
        controls.push_back({WC_COMBOBOXW, L"", kPromptFirstBox + 2 * row, 3180, y, fromWidth, 2400, kDropList});
      else
        controls.push_back({WC_EDITW, L"", kPromptFirstBox + 2 * row, 3180, y, fromWidth, 300, kEdit});
      if (p.range) {
        controls.push_back({WC_STATICW, L"to", kFirstToLabel + row, 5550, y + 45, 300, 195, kLabel});
        controls.push_back({WC_EDITW, L"", kPromptFirstBox + 2 * row + 1, 6000, y, 2280, 300, kEdit});
      }
    }
    const int bottom = kTop + kRowHeight * promptRows(asked_) + 120;
    controls.push_back({WC_BUTTONW, L"OK", IDOK, 6180, bottom, 975, 375, kOkButton});
    controls.push_back({WC_BUTTONW, L"Cancel", IDCANCEL, 7305, bottom, 975, 375, kButton});
    return controls;
  }

  void onInit() override {
    for (std::size_t i = 0; i < parameters_.size(); ++i) {
      const Parameter& p = parameters_[i];
      const int row = static_cast<int>(i);
      // The values given last, when there are any (asked again), else the defaults.
      const bool before = p.given || !p.current.empty() || !p.currentTo.empty();
      const Text& from = before ? p.current : p.defaultValue;
      const std::vector<Text> offered = choices(p);
      if (!offered.empty()) {
        int chosen = 0;
        for (std::size_t k = 0; k < offered.size(); ++k) {
          addItem(kPromptFirstBox + 2 * row, offered[k]);
          if (offered[k] == from) chosen = static_cast<int>(k);
        }
        select(kPromptFirstBox + 2 * row, chosen);
      } else {
        setText(kPromptFirstBox + 2 * row, from);
      }
      if (p.range) setText(kPromptFirstBox + 2 * row + 1, before ? p.currentTo : p.defaultTo);
    }
  }

  int firstFocus() const override { return parameters_.empty() ? IDOK : kPromptFirstBox; }

  bool onOk() override {
    std::vector<Parameter> answered = parameters_;
    for (std::size_t i = 0; i < answered.size(); ++i) {
      Parameter& p = answered[i];
      const int row = static_cast<int>(i);
      const Text from = text(kPromptFirstBox + 2 * row);
      const Text to = p.range ? text(kPromptFirstBox + 2 * row + 1) : Text();
      const Text problem = checkGivenValue(p, from, to);
      if (!problem.empty()) {
        const bool inTo = problem.find(u"'" + to + u"'") != Text::npos && !trim(to).empty();
        refuse(kPromptFirstBox + 2 * row + (inTo ? 1 : 0), problem);
        return false;
      }
      auto stored = [&](const Text& t) {
        if (trim(t).empty() && p.type != ParameterType::Text) return Text();
        return storedText(p.type, *parseParameterValue(p.type, t));
      };
      p.given = true;
      p.current = stored(from);
      p.currentTo = p.range ? stored(to) : Text();
    }
    for (std::size_t i = 0; i < answered.size(); ++i) asked_[i].parameter = answered[i];
    return true;
  }

  std::vector<engine::model::AskedParameter>& asked_;
  std::vector<Parameter> parameters_;
  const ColumnValues& columnValues_;
  mutable std::vector<std::wstring> labels_;
  mutable std::list<std::wstring> headings_;  // their texts stay where they are while the list grows
};

}  // namespace

bool editParameters(HWND owner, std::vector<model::Parameter>& parameters, const FieldCatalogue& fields,
                    const ParameterUsesOf& usesOf, designer::ParameterEdits* edits) {
  return answered([&] { return ParametersDialog(parameters, fields, usesOf, edits).run(owner); });
}

bool chooseParameter(HWND owner, const std::vector<Text>& names, Text& name) {
  return answered([&] { return ChooseParameterDialog(names, name).run(owner); });
}

bool promptParameters(HWND owner, std::vector<model::AskedParameter>& parameters, const ColumnValues& columnValues) {
  return answered([&] { return PromptDialog(parameters, columnValues).run(owner); });
}

}  // namespace mervane::authoring::win
