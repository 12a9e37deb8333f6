// Many pixels at a time give what one at a time gives, at every width.
#include "quelplatform/qmDistort/qmDistortBatch.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <utility>
#include <vector>

#include "quelplatform/qmDistort/LensSamples_fixture.h"
#include "quelplatform/qmDistort/LutSamples_fixture.h"
#include "quelplatform/qmDistort/kernels/lutPixels.h"
#include "quelplatform/qmDistort/lensBatch.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"
#include "testing/Widths.h"

namespace {

using namespace quelplatform;
using quel::testing::awkwardNumber;
using quel::testing::kAwkwardCounts;
using quel::testing::randomLens;
using quel::testing::sameNumber;
using quel::testing::testRandom;
using quel::testing::uniform;
using quel::testing::widthsOfThisMachine;
using quelkernels::nameOf;
using quelkernels::Width;

using Pixels = std::vector<double>;

const double (*asPixels(const Pixels& pixels))[2] { return reinterpret_cast<const double(*)[2]>(pixels.data()); }
double (*asPixels(Pixels& pixels))[2] { return reinterpret_cast<double(*)[2]>(pixels.data()); }

Pixels randomPixels(std::mt19937_64& random, std::int64_t count) {
  Pixels pixels(2 * static_cast<std::size_t>(count));
  for (double& coordinate : pixels) {
    coordinate = random() % 16 == 0 ? awkwardNumber(random) : uniform(random, -100.0, 3000.0);
  }
  return pixels;
}

tag_qmDistortParams randomModel(std::mt19937_64& random) {
  tag_qmDistortParams model = randomLens(random);
  model.distortOption = static_cast<std::int32_t>(random() % 3);
  if (random() % 4 == 0) model.k2 = awkwardNumber(random);
  return model;
}

struct Outcome {
  Pixels pixels;
  std::vector<std::uint8_t> succeeded;
  std::int64_t failed;
};

template <typename Distort>
Outcome singly(Distort distort, const Pixels& in, const tag_qmDistortParams& model, const float* depths) {
  Outcome outcome = {Pixels(in.size(), -777.0), {}, 0};
  for (std::size_t n = 0; 2 * n < in.size(); ++n) {
    const std::int32_t result =
        distort(asPixels(in)[n], &model, depths == nullptr ? nullptr : depths + n, asPixels(outcome.pixels)[n]);
    outcome.succeeded.push_back(static_cast<std::uint8_t>(result));
    outcome.failed += result == 0;
  }
  return outcome;
}

void expectSame(const Outcome& actual, const Outcome& expected) {
  ASSERT_EQ(actual.failed, expected.failed);
  ASSERT_EQ(actual.succeeded, expected.succeeded);
  for (std::size_t n = 0; n < expected.pixels.size(); ++n) {
    ASSERT_TRUE(sameNumber(actual.pixels[n], expected.pixels[n])) << n;
  }
}

TEST(qmDistortDistortPts, GivesWhatOnePixelAtATimeGives) {
  auto random = testRandom();
  std::int64_t failed = 0;
  for (int round = 0; round < 300; ++round) {
    const tag_qmDistortParams model = randomModel(random);
    const std::int64_t count = kAwkwardCounts[static_cast<std::size_t>(round) % std::size(kAwkwardCounts)];
    const Pixels in = randomPixels(random, count);
    Outcome exact = {Pixels(in.size(), -777.0), std::vector<std::uint8_t>(static_cast<std::size_t>(count), 9), 0};
    Outcome fast = exact;
    exact.failed =
        qmDistortDistortPts(asPixels(in), &model, nullptr, count, asPixels(exact.pixels), exact.succeeded.data());
    fast.failed =
        qmDistortDistortPtsFast(asPixels(in), &model, nullptr, count, asPixels(fast.pixels), fast.succeeded.data());
    expectSame(exact, singly(qmDistortDistortOnePt, in, model, nullptr));
    expectSame(fast, singly(qmDistortDistortOnePtFast, in, model, nullptr));
    failed += exact.failed;
  }
  EXPECT_GT(failed, 100);
}

TEST(qmDistortDistortPts, MayOverwriteItsInputAndNeedNotTellWhichFailed) {
  auto random = testRandom();
  for (int round = 0; round < 100; ++round) {
    const tag_qmDistortParams model = randomModel(random);
    const Pixels in = randomPixels(random, 37);
    Pixels expected = in;
    Pixels actual = in;
    std::int64_t failed = 0;
    for (std::size_t n = 0; n < 37; ++n) {
      failed += qmDistortDistortOnePt(asPixels(in)[n], &model, nullptr, asPixels(expected)[n]) == 0;
    }
    EXPECT_EQ(qmDistortDistortPts(asPixels(actual), &model, nullptr, 37, asPixels(actual), nullptr), failed);
    for (std::size_t n = 0; n < in.size(); ++n) ASSERT_TRUE(sameNumber(actual[n], expected[n]));
  }
}

/// A set in which cells hold any bits, are empty, or lie under the pixels of `gridPixels`.
class RandomLuts {
 public:
  RandomLuts(std::mt19937_64& random, std::int32_t layers)
      : luts_(1 + static_cast<std::int32_t>(random() % 7), 1 + static_cast<std::int32_t>(random() % 6),
              depthsOf(layers)) {
    luts_.fill(random);
    tag_qmDistortLuts& luts = luts_.get();
    const qmImageRecord& shape = luts.tables[0][0];
    luts_.cell(random() % 2, random() % static_cast<std::size_t>(layers),
               static_cast<std::int32_t>(random() % static_cast<std::size_t>(shape.height)),
               static_cast<std::int32_t>(random() % static_cast<std::size_t>(shape.width))) =
        quel::testing::kLargestFloat;
    luts.gridOrigin[0] = random() % 2 == 0 ? 0.0 : -3.5;
    luts.gridPitch[0] = random() % 2 == 0 ? 2.0 : 1.7;
    luts.gridPitch[1] = 3.0;
    luts.referenceLayer = static_cast<std::int32_t>(random() % 8) - 1;
    if (random() % 8 == 0) luts.layerDepths = nullptr;
    if (random() % 16 == 0) luts.tables[1] = nullptr;
  }

  operator const tag_qmDistortLuts*() const { return luts_; }

 private:
  static std::vector<float> depthsOf(std::int32_t layers) {
    std::vector<float> depths;
    for (std::int32_t layer = 0; layer < layers; ++layer) depths.push_back(static_cast<float>(10 * layer - 20));
    return depths;
  }

  quel::testing::HandMadeLuts luts_;
};

Pixels gridPixels(std::mt19937_64& random, std::int64_t count) {
  Pixels pixels = randomPixels(random, count);
  for (double& coordinate : pixels) {
    if (random() % 8 != 0) coordinate = uniform(random, -0.2, 3.0);
    if (random() % 3 == 0) coordinate = std::round(2.0 * coordinate) / 2.0;
  }
  return pixels;
}

std::vector<float> randomDepths(std::mt19937_64& random, std::int64_t count) {
  std::vector<float> depths(static_cast<std::size_t>(count));
  for (float& depth : depths) {
    depth = random() % 8 == 0 ? static_cast<float>(awkwardNumber(random))
                              : static_cast<float>(uniform(random, -21.0, 12.0));
    if (random() % 3 == 0) depth = 5.0F * std::round(depth / 5.0F);
  }
  return depths;
}

TEST(qmDistortDistortPts, LooksUpWhatOnePixelAtATimeLooksUp) {
  auto random = testRandom();
  std::int64_t failed = 0;
  std::int64_t all = 0;
  for (int round = 0; round < 2000; ++round) {
    tag_qmDistortParams model = {};
    if (round % 2 == 0) model = randomLens(random);
    model.distortOption = round % 16 == 0 ? 2 : 1;
    const RandomLuts luts(random,
                          round % 100 == 0 ? 70 : 2 + static_cast<std::int32_t>(random() % 6) - (random() % 4 == 0));
    model.luts = luts;
    const std::int64_t count = kAwkwardCounts[static_cast<std::size_t>(round) % std::size(kAwkwardCounts)] + 10;
    const Pixels in = gridPixels(random, count);
    const std::vector<float> depths = randomDepths(random, count);
    const float* const given = random() % 3 == 0 ? nullptr : depths.data();
    Outcome exact = {Pixels(in.size(), -777.0), std::vector<std::uint8_t>(static_cast<std::size_t>(count), 9), 0};
    Outcome fast = exact;
    exact.failed =
        qmDistortDistortPts(asPixels(in), &model, given, count, asPixels(exact.pixels), exact.succeeded.data());
    fast.failed =
        qmDistortDistortPtsFast(asPixels(in), &model, given, count, asPixels(fast.pixels), fast.succeeded.data());
    expectSame(exact, singly(qmDistortDistortOnePt, in, model, given));
    expectSame(fast, singly(qmDistortDistortOnePtFast, in, model, given));
    Pixels inPlace = in;
    EXPECT_EQ(qmDistortDistortPtsFast(asPixels(inPlace), &model, given, count, asPixels(inPlace), nullptr),
              fast.failed);
    for (std::size_t n = 0; n < in.size(); ++n) ASSERT_TRUE(sameNumber(inPlace[n], fast.pixels[n]));
    failed += exact.failed;
    all += count;
  }
  EXPECT_GT(failed, all / 4);
  EXPECT_LT(failed, all * 7 / 8);
}

TEST(qmDistortDistortPts, KeepsTheSignsOfZeros) {
  quel::testing::HandMadeLuts luts(2, 2, {0.0F});
  tag_qmDistortParams model = {};
  model.p1 = model.p2 = -1.0;  // takes -0 to -0
  for (const bool withLuts : {false, true}) {
    model.luts = withLuts ? static_cast<const tag_qmDistortLuts*>(luts) : nullptr;
    for (int zeros = 0; zeros < 16; ++zeros) {
      for (int i = 0; i < 8; ++i) luts.cell(i / 4, 0, i / 2 % 2, i % 2) = (zeros & 4 << i % 2) != 0 ? -0.0F : 0.0F;
      Pixels in;
      for (int n = 0; n < 17; ++n) in.insert(in.end(), {(zeros & 1) != 0 ? -0.0 : 0.0, (zeros & 2) != 0 ? -0.0 : 0.0});
      Outcome exact = {Pixels(in.size(), -777.0), std::vector<std::uint8_t>(17, 9), 0};
      Outcome fast = exact;
      exact.failed =
          qmDistortDistortPts(asPixels(in), &model, nullptr, 17, asPixels(exact.pixels), exact.succeeded.data());
      fast.failed =
          qmDistortDistortPtsFast(asPixels(in), &model, nullptr, 17, asPixels(fast.pixels), fast.succeeded.data());
      expectSame(exact, singly(qmDistortDistortOnePt, in, model, nullptr));
      expectSame(fast, singly(qmDistortDistortOnePtFast, in, model, nullptr));
    }
  }
}

TEST(undistortPts, GivesWhatOnePixelAtATimeGives) {
  auto random = testRandom();
  std::int64_t failed = 0;
  std::int64_t all = 0;
  for (int round = 0; round < 600; ++round) {
    tag_qmDistortParams model = randomModel(random);
    const RandomLuts luts(random, 3);
    if (round % 4 == 0) model.luts = luts;
    const std::int64_t count = kAwkwardCounts[static_cast<std::size_t>(round) % std::size(kAwkwardCounts)];
    const Pixels in = round % 4 == 0 ? gridPixels(random, count) : randomPixels(random, count);
    const std::vector<float> depths = randomDepths(random, count);
    const float* const given = random() % 3 == 0 ? nullptr : depths.data();
    Outcome actual = {Pixels(in.size(), -777.0), std::vector<std::uint8_t>(static_cast<std::size_t>(count), 9), 0};
    actual.failed = undistortPts(asPixels(in), &model, given, count, asPixels(actual.pixels), actual.succeeded.data());
    expectSame(actual, singly(undistortOnePt, in, model, given));
    Pixels inPlace = in;
    EXPECT_EQ(undistortPts(asPixels(inPlace), &model, given, count, asPixels(inPlace), nullptr), actual.failed);
    failed += actual.failed;
    all += count;
  }
  EXPECT_GT(failed, all / 20);
  EXPECT_LT(failed, all / 2);
}

TEST(qmDistortDistortPts, FailsForEveryPixelOfNullPointers) {
  const tag_qmDistortParams model = {};
  const Pixels in(4, 1.0);
  for (const auto distort : {qmDistortDistortPts, qmDistortDistortPtsFast, undistortPts}) {
    Pixels out(4, -777.0);
    std::vector<std::uint8_t> succeeded = {1, 1};
    EXPECT_EQ(distort(nullptr, &model, nullptr, 2, asPixels(out), succeeded.data()), 2);
    EXPECT_EQ(succeeded, (std::vector<std::uint8_t>{0, 0}));
    EXPECT_EQ(distort(asPixels(in), nullptr, nullptr, 2, asPixels(out), nullptr), 2);
    EXPECT_EQ(distort(asPixels(in), &model, nullptr, 2, nullptr, nullptr), 2);
    EXPECT_EQ(distort(nullptr, nullptr, nullptr, -1, nullptr, nullptr), 0);
    EXPECT_EQ(distort(asPixels(in), &model, nullptr, 0, asPixels(out), nullptr), 0);
    EXPECT_EQ(out, Pixels(4, -777.0));
  }
}

TEST(qmDistortDistortPts, DoesNothingForNegativeCounts) {
  const tag_qmDistortParams model = {};
  const Pixels in(64, 1.0);
  for (const auto distort : {qmDistortDistortPts, qmDistortDistortPtsFast, undistortPts}) {
    for (const std::int64_t count : {std::int64_t{-1}, std::int64_t{-5}, std::numeric_limits<std::int64_t>::min()}) {
      Pixels out(64, -777.0);
      std::vector<std::uint8_t> succeeded(32, 9);
      EXPECT_EQ(distort(asPixels(in), &model, nullptr, count, asPixels(out), succeeded.data()), 0);
      EXPECT_EQ(out, Pixels(64, -777.0));
      EXPECT_EQ(succeeded, std::vector<std::uint8_t>(32, 9));
    }
  }
}

TEST(qmDistortDistortPts, FindsNothingInImagesWithoutCells) {
  quel::testing::HandMadeLuts luts(2, 2, {0.0F});
  tag_qmDistortParams model = {};
  model.luts = luts;
  const Pixels in(8, 0.5);
  for (const std::int32_t cells : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
    for (std::int32_t qmImageRecord::*side : {&qmImageRecord::width, &qmImageRecord::height}) {
      qmImageRecord& image = luts.get().tables[0][0];
      const std::int32_t before = std::exchange(image.*side, cells);
      for (const auto distort : {qmDistortDistortPts, qmDistortDistortPtsFast, undistortPts}) {
        Pixels out(8, -777.0);
        EXPECT_EQ(distort(asPixels(in), &model, nullptr, 4, asPixels(out), nullptr), 4) << cells;
      }
      image.*side = before;
    }
  }
}

// --- The width in use -----------------------------------------------------------------------------------------------

// Decided once in a process, so each claim has a process of its own, started anew.
void expectWidth(const char* asked, Width width) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        setenv("QUEL_KERNELS", asked, 1);
        std::exit(kernelWidth() == width ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "")
      << asked;
}

TEST(kernelWidth, IsWhatTheEnvironmentAsksForOrTheWidestThatTheMachineRuns) {
  for (const Width width : widthsOfThisMachine()) expectWidth(nameOf(width), width);
  for (const char* const none : {"", "avx1024", "PLAIN"}) expectWidth(none, widthsOfThisMachine().back());
}

// --- The kernels, width by width ------------------------------------------------------------------------------------

class EveryWidth : public ::testing::TestWithParam<Width> {};

TEST_P(EveryWidth, EvaluatesThePolynomialAsTheExactCallDoes) {
  auto random = testRandom();
  for (int round = 0; round < 1000; ++round) {
    tag_qmDistortParams model = randomModel(random);
    model.distortOption = 1;
    const std::int64_t count = kAwkwardCounts[static_cast<std::size_t>(round) % std::size(kAwkwardCounts)];
    const Pixels in = randomPixels(random, count);
    for (const NotFinite rule : {NotFinite::Stays, NotFinite::IsWritten}) {
      Outcome actual = {Pixels(in.size(), -777.0), std::vector<std::uint8_t>(static_cast<std::size_t>(count), 9), 0};
      actual.failed = kPolynomialPixels.at(GetParam())(lensOf(model), asPixels(in), count, asPixels(actual.pixels),
                                                       actual.succeeded.data(), rule);
      expectSame(actual, singly(rule == NotFinite::Stays ? qmDistortDistortOnePt : qmDistortDistortOnePtFast, in, model,
                                nullptr));
    }
  }
}

TEST_P(EveryWidth, FindsTheInverseOfTheExactCallAlmostEverywhereThatItIsFound) {
  auto random = testRandom();
  std::int64_t found = 0;
  std::int64_t unusual = 0;
  for (int round = 0; round < 1000; ++round) {
    tag_qmDistortParams model = randomModel(random);
    model.distortOption = 2;
    const std::int64_t count = kAwkwardCounts[static_cast<std::size_t>(round) % std::size(kAwkwardCounts)];
    const Pixels in = randomPixels(random, count);
    const Outcome expected = singly(qmDistortDistortOnePt, in, model, nullptr);
    Pixels actual(in.size() + 2, -777.0);
    std::vector<std::uint8_t> marks(static_cast<std::size_t>(count) + 1, 9);
    kInversePixels.at(GetParam())(lensOf(model), kDistortInverseTolerance, asPixels(in), count, asPixels(actual),
                                  marks.data());
    EXPECT_EQ(marks.back(), 9);
    EXPECT_EQ(actual.back(), -777.0);
    for (std::size_t n = 0; n < static_cast<std::size_t>(count); ++n) {
      ASSERT_LE(marks[n], expected.succeeded[n]);
      for (std::size_t i = 2 * n; i < 2 * n + 2; ++i) {
        ASSERT_TRUE(sameNumber(actual[i], marks[n] == 1 ? expected.pixels[i] : -777.0)) << n;
      }
      found += marks[n];
      unusual += expected.succeeded[n] - marks[n];
    }
  }
  EXPECT_GT(found, 10 * unusual);
  EXPECT_GT(unusual, 0);
}

TEST_P(EveryWidth, LeavesTargetsBeyondAFoldToTheExactCall) {
  // The way outwards stretches first and folds then: a target can lie where the polynomial runs backwards.
  auto random = testRandom();
  std::int64_t found = 0;
  for (int round = 0; round < 3000; ++round) {
    tag_qmDistortParams model = {};
    model.distortOption = 2;
    model.k1 = uniform(random, 0.0, 3.0);
    model.k2 = uniform(random, -2.0, 0.0);
    model.p1 = uniform(random, -0.1, 0.1);
    Pixels in(2 * 16);
    for (double& coordinate : in) coordinate = uniform(random, -2.0, 2.0);
    const Outcome expected = singly(qmDistortDistortOnePt, in, model, nullptr);
    Pixels actual(in.size(), -777.0);
    std::vector<std::uint8_t> marks(16, 9);
    kInversePixels.at(GetParam())(lensOf(model), kDistortInverseTolerance, asPixels(in), 16, asPixels(actual),
                                  marks.data());
    for (std::size_t n = 0; n < 16; ++n) {
      ASSERT_LE(marks[n], expected.succeeded[n]) << round;
      for (std::size_t i = 2 * n; i < 2 * n + 2 && marks[n] == 1; ++i) {
        ASSERT_TRUE(sameNumber(actual[i], expected.pixels[i])) << round;
      }
      found += marks[n];
    }
  }
  EXPECT_GT(found, 1000);
}

TEST_P(EveryWidth, LooksUpAsTheExactCallDoes) {
  auto random = testRandom();
  for (int round = 0; round < 1000; ++round) {
    tag_qmDistortParams model = {};
    const RandomLuts set(random, 2 + static_cast<std::int32_t>(random() % 6) - (random() % 4 == 0));
    model.luts = set;
    if (model.luts->tables[1] == nullptr) continue;
    const tag_qmDistortLuts& luts = *model.luts;
    const LutView view = {{luts.tables[0], luts.tables[1]},
                          luts.tables[0]->width,
                          luts.tables[0]->height,
                          luts.tableCount,
                          luts.referenceLayer,
                          {luts.gridOrigin[0], luts.gridOrigin[1]},
                          {luts.gridPitch[0], luts.gridPitch[1]},
                          luts.layerDepths,
                          quel::testing::kLargestFloat,
                          {luts.gridPitch[0] == 2.0 ? 0.5 : 0.0, 0.0}};
    const std::int64_t count = kAwkwardCounts[static_cast<std::size_t>(round) % std::size(kAwkwardCounts)];
    const Pixels in = gridPixels(random, count);
    // Without coefficients the polynomial gives the pixel itself where it is finite.
    Pixels polynomial = in;
    for (std::size_t n = 0; n < static_cast<std::size_t>(count); ++n) {
      const tag_qmDistortParams plain = {};
      qmDistortDistortOnePtFast(asPixels(in)[n], &plain, nullptr, asPixels(polynomial)[n]);
    }
    const std::vector<float> depths = randomDepths(random, count);
    const float* const given = random() % 3 == 0 ? nullptr : depths.data();
    Outcome exact = {Pixels(in.size(), -777.0), std::vector<std::uint8_t>(static_cast<std::size_t>(count), 9), 0};
    Outcome fast = exact;
    exact.failed = kInterpolatedLutPixels.at(GetParam())(
        view, {asPixels(in), given, asPixels(polynomial), count, asPixels(exact.pixels), exact.succeeded.data()});
    fast.failed = kNearestLutPixels.at(GetParam())(
        view, {asPixels(in), given, asPixels(polynomial), count, asPixels(fast.pixels), fast.succeeded.data()});
    expectSame(exact, singly(qmDistortDistortOnePt, in, model, given));
    expectSame(fast, singly(qmDistortDistortOnePtFast, in, model, given));
  }
}

INSTANTIATE_TEST_SUITE_P(Widths, EveryWidth, ::testing::ValuesIn(widthsOfThisMachine()),
                         [](const auto& width) { return nameOf(width.param); });

}  // namespace
