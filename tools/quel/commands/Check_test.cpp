// `quel check`: every format is known by its content alone, read by its own reader, and told of with the place.
#include <filesystem>

#include "commands/tool_fixture.h"
#include "models/FileKinds.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kDataFile = "<QuelmetraDataFile VersionFile=\"1.00\">";

std::string bytesOf(std::initializer_list<float> values) {
  std::string bytes;
  for (const float value : values) bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
  return bytes;
}

// A content that is sound, one that is damaged, and where the damage is found. Both stand in a file named "it".
struct Case {
  const char* kind;
  std::string sound;
  std::string damaged;
  std::string says;
};

std::vector<Case> casesOfText() {
  const std::string data = kDataFile;
  const std::string colours = data + "<DeviationColorTable><Value Percentage=\"5\" Color=\"7\" Name=\"n\"/>";
  const std::string second = "<Value Percentage=\"9\" Color=\"7\" Name=\"m\"/>";
  const std::string global = data + "<ConfigTable Type=\"GLOBAL_MATERIALS\"><OpticalHeadModel Type=\"OH2002\">";
  const std::string process = "<Process Name=\"p\" Param1=\"1\" Param2=\"2\" Param3=\"3\"/>";
  const std::string lens = "<Lens Type=\"50\"><Material Name=\"m\">" + process + "</Material></Lens>";
  const std::string ends = "</OpticalHeadModel></ConfigTable></QuelmetraDataFile>";
  return {
      {"materials", "QmM1\n1\n3 50 1\nSteel 1 2 3 4\n", "QmM1\n1\n3 50 1\nSteel 1 two 3 4\n", "it, line 4, column 9"},
      {"colours", colours + second + "</DeviationColorTable></QuelmetraDataFile>",
       colours + "<Value Percentage=\"x\" Color=\"7\" Name=\"n\"/></DeviationColorTable></QuelmetraDataFile>",
       "it, line 1, column 102, Value 2: expected Percentage"},
      {"global-materials", global + lens + ends, global + ends, "it, OpticalHeadModel: no Lens"},
      {"operations", data + "<Operation ID=\"7\" Type=\"COP\"/></QuelmetraDataFile>", data + "<Operation",
       "it, line 1, column "},
      {"correction-table",
       "<BlockCorrectionParameters><BlockParameter Name=\"ax\" CameraId=\"0\" Value=\"1\"/>"
       "</BlockCorrectionParameters>",
       "<BlockCorrectionParameters><BlockParameter Name=\"ax\" CameraId=\"0\" Value=\"y\"/>"
       "</BlockCorrectionParameters>",
       "it, line 1, column 28, BlockParameter 1: expected a number as Value, found \"y\""},
      {"transform-sets",
       "<CommutatorTrns currentSequentialID=\"3\" nextSequentialID=\"4\"><TrnsSet "
       "sequentialID=\"3\"/></CommutatorTrns>",
       "<CommutatorTrns currentSequentialID=\"3\" nextSequentialID=\"x\"/>",
       "it, line 1, column 1, CommutatorTrns 1: expected a whole number as nextSequentialID, found \"x\""},
      {"cameras", readFile(kBoard), "{\"cameras\": []}", "it: cameras: must hold 3 cameras"},
      {"block-table", "[General]\nNumberOfBlocks=1\n[Block1]\nBlockName=a\nBlockLens=35\n",
       "[General]\nNumberOfBlocks=2\n[Block1]\nBlockName=a\n", "it: NumberOfBlocks is 2, and there is no section"},
      {"multi-stage", "[General]\nqmDistortLutCopBased=1\n", "[General]\nqmDistortLutCopBased=yes\n",
       "it, qmDistortLutCopBased: expected 0 or 1, found \"yes\""},
      {"camera-types", "[Camera 42]\nName=b\nWidth=3\nHeight=4\n", "[Camera 42]\nName=b\nWidth=0\nHeight=4\n",
       "it:1: [Camera 42]: Width must be a whole number from 1 to 100000"},
      {"values", "[Machine]\nMachineID=A1\n", "[Machine]\nMachineID=a b\n", "it:2: MachineID may hold printable"},
      {"setup-map", "17        3         /data/a/b/c\n",
       "17        3         /data/a/b/c\nx         3         /data/a\n",
       "it, line 2, column 1, setup number: expected a whole number, found \"x\""}};
}

std::vector<Case> casesOfBytes() {
  const std::string two({2, 0, 0, 0});
  const std::string triplet = bytesOf({1, 2, 3, 4, 5, 6.5F});
  const std::string mask({1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 9, 0});
  return {{"triplets", two + triplet + triplet, two + triplet, "it, offset 28, triplet 2 of 2"},
          {"target-mask", mask, mask.substr(0, mask.size() - 1), "it, offset 21, sample: expected 2 bytes"}};
}

class CheckTool : public Quel {
 protected:
  json checked(const std::string& arguments) const { return json::parse(run("check --json " + arguments).out); }

  // How the file is told of, whose content is this.
  json reportOn(const std::string& content, const std::string& name = "it") const {
    writeFile(path(name), content);
    return checked(path(name))["files"][0];
  }

  void expectSound(const std::string& kind, const std::string& content) const {
    const json report = reportOn(content);
    EXPECT_EQ(report["format"], kind) << report;
    EXPECT_EQ(report["sound"], true) << report;
    EXPECT_TRUE(report["problems"].empty()) << report;
  }

  void expectDamaged(const std::string& kind, const std::string& content, const std::string& says) const {
    const json report = reportOn(content);
    EXPECT_EQ(report["format"], kind) << report;
    EXPECT_EQ(report["sound"], false) << report;
    ASSERT_FALSE(report["problems"].empty()) << kind;
    EXPECT_THAT(report["problems"][0].get<std::string>(), StartsWith(path("") + says)) << kind;
  }
};

TEST_F(CheckTool, KnowsFilesOfTextByTheirContentAndTellsThePlaceOfADamage) {
  for (const Case& each : casesOfText()) {
    expectSound(each.kind, each.sound);
    expectDamaged(each.kind, each.damaged, each.says);
  }
}

TEST_F(CheckTool, KnowsFilesOfBytesByTheirContentAndTellsThePlaceOfADamage) {
  for (const Case& each : casesOfBytes()) {
    expectSound(each.kind, each.sound);
    expectDamaged(each.kind, each.damaged, each.says);
  }
}

TEST_F(CheckTool, KnowsSixteenBitText) {
  std::string wide = "\xFF\xFE";
  for (const char c : std::string("QmM1\n0\n ")) wide += {c, '\0'};
  expectSound("materials", wide);
}

TEST_F(CheckTool, ReadsBothFilesOfACalibrationAndTheTransformsOfASite) {
  makeBlock("--luts");
  const Outcome both = run("check " + path("blocks") + "/*");
  EXPECT_EQ(both.code, 0) << both.error;
  EXPECT_EQ(both.out,
            path("blocks/LAB7-12.lut") + ": LUT file, sound\n" + path("blocks/LAB7-12.tns") + ": tensor file, sound\n");
  const std::string luts = readFile(path("blocks/LAB7-12.lut"));
  const std::string tensor = readFile(path("blocks/LAB7-12.tns"));
  fs::remove(path("blocks/LAB7-12.lut"));
  EXPECT_THAT(run("check " + path("blocks/LAB7-12.tns")).out, HasSubstr("LAB7-12.lut: there is no such file"));
  expectSound("lut", luts);
  std::string damaged = luts;
  damaged[100] ^= 1;
  expectDamaged("lut", damaged, "it: is damaged\n  LUT file " + path("it") + ": offset ");
  expectDamaged("tensor", tensor.substr(0, 2000), "it, offset ");
}

TEST_F(CheckTool, TellsTheLineInWhichATransformFileIsWrong) {
  ASSERT_EQ(run("trn make --move 1,2,3 -o " + path("t.trn")).code, 0);
  const std::string sound = readFile(path("t.trn"));
  expectSound("transform", sound);
  std::string moved = sound;
  moved.replace(moved.find("0 1 0 2"), 7, "0 1 0 3");
  expectDamaged("transform", moved, "it, line 5: expected \"check ");
  std::string wrong = sound;
  wrong.replace(wrong.find("0 1 0 2"), 7, "0 1 0 b");
  expectDamaged("transform", wrong, "it, line 3: expected \"0 1 0 0\", found \"0 1 0 b\"");
  expectDamaged("transform", sound.substr(0, 24), "it, line 3: expected \"0 0 0 0\", found the end of the file");
  expectDamaged("transform", sound + "x", "it, line 6: expected the end of the file");
}

TEST_F(CheckTool, TakesNoIdThatNobodyCanAskForForAnother) {
  // 2^32 + 7, which is 7 in 32 bits.
  const std::string file = path("o.xml");
  writeFile(file, kDataFile + std::string("<Operation ID=\"7\" Type=\"COP\"><Tiles Size=\"2\">1 x </Tiles></Operation>"
                                          "<Operation ID=\"4294967303\" Type=\"COP\"/>"
                                          "<Operation ID=\"1e300\" Type=\"COP\"/></QuelmetraDataFile>"));
  const json report = json::parse(run("check " + file + " --json").out);
  EXPECT_EQ(report["files"][0]["problems"].size(), 1u) << report;
}

TEST_F(CheckTool, LooksAtTheTilesOfEachOperation) {
  const std::string begin = kDataFile + std::string("<Operation ID=\"7\" Type=\"COP\"><Tiles Size=\"2\">1 ");
  const std::string end = " </Tiles></Operation><Operation ID=\"8\" Type=\"COP\"/></QuelmetraDataFile>";
  expectSound("operations", begin + "2" + end);
  expectDamaged("operations", begin + "x" + end, "it");
}

TEST_F(CheckTool, ReadsTheTransformsOfEachSetBesideTheList) {
  const std::string list =
      "<CommutatorTrns currentSequentialID=\"3\" nextSequentialID=\"4\"><TrnsSet sequentialID=\"3\"/></CommutatorTrns>";
  for (const char* name : {"3_7_TrackerLeft.trn", "3_7_TrackerRight.trn"}) {
    ASSERT_EQ(run(std::string("trn make -o ") + path(name)).code, 0);
  }
  expectSound("transform-sets", list);
  writeFile(path("3_7_TrackerRight.trn"), "QuelTransform 1\n");
  expectDamaged("transform-sets", list, "3_7_TrackerRight.trn");
}

TEST_F(CheckTool, ReadsClouds) {
  const std::string scan = readFile(std::string(QUEL_TEST_DATA) + "/scan-20k.ply");
  expectSound("cloud", scan);
  expectDamaged("cloud", scan.substr(0, scan.size() / 2), "it: ");
  EXPECT_EQ(reportOn("1 2 3\n", "a.xyz")["sound"], true);
  EXPECT_THAT(reportOn("1 2 3\n1 2\n", "a.xyz")["problems"][0].get<std::string>(), HasSubstr("a.xyz: line 2: "));
}

TEST_F(CheckTool, TakesTheNameWhereTheContentTellsNothing) {
  EXPECT_EQ(reportOn("junk", "a.tns")["format"], "tensor");
  EXPECT_EQ(reportOn("junk", "a.LUT")["format"], "lut");
  EXPECT_EQ(reportOn("", "SetupMap.txt")["format"], "setup-map");
  EXPECT_EQ(reportOn("gauge = 1.5\n", "params.ini")["sound"], true);
  EXPECT_THAT(reportOn("gauge\n", "params.ini")["problems"][0].get<std::string>(), HasSubstr("params.ini:1: "));
  fs::create_directory(path("multistage"));
  EXPECT_EQ(reportOn("", "multistage/4.ini")["format"], "multi-stage");
  EXPECT_EQ(reportOn("anything", "setup.qms")["sound"], true);
  EXPECT_EQ(reportOn("QmM1\n0\n ", "a.tns")["format"], "materials") << "the content counts first";
}

TEST_F(CheckTool, TakesNoFileForWhatItIsNot) {
  const std::string crowded =
      std::string({1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 9, 0, 0, 0, 0, 0, 0, 0}) + std::string(18, 'x');
  for (const std::string& content : {std::string("17 x /data/a/b/c\n"), std::string("x 3 /data/a/b/c\n"),
                                     std::string("17 3 4\n"), crowded, std::string("<Other/>"), std::string("{}")}) {
    EXPECT_TRUE(reportOn(content)["format"].is_null()) << content;
  }
}

TEST_F(CheckTool, IsToldWhatAFileIsToBe) {
  writeFile(path("it"), "none of these");
  const Outcome unknown = run("check " + path("it"));
  EXPECT_EQ(unknown.code, 1);
  EXPECT_EQ(unknown.out,
            path("it") + "\n  " + path("it") + ": is of no format that is known here; --as names those that are\n");
  const json report = checked("--as materials " + path("it"))["files"][0];
  EXPECT_EQ(report["format"], "materials");
  EXPECT_EQ(report["sound"], false);
  EXPECT_EQ(run("check --as junk " + path("it")).code, 2);
}

TEST_F(CheckTool, ChecksAllFilesAndFailsIfOneIsBad) {
  writeFile(path("good"), "QmM1\n0\n ");
  writeFile(path("bad"), "QmM1\nx\n");
  const Outcome outcome = run("check " + path("none") + " " + path("good") + " " + path("bad") + " " + path(""));
  EXPECT_EQ(outcome.code, 1);
  EXPECT_THAT(outcome.out,
              AllOf(HasSubstr("none: there is no such file"), HasSubstr(path("good") + ": material file, sound\n"),
                    HasSubstr(path("bad") + ": material file\n"), HasSubstr("is no regular file")));
  EXPECT_EQ(outcome.error, "quel: 3 of 4 files are not sound\n");
}

TEST_F(CheckTool, ChangesNothingAtHome) {
  run("check " + kBoard);
  writeFile(path("blocks.ini"), "[General]\nNumberOfBlocks=1\n[Block1]\nBlockName=a\nBlockLens=35\n");
  EXPECT_EQ(run("check " + path("blocks.ini")).code, 0);
  EXPECT_FALSE(fs::exists(path("home/blocks.ini")));
}

TEST(FileKinds, HaveAWordEachAndAReader) {
  std::vector<std::string> words;
  for (const FileKind& kind : fileKinds()) {
    EXPECT_THAT(words, ::testing::Not(::testing::Contains(kind.word)));
    words.emplace_back(kind.word);
    EXPECT_EQ(kindNamed(kind.word), &kind);
    EXPECT_TRUE(kind.looksSo != nullptr || !kind.names.empty()) << kind.word;
  }
  EXPECT_EQ(kindNamed(""), nullptr);
}

}  // namespace
}  // namespace queltool
