// Correspondences fitted as a user does it.
#include <cmath>

#include "commands/tool_fixture.h"
#include "files/Values.h"
#include "quel/cameras/CameraFile.h"
#include "quel/clouds/Cloud.h"

namespace queltool {
namespace {

using nlohmann::json;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class FitTool : public Quel {
 protected:
  const std::vector<Vec3> points_ = {{0, 0, 0}, {200, 125, 0}, {100, 60, -20}};

  // What the cameras see of the points, by their own model.
  std::string pixels(bool distorted) const {
    const auto cameras = quel::readCameras(kBoard);
    std::string text = "x0,y0,x1,y1,x2,y2\n";
    for (const Vec3& point : points_) {
      for (std::size_t i = 0; i < 3; ++i) {
        Vec2 pixel = quel::idealPixel(cameras.value()[i], point);
        if (distorted) pixel = quel::distortedPixel(cameras.value()[i], pixel);
        text += json(pixel[0]).dump() + "," + json(pixel[1]).dump() + (i == 2 ? "\n" : ",");
      }
    }
    return text;
  }

  Outcome fit(const std::string& more = "") const {
    return run("fit " + path("blocks/LAB7-12.tns") + " " + path("pairs.csv") + " " + more);
  }
};

void expectPoints(const std::vector<std::vector<std::string>>& rows, const std::vector<Vec3>& points) {
  ASSERT_EQ(rows.size(), points.size() + 1);
  for (std::size_t n = 0; n < points.size(); ++n) {
    for (const std::size_t column : {0u, 4u, 8u}) {
      for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(std::stod(rows[n + 1][column + i]), points[n][i], 1e-6);
      EXPECT_NEAR(std::stod(rows[n + 1][column + 3]), 0.0, 1e-6);
    }
  }
}

TEST_F(FitTool, FindsThePointsThatTheCamerasSeeByEachFitAndChoiceOfCameras) {
  makeBlock();
  writeFile(path("pairs.csv"), pixels(false));
  for (const char* cameras : {"", "--reference 1", "--reference 2 --targets 1,0", "--targets 2,1"}) {
    const Outcome done = fit(cameras);
    ASSERT_EQ(done.code, 0) << done.error;
    const auto rows = fieldsOf(done.out);
    EXPECT_THAT(rows[0], ElementsAre("x", "y", "z", "error_px", "planar_x", "planar_y", "planar_z", "planar_error_px",
                                     "singular_x", "singular_y", "singular_z", "singular_error_px", "x0", "y0", "x1",
                                     "y1", "x2", "y2"));
    expectPoints(rows, points_);
    EXPECT_THAT(done.error, AllOf(HasSubstr("linear"), HasSubstr("3/3"), Not(HasSubstr("warning"))));
  }
}

TEST_F(FitTool, UndistortsMeasuredPixelsWhenAsked) {
  makeBlock();
  writeFile(path("pairs.csv"), pixels(true));
  expectPoints(fieldsOf(fit("--distorted").out), points_);
  EXPECT_GT(std::abs(std::stod(fieldsOf(fit().out)[2][0]) - 200.0), 0.01);
}

TEST_F(FitTool, WritesAPointCloudAndASummary) {
  makeBlock();
  writeFile(path("pairs.csv"), pixels(false));
  const Outcome done = fit("-o " + path("points.ply"));
  ASSERT_EQ(done.code, 0) << done.error;
  EXPECT_THAT(done.out, AllOf(HasSubstr("points.ply: 3 correspondences"), HasSubstr("singular"), HasSubstr("3/3")));
  const auto cloud = quel::parseCloud(readFile(path("points.ply")), quel::CloudFormat::Ply);
  ASSERT_TRUE(cloud.ok()) << cloud.error().message();
  ASSERT_EQ(cloud.value().size(), 3u);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(cloud.value()[2][i], points_[2][i], 1e-6);
}

TEST_F(FitTool, LeavesFieldsEmptyWhereThereIsNoFit) {
  makeBlock();
  writeFile(path("pairs.csv"), "300 200 nan 200 300 200\n300 200 300 200 nan 200\n");
  const Outcome done = fit();
  ASSERT_EQ(done.code, 0) << done.error;
  const auto rows = fieldsOf(done.out);
  for (std::size_t k = 0; k < 12; ++k) EXPECT_THAT(rows[1][k], IsEmpty());
  EXPECT_THAT(rows[2][4], IsEmpty());
  EXPECT_THAT(rows[2][8], Not(IsEmpty()));
  EXPECT_THAT(done.error, AllOf(HasSubstr("0/2"), HasSubstr("1/2")));
}

TEST_F(FitTool, WarnsOfTablesThatAreNotThoseOfTheProjections) {
  const std::string block = makeBlock();
  writeFile(path("pairs.csv"), pixels(false));
  writeFile(path("table.xml"),
            "<BlockCorrectionParameters><BlockParameter Name=\"xp\" CameraId=\"0\" Value=\"0.1\"/>"
            "</BlockCorrectionParameters>");
  const std::string warm = path("warm.tns");
  ASSERT_EQ(run("compensate " + block + " -t " + path("table.xml") + " -T 30 -o " + warm).code, 0);
  const Outcome done = run("fit " + warm + " " + path("pairs.csv"));
  EXPECT_EQ(done.code, 0);
  EXPECT_THAT(done.error, HasSubstr("warm.tns: warning: not so: metric tables give the projections"));
}

TEST_F(FitTool, NamesTheFileAndPlaceOfBadInput) {
  makeBlock();
  expectFailure(fit(), "pairs.csv: there is no such file");
  writeFile(path("pairs.csv"), "1 2 3 4 5 6\n1 2 3 4 5\n");
  expectFailure(fit(), "pairs.csv: line 2: must begin with six numbers");
  writeFile(path("pairs.csv"), "# nothing\n");
  expectFailure(fit(), "pairs.csv: holds no correspondences");
  writeFile(path("pairs.csv"), "1 2 3 4 5 6\n");
  expectFailure(fit("-o " + path("none/o.csv")), "cannot be written");
  expectFailure(run("fit " + path("none.tns") + " " + path("pairs.csv")), "none.tns: there is no such file");
}

TEST_F(FitTool, ReportsWrongUsageWithExitCodeTwo) {
  for (const char* wrong : {"--reference 3", "--targets 1", "--targets 0,1", "--targets 1,1", "--targets 1,3"}) {
    EXPECT_EQ(fit(wrong).code, 2) << wrong;
  }
  EXPECT_EQ(run("fit a.tns").code, 2);
}

}  // namespace
}  // namespace queltool
