// Projection of many points: compacting, moving, and on several threads.
#include "quelcore/tensor/qmReconsTensorCore.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

#include "quelcore/tensor/projectionKernel.h"
#include "quelcore/tensor/projection_fixture.h"
#include "testing/Canary.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"
#include "testing/SampleHead.h"
#include "testing/Widths.h"

namespace {

using quel::Vec3;
using quel::testing::BareTrace;
using quel::testing::Canary;
using quel::testing::kAllModes;
using quel::testing::Near;
using quel::testing::RecordingLog;
using quel::testing::SameBits;
using quel::testing::SampleHead;
using quel::testing::testRandom;
using quel::testing::WholeImageLuts;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kModule = "qmReconsTensorCore";

qmMathTransform smallMotion() {
  return {{{std::cos(0.1), -std::sin(0.1), 0.0}, {std::sin(0.1), std::cos(0.1), 0.0}, {0.0, 0.0, 1.0}},
          {1.5, -2.5, 3.0}};
}

// --- Compacting projection -----------------------------------------------------------------------------------------

TEST(qmRTUnifyProjectPoints2Image, RoundsHalvesAwayFromZeroAndKeepsAllPoints) {
  SampleHead head;
  const double P[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 0}};
  qmMathCopyMat4ToMat4(P, head.tensor()->projections[0]);
  double points[5][3] = {
      {0.5, 1.4, 1.0}, {-0.5, -1.4, 1.0}, {2.5, -2.5, 1.0}, {1e12 + 0.5, 0.49, 1.0}, {-0.4, 0.0, 1.0}};
  double before[5][3];
  std::memcpy(before, points, sizeof(points));
  double pixels[5][2];
  ASSERT_EQ(qmRTUnifyProjectPoints2Image(head.tensor(), points, 5, 2, PROJECT_PINHOLE, pixels), 5);
  EXPECT_THAT(pixels[0], ElementsAre(1.0, 1.0));
  EXPECT_THAT(pixels[1], ElementsAre(-1.0, -1.0));
  EXPECT_THAT(pixels[2], ElementsAre(3.0, -3.0));
  EXPECT_THAT(pixels[3], ElementsAre(1e12 + 1.0, 0.0));
  EXPECT_THAT(pixels[4], ElementsAre(0.0, 0.0));
  EXPECT_EQ(std::memcmp(points, before, sizeof(points)), 0);
}

TEST(qmRTUnifyProjectPoints2Image, CompactsThePointsThatProjectInOrder) {
  const SampleHead head;
  const Vec3 bad = head.pointOnPrincipalPlane(0);
  const Vec3 a = head.point(0.1, 0.2, 0.3);
  const Vec3 b = head.point(-0.1, 0.2, 0.3);
  double points[5][3];
  const Vec3 input[5] = {bad, a, bad, bad, b};
  for (int n = 0; n < 5; ++n) qmMathCopyVec3ToVec3(input[n].data(), points[n]);
  Canary<10> pixels;
  ASSERT_EQ(qmRTUnifyProjectPoints2Image(head.tensor(), points, 5, 0, PROJECT_EXACT,
                                         reinterpret_cast<double(*)[2]>(&*pixels)),
            2);
  EXPECT_THAT(points[0], ElementsAre(a[0], a[1], a[2]));
  EXPECT_THAT(points[1], ElementsAre(b[0], b[1], b[2]));
  EXPECT_EQ(pixels[0], std::round(head.pixel(a, 0)[0]));
  EXPECT_EQ(pixels[3], std::round(head.pixel(b, 0)[1]));
  for (std::size_t i = 4; i < 10; ++i) EXPECT_TRUE(pixels.untouched(i));
}

TEST(qmRTUnifyProjectPoints2Image, UsesCameraZeroWhateverTheFourthArgumentSays) {
  const SampleHead head;
  const Vec3 point = head.point(0.1, 0.2, 0.3);
  for (const std::int32_t other : {0, 1, 2, -7}) {
    double points[1][3] = {{point[0], point[1], point[2]}};
    double pixels[1][2];
    ASSERT_EQ(qmRTUnifyProjectPoints2Image(head.tensor(), points, 1, other, PROJECT_EXACT, pixels), 1);
    EXPECT_EQ(pixels[0][0], std::round(head.pixel(point, 0)[0]));
  }
}

TEST(qmRTUnifyProjectPoints2Image, KeepsNothingOfNothing) {
  const SampleHead head;
  double points[1][3] = {};
  double pixels[1][2];
  const RecordingLog log;
  EXPECT_EQ(qmRTUnifyProjectPoints2Image(head.tensor(), points, 0, 0, PROJECT_PINHOLE, pixels), 0);
  EXPECT_EQ(qmRTUnifyProjectPoints2Image(head.tensor(), points, -5, 0, PROJECT_PINHOLE, pixels), 0);
  EXPECT_EQ(qmRTUnifyProjectPoints2Image(nullptr, points, 1, 0, PROJECT_PINHOLE, pixels), 0);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(qmRTUnifyProjectPoints2Image, LeavesATraceForNullArrays) {
  const SampleHead head;
  double points[1][3] = {};
  double pixels[1][2];
  const RecordingLog log;
  EXPECT_EQ(qmRTUnifyProjectPoints2Image(head.tensor(), nullptr, 1, 0, PROJECT_PINHOLE, pixels), 0);
  EXPECT_EQ(qmRTUnifyProjectPoints2Image(head.tensor(), points, 1, 0, PROJECT_PINHOLE, nullptr), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule), BareTrace(kModule)));
}

// --- Moving and projecting -----------------------------------------------------------------------------------------

TEST(qmTransAndProjPoint2Image, ProjectsTheMovedPoint) {
  const SampleHead head;
  const qmMathTransform motion = smallMotion();
  const Vec3 point = head.point(0.1, -0.3, 0.2);
  Vec3 moved;
  qmMathTransformVec3(&motion, point.data(), moved.data());
  double pixel[2];
  ASSERT_EQ(qmTransAndProjPoint2Image(&motion, head.tensor(), 1, PROJECT_EXACT, point.data(), pixel), 1);
  EXPECT_THAT(pixel[0], Near(head.pixel(moved, 1)[0], 1e-8));
  EXPECT_THAT(pixel[1], Near(head.pixel(moved, 1)[1], 1e-8));
}

TEST(qmTransAndProjPoint2Image, LeavesATraceForEachStepThatFails) {
  const SampleHead head;
  const qmMathTransform motion = smallMotion();
  const double infinite[3] = {std::numeric_limits<double>::infinity(), 0.0, 0.0};
  const double finite[3] = {0.0, 0.0, 0.0};
  double pixel[2];
  {
    const RecordingLog log;
    EXPECT_EQ(qmTransAndProjPoint2Image(&motion, head.tensor(), 0, PROJECT_PINHOLE, infinite, pixel), 0);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  }
  {
    const RecordingLog log;  // the projection leaves its trace and this call another
    EXPECT_EQ(qmTransAndProjPoint2Image(&motion, head.tensor(), 3, PROJECT_PINHOLE, finite, pixel), 0);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule), BareTrace(kModule)));
  }
  {
    const RecordingLog log;
    EXPECT_EQ(qmTransAndProjPoint2Image(&motion, nullptr, 0, PROJECT_PINHOLE, finite, pixel), 0);
    EXPECT_EQ(qmTransAndProjPoint2Image(nullptr, head.tensor(), 0, PROJECT_PINHOLE, finite, pixel), 0);
    EXPECT_EQ(qmTransAndProjPoint2Image(&motion, head.tensor(), 0, PROJECT_PINHOLE, nullptr, pixel), 0);
    EXPECT_THAT(log.records(), SizeIs(3));
  }
}

/// A cloud in front of a head, and room for its pixels.
class Cloud {
 public:
  Cloud(const SampleHead& head, std::size_t count) : points_(count * 3) {
    auto random = testRandom();
    for (std::size_t n = 0; n < count; ++n) {
      const Vec3 point = head.randomPoint(random);
      std::copy(point.begin(), point.end(), points_.begin() + static_cast<std::ptrdiff_t>(3 * n));
    }
    for (auto& image : pixels_) image.assign(2 * count, -777.0);
    for (int camera = 0; camera < 3; ++camera) images_[camera] = reinterpret_cast<double(*)[2]>(pixels_[camera].data());
  }

  const double (*points() const)[3] { return reinterpret_cast<const double(*)[3]>(points_.data()); }
  double (*const* images())[2] { return images_; }
  const std::vector<double>& pixels(int camera) const { return pixels_[camera]; }
  std::size_t size() const { return points_.size() / 3; }
  double* point(std::size_t n) { return points_.data() + 3 * n; }

 private:
  std::vector<double> points_;
  std::vector<double> pixels_[3];
  double (*images_[3])[2];
};

TEST(qmTransAndProjPoints2Images, GivesTheBitsOfOnePointAtATimeInEveryMode) {
  SampleHead head;
  const double frame[4][4] = {{0.8, -0.6, 0.0, 3.0}, {0.6, 0.8, 0.0, -4.0}, {0.0, 0.0, 1.0, 5.0}, {0.0, 0.0, 0.0, 1.0}};
  qmMathCopyMat4ToMat4(frame, head.tensor()->lutFrameTransform);
  const WholeImageLuts luts(*head.tensor(), {-1000.0F, -30.0F, 30.0F, 1000.0F});
  const qmMathTransform motion = smallMotion();
  for (const _ProjectDistortMode mode : kAllModes) {
    Cloud cloud(head, 300);
    ASSERT_EQ(qmTransAndProjPoints2Images(&motion, head.tensor(), cloud.points(), 10, 290, mode, cloud.images()), 1);
    for (std::size_t n = 0; n < 300; ++n) {
      for (int camera = 0; camera < 3; ++camera) {
        double expected[2] = {-777.0, -777.0};
        if (n >= 10 && n < 290) {
          qmTransAndProjPoint2Image(&motion, head.tensor(), camera, mode, cloud.points()[n], expected);
        }
        ASSERT_THAT(cloud.pixels(camera)[2 * n], SameBits(expected[0]));
        ASSERT_THAT(cloud.pixels(camera)[2 * n + 1], SameBits(expected[1]));
      }
    }
  }
}

TEST(qmTransAndProjPoints2Images, TellsTheDepthToTheOnlyCameraThatAsksForIt) {
  SampleHead head;
  const qmMathTransform motion = smallMotion();
  for (int asking = 0; asking < 3; ++asking) {
    const WholeImageLuts luts(
        *head.tensor(), {-1000.0F, -30.0F, 30.0F, 1000.0F}, -1000.0,
        [](double, double, double depth, float shift[2]) { shift[0] = shift[1] = static_cast<float>(0.01 * depth); });
    for (int camera = 0; camera < 3; ++camera) {
      if (camera != asking) head.tensor()->distortParams[camera].luts = nullptr;
    }
    for (const _ProjectDistortMode mode : kAllModes) {
      Cloud cloud(head, 300);
      qmTransAndProjPoints2Images(&motion, head.tensor(), cloud.points(), 0, 300, mode, cloud.images());
      for (std::size_t n = 0; n < 300; ++n) {
        for (int camera = 0; camera < 3; ++camera) {
          double expected[2] = {-777.0, -777.0};
          qmTransAndProjPoint2Image(&motion, head.tensor(), camera, mode, cloud.points()[n], expected);
          ASSERT_THAT(cloud.pixels(camera)[2 * n], SameBits(expected[0])) << asking << ' ' << mode;
          ASSERT_THAT(cloud.pixels(camera)[2 * n + 1], SameBits(expected[1])) << asking << ' ' << mode;
        }
      }
    }
  }
}

TEST(qmTransAndProjPoints2Images, GivesTheBitsOfOnePointAtATimeForAwkwardPointsAndAnySize) {
  SampleHead head;
  auto random = testRandom();
  const qmMathTransform motion = smallMotion();
  for (const bool withLuts : {false, true}) {
    std::optional<WholeImageLuts> luts;
    if (withLuts) luts.emplace(*head.tensor(), std::vector<float>{-1000.0F, -30.0F, 30.0F, 1000.0F});
    for (const _ProjectDistortMode mode : kAllModes) {
      for (const int count : quel::testing::kAwkwardCounts) {
        Cloud cloud(head, static_cast<std::size_t>(count) + 300);
        for (std::size_t n = 0; n < cloud.size(); ++n) {
          if (random() % 8 == 0) cloud.point(n)[random() % 3] = quel::testing::awkwardNumber(random);
        }
        qmTransAndProjPoints2Images(&motion, head.tensor(), cloud.points(), 0, std::ssize(cloud), mode, cloud.images());
        for (std::size_t n = 0; n < cloud.size(); ++n) {
          for (int camera = 0; camera < 3; ++camera) {
            double moved[3];
            double expected[2] = {-777.0, -777.0};
            qmMathTransformVec3(&motion, cloud.points()[n], moved);
            qmRTProjectPointtoImage(head.tensor(), moved, camera, mode, expected);
            ASSERT_TRUE(quel::testing::sameNumber(cloud.pixels(camera)[2 * n], expected[0])) << mode << ' ' << n;
            ASSERT_TRUE(quel::testing::sameNumber(cloud.pixels(camera)[2 * n + 1], expected[1])) << mode << ' ' << n;
          }
        }
      }
    }
  }
}

TEST(qmTransAndProjPoints2Images, GivesTheSamePixelsToALargeCloudWhereverItsArraysLie) {
  const SampleHead head;
  const qmMathTransform motion = smallMotion();
  constexpr std::size_t kLarge = 140000;  // stored around the caches
  Cloud cloud(head, kLarge);
  std::fill_n(cloud.point(1000), 3, std::numeric_limits<double>::quiet_NaN());
  for (const std::int64_t shift : {0, 1, 2, 5}) {
    for (const _ProjectDistortMode mode : {PROJECT_PINHOLE, PROJECT_EXACT}) {
      Cloud whole(head, kLarge);
      qmTransAndProjPoints2Images(&motion, head.tensor(), cloud.points(), shift, kLarge, mode, cloud.images());
      for (std::int64_t n = shift; n < std::ssize(cloud); n += 1000) {  // too few at a time for that
        qmTransAndProjPoints2Images(&motion, head.tensor(), cloud.points(), n, std::min<std::int64_t>(n + 1000, kLarge),
                                    mode, whole.images());
      }
      for (int camera = 0; camera < 3; ++camera) {
        for (std::size_t n = 2 * static_cast<std::size_t>(shift); n < 2 * kLarge; ++n) {
          ASSERT_TRUE(quel::testing::sameNumber(cloud.pixels(camera)[n], whole.pixels(camera)[n])) << n;
        }
      }
    }
  }
}

TEST(qmTransAndProjPoints2Images, LeavesThePixelOfAPointOnThePrincipalPlaneInACloudOfAnySize) {
  SampleHead head;
  const double P[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 0}};
  for (auto& projection : head.tensor()->projections) qmMathCopyMat4ToMat4(P, projection);
  qmMathTransform identity;
  qmMathIdTransformCreate(&identity);
  for (const std::size_t count : {300U, 140000U}) {
    for (const _ProjectDistortMode mode : kAllModes) {
      Cloud cloud(head, count);
      for (const std::size_t n : {0U, 7U, 260U}) cloud.point(n)[2] = 0.0;
      const RecordingLog log;
      qmTransAndProjPoints2Images(&identity, head.tensor(), cloud.points(), 0, std::ssize(cloud), mode, cloud.images());
      EXPECT_THAT(log.records(), SizeIs(9));
      for (int camera = 0; camera < 3; ++camera) {
        for (const std::size_t n : {0U, 7U, 260U}) EXPECT_EQ(cloud.pixels(camera)[2 * n], -777.0);
        EXPECT_NE(cloud.pixels(camera)[2 * 8], -777.0);
      }
    }
  }
}

TEST(qmTransAndProjPoints2Images, GivesTheLastCameraToACallerWithOneArrayForAll) {
  const SampleHead head;
  const qmMathTransform motion = smallMotion();
  for (const _ProjectDistortMode mode : kAllModes) {
    Cloud cloud(head, 1000);
    Cloud separate(head, 1000);
    double(*const one[3])[2] = {cloud.images()[0], cloud.images()[0], cloud.images()[0]};
    qmTransAndProjPoints2Images(&motion, head.tensor(), cloud.points(), 0, 1000, mode, one);
    qmTransAndProjPoints2Images(&motion, head.tensor(), cloud.points(), 0, 1000, mode, separate.images());
    EXPECT_EQ(cloud.pixels(0), separate.pixels(2));
  }
}

TEST(qmTransAndProjPoints2Images, TracesEveryPointOfEveryCameraWithoutProjections) {
  SampleHead head;
  head.tensor()->projectionsValid = 0;
  qmMathTransform identity;
  qmMathIdTransformCreate(&identity);
  Cloud cloud(head, 300);
  const RecordingLog log;
  EXPECT_EQ(
      qmTransAndProjPoints2Images(&identity, head.tensor(), cloud.points(), 1, 300, PROJECT_EXACT, cloud.images()), 1);
  EXPECT_THAT(log.records(), ::testing::AllOf(SizeIs(3 * 299), ::testing::Each(BareTrace(kModule))));
  EXPECT_THAT(cloud.pixels(2), ::testing::Each(-777.0));
}

TEST(qmTransAndProjPoints2Images, SucceedsWhenSinglePointsDoNot) {
  const SampleHead head;
  qmMathTransform identity;
  qmMathIdTransformCreate(&identity);
  Cloud cloud(head, 3);
  const Vec3& onPlane = head.pointOnPrincipalPlane(1);
  std::copy(onPlane.begin(), onPlane.end(), cloud.point(1));
  const RecordingLog log;
  EXPECT_EQ(qmTransAndProjPoints2Images(&identity, head.tensor(), cloud.points(), 0, 3, PROJECT_EXACT, cloud.images()),
            1);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  EXPECT_EQ(cloud.pixels(1)[2], -777.0);
  EXPECT_NE(cloud.pixels(0)[2], -777.0);
  EXPECT_NE(cloud.pixels(1)[4], -777.0);
}

TEST(qmTransAndProjPoints2Images, DoesNothingForAnEmptyRange) {
  const SampleHead head;
  const qmMathTransform motion = smallMotion();
  Cloud cloud(head, 3);
  EXPECT_EQ(qmTransAndProjPoints2Images(&motion, head.tensor(), cloud.points(), 2, 2, PROJECT_EXACT, cloud.images()),
            1);
  EXPECT_EQ(qmTransAndProjPoints2Images(&motion, head.tensor(), cloud.points(), 2, 1, PROJECT_EXACT, cloud.images()),
            1);
  EXPECT_THAT(cloud.pixels(0), ::testing::Each(-777.0));
}

TEST(qmTransAndProjPoints2Images, SucceedsSilentlyForANullTensorAndRefusesOtherNulls) {
  const SampleHead head;
  const qmMathTransform motion = smallMotion();
  Cloud cloud(head, 3);
  double(*missing[3])[2] = {cloud.images()[0], nullptr, cloud.images()[2]};
  {
    const RecordingLog log;
    EXPECT_EQ(qmTransAndProjPoints2Images(&motion, nullptr, cloud.points(), 0, 3, PROJECT_EXACT, cloud.images()), 1);
    EXPECT_THAT(log.records(), IsEmpty());
  }
  const RecordingLog log;
  EXPECT_EQ(qmTransAndProjPoints2Images(nullptr, head.tensor(), cloud.points(), 0, 3, PROJECT_EXACT, cloud.images()),
            0);
  EXPECT_EQ(qmTransAndProjPoints2Images(&motion, head.tensor(), nullptr, 0, 3, PROJECT_EXACT, cloud.images()), 0);
  EXPECT_EQ(qmTransAndProjPoints2Images(&motion, head.tensor(), cloud.points(), 0, 3, PROJECT_EXACT, nullptr), 0);
  EXPECT_EQ(qmTransAndProjPoints2Images(&motion, head.tensor(), cloud.points(), 0, 3, PROJECT_EXACT, missing), 0);
  EXPECT_THAT(log.records(), ::testing::AllOf(SizeIs(4), ::testing::Each(BareTrace(kModule))));
}

TEST(qmTransAndProjPoints2ImagesMT, GivesTheSerialBitsForAnyNumberOfThreads) {
  SampleHead head;
  const WholeImageLuts luts(*head.tensor(), {-1000.0F, 1000.0F});
  const qmMathTransform motion = smallMotion();
  constexpr int kCount = 20003;  // enough for sixteen threads
  Cloud serial(head, kCount);
  ASSERT_EQ(
      qmTransAndProjPoints2Images(&motion, head.tensor(), serial.points(), 1, kCount, PROJECT_EXACT, serial.images()),
      1);
  for (const std::int32_t threads : {-1, 0, 1, 2, 3, 4, 16, 17, 1000000}) {
    Cloud parallel(head, kCount);
    ASSERT_EQ(qmTransAndProjPoints2ImagesMT(&motion, head.tensor(), parallel.points(), 1, kCount, PROJECT_EXACT,
                                            threads, parallel.images()),
              1);
    for (int camera = 0; camera < 3; ++camera) EXPECT_EQ(parallel.pixels(camera), serial.pixels(camera)) << threads;
  }
}

TEST(qmTransAndProjPoints2ImagesMT, RefusesABackwardRangeSilentlyAndAcceptsAnEmptyOne) {
  const SampleHead head;
  const RecordingLog log;
  const qmMathTransform motion = smallMotion();
  Cloud cloud(head, 3);
  for (const std::int32_t threads : {1, 4}) {
    EXPECT_EQ(qmTransAndProjPoints2ImagesMT(&motion, head.tensor(), cloud.points(), 2, 1, PROJECT_EXACT, threads,
                                            cloud.images()),
              0);
    EXPECT_EQ(qmTransAndProjPoints2ImagesMT(&motion, head.tensor(), cloud.points(), 2, 2, PROJECT_EXACT, threads,
                                            cloud.images()),
              1);
  }
  EXPECT_THAT(cloud.pixels(0), ::testing::Each(-777.0));
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(qmTransAndProjPoints2ImagesMT, FailsWhenAShareFails) {
  const SampleHead head;
  Cloud cloud(head, 8);
  // With fewer points than threads the last share alone has points, and it alone fails.
  EXPECT_EQ(
      qmTransAndProjPoints2ImagesMT(nullptr, head.tensor(), cloud.points(), 0, 3, PROJECT_EXACT, 4, cloud.images()), 0);
  EXPECT_EQ(
      qmTransAndProjPoints2ImagesMT(nullptr, head.tensor(), cloud.points(), 0, 8, PROJECT_EXACT, 4, cloud.images()), 0);
}

TEST(qmTransAndProjPoints2ImagesMT, LeavesATraceForEachShareThatFailsAndForEachPointThatDoes) {
  SampleHead head;
  const qmMathTransform motion = smallMotion();
  Cloud cloud(head, 8);
  for (const auto& [points, traces] : {std::pair{3, 1U}, {4, 4U}, {8, 4U}}) {
    const RecordingLog log;
    EXPECT_EQ(qmTransAndProjPoints2ImagesMT(nullptr, head.tensor(), cloud.points(), 0, points, PROJECT_EXACT, 4,
                                            cloud.images()),
              0);
    EXPECT_THAT(log.records(), ::testing::AllOf(SizeIs(traces), ::testing::Each(BareTrace(kModule))));
  }
  head.tensor()->projectionsValid = 0;
  const RecordingLog log;
  EXPECT_EQ(
      qmTransAndProjPoints2ImagesMT(&motion, head.tensor(), cloud.points(), 1, 8, PROJECT_EXACT, 3, cloud.images()), 1);
  EXPECT_THAT(log.records(), ::testing::AllOf(SizeIs(3 * 7), ::testing::Each(BareTrace(kModule))));
}

TEST(qmTransAndProjPoints2ImagesMT, LeavesTheTracesOfAllThreadsWhereSeveralWork) {
  SampleHead head;
  const WholeImageLuts luts(*head.tensor(), {-1000.0F, 1000.0F});
  const qmMathTransform motion = smallMotion();
  constexpr int kCount = 3001;  // enough for three threads
  ASSERT_EQ(quelcore::threadsWorthStarting(*head.tensor(), PROJECT_EXACT, kCount, 3), 3);
  head.tensor()->projectionsValid = 0;
  Cloud cloud(head, kCount);
  const RecordingLog log;
  EXPECT_EQ(qmTransAndProjPoints2ImagesMT(&motion, head.tensor(), cloud.points(), 0, kCount, PROJECT_EXACT, 3,
                                          cloud.images()),
            1);
  EXPECT_THAT(log.records(), SizeIs(3 * kCount));
}

TEST(qmTransAndProjPoints2ImagesMT, TreatsNullAsOneThreadDoes) {
  SampleHead head;
  const qmMathTransform motion = smallMotion();
  Cloud cloud(head, 40);
  const RecordingLog log;
  EXPECT_EQ(qmTransAndProjPoints2ImagesMT(nullptr, nullptr, nullptr, 5, 5, PROJECT_EXACT, 4, nullptr), 1);
  EXPECT_EQ(qmTransAndProjPoints2ImagesMT(&motion, nullptr, cloud.points(), 0, 40, PROJECT_EXACT, 4, cloud.images()),
            1);
  EXPECT_THAT(log.records(), IsEmpty());
  EXPECT_THAT(cloud.pixels(0), ::testing::Each(-777.0));
  for (int camera = 0; camera < 3; ++camera) {
    double(*images[3])[2] = {cloud.images()[0], cloud.images()[1], cloud.images()[2]};
    images[camera] = nullptr;
    EXPECT_EQ(qmTransAndProjPoints2ImagesMT(&motion, head.tensor(), cloud.points(), 0, 40, PROJECT_EXACT, 4, images),
              0);
  }
  EXPECT_THAT(log.records(), SizeIs(3 * 4));
  EXPECT_EQ(qmTransAndProjPoints2ImagesMT(&motion, head.tensor(), nullptr, 0, 40, PROJECT_EXACT, 1000, cloud.images()),
            0);
  EXPECT_THAT(log.records(), SizeIs(3 * 4 + 16));  // of sixteen threads at most
}

TEST(ThreadsWorthStarting, KnowsASlowCameraWhicheverItIs) {
  for (int camera = 0; camera < 3; ++camera) {
    SampleHead head;
    head.tensor()->distortParams[camera].distortOption = 2;  // inverted
    EXPECT_EQ(quelcore::threadsWorthStarting(*head.tensor(), PROJECT_EXACT, 1999, 16), 1);
    EXPECT_EQ(quelcore::threadsWorthStarting(*head.tensor(), PROJECT_EXACT, 2000, 16), 2);
    EXPECT_EQ(quelcore::threadsWorthStarting(*head.tensor(), PROJECT_PINHOLE, 2000, 16), 1);
  }
}

TEST(ThreadsWorthStarting, LeavesShortRangesToTheCallingThreadAndNeverExceedsWhatIsAskedFor) {
  using quelcore::threadsWorthStarting;
  SampleHead head;
  const tag_qmReconsTensorData& tensor = *head.tensor();
  EXPECT_EQ(threadsWorthStarting(tensor, PROJECT_PINHOLE, 100, 16), 1);
  EXPECT_EQ(threadsWorthStarting(tensor, PROJECT_PINHOLE, 19999, 16), 1);
  EXPECT_EQ(threadsWorthStarting(tensor, PROJECT_PINHOLE, 20000, 16), 2);
  EXPECT_EQ(threadsWorthStarting(tensor, PROJECT_EXACT, 9999, 16), 1);
  EXPECT_EQ(threadsWorthStarting(tensor, PROJECT_EXACT, 10000, 16), 2);
  EXPECT_EQ(threadsWorthStarting(tensor, PROJECT_EXACT, 1000000, 16), 16);
  EXPECT_EQ(threadsWorthStarting(tensor, PROJECT_EXACT, 1000000, 3), 3);
  const WholeImageLuts luts(*head.tensor(), {-1000.0F, 1000.0F});
  EXPECT_EQ(threadsWorthStarting(tensor, PROJECT_EXACT, 1999, 16), 1);
  EXPECT_EQ(threadsWorthStarting(tensor, PROJECT_EXACT, 2000, 16), 2);
  EXPECT_EQ(threadsWorthStarting(tensor, PROJECT_PINHOLE, 19999, 16), 1);
}

TEST(ShareOfThread, DealsEqualChunksWithTheRemainderOnTheLastThread) {
  using quelcore::shareOfThread;
  const std::int64_t firsts[] = {0, 2, 4, 6};
  const std::int64_t lasts[] = {2, 4, 6, 10};
  for (std::int32_t n = 0; n < 4; ++n) {
    EXPECT_EQ(shareOfThread({0, 10}, 4, n).first, firsts[n]);
    EXPECT_EQ(shareOfThread({0, 10}, 4, n).last, lasts[n]);
  }
}

TEST(ShareOfThread, GivesAllTheWorkToTheLastThreadWhenThereIsLessThanOnePointEach) {
  using quelcore::shareOfThread;
  for (std::int32_t n = 0; n < 7; ++n) {
    EXPECT_EQ(shareOfThread({5, 8}, 8, n).first, 5);
    EXPECT_EQ(shareOfThread({5, 8}, 8, n).last, 5);
  }
  EXPECT_EQ(shareOfThread({5, 8}, 8, 7).first, 5);
  EXPECT_EQ(shareOfThread({5, 8}, 8, 7).last, 8);
}

}  // namespace
