// The table chooser's tree and its tick rules, apart from any window.
//
// NodeCollection is the tree's node collection: nodes by index in the order
// they were added, each with its key, text, picture and place in the tree.
// CheckMarks is where the ticks live (the tree control's check boxes in the
// form, plain flags in tests). TickRules is the check-box handler:
//
// - a node with children (a data-set node) gives its new state to every
//   child, from the first child to the last sibling of that first child;
// - a node without children (a table) makes its parent ticked exactly when
//   at least one of the parent's children is, with the busy flag set while
//   it does so, so that the parent's change is not taken for a user's;
// - a top-level node without children changes nothing.
//
// The walks go by index: first child, next sibling until the last sibling,
// then the last sibling itself.
#pragma once

#include <cstddef>
#include <unordered_map>
#include <vector>

#include "base/text.h"

namespace mervane::chooser {

constexpr int kNoNode = -1;
// Pictures of the chooser's image list, counted from 1.
constexpr int kDataSetPicture = 1;
constexpr int kTablePicture = 2;

struct Node {
  Text key;  // empty: no key
  Text text;
  int picture = 0;
  int parent = kNoNode;
  std::vector<int> children;
};

class NodeCollection {
 public:
  // Adds a top-level node and returns its index. Throws std::invalid_argument
  // when another node already has the (non-empty) key.
  int addRoot(const Text& key, const Text& text, int picture);
  // Adds a node, without a key, as the last child of the node with key
  // parentKey. Throws std::invalid_argument when there is no such node.
  int addChild(const Text& parentKey, const Text& text, int picture);

  // The index of the node with this key, or kNoNode.
  int find(const Text& key) const;
  std::size_t size() const { return nodes_.size(); }
  const Node& node(int index) const { return nodes_.at(static_cast<std::size_t>(index)); }
  int parent(int index) const { return node(index).parent; }
  bool hasChildren(int index) const { return !node(index).children.empty(); }
  int firstChild(int index) const;
  int lastSibling(int index) const;
  int nextSibling(int index) const;
  // Every node as the tree shows them: each node followed by its children.
  std::vector<int> treeOrder() const;

 private:
  int add(Node node);
  std::vector<Node> nodes_;
  std::vector<int> roots_;
  std::vector<int> position_;  // each node's place among its siblings
  std::unordered_map<Text, int> keys_;
};

class CheckMarks {
 public:
  virtual ~CheckMarks() = default;
  virtual bool checked(int node) = 0;
  virtual void setChecked(int node, bool checked) = 0;
};

class TickRules {
 public:
  // The user changed the check box of `node`; its new state is already in
  // `marks`.
  void nodeChecked(const NodeCollection& nodes, CheckMarks& marks, int node);
  bool busy() const { return busy_; }

 private:
  bool busy_ = false;
};

// OK's test: whether any node, data-set nodes included, is ticked (looked
// at in collection order, stopping at the first).
bool anyChecked(const NodeCollection& nodes, CheckMarks& marks);

}  // namespace mervane::chooser
