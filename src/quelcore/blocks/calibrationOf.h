// The identity of the calibration that a tensor holds.
#pragma once

#include <cstring>

#include "quelcore/records/qmIdentity.h"
#include "quelcore/records/qmReconsTensorData.h"

namespace quelcore {

/// Real data only for a tensor of file version -6 or newer.
inline tag_qmCalibrationID calibrationOf(const tag_qmReconsTensorData& tensor) {
  tag_qmCalibrationID calibration = {
      {}, tensor.blockNumber, tensor.calibWord0, tensor.imageTag, tensor.calibWord2, tensor.calibrationTimeStamp};
  std::memcpy(calibration.machineId, tensor.machineId, kMachineIdSize);
  return calibration;
}

}  // namespace quelcore
