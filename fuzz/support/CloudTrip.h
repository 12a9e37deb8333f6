// What the targets of clouds have in common: points are written in the target's format and read again.
#pragma once

#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/support/Fuzzing.h"
#include "quel/clouds/CloudFormats.h"

namespace quelfuzz {

using Points = std::vector<quel::Vec3>;

/// Equal to the bit, but for the sign and the payload of what is no number.
inline bool isSame(double a, double b) { return std::isnan(a) ? std::isnan(b) : std::memcmp(&a, &b, sizeof a) == 0; }

inline void requireSame(const Points& points, const Points& again, const char* claim) {
  require(again.size() == points.size(), claim);
  for (std::size_t i = 0; i < points.size(); ++i) {
    for (std::size_t axis = 0; axis < 3; ++axis) require(isSame(points[i][axis], again[i][axis]), claim);
  }
}

/// What the door for all clouds takes a content for; nothing where it refuses it.
inline std::optional<quel::CloudFormat> formatOf(std::string_view content, const std::string& ending) try {
  quel::Bytes bytes(content);
  return quel::formatOfCloud(bytes, ending);
} catch (const quel::Error& error) {
  require(!error.cause.empty(), "a refused file says why");
  return std::nullopt;
}

/// Requires that `file` holds `points` and nothing else, and is known for what it is if there are any.
inline void requireHolds(const std::string& file, quel::CloudFormat format, const Points& points, const char* claim) {
  require(points.empty() || formatOf(file, ".txt") == format, "a file is known by its content");
  const auto again = quel::parseCloud(file, format);
  require(again.ok(), claim);
  requireSame(points, again.value(), claim);
}

/// The points as lines of numbers that read back as the same, each line behind `begin`.
inline std::string linesOf(const Points& points, const std::string& begin = "") {
  std::string text;
  for (const quel::Vec3& point : points) {
    text += begin;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      char digits[32];
      text.append(digits, std::to_chars(digits, digits + sizeof digits, point[axis]).ptr);
      text += axis == 2 ? '\n' : ' ';
    }
  }
  return text;
}

/// What every target of clouds asks of its reader: memory that the file bears out, and a reason where it is refused.
/// Returns the points of a file that was read and is small enough to be written again.
inline Points pointsOf(std::string_view bytes, quel::CloudFormat format, std::size_t timesFile,
                       std::size_t timesRecords) {
  const MemoryWatch watch;
  auto points = quel::parseCloud(bytes, format);
  watch.requireAtMost(timesFile, timesRecords, bytes.size());
  require(points.ok() || !points.error().cause.empty(), "a refused file says why");
  formatOf(bytes, std::string(".") + quel::nameOf(format));
  return points && points.value().size() <= 1000 ? std::move(points.value()) : Points{};
}

}  // namespace quelfuzz
