// The numbers by which a site knows its setups: SetupMap.txt of the home directory.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "quel/base/Result.h"

namespace quel {

#pragma GCC visibility push(default)

/// One line of the map.
struct NumberedSetup {
  std::int32_t number = -1;
  std::int32_t cycle = -1;  ///< -1: none.
  std::string path;         ///< Of the setup's directory.

  bool operator==(const NumberedSetup&) const = default;
};

/// Where the map is kept. Fails when there is no home directory.
Result<std::filesystem::path> setupMapFile();

/// The map in its order; empty where nobody has made one yet. Fails when it is there and cannot be read.
Result<std::vector<NumberedSetup>> setupNumbers();

#pragma GCC visibility pop

}  // namespace quel
