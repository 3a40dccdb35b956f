#include "catalogue/win/calculating_form.h"

#include <commctrl.h>

namespace mervane::win {

namespace {

const ControlLayout kLayout[] = {
    {WC_STATICW, L"Report 1 of 1", CalculatingForm::kLabel1, 120, 120, 960, 195, SS_LEFTNOWORDWRAP | SS_NOPREFIX},
    {PROGRESS_CLASSW, L"", CalculatingForm::kProgressBar2, 120, 360, 4455, 255, 0},
};

constexpr std::uint64_t kPaintIntervalMs = 40;

void setRedraw(HWND control, bool on) { SendMessageW(control, WM_SETREDRAW, on ? TRUE : FALSE, 0); }

}  // namespace

CalculatingForm::CalculatingForm() : Form(L"Reading Reports...", 4680, 750) {
  windowStyle_ = WS_POPUP | WS_CAPTION;
}

void CalculatingForm::onLoad() {
  addControls(kLayout);
  SendMessageW(control(kProgressBar2), PBM_SETRANGE32, 0, 100);
}

void CalculatingForm::show() {
  showModeless();
  paintIfDue(true);
}

void CalculatingForm::setMaximum(std::int32_t maximum) {
  setRedraw(control(kProgressBar2), false);
  SendMessageW(control(kProgressBar2), PBM_SETRANGE32, 0, maximum);
  paintIfDue();
}

void CalculatingForm::setValue(std::int32_t value) {
  setRedraw(control(kProgressBar2), false);
  SendMessageW(control(kProgressBar2), PBM_SETPOS, value, 0);
  paintIfDue();
}

std::int32_t CalculatingForm::value() {
  return static_cast<std::int32_t>(SendMessageW(control(kProgressBar2), PBM_GETPOS, 0, 0));
}

void CalculatingForm::setLabel(const Text& text) {
  setRedraw(control(kLabel1), false);
  setText(kLabel1, std::wstring(text.begin(), text.end()));
  paintIfDue();
}

// Lets the controls paint what they now hold, if the last paint is old
// enough; until then their changes are kept without drawing.
void CalculatingForm::paintIfDue(bool now) {
  std::uint64_t tick = GetTickCount64();
  if (!now && tick - lastPaint_ < kPaintIntervalMs) return;
  lastPaint_ = tick;
  for (int id : {kLabel1, kProgressBar2}) {
    HWND h = control(id);
    setRedraw(h, true);
    InvalidateRect(h, nullptr, TRUE);
  }
}

void CalculatingForm::close() { hide(); }

}  // namespace mervane::win
