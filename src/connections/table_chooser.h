// The table chooser (SelectTables, "Choose Tables") as the new-report
// construction drives it.
//
// The caller loads it, adds one data-set node and its table nodes, shows it
// modally, and once it has hidden itself reads okSelected() and the ticks of
// nodes(); letting go of the object unloads it. Ticks spread between a
// data-set node and its tables by the rules of table_tick_rules.h, and OK is
// refused while nothing is ticked.
#pragma once

#include <vector>

#include "base/text.h"
#include "components/forgiving.h"

namespace mervane {

struct ChooserNodeState {
  Text text;
  bool checked = false;
  bool hasChildren = false;
};

class TableChooser {
 public:
  virtual ~TableChooser() = default;
  // A top-level node with the data-set picture. Throws when another node
  // already has this key.
  virtual void addDataSetNode(const Text& key, const Text& caption) = 0;
  // A table node with the table picture, the last child of the node with key
  // parentKey. Throws when there is no such node.
  virtual void addTableNode(const Text& parentKey, const Text& text) = 0;
  // Returns when the chooser hides itself: OK with a node ticked, Cancel,
  // Esc or the window's close button.
  virtual void showModal() = 0;
  virtual bool okSelected() = 0;
  // Every node in the tree's order, with its tick as it now stands.
  virtual std::vector<ChooserNodeState> nodes() = 0;
};

// The chooser under the library's failure policy: each call is skipped when
// the chooser is missing or the call fails. showModal says whether it went
// through; a failed read gives false or no nodes.
class ForgivingTableChooser : public ForgivingPart<TableChooser> {
 public:
  explicit ForgivingTableChooser(const Maker<TableChooser>& make) : ForgivingPart(make) {}

  void addDataSetNode(const Text& key, const Text& caption) noexcept {
    step([&](TableChooser& c) { c.addDataSetNode(key, caption); });
  }
  void addTableNode(const Text& parentKey, const Text& text) noexcept {
    step([&](TableChooser& c) { c.addTableNode(parentKey, text); });
  }
  bool showModal() noexcept { return step([](TableChooser& c) { c.showModal(); }); }
  bool okSelected() { return value(false, [](TableChooser& c) { return c.okSelected(); }); }
  std::vector<ChooserNodeState> nodes() {
    return value(std::vector<ChooserNodeState>(), [](TableChooser& c) { return c.nodes(); });
  }
};

}  // namespace mervane
