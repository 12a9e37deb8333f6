// Transform and operations files as a user sees them.
#include <cmath>

#include "commands/tool_fixture.h"

namespace queltool {
namespace {

using nlohmann::json;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::HasSubstr;

class TrnTool : public Quel {
 protected:
  json show(const std::string& name) const {
    const Outcome shown = run("trn show --json " + path(name));
    EXPECT_EQ(shown.code, 0) << shown.error;
    return json::parse(shown.out)[0];
  }
};

TEST_F(TrnTool, MakesATransformThatShowTells) {
  ASSERT_EQ(run("trn make --rotate 0,0,90 --move 10,-2.5,0 -o " + path("a.trn")).code, 0);
  const json a = show("a.trn");
  EXPECT_EQ(a["translation"], json({10.0, -2.5, 0.0}));
  EXPECT_NEAR(a["angle_degrees"].get<double>(), 90.0, 1e-12);
  EXPECT_NEAR(a["axis"][2].get<double>(), 1.0, 1e-12);
  EXPECT_NEAR(a["rotation"][1][0].get<double>(), 1.0, 1e-15);
  EXPECT_LT(a["orthonormal_to"].get<double>(), 1e-15);
  EXPECT_THAT(run("trn show " + path("a.trn")).out,
              HasSubstr("turns by 90.000000 degrees about (0.000000, 0.000000, 1.0"));
}

TEST_F(TrnTool, IsTheIdentityByDefault) {
  ASSERT_EQ(run("trn make -o " + path("a.trn")).code, 0);
  EXPECT_EQ(show("a.trn")["rotation"], json({{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}));
}

TEST_F(TrnTool, UndoesATransformByItsInverse) {
  run("trn make --rotate 10,20,30 --move 1,2,3 -o " + path("a.trn"));
  ASSERT_EQ(run("trn invert " + path("a.trn") + " -o " + path("b.trn")).code, 0);
  ASSERT_EQ(run("trn compose " + path("a.trn") + " " + path("b.trn") + " -o " + path("c.trn")).code, 0);
  const json c = show("c.trn");
  EXPECT_LT(std::abs(c["angle_degrees"].get<double>()), 1e-6);
  for (const json& t : c["translation"]) EXPECT_LT(std::abs(t.get<double>()), 1e-14);
}

TEST_F(TrnTool, AppliesTheLastOfAProductFirst) {
  run("trn make --rotate 0,0,90 -o " + path("turn.trn"));
  run("trn make --move 1,0,0 -o " + path("move.trn"));
  run("trn compose " + path("turn.trn") + " " + path("move.trn") + " -o " + path("both.trn"));
  EXPECT_NEAR(show("both.trn")["translation"][1].get<double>(), 1.0, 1e-15);
}

TEST_F(TrnTool, RefusesAFileThatWasChangedByHand) {
  run("trn make --move 1,0,0 -o " + path("a.trn"));
  std::string text = readFile(path("a.trn"));
  text.replace(text.find("1 0 0 1"), 7, "1 0 0 2");
  writeFile(path("a.trn"), text);
  expectFailure(run("trn show " + path("a.trn")), "a.trn: is no transform file, or it is damaged");
  expectFailure(run("trn invert " + path("absent.trn") + " -o " + path("b.trn")), "absent.trn: there is no such file");
  EXPECT_FALSE(std::filesystem::exists(path("b.trn")));
}

TEST_F(TrnTool, NeedsWhatItIsToldToNeed) {
  EXPECT_EQ(run("trn").code, 2);
  EXPECT_EQ(run("trn make").code, 2);
  EXPECT_EQ(run("trn make --move 1,2 -o " + path("a.trn")).code, 2);
  EXPECT_EQ(run("trn compose " + path("a.trn") + " -o " + path("b.trn")).code, 2);
  expectFailure(run("trn make -o " + path("nosuchfolder/a.trn")), "cannot be written");
  expectFailure(run("trn make --move 1,inf,2 -o " + path("a.trn")), "--move: the translation must be finite");
  EXPECT_EQ(run("trn make --rotate 45,45,45 --move 1.7e308,1.7e308,1.7e308 -o " + path("far.trn")).code, 0);
  expectFailure(run("trn compose " + path("far.trn") + " " + path("far.trn") + " -o " + path("b.trn")), "is too large");
}

TEST_F(TrnTool, LeavesItsInputsAsTheyAre) {
  ASSERT_EQ(run("trn make --move 1,2,3 -o " + path("a.trn")).code, 0);
  ASSERT_EQ(run("trn make --move 4,5,6 -o " + path("b.trn")).code, 0);
  const std::string before = quel::testing::readFile(path("b.trn"));
  const std::string says = "b.trn: is the file itself, which stays; give another -o";
  expectFailure(run("trn invert " + path("b.trn") + " -o " + path("b.trn")), says);
  expectFailure(run("trn compose " + path("a.trn") + " " + path("b.trn") + " -o " + path("b.trn")), says);
  EXPECT_EQ(quel::testing::readFile(path("b.trn")), before);
}

using OperationsTool = Quel;

TEST_F(OperationsTool, ListsIdTypeAndTiles) {
  writeFile(path("o.xml"),
            "<QuelmetraDataFile VersionFile=\"1.00\"><Operation ID=\"7\" Type=\"COP\"><Tiles Size=\"2\">3 14 </Tiles>"
            "</Operation><Operation ID=\"8\" Type=\"?\"/></QuelmetraDataFile>");
  const Outcome listed = run("operations " + path("o.xml"));
  EXPECT_EQ(listed.code, 0) << listed.error;
  EXPECT_THAT(listed.out, HasSubstr("version 1.00, 2 operations"));
  const json operations = json::parse(run("operations --json " + path("o.xml")).out)["operations"];
  EXPECT_EQ(operations, json({{{"id", "7"}, {"type", "COP"}, {"tiles", "3 14 "}},
                              {{"id", "8"}, {"type", "Unknown"}, {"tiles", ""}}}));
}

TEST_F(OperationsTool, SaysWhyAFileIsNone) {
  expectFailure(run("operations " + path("absent")), "absent: cannot be read");
  writeFile(path("o.xml"), "<Other VersionFile=\"1.00\"/>");
  expectFailure(run("operations " + path("o.xml")), "o.xml: is no operations file");
  writeFile(path("o.xml"), "<QuelmetraDataFile");
  expectFailure(run("operations " + path("o.xml")), "o.xml: ");
}

}  // namespace
}  // namespace queltool
