// Meshes of triangles in STL files, ascii and binary. Their points are the corners, each place once, in the order of
// the file.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/clouds/Bytes.h"

namespace quel {

/// True for an STL file of `size` bytes that begins so: ascii by its words, binary by its count of triangles, which its
/// size bears out.
bool looksLikeStl(std::string_view begin, std::uint64_t size);

/// The points of an STL file. Throws `Error`, which says what is wrong and where.
std::vector<Vec3> readStl(Bytes& bytes);

}  // namespace quel
