// The designer's dialogs for conditional formatting and running totals. The
// conditions dialog checks every row as it is typed and names the first
// mistake by its row, line and column; the running total dialog asks the
// designer's rules whether the total can work before it closes.
#include <windows.h>
#include <commctrl.h>

#include "authoring/designer/conditions.h"
#include "authoring/designer/formula_editing.h"
#include "authoring/designer/win/designer_dialogs_kit.h"
#include "base/win/wide.h"
#include "engine/formula/formula.h"

namespace mervane::authoring::win {

namespace {

namespace formula = engine::formula;
using mervane::win::toWide;

constexpr DWORD kDropList = WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST;
constexpr DWORD kEdit = WS_TABSTOP | ES_AUTOHSCROLL;
constexpr DWORD kLabel = SS_LEFT;

std::size_t at(int index) { return static_cast<std::size_t>(index); }

// ---------------------------------------------------------------------------
// Conditional formatting

constexpr int kRowHeight = 420;
constexpr int kFirstRowId = 200;  // each row: label, box, "..." button
constexpr int kConditionStatus = 190;

class ConditionsDialog final : public ModalDialog {
 public:
  ConditionsDialog(const Text& caption, std::vector<ConditionRow>& rows, const FieldCatalogue& fields)
      : ModalDialog(toWide(caption), 9000, 120 + static_cast<int>(rows.size()) * kRowHeight + 1080),
        rows_(rows),
        fields_(fields) {}

 private:
  static int labelId(std::size_t row) { return kFirstRowId + static_cast<int>(row) * 3; }
  static int boxId(std::size_t row) { return labelId(row) + 1; }
  static int buttonId(std::size_t row) { return labelId(row) + 2; }

  std::vector<ControlLayout> layout() const override {
    std::vector<ControlLayout> controls;
    int y = 120;
    for (std::size_t i = 0; i < rows_.size(); ++i, y += kRowHeight) {
      controls.push_back({WC_STATICW, L"", labelId(i), 120, y + 30, 1920, 195, kLabel});
      controls.push_back({WC_EDITW, L"", boxId(i), 2100, y, 6060, 285, kEdit});
      controls.push_back({WC_BUTTONW, L"...", buttonId(i), 8220, y, 660, 285, WS_TABSTOP | BS_PUSHBUTTON});
    }
    controls.push_back({WC_STATICW, L"", kConditionStatus, 120, y + 30, 8760, 420, SS_LEFT | SS_NOPREFIX});
    controls.push_back({WC_BUTTONW, L"OK", IDOK, 6840, y + 540, 975, 375, WS_TABSTOP | BS_DEFPUSHBUTTON});
    controls.push_back({WC_BUTTONW, L"Cancel", IDCANCEL, 7905, y + 540, 975, 375, WS_TABSTOP | BS_PUSHBUTTON});
    return controls;
  }

  int firstFocus() const override { return boxId(0); }

  void onInit() override {
    Text letters;
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      setText(labelId(i), withMnemonic(rows_[i].label, letters) + u":");
      SendMessageW(item(boxId(i)), EM_SETLIMITTEXT, 0, 0);
      setText(boxId(i), rows_[i].formula);
    }
    recheck();
  }

  void onCommand(int id, int code) override {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      if (id == boxId(i) && code == EN_CHANGE) recheck();
      if (id == boxId(i) && code == EN_SETFOCUS) {
        focusedRow_ = i;
        recheck();
      }
      if (id == buttonId(i) && code == BN_CLICKED) {
        Text formula = text(boxId(i));
        if (editCondition(hwnd(), u"Condition: " + rows_[i].label, formula, fields_)) setText(boxId(i), formula);
        focus(boxId(i));
      }
    }
  }

  // The first row with a mistake, said in the status line; else what the
  // row being typed in expects.
  void recheck() {
    mistakeRow_.reset();
    Text status = u"Each condition is worked out for every record the object prints with; leave a box empty for none.";
    if (focusedRow_ < rows_.size() && !rows_[focusedRow_].hint.empty())
      status = rows_[focusedRow_].label + u": " + rows_[focusedRow_].hint + u". " + status;
    for (std::size_t i = 0; i < rows_.size() && !mistakeRow_; ++i) {
      const Text current = text(boxId(i));
      if (isBlank(current)) continue;
      if (auto mistake = formula::check(current)) {
        mistakeRow_ = i;
        mistake_ = *mistake;
        status = designer::conditionProblem(rows_[i].label.c_str(), current).value_or(Text());
      }
    }
    setText(kConditionStatus, status);
    enable(IDOK, !mistakeRow_);
  }

  void showMistake() {
    if (!mistakeRow_) return;
    const int box = boxId(*mistakeRow_);
    const Text current = text(box);
    const TextRange range = mistakeRange(current, mistake_->position());
    SetFocus(item(box));
    SendMessageW(item(box), EM_SETSEL, range.start, range.end);
  }

  void onOkRefused() override { showMistake(); }

  bool onOk() override {
    recheck();
    if (mistakeRow_) {
      showMistake();
      return false;
    }
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      const Text current = text(boxId(i));
      rows_[i].formula = isBlank(current) ? Text() : current;
    }
    return true;
  }

  std::vector<ConditionRow>& rows_;
  const FieldCatalogue& fields_;
  std::optional<std::size_t> mistakeRow_;
  std::size_t focusedRow_ = 0;
  std::optional<formula::FormulaError> mistake_;
};

// ---------------------------------------------------------------------------
// Running total

enum RunningTotalIds {
  kNameLabel = 101,
  kNameBox,
  kFieldLabel,
  kFieldBox,
  kOperationLabel,
  kOperationBox,
  kEvaluateLabel,
  kEvaluateBox,
  kEvaluateFieldBox,
  kEvaluateFormulaBox,
  kResetLabel,
  kResetBox,
  kResetGroupBox,
  kResetFormulaBox,
  kEvaluateFormulaButton,
  kResetFormulaButton,
};

const struct {
  model::SummaryOperation operation;
  const char16_t* shown;
} kOperations[] = {
    {model::SummaryOperation::Sum, u"Sum"},
    {model::SummaryOperation::Count, u"Count"},
    {model::SummaryOperation::DistinctCount, u"Distinct count"},
    {model::SummaryOperation::Average, u"Average"},
    {model::SummaryOperation::Minimum, u"Minimum"},
    {model::SummaryOperation::Maximum, u"Maximum"},
};

class RunningTotalDialog final : public ModalDialog {
 public:
  RunningTotalDialog(model::RunningTotal& total, const FieldCatalogue& fields,
                     const RunningTotalCheck& problem)
      : ModalDialog(L"Running Total", 7200, 3660),
        total_(total),
        fields_(fields),
        problem_(problem),
        choices_(fieldChoices(fields, true)) {}

 private:
  std::vector<ControlLayout> layout() const override {
    return {
        {WC_STATICW, L"&Name:", kNameLabel, 120, 150, 1320, 195, kLabel},
        {WC_EDITW, L"", kNameBox, 1500, 120, 5580, 285, kEdit},
        {WC_STATICW, L"&Field:", kFieldLabel, 120, 540, 1320, 195, kLabel},
        {WC_COMBOBOXW, L"", kFieldBox, 1500, 510, 5580, 2400, kDropList},
        {WC_STATICW, L"&Summary:", kOperationLabel, 120, 930, 1320, 195, kLabel},
        {WC_COMBOBOXW, L"", kOperationBox, 1500, 900, 5580, 2400, kDropList},
        {WC_STATICW, L"&Evaluate:", kEvaluateLabel, 120, 1410, 1320, 195, kLabel},
        {WC_COMBOBOXW, L"", kEvaluateBox, 1500, 1380, 5580, 2400, kDropList},
        {WC_COMBOBOXW, L"", kEvaluateFieldBox, 1500, 1770, 5580, 2400, kDropList},
        {WC_EDITW, L"", kEvaluateFormulaBox, 1500, 1770, 4860, 285, kEdit},
        {WC_BUTTONW, L"...", kEvaluateFormulaButton, 6420, 1770, 660, 285, WS_TABSTOP | BS_PUSHBUTTON},
        {WC_STATICW, L"&Reset:", kResetLabel, 120, 2250, 1320, 195, kLabel},
        {WC_COMBOBOXW, L"", kResetBox, 1500, 2220, 5580, 2400, kDropList},
        {WC_COMBOBOXW, L"", kResetGroupBox, 1500, 2610, 5580, 2400, kDropList},
        {WC_EDITW, L"", kResetFormulaBox, 1500, 2610, 4860, 285, kEdit},
        {WC_BUTTONW, L"...", kResetFormulaButton, 6420, 2610, 660, 285, WS_TABSTOP | BS_PUSHBUTTON},
        {WC_BUTTONW, L"OK", IDOK, 5025, 3150, 975, 375, WS_TABSTOP | BS_DEFPUSHBUTTON},
        {WC_BUTTONW, L"Cancel", IDCANCEL, 6105, 3150, 975, 375, WS_TABSTOP | BS_PUSHBUTTON},
    };
  }

  void onInit() override {
    setText(kNameBox, total_.name);
    for (const FieldChoice& choice : choices_) {
      addItem(kFieldBox, choice.shown);
      addItem(kEvaluateFieldBox, choice.shown);
    }
    const int field = choiceIndex(choices_, total_.field);
    if (field >= itemCount(kFieldBox)) addItem(kFieldBox, choices_[at(field)].shown);  // a field the data lost
    select(kFieldBox, field);
    int operation = 0;
    for (std::size_t i = 0; i < std::size(kOperations); ++i) {
      addItem(kOperationBox, kOperations[i].shown);
      if (kOperations[i].operation == total_.operation) operation = static_cast<int>(i);
    }
    select(kOperationBox, operation);
    for (const char16_t* shown : {u"For every record", u"On change of field", u"When a formula is true"})
      addItem(kEvaluateBox, shown);
    select(kEvaluateBox, static_cast<int>(total_.evaluate) >= 0 && static_cast<int>(total_.evaluate) <= 2
                             ? static_cast<int>(total_.evaluate) : 0);
    select(kEvaluateFieldBox, choiceIndex(choices_, total_.evaluateField));
    setText(kEvaluateFormulaBox, total_.evaluateFormula);
    for (const char16_t* shown : {u"Never", u"On change of group", u"When a formula is true"}) addItem(kResetBox, shown);
    select(kResetBox, static_cast<int>(total_.reset) >= 0 && static_cast<int>(total_.reset) <= 2
                          ? static_cast<int>(total_.reset) : 0);
    for (std::size_t i = 0; i < fields_.groups.size(); ++i) {
      addItem(kResetGroupBox, u"Group " + decimal(static_cast<std::int64_t>(i + 1)) + u": " + shownField(fields_.groups[i]));
    }
    select(kResetGroupBox, total_.resetGroup >= 1 ? total_.resetGroup - 1 : 0);
    setText(kResetFormulaBox, total_.resetFormula);
    showChoices();
  }

  // The field or formula box under each rule, as the rule needs.
  void showChoices() {
    const int evaluate = selected(kEvaluateBox), reset = selected(kResetBox);
    ShowWindow(item(kEvaluateFieldBox), evaluate == 1 ? SW_SHOW : SW_HIDE);
    ShowWindow(item(kEvaluateFormulaBox), evaluate == 2 ? SW_SHOW : SW_HIDE);
    ShowWindow(item(kEvaluateFormulaButton), evaluate == 2 ? SW_SHOW : SW_HIDE);
    ShowWindow(item(kResetGroupBox), reset == 1 ? SW_SHOW : SW_HIDE);
    ShowWindow(item(kResetFormulaBox), reset == 2 ? SW_SHOW : SW_HIDE);
    ShowWindow(item(kResetFormulaButton), reset == 2 ? SW_SHOW : SW_HIDE);
  }

  void onCommand(int id, int code) override {
    if ((id == kEvaluateBox || id == kResetBox) && code == CBN_SELCHANGE) showChoices();
    // "..." opens a formula box in the formula editor, its mistakes shown as typed.
    if ((id == kEvaluateFormulaButton || id == kResetFormulaButton) && code == BN_CLICKED) {
      const bool evaluate = id == kEvaluateFormulaButton;
      const int box = evaluate ? kEvaluateFormulaBox : kResetFormulaBox;
      Text formula = text(box);
      const Text caption = evaluate ? u"Running Total: Evaluate When" : u"Running Total: Reset When";
      if (editCondition(hwnd(), caption, formula, fields_)) setText(box, formula);
      focus(box);
    }
  }

  bool onOk() override {
    model::RunningTotal answer = total_;
    answer.name = trim(text(kNameBox));
    const int field = selected(kFieldBox);
    answer.field = field >= 0 && at(field) < choices_.size() ? choices_[at(field)].field : model::FieldRef{};
    const int operation = selected(kOperationBox);
    if (operation >= 0) answer.operation = kOperations[at(operation)].operation;
    answer.evaluate = static_cast<model::RunningTotalEvaluate>(std::max(0, selected(kEvaluateBox)));
    const int watched = selected(kEvaluateFieldBox);
    answer.evaluateField = answer.evaluate == model::RunningTotalEvaluate::OnChangeOfField && watched >= 0
                               ? choices_[at(watched)].field
                               : model::FieldRef{};
    answer.evaluateFormula =
        answer.evaluate == model::RunningTotalEvaluate::OnFormula ? text(kEvaluateFormulaBox) : Text();
    answer.reset = static_cast<model::RunningTotalReset>(std::max(0, selected(kResetBox)));
    answer.resetGroup = answer.reset == model::RunningTotalReset::OnChangeOfGroup ? selected(kResetGroupBox) + 1 : 1;
    answer.resetFormula = answer.reset == model::RunningTotalReset::OnFormula ? text(kResetFormulaBox) : Text();
    designer::RunningTotalPart part = designer::RunningTotalPart::Name;
    if (auto problem = problem_ ? problem_(answer, part) : std::nullopt) {
      using P = designer::RunningTotalPart;
      const int box = part == P::Field             ? kFieldBox
                      : part == P::EvaluateField   ? kEvaluateFieldBox
                      : part == P::EvaluateFormula ? kEvaluateFormulaBox
                      : part == P::Reset           ? kResetBox
                      : part == P::ResetFormula    ? kResetFormulaBox
                                                   : kNameBox;
      refuse(box, *problem);
      return false;
    }
    total_ = std::move(answer);
    return true;
  }

  model::RunningTotal& total_;
  const FieldCatalogue& fields_;
  const RunningTotalCheck& problem_;
  std::vector<FieldChoice> choices_;
};

}  // namespace

bool editConditions(HWND owner, const Text& caption, std::vector<ConditionRow>& rows, const FieldCatalogue& fields) {
  return answered([&] {
    std::vector<ConditionRow> answer = rows;
    if (answer.empty() || !ConditionsDialog(caption, answer, fields).run(owner)) return false;
    rows = std::move(answer);
    return true;
  });
}

bool editRunningTotal(HWND owner, model::RunningTotal& total, const FieldCatalogue& fields,
                      const RunningTotalCheck& problem) {
  return answered([&] {
    model::RunningTotal answer = total;
    if (!RunningTotalDialog(answer, fields, problem).run(owner)) return false;
    total = std::move(answer);
    return true;
  });
}

}  // namespace mervane::authoring::win
