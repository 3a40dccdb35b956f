// The property panel: a report-style list view and a box over the value
// being edited.
#include "authoring/designer/win/property_panel.h"

#include <commctrl.h>

#include "base/win/com.h"

namespace mervane::authoring::win {

using mervane::win::fromWide;
using mervane::win::toWide;

void PropertyPanel::create(HWND parent, int id, Commit commit) {
  commit_ = std::move(commit);
  list_ = CreateWindowExW(WS_EX_CLIENTEDGE, WC_LISTVIEWW, L"",
                          WS_CHILD | WS_VISIBLE | WS_TABSTOP | LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS |
                              LVS_NOSORTHEADER,
                          0, 0, 10, 10, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
  ListView_SetExtendedListViewStyle(list_, LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES);
  LVCOLUMNW column{};
  column.mask = LVCF_TEXT | LVCF_WIDTH;
  column.cx = 120;
  column.pszText = const_cast<wchar_t*>(L"Property");
  ListView_InsertColumn(list_, 0, &column);
  column.cx = 130;
  column.pszText = const_cast<wchar_t*>(L"Value");
  ListView_InsertColumn(list_, 1, &column);
}

void PropertyPanel::show(std::vector<designer::Property> rows) {
  if (box_) cancelEdit();
  rows_ = std::move(rows);
  SendMessageW(list_, WM_SETREDRAW, FALSE, 0);
  ListView_DeleteAllItems(list_);
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    std::wstring label = toWide(rows_[i].label), value = toWide(rows_[i].value);
    LVITEMW item{};
    item.mask = LVIF_TEXT;
    item.iItem = static_cast<int>(i);
    item.pszText = label.data();
    ListView_InsertItem(list_, &item);
    ListView_SetItemText(list_, static_cast<int>(i), 1, value.data());
  }
  SendMessageW(list_, WM_SETREDRAW, TRUE, 0);
  InvalidateRect(list_, nullptr, TRUE);
}

bool PropertyPanel::onNotify(const NMHDR& header) {
  if (header.hwndFrom != list_) return false;
  switch (header.code) {
    case NM_CLICK:
    case NM_DBLCLK: {
      const auto& click = reinterpret_cast<const NMITEMACTIVATE&>(header);
      if (click.iItem >= 0) beginEdit(click.iItem);
      return true;
    }
    case LVN_KEYDOWN: {
      const auto& key = reinterpret_cast<const NMLVKEYDOWN&>(header);
      if (key.wVKey == VK_F2 || key.wVKey == VK_RETURN) beginEdit(ListView_GetNextItem(list_, -1, LVNI_FOCUSED));
      return true;
    }
    default: return false;
  }
}

void PropertyPanel::beginEdit(int row) {
  if (box_) commitEdit(false);
  if (row < 0 || row >= static_cast<int>(rows_.size()) || rows_[static_cast<std::size_t>(row)].readOnly) return;
  const designer::Property& p = rows_[static_cast<std::size_t>(row)];
  ListView_SetItemState(list_, row, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
  RECT cell{};
  ListView_GetSubItemRect(list_, row, 1, LVIR_BOUNDS, &cell);
  const bool choice = p.kind == designer::PropertyKind::Choice || p.kind == designer::PropertyKind::YesNo;
  HFONT font = reinterpret_cast<HFONT>(SendMessageW(list_, WM_GETFONT, 0, 0));
  if (choice) {
    box_ = CreateWindowExW(0, WC_COMBOBOXW, L"", WS_CHILD | WS_VISIBLE | WS_VSCROLL | CBS_DROPDOWNLIST, cell.left,
                           cell.top - 2, cell.right - cell.left, 200, list_, nullptr, nullptr, nullptr);
    SendMessageW(box_, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    for (const Text& c : p.choices) SendMessageW(box_, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(toWide(c).c_str()));
    SendMessageW(box_, CB_SELECTSTRING, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(toWide(p.value).c_str()));
  } else {
    box_ = CreateWindowExW(0, WC_EDITW, toWide(p.value).c_str(), WS_CHILD | WS_VISIBLE | WS_BORDER | ES_AUTOHSCROLL,
                           cell.left, cell.top, cell.right - cell.left, cell.bottom - cell.top, list_, nullptr, nullptr,
                           nullptr);
    SendMessageW(box_, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    SendMessageW(box_, EM_SETSEL, 0, -1);
  }
  editing_ = row;
  SetWindowSubclass(box_, boxProc, 1, reinterpret_cast<DWORD_PTR>(this));
  SetFocus(box_);
}

void PropertyPanel::commitEdit(bool refocus) {
  if (!box_ || closing_) return;
  closing_ = true;
  wchar_t buffer[1024] = {};
  GetWindowTextW(box_, buffer, 1024);
  const int row = editing_;
  HWND box = box_;
  box_ = nullptr;
  editing_ = -1;
  DestroyWindow(box);
  closing_ = false;
  if (row >= 0 && row < static_cast<int>(rows_.size())) {
    const Text key = rows_[static_cast<std::size_t>(row)].key;
    const Text value = fromWide(buffer);
    // A refused value leaves the old one showing.
    if (value != rows_[static_cast<std::size_t>(row)].value && commit_ && !commit_(key, value)) MessageBeep(MB_ICONWARNING);
  }
  if (refocus) SetFocus(list_);
}

void PropertyPanel::cancelEdit() {
  if (!box_ || closing_) return;
  closing_ = true;
  HWND box = box_;
  box_ = nullptr;
  editing_ = -1;
  DestroyWindow(box);
  closing_ = false;
}

LRESULT CALLBACK PropertyPanel::boxProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                                        DWORD_PTR self) {
  auto* panel = reinterpret_cast<PropertyPanel*>(self);
  switch (message) {
    case WM_GETDLGCODE: return DLGC_WANTALLKEYS | DefSubclassProc(hwnd, message, wParam, lParam);
    case WM_KEYDOWN:
      if (wParam == VK_RETURN) {
        panel->commitEdit(true);
        return 0;
      }
      if (wParam == VK_ESCAPE) {
        panel->cancelEdit();
        SetFocus(panel->list_);
        return 0;
      }
      break;
    case WM_CHAR:
      if (wParam == L'\r' || wParam == 27) return 0;
      break;
    case WM_KILLFOCUS: {
      // Leaving the box keeps what was typed; a drop-down list's own list
      // taking the focus is not leaving.
      HWND to = reinterpret_cast<HWND>(wParam);
      const LRESULT result = DefSubclassProc(hwnd, message, wParam, lParam);
      if (!to || (to != hwnd && GetParent(to) != hwnd)) panel->commitEdit(false);
      return result;
    }
    case WM_NCDESTROY: RemoveWindowSubclass(hwnd, boxProc, 1); break;
  }
  return DefSubclassProc(hwnd, message, wParam, lParam);
}

}  // namespace mervane::authoring::win
