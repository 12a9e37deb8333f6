// Meshes in OFF files, ascii. Their points are the vertices; normals, colours, textures and faces are skipped.
#pragma once

#include <string_view>
#include <vector>

#include "files/Bytes.h"
#include "files/Values.h"

namespace queltool {

/// True for the beginning of an OFF file of any kind.
bool looksLikeOff(std::string_view begin);

/// The vertices of an OFF file. Throws `Error`, which names the line; also for the kinds that are not read: of other
/// dimensions than three, and binary ones.
std::vector<Vec3> readOff(Bytes& bytes);

}  // namespace queltool
