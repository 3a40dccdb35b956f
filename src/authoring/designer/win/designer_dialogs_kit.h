// What the designer's dialogs share: a modal dialog laid out from a table of
// controls in twips, with the keyboard of a Windows dialog (Enter presses
// OK, Esc and the close button cancel, Tab and the labels' mnemonics move
// the focus), the field lists every dialog offers, and page measures shown
// in centimetres or inches and converted to twips exactly.
#pragma once

#include <windows.h>

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "authoring/designer/win/designer_dialogs.h"
#include "base/win/form.h"

namespace mervane::authoring::win {

using mervane::win::ControlLayout;

// A modal dialog of the designer. A derived dialog gives its caption, its
// client size and its controls (in the order Tab visits them, each label
// just before the box its mnemonic leads to), fills them in onInit() and
// reads them back in onOk(), which may refuse and keep the dialog open.
// The caller's objects change only after run() returns true.
class ModalDialog {
 public:
  ModalDialog(std::wstring caption, int widthTwips, int heightTwips);
  virtual ~ModalDialog() = default;
  ModalDialog(const ModalDialog&) = delete;
  ModalDialog& operator=(const ModalDialog&) = delete;

  // Shows the dialog over `owner` (disabled meanwhile); true for OK.
  bool run(HWND owner);

 protected:
  virtual std::vector<ControlLayout> layout() const = 0;
  virtual void onInit() {}
  // The control that has the focus first; 0: the first one Tab reaches.
  virtual int firstFocus() const { return 0; }
  virtual bool onOk() { return true; }
  // Enter while OK is disabled.
  virtual void onOkRefused() {}
  virtual void onCommand(int /*id*/, int /*code*/) {}

  HWND hwnd() const { return hwnd_; }
  HWND item(int id) const { return GetDlgItem(hwnd_, id); }

  void setText(int id, TextView text);
  Text text(int id) const;
  void enable(int id, bool enabled);
  void setChecked(int id, bool checked);
  bool isChecked(int id) const;
  // Lists and combo boxes alike.
  void clearItems(int id);
  int addItem(int id, TextView text);
  int itemCount(int id) const;
  int selected(int id) const;  // -1: none
  Text itemText(int id, int index) const;
  void select(int id, int index);
  // Says what is wrong in a message box, then puts the focus on `focusId`
  // (selecting a box's text).
  void refuse(int focusId, TextView message);
  void focus(int id);

 private:
  static INT_PTR CALLBACK procedure(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
  INT_PTR handle(UINT message, WPARAM wParam, LPARAM lParam);
  void initialise();
  bool isCombo(int id) const;

  std::wstring caption_;
  int width_, height_;
  HWND hwnd_ = nullptr;
  HWND owner_ = nullptr;
};

// A label made at run time (a condition's name, say) with an underlined
// letter none of `taken` has: the first letter of a word if one is free,
// else any letter of it. The letter chosen is added to `taken` (lower
// case); a label with no free letter is left as it is.
Text withMnemonic(TextView label, Text& taken);

// Runs a dialog function's body so that no exception leaves it: a failure
// answers as Cancel does, and the caller's objects stay as they were.
template <class Body>
bool answered(Body body) {
  try {
    return body();
  } catch (...) {
    return false;
  }
}

// The fields a dialog offers, as the formula language writes them:
// {Table.Column} for the tables' columns, {@Name} for formulas.
struct FieldChoice {
  model::FieldRef field;
  Text shown;
};
std::vector<FieldChoice> fieldChoices(const FieldCatalogue& fields, bool withFormulas);
Text shownField(const model::FieldRef& field);
// The index of `field` among `choices`, added at the end when it is not
// there (a field the catalogue no longer lists is kept, not lost); -1 for
// an empty field.
int choiceIndex(std::vector<FieldChoice>& choices, const model::FieldRef& field);

// Page measures. Every length is held in twips; a box shows it in the
// chosen unit with as few decimals as give back exactly the same twips.
enum class MeasureUnit { Centimetres, Inches };
// Decimal text (either '.' or ',' before the decimals, blanks around) to
// twips, rounded to the nearest twip; nothing for anything else, for a
// negative length and for more than 1,000,000 twips.
std::optional<std::int32_t> parseMeasure(TextView text, MeasureUnit unit);
Text formatMeasure(std::int32_t twips, MeasureUnit unit, char16_t decimalSeparator = u'.');
// The user's measurement system: centimetres unless the locale says inches.
MeasureUnit userMeasureUnit();
char16_t userDecimalSeparator();

}  // namespace mervane::authoring::win
