// The numbers of setups as a user keeps them.
#include "commands/tool_fixture.h"

namespace queltool {
namespace {

using nlohmann::json;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::HasSubstr;

class SetupsTool : public Quel {
 protected:
  json list() const {
    const Outcome listed = run("setups list --json");
    EXPECT_EQ(listed.code, 0) << listed.error;
    return json::parse(listed.out)["setups"];
  }

  std::string map() const { return path("home/SetupMap.txt"); }
  void makeMap(const std::string& content) const {
    std::filesystem::create_directories(path("home"));
    writeFile(map(), content);
  }
};

TEST_F(SetupsTool, ListsNothingBeforeThereIsASetup) {
  EXPECT_EQ(list(), json::array());
  EXPECT_THAT(run("setups list").out, HasSubstr("no setups yet"));
}

TEST_F(SetupsTool, AddsSetupsThatTheListThenShows) {
  EXPECT_EQ(run("setups add 17 /data/doors/left/s1 --cycle 3").code, 0);
  EXPECT_EQ(run("setups add 999999999 'D:\\store\\türen\\links\\测量'").code, 0);
  EXPECT_EQ(list(), json::parse(R"([{"number": 17, "cycle": 3, "path": "/data/doors/left/s1"},
      {"number": 999999999, "cycle": -1, "path": "D:\\store\\türen\\links\\测量"}])"));
  EXPECT_EQ(readFile(map()),
            "17        3         /data/doors/left/s1\n999999999 -1        D:\\store\\türen\\links\\测量\n");
  EXPECT_THAT(run("setups list").out, HasSubstr("17          3  /data/doors/left/s1"));
}

TEST_F(SetupsTool, UpdatesWhatIsGiven) {
  run("setups add 17 /r/p/q/s --cycle 3");
  run("setups add 18 /r/p/q/t");
  EXPECT_EQ(run("setups update 17 --path /r/p/q/u").code, 0);
  EXPECT_EQ(list()[0], json::parse(R"({"number": 17, "cycle": 3, "path": "/r/p/q/u"})"));
  EXPECT_EQ(run("setups update 17 --number 20 --cycle -1").code, 0);
  EXPECT_EQ(list()[0], json::parse(R"({"number": 20, "cycle": -1, "path": "/r/p/q/u"})"));
  EXPECT_EQ(list().size(), 2u);
}

TEST_F(SetupsTool, RemovesEveryLineOfANumberAndTheLastOneToo) {
  makeMap("17 1 /r/p/q/s\n17 2 /r/p/q/t\n18 1 /r/p/q/u\n");
  EXPECT_EQ(run("setups remove 17").code, 0);
  ASSERT_EQ(list().size(), 1u);
  EXPECT_EQ(list()[0]["number"], 18);
  EXPECT_EQ(run("setups remove 18").code, 0);
  EXPECT_EQ(list(), json::array());
  EXPECT_EQ(readFile(map()), "");
}

TEST_F(SetupsTool, NamesWhatIsThereAlreadyAndWhatIsNot) {
  run("setups add 17 /r/p/q/s");
  run("setups add 18 /r/p/q/t");
  const std::string before = readFile(map());
  expectFailure(run("setups add 17 /r/p/q/u"), "SetupMap.txt: there is a setup 17 already");
  expectFailure(run("setups add 19 /r/p/q/s"), "/r/p/q/s has a number already");
  expectFailure(run("setups update 17 --number 18"), "there is a setup 18 already");
  expectFailure(run("setups update 17 --path /r/p/q/t"), "/r/p/q/t has a number already");
  expectFailure(run("setups update 19 --cycle 1"), "there is no setup 19");
  expectFailure(run("setups remove 19"), "there is no setup 19");
  EXPECT_EQ(readFile(map()), before);
}

// A file can hold items without a number, which are not saved again.
TEST_F(SetupsTool, TakesNoNumberForNone) {
  const std::string content = "-1 3 /r/p/q/s\n17 3 /r/p/q/t\n";
  makeMap(content);
  expectFailure(run("setups remove -- -1"), "there is no setup -1");
  expectFailure(run("setups update --cycle 4 -- -1"), "there is no setup -1");
  EXPECT_EQ(readFile(map()), content);
}

TEST_F(SetupsTool, RefusesWhatTheMapCouldNotGiveBack) {
  EXPECT_EQ(run("setups").code, 2);
  for (const char* number : {"2", "0", "-1", "1000000000", "x", "''"}) {
    EXPECT_EQ(run("setups add " + std::string(number) + " /r/p/q/s").code, 2) << number;
  }
  for (const char* path : {"'/two words/p/q/s'", "p/q/s", "s", "''", "/r/p/q/", "/r//q/s", "$(printf '/r/p/q/s\\377')",
                           "/r/p/q/$(printf %260s x | tr ' ' x)"}) {
    EXPECT_EQ(run("setups add 17 " + std::string(path)).code, 2) << path;
  }
  EXPECT_EQ(run("setups add 17 /r/p/q/s --cycle 1000000000").code, 2);
  EXPECT_EQ(run("setups add 17 /r/p/q/s --cycle -2").code, 2);
  EXPECT_EQ(list(), json::array());
  run("setups add 17 /r/p/q/s");
  EXPECT_EQ(run("setups update 17").code, 2);
  EXPECT_EQ(run("setups update 17 --number 2").code, 2);
  EXPECT_EQ(run("setups update 17 --path 's x'").code, 2);
}

TEST_F(SetupsTool, ChangesNoMapWhoseLinesWouldNotBeReadBack) {
  for (const char* content : {"1234567890 1 /r/p/q/s\n", "17 1234567890 /r/p/q/s\n", "17 1\n"}) {
    makeMap(content);
    for (const char* change : {"add 20 /r/p/q/t", "update 17 --cycle 3", "remove 17"}) {
      expectFailure(run("setups " + std::string(change)), "correct the file");
    }
    EXPECT_EQ(readFile(map()), content);
    EXPECT_EQ(list().size(), 1u);
  }
}

TEST_F(SetupsTool, TellsWhatItReadsOtherwiseThanItStandsThereAndKeepsIt) {
  makeMap("17 x /r/p/q/s\n");
  const Outcome listed = run("setups list");
  EXPECT_EQ(listed.code, 0);
  EXPECT_THAT(listed.error, HasSubstr("warning: "));
  EXPECT_THAT(listed.error, HasSubstr("line 1, column 4, cycle number: expected a whole number, found \"x\""));
  for (const char* change : {"add 20 /r/p/q/t", "update 17 --cycle 3", "remove 17"}) {
    expectFailure(run("setups " + std::string(change)), "found \"x\"; correct the file");
  }
  EXPECT_EQ(readFile(map()), "17 x /r/p/q/s\n");
  makeMap("17 1 /r/p/q/s\n");
  EXPECT_EQ(run("setups list").error, "");
}

TEST_F(SetupsTool, LeavesAMapThatCannotBeReadOrWritten) {
  makeMap("17 1 /r/p/q/s\n");
  std::filesystem::permissions(map(), std::filesystem::perms::owner_read);
  expectFailure(run("setups add 18 /r/p/q/t"), "SetupMap.txt: cannot be written");
  EXPECT_EQ(readFile(map()), "17 1 /r/p/q/s\n");
  std::filesystem::remove(map());
  std::filesystem::create_directory(map());
  expectFailure(run("setups list"), "SetupMap.txt: it is a directory");
}

TEST_F(SetupsTool, TeachesByExample) {
  EXPECT_THAT(run("setups --help").out, HasSubstr("quel setups add 17"));
  EXPECT_THAT(run("--help").out, HasSubstr("quel setups list"));
}

}  // namespace
}  // namespace queltool
