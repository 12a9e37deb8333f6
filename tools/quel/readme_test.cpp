// What the README and the help show of the tool works as it stands there.
#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "commands/Commands.h"
#include "commands/tool_fixture.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;
using quel::testing::readFile;
using ::testing::HasSubstr;

// The lines of the block of commands in a section.
std::vector<std::string> linesOfReadme(const std::string& section = "The tool") {
  const std::string text = readFile(QUEL_README);
  const std::string begin = "```sh\n";
  const std::size_t at = text.find(begin, text.find("\n## " + section + "\n")) + begin.size();
  std::istringstream block(text.substr(at, text.find("```", at) - at));
  std::vector<std::string> lines;
  for (std::string line; std::getline(block, line);) lines.push_back(line);
  return lines;
}

// The lines below "Example:" of a help.
std::vector<std::string> examplesOf(const std::string& help) {
  std::vector<std::string> lines;
  std::istringstream text(help);
  bool inExamples = false;
  for (std::string line; std::getline(text, line);) {
    if (line == "Example:" || line == "Examples:") inExamples = true;
    if (line.empty()) inExamples = false;
    if (inExamples && line.starts_with("  ")) lines.push_back(line.substr(2));
  }
  return lines;
}

class Readme : public Quel {
 protected:
  Readme() {
    fs::create_directory(path("data"));
    const fs::path tool = fs::path(QUEL_EXECUTABLE).parent_path();
    setenv("PATH", (tool.string() + ":" + before_).c_str(), 1);
  }
  ~Readme() override { setenv("PATH", before_.c_str(), 1); }

  void copyData() const { fs::copy(QUEL_TEST_DATA, path("data"), fs::copy_options::recursive); }

  int runInData(const std::string& line) const {
    const std::string command = "cd " + path("data") + " && { " + line + "\n} >out.txt 2>error.txt";
    return std::system(command.c_str());
  }

 private:
  std::string before_ = std::getenv("PATH");
};

TEST_F(Readme, ShowsCommandsThatWorkInACopyOfTheData) {
  copyData();
  for (const std::string& line : linesOfReadme()) {
    ASSERT_EQ(runInData(line), 0) << line << "\n" << readFile(path("data/error.txt"));
  }
  for (const char* file :
       {"demo/figures.json", "blocks/QUEL0001-1.tns", "points.ply", "pixels.csv", "scan-pixels.csv",
        "warm/QUEL0001-1.tns", "bins.png", "plane.png", "deviations.png", "scan.html", "head.html"}) {
    EXPECT_TRUE(fs::exists(path("data") + "/" + file)) << file;
  }
}

TEST_F(Readme, LeadsToOnesOwnHeadInFiveLines) {
  copyData();
  const std::vector<std::string> lines = linesOfReadme("Your own head");
  EXPECT_EQ(lines.size(), 5u);
  for (const std::string& line : lines) {
    ASSERT_EQ(runInData(line), 0) << line << "\n" << readFile(path("data/error.txt"));
  }
  EXPECT_TRUE(fs::exists(path("data") + "/own/MINE-1.tns"));
  EXPECT_GT(fs::file_size(path("data") + "/pixels.csv"), 100u);
}

TEST_F(Readme, PutsTheScanBeforeTheHead) {
  copyData();
  std::string last;
  for (const std::string& line : linesOfReadme()) {
    const bool needed = line.find("make-block") != line.npos || line.find("before-head.trn") != line.npos;
    if (!needed) continue;
    ASSERT_EQ(runInData(line), 0) << line << "\n" << readFile(path("data/error.txt"));
    last = readFile(path("data/out.txt"));
  }
  EXPECT_THAT(last, HasSubstr("20000 points, projected into camera 0: 20000 in the image, 0 outside, 0 behind"));
}

// In a folder that is empty at first: those of the tool, and then those of each command in the order of its help.
TEST_F(Readme, IsNotNeededForTheExamplesOfTheHelpWhichWorkInTheirOrder) {
  std::vector<std::string> lines = examplesOf(run("--help").out);
  EXPECT_GT(lines.size(), 10u);
  const ToolLine tool("1");
  for (const CommandPage& command : tool.page().commands) {
    std::vector<std::string> own = examplesOf(run(command.name + " --help").out);
    EXPECT_FALSE(own.empty()) << command.name;
    lines.insert(lines.end(), own.begin(), own.end());
    for (const CommandPage& below : command.commands) {
      if (below.footer.empty()) continue;  // It has the help of the command above it.
      own = examplesOf(run(command.name + " " + below.name + " --help").out);
      lines.insert(lines.end(), own.begin(), own.end());
    }
  }
  for (const std::string& line : lines) EXPECT_EQ(runInData(line), 0) << line << readFile(path("data/error.txt"));
}

TEST_F(Readme, ShowsEveryCommand) {
  std::string text;
  for (const std::string& line : linesOfReadme()) text += line + "\n";
  for (const CommandEntry& command : allCommands()) {
    EXPECT_THAT(text, HasSubstr(std::string("quel ") + command.name + " "));
  }
}

}  // namespace
}  // namespace queltool
