// The record of one calibrated head of three cameras.
//
// The head stands in it in two forms. The transfer form is plane-plus-parallax in normalised image coordinates: a pixel
// (x, y) of camera k normalises to ((x - imageCentre[k][0]) / imageScale[k], (y - imageCentre[k][1]) / imageScale[k]),
// and a point seen at normalised p in camera a lies in camera b at H[a][b] (p, 1) + l epipole[a][b], l being its
// parallax. The metric form is `pairReconstruction`: rows 0 to 2 of its inverse are camera a's normalised 3x4
// projection of the normalised world point (X - worldCentre) / worldScale; `projections` are the same maps in pixels
// and world units.
//
// Cameras are 0, 1, 2. Matrices are row-major doubles; a projection uses rows 0 to 2 of its 4x4 and keeps row 3 zero.
// World units are those of the calibration (millimetres); temperatures are degrees Celsius. The file version alone
// tells which fields hold real data.
#pragma once

#include <cstdint>

#include "quelplatform/qmDistort/qmDistort.h"

/// Size of a LUT identifier with its terminating NUL.
inline constexpr std::int32_t LUT_ID_SIZE = 24;

/// How a projection applies lens distortion to the pinhole pixel. Any other value acts as `PROJECT_PINHOLE`.
enum _ProjectDistortMode : std::int32_t {
  PROJECT_PINHOLE = 0,                 ///< No distortion.
  PROJECT_EXACT = 1,                   ///< Exact, with the point's depth; its failure fails the projection.
  PROJECT_FAST = 2,                    ///< Fast, with the point's depth.
  PROJECT_EXACT_OR_WITHOUT_DEPTH = 3,  ///< Exact; on failure once more without depth.
  PROJECT_FAST_WITHOUT_DEPTH = 4,      ///< Fast, without depth.
};

/// Index into `temperature`.
enum TemperatureSource : std::int32_t {
  TEMPERATURE_FIRST = 0,
  TEMPERATURE_SECOND = 1,
  TEMPERATURE_REFERENCE = 2,  ///< The reference of tensor compensation.
};

/// LUT identity of one camera and LUT type.
struct tag_qmDistortLutsInfo {
  std::int32_t useLut;      ///< 1 when the camera uses a LUT of this type.
  char lutId[LUT_ID_SIZE];  ///< NUL-terminated.
};

/// Small images of one camera's distortion, one entry per 25 x 25 pixels: displacements in pixels.
struct qmDistortTableSet {
  float** xTable;  ///< `xRows` row pointers, or null. Owned by the tensor record.
  std::int32_t xCols;
  std::int32_t xRows;
  float** yTable;
  std::int32_t yCols;
  std::int32_t yRows;
};

/// One calibrated head. The record owns the images of `distortTables` (`qmTensorDestruct` frees them) and does not own
/// LUTs. It is cleared by `qmTensorInit` before its first use.
struct tag_qmReconsTensorData {
  std::int32_t version;                   ///< File version of the contents, 0 or -1 to -17; 0 in a cleared record.
  std::int32_t numCameras;                ///< 3 in every head.
  double tensorCoefficients[729];         ///< Preserved only.
  double tensorCoefficients2[324];        ///< Preserved only.
  std::int32_t transferFlag;              ///< Preserved only.
  double epipole[3][3][3];                ///< [source][target]: homogeneous, normalised coordinates of the target.
  double imageCentre[3][2];               ///< Subtracted from a pixel position.
  double imageScale[3];                   ///< Divisor that follows.
  double auxTransfer0[3][3][3][3];        ///< Preserved only.
  double singularTransfer[3][3][3][3];    ///< [source][target]: 3x3 of the two-camera fit.
  double singularDepthScale[3][3];        ///< [source][target]: unit of the parallax.
  double auxTransfer1[3][3][3][3];        ///< Preserved only.
  std::int32_t planarFlag;                ///< Preserved only.
  double planarTransfer[3][3][3][3];      ///< [source][target]: 3x3 of the three-camera fits.
  double planarDepthScale[3][3];          ///< [source][target]: unit of the parallax.
  std::int32_t auxFlag;                   ///< Preserved only.
  double auxTransfer2[3][3][3][3];        ///< Preserved only.
  std::int32_t reconsFlag;                ///< 1 when the metric tables below are present.
  double reconsCoefficients[432];         ///< Preserved only.
  double pairReconstruction[3][3][4][4];  ///< [a][b]: see the head of this file.
  double viewMatrices[3][4][4];           ///< Preserved only.
  double worldCentre[3];                  ///< World normalisation, subtracted.
  double worldScale;                      ///< World normalisation, divisor.
  double temperature[3];                  ///< By `TemperatureSource`; -273 in a file too old to hold it.
  std::int32_t ohType;                    ///< Camera type, `OH_CAMERA_TYPE`.
  double pixel2WorldRatio;                ///< Head parameter 0.
  double workingDistance;                 ///< Head parameter 1.
  double lensType;                        ///< Head parameter 2: the lens as a number, 50 by default.
  double ccdPixelSize;                    ///< Head parameter 3.
  double headParam4;                      ///< Head parameter 4; preserved only.
  std::int32_t projectionsValid;          ///< 1 when `projections` hold.
  double projections[3][4][4];            ///< World point to undistorted pixel.
  tag_qmDistortParams distortParams[3];   ///< LUT type 0.
  double resultAvg[3];                    ///< Calibration result per camera, average; -1 when unknown.
  double resultStd[3];                    ///< Standard deviation; -1 when unknown.
  double resultMax[3];                    ///< Maximum; -1 when unknown.
  double resultValue0;                    ///< Further result figures; -1 when unknown.
  double resultValue1;
  double resultValue2;
  std::int32_t resultInt;
  char machineId[8];         ///< Of the machine that made the block.
  std::int32_t blockNumber;  ///< With `machineId` it names the block's files.
  std::int32_t calibWord0;
  std::int32_t imageTag;
  std::int32_t calibWord2;
  std::int32_t calibrationTimeStamp;
  double reconstBoxCenterZ;
  double reconstBoxHalfSizeZ;
  double cameraLocations[3][3];  ///< Camera centres, world.
  double calibDistance;
  double reconstBoxCenterX;
  double reconstBoxHalfSizeX;  ///< -1: no limit given.
  double reconstBoxCenterY;
  double reconstBoxHalfSizeY;                 ///< -1: no limit given.
  tag_qmDistortLutsInfo distortLutsInfo[3];   ///< LUT type 0.
  std::int32_t lutExtraFlag;                  ///< Preserved only.
  double lutExtraValue[3];                    ///< Preserved only.
  tag_qmDistortLutsInfo distortLutsInfo2[3];  ///< LUT type 1.
  tag_qmDistortParams distortParams2[3];      ///< LUT type 1.
  double lutFrameTransform[4][4];             ///< LUT frame to world.
  double projectionsInLutFrame[3][4][4];      ///< Projections of a point given in the LUT frame.
  qmDistortTableSet distortTables[3];         ///< Made at load.
  std::int32_t imageWidth;                    ///< Pixels, from `ohType`.
  std::int32_t imageHeight;                   ///< Pixels, from `ohType`.
};
