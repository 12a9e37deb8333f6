// Faces and normals of meshes and clouds. Input: a file of any format, which its content tells.
//
// Losses: faces of more than three corners; vertices that no face uses where they are no numbers.
#include <algorithm>
#include <cmath>

#include "fuzz/support/CloudTrip.h"
#include "quel/clouds/Surface.h"

namespace {

using quel::Facet;
using quel::Surface;

// Those that a face uses.
bool areFinite(const Surface& surface) {
  return std::all_of(surface.facets.begin(), surface.facets.end(), [&surface](const Facet& facet) {
    return std::all_of(facet.begin(), facet.end(), [&surface](std::uint32_t corner) {
      const quel::Vec3& p = surface.vertices[corner];
      return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
    });
  });
}

void requireSound(const Surface& surface) {
  const std::size_t vertices = surface.vertices.size();
  quelfuzz::require(vertices != 0, "a surface has points");
  for (const Facet& each : surface.facets) {
    quelfuzz::require(*std::max_element(each.begin(), each.end()) < vertices, "corners are vertices");
  }
  quelfuzz::require(areFinite(surface), "corners are finite");
  quelfuzz::require(surface.vertexNormals.empty() || surface.vertexNormals.size() == vertices, "a normal a vertex");
  quelfuzz::require(surface.facetNormals.empty() || surface.facetNormals.size() == surface.facets.size(),
                    "a normal a facet");
}

std::string plyOf(const Surface& surface) {
  std::string file = "ply\nformat ascii 1.0\nelement vertex " + std::to_string(surface.vertices.size()) +
                     "\nproperty double x\nproperty double y\nproperty double z\nelement face " +
                     std::to_string(surface.facets.size()) + "\nproperty list int int vertex_index\nend_header\n" +
                     quelfuzz::linesOf(surface.vertices);
  for (const Facet& each : surface.facets) {
    file += "3 " + std::to_string(each[0]) + " " + std::to_string(each[1]) + " " + std::to_string(each[2]) + "\n";
  }
  return file;
}

std::string objOf(const Surface& surface) {
  std::string file = quelfuzz::linesOf(surface.vertices, "v ");
  const auto count = static_cast<long>(surface.vertices.size());
  for (const Facet& each : surface.facets) {
    file += "f " + std::to_string(each[0] + 1) + "// " + std::to_string(each[1] + 1) + " " +
            std::to_string(static_cast<long>(each[2]) - count) + "\n";
  }
  return file;
}

void requireHolds(const std::string& file, quel::CloudFormat format, const Surface& surface) {
  const auto again = quel::parseSurface(file, format);
  quelfuzz::require(again.ok() && again->facets == surface.facets, "faces stay");
  quelfuzz::requireSame(surface.vertices, again->vertices, "vertices stay");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = quelfuzz::bytesOf(data, size);
  const auto format = quelfuzz::formatOf(bytes, ".stl");
  if (!format) return 0;
  const quelfuzz::MemoryWatch watch;
  const auto surface = quel::parseSurface(bytes, *format);
  watch.requireAtMost(quelfuzz::kTimesFile, 60, bytes.size());
  if (!surface) {
    quelfuzz::require(!surface.error().cause.empty(), "a refused file says why");
    return 0;
  }
  requireSound(*surface);
  const auto points = quel::parseCloud(bytes, *format);
  quelfuzz::require(points.ok(), "what has a surface has points");
  quelfuzz::requireSame(points.value(), surface->vertices, "a surface has the points of the cloud");
  if (surface->vertices.size() > 1000 || surface->facets.size() > 1000) return 0;
  requireHolds(plyOf(*surface), quel::CloudFormat::Ply, *surface);
  requireHolds(objOf(*surface), quel::CloudFormat::Obj, *surface);
  return 0;
}
