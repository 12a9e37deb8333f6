// The choices of the partition, its walk, and the order in which nodes come to be.
#include "quelcore/features/QmInMemBSP.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "quelcore/features/QmCOPBSP_fixture.h"

namespace {

using namespace quel::testing;
using Tree = QmInMemBSP_t<QmVec3>;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

QmBBox boxOfSides(double x, double y, double z) { return {QmVec3(10, 20, 30), QmVec3(10 + x, 20 + y, 30 + z)}; }

std::pair<std::int32_t, double> choice(const QmBBox& box) {
  Tree tree;
  std::int32_t axis = -1;
  double offset = -1;
  tree.choose_secant_plane(box, axis, offset);
  return {axis, offset};
}

TEST(QmInMemBSP, HasItsFieldsInOrder) {
  // A table of virtual operations comes first.
  EXPECT_EQ(sizeof(Tree), 4 * sizeof(void*));
  Tree tree;
  EXPECT_EQ(tree.root, nullptr);
  EXPECT_EQ(tree.indices, nullptr);
  EXPECT_EQ(tree.indexCount, 0);
  const auto* base = reinterpret_cast<const char*>(&tree);
  EXPECT_EQ(reinterpret_cast<const char*>(&tree.root), base + 8);
  EXPECT_EQ(reinterpret_cast<const char*>(&tree.indices), base + 16);
  EXPECT_EQ(reinterpret_cast<const char*>(&tree.indexCount), base + 24);
  EXPECT_EQ(offsetof(Tree::BSP_treeNode, box), 24u);
  EXPECT_EQ(offsetof(Tree::BSP_treeNode, pointIndices), 72u);
  EXPECT_EQ(offsetof(Tree::BSP_treeNode, pointCount), 80u);
}

TEST(QmInMemBSP, SplitsTheLongestSideInItsMiddleAndOfEqualsTheLowestAxis) {
  EXPECT_EQ(choice(boxOfSides(4, 4, 4)), std::pair(0, 12.0));
  EXPECT_EQ(choice(boxOfSides(3, 4, 4)), std::pair(1, 22.0));
  EXPECT_EQ(choice(boxOfSides(4, 3, 4)), std::pair(0, 12.0));
  EXPECT_EQ(choice(boxOfSides(4, 4, 5)), std::pair(2, 32.5));
  EXPECT_EQ(choice(boxOfSides(3, 5, 4)), std::pair(1, 22.5));
  EXPECT_EQ(choice(boxOfSides(0, 0, 0)), std::pair(0, 10.0));
}

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(QmInMemBSP, HalvesTheSumOfTheTwoEndsAndNothingElse) {
  constexpr double kLargest = std::numeric_limits<double>::max();
  constexpr double kSmallest = std::numeric_limits<double>::denorm_min();
  const auto middle = [](double low, double high) { return choice({QmVec3(low, 0, 0), QmVec3(high, 0, 0)}).second; };
  EXPECT_EQ(middle(kSmallest, kSmallest), kSmallest);  // Half of either is 0.
  EXPECT_EQ(middle(kLargest, kLargest), kInfinity);    // Their sum is no double.
  EXPECT_EQ(middle(-kLargest, kLargest), 0.0);         // Nor is their difference.
  EXPECT_EQ(middle(0.1, 0.7), (0.1 + 0.7) * 0.5);
  auto random = testRandom();
  int elsewhere = 0;
  for (int round = 0; round < 1000; ++round) {
    const double low = uniform(random, -3, 0), high = uniform(random, 0, 1);
    EXPECT_EQ(middle(low, high), (low + high) * 0.5);
    if (low + (high - low) * 0.5 != (low + high) * 0.5) ++elsewhere;
  }
  EXPECT_GT(elsewhere, 0);  // The other way of writing it shows here.
}

TEST(QmInMemBSP, PrefersASideOnlyToOneThatIsKnownToBeShorter) {
  EXPECT_EQ(choice(boxOfSides(kNaN, 4, 5)).first, 0);
  EXPECT_EQ(choice(boxOfSides(4, kNaN, 3)).first, 0);
  EXPECT_EQ(choice(boxOfSides(4, kNaN, 5)).first, 2);
  EXPECT_EQ(choice(boxOfSides(4, 5, kNaN)).first, 1);
  EXPECT_EQ(choice(boxOfSides(4, 3, kNaN)).first, 0);
  EXPECT_EQ(choice(boxOfSides(kNaN, kNaN, kNaN)).first, 0);
}

TEST(QmInMemBSP, GivesTheSameChoiceAsAPlane) {
  Tree tree;
  auto random = testRandom();
  for (int round = 0; round < 100; ++round) {
    const QmBBox box = boxOfSides(uniform(random, 0, 2), uniform(random, 0, 2), uniform(random, 0, 2));
    QmVec3 point, normal(9, 9, 9);
    tree.choose_secant_plane(box, point, normal);
    const auto [axis, offset] = choice(box);
    QmVec3 unitVector;
    unitVector[axis] = 1;
    EXPECT_EQ(normal, unitVector);
    EXPECT_EQ(point[axis], offset);
    for (int other = 0; other < 3; ++other) {
      EXPECT_EQ(point[other], (box.minimum()[other] + box.maximum()[other]) * 0.5);
    }
  }
}

TEST(QmInMemBSP, SplitsFromFiftyPoints) {
  for (const std::int32_t count : {1, 49, 50}) {
    const Cloud cloud = randomCloud(static_cast<std::size_t>(count));
    Tree tree;
    tree.build(cloud.data(), count, nullptr);
    EXPECT_EQ(isLeaf(tree.root), count < 50) << count;
    EXPECT_EQ(tree.root->box, boxAround(cloud));
    EXPECT_EQ(tree.root->parent, nullptr);
  }
}

TEST(QmInMemBSP, TellsTheSidesOfAPlaneAndCountsThePlaneItselfAsAbove) {
  const QmVec3 point(1, 2, 3), normal(0, 0, 2);
  EXPECT_EQ(Tree::classify(point, normal, QmVec3(7, 7, 3.5)), Tree::PNT_ABOVE);
  EXPECT_EQ(Tree::classify(point, normal, QmVec3(7, 7, 3)), Tree::PNT_ABOVE);
  EXPECT_EQ(Tree::classify(point, normal, QmVec3(7, 7, 2.5)), Tree::PNT_BELOW);
  EXPECT_EQ(Tree::classify(point, QmVec3(1, 1, 0), QmVec3(2, 0.5, 0)), Tree::PNT_BELOW);
  EXPECT_EQ(Tree::classify(point, normal, QmVec3(kNaN, 7, 7)), Tree::PNT_BELOW);
  EXPECT_EQ(Tree::classify(point, QmVec3(0, kNaN, 0), QmVec3(7, 7, 7)), Tree::PNT_BELOW);
  EXPECT_EQ(Tree::classify(QmVec3(0, 0, kNaN), normal, QmVec3(7, 7, 7)), Tree::PNT_BELOW);
  EXPECT_EQ(Tree::PNT_BELOW, 0);
  EXPECT_EQ(Tree::PNT_ABOVE, 1);
}

TEST(QmInMemBSP, TellsTheSidesOfAnAxisPlane) {
  const QmVec3 p(1, 2, 3);
  for (int axis = 0; axis < 3; ++axis) {
    EXPECT_EQ(Tree::simple_classify(p, axis, p[axis]), Tree::PNT_ABOVE);
    EXPECT_EQ(Tree::simple_classify(p, axis, p[axis] + 1e-9), Tree::PNT_BELOW);
    EXPECT_EQ(Tree::simple_classify(p, axis, p[axis] - 1e-9), Tree::PNT_ABOVE);
  }
  EXPECT_EQ(Tree::simple_classify(QmVec3(kNaN, 9, 9), 0, 0.0), Tree::PNT_BELOW);
  EXPECT_EQ(Tree::simple_classify(p, 0, kNaN), Tree::PNT_BELOW);
  EXPECT_EQ(Tree::simple_classify(p, 3, 0.0), Tree::PNT_BELOW);
  EXPECT_EQ(Tree::simple_classify(p, -1, 0.0), Tree::PNT_BELOW);
}

Cloud twoWalls() {
  Cloud cloud = randomCloud(60);
  for (std::size_t n = 0; n < 60; ++n)
    cloud[n] = QmVec3(n % 2 == 0 ? 1.0 : 0.0, cloud[n][1] / 4000, cloud[n][2] / 4000);
  return cloud;
}

TEST(QmInMemBSP, PutsPointsOnThePlaneOnTheRight) {
  Cloud cloud = twoWalls();
  cloud[7] = QmVec3(0.5, 0, 0);
  Tree tree;
  tree.build(cloud.data(), 60, nullptr);
  ASSERT_FALSE(isLeaf(tree.root));
  EXPECT_EQ(tree.root->left->box.maximum().x(), 0.0);
  EXPECT_EQ(tree.root->right->box.minimum().x(), 0.5);
  EXPECT_EQ(tree.root->left->pointCount, 29);
  EXPECT_EQ(tree.root->right->pointCount, 31);
}

TEST(QmInMemBSP, PutsPointsThatAreNowhereOnTheLeft) {
  Cloud cloud = twoWalls();
  cloud[6] = QmVec3(kNaN, 0, 0);  // One of those at 1.
  Tree tree;
  tree.build(cloud.data(), 60, nullptr);
  ASSERT_FALSE(isLeaf(tree.root));
  EXPECT_EQ(tree.root->left->pointCount, 31);
  EXPECT_EQ(tree.root->right->pointCount, 29);
  EXPECT_EQ(tree.root->right->box.minimum().x(), 1.0);
}

TEST(QmInMemBSP, ComparesTheDifferenceSoThatNoPointLiesAboveAnInfiniteMiddle) {
  EXPECT_EQ(Tree::simple_classify(QmVec3(kInfinity, 0, 0), 0, kInfinity), Tree::PNT_BELOW);
  Cloud cloud = twoWalls();
  for (std::size_t n = 0; n < 60; n += 2) cloud[n] = QmVec3(kInfinity, 0, 0);
  Tree tree;
  tree.build(cloud.data(), 60, nullptr);
  EXPECT_TRUE(isLeaf(tree.root));
}

TEST(QmInMemBSP, LeavesEntriesWhereTheExchangesBringThem) {
  // Fifty points at 0 but for entries 1, 3 and 48 at 1: entry 1 goes to the end, and 49 comes in its place; entry 3
  // changes with 48, which lies above as well and changes with 47.
  Cloud cloud(50);
  for (const std::size_t n : {1u, 3u, 48u}) cloud[n] = QmVec3(1, 0, 0);
  Tree tree;
  tree.build(cloud.data(), 50, nullptr);
  std::vector<std::int32_t> expected(50);
  for (std::int32_t n = 0; n < 50; ++n) expected[static_cast<std::size_t>(n)] = n;
  expected[1] = 49;
  expected[3] = 47;
  expected[47] = 48;
  expected[48] = 3;
  expected[49] = 1;
  EXPECT_EQ(std::vector<std::int32_t>(tree.indices, tree.indices + 50), expected);
  EXPECT_EQ(tree.root->left->pointCount, 47);
}

TEST(QmInMemBSP, HasAZeroBoxWithoutPoints) {
  Tree tree;
  tree.build(nullptr, 0, nullptr);
  ASSERT_NE(tree.root, nullptr);
  EXPECT_EQ(tree.root->box, QmBBox());
  EXPECT_EQ(tree.root->pointCount, 0);
  EXPECT_TRUE(isLeaf(tree.root));
}

TEST(QmInMemBSP, WalksNowhereBeforeItIsBuiltOrWithoutACallback) {
  Tree tree;
  EXPECT_THAT(nodesOf(tree), IsEmpty());
  tree.build(nullptr, 0, nullptr);
  tree.traverse(nullptr, nullptr);
  EXPECT_EQ(nodesOf(tree).size(), 1u);
}

TEST(QmInMemBSP, PassesOverTheSubtreeOfANodeThatTheCallbackRefuses) {
  const Cloud cloud = randomCloud(2000);
  Tree tree;
  tree.build(cloud.data(), 2000, nullptr);
  struct Walk {
    const Node* refused;
    std::vector<Node*> met;
  };
  const auto callback = [](void* context, Node* node) {
    auto* walk = static_cast<Walk*>(context);
    walk->met.push_back(node);
    return node != walk->refused;
  };
  const std::vector<Node*> all = nodesOf(tree);
  for (const Node* refused : all) {
    Walk walk{refused, {}};
    tree.traverse(callback, &walk);
    std::vector<Node*> expected;
    for (Node* node : all) {
      const Node* up = node->parent;
      while (up != nullptr && up != refused) up = up->parent;
      if (up == nullptr) expected.push_back(node);
    }
    ASSERT_EQ(walk.met, expected);
  }
  Walk walk{tree.root, {}};
  tree.traverse(callback, &walk);
  EXPECT_THAT(walk.met, ElementsAre(tree.root));
}

/// Notes each node that is asked about, and whether its parent has a right child by then.
class Watched : public Tree {
 public:
  bool divide_criteria(BSP_treeNode* node) override {
    asked.push_back(node);
    if (node->parent != nullptr && node == node->parent->left) leftCameFirst &= node->parent->right == nullptr;
    return Tree::divide_criteria(node);
  }
  std::vector<BSP_treeNode*> asked;
  bool leftCameFirst = true;
};

TEST(QmInMemBSP, FinishesALeftChildBeforeItMakesTheRightOne) {
  const Cloud cloud = randomCloud(3000);
  Watched tree;
  tree.build(cloud.data(), 3000, nullptr);
  EXPECT_EQ(tree.asked, nodesOf(tree));
  EXPECT_TRUE(tree.leftCameFirst);
  EXPECT_GT(tree.asked.size(), 60u);
}

class SplitsAcrossZ : public Tree {
 public:
  using Tree::choose_secant_plane;
  explicit SplitsAcrossZ(std::int32_t axis) : axis_(axis) {}
  void choose_secant_plane(const QmBBox& box, std::int32_t& axis, double& offset) override {
    axis = axis_;
    offset = (box.minimum()[2] + box.maximum()[2]) * 0.5;
  }

 private:
  std::int32_t axis_;
};

TEST(QmInMemBSP, AsksItsOwnClassForThePlane) {
  const Cloud cloud = twoWalls();
  SplitsAcrossZ tree(2);
  tree.build(cloud.data(), 60, nullptr);
  ASSERT_FALSE(isLeaf(tree.root));
  EXPECT_LT(tree.root->left->box.maximum().z(), tree.root->right->box.minimum().z());
  for (const std::int32_t axis : {-1, 3, 1000000}) {
    SplitsAcrossZ wrong(axis);
    wrong.build(cloud.data(), 60, nullptr);
    EXPECT_TRUE(isLeaf(wrong.root)) << axis;
  }
}

}  // namespace
