// The Export dialog as a form, and the save dialog after it.
#include "authoring/viewer/win/export_dialog.h"

#include <commctrl.h>
#include <commdlg.h>

#include <algorithm>

#include "base/win/com.h"
#include "base/win/form.h"

namespace mervane::viewer::win {

namespace {

using mervane::win::ControlLayout;
using mervane::win::toWide;

// Client area 5400 x 2760 twips. The controls take the focus in the order
// they are made: format, the range's buttons (one stop, arrows between
// them), from, to, OK, Cancel.
const ControlLayout kLayout[] = {
    {WC_STATICW, L"&Format:", kExportFormatLabel, 180, 195, 900, 225, SS_LEFT},
    {WC_COMBOBOXW, L"", kExportFormat, 1140, 150, 4080, 1800, WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST},
    {WC_BUTTONW, L"Page range", kExportRangeFrame, 180, 600, 5040, 1440, BS_GROUPBOX},
    {WC_BUTTONW, L"&All pages", kExportAllPages, 360, 870, 3000, 255, WS_GROUP | WS_TABSTOP | BS_AUTORADIOBUTTON},
    {WC_BUTTONW, L"C&urrent page", kExportCurrentPage, 360, 1230, 3000, 255, BS_AUTORADIOBUTTON},
    {WC_BUTTONW, L"&Pages", kExportPagesFromTo, 360, 1605, 900, 255, BS_AUTORADIOBUTTON},
    {WC_EDITW, L"", kExportFrom, 1320, 1575, 900, 300, WS_GROUP | WS_TABSTOP | ES_AUTOHSCROLL | ES_NUMBER},
    {WC_STATICW, L"&to", kExportToLabel, 2340, 1620, 360, 225, SS_LEFT},
    {WC_EDITW, L"", kExportTo, 2760, 1575, 900, 300, WS_TABSTOP | ES_AUTOHSCROLL | ES_NUMBER},
    {WC_BUTTONW, L"OK", IDOK, 3180, 2235, 975, 375, WS_GROUP | WS_TABSTOP | BS_DEFPUSHBUTTON},
    {WC_BUTTONW, L"Cancel", IDCANCEL, 4245, 2235, 975, 375, WS_TABSTOP | BS_PUSHBUTTON},
};

// The format chosen last in this process, offered first next time.
ExportFormat lastFormat = ExportFormat::Pdf;

class ExportForm final : public mervane::win::Form {
 public:
  ExportForm(std::int32_t current, std::int32_t known, std::optional<std::int32_t> count, bool wholeData)
      : Form(kExportCaption, 5400, 2760), current_(current), known_(known), count_(count), wholeData_(wholeData) {
    keepDialogFocus(kExportFormat, IDOK);
  }

  bool accepted() const { return accepted_; }
  ExportFormat format() const { return format_; }
  ExportPages pages() const { return pages_; }

 protected:
  void onLoad() override {
    addControls(kLayout);
    for (int id : {kExportFrom, kExportTo}) {
      HWND box = control(id);
      SetWindowLongPtrW(box, GWL_EXSTYLE, GetWindowLongPtrW(box, GWL_EXSTYLE) | WS_EX_CLIENTEDGE);
      SetWindowPos(box, nullptr, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_FRAMECHANGED);
    }
    HWND list = control(kExportFormat);
    int selected = 0;
    for (const auto& info : exportFormats()) {
      if (!info.byPages && !wholeData_) continue;
      const int index = static_cast<int>(
          SendMessageW(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(toWide(info.name).c_str())));
      SendMessageW(list, CB_SETITEMDATA, static_cast<WPARAM>(index), static_cast<LPARAM>(info.format));
      if (info.format == lastFormat) selected = index;
    }
    SendMessageW(list, CB_SETCURSEL, static_cast<WPARAM>(selected), 0);
    setText(kExportCurrentPage, L"C&urrent page (" + std::to_wstring(std::max(1, current_)) + L")");
    setText(kExportFrom, L"1");
    setText(kExportTo, std::to_wstring(count_.value_or(std::max({1, current_, known_}))));
    CheckRadioButton(hwnd(), kExportAllPages, kExportPagesFromTo, kExportAllPages);
    followFormat();
  }

  void onCommand(int id, int code) override {
    if (id == kExportFormat && code == CBN_SELCHANGE) {
      followFormat();
    } else if ((id == kExportFrom || id == kExportTo) && code == EN_SETFOCUS) {
      SendMessageW(control(id), EM_SETSEL, 0, -1);
    } else if ((id == kExportFrom || id == kExportTo) && code == EN_CHANGE && GetFocus() == control(id)) {
      // Typing a page number chooses the from-to range.
      CheckRadioButton(hwnd(), kExportAllPages, kExportPagesFromTo, kExportPagesFromTo);
    } else if (id == IDOK && code == BN_CLICKED) {
      pressOk();
    } else if (id == IDCANCEL && code == BN_CLICKED) {
      accepted_ = false;
      hide();
    }
  }

 private:
  ExportFormat chosenFormat() const {
    HWND list = control(kExportFormat);
    const LRESULT index = SendMessageW(list, CB_GETCURSEL, 0, 0);
    if (index < 0) return ExportFormat::Pdf;
    return static_cast<ExportFormat>(SendMessageW(list, CB_GETITEMDATA, static_cast<WPARAM>(index), 0));
  }

  // Data only goes out whole: the page range does not apply to it.
  void followFormat() {
    const BOOL byPages = infoOf(chosenFormat()).byPages;
    for (int id : {kExportRangeFrame, kExportAllPages, kExportCurrentPage, kExportPagesFromTo, kExportFrom,
                   kExportToLabel, kExportTo})
      EnableWindow(control(id), byPages);
  }

  void pressOk() {
    format_ = chosenFormat();
    PageChoice choice;
    choice.range = IsDlgButtonChecked(hwnd(), kExportCurrentPage) ? PageRange::Current
                   : IsDlgButtonChecked(hwnd(), kExportPagesFromTo) ? PageRange::FromTo
                                                                     : PageRange::All;
    if (!infoOf(format_).byPages) choice.range = PageRange::All;
    const std::wstring from = text(kExportFrom), to = text(kExportTo);
    choice.from = Text(from.begin(), from.end());
    choice.to = Text(to.begin(), to.end());
    auto result = pagesOf(choice, current_, count_);
    if (const Text* problem = std::get_if<Text>(&result)) {
      MessageBoxW(hwnd(), toWide(*problem).c_str(), kExportCaption, MB_OK | MB_ICONEXCLAMATION);
      HWND box = control(problem->find(u"last") != Text::npos ? kExportTo : kExportFrom);
      SetFocus(box);
      SendMessageW(box, EM_SETSEL, 0, -1);
      return;
    }
    pages_ = std::get<ExportPages>(result);
    lastFormat = format_;
    accepted_ = true;
    hide();
  }

  std::int32_t current_;
  std::int32_t known_;
  std::optional<std::int32_t> count_;
  bool wholeData_;
  bool accepted_ = false;
  ExportFormat format_ = ExportFormat::Pdf;
  ExportPages pages_;
};

// The standard save dialog for one format, the title as the proposed name.
std::optional<std::wstring> askPath(HWND owner, const Text& title, ExportFormat format) {
  const ExportFormatInfo& info = infoOf(format);
  std::wstring file = toWide(proposedFileName(title, format));
  file.resize(std::max<std::size_t>(file.size() + 1, MAX_PATH), L'\0');
  const std::wstring type = toWide(info.fileType);
  std::wstring pattern = L"*" + toWide(info.extension);
  std::wstring filter = type + L'\0' + pattern + L'\0' + L"All files (*.*)" + L'\0' + L"*.*" + L'\0' + L'\0';
  const std::wstring extension = toWide(info.extension).substr(1);
  OPENFILENAMEW ofn{};
  ofn.lStructSize = sizeof(ofn);
  ofn.hwndOwner = owner;
  ofn.lpstrFilter = filter.c_str();
  ofn.lpstrFile = file.data();
  ofn.nMaxFile = static_cast<DWORD>(file.size());
  ofn.lpstrTitle = L"Export Report";
  ofn.lpstrDefExt = extension.c_str();
  ofn.Flags = OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST | OFN_NOCHANGEDIR | OFN_HIDEREADONLY;
  if (!GetSaveFileNameW(&ofn)) return std::nullopt;
  const std::wstring chosen = file.c_str();
  return toWide(withExtension(Text(chosen.begin(), chosen.end()), format));
}

}  // namespace

std::optional<ExportRequest> askExport(HWND owner, const Text& title, std::int32_t currentPage,
                                       std::int32_t pagesKnown, std::optional<std::int32_t> pageCount,
                                       bool wholeData) {
  ExportForm form(currentPage, pagesKnown, pageCount, wholeData);
  form.load();
  if (!form.hwnd()) return std::nullopt;
  form.centreOver(owner);
  form.showModal();
  if (!form.accepted()) return std::nullopt;
  auto path = askPath(owner, title, form.format());
  if (!path) return std::nullopt;
  return ExportRequest{form.format(), form.pages(), *path};
}

}  // namespace mervane::viewer::win
