// Figures that programs of the field gave: those that are kept beside the script that asks for them, and fresh ones
// where the programs are installed.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "testing/TempHome.h"

namespace quel::testing {

/// Runs the script `name`.py of testing/peers, whose folder is `folder`. False where the programs that it asks are not
/// installed; any other end of it than its success fails the test.
inline bool askPeers(const std::string& folder, const std::string& name, const std::string& arguments) {
  constexpr int kNoPeers = 77, kNoPython = 127;
  const int status = std::system(("/usr/bin/python3 -B " + folder + "/" + name + ".py " + arguments + " 2>&1").c_str());
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  EXPECT_TRUE(code == 0 || code == kNoPeers || code == kNoPython) << name << ".py ends with " << code;
  return code == 0;
}

/// The texts that the script writes: the kept one, and what it writes now where the programs are.
inline std::vector<std::string> figuresOfPeers(const std::string& folder, const std::string& name) {
  std::vector<std::string> texts = {readFile(folder + "/" + name + ".json")};
  const TempDir dir;
  const std::string fresh = (dir.path() / "fresh.json").string();
  if (askPeers(folder, name, fresh)) texts.push_back(readFile(fresh));
  return texts;
}

}  // namespace quel::testing
