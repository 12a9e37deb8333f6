// The distortion of many pixels, through the platform's batch where it brings one.
#pragma once

#include <cstdint>

#include "quelcore/records/qmReconsTensorData.h"

namespace quelcore {

/// `distortPixel` for each of `count` pixels in place; a pixel that fails stays. `depths` may be null for a camera
/// without LUTs and in the modes that use none.
void distortPixels(const tag_qmDistortParams& params, _ProjectDistortMode mode, const float* depths, std::int64_t count,
                   double (*pixels)[2]);

/// Where the camera sees each of `count` ideal pixels, without depth, in place; by the fast form where the exact one
/// fails.
void distortPixelsWithoutDepth(const tag_qmDistortParams& params, std::int64_t count, double (*pixels)[2]);

}  // namespace quelcore
