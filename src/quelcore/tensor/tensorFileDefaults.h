// What a record gets for the fields that its file is too old to hold, and what follows from fields once they stand.
//
// The rows of tensorFileFormat.h name these functions. Those that fill return false, with a problem, where the record
// cannot do without the fields; `takeOldDefaults` is the caller's word that it takes a head without its lenses'
// distortion.
#pragma once

#include <cstdint>

#include "quelcore/records/qmReconsTensorData.h"

namespace quelcore {

/// Version -1: no temperature is known (-273).
bool setUnknownTemperatures(tag_qmReconsTensorData& tensor, bool takeOldDefaults);
/// Version -2: the first head there was, and its pixels in the world.
bool setFirstHead(tag_qmReconsTensorData& tensor, bool takeOldDefaults);
/// Version -3: its working distance, lens and sensor.
bool setFirstLens(tag_qmReconsTensorData& tensor, bool takeOldDefaults);
/// Version -5: lenses without distortion, and no results of a calibration. Refused, with a note, unless the caller
/// takes them.
bool setNoDistortion(tag_qmReconsTensorData& tensor, bool takeOldDefaults);
/// Version -7: the depth of the box that points are measured in, by the lens.
bool setBoxDepth(tag_qmReconsTensorData& tensor, bool takeOldDefaults);
/// Version -9: where the cameras stand, from the projections that the record holds at this moment.
bool deriveCameraLocations(tag_qmReconsTensorData& tensor, bool takeOldDefaults);
/// Version -10: the one temperature holds for all cameras.
bool spreadTemperature(tag_qmReconsTensorData& tensor, bool takeOldDefaults);
/// Version -11: the box has no limits across.
bool setNoBoxLimits(tag_qmReconsTensorData& tensor, bool takeOldDefaults);
/// Version -16: the LUTs' frame is the world.
bool setLutFrameToWorld(tag_qmReconsTensorData& tensor, bool takeOldDefaults);
/// Version -17: the polynomial distorts.
bool setFirstDistortOption(tag_qmReconsTensorData& tensor, bool takeOldDefaults);

/// Behind -2: replaces the type 0 by the default one, with an error line; takes the image size from the type.
void settleCameraType(tag_qmReconsTensorData& tensor);
/// Behind -14: the second LUT type has the lens models of the first; only its LUTs differ.
void copyModelsToSecondLuts(tag_qmReconsTensorData& tensor);
/// Behind -17: one option for all six models.
void spreadDistortOption(tag_qmReconsTensorData& tensor);

}  // namespace quelcore
