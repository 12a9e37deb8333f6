// Point clouds in PCD files. Input: a file.
//
// Losses: all but x, y and z of the points; the viewpoint and how many rows they stand in; the sign and the payload of
// what is no number.
#include <lzf.h>

#include "fuzz/support/CloudTrip.h"

namespace {

using quelfuzz::Points;

std::string header(std::size_t count, const char* form) {
  return "VERSION .7\nFIELDS x y z\nSIZE 8 8 8\nTYPE F F F\nPOINTS " + std::to_string(count) + "\nDATA " + form + "\n";
}

std::string bytesOf(const void* data, std::size_t size) { return {static_cast<const char*>(data), size}; }

std::string binaryFile(const Points& points) {
  return header(points.size(), "binary") + (points.empty() ? "" : bytesOf(points.data(), 24 * points.size()));
}

std::string compressedFile(const Points& points) {
  std::string columns;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    for (const quel::Vec3& point : points) columns += bytesOf(&point[axis], 8);
  }
  std::string packed(2 * columns.size() + 64, '\0');
  const auto size = static_cast<std::uint32_t>(columns.size());
  const std::uint32_t packedSize =
      size == 0 ? 0 : lzf_compress(columns.data(), size, packed.data(), static_cast<unsigned>(packed.size()));
  return header(points.size(), "binary_compressed") + bytesOf(&packedSize, 4) + bytesOf(&size, 4) +
         packed.substr(0, packedSize);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Three packed bytes may be 264, and a point of three bytes is handed out as three doubles.
  const Points points = quelfuzz::pointsOf(quelfuzz::bytesOf(data, size), quel::CloudFormat::Pcd, 92, 720);
  quelfuzz::requireHolds(header(points.size(), "ascii") + quelfuzz::linesOf(points), quel::CloudFormat::Pcd, points,
                         "points stay in text");
  quelfuzz::requireHolds(binaryFile(points), quel::CloudFormat::Pcd, points, "points stay in binary");
  quelfuzz::requireHolds(compressedFile(points), quel::CloudFormat::Pcd, points, "points stay when they are packed");
  return 0;
}
