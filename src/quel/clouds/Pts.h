// Scans in PTS files: the count of points in a line of its own, then each point in a line, x, y and z first; there may
// be several such scans one behind the other.
#pragma once

#include <string_view>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/clouds/Bytes.h"
#include "quel/clouds/Faces.h"

namespace quel {

/// True for the beginning of a PTS file.
bool looksLikePts(std::string_view begin);

/// The points of all scans of a PTS file, which has no more parts. Throws `Error`, which names the line.
Surface readPts(Bytes& bytes, Parts parts);

}  // namespace quel
