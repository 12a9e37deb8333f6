// Runs the built tool as a user does, on real and on damaged input.
#include "commands/tool_fixture.h"

namespace queltool {
namespace {

using nlohmann::json;
using ::testing::AllOf;
using ::testing::HasSubstr;

TEST_F(Quel, TellsHowToUseItAndGivesAnExamplePerCommand) {
  EXPECT_THAT(run("--help").out, AllOf(HasSubstr("quel demo"), HasSubstr("make-block"), HasSubstr("Exit codes")));
  for (const char* command :
       {"make-block", "info", "project", "fit", "compensate", "feature", "blocks", "index", "demo"}) {
    const Outcome help = run(std::string(command) + " --help");
    EXPECT_EQ(help.code, 0);
    EXPECT_THAT(help.out, HasSubstr("Example:\n  quel " + std::string(command)));
  }
}

TEST_F(Quel, TellsTheVersionsOfWhatItIsMadeOf) {
  const Outcome versions = run("--version");
  EXPECT_EQ(versions.code, 0);
  EXPECT_THAT(versions.out, ::testing::MatchesRegex("quel [0-9.]+\nlibrary +[0-9.]+\ntensor files +writes version -17; "
                                                    "reads 0 to -17 and legacy files\ncompiler +(GCC|Clang) [0-9.]+\n"
                                                    "kernels +(plain|sse2|avx2|avx512)\n"));
}

TEST_F(Quel, NamesTheCommandThatWasMeant) {
  const Outcome mistyped = run("inof a.tns");
  EXPECT_EQ(mistyped.code, 2);
  EXPECT_THAT(mistyped.error, HasSubstr("there is no command \"quel inof\"; the nearest is \"quel info\""));
  EXPECT_THAT(run("trn maek -o a.trn").error, HasSubstr("the nearest is \"quel trn make\""));
  EXPECT_THAT(run("deviation scan.ply --tolerence -1,1").error, HasSubstr("the nearest is --tolerance"));
}

TEST_F(Quel, ReportsWrongUsageWithExitCodeTwo) {
  EXPECT_EQ(run("").code, 2);
  EXPECT_EQ(run("measure").code, 2);
  EXPECT_EQ(run("info").code, 2);
  EXPECT_EQ(run("info a.tns --colour").code, 2);
  EXPECT_EQ(run("project a.tns b.ply --mode 5").code, 2);
  EXPECT_EQ(run("project a.tns b.ply --camera 3").code, 2);
  EXPECT_EQ(run("make-block cameras.json --number 0").code, 2);
  EXPECT_THAT(run("info").error, HasSubstr("BLOCK"));
}

TEST_F(Quel, FailsWhenWhatItPrintsDoesNotArrive) {
  const std::string block = makeBlock();
  for (const std::string& arguments :
       {std::string("--help"), "info " + block, "info " + block + " --json", std::string("colours show"),
        std::string("blocks list"), std::string("setups list --json"), std::string("project --help"),
        "feature plane " + std::string(QUEL_TEST_DATA) + "/scan-20k.ply",
        "index " + std::string(QUEL_TEST_DATA) + "/scan-20k.ply -o - --format png"}) {
    const int status =
        std::system((std::string(QUEL_EXECUTABLE) + " " + arguments + " >/dev/full 2>" + path("error.txt")).c_str());
    EXPECT_EQ(WEXITSTATUS(status), 1) << arguments;
    EXPECT_THAT(quel::testing::readFile(path("error.txt")), HasSubstr("No space left on device")) << arguments;
  }
}

// What no test program does of itself, since tests keep their log to themselves: a program that sets nothing has a log.
TEST_F(Quel, LeavesItsLogInTheHomeDirectory) {
  quel::testing::writeFile(path("bad.tns"), "no block");
  EXPECT_EQ(run("info bad.tns").code, 1);
  EXPECT_THAT(quel::testing::readFile(path("home/log/quelmetra.log")), HasSubstr("Failed to load block"));
}

}  // namespace
}  // namespace queltool
