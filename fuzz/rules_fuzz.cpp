// The tree of rules. Input: a row of operations, each a byte, two for group and item, and a mask.
//
// The tree is held against masks that are counted without one.
#include <array>
#include <map>
#include <vector>

#include "fuzz/support/Fuzzing.h"
#include "quelcore/project/QmRulezTree.h"

namespace {

struct Tree : QmRulezTree {
  Tree() { RulezNode().addChild(nullptr); }
  using QmRulezTree::addGroup;
  using QmRulezTree::addItem;
  using QmRulezTree::addRootGroup;
};

/// The switches of one node.
struct Switches {
  std::uint32_t open = 0xFFFFFFFF;
  bool counts = false;
  std::array<std::uint8_t, 32> closings = {};

  void remove(std::uint32_t mask) {
    for (int bit = 0; bit < 32; ++bit) closings[bit] = static_cast<std::uint8_t>(closings[bit] + (mask >> bit & 1));
    open &= ~mask;
    counts = true;
  }
  void restore(std::uint32_t mask) {
    for (int bit = 0; bit < 32; ++bit) {
      if ((mask >> bit & 1) == 0) continue;
      if (closings[bit] > 0) --closings[bit];
      if (closings[bit] == 0) open |= std::uint32_t{1} << bit;
    }
    counts = true;
  }
  void limitTo(std::uint32_t mask) {
    if (mask == 0xFFFFFFFF) return;
    remove(0xFFFFFFFF);
    restore(mask);
  }
  std::uint32_t effective() const { return counts ? open : 0xFFFFFFFF; }
};

/// A tree without pointers: groups and items by their numbers in order of coming.
class Model {
 public:
  Switches root;

  Switches* group(std::uint8_t id) {
    const auto found = byId_.find(id);
    return found == byId_.end() ? nullptr : &groups_[found->second].switches;
  }
  Switches* item(std::uint8_t groupId, std::uint8_t id) {
    const auto found = byId_.find(groupId);
    if (found == byId_.end()) return nullptr;
    for (const std::size_t child : newestFirst(found->second)) {
      if (groups_[child].id == id) return &groups_[child].switches;
    }
    return nullptr;
  }
  void addGroup(std::uint8_t parent, std::uint8_t id, std::uint32_t mask) {
    const std::size_t above = indexOf(parent);
    byId_.try_emplace(id, add(above, id, mask));
  }
  void addRootGroup(std::uint8_t id, std::uint32_t mask) { byId_.try_emplace(id, add(kRoot, id, mask)); }
  void addItem(std::uint8_t parent, std::uint8_t id, std::uint32_t mask) { add(indexOf(parent), id, mask); }

  std::uint32_t groupRules(std::uint8_t id) const {
    const auto found = byId_.find(id);
    return found == byId_.end() ? root.effective() : rules(found->second);
  }
  std::uint32_t itemRules(std::uint8_t groupId, std::uint8_t id) const {
    const auto found = byId_.find(groupId);
    if (found == byId_.end()) return root.effective();
    for (const std::size_t child : newestFirst(found->second)) {
      if (groups_[child].id == id) return rules(child);
    }
    return rules(found->second);
  }

 private:
  static constexpr std::size_t kRoot = ~std::size_t{0};
  struct Node {
    std::size_t parent;
    std::uint8_t id;
    Switches switches;
  };

  std::size_t add(std::size_t parent, std::uint8_t id, std::uint32_t mask) {
    groups_.push_back({parent, id, {}});
    groups_.back().switches.limitTo(mask);
    return groups_.size() - 1;
  }
  std::size_t indexOf(std::uint8_t groupId) {
    const auto found = byId_.find(groupId);
    if (found != byId_.end()) return found->second;
    addRootGroup(groupId, 0xFFFFFFFF);
    return byId_[groupId];
  }
  std::vector<std::size_t> newestFirst(std::size_t parent) const {
    std::vector<std::size_t> children;
    for (std::size_t i = groups_.size(); i-- > 0;) {
      if (groups_[i].parent == parent) children.push_back(i);
    }
    return children;
  }
  std::uint32_t rules(std::size_t node) const {
    std::uint32_t open = root.effective();
    for (; node != kRoot; node = groups_[node].parent) open &= groups_[node].switches.effective();
    return open;
  }

  std::vector<Node> groups_;
  std::map<std::uint8_t, std::size_t> byId_;
};

struct Step {
  std::uint8_t operation;
  std::uint8_t group;
  std::uint8_t item;
  std::uint32_t mask;
};

template <typename Change>
bool onModel(Switches* switches, Change change) {
  if (switches != nullptr) change(*switches);
  return switches != nullptr;
}

void run(const Step& step, Tree& tree, Model& model) {
  const auto remove = [&](Switches& switches) { switches.remove(step.mask); };
  const auto restore = [&](Switches& switches) { switches.restore(step.mask); };
  const auto reset = [](Switches& switches) { switches = {}; };
  bool same = true;
  switch (step.operation % 12) {
    case 0:
      tree.addRootGroup(step.group, step.mask);
      model.addRootGroup(step.group, step.mask);
      break;
    case 1:
      tree.addGroup(step.group, step.item, step.mask);
      model.addGroup(step.group, step.item, step.mask);
      break;
    case 2:
      tree.addItem(step.group, step.item, step.mask);
      model.addItem(step.group, step.item, step.mask);
      break;
    case 3:
      tree.removeRootRulez(step.mask);
      remove(model.root);
      break;
    case 4:
      tree.restoreRootRulez(step.mask);
      restore(model.root);
      break;
    case 5:
      tree.resetRootRulez();
      model.root = {};
      break;
    case 6:
      same = tree.removeGroupRulez(step.group, step.mask) == onModel(model.group(step.group), remove);
      break;
    case 7:
      same = tree.restoreGroupRulez(step.group, step.mask) == onModel(model.group(step.group), restore);
      break;
    case 8:
      same = tree.resetGroupRulez(step.group) == onModel(model.group(step.group), reset);
      break;
    case 9:
      same =
          tree.removeItemRulez(step.group, step.item, step.mask) == onModel(model.item(step.group, step.item), remove);
      break;
    case 10:
      same = tree.restoreItemRulez(step.group, step.item, step.mask) ==
             onModel(model.item(step.group, step.item), restore);
      break;
    default:
      same = tree.resetItemRulez(step.group, step.item) == onModel(model.item(step.group, step.item), reset);
  }
  quelfuzz::require(same, "an operation says whether there is such a node");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::Input in(quelfuzz::bytesOf(data, size));
  Tree tree;
  Model model;
  for (int steps = 0; !in.atEnd() && steps < 100; ++steps) {
    const Step step = {in.byte(), static_cast<std::uint8_t>(in.byte() % 8), static_cast<std::uint8_t>(in.byte() % 8),
                       in.word()};
    run(step, tree, model);
    quelfuzz::require(tree.getRootRulez() == model.root.effective(), "the root has the rules of its masks");
    quelfuzz::require(tree.getGroupRulez(step.group) == model.groupRules(step.group), "so has a group");
    quelfuzz::require(tree.getItemRulez(step.group, step.item) == model.itemRules(step.group, step.item),
                      "and an item");
  }
  return 0;
}
