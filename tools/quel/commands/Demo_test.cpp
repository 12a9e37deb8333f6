// The demonstration on the shipped data.
#include <cmath>
#include <filesystem>

#include "commands/tool_fixture.h"
#include "demo/SpaceAxes.h"
#include "models/Block.h"
#include "quel/measure/Projection.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::Gt;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Le;
using ::testing::Not;
using ::testing::StartsWith;

TEST_F(Quel, LeavesTheDataThatItDemonstratesOn) {
  fs::copy(QUEL_TEST_DATA, path("data"));
  const std::string board = path("data/board-three-views.json");
  expectFailure(run("demo --data " + path("data") + " --out " + path("demo") + " --json " + board),
                "board-three-views.json: is the data itself, which stays; give another --json");
  EXPECT_EQ(readFile(board), readFile(kBoard));
}

TEST_F(Quel, LeavesABlockThatTheDemoDidNotMake) {
  ASSERT_EQ(run("make-block " + kBoard + " --machine DEMO --luts -o " + path("demo")).code, 0);
  const std::string block = readFile(path("demo/DEMO-1.tns"));
  expectFailure(run("demo --out " + path("demo")), "DEMO-1.tns: this block is there already and stays");
  EXPECT_EQ(readFile(path("demo/DEMO-1.tns")), block);
  ASSERT_EQ(run("demo --force --out " + path("demo")).code, 0);
  EXPECT_NE(readFile(path("demo/DEMO-1.tns")), block);
  EXPECT_EQ(run("demo --out " + path("demo")).code, 0);
}

TEST_F(Quel, DemonstratesARealHeadWithinItsTargets) {
  const Outcome demo = run("demo --out " + path("demo") + " --json " + path("figures.json"));
  ASSERT_EQ(demo.code, 0) << demo.error;
  EXPECT_THAT(demo.error, IsEmpty());
  const json figures = json::parse(readFile(path("figures.json")));
  EXPECT_EQ(figures["board"]["check_corners"], 27);
  EXPECT_THAT(figures["board"]["check_rms_px"].get<std::vector<double>>(), AllOf(::testing::SizeIs(3), Each(Le(0.20))));
  EXPECT_LE(figures["board"]["check_rms_mm"].get<double>(), 0.15);
  EXPECT_LE(figures["board"]["check_flatness_mm"].get<double>(), 0.15);
  EXPECT_EQ(figures["board"]["modes"].size(), 5u);
  EXPECT_GT(figures["board"]["modes"][0]["check_rms_px"][0].get<double>(), 1.0);
  EXPECT_EQ(figures["scan"]["points"], 20000);
  EXPECT_GT(figures["scan"]["points_per_second"].get<double>(), 0.0);
  EXPECT_GT(figures["scan"]["in_image"][0].get<int>(), 15000);
  for (const char* picture : {"board-views.png", "board-plane.png", "distortion-field.png", "scan-views.png",
                              "scan-index.png", "scan-deviations.png"}) {
    EXPECT_THAT(readFile(path("demo/") + picture), StartsWith("\x89PNG")) << picture;
  }
  EXPECT_EQ(figures["index"]["by_space"]["points"], 20000);
  EXPECT_LT(figures["index"]["by_space"]["largest_bin"].get<int>(), 500);
  EXPECT_EQ(figures["index"]["by_image"]["points"], figures["scan"]["in_image"][0]);
  EXPECT_GT(figures["index"]["by_image"]["bins"].get<int>(), 50);
  EXPECT_LE(figures["plane"]["rms_mm"].get<double>(), 0.15);
  EXPECT_GT(figures["plane"]["normal"][2].get<double>(), 0.99999);  // The board lies in z = 0.
  EXPECT_EQ(figures["plane"]["center_mm"].size(), 3u);
  const json& fits = figures["fits"];
  EXPECT_EQ(fits["choices"], json::parse("[[0,1,2],[0,2,1],[1,0,2],[1,2,0],[2,0,1],[2,1,0]]"));
  EXPECT_THAT(fits["linear_check_rms_mm"].get<std::vector<double>>(), AllOf(::testing::SizeIs(6), Each(Le(0.150))));
  EXPECT_THAT(fits["planar_check_rms_mm"].get<std::vector<double>>(), AllOf(::testing::SizeIs(6), Each(Le(0.155))));
  EXPECT_THAT(fits["singular_check_rms_mm"].get<std::vector<double>>(), AllOf(::testing::SizeIs(6), Each(Le(0.160))));
  EXPECT_THAT(figures["drift"]["before_px"].get<std::vector<double>>(), AllOf(::testing::SizeIs(3), Each(Gt(0.2))));
  EXPECT_THAT(figures["drift"]["after_px"].get<std::vector<double>>(), AllOf(::testing::SizeIs(3), Each(Le(1e-9))));
  EXPECT_THAT(demo.out, AllOf(HasSubstr(path("demo/scan-deviations.html")), HasSubstr(path("demo/head.html"))));
  EXPECT_THAT(readFile(path("demo/scan-deviations.html")), HasSubstr("smoothed, thinned copy of the scan itself"));
  EXPECT_THAT(readFile(path("demo/head.html")), HasSubstr("Head of DEMO-1.tns"));
  EXPECT_LT(figures["deviations"]["rms_mm"].get<double>(), 1.0);
  EXPECT_GT(figures["deviations"]["judged"].get<int>(), 14000);
  EXPECT_GT(figures["deviations"]["share_within"].get<double>(), 0.8);
  EXPECT_EQ(fieldsOf(readFile(path("demo/corners.csv"))).size(), 55u);
  EXPECT_EQ(fieldsOf(readFile(path("demo/modes.csv"))).size(), 6u);
}

TEST_F(Quel, DrawsTheSamePicturesAgain) {
  const std::vector<std::string> pictures = {"board-views", "board-plane", "distortion-field",
                                             "scan-views",  "scan-index",  "scan-deviations"};
  for (const std::string ending : {".png", ".svg"}) {
    const std::string demo = ending == ".svg" ? "demo --svg --out " : "demo --out ";
    ASSERT_EQ(run(demo + path("first")).code, 0);
    ASSERT_EQ(run(demo + path("second")).code, 0);
    for (const std::string& picture : pictures) {
      const std::string first = readFile(path("first/" + picture + ending));
      EXPECT_THAT(first, Not(IsEmpty()));
      EXPECT_TRUE(first == readFile(path("second/" + picture + ending))) << picture << ending;
    }
  }
}

TEST_F(Quel, FindsPointsBeforeEachCamera) {
  const auto head = loadBlock(makeBlock());
  for (int camera = 0; camera < 3; ++camera) {
    const Vec2 pixel = {0.13 * head->imageWidth, 0.8 * head->imageHeight};
    const Vec3 point = pointSeenAt(*head, camera, pixel, 400.0);
    const auto seen = quel::project(quel::Head::fromRecord(*head), std::span(&point, 1), camera, quel::Mode::Pinhole);
    ASSERT_TRUE(seen);
    EXPECT_EQ(seen->status[0], quel::Status::Ok);
    EXPECT_NEAR(seen->pixels[0][0], pixel[0], 1e-6);
    EXPECT_NEAR(seen->pixels[0][1], pixel[1], 1e-6);
    const auto& from = head->cameraLocations[camera];
    EXPECT_NEAR(std::hypot(point[0] - from[0], point[1] - from[1], point[2] - from[2]), 400.0, 1e-6);
  }
}

TEST_F(Quel, DrawsSvgToo) {
  ASSERT_EQ(run("demo --svg --out " + path("demo")).code, 0);
  EXPECT_THAT(readFile(path("demo/board-views.svg")), AllOf(StartsWith("<?xml"), HasSubstr("</svg>")));
}

TEST_F(Quel, SaysWhereTheDemoDataShouldBe) {
  expectFailure(run("demo --out " + path("demo") + " --data " + path("nowhere")), "--data names the folder");
  fs::create_directories(path("data"));
  fs::copy(kBoard, path("data"));
  expectFailure(run("demo --out " + path("demo") + " --data " + path("data")), "scan-20k.ply: there is no such file");
  json document = boardFile();
  document["corners"][3].erase("pixels");
  writeFile(path("data/board-three-views.json"), document.dump());
  expectFailure(run("demo --out " + path("demo") + " --data " + path("data")), "corners: ");
}

}  // namespace
}  // namespace queltool
