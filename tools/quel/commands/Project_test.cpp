// Points that the tool projects.
#include "commands/tool_fixture.h"
#include "files/Values.h"
#include "quel/cameras/CameraFile.h"
#include "quel/clouds/Cloud.h"

namespace queltool {
namespace {

using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

TEST_F(Quel, ProjectsPointsAsTheCamerasDo) {
  const auto cameras = quel::readCameras(kBoard);
  ASSERT_TRUE(cameras.ok()) << cameras.error().message();
  writeFile(path("points.txt"), "0 0 0\n200 125 0\n100 60 -20\n");
  const std::vector<Vec3> points = {{0, 0, 0}, {200, 125, 0}, {100, 60, -20}};
  for (const char* mode : {"0", "1"}) {
    const Outcome done = run("project " + makeBlock("--force") + " " + path("points.txt") + " --mode " + mode);
    ASSERT_EQ(done.code, 0) << done.error;
    const auto rows = fieldsOf(done.out);
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_THAT(rows[0], ::testing::ElementsAre("x", "y", "z", "x0", "y0", "x1", "y1", "x2", "y2", "place0", "place1",
                                                "place2"));
    for (std::size_t n = 0; n < 3; ++n) {
      for (std::size_t i = 0; i < 3; ++i) {
        const quel::Camera& camera = cameras.value()[i];
        Vec2 expected = quel::idealPixel(camera, points[n]);
        if (mode[0] == '1') expected = quel::distortedPixel(camera, expected);
        EXPECT_NEAR(std::stod(rows[n + 1][3 + 2 * i]), expected[0], 1e-8);
        EXPECT_NEAR(std::stod(rows[n + 1][4 + 2 * i]), expected[1], 1e-8);
      }
    }
  }
}

TEST_F(Quel, ProjectsAPlyFileIntoOneCameraAndWritesPly) {
  const Outcome done =
      run("project " + makeBlock() + " " + QUEL_TEST_DATA + "/scan-20k.ply --camera 1 -o " + path("o.ply"));
  ASSERT_EQ(done.code, 0) << done.error;
  EXPECT_THAT(done.out, HasSubstr("20000 points, projected into camera 1: "));
  const std::string written = readFile(path("o.ply"));
  EXPECT_THAT(written.substr(0, 300), AllOf(HasSubstr("property double x1"), Not(HasSubstr("x0"))));
  const auto before = quel::parseCloud(readFile(std::string(QUEL_TEST_DATA) + "/scan-20k.ply"), quel::CloudFormat::Ply);
  const auto after = quel::parseCloud(written, quel::CloudFormat::Ply);
  ASSERT_TRUE(after.ok()) << after.error().message();
  EXPECT_EQ(after.value(), before.value());
}

TEST_F(Quel, LeavesFieldsEmptyWhereAPointDoesNotProject) {
  writeFile(path("points.txt"), "nan 0 0\n0 0 0\n");
  const Outcome done = run("project " + makeBlock() + " " + path("points.txt") + " --camera 0");
  ASSERT_EQ(done.code, 0) << done.error;
  const auto rows = fieldsOf(done.out);
  EXPECT_THAT(rows[1][3], IsEmpty());
  EXPECT_THAT(rows[1][4], IsEmpty());
  EXPECT_THAT(rows[2][3], Not(IsEmpty()));
}

TEST_F(Quel, TellsPointsInTheImageOutsideAndBehindApart) {
  const auto cameras = quel::readCameras(kBoard);
  ASSERT_TRUE(cameras.ok()) << cameras.error().message();
  // On the optical axis of camera 0, far beside it, and mirrored at the camera's centre: behind, in the middle of the
  // image.
  const quel::Camera& camera = cameras.value()[0];
  std::string points;
  for (const Vec3& seen : {Vec3{0, 0, 500}, Vec3{9000, 0, 500}, Vec3{0, 0, -500}}) {
    Vec3 world{};
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t j = 0; j < 3; ++j) world[i] += camera.rotation[j][i] * (seen[j] - camera.translation[j]);
    }
    points += std::to_string(world[0]) + " " + std::to_string(world[1]) + " " + std::to_string(world[2]) + "\n";
  }
  writeFile(path("points.txt"), points);
  const std::string project = "project " + makeBlock() + " " + path("points.txt") + " --camera 0";
  const Outcome told = run(project + " --mode 0 -o " + path("o.csv"));
  EXPECT_THAT(told.out, HasSubstr("3 points, projected into camera 0: 1 in the image, 1 outside, 1 behind\n"));
  const auto rows = fieldsOf(readFile(path("o.csv")));
  ASSERT_EQ(rows.size(), 4u);
  EXPECT_EQ(rows[1][5], "1");
  EXPECT_EQ(rows[2][5], "0");
  EXPECT_EQ(rows[3][5], "-1");
  EXPECT_NEAR(std::stod(rows[1][3]), camera.cx, 1e-3);
  EXPECT_THAT(rows[2][3], Not(IsEmpty()));
  EXPECT_THAT(rows[3][3], IsEmpty());
  const Outcome index =
      run("index " + path("points.txt") + " --block " + path("blocks/LAB7-12.tns") + " --camera 0 --json");
  EXPECT_EQ(nlohmann::json::parse(index.out)["points"], 1) << index.error;
}

TEST_F(Quel, MovesACloudByATransformFirst) {
  writeFile(path("points.txt"), "1 2 3\n");
  ASSERT_EQ(run("trn make --rotate 0,0,90 --move 10,20,30 -o " + path("t.trn")).code, 0);
  const Outcome done = run("project " + makeBlock() + " " + path("points.txt") + " --transform " + path("t.trn"));
  ASSERT_EQ(done.code, 0) << done.error;
  const auto rows = fieldsOf(done.out);
  EXPECT_NEAR(std::stod(rows[1][0]), 8.0, 1e-12);
  EXPECT_NEAR(std::stod(rows[1][1]), 21.0, 1e-12);
  EXPECT_NEAR(std::stod(rows[1][2]), 33.0, 1e-12);
}

TEST_F(Quel, NamesTheFileAndPlaceOfBadPoints) {
  const std::string block = makeBlock();
  expectFailure(run("project " + block + " " + path("none.ply")), "none.ply: there is no such file");
  writeFile(path("bad.txt"), "1 2 3\n1 2\n");
  expectFailure(run("project " + block + " " + path("bad.txt")), "bad.txt: line 2: must begin with three numbers");
  const std::string scan = readFile(std::string(QUEL_TEST_DATA) + "/scan-20k.ply");
  writeFile(path("cut.ply"), scan.substr(0, scan.size() - 1));
  expectFailure(run("project " + block + " " + path("cut.ply")), "cut.ply: the header tells of 20000");
}

TEST_F(Quel, TakesEndingsInAnyCaseOfLetters) {
  writeFile(path("points.txt"), "0 0 0\n");
  ASSERT_EQ(run("project " + makeBlock() + " " + path("points.txt") + " -o " + path("o.PLY")).code, 0);
  EXPECT_THAT(readFile(path("o.PLY")), ::testing::StartsWith("ply\n"));
}

TEST_F(Quel, PassesPointsThroughStandardInputAndOutput) {
  writeFile(path("points.txt"), "0 0 0\n200 125 0\n");
  const std::string project = "project " + makeBlock() + " ";
  const Outcome plain = run(project + path("points.txt"));
  ASSERT_EQ(plain.code, 0) << plain.error;
  const Outcome streamed = run(project + "- -o - --format csv <" + path("points.txt"));
  ASSERT_EQ(streamed.code, 0) << streamed.error;
  EXPECT_EQ(streamed.out, plain.out);
  EXPECT_THAT(streamed.error, HasSubstr("2 points, projected into"));
  const Outcome ply = run(project + path("points.txt") + " -o - --format ply");
  ASSERT_EQ(ply.code, 0) << ply.error;
  const auto points = quel::parseCloud(ply.out, quel::CloudFormat::Ply);
  ASSERT_TRUE(points.ok()) << points.error().message();
  EXPECT_EQ(points.value()[1], (Vec3{200, 125, 0}));
}

TEST_F(Quel, ReadsAndWritesThePipesOfAShell) {
  writeFile(path("points.txt"), "0 0 0\n200 125 0\n");
  const std::string project = std::string(QUEL_EXECUTABLE) + " project " + makeBlock() + " ";
  const std::string line = project + "<(cat " + path("points.txt") + ") -o >(cat >" + path("piped.csv") + ")";
  writeFile(path("script"), line + " || exit 1\nwait $!\n");
  ASSERT_EQ(std::system(("bash " + path("script")).c_str()), 0);
  EXPECT_EQ(readFile(path("piped.csv")), run("project " + makeBlock("--force") + " " + path("points.txt")).out);
}

TEST_F(Quel, FailsWhenItsOutputCannotBeWritten) {
  writeFile(path("points.txt"), "0 0 0\n");
  const std::string block = makeBlock();
  expectFailure(run("project " + block + " " + path("points.txt") + " -o " + path("none/o.csv")), "cannot be written");
  expectFailure(run("project " + block + " " + path("points.txt") + " -o /dev/full"), "No space left");
}

}  // namespace
}  // namespace queltool
