// Blocks that the tool makes.
#include <filesystem>

#include "commands/tool_fixture.h"
#include "quelplatform/qmDistort/calibrationPairEmbedded.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::HasSubstr;

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

TEST_F(Quel, ReportsHowWellTheHeadStandsForEachLens) {
  json cameras = json::parse(readFile(kBoard));
  cameras["cameras"][1]["fy"] = cameras["cameras"][1]["fy"].get<double>() * 1.0001;
  writeFile(path("cameras.json"), cameras.dump());
  const Outcome made =
      run("make-block " + path("cameras.json") + " -o " + path("b") + " -m LAB7 --json " + path("fit.json"));
  ASSERT_EQ(made.code, 0) << made.error;
  const json report = json::parse(readFile(path("fit.json")));
  EXPECT_EQ(report["block"], path("b/LAB7-1.tns"));
  const json& fitted = report["cameras"][1];
  EXPECT_EQ(report["cameras"][0]["exact"], true);
  EXPECT_EQ(fitted["exact"], false);
  EXPECT_EQ(fitted["lens"], "brown-conrady-normalised");
  EXPECT_GT(fitted["rms_px"].get<double>(), 0.0);
  EXPECT_LE(fitted["max_px"].get<double>(), 0.005);
  EXPECT_THAT(made.out, HasSubstr("fitted, residual"));
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
  expectFailure(run("info " + path("blocks/LUT1-1.tns")), "LUT1-1.lut: there is no such file");
}

TEST_F(Quel, RefusesLutsThatWereStoredWithAnotherBlock) {
  json document = boardFile();
  document["cameras"][0]["fx"] = document["cameras"][0]["fx"].get<double>() + 1.0;
  writeFile(path("cameras.json"), document.dump());
  ASSERT_EQ(run("make-block " + kBoard + " -m LUT1 -o " + path("one") + " --luts").code, 0);
  ASSERT_EQ(run("make-block " + path("cameras.json") + " -m LUT1 -o " + path("other") + " --luts").code, 0);
  fs::copy_file(path("one/LUT1-1.tns"), path("other/LUT1-1.tns"), fs::copy_options::overwrite_existing);
  writeFile(path("points.txt"), "100 60 -20\n");
  for (const std::string& command : {std::string("info"), std::string("project")}) {
    const std::string points = command == "info" ? "" : " " + path("points.txt");
    expectFailure(run(command + " " + path("other/LUT1-1.tns") + points),
                  "other/LUT1-1.lut: was stored with another tensor file than ");
    EXPECT_EQ(run(command + " " + path("one/LUT1-1.tns") + points).code, 0);
  }
  // One without a stamp, as the library stores it, goes with any.
  ASSERT_TRUE(quelplatform::removeLutStamp(dir_.wide("other/LUT1-1.lut").c_str()));
  EXPECT_EQ(run("info " + path("other/LUT1-1.tns")).code, 0);
}

TEST_F(Quel, ReplacesABlockAndItsLutsAndLeavesNothingBeside) {
  const std::string make = "make-block " + kBoard + " -m LUT1 -o " + path("blocks") + " --luts --force";
  ASSERT_EQ(run(make).code, 0);
  ASSERT_EQ(run(make).code, 0);
  EXPECT_EQ(run("info " + path("blocks/LUT1-1.tns")).code, 0);
  EXPECT_EQ(std::distance(fs::directory_iterator(path("blocks")), fs::directory_iterator()), 2);
}

TEST_F(Quel, AsksWhetherAHeadInMetresIsMeant) {
  nlohmann::json file = boardFile();
  for (auto& camera : file["cameras"]) {
    for (auto& length : camera["translation"]) length = 0.001 * length.get<double>();
  }
  quel::testing::writeFile(path("metres.json"), file.dump());
  expectFailure(run("make-block " + path("metres.json") + " -o " + path("m")),
                "not between 10 mm and 100 m, as where translations are in metres; give translations in millimetres");
  EXPECT_FALSE(std::filesystem::exists(path("m")));
  EXPECT_EQ(run("make-block " + path("metres.json") + " --unusual -o " + path("m")).code, 0);
}

TEST_F(Quel, SaysWhichCamerasHaveNoDistortion) {
  nlohmann::json file = boardFile();
  file["cameras"][1].erase("distortion");
  quel::testing::writeFile(path("cameras.json"), file.dump());
  const Outcome made = run("make-block " + path("cameras.json") + " -o " + path("b"));
  ASSERT_EQ(made.code, 0) << made.error;
  EXPECT_THAT(made.out, ::testing::ContainsRegex("camera 1 [^\n]*distortion none: the file gives this camera no"));
  EXPECT_THAT(made.out, ::testing::Not(::testing::ContainsRegex("camera 0 [^\n]*none:")));
}

TEST_F(Quel, LeavesCamerasAloneThatAreNamedAsAFileOfTheBlock) {
  std::filesystem::create_directory(path("b"));
  for (const char* name : {"b/LAB7-12.tns", "b/LAB7-12.lut"}) {
    std::filesystem::copy_file(kBoard, path(name));
    const std::string command =
        "make-block " + path(name) + " -o " + path("b") + " --machine LAB7 --number 12 --luts --force";
    expectFailure(run(command), path(name) + ": is the file of the cameras itself, which stays; give another -o");
    EXPECT_EQ(readFile(path(name)), readFile(kBoard));
    std::filesystem::remove(path(name));
  }
  std::filesystem::copy_file(kBoard, path("b/LAB7-12.lut"));
  EXPECT_EQ(run("make-block " + path("b/LAB7-12.lut") + " -o " + path("b") + " --machine LAB7 --number 12").code, 0)
      << "this block has no LUT file";
}

// The board's cameras as wide fisheyes, whose lens no polynomial of the head describes.
nlohmann::json fisheyes(nlohmann::json file) {
  for (auto& camera : file["cameras"]) {
    camera["distortion"] = {{"model", "opencv-fisheye"}, {"k1", 0.05}, {"k2", -0.01}};
    camera["fx"] = camera["fy"] = 460;
  }
  return file;
}

TEST_F(Quel, PutsALensIntoLutsThatNoPolynomialDescribes) {
  writeFile(path("cameras.json"), fisheyes(boardFile()).dump());
  const std::string make = "make-block " + path("cameras.json") + " -m LUT1 -o " + path("b");
  const Outcome made = run(make);
  ASSERT_EQ(made.code, 0) << made.error;
  EXPECT_THAT(made.out, ::testing::ContainsRegex("camera 2 [^\n]*distortion in LUTs, cells [0-9.]+ px apart, error "
                                                 "0.00[0-4][0-9] px RMS, 0.00[0-5][0-9] px at most"));
  ASSERT_TRUE(fs::exists(path("b/LUT1-1.lut")));
  EXPECT_EQ(run("info " + path("b/LUT1-1.tns")).code, 0);
  expectFailure(run(make), "b/LUT1-1.tns: this block is there already and stays");
}

TEST_F(Quel, LeavesCamerasAloneThatAreNamedAsTheLutsThatTheirLensNeeds) {
  fs::create_directory(path("b"));
  const std::string text = fisheyes(boardFile()).dump();
  writeFile(path("b/LUT1-1.lut"), text);
  expectFailure(run("make-block " + path("b/LUT1-1.lut") + " -m LUT1 --force -o " + path("b")),
                "b/LUT1-1.lut: is the file of the cameras itself, which stays; give another -o");
  EXPECT_EQ(readFile(path("b/LUT1-1.lut")), text);
}

}  // namespace
}  // namespace queltool
