#include "quelcore/project/QmRulezTree.h"

#include <gmock/gmock.h>

#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "testing/FailingNew.h"
#include "testing/Numbers.h"
#include "testing/Sanitized.h"

namespace {

using quel::testing::failEachNew;
using quel::testing::testRandom;
using Node = QmRulezTree::RulezNode;

constexpr std::uint32_t kAll = 0xFFFFFFFF;
constexpr std::uint32_t kBit3 = 1u << 3;

static_assert(std::has_virtual_destructor_v<QmRulezTree> && std::has_virtual_destructor_v<Node>);

/// Reaches what is for derived classes.
struct Tree : QmRulezTree {
  using QmRulezTree::addGroup;
  using QmRulezTree::addItem;
  using QmRulezTree::addRootGroup;
};

TEST(QmRulezTree, BeginsWithEverythingOpen) {
  const QmRulezTree tree;
  EXPECT_EQ(tree.getRootRulez(), kAll);
  EXPECT_EQ(tree.getGroupRulez(5), kAll);
  EXPECT_EQ(tree.getItemRulez(5, 6), kAll);
  EXPECT_EQ(QmRulezTree::getDefaultRulez(), -1);
}

TEST(QmRulezTree, DoesNothingToGroupsAndItemsThatThereAreNot) {
  Tree tree;
  EXPECT_FALSE(tree.removeGroupRulez(1, kAll) || tree.restoreGroupRulez(1, kAll) || tree.resetGroupRulez(1));
  EXPECT_FALSE(tree.removeItemRulez(1, 2, kAll) || tree.restoreItemRulez(1, 2, kAll) || tree.resetItemRulez(1, 2));
  tree.addRootGroup(1);
  EXPECT_FALSE(tree.removeItemRulez(1, 2, kAll) || tree.restoreItemRulez(1, 2, kAll) || tree.resetItemRulez(1, 2));
  EXPECT_EQ(tree.getGroupRulez(1), kAll);
  EXPECT_TRUE(tree.removeGroupRulez(1, kBit3) && tree.restoreGroupRulez(1, kBit3) && tree.resetGroupRulez(1));
}

TEST(QmRulezTree, OpensABitWhenTheLastWhoClosedItReopensIt) {
  Tree tree;
  tree.addItem(1, 2);
  EXPECT_TRUE(tree.removeItemRulez(1, 2, kBit3));
  EXPECT_TRUE(tree.removeItemRulez(1, 2, kBit3 | 1));
  EXPECT_TRUE(tree.restoreItemRulez(1, 2, kBit3));
  EXPECT_EQ(tree.getItemRulez(1, 2), kAll & ~(kBit3 | 1));
  EXPECT_TRUE(tree.restoreItemRulez(1, 2, kBit3));
  EXPECT_EQ(tree.getItemRulez(1, 2), kAll & ~1u);
}

TEST(QmRulezTree, LeavesABitOpenThatWasNeverClosed) {
  Tree tree;
  tree.restoreRootRulez(kBit3);
  EXPECT_EQ(tree.getRootRulez(), kAll);
  tree.removeRootRulez(kBit3);
  EXPECT_EQ(tree.getRootRulez(), kAll & ~kBit3);
  tree.restoreRootRulez(kBit3);  // Once suffices: the reopening before counted nothing.
  EXPECT_EQ(tree.getRootRulez(), kAll);
}

TEST(QmRulezTree, ClosesABitOfALevelForAllBelow) {
  Tree tree;
  tree.addItem(1, 2);
  tree.addItem(1, 3);
  tree.removeRootRulez(1);
  tree.removeGroupRulez(1, 2);
  tree.removeItemRulez(1, 2, 4);
  EXPECT_EQ(tree.getRootRulez(), kAll & ~1u);
  EXPECT_EQ(tree.getGroupRulez(1), kAll & ~3u);
  EXPECT_EQ(tree.getItemRulez(1, 2), kAll & ~7u);
  EXPECT_EQ(tree.getItemRulez(1, 3), kAll & ~3u);
  EXPECT_EQ(tree.getItemRulez(1, 99), kAll & ~3u);  // An unknown item has its group's.
  EXPECT_EQ(tree.getItemRulez(99, 2), kAll & ~1u);  // An unknown group has the root's.
  tree.restoreItemRulez(1, 2, kAll);
  EXPECT_EQ(tree.getItemRulez(1, 2), kAll & ~3u);
}

TEST(QmRulezTree, ResetsOneLevelOnly) {
  Tree tree;
  tree.addItem(1, 2);
  tree.removeRootRulez(1);
  tree.removeGroupRulez(1, 2);
  tree.removeItemRulez(1, 2, 4);
  tree.removeItemRulez(1, 2, 4);
  tree.resetRootRulez();
  EXPECT_EQ(tree.getItemRulez(1, 2), kAll & ~6u);
  EXPECT_TRUE(tree.resetItemRulez(1, 2));
  EXPECT_EQ(tree.getItemRulez(1, 2), kAll & ~2u);
  tree.removeItemRulez(1, 2, 4);
  tree.restoreItemRulez(1, 2, 4);  // The counts are forgotten.
  EXPECT_EQ(tree.getItemRulez(1, 2), kAll & ~2u);
  EXPECT_TRUE(tree.resetGroupRulez(1));
  EXPECT_EQ(tree.getItemRulez(1, 2), kAll);
}

TEST(QmRulezTree, WrapsACountBehind255) {
  for (const auto& [closings, reopenings, open] : {std::tuple(255, 254, false),
                                                   {255, 255, true},
                                                   {256, 0, false},
                                                   {256, 1, true},
                                                   {257, 1, true},
                                                   {258, 1, false}}) {
    Tree tree;
    for (int i = 0; i < closings; ++i) tree.removeRootRulez(kBit3);
    for (int i = 0; i < reopenings; ++i) tree.restoreRootRulez(kBit3);
    EXPECT_EQ(tree.getRootRulez() == kAll, open) << closings << " " << reopenings;
  }
}

TEST(QmRulezTree, MakesGroupsAndItemsWithTheBitsGivenOpen) {
  Tree tree;
  ASSERT_NE(tree.addRootGroup(1, 0), nullptr);
  ASSERT_NE(tree.addGroup(2, 3, kBit3), nullptr);
  ASSERT_NE(tree.addItem(4, 5, 0xF0F0), nullptr);
  EXPECT_EQ(tree.getGroupRulez(1), 0u);
  EXPECT_EQ(tree.getGroupRulez(3), kBit3);
  EXPECT_EQ(tree.getItemRulez(4, 5), 0xF0F0u);
  EXPECT_TRUE(tree.restoreGroupRulez(1, kAll));
  EXPECT_EQ(tree.getGroupRulez(1), kAll);
  EXPECT_TRUE(tree.removeGroupRulez(3, kBit3));
  EXPECT_TRUE(tree.restoreGroupRulez(3, kAll));
  EXPECT_EQ(tree.getGroupRulez(3), kAll);
}

TEST(QmRulezTree, MakesAParentThatThereIsNotWithEverythingOpen) {
  Tree tree;
  tree.addGroup(7, 8, 1);
  EXPECT_EQ(tree.getGroupRulez(7), kAll);
  EXPECT_TRUE(tree.removeGroupRulez(7, 1));
  EXPECT_EQ(tree.getGroupRulez(8), 0u);  // It is below its parent.
}

TEST(QmRulezTree, AnswersForAnIdThatIsTakenFromTheOlderGroup) {
  Tree tree;
  tree.addRootGroup(1, 1);
  Node* second = tree.addRootGroup(1, 2);
  EXPECT_EQ(tree.getGroupRulez(1), 1u);
  EXPECT_EQ(second->getRulez(), 2u);
  tree.addGroup(5, 1, 4);
  EXPECT_EQ(tree.getGroupRulez(1), 1u);
  tree.removeRootRulez(2);  // The new one is in the tree nevertheless.
  EXPECT_EQ(second->getRulez(), 0u);
}

TEST(QmRulezTree, AnswersForEqualItemsFromTheNewest) {
  Tree tree;
  tree.addItem(1, 2, 1);
  tree.addItem(1, 2, 2);
  EXPECT_EQ(tree.getItemRulez(1, 2), 2u);
}

TEST(RulezNode, FindsTheNewestChildAndTakesNoNull) {
  Node node(4);
  EXPECT_EQ(node.id(), 4);
  EXPECT_EQ(Node().id(), -1);
  EXPECT_EQ(node.findChild(1), nullptr);
  auto* older = new Node(1);
  auto* newer = new Node(1);
  node.addChild(older);
  node.addChild(nullptr);
  EXPECT_EQ(node.findChild(1), older);
  node.addChild(newer);
  EXPECT_EQ(node.findChild(1), newer);
}

TEST(RulezNode, CountsOnceItIsTouched) {
  Node parent;
  auto* child = new Node(1);
  parent.addChild(child);
  parent.removeRulez(0);
  child->restoreRulez(0);
  EXPECT_EQ(child->getRulez(), kAll);
  parent.removeRulez(1);
  EXPECT_EQ(child->getRulez(), kAll & ~1u);
  parent.resetRulez();
  EXPECT_EQ(child->getRulez(), kAll);
}

// Two trees of which one must not be destroyed: it stays, with all that it has, for the life of the program.
template <typename Value>
Value& kept(std::unique_ptr<Value> value) {
  static std::vector<std::unique_ptr<Value>>& all = *new std::vector<std::unique_ptr<Value>>;
  all.push_back(std::move(value));
  return *all.back();
}

TEST(QmRulezTree, SharesItsGroupsWithItsCopies) {
  Tree& source = kept(std::make_unique<Tree>());
  source.addItem(1, 2);
  source.removeRootRulez(1);
  Tree& copy = kept(std::make_unique<Tree>(source));
  Tree& assigned = kept(std::make_unique<Tree>());
  assigned = source;
  source.removeGroupRulez(1, 2);
  source.removeRootRulez(4);
  for (const Tree* each : {&copy, &assigned}) {
    EXPECT_EQ(each->getRootRulez(), kAll & ~1u);    // The root is its own.
    EXPECT_EQ(each->getGroupRulez(1), kAll & ~7u);  // The groups are the source's, and so is the root above them.
    EXPECT_EQ(each->getItemRulez(1, 2), kAll & ~7u);
  }
  source.addRootGroup(3, 0);
  EXPECT_EQ(copy.getGroupRulez(3), copy.getRootRulez());  // The map is its own.
}

TEST(RulezNode, SharesItsChildrenWithItsCopies) {
  Node& source = kept(std::make_unique<Node>(1));
  source.addChild(new Node(2));
  source.removeRulez(1);
  Node& copy = kept(std::make_unique<Node>(source));
  EXPECT_EQ(copy.id(), 1);
  EXPECT_EQ(copy.findChild(2), source.findChild(2));
  EXPECT_EQ(copy.getRulez(), kAll & ~1u);
}

/// Counts those that are alive.
struct Counted : Node {
  explicit Counted(std::int32_t id) : Node(id) { ++alive; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  ~Counted() override { --alive; }
  static inline int alive = 0;
};

TEST(RulezNode, DestroysAMillionSiblings) {
  const int nodes = quel::testing::kSanitized ? 100000 : 1000000;
  {
    Node root;
    for (int i = 0; i < nodes; ++i) root.addChild(new Counted(i));
    EXPECT_EQ(Counted::alive, nodes);
  }
  EXPECT_EQ(Counted::alive, 0);
}

TEST(RulezNode, DestroysAMillionLevels) {
  const int nodes = quel::testing::kSanitized ? 100000 : 1000000;
  {
    Node root;
    Node* deepest = &root;
    for (int i = 0; i < nodes; ++i) {
      auto* next = new Counted(i);
      deepest->addChild(next);
      deepest = next;
    }
    EXPECT_EQ(deepest->getRulez(), kAll);
  }
  EXPECT_EQ(Counted::alive, 0);
}

TEST(RulezNode, DestroysTreesOfAnyShape) {
  auto random = testRandom();
  for (int round = 0; round < 200; ++round) {
    {
      Node root;
      std::vector<Node*> nodes = {&root};
      for (int i = 0; i < 100; ++i) {
        auto* node = new Counted(i);
        nodes[random() % nodes.size()]->addChild(node);
        nodes.push_back(node);
      }
    }
    ASSERT_EQ(Counted::alive, 0);
  }
}

TEST(QmRulezTree, GivesNullAndStaysWholeWhenMemoryIsExhausted) {
  EXPECT_GE(failEachNew(
                [] {
                  Tree tree;
                  const bool added = tree.addGroup(1, 2, 7) != nullptr && tree.addItem(2, 3, 5) != nullptr;
                  return std::pair(added, tree.getItemRulez(2, 3));
                },
                [](const std::pair<bool, std::uint32_t>& result, bool failed) {
                  EXPECT_EQ(result.first, !failed);
                  EXPECT_TRUE(failed ? result.second == kAll || result.second == 7u : result.second == 5u);
                }),
            5);
}

}  // namespace
