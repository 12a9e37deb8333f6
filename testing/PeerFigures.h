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

/// The texts that the script `name`.py of testing/peers writes: the kept one, and what it writes now where the programs
/// are. `folder` is testing/peers.
inline std::vector<std::string> figuresOfPeers(const std::string& folder, const std::string& name) {
  constexpr int kNoPeers = 77, kNoPython = 127;
  std::vector<std::string> texts = {readFile(folder + "/" + name + ".json")};
  const TempDir dir;
  const std::string fresh = (dir.path() / "fresh.json").string();
  const int status = std::system(("/usr/bin/python3 -B " + folder + "/" + name + ".py " + fresh + " 2>&1").c_str());
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  if (code == 0) texts.push_back(readFile(fresh));
  EXPECT_TRUE(code == 0 || code == kNoPeers || code == kNoPython) << name << ".py ends with " << code;
  return texts;
}

}  // namespace quel::testing
