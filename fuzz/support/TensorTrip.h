// What every tensor record keeps on its way through a file of its own version.
#pragma once

#include <string>
#include <string_view>

#include "quelcore/records/qmReconsTensorData.h"

namespace quelfuzz {

/// The file with a camera type of tiny images in place of the built-in ones, whose tables of distortion take longer to
/// make and no other way.
std::string withTinyImages(std::string_view file);

/// Requires of a record that was read: it can be written; the file is what an independent writer makes of the record;
/// what is read from it is the record; and its fixed part is what `input` had there.
///
/// Losses: pads become 0; what stands behind the last field goes; a legacy file gets a version word; an identifier
/// ends at its first NUL and at 23 bytes, and one that is too long or cut off goes; where projections were derived
/// they, places and distance of the cameras are new; camera type 0 becomes the default one.
void requireTensorTrip(std::string_view input, tag_qmReconsTensorData& record);

}  // namespace quelfuzz
