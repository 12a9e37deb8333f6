#include "commands/UncertaintyOptions.h"

#include <cmath>

#include "files/Texts.h"

namespace queltool {

namespace {

std::string positiveNumber(const std::string& text) {
  const std::optional<double> value = numberOf(text);
  return value && std::isfinite(*value) && *value > 0.0 ? "" : "must be a number above 0, and is " + text;
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

}  // namespace queltool
