#include "quelplatform/img_4_qm/img_4_qm.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>

#include "quelplatform/qmEnv/qmMemoryEmbedded.h"
#include "testing/FailingMemory.h"

namespace {

using quelplatform::allocatedBlocks;

constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();

template <typename Cell>
Cell** makeImage(std::int32_t width, std::int32_t height) {
  return static_cast<Cell**>(alloc_image(width, height, sizeof(Cell), Image_border));
}

qmImageRecord makeRecord(std::int32_t width, std::int32_t height, float first) {
  const qmImageRecord record{makeImage<float>(width, height), width, height};
  for (std::int32_t y = 0; y < height; ++y) {
    for (std::int32_t x = 0; x < width; ++x) record.rows[y][x] = first + static_cast<float>(y * width + x);
  }
  return record;
}

void freeRecord(const qmImageRecord& record) { free_image(record.rows, sizeof(float), Image_border); }

TEST(alloc_image, GivesZeroedRowsOneAfterTheOther) {
  const std::int64_t before = allocatedBlocks();
  for (const std::int32_t height : {1, 2, 3, 64}) {
    float** rows = makeImage<float>(5, height);
    ASSERT_NE(rows, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(rows[0]) % 16, 0u);
    for (std::int32_t y = 0; y < height; ++y) {
      EXPECT_EQ(rows[y], rows[0] + 5 * y);
      for (std::int32_t x = 0; x < 5; ++x) EXPECT_EQ(rows[y][x], 0.0f);
    }
    std::memset(rows[0], 0xFF, static_cast<std::size_t>(height) * 5 * sizeof(float));
    for (std::int32_t y = 0; y < height; ++y) EXPECT_EQ(rows[y], rows[0] + 5 * y);
    EXPECT_EQ(allocatedBlocks(), before + 1);
    free_image(rows, sizeof(float), Image_border);
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(alloc_image, GivesAnEmptyTableForASizeOfZero) {
  for (const auto& [columns, rows, size] :
       {std::array{0, 0, 4}, {0, 3, 4}, {3, 0, 4}, {3, 3, 0}, {kLargest, 0, kLargest}}) {
    void* image = alloc_image(columns, rows, size, Image_border);
    EXPECT_NE(image, nullptr) << columns << ' ' << rows << ' ' << size;
    free_image(image, size, Image_border);
  }
}

TEST(alloc_image, RefusesNegativeSizesAndABorder) {
  EXPECT_EQ(alloc_image(-1, 3, 4, Image_border), nullptr);
  EXPECT_EQ(alloc_image(3, -1, 4, Image_border), nullptr);
  EXPECT_EQ(alloc_image(3, 3, -4, Image_border), nullptr);
  EXPECT_EQ(alloc_image(-3, -3, 4, Image_border), nullptr);
  EXPECT_EQ(alloc_image(3, 3, 4, 1), nullptr);
}

TEST(alloc_image, RefusesSizesThatNoMemoryHolds) {
  EXPECT_EQ(alloc_image(kLargest, kLargest, kLargest, Image_border), nullptr);
  EXPECT_EQ(alloc_image(kLargest, kLargest, 4, Image_border), nullptr);
  EXPECT_EQ(alloc_image(kLargest, kLargest, 1, Image_border), nullptr);
  EXPECT_EQ(alloc_image(1 << 30, 1 << 30, 16, Image_border), nullptr);  // 2^64 bytes of cells
}

TEST(alloc_image, GivesNullWhenMemoryIsExhausted) {
  const std::int64_t failures = quel::testing::failEachAllocation([](std::int64_t n) {
    void* image = alloc_image(3, 3, 4, Image_border);
    EXPECT_EQ(image == nullptr, n == 0);
    free_image(image, 4, Image_border);
  });
  EXPECT_EQ(failures, 1);
}

TEST(free_image, LeavesNullAlone) {
  const std::int64_t before = allocatedBlocks();
  free_image(nullptr, 4, Image_border);
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(fcopy_img, CopiesTheCommonPartAndNothingElse) {
  const qmImageRecord wide = makeRecord(5, 2, 100.0f);
  const qmImageRecord high = makeRecord(3, 4, 0.0f);
  fcopy_img(wide, high);
  for (std::int32_t y = 0; y < 4; ++y) {
    for (std::int32_t x = 0; x < 3; ++x) {
      const int expected = y < 2 ? 100 + y * 5 + x : y * 3 + x;
      EXPECT_EQ(high.rows[y][x], static_cast<float>(expected)) << x << ' ' << y;
    }
  }
  fcopy_img(high, wide);
  EXPECT_EQ(wide.rows[0][2], 102.0f);
  EXPECT_EQ(wide.rows[1][3], 108.0f);
  freeRecord(wide);
  freeRecord(high);
}

TEST(fcopy_img, MayCopyAnImageToItself) {
  const qmImageRecord image = makeRecord(3, 2, 1.0f);
  fcopy_img(image, image);
  EXPECT_EQ(image.rows[1][2], 6.0f);
  freeRecord(image);
}

TEST(fcopy_img, LeavesImagesWithoutRowsOrSizeAlone) {
  const qmImageRecord image = makeRecord(2, 2, 1.0f);
  fcopy_img({nullptr, 2, 2}, image);
  fcopy_img(image, {nullptr, 2, 2});
  const qmImageRecord other = makeRecord(2, 2, 50.0f);
  fcopy_img({other.rows, -2, 2}, image);
  fcopy_img({other.rows, 2, -2}, image);
  fcopy_img({other.rows, 0, 0}, image);
  EXPECT_EQ(image.rows[0][0], 1.0f);
  EXPECT_EQ(image.rows[1][1], 4.0f);
  freeRecord(image);
  freeRecord(other);
}

TEST(free_fpyr, FreesTheGivenLevelsFromRecordZeroOn) {
  const std::int64_t before = allocatedBlocks();
  qmImageRecord levels[kPyramidRecords] = {};
  for (qmImageRecord& level : levels) level = makeRecord(2, 2, 0.0f);
  free_fpyr(levels, 1, 3);
  for (std::int32_t n = 0; n < kPyramidRecords; ++n) EXPECT_EQ(levels[n].rows == nullptr, n >= 1 && n < 4) << n;
  free_fpyr(levels, 0, 4);
  EXPECT_EQ(allocatedBlocks(), before + kPyramidRecords - 4);
  free_fpyr(levels, -5, kLargest);
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(free_fpyr, IgnoresCountsBelowOneLevelsOutsideAndNull) {
  const std::int64_t before = allocatedBlocks();
  qmImageRecord levels[kPyramidRecords] = {};
  levels[0] = makeRecord(2, 2, 0.0f);
  free_fpyr(levels, 0, 0);
  free_fpyr(levels, 0, -1);
  free_fpyr(levels, kPyramidRecords, 5);
  free_fpyr(levels, kLargest, kLargest);
  free_fpyr(levels, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::min());
  free_fpyr(nullptr, 0, 3);
  EXPECT_EQ(allocatedBlocks(), before + 1);
  free_fpyr(levels, 0, 1);
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(free_bpyr, CountsItsRecordZeroAsLevelOne) {
  const std::int64_t before = allocatedBlocks();
  qmByteImageRecord levels[kPyramidRecords] = {};
  for (qmByteImageRecord& level : levels) level = {makeImage<std::uint8_t>(3, 3), 3, 3};
  free_bpyr(levels, 1, 2);
  for (std::int32_t n = 0; n < kPyramidRecords; ++n) EXPECT_EQ(levels[n].rows == nullptr, n < 2) << n;
  free_bpyr(levels, 0, 3);
  EXPECT_NE(levels[2].rows, nullptr);
  free_bpyr(levels, 3, 0);
  free_bpyr(levels, 3, -4);
  free_bpyr(nullptr, 1, 2);
  EXPECT_EQ(allocatedBlocks(), before + kPyramidRecords - 2);
  free_bpyr(levels, std::numeric_limits<std::int32_t>::min(), 3);
  free_bpyr(levels, kPyramidRecords + 1, 3);
  EXPECT_EQ(allocatedBlocks(), before + kPyramidRecords - 2);
  free_bpyr(levels, 3, kLargest);
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(def_fpyr, HalvesEachLevelRoundedUpAndSetsTheLevelCount) {
  _qmPyramid pyramid{};
  def_fpyr(pyramid.levelImages, 3, 1537, 4, 0);
  EXPECT_EQ(pyramid.levels, 3);
  const std::int32_t widths[] = {1537, 769, 385, 193}, heights[] = {4, 2, 1, 1};
  for (int n = 0; n < 4; ++n) {
    EXPECT_EQ(pyramid.levelImages[n].width, widths[n]);
    EXPECT_EQ(pyramid.levelImages[n].height, heights[n]);
    EXPECT_EQ(pyramid.levelImages[n].rows, nullptr);
  }
  EXPECT_EQ(pyramid.levelImages[4].width, 0);
  for (const float value : pyramid.levelValues) EXPECT_EQ(value, 0.0f);
}

TEST(def_bpyr, BeginsWithTheBaseAtLevelOne) {
  _qmBPyramid pyramid{};
  def_bpyr(pyramid.levelImages, 3, 9, 5);
  EXPECT_EQ(pyramid.levels, 3);
  const std::int32_t widths[] = {9, 5, 3, 0}, heights[] = {5, 3, 2, 0};
  for (int n = 0; n < 4; ++n) {
    EXPECT_EQ(pyramid.levelImages[n].width, widths[n]);
    EXPECT_EQ(pyramid.levelImages[n].height, heights[n]);
  }
}

TEST(def_fpyr, TakesEveryNumberOfLevelsThatTheRecordHolds) {
  for (std::int32_t levels = -1; levels < kPyramidRecords; ++levels) {
    _qmPyramid pyramid{};
    def_fpyr(pyramid.levelImages, levels, kLargest, 1, 0);
    EXPECT_EQ(pyramid.levels, levels);
    for (int n = 0; n < kPyramidRecords; ++n) EXPECT_EQ(pyramid.levelImages[n].width > 0, n <= levels) << levels;
  }
}

TEST(def_fpyr, ChangesNothingForMoreLevelsThanTheRecordHolds) {
  for (const std::int32_t levels : {kPyramidRecords, kPyramidRecords + 1, kLargest}) {
    struct {
      _qmPyramid floats;
      _qmBPyramid bytes;
      std::int32_t behind;
    } records{};
    def_fpyr(records.floats.levelImages, levels, 4, 4, 0);
    def_bpyr(records.bytes.levelImages, levels, 4, 4);
    EXPECT_EQ(records.floats.levels, 0);
    EXPECT_EQ(records.bytes.levels, 0);
    EXPECT_EQ(records.floats.levelImages[0].width, 0);
    EXPECT_EQ(records.bytes.levelImages[0].width, 0);
    EXPECT_EQ(records.behind, 0);
  }
  def_fpyr(nullptr, 3, 4, 4, 0);
  def_bpyr(nullptr, 3, 4, 4);
}

TEST(alloc_fpyr, MakesTheImagesThatAreDefined) {
  const std::int64_t before = allocatedBlocks();
  _qmPyramid pyramid{};
  def_fpyr(pyramid.levelImages, 2, 5, 3, 0);
  ASSERT_EQ(alloc_fpyr(pyramid.levelImages, 0, 3), 1);
  EXPECT_EQ(allocatedBlocks(), before + 3);
  for (int n = 0; n < 3; ++n) {
    const qmImageRecord& image = pyramid.levelImages[n];
    for (std::int32_t y = 0; y < image.height; ++y) {
      for (std::int32_t x = 0; x < image.width; ++x) EXPECT_EQ(image.rows[y][x], 0.0f);
    }
  }
  ASSERT_EQ(alloc_fpyr(pyramid.levelImages, 1, 1), 1);  // The old image of the level goes.
  EXPECT_EQ(allocatedBlocks(), before + 3);
  free_fpyr(pyramid.levelImages, 0, 3);
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(alloc_bpyr, CountsItsRecordZeroAsLevelOne) {
  const std::int64_t before = allocatedBlocks();
  _qmBPyramid pyramid{};
  def_bpyr(pyramid.levelImages, 4, 9, 9);
  ASSERT_EQ(alloc_bpyr(pyramid.levelImages, 2, 2), 1);
  for (int n = 0; n < 5; ++n) EXPECT_EQ(pyramid.levelImages[n].rows != nullptr, n == 1 || n == 2) << n;
  pyramid.levelImages[1].rows[4][4] = 7;
  EXPECT_EQ(allocatedBlocks(), before + 2);
  free_bpyr(pyramid.levelImages, 1, 4);
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(alloc_fpyr, RefusesLevelsOutsideTheTableAndTakesNoneForDone) {
  qmImageRecord levels[kPyramidRecords] = {};
  qmByteImageRecord bytes[kPyramidRecords] = {};
  EXPECT_EQ(alloc_fpyr(levels, -1, 2), 0);
  EXPECT_EQ(alloc_fpyr(levels, 0, kPyramidRecords + 1), 0);
  EXPECT_EQ(alloc_fpyr(levels, kLargest, kLargest), 0);
  EXPECT_EQ(alloc_fpyr(nullptr, 0, 1), 0);
  EXPECT_EQ(alloc_bpyr(bytes, 0, 1), 0);
  EXPECT_EQ(alloc_bpyr(bytes, 1, kPyramidRecords + 1), 0);
  EXPECT_EQ(alloc_bpyr(bytes, std::numeric_limits<std::int32_t>::min(), 1), 0);
  EXPECT_EQ(alloc_bpyr(nullptr, 1, 1), 0);
  for (const std::int32_t none : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
    EXPECT_EQ(alloc_fpyr(levels, 0, none), 1);
    EXPECT_EQ(alloc_bpyr(bytes, 1, none), 1);
  }
  for (int n = 0; n < kPyramidRecords; ++n) EXPECT_TRUE(levels[n].rows == nullptr && bytes[n].rows == nullptr);
}

TEST(alloc_fpyr, LeavesNoImageBehindWhenALevelCannotBeHad) {
  const std::int64_t before = allocatedBlocks();
  _qmPyramid pyramid{};
  def_fpyr(pyramid.levelImages, 3, 8, 8, 0);
  pyramid.levelImages[2].height = -1;
  EXPECT_EQ(alloc_fpyr(pyramid.levelImages, 0, 4), 0);
  EXPECT_EQ(allocatedBlocks(), before);
  pyramid.levelImages[2].height = 2;
  const std::int64_t failures = quel::testing::failEachAllocation([&](std::int64_t) {
    const bool made = alloc_fpyr(pyramid.levelImages, 0, 4) == 1;
    for (int n = 0; n < 4; ++n) EXPECT_EQ(pyramid.levelImages[n].rows != nullptr, made);
    free_fpyr(pyramid.levelImages, 0, 4);
  });
  EXPECT_EQ(failures, 4);
}

}  // namespace
