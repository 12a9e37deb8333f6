#include "pictures/ViewMarks.h"

#include <gmock/gmock.h>

#include "pictures/BandLegend.h"
#include "pictures/ColourLegend.h"
#include "pictures/pictures_fixture.h"

namespace queltool {
namespace {

using ::testing::ElementsAre;

TEST(RoundLength, IsTheNextBelow) {
  EXPECT_EQ(roundLength(1.0), 1.0);
  EXPECT_EQ(roundLength(1.99), 1.0);
  EXPECT_EQ(roundLength(49.0), 20.0);
  EXPECT_EQ(roundLength(50.0), 50.0);
  EXPECT_NEAR(roundLength(0.0031), 0.002, 1e-15);
}

TEST(AxesOf, TellWhereEachPointsAndWhichSideTheViewerIs) {
  const auto axes =
      axesOf(QmVec3(0.0, 1.0, 0.0), QmVec3(0.0, 0.0, 1.0));  // Y to the right, Z up: X towards the viewer.
  EXPECT_EQ(axes[0].right, 0.0);
  EXPECT_EQ(axes[0].up, 0.0);
  EXPECT_TRUE(axes[0].isTowardsViewer);
  EXPECT_EQ(axes[1].right, 1.0);
  EXPECT_EQ(axes[2].up, 1.0);
  EXPECT_FALSE(axesOf(QmVec3(0.0, 0.0, 1.0), QmVec3(0.0, 1.0, 0.0))[0].isTowardsViewer);
}

class Marks : public ::testing::Test {
 protected:
  bool hasInk(const ReadPicture& picture, int x, int y) const { return picture.at(2 * x, 2 * y)[0] < 128; }

  std::string file() const { return (dir_.path() / "marks.png").string(); }

  quel::testing::TempDir dir_;
};

TEST_F(Marks, DrawAxesWhereTheyPoint) {
  Picture picture(OutputFile(std::filesystem::path(file())), 120.0, 120.0);
  drawAxes(picture, {60.0, 60.0}, axesOf(QmVec3(1.0, 0.0, 0.0), QmVec3(0.0, 1.0, 0.0)));
  picture.finish();
  const ReadPicture drawn(file());
  EXPECT_TRUE(hasInk(drawn, 75, 60));  // X to the right,
  EXPECT_TRUE(hasInk(drawn, 60, 45));  // Y up,
  EXPECT_TRUE(hasInk(drawn, 60, 60));  // Z towards the viewer: a dot
  EXPECT_TRUE(hasInk(drawn, 60, 65));  // in a ring.
  EXPECT_FALSE(hasInk(drawn, 45, 60));
  EXPECT_FALSE(hasInk(drawn, 60, 75));
}

TEST_F(Marks, DrawRulersInTheScaleOfTheView) {
  Picture picture(OutputFile(std::filesystem::path(file())), 400.0, 200.0);
  drawRuler(picture, {10.0, 100.0}, 3.0, 400.0, "mm");  // A fifth of the room are 26.7 mm: a bar of 20 mm.
  drawRuler(picture, {300.0, 180.0}, 30.0, 400.0, "mm", Along::Up);
  picture.finish();
  const ReadPicture drawn(file());
  EXPECT_TRUE(hasInk(drawn, 69, 100));
  EXPECT_FALSE(hasInk(drawn, 73, 100));
  EXPECT_TRUE(hasInk(drawn, 300, 122));
  EXPECT_FALSE(hasInk(drawn, 300, 117));
}

TEST(LegendNumber, HasARealMinus) {
  EXPECT_EQ(legendNumber(-0.35, true),
            "\xE2\x88\x92"
            "0.35");
  EXPECT_EQ(legendNumber(0.35, true), "+0.35");
  EXPECT_EQ(legendNumber(0.35, false), "0.35");
  EXPECT_EQ(legendNumber(0.0, true), "0");
}

TEST(LegendNumbers, HaveTheDigitsThatTellThemApart) {
  using ::testing::ElementsAre;
  EXPECT_THAT(legendNumbers({0.05, 0.15}, false), ElementsAre("0.05", "0.15"));
  EXPECT_THAT(legendNumbers({0.123456, 7.0}, true), ElementsAre("+0.1235", "+7"));
  EXPECT_THAT(legendNumbers({10000.1, 10000.14, 10000.26, 10000.3}, false),
              ElementsAre("10000.1", "10000.14", "10000.26", "10000.3"));
  EXPECT_THAT(legendNumbers({}, true), ElementsAre());
  EXPECT_THAT(legendNumbers({1.0 / 3.0}, false), ElementsAre("0.3333"));
}

TEST(RangesOfTheTable, SayThatTheEndsAreOpen) {
  const ColourTable table{"", false, {{70, "good", {}}, {100, "fair", {}}, {200, "bad", {}}}};
  EXPECT_THAT(rangesOf(table), ElementsAre("below 70 %", "70 to 100 %", "above 100 %"));
  EXPECT_THAT(rangesOf({"", false, {{100, "all", {}}}}), ElementsAre("all"));
}

}  // namespace
}  // namespace queltool
