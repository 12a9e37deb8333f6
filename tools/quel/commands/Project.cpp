// `quel project`: where the cameras of a block see the points of a file.
#include <fmt/core.h>

#include <cmath>
#include <limits>
#include <memory>

#include "clouds/NumberTable.h"
#include "clouds/Points.h"
#include "commands/Cloud.h"
#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/Progress.h"
#include "models/Block.h"
#include "models/Sight.h"

namespace queltool {

namespace {

struct Arguments {
  std::string block;
  InputFile points;
  OutputFile out;
  std::int32_t mode = PROJECT_EXACT;
  std::int32_t camera = -1;
};

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

std::vector<std::int32_t> camerasOf(const Arguments& arguments) {
  if (arguments.camera >= 0) return {arguments.camera};
  return {0, 1, 2};
}

// How many points lie where for one camera.
struct Tally {
  std::size_t inImage = 0;
  std::size_t outside = 0;
  std::size_t behind = 0;
  std::size_t unknown = 0;

  void add(Place place) {
    ++(place == Place::InImage   ? inImage
       : place == Place::Outside ? outside
       : place == Place::Behind  ? behind
                                 : unknown);
  }
  std::string text() const {
    const std::string known = fmt::format("{} in the image, {} outside, {} behind", inImage, outside, behind);
    return unknown == 0 ? known : known + fmt::format(", {} of unknown place", unknown);
  }
};

struct Projected {
  NumberTable table;  // x y z, a pixel for each camera and a place for each.
  std::vector<Tally> tallies;
};

std::vector<std::string> columnNames(const std::vector<std::int32_t>& cameras) {
  std::vector<std::string> names = {"x", "y", "z"};
  for (const std::int32_t camera : cameras) {
    names.push_back(fmt::format("x{}", camera));
    names.push_back(fmt::format("y{}", camera));
  }
  for (const std::int32_t camera : cameras) names.push_back(fmt::format("place{}", camera));
  return names;
}

void addRow(Projected& result, const std::vector<Eye>& eyes, const Vec3& point) {
  std::vector<double>& rows = result.table.values;
  rows.insert(rows.end(), point.begin(), point.end());
  double places[3] = {};
  for (std::size_t i = 0; i < eyes.size(); ++i) {
    const Sight sight = eyes[i].see(point);
    rows.insert(rows.end(), sight.pixel.begin(), sight.pixel.end());
    places[i] = sight.place == Place::Unknown ? kNone : static_cast<double>(sight.place);
    result.tallies[i].add(sight.place);
  }
  rows.insert(rows.end(), places, places + eyes.size());
}

Projected projectAll(const QmReconsTensor& block, const std::vector<Vec3>& points, const Arguments& arguments) {
  const std::vector<std::int32_t> cameras = camerasOf(arguments);
  std::vector<Eye> eyes;
  for (const std::int32_t camera : cameras) {
    eyes.emplace_back(block, camera, static_cast<_ProjectDistortMode>(arguments.mode));
  }
  Projected result{{columnNames(cameras), {}}, std::vector<Tally>(cameras.size())};
  result.table.values.reserve(points.size() * result.table.names.size());
  Progress progress("projecting", points.size());
  for (std::size_t n = 0; n < points.size(); ++n) {
    addRow(result, eyes, points[n]);
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
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    fmt::print(where, "{} camera {}: {}", i == 0 ? "" : ";", cameras[i], projected.tallies[i].text());
  }
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
      "\nPoints are in the head's world frame, in millimetres; --transform brings them there. Pixels count from the\n"
      "centre of the top-left pixel. place0 to place2 say where a point lies for each camera: 1 in the image, 0 "
      "outside\n"
      "it, -1 behind the camera. A point outside the image has a pixel as well; one behind the camera, or that does "
      "not\n"
      "project, has empty fields in CSV and NaN in PLY.\n\n"
      "Example:\n"
      "  quel project blocks/LAB00001-12.tns scan.ply --transform place.trn -o pixels.csv");
  command.runs(arguments, run);
}

}  // namespace queltool
