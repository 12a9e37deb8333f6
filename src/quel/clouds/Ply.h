// Point clouds in PLY files: ascii, binary little-endian and binary big-endian.
//
// Read are the properties x, y and z of the element "vertex", of any scalar type; other properties, lists and elements
// are skipped. Nothing is allocated by a count that the file's own size does not bear out.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/clouds/Bytes.h"

namespace quel {

/// The vertices of a PLY file. Throws `Error`, which says what is wrong and where: the line of the header or of ascii
/// data, the number of the vertex in binary data.
std::vector<Vec3> readPly(Bytes& bytes);

/// The vertices of the PLY file `content`. The error is that of `readPly`.
Result<std::vector<Vec3>> parsePly(std::string_view content);

/// True for the beginning of a PLY file.
bool looksLikePly(std::string_view begin);

}  // namespace quel
