// The chooser's node collection and tick rules (see table_tick_rules.h).
#include "connections/table_tick_rules.h"

#include <stdexcept>

namespace mervane::chooser {

int NodeCollection::add(Node node) {
  const int index = static_cast<int>(nodes_.size());
  if (!node.key.empty()) {
    if (keys_.contains(node.key)) throw std::invalid_argument("a node already has this key");
    keys_.emplace(node.key, index);
  }
  std::vector<int>& siblings = node.parent == kNoNode ? roots_ : nodes_[static_cast<std::size_t>(node.parent)].children;
  position_.push_back(static_cast<int>(siblings.size()));
  siblings.push_back(index);
  nodes_.push_back(std::move(node));
  return index;
}

int NodeCollection::addRoot(const Text& key, const Text& text, int picture) {
  return add(Node{key, text, picture, kNoNode, {}});
}

int NodeCollection::addChild(const Text& parentKey, const Text& text, int picture) {
  auto found = keys_.find(parentKey);
  if (parentKey.empty() || found == keys_.end()) throw std::invalid_argument("no node has this key");
  return add(Node{Text(), text, picture, found->second, {}});
}

int NodeCollection::find(const Text& key) const {
  auto found = keys_.find(key);
  return found == keys_.end() ? kNoNode : found->second;
}

int NodeCollection::firstChild(int index) const {
  const Node& n = node(index);
  return n.children.empty() ? kNoNode : n.children.front();
}

int NodeCollection::lastSibling(int index) const {
  const int p = parent(index);
  return p == kNoNode ? roots_.back() : node(p).children.back();
}

int NodeCollection::nextSibling(int index) const {
  const int p = parent(index);
  const std::vector<int>& siblings = p == kNoNode ? roots_ : node(p).children;
  const std::size_t next = static_cast<std::size_t>(position_.at(static_cast<std::size_t>(index))) + 1;
  return next < siblings.size() ? siblings[next] : kNoNode;
}

std::vector<int> NodeCollection::treeOrder() const {
  std::vector<int> order;
  order.reserve(nodes_.size());
  // Depth first without recursion: a stack of nodes still to visit.
  std::vector<int> pending(roots_.rbegin(), roots_.rend());
  while (!pending.empty()) {
    const int index = pending.back();
    pending.pop_back();
    order.push_back(index);
    const std::vector<int>& children = node(index).children;
    pending.insert(pending.end(), children.rbegin(), children.rend());
  }
  return order;
}

void TickRules::nodeChecked(const NodeCollection& nodes, CheckMarks& marks, int node) {
  if (busy_) return;
  const int first = nodes.firstChild(node);
  if (first != kNoNode) {
    // A data-set node: every table takes its state.
    const bool state = marks.checked(node);
    const int last = nodes.lastSibling(first);
    for (int child = first; child != last && child != kNoNode; child = nodes.nextSibling(child))
      marks.setChecked(child, state);
    marks.setChecked(last, state);
    return;
  }
  const int parent = nodes.parent(node);
  if (parent == kNoNode) return;  // a data set without tables: nothing to update

  // A table: its data set is ticked when any of its tables is.
  busy_ = true;
  struct Clear {
    bool& flag;
    ~Clear() { flag = false; }
  } clear{busy_};
  bool any = false;
  const int firstSibling = nodes.firstChild(parent);
  const int last = nodes.lastSibling(firstSibling);
  for (int sibling = firstSibling; sibling != last && sibling != kNoNode; sibling = nodes.nextSibling(sibling)) {
    if (marks.checked(sibling)) {
      any = true;
      break;
    }
  }
  if (!any) any = marks.checked(last);
  marks.setChecked(parent, any);
}

bool anyChecked(const NodeCollection& nodes, CheckMarks& marks) {
  for (int i = 0; i < static_cast<int>(nodes.size()); ++i)
    if (marks.checked(i)) return true;
  return false;
}

}  // namespace mervane::chooser
