#include "quel/clouds/Pts.h"

#include <fmt/core.h>

#include "quel/clouds/TextLines.h"

namespace quel {

namespace {

bool isCount(std::string_view word) { return !word.empty() && word.find_first_not_of("0123456789") == word.npos; }

Vec3 pointOf(TextLines& lines, std::uint64_t n, std::uint64_t all) try {
  if (!lines.next()) throw Error{"the file ends in front of it"};
  const double x = lines.number(), y = lines.number(), z = lines.number();
  return {x, y, z};
} catch (const Error& bad) {
  lines.fail(fmt::format("point {} of {}: {}", n, all, bad.cause));
}

void readScan(TextLines& lines, std::vector<Vec3>& points) {
  constexpr std::uint64_t kLeastSize = 6;  // Three digits and what stands behind each.
  const std::uint64_t count = lines.count("points");
  if (!lines.atEnd()) lines.fail(fmt::format("must be a count of points alone, and is \"{}\"", shown(lines.whole())));
  if (count > lines.left() / kLeastSize) {
    lines.fail(fmt::format("tells of {} points, more than the file can hold", count));
  }
  if (points.empty()) points.reserve(count);
  for (std::uint64_t n = 0; n < count; ++n) points.push_back(pointOf(lines, n, count));
}

}  // namespace

bool looksLikePts(std::string_view begin) try {
  Bytes bytes(begin);
  TextLines lines(bytes);
  if (!lines.next() || !isCount(lines.word()) || !lines.atEnd() || !lines.next()) return false;
  for (int axis = 0; axis < 3; ++axis) lines.number();
  return true;
} catch (const Error&) {
  return false;
}

Surface readPts(Bytes& bytes, Parts) {
  Surface surface;
  TextLines lines(bytes);
  while (lines.next()) readScan(lines, surface.vertices);
  if (surface.vertices.empty()) throw Error{"holds no points"};
  return surface;
}

}  // namespace quel
