// The partition of clouds against a plain model, up to a million points.
#include "quelcore/features/QmCOPBSP.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <rapidcheck/gtest.h>

#include <cstring>
#include <limits>

#include "quelcore/features/QmCOPBSP_fixture.h"
#include "testing/FailingMemory.h"
#include "testing/Sanitized.h"

namespace {

using namespace quel::testing;
using quelplatform::allocatedBlocks;
using ::testing::ElementsAre;

std::int32_t sizeOf(const Cloud& cloud) { return static_cast<std::int32_t>(cloud.size()); }

void build(QmCOPBSP& tree, const Cloud& cloud, std::int32_t limit) {
  tree.build(cloud.data(), sizeOf(cloud), boxAround(cloud), limit);
}

/// Links, runs, boxes, leaves and the permutation itself are those of the model.
void expectModel(QmCOPBSP& tree, const Cloud& cloud, const QmBBox& rootBox, std::size_t limit) {
  const std::vector<ModelNode> model = modelPartition(cloud, rootBox, limit);
  const std::vector<Node*> nodes = nodesOf(tree);
  ASSERT_EQ(nodes.size(), model.size());
  std::size_t first = 0;
  for (std::size_t n = 0; n < nodes.size(); ++n) {
    const Node& node = *nodes[n];
    ASSERT_EQ(static_cast<std::size_t>(node.pointCount), model[n].indices.size());
    ASSERT_EQ(node.box, model[n].box) << n;
    ASSERT_EQ(isLeaf(&node), model[n].leaf) << n;
    ASSERT_EQ(node.left == nullptr, node.right == nullptr);
    if (!model[n].leaf) {
      ASSERT_EQ(node.left->parent, &node);
      ASSERT_EQ(node.right->parent, &node);
      ASSERT_EQ(node.left->pointIndices, node.pointIndices);
      ASSERT_EQ(node.right->pointIndices, node.pointIndices + node.left->pointCount);
      ASSERT_EQ(node.left->pointCount + node.right->pointCount, node.pointCount);
      continue;
    }
    ASSERT_EQ(node.pointIndices, tree.indices + first) << n;
    ASSERT_TRUE(std::equal(model[n].indices.begin(), model[n].indices.end(), node.pointIndices)) << n;
    first += model[n].indices.size();
  }
  ASSERT_EQ(first, cloud.size());
}

void expectModel(const Cloud& cloud, std::int32_t limit) {
  QmCOPBSP tree;
  build(tree, cloud, limit);
  expectModel(tree, cloud, boxAround(cloud), static_cast<std::size_t>(limit));
}

TEST(QmCOPBSP, IsThePlainModelOnCloudsOfEveryKind) {
  for (const std::int32_t limit : {1, 2, 50, 500}) {
    for (const std::size_t count : {1u, 2u, 499u, 500u, 3000u}) {
      expectModel(randomCloud(count), limit);
      expectModel(clusteredCloud(count), limit);
      expectModel(planarCloud(count), limit);
      expectModel(collinearCloud(count), limit);
      expectModel(duplicatedCloud(count), limit);
    }
    expectModel(deepCloud(300), limit);
  }
}

TEST(QmCOPBSP, IsThePlainModelOnAMillionPoints) {
  expectModel(randomCloud(kSanitized ? 50000 : 1000000), 500);
  expectModel(clusteredCloud(50000), 500);
}

TEST(QmCOPBSP, IsThePlainModelOnCloudsInTheOrderOfAScan) {
  // Runs of every length on one side of a plane: rows one after the other, some backwards, some out of place.
  auto random = testRandom();
  for (const std::size_t columns : {3u, 17u, 63u, 64u, 65u, 130u, 400u}) {
    for (const std::size_t unordered : {0u, 1u, 100u}) {
      expectModel(scannedCloud(random, columns, 60, unordered), 20);
      expectModel(scannedCloud(random, 60, columns, unordered), 20);
    }
  }
  expectModel(scannedCloud(random, 200, 300, 50), 500);
}

TEST(QmCOPBSP, BoxesToTheBitWhateverTheCoordinates) {
  // Of zeros the first stays, whatever its sign; what is no number counts only where it comes first.
  auto random = testRandom();
  for (int round = 0; round < 300; ++round) {
    Cloud cloud(1 + random() % 400);
    for (QmVec3& point : cloud) {
      for (double& value : point.v) {
        const double special[] = {
            0.0, -0.0, 1.0, -1.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()};
        value = special[random() % (round % 2 == 0 ? 4 : std::size(special))];
      }
    }
    QmCOPBSP tree;
    build(tree, cloud, 2);
    const std::vector<ModelNode> model = modelPartition(cloud, boxAround(cloud), 2);
    const std::vector<Node*> nodes = nodesOf(tree);
    ASSERT_EQ(nodes.size(), model.size());
    for (std::size_t n = 0; n < nodes.size(); ++n) {
      ASSERT_EQ(std::memcmp(&nodes[n]->box, &model[n].box, sizeof(QmBBox)), 0) << round << ' ' << n;
    }
  }
}

RC_GTEST_PROP(QmCOPBSP, IsThePlainModelOnSmallGrids, ()) {
  // Coordinates from a few integers: ties, coincident points and points exactly on planes everywhere.
  const auto values = *rc::gen::nonEmpty(rc::gen::container<std::vector<int>>(rc::gen::inRange(-2, 3)));
  Cloud cloud(values.size());
  for (std::size_t n = 0; n < 3 * values.size(); ++n) cloud[n / 3].v[n % 3] = values[(n * 7) % values.size()];
  expectModel(cloud, *rc::gen::inRange(0, 6));
  RC_ASSERT(!::testing::Test::HasFailure());
}

TEST(QmCOPBSP, SplitsAtExactlyTheLimitAndNotBelow) {
  QmCOPBSP tree;
  build(tree, randomCloud(499), 500);
  EXPECT_TRUE(isLeaf(tree.root));
  build(tree, randomCloud(500), 500);
  EXPECT_FALSE(isLeaf(tree.root));
}

TEST(QmCOPBSP, KeepsAThousandCopiesOfAPointInOneLeaf) {
  QmCOPBSP tree;
  build(tree, Cloud(1000, QmVec3(1, 2, 3)), 500);
  EXPECT_TRUE(isLeaf(tree.root));
  EXPECT_EQ(tree.root->pointCount, 1000);
}

TEST(QmCOPBSP, TakesTheGivenBoxForTheRootAndDoesNotMendIt) {
  const Cloud cloud = randomCloud(1000);
  const QmBBox below(QmVec3(-5000, -5000, -5000), QmVec3(-4000, -4000, -4000));
  QmCOPBSP tree;
  tree.build(cloud.data(), 1000, below, 500);
  EXPECT_TRUE(isLeaf(tree.root));  // Every point lies above the plane.
  EXPECT_EQ(tree.root->box, below);
  const QmBBox wide(QmVec3(-3000, -10, -10), QmVec3(1000, 10, 10));
  tree.build(cloud.data(), 1000, wide, 500);
  EXPECT_TRUE(isLeaf(tree.root));  // The middle of that box lies at -1000.
  const QmBBox shifted(QmVec3(-1500, -10, -10), QmVec3(1000, 10, 10));
  tree.build(cloud.data(), 1000, shifted, 100);
  expectModel(tree, cloud, shifted, 100);
}

TEST(QmCOPBSP, HasNoPointsWhereThereAreNone) {
  const Cloud cloud = randomCloud(3);
  for (const std::int32_t count : {0, -1, -2147483647}) {
    QmCOPBSP tree;
    tree.build(cloud.data(), count, boxAround(cloud), 0);
    ASSERT_NE(tree.root, nullptr);
    EXPECT_TRUE(isLeaf(tree.root));
    EXPECT_EQ(tree.root->pointCount, 0);
    EXPECT_EQ(tree.indexCount, 0);
  }
  QmCOPBSP tree;
  tree.build(nullptr, 5, QmBBox(), 1);
  EXPECT_EQ(tree.root->pointCount, 0);
}

TEST(QmCOPBSP, EndsOnValuesThatAreNoNumbers) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kLargest = std::numeric_limits<double>::max();
  const double specials[] = {kNaN, kInfinity, -kInfinity, kLargest, -kLargest, 0.0, -0.0, 1.0};
  auto random = testRandom();
  for (int round = 0; round < 300; ++round) {
    Cloud cloud(40);
    for (QmVec3& p : cloud) {
      for (double& value : p.v) value = specials[random() % 8];
    }
    QmCOPBSP tree;
    build(tree, cloud, 1);
    std::vector<std::int32_t> sorted(tree.indices, tree.indices + 40);
    std::sort(sorted.begin(), sorted.end());
    for (std::int32_t n = 0; n < 40; ++n) EXPECT_EQ(sorted[static_cast<std::size_t>(n)], n);
  }
}

TEST(QmCOPBSP, NeedsNoStackForATreeAsDeepAsItHasPoints) {
  const auto work = [](void* found) -> void* {
    const Cloud cloud = deepCloud(1070);
    QmCOPBSP tree;
    build(tree, cloud, 1);
    std::size_t depth = 0;
    for (const Node* node : nodesOf(tree)) {
      std::size_t own = 0;
      for (const Node* up = node; up->parent != nullptr; up = up->parent) ++own;
      depth = std::max(depth, own);
    }
    *static_cast<std::size_t*>(found) = depth;
    return nullptr;
  };
  // With a frame of 100 bytes a node such a tree would fill this stack twice.
  pthread_attr_t small;
  pthread_attr_init(&small);
  pthread_attr_setstacksize(&small, kSanitized ? 256 * 1024 : 64 * 1024);
  std::size_t depth = 0;
  pthread_t thread{};
  ASSERT_EQ(pthread_create(&thread, &small, work, &depth), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&small);
  EXPECT_GT(depth, 1500u);
}

TEST(QmCOPBSP, IsEmptyWhenMemoryIsExhausted) {
  const Cloud cloud = randomCloud(64);
  const std::int64_t failures = failEachAllocation([&](std::int64_t) {
    QmCOPBSP tree;
    build(tree, cloud, 8);
    if (tree.root != nullptr) return expectModel(tree, cloud, boxAround(cloud), 8);
    EXPECT_EQ(tree.indices, nullptr);
    EXPECT_EQ(tree.indexCount, 0);
    EXPECT_TRUE(nodesOf(tree).empty());
  });
  EXPECT_EQ(failures, 1 + static_cast<std::int64_t>(modelPartition(cloud, boxAround(cloud), 8).size()));
}

TEST(QmCOPBSP, ReleasesTheFirstTreeAtASecondBuild) {
  const std::int64_t before = allocatedBlocks();
  {
    QmCOPBSP tree;
    build(tree, randomCloud(5000), 10);
    EXPECT_GT(allocatedBlocks(), before + 500);
    build(tree, randomCloud(3), 10);
    EXPECT_EQ(allocatedBlocks(), before + 2);
    // A box of the old tree serves the new one.
    tree.build(nullptr, 0, tree.root->box, 10);
    EXPECT_EQ(tree.root->box, boxAround(randomCloud(3)));
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(QmCOPBSP, SharesItsTreeWithItsCopies) {
  const Cloud cloud = randomCloud(100);
  QmCOPBSP tree;
  build(tree, cloud, 10);
  QmCOPBSP copy(tree);
  QmCOPBSP assigned;
  assigned = tree;
  for (QmCOPBSP* other : {&copy, &assigned}) {
    EXPECT_EQ(other->root, tree.root);
    EXPECT_EQ(other->indices, tree.indices);
    EXPECT_EQ(other->indexCount, 100);
    EXPECT_EQ(other->leafLimit, 10);
    other->root = nullptr;  // One of them alone may free what they share.
    other->indices = nullptr;
  }
}

TEST(QmCOPBSP, WalksTheSameWayUnderBothNames) {
  QmCOPBSP tree;
  build(tree, randomCloud(300), 20);
  std::vector<Node*> walked;
  tree.traverseBSP(
      [](void* context, Node* node) {
        static_cast<std::vector<Node*>*>(context)->push_back(node);
        return true;
      },
      &walked);
  EXPECT_EQ(walked, nodesOf(tree));
}

TEST(QmCOPBSP, HasNoLimitOfItsLeavesBeforeItIsBuilt) { EXPECT_EQ(QmCOPBSP().leafLimit, 0); }

}  // namespace
