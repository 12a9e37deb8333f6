// Runs the built tool as a user does, on real and on damaged input.
#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <nlohmann/json.hpp>

#include "commands/tool_fixture.h"
#include "files/Ply.h"
#include "headmaker/CameraFile.h"

namespace queltool {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

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

TEST_F(Quel, TellsHowToUseItAndGivesAnExamplePerCommand) {
  EXPECT_THAT(run("--help").out, AllOf(HasSubstr("quel demo"), HasSubstr("make-block"), HasSubstr("Exit codes")));
  for (const char* command :
       {"make-block", "info", "project", "fit", "compensate", "feature", "blocks", "index", "demo"}) {
    const Outcome help = run(std::string(command) + " --help");
    EXPECT_EQ(help.code, 0);
    EXPECT_THAT(help.out, HasSubstr("Example:\n  quel " + std::string(command)));
  }
  EXPECT_EQ(run("--version").code, 0);
}

TEST_F(Quel, ReportsWrongUsageWithExitCodeTwo) {
  EXPECT_EQ(run("").code, 2);
  EXPECT_EQ(run("measure").code, 2);
  EXPECT_EQ(run("info").code, 2);
  EXPECT_EQ(run("info a.tns --colour").code, 2);
  EXPECT_EQ(run("project a.tns b.ply --mode 5").code, 2);
  EXPECT_EQ(run("project a.tns b.ply --camera 3").code, 2);
  EXPECT_EQ(run("make-block cameras.json --number 0").code, 2);
  EXPECT_THAT(run("info").error, HasSubstr("BLOCK"));
}

TEST_F(Quel, MakesABlockNamedByMachineAndNumber) {
  const std::string block = makeBlock();
  EXPECT_TRUE(fs::is_regular_file(block));
  EXPECT_FALSE(fs::exists(path("blocks/LAB7-12.lut")));
}

TEST_F(Quel, NamesABlockByThisMachineWhenNoneIsGiven) {
  fs::create_directories(path("home"));
  writeFile(path("home/quelmetra.ini"), "[Machine]\nMachineID = ABCD1234\n");
  const Outcome made = run("make-block " + kBoard + " -o " + path("b"));
  EXPECT_EQ(made.code, 0) << made.error;
  EXPECT_TRUE(fs::exists(path("b/ABCD1234-1.tns"))) << made.out;
}

TEST_F(Quel, KeepsABlockThatIsThereUnlessForced) {
  const std::string block = makeBlock();
  writeFile(block, "precious");
  const std::string again = "make-block " + kBoard + " -o " + path("blocks") + " --machine LAB7 --number 12";
  expectFailure(run(again), "--force");
  EXPECT_EQ(readFile(block), "precious");
  EXPECT_EQ(run(again + " --force").code, 0);
  EXPECT_GT(fs::file_size(block), 17000u);
}

TEST_F(Quel, NamesTheFileAndTheKeyOfBadCameras) {
  expectFailure(run("make-block " + path("none.json")), "none.json: No such file");
  writeFile(path("bad.json"), "{\"cameras\": ");
  expectFailure(run("make-block " + path("bad.json")), "bad.json: is no valid JSON");
  json document = boardFile();
  document["cameras"][2].erase("fy");
  writeFile(path("bad.json"), document.dump());
  expectFailure(run("make-block " + path("bad.json")), "bad.json: cameras[2].fy: is missing");
}

TEST_F(Quel, AsksForACameraTypeOfAnUnknownSizeAndTakesIt) {
  json document = boardFile();
  for (json& camera : document["cameras"]) camera["width"] = 644;
  writeFile(path("cameras.json"), document.dump());
  const Outcome refused = run("make-block " + path("cameras.json") + " -o " + path("b"));
  expectFailure(refused, "cameras.ini");
  fs::create_directories(path("home"));
  writeFile(path("home/cameras.ini"), refused.error.substr(refused.error.find('[')));
  EXPECT_EQ(run("make-block " + path("cameras.json") + " -o " + path("b")).code, 0);
}

TEST_F(Quel, FailsWhereABlockCannotBeWritten) {
  writeFile(path("file"), "");
  expectFailure(run("make-block " + kBoard + " -o " + path("file")),
                "file: the folder cannot be made: Not a directory");
  expectFailure(run("make-block " + kBoard + " -o " + path("file/below")), "the folder cannot be made");
  expectFailure(run("make-block " + kBoard + " --machine a/b"), "1 to 8 letters");
}

TEST_F(Quel, ShowsEveryGroupOfAGoodBlock) {
  const Outcome info = run("info " + makeBlock());
  EXPECT_EQ(info.code, 0) << info.error;
  for (const char* group : {"Identity", "LAB7, 12", "Head", "640 x 480", "Camera 2", "focal lengths", "533.2478",
                            "Transfer between views", "Calibration result", "LUT frame", "Health"}) {
    EXPECT_THAT(info.out, HasSubstr(group));
  }
  EXPECT_THAT(info.out, Not(HasSubstr("bad ")));
}

TEST_F(Quel, ShowsABlockAsJson) {
  const Outcome info = run("info --json " + makeBlock());
  ASSERT_EQ(info.code, 0) << info.error;
  const json document = json::parse(info.out);
  EXPECT_EQ(document["identity"]["machine"], "LAB7");
  EXPECT_EQ(document["identity"]["block"], 12);
  EXPECT_EQ(document["identity"]["version"], -17);
  EXPECT_EQ(document["head"]["image_width"], 640);
  EXPECT_EQ(document["health"]["verdict"], "good");
  for (const char* key :
       {"finite", "projections", "camera_order", "metric_form", "planar_form", "singular_form", "distortion"}) {
    EXPECT_EQ(document["health"]["checks"][key]["verdict"], "good") << key;
  }
  const double fx = boardFile()["cameras"][0]["fx"];
  EXPECT_NEAR(document["cameras"][0]["intrinsics"][0][0], fx, 1e-9);
}

// Offsets of a tensor file.
constexpr std::size_t kPlanarTransfer = 10756;
constexpr std::size_t kSingularTransfer = 9380;
constexpr std::size_t kPairReconstruction = 15596;
constexpr std::size_t kProjections = 17220;
constexpr std::size_t kK1OfCamera0 = 17604 + 16;
constexpr std::size_t kSecondInARow = 9 * 8;  // [0][1] of a table of 3x3.

double at(const std::string& file, std::size_t offset) {
  double value;
  std::memcpy(&value, file.data() + offset, sizeof(value));
  return value;
}

TEST_F(Quel, FindsWhatIsWrongWithADamagedHead) {
  struct Damage {
    std::size_t offset;
    double factor;
    const char* check;
  };
  const std::string block = makeBlock();
  const std::string good = readFile(block);
  for (const Damage& damage :
       {Damage{kPlanarTransfer + kSecondInARow, 1.001, "planar_form"},
        Damage{kSingularTransfer + kSecondInARow, 1.001, "singular_form"},
        Damage{kPairReconstruction + 128, 1.001, "metric_form"}, Damage{kPairReconstruction, kNan, "finite"},
        Damage{kProjections, kNan, "finite"}, Damage{kK1OfCamera0, 8.0, "distortion"}}) {
    std::string bad = good;
    const double value = at(bad, damage.offset) * damage.factor;
    std::memcpy(bad.data() + damage.offset, &value, sizeof(value));
    writeFile(block, bad);
    const Outcome info = run("info --json " + block);
    expectFailure(info, "not to be measured with");
    EXPECT_EQ(json::parse(info.out)["health"]["checks"][damage.check]["verdict"], "bad") << damage.check;
  }
}

TEST_F(Quel, WarnsOfAHeadWhoseFirstCameraIsNotTheUppermost) {
  json document = boardFile();
  std::swap(document["cameras"][0], document["cameras"][1]);
  writeFile(path("cameras.json"), document.dump());
  ASSERT_EQ(run("make-block " + path("cameras.json") + " -m X -o " + path("b")).code, 0);
  const Outcome info = run("info --json " + path("b/X-1.tns"));
  EXPECT_EQ(info.code, 0) << info.error;
  EXPECT_EQ(json::parse(info.out)["health"]["checks"]["camera_order"]["verdict"], "warning");
}

TEST_F(Quel, RefusesWhatIsNoBlock) {
  expectFailure(run("info " + path("none.tns")), "none.tns: there is no such file");
  expectFailure(run("info " + path("")), "is no regular file");
  expectFailure(run("info /dev/null"), "is no regular file");
  writeFile(path("text.tns"), "this is no tensor");
  expectFailure(run("info " + path("text.tns")), "text.tns: is no complete tensor file");
  const std::string block = makeBlock();
  const std::string good = readFile(block);
  for (const std::size_t size : {std::size_t{0}, std::size_t{3}, std::size_t{17163}, good.size() - 1}) {
    writeFile(path("short.tns"), good.substr(0, size));
    expectFailure(run("info " + path("short.tns")), "short.tns: is no complete tensor file");
  }
}

TEST_F(Quel, ProjectsPointsAsTheCamerasDo) {
  const auto cameras = headmaker::readCameras(kBoard);
  ASSERT_TRUE(cameras.ok()) << cameras.error();
  writeFile(path("points.txt"), "0 0 0\n200 125 0\n100 60 -20\n");
  const std::vector<Vec3> points = {{0, 0, 0}, {200, 125, 0}, {100, 60, -20}};
  for (const char* mode : {"0", "1"}) {
    const Outcome done = run("project " + makeBlock("--force") + " " + path("points.txt") + " --mode " + mode);
    ASSERT_EQ(done.code, 0) << done.error;
    const auto rows = fieldsOf(done.out);
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_THAT(rows[0], ::testing::ElementsAre("x", "y", "z", "x0", "y0", "x1", "y1", "x2", "y2"));
    for (std::size_t n = 0; n < 3; ++n) {
      for (std::size_t i = 0; i < 3; ++i) {
        const headmaker::Camera& camera = cameras.value()[i];
        Vec2 expected = headmaker::idealPixel(camera, points[n]);
        if (mode[0] == '1') expected = headmaker::distortedPixel(camera, expected);
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
  const auto before = parsePly(readFile(std::string(QUEL_TEST_DATA) + "/scan-20k.ply"));
  const auto after = parsePly(written);
  ASSERT_TRUE(after.ok()) << after.error();
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

TEST_F(Quel, NamesTheFileAndPlaceOfBadPoints) {
  const std::string block = makeBlock();
  expectFailure(run("project " + block + " " + path("none.ply")), "none.ply: there is no such file");
  writeFile(path("bad.txt"), "1 2 3\n1 2\n");
  expectFailure(run("project " + block + " " + path("bad.txt")), "bad.txt: line 2: must begin with three numbers");
  const std::string scan = readFile(std::string(QUEL_TEST_DATA) + "/scan-20k.ply");
  writeFile(path("cut.ply"), scan.substr(0, scan.size() - 1));
  expectFailure(run("project " + block + " " + path("cut.ply")), "cut.ply: the header tells of 20000");
}

TEST_F(Quel, FailsWhenItsOutputCannotBeWritten) {
  writeFile(path("points.txt"), "0 0 0\n");
  const std::string block = makeBlock();
  expectFailure(run("project " + block + " " + path("points.txt") + " -o " + path("none/o.csv")), "cannot be written");
  expectFailure(run("project " + block + " " + path("points.txt") + " -o /dev/full"), "No space left");
}

TEST_F(Quel, PutsDistortionIntoLutsThatGiveTheSamePixels) {
  json document = boardFile();
  std::string text;
  for (const json& corner : document["corners"]) {
    text += corner["board"][0].dump() + " " + corner["board"][1].dump() + " " + corner["board"][2].dump() + "\n";
  }
  writeFile(path("points.txt"), text);
  const std::string plain = makeBlock();
  ASSERT_EQ(run("make-block " + kBoard + " -m LUT1 -o " + path("blocks") + " --luts").code, 0);
  ASSERT_TRUE(fs::exists(path("blocks/LUT1-1.lut")));
  const auto expected = fieldsOf(run("project " + plain + " " + path("points.txt")).out);
  const auto found = fieldsOf(run("project " + path("blocks/LUT1-1.tns") + " " + path("points.txt")).out);
  ASSERT_EQ(found.size(), expected.size());
  for (std::size_t n = 1; n < found.size(); ++n) {
    for (std::size_t k = 3; k < 9; ++k) EXPECT_NEAR(std::stod(found[n][k]), std::stod(expected[n][k]), 2e-3);
  }
  EXPECT_THAT(run("info " + path("blocks/LUT1-1.tns")).out, HasSubstr("0000LUT1000000000100"
                                                                      "0 (5 layers)"));

  fs::remove(path("blocks/LUT1-1.lut"));
  expectFailure(run("info " + path("blocks/LUT1-1.tns")), "its LUT file is missing");
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
  for (const char* picture :
       {"board-views.png", "board-plane.png", "distortion-field.png", "scan-views.png", "scan-index.png"}) {
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
  EXPECT_EQ(fieldsOf(readFile(path("demo/corners.csv"))).size(), 55u);
  EXPECT_EQ(fieldsOf(readFile(path("demo/modes.csv"))).size(), 6u);
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
