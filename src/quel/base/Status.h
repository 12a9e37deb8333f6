// What became of one value of many: of a point that was projected, a pixel that was undistorted, a correspondence that
// was triangulated.
#pragma once

#include <cstdint>

namespace quel {

#pragma GCC visibility push(default)

/// Of one value. Results are NaN where it is `Behind`, `Distortion` or `Failed`.
enum class Status : std::uint8_t {
  Ok = 0,
  Outside = 1,        ///< There is a pixel, and it lies outside the image.
  LinearInstead = 2,  ///< The planar fit met its pole or failed; the result is that of the linear fit.
  Behind = 3,         ///< The point lies behind the camera, or behind one of those that it was fitted to.
  Distortion = 4,     ///< The lens model has no answer there: it folds over, or its LUT holds nothing there.
  Failed = 5,         ///< It is no finite number, or the computation has no solution.
};

/// True where there is a result.
inline bool hasValue(Status status) { return status <= Status::LinearInstead; }

/// "ok", "outside", "linear instead", "behind", "distortion", "failed"; empty for what is no status.
const char* nameOf(Status status);

#pragma GCC visibility pop

}  // namespace quel
