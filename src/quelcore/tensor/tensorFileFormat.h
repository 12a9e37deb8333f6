// The layout of tensor files as data: which fields of the record a file of each version holds, in which order, and what
// stands in for them when the file is older. The tables of docs/formats.md say the same in words; reader and writer
// walk these tables.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

#include "quelcore/records/qmReconsTensorData.h"
#include "quelcore/tensor/tensorFileDefaults.h"

namespace quelcore {

inline constexpr std::size_t kPadSize = 4;

/// One stored field: `size` bytes at `offset` of the record.
struct FileField {
  std::size_t offset;
  std::size_t size;
  /// What is converted between file order and host order: this many elements of this size. 0 for fields that are stored
  /// as they are.
  std::size_t flipCount;
  std::size_t flipSize;
  const char* name;  ///< For who tells what is wrong with a file.
};

constexpr std::size_t kPadOffset = static_cast<std::size_t>(-1);
constexpr bool isPad(const FileField& field) { return field.offset == kPadOffset; }

#define QUEL_FIELD(member, count, elementSize) \
  { offsetof(tag_qmReconsTensorData, member), sizeof(tag_qmReconsTensorData::member), count, elementSize, #member }
#define QUEL_WORD(member) QUEL_FIELD(member, 1, 4)
// The pass counts blocks in bytes, not in elements; on the little-endian hosts of the system it converts nothing.
#define QUEL_BLOCK(member) QUEL_FIELD(member, sizeof(tag_qmReconsTensorData::member), 8)
#define QUEL_RAW(member) QUEL_FIELD(member, 0, 0)
#define QUEL_PAD \
  { kPadOffset, kPadSize, 0, 0, "padding" }

/// The fields that every version holds, behind the version word (which a legacy file lacks).
inline constexpr FileField kFieldsOfAllVersions[] = {
    QUEL_WORD(numCameras),
    QUEL_PAD,
    QUEL_BLOCK(tensorCoefficients),
    QUEL_BLOCK(tensorCoefficients2),
    QUEL_WORD(transferFlag),
    QUEL_PAD,
    QUEL_BLOCK(epipole),
    QUEL_BLOCK(imageCentre),
    QUEL_BLOCK(imageScale),
    QUEL_BLOCK(auxTransfer0),
    QUEL_BLOCK(singularTransfer),
    QUEL_BLOCK(singularDepthScale),
    QUEL_BLOCK(auxTransfer1),
    QUEL_WORD(planarFlag),
    QUEL_PAD,
    QUEL_BLOCK(planarTransfer),
    QUEL_BLOCK(planarDepthScale),
    QUEL_WORD(auxFlag),
    QUEL_PAD,
    QUEL_BLOCK(auxTransfer2),
    QUEL_WORD(reconsFlag),
    QUEL_PAD,
    QUEL_BLOCK(reconsCoefficients),
    QUEL_BLOCK(pairReconstruction),
    QUEL_BLOCK(viewMatrices),
    QUEL_BLOCK(worldCentre),
    QUEL_FIELD(worldScale, 1, 8),
};

/// Fields of versions -1 to -3 are converted singly, where they are read and written; later ones not at all.
inline constexpr FileField kFieldsOfVersion1[] = {QUEL_FIELD(temperature[0], 1, 8)};
inline constexpr FileField kFieldsOfVersion2[] = {QUEL_WORD(ohType), QUEL_FIELD(pixel2WorldRatio, 1, 8)};
inline constexpr FileField kFieldsOfVersion3[] = {QUEL_FIELD(workingDistance, 1, 8), QUEL_FIELD(lensType, 1, 8),
                                                  QUEL_FIELD(ccdPixelSize, 1, 8), QUEL_FIELD(headParam4, 1, 8)};
inline constexpr FileField kFieldsOfVersion4[] = {QUEL_RAW(projectionsValid), QUEL_RAW(projections)};

// The file has the principal point first, the record has it last.
#define QUEL_DISTORTION(i)                                                                         \
  QUEL_RAW(distortParams[i].xp), QUEL_RAW(distortParams[i].yp), QUEL_RAW(distortParams[i].k1),     \
      QUEL_RAW(distortParams[i].k2), QUEL_RAW(distortParams[i].k3), QUEL_RAW(distortParams[i].p1), \
      QUEL_RAW(distortParams[i].p2)
inline constexpr FileField kFieldsOfVersion5[] = {
    QUEL_DISTORTION(0),  QUEL_DISTORTION(1),     QUEL_DISTORTION(2),     QUEL_RAW(resultAvg),    QUEL_RAW(resultStd),
    QUEL_RAW(resultMax), QUEL_RAW(resultValue0), QUEL_RAW(resultValue1), QUEL_RAW(resultValue2), QUEL_RAW(resultInt),
};
inline constexpr FileField kFieldsOfVersion6[] = {QUEL_RAW(machineId), QUEL_RAW(blockNumber), QUEL_RAW(calibWord0),
                                                  QUEL_RAW(imageTag), QUEL_RAW(calibWord2)};
inline constexpr FileField kFieldsOfVersion7[] = {QUEL_RAW(reconstBoxCenterZ), QUEL_RAW(reconstBoxHalfSizeZ)};
inline constexpr FileField kFieldsOfVersion8[] = {QUEL_RAW(calibrationTimeStamp)};
inline constexpr FileField kFieldsOfVersion9[] = {QUEL_RAW(cameraLocations), QUEL_RAW(calibDistance)};
inline constexpr FileField kFieldsOfVersion10[] = {QUEL_RAW(temperature[1]), QUEL_RAW(temperature[2])};
inline constexpr FileField kFieldsOfVersion11[] = {QUEL_RAW(reconstBoxCenterX), QUEL_RAW(reconstBoxHalfSizeX),
                                                   QUEL_RAW(reconstBoxCenterY), QUEL_RAW(reconstBoxHalfSizeY)};
inline constexpr FileField kFieldsOfVersion13[] = {QUEL_RAW(distortParams[0].distortExtra),
                                                   QUEL_RAW(distortParams[1].distortExtra),
                                                   QUEL_RAW(distortParams[2].distortExtra)};
inline constexpr FileField kFieldsOfVersion14[] = {QUEL_RAW(lutExtraFlag), QUEL_RAW(lutExtraValue)};
inline constexpr FileField kFieldsOfVersion16[] = {QUEL_RAW(lutFrameTransform), QUEL_RAW(projectionsInLutFrame)};
inline constexpr FileField kFieldsOfVersion17[] = {QUEL_RAW(distortParams[0].distortOption)};

#undef QUEL_DISTORTION
#undef QUEL_PAD
#undef QUEL_RAW
#undef QUEL_BLOCK
#undef QUEL_WORD
#undef QUEL_FIELD

/// One version of the format: what it added to the file, and what a record gets instead when its file is older.
struct VersionRow {
  std::int32_t version;
  std::span<const FileField> fields = {};  ///< Empty where the version added LUT identifiers.
  std::int32_t lutType = -1;               ///< Of which type they are; -1 for plain fields.
  /// Fills the fields of a record whose file is older; false where the record cannot do without them. Null: they stay
  /// zero.
  bool (*setDefaults)(tag_qmReconsTensorData& tensor, bool takeOldDefaults) = nullptr;
  /// Settles what follows from the fields, whether they were read or filled. Null: nothing.
  void (*complete)(tag_qmReconsTensorData& tensor) = nullptr;
  /// Required: the fields are there when the record itself is of this version, whether this version or the one before
  /// is written. So a record of -16 that is stored as -17 gives a file that lacks its last word, which the reader
  /// refuses.
  bool storedByRecord = false;
};

/// All versions behind 0, in the order in which their fields stand in a file. A new version is one more row.
inline constexpr VersionRow kVersionRows[] = {
    {.version = -1, .fields = kFieldsOfVersion1, .setDefaults = setUnknownTemperatures},
    {.version = -2, .fields = kFieldsOfVersion2, .setDefaults = setFirstHead, .complete = settleCameraType},
    {.version = -3, .fields = kFieldsOfVersion3, .setDefaults = setFirstLens},
    {.version = -4, .fields = kFieldsOfVersion4},
    {.version = -5, .fields = kFieldsOfVersion5, .setDefaults = setNoDistortion},
    {.version = -6, .fields = kFieldsOfVersion6},
    {.version = -7, .fields = kFieldsOfVersion7, .setDefaults = setBoxDepth},
    {.version = -8, .fields = kFieldsOfVersion8},
    {.version = -9, .fields = kFieldsOfVersion9, .setDefaults = deriveCameraLocations},
    {.version = -10, .fields = kFieldsOfVersion10, .setDefaults = spreadTemperature},
    {.version = -11, .fields = kFieldsOfVersion11, .setDefaults = setNoBoxLimits},
    {.version = -12, .lutType = 0},
    {.version = -13, .fields = kFieldsOfVersion13},
    {.version = -14, .fields = kFieldsOfVersion14, .complete = copyModelsToSecondLuts},
    {.version = -15, .lutType = 1},
    {.version = -16, .fields = kFieldsOfVersion16, .setDefaults = setLutFrameToWorld},
    {.version = -17,
     .fields = kFieldsOfVersion17,
     .setDefaults = setFirstDistortOption,
     .complete = spreadDistortOption,
     .storedByRecord = true},
};

static_assert([] {
  std::int32_t version = 0;
  return std::ranges::all_of(kVersionRows, [&](const VersionRow& row) { return row.version == --version; });
}());

inline constexpr std::int32_t kOldestVersion = 0;
inline constexpr std::int32_t kNewestVersion = std::end(kVersionRows)[-1].version;

/// LUT identifiers of one type in a record.
inline tag_qmDistortLutsInfo* lutInfosOf(tag_qmReconsTensorData& tensor, std::int32_t lutType) {
  return lutType == 0 ? tensor.distortLutsInfo : tensor.distortLutsInfo2;
}

/// Converts the fields of all versions of a record between file order and host order.
void flipRecord(tag_qmReconsTensorData& tensor);

/// Address of a field in a record.
inline unsigned char* fieldOf(tag_qmReconsTensorData& tensor, const FileField& field) {
  return reinterpret_cast<unsigned char*>(&tensor) + field.offset;
}

}  // namespace quelcore
