#include "quelcore/features/QmRobotUtils.h"

#include <new>

namespace {

/// Places of the wrist's joints.
constexpr std::size_t kJoint4 = 3;
constexpr std::size_t kJoint5 = 4;
constexpr std::size_t kJoint6 = 5;
constexpr std::size_t kJoints = 6;

struct Range {
  double low;
  double high;

  bool holds(double angle) const { return angle >= low && angle <= high; }
};

/// Appends vectors of one family: joints 4 and 6 by full turns from `firstTurn` to 1 beyond those of `wrist`, joint 5
/// as it is there.
void appendTurns(const std::vector<double>& wrist, int firstTurn, bool withItself, const Range& range4,
                 const Range& range6, std::vector<std::vector<double>>& result) {
  for (int k = firstTurn; k <= 1; ++k) {
    const double a = wrist[kJoint4] + 360.0 * k;
    if (!range4.holds(a)) continue;
    for (int m = firstTurn; m <= 1; ++m) {
      const double c = wrist[kJoint6] + 360.0 * m;
      if (!range6.holds(c) || (!withItself && k == 0 && m == 0)) continue;
      std::vector<double>& turned = result.emplace_back(wrist);
      turned[kJoint4] = a;
      turned[kJoint6] = c;
    }
  }
}

}  // namespace

bool QmRobotUtils::conjugate6Joints(const std::vector<double>& joints, double joint4Minimum, double joint4Maximum,
                                    double joint6Minimum, double joint6Maximum,
                                    std::vector<std::vector<double>>& result) {
  if (joints.size() < kJoints) return true;
  const std::size_t before = result.size();
  const Range range4{joint4Minimum, joint4Maximum};
  const Range range6{joint6Minimum, joint6Maximum};
  try {
    std::vector<double> wrist = joints;  // `joints` may itself be one of `result`.
    appendTurns(wrist, -1, false, range4, range6, result);
    wrist[kJoint4] += 180.0;
    wrist[kJoint5] = -wrist[kJoint5];
    wrist[kJoint6] += 180.0;
    appendTurns(wrist, -2, true, range4, range6, result);
    return true;
  } catch (const std::bad_alloc&) {
    result.resize(before);
    return false;
  }
}
