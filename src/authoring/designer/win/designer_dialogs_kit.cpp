// The designer dialogs' base, field lists and page measures.
//
// Each dialog starts from an in-memory template that holds only the window
// (caption and font); its controls are made from the dialog's layout table
// when the dialog initialises, in twips like every form of the library
// (base/win/form.h places them), and
// the system's dialog manager gives the keyboard handling of any dialog.
#include "authoring/designer/win/designer_dialogs_kit.h"

#include <commctrl.h>

#include <algorithm>
#include <cwchar>

#include "base/win/wide.h"
#include "engine/formula/formula.h"

namespace mervane::authoring::win {

namespace {

using mervane::win::fromWide;
using mervane::win::toWide;

using mervane::win::thisModule;

// A DLGTEMPLATE with no controls: style, caption, and the dialog font
// (MS Shell Dlg 8 pt, Tahoma on every system we run on). Kept in WORDs so
// that it is suitably aligned.
static_assert(sizeof(DLGTEMPLATE) == 18, "the template is WORD-packed on every target");
std::vector<WORD> dialogTemplate(const std::wstring& caption) {
  std::vector<WORD> words(sizeof(DLGTEMPLATE) / sizeof(WORD), 0);
  auto* head = reinterpret_cast<DLGTEMPLATE*>(words.data());
  head->style = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_SETFONT;
  head->cdit = 0;
  words.push_back(0);  // no menu
  words.push_back(0);  // the standard dialog class
  for (wchar_t c : caption) words.push_back(static_cast<WORD>(c));
  words.push_back(0);
  words.push_back(8);  // points
  for (wchar_t c : std::wstring(L"MS Shell Dlg")) words.push_back(static_cast<WORD>(c));
  words.push_back(0);
  return words;
}

}  // namespace

// ---------------------------------------------------------------------------
// ModalDialog

ModalDialog::ModalDialog(std::wstring caption, int widthTwips, int heightTwips)
    : caption_(std::move(caption)), width_(widthTwips), height_(heightTwips) {}

bool ModalDialog::run(HWND owner) {
  static const bool controlsReady = [] {
    INITCOMMONCONTROLSEX icc = {sizeof(icc), ICC_STANDARD_CLASSES | ICC_WIN95_CLASSES};
    return InitCommonControlsEx(&icc) != FALSE;
  }();
  (void)controlsReady;
  owner_ = owner;
  std::vector<WORD> words = dialogTemplate(caption_);
  INT_PTR result = DialogBoxIndirectParamW(thisModule(), reinterpret_cast<LPCDLGTEMPLATEW>(words.data()), owner,
                                           &ModalDialog::procedure, reinterpret_cast<LPARAM>(this));
  hwnd_ = nullptr;
  return result == IDOK;
}

INT_PTR CALLBACK ModalDialog::procedure(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_INITDIALOG) {
    SetWindowLongPtrW(hwnd, DWLP_USER, lParam);
    reinterpret_cast<ModalDialog*>(lParam)->hwnd_ = hwnd;
  }
  auto* dialog = reinterpret_cast<ModalDialog*>(GetWindowLongPtrW(hwnd, DWLP_USER));
  if (!dialog) return FALSE;
  try {
    return dialog->handle(message, wParam, lParam);
  } catch (...) {
    // A handler's failure closes the dialog as a Cancel would: nothing changes.
    EndDialog(hwnd, IDCANCEL);
    return TRUE;
  }
}

INT_PTR ModalDialog::handle(UINT message, WPARAM wParam, LPARAM) {
  switch (message) {
    case WM_INITDIALOG:
      initialise();
      return FALSE;  // the focus is set already
    case WM_COMMAND: {
      const int id = LOWORD(wParam), code = HIWORD(wParam);
      if (id == IDOK && code == BN_CLICKED) {
        // Enter reaches here even while OK is disabled.
        if (!IsWindowEnabled(item(IDOK))) onOkRefused();
        else if (onOk()) EndDialog(hwnd_, IDOK);
      } else if (id == IDCANCEL && code == BN_CLICKED) {
        EndDialog(hwnd_, IDCANCEL);
      } else {
        onCommand(id, code);
      }
      return TRUE;
    }
    default:
      return FALSE;
  }
}

void ModalDialog::initialise() {
  const auto font = reinterpret_cast<HFONT>(SendMessageW(hwnd_, WM_GETFONT, 0, 0));
  for (const ControlLayout& c : layout()) {
    DWORD exStyle = 0;
    if (c.windowClass == std::wstring_view(WC_EDITW) || c.windowClass == std::wstring_view(WC_LISTBOXW)) {
      exStyle = WS_EX_CLIENTEDGE;
    }
    mervane::win::createControl(hwnd_, c, font, exStyle);
  }
  // The client area in twips, centred over the owner (or the screen).
  const int dpi = mervane::win::dpiOf(hwnd_);
  RECT frame = {0, 0, mervane::win::twipsToPixels(width_, dpi), mervane::win::twipsToPixels(height_, dpi)};
  AdjustWindowRectEx(&frame, static_cast<DWORD>(GetWindowLongPtrW(hwnd_, GWL_STYLE)), FALSE,
                     static_cast<DWORD>(GetWindowLongPtrW(hwnd_, GWL_EXSTYLE)));
  const int width = frame.right - frame.left, height = frame.bottom - frame.top;
  RECT over = {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
  if (owner_ && IsWindowVisible(owner_)) GetWindowRect(owner_, &over);
  int x = over.left + (over.right - over.left - width) / 2, y = over.top + (over.bottom - over.top - height) / 2;
  x = std::max(0, std::min(x, GetSystemMetrics(SM_CXSCREEN) - width));
  y = std::max(0, std::min(y, GetSystemMetrics(SM_CYSCREEN) - height));
  SetWindowPos(hwnd_, nullptr, x, y, width, height, SWP_NOZORDER | SWP_NOACTIVATE);

  onInit();
  HWND first = firstFocus() ? item(firstFocus()) : GetNextDlgTabItem(hwnd_, nullptr, FALSE);
  if (!first) return;
  SendMessageW(hwnd_, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(first), TRUE);
  // A box of many lines is for going on writing: the caret at the end, not
  // all of it selected to be typed over.
  if (GetWindowLongPtrW(first, GWL_STYLE) & ES_MULTILINE) {
    const auto end = static_cast<WPARAM>(GetWindowTextLengthW(first));
    SendMessageW(first, EM_SETSEL, end, static_cast<LPARAM>(end));
  }
}

void ModalDialog::setText(int id, TextView text) { SetWindowTextW(item(id), toWide(text).c_str()); }

Text ModalDialog::text(int id) const {
  HWND control = item(id);
  const int length = GetWindowTextLengthW(control);
  std::wstring out(static_cast<size_t>(length) + 1, L'\0');
  out.resize(static_cast<size_t>(GetWindowTextW(control, out.data(), length + 1)));
  return fromWide(out);
}

void ModalDialog::enable(int id, bool enabled) {
  HWND control = item(id);
  // A control losing its power while it has the focus hands the focus on.
  if (!enabled && GetFocus() == control) SendMessageW(hwnd_, WM_NEXTDLGCTL, 0, FALSE);
  EnableWindow(control, enabled ? TRUE : FALSE);
}

void ModalDialog::setChecked(int id, bool checked) {
  SendMessageW(item(id), BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED, 0);
}
bool ModalDialog::isChecked(int id) const { return SendMessageW(item(id), BM_GETCHECK, 0, 0) == BST_CHECKED; }

bool ModalDialog::isCombo(int id) const {
  wchar_t name[32] = {};
  GetClassNameW(item(id), name, 32);
  return _wcsicmp(name, WC_COMBOBOXW) == 0;
}

void ModalDialog::clearItems(int id) { SendMessageW(item(id), isCombo(id) ? CB_RESETCONTENT : LB_RESETCONTENT, 0, 0); }

int ModalDialog::addItem(int id, TextView text) {
  const std::wstring w = toWide(text);
  return static_cast<int>(
      SendMessageW(item(id), isCombo(id) ? CB_ADDSTRING : LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(w.c_str())));
}

int ModalDialog::itemCount(int id) const {
  return static_cast<int>(SendMessageW(item(id), isCombo(id) ? CB_GETCOUNT : LB_GETCOUNT, 0, 0));
}

int ModalDialog::selected(int id) const {
  const LRESULT index = SendMessageW(item(id), isCombo(id) ? CB_GETCURSEL : LB_GETCURSEL, 0, 0);
  return index < 0 ? -1 : static_cast<int>(index);
}

Text ModalDialog::itemText(int id, int index) const {
  const bool combo = isCombo(id);
  const LRESULT length = SendMessageW(item(id), combo ? CB_GETLBTEXTLEN : LB_GETTEXTLEN, static_cast<WPARAM>(index), 0);
  if (length < 0) return Text();
  std::wstring text(static_cast<std::size_t>(length) + 1, L'\0');
  const LRESULT got = SendMessageW(item(id), combo ? CB_GETLBTEXT : LB_GETTEXT, static_cast<WPARAM>(index),
                                   reinterpret_cast<LPARAM>(text.data()));
  text.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
  return fromWide(text);
}

void ModalDialog::select(int id, int index) {
  SendMessageW(item(id), isCombo(id) ? CB_SETCURSEL : LB_SETCURSEL, static_cast<WPARAM>(index), 0);
}

void ModalDialog::focus(int id) {
  if (HWND control = item(id)) SendMessageW(hwnd_, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control), TRUE);
}

void ModalDialog::refuse(int focusId, TextView message) {
  MessageBoxW(hwnd_, toWide(message).c_str(), caption_.c_str(), MB_OK | MB_ICONEXCLAMATION);
  focus(focusId);
}

Text withMnemonic(TextView label, Text& taken) {
  const auto lower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c; };
  const auto isLetter = [&](char16_t c) { return lower(c) >= u'a' && lower(c) <= u'z'; };
  const auto free = [&](std::size_t i) { return isLetter(label[i]) && taken.find(lower(label[i])) == Text::npos; };
  std::optional<std::size_t> at;
  for (std::size_t i = 0; i < label.size() && !at; ++i)
    if ((i == 0 || label[i - 1] == u' ') && free(i)) at = i;
  for (std::size_t i = 0; i < label.size() && !at; ++i)
    if (free(i)) at = i;
  if (!at) return Text(label);
  taken += lower(label[*at]);
  return Text(label.substr(0, *at)) + u'&' + Text(label.substr(*at));
}

// ---------------------------------------------------------------------------
// Field lists

Text shownField(const model::FieldRef& field) {
  if (field.isFormula()) return engine::formula::formulaReference(field.column);
  return engine::formula::fieldReference(field.table, field.column);
}

std::vector<FieldChoice> fieldChoices(const FieldCatalogue& fields, bool withFormulas) {
  std::vector<FieldChoice> choices;
  for (const FieldCatalogue::TableColumns& table : fields.tables) {
    for (const Text& column : table.columns) {
      model::FieldRef field;
      field.table = table.table;
      field.column = column;
      choices.push_back({field, shownField(field)});
    }
  }
  if (withFormulas) {
    for (const Text& name : fields.formulas) {
      model::FieldRef field;
      field.column = name;
      choices.push_back({field, shownField(field)});
    }
  }
  return choices;
}

int choiceIndex(std::vector<FieldChoice>& choices, const model::FieldRef& field) {
  if (field.table.empty() && field.column.empty()) return -1;
  for (std::size_t i = 0; i < choices.size(); ++i) {
    if (choices[i].field.table == field.table && choices[i].field.column == field.column) return static_cast<int>(i);
  }
  choices.push_back({field, shownField(field)});
  return static_cast<int>(choices.size() - 1);
}

// ---------------------------------------------------------------------------
// Page measures

namespace {

constexpr std::int64_t kMaxTwips = 1'000'000;

// Twips in `units` / 10^`decimals` of the unit, rounded half away from zero.
std::int64_t toTwips(std::int64_t units, int decimals, MeasureUnit unit) {
  std::int64_t scale = 1;
  for (int i = 0; i < decimals; ++i) scale *= 10;
  // An inch is 1440 twips; a centimetre 1440 / 2.54 = 72000 / 127 twips.
  const std::int64_t numerator = unit == MeasureUnit::Inches ? 1440 : 72000;
  const std::int64_t denominator = (unit == MeasureUnit::Inches ? 1 : 127) * scale;
  return (units * numerator * 2 + denominator) / (denominator * 2);
}

}  // namespace

std::optional<std::int32_t> parseMeasure(TextView text, MeasureUnit unit) {
  std::size_t at = 0, end = text.size();
  while (at < end && (text[at] == u' ' || text[at] == u'\t')) ++at;
  while (end > at && (text[end - 1] == u' ' || text[end - 1] == u'\t')) --end;
  std::int64_t units = 0;
  int digits = 0, decimals = 0;
  bool separator = false;
  for (; at < end; ++at) {
    const char16_t c = text[at];
    if (c == u'.' || c == u',') {
      if (separator) return std::nullopt;
      separator = true;
    } else if (c >= u'0' && c <= u'9') {
      if (separator && decimals == 6) continue;  // past a millionth nothing counts
      units = units * 10 + (c - u'0');
      if (units > 1'000'000'000'000) return std::nullopt;
      ++digits;
      if (separator) ++decimals;
    } else {
      return std::nullopt;
    }
  }
  if (digits == 0) return std::nullopt;
  const std::int64_t twips = toTwips(units, decimals, unit);
  if (twips > kMaxTwips) return std::nullopt;
  return static_cast<std::int32_t>(twips);
}

Text formatMeasure(std::int32_t twips, MeasureUnit unit, char16_t decimalSeparator) {
  if (twips < 0) twips = 0;
  // 1/1000 cm and 1/10000 inch are finer than a twip, so four decimals
  // always suffice; fewer are shown when they give the same twips.
  for (int decimals = 0; decimals <= 4; ++decimals) {
    std::int64_t scale = 1;
    for (int i = 0; i < decimals; ++i) scale *= 10;
    // The unit count nearest to `twips`, in 1/scale of the unit.
    const std::int64_t numerator = static_cast<std::int64_t>(twips) * scale * (unit == MeasureUnit::Inches ? 1 : 127);
    const std::int64_t denominator = unit == MeasureUnit::Inches ? 1440 : 72000;
    const std::int64_t units = (numerator * 2 + denominator) / (denominator * 2);
    if (toTwips(units, decimals, unit) != twips && decimals < 4) continue;
    Text whole = decimal(units / scale);
    if (decimals == 0) return whole;
    Text fraction = decimal(units % scale + scale).substr(1);
    while (!fraction.empty() && fraction.back() == u'0') fraction.pop_back();
    return fraction.empty() ? whole : whole + decimalSeparator + fraction;
  }
  return decimal(twips);
}

MeasureUnit userMeasureUnit() {
  wchar_t system[4] = {};
  if (GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_IMEASURE, system, 4) > 0 && system[0] == L'1') {
    return MeasureUnit::Inches;
  }
  return MeasureUnit::Centimetres;
}

char16_t userDecimalSeparator() {
  wchar_t separator[4] = {};
  if (GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDECIMAL, separator, 4) > 0 &&
      (separator[0] == L',' || separator[0] == L'.')) {
    return static_cast<char16_t>(separator[0]);
  }
  return u'.';
}

}  // namespace mervane::authoring::win
