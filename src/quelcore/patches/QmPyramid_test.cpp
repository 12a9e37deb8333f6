#include "quelcore/patches/QmPyramid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <type_traits>

#include "testing/FailingMemory.h"

namespace {

using namespace quel::testing;
using quelplatform::allocatedBlocks;
using ::testing::Each;

static_assert(!std::is_copy_constructible_v<QmPyramid> && !std::is_copy_constructible_v<QmMaskPyramid>);
static_assert(!std::is_polymorphic_v<QmPyramid> && !std::is_polymorphic_v<QmMaskPyramid>);

constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();

/// What is protected, in the open.
class OpenPyramid : public QmPyramid {
 public:
  using QmPyramid::QmPyramid;
  using QmPyramid::setPyramid;
  OpenPyramid() = default;
  OpenPyramid(const OpenPyramid& other) = default;
  OpenPyramid& operator=(const OpenPyramid& other) = default;
  _qmPyramid& record() { return *static_cast<_qmPyramid*>(*this); }
};

class OpenMask : public QmMaskPyramid {
 public:
  using QmMaskPyramid::QmMaskPyramid;
  using QmMaskPyramid::setPyramid;
  OpenMask() = default;
  OpenMask(const OpenMask& other) = default;
  OpenMask& operator=(const OpenMask& other) = default;
  _qmBPyramid& record() { return *static_cast<_qmBPyramid*>(*this); }
};

float pixel(int level, int x, int y) { return static_cast<float>(10000 * level + 100 * y + x); }

/// A plain pyramid in which every pixel tells where it is.
struct Floats {
  Floats(std::int32_t levels, std::int32_t width, std::int32_t height) {
    def_fpyr(record.levelImages, levels, width, height, 0);
    EXPECT_EQ(alloc_fpyr(record.levelImages, 0, levels + 1), 1);
    for (int n = 0; n <= levels; ++n) {
      record.levelValues[n] = static_cast<float>(n) + 0.5F;
      const qmImageRecord& image = record.levelImages[n];
      for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) image.rows[y][x] = pixel(n, x, y);
      }
    }
  }
  ~Floats() { free_fpyr(record.levelImages, 0, kPyramidRecords); }
  Floats(const Floats&) = delete;
  Floats& operator=(const Floats&) = delete;
  _qmPyramid record{};
};

struct Bytes {
  Bytes(std::int32_t levels, std::int32_t width, std::int32_t height) {
    def_bpyr(record.levelImages, levels, width, height);
    EXPECT_EQ(alloc_bpyr(record.levelImages, 1, levels), 1);
    for (int n = 0; n < levels; ++n) {
      const qmByteImageRecord& image = record.levelImages[n];
      for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) image.rows[y][x] = byteAt(n, x, y);
      }
    }
  }
  ~Bytes() { free_bpyr(record.levelImages, 1, kPyramidRecords); }
  Bytes(const Bytes&) = delete;
  Bytes& operator=(const Bytes&) = delete;
  static std::uint8_t byteAt(int n, int x, int y) { return static_cast<std::uint8_t>(50 * n + 16 * y + x); }
  _qmBPyramid record{};
};

void expectWhole(const _qmPyramid& copy, const _qmPyramid& source) {
  ASSERT_EQ(copy.levels, source.levels);
  for (int n = 0; n <= source.levels; ++n) {
    EXPECT_EQ(copy.levelValues[n], source.levelValues[n]);
    const qmImageRecord& image = copy.levelImages[n];
    ASSERT_NE(image.rows, nullptr);
    ASSERT_NE(image.rows, source.levelImages[n].rows);
    ASSERT_EQ(image.width, source.levelImages[n].width);
    ASSERT_EQ(image.height, source.levelImages[n].height);
    for (int y = 0; y < image.height; ++y) {
      for (int x = 0; x < image.width; ++x) ASSERT_EQ(image.rows[y][x], pixel(n, x, y));
    }
  }
  for (int n = source.levels + 1; n < kPyramidRecords; ++n) EXPECT_EQ(copy.levelImages[n].rows, nullptr);
}

void expectWhole(const _qmBPyramid& copy, const _qmBPyramid& source) {
  ASSERT_EQ(copy.levels, source.levels);
  for (int n = 0; n < source.levels; ++n) {
    const qmByteImageRecord& image = copy.levelImages[n];
    ASSERT_NE(image.rows, nullptr);
    ASSERT_NE(image.rows, source.levelImages[n].rows);
    ASSERT_EQ(image.width, source.levelImages[n].width);
    ASSERT_EQ(image.height, source.levelImages[n].height);
    for (int y = 0; y < image.height; ++y) {
      for (int x = 0; x < image.width; ++x) ASSERT_EQ(image.rows[y][x], Bytes::byteAt(n, x, y));
    }
  }
  for (int n = std::max(source.levels, 0); n < kPyramidRecords; ++n) EXPECT_EQ(copy.levelImages[n].rows, nullptr);
}

TEST(QmPyramid, IsEmptyAtFirst) {
  QmPyramid pyramid;
  const QmPyramid& constant = pyramid;
  _qmPyramid* record = pyramid;
  const _qmPyramid* constantRecord = constant;
  EXPECT_EQ(static_cast<void*>(record), &pyramid);
  EXPECT_EQ(constantRecord, record);
  EXPECT_EQ(record->levels, 0);
  EXPECT_THAT(record->levelValues, Each(-1.0F));
  for (const qmImageRecord& image : record->levelImages) EXPECT_EQ(image.rows, nullptr);
}

TEST(QmMaskPyramid, IsEmptyAtFirst) {
  QmMaskPyramid pyramid;
  const QmMaskPyramid& constant = pyramid;
  _qmBPyramid* record = pyramid;
  const _qmBPyramid* constantRecord = constant;
  EXPECT_EQ(static_cast<void*>(record), &pyramid);
  EXPECT_EQ(constantRecord, record);
  EXPECT_EQ(record->levels, 0);
  for (const qmByteImageRecord& image : record->levelImages) EXPECT_EQ(image.rows, nullptr);
}

TEST(QmPyramid, IsAWholeCopyOfAPlainOneAndLeavesNothingBehind) {
  const std::int64_t before = allocatedBlocks();
  for (const std::int32_t levels : {0, 1, 4, 14}) {
    const Floats source(levels, 37, 22);
    const OpenPyramid fromReference(source.record), fromPointer(&source.record), copy(fromReference);
    for (const OpenPyramid* made : {&fromReference, &fromPointer, &copy}) {
      const _qmPyramid* record = *made;
      expectWhole(*record, source.record);
      for (int n = levels + 1; n < kPyramidRecords; ++n) EXPECT_EQ(record->levelValues[n], 0.0F);
    }
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(QmMaskPyramid, IsAWholeCopyOfAPlainOneAndLeavesNothingBehind) {
  const std::int64_t before = allocatedBlocks();
  for (const std::int32_t levels : {0, 1, 4, 14}) {
    const Bytes source(levels, 37, 22);
    const OpenMask fromReference(source.record), fromPointer(&source.record), copy(fromReference);
    for (const OpenMask* made : {&fromReference, &fromPointer, &copy}) {
      expectWhole(*static_cast<const _qmBPyramid*>(*made), source.record);
    }
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(QmMaskPyramid, AllocatesNothingForASourceWithoutLevels) {
  const std::int64_t before = allocatedBlocks();
  const _qmBPyramid none{};
  const OpenMask made(none);
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(QmPyramid, TakesAnotherPyramidIn) {
  const std::int64_t before = allocatedBlocks();
  {
    OpenPyramid pyramid;
    for (const auto& [levels, width] : {std::pair{3, 20}, {1, 50}, {1, 50}, {5, 64}, {0, 9}}) {
      const Floats source(levels, width, 10);
      ASSERT_TRUE(pyramid.setPyramid(source.record));
      expectWhole(pyramid.record(), source.record);
    }
    EXPECT_TRUE(pyramid.setPyramid(pyramid.record()));
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(QmMaskPyramid, TakesAnotherPyramidIn) {
  const std::int64_t before = allocatedBlocks();
  {
    OpenMask pyramid;
    for (const auto& [levels, width] : {std::pair{3, 20}, {1, 50}, {1, 50}, {5, 64}, {0, 9}}) {
      const Bytes source(levels, width, 10);
      ASSERT_TRUE(pyramid.setPyramid(source.record));
      expectWhole(pyramid.record(), source.record);
    }
    EXPECT_TRUE(pyramid.setPyramid(pyramid.record()));
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(QmPyramid, CopiesTheCommonPartOfLevelsOfAnotherSize) {
  const Floats small(1, 8, 6), large(1, 20, 30);
  OpenPyramid pyramid(small.record);
  ASSERT_TRUE(pyramid.setPyramid(large.record));
  EXPECT_EQ(pyramid.record().levelImages[0].width, 8);
  EXPECT_EQ(pyramid.record().levelImages[0].rows[5][7], pixel(0, 7, 5));
  OpenPyramid wide(large.record);
  wide.record().levelImages[0].rows[29][19] = 77;
  ASSERT_TRUE(wide.setPyramid(small.record));
  EXPECT_EQ(wide.record().levelImages[0].rows[29][19], 77.0F);
}

TEST(QmMaskPyramid, CopiesTheCommonPartOfLevelsOfAnotherSize) {
  const Bytes small(2, 8, 6), large(2, 20, 30);
  OpenMask pyramid(small.record);
  ASSERT_TRUE(pyramid.setPyramid(large.record));
  EXPECT_EQ(pyramid.record().levelImages[0].width, 8);
  EXPECT_EQ(pyramid.record().levelImages[0].rows[5][7], Bytes::byteAt(0, 7, 5));
  OpenMask wide(large.record);
  wide.record().levelImages[0].rows[29][19] = 77;
  ASSERT_TRUE(wide.setPyramid(small.record));
  EXPECT_EQ(wide.record().levelImages[0].rows[29][19], 77);
}

TEST(QmPyramid, TakesNullAndNegativeLevelCountsForEmpty) {
  const OpenPyramid fromNull(static_cast<const _qmPyramid*>(nullptr));
  const OpenMask maskFromNull(static_cast<const _qmBPyramid*>(nullptr));
  EXPECT_EQ(static_cast<const _qmPyramid*>(fromNull)->levels, 0);
  for (const std::int32_t levels : {-1, std::numeric_limits<std::int32_t>::min()}) {
    const Floats floats(2, 5, 5);
    const Bytes bytes(2, 5, 5);
    OpenPyramid pyramid(floats.record);
    OpenMask mask(bytes.record);
    _qmPyramid none{};
    _qmBPyramid noBytes{};
    none.levels = noBytes.levels = levels;
    EXPECT_TRUE(pyramid.setPyramid(none));
    EXPECT_TRUE(mask.setPyramid(noBytes));
    EXPECT_EQ(pyramid.record().levelImages[0].rows, nullptr);
    EXPECT_EQ(mask.record().levelImages[0].rows, nullptr);
  }
}

TEST(QmPyramid, RefusesMoreLevelsThanItHolds) {
  const std::int64_t before = allocatedBlocks();
  for (const std::int32_t levels : {kPyramidRecords, kPyramidRecords + 1, kLargest}) {
    const Floats floats(2, 5, 5);
    const Bytes bytes(2, 5, 5);
    OpenPyramid pyramid(floats.record);
    OpenMask mask(bytes.record);
    _qmPyramid tooHigh{};
    _qmBPyramid tooHighBytes{};
    tooHigh.levels = tooHighBytes.levels = levels;
    EXPECT_FALSE(pyramid.setPyramid(tooHigh));
    EXPECT_FALSE(mask.setPyramid(tooHighBytes));
    EXPECT_EQ(pyramid.record().levelImages[0].rows, nullptr);
    EXPECT_EQ(mask.record().levelImages[0].rows, nullptr);
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(QmPyramid, HasNoImagesWhenMemoryIsExhaustedAndMayBeTriedAgain) {
  for (const std::int32_t levels : {0, 3}) {
    const Floats source(levels, 16, 16);
    const std::int64_t failures = failEachAllocation([&](std::int64_t n) {
      OpenPyramid pyramid;
      EXPECT_EQ(pyramid.setPyramid(source.record), n == levels + 1);
      if (n == levels + 1) return;
      for (const qmImageRecord& image : pyramid.record().levelImages) EXPECT_EQ(image.rows, nullptr);
      EXPECT_TRUE(pyramid.setPyramid(source.record));
      expectWhole(pyramid.record(), source.record);
    });
    EXPECT_EQ(failures, levels + 1);
  }
}

TEST(QmMaskPyramid, HasNoImagesWhenMemoryIsExhaustedAndMayBeTriedAgain) {
  const Bytes source(3, 16, 16);
  const std::int64_t failures = failEachAllocation([&](std::int64_t n) {
    OpenMask pyramid;
    EXPECT_EQ(pyramid.setPyramid(source.record), n == 3);
    if (n == 3) return;
    for (const qmByteImageRecord& image : pyramid.record().levelImages) EXPECT_EQ(image.rows, nullptr);
    EXPECT_TRUE(pyramid.setPyramid(source.record));
    expectWhole(pyramid.record(), source.record);
  });
  EXPECT_EQ(failures, 3);
}

TEST(QmPyramid, TakesASourceThatLacksImagesWithoutHarm) {
  _qmPyramid hollow{};
  hollow.levels = 2;
  hollow.levelImages[0] = {nullptr, 9, 7};
  const OpenPyramid made(hollow);
  const _qmPyramid* record = made;
  ASSERT_NE(record->levelImages[0].rows, nullptr);
  EXPECT_EQ(record->levelImages[0].rows[6][8], 0.0F);
  hollow.levelImages[0].width = -4;
  const OpenPyramid failed(hollow);
  EXPECT_EQ(static_cast<const _qmPyramid*>(failed)->levelImages[0].rows, nullptr);
}

TEST(QmPyramid, SharesItsImagesWithWhatItIsAssignedTo) {
  const std::int64_t before = allocatedBlocks();
  {
    const Floats floats(2, 5, 5);
    const Bytes bytes(2, 5, 5);
    OpenPyramid pyramid(floats.record), assigned;
    OpenMask mask(bytes.record), assignedMask;
    assigned = pyramid;
    assignedMask = mask;
    EXPECT_EQ(std::memcmp(&assigned.record(), &pyramid.record(), sizeof(_qmPyramid)), 0);
    EXPECT_EQ(std::memcmp(&assignedMask.record(), &mask.record(), sizeof(_qmBPyramid)), 0);
    assigned.record() = {};  // Only one of the two may be destroyed.
    assignedMask.record() = {};
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

// Levels of 40 x 24, 30 x 9 and 10 x 6 pixels, of which the copy makes 40 x 24, 20 x 12 and 10 x 6.
TEST(QmPyramid, CopiesTheCommonPartOfLevelsThatDoNotHalve) {
  Floats source(2, 40, 24);
  free_fpyr(source.record.levelImages, 1, 1);
  source.record.levelImages[1].width = 30;
  source.record.levelImages[1].height = 9;
  ASSERT_EQ(alloc_fpyr(source.record.levelImages, 1, 1), 1);
  for (int y = 0; y < 9; ++y) {
    for (int x = 0; x < 30; ++x) source.record.levelImages[1].rows[y][x] = pixel(1, x, y);
  }
  OpenPyramid copy(source.record);
  const qmImageRecord& level = copy.record().levelImages[1];
  ASSERT_EQ(level.width, 20);
  ASSERT_EQ(level.height, 12);
  for (int y = 0; y < 12; ++y) {
    for (int x = 0; x < 20; ++x) EXPECT_EQ(level.rows[y][x], y < 9 ? pixel(1, x, y) : 0.0F) << x << ' ' << y;
  }
}

}  // namespace
