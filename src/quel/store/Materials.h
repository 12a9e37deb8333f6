// Material files: for each pair of optical head and lens the materials and their parameters.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "quel/base/Result.h"

namespace quel {

#pragma GCC visibility push(default)

/// One row of a material file. What the parameters mean is settled by who uses them.
struct Material {
  std::int32_t head = 0;  ///< Number of the optical head.
  std::int32_t lens = 0;  ///< Number of the lens.
  std::string name;
  std::array<double, 3> values{};
  std::int32_t number = 0;

  bool operator==(const Material&) const = default;
};

/// The rows of `file`, ordered by head, lens and name. Fails, with file, place and cause, when it is no material file,
/// ends too early, or something in it would be read otherwise than it stands there.
Result<std::vector<Material>> readMaterials(const std::filesystem::path& file);

/// Writes a material file; what is there is replaced as a whole. Numbers keep six significant digits. Fails, with
/// nothing written, when two rows have one head, lens and name, when a name is empty, no UTF-8, or holds a semicolon or
/// white space other than blanks, or when a number is not finite; and when `file` cannot be written.
Result<void> writeMaterials(const std::filesystem::path& file, const std::vector<Material>& materials);

#pragma GCC visibility pop

}  // namespace quel
