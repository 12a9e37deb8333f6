// What a calibration block must know of the head and the images that it was measured with.
//
// The record is filled from image records and written into a tensor: so a freshly computed tensor learns where it comes
// from. Its static members tell whether lens tables are in use for a camera type.
#pragma once

#include <cstdint>

#include "quelcore/QuelCoreApi.h"
#include "quelcore/records/qmPatch.h"
#include "quelcore/records/qmReconsTensorData.h"

/// Head and image data of a block. Copies are plain.
class QUELCORE_API QmPatchBlockInfo {
 public:
  /// All 0, but for this machine's identifier.
  QmPatchBlockInfo();
  QmPatchBlockInfo(const QmPatchBlockInfo&) = default;
  QmPatchBlockInfo& operator=(const QmPatchBlockInfo&) = default;

  /// True when the camera type is known.
  bool isInit() const { return ohType != OH_CAMERA_INVALID; }

  /// Takes temperatures, camera type (the default one where the image has none), head parameters, image tag and, for
  /// all three cameras, the size of `image`; nothing for null.
  void initialize(const tag_qmImage* image);

  /// As above from the first of `cameras` images, one per camera, and the size of each further camera from its own
  /// image. Cameras beyond three are not looked at.
  void initialize(const tag_qmImage* images, unsigned cameras);

  /// As above from the images of a patch, of which any may be null; nothing for null.
  ///
  /// Required: without the image of camera 0 the sizes of the others are taken all the same.
  void initialize(const qmPatchImage* images);

  /// Writes temperatures, camera type, head parameters, machine, image tag and the two further words into `tensor`, and
  /// the image size of the camera type where that is known; nothing for null.
  void updateTensor(tag_qmReconsTensorData* tensor) const;

  /// Whether lens tables made from clouds, from targets, or from either are in use for a camera type. The answers come
  /// from section "General" of the type's multi-stage calibration file, keys "qmDistortLutCopBased" and
  /// "qmDistortLutTrgBased", and are kept until another type is asked for. False, with a numbered error, when the file
  /// is missing (0xc4040067). Type 0 gets the answers for the type before it, or false, with the numbered error
  /// 0xc4040066, when there was none. Not to be asked from two threads at once.
  static bool getUseDistortLut(OH_CAMERA_TYPE type);
  static bool getUseDistortLutCop(OH_CAMERA_TYPE type);
  static bool getUseDistortLutTrg(OH_CAMERA_TYPE type);

  OH_CAMERA_TYPE ohType = OH_CAMERA_INVALID;
  double headParams[5] = {};  ///< Pixel to world ratio, working distance, lens, pixel size, head parameter 4.
  double imageWidths[3] = {};
  double imageHeights[3] = {};
  double temperatures[3] = {};          ///< By `TemperatureSource`.
  char machineId[kMachineIdSize] = {};  ///< This machine.
  std::int32_t calibWord0 = 0;          ///< The caller's.
  std::int32_t imageTag = 0;
  std::int32_t calibWord2 = 0;  ///< The caller's.
};
