#include "quelplatform/qmDistort/LutFileCheck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quelplatform/qmDistort/LutFileSamples_fixture.h"

namespace {

using namespace quel::testing;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

using LutFileCheck = LutFileTest;

TEST_F(LutFileCheck, IsRefusedWhenItEndsEarlyAtAnyByte) {
  const std::string whole = withChecksum(body());
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const std::string has = std::to_string(size);
    expectRefused(whole.substr(0, size),
                  size < 32 ? "it has only " + has + " bytes, less than the header"
                            : "offset 16: it should have " + std::to_string(kFileSize) + " bytes but has " + has);
  }
}

TEST_F(LutFileCheck, IsRefusedWhenABitOfAnyByteIsWrong) {
  const std::string whole = withChecksum(body());
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (int bit = 0; bit < 8; ++bit) {
      std::string damaged = whole;
      damaged[at] = static_cast<char>(damaged[at] ^ (1 << bit));
      write(damaged);
      ASSERT_FALSE(load()) << "byte " << at << " bit " << bit;
    }
  }
}

TEST_F(LutFileCheck, NamesTheDamagedPlaceOfItsEnvelope) {
  std::string bytes = withChecksum(body());
  expectRefused(bytes + "x", "offset 16: it should have 280 bytes but has 281");
  expectRefused(std::string(1000, 'x'), "offset 0: it is not a LUT file");
  bytes[bytes.size() - 1] ^= 1;
  expectRefused(bytes, "offset 272: the checksum does not match");
  expectChangeRefused([](auto& b) { setNumber(b, 8, 2); }, "offset 8: version 2 is not known, only 1");
  expectChangeRefused([](auto& b) { setNumber(b, 8, 0); }, "offset 8: version 0 is not known, only 1");
  expectChangeRefused([](auto& b) { setNumber(b, 12, 7); }, "offset 12: the file is too short for 7 sets");
  expectChangeRefused([](auto& b) { setNumber(b, 12, 0xffffffffU); },
                      "offset 12: the file is too short for 4294967295 sets");
  expectChangeRefused([](auto& b) { setNumber(b, 16, ~std::uint64_t{0}); },
                      "offset 16: it should have 18446744073709551615 bytes but has 280");
}

TEST_F(LutFileCheck, RefusesBadIdentifiers) {
  expectChangeRefused([](auto& b) { b[24] = '\0'; }, "set 1 (\"\"), offset 24: the identifier is empty");
  expectChangeRefused([](auto& b) { b.replace(64, 24, "abcdefghijklmnopqrstuvwx"); },
                      "set 2 (\"abcdefghijklmnopqrstuvwx\"), offset 64: the identifier is not terminated");
  expectChangeRefused([](auto& b) { b[40] = 'x'; },
                      "set 1 (\"A\"), offset 24: the identifier is not filled up with NUL");
  expectChangeRefused([](auto& b) { b.replace(64, 4, std::string("A\0\0\0", 4)); },
                      "set 2 (\"A\"), offset 64: the identifiers do not ascend");
  expectChangeRefused([](auto& b) { b[64] = '0'; }, "set 2 (\"0eft\"), offset 64: the identifiers do not ascend");
}

TEST_F(LutFileCheck, RefusesOffsetsAndLengthsThatDoNotTileTheFile) {
  const std::string begin = "offset 48: the set does not begin where the one before ends";
  const std::string length = "offset 56: the length does not fit into the file";
  for (const std::uint64_t offset : {0ULL, 96ULL, 112ULL, ~0ULL, ~7ULL}) {
    expectChangeRefused([=](auto& b) { setNumber(b, 48, offset); }, "set 1 (\"A\"), " + begin);
  }
  for (const std::uint64_t bytes : {0ULL, 55ULL, 169ULL, 1ULL << 63, ~0ULL}) {
    expectChangeRefused([=](auto& b) { setNumber(b, 56, bytes); }, "set 1 (\"A\"), " + length);
  }
  expectChangeRefused([](auto& b) { setNumber(b, 56, std::uint64_t{88}); },
                      "set 1 (\"A\"), offset 112: columns, rows and layers do not fit the length");
  // One set less than there are bytes for.
  expectChangeRefused(
      [](auto& b) {
        b.erase(64, 40);
        setNumber(b, 12, 1);
        setNumber(b, 16, std::uint64_t{kFileSize - 40});
        setNumber(b, 48, std::uint64_t{64});
      },
      "offset 144: bytes follow the last set");
}

TEST_F(LutFileCheck, RefusesShapesThatAreEmptyAbsurdOrDoNotFitTheirLength) {
  const std::string sides = "set 1 (\"A\"), offset 104: the number of columns or rows is not in 1 to 65536";
  const std::string layers = "set 1 (\"A\"), offset 104: the number of layers is not in 1 to 65536";
  for (const std::int32_t bad :
       {0, -1, 65537, std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::min()}) {
    expectChangeRefused([=](auto& b) { setNumber(b, kFirstSet + 8, bad); }, sides);
    expectChangeRefused([=](auto& b) { setNumber(b, kFirstSet + 12, bad); }, sides);
    expectChangeRefused([=](auto& b) { setNumber(b, kFirstSet + 16, bad); }, layers);
  }
  const std::string fit = "set 1 (\"A\"), offset 112: columns, rows and layers do not fit the length";
  for (const std::size_t at : {8U, 12U, 16U}) {
    for (const std::int32_t large : {3, 65536}) {
      expectChangeRefused([=](auto& b) { setNumber(b, kFirstSet + at, large); }, fit);
    }
  }
  expectChangeRefused(
      [](auto& b) {
        for (const std::size_t at : {8U, 12U, 16U}) setNumber(b, kFirstSet + at, 65536);
        setNumber(b, kFirstSet + 4, 15);
      },
      fit);
}

TEST_F(LutFileCheck, RefusesBadTablesGridsAndDepths) {
  const std::string first = "set 1 (\"A\"), offset 104: ", depths = "set 2 (\"left\"), offset 240: ";
  for (const std::int32_t missing : {0, 1, 2, 14}) {
    expectChangeRefused([=](auto& b) { setNumber(b, kFirstSet + 4, missing); },
                        first + "the table of x or of y displacements is missing");
  }
  for (const std::uint32_t unknown : {0x13U, 0x80000003U}) {
    expectChangeRefused([=](auto& b) { setNumber(b, kFirstSet + 4, unknown); },
                        first + "a table of unknown meaning is present");
  }
  expectChangeRefused([](auto& b) { setNumber(b, kFirstSet + 20, 1); }, first + "the reserved word is not 0");
  expectChangeRefused([](auto& b) { b[kSecondSet - 1] = 1; },
                      "set 1 (\"A\"), offset 180: the set is not filled up with 0");
  const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
  for (const std::size_t axis : {0U, 8U}) {
    for (const double bad : {nan, infinity, -infinity}) {
      expectChangeRefused([=](auto& b) { setNumber(b, kFirstSet + 24 + axis, bad); },
                          first + "the grid's origin is not finite");
    }
    for (const double bad : {nan, infinity, 0.0, -0.0, -10.0}) {
      expectChangeRefused([=](auto& b) { setNumber(b, kFirstSet + 40 + axis, bad); },
                          first + "the grid's pitch is not a positive number");
    }
  }
  for (const float bad : {kNaN, std::numeric_limits<float>::infinity()}) {
    for (const std::size_t layer : {0U, 4U}) {
      expectChangeRefused([=](auto& b) { setNumber(b, kSecondSet + 56 + layer, bad); },
                          depths + "a layer's depth is not finite");
    }
  }
  for (const float bad : {-3.0F, -4.0F}) {
    expectChangeRefused([=](auto& b) { setNumber(b, kSecondSet + 60, bad); },
                        depths + "the layers' depths do not ascend");
  }
}

}  // namespace
