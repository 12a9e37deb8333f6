// Lists of points, read from files of clouds or from standard input.
#pragma once

#include <cstddef>
#include <vector>

#include "files/FileUses.h"
#include "files/Values.h"

namespace queltool {

/// The formats of clouds that are read, in the order in which messages name them.
const std::vector<Format>& cloudFormats();

/// The points of `file` in millimetres, moved by its transform (see quel/clouds/Cloud.h). Throws `Failure` with the
/// file's name and what is wrong.
std::vector<Vec3> readPoints(const InputFile& file);

/// Removes the points with a coordinate that is no finite number; returns how many.
std::size_t removeNotFinite(std::vector<Vec3>& points);

}  // namespace queltool
