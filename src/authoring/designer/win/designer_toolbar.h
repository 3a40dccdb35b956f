// The designer's toolbar, under the menus: font name and size, bold,
// italic, underline, text alignment and colour; insert text, field, line,
// box and picture; undo, redo and zoom. A common-controls toolbar with
// tooltips; its buttons send the same command ids as the menus, and show()
// makes them follow the selection (checked where all selected objects
// share the format, greyed where they do nothing).
#pragma once

#include <windows.h>
#include <commctrl.h>

#include <optional>
#include <utility>
#include <vector>

#include "authoring/designer/properties.h"

namespace mervane::authoring::win {

class DesignerToolbar {
 public:
  DesignerToolbar() = default;
  ~DesignerToolbar();
  DesignerToolbar(const DesignerToolbar&) = delete;
  DesignerToolbar& operator=(const DesignerToolbar&) = delete;

  HWND create(HWND parent, int id);
  HWND hwnd() const { return toolbar_; }
  HWND fontBox() const { return font_; }
  HWND sizeBox() const { return size_; }
  int height() const;
  void resize(int width);

  struct State {
    bool editable = false;
    bool objects = false;  // objects are selected
    bool texts = false;    // one of them shows text (the format buttons act on it)
    bool canUndo = false, canRedo = false;
    std::vector<designer::Property> properties;  // of the selection
  };
  void show(const State& state);

  // A WM_COMMAND from one of the boxes: the property it sets and the value
  // chosen or typed (once the choice is made or the box is left).
  std::optional<std::pair<Text, Text>> boxCommand(WPARAM wParam, LPARAM lParam);
  // A notification from the toolbar asking for a button's tooltip; false
  // for any other.
  bool onNotify(const NMHDR& header) const;

 private:
  HWND toolbar_ = nullptr, font_ = nullptr, size_ = nullptr;
  HIMAGELIST images_ = nullptr;
  std::wstring shownFont_, shownSize_;
};

}  // namespace mervane::authoring::win
