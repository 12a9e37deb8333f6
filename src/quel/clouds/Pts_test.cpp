#include "quel/clouds/Pts.h"

#include "quel/clouds/clouds_fixture.h"

namespace quel {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

const std::string kScan = "2\n1 2 3 -1200 255 0 0\n4 5 6e0 17 0 0 0\n";

TEST(ReadPts, ReadsThePointsOfAllScans) {
  EXPECT_THAT(pointsOf(kScan, CloudFormat::Pts), ElementsAre(Vec3{1, 2, 3}, Vec3{4, 5, 6}));
  EXPECT_THAT(pointsOf(kScan + "\n1\n7 8 9\n", CloudFormat::Pts),
              ElementsAre(Vec3{1, 2, 3}, Vec3{4, 5, 6}, Vec3{7, 8, 9}));
}

TEST(ReadPts, SaysWhatIsWrongAndWhere) {
  EXPECT_EQ(complaint("2\n1.0 2 3\n4 5\n", CloudFormat::Pts), "line 3: point 1 of 2: the line has too few values");
  EXPECT_EQ(complaint("2\n1 2 3     \n", CloudFormat::Pts), "line 2: point 1 of 2: the file ends in front of it");
  EXPECT_THAT(complaint(kScan + "7 8 9\n", CloudFormat::Pts), HasSubstr("line 4: must be a count of points alone"));
  EXPECT_THAT(complaint("two\n", CloudFormat::Pts), HasSubstr("line 1: \"two\" is no count of points"));
  EXPECT_EQ(complaint("0\n", CloudFormat::Pts), "holds no points");
}

TEST(ReadPts, RefusesCountsThatTheFileCannotHold) {
  EXPECT_THAT(complaint("99999999999\n1 2 3\n", CloudFormat::Pts), HasSubstr("more than the file can hold"));
}

TEST(ReadPts, ReadsManySmallScansInTimeThatGrowsWithTheFile) {
  std::string scans;
  for (int i = 0; i < 200000; ++i) scans += "1\n1 2 3\n";
  EXPECT_EQ(pointsOf(scans, CloudFormat::Pts).size(), 200000u);
}

TEST(ReadPts, RefusesEveryTruncation) {
  const std::string scan = "2\n1 2 3\n4 5 6";
  expectRefusedWhenCut(scan, CloudFormat::Pts, scan.size());
}

TEST(ReadPts, SurvivesDamagedBytes) { expectSurvivesDamage(kScan, CloudFormat::Pts); }

TEST(LooksLikePts, NeedsACountAloneAndAPoint) {
  EXPECT_TRUE(looksLikePts(kScan));
  EXPECT_FALSE(looksLikePts("1 2 3\n4 5 6\n"));
  EXPECT_FALSE(looksLikePts("2\nC 1 2 3\n"));
  EXPECT_FALSE(looksLikePts("2\n1\n"));
}

}  // namespace
}  // namespace quel
