#include "catalogue/win/calculating_form.h"

#include <commctrl.h>

namespace mervane::win {

namespace {
const ControlLayout kLayout[] = {
    {WC_STATICW, L"Report 1 of 1", CalculatingForm::kLabel1, 120, 120, 960, 195, SS_LEFTNOWORDWRAP | SS_NOPREFIX},
    {PROGRESS_CLASSW, L"", CalculatingForm::kProgressBar2, 120, 360, 4455, 255, 0},
};
}  // namespace

CalculatingForm::CalculatingForm() : Form(L"Reading Reports...", 4680, 750) {
  windowStyle_ = WS_POPUP | WS_CAPTION;
}

void CalculatingForm::onLoad() {
  addControls(kLayout);
  SendMessageW(control(kProgressBar2), PBM_SETRANGE32, 0, 100);
}

void CalculatingForm::setMaximum(std::int32_t maximum) {
  SendMessageW(control(kProgressBar2), PBM_SETRANGE32, 0, maximum);
}

void CalculatingForm::setValue(std::int32_t value) { SendMessageW(control(kProgressBar2), PBM_SETPOS, value, 0); }

std::int32_t CalculatingForm::value() {
  return static_cast<std::int32_t>(SendMessageW(control(kProgressBar2), PBM_GETPOS, 0, 0));
}

void CalculatingForm::setLabel(const Text& text) { setText(kLabel1, std::wstring(text.begin(), text.end())); }

void CalculatingForm::close() { hide(); }

}  // namespace mervane::win
