// `quel fit`: correspondences of three images to points in space, by each of the closed-form fits.
#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "clouds/NumberTable.h"
#include "commands/Cloud.h"
#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/Files.h"
#include "files/Progress.h"
#include "files/Values.h"
#include "models/Block.h"
#include "models/Health.h"
#include "quel/clouds/TextTable.h"
#include "quel/measure/PointFit.h"

namespace queltool {

namespace {

using Measured = std::array<double, 6>;  // x0 y0 x1 y1 x2 y2

constexpr std::uintmax_t kMaxFileSize = std::uintmax_t{4} << 30;
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

struct Arguments {
  std::string block;
  InputFile correspondences;
  OutputFile out;
  int reference = 0;
  std::vector<int> targets;
  bool distorted = false;
};

// How well one of the fits did over the whole file.
struct Tally {
  std::size_t fitted = 0;
  double sumOfSquares = 0.0;
  double most = 0.0;

  void add(double errorPx) {
    ++fitted;
    sumOfSquares += errorPx * errorPx;
    most = std::max(most, errorPx);
  }
  double rms() const { return std::sqrt(sumOfSquares / static_cast<double>(fitted)); }
};

struct Fits {
  NumberTable table;  // NaN where there is no fit.
  std::array<Tally, quel::kClosedFits.size()> tallies;
};

quel::FitCameras camerasOf(const Arguments& arguments) {
  const int r = arguments.reference;
  std::vector<int> targets = arguments.targets;
  if (targets.empty()) {
    for (int camera = 0; camera < 3; ++camera) {
      if (camera != r) targets.push_back(camera);
    }
  }
  if (targets[0] == r || targets[1] == r || targets[0] == targets[1]) {
    throw WrongUsage("--targets", "must be the two cameras beside the reference, and are " +
                                      std::to_string(targets[0]) + "," + std::to_string(targets[1]));
  }
  return {r, targets[0], targets[1]};
}

std::vector<Measured> readCorrespondences(const InputFile& file) {
  constexpr std::size_t kWidth = std::tuple_size_v<Measured>;
  const auto values =
      quel::parseTextTable(readInput(file.name, kMaxFileSize),
                           {{"x0", "y0", "x1", "y1", "x2", "y2"}, "six", false, file.columns, "--columns"});
  if (!values) {
    const Error& error = values.error();
    throw Failure(file.name + ": " + (error.place.empty() ? "" : error.place + ": ") + error.cause);
  }
  std::vector<Measured> rows(values.value().size() / kWidth);
  for (std::size_t n = 0; n < rows.size(); ++n) std::copy_n(&values.value()[n * kWidth], kWidth, rows[n].begin());
  if (rows.empty()) {
    throw Failure(file.name + ": holds no correspondences; give text with x0 y0 x1 y1 x2 y2 in each line");
  }
  return rows;
}

// A point cloud viewer takes the first three columns, so those are of the best fit.
std::vector<std::string> columnNames() {
  std::vector<std::string> names = {"x", "y", "z", "error_px"};
  for (const quel::Fit fit : {quel::Fit::Planar, quel::Fit::Singular}) {
    for (const char* what : {"x", "y", "z", "error_px"}) names.push_back(fmt::format("{}_{}", quel::nameOf(fit), what));
  }
  for (const char* name : {"x0", "y0", "x1", "y1", "x2", "y2"}) names.emplace_back(name);
  return names;
}

void addRow(Fits& fits, const QmReconsTensor& block, const Measured& m, const quel::FitCameras& cameras,
            bool distorted) {
  const std::array<Vec2, 3> pixels = {{{m[0], m[1]}, {m[2], m[3]}, {m[4], m[5]}}};
  const auto corres = distorted ? quel::undistorted(block, pixels) : std::optional(quel::correspondenceOf(pixels));
  std::vector<double>& values = fits.table.values;
  for (std::size_t n = 0; n < quel::kClosedFits.size(); ++n) {
    const auto fitted = corres ? quel::fitPoint(quel::kClosedFits[n], block, *corres, cameras) : std::nullopt;
    const quel::FittedPoint point = fitted.value_or(quel::FittedPoint{{kNone, kNone, kNone}, kNone});
    values.insert(values.end(), {point.point[0], point.point[1], point.point[2], point.errorPx});
    if (fitted) fits.tallies[n].add(fitted->errorPx);
  }
  values.insert(values.end(), m.begin(), m.end());
}

Fits fitAll(const QmReconsTensor& block, const std::vector<Measured>& measured, const quel::FitCameras& cameras,
            bool distorted) {
  Fits fits{{columnNames(), {}}, {}};
  Progress progress("fitting", measured.size());
  for (std::size_t n = 0; n < measured.size(); ++n) {
    addRow(fits, block, measured[n], cameras, distorted);
    progress.show(n + 1);
  }
  return fits;
}

// The fits stand on tables that a compensated or damaged block may hold without their agreeing with its projections.
void warnOfTables(const QmReconsTensor& block, const std::string& name) {
  for (const Check& check : checkHealth(block)) {
    if (check.verdict != Verdict::Bad || !check.key.ends_with("_form")) continue;
    fmt::print(stderr, "quel: {}: warning: not so: {}: {}\n", name, check.what, check.finding);
  }
}

void tellSummary(std::FILE* where, const Fits& fits, std::size_t count) {
  fmt::print(where, "{:<10}{:>12}{:>16}{:>16}\n", "fit", "fitted", "RMS error px", "greatest px");
  for (std::size_t n = 0; n < quel::kClosedFits.size(); ++n) {
    const Tally& tally = fits.tallies[n];
    const std::string fitted = fmt::format("{}/{}", tally.fitted, count);
    if (tally.fitted == 0) {
      fmt::print(where, "{:<10}{:>12}{:>16}{:>16}\n", quel::nameOf(quel::kClosedFits[n]), fitted, "-", "-");
    } else {
      fmt::print(where, "{:<10}{:>12}{:>16.4g}{:>16.4g}\n", quel::nameOf(quel::kClosedFits[n]), fitted, tally.rms(),
                 tally.most);
    }
  }
}

void run(const Arguments& arguments) {
  const quel::FitCameras cameras = camerasOf(arguments);
  const auto block = loadBlock(arguments.block);
  if (block->reconsFlag != 1) {
    throw Failure(arguments.block + ": holds no metric tables; the head must be calibrated anew");
  }
  warnOfTables(*block, arguments.block);
  const std::vector<Measured> measured = readCorrespondences(arguments.correspondences);
  const Fits fits = fitAll(*block, measured, cameras, arguments.distorted);
  writeTable(fits.table, arguments.out);
  std::FILE* const where = wordsBeside(arguments.out);
  if (arguments.out.isGiven()) fmt::print(where, "{}: {} correspondences\n", arguments.out.name, measured.size());
  tellSummary(where, fits, measured.size());
}

}  // namespace

void defineFit(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  command.input("BLOCK", arguments->block, "Tensor file of the block (.tns)").required();
  command
      .input("CORRESPONDENCES", arguments->correspondences,
             "Text with x0 y0 x1 y1 x2 y2 in each line, pixels; - is standard input", {Format::Csv})
      .required();
  command.output("-o,--out", arguments->out, "CSV or PLY file, as its name ends; else CSV on the terminal",
                 {Format::Csv, Format::Ply});
  addColumns(command, arguments->correspondences, 6, "x0, y0, x1, y1, x2 and y2");
  command.flag("--distorted", arguments->distorted,
               "The pixels are as measured, with the distortion of the lenses; else without");
  command.option("--reference", arguments->reference, "Reference camera: 0, 1 or 2").within(0, 2).showDefault();
  command.option("--targets", arguments->targets, "Target cameras, such as 2,1; else the other two in order")
      .separatedBy(',')
      .count(2, 2)
      .within(0, 2);
  command.showsProgress();
  command.footer(
      "\nEach correspondence goes through all three fits: linear (x, y, z, error_px: the cameras share the error), "
      "planar\n"
      "(the reference pixel is exact) and singular (reference and first target alone). Points are in the head's world\n"
      "frame, in millimetres, errors in pixels of the first target. Where there is no fit the fields are empty in CSV "
      "and\n"
      "NaN in PLY. --distorted takes a LUT at its reference depth.\n\n"
      "Example:\n  quel fit blocks/QUEL0001-1.tns pixels.csv --distorted -o points.ply");
  command.runs(arguments, run);
}

}  // namespace queltool
