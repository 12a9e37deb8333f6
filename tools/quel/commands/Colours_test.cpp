// Deviation colours as a user sees them.
#include <fmt/core.h>

#include <array>
#include <cmath>
#include <cstring>

#include "commands/tool_fixture.h"
#include "models/ColourTable.h"
#include "models/FileChecks.h"
#include "testing/Numbers.h"

namespace queltool {
namespace {

using nlohmann::json;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

std::string table(const std::string& values) {
  return "<QuelmetraDataFile><DeviationColorTable>" + values + "</DeviationColorTable></QuelmetraDataFile>";
}

const std::string kThreeBands = table(
    "<Value Percentage=\"50\" Color=\"255\" Name=\"good\"/><Value Percentage=\"100\" Color=\"65280\" Name=\"fair\"/>"
    "<Value Percentage=\"200\" Color=\"16711680\" Name=\"bad\"/>");

class ColoursTool : public Quel {
 protected:
  void makeTable(const std::string& text) const {
    std::filesystem::create_directories(path("home/legends"));
    writeFile(path("home/legends/DeviationColor.xml"), text);
  }

  // Points at these heights, three of a row for each, over the plane z = 10.
  std::string cloud(const std::vector<double>& heights) const {
    std::string text;
    for (std::size_t i = 0; i < heights.size(); ++i) {
      for (int j = 0; j < 3; ++j) text += fmt::format("{} {} {:.17g}\n", i, j, 10.0 + heights[i]);
    }
    writeFile(path("cloud.txt"), text);
    return path("cloud.txt");
  }

  std::vector<std::string> problemsOf(const std::string& text) const {
    writeFile(path("table.xml"), text);
    return checkColours(path("table.xml")).all();
  }

  json deviation(const std::string& arguments) const {
    const Outcome outcome = run("deviation --json " + arguments);
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    return json::parse(outcome.out);
  }
};

TEST_F(ColoursTool, ShowsTheDefaultWhereThereIsNoFile) {
  const Outcome shown = run("colours show");
  EXPECT_EQ(shown.code, 0) << shown.error;
  EXPECT_THAT(shown.out, AllOf(HasSubstr("no entries, so the default holds"), HasSubstr("#9cff66  Within tolerance"),
                               HasSubstr("#ff5050  Out of tolerance")));
  const json made = json::parse(run("colours show --json").out);
  EXPECT_EQ(made["default"], true);
  EXPECT_EQ(made["bands"][1]["below_percent"], 1000);
}

TEST_F(ColoursTool, ShowsTheTableOfTheSite) {
  makeTable(kThreeBands);
  const json made = json::parse(run("colours show --json").out);
  EXPECT_EQ(made["default"], false);
  ASSERT_EQ(made["bands"].size(), 3u);
  EXPECT_EQ(made["bands"][0], json({{"below_percent", 50}, {"colour", "#ff0000"}, {"name", "good"}}));
  EXPECT_EQ(made["bands"][2]["colour"], "#0000ff");
}

TEST_F(ColoursTool, ShowsTheDefaultForAFileWithoutEntries) {
  makeTable("<QuelmetraDataFile");
  const json made = json::parse(run("colours show --json").out);
  EXPECT_EQ(made["default"], true);
  EXPECT_EQ(made["bands"].size(), 2u);
}

TEST_F(ColoursTool, DrawsTheLegend) {
  makeTable(kThreeBands);
  EXPECT_EQ(run("colours export -o " + path("legend.png")).code, 0);
  EXPECT_THAT(readFile(path("legend.png")), StartsWith("\x89PNG"));
  EXPECT_EQ(run("colours export -o " + path("legend.svg")).code, 0);
  EXPECT_THAT(readFile(path("legend.svg")), HasSubstr("rgb(100%,0%,0%)"));
}

TEST_F(ColoursTool, FindsNothingWrongWithASoundTable) { EXPECT_THAT(problemsOf(kThreeBands), IsEmpty()); }

TEST_F(ColoursTool, FindsNothingWrongWithTheEncodingsThatTheLibraryReads) {
  EXPECT_THAT(problemsOf("\xEF\xBB\xBF" + kThreeBands), IsEmpty());
  std::string wide = "\xFF\xFE";
  for (const char c : kThreeBands) wide += {c, '\0'};
  EXPECT_THAT(problemsOf(wide), IsEmpty());
  EXPECT_THAT(problemsOf(""), ElementsAre(HasSubstr("root")));
  EXPECT_THAT(problemsOf(std::string("<a/>\0", 5)), SizeIs(1));
}

TEST_F(ColoursTool, NamesWhatIsWrongAndWhere) {
  EXPECT_THAT(problemsOf("<a"), ElementsAre(HasSubstr("line 1")));
  EXPECT_THAT(problemsOf("<a/>"),
              ElementsAre(EndsWith("table.xml, root: expected QuelmetraDataFile, found another one")));
  EXPECT_THAT(problemsOf("<QuelmetraDataFile/>"),
              ElementsAre(HasSubstr("QuelmetraDataFile: expected DeviationColorTable, found none")));
  EXPECT_THAT(problemsOf(table("")), ElementsAre(HasSubstr("DeviationColorTable: expected Value, found none")));
  const std::string good = "<Value Percentage=\"1\" Color=\"1\" Name=\"a\"/>";
  EXPECT_THAT(problemsOf(table(good)),
              ElementsAre(HasSubstr("expected two or more, as a legend needs, found one Value")));
  EXPECT_THAT(problemsOf(table(good + good)),
              ElementsAre(HasSubstr("as a legend needs"),
                          HasSubstr("line 1, column 83, Value 2: expected a percentage that no earlier Value has")));
  EXPECT_THAT(problemsOf(table(good + "<Value Percentage=\"01\" Color=\"1\" Name=\"a\"/>")),
              ElementsAre(HasSubstr("as a legend needs"), HasSubstr("Value 2: expected a percentage that no earlier")));
  EXPECT_THAT(problemsOf(table(good + "<Value Percentage=\"65536\" Color=\"x\"/>")),
              ElementsAre(HasSubstr("Value 2: expected Percentage from 0 to 65535, found \"65536\""),
                          HasSubstr("Value 2: expected Color from 0 to 16777215, found \"x\""),
                          HasSubstr("Value 2: expected Name, found none")));
}

TEST_F(ColoursTool, ChecksAFile) {
  writeFile(path("good.xml"), kThreeBands);
  EXPECT_THAT(run("colours check " + path("good.xml")).out, HasSubstr("good.xml: sound"));
  writeFile(path("bad.xml"), "<a/>");
  expectFailure(run("colours check " + path("bad.xml")), "bad.xml: 1 problems");
  expectFailure(run("colours check " + path("absent.xml")), "absent.xml: there is no such file");
  EXPECT_EQ(run("colours").code, 2);
}

TEST_F(ColoursTool, GradesPointsAgainstAPlane) {
  // 0 % at +0.1, 100 % at -0.1 and 0.3.
  const json graded = deviation(cloud({-0.2, -0.05, 0.1, 0.25, 0.5}) + " --plane 0,0,2,-20 --tolerance -0.1,0.3");
  EXPECT_EQ(graded["points"], 15);
  EXPECT_EQ(graded["below"], 3);
  EXPECT_EQ(graded["within"], 9);
  EXPECT_EQ(graded["above"], 3);
  EXPECT_EQ(graded["bands"], json({9, 6}));
  EXPECT_NEAR(graded["smallest_mm"].get<double>(), -0.2, 1e-14);
  EXPECT_NEAR(graded["largest_mm"].get<double>(), 0.5, 1e-14);
  EXPECT_NEAR(graded["point_of_plane_mm"][2].get<double>(), 10.0, 1e-14);
}

TEST_F(ColoursTool, GradesByTheUpperLimitAlone) {
  makeTable(kThreeBands);
  const json graded = deviation(cloud({-0.02, 0.06, 0.15, 0.3}) + " --plane 0,0,1,-10 --tolerance -1,0.1 --one-sided");
  EXPECT_EQ(graded["bands"], json({3, 3, 6}));
}

TEST_F(ColoursTool, ShowsNothingAsGoodThatIsFarOutOfTolerance) {
  // 65600, 66000 and 10^12 percent of the tolerance.
  const json graded = deviation(cloud({0.0, 65.6, -66.0, 1e9}) + " --plane 0,0,1,-10 --tolerance -0.1,0.1");
  EXPECT_EQ(graded["bands"], json({3, 9}));
}

TEST_F(ColoursTool, TakesAnyMultipleOfAPlane) {
  const std::string points = cloud({0.0, 0.5});
  for (const char* plane : {"0,0,1,-10", "0,0,-1e-200,1e-199", "0,0,1e200,-1e201"}) {
    EXPECT_NEAR(deviation(points + " --tolerance -1,1 --plane " + plane)["rms_mm"].get<double>(), std::sqrt(0.125),
                1e-12)
        << plane;
  }
}

TEST_F(ColoursTool, FitsThePlaneUnlessOneIsGiven) {
  const json graded = deviation(cloud({0.0, 0.1, 0.2, 0.3}) + " --tolerance -0.001,0.001");  // A slope is a plane.
  EXPECT_EQ(graded["within"], 12);
  EXPECT_LT(graded["rms_mm"].get<double>(), 1e-14);
}

TEST_F(ColoursTool, WritesThePointsInColour) {
  makeTable(kThreeBands);
  deviation(cloud({0.0, 0.06, 0.09}) + " --plane 0,0,1,-10 --tolerance -0.1,0.1 -o " + path("out.ply"));
  const std::string ply = readFile(path("out.ply"));
  const std::size_t data = ply.find("end_header\n") + 11;
  EXPECT_THAT(ply.substr(0, data), AllOf(HasSubstr("element vertex 9\n"), HasSubstr("property double deviation\n")));
  ASSERT_EQ(ply.size() - data, 9u * 35u);
  double off = 0.0;
  std::memcpy(&off, ply.data() + data + 3 * 35 + 27, sizeof off);
  EXPECT_NEAR(off, 0.06, 1e-14);
  EXPECT_EQ(ply.substr(data + 24, 3), std::string("\xFF\0\0", 3));
  EXPECT_EQ(ply.substr(data + 3 * 35 + 24, 3), std::string("\0\xFF\0", 3));
}

TEST_F(ColoursTool, DrawsThePointsWithLegendAndCaption) {
  makeTable(kThreeBands);
  const Outcome drawn = run("deviation " + cloud({0.0, 0.06, 0.2}) +
                            " --plane 0,0,1,-10 --tolerance -0.1,0.1 --picture " + path("out.svg"));
  EXPECT_EQ(drawn.code, 0) << drawn.error;
  EXPECT_THAT(drawn.out, AllOf(HasSubstr("< -0.1 mm"), HasSubstr("-0.1 mm - 0.1 mm"), HasSubstr("3 points, 33.33 %")));
  EXPECT_THAT(readFile(path("out.svg")), HasSubstr("rgb(0%,0%,100%)"));
}

TEST_F(ColoursTool, TellsTheSidesApartByDivergingColours) {
  const std::string graded = cloud({-0.2, 0.0, 0.2}) + " --plane 0,0,1,-10 --tolerance -0.1,0.1 --colours diverging";
  deviation(graded + " -o " + path("out.ply"));
  const std::string ply = readFile(path("out.ply"));
  const std::size_t data = ply.find("end_header\n") + 11;
  EXPECT_EQ(ply.substr(data + 24, 3), std::string("\x10\x1C\x5C"));
  EXPECT_EQ(ply.substr(data + 3 * 35 + 24, 3), std::string("\xD0\xD0\xCC"));
  EXPECT_EQ(ply.substr(data + 6 * 35 + 24, 3), std::string("\x58\x12\x08"));
  ASSERT_EQ(run("deviation " + graded + " --picture " + path("out.svg")).code, 0);
  const Outcome refused = run("deviation " + graded + " --one-sided");
  EXPECT_EQ(refused.code, 2);
  EXPECT_THAT(refused.error, HasSubstr("--colours: diverging tells both sides"));
}

TEST_F(ColoursTool, DrawsPointsThatAllLieOnOneSpot) {
  writeFile(path("spot.txt"), "1 2 10\n");
  ASSERT_EQ(
      run("deviation " + path("spot.txt") + " --plane 0,0,1,-10 --tolerance -1,1 --picture " + path("spot.svg")).code,
      0);
  const std::string svg = readFile(path("spot.svg"));
  const std::string green = "rgb(61.17";  // In the legend, and as the point.
  EXPECT_NE(svg.find(green), svg.rfind(green));
}

TEST_F(ColoursTool, TellsLengthsInTheUnitsOfTheSite) {
  std::filesystem::create_directories(path("home"));
  writeFile(path("home/params.ini"), "QmEnv.Units = 3\n");
  const Outcome drawn = run("deviation " + cloud({0.0, 1.0}) + " --tolerance -2.54,25.4");
  EXPECT_THAT(drawn.out, HasSubstr("-0.1 in - 1 in")) << drawn.error;
}

TEST_F(ColoursTool, TellsLimitsAsTheyWereGiven) {
  const Outcome told = run("deviation " + cloud({0.0, 1.0}) + " --tolerance 10000.1,10000.3");
  EXPECT_THAT(told.out, HasSubstr("  10000.1 mm - 10000.3 mm ")) << told.error;
  EXPECT_THAT(run("deviation " + path("cloud.txt") + " --tolerance -0.00012345,0.1").out,
              HasSubstr("< -0.00012345 mm "));
}

TEST_F(ColoursTool, RefusesPlanesAndTolerancesThatAreNone) {
  const std::string points = cloud({0.0, 0.1});
  for (const char* plane : {"0,0,0,1", "1,2,3", "a,b,c,d", "1,2,3,inf", "1,2,3,4,5"}) {
    EXPECT_EQ(run("deviation " + points + " --tolerance -1,1 --plane " + plane).code, 2) << plane;
  }
  EXPECT_EQ(run("deviation " + points).code, 2);
  EXPECT_EQ(run("deviation " + points + " --tolerance 1,-1").code, 2);
  EXPECT_EQ(run("deviation " + points + " --tolerance 1").code, 2);
  EXPECT_EQ(run("deviation " + points + " --tolerance -inf,1").code, 2);
  EXPECT_EQ(run("deviation " + points + " --tolerance -1,nan").code, 2);
  EXPECT_EQ(run("deviation " + points + " --tolerance -1,0 --one-sided").code, 2);
  EXPECT_EQ(run("deviation " + points + " --tolerance -1,0").code, 0);
  writeFile(path("row.txt"), "0 0 0\n1 0 0\n2 0 0\n");
  expectFailure(run("deviation " + path("row.txt") + " --tolerance -1,1"), "row.txt: no plane can be fitted");
  expectFailure(run("deviation " + path("absent.txt") + " --tolerance -1,1"), "absent.txt: there is no such file");
}

}  // namespace
}  // namespace queltool
