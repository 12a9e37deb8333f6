// The calibration board of the demonstration: its corners and where three cameras saw them.
#pragma once

#include <array>
#include <filesystem>
#include <vector>

#include "files/Values.h"

namespace queltool {

struct Corner {
  Vec3 board;                  ///< On the board, millimetres.
  bool check;                  ///< No estimate has seen it.
  std::array<Vec2, 3> pixels;  ///< As measured, distorted, per camera.
};

/// The corners in a board file. Throws `Failure` with the file's name and what is wrong.
std::vector<Corner> readCorners(const std::filesystem::path& file);

}  // namespace queltool
