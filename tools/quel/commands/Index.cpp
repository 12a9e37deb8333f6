// `quel index`: a cloud in bins, by space or by the cells of a camera's image.
#include <fmt/core.h>

#include <limits>
#include <memory>

#include "clouds/NumberTable.h"
#include "clouds/Points.h"
#include "commands/Cloud.h"
#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/Json.h"
#include "files/Progress.h"
#include "models/Block.h"
#include "pictures/IndexPicture.h"

namespace queltool {

namespace {

struct Arguments {
  InputFile cloud;
  std::string block;
  std::int32_t camera = 0;
  std::int32_t mode = PROJECT_FAST;
  OutputFile out;
  bool json = false;
};

/// The index that is asked for, and the size of the image that it goes by.
struct Made {
  IndexedCloud cloud;
  std::int32_t imageWidth = 0;
  std::int32_t imageHeight = 0;
};

/// Makes the index by `make`; what goes wrong is told with the name of the cloud.
template <typename Make>
IndexedCloud indexOf(const Arguments& arguments, Make make) try {
  return make();
} catch (const Failure& failure) {
  throw Failure(arguments.cloud.name + ": " + failure.what());
}

Made makeIndex(const Arguments& arguments) {
  const std::vector<Vec3> points = readPoints(arguments.cloud);
  if (arguments.block.empty()) return {indexOf(arguments, [&] { return indexBySpace(points); })};
  const auto head = loadBlock(arguments.block);
  if (head->projectionsValid != 1) {
    throw Failure(arguments.block + ": holds no projections; the head must be calibrated anew");
  }
  if (head->imageWidth < 1 || head->imageHeight < 1) {
    throw Failure(arguments.block + ": the size of its images is not known; cameras.ini may add its camera type");
  }
  const auto mode = static_cast<_ProjectDistortMode>(arguments.mode);
  return {indexOf(arguments, [&] { return indexByImage(*head, points, arguments.camera, mode); }), head->imageWidth,
          head->imageHeight};
}

NumberTable tableOf(const IndexedCloud& cloud) {
  NumberTable table{{"bin", "start", "count", "min_x", "min_y", "min_z", "max_x", "max_y", "max_z"}, {}};
  table.values.reserve(table.names.size() * cloud.bins.size());
  for (std::size_t b = 0; b < cloud.bins.size(); ++b) {
    const qmPatchBinInfo& bin = cloud.bins[b];
    for (const double value :
         {static_cast<double>(b), static_cast<double>(bin.start), static_cast<double>(bin.count)}) {
      table.values.push_back(value);
    }
    table.values.insert(table.values.end(), bin.box.minimum().v, bin.box.minimum().v + 3);
    table.values.insert(table.values.end(), bin.box.maximum().v, bin.box.maximum().v + 3);
  }
  return table;
}

Json summaryOf(const Arguments& arguments, const IndexedCloud& cloud) {
  return {{"cloud", arguments.cloud.name},     {"by", cloud.pixels.empty() ? "space" : "image"},
          {"points", cloud.points.size()},     {"left_out", cloud.leftOut},
          {"bins", cloud.bins.size()},         {"smallest_bin", cloud.smallestBin()},
          {"largest_bin", cloud.largestBin()}, {"milliseconds", cloud.seconds * 1e3}};
}

std::string sentenceOf(const IndexedCloud& cloud) {
  std::string text = fmt::format("{} points in {} bins of {} to {} points, in {:.2f} ms", cloud.points.size(),
                                 cloud.bins.size(), cloud.smallestBin(), cloud.largestBin(), cloud.seconds * 1e3);
  if (cloud.leftOut != 0) {
    text += fmt::format("; {} points {}", cloud.leftOut,
                        cloud.pixels.empty() ? "left out that are not finite" : "lie outside the image");
  }
  return text;
}

/// Writes the bins, or the coloured points, as the name of the file says.
void write(const Arguments& arguments, const Made& made) {
  const OutputFile& file = arguments.out;
  const Progress progress("writing " + (file.isGiven() ? file.name : "the bins"));
  if (file.format == Format::Ply) return writeOutput(file, formatColouredPly(made.cloud));
  if (file.format == Format::Csv) return writeTable(tableOf(made.cloud), file);
  const std::string name =
      made.cloud.pixels.empty() ? "By space" : fmt::format("By cells of the image of camera {}", arguments.camera);
  drawIndex(file, {{&made.cloud, name, made.imageWidth, made.imageHeight}});
}

void run(const Arguments& arguments) {
  const Made made = makeIndex(arguments);
  // The terminal takes one of the two: the bins, or what is to be said of them.
  if (arguments.out.isGiven() || !arguments.json) write(arguments, made);
  if (arguments.json) {
    printJson(summaryOf(arguments, made.cloud));
  } else if (arguments.out.isGiven()) {
    fmt::print(wordsBeside(arguments.out), "{}: {}\n", arguments.out.name, sentenceOf(made.cloud));
  }
}

}  // namespace

void defineIndex(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  addCloud(command, "CLOUD", arguments->cloud);
  const Option block = command.input("--block", arguments->block,
                                     "Tensor file (.tns) of the head that sees the cloud: bins are then the image "
                                     "cells of one camera");
  command.option("--camera", arguments->camera, "The camera: 0, 1 or 2").within(0, 2).showDefault().needs(block);
  command
      .option("--mode", arguments->mode,
              "Distortion: 0 none, 1 exact, 2 fast, 3 exact or else without depth, 4 fast without depth")
      .within(0, 4)
      .showDefault()
      .needs(block);
  command.output("-o,--out", arguments->out,
                 "CSV file of the bins; or PLY file of the points, coloured by bin; or PNG or SVG picture, as its "
                 "name ends; else CSV on the terminal",
                 {Format::Csv, Format::Ply, Format::Png, Format::Svg});
  command.flag("--json", arguments->json, "Print a summary as JSON");
  command.showsProgress();
  command.footer(
      "\nWithout a block the cloud is divided in space until a bin has fewer than 500 points; only coincident points\n"
      "stay together in a larger one, and points that are not finite are left out. With a block, points that the\n"
      "camera sees are sorted by cells of 32 x 32 pixels; they must be in the head's world frame, in millimetres.\n"
      "Bins follow one another: bin n holds the points from \"start\" on of the sorted cloud, which the PLY file has\n"
      "in that order.\n\n"
      "Example:\n"
      "  quel index scan.ply -o bins.csv\n"
      "  quel index scan.ply -o bins.png\n"
      "  quel index scan.ply --block blocks/QUEL0001-1.tns --camera 1 -o coloured.ply");
  command.runs(arguments, run);
}

}  // namespace queltool
