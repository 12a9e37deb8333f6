#include "clouds/Points.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "files/Failure.h"
#include "files/Files.h"
#include "files/Progress.h"
#include "files/Transforms.h"
#include "files/WrongUsage.h"
#include "quel/clouds/Cloud.h"

namespace queltool {

namespace {

constexpr std::uintmax_t kMaxFileSize = std::uintmax_t{4} << 30;

void move(std::vector<Vec3>& points, const std::filesystem::path& file) {
  if (file.empty()) return;
  const qmMathTransform transform = readTransform(file);
  for (Vec3& point : points) point = transformed(transform, point);
}

template <typename T>
T valueOf(const InputFile& file, Result<T> result) {
  if (result) return std::move(result.value());
  const Error& error = result.error();
  throw Failure(file.name + ": " + (error.place.empty() ? "" : error.place + ": ") + error.cause);
}

std::optional<quel::CloudFormat> formatOf(const InputFile& file) {
  if (!file.format) return std::nullopt;
  const std::vector<Format>& own = cloudFormats();
  return quel::cloudFormats()[static_cast<std::size_t>(std::find(own.begin(), own.end(), *file.format) - own.begin())];
}

void refuseColumns(const InputFile& file, quel::CloudFormat format) {
  if (file.columns.empty() || isText(format)) return;
  throw WrongUsage("--columns", file.name + " is " + titleOf(format) + ", whose points are x, y, z");
}

quel::CloudColumns columnsOf(const InputFile& file) { return {file.columns, "--columns"}; }

// A pipe can be read but once, so that it is in memory as a whole.
bool isStream(const std::string& name) {
  std::error_code unknown;
  return name == "-" || std::filesystem::is_fifo(name, unknown);
}

std::vector<Vec3> readStream(const InputFile& file) {
  const std::string content = readInput(file.name, kMaxFileSize);
  const std::optional<quel::CloudFormat> said = formatOf(file);
  const quel::CloudFormat format =
      said ? *said : valueOf(file, quel::cloudFormatOf(content, content.size(), endingOf(file.name)));
  refuseColumns(file, format);
  return valueOf(file, quel::parseCloud(content, format, columnsOf(file), file.millimetresPerUnit));
}

std::vector<Vec3> readFile(const InputFile& file) {
  refuseLarger(file.name, kMaxFileSize);
  std::optional<quel::CloudFormat> format = formatOf(file);
  if (!format && !file.columns.empty()) format = valueOf(file, quel::cloudFormatOf(std::filesystem::path(file.name)));
  if (format) refuseColumns(file, *format);
  std::unique_ptr<Progress> progress;
  const auto show = [&](std::uint64_t done, std::uint64_t size) {
    if (!progress) {
      progress = std::make_unique<Progress>("reading " + std::filesystem::path(file.name).filename().string(), size);
    }
    progress->show(done);
  };
  return valueOf(file, quel::readCloud(file.name, {format, columnsOf(file), file.millimetresPerUnit, show}));
}

}  // namespace

const std::vector<Format>& cloudFormats() {
  static const std::vector<Format> kAll = {Format::Ply, Format::Csv, Format::Pcd, Format::Stl,
                                           Format::Obj, Format::Off, Format::Pts, Format::Xyz};
  return kAll;
}

std::vector<Vec3> readPoints(const InputFile& file) {
  std::vector<Vec3> points = isStream(file.name) ? readStream(file) : readFile(file);
  move(points, file.transform);
  return points;
}

std::size_t removeNotFinite(std::vector<Vec3>& points) {
  return std::erase_if(
      points, [](const Vec3& p) { return !std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2]); });
}

}  // namespace queltool
