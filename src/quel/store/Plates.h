// The table of calibration plates that a site works with: blocks.ini of the home directory, which calls them blocks.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "quel/base/Result.h"

namespace quel {

#pragma GCC visibility push(default)

/// One plate of the table.
struct Plate {
  std::string name;
  std::vector<int> lenses;       ///< Focal lengths that it serves, millimetres.
  std::uint32_t targetType = 0;  ///< Which kind of targets it bears.
  double expansion = 0.0;        ///< Coefficient of thermal expansion, per degree.
  std::string mapFile;           ///< Of its measured targets; empty where it has none.
  bool active = false;           ///< The one that calibrations take.
};

/// Where the table is kept. Fails when there is no home directory.
Result<std::filesystem::path> plateFile();

/// The plates in the order of the table; none where nobody has made one yet. Fails when the table cannot be read, or
/// names more plates than it has.
Result<std::vector<Plate>> plates();

#pragma GCC visibility pop

}  // namespace quel
