#include "authoring/win/details_form.h"

#include <commctrl.h>

#include "authoring/details_rules.h"
#include "base/win/com.h"

namespace mervane::win {

namespace {

// Client area 5700 x 1380 twips. The boxes and buttons take the focus in
// the order they are made: file name, title, OK, Cancel.
const ControlLayout kLayout[] = {
    {WC_STATICW, L"Filename", DetailsForm::kFileNameLabel, 120, 120, 630, 195, SS_LEFT | SS_NOPREFIX},
    {WC_EDITW, L"", DetailsForm::kFileNameBox, 960, 120, 4575, 285, WS_TABSTOP | ES_AUTOHSCROLL},
    {WC_STATICW, L"Title", DetailsForm::kTitleLabel, 120, 480, 300, 195, SS_LEFT | SS_NOPREFIX},
    {WC_EDITW, L"", DetailsForm::kTitleBox, 960, 480, 4575, 285, WS_TABSTOP | ES_AUTOHSCROLL},
    {WC_BUTTONW, L"OK", DetailsForm::kOk, 3480, 840, 975, 375, WS_TABSTOP | BS_DEFPUSHBUTTON},
    {WC_BUTTONW, L"Cancel", DetailsForm::kCancel, 4560, 840, 975, 375, WS_TABSTOP | BS_PUSHBUTTON},
};

}  // namespace

DetailsForm::DetailsForm(FileSystem& files) : Form(toWide(details::kCaption), 5700, 1380), files_(files) {
  keepDialogFocus(kFileNameBox, kOk);
}

void DetailsForm::onLoad() {
  okSelected_ = false;
  addControls(kLayout);
  for (int id : {kFileNameBox, kTitleBox}) {
    HWND box = control(id);
    if (!box) continue;
    // The sunken border of a text box, and no limit on the length of its text.
    SetWindowLongPtrW(box, GWL_EXSTYLE, GetWindowLongPtrW(box, GWL_EXSTYLE) | WS_EX_CLIENTEDGE);
    SetWindowPos(box, nullptr, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_FRAMECHANGED);
    SendMessageW(box, EM_SETLIMITTEXT, 0, 0);
  }
}

void DetailsForm::setTitle(const Text& title) { setText(kTitleBox, toWide(title)); }

void DetailsForm::disableTitle() {
  HWND box = control(kTitleBox);
  if (!box) return;
  EnableWindow(box, FALSE);
  SetWindowLongPtrW(box, GWL_STYLE, GetWindowLongPtrW(box, GWL_STYLE) & ~static_cast<LONG_PTR>(WS_TABSTOP));
}

Text DetailsForm::fileName() { return fromWide(text(kFileNameBox)); }

Text DetailsForm::title() { return fromWide(text(kTitleBox)); }

void DetailsForm::onCommand(int id, int code) {
  if ((id == kFileNameBox || id == kTitleBox) && code == EN_SETFOCUS) {
    // Typing replaces the whole text.
    SendMessageW(control(id), EM_SETSEL, 0, -1);
  } else if (id == kOk && code == BN_CLICKED) {
    pressOk();
  } else if (id == kCancel && code == BN_CLICKED) {
    okSelected_ = false;
    hide();
  }
}

void DetailsForm::pressOk() {
  const Text typed = fileName();
  const details::OkOutcome outcome = details::pressOk(typed, repType_, repPath_, files_);
  // An appended extension stays in the box, whether or not OK goes through.
  if (outcome.fileName != typed) setText(kFileNameBox, toWide(outcome.fileName));
  if (outcome.message) {
    showMessage(*outcome.message);
    if (outcome.focusFileName) focusAndSelect(kFileNameBox);
    return;
  }
  okSelected_ = true;
  hide();
}

void DetailsForm::focusAndSelect(int id) {
  HWND box = control(id);
  if (!box) return;
  SetFocus(box);
  // Already focused boxes get no EN_SETFOCUS: select here as well.
  SendMessageW(box, EM_SETSEL, 0, -1);
}

void DetailsForm::showMessage(const Text& text) {
  MessageBoxW(hwnd(), toWide(text).c_str(), toWide(appName_).c_str(), MB_OK | MB_ICONEXCLAMATION);
}

}  // namespace mervane::win
