#include "demo/Residuals.h"

#include <gmock/gmock.h>

#include "demo/ScanDepths.h"

namespace queltool {
namespace {

using ::testing::ElementsAre;

const std::vector<Corner> kCorners = {{{0, 0, 0}, false, {{{10, 10}, {0, 0}, {1, 1}}}},
                                      {{1, 0, 0}, true, {{{20, 10}, {5, 5}, {2, 2}}}},
                                      {{2, 0, 0}, true, {{{30, 10}, {9, 9}, {3, 3}}}}};

BoardRun runOf() {
  BoardRun run{};
  run.projected = {
      {{{10.25, 10.0}, {0, 0}, {1, 1}}}, {{{20.0, 10.5}, {5, 5}, {2, 2}}}, {{{27.0, 6.0}, {9, 9}, {3, 3}}}};
  return run;
}

TEST(Residuals, LeadFromTheProjectedToTheMeasuredCorner) {
  EXPECT_THAT(residualsOf(kCorners, runOf(), 0), ElementsAre(Vec2{-0.25, 0.0}, Vec2{0.0, -0.5}, Vec2{3.0, 4.0}));
  EXPECT_THAT(residualsOf(kCorners, runOf(), 1), ElementsAre(Vec2{}, Vec2{}, Vec2{}));
  EXPECT_EQ(longestResidual(kCorners, runOf()), 5.0);
}

TEST(Residuals, HaveAMeanVector) {
  EXPECT_EQ(meanOf({{1.0, -2.0}, {3.0, 0.0}}), (Vec2{2.0, -1.0}));
  EXPECT_EQ(meanOf({}), (Vec2{}));
}

TEST(Residuals, AreCountedByLengthTheLastBinBeingOpen) {
  const Histogram histogram = histogramOf(kCorners, residualsOf(kCorners, runOf(), 0), 0.1);
  EXPECT_THAT(histogram.used, ElementsAre(0, 0, 1, 0, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(histogram.check, ElementsAre(0, 0, 0, 0, 0, 1, 0, 0, 0, 1));
  EXPECT_EQ(histogram.most(), 1u);
}

TEST(Residuals, HaveBinsOfRoundWidthThatReachTheLongest) {
  EXPECT_EQ(binWidthFor(10.0), 1.0);
  EXPECT_EQ(binWidthFor(11.0), 2.0);
  EXPECT_EQ(binWidthFor(21.0), 5.0);
  EXPECT_NEAR(binWidthFor(0.53), 0.1, 1e-15);
  EXPECT_GT(binWidthFor(0.0), 0.0);
}

TEST(CommonRange, HoldsThatOfEachCamera) {
  const std::array<Depths, 3> depths = {{{{}, {300.0, 500.0}}, {{}, {280.0, 400.0}}, {{}, {320.0, 610.0}}}};
  EXPECT_EQ(commonRange(depths).nearest, 280.0);
  EXPECT_EQ(commonRange(depths).farthest, 610.0);
  EXPECT_GT(commonRange({{{{}, {1.0, 1.0}}, {{}, {1.0, 1.0}}, {{}, {1.0, 1.0}}}}).farthest, 1.0);
}

TEST(DepthsOf, AreDistancesFromEachCameraWithoutTheOutermostHundredth) {
  QmReconsTensor head;
  for (int camera = 0; camera < 3; ++camera) head.cameraLocations[camera][0] = 1000.0 * camera;
  ScanRun run{};
  for (int i = 1; i <= 200; ++i) run.points.push_back({0.0, 0.0, static_cast<double>(i)});
  const auto depths = depthsOf(head, run);
  EXPECT_EQ(depths[0].values[9], 10.0);
  EXPECT_EQ(depths[0].range.nearest, 3.0);
  EXPECT_EQ(depths[0].range.farthest, 198.0);
  EXPECT_GT(depths[1].range.nearest, 1000.0);
}

}  // namespace
}  // namespace queltool
