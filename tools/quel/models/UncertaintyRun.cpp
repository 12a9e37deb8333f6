#include "models/UncertaintyRun.h"

#include <fmt/core.h>

#include <cmath>

#include "files/WrongUsage.h"

namespace queltool {

namespace {

Json jsonOf(const StandardDeviations& deviations) {
  return {{"x_mm", deviations[0]}, {"y_mm", deviations[1]}, {"z_mm", deviations[2]}, {"point_mm", deviations[3]}};
}

}  // namespace

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
