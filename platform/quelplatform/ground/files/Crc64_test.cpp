#include "quelplatform/ground/files/Crc64.h"

#include <gtest/gtest.h>

#include <string>

#include "quelplatform/qmDistort/LutFileSamples_fixture.h"
#include "testing/Numbers.h"

namespace {

using namespace quel::testing;

std::uint64_t crcOfLibrary(const std::string& bytes) {
  return quelplatform::crc64(std::as_bytes(std::span(bytes.data(), bytes.size())));
}

TEST(crc64, HasTheCheckValueOfItsKind) {
  EXPECT_EQ(crcOfLibrary("123456789"), 0x995DC9BBDF1939FAULL);
  EXPECT_EQ(crcOfLibrary(""), 0U);
}

TEST(crc64, AgreesWithTheDefinitionAtEveryLength) {
  auto random = testRandom();
  std::string bytes;
  for (int length = 0; length < 100; ++length) {
    ASSERT_EQ(crcOfLibrary(bytes), crcBitByBit(bytes)) << length;
    bytes.push_back(static_cast<char>(random()));
  }
}

TEST(crc64, OfBytesInPiecesIsThatOfTheWhole) {
  const std::string bytes = "what comes in pieces";
  const auto all = std::as_bytes(std::span(bytes.data(), bytes.size()));
  for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
    EXPECT_EQ(quelplatform::crc64(all.subspan(cut), quelplatform::crc64(all.first(cut))), crcBitByBit(bytes)) << cut;
  }
}

}  // namespace
