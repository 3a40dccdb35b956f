#include "maintenance/export_import/win/archive_form.h"

#include <commctrl.h>

#include <algorithm>

#include "base/attempt.h"
#include "base/win/wide.h"
#include "maintenance/export_import/win/archive_dialogs.h"

namespace mervane::win {

namespace {

constexpr int label(int index) { return ArchiveForm::kLabel1 + index; }
constexpr int frame(int index) { return ArchiveForm::kFrame1 + index; }

constexpr DWORD kLabel = SS_LEFTNOWORDWRAP | SS_NOPREFIX;

// Places in twips; inside a frame they are relative to the frame.
const ControlLayout kLayout[] = {
    {WC_BUTTONW, L"Totals", frame(0), 120, 120, 4935, 1695, BS_GROUPBOX},
    {WC_STATICW, L"Total Files", label(4), 120, 360, 720, 195, kLabel, frame(0)},
    {WC_STATICW, L"", label(6), 1440, 360, 720, 195, kLabel, frame(0)},
    {WC_STATICW, L"Total Bytes", label(5), 120, 600, 810, 195, kLabel, frame(0)},
    {WC_STATICW, L"", label(7), 1440, 600, 810, 195, kLabel, frame(0)},
    {WC_STATICW, L"Processed Files", label(8), 120, 840, 1095, 195, kLabel, frame(0)},
    {WC_STATICW, L"", label(9), 1440, 840, 1095, 195, kLabel, frame(0)},
    {WC_STATICW, L"Processed Bytes", label(10), 120, 1080, 1185, 195, kLabel, frame(0)},
    {WC_STATICW, L"", label(11), 1440, 1080, 1185, 195, kLabel, frame(0)},
    {WC_STATICW, L"Disk", label(2), 120, 1320, 285, 195, kLabel, frame(0)},
    {WC_STATICW, L"1", label(3), 1440, 1320, 90, 195, kLabel, frame(0)},
    {WC_BUTTONW, L"Current File", frame(1), 120, 1920, 4935, 1815, BS_GROUPBOX},
    {WC_STATICW, L"Processing", label(0), 120, 360, 765, 195, kLabel, frame(1)},
    {WC_STATICW, L"", label(1), 1440, 360, 3375, 195, kLabel, frame(1)},
    {WC_STATICW, L"Original Size", label(12), 120, 600, 870, 195, kLabel, frame(1)},
    {WC_STATICW, L"", label(13), 1440, 600, 870, 195, kLabel, frame(1)},
    {WC_STATICW, L"Bytes Read", label(14), 120, 840, 825, 195, kLabel, frame(1)},
    {WC_STATICW, L"", label(15), 1440, 840, 825, 195, kLabel, frame(1)},
    {WC_STATICW, L"% Done", label(16), 120, 1080, 585, 195, kLabel, frame(1)},
    {WC_STATICW, L"", label(17), 1440, 1080, 585, 195, kLabel, frame(1)},
    {PROGRESS_CLASSW, L"", ArchiveForm::kProgressBar1, 120, 1440, 4695, 240, 0, frame(1)},
};

// The value labels that size themselves to their text (all but the current file's).
constexpr int kSizedLabels[] = {3, 6, 7, 9, 11, 13, 15, 17};

constexpr std::uint64_t kPaintIntervalMs = 40;

constexpr UINT kRunMessage = WM_APP + 1;

void setRedraw(HWND control, bool on) { SendMessageW(control, WM_SETREDRAW, on ? TRUE : FALSE, 0); }

}  // namespace

ArchiveForm::ArchiveForm() : Form(L"Processing", 5160, 3855) {}

ArchiveForm::~ArchiveForm() {
  if (measuring_) {
    SelectObject(measuring_, previousFont_);
    DeleteDC(measuring_);
  }
}

void ArchiveForm::onLoad() {
  addControls(kLayout);
  for (std::size_t index = 0; index < labels_.size(); ++index)
    labels_[index] = control(label(static_cast<int>(index)));
  bar_ = control(kProgressBar1);
  SendMessageW(bar_, PBM_SETRANGE32, 0, 100);
  measuring_ = CreateCompatibleDC(nullptr);
  if (measuring_) previousFont_ = SelectObject(measuring_, font());
  for (int index : kSizedLabels)
    if (HWND h = labels_[index]) sizeToText(h, text(label(index)));
}

Text ArchiveForm::personalFolder() { return win::personalFolder(hwnd()); }

std::optional<Text> ArchiveForm::showSaveDialog(const FileDialogSettings& settings) {
  return saveFileDialog(hwnd(), settings);
}

std::optional<Text> ArchiveForm::showOpenDialog(const FileDialogSettings& settings) {
  return openFileDialog(hwnd(), settings);
}

void ArchiveForm::setProgressBar(std::int32_t value) {
  SendMessageW(bar_, PBM_SETPOS, static_cast<WPARAM>(value), 0);
}

bool ArchiveForm::onRemovableDrive(const Text& path) { return win::onRemovableDrive(path); }

// Shown under the hourglass, which stays over the window until the run ends.
// The run is the first message the modal loop takes, once the window shows.
void ArchiveForm::showModal() {
  WaitCursor wait;
  busy_ = true;
  if (!ran_) PostMessageW(hwnd(), kRunMessage, 0, 0);
  Form::showModal();
  busy_ = false;
}

void ArchiveForm::run() {
  if (ran_) return;
  ran_ = true;
  attempt([] { win::processMessages(); });
  if (import_)
    attempt([&] { extractArchive(unzip_.archivePath, unzip_.targetFolder, progress_); });
  else
    attempt([&] { writeArchive(zip_.archivePath, zip_.fileList, progress_); });
  paintIfDue(true);
  hide();
}

LRESULT ArchiveForm::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == kRunMessage) {
    run();
    return 0;
  }
  if (message == WM_SETCURSOR && busy_ && LOWORD(lParam) == HTCLIENT) {
    SetCursor(LoadCursorW(nullptr, IDC_WAIT));
    return TRUE;
  }
  return Form::onMessage(message, wParam, lParam);
}

// ---- What the events show ----------------------------------------------------

void ArchiveForm::setValue(ValueLabel which, const Text& value) {
  HWND h = labels_.at(static_cast<std::size_t>(which));
  if (!h) return;
  const std::wstring shown = toWide(value);
  setRedraw(h, false);
  SetWindowTextW(h, shown.c_str());
  if (which != ValueLabel::currentFile) sizeToText(h, shown);
  changed(h);
}

int ArchiveForm::toTwips(int pixels) const {
  const int dpi = measuring_ ? GetDeviceCaps(measuring_, LOGPIXELSX) : 96;
  return MulDiv(pixels, 1440, dpi > 0 ? dpi : 96);
}

int ArchiveForm::currentFileWidth() {
  RECT r{};
  GetWindowRect(labels_[1], &r);
  return toTwips(r.right - r.left);
}

int ArchiveForm::textWidth(const Text& text) {
  SIZE size{};
  if (measuring_) GetTextExtentPoint32W(measuring_, toWide(text).c_str(), static_cast<int>(text.size()), &size);
  return toTwips(size.cx);
}

// A label sized to its text keeps its height; when it shrinks, the strip it
// no longer covers is repainted with the next paint.
void ArchiveForm::sizeToText(HWND h, const std::wstring& text) {
  SIZE size{};
  if (measuring_ && !text.empty())
    GetTextExtentPoint32W(measuring_, text.c_str(), static_cast<int>(text.size()), &size);
  RECT r{};
  GetWindowRect(h, &r);
  if (size.cx == r.right - r.left) return;
  if (size.cx < r.right - r.left) {
    MapWindowPoints(nullptr, hwnd(), reinterpret_cast<POINT*>(&r), 2);
    UnionRect(&uncovered_, &uncovered_, &r);
  }
  SetWindowPos(h, nullptr, 0, 0, size.cx, r.bottom - r.top,
               SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOREDRAW);
}

void ArchiveForm::setBar(std::int32_t percent) {
  setRedraw(bar_, false);
  SendMessageW(bar_, PBM_SETPOS, static_cast<WPARAM>(percent), 0);
  changed(bar_);
}

void ArchiveForm::changed(HWND control) {
  if (std::find(unpainted_.begin(), unpainted_.end(), control) == unpainted_.end()) unpainted_.push_back(control);
}

// Lets the changed controls paint what they now hold, if the last paint is
// old enough; until then their changes are kept without drawing.
void ArchiveForm::paintIfDue(bool now) {
  const std::uint64_t tick = GetTickCount64();
  if (!now && tick - lastPaint_ < kPaintIntervalMs) return;
  lastPaint_ = tick;
  for (HWND h : unpainted_) {
    setRedraw(h, true);
    InvalidateRect(h, nullptr, TRUE);
  }
  unpainted_.clear();
  if (!IsRectEmpty(&uncovered_)) {
    RedrawWindow(hwnd(), &uncovered_, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
    uncovered_ = RECT{};
  }
}

void ArchiveForm::processMessages() {
  paintIfDue();
  win::processMessages();
}

void ArchiveForm::showMessage(const Text& text, const Text& title) {
  paintIfDue(true);
  showExclamation(text, title);
}

}  // namespace mervane::win
