#include "catalogue/win/calculating_form.h"

#include <commctrl.h>

#include "base/win/wide.h"

namespace mervane::win {

namespace {

const ControlLayout kLayout[] = {
    {WC_STATICW, L"Report 1 of 1", CalculatingForm::kLabel1, 120, 120, 960, 195, SS_LEFTNOWORDWRAP | SS_NOPREFIX},
    {PROGRESS_CLASSW, L"", CalculatingForm::kProgressBar2, 120, 360, 4455, 255, 0},
};

constexpr std::uint64_t kRefreshIntervalMs = 40;
constexpr UINT_PTR kRefreshTimer = 1;

}  // namespace

CalculatingForm::CalculatingForm() : Form(L"Reading Reports...", 4680, 750) {
  windowStyle_ = WS_POPUP | WS_CAPTION;
}

void CalculatingForm::onLoad() {
  addControls(kLayout);
  SendMessageW(control(kProgressBar2), PBM_SETRANGE32, 0, maximum_);
}

void CalculatingForm::show() {
  showModeless();
  refresh(true);
}

void CalculatingForm::setMaximum(std::int32_t maximum) {
  maximum_ = maximum;
  refresh();
}

void CalculatingForm::setValue(std::int32_t value) {
  value_ = value;
  refresh();
}

std::int32_t CalculatingForm::value() { return value_; }

void CalculatingForm::setLabel(const Text& text) {
  label_ = text;
  refresh();
}

// Hands the latest values to the controls when the last refresh is old
// enough (or now); the controls repaint themselves from there.
void CalculatingForm::refresh(bool now) {
  std::uint64_t tick = GetTickCount64();
  if (!now && tick - lastRefresh_ < kRefreshIntervalMs) {
    if (!refreshPending_ && hwnd()) refreshPending_ = SetTimer(hwnd(), kRefreshTimer, kRefreshIntervalMs, nullptr) != 0;
    return;
  }
  lastRefresh_ = tick;
  HWND bar = control(kProgressBar2);
  if (maximum_ != shownMaximum_) SendMessageW(bar, PBM_SETRANGE32, 0, shownMaximum_ = maximum_);
  if (value_ != shownValue_) SendMessageW(bar, PBM_SETPOS, shownValue_ = value_, 0);
  if (label_ != shownLabel_) {
    shownLabel_ = label_;
    setText(kLabel1, toWide(label_));
  }
}

LRESULT CalculatingForm::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_TIMER && wParam == kRefreshTimer) {
    KillTimer(hwnd(), kRefreshTimer);
    refreshPending_ = false;
    refresh(true);
    return 0;
  }
  return Form::onMessage(message, wParam, lParam);
}

void CalculatingForm::close() {
  refresh(true);
  hide();
}

}  // namespace mervane::win
