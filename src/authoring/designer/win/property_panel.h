// The property panel: a list of name and value rows. Clicking a value, or
// F2 or Enter on a row, opens a box over the value (a drop-down list for a
// choice, an edit box otherwise); Enter or leaving the box hands the typed
// value to `commit`, Esc puts the old one back.
#pragma once

#include <windows.h>

#include <functional>
#include <vector>

#include "authoring/designer/properties.h"

namespace mervane::authoring::win {

class PropertyPanel {
 public:
  // `commit` returns false for a value it refuses.
  using Commit = std::function<bool(const Text& key, const Text& value)>;

  void create(HWND parent, int id, Commit commit);
  HWND list() const { return list_; }
  // The box open over a value, or null.
  HWND valueBox() const { return box_; }
  void show(std::vector<designer::Property> rows);
  const std::vector<designer::Property>& rows() const { return rows_; }
  // WM_NOTIFY from the list, forwarded by the parent; true when handled.
  bool onNotify(const NMHDR& header);
  // Opens the box over row `row`'s value.
  void beginEdit(int row);
  // Hands the box's value on and closes it; `refocus` puts the focus back on the list.
  void commitEdit(bool refocus);
  void cancelEdit();

 private:
  static LRESULT CALLBACK boxProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR, DWORD_PTR self);

  HWND list_ = nullptr;
  HWND box_ = nullptr;
  int editing_ = -1;
  bool closing_ = false;
  std::vector<designer::Property> rows_;
  Commit commit_;
};

}  // namespace mervane::authoring::win
