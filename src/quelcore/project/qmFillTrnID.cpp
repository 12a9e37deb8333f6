#include "quelcore/project/qmFillTrnID.h"

#include <cstring>

void qmFillTrnID(qmTrnID& transform, const tag_qmImageID& image) {
  std::memcpy(transform.machineId, image.machineId, sizeof(transform.machineId));
  transform.blockNumber = image.blockNumber;
  transform.imageTag = image.imageTag;
  transform.calibrationTimeStamp = image.calibrationTimeStamp;
}
