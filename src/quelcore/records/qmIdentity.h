// Identity records: which machine, calibration block and image a piece of data comes from.
//
// A machine identifier is 8 characters, not NUL-terminated when full, and compared as 8 bytes.
#pragma once

#include <cstdint>

inline constexpr std::int32_t kMachineIdSize = 8;

/// Identity of an image.
struct tag_qmImageID {
  char machineId[kMachineIdSize];
  std::int32_t imageTag;
  std::int32_t calibrationTimeStamp;  ///< 0 matches any calibration.
  std::int32_t blockNumber;
};

/// Identity of a calibration, as a tensor of file version -6 or newer holds it.
struct tag_qmCalibrationID {
  char machineId[kMachineIdSize];
  std::int32_t blockNumber;
  std::int32_t calibWord0;
  std::int32_t imageTag;  ///< Of the image that the block was made from.
  std::int32_t calibWord2;
  std::int32_t calibrationTimeStamp;
};

/// Identity of a feature or patch: where its points come from.
struct qmFtrID {
  char machineId[kMachineIdSize];     ///< The image's.
  std::int32_t blockNumber;           ///< The tensor's.
  double pixel2WorldRatio;            ///< The tensor's.
  double lensType;                    ///< The tensor's.
  std::int32_t imageTag;              ///< The image's.
  std::int32_t calibrationTimeStamp;  ///< The tensor's.
  std::uint32_t imageWidth;           ///< Pixels.
  std::uint32_t imageHeight;          ///< Pixels.
};

/// Identity of a transform. The words stand in another order than in `tag_qmImageID`.
struct qmTrnID {
  char machineId[kMachineIdSize];
  std::int32_t blockNumber;
  std::int32_t imageTag;
  std::int32_t calibrationTimeStamp;
};
