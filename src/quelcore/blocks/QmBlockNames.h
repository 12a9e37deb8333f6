// Names of calibration blocks and their files, identifiers of their LUTs, and which images fit which block.
//
// A block is named by the machine M that made it, its number N and, sometimes, its tile T:
//
//   N <= 0            block
//   M absent          N               (null or empty; the tile is left out)
//   T = 0             M-N
//   T != 0            M-N_T
//
// The tensor file is the name with ".tns", the one LUT file of a block the name with tile 0 and ".lut". A LUT
// identifier is M in 8 characters (padded on the left with '0'), N in 10 digits, the LUT type in 1 and the camera in 2:
// 21 characters. Its first 18 are the prefix that changes when a block is renumbered. M is at most 8 characters long
// everywhere and needs no NUL then.
//
// Sizes are in units with room for the terminating NUL. All functions are reentrant. Where memory is exhausted their
// result is 0 or false.
#pragma once

#include <string>

#include "quelcore/QuelCoreApi.h"
#include "quelcore/records/qmIdentity.h"
#include "quelcore/records/qmReconsTensorData.h"
#include "quelplatform/qmEnv/qmTypes.h"

class QmReconsTensor;

/// Writes the block name. Returns its length; its length + 1 for a null `buffer`; or 0, with nothing written, when it
/// does not fit.
QUELCORE_API std::int32_t GetBlockName(const char* machineId, std::int32_t blockNumber, std::int32_t tile,
                                       qmWChar* buffer, std::int32_t size);

/// Writes the name of the tensor file. Returns its length, which is also the result for a null `buffer`; or 0, with
/// nothing written, when it does not fit.
QUELCORE_API std::int32_t GetBlockFileName(const char* machineId, std::int32_t blockNumber, std::int32_t tile,
                                           qmWChar* buffer, std::int32_t size);
QUELCORE_API std::int32_t GetBlockFileName(const qmFtrID& id, std::int32_t tile, qmWChar* buffer, std::int32_t size);
QUELCORE_API std::int32_t GetBlockFileName(const tag_qmCalibrationID& id, qmWChar* buffer, std::int32_t size);
QUELCORE_API std::int32_t GetBlockFileName(const tag_qmImageID& id, qmWChar* buffer, std::int32_t size);

/// The same into a string. Returns true.
QUELCORE_API bool GetBlockFileName(const char* machineId, std::int32_t blockNumber, std::int32_t tile, qmWString& name);
QUELCORE_API bool GetBlockFileName(const qmFtrID& id, std::int32_t tile, qmWString& name);
QUELCORE_API bool GetBlockFileName(const tag_qmCalibrationID& id, qmWString& name);
QUELCORE_API bool GetBlockFileName(const tag_qmImageID& id, qmWString& name);

/// Writes the name of the LUT file, cut to `size` if it is longer. Returns the full length, also for a null `buffer`.
/// Required: unlike `GetBlockFileName` it does not refuse a small buffer.
QUELCORE_API std::int32_t GetLutsFileName(const char* machineId, std::int32_t blockNumber, qmWChar* buffer,
                                          std::int32_t size);

/// The same into a string. Returns true; false only for a null tensor.
QUELCORE_API bool GetLutsFileName(const char* machineId, std::int32_t blockNumber, qmWString& name);
QUELCORE_API bool GetLutsFileName(const QmReconsTensor* tensor, qmWString& name);

/// Writes a LUT identifier, cut to `size` if it is longer. Returns its full length; for a null `buffer` its length + 1.
QUELCORE_API std::int32_t GetLutsId(const char* machineId, std::int32_t blockNumber, std::int32_t lutType,
                                    std::int32_t camera, char* buffer, std::int32_t size);
QUELCORE_API std::int32_t GetLutsId(const tag_qmCalibrationID& id, std::int32_t lutType, std::int32_t camera,
                                    char* buffer, std::int32_t size);

/// The same into a string. Returns true.
QUELCORE_API bool GetLutsId(const char* machineId, std::int32_t blockNumber, std::int32_t lutType, std::int32_t camera,
                            std::string& id);
QUELCORE_API bool GetLutsId(const tag_qmCalibrationID& calibration, std::int32_t lutType, std::int32_t camera,
                            std::string& id);

/// Writes the prefix of a block's LUT identifiers. Buffer and result as `GetLutsId`.
QUELCORE_API std::int32_t GetLutsIdPrefix(const char* machineId, std::int32_t blockNumber, char* buffer,
                                          std::int32_t size);
QUELCORE_API std::int32_t GetLutsIdPrefix(const tag_qmCalibrationID& id, char* buffer, std::int32_t size);

/// The same into a string. Returns true.
QUELCORE_API bool GetLutsIdPrefix(const char* machineId, std::int32_t blockNumber, std::string& prefix);

/// True when the image was taken with this calibration: same block number, same machine, and the image's calibration
/// time stamp is 0 or the same.
QUELCORE_API bool IsBlockCompatibleToImage(const tag_qmImageID& image, const tag_qmCalibrationID& calibration);

/// The same for a tensor. False for null and for an empty tensor; true for one of version -1 to -5, which has no
/// identity.
QUELCORE_API bool IsBlockCompatibleToImage(const tag_qmImageID& image, const tag_qmReconsTensorData* tensor);

/// As above without a look at the time stamps.
QUELCORE_API bool IsBlockTileCompatibleToImage(const tag_qmImageID& image, const tag_qmReconsTensorData* tensor);

/// Copies the LUT file that goes with the block file (its name up to the first "." and ".lut") between two directories.
/// An absent source and an existing target are left alone. A failed copy is reported as numbered error 0xc4010026,
/// level 5. Returns true, even then.
QUELCORE_API bool CopyBlockLuts(const qmWString& sourceDirectory, const qmWString& targetDirectory,
                                const qmWString& blockFileName);

/// Required: copies nothing and returns false, whatever is asked; no caller may rely on a copy.
QUELCORE_API bool CopyBlockCorrectionFile(const qmWString& name, const qmWString& sourceDirectory,
                                          const qmWString& targetDirectory);

/// Copies a block file and its LUT file to `targetDirectory`, which is made if need be, from the first of the two
/// directories that has it. An existing target is left alone, true. False for a null name, and, with a note of level 4,
/// when neither has it. A directory that cannot be made ("cannot create directory %s", level 5) or a copy that fails
/// (0xc4010026, level 5) is reported, and the result is true all the same.
QUELCORE_API bool CopyImageBlock(const qmWChar* fileName, const qmWString& firstDirectory,
                                 const qmWString& secondDirectory, const qmWString& targetDirectory);
