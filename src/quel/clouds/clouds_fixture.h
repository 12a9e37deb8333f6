// What the tests of all readers of clouds ask: what is read, what is said of damage, and that nothing worse comes of
// it.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "quel/clouds/CloudFormats.h"
#include "testing/Numbers.h"

namespace quel {

/// `value` as it lies in a file of low bytes first.
template <typename T>
std::string bytesOf(T value) {
  std::string result(sizeof(T), '\0');
  std::memcpy(result.data(), &value, sizeof(T));
  return result;
}

inline std::vector<Vec3> pointsOf(const std::string& content, CloudFormat format) {
  const auto points = parseCloud(content, format);
  EXPECT_TRUE(points.ok()) << points.error().message();
  return points ? points.value() : std::vector<Vec3>{};
}

inline std::string complaint(const std::string& content, CloudFormat format) {
  const auto points = parseCloud(content, format);
  return points ? "accepted" : points.error().message();
}

/// The format that a file of that name and content is read as, or what is said of it.
inline std::string formatOf(const std::string& content, const std::string& ending = "") try {
  Bytes bytes(content);
  return nameOf(formatOfCloud(bytes, ending));
} catch (const Error& error) {
  return error.cause;
}

/// Every beginning of `good` that is shorter than `whole` bytes is refused.
inline void expectRefusedWhenCut(const std::string& good, CloudFormat format, std::size_t whole) {
  ASSERT_EQ(complaint(good, format), "accepted");
  for (std::size_t size = 0; size < whole; ++size) {
    EXPECT_NE(complaint(good.substr(0, size), format), "accepted") << size;
  }
}

/// Whatever bytes are damaged, there are never more points than bytes, and what is refused is refused with a reason.
inline void expectSurvivesDamage(const std::string& good, CloudFormat format, std::size_t mostPerByte = 1) {
  std::mt19937_64 random = quel::testing::testRandom();
  ASSERT_EQ(complaint(good, format), "accepted");
  for (int n = 0; n < 20000; ++n) {
    std::string damaged = good;
    for (int k = 0; k < 3; ++k) damaged[random() % damaged.size()] = static_cast<char>(random());
    const auto points = parseCloud(damaged, format);
    EXPECT_TRUE(points ? points.value().size() <= mostPerByte * damaged.size() : !points.error().cause.empty());
  }
}

}  // namespace quel
