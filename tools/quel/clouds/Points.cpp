#include "clouds/Points.h"

#include <cmath>
#include <string>

#include "clouds/Ply.h"
#include "files/Failure.h"
#include "files/Files.h"
#include "files/TextRows.h"
#include "files/Transforms.h"
#include "files/WrongUsage.h"

namespace queltool {

namespace {

constexpr std::uintmax_t kMaxFileSize = std::uintmax_t{4} << 30;

void move(std::vector<Vec3>& points, const std::filesystem::path& file) {
  if (file.empty()) return;
  const qmMathTransform transform = readTransform(file);
  for (Vec3& point : points) point = transformed(transform, point);
}

}  // namespace

Result<std::vector<Vec3>> parseTextPoints(std::string_view content, const std::vector<std::string>& chosen) {
  Result<std::vector<Vec3>> points = parseTextRows<3>(content, {{"x", "y", "z"}, "three", true, chosen});
  if (points && points.value().empty()) {
    return Error{"holds no points; give a PLY file, or text with x, y and z in each line"};
  }
  return points;
}

std::vector<Vec3> readPoints(const InputFile& file) {
  const std::string content = readInput(file.name, kMaxFileSize);
  const bool ply = file.format ? *file.format == Format::Ply : looksLikePly(content);
  Result<std::vector<Vec3>> points = ply ? parsePly(content) : parseTextPoints(content, file.columns);
  if (ply && !file.columns.empty())
    throw WrongUsage("--columns", file.name + " is a PLY file, whose points are x, y, z");
  if (!points) throw Failure(file.name + ": " + points.error());
  move(points.value(), file.transform);
  return std::move(points.value());
}

std::size_t removeNotFinite(std::vector<Vec3>& points) {
  return std::erase_if(
      points, [](const Vec3& p) { return !std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2]); });
}

}  // namespace queltool
