#include "commands/UncertaintyRun.h"

#include <fmt/core.h>

#include <cmath>

#include "files/Texts.h"

namespace queltool {

namespace {

std::string positiveNumber(const std::string& text) {
  const std::optional<double> value = numberOf(text);
  return value && std::isfinite(*value) && *value > 0.0 ? "" : "must be a number above 0, and is " + text;
}

Json jsonOf(const Deviations& deviations) {
  return {{"x_mm", deviations[0]}, {"y_mm", deviations[1]}, {"z_mm", deviations[2]}, {"point_mm", deviations[3]}};
}

}  // namespace

void addUncertainty(Command& command, UncertaintyArguments& arguments) {
  command.option("--noise", arguments.noise, "Standard deviation of each pixel coordinate, pixels")
      .check(positiveNumber, "NUMBER")
      .showDefault();
  command.choice("--fit", arguments.fit, "FIT", "How points are made of pixels: linear, planar, singular or rays",
                 {{"linear", quel::Fit::Linear},
                  {"planar", quel::Fit::Planar},
                  {"singular", quel::Fit::Singular},
                  {"rays", quel::Fit::Rays}});
  command.option("--reference", arguments.reference, "Reference camera: 0, 1 or 2").within(0, 2).showDefault();
  command
      .option("--size", arguments.size,
              "Size of the volume along X, Y and Z, millimetres, such as 200,150,100; else what the block tells")
      .separatedBy(',')
      .count(3, 3);
}

std::optional<Volume> volumeFor(const UncertaintyArguments& arguments, const tag_qmReconsTensorData& head) {
  if (arguments.size.empty()) return volumeOf(head);
  for (const double side : arguments.size) {
    if (!std::isfinite(side) || side <= 0.0) throw WrongUsage("--size", "takes three lengths above 0, millimetres");
  }
  return Volume{{head.reconstBoxCenterX, head.reconstBoxCenterY, head.reconstBoxCenterZ},
                {arguments.size[0], arguments.size[1], arguments.size[2]}};
}

std::string withoutVolume() { return "does not tell its measuring volume; give its size, such as --size 200,150,100"; }

Uncertainty measured(const UncertaintyArguments& arguments, const quel::Head& head, const Volume& volume) {
  quel::TriangulateOptions options{.fit = arguments.fit, .reference = arguments.reference, .threads = 0};
  options.noise = arguments.noise;
  return uncertaintyOf(head, volume, options);
}

Json jsonOf(const std::string& block, const UncertaintyArguments& arguments, const Uncertainty& found) {
  return {{"block", block},
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

std::string whatOf(const UncertaintyArguments& arguments) {
  return fmt::format("{:g} px of noise in each coordinate, {} fit", arguments.noise, quel::nameOf(arguments.fit));
}

}  // namespace queltool
