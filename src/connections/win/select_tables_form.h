// SelectTables, "Choose Tables": the table chooser's window. A tree with a
// check box on every node and the two node pictures, OK as the default
// button and Cancel. Ticks spread by the rules of table_tick_rules.h; OK is
// refused with a message while nothing is ticked; Cancel, Esc and the close
// button hide the form with OkSelected false.
//
// The tree control tells of a check-box change only before it happens (a
// click, the space bar), and under Wine tells nothing after it: the form
// posts itself a message on either and, when it arrives, applies the rules
// to each box that differs from what the form last saw.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "base/win/form.h"
#include "connections/table_chooser.h"
#include "connections/table_tick_rules.h"
#include "connections/win/node_pictures.h"

namespace mervane::win {

class SelectTablesForm final : public Form, public TableChooser {
 public:
  // Control ids: TreeView1 and Command1 by index.
  static constexpr int kTree = 101;          // TreeView1
  static constexpr int kOk = IDOK;           // Command1(0), pressed by Enter
  static constexpr int kCancel = IDCANCEL;   // Command1(1), pressed by Esc
  static constexpr wchar_t kNothingTicked[] = L"You must select at least one table.";
  static constexpr wchar_t kMessageTitle[] = L"Select Tables";

  SelectTablesForm();

  void addDataSetNode(const Text& key, const Text& caption) override;
  void addTableNode(const Text& parentKey, const Text& text) override;
  void showModal() override;
  bool okSelected() override { return okSelected_; }
  std::vector<ChooserNodeState> nodes() override;

  // Ticks a node before the form is shown (a table the report already
  // has); the tick rules run as for a click, once it shows.
  void setTicked(int node, bool ticked);

  // The tree control's item for a node index (in the order added).
  HTREEITEM item(int node) const { return items_.at(static_cast<std::size_t>(node)); }

 protected:
  void onLoad() override;
  void onCommand(int id, int code) override;
  void onCloseRequest() override;
  LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  class TreeMarks;
  HTREEITEM insert(HTREEITEM parent, const Text& text, int picture);
  void remember(int node, HTREEITEM item);
  void startFilling();
  void finishFilling();
  LRESULT onTreeNotify(const NMHDR& header);
  void checkBoxesChanged();
  void applyRules(int node);
  void pressOk();
  void applyPresetTicks();

  chooser::NodeCollection nodes_;
  chooser::TickRules rules_;
  std::vector<HTREEITEM> items_;
  std::vector<bool> seen_;  // each node's tick as the form last saw it
  std::vector<std::pair<int, bool>> presetTicks_;  // given before the form shows
  ImageList pictures_;
  bool okSelected_ = false;
  bool filling_ = false;      // redrawing is off while the caller adds nodes
  bool expanded_ = false;     // the data sets are opened at the first show
};

}  // namespace mervane::win

namespace mervane {

// A new chooser, loaded and hidden, for one new-report call. Throws when the
// window cannot be made.
std::unique_ptr<TableChooser> loadSelectTablesForm();

}  // namespace mervane
