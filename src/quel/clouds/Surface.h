// Surfaces: meshes of triangles, and clouds with the directions of their surface.
//
// Facets are read from STL, PLY, OBJ and OFF files, in the order of the file; a face of more corners is cut into
// triangles that share its first corner. Every file that `readCloud` reads has a surface: without facets it is a cloud.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/clouds/Cloud.h"

namespace quel {

#pragma GCC visibility push(default)

/// Places of three vertices, from 0 on.
using Facet = std::array<std::uint32_t, 3>;

/// A surface as its file states it, in the frame of the file and in millimetres (see `ReadSurfaceOptions`); nothing is
/// repaired.
struct Surface {
  std::vector<Vec3> vertices;             ///< Those of `readCloud`. What facets use is finite.
  std::vector<Facet> facets;              ///< Empty for a cloud; all corners are vertices, in the order of the file.
  std::vector<Vec3> vertexNormals;        ///< As stored, of any length: one for each vertex, or none.
  std::vector<Vec3> facetNormals;         ///< As an STL file stores them: one for each facet, or none.
  std::vector<std::string> remarks = {};  ///< What was read otherwise than it seems to stand there, a sentence each.
};

struct ReadSurfaceOptions {
  std::optional<CloudFormat> format = {};  ///< Where nothing is said, content and then name tell.
  double millimetresPerUnit = 1.0;         ///< Of coordinates whose unit the file does not tell.
  std::function<void(std::uint64_t done, std::uint64_t size)> progress = {};  ///< Is told how many bytes were read.
};

/// The surface of a file. Normals of vertices are nx, ny, nz of PLY files and of texts that name their columns,
/// normal_x, normal_y, normal_z of PCD files, and of OBJ files vn where each vertex has one. Fails, with file, place
/// and cause, as `readCloud` does, and where a face has fewer than three corners, a corner that is no vertex, or one
/// whose coordinates are not finite.
Result<Surface> readSurface(const std::filesystem::path& file, const ReadSurfaceOptions& options = {});

/// The same of a content in a format, whose coordinates are taken times `millimetresPerUnit` unless it tells their
/// unit.
Result<Surface> parseSurface(std::string_view content, CloudFormat format, double millimetresPerUnit = 1.0);

/// For each point the index of the first one that lies at the same place, bit by bit; -0 and 0 are the same. There are
/// fewer than 2^32 points.
std::vector<std::uint32_t> firstAtPlace(std::span<const Vec3> points);

#pragma GCC visibility pop

}  // namespace quel
