// `quel feature` as a user runs it.
#include <fmt/core.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "commands/tool_fixture.h"
#include "models/FeatureRun.h"
#include "pictures/DeviationScale.h"
#include "testing/Numbers.h"

namespace queltool {
namespace {

using quel::testing::Near;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

class Feature : public Quel {
 protected:
  /// A wavy plate on z = 5: deviations of 0.2 mm, up and down by turns.
  std::string plate() const {
    std::string text = "x y z\n";
    for (int i = 0; i < 10; ++i) {
      for (int j = 0; j < 10; ++j) text += fmt::format("{} {} {}\n", 3 * i, 2 * j, (i + j) % 2 == 0 ? 5.2 : 4.8);
    }
    writeFile(path("plate.txt"), text);
    return path("plate.txt");
  }

  /// A rod of radius 2 about the x axis, from 10 to 60.
  std::string rod() const {
    std::string text;
    for (int i = 0; i <= 50; ++i) {
      for (int k = 0; k < 8; ++k) {
        const double angle = k * std::numbers::pi / 4.0;
        text += fmt::format("{},{:.17g},{:.17g}\n", 10 + i, 2.0 * std::cos(angle), 2.0 * std::sin(angle));
      }
    }
    writeFile(path("rod.csv"), text);
    return path("rod.csv");
  }
};

TEST_F(Feature, FitsAPlaneAndTellsTheDeviations) {
  const Outcome outcome = run("feature plane " + plate());
  ASSERT_EQ(outcome.code, 0) << outcome.error;
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("plane through 100 points"), HasSubstr("13.5000 9.0000 5.0000 mm"),
                                 HasSubstr("50 points, mean +0.2 mm"), HasSubstr("outline               4 corners")));
  EXPECT_THAT(outcome.error, IsEmpty());
}

TEST_F(Feature, GivesAPlaneAsJson) {
  const Outcome outcome = run("feature plane " + plate() + " --json");
  ASSERT_EQ(outcome.code, 0) << outcome.error;
  const auto json = nlohmann::json::parse(outcome.out);
  EXPECT_EQ(json["points"], 100);
  EXPECT_EQ(json["left_out"], 0);
  EXPECT_THAT(json["center_mm"].get<std::vector<double>>(),
              ElementsAre(Near(13.5, 1e-12), Near(9.0, 1e-12), Near(5.0, 1e-12)));
  EXPECT_THAT(json["normal"][2].get<double>(), Near(1.0, 1e-4));
  EXPECT_THAT(json["deviation"]["rms_mm"].get<double>(), Near(0.2, 1e-3));
  EXPECT_THAT(json["deviation"]["mean_mm"].get<double>(), Near(0.0, 1e-14));
  EXPECT_EQ(json["outline_mm"].size(), 4U);
}

TEST_F(Feature, FitsALineThroughARod) {
  const Outcome outcome = run("feature line " + rod() + " --json");
  ASSERT_EQ(outcome.code, 0) << outcome.error;
  const auto json = nlohmann::json::parse(outcome.out);
  EXPECT_THAT(json["direction"].get<std::vector<double>>(),
              ElementsAre(Near(1.0, 1e-15), Near(0.0, 1e-15), Near(0.0, 1e-15)));
  EXPECT_THAT(json["length_mm"].get<double>(), Near(50.0, 1e-12));
  EXPECT_THAT(json["ends_mm"][0][0].get<double>(), Near(10.0, 1e-12));
  EXPECT_THAT(json["deviation"]["rms_mm"].get<double>(), Near(2.0, 1e-12));
  EXPECT_THAT(json["deviation"]["std_of_size_mm"].get<double>(), Near(0.0, 1e-12));
  EXPECT_THAT(run("feature line " + rod()).out, HasSubstr("length                50.0000 mm"));
}

TEST_F(Feature, WritesEachPointWithItsDeviation) {
  ASSERT_EQ(run("feature plane " + plate() + " --table " + path("off.csv")).code, 0);
  const auto rows = fieldsOf(readFile(path("off.csv")));
  ASSERT_THAT(rows, SizeIs(101));
  EXPECT_THAT(rows[0], ElementsAre("x", "y", "z", "deviation"));
  EXPECT_THAT(std::stod(rows[1][3]), Near(0.2, 5e-3));
  EXPECT_THAT(std::stod(rows[2][3]), Near(-0.2, 5e-3));
}

TEST_F(Feature, DrawsTheDeviations) {
  ASSERT_EQ(run("feature plane " + plate() + " -o " + path("plane.png")).code, 0);
  EXPECT_THAT(readFile(path("plane.png")), StartsWith("\x89PNG"));
  ASSERT_EQ(run("feature line " + rod() + " -o " + path("line.svg")).code, 0);
  EXPECT_THAT(readFile(path("line.svg")), AllOf(StartsWith("<?xml"), HasSubstr("</svg>")));
}

TEST_F(Feature, DrawsPointsWithoutAnyDeviation) {
  writeFile(path("three.txt"), "0 0 0\n1 0 0\n0 1 0\n");
  EXPECT_EQ(run("feature plane " + path("three.txt") + " -o " + path("three.png")).code, 0);
  writeFile(path("two.txt"), "0 0 0\n1 0 0\n");
  EXPECT_EQ(run("feature line " + path("two.txt") + " -o " + path("two.png")).code, 0);
}

// Each point is a path of its own behind the shapes of the letters; one whose place is no number is not drawn.
std::size_t pathsOf(const std::string& svg) {
  std::size_t count = 0;
  for (std::size_t at = svg.find("<path", svg.rfind("</defs>")); at != svg.npos; at = svg.find("<path", at + 1))
    ++count;
  return count;
}

TEST_F(Feature, DrawsEveryPointOfALineWithoutWidth) {
  std::string row;
  for (int i = 0; i < 40; ++i) row += fmt::format("{} 0 0\n", i);
  writeFile(path("row.txt"), row);
  writeFile(path("two.txt"), "0 0 0\n1 0 0\n");
  ASSERT_EQ(run("feature line " + path("row.txt") + " -o " + path("row.svg")).code, 0);
  ASSERT_EQ(run("feature line " + path("two.txt") + " -o " + path("two.svg")).code, 0);
  EXPECT_EQ(pathsOf(readFile(path("row.svg"))), pathsOf(readFile(path("two.svg"))) + 38);
}

TEST_F(Feature, LeavesOutPointsThatAreNotFinite) {
  writeFile(path("cloud.ply"),
            "ply\nformat ascii 1.0\nelement vertex 4\nproperty double x\nproperty double y\nproperty double z\n"
            "end_header\n0 0 0\n1 0 0\n0 1 0\nnan 0 0\n");
  const Outcome outcome = run("feature plane " + path("cloud.ply"));
  ASSERT_EQ(outcome.code, 0) << outcome.error;
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("plane through 3 points"), HasSubstr("1 points that are not finite")));
}

TEST_F(Feature, SaysWhichFileHasNoFeature) {
  writeFile(path("line.txt"), "0 0 0\n1 1 1\n2 2 2\n");
  expectFailure(run("feature plane " + path("line.txt")), "line.txt: no plane can be fitted; it takes three points");
  writeFile(path("point.txt"), "1 1 1\n1 1 1\n");
  expectFailure(run("feature line " + path("point.txt")), "point.txt: no line can be fitted; it takes two points");
  expectFailure(run("feature plane " + path("missing.txt")), "missing.txt");
  expectFailure(run("feature plane " + plate() + " -o " + path("no/such/folder/a.png")), "a.png");
}

TEST_F(Feature, TeachesItsUse) {
  EXPECT_EQ(run("feature").code, 2);
  EXPECT_EQ(run("feature cone x").code, 2);
  EXPECT_EQ(run("feature plane").code, 2);
  EXPECT_THAT(run("feature --help").out, AllOf(HasSubstr("plane"), HasSubstr("line"), HasSubstr("Example")));
  EXPECT_THAT(run("feature line --help").out, AllOf(HasSubstr("--table"), HasSubstr("quel feature line scan.ply")));
}

// --- The scale of colours --------------------------------------------------------------------------------------------

bool sameColour(const Colour& a, const Colour& b) { return a.red == b.red && a.green == b.green && a.blue == b.blue; }

TEST(DeviationScale, HasIntervalsOfRoundWidthAboutZero) {
  const auto bounds = [](const std::vector<double>& deviations) {
    const DeviationScale scale(deviations);
    const SurfaceEditorData& data = scale.analysis().surfaceData;
    return std::pair(data.legend[4].threshold, data.legend[9].threshold);
  };
  EXPECT_EQ(bounds({1.0, -1.0}), std::pair(-0.5F, 4.5F));
  EXPECT_EQ(bounds({0.03, -0.03}), std::pair(-0.01F, 0.09F));
  EXPECT_EQ(bounds({0.0, 0.0}), std::pair(-0.5F, 4.5F));
}

TEST(DeviationScale, SaysWhatEachIntervalHoldsAndThatTheEndsAreOpen) {
  const std::string minus = "\xE2\x88\x92";
  EXPECT_THAT(DeviationScale({0.03, -0.03}).ranges(),
              ElementsAre("below " + minus + "0.07 mm", minus + "0.07 to " + minus + "0.05 mm",
                          minus + "0.05 to " + minus + "0.03 mm", minus + "0.03 to " + minus + "0.01 mm",
                          minus + "0.01 to +0.01 mm", "+0.01 to +0.03 mm", "+0.03 to +0.05 mm", "+0.05 to +0.07 mm",
                          "above +0.07 mm"));
  EXPECT_THAT(DeviationScale({1.0, 2.0}, false).ranges(),
              ElementsAre("0 to 1 mm", "1 to 2 mm", "2 to 3 mm", "3 to 4 mm", "above 4 mm"));
}

TEST(DeviationScale, ColoursBothSidesAboutZeroAndBeyondItsEnds) {
  const DeviationScale scale({1.0, -1.0});
  EXPECT_TRUE(sameColour(scale.colourOf(-0.4), scale.colourOf(0.4)));
  EXPECT_FALSE(sameColour(scale.colourOf(0.4), scale.colourOf(0.6)));
  EXPECT_FALSE(sameColour(scale.colourOf(1.0), scale.colourOf(-1.0)));
  EXPECT_TRUE(sameColour(scale.colourOf(4.4), scale.colourOf(1e9)));
  EXPECT_TRUE(sameColour(scale.colourOf(-4.4), scale.colourOf(-1e9)));
  EXPECT_GT(scale.colourOf(5.0).red, scale.colourOf(5.0).blue);
  EXPECT_LT(scale.colourOf(-5.0).red, scale.colourOf(-5.0).blue);
}

TEST(DeviationScale, CountsEachIntervalAndBothSides) {
  const DeviationScale scale({1.0, 3.0, -2.0, 0.0, 0.0});
  const DistCOPCADparms& analysis = scale.analysis();
  EXPECT_EQ(analysis.posCount, 2);
  EXPECT_EQ(analysis.negCount, 1);
  EXPECT_EQ(analysis.posStats[3], 2.0);
  EXPECT_EQ(analysis.posStats[2], 5.0);
  EXPECT_EQ(analysis.pos_std(), 1.0);
  std::uint32_t all = 0;
  for (std::uint32_t i = 0; i < analysis.surfaceData.legendCount; ++i) all += analysis.surfaceData.counters[i];
  EXPECT_EQ(all, 5U);
}

TEST(DeviationScale, StartsAtZeroForDistances) {
  const DeviationScale scale({1.0, 2.0}, false);
  EXPECT_EQ(scale.analysis().surfaceData.legend[0].threshold, 0.0F);
  EXPECT_TRUE(sameColour(scale.colourOf(0.0), scale.colourOf(0.5)));
}

}  // namespace
}  // namespace queltool
