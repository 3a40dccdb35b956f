// frmGetFileName, "Enter Report Details": the window of the report details
// dialog. Two boxes (file name, title), OK as the default button and Cancel.
// OK's checks are the rules of details_rules.h; this class only shows their
// messages, puts the focus where they say and hides itself when they pass.
#pragma once

#include "authoring/details_dialog.h"
#include "base/win/form.h"
#include "components/file_system.h"

namespace mervane::win {

class DetailsForm final : public Form, public DetailsDialog {
 public:
  // Control ids: Label1, Text1 and Command1 by index.
  static constexpr int kFileNameLabel = 101;  // Label1(0)
  static constexpr int kTitleLabel = 102;     // Label1(1)
  static constexpr int kFileNameBox = 111;    // Text1(0)
  static constexpr int kTitleBox = 112;       // Text1(1)
  static constexpr int kOk = IDOK;            // Command1(0), pressed by Enter
  static constexpr int kCancel = IDCANCEL;    // Command1(1), pressed by Esc

  // files answers the existence test; it must outlive the form.
  explicit DetailsForm(FileSystem& files);

  void setAppName(const Text& appName) override { appName_ = appName; }
  void setRepPath(const Text& repPath) override { repPath_ = repPath; }
  void setRepType(std::int32_t repType) override { repType_ = repType; }
  void setTitle(const Text& title) override;
  void disableTitle() override;
  void showModal() override { Form::showModal(); }
  bool okSelected() override { return okSelected_; }
  Text fileName() override;
  Text title() override;

 protected:
  void onLoad() override;
  void onCommand(int id, int code) override;

 private:
  void pressOk();
  void focusAndSelect(int id);
  void showMessage(const Text& text);

  FileSystem& files_;
  Text appName_, repPath_;
  std::int32_t repType_ = 0;
  bool okSelected_ = false;
};

}  // namespace mervane::win
