// SelectTables: the layout table, the tree filled and read for the caller,
// the check-box notices turned into the tick rules, and OK, Cancel and close.
#include "connections/win/select_tables_form.h"

#include <stdexcept>

#include "base/win/com.h"

namespace mervane::win {

namespace {

// Posted to the form after a click in the tree or the space bar, which may
// change a check box after telling of it. (WM_APP itself is the form base's.)
constexpr UINT kCheckBoxChanged = WM_APP + 1;
constexpr UINT kApplyPresetTicks = WM_APP + 2;

constexpr int kUnchecked = 1, kChecked = 2;  // state pictures of a check-box tree

// Client area 6660 x 3495 twips; the tree, OK and Cancel take the focus in
// that order.
const ControlLayout kLayout[] = {
    {WC_TREEVIEWW, L"", SelectTablesForm::kTree, 120, 120, 6375, 2775,
     WS_TABSTOP | TVS_CHECKBOXES | TVS_HASLINES | TVS_HASBUTTONS | TVS_LINESATROOT | TVS_SHOWSELALWAYS},
    {WC_BUTTONW, L"OK", SelectTablesForm::kOk, 4200, 3000, 1095, 375, WS_TABSTOP | BS_DEFPUSHBUTTON},
    {WC_BUTTONW, L"Cancel", SelectTablesForm::kCancel, 5400, 3000, 1095, 375, WS_TABSTOP | BS_PUSHBUTTON},
};

bool isChecked(HWND tree, HTREEITEM item) {
  const auto state = static_cast<UINT>(SendMessageW(tree, TVM_GETITEMSTATE, reinterpret_cast<WPARAM>(item),
                                                    TVIS_STATEIMAGEMASK));
  return (state >> 12) == kChecked;
}

}  // namespace

// The ticks as the tree control holds them.
class SelectTablesForm::TreeMarks final : public chooser::CheckMarks {
 public:
  explicit TreeMarks(const SelectTablesForm& form) : form_(form), tree_(form.control(kTree)) {}
  bool checked(int node) override { return isChecked(tree_, form_.item(node)); }
  void setChecked(int node, bool checked) override {
    HTREEITEM item = form_.item(node);
    if (isChecked(tree_, item) == checked) return;
    TVITEMW tv = {};
    tv.mask = TVIF_STATE;
    tv.hItem = item;
    tv.stateMask = TVIS_STATEIMAGEMASK;
    tv.state = INDEXTOSTATEIMAGEMASK(checked ? kChecked : kUnchecked);
    SendMessageW(tree_, TVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&tv));
  }

 private:
  const SelectTablesForm& form_;
  HWND tree_;
};

SelectTablesForm::SelectTablesForm() : Form(L"Choose Tables", 6660, 3495) { keepDialogFocus(kTree, kOk); }

void SelectTablesForm::onLoad() {
  okSelected_ = false;
  addControls(kLayout);
  HWND tree = control(kTree);
  if (!tree) return;
  // The sunken border of the tree.
  SetWindowLongPtrW(tree, GWL_EXSTYLE, GetWindowLongPtrW(tree, GWL_EXSTYLE) | WS_EX_CLIENTEDGE);
  SetWindowPos(tree, nullptr, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_FRAMECHANGED);
  pictures_ = createNodePictures();
  if (pictures_.get())
    SendMessageW(tree, TVM_SETIMAGELIST, TVSIL_NORMAL, reinterpret_cast<LPARAM>(pictures_.get()));
}

void SelectTablesForm::startFilling() {
  if (filling_) return;
  if (HWND tree = control(kTree)) SendMessageW(tree, WM_SETREDRAW, FALSE, 0);
  filling_ = true;
}

void SelectTablesForm::finishFilling() {
  if (!filling_) return;
  filling_ = false;
  if (HWND tree = control(kTree)) {
    SendMessageW(tree, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(tree, nullptr, TRUE);
  }
}

HTREEITEM SelectTablesForm::insert(HTREEITEM parent, const Text& text, int picture) {
  HWND tree = control(kTree);
  if (!tree) throw std::runtime_error("the chooser is not loaded");
  startFilling();
  std::wstring wide = toWide(text);
  TVINSERTSTRUCTW insert = {};
  insert.hParent = parent;
  insert.hInsertAfter = TVI_LAST;
  insert.item.mask = TVIF_TEXT | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_STATE;
  insert.item.pszText = wide.data();
  insert.item.iImage = insert.item.iSelectedImage = picture - 1;
  insert.item.stateMask = TVIS_STATEIMAGEMASK;
  insert.item.state = INDEXTOSTATEIMAGEMASK(kUnchecked);
  auto item = reinterpret_cast<HTREEITEM>(SendMessageW(tree, TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&insert)));
  if (!item) throw std::runtime_error("the tree refused the node");
  return item;
}

void SelectTablesForm::remember(int node, HTREEITEM item) {
  (void)node;  // nodes are numbered in the order they are added
  items_.push_back(item);
  seen_.push_back(false);
}

// The collection's checks come first, so that a refused node leaves no trace
// in either the collection or the control.
void SelectTablesForm::addDataSetNode(const Text& key, const Text& caption) {
  if (!key.empty() && nodes_.find(key) != chooser::kNoNode) throw std::invalid_argument("a node already has this key");
  HTREEITEM added = insert(TVI_ROOT, caption, chooser::kDataSetPicture);
  remember(nodes_.addRoot(key, caption, chooser::kDataSetPicture), added);
}

void SelectTablesForm::addTableNode(const Text& parentKey, const Text& text) {
  const int parent = parentKey.empty() ? chooser::kNoNode : nodes_.find(parentKey);
  if (parent == chooser::kNoNode) throw std::invalid_argument("no node has this key");
  HTREEITEM added = insert(item(parent), text, chooser::kTablePicture);
  remember(nodes_.addChild(parentKey, text, chooser::kTablePicture), added);
}

// The tree sets its check boxes afresh when it first paints (Wine's does):
// the ticks are given once the form shows and the tree has painted.
void SelectTablesForm::setTicked(int node, bool ticked) {
  if (node >= 0 && node < static_cast<int>(items_.size())) presetTicks_.push_back({node, ticked});
}

void SelectTablesForm::applyPresetTicks() {
  HWND tree = control(kTree);
  if (!tree) return;
  UpdateWindow(tree);  // its first paint, which sets the boxes afresh, comes first
  TreeMarks marks(*this);
  for (const auto& [node, ticked] : presetTicks_) {
    marks.setChecked(node, ticked);
    applyRules(node);
  }
  presetTicks_.clear();
  for (int n = 0; n < static_cast<int>(items_.size()); ++n) seen_[static_cast<std::size_t>(n)] = isChecked(tree, item(n));
}

void SelectTablesForm::showModal() {
  finishFilling();
  if (!expanded_) {
    expanded_ = true;
    if (HWND tree = control(kTree)) {
      for (int node = 0; node < static_cast<int>(items_.size()); ++node)
        if (nodes_.parent(node) == chooser::kNoNode && nodes_.hasChildren(node))
          SendMessageW(tree, TVM_EXPAND, TVE_EXPAND, reinterpret_cast<LPARAM>(item(node)));
      if (!items_.empty()) SendMessageW(tree, TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(items_.front()));
    }
  }
  if (!presetTicks_.empty()) PostMessageW(hwnd(), kApplyPresetTicks, 0, 0);
  Form::showModal();
}

std::vector<ChooserNodeState> SelectTablesForm::nodes() {
  finishFilling();
  TreeMarks marks(*this);
  std::vector<ChooserNodeState> out;
  for (int node : nodes_.treeOrder())
    out.push_back({nodes_.node(node).text, marks.checked(node), nodes_.hasChildren(node)});
  return out;
}

void SelectTablesForm::checkBoxesChanged() {
  HWND tree = control(kTree);
  if (!tree) return;
  // The boxes the user changed are those that differ from what the form
  // last saw; the rules run for each, then the form looks again.
  std::vector<int> changed;
  for (int node = 0; node < static_cast<int>(items_.size()); ++node)
    if (isChecked(tree, item(node)) != seen_[static_cast<std::size_t>(node)]) changed.push_back(node);
  for (int node : changed) applyRules(node);
  if (!changed.empty())
    for (int node = 0; node < static_cast<int>(items_.size()); ++node)
      seen_[static_cast<std::size_t>(node)] = isChecked(tree, item(node));
}

void SelectTablesForm::applyRules(int node) {
  HWND tree = control(kTree);
  TreeMarks marks(*this);
  // A data set gives its state to every table. Some tree controls (Wine's)
  // measure all shown items again for each one changed, so the tables are
  // changed folded away and shown again once, where they were.
  HTREEITEM dataSet = item(node);
  const bool open = nodes_.hasChildren(node) &&
                    (SendMessageW(tree, TVM_GETITEMSTATE, reinterpret_cast<WPARAM>(dataSet), TVIS_EXPANDED) &
                     TVIS_EXPANDED);
  HTREEITEM selected = nullptr, firstShown = nullptr;
  if (open) {
    selected = reinterpret_cast<HTREEITEM>(SendMessageW(tree, TVM_GETNEXTITEM, TVGN_CARET, 0));
    firstShown = reinterpret_cast<HTREEITEM>(SendMessageW(tree, TVM_GETNEXTITEM, TVGN_FIRSTVISIBLE, 0));
    SendMessageW(tree, WM_SETREDRAW, FALSE, 0);
    SendMessageW(tree, TVM_EXPAND, TVE_COLLAPSE, reinterpret_cast<LPARAM>(dataSet));
  }
  try {
    rules_.nodeChecked(nodes_, marks, node);
  } catch (...) {
  }
  if (open) {
    SendMessageW(tree, TVM_EXPAND, TVE_EXPAND, reinterpret_cast<LPARAM>(dataSet));
    if (selected) SendMessageW(tree, TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(selected));
    if (firstShown) SendMessageW(tree, TVM_SELECTITEM, TVGN_FIRSTVISIBLE, reinterpret_cast<LPARAM>(firstShown));
    SendMessageW(tree, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(tree, nullptr, TRUE);
  }
}

LRESULT SelectTablesForm::onTreeNotify(const NMHDR& header) {
  switch (header.code) {
    case NM_CLICK:
    case NM_DBLCLK:
      // Perhaps on a check box: the boxes are compared once the click is done.
      PostMessageW(hwnd(), kCheckBoxChanged, 0, 0);
      break;
    case TVN_KEYDOWN: {
      const auto& key = reinterpret_cast<const NMTVKEYDOWN&>(header);
      if (key.wVKey == VK_SPACE) PostMessageW(hwnd(), kCheckBoxChanged, 0, 0);
      break;
    }
    default:
      break;
  }
  return 0;
}

void SelectTablesForm::pressOk() {
  TreeMarks marks(*this);
  bool ticked = false;
  try {
    ticked = chooser::anyChecked(nodes_, marks);
  } catch (...) {
  }
  if (ticked) {
    okSelected_ = true;
    hide();
    return;
  }
  MessageBoxW(hwnd(), kNothingTicked, kMessageTitle, MB_OK | MB_ICONEXCLAMATION);
}

void SelectTablesForm::onCommand(int id, int code) {
  if (code != BN_CLICKED) return;
  if (id == kOk) {
    pressOk();
  } else if (id == kCancel) {
    okSelected_ = false;
    hide();
  }
}

void SelectTablesForm::onCloseRequest() {
  okSelected_ = false;
  hide();
}

LRESULT SelectTablesForm::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_NOTIFY: {
      const auto* header = reinterpret_cast<const NMHDR*>(lParam);
      if (header && header->idFrom == static_cast<UINT_PTR>(kTree)) return onTreeNotify(*header);
      break;
    }
    case kCheckBoxChanged:
      checkBoxesChanged();
      return 0;
    case kApplyPresetTicks:
      applyPresetTicks();
      return 0;
    default:
      break;
  }
  return Form::onMessage(message, wParam, lParam);
}

}  // namespace mervane::win

namespace mervane {

std::unique_ptr<TableChooser> loadSelectTablesForm() {
  auto form = std::make_unique<win::SelectTablesForm>();
  form->load();
  if (!form->hwnd() || !form->control(win::SelectTablesForm::kTree)) throw std::runtime_error("no chooser window");
  return form;
}

}  // namespace mervane
