// The files that `quel example` makes, and its other names, are sound and do for the commands that take them.
#include <filesystem>

#include "commands/tool_fixture.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::HasSubstr;

class ExampleTool : public Quel {
 protected:
  void make(const std::string& command, const std::string& file) const {
    const Outcome made = run(command + " -o " + path(file));
    EXPECT_EQ(made.code, 0) << made.error;
    EXPECT_EQ(made.out, path(file) + ": written\n");
  }

  void expectSound(const std::string& file) const {
    const Outcome checked = run("check " + path(file));
    EXPECT_EQ(checked.code, 0) << checked.out;
    EXPECT_THAT(checked.out, HasSubstr(", sound\n"));
  }
};

TEST_F(ExampleTool, MakesFilesThatAreSound) {
  for (const auto& [kind, file] : {std::pair("example cameras", "a.json"),
                                   {"example corrections", "b.xml"},
                                   {"example materials", "c.txt"},
                                   {"example global-materials", "d.xml"},
                                   {"example operations", "e.xml"},
                                   {"materials example", "f.txt"},
                                   {"materials global-example", "g.xml"},
                                   {"operations example", "h.xml"},
                                   {"colours export", "i.xml"}}) {
    make(kind, file);
    expectSound(file);
  }
  EXPECT_EQ(readFile(path("c.txt")), readFile(path("f.txt")));
  EXPECT_EQ(readFile(path("d.xml")), readFile(path("g.xml")));
  EXPECT_EQ(readFile(path("e.xml")), readFile(path("h.xml")));
}

TEST_F(ExampleTool, MakesAHeadThatSeesTheWholeCloud) {
  make("example cameras", "cameras.json");
  make("example cloud", "cloud.ply");
  ASSERT_EQ(run("make-block " + path("cameras.json") + " -o " + path("b") + " --machine A1").code, 0);
  EXPECT_EQ(run("info " + path("b/A1-1.tns")).code, 0);
  const Outcome seen = run("project " + path("b/A1-1.tns") + " " + path("cloud.ply") + " -o " + path("pixels.csv"));
  EXPECT_THAT(seen.out, HasSubstr("11011 points, projected into camera 0: 11011 in the image"));
  EXPECT_THAT(seen.out, HasSubstr("camera 2: 11011 in the image, 0 outside, 0 behind"));
}

TEST_F(ExampleTool, MakesTheSameCloudInBothFormats) {
  make("example cloud", "cloud.ply");
  make("example cloud", "cloud.csv");
  EXPECT_EQ(run("index " + path("cloud.ply")).out, run("index " + path("cloud.csv")).out);
  EXPECT_THAT(run("example cloud -o - --format csv").out, ::testing::StartsWith("x,y,z\n-60,-45,"));
}

TEST_F(ExampleTool, MakesAProjectStoreAndLeavesWhatIsInIt) {
  fs::create_directories(path("store/car/door"));
  writeFile(path("store/car/door/part.qmp"), "mine");
  make("example store", "store");
  EXPECT_EQ(readFile(path("store/car/door/part.qmp")), "mine");
  EXPECT_THAT(run("project-tree " + path("store")).out, HasSubstr("1 projects, 1 parts, 2 setups\n"));
}

TEST_F(ExampleTool, ExportsTheTableOfTheSiteAsItIs) {
  make("colours export", "default.xml");
  EXPECT_THAT(readFile(path("default.xml")), HasSubstr("Percentage=\"100\" Color=\"6750108\""));
  fs::create_directories(path("home/legends"));
  writeFile(path("home/legends/DeviationColor.xml"),
            "<QuelmetraDataFile><DeviationColorTable><Value Percentage=\"5\" Color=\"7\" Name=\"n\"/>"
            "<Value Percentage=\"9\" Color=\"8\" Name=\"m\"/></DeviationColorTable></QuelmetraDataFile>");
  make("colours export", "own.xml");
  EXPECT_THAT(readFile(path("own.xml")), HasSubstr("<Value Percentage=\"9\" Color=\"8\" Name=\"m\"/>"));
  EXPECT_THAT(readFile(path("home/legends/DeviationColor.xml")), ::testing::StartsWith("<QuelmetraDataFile><Dev"));
}

}  // namespace
}  // namespace queltool
