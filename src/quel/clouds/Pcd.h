// Point clouds in PCD files: ascii, binary and binary_compressed.
//
// Read are the fields x, y and z, of any type, in the sensor's own frame, of a surface also normal_x, normal_y and
// normal_z; other fields, and the viewpoint, are skipped.
#pragma once

#include <string_view>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/clouds/Bytes.h"
#include "quel/clouds/Faces.h"

namespace quel {

/// True for the beginning of a PCD file.
bool looksLikePcd(std::string_view begin);

/// The points of a PCD file, of a surface with their normals. Throws `Error`, which says what is wrong and where: the
/// line of the header or of ascii data, the number of the point in binary data.
Surface readPcd(Bytes& bytes, Parts parts);

}  // namespace quel
