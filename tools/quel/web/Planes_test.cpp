#include "web/Planes.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace queltool {
namespace {

template <typename Value>
std::string planesOf(const std::vector<Value>& column) {
  std::string bytes;
  addPlanes(std::span<const Value>(column), bytes);
  return bytes;
}

// Differences 1, -1, 2, -2, 256 of 5, 4, 6, 4, 260 after 5: zigzag 10, 1, 4, 3, 512.
TEST(Planes, AreZigzagDifferencesTheLowBytesFirst) {
  EXPECT_EQ(planesOf<std::uint16_t>({5, 4, 6, 4, 260}), std::string("\x0A\x01\x04\x03\x00\x00\x00\x00\x00\x02", 10));
}

TEST(Planes, DifferencesOfSixteenBitsWrap) {
  // +65535 is -1, and -65535 is +1.
  EXPECT_EQ(planesOf<std::uint16_t>({0, 65535, 0}), std::string("\x00\x01\x02\x00\x00\x00", 6));
  // 32768 either way is the one difference without a counterpart.
  EXPECT_EQ(planesOf<std::uint16_t>({32768, 0}), std::string("\xFF\xFF\xFF\xFF", 4));
}

TEST(Planes, DifferencesOfThirtyTwoBitsWrap) {
  constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(planesOf<std::int32_t>({-1, kHighest, kLowest}),
            std::string("\x01\xFF\x02\x00\xFF\x00\x00\xFF\x00\x00\xFF\x00", 12));
}

TEST(Planes, FollowOneAnother) {
  std::string bytes = planesOf<std::uint16_t>({1});
  const std::vector<std::int32_t> column = {-2};
  addPlanes(std::span<const std::int32_t>(column), bytes);
  EXPECT_EQ(bytes, std::string("\x02\x00\x03\x00\x00\x00", 6));
}

TEST(Planes, OfNothingAreNothing) { EXPECT_EQ(planesOf<std::int32_t>({}), ""); }

}  // namespace
}  // namespace queltool
