// The identity of a transform from that of the image that it belongs to.
#pragma once

#include "quelcore/QuelCoreApi.h"
#include "quelcore/records/qmIdentity.h"

/// Copies machine, block number, image tag and calibration time stamp, which stand in another order in the two records.
QUELCORE_API void qmFillTrnID(qmTrnID& transform, const tag_qmImageID& image);
