// What the README shows of the tool works as it stands there.
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

// The lines of the block of commands in the section of the tool.
std::vector<std::string> linesOfReadme() {
  const std::string text = readFile(QUEL_README);
  const std::string begin = "```sh\n";
  const std::size_t at = text.find(begin, text.find("\n## The tool\n")) + begin.size();
  std::istringstream block(text.substr(at, text.find("```", at) - at));
  std::vector<std::string> lines;
  for (std::string line; std::getline(block, line);) lines.push_back(line);
  return lines;
}

class Readme : public Quel {
 protected:
  Readme() {
    fs::copy(QUEL_TEST_DATA, path("data"));
    const fs::path tool = fs::path(QUEL_EXECUTABLE).parent_path();
    setenv("PATH", (tool.string() + ":" + before_).c_str(), 1);
  }
  ~Readme() override { setenv("PATH", before_.c_str(), 1); }

  int runInData(const std::string& line) const {
    const std::string command = "cd " + path("data") + " && { " + line + "\n} >out.txt 2>error.txt";
    return std::system(command.c_str());
  }

 private:
  std::string before_ = std::getenv("PATH");
};

TEST_F(Readme, ShowsCommandsThatWorkInACopyOfTheData) {
  for (const std::string& line : linesOfReadme()) {
    ASSERT_EQ(runInData(line), 0) << line << "\n" << readFile(path("data/error.txt"));
  }
  for (const char* file : {"demo/figures.json", "blocks/QUEL0001-1.tns", "points.ply", "pixels.csv", "scan-pixels.csv",
                           "warm/QUEL0001-1.tns", "bins.png", "plane.png", "deviations.png", "turn.trn"}) {
    EXPECT_TRUE(fs::exists(path("data") + "/" + file)) << file;
  }
}

TEST_F(Readme, PutsTheScanBeforeTheHead) {
  std::string last;
  for (const std::string& line : linesOfReadme()) {
    const bool needed = line.find("make-block") != line.npos || line.find("before-head.trn") != line.npos;
    if (!needed) continue;
    ASSERT_EQ(runInData(line), 0) << line << "\n" << readFile(path("data/error.txt"));
    last = readFile(path("data/out.txt"));
  }
  EXPECT_THAT(last, HasSubstr("20000 points, projected into camera 0: 20000 in the image, 0 outside, 0 behind"));
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
