// The designer's text dialogs: the report title, the formula editor and the
// record filter. The editor checks the formula at every change, says under
// the text what is wrong and where, selects the offending character when
// asked, and keeps OK disabled while there is a mistake.
#include <windows.h>
#include <commctrl.h>

#include "authoring/designer/formula_editing.h"
#include "authoring/designer/win/designer_dialogs_kit.h"
#include "engine/formula/formula.h"

namespace mervane::authoring::win {

namespace {

namespace formula = engine::formula;

// ---------------------------------------------------------------------------
// Report title

enum TitleIds { kTitleLabel = 101, kTitleBox };

class TitleDialog final : public ModalDialog {
 public:
  explicit TitleDialog(Text& title) : ModalDialog(L"Report Title", 5700, 1260), title_(title) {}

 private:
  std::vector<ControlLayout> layout() const override {
    return {
        {WC_STATICW, L"&Title:", kTitleLabel, 120, 150, 840, 195, SS_LEFT},
        {WC_EDITW, L"", kTitleBox, 960, 120, 4620, 285, WS_TABSTOP | ES_AUTOHSCROLL},
        {WC_BUTTONW, L"OK", IDOK, 3525, 720, 975, 375, WS_TABSTOP | BS_DEFPUSHBUTTON},
        {WC_BUTTONW, L"Cancel", IDCANCEL, 4605, 720, 975, 375, WS_TABSTOP | BS_PUSHBUTTON},
    };
  }
  void onInit() override {
    SendMessageW(item(kTitleBox), EM_SETLIMITTEXT, 0, 0);
    setText(kTitleBox, title_);
  }
  bool onOk() override {
    title_ = text(kTitleBox);
    return true;
  }

  Text& title_;
};

// ---------------------------------------------------------------------------
// Formula editor and record filter

enum FormulaIds {
  kNameLabel = 101,
  kNameBox,
  kFieldsLabel,
  kFieldsList,
  kFormulasLabel,
  kFormulasList,
  kFunctionsLabel,
  kFunctionsList,
  kTextLabel,
  kTextBox,
  kStatus,
  kShowMistake,
};

class FormulaDialog final : public ModalDialog {
 public:
  // A formula with a name when `name` is given; otherwise a record filter,
  // where an empty text is allowed.
  FormulaDialog(const std::wstring& caption, Text* name, bool nameEditable, Text& text, const FieldCatalogue& fields,
                const char16_t* whenEmpty = u"No filter: every record is selected.")
      : ModalDialog(caption, 9000, (name ? 480 : 120) + 5655),
        whenEmpty_(whenEmpty),
        name_(name),
        nameEditable_(nameEditable),
        text_(text),
        fields_(fields) {}

 private:
  std::vector<ControlLayout> layout() const override {
    const int top = name_ ? 480 : 120;  // below the name row, if any
    std::vector<ControlLayout> controls;
    if (name_) {
      controls.push_back({WC_STATICW, L"&Name:", kNameLabel, 120, 150, 720, 195, SS_LEFT});
      controls.push_back({WC_EDITW, L"", kNameBox, 840, 120, 4020, 285, WS_TABSTOP | ES_AUTOHSCROLL});
    }
    const ControlLayout rest[] = {
        {WC_STATICW, L"&Fields:", kFieldsLabel, 120, top, 2880, 195, SS_LEFT},
        {WC_LISTBOXW, L"", kFieldsList, 120, top + 210, 2880, 1800,
         WS_TABSTOP | WS_VSCROLL | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT},
        {WC_STATICW, L"F&ormulas and parameters:", kFormulasLabel, 3120, top, 2640, 195, SS_LEFT},
        {WC_LISTBOXW, L"", kFormulasList, 3120, top + 210, 2640, 1800,
         WS_TABSTOP | WS_VSCROLL | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT},
        {WC_STATICW, L"F&unctions:", kFunctionsLabel, 5880, top, 3000, 195, SS_LEFT},
        {WC_LISTBOXW, L"", kFunctionsList, 5880, top + 210, 3000, 1800,
         WS_TABSTOP | WS_VSCROLL | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT},
        {WC_STATICW, L"&Text (double-click a list to insert at the cursor):", kTextLabel, 120, top + 2130, 8760,
         195, SS_LEFT},
        {WC_EDITW, L"", kTextBox, 120, top + 2340, 8760, 2280,
         WS_TABSTOP | WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL},
        {WC_STATICW, L"", kStatus, 120, top + 4710, 6600, 390, SS_LEFT | SS_NOPREFIX},
        {WC_BUTTONW, L"&Show", kShowMistake, 6840, top + 4680, 975, 375, WS_TABSTOP | BS_PUSHBUTTON},
        {WC_BUTTONW, L"OK", IDOK, 6840, top + 5160, 975, 375, WS_TABSTOP | BS_DEFPUSHBUTTON},
        {WC_BUTTONW, L"Cancel", IDCANCEL, 7905, top + 5160, 975, 375, WS_TABSTOP | BS_PUSHBUTTON},
    };
    controls.insert(controls.end(), std::begin(rest), std::end(rest));
    return controls;
  }

  int firstFocus() const override { return name_ && nameEditable_ ? kNameBox : kTextBox; }

  void onInit() override {
    if (name_) {
      setText(kNameBox, *name_);
      if (!nameEditable_) SendMessageW(item(kNameBox), EM_SETREADONLY, TRUE, 0);
    }
    for (const FieldChoice& choice : fieldChoices(fields_, false)) addItem(kFieldsList, choice.shown);
    for (const Text& other : fields_.formulas) {
      // A formula cannot use itself.
      if (name_ && equalsNoCase(other, *name_)) continue;
      formulaNames_.push_back(formula::formulaReference(other));
      addItem(kFormulasList, formulaNames_.back());
    }
    for (const Text& total : fields_.runningTotals) {
      formulaNames_.push_back(formula::runningTotalReference(total));
      addItem(kFormulasList, formulaNames_.back());
    }
    for (const Text& parameter : fields_.parameters) {
      formulaNames_.push_back(formula::parameterReference(parameter));
      addItem(kFormulasList, formulaNames_.back());
    }
    for (const InsertableName& name : functionNames()) addItem(kFunctionsList, name.shown);
    for (const InsertableName& name : specialValueNames()) addItem(kFunctionsList, name.shown);
    SendMessageW(item(kTextBox), EM_SETLIMITTEXT, 0, 0);
    // The editor shows lines as "\r\n"; the formula keeps whichever it had.
    setText(kTextBox, withEditorLineBreaks(text_));
    recheck();
  }

  void onCommand(int id, int code) override {
    if (id == kTextBox && code == EN_CHANGE) {
      recheck();
    } else if (code == LBN_DBLCLK && (id == kFieldsList || id == kFormulasList || id == kFunctionsList)) {
      insertFromList(id);
    } else if (id == kShowMistake && code == BN_CLICKED) {
      showMistake();
    }
  }

  bool onOk() override {
    recheck();
    if (mistake_) {
      showMistake();
      return false;
    }
    if (name_ && nameEditable_) {
      const Text name = trim(text(kNameBox));
      if (name.empty()) {
        refuse(kNameBox, u"Please give the formula a name.");
        return false;
      }
      for (const Text& other : fields_.formulas) {
        if (equalsNoCase(other, name) && !equalsNoCase(other, *name_)) {
          refuse(kNameBox, u"The report already has a formula named " + name + u".");
          return false;
        }
      }
      *name_ = name;
    }
    text_ = editorText();
    return true;
  }

  void onOkRefused() override { showMistake(); }

  Text editorText() const {
    Text shown = text(kTextBox);
    // A filter of blanks only is no filter.
    if (!name_ && isBlank(shown)) return Text();
    // Untouched, the formula keeps its own line breaks.
    if (shown == withEditorLineBreaks(text_)) return text_;
    return shown;
  }

  static Text withEditorLineBreaks(const Text& source) {
    Text out;
    for (std::size_t i = 0; i < source.size(); ++i) {
      if (source[i] == u'\n' && (i == 0 || source[i - 1] != u'\r')) out += u'\r';
      out += source[i];
    }
    return out;
  }

  void recheck() {
    const Text current = text(kTextBox);
    if (!name_ && isBlank(current)) {
      mistake_.reset();
      setText(kStatus, whenEmpty_);
    } else {
      mistake_ = formula::check(current);
      setText(kStatus, statusLine(mistake_));
    }
    enable(IDOK, !mistake_);
    enable(kShowMistake, mistake_.has_value());
  }

  // Selects the offending character and puts the focus on the text.
  void showMistake() {
    if (!mistake_) return;
    const Text current = text(kTextBox);
    const TextRange range = mistakeRange(current, mistake_->position());
    SetFocus(item(kTextBox));
    SendMessageW(item(kTextBox), EM_SETSEL, range.start, range.end);
    SendMessageW(item(kTextBox), EM_SCROLLCARET, 0, 0);
  }

  void insertFromList(int list) {
    const int index = selected(list);
    if (index < 0) return;
    Text inserted;
    if (list == kFieldsList) {
      const std::vector<FieldChoice> choices = fieldChoices(fields_, false);
      if (static_cast<std::size_t>(index) < choices.size()) inserted = choices[static_cast<std::size_t>(index)].shown;
    } else if (list == kFormulasList) {
      if (static_cast<std::size_t>(index) < formulaNames_.size()) {
        inserted = formulaNames_[static_cast<std::size_t>(index)];
      }
    } else {
      const auto functions = functionNames();
      const auto specials = specialValueNames();
      const auto i = static_cast<std::size_t>(index);
      if (i < functions.size()) inserted = functions[i].inserted;
      else if (i - functions.size() < specials.size()) inserted = specials[i - functions.size()].inserted;
    }
    if (inserted.empty()) return;
    // Where the caret was when the text box lost the focus to the list.
    const std::wstring w(inserted.begin(), inserted.end());
    SendMessageW(item(kTextBox), EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(w.c_str()));
    SetFocus(item(kTextBox));
  }

  const char16_t* whenEmpty_;
  Text* name_;
  bool nameEditable_;
  Text& text_;
  const FieldCatalogue& fields_;
  std::vector<Text> formulaNames_;  // as the formulas list shows them
  std::optional<formula::FormulaError> mistake_;
};

}  // namespace

bool editCondition(HWND owner, const Text& caption, Text& text, const FieldCatalogue& fields) {
  return answered([&] {
    Text answer = text;
    const std::wstring title(caption.begin(), caption.end());
    if (!FormulaDialog(title, nullptr, false, answer, fields, u"No condition.").run(owner)) return false;
    text = std::move(answer);
    return true;
  });
}

bool editTitle(HWND owner, Text& title) {
  return answered([&] {
    Text answer = title;
    if (!TitleDialog(answer).run(owner)) return false;
    title = std::move(answer);
    return true;
  });
}

bool editFormula(HWND owner, Text& name, bool nameEditable, Text& text, const FieldCatalogue& fields) {
  return answered([&] {
    Text newName = name, newText = text;
    if (!FormulaDialog(L"Formula Editor", &newName, nameEditable, newText, fields).run(owner)) return false;
    name = std::move(newName);
    text = std::move(newText);
    return true;
  });
}

bool editRecordFilter(HWND owner, Text& filter, const FieldCatalogue& fields) {
  return answered([&] {
    Text answer = filter;
    if (!FormulaDialog(L"Record Filter", nullptr, false, answer, fields).run(owner)) return false;
    filter = std::move(answer);
    return true;
  });
}

}  // namespace mervane::authoring::win
