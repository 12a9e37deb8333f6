// Meshes in OFF files, ascii. Their points are the vertices; normals, colours, textures and faces are skipped.
#pragma once

#include <string_view>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/clouds/Bytes.h"

namespace quel {

/// True for the beginning of an OFF file of any kind.
bool looksLikeOff(std::string_view begin);

/// The vertices of an OFF file. Throws `Error`, which names the line; also for the kinds that are not read: of other
/// dimensions than three, and binary ones.
std::vector<Vec3> readOff(Bytes& bytes);

}  // namespace quel
