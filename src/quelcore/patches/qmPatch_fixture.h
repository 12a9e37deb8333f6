// Patches whose arrays stand in vectors, and plain models of their index.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <numeric>
#include <vector>

#include "quelcore/features/QmCOPBSP_fixture.h"
#include "quelcore/patches/QmPatchHelpers.h"
#include "quelcore/records/qmPatch.h"
#include "testing/Numbers.h"

namespace quel::testing {

struct Position {
  double xy[2];
};

/// A patch of random points in an image of 1536 x 1000 pixels, each with a value that is its number.
class PatchFixture {
 public:
  explicit PatchFixture(const std::vector<std::uint32_t>& subPatches, bool withImage = true) {
    const std::size_t count = std::accumulate(subPatches.begin(), subPatches.end(), std::size_t{0});
    auto random = testRandom();
    points = randomCloud(count);
    for (std::size_t n = 0; n < count; ++n) {
      positions.push_back({{uniform(random, 0, 1536), uniform(random, 0, 1000)}});
      values.push_back(static_cast<std::int32_t>(n));
    }
    patch.id.imageWidth = 1536;
    patch.id.imageHeight = 1000;
    patch.subPatchCount = static_cast<std::uint8_t>(subPatches.size());
    for (std::size_t s = 0; s < std::min<std::size_t>(subPatches.size(), 8); ++s) {
      patch.subPatchPoints[s] = subPatches[s];
      patch.subPatchTag[s] = static_cast<std::uint8_t>(10 + s);
    }
    patch.pointCount = static_cast<std::int32_t>(count);
    if (!withImage) positions.clear();
    attach();
  }

  /// Points the patch to the arrays as they are now; an empty one is absent.
  void attach() {
    patch.points3D = points.empty() ? nullptr : reinterpret_cast<double(*)[3]>(points.data());
    patch.points2D = positions.empty() ? nullptr : reinterpret_cast<double(*)[2]>(positions.data());
    patch.pointValues = values.empty() ? nullptr : values.data();
  }

  bool index() { return QmPatchCreateIndex(&patch, bins); }

  Cloud points;
  std::vector<Position> positions;
  std::vector<std::int32_t> values;
  qmPatch patch{};
  qmvector<qmPatchBinInfo> bins;
};

/// A bin as it should be: the numbers of its points and its tag.
struct ModelBin {
  std::vector<std::uint32_t> points;
  std::uint8_t tag;
};

inline std::vector<ModelBin> modelOfCells(const PatchFixture& before) {
  std::vector<ModelBin> bins;
  std::uint32_t first = 0;
  for (int s = 0; s < before.patch.subPatchCount; ++s) {
    std::map<std::pair<int, int>, std::vector<std::uint32_t>> cells;  // Ordered by column, then row.
    for (std::uint32_t n = first; n < first + before.patch.subPatchPoints[s]; ++n) {
      const double(&xy)[2] = before.positions[n].xy;
      cells[{static_cast<int>(xy[0]) / 32, static_cast<int>(xy[1]) / 32}].push_back(n);
    }
    for (auto& [cell, points] : cells) bins.push_back({points, before.patch.subPatchTag[s]});
    first += before.patch.subPatchPoints[s];
  }
  return bins;
}

inline std::vector<ModelBin> modelOfLeaves(const PatchFixture& before) {
  std::vector<ModelBin> bins;
  std::uint32_t first = 0;
  for (int s = 0; s < before.patch.subPatchCount; ++s) {
    const auto begin = before.points.begin() + first;
    const Cloud own(begin, begin + before.patch.subPatchPoints[s]);
    for (const ModelNode& node : modelPartition(own, boxAround(own), 500)) {
      if (!node.leaf) continue;
      ModelBin bin{{}, before.patch.subPatchTag[s]};
      for (const std::int32_t n : node.indices) bin.points.push_back(first + static_cast<std::uint32_t>(n));
      bins.push_back(bin);
    }
    first += before.patch.subPatchPoints[s];
  }
  return bins;
}

/// Bins, boxes and all arrays are those of the model.
inline void expectIndex(const PatchFixture& after, const PatchFixture& before, const std::vector<ModelBin>& model) {
  ASSERT_EQ(after.bins.size(), model.size());
  std::uint32_t start = 0;
  for (std::size_t b = 0; b < model.size(); ++b) {
    const qmPatchBinInfo& bin = after.bins[b];
    ASSERT_EQ(bin.start, start) << b;
    ASSERT_EQ(bin.count, model[b].points.size()) << b;
    ASSERT_GT(bin.count, 0u);
    ASSERT_EQ(bin.subPatchTag, model[b].tag) << b;
    Cloud own;
    for (std::uint32_t i = 0; i < bin.count; ++i) {
      const std::uint32_t from = model[b].points[i];
      own.push_back(before.points[from]);
      ASSERT_EQ(after.points[start + i], before.points[from]) << b;
      if (!before.positions.empty()) {
        ASSERT_THAT(after.positions[start + i].xy, ::testing::ElementsAreArray(before.positions[from].xy));
      }
      if (!before.values.empty()) {
        ASSERT_EQ(after.values[start + i], before.values[from]);
      }
    }
    ASSERT_EQ(bin.box, boxAround(own)) << b;
    start += bin.count;
  }
  ASSERT_EQ(start, before.points.size());
}

}  // namespace quel::testing
