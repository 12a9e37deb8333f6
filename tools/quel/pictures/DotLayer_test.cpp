#include "pictures/DotLayer.h"

#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <limits>

#include "pictures/pictures_fixture.h"
#include "testing/Numbers.h"

namespace queltool {
namespace {

using quel::testing::readFile;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr Colour kRed{1.0, 0.0, 0.0};
constexpr Colour kBlue{0.0, 0.0, 1.0};
constexpr Box kBox{10.0, 20.0, 60.0, 40.0};
constexpr std::size_t kFew = 1, kMany = 1000000;

class Dots : public ::testing::Test {
 protected:
  // A picture of 100 x 80 units with dots of radius 2.3 in a box.
  ReadPicture drawn(std::size_t count, const std::function<void(DotLayer&)>& draw) const {
    const std::string file = path("dots.png");
    write(file, count, draw);
    return ReadPicture(file);
  }

  void write(const std::string& file, std::size_t count, const std::function<void(DotLayer&)>& draw) const {
    Picture picture(OutputFile(std::filesystem::path(file)), 100.0, 80.0);
    DotLayer dots(picture, kBox, 2.3, count);
    draw(dots);
    dots.finish();
    picture.finish();
  }

  std::string path(const std::string& name) const { return (dir_.path() / name).string(); }

  quel::testing::TempDir dir_;
};

TEST_F(Dots, LieInAPixelHoweverNearItsEdge) {
  // So little beside the edge of a pixel that the distance from the edge before it rounds to a whole one.
  const auto drawnAt = [this](double x) {
    const std::string file = path("edge.png");
    Picture picture(OutputFile(std::filesystem::path(file)), 20.0, 20.0);
    DotLayer dots(picture, {0.0, 0.0, 20.0, 20.0}, 2.3, kMany);
    dots.add({x, x}, kRed);
    dots.finish();
    picture.finish();
    return readFile(file);
  };
  EXPECT_EQ(drawnAt(-1e-20), drawnAt(-1e-9));
}

TEST_F(Dots, LookTheSameAsShapesAndPixelByPixel) {
  const auto draw = [](DotLayer& dots) {
    std::mt19937_64 random = quel::testing::testRandom();
    std::uniform_real_distribution<double> x(5.0, 75.0), y(15.0, 65.0), share(0.0, 1.0);
    for (int n = 0; n < 120; ++n) {
      const double across = x(random), down = y(random);
      dots.add({across, down}, {share(random), share(random), share(random)});
    }
  };
  const ReadPicture shapes = drawn(kFew, draw), pixels = drawn(kMany, draw);
  int most = 0;
  double sum = 0.0;
  for (std::size_t i = 0; i < shapes.pixels().size(); ++i) {
    for (std::size_t c = 0; c < 3; ++c) {
      const int off = std::abs(shapes.pixels()[i][c] - pixels.pixels()[i][c]);
      most = std::max(most, off);
      sum += off;
    }
  }
  EXPECT_GT(std::count(shapes.pixels().begin(), shapes.pixels().end(), Rgb{255, 255, 255}), 1000);
  EXPECT_LT(sum / static_cast<double>(3 * shapes.pixels().size()), 0.7);
  EXPECT_LE(most, 90);  // At an edge, where the centre is off by an eighth of a pixel.
}

TEST_F(Dots, LieOverThoseOfLowerRank) {
  for (const std::size_t count : {kFew, kMany}) {
    const ReadPicture picture = drawn(count, [](DotLayer& dots) {
      dots.add({30.0, 40.0}, kRed, 2.0);
      dots.add({30.0, 40.0}, kBlue, 1.0);
      dots.add({30.0, 40.0}, kBlue);
      dots.add({50.0, 40.0}, kRed);
      dots.add({50.0, 40.0}, kBlue);
    });
    EXPECT_EQ(picture.at(60, 80), (Rgb{255, 0, 0}));
    EXPECT_EQ(picture.at(100, 80), (Rgb{0, 0, 255}));
  }
}

TEST_F(Dots, HaveRanksOfAnySignAndSize) {
  constexpr double kHuge = 1e30;
  for (const std::size_t count : {kFew, kMany}) {
    const ReadPicture picture = drawn(count, [](DotLayer& dots) {
      const double ranks[] = {-1.0, -kHuge, -2.0, -1e-30, 0.0, -0.0, 1e-30, 0.5, kHuge, 3.0};
      for (int i = 0; i + 1 < static_cast<int>(std::size(ranks)); ++i) {  // Each beside the next one, on one spot.
        const Vec2 at = {14.0 + 6.0 * i, 40.0};
        const bool isFirstAbove = ranks[i] > ranks[i + 1];
        dots.add(at, isFirstAbove ? kRed : kBlue, ranks[i]);
        dots.add(at, isFirstAbove ? kBlue : kRed, ranks[i + 1]);
      }
    });
    for (int i = 0; i < 9; ++i) EXPECT_EQ(picture.at(28 + 12 * i, 80), (Rgb{255, 0, 0})) << i;
  }
}

TEST_F(Dots, ShowNothingOutsideTheirBox) {
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  constexpr double kFar = 1e300;
  for (const std::size_t count : {kFew, kMany}) {
    const ReadPicture picture = drawn(count, [](DotLayer& dots) {
      for (const Vec2& at : {Vec2{10.0, 20.0}, Vec2{70.0, 60.0}, Vec2{9.0, 40.0}, Vec2{2.0, 2.0}, Vec2{kNone, 40.0},
                             Vec2{30.0, kFar}, Vec2{-kFar, 40.0}}) {
        dots.add(at, kRed);
        dots.add(at, kRed, 1.0);
      }
    });
    EXPECT_EQ(picture.at(21, 41), (Rgb{255, 0, 0}));
    for (int y = 0; y < picture.height(); ++y) {
      for (int x = 0; x < picture.width(); ++x) {
        const bool inside = x >= 20 && x < 140 && y >= 40 && y < 120;
        EXPECT_TRUE(inside || picture.at(x, y) == (Rgb{255, 255, 255})) << x << " " << y;
      }
    }
  }
}

TEST_F(Dots, AreAnImageInAnSvgWhereTheyAreMany) {
  const auto draw = [](DotLayer& dots) { dots.add({30.0, 40.0}, kRed); };
  write(path("few.svg"), kFew, draw);
  EXPECT_THAT(readFile(path("few.svg")), Not(HasSubstr("<image")));
  write(path("many.svg"), kMany, draw);
  EXPECT_THAT(readFile(path("many.svg")), HasSubstr("<image"));
}

}  // namespace
}  // namespace queltool
