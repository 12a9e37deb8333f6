// Meshes in OBJ files. Their points are the vertices ("v x y z"), their faces "f" with normals ("vn"); what else such
// files state is skipped.
#pragma once

#include <string_view>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/clouds/Bytes.h"
#include "quel/clouds/Faces.h"

namespace quel {

/// True for the beginning of an OBJ file: statements that are known, and a vertex among them.
bool looksLikeObj(std::string_view begin);

/// The vertices of an OBJ file, of a surface with its faces, and with normals where each vertex has one: by the faces,
/// or as the n-th of as many where no face tells. Throws `Error`, which names the line.
Surface readObj(Bytes& bytes, Parts parts);

}  // namespace quel
