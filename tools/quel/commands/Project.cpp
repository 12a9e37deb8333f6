// `quel project`: where the cameras of a block see the points of a file.
#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <span>

#include "clouds/NumberTable.h"
#include "clouds/Points.h"
#include "commands/Cloud.h"
#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/Progress.h"
#include "models/Block.h"
#include "quel/measure/Projection.h"

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

// Where a point lies for a camera, as the column says it; NaN where that is not known.
constexpr double kBehind = -1.0;
constexpr double kOutside = 0.0;
constexpr double kInImage = 1.0;

// How many points lie where for one camera.
struct Tally {
  std::size_t inImage = 0;
  std::size_t outside = 0;
  std::size_t behind = 0;
  std::size_t unknown = 0;

  void add(double place) {
    ++(place == kInImage ? inImage : place == kOutside ? outside : place == kBehind ? behind : unknown);
  }
  std::string text() const {
    const std::string known = fmt::format("{} in the image, {} outside, {} behind", inImage, outside, behind);
    return unknown == 0 ? known : known + fmt::format(", {} of unknown place", unknown);
  }
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

// As many points are projected at once.
constexpr std::size_t kAtOnce = 4096;

// A camera of the block and what it sees of the points at hand.
struct View {
  std::int32_t camera;
  std::vector<Vec2> pixels = std::vector<Vec2>(kAtOnce);
  std::vector<quel::Status> status = std::vector<quel::Status>(kAtOnce);
  Tally tally = {};
};

void look(View& view, const quel::Head& head, std::span<const Vec3> points, quel::Mode mode) {
  const auto done = quel::project(head, points, view.camera, mode, 1, std::span(view.pixels).first(points.size()),
                                  std::span(view.status).first(points.size()));
  if (!done) throw Failure(done.error().message());
}

// Nobody knows where a pixel lies of an image whose size is unknown.
double placeOf(quel::Status status, bool hasSize) {
  if (status == quel::Status::Behind) return kBehind;
  if (status == quel::Status::Outside) return kOutside;
  return status == quel::Status::Ok && hasSize ? kInImage : kNone;
}

// x y z, a pixel for each view and a place for each.
void fillRow(std::vector<double>& row, std::vector<View>& views, const Vec3& point, std::size_t n, bool hasSize) {
  std::copy(point.begin(), point.end(), row.begin());
  for (std::size_t i = 0; i < views.size(); ++i) {
    const Vec2& pixel = views[i].pixels[n];
    std::copy(pixel.begin(), pixel.end(), row.begin() + 3 + 2 * static_cast<std::ptrdiff_t>(i));
    const double place = placeOf(views[i].status[n], hasSize);
    row[3 + 2 * views.size() + i] = place;
    views[i].tally.add(place);
  }
}

// Row by row into the file, so that nothing but the cloud is in memory.
std::vector<View> projectAll(const quel::Head& head, std::span<const Vec3> points, const Arguments& arguments) {
  std::vector<View> views;
  for (const std::int32_t camera : camerasOf(arguments)) views.push_back({camera});
  const std::vector<std::string> names = columnNames(camerasOf(arguments));
  const bool hasSize = head.record().imageWidth > 0 && head.record().imageHeight > 0;
  TableWriter writer(arguments.out, names, points.size());
  std::vector<double> row(names.size());
  Progress progress("projecting", points.size());
  for (std::size_t first = 0; first < points.size(); first += kAtOnce) {
    const std::span<const Vec3> block = points.subspan(first, std::min(kAtOnce, points.size() - first));
    for (View& view : views) look(view, head, block, static_cast<quel::Mode>(arguments.mode));
    for (std::size_t n = 0; n < block.size(); ++n) {
      fillRow(row, views, block[n], n, hasSize);
      writer.add(row);
      progress.show(first + n + 1);
    }
  }
  writer.finish();
  return views;
}

void run(const Arguments& arguments) {
  const quel::Head head = loadHead(arguments.block);
  if (head.record().projectionsValid != 1) {
    throw Failure(arguments.block + ": holds no projections; the head must be calibrated anew");
  }
  const std::vector<Vec3> points = readPoints(arguments.points);
  const std::vector<View> views = projectAll(head, points, arguments);
  if (!arguments.out.isGiven()) return;
  std::FILE* const where = wordsBeside(arguments.out);
  fmt::print(where, "{}: {} points, projected into", arguments.out.name, points.size());
  const std::vector<std::int32_t> cameras = camerasOf(arguments);
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    fmt::print(where, "{} camera {}: {}", i == 0 ? "" : ";", cameras[i], views[i].tally.text());
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
  command.showsProgress();
  command.footer(
      "\nPoints are in the head's world frame, in millimetres; --transform brings them there. Pixels count from the\n"
      "centre of the top-left pixel. place0 to place2 say where a point lies for each camera: 1 in the image, 0 "
      "outside\n"
      "it, -1 behind the camera. A point outside the image has a pixel as well; one behind the camera, or that does "
      "not\n"
      "project, has empty fields in CSV and NaN in PLY.\n\n"
      "Example:\n"
      "  quel project blocks/QUEL0001-1.tns scan.ply -o pixels.csv\n"
      "  quel trn make --move 0,0,5 -o nearer.trn\n"
      "  quel project blocks/QUEL0001-1.tns scan.ply --transform nearer.trn -o near.csv");
  command.runs(arguments, run);
}

}  // namespace queltool
