// Meshes in OBJ files. Their points are the vertices ("v x y z"); what else such files state is skipped.
#pragma once

#include <string_view>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/clouds/Bytes.h"

namespace quel {

/// True for the beginning of an OBJ file: statements that are known, and a vertex among them.
bool looksLikeObj(std::string_view begin);

/// The vertices of an OBJ file. Throws `Error`, which names the line.
std::vector<Vec3> readObj(Bytes& bytes);

}  // namespace quel
