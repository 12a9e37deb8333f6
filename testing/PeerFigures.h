// Figures that programs of the field gave: those that are kept beside the script that asks for them, and fresh ones
// where the programs are installed.
#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include "testing/TempHome.h"

namespace quel::testing {

/// The texts that the script `name`.py of testing/peers writes: the kept one, and what it writes now where it can.
/// `folder` is testing/peers.
inline std::vector<std::string> figuresOfPeers(const std::string& folder, const std::string& name) {
  std::vector<std::string> texts = {readFile(folder + "/" + name + ".json")};
  const TempDir dir;
  const std::string fresh = (dir.path() / "fresh.json").string();
  const std::string command = "/usr/bin/python3 -B " + folder + "/" + name + ".py " + fresh + " 2>/dev/null";
  if (std::system(command.c_str()) == 0) texts.push_back(readFile(fresh));
  return texts;
}

}  // namespace quel::testing
