// Choices of cameras with which the planar fit of three cameras meets a pole that both targets share.
#pragma once

#include <string>
#include <vector>

#include "quelcore/records/qmReconsTensorData.h"

namespace quel {

#pragma GCC visibility push(default)

/// A reference camera and its two targets.
struct SharedPole {
  int reference;
  int targetB;
  int targetC;
};

/// The choices in which the denominators of both targets are one function of position and parallax but for a factor,
/// within 1e-9, and depend on the parallax: they vanish at one parallax then, and rounding decides for which points
/// qmRTFitCorresToTensorPlanar fails.
std::vector<SharedPole> sharedPoles(const tag_qmReconsTensorData& tensor);

/// What that means for who fits, in one line.
std::string meaningOf(const SharedPole& pole);

#pragma GCC visibility pop

}  // namespace quel
