// Every wrong input that the documentation tells of is answered as it stands there.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "commands/tool_fixture.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::HasSubstr;

struct Row {
  std::string input;  // What the file named "input" holds.
  std::string arguments;
  int code;
  std::string message;
};

// What a cell holds between its first and last backtick.
std::string inTicks(const std::string& cell) {
  const std::size_t begin = cell.find('`');
  const std::size_t end = cell.rfind('`');
  return begin == end ? "" : cell.substr(begin + 1, end - begin - 1);
}

// Escapes stand for what a table cannot hold: \n, \t and \xHH.
std::string unescaped(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      result += text[i];
    } else if (text[++i] == 'x') {
      result += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      result += text[i] == 'n' ? '\n' : '\t';
    }
  }
  return result;
}

std::vector<Row> rowsOf(const std::string& file) {
  std::vector<Row> rows;
  std::istringstream text(readFile(file));
  for (std::string line; std::getline(text, line);) {
    if (line.find("| `quel ") == std::string::npos) continue;
    std::vector<std::string> cells;
    std::istringstream fields(line.substr(1));
    for (std::string cell; std::getline(fields, cell, '|');) cells.push_back(cell);
    EXPECT_EQ(cells.size(), 4u) << line;
    rows.push_back({unescaped(inTicks(cells[0])), inTicks(cells[1]).substr(5), std::stoi(cells[2]), inTicks(cells[3])});
  }
  return rows;
}

class Inputs : public Quel {
 protected:
  Inputs() {
    fs::copy_file(makeBlock(), path("block.tns"));
    fs::copy_file(std::string(QUEL_TEST_DATA) + "/scan-20k.ply", path("scan.ply"));
    fs::copy_file(kBoard, path("cameras.json"));
    before_ = fs::current_path();
    fs::current_path(dir_.path());
  }
  ~Inputs() override { fs::current_path(before_); }

  // What the folder holds besides what the tests themselves write.
  std::string state() const {
    std::string text;
    for (const char* file : {"block.tns", "scan.ply", "cameras.json", "input"}) text += readFile(path(file)) + '\0';
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir_.path())) names.push_back(entry.path().filename().string());
    std::erase(names, "home");  // Where the log is.
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) text += name + '\n';
    return text;
  }

 private:
  fs::path before_;
};

TEST_F(Inputs, AreAnsweredAsTheTableSays) {
  const std::vector<Row> rows = rowsOf(QUEL_INPUTS);
  EXPECT_GT(rows.size(), 20u);
  writeFile(path("out.txt"), "");
  writeFile(path("error.txt"), "");
  for (const Row& row : rows) {
    writeFile(path("input"), row.input);
    const std::string before = state();
    const Outcome outcome = run(row.arguments);
    EXPECT_EQ(outcome.code, row.code) << row.arguments << "\n" << row.input << "\n" << outcome.out;
    EXPECT_THAT(outcome.error, HasSubstr(row.message)) << row.arguments << "\n" << row.input;
    EXPECT_EQ(state() == before, true) << row.arguments << " changed a file";
  }
}

}  // namespace
}  // namespace queltool
