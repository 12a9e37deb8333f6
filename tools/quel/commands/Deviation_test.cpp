// Clouds against planes: what `quel deviation` tells and writes.
#include <fmt/core.h>

#include <cmath>

#include "commands/tool_fixture.h"

namespace queltool {
namespace {

using nlohmann::json;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;

class DeviationTool : public Quel {
 protected:
  // Points at these heights over the plane z = 0, which is compared with.
  std::string heights(const std::vector<double>& values) const {
    std::string text = "x,y,z\n";
    for (std::size_t i = 0; i < values.size(); ++i) text += fmt::format("{},{},{}\n", i, i * i, values[i]);
    writeFile(path("cloud.csv"), text);
    return path("cloud.csv") + " --plane 0,0,1,0";
  }
};

TEST_F(DeviationTool, TellsTheFiguresOfMetrology) {
  const Outcome told = run("deviation " + heights({-1, 0, 1, 4}) + " --tolerance -1,1 --json");
  ASSERT_EQ(told.code, 0) << told.error;
  const json figures = json::parse(told.out);
  EXPECT_EQ(figures["mean_mm"], 1.0);
  EXPECT_NEAR(figures["rms_mm"].get<double>(), std::sqrt(4.5), 1e-15);
  EXPECT_NEAR(figures["standard_deviation_mm"].get<double>(), std::sqrt(14.0 / 3.0), 1e-15);
  EXPECT_EQ(figures["smallest_mm"], -1.0);
  EXPECT_EQ(figures["largest_mm"], 4.0);
  EXPECT_EQ(figures["quantile_95_mm"], 4.0);
  EXPECT_EQ(figures["share_within"], 0.75);
  EXPECT_EQ(figures["judged"], 4);
  EXPECT_EQ(figures["against"], "a plane");
}

TEST_F(DeviationTool, TellsThemToPeople) {
  const Outcome told = run("deviation " + heights({-1, 0, 1, 4}) + " --tolerance -1,1");
  EXPECT_THAT(told.out, AllOf(HasSubstr("  from -1 to +4 mm, 2.12132 mm RMS\n"),
                              HasSubstr("  mean +1 mm, standard deviation 2.16025 mm\n"),
                              HasSubstr("  95 % are off by at most 4 mm, 99 % by at most 4 mm\n")));
}

TEST_F(DeviationTool, TellsOfNoStandardDeviationOfOnePoint) {
  const std::string one = heights({0.5}) + " --tolerance -1,1";
  EXPECT_THAT(run("deviation " + one).out, HasSubstr("standard deviation of one point alone there is none"));
  EXPECT_TRUE(json::parse(run("deviation --json " + one).out)["standard_deviation_mm"].is_null());
}

TEST_F(DeviationTool, CountsPointsThatAreNotFiniteApart) {
  const json figures = json::parse(run("deviation " + heights({1, NAN, INFINITY, 3}) + " --tolerance -1,2 --json").out);
  EXPECT_EQ(figures["left_out"], 2);
  EXPECT_EQ(figures["judged"], 2);
  EXPECT_EQ(figures["mean_mm"], 2.0);
}

TEST_F(DeviationTool, FailsWithoutAPointThatIsFinite) {
  expectFailure(run("deviation " + heights({NAN}) + " --tolerance -1,2"), "cloud.csv: there are no points");
}

TEST_F(DeviationTool, WritesTheFiguresAsATable) {
  ASSERT_EQ(run("deviation " + heights({-1, 0, 1, 4}) + " --tolerance -1,1 --figures " + path("figures.csv")).code, 0);
  using Row = std::vector<std::string>;
  EXPECT_THAT(fieldsOf(readFile(path("figures.csv"))),
              IsSupersetOf({Row{"name", "value", "unit"}, Row{"points", "4", "points"}, Row{"mean", "1", "mm"},
                            Row{"largest", "4", "mm"}, Row{"quantile_99", "4", "mm"}, Row{"share_within", "0.75", "1"},
                            Row{"band_0", "1", "points"}, Row{"band_1", "3", "points"}}));
  ASSERT_EQ(run("deviation " + heights({1}) + " --tolerance -1,1 --figures " + path("figures.csv")).code, 0);
  EXPECT_THAT(fieldsOf(readFile(path("figures.csv"))), IsSupersetOf({Row{"standard_deviation", "", "mm"}}));
}

TEST_F(DeviationTool, WritesThePointsWithTheirBands) {
  ASSERT_EQ(run("deviation " + heights({0, 0.5, -7}) + " --tolerance -1,1 -o " + path("points.csv")).code, 0);
  EXPECT_THAT(fieldsOf(readFile(path("points.csv"))),
              ElementsAre(ElementsAre("x", "y", "z", "deviation", "band"), ElementsAre("0", "0", "0", "0", "0"),
                          ElementsAre("1", "1", "0.5", "0.5", "0"), ElementsAre("2", "4", "-7", "-7", "1")));
}

}  // namespace
}  // namespace queltool
