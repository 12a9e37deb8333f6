// Point clouds in PLY files. Input: a file.
//
// Losses: all but x, y and z of the vertices; the sign and the payload of what is no number.
#include <algorithm>

#include "fuzz/support/CloudTrip.h"
#include "quel/clouds/Ply.h"

namespace {

using quel::CloudFormat;
using quelfuzz::Points;

std::string header(const char* format, std::size_t count) {
  return std::string("ply\nformat ") + format + " 1.0\nelement vertex " + std::to_string(count) +
         "\nproperty double x\nproperty double y\nproperty double z\nend_header\n";
}

std::string bigEndianFile(const Points& points) {
  std::string file = header("binary_big_endian", points.size());
  for (const quel::Vec3& point : points) {
    for (const double value : point) {
      char bytes[8];
      std::memcpy(bytes, &value, 8);
      std::reverse(bytes, bytes + 8);
      file.append(bytes, 8);
    }
  }
  return file;
}

std::string littleEndianFile(const Points& points) {
  std::string file = quel::plyHeader({"x", "y", "z"}, points.size());
  for (const quel::Vec3& point : points) file.append(reinterpret_cast<const char*>(point.data()), sizeof point);
  return file;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = quelfuzz::bytesOf(data, size);
  // A point of three bytes is handed out as three doubles.
  const Points points = quelfuzz::pointsOf(bytes, CloudFormat::Ply, quelfuzz::kTimesFile, 40);
  const std::string_view begin = bytes.substr(std::min(bytes.find_first_not_of(" \t\r\v\f"), bytes.size()));
  quelfuzz::require(points.empty() || begin.starts_with("ply"), "a PLY file begins so, blanks aside");
  quelfuzz::requireHolds(littleEndianFile(points), CloudFormat::Ply, points, "points stay in binary");
  quelfuzz::requireHolds(bigEndianFile(points), CloudFormat::Ply, points, "points stay in binary of the other order");
  quelfuzz::requireHolds(header("ascii", points.size()) + quelfuzz::linesOf(points), CloudFormat::Ply, points,
                         "points stay in text");
  return 0;
}
