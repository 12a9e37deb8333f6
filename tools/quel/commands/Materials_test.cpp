// Material files as a user sees them.
#include "commands/tool_fixture.h"
#include "models/MaterialText.h"
#include "quelplatform/qmEnv/qmText.h"

namespace queltool {
namespace {

using nlohmann::json;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::EndsWith;
using ::testing::HasSubstr;

const std::string kSound = "QmM1\n2\n3 50 2\n4 17 1\nIron;cast 0.25 1.5 3 -7\nSteel 1 2 3 4\n\xE9\x8B\xBC 5 6 7 8\n";

class MaterialsTool : public Quel {
 protected:
  std::string file(const std::string& text) const {
    writeFile(path("materials.txt"), text);
    return path("materials.txt");
  }

  json reportOn(const std::string& text) const { return json::parse(run("materials check --json " + file(text)).out); }

  // The one error, or the one warning, of a file.
  std::string errorOf(const std::string& text) const {
    const json report = reportOn(text);
    EXPECT_EQ(report["errors"].size(), 1u) << report;
    return report["errors"].empty() ? "" : report["errors"][0].get<std::string>();
  }

  std::string warningOf(const std::string& text) const {
    const json report = reportOn(text);
    EXPECT_EQ(report["errors"].size(), 0u) << report;
    EXPECT_EQ(report["warnings"].size(), 1u) << report;
    return report["warnings"].empty() ? "" : report["warnings"][0].get<std::string>();
  }
};

TEST_F(MaterialsTool, FindsNothingWrongWithASoundFile) {
  const json report = reportOn(kSound);
  EXPECT_EQ(report["errors"], json::array());
  EXPECT_EQ(report["warnings"], json::array());
  EXPECT_EQ(report["tables"], 2);
  EXPECT_EQ(report["rows"], 3);
  EXPECT_EQ(report["encoding"], "utf8");
}

TEST_F(MaterialsTool, NamesTheLineOfWhatCannotBeRead) {
  EXPECT_THAT(errorOf(""), EndsWith("materials.txt, line 1, column 1: expected \"QmM1\", as a material file begins, "
                                    "found the end of the file"));
  EXPECT_THAT(errorOf("<xml/>\n"), HasSubstr("line 1, column 1: expected \"QmM1\""));
  EXPECT_THAT(errorOf("QmM1\nx\n"), HasSubstr("line 2, column 1: expected the number of tables, found \"x\""));
  EXPECT_THAT(errorOf("QmM1\n0"), HasSubstr("line 2, column 1: expected the number of tables, found the end"));
  EXPECT_THAT(errorOf("QmM1\n1\n3 50 2\na 1 2 3 4\n"),
              HasSubstr("line 5, column 1, row 2 of 2 of head 3 with lens 50: expected a name, found the end"));
  EXPECT_THAT(errorOf("QmM1\n1\n3 50 1\na 1,5 2 3 4\n"), HasSubstr("line 4, column 3"));
  EXPECT_THAT(errorOf("QmM1\n1\n3 50 1\nGr\xFCn 1 2 3 4\n"), HasSubstr("found bytes that are no text"));
}

TEST_F(MaterialsTool, WarnsOfWhatIsReadOtherwiseThanItSeems) {
  EXPECT_THAT(warningOf("QmM1\n2\n4 50 1\n3 50 1\na 1 2 3 4\nb 1 2 3 4\n"),
              HasSubstr("line 4, column 1: expected a pair behind those before it"));
  EXPECT_THAT(warningOf("QmM1\n2\n3 50 1\n3 50 1\na 1 2 3 4\n"),
              HasSubstr("line 4, column 1: expected a pair that no earlier line has"));
  EXPECT_THAT(warningOf("QmM1\n1\n3 50 2\na 1 2 3 4\na 1 2 3 4\n"), HasSubstr("line 5, column 1, row 2 of 2"));
  EXPECT_THAT(warningOf("QmM1\n1\n3 50 1\na 1 2 3 4.5\n"),
              HasSubstr("line 4, column 9, row 1 of 1 of head 3 with lens 50: expected the last number, a whole one, "
                        "found \"4.5\""));
}

TEST_F(MaterialsTool, TellsTheFirstWarningsAndThatThereMayBeMore) {
  std::string text = "QmM1\n1\n3 50 10\n";
  for (int row = 0; row < 10; ++row) text += "a 1 2 3 4\n";
  const Outcome checked = run("materials check " + file(text));
  expectFailure(checked, "8 problems");
  EXPECT_THAT(checked.out, HasSubstr("These are the first warnings; there may be more."));
  EXPECT_EQ(reportOn(text)["warnings"].size(), 8u);
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
  EXPECT_TRUE(isWideText(readFile(path("wide.txt"))));
  EXPECT_EQ(run("materials convert " + path("wide.txt") + " --to utf8 -o " + path("back.txt")).code, 0);
  EXPECT_EQ(readFile(path("back.txt")), kSound);
  EXPECT_EQ(utf8OfMaterials(readFile(path("wide.txt"))), kSound);
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir_.path())) ++files;
  EXPECT_EQ(files, 5u);  // The three and what the tool printed.
}

TEST_F(MaterialsTool, ConvertsOverAnotherFileButNeverOverItsInput) {
  file(kSound);
  writeFile(path("old.txt"), "old");
  writeFile(path("old.txt.wide"), "mine");
  EXPECT_EQ(run("materials convert " + path("materials.txt") + " --to utf8 -o " + path("old.txt")).code, 0);
  EXPECT_EQ(readFile(path("old.txt")), kSound);
  EXPECT_EQ(readFile(path("old.txt.wide")), "mine");
  expectFailure(run("materials convert " + path("materials.txt") + " -o " + path("materials.txt")),
                "materials.txt: is the file itself, which stays; give another -o");
  EXPECT_EQ(readFile(path("materials.txt")), kSound);
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
  expectFailure(run("materials show " + file("QmM1\nx\n")), "materials.txt, line 2, column 1");
  expectFailure(run("materials convert " + path("materials.txt") + " -o " + path("out")), "line 2");
  EXPECT_EQ(run("materials").code, 2);
  EXPECT_EQ(run("materials convert a --to latin1 -o b").code, 2);
}

TEST_F(MaterialsTool, WarnsOfWhatItShowsOrConvertsOtherwiseThanItStandsThere) {
  const std::string twice = file("QmM1\n1\n3 50 2\na 1 2 3 4\na 5 6 7 8\n");
  for (const std::string& command :
       {"show " + twice, "show --json " + twice, "convert " + twice + " -o " + path("o")}) {
    const Outcome done = run("materials " + command);
    EXPECT_EQ(done.code, 0) << done.error;
    EXPECT_THAT(done.error, HasSubstr("warning: ")) << command;
    EXPECT_THAT(done.error, HasSubstr("materials.txt, line 5, column 1, row 2 of 2")) << command;
  }
  const std::string global = file(
      "<QuelmetraDataFile VersionFile=\"1.0\"><ConfigTable Type=\"GLOBAL_MATERIALS\"><OpticalHeadModel Type=\"OH2002\">"
      "<Lens Type=\"50\"><Material Name=\"Steel\"><Process Name=\"milled\" Param1=\"0,5\" Param2=\"2\" Param3=\"3\"/>"
      "</Material></Lens></OpticalHeadModel></ConfigTable></QuelmetraDataFile>");
  EXPECT_THAT(run("materials show " + global).error, HasSubstr("expected a number, found \"0,5\""));
  EXPECT_EQ(run("materials show " + file("QmM1\n1\n3 50 1\na 1 2 3 4\n")).error, "");
}

TEST_F(MaterialsTool, ChecksGlobalMaterialsToo) {
  const auto globalWith = [this](const std::string& number) {
    return file(
        "<QuelmetraDataFile VersionFile=\"1.0\"><ConfigTable Type=\"GLOBAL_MATERIALS\"><OpticalHeadModel "
        "Type=\"OH2002\">"
        "<Lens Type=\"50\"><Material Name=\"Steel\"><Process Name=\"milled\" Param1=\"" +
        number +
        "\" Param2=\"2\" Param3=\"3\"/></Material></Lens></OpticalHeadModel></ConfigTable></QuelmetraDataFile>");
  };
  const Outcome sound = run("materials check " + globalWith("0.5"));
  EXPECT_EQ(sound.code, 0) << sound.error;
  EXPECT_THAT(sound.out, HasSubstr("materials.txt: global materials"));
  const std::string wrong = globalWith("0,5");
  const Outcome checked = run("materials check " + wrong);
  EXPECT_EQ(checked.code, 1);
  EXPECT_THAT(checked.out, HasSubstr("expected a number, found \"0,5\""));
  EXPECT_EQ(json::parse(run("materials check --json " + wrong).out)["warnings"].size(), 1u);
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
