// Meshes in OFF files, ascii. Their points are the vertices; normals, colours and textures are skipped.
#pragma once

#include <string_view>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/clouds/Bytes.h"
#include "quel/clouds/Faces.h"

namespace quel {

/// True for the beginning of an OFF file of any kind.
bool looksLikeOff(std::string_view begin);

/// The vertices of an OFF file, of a surface with its faces. Throws `Error`, which names the line; also for the kinds
/// that are not read: of other dimensions than three, and binary ones.
Surface readOff(Bytes& bytes, Parts parts);

}  // namespace quel
