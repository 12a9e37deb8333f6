// Meshes of triangles in STL files, ascii and binary. Their points are the corners, each place once, in the order of
// the file.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/clouds/Bytes.h"
#include "quel/clouds/Faces.h"

namespace quel {

/// True for an STL file of `size` bytes that begins so: ascii by its words, binary by its count of triangles, which its
/// size bears out.
bool looksLikeStl(std::string_view begin, std::uint64_t size);

/// The points of an STL file, of a surface with its triangles and their normals; a normal that is none is 0. Throws
/// `Error`, which says what is wrong and where.
Surface readStl(Bytes& bytes, Parts parts);

}  // namespace quel
