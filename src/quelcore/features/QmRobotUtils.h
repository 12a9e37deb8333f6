// Joint angles of a six-axis robot with a spherical wrist.
#pragma once

#include <vector>

#include "quelcore/QuelCoreApi.h"

class QUELCORE_API QmRobotUtils {
 public:
  /// Appends to `result` the other joint vectors of the same tool pose that the wrist alone makes, with joints 4 and 6
  /// within their limits, ends included: those that differ by full turns of joint 4 and 6 (one either way), then those
  /// with the wrist flipped,
  ///
  ///   (j4 + 360 k, j5, j6 + 360 m)                 k, m = -1, 0, 1, not both 0
  ///   (j4 + 180 + 360 k, -j5, j6 + 180 + 360 m)    k, m = -2, -1, 0, 1
  ///
  /// in the order of k, then m. `joints` holds the angles in degrees, joint 1 first; entries other than those of the
  /// wrist are copied. Fewer than six joints have no wrist: nothing is appended. Returns true; false, with `result` as
  /// it was, only when memory is exhausted.
  static bool conjugate6Joints(const std::vector<double>& joints, double joint4Minimum, double joint4Maximum,
                               double joint6Minimum, double joint6Maximum, std::vector<std::vector<double>>& result);
};
