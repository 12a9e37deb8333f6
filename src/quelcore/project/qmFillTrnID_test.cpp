#include "quelcore/project/qmFillTrnID.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

namespace {

static_assert(sizeof(qmTrnID) == 20 && offsetof(qmTrnID, blockNumber) == 8 && offsetof(qmTrnID, imageTag) == 12 &&
              offsetof(qmTrnID, calibrationTimeStamp) == 16);

TEST(qmFillTrnID, CopiesEachFieldToItsOwnPlace) {
  const tag_qmImageID image = {{'H', 'E', 'A', 'D', '0', '0', '4', '2'}, 11, 22, 33};
  qmTrnID transform;
  std::memset(&transform, 0x5A, sizeof(transform));
  qmFillTrnID(transform, image);
  EXPECT_EQ(std::memcmp(transform.machineId, "HEAD0042", 8), 0);
  EXPECT_EQ(transform.imageTag, 11);
  EXPECT_EQ(transform.calibrationTimeStamp, 22);
  EXPECT_EQ(transform.blockNumber, 33);
}

}  // namespace
