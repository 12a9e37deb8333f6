// What a file calls a mesh, made one: each place is one vertex, and each triangle stands there once.
#pragma once

#include <string>
#include <vector>

#include "quel/clouds/Surface.h"

namespace queltool {

/// Joins vertices of the same place and drops those that no facet uses, facets with two equal corners, and facets that
/// are there already, with a remark each. Of facets with the same corners in opposite windings both stay. Normals are
/// compared with the windings, and dropped.
void cleanMesh(quel::Surface& surface, std::vector<std::string>& remarks);

}  // namespace queltool
