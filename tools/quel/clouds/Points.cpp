#include "clouds/Points.h"

#include <cmath>
#include <string>

#include "clouds/CloudFormats.h"
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

std::vector<Vec3> readTextPoints(Bytes& bytes, const std::vector<std::string>& chosen) {
  std::vector<Vec3> points = readTextRows<3>(bytes, {{"x", "y", "z"}, "three", true, chosen});
  if (points.empty()) throw Error{"holds no points; give a PLY file, or text with x, y and z in each line"};
  return points;
}

std::vector<Vec3> readFormat(const InputFile& file, Bytes& bytes) {
  const Format format = file.format ? *file.format : formatOfCloud(bytes, endingOf(file.name));
  if (isText(format)) return readTextPoints(bytes, file.columns);
  std::vector<Vec3> points = readCloud(bytes, format);
  if (file.columns.empty()) return points;
  throw WrongUsage("--columns", file.name + " is " + titleOf(format) + ", whose points are x, y, z");
}

}  // namespace

Result<std::vector<Vec3>> parseTextPoints(std::string_view content, const std::vector<std::string>& chosen) try {
  Bytes bytes(content);
  return readTextPoints(bytes, chosen);
} catch (const Error& error) {
  return error;
}

std::vector<Vec3> readPoints(const InputFile& file) try {
  Bytes bytes = openInput(file.name, kMaxFileSize);
  std::vector<Vec3> points = readFormat(file, bytes);
  move(points, file.transform);
  return points;
} catch (const Error& error) {
  throw Failure(file.name + ": " + error.cause);
}

std::size_t removeNotFinite(std::vector<Vec3>& points) {
  return std::erase_if(
      points, [](const Vec3& p) { return !std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2]); });
}

}  // namespace queltool
