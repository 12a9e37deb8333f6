// Runs the built tool as a user does, in a folder and a home directory of its own.
#pragma once

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "testing/TempHome.h"

namespace queltool {

inline const std::string kBoard = std::string(QUEL_TEST_DATA) + "/board-three-views.json";

struct Outcome {
  int code;
  std::string out;
  std::string error;
};

class Quel : public ::testing::Test {
 protected:
  Quel() { setenv("QUEL_HOME", path("home").c_str(), 1); }
  ~Quel() override { unsetenv("QUEL_HOME"); }

  std::string path(const std::string& name) const { return (dir_.path() / name).string(); }

  Outcome run(const std::string& arguments) const {
    const std::string command =
        std::string(QUEL_EXECUTABLE) + " " + arguments + " >" + path("out.txt") + " 2>" + path("error.txt");
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, quel::testing::readFile(path("out.txt")),
            quel::testing::readFile(path("error.txt"))};
  }

  // A block of the board's cameras, made by the tool.
  std::string makeBlock(const std::string& more = "") const {
    const Outcome made = run("make-block " + kBoard + " -o " + path("blocks") + " --machine LAB7 --number 12 " + more);
    EXPECT_EQ(made.code, 0) << made.error;
    return path("blocks/LAB7-12.tns");
  }

  nlohmann::json boardFile() const { return nlohmann::json::parse(quel::testing::readFile(kBoard)); }

  quel::testing::TempDir dir_;
};

inline void expectFailure(const Outcome& outcome, const std::string& says) {
  EXPECT_EQ(outcome.code, 1) << outcome.out;
  EXPECT_THAT(outcome.error, ::testing::AllOf(::testing::StartsWith("quel: "), ::testing::HasSubstr(says)));
}

/// The fields of a CSV text, line by line.
inline std::vector<std::vector<std::string>> fieldsOf(const std::string& csv) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(csv);
  for (std::string line; std::getline(lines, line);) {
    rows.emplace_back();
    std::istringstream fields(line + ",");
    for (std::string field; std::getline(fields, field, ',');) rows.back().push_back(field);
  }
  return rows;
}

}  // namespace queltool
