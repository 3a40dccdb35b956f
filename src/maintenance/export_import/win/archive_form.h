// frmExportImport: the "Processing" window that runs one export or import
// and shows its totals and current file while the archiver works.
//
// The archiver runs once the modal show has begun, from its message loop on
// this thread (not on an earlier activation: the window, hidden, already
// owns the file dialog and is activated when that closes); every event
// updates the labels and lets waiting messages run once. As in the
// Calculating window, the labels and the bar always hold the latest values
// but are painted at most every 40 ms, so a run of many small files does not
// spend its time drawing.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "base/win/form.h"
#include "maintenance/export_import/archive_progress.h"
#include "maintenance/export_import/archive_window.h"

namespace mervane::win {

class ArchiveForm final : public Form, public ArchiveWindow, private ProgressView {
 public:
  // Frame1 and Label1 keep their indexes in their ids.
  static constexpr int kFrame1 = 100;  // + index
  static constexpr int kLabel1 = 200;  // + index
  static constexpr int kProgressBar1 = 300;

  ArchiveForm();
  ~ArchiveForm() override;

  void setExpImp(bool import) override { import_ = import; }
  std::int32_t files() override { return progress_.files(); }
  Text personalFolder() override;
  std::optional<Text> showSaveDialog(const FileDialogSettings& settings) override;
  std::optional<Text> showOpenDialog(const FileDialogSettings& settings) override;
  void setProgressBar(std::int32_t value) override;
  void configureZip(const ZipRun& run) override { zip_ = run; }
  const ZipRun& zip() const override { return zip_; }
  void configureUnzip(const UnzipRun& run) override { unzip_ = run; }
  bool onRemovableDrive(const Text& path) override;
  void showModal() override;

 protected:
  void onLoad() override;
  LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  void setValue(ValueLabel label, const Text& text) override;
  int currentFileWidth() override;
  int textWidth(const Text& text) override;
  void setBar(std::int32_t percent) override;
  void showMessage(const Text& text, const Text& title) override;
  void processMessages() override;

  void run();
  void sizeToText(HWND label, const std::wstring& text);
  void changed(HWND control);
  void paintIfDue(bool now = false);
  int toTwips(int pixels) const;

  bool import_ = false;
  bool busy_ = false;
  bool ran_ = false;
  ZipRun zip_;
  UnzipRun unzip_;
  ArchiveProgress progress_{*this};
  std::array<HWND, 18> labels_{};  // Label1 by index, looked up once
  HWND bar_ = nullptr;
  HDC measuring_ = nullptr;  // a screen-compatible DC holding the form's font
  HGDIOBJ previousFont_ = nullptr;
  std::vector<HWND> unpainted_;  // controls changed since the last paint
  RECT uncovered_{};             // form area that shrinking labels left behind
  std::uint64_t lastPaint_ = 0;
};

}  // namespace mervane::win
