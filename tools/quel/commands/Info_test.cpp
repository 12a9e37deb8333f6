// What the tool tells of a block, and of what is none.
#include <cmath>
#include <cstring>
#include <limits>

#include "commands/tool_fixture.h"

namespace queltool {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

using nlohmann::json;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::HasSubstr;
using ::testing::Not;

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

TEST_F(Quel, NamesTargetsThatShareADenominator) {
  // Parallel axes, cameras 1 and 2 in one plane; camera 0 stands in that plane or before it.
  const auto infoOf = [&](double before, double turned) {
    json document = boardFile();
    const double places[3][3] = {{0, 250, 1240 + before}, {-230, -130, 1240}, {230, -130, 1240}};
    for (std::size_t i = 0; i < 3; ++i) {
      const double c = i == 2 ? std::cos(turned) : 1.0, s = i == 2 ? std::sin(turned) : 0.0;
      const double r[3][3] = {{c, 0, s}, {0, -1, 0}, {s, 0, -c}};
      document["cameras"][i]["rotation"] = r;
      for (std::size_t k = 0; k < 3; ++k) {
        document["cameras"][i]["translation"][k] =
            -(r[k][0] * places[i][0] + r[k][1] * places[i][1] + r[k][2] * places[i][2]);
      }
    }
    writeFile(path("cameras.json"), document.dump());
    const Outcome made = run("make-block " + path("cameras.json") + " -m P --force -o " + path("p"));
    EXPECT_EQ(made.code, 0) << made.error;
    const Outcome shown = run("info " + path("p/P-1.tns"));
    const json list = json::parse(run("info --json " + path("p/P-1.tns")).out)["shared_denominators"];
    const std::string line =
        "reference 0, targets 1 and 2 share a denominator: the planar fit fails there for some "
        "points; take the linear fit\n";
    for (const Outcome& told : {made, shown}) EXPECT_EQ(told.out.find(line) != std::string::npos, !list.empty());
    return list;
  };
  for (const double before : {-40.0, 20.0, 100.0}) {
    const json list = infoOf(before, 0.0);
    ASSERT_EQ(list.size(), 1u) << before;
    EXPECT_EQ(list[0]["reference"], 0);
    EXPECT_EQ(list[0]["targets"], json({1, 2}));
  }
  EXPECT_EQ(infoOf(0.0, 0.0), json::array());    // No denominator depends on the parallax.
  EXPECT_EQ(infoOf(20.0, 1e-6), json::array());  // The two planes part at once.
  EXPECT_EQ(json::parse(run("info --json " + makeBlock()).out)["shared_denominators"], json::array());
}

TEST_F(Quel, RefusesWhatIsNoBlock) {
  expectFailure(run("info " + path("none.tns")), "none.tns: there is no such file");
  expectFailure(run("info " + path("")), "is no regular file");
  expectFailure(run("info /dev/null"), "is no regular file");
  writeFile(path("text.tns"), "this is no tensor");
  expectFailure(run("info " + path("text.tns")),
                "text.tns, offset 8, tensorCoefficients: expected 5832 bytes from there on, found the end of the file");
  const std::string block = makeBlock();
  const std::string good = readFile(block);
  struct Cut {
    std::size_t size;
    const char* told;
  };
  for (const Cut& cut : {Cut{0, "offset 0, version: expected 4 bytes"},
                         {3, "offset 0, version: expected 4 bytes"},
                         {17163, "offset 17156, worldScale: expected 8 bytes"},
                         {good.size() - 1, "offset "}}) {
    writeFile(path("short.tns"), good.substr(0, cut.size));
    expectFailure(run("info " + path("short.tns")), "short.tns, " + std::string(cut.told));
    expectFailure(run("info " + path("short.tns")), "found the end of the file");
  }
}

}  // namespace
}  // namespace queltool
