// The rules tree against a model: for each node its open bits one by one, and its parent.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <utility>
#include <vector>

#include "quelcore/project/QmRulezTree.h"
#include "testing/Numbers.h"
#include "testing/Sanitized.h"

namespace {

using quel::testing::testRandom;

constexpr std::uint32_t kAll = 0xFFFFFFFF;

/// Reaches what is for derived classes.
struct Tree : QmRulezTree {
  using QmRulezTree::addGroup;
  using QmRulezTree::addItem;
  using QmRulezTree::addRootGroup;
};

struct ModelNode {
  int parent = -1;
  bool counts = false;
  std::array<int, 32> closings = {};
  std::array<bool, 32> open = [] {
    std::array<bool, 32> all;
    all.fill(true);
    return all;
  }();

  void close(std::uint32_t mask) {
    forEach(mask, [&](std::size_t bit) {
      open[bit] = false;
      closings[bit] = (closings[bit] + 1) % 256;
    });
  }
  void reopen(std::uint32_t mask) {
    forEach(mask, [&](std::size_t bit) {
      closings[bit] = std::max(closings[bit] - 1, 0);
      if (closings[bit] == 0) open[bit] = true;
    });
  }
  void reset() {
    const int above = parent;
    *this = ModelNode();
    parent = above;
  }

 private:
  template <typename Do>
  void forEach(std::uint32_t mask, Do act) {
    counts = true;
    for (std::size_t bit = 0; bit < 32; ++bit) {
      if ((mask & (1u << bit)) != 0) act(bit);
    }
  }
};

struct Model {
  std::vector<ModelNode> nodes{1};
  std::map<int, int> groups;
  std::map<std::pair<int, int>, int> children;  ///< The newest by parent and id.

  int add(int parent, int id, std::uint32_t rulez, bool isGroup) {
    const int node = static_cast<int>(nodes.size());
    nodes.emplace_back();
    nodes.back().parent = parent;
    if (rulez != kAll) {
      nodes.back().close(~rulez);
      nodes.back().counts = true;
    }
    children[{parent, id}] = node;
    if (isGroup) groups.emplace(id, node);
    return node;
  }
  int group(int id) const { return groups.contains(id) ? groups.at(id) : -1; }
  int groupMade(int id) { return groups.contains(id) ? groups.at(id) : add(0, id, kAll, true); }
  int item(int groupId, int id) const {
    const auto found = children.find({group(groupId), id});
    return found == children.end() ? -1 : found->second;
  }
  std::uint32_t open(int node) const {
    std::uint32_t mask = kAll;
    for (; node != -1; node = nodes[static_cast<std::size_t>(node)].parent) {
      const ModelNode& each = nodes[static_cast<std::size_t>(node)];
      for (std::size_t bit = 0; bit < 32; ++bit) {
        if (each.counts && !each.open[bit]) mask &= ~(1u << bit);
      }
    }
    return mask;
  }
};

TEST(QmRulezTree, AgreesWithAModelOverRandomOperations) {
  auto random = testRandom();
  const auto id = [&] { return static_cast<int>(random() % 5); };
  const auto mask = [&] { return static_cast<std::uint32_t>(random() % 3 == 0 ? random() : 1u << random() % 4); };
  for (int round = 0; round < (quel::testing::kSanitized ? 20 : 100); ++round) {
    Tree tree;
    Model model;
    const auto act = [&](int node, int what, std::uint32_t bits) {
      if (node == -1) return false;
      ModelNode& target = model.nodes[static_cast<std::size_t>(node)];
      what == 0 ? target.close(bits) : what == 1 ? target.reopen(bits) : target.reset();
      return true;
    };
    for (int step = 0; step < 400; ++step) {
      const int g = id(), i = id();
      const std::uint32_t bits = mask();
      // Many closings in a row now and then, so that counts wrap.
      const int times = random() % 50 == 0 ? 250 + static_cast<int>(random() % 12) : 1;
      switch (random() % 12) {
        case 0:
          tree.addRootGroup(g, bits), model.add(0, g, bits, true);
          break;
        case 1: {
          tree.addGroup(g, i, bits);
          const int parent = model.groupMade(g);
          model.add(parent, i, bits, true);
          break;
        }
        case 2: {
          tree.addItem(g, i);
          const int parent = model.groupMade(g);
          model.add(parent, i, kAll, false);
          break;
        }
        case 3:
          for (int t = 0; t < times; ++t) tree.removeRootRulez(bits), act(0, 0, bits);
          break;
        case 4:
          tree.restoreRootRulez(bits), act(0, 1, bits);
          break;
        case 5:
          tree.resetRootRulez(), act(0, 2, bits);
          break;
        case 6:
          for (int t = 0; t < times; ++t) ASSERT_EQ(tree.removeGroupRulez(g, bits), act(model.group(g), 0, bits));
          break;
        case 7:
          ASSERT_EQ(tree.restoreGroupRulez(g, bits), act(model.group(g), 1, bits));
          break;
        case 8:
          ASSERT_EQ(tree.resetGroupRulez(g), act(model.group(g), 2, bits));
          break;
        case 9:
          for (int t = 0; t < times; ++t) ASSERT_EQ(tree.removeItemRulez(g, i, bits), act(model.item(g, i), 0, bits));
          break;
        case 10:
          ASSERT_EQ(tree.restoreItemRulez(g, i, bits), act(model.item(g, i), 1, bits));
          break;
        default:
          ASSERT_EQ(tree.resetItemRulez(g, i), act(model.item(g, i), 2, bits));
          break;
      }
      ASSERT_EQ(tree.getRootRulez(), model.open(0));
      const int group = model.group(g) == -1 ? 0 : model.group(g);
      ASSERT_EQ(tree.getGroupRulez(g), model.open(group));
      ASSERT_EQ(tree.getItemRulez(g, i), model.open(model.item(g, i) == -1 ? group : model.item(g, i)));
    }
  }
}

}  // namespace
