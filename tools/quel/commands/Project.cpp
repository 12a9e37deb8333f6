// `quel project`: where the cameras of a block see the points of a file.
#include <fmt/core.h>

#include <cmath>
#include <limits>
#include <memory>

#include "commands/Cloud.h"
#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/NumberTable.h"
#include "files/Points.h"
#include "files/Progress.h"
#include "models/Block.h"
#include "quelcore/tensor/qmReconsTensorCore.h"

namespace queltool {

namespace {

struct Arguments {
  std::string block;
  InputFile points;
  OutputFile out;
  std::int32_t mode = PROJECT_EXACT;
  std::int32_t camera = -1;
};

constexpr double kNotSeen = std::numeric_limits<double>::quiet_NaN();

std::vector<std::int32_t> camerasOf(const Arguments& arguments) {
  if (arguments.camera >= 0) return {arguments.camera};
  return {0, 1, 2};
}

struct Projected {
  NumberTable table;              // x y z and two for each camera; NaN where a point does not project.
  std::vector<std::size_t> seen;  // Points that project, per camera.
};

Vec2 project(const QmReconsTensor& block, const Vec3& point, std::int32_t camera, _ProjectDistortMode mode) {
  double pixel[2] = {kNotSeen, kNotSeen};
  const bool projected = qmRTProjectPointtoImage(block, point.data(), camera, mode, pixel) == 1;
  if (!projected || !std::isfinite(pixel[0]) || !std::isfinite(pixel[1])) return {kNotSeen, kNotSeen};
  return {pixel[0], pixel[1]};
}

Projected projectAll(const QmReconsTensor& block, const std::vector<Vec3>& points, const Arguments& arguments) {
  const std::vector<std::int32_t> cameras = camerasOf(arguments);
  Projected result{{{"x", "y", "z"}, {}}, std::vector<std::size_t>(cameras.size(), 0)};
  auto& [names, rows] = result.table;
  for (const std::int32_t camera : cameras) {
    names.push_back(fmt::format("x{}", camera));
    names.push_back(fmt::format("y{}", camera));
  }
  rows.reserve(points.size() * names.size());
  Progress progress("projecting", points.size());
  for (std::size_t n = 0; n < points.size(); ++n) {
    rows.insert(rows.end(), points[n].begin(), points[n].end());
    for (std::size_t i = 0; i < cameras.size(); ++i) {
      const Vec2 pixel = project(block, points[n], cameras[i], static_cast<_ProjectDistortMode>(arguments.mode));
      rows.insert(rows.end(), pixel.begin(), pixel.end());
      if (!std::isnan(pixel[0])) ++result.seen[i];
    }
    progress.show(n + 1);
  }
  return result;
}

void run(const Arguments& arguments) {
  const auto block = loadBlock(arguments.block);
  if (block->projectionsValid != 1) {
    throw Failure(arguments.block + ": holds no projections; the head must be calibrated anew");
  }
  const std::vector<Vec3> points = readPoints(arguments.points);
  const Projected projected = projectAll(*block, points, arguments);
  writeTable(projected.table, arguments.out);
  if (!arguments.out.isGiven()) return;
  std::FILE* const where = wordsBeside(arguments.out);
  fmt::print(where, "{}: {} points, projected into", arguments.out.name, points.size());
  const std::vector<std::int32_t> cameras = camerasOf(arguments);
  for (std::size_t i = 0; i < cameras.size(); ++i) fmt::print(where, " camera {}: {}", cameras[i], projected.seen[i]);
  fmt::print(where, "\n");
}

}  // namespace

void defineProject(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  command.input("BLOCK", arguments->block, "Tensor file of the block (.tns)").required();
  addCloud(command, "POINTS", arguments->points);
  command.output("-o,--out", arguments->out, "CSV or PLY file, as its name ends; else CSV on the terminal",
                 {Format::Csv, Format::Ply});
  command
      .option("--mode", arguments->mode,
              "Distortion: 0 none, 1 exact, 2 fast, 3 exact or else without depth, 4 fast without depth")
      .within(0, 4)
      .showDefault();
  command.option("--camera", arguments->camera, "Only this camera: 0, 1 or 2").within(0, 2);
  command.footer(
      "\nPoints are in the head's world frame, in millimetres; pixels count from the centre of the top-left pixel. A "
      "point\n"
      "that does not project has empty fields in CSV and NaN in PLY. Points outside the image are projected as "
      "well.\n\n"
      "Example:\n  quel project blocks/LAB00001-12.tns scan.ply --mode 1 -o pixels.csv");
  command.runs(arguments, run);
}

}  // namespace queltool
