// Calibrations of other programs, in and out.
#include <array>
#include <filesystem>

#include "commands/tool_fixture.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::AllOf;
using ::testing::HasSubstr;

class Calibrations : public Quel {
 protected:
  // Writes the files of a case of the rig that the peers wrote, and names them.
  std::string writeRig(const std::string& name) const {
    static const json kRig = json::parse(readFile(QUEL_PEERS "/rig.json"));
    fs::create_directories(path("rig"));
    std::string names;
    for (const json& each : kRig["cases"]) {
      if (each["name"] != name) continue;
      for (const json& file : each["files"]) {
        writeFile(path("rig/" + file["name"].get<std::string>()), file["text"]);
        names += " " + path("rig/" + file["name"].get<std::string>());
      }
      if (each["options"].contains("poses")) writeFile(path("poses.json"), each["options"]["poses"]);
    }
    EXPECT_NE(names, "") << name;
    return names;
  }
};

TEST_F(Calibrations, BecomeCamerasOfWhichABlockIsMade) {
  const std::string out = " -o " + path("cameras.json");
  const Outcome imported = run("import opencv" + writeRig("OpenCV, 5, yml") + " --unit mm" + out);
  ASSERT_EQ(imported.code, 0) << imported.error;
  EXPECT_THAT(imported.out, AllOf(HasSubstr("cameras.json: written\n"), HasSubstr("camera 0 (uppermost) is b, at "),
                                  HasSubstr("the world is the head's")));
  const Outcome made = run("make-block " + path("cameras.json") + " -m RIG1 -o " + path("b"));
  ASSERT_EQ(made.code, 0) << made.error;
  EXPECT_EQ(run("info " + path("b/RIG1-1.tns")).code, 0);
  EXPECT_EQ(run("check " + path("cameras.json")).code, 0) << run("check " + path("cameras.json")).error;
}

TEST_F(Calibrations, OfEveryFormatAreRead) {
  const std::string out = " --add-camera-type -o " + path("cameras.json");
  for (const auto& [name, arguments] :
       std::vector<std::pair<std::string, std::string>>{{"OpenCV, 5, xml", "opencv --unit mm"},
                                                        {"OpenCV, fisheye, yml", "opencv --unit mm"},
                                                        {"OpenCV, stereo chain", "opencv --unit mm"},
                                                        {"mrcal, CAHVOR", "mrcal"},
                                                        {"Kalibr, equi", "kalibr"},
                                                        {"COLMAP", "colmap --baseline a.png,b.png=550"},
                                                        {"ROS, plumb_bob", "ros --poses " + path("poses.json")}}) {
    fs::remove_all(path("rig"));
    const Outcome imported = run("import " + arguments + writeRig(name) + out);
    ASSERT_EQ(imported.code, 0) << name << imported.error;
    EXPECT_EQ(run("make-block " + path("cameras.json") + " -m RIG1 --force -o " + path("b")).code, 0) << name;
  }
  EXPECT_EQ(run("import colmap " + path("rig") + out).code, 1);
  writeRig("COLMAP, a rig");
  fs::remove(path("rig/a.yaml"));
  EXPECT_EQ(run("import colmap " + path("rig") + " --unit cm" + out).code, 0) << "the files of a folder";
}

TEST_F(Calibrations, OfOneOwnFileKeepEveryBit) {
  ASSERT_EQ(run("import json " + kBoard + " --keep-world -o " + path("one.json")).code, 0);
  ASSERT_EQ(run("import json " + path("one.json") + " --keep-world -o " + path("two.json")).code, 0);
  EXPECT_EQ(readFile(path("one.json")), readFile(path("two.json")));
  const json one = json::parse(readFile(path("one.json")));
  const json board = boardFile();
  for (const json& camera : board["cameras"]) {
    const auto& all = one["cameras"];
    const auto found = std::find_if(all.begin(), all.end(), [&](const json& c) { return c["name"] == camera["name"]; });
    ASSERT_NE(found, all.end());
    for (const char* key : {"fx", "cx", "distortion", "rotation", "translation"}) EXPECT_EQ((*found)[key], camera[key]);
  }
}

TEST_F(Calibrations, OfABlockComeBackTheSame) {
  const std::string block = makeBlock();
  const Outcome exported = run("export " + block + " json -o " + path("out"));
  ASSERT_EQ(exported.code, 0) << exported.error;
  EXPECT_EQ(exported.out,
            path("out/cameras.json") + ": written\n  camera 0: exact\n  camera 1: exact\n  camera 2: exact\n");
  writeFile(path("points.txt"), "100 60 -20\n0 0 0\n150 120 30\n");
  const std::string before = run("project " + block + " " + path("points.txt")).out;
  ASSERT_EQ(run("make-block " + path("out/cameras.json") + " -m LAB8 -o " + path("again")).code, 0);
  const auto first = fieldsOf(before),
             second = fieldsOf(run("project " + path("again/LAB8-1.tns") + " " + path("points.txt")).out);
  ASSERT_EQ(first.size(), 4u);
  for (std::size_t n = 1; n < first.size(); ++n) {
    for (std::size_t k = 3; k < 9; ++k) EXPECT_NEAR(std::stod(first[n][k]), std::stod(second[n][k]), 1e-9);
  }
}

TEST_F(Calibrations, AreReadBackFromEveryFormatThatABlockIsExportedTo) {
  const std::string block = makeBlock();
  for (const auto& [format, files, more] : std::vector<std::array<std::string, 3>>{
           {"opencv", "camera0.yml camera1.yml camera2.yml", "--unit mm"},
           {"ros", "camera0.yaml camera1.yaml camera2.yaml", "--poses " + path("ros/poses.json")},
           {"mrcal", "camera0.cameramodel camera1.cameramodel camera2.cameramodel", ""},
           {"kalibr", "camchain.yaml", ""},
           {"colmap", "cameras.txt images.txt", "--unit mm"}}) {
    const std::string folder = path(format);
    const Outcome exported = run("export " + block + " " + format + " --allow-residual -o " + folder);
    ASSERT_EQ(exported.code, 0) << exported.error;
    EXPECT_THAT(exported.out,
                HasSubstr(format == "kalibr" ? "camera 2: fitted by 4 coefficients, residual 0." : "camera 2: exact"));
    EXPECT_EQ(run("export " + block + " " + format + " --allow-residual -o " + folder).code, 0) << "once more";
    const std::string import = "cd " + folder + " && " + QUEL_EXECUTABLE + " import " + format + " " + files + " " +
                               more + " -o " + path(format + ".json") + " >/dev/null";
    EXPECT_EQ(std::system(import.c_str()), 0) << import;
    EXPECT_EQ(run("make-block " + path(format + ".json") + " -m R1 --force -o " + path("b")).code, 0) << format;
  }
}

TEST_F(Calibrations, LeaveABlockAloneThatIsNamedAsOneOfTheirFiles) {
  fs::copy_file(makeBlock(), path("cameras.json"));
  const std::string before = readFile(path("cameras.json"));
  expectFailure(run("export " + path("cameras.json") + " json -o " + path("")),
                "cameras.json: is the block itself, which stays");
  EXPECT_EQ(readFile(path("cameras.json")), before);
}

TEST_F(Calibrations, AddACameraTypeOfTheirSizeWhenAsked) {
  json document = boardFile();
  for (json& camera : document["cameras"]) camera["width"] = 644;
  writeFile(path("odd.json"), document.dump());
  fs::create_directories(path("home"));
  writeFile(path("home/cameras.ini"), "[Camera 9]\nName = Bench\nWidth = 3\nHeight = 4");
  const std::string import = "import json " + path("odd.json") + " -o " + path("cameras.json");
  EXPECT_THAT(
      run(import).out,
      HasSubstr("no camera type has images of 644 x 480 pixels, and a head needs one; --add-camera-type adds it"));
  EXPECT_THAT(run(import + " --add-camera-type").out,
              HasSubstr("cameras.ini: has a camera type of 644 x 480 pixels now"));
  const std::string table = readFile(path("home/cameras.ini"));
  EXPECT_EQ(table,
            "[Camera 9]\nName = Bench\nWidth = 3\nHeight = 4\n\n[Camera 10]\nName = Head of 644 x 480\nWidth = "
            "644\nHeight = 480\n");
  EXPECT_EQ(run("make-block " + path("cameras.json") + " --add-camera-type -o " + path("b")).code, 0);
  EXPECT_EQ(readFile(path("home/cameras.ini")), table) << "there is one now";

  writeFile(path("home/cameras.ini"), std::string("\xFF\xFE[\0", 4));
  expectFailure(run(import + " --add-camera-type"), "home/cameras.ini: is 16-bit text; save it as UTF-8");
}

}  // namespace
}  // namespace queltool
