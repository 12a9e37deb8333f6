// Point clouds in PLY files. Input: a file.
//
// Losses: all but x, y and z of the vertices; the sign and the payload of what is no number.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "clouds/Ply.h"
#include "fuzz/support/Fuzzing.h"

namespace {

using Points = std::vector<queltool::Vec3>;

bool isSame(double a, double b) { return std::isnan(a) ? std::isnan(b) : std::memcmp(&a, &b, sizeof a) == 0; }

void requireSame(const std::string& file, const Points& points, const char* claim) {
  const auto again = queltool::parsePly(file);
  quelfuzz::require(again.ok() && again.value().size() == points.size(), claim);
  for (std::size_t i = 0; i < points.size(); ++i) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      quelfuzz::require(isSame(points[i][axis], again.value()[i][axis]), claim);
    }
  }
}

std::string header(const char* format, std::size_t count) {
  return std::string("ply\nformat ") + format + " 1.0\nelement vertex " + std::to_string(count) +
         "\nproperty double x\nproperty double y\nproperty double z\nend_header\n";
}

std::string asciiFile(const Points& points) {
  std::string text = header("ascii", points.size());
  for (const queltool::Vec3& point : points) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      char digits[32];
      text.append(digits, std::to_chars(digits, digits + sizeof digits, point[axis]).ptr);
      text += axis == 2 ? '\n' : ' ';
    }
  }
  return text;
}

std::string bigEndianFile(const Points& points) {
  std::string file = header("binary_big_endian", points.size());
  for (const queltool::Vec3& point : points) {
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
  std::vector<double> rows;
  for (const queltool::Vec3& point : points) rows.insert(rows.end(), point.begin(), point.end());
  return queltool::formatPly({"x", "y", "z"}, rows);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = quelfuzz::bytesOf(data, size);
  const quelfuzz::MemoryWatch watch;
  const auto points = queltool::parsePly(bytes);
  // A point of three bytes is handed out as three doubles.
  watch.requireAtMost(quelfuzz::kTimesFile, 40, size);
  const std::string_view begin = bytes.substr(std::min(bytes.find_first_not_of(" \t\r\v\f"), bytes.size()));
  quelfuzz::require(!points.ok() || begin.starts_with("ply"), "a PLY file begins so, blanks aside");
  quelfuzz::require(points.ok() || !points.error().empty(), "a refused file says why");
  if (!points || points.value().size() > 1000) return 0;
  requireSame(littleEndianFile(points.value()), points.value(), "points stay in binary");
  requireSame(bigEndianFile(points.value()), points.value(), "points stay in binary of the other order");
  requireSame(asciiFile(points.value()), points.value(), "points stay in text");
  return 0;
}
