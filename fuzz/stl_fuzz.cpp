// Meshes of triangles in STL files. Input: a file.
//
// Losses: normals, titles, and which places are the corners of one triangle, how often; files with a place that is no
// number, or in binary none of floats, are not written again.
#include <algorithm>
#include <limits>

#include "fuzz/support/CloudTrip.h"

namespace {

using quelfuzz::Points;

// Each point is the three corners of a triangle.
std::string textFile(const Points& points) {
  std::string file = "solid\n";
  for (const quel::Vec3& point : points) {
    const std::string corner = quelfuzz::linesOf({point}, "vertex ");
    file += "facet normal 0 0 0\nouter loop\n" + corner + corner + corner + "endloop\nendfacet\n";
  }
  return file + "endsolid\n";
}

std::string binaryFile(const Points& points) {
  std::string file(80, '\0');
  const auto count = static_cast<std::uint32_t>(points.size());
  file.append(reinterpret_cast<const char*>(&count), sizeof count);
  for (const quel::Vec3& point : points) {
    file.append(12, '\0');
    for (int corner = 0; corner < 3; ++corner) {
      for (const double value : point) {
        const auto rounded = static_cast<float>(value);
        file.append(reinterpret_cast<const char*>(&rounded), sizeof rounded);
      }
    }
    file.append(2, '\0');
  }
  return file;
}

bool isFloat(double value) {
  return std::isinf(value) || (std::abs(value) <= static_cast<double>(std::numeric_limits<float>::max()) &&
                               static_cast<double>(static_cast<float>(value)) == value);
}

bool areFloats(const Points& points) {
  return std::all_of(points.begin(), points.end(),
                     [](const quel::Vec3& point) { return std::all_of(point.begin(), point.end(), isFloat); });
}

bool areNumbers(const Points& points) {
  return std::none_of(points.begin(), points.end(), [](const quel::Vec3& point) {
    return std::any_of(point.begin(), point.end(), [](double value) { return std::isnan(value); });
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = quelfuzz::bytesOf(data, size);
  const Points points = quelfuzz::pointsOf(bytes, quel::CloudFormat::Stl, quelfuzz::kTimesFile, 40);
  // Numbers beyond the range of a float have no file in binary; what is no number may be many bit by bit.
  if (!areNumbers(points)) return 0;
  quelfuzz::requireHolds(textFile(points), quel::CloudFormat::Stl, points, "points stay in text");
  if (areFloats(points)) {
    quelfuzz::requireHolds(binaryFile(points), quel::CloudFormat::Stl, points, "points stay in binary");
  }
  return 0;
}
