#include "commands/CommandLine.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <optional>
#include <sstream>

#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/Paragraphs.h"

namespace queltool {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class CommandLineTest : public ::testing::Test {
 protected:
  int run(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "tool");
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    int code = -1;
    try {
      code = line.run(static_cast<int>(arguments.size()), arguments.data());
    } catch (const Failure& failure) {
      thrown = failure.what();
    }
    out = ::testing::internal::GetCapturedStdout();
    error = ::testing::internal::GetCapturedStderr();
    return code;
  }

  // Every line of wrong usage ends so.
  static std::string toldAs(const std::string& what) { return what + "\nRun with --help for more information.\n"; }

  CommandLine line{"tool", "Does this and that.", [] { return std::string("3.1"); }, "\nSee also."};
  std::string out;
  std::string error;
  std::string thrown;
};

TEST_F(CommandLineTest, RunsTheCommandThatIsNamedWithItsValues) {
  std::string file;
  std::vector<std::int32_t> numbers;
  bool flag = false;
  std::optional<std::int32_t> given, absent;
  int runs = 0;
  Command command = line.command("measure", "Measures");
  command.option("FILE", file, "The file").required();
  command.option("--numbers", numbers, "Numbers").separatedBy(',').count(2, 3);
  command.option("--given", given, "One");
  command.option("--absent", absent, "Another");
  command.flag("-f,--flag", flag, "A flag");
  command.runs([&] { ++runs; });
  line.command("other", "Does something else").runs([&] { runs += 100; });

  EXPECT_EQ(run({"measure", "a.txt", "--numbers", "1,2", "-f", "--given=7"}), 0) << error;

  EXPECT_EQ(runs, 1);
  EXPECT_EQ(file, "a.txt");
  EXPECT_THAT(numbers, ElementsAre(1, 2));
  EXPECT_TRUE(flag);
  EXPECT_EQ(given, 7);
  EXPECT_EQ(absent, std::nullopt);
}

TEST_F(CommandLineTest, TellsWrongUsageWithCodeTwoAndRunsNothing) {
  std::int32_t number = 5;
  double temperature = 0.0;
  std::string word = "wide";
  Command command = line.command("measure", "Measures");
  command.option("NUMBER", number, "A number").required().within(1, 9);
  command.option("--temperature", temperature, "Degrees");
  command.option("--to", word, "Encoding").oneOf({"wide", "utf8"});
  command.option("--name", word, "Name")
      .check([](const std::string& text) { return text == "bad" ? "is bad" : std::string(); }, "NAME");
  command.runs([] { FAIL() << "ran"; });

  EXPECT_EQ(run({}), 2);
  EXPECT_EQ(error, toldAs("A subcommand is required"));
  EXPECT_EQ(run({"measure"}), 2);
  EXPECT_EQ(error, toldAs("NUMBER is required"));
  EXPECT_EQ(run({"measure", "10"}), 2);
  EXPECT_EQ(error, toldAs("NUMBER: Value 10 not in range 1 to 9"));
  EXPECT_EQ(run({"measure", "x"}), 2);
  EXPECT_EQ(run({"measure", "1", "--temperature", "x"}), 2);
  EXPECT_EQ(error, toldAs("Could not convert: --temperature = x"));
  EXPECT_EQ(run({"measure", "1", "--to", "morse"}), 2);
  EXPECT_EQ(error, toldAs("--to: morse not in {wide,utf8}"));
  EXPECT_EQ(run({"measure", "1", "--name", "bad"}), 2);
  EXPECT_EQ(error, toldAs("--name: is bad"));
  EXPECT_EQ(run({"measure", "1", "--unknown"}), 2);
  EXPECT_EQ(error, toldAs("The following argument was not expected: --unknown"));
  EXPECT_EQ(out, "");
}

TEST_F(CommandLineTest, NamesTheCommandThatIsNearestToAMistypedOne) {
  line.command("measure", "Measures").runs([] {});
  Command blocks = line.command("blocks", "Blocks");
  blocks.command("list", "Lists").runs([] {});
  EXPECT_EQ(run({"mesure", "--deep", "3"}), 2);
  EXPECT_EQ(error, toldAs("there is no command \"tool mesure\"; the nearest is \"tool measure\""));
  EXPECT_EQ(run({"blocks", "lits"}), 2);
  EXPECT_EQ(error, toldAs("there is no command \"tool blocks lits\"; the nearest is \"tool blocks list\""));
  EXPECT_EQ(run({"dance"}), 2);
  EXPECT_EQ(error, toldAs("there is no command \"tool dance\""));
}

TEST_F(CommandLineTest, NamesTheOptionThatIsNearestToAMistypedOne) {
  std::vector<double> limits;
  bool flag = false;
  Command command = line.command("grade", "Grades");
  command.option("--tolerance", limits, "Limits").required().separatedBy(',').count(2, 2);
  command.flag("--one-sided", flag, "One");
  command.runs([] {});
  EXPECT_EQ(run({"grade", "--tolerence", "1,2"}), 2);
  EXPECT_EQ(error, toldAs("--tolerance is required; instead of --tolerence the nearest is --tolerance"));
  EXPECT_EQ(run({"grade", "--tolerance", "1,2", "--onesided"}), 2);
  EXPECT_EQ(error, toldAs("The following argument was not expected: --onesided; instead of --onesided the nearest is "
                          "--one-sided"));
}

TEST_F(CommandLineTest, TellsWrongUsageThatACommandFindsInTheSameWay) {
  line.command("measure", "Measures").runs([] { throw WrongUsage("--targets", "must differ"); });
  EXPECT_EQ(run({"measure"}), 2);
  EXPECT_EQ(error, toldAs("--targets: must differ"));
}

TEST_F(CommandLineTest, LetsFailuresOfACommandPass) {
  line.command("measure", "Measures").runs([] { throw Failure("no head"); });
  EXPECT_EQ(run({"measure"}), -1);
  EXPECT_EQ(thrown, "no head");
}

TEST_F(CommandLineTest, DemandsOneOfTheCommandsBelowACommand) {
  int runs = 0;
  Command group = line.command("blocks", "Blocks");
  group.command("list", "Lists").runs([&] { ++runs; });
  EXPECT_EQ(run({"blocks"}), 2);
  EXPECT_EQ(error, toldAs("A subcommand is required"));
  EXPECT_EQ(run({"blocks", "list"}), 0);
  EXPECT_EQ(runs, 1);
}

TEST_F(CommandLineTest, LetsACommandStandAloneThatSaysSo) {
  std::string file;
  int runs = 0;
  Command list = line.command("operations", "Operations");
  list.option("FILE", file, "The file");
  list.command("example", "Makes one").runs([&] { runs += 100; });
  list.mayStandAlone();
  list.runs([&] { ++runs; });
  EXPECT_EQ(run({"operations", "a.xml"}), 0) << error;
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(file, "a.xml");
  EXPECT_EQ(run({"operations", "example"}), 0) << error;
  EXPECT_EQ(runs, 101) << "the command below has done the work";
}

TEST_F(CommandLineTest, HelpsWithTheWordsOfTheCommandAboveWhereACommandHasNone) {
  Command blocks = line.command("blocks", "Blocks");
  blocks.command("list", "Lists");
  blocks.command("add", "Adds").footer("\nExample:\n  tool blocks add");
  blocks.footer("\nExample:\n  tool blocks list");
  EXPECT_EQ(run({"blocks", "list", "--help"}), 0);
  EXPECT_THAT(out, HasSubstr("Example:\n  tool blocks list\n"));
  EXPECT_EQ(run({"blocks", "add", "--help"}), 0);
  EXPECT_THAT(out, ::testing::EndsWith("Example:\n  tool blocks add\n"));
  EXPECT_EQ(line.page().commands[0].commands[0].footer, "");
}

TEST_F(CommandLineTest, CountsTheValuesOfAGroup) {
  std::optional<std::int32_t> number, cycle;
  Command command = line.command("update", "Updates");
  Command group = command.group("change", "What to change", 1, 2);
  group.option("--number", number, "Number");
  group.option("--cycle", cycle, "Cycle");
  EXPECT_EQ(run({"update"}), 2);
  EXPECT_EQ(error, toldAs("At least 1 option from [--number,--cycle] is required"));
  EXPECT_EQ(run({"update", "--cycle", "3"}), 0) << error;
  EXPECT_EQ(cycle, 3);
}

TEST_F(CommandLineTest, ChoosesByWord) {
  enum class Kind { Manual = 4, Automatic = 8 };
  Kind kind = Kind::Manual;
  Command command = line.command("list", "Lists");
  command.choice("--kind", kind, "manual", "Which", {{"manual", Kind::Manual}, {"auto", Kind::Automatic}});
  EXPECT_EQ(run({"list"}), 0);
  EXPECT_EQ(kind, Kind::Manual);
  EXPECT_EQ(run({"list", "--kind", "auto"}), 0) << error;
  EXPECT_EQ(kind, Kind::Automatic);
  EXPECT_EQ(run({"list", "--kind", "none"}), 2);
}

TEST_F(CommandLineTest, NeedsWhatAnOptionGoesWith) {
  std::string block;
  std::int32_t camera = 0;
  Command command = line.command("index", "Indexes");
  const Option ofBlock = command.option("--block", block, "Block");
  command.option("--camera", camera, "Camera").needs(ofBlock);
  EXPECT_EQ(run({"index", "--camera", "1"}), 2);
  EXPECT_EQ(error, toldAs("--camera requires --block"));
  EXPECT_EQ(run({"index", "--camera", "1", "--block", "b"}), 0);
}

TEST_F(CommandLineTest, HelpsWithCodeZero) {
  double scale = 0.5;
  std::filesystem::path file;
  Command command = line.command("measure", "Measures a head");
  command.option("-s,--scale", scale, "The scale").showDefault();
  command.option("FILE", file, "What to read").required();
  command.footer("\nExample:\n  tool measure");
  EXPECT_EQ(run({"--help"}), 0);
  EXPECT_THAT(out, HasSubstr("Does this and that.\nUsage: tool [OPTIONS] SUBCOMMAND\n"));
  EXPECT_THAT(out, HasSubstr("  measure                     Measures a head\n\n\nSee also.\n"));
  EXPECT_EQ(run({"measure", "--help"}), 0);
  EXPECT_THAT(out, HasSubstr("Usage: tool measure [OPTIONS] FILE\n"));
  EXPECT_THAT(out, HasSubstr("  FILE TEXT REQUIRED          What to read\n"));
  EXPECT_THAT(out, HasSubstr("  -s,--scale FLOAT=0.5        The scale\n"));
  EXPECT_THAT(out, HasSubstr("\n\n\nExample:\n  tool measure\n"));
  EXPECT_EQ(run({"--version"}), 0);
  EXPECT_EQ(out, "3.1\n");
}

TEST_F(CommandLineTest, TellsOfItselfAsAPage) {
  std::filesystem::path file, folder;
  std::string word;
  std::int32_t number = 0;
  bool flag = false;
  Command command = line.command("measure", "Measures a head");
  command.input("FILE", file, "What to read").required();
  command.folder("--to", folder, "Where to");
  command.option("-w,--word", word, "Which").oneOf({"wide", "utf8"});
  command.group("change", "What", 0, 1).option("--number", number, "Number").within(1, 9);
  command.flag("--flag", flag, "Flag");
  command.footer("\nSee there.");
  const CommandPage page = line.page();
  EXPECT_EQ(page.name, "tool");
  ASSERT_EQ(page.commands.size(), 1u);
  const CommandPage& below = page.commands.front();
  EXPECT_EQ(below.usage, "tool measure [OPTIONS] FILE");
  EXPECT_EQ(below.footer, "\nSee there.");
  std::vector<std::string> told;
  for (const OptionPage& option : below.options) {
    told.push_back(option.names.front() + " " + option.names.back() + " " + option.value);
  }
  EXPECT_THAT(told, ElementsAre("-h --help ", "FILE FILE FILE", "--to --to FOLDER", "-w --word wide|utf8",
                                "--flag --flag ", "--number --number INT in [1 - 9]"));
  EXPECT_THAT(below.options[3].takes.words, ElementsAre("wide", "utf8"));
}

TEST_F(CommandLineTest, FillsNoMoreThanEightyColumnsOfHelp) {
  double scale = 0.5;
  std::string words;
  for (int i = 0; i < 40; ++i) words += "word ";
  Command command = line.command("measure", words);
  command.option("-s,--scale", scale, words);
  command.option("--a-name-that-is-longer-than-its-column", scale, words);
  command.group("change", words, 1, 2).option("--other", scale, words);
  command.footer("\n" + words + "\n\nExample:\n  tool measure");
  for (const std::vector<const char*>& arguments : {std::vector<const char*>{"--help"}, {"measure", "--help"}}) {
    EXPECT_EQ(run(arguments), 0);
    std::istringstream lines(out);
    for (std::string text; std::getline(lines, text);) EXPECT_LE(text.size(), 80u) << text;
  }
  EXPECT_THAT(out, HasSubstr("word\n                              word"));
}

TEST(AllCommands, StandInTheTableOnceAndSayWhatTheyDo) {
  std::vector<std::string> names;
  for (const CommandEntry& entry : allCommands()) {
    EXPECT_THAT(names, ::testing::Not(::testing::Contains(entry.name)));
    EXPECT_STRNE(entry.help, "");
    for (const char* example : entry.examples) {
      EXPECT_THAT(example, ::testing::StartsWith(std::string(entry.name) + " "));
    }
    names.emplace_back(entry.name);
  }
  EXPECT_EQ(names.front(), "demo");
}

TEST_F(CommandLineTest, TeachesEveryCommandOfTheToolByAnExample) {
  ToolLine tool("1");
  for (const CommandPage& command : tool.page().commands) {
    EXPECT_THAT(command.help, ::testing::Not(""));
    EXPECT_THAT(command.footer, HasSubstr("\nExample:\n  quel " + command.name));
  }
}

void expectToFit(const std::string& text) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(charactersOf(line), 80u) << line;
}

TEST_F(CommandLineTest, HelpsWithEveryCommandOfTheToolInEightyColumns) {
  ToolLine tool("1");
  const auto help = [&](std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "quel");
    arguments.push_back("--help");
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(tool.run(static_cast<int>(arguments.size()), arguments.data()), 0);
    expectToFit(::testing::internal::GetCapturedStdout());
  };
  help({});
  std::size_t below = 0;
  for (const CommandPage& command : tool.page().commands) {
    help({command.name.c_str()});
    for (const CommandPage& each : command.commands) {
      help({command.name.c_str(), each.name.c_str()});
      ++below;
    }
  }
  EXPECT_GT(below, 15u);
}

}  // namespace
}  // namespace queltool
