// What tools and tests need beside the lens model: its inverse, and LUT sets made in memory.
#pragma once

#include <functional>
#include <vector>

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmDistort/DistortLutsManager.h"
#include "quelplatform/qmDistort/qmDistort.h"

namespace quelplatform {

/// Maps the distorted pixel `in` back to the ideal pixel `out` of which `qmDistortDistortOnePt` makes `in`. Returns 1
/// when distorting `out` again gives `in` to `kDistortInverseTolerance`; otherwise 0 with `out` untouched: it does not
/// converge, the model folds over there, or the pixel lies outside the LUT. `in` and `out` may be the same.
QUELPLATFORM_API std::int32_t undistortOnePt(const double in[2], const tag_qmDistortParams* params, const float* depth,
                                             double out[2]) noexcept;

/// The same for each of `count` pixels, to the same bits: `depths[n]` goes with `in[n]`, null `depths` uses the LUT's
/// reference layer. `succeeded[n]` becomes 1 or 0, unless `succeeded` is null. Returns how many failed: all for a null
/// `in`, `params` or `out`.
QUELPLATFORM_API std::int64_t undistortPts(const double (*in)[2], const tag_qmDistortParams* params,
                                           const float* depths, std::int64_t count, double (*out)[2],
                                           std::uint8_t* succeeded) noexcept;

/// Shape of a LUT set: `columns` x `rows` cells from `origin` on, `pitch` apart (ideal pixels), one layer per depth.
struct LutGrid {
  double origin[2];
  double pitch[2];
  std::int32_t columns;
  std::int32_t rows;
  std::vector<float> depths;  ///< Strictly ascending.
  std::int32_t lutVersion = 2;
};

/// Displacement (x, y) in pixels at an ideal pixel and a depth.
using LutDisplacement = std::function<void(double x, double y, double depth, float displacement[2])>;

/// Makes a LUT set by sampling `displacement` at every cell, registers it under `id` (replacing what `id` named) and
/// hands it out with one reference. Null for an empty grid, more than 65536 columns, rows or layers, an origin that is
/// not finite, a pitch that is not positive, depths that are not finite and ascending, an identifier that is empty or
/// too long, or exhausted memory. What `displacement` throws passes through, with nothing registered.
QUELPLATFORM_API const tag_qmDistortLuts* makeDistortLuts(const std::string& id, const LutGrid& grid,
                                                          const LutDisplacement& displacement);

/// Number of references of the set that `id` names; -1 for an unknown identifier.
QUELPLATFORM_API std::int64_t distortLutsReferences(const std::string& id);

}  // namespace quelplatform
