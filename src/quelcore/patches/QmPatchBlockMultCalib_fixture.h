// Stages of a block's calibration that are filled with numbers to tell them by.
#pragma once

#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "quelcore/patches/QmPatchBlockMultCalib.h"
#include "quelcore/tensor/qmReconsTensorCore.h"

namespace quel::testing {

using Multi = QmPatchBlockMultCalib;

/// Fills a stage with numbers that tell stage, array and place.
inline void fill(tag_qmRT2d3dPts& stage, std::int32_t count, int mark) {
  qmRT2d3dPtsFree(&stage);
  ASSERT_EQ(qmRT2d3dPtsAlloc(count, &stage), 1);
  for (std::int32_t n = 0; n < 3 * count; ++n) {
    stage.imagePts[n][0] = 1000 * mark + n;
    stage.imagePts[n][1] = 1000 * mark + n + 0.5;
  }
  for (std::int32_t n = 0; n < count; ++n) {
    for (int axis = 0; axis < 3; ++axis) stage.worldPts[n][axis] = 100 * mark + 10 * axis + n;
    stage.values0[n] = 10000 * mark + n;
    stage.values1[n] = 20000 * mark + n;
  }
}

inline void expectFilled(const tag_qmRT2d3dPts& stage, std::int32_t count, int mark) {
  ASSERT_EQ(stage.count, count);
  for (std::int32_t n = 0; n < 3 * count; ++n)
    ASSERT_THAT(stage.imagePts[n], ::testing::ElementsAre(1000 * mark + n, 1000 * mark + n + 0.5));
  for (std::int32_t n = 0; n < count; ++n) {
    ASSERT_THAT(stage.worldPts[n], ::testing::ElementsAre(100 * mark + n, 100 * mark + 10 + n, 100 * mark + 20 + n));
    ASSERT_EQ(stage.values0[n], 10000 * mark + n);
    ASSERT_EQ(stage.values1[n], 20000 * mark + n);
  }
}

/// A transform with twelve different numbers.
inline qmMathTransform transformOf(int mark) {
  qmMathTransform transform;
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) transform.rotation[row][column] = 100 * mark + 10 * row + column;
    transform.translation[row] = mark + 0.25 * row;
  }
  return transform;
}

/// Stages of the given sizes, marked `mark`, `mark` + 1 and so on; parameters and transforms tell `mark` too.
inline std::unique_ptr<Multi> made(const std::vector<std::int32_t>& counts, int mark, bool withCheck = false) {
  auto multi = std::make_unique<Multi>();
  const int stages = static_cast<int>(counts.size());
  EXPECT_TRUE(multi->initialize(stages, withCheck));
  for (int s = 0; s < stages; ++s) {
    const auto at = static_cast<std::size_t>(s);
    if (counts[at] > 0) fill(multi->stages[s], counts[at], mark + s);
    multi->stageTransforms[s] = transformOf(mark + s);
  }
  for (int n = 0; n < 6 * stages + 57; ++n) multi->parameters[n] = 1e6 * mark + n;
  return multi;
}

inline void expectParameters(const Multi& multi, int mark) {
  for (int n = 0; n < 6 * multi.stageCount + 57; ++n) ASSERT_EQ(multi.parameters[n], 1e6 * mark + n);
  for (int s = 0; s < multi.stageCount; ++s) {
    const qmMathTransform expected = transformOf(mark + s);
    ASSERT_EQ(std::memcmp(multi.stageTransforms + s, &expected, sizeof expected), 0) << s;
  }
}

}  // namespace quel::testing
