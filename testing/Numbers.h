// Numbers in tests: comparisons that NaN never passes, bit identity, and random values that a failure can replay.
#pragma once

#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>

namespace quel::testing {

/// |value - expected| <= tolerance; false for NaN on either side.
MATCHER_P2(Near, expected, tolerance,
           "is within " + ::testing::PrintToString(tolerance) + " of " + ::testing::PrintToString(expected)) {
  return std::abs(arg - expected) <= tolerance;
}

/// Same bits: tells -0 from +0 and takes NaN for itself.
MATCHER_P(SameBits, expected, "has the bits of " + ::testing::PrintToString(expected)) {
  using T = std::decay_t<decltype(arg)>;
  const T other = expected;
  return std::memcmp(&arg, &other, sizeof(T)) == 0;
}

/// A generator seeded by the running test's name, so that every run of it draws the same values.
inline std::mt19937_64 testRandom() {
  std::string name = "outside a test";
  if (const auto* info = ::testing::UnitTest::GetInstance()->current_test_info()) {
    name = std::string(info->test_suite_name()) + "." + info->name();
  }
  std::uint64_t seed = 1469598103934665603ULL;
  for (const char c : name) seed = (seed ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
  return std::mt19937_64(seed);
}

inline double uniform(std::mt19937_64& random, double low, double high) {
  return std::uniform_real_distribution<double>(low, high)(random);
}

}  // namespace quel::testing
