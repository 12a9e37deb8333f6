// Lists of points, read from PLY files or text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "files/FileUses.h"
#include "files/Values.h"

namespace queltool {

/// The points of `file`, moved by its transform: a PLY file (see Ply.h) or text. Throws `Failure` with the file's name
/// and what is wrong.
std::vector<Vec3> readPoints(const InputFile& file);

/// Removes the points with a coordinate that is no finite number; returns how many.
std::size_t removeNotFinite(std::vector<Vec3>& points);

/// The points of a text (see TextRows.h): the columns x, y and z, lengths of any unit that is known, or the first three
/// where the text has no names; or those that are `chosen`. The error names the line.
Result<std::vector<Vec3>> parseTextPoints(std::string_view content, const std::vector<std::string>& chosen = {});

}  // namespace queltool
