// What the projection tests share: the modes, and LUTs that a whole head uses.
#pragma once

#include <utility>
#include <vector>

#include "quelcore/records/qmReconsTensorData.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"

namespace quel::testing {

inline constexpr _ProjectDistortMode kAllModes[] = {PROJECT_PINHOLE, PROJECT_EXACT, PROJECT_FAST,
                                                    PROJECT_EXACT_OR_WITHOUT_DEPTH, PROJECT_FAST_WITHOUT_DEPTH};

/// One pixel right and two down, whatever the cell.
inline void constantShift(double, double, double, float displacement[2]) {
  displacement[0] = 1.0F;
  displacement[1] = 2.0F;
}

/// A LUT set that every camera of a head uses as long as this object lives.
class WholeImageLuts {
 public:
  WholeImageLuts(tag_qmReconsTensorData& tensor, std::vector<float> depths, double originX = -1000.0,
                 const quelplatform::LutDisplacement& displacement = constantShift)
      : tensor_(tensor) {
    const quelplatform::LutGrid grid = {{originX, -1000.0}, {100.0, 100.0}, 40, 35, std::move(depths)};
    luts_ = quelplatform::makeDistortLuts("TEST", grid, displacement);
    for (tag_qmDistortParams& params : tensor_.distortParams) params.luts = luts_;
  }
  ~WholeImageLuts() {
    for (tag_qmDistortParams& params : tensor_.distortParams) params.luts = nullptr;
    DistortLutsManager::getManager().distortLutsReleaseRef(luts_);
    DistortLutsManager::getManager().removeUnusedDistortLuts();
  }

 private:
  tag_qmReconsTensorData& tensor_;
  const tag_qmDistortLuts* luts_;
};

}  // namespace quel::testing
