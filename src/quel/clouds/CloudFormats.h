// How a file tells which format of clouds it has, and its reader. Hidden in the library.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "quel/clouds/Bytes.h"
#include "quel/clouds/Cloud.h"
#include "quel/clouds/Surface.h"

namespace quel {

/// The format of the cloud that `bytes` begin with, by their content; where that tells nothing, by `ending`, which the
/// name of the file has (".ply"). Throws `Error` where it is none that is known, with the name of one that is known but
/// not read.
CloudFormat formatOfCloud(Bytes& bytes, const std::string& ending);

/// The points of a cloud in that format; of a text those of `columns`. Coordinates whose unit the content does not tell
/// are taken times `millimetresPerUnit`. Throws `Error`, which says where it is damaged.
std::vector<Vec3> readCloud(Bytes& bytes, CloudFormat format, const CloudColumns& columns = {},
                            double millimetresPerUnit = 1.0);

/// The surface of a file in that format; of a text the columns of the usual names. Throws the same, and where nothing
/// stands there that has a surface.
Surface readSurface(Bytes& bytes, CloudFormat format, double millimetresPerUnit = 1.0);

/// `error` with the line that its cause begins with as its place, and `file`.
Error placed(const Error& error, const std::string& file = {});

}  // namespace quel
