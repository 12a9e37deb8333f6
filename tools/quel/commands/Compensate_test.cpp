// Blocks made for another temperature, as a user makes them.
#include "commands/tool_fixture.h"
#include "models/Block.h"
#include "quelcore/blocks/QmBlockCorrectionParameters.h"
#include "quelcore/tensor/QmReconsTensorIO.h"
#include "quelplatform/qmDistort/calibrationPairEmbedded.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;
using quel::testing::writeFile;
using quelplatform::LutStamp;
using ::testing::HasSubstr;

class CompensateTool : public Quel {
 protected:
  CompensateTool() { writeFile(path("table.xml"), table("ax", 1, 0.25)); }

  static std::string table(const std::string& name, int camera, double rate) {
    return "<BlockCorrectionParameters><BlockParameter Name=\"" + name + "\" CameraId=\"" + std::to_string(camera) +
           "\" Value=\"" + std::to_string(rate) + "\"/></BlockCorrectionParameters>";
  }

  Outcome compensate(const std::string& block, const std::string& out, const std::string& more = "") const {
    return run("compensate " + block + " --table " + path("table.xml") + " --temperature 32 -o " + path(out) + " " +
               more);
  }

  LutStamp stampOf(const std::string& luts, const std::string& tensor) const {
    LutStamp stamp = LutStamp::kForeign;
    EXPECT_TRUE(compareLutStamp(dir_.wide(luts).c_str(), dir_.wide(tensor).c_str(), stamp));
    return stamp;
  }

  quel::testing::TempHome home_;
};

TEST_F(CompensateTool, MovesTheProjectionByTheRateTimesTheDifferenceOfTemperatures) {
  const std::string block = makeBlock();
  const Outcome done = compensate(block, "warm/LAB7-12.tns");
  ASSERT_EQ(done.code, 0) << done.error;
  EXPECT_THAT(done.out, HasSubstr("from 20 to 32 degrees by 1 rates"));
  EXPECT_THAT(done.out, HasSubstr("camera 0  centre of the box moves +0.000 +0.000 px"));
  writeFile(path("point.txt"), "100 60 -20\n");
  const auto before = fieldsOf(run("project --mode 0 " + block + " " + path("point.txt")).out).at(1);
  const auto after = fieldsOf(run("project --mode 0 " + path("warm/LAB7-12.tns") + " " + path("point.txt")).out).at(1);
  // x = ax X/Z + xp: three pixels more of focal length scale what stands beside the principal point.
  const nlohmann::json camera = boardFile()["cameras"][1];
  const double beside = std::stod(before[5]) - camera["cx"].get<double>();
  const double grown = beside * (camera["fx"].get<double>() + 0.25 * 12.0) / camera["fx"].get<double>();
  EXPECT_NEAR(std::stod(after[5]), camera["cx"].get<double>() + grown, 1e-9);
  for (const std::size_t same : {3u, 4u, 6u, 7u, 8u}) {
    EXPECT_NEAR(std::stod(after[same]), std::stod(before[same]), 1e-9) << same;
  }
}

TEST_F(CompensateTool, CountsNoDegreeTwice) {
  ASSERT_EQ(compensate(makeBlock(), "warm/LAB7-12.tns").code, 0);
  const Outcome again = compensate(path("warm/LAB7-12.tns"), "again/LAB7-12.tns");
  ASSERT_EQ(again.code, 0) << again.error;
  EXPECT_THAT(again.out, HasSubstr("from 32 to 32 degrees"));
  EXPECT_THAT(again.out, HasSubstr("camera 1  centre of the box moves +0.000 +0.000 px"));
}

TEST_F(CompensateTool, KeepsTheVersionOfAnOlderBlock) {
  const auto block = loadBlock(makeBlock());
  for (const std::int32_t version : {-5, -9, -10, -16}) {
    block->version = version;
    ASSERT_EQ(qmTensorDataStoreByVersion(dir_.wide("old.tns").c_str(), *block, 1), 1);
    const Outcome done = compensate(path("old.tns"), "warm.tns", "--force");
    ASSERT_EQ(done.code, 0) << done.error;
    const auto warm = loadBlock(path("warm.tns"));
    EXPECT_EQ(warm->version, version);
    EXPECT_EQ(warm->temperature[TEMPERATURE_REFERENCE], 32.0);
  }
}

TEST_F(CompensateTool, TakesTheLutFileAlong) {
  ASSERT_EQ(run("make-block " + kBoard + " -m LUT1 --luts -o " + path("blocks")).code, 0);
  ASSERT_EQ(compensate(path("blocks/LUT1-1.tns"), "blocks/warm.tns").code, 0);
  ASSERT_EQ(compensate(path("blocks/LUT1-1.tns"), "other/LUT1-1.tns").code, 0);
  // Two share the one and bear no stamp in it; the other is its tensor's own, the same but for the stamp.
  EXPECT_EQ(stampOf("blocks/LUT1-1.lut", "blocks/LUT1-1.tns"), LutStamp::kNone);
  EXPECT_EQ(stampOf("other/LUT1-1.lut", "other/LUT1-1.tns"), LutStamp::kOwn);
  ASSERT_TRUE(quelplatform::removeLutStamp(dir_.wide("other/LUT1-1.lut").c_str()));
  EXPECT_EQ(quel::testing::readFile(path("other/LUT1-1.lut")), quel::testing::readFile(path("blocks/LUT1-1.lut")));
  for (const char* block : {"blocks/LUT1-1.tns", "blocks/warm.tns", "other/LUT1-1.tns"}) {
    EXPECT_NE(loadBlock(path(block))->distortParams[0].luts, nullptr) << block;
  }
  fs::create_directories(path("third"));
  writeFile(path("third/LUT1-1.lut"), "precious");
  expectFailure(compensate(path("blocks/LUT1-1.tns"), "third/warm.tns"), "LUT1-1.lut: is there already");
  EXPECT_EQ(quel::testing::readFile(path("third/LUT1-1.lut")), "precious");
}

TEST_F(CompensateTool, ReplacesBlockAndLutsAsOneOrNeither) {
  ASSERT_EQ(run("make-block " + kBoard + " -m LUT1 --luts -o " + path("blocks")).code, 0);
  ASSERT_EQ(compensate(path("blocks/LUT1-1.tns"), "other/LUT1-1.tns").code, 0);
  const std::string tensor = quel::testing::readFile(path("other/LUT1-1.tns"));
  const std::string luts = quel::testing::readFile(path("other/LUT1-1.lut"));
  fs::create_directory(path("other/folder.tns"));
  expectFailure(compensate(path("blocks/LUT1-1.tns"), "other/folder.tns", "--force"), "cannot be stored");
  EXPECT_EQ(quel::testing::readFile(path("other/LUT1-1.lut")), luts);
  EXPECT_EQ(quel::testing::readFile(path("other/LUT1-1.tns")), tensor);
  EXPECT_EQ(stampOf("other/LUT1-1.lut", "other/LUT1-1.tns"), LutStamp::kOwn);
}

TEST_F(CompensateTool, KeepsWhatIsThereUnlessForcedAndTheBlockItselfAlways) {
  const std::string block = makeBlock();
  const std::string before = quel::testing::readFile(block);
  writeFile(path("out.tns"), "precious");
  expectFailure(compensate(block, "out.tns"), "--force");
  EXPECT_EQ(quel::testing::readFile(path("out.tns")), "precious");
  EXPECT_EQ(compensate(block, "out.tns", "--force").code, 0);
  expectFailure(compensate(block, "blocks/LAB7-12.tns", "--force"), "is the block itself");
  EXPECT_EQ(quel::testing::readFile(block), before);
}

TEST_F(CompensateTool, NamesTheFileThatIsWrong) {
  const std::string block = makeBlock();
  expectFailure(compensate(path("none.tns"), "o.tns"), "none.tns: there is no such file");
  expectFailure(compensate(block, "blocks"), "blocks: is there already");
  writeFile(path("file"), "");
  expectFailure(compensate(block, "file/o.tns"), "file");
  writeFile(path("table.xml"), "<BlockCorrectionParameters>");
  expectFailure(compensate(block, "o.tns"), "table.xml, line 1, column 28: ");
  writeFile(path("table.xml"), "<Other/>");
  expectFailure(compensate(block, "o.tns"), "table.xml: expected BlockCorrectionParameters, found another root");
  for (const std::string& useless : {table("az", 0, 1.0), table("ax", 3, 1.0)}) {
    writeFile(path("table.xml"), useless);
    expectFailure(compensate(block, "o.tns"), "table.xml: holds no rate of camera 0, 1 or 2");
  }
  writeFile(path("table.xml"),
            "<BlockCorrectionParameters><BlockParameter Name=\"ax\" CameraId=\"0\" "
            "Value=\"1e308\"/></BlockCorrectionParameters>");
  expectFailure(compensate(block, "o.tns"), "table.xml: a camera");
  fs::remove(path("table.xml"));
  expectFailure(compensate(block, "o.tns"), "table.xml: there is no such file");
  EXPECT_FALSE(fs::exists(path("o.tns")));
}

TEST_F(CompensateTool, TakesNoRateForZeroThatIsNoNumber) {
  const std::string block = makeBlock();
  for (const std::string value : {"0,25", "abc", ""}) {
    writeFile(
        path("table.xml"),
        "<BlockCorrectionParameters>\n<BlockParameter Name=\"ax\" CameraId=\"0\" Value=\"0.5\"/>\n<BlockParameter "
        "Name=\"ay\" CameraId=\"0\" Value=\"" +
            value + "\"/></BlockCorrectionParameters>");
    expectFailure(compensate(block, "o.tns"),
                  "table.xml, line 3, column 1, BlockParameter 2: expected a number as Value");
  }
  EXPECT_FALSE(fs::exists(path("o.tns")));
}

TEST_F(CompensateTool, TellsTheRatesThatItLeavesOut) {
  writeFile(path("table.xml"),
            "<BlockCorrectionParameters><BlockParameter Name=\"ax\" CameraId=\"0\" Value=\"0.5\"/><BlockParameter "
            "Name=\"AXX\" CameraId=\"1\" Value=\"0.5\"/><BlockParameter Name=\"ay\" CameraId=\"3\" Value=\"0.5\"/>"
            "</BlockCorrectionParameters>");
  const Outcome done = compensate(makeBlock(), "o.tns");
  ASSERT_EQ(done.code, 0) << done.error;
  EXPECT_THAT(done.out, HasSubstr("by 1 rates\n  left out of the table: AXX of camera 1, ay of camera 3\n"));
}

TEST_F(CompensateTool, KeepsATableThatHasTheNameOfTheLutFile) {
  ASSERT_EQ(run("make-block " + kBoard + " -m LUT1 --luts -o " + path("blocks")).code, 0);
  fs::create_directory(path("other"));
  const std::string luts = path("other/LUT1-1.lut");
  fs::copy(path("table.xml"), luts);
  expectFailure(run("compensate " + path("blocks/LUT1-1.tns") + " --table " + luts + " -T 32 -o " +
                    path("other/o.tns") + " --force"),
                "LUT1-1.lut: is the table itself, which stays");
  EXPECT_EQ(quel::testing::readFile(luts), table("ax", 1, 0.25));
  EXPECT_FALSE(fs::exists(path("other/o.tns")));
}

TEST_F(CompensateTool, RefusesABlockThatDoesNotTellItsTemperature) {
  const auto block = loadBlock(makeBlock());
  block->temperature[TEMPERATURE_REFERENCE] = -273.0;
  ASSERT_EQ(qmTensorDataStoreByVersion(dir_.wide("old.tns").c_str(), *block, 1), 1);
  expectFailure(compensate(path("old.tns"), "o.tns"), "old.tns: does not tell the temperature");
}

TEST_F(CompensateTool, ReportsWrongUsageWithExitCodeTwo) {
  EXPECT_EQ(run("compensate a.tns --table t.xml -o o.tns").code, 2);
  EXPECT_EQ(run("compensate a.tns --temperature 20 -o o.tns").code, 2);
  EXPECT_EQ(run("compensate a.tns --table t.xml --temperature 20").code, 2);
  for (const char* temperature : {"nan", "inf", "warm"}) {
    EXPECT_EQ(run("compensate a.tns --table t.xml -o o.tns --temperature " + std::string(temperature)).code, 2);
  }
}

}  // namespace
}  // namespace queltool
