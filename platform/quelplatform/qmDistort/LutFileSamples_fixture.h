// A LUT file written byte by byte, and the fixture of the tests that load and store LUT files.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>

#include "quelplatform/qmDistort/DistortLutsManager.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"
#include "quelplatform/qmEnv/qmMemoryEmbedded.h"
#include "testing/RecordingLog.h"
#include "testing/TempHome.h"

namespace quel::testing {

// The checksum bit by bit, as the polynomial defines it.
inline std::uint64_t crcBitByBit(const std::string& bytes) {
  std::uint64_t crc = ~std::uint64_t{0};
  for (const char c : bytes) {
    crc ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xC96C5795D7870F42ULL : 0);
  }
  return ~crc;
}

template <typename T>
void setNumber(std::string& bytes, std::size_t at, T value) {
  for (std::size_t i = 0; i < sizeof value; ++i) {
    bytes.at(at + i) = static_cast<char>(std::bit_cast<std::array<unsigned char, sizeof value>>(value)[i]);
  }
}

// A file made by hand as docs/formats.md lays it out. Each change of a test is followed by a fresh checksum.
inline std::string number(std::uint64_t value, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes.push_back(static_cast<char>(value >> (8 * i)));
  return bytes;
}

inline std::string float32(float value) { return number(std::bit_cast<std::uint32_t>(value), 4); }
inline std::string float64(double value) { return number(std::bit_cast<std::uint64_t>(value), 8); }

inline std::string withChecksum(const std::string& body) { return body + number(crcBitByBit(body), 8); }

// Two sets: "A" is 2 x 1 cells in one layer with tables 0 and 1, "left" 1 x 1 in two layers with tables 0, 1 and 3.
inline constexpr std::size_t kFirstSet = 24 + 2 * 40, kSecondSet = kFirstSet + 80, kFileSize = kSecondSet + 88 + 8;

inline std::string body() {
  std::string bytes = "\x89QLUT\r\n\x1a" + number(1, 4) + number(2, 4) + number(kFileSize, 8);
  bytes += std::string("A").append(23, '\0') + number(kFirstSet, 8) + number(80, 8);
  bytes += std::string("left").append(20, '\0') + number(kSecondSet, 8) + number(88, 8);
  bytes += number(1, 4) + number(3, 4) + number(2, 4) + number(1, 4) + number(1, 4) + number(0, 4);
  bytes += float64(-1.5) + float64(2.5) + float64(10) + float64(20);
  bytes += float32(7) + float32(0.25F) + float32(std::numeric_limits<float>::quiet_NaN()) + float32(-0.5F) + float32(1);
  bytes += number(0, 4);
  bytes += number(2, 4) + number(11, 4) + number(1, 4) + number(1, 4) + number(2, 4) + number(0, 4);
  bytes += float64(0) + float64(0) + float64(1) + float64(1);
  bytes += float32(-3) + float32(2);
  for (int i = 0; i < 6; ++i)
    bytes += float32(i == 4 ? std::numeric_limits<float>::quiet_NaN() : static_cast<float>(i));
  return bytes;
}

class LutFileTest : public ::testing::Test {
 protected:
  LutFileTest() { EXPECT_EQ(withChecksum(body()).size(), kFileSize); }
  ~LutFileTest() override { manager().releaseAllDistortLuts(); }

  static DistortLutsManager& manager() { return DistortLutsManager::getManager(); }

  std::u16string path() const { return directory_.wide("head.lut"); }
  std::string narrowPath() const { return (directory_.path() / "head.lut").string(); }

  void write(const std::string& bytes) { writeFile(directory_.path() / "head.lut", bytes); }

  bool load() {
    luts_ = {{"A", nullptr}, {"left", nullptr}, {"other", nullptr}};
    return manager().loadLutsFile(luts_, path().c_str());
  }

  // Expects the one log line, and that nothing was delivered or left in memory.
  void expectRefused(const std::string& bytes, const std::string& why) {
    const std::int64_t before = quelplatform::allocatedBlocks();
    write(bytes);
    log_.clear();
    EXPECT_FALSE(load()) << why;
    EXPECT_THAT(log_.records(),
                ::testing::ElementsAre(Line(5, "DistortLutsManager", "LUT file " + narrowPath() + ": " + why)));
    for (const auto& [id, luts] : luts_) EXPECT_EQ(luts, nullptr);
    EXPECT_EQ(quelplatform::distortLutsReferences("A"), -1);
    EXPECT_EQ(quelplatform::allocatedBlocks(), before);
  }

  // The same for a change of the body, under a checksum that is right.
  void expectChangeRefused(const std::function<void(std::string&)>& change, const std::string& why) {
    std::string bytes = body();
    change(bytes);
    expectRefused(withChecksum(bytes), why);
  }

  TempDir directory_;
  RecordingLog log_;
  DistortLutsManager::LutMap luts_;
};

}  // namespace quel::testing
