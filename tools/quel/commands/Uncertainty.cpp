// `quel uncertainty`: how well a head measures, over its volume.
#include <fmt/core.h>

#include <cmath>
#include <memory>

#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/Json.h"
#include "files/Progress.h"
#include "files/Texts.h"
#include "models/Block.h"
#include "models/Uncertainty.h"
#include "pictures/UncertaintyPicture.h"

namespace queltool {

namespace {

struct Arguments {
  std::string block;
  OutputFile out;
  double noise = 0.05;
  quel::Fit fit = quel::Fit::Linear;
  int reference = 0;
  std::vector<double> size;
  bool json = false;
};

std::string positiveNumber(const std::string& text) {
  const std::optional<double> value = numberOf(text);
  return value && std::isfinite(*value) && *value > 0.0 ? "" : "must be a number above 0, and is " + text;
}

// The volume about the centre that the block tells, in the size that is asked for.
Volume volumeFor(const Arguments& arguments, const tag_qmReconsTensorData& head) {
  if (arguments.size.empty()) {
    const std::optional<Volume> volume = volumeOf(head);
    if (volume) return *volume;
    throw Failure(arguments.block + ": does not tell its measuring volume; give its size, such as --size 200,150,100");
  }
  for (const double side : arguments.size) {
    if (!std::isfinite(side) || side <= 0.0) throw WrongUsage("--size", "takes three lengths above 0, millimetres");
  }
  return {{head.reconstBoxCenterX, head.reconstBoxCenterY, head.reconstBoxCenterZ},
          {arguments.size[0], arguments.size[1], arguments.size[2]}};
}

Json jsonOf(const Deviations& deviations) {
  return {{"x_mm", deviations[0]}, {"y_mm", deviations[1]}, {"z_mm", deviations[2]}, {"point_mm", deviations[3]}};
}

Json jsonOf(const Arguments& arguments, const Uncertainty& found) {
  return {{"block", arguments.block},
          {"noise_px", arguments.noise},
          {"fit", quel::nameOf(arguments.fit)},
          {"reference", arguments.reference},
          {"volume", {{"centre_mm", found.volume.centre}, {"size_mm", found.volume.size}}},
          {"places", found.places},
          {"seen", found.seen},
          {"centre", found.centre ? jsonOf(*found.centre) : Json()},
          {"rms", jsonOf(found.rms)},
          {"least", jsonOf(found.least)},
          {"greatest", jsonOf(found.greatest)}};
}

std::string what(const Arguments& arguments) {
  return fmt::format("{}: {:g} px of noise in each coordinate, {} fit", arguments.block, arguments.noise,
                     quel::nameOf(arguments.fit));
}

void printRow(std::FILE* where, const char* name, const Deviations& d) {
  fmt::print(where, "  {:<10}{:>10.4g}{:>10.4g}{:>10.4g}{:>10.4g}\n", name, d[0], d[1], d[2], d[3]);
}

void printText(std::FILE* where, const Arguments& arguments, const Uncertainty& found) {
  const Volume& volume = found.volume;
  fmt::print(where, "{}\n", what(arguments));
  fmt::print(where, "  volume    {:.4g} x {:.4g} x {:.4g} mm about {:.4g}, {:.4g}, {:.4g}; {:.1f} % of it is seen\n",
             volume.size[0], volume.size[1], volume.size[2], toMicrometre(volume.centre[0]),
             toMicrometre(volume.centre[1]), toMicrometre(volume.centre[2]),
             100.0 * static_cast<double>(found.seen) / static_cast<double>(found.places));
  fmt::print(where, "  {:<10}{:>10}{:>10}{:>10}{:>10}\n", "std. dev.", "X mm", "Y mm", "Z mm", "point mm");
  if (found.centre) printRow(where, "centre", *found.centre);
  printRow(where, "RMS", found.rms);
  printRow(where, "least", found.least);
  printRow(where, "greatest", found.greatest);
}

void run(const Arguments& arguments) {
  const quel::Head head = loadHead(arguments.block);
  const Volume volume = volumeFor(arguments, head.record());
  quel::TriangulateOptions options{.fit = arguments.fit, .reference = arguments.reference, .threads = 0};
  options.noise = arguments.noise;
  const Uncertainty found = during("measuring", [&] {
    try {
      return uncertaintyOf(head, volume, options);
    } catch (const Failure& failure) {
      throw Failure(arguments.block + ": " + failure.what());
    }
  });
  if (arguments.out.isGiven()) during("drawing", [&] { drawUncertainty(arguments.out, found, what(arguments)); });
  if (arguments.json) {
    printJson(jsonOf(arguments, found));
  } else {
    printText(arguments.out.isGiven() ? wordsBeside(arguments.out) : stdout, arguments, found);
  }
}

}  // namespace

void defineUncertainty(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  command.input("BLOCK", arguments->block, "Tensor file of the block (.tns)").required();
  command.option("--noise", arguments->noise, "Standard deviation of each pixel coordinate, pixels")
      .check(positiveNumber, "NUMBER")
      .showDefault();
  command.choice("--fit", arguments->fit, "FIT", "How points are made of pixels: linear, planar, singular or rays",
                 {{"linear", quel::Fit::Linear},
                  {"planar", quel::Fit::Planar},
                  {"singular", quel::Fit::Singular},
                  {"rays", quel::Fit::Rays}});
  command.option("--reference", arguments->reference, "Reference camera: 0, 1 or 2").within(0, 2).showDefault();
  command
      .option("--size", arguments->size,
              "Size of the volume along X, Y and Z, millimetres, such as 200,150,100; else what the block tells")
      .separatedBy(',')
      .count(3, 3);
  command.output("-o,--out", arguments->out, "PNG or SVG picture of three sections, as its name ends",
                 {Format::Png, Format::Svg});
  command.flag("--json", arguments->json, "Print the figures as JSON");
  command.showsProgress();
  command.footer(
      "\nShown is the standard deviation, to first order, of a point that is measured once, when each pixel "
      "coordinate\n"
      "is off by --noise, independently of all others: along X, Y and Z of the head's world, and of the point, which\n"
      "is the root of their squared sum. Calibration and part play no role in it. The figures go over a grid of\n"
      "21 x 21 x 21 places of the volume, as far as all cameras of the fit see them (the singular fit has two).\n\n"
      "Example:\n  quel uncertainty blocks/QUEL0001-1.tns --noise 0.05 -o map.png");
  command.runs(arguments, run);
}

}  // namespace queltool
