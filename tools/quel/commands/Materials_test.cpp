// Material files as a user sees them.
#include "commands/tool_fixture.h"
#include "models/MaterialCheck.h"
#include "quelcore/operations/QmMaterialIO.h"
#include "quelplatform/qmEnv/qmText.h"

namespace queltool {
namespace {

using nlohmann::json;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const std::string kSound = "QmM1\n2\n3 50 2\n4 17 1\nIron;cast 0.25 1.5 3 -7\nSteel 1 2 3 4\n\xE9\x8B\xBC 5 6 7 8\n";

std::vector<std::string> errorsOf(const std::string& text) { return checkMaterials(text).errors; }
std::vector<std::string> warningsOf(const std::string& text) { return checkMaterials(text).warnings; }

class MaterialsTool : public Quel {
 protected:
  std::string file(const std::string& text) const {
    writeFile(path("materials.txt"), text);
    return path("materials.txt");
  }
};

TEST(MaterialCheck, FindsNothingWrongWithASoundFile) {
  const MaterialReport report = checkMaterials(kSound);
  EXPECT_THAT(report.errors, IsEmpty());
  EXPECT_THAT(report.warnings, IsEmpty());
  EXPECT_EQ(report.tables, 2u);
  EXPECT_EQ(report.rows, 3u);
  EXPECT_FALSE(report.isWide);
}

TEST(MaterialCheck, NamesTheLineOfWhatCannotBeRead) {
  EXPECT_THAT(errorsOf(""), ElementsAre(HasSubstr("line 1: the file ends where \"QmM1\" belongs")));
  EXPECT_THAT(errorsOf("<xml/>"), ElementsAre(HasSubstr("line 1: begins with \"<xml/>\"")));
  EXPECT_THAT(errorsOf("QmM1\nx\n"), ElementsAre(HasSubstr("line 2: the number of tables belongs where \"x\" stands")));
  EXPECT_THAT(errorsOf("QmM1\n0"), ElementsAre(HasSubstr("line 2: the file ends right behind its last number")));
  EXPECT_THAT(errorsOf("QmM1\n1\n3 50 2\na 1 2 3 4\n"),
              ElementsAre(HasSubstr("line 5: the file ends where row 2 of 2")));
  EXPECT_THAT(errorsOf("QmM1\n1\n3 50 1\na 1,5 2 3 4\n"), ElementsAre(HasSubstr("line 4: the first number")));
  EXPECT_THAT(errorsOf("QmM1\n1\n3 50 1\na 1 2 3 4.5\n"), ElementsAre(HasSubstr("a whole one, belongs where \"4.5\"")));
  EXPECT_THAT(errorsOf("QmM1\n1\n3 50 1\nGr\xFCn 1 2 3 4\n"), ElementsAre(HasSubstr("neither 16-bit text nor UTF-8")));
}

TEST(MaterialCheck, WarnsOfWhatIsReadOtherwiseThanItSeems) {
  EXPECT_THAT(warningsOf("QmM1\n2\n4 50 1\n3 50 1\na 1 2 3 4\nb 1 2 3 4\n"),
              ElementsAre(HasSubstr("line 4: head 3 with lens 50 stands behind a greater pair")));
  EXPECT_THAT(warningsOf("QmM1\n2\n3 50 1\n3 50 1\na 1 2 3 4\n"),
              ElementsAre(HasSubstr("line 4: head 3 with lens 50")));
  EXPECT_THAT(warningsOf("QmM1\n1\n3 50 2\na 1 2 3 4\na 1 2 3 4\n"), ElementsAre(HasSubstr("line 5: \"a\" stands")));
}

// The reader and the check agree on what can be read, wherever a file is cut.
TEST_F(MaterialsTool, ChecksAsItReads) {
  for (std::size_t length = 0; length <= kSound.size(); ++length) {
    const std::string text = kSound.substr(0, length);
    file(text);
    QmMaterialIO io(dir_.wide("materials.txt").c_str());
    EXPECT_EQ(io.read(), errorsOf(text).empty()) << length;
  }
}

TEST_F(MaterialsTool, ChecksNumbersAsItReadsThem) {
  for (const char* number : {"1", "-1", "+1", "+-1", "-+1", ".5", "5.", "1e3", "1e", "1e400", "-1e400", "1e-400", "inf",
                             "-inf", "nan", "NaN", "0x10", "1e9223372036854775807", "1.7976931348623157e308"}) {
    const std::string text = "QmM1\n1\n3 50 1\na 1 2 " + std::string(number) + " 4\n";
    file(text);
    EXPECT_EQ(QmMaterialIO(dir_.wide("materials.txt").c_str()).read(), errorsOf(text).empty()) << number;
  }
}

TEST_F(MaterialsTool, ShowsTablesByHeadAndLens) {
  const Outcome shown = run("materials show " + file(kSound));
  EXPECT_EQ(shown.code, 0) << shown.error;
  EXPECT_THAT(shown.out, HasSubstr("head 3 (2002 A), lens 50 (50 mm): 2 materials"));
  EXPECT_THAT(shown.out, HasSubstr("Iron cast"));
  const json tables = json::parse(run("materials show --json " + path("materials.txt")).out)["tables"];
  ASSERT_EQ(tables.size(), 2u);
  EXPECT_EQ(tables[0]["materials"][0]["name"], "Iron cast");
  EXPECT_EQ(tables[0]["materials"][0]["values"], json({0.25, 1.5, 3.0, -7}));
  EXPECT_EQ(tables[1]["materials"][0]["name"], "\xE9\x8B\xBC");
}

TEST_F(MaterialsTool, ConvertsToEitherEncodingAndBack) {
  file(kSound);
  EXPECT_EQ(run("materials convert " + path("materials.txt") + " -o " + path("wide.txt")).code, 0);
  EXPECT_TRUE(checkMaterials(readFile(path("wide.txt"))).isWide);
  EXPECT_EQ(run("materials convert " + path("wide.txt") + " --to utf8 -o " + path("back.txt")).code, 0);
  EXPECT_EQ(readFile(path("back.txt")), kSound);
  EXPECT_EQ(utf8OfMaterials(readFile(path("wide.txt"))), kSound);
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir_.path())) ++files;
  EXPECT_EQ(files, 5u);  // The three and what the tool printed.
}

TEST_F(MaterialsTool, ConvertsAFileInPlaceAndTouchesNoOther) {
  file(kSound);
  writeFile(path("materials.txt.wide"), "mine");
  EXPECT_EQ(run("materials convert " + path("materials.txt") + " --to utf8 -o " + path("materials.txt")).code, 0);
  EXPECT_EQ(readFile(path("materials.txt")), kSound);
  EXPECT_EQ(readFile(path("materials.txt.wide")), "mine");
  expectFailure(run("materials convert " + path("materials.txt") + " -o " + path("nowhere/out")), "cannot be written");
}

TEST_F(MaterialsTool, ChecksAFileAndFailsForOneWithProblems) {
  const Outcome sound = run("materials check " + file(kSound));
  EXPECT_EQ(sound.code, 0);
  EXPECT_THAT(sound.out, HasSubstr("UTF-8 text, 2 tables, 3 rows"));
  const Outcome cut = run("materials check --json " + file(kSound.substr(0, 40)));
  expectFailure(cut, "1 problems");
  EXPECT_EQ(json::parse(cut.out)["errors"].size(), 1u);
}

TEST_F(MaterialsTool, SaysWhatIsWrongWithAFileThatCannotBeShown) {
  expectFailure(run("materials show " + path("absent")), "absent: there is no such file");
  expectFailure(run("materials show " + file("QmM1\nx\n")), "materials.txt: line 2");
  expectFailure(run("materials convert " + path("materials.txt") + " -o " + path("out")), "line 2");
  EXPECT_EQ(run("materials").code, 2);
  EXPECT_EQ(run("materials convert a --to latin1 -o b").code, 2);
}

TEST_F(MaterialsTool, ShowsGlobalMaterialsOfAHead) {
  file(
      "<QuelmetraDataFile VersionFile=\"1.0\"><ConfigTable Type=\"GLOBAL_MATERIALS\"><OpticalHeadModel Type=\"OH2002\">"
      "<Lens Type=\"50\"><Material Name=\"Steel\"><Process Name=\"milled\" Param1=\"1\" Param2=\"2\" Param3=\"3.5\"/>"
      "</Material></Lens></OpticalHeadModel></ConfigTable></QuelmetraDataFile>");
  const Outcome shown = run("materials show " + path("materials.txt"));
  EXPECT_EQ(shown.code, 0) << shown.error;
  EXPECT_THAT(shown.out, HasSubstr("milled"));
  const json lenses = json::parse(run("materials show --json --head 6 " + path("materials.txt")).out)["lenses"];
  EXPECT_EQ(lenses[0]["processes"][0]["params"], json({1.0, 2.0, 3.5}));
  const std::u16string units = toWide(readFile(path("materials.txt")).c_str());
  std::string wide = "\xFF\xFE";
  for (const char16_t unit : units) wide += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
  file(wide);
  EXPECT_THAT(run("materials show " + path("materials.txt")).out, HasSubstr("milled"));
  expectFailure(run("materials show --head 1 " + path("materials.txt")), "Optical Head 100 don't supported");
}

}  // namespace
}  // namespace queltool
