// Point clouds and meshes in PLY files: ascii, binary little-endian and binary big-endian.
//
// Read are the properties x, y and z of the element "vertex", of any scalar type; of a surface also nx, ny and nz, and
// the lists vertex_indices or vertex_index of the element "face". Other properties, lists and elements are skipped.
// Nothing is allocated by a count that the file's own size does not bear out.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/clouds/Bytes.h"
#include "quel/clouds/Faces.h"

namespace quel {

/// The vertices of a PLY file, or all of its surface. Throws `Error`, which says what is wrong and where: the line of
/// the header or of ascii data, the number of the vertex or face in binary data.
Surface readPly(Bytes& bytes, Parts parts);

/// The vertices of the PLY file `content` alone. The error is that of `readPly`.
Result<std::vector<Vec3>> parsePly(std::string_view content);

/// True for the beginning of a PLY file.
bool looksLikePly(std::string_view begin);

}  // namespace quel
