// What is stored under a root directory, as a user sees it.
#include <unistd.h>

#include "commands/tool_fixture.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using quel::testing::writeFile;
using ::testing::HasSubstr;
using ::testing::Not;

class ProjectTreeTool : public Quel {
 protected:
  ProjectTreeTool() {
    make("doors/left", "part.qmp");
    make("doors/left/s2", "setup.qms");
    make("doors/left/S1", "setup.qms");
    make("doors/left/auto", "autosetup.qms");
    make("doors/left/both", "setup.qms");
    make("doors/left/both", "autosetup.qms");
    make("doors/left/plain");
    make("doors/right", "partinfo.qmp");
    make("doors/notes");
    make("empty");
  }

  void make(const std::string& directory, const std::string& marker = "") const {
    fs::create_directories(path("root/" + directory));
    if (!marker.empty()) writeFile(path("root/" + directory + "/" + marker), "");
  }

  json tree(const std::string& more = "") const {
    const Outcome shown = run("project-tree " + path("root") + " --json " + more);
    EXPECT_EQ(shown.code, 0) << shown.error;
    return json::parse(shown.out);
  }

  static std::vector<std::string> names(const json& list) {
    std::vector<std::string> all;
    for (const json& each : list) all.push_back(each["name"]);
    return all;
  }
};

TEST_F(ProjectTreeTool, ShowsProjectsPartsAndSetupsInTheirOrder) {
  const json shown = tree();
  using ::testing::ElementsAre;
  EXPECT_EQ(shown["root"], path("root"));
  EXPECT_THAT(names(shown["projects"]), ElementsAre("doors", "empty"));
  const json parts = shown["projects"][0]["parts"];
  EXPECT_THAT(names(parts), ElementsAre("left", "right"));
  EXPECT_THAT(names(parts[0]["setups"]), ElementsAre("auto", "both", "S1", "s2"));
  EXPECT_EQ(parts[0]["setups"][0]["automatic"], true);
  EXPECT_EQ(parts[0]["setups"][1]["automatic"], false);
  EXPECT_EQ(parts[0]["setups"][2]["path"], path("root/doors/left/S1"));
  EXPECT_EQ(shown["projects"][1]["parts"], json::array());
  EXPECT_EQ(shown["outside_parts"], json::array());
}

TEST_F(ProjectTreeTool, ShowsSetupsOfOneKind) {
  using ::testing::ElementsAre;
  const auto setups = [&](const char* kind) { return names(tree(kind)["projects"][0]["parts"][0]["setups"]); };
  EXPECT_THAT(setups("--kind auto"), ElementsAre("auto", "both"));
  EXPECT_THAT(setups("--kind setup"), ElementsAre("both", "S1", "s2"));
  EXPECT_THAT(setups("--kind any"), ElementsAre("auto", "both", "S1", "s2"));
}

TEST_F(ProjectTreeTool, ShowsTimesAndNumbers) {
  const std::string marker = path("root/doors/left/S1/setup.qms");
  ASSERT_EQ(std::system(("touch -d 2026-11-21T14:03:07Z " + marker).c_str()), 0);
  EXPECT_EQ(run("setups add 17 " + path("root/doors/left/S1") + " --cycle 3").code, 0);
  const json setup = tree()["projects"][0]["parts"][0]["setups"][2];
  EXPECT_EQ(setup["modified"], "2026-11-21T14:03:07Z");
  EXPECT_EQ(setup["number"], 17);
  EXPECT_EQ(setup["cycle"], 3);
  EXPECT_FALSE(tree()["projects"][0]["parts"][0]["setups"][3].contains("number"));
  const std::string text = run("project-tree " + path("root") + "/").out;
  EXPECT_THAT(text, HasSubstr("S1                       2026-11-21T14:03:07Z  number 17, cycle 3\n"));
  EXPECT_THAT(text, HasSubstr("2 projects, 2 parts, 4 setups\n"));
}

TEST_F(ProjectTreeTool, TellsOfSetupsThatLieInNoPart) {
  make("stray", "setup.qms");
  make("doors/lost", "autosetup.qms");
  const json shown = tree();
  EXPECT_THAT(shown["outside_parts"], ::testing::UnorderedElementsAre(path("root/stray"), path("root/doors/lost")));
  EXPECT_EQ(shown["projects"].size(), 2u);
  EXPECT_THAT(run("project-tree " + path("root")).out, HasSubstr("not in a part: " + path("root/stray") + "\n"));
}

TEST_F(ProjectTreeTool, TellsOfDirectoriesThatCannotBeListed) {
  fs::permissions(path("root/empty"), fs::perms::none);
  const bool shut = access(path("root/empty").c_str(), R_OK) != 0;
  EXPECT_EQ(tree()["unreadable"], shut ? json({path("root/empty")}) : json::array());
  fs::permissions(path("root/empty"), fs::perms::owner_all);
}

TEST_F(ProjectTreeTool, EndsOnLinksBackIntoTheTree) {
  fs::create_directory_symlink(path("root"), path("root/doors/loop"));
  fs::create_directory_symlink(path("root"), path("root/loop"));
  fs::create_directory_symlink(path("root/doors/left"), path("root/doors/left/loop"));
  EXPECT_THAT(names(tree()["projects"]), ::testing::ElementsAre("doors", "empty", "loop"));
}

TEST_F(ProjectTreeTool, ShowsAnEmptyRoot) {
  fs::create_directory(path("none"));
  EXPECT_THAT(run("project-tree " + path("none")).out, HasSubstr("0 projects, 0 parts, 0 setups\n"));
}

TEST_F(ProjectTreeTool, NamesADirectoryThatIsNone) {
  expectFailure(run("project-tree " + path("missing")), path("missing") + ": is no directory");
  expectFailure(run("project-tree " + path("root/doors/left/part.qmp")), "is no directory");
  EXPECT_EQ(run("project-tree").code, 2);
  EXPECT_EQ(run("project-tree " + path("root") + " --kind other").code, 2);
  EXPECT_THAT(run("project-tree --help").out, HasSubstr("part.qmp"));
}

}  // namespace
}  // namespace queltool
