#include "quel/cameras/CameraFile.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "testing/TempHome.h"

namespace quel {
namespace {

using nlohmann::json;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

json goodCamera() {
  return json::parse(R"({"name": "upper", "width": 640, "height": 480, "fx": 500.5, "fy": 501.5, "cx": 320, "cy": 240,
    "skew": 0.25, "distortion": {"model": "brown-conrady-normalised", "k1": 0.1, "k2": 0.2, "k3": 0.3, "p1": 0.4, "p2": 0.5},
    "rotation": [[1, 0, 0], [0, 1, 0], [0, 0, 1]], "translation": [1, 2, 3], "note": "left alone"})");
}

json goodFile() { return {{"cameras", {goodCamera(), goodCamera(), goodCamera()}}, {"about", "three of a kind"}}; }

std::string complaint(const json& document) {
  const auto cameras = parseCameras(document.dump());
  return cameras ? "accepted" : cameras.error().message();
}

// What is said when `change` was made to the second camera of a good file.
template <typename Change>
std::string complaintAfter(Change change) {
  json document = goodFile();
  change(document["cameras"][1]);
  return complaint(document);
}

TEST(ParseCameras, ReadsEveryKey) {
  const auto cameras = parseCameras(goodFile().dump());
  ASSERT_TRUE(cameras.ok()) << cameras.error().message();
  const Camera& c = cameras.value()[2];
  EXPECT_EQ(c.name, "upper");
  EXPECT_EQ(c.width, 640);
  EXPECT_EQ(c.height, 480);
  EXPECT_EQ(c.fx, 500.5);
  EXPECT_EQ(c.fy, 501.5);
  EXPECT_EQ(c.cx, 320.0);
  EXPECT_EQ(c.cy, 240.0);
  EXPECT_EQ(c.skew, 0.25);
  EXPECT_EQ(c.k1, 0.1);
  EXPECT_EQ(c.k2, 0.2);
  EXPECT_EQ(c.k3, 0.3);
  EXPECT_EQ(c.p1, 0.4);
  EXPECT_EQ(c.p2, 0.5);
  EXPECT_EQ(c.rotation[1][1], 1.0);
  EXPECT_EQ(c.translation[2], 3.0);
}

TEST(ParseCameras, TakesAbsentNameSkewAndDistortionAsNone) {
  EXPECT_EQ(complaintAfter([](json& c) {
              c.erase("name");
              c.erase("skew");
              c.erase("distortion");
            }),
            "accepted");
}

TEST(ParseCameras, RefusesKeysThatNobodyReads) {
  EXPECT_EQ(complaintAfter([](json& c) { c["distortion"]["k4"] = "0.1"; }),
            "cameras[1].distortion.k4: is no key that is known here; known are model, k1, k2, k3, p1, p2");
  EXPECT_THAT(complaintAfter([](json& c) { c["fov"] = 40; }),
              ::testing::StartsWith("cameras[1].fov: is no key that is known here; known are name, width"));
  EXPECT_THAT(complaintAfter([](json& c) { c["k4"] = "0.1"; }), StartsWith("cameras[1].k4: is no key that is known"));
  EXPECT_THAT(complaintAfter([](json& c) { c["Skew"] = "none"; }), StartsWith("cameras[1].Skew: is no key that is"));
  json document = goodFile();
  document["scale"] = 0.001;
  EXPECT_EQ(complaint(document), "scale: is no key that is known here; known are cameras, corners");
}

TEST(ParseCameras, RefusesKeysThatStandTwiceInOneObject) {
  std::string text = goodFile().dump();
  const std::string once = "\"fx\":500.5";
  text.replace(text.find(once), once.size(), "\"fx\":900,\"fx\":500.5");
  const auto cameras = parseCameras(text);
  ASSERT_FALSE(cameras.ok());
  EXPECT_EQ(cameras.error().message(), "the key \"fx\" stands twice in one object");
}

TEST(ParseCameras, RefusesOtherUnitsThanMillimetres) {
  for (const char* key : {"unit", "units"}) {
    json document = goodFile();
    document[key] = "mm";
    EXPECT_EQ(complaint(document), "accepted");
    document[key] = "m";
    EXPECT_EQ(complaint(document), std::string(key) + ": must be \"mm\"; give translations in millimetres");
    EXPECT_EQ(complaintAfter([key](json& c) { c[key] = "m"; }),
              std::string("cameras[1].") + key + ": must be \"mm\"; give translations in millimetres");
  }
}

TEST(ParseCameras, NamesTheKeyThatIsMissing) {
  for (const char* key : {"width", "height", "fx", "fy", "cx", "cy", "rotation", "translation"}) {
    EXPECT_EQ(complaintAfter([key](json& c) { c.erase(key); }), std::string("cameras[1].") + key + ": is missing");
  }
  EXPECT_EQ(complaint(json::object()), "cameras: is missing");
}

TEST(ParseCameras, SaysWhatIsWrongWithAValue) {
  EXPECT_EQ(complaintAfter([](json& c) { c["fx"] = "500"; }), "cameras[1].fx: must be a number");
  EXPECT_EQ(complaintAfter([](json& c) { c["fy"] = -1; }), "cameras[1].fy: must be greater than 0");
  EXPECT_THAT(complaintAfter([](json& c) { c["width"] = 640.5; }), StartsWith("cameras[1].width: must be a whole"));
  EXPECT_THAT(complaintAfter([](json& c) { c["width"] = 0; }), StartsWith("cameras[1].width: must be a whole"));
  EXPECT_THAT(complaintAfter([](json& c) { c["height"] = 1e9; }), StartsWith("cameras[1].height: must be a whole"));
  EXPECT_THAT(complaintAfter([](json& c) { c["height"] = 5000000000; }), StartsWith("cameras[1].height: must be"));
  EXPECT_EQ(complaintAfter([](json& c) { c["name"] = 1; }), "cameras[1].name: must be text");
  EXPECT_EQ(complaintAfter([](json& c) { c["distortion"] = 1; }), "cameras[1].distortion: must be an object");
  EXPECT_EQ(complaintAfter([](json& c) { c["distortion"]["k2"] = nullptr; }),
            "cameras[1].distortion.k2: must be a number");
  EXPECT_THAT(complaintAfter([](json& c) { c["distortion"]["model"] = "fisheye"; }),
              StartsWith("cameras[1].distortion.model: must be \"brown-conrady-normalised\""));
  EXPECT_EQ(complaintAfter([](json& c) {
              c["rotation"] = {1, 2};
            }),
            "cameras[1].rotation: must be 3 rows of 3 numbers");
  EXPECT_EQ(complaintAfter([](json& c) { c["rotation"][2] = {1, 2}; }), "cameras[1].rotation[2]: must be 3 numbers");
  EXPECT_EQ(complaintAfter([](json& c) { c["translation"][1] = "x"; }), "cameras[1].translation[1]: must be a number");
  EXPECT_EQ(complaintAfter([](json& c) { c = 7; }), "cameras[1]: must be an object");
}

TEST(ParseCameras, WantsThreeCameras) {
  EXPECT_THAT(complaint({{"cameras", {goodCamera()}}}), HasSubstr("3 cameras"));
  EXPECT_THAT(complaint({{"cameras", 3}}), HasSubstr("must be a list"));
  EXPECT_THAT(complaint(json::array()), HasSubstr("must be an object"));
}

TEST(ParseCameras, RefusesWhatIsNoJsonWithItsPlace) {
  const auto cameras = parseCameras("{\"cameras\": [1, }");
  ASSERT_FALSE(cameras.ok());
  EXPECT_THAT(cameras.error().message(), AllOf(StartsWith("is no valid JSON"), HasSubstr("column 17")));
  EXPECT_FALSE(parseCameras(std::string(100000, '[')).ok());
  EXPECT_FALSE(parseCameras("{\"cameras\": [{\"fx\": 1e999}]}").ok());
  EXPECT_FALSE(parseCameras("").ok());
}

TEST(ParseCameras, RefusesEveryTruncationOfAGoodFile) {
  const std::string text = goodFile().dump();
  for (std::size_t size = 0; size < text.size(); ++size) EXPECT_FALSE(parseCameras(text.substr(0, size)).ok());
}

TEST(ReadCameras, NamesTheFile) {
  const quel::testing::TempDir dir;
  quel::testing::writeFile(dir.path() / "good.json", goodFile().dump());
  quel::testing::writeFile(dir.path() / "bad.json", "{}");
  EXPECT_TRUE(readCameras(dir.path() / "good.json").ok());
  EXPECT_THAT(readCameras(dir.path() / "bad.json").error().message(), HasSubstr("bad.json: cameras: is missing"));
  EXPECT_THAT(readCameras(dir.path() / "none.json").error().message(), HasSubstr("none.json: No such file"));
  EXPECT_THAT(readCameras(dir.path()).error().message(), HasSubstr("is no regular file"));
}

}  // namespace
}  // namespace quel
