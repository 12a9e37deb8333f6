// How well a head measures over its volume: what is asked for, and what is told of it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "files/Json.h"
#include "models/Uncertainty.h"

namespace queltool {

struct UncertaintyArguments {
  double noise = 0.05;  ///< Pixels.
  quel::Fit fit = quel::Fit::Linear;
  int reference = 0;
  std::vector<double> size;
};

/// The volume about the centre that the block tells, in the size that is asked for; else the one that it tells.
/// Nothing where neither is. Throws `WrongUsage` for a size that is none.
std::optional<Volume> volumeFor(const UncertaintyArguments& arguments, const tag_qmReconsTensorData& head);

/// What to do where there is no volume.
std::string withoutVolume();

/// Over the volume. Throws `Failure` as `uncertaintyOf` does.
Uncertainty measured(const UncertaintyArguments& arguments, const quel::Head& head, const Volume& volume);

/// Every figure of what was found of `block`.
Json jsonOf(const std::string& block, const UncertaintyArguments& arguments, const Uncertainty& found);

/// "0.05 px of noise in each coordinate, linear fit"
std::string whatOf(const UncertaintyArguments& arguments);

}  // namespace queltool
