// Clouds against planes: what `quel deviation` tells and writes.
#include <fmt/core.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>

#include "commands/tool_fixture.h"
#include "files/Values.h"

namespace queltool {
namespace {

using nlohmann::json;
using quel::testing::readFile;
using quel::testing::writeFile;
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kDegree = 3.14159265358979323846 / 180.0;

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

  // A cube from 0 to 10, its facets counter-clockwise from outside, the lid of z = 10 left out if it is to be open.
  std::string cube(bool open = false) const {
    std::string obj;
    for (int i = 0; i < 8; ++i) obj += fmt::format("v {} {} {}\n", 10 * (i & 1), 10 * (i >> 1 & 1), 10 * (i >> 2));
    obj += "f 1 3 4\nf 1 4 2\nf 1 2 6\nf 1 6 5\nf 2 4 8\nf 2 8 6\nf 4 3 7\nf 4 7 8\nf 3 1 5\nf 3 5 7\n";
    if (!open) obj += "f 5 6 8\nf 5 8 7\n";
    writeFile(path("cube.obj"), obj);
    return " --reference " + path("cube.obj");
  }

  std::string points(const std::string& rows) const {
    writeFile(path("points.xyz"), rows);
    return path("points.xyz");
  }

  json compared(const std::string& arguments) const {
    const Outcome outcome = run("deviation --json " + arguments);
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    return outcome.code == 0 ? json::parse(outcome.out) : json();
  }

  // Points on the faces of the cube, 81 a face, moved by a known motion.
  std::string movedCube(double degrees, const Vec3& shift) const {
    const double c = std::cos(degrees * kDegree), s = std::sin(degrees * kDegree);
    std::string rows;
    for (int face = 0; face < 6; ++face) {
      for (int n = 0; n < 81; ++n) {
        Vec3 p{};
        p[face % 3] = face < 3 ? 0.0 : 10.0;
        p[(face + 1) % 3] = 1.0 + n % 9;
        p[(face + 2) % 3] = 1.0 + n / 9;
        rows +=
            fmt::format("{} {} {}\n", c * p[0] - s * p[1] + shift[0], s * p[0] + c * p[1] + shift[1], p[2] + shift[2]);
      }
    }
    return points(rows);
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
  const json figures =
      json::parse(run("deviation " + heights({1, kNone, kInfinity, 3}) + " --tolerance -1,2 --json").out);
  EXPECT_EQ(figures["left_out"], 2);
  EXPECT_EQ(figures["judged"], 2);
  EXPECT_EQ(figures["mean_mm"], 2.0);
}

TEST_F(DeviationTool, FailsWithoutAPointThatIsFinite) {
  expectFailure(run("deviation " + heights({kNone}) + " --tolerance -1,2"), "cloud.csv: none of its points is finite");
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

TEST_F(DeviationTool, MeasuresFromAMesh) {
  // In the midst of a face, outside an edge and a corner, inside, on the surface.
  const json found = compared(points("5 5 12\n13 14 5\n11 12 12\n5 5 9\n5 5 10\n") + cube() + " --tolerance -1,2");
  EXPECT_EQ(found["judged"], 5);
  EXPECT_EQ(found["largest_mm"], 5.0);
  EXPECT_EQ(found["smallest_mm"], -1.0);
  EXPECT_NEAR(found["mean_mm"].get<double>(), (2.0 + 5.0 + 3.0 - 1.0 + 0.0) / 5.0, 1e-12);
  EXPECT_EQ(found["above"], 2);
  EXPECT_EQ(found["remarks"], json::array());
  EXPECT_THAT(found["against"].get<std::string>(), HasSubstr("12"));
  EXPECT_THAT(found["reference"].get<std::string>(), HasSubstr("cube.obj"));
}

TEST_F(DeviationTool, CountsPointsApartThatAreNearestToAnOpenBorder) {
  const std::string arguments = points("5 11 12\n5 12 5\n") + cube(true) + " --tolerance -1,1";
  const json found = compared(arguments);
  EXPECT_EQ(found["at_border"], 1);
  EXPECT_EQ(found["judged"], 1);
  EXPECT_EQ(found["mean_mm"], 2.0);
  EXPECT_THAT(run("deviation " + arguments).out, HasSubstr("  1 points nearest to an open border are not judged\n"));
  ASSERT_EQ(run("deviation " + arguments + " -o " + path("out.csv")).code, 0);
  EXPECT_THAT(fieldsOf(readFile(path("out.csv"))), testing::Contains(ElementsAre("5", "11", "12", "", "")));
  ASSERT_EQ(run("deviation " + arguments + " -o " + path("out.ply")).code, 0);
  EXPECT_THAT(readFile(path("out.ply")), HasSubstr("\x99\x99\x99"));
  EXPECT_EQ(run("deviation " + arguments + " --picture " + path("out.png")).code, 0);
}

TEST_F(DeviationTool, FailsWhereNoPointHasADeviationAndWarnsOfWhatMayBeWhy) {
  const Outcome failed = run("deviation " + points("5 11 12\n") + cube(true) + " --tolerance -1,1");
  EXPECT_EQ(failed.code, 1);
  EXPECT_THAT(failed.error, AllOf(HasSubstr("cube.obj: 4 edges are open"),
                                  HasSubstr("quel: " + path("points.xyz") + ": no point has a deviation")));
}

TEST_F(DeviationTool, WarnsOfWhatIsOddAboutAMesh) {
  const std::string arguments = points("5 12 5\n") + cube(true) + " --tolerance -1,1";
  EXPECT_THAT(run("deviation " + arguments).error, AllOf(HasSubstr("quel: warning: "), HasSubstr("cube.obj: ")));
  EXPECT_EQ(compared(arguments)["remarks"].size(), 1u);
}

TEST_F(DeviationTool, MeasuresFromACloud) {
  writeFile(path("nominal.csv"), "x,y,z,nx,ny,nz\n0,0,0,0,0,1\n10,0,0,0,0,-1\n");
  const json found = compared(points("0 0 2\n10 0 3\n") + " --reference " + path("nominal.csv") + " --tolerance -1,2");
  EXPECT_EQ(found["largest_mm"], 2.0);
  EXPECT_EQ(found["smallest_mm"], -3.0);
}

TEST_F(DeviationTool, AsksFromWhereACloudWithoutNormalsIsSeen) {
  std::string rows;
  for (int n = 0; n < 100; ++n) rows += fmt::format("{} {} 0\n", n % 10, n / 10);
  writeFile(path("nominal.xyz"), rows);
  const std::string arguments = points("4 4 0.5\n") + " --tolerance -1,1 --reference " + path("nominal.xyz");
  expectFailure(run("deviation " + arguments), "--viewpoint");
  EXPECT_EQ(compared(arguments + " --viewpoint 5,5,100")["mean_mm"], 0.5);
  EXPECT_EQ(compared(arguments + " --viewpoint 5,5,-100")["mean_mm"], -0.5);
}

TEST_F(DeviationTool, TakesFilesInTheUnitThatIsGiven) {
  const json found = compared(points("5 5 10.2\n") + cube() + " --unit cm --tolerance -1,1");
  EXPECT_NEAR(found["largest_mm"].get<double>(), 2.0, 1e-12);
}

TEST_F(DeviationTool, MovesTheCloudFirst) {
  ASSERT_EQ(run("trn make --move 0,0,7 -o " + path("up.trn")).code, 0);
  const json found = compared(points("5 5 5\n") + cube() + " --transform " + path("up.trn") + " --tolerance -1,1");
  EXPECT_EQ(found["mean_mm"], 2.0);
}

TEST_F(DeviationTool, AlignsTheCloudAndWritesHow) {
  const std::string cloud = movedCube(2.0, {0.3, -0.2, 0.1});
  const std::string arguments = cloud + cube() + " --tolerance -1,1 --align " + path("out.trn");
  const json found = compared(arguments);
  EXPECT_LT(found["largest_mm"].get<double>(), 1e-6);
  EXPECT_GT(found["smallest_mm"].get<double>(), -1e-6);
  EXPECT_EQ(found["alignment"]["converged"], true);
  EXPECT_NEAR(found["alignment"]["degrees"].get<double>(), 2.0, 1e-6);
  EXPECT_THAT(found["alignment"]["held"], testing::IsEmpty());
  // Written is what maps the cloud of the file.
  EXPECT_LT(compared(cloud + cube() + " --tolerance -1,1 --transform " + path("out.trn"))["rms_mm"].get<double>(),
            1e-6);
  EXPECT_THAT(run("deviation " + arguments).out,
              AllOf(HasSubstr("aligned by 2 degrees"), HasSubstr(" mm after, over 486 points; 0 too far off\n"),
                    HasSubstr("out.trn: written")));
}

TEST_F(DeviationTool, RefinesATransformThatIsGiven) {
  const std::string cloud = movedCube(92.0, {0.3, -0.2, 0.1});
  ASSERT_EQ(run("trn make --rotate 0,0,-90 -o " + path("first.trn")).code, 0);
  ASSERT_EQ(run("deviation " + cloud + cube() + " --tolerance -1,1 --transform " + path("first.trn") + " --align " +
                path("out.trn"))
                .code,
            0);
  EXPECT_LT(compared(cloud + cube() + " --tolerance -1,1 --transform " + path("out.trn"))["rms_mm"].get<double>(),
            1e-6);
  const json made = json::parse(run("trn show --json " + path("out.trn")).out);
  EXPECT_NEAR(made[0]["angle_degrees"].get<double>(), 92.0, 1e-6);
}

TEST_F(DeviationTool, NamesWhatAShapeLeavesFree) {
  writeFile(path("floor.obj"), "v -100 -100 0\nv 100 -100 0\nv 100 100 0\nv -100 100 0\nf 1 2 3 4\n");
  std::string rows;
  for (int n = 0; n < 100; ++n) rows += fmt::format("{} {} {}\n", n % 10, n / 10, 0.5 + 0.01 * (n % 10));
  const std::string arguments = points(rows) + " --reference " + path("floor.obj") + " --tolerance -1,1 --align ";
  const json found = compared(arguments + path("out.trn"));
  EXPECT_EQ(found["alignment"]["held"].size(), 3u);
  EXPECT_LT(found["rms_mm"].get<double>(), 1e-6);
  EXPECT_THAT(run("deviation " + arguments + path("out.trn")).out, HasSubstr("left free by the shape, and held: "));
}

TEST_F(DeviationTool, RefusesToAlignWhatIsTooFarAway) {
  const Outcome refused =
      run("deviation " + movedCube(25.0, {}) + cube() + " --tolerance -1,1 --align " + path("out.trn"));
  EXPECT_EQ(refused.code, 1);
  EXPECT_THAT(refused.error, HasSubstr("10"));
  EXPECT_FALSE(std::filesystem::exists(path("out.trn")));
}

TEST_F(DeviationTool, RefusesBadMeshes) {
  const auto refusal = [&](const std::string& mesh, const char* name) {
    writeFile(path(name), mesh);
    const Outcome outcome = run("deviation " + points("1 2 3\n") + " --tolerance -1,1 --reference " + path(name));
    EXPECT_EQ(outcome.code, 1);
    return outcome.error;
  };
  EXPECT_THAT(refusal("v 0 0 0\nv 1 0 0\nv 2 0 0\nf 1 2 3\n", "flat.obj"), HasSubstr("flat.obj"));
  EXPECT_THAT(refusal("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 4\n", "far.obj"), HasSubstr("line 4"));
  EXPECT_THAT(refusal("v 0 0 0\nv 1 0 nan\nv 0 1 0\nf 1 2 3\n", "nan.obj"), HasSubstr("nan.obj"));
  std::string promising(84, ' ');
  const std::uint32_t facets = 100000000;
  std::memcpy(promising.data() + 80, &facets, sizeof facets);
  EXPECT_THAT(refusal(promising + std::string(16, '\0'), "long.stl"), HasSubstr("100000000"));
}

TEST_F(DeviationTool, WritesNothingWhereTheHeadOfThePageCannotBeRead) {
  writeFile(path("none.tns"), "no head");
  const Outcome failed = run("deviation " + heights({0, 1, 2}) + " --tolerance -1,1 -o " + path("out.ply") +
                             " --html " + path("page.html") + " --block " + path("none.tns"));
  expectFailure(failed, "none.tns");
  EXPECT_FALSE(std::filesystem::exists(path("out.ply")));
  EXPECT_FALSE(std::filesystem::exists(path("page.html")));
}

TEST_F(DeviationTool, RefusesOptionsThatContradictEachOther) {
  const std::string cloud = points("1 2 3\n") + " --tolerance -1,1";
  EXPECT_EQ(run("deviation " + cloud + cube() + " --plane 0,0,1,0").code, 2);
  EXPECT_EQ(run("deviation " + cloud + " --align " + path("a.trn")).code, 2);
  EXPECT_EQ(run("deviation " + cloud + " --viewpoint 1,2,3").code, 2);
  for (const char* nowhere : {"nan,0,1", "0,inf,1"}) {
    EXPECT_EQ(run("deviation " + cloud + cube() + " --viewpoint " + nowhere).code, 2) << nowhere;
  }
  EXPECT_EQ(run("deviation " + cloud + " --unit furlong").code, 2);
  EXPECT_EQ(run("deviation " + cloud + " --block " + makeBlock()).code, 2);
  expectFailure(run("deviation " + cloud + cube() + " --align " + path("cube.obj")), "cube.obj");
}

}  // namespace
}  // namespace queltool
