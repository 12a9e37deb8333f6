#include "quelplatform/qmDistort/LutFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <functional>
#include <limits>

#include "quelplatform/qmDistort/Crc64.h"
#include "quelplatform/qmDistort/DistortLutsManager.h"
#include "quelplatform/qmDistort/LutSamples.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"
#include "testing/FailingMemory.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"
#include "testing/TempHome.h"

namespace {

using namespace quel::testing;
using quelplatform::distortLutsReferences;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// The checksum bit by bit, as the polynomial defines it.
std::uint64_t crcBitByBit(const std::string& bytes) {
  std::uint64_t crc = ~std::uint64_t{0};
  for (const char c : bytes) {
    crc ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xC96C5795D7870F42ULL : 0);
  }
  return ~crc;
}

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

template <typename T>
void setNumber(std::string& bytes, std::size_t at, T value) {
  for (std::size_t i = 0; i < sizeof value; ++i) {
    bytes.at(at + i) = static_cast<char>(std::bit_cast<std::array<unsigned char, sizeof value>>(value)[i]);
  }
}

// A file made by hand as docs/formats.md lays it out. Each change of a test is followed by a fresh checksum.
std::string number(std::uint64_t value, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes.push_back(static_cast<char>(value >> (8 * i)));
  return bytes;
}

std::string float32(float value) { return number(std::bit_cast<std::uint32_t>(value), 4); }
std::string float64(double value) { return number(std::bit_cast<std::uint64_t>(value), 8); }

std::string withChecksum(const std::string& body) { return body + number(crcBitByBit(body), 8); }

// Two sets: "A" is 2 x 1 cells in one layer with tables 0 and 1, "left" 1 x 1 in two layers with tables 0, 1 and 3.
constexpr std::size_t kFirstSet = 24 + 2 * 40, kSecondSet = kFirstSet + 80, kFileSize = kSecondSet + 88 + 8;

std::string body() {
  std::string bytes = "\x89QLUT\r\n\x1a" + number(1, 4) + number(2, 4) + number(kFileSize, 8);
  bytes += std::string("A").append(23, '\0') + number(kFirstSet, 8) + number(80, 8);
  bytes += std::string("left").append(20, '\0') + number(kSecondSet, 8) + number(88, 8);
  bytes += number(1, 4) + number(3, 4) + number(2, 4) + number(1, 4) + number(1, 4) + number(0, 4);
  bytes += float64(-1.5) + float64(2.5) + float64(10) + float64(20);
  bytes += float32(7) + float32(0.25F) + float32(kNaN) + float32(-0.5F) + float32(1);
  bytes += number(0, 4);
  bytes += number(2, 4) + number(11, 4) + number(1, 4) + number(1, 4) + number(2, 4) + number(0, 4);
  bytes += float64(0) + float64(0) + float64(1) + float64(1);
  bytes += float32(-3) + float32(2);
  for (int i = 0; i < 6; ++i) bytes += float32(i == 4 ? kNaN : static_cast<float>(i));
  return bytes;
}

class LutFile : public ::testing::Test {
 protected:
  LutFile() { EXPECT_EQ(withChecksum(body()).size(), kFileSize); }
  ~LutFile() override { manager().releaseAllDistortLuts(); }

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
    EXPECT_THAT(log_.records(), ElementsAre(Line(5, "DistortLutsManager", "LUT file " + narrowPath() + ": " + why)));
    for (const auto& [id, luts] : luts_) EXPECT_EQ(luts, nullptr);
    EXPECT_EQ(distortLutsReferences("A"), -1);
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

TEST_F(LutFile, DeliversWhatItHoldsAndLeavesOtherIdentifiersAlone) {
  write(withChecksum(body()));
  ASSERT_TRUE(load());
  EXPECT_THAT(log_.records(), IsEmpty());
  EXPECT_EQ(luts_["other"], nullptr);
  const tag_qmDistortLuts* a = luts_["A"];
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->lutVersion, 1);
  EXPECT_EQ(a->tableCount, 1);
  EXPECT_EQ(a->reserved, 0);
  EXPECT_EQ(a->referenceLayer, 0);
  EXPECT_THAT(a->gridOrigin, ElementsAre(-1.5, 2.5));
  EXPECT_THAT(a->gridPitch, ElementsAre(10, 20));
  EXPECT_EQ(a->layerDepths[0], 7);
  EXPECT_EQ(a->tables[2], nullptr);
  EXPECT_EQ(a->tables[3], nullptr);
  ASSERT_EQ(a->tables[0][0].width, 2);
  ASSERT_EQ(a->tables[0][0].height, 1);
  EXPECT_EQ(a->tables[0][0].rows[0][0], 0.25F);
  EXPECT_EQ(a->tables[1][0].rows[0][0], -0.5F);
  EXPECT_EQ(a->tables[1][0].rows[0][1], 1.0F);

  const tag_qmDistortLuts* left = luts_["left"];
  ASSERT_NE(left, nullptr);
  EXPECT_EQ(left->lutVersion, 2);
  EXPECT_EQ(left->tableCount, 2);
  EXPECT_EQ(left->referenceLayer, 1) << "2 is nearer to 0 than -3";
  EXPECT_EQ(left->tables[2], nullptr);
  EXPECT_EQ(left->tables[0][1].rows[0][0], 1.0F);
  EXPECT_EQ(left->tables[1][0].rows[0][0], 2.0F);
  EXPECT_EQ(left->tables[3][1].rows[0][0], 5.0F);
}

TEST_F(LutFile, LosesNaNInSetsOlderThanVersionTwoAlone) {
  write(withChecksum(body()));
  ASSERT_TRUE(load());
  EXPECT_EQ(std::bit_cast<std::uint32_t>(luts_["A"]->tables[0][0].rows[0][1]), 0x7f7fffffU);
  EXPECT_TRUE(std::isnan(luts_["left"]->tables[3][0].rows[0][0]));
}

TEST_F(LutFile, KeepsItsBytesThroughLoadAndStore) {
  std::string bytes = body();
  setNumber(bytes, kFirstSet, 2);  // Version 2, so that its NaN stays.
  write(withChecksum(bytes));
  ASSERT_TRUE(load());
  const std::u16string copy = directory_.wide("copy.lut");
  // The order of the list is not that of the file, which ascends.
  ASSERT_TRUE(DistortLutsManager::storeLutsFile({{"left", luts_["left"]}, {"A", luts_["A"]}}, copy.c_str(), true));
  EXPECT_EQ(readFile(directory_.path() / "copy.lut"), withChecksum(bytes));
}

TEST_F(LutFile, KeepsEveryBitOfRandomSetsAndTheirVersions) {
  auto random = testRandom();
  for (int n = 0; n < 40; ++n) {
    const auto side = [&random] { return static_cast<std::int32_t>(1 + random() % 9); };
    std::vector<float> depths;
    for (int layer = side(); layer > 0; --layer) {
      depths.push_back((depths.empty() ? -100.0F : depths.back()) + static_cast<float>(uniform(random, 0.1, 50)));
    }
    HandMadeLuts a(side(), side(), depths, 3 + 4 * static_cast<unsigned>(random() % 4)), b(side(), side(), {0});
    for (HandMadeLuts* luts : {&a, &b}) {
      luts->fill(random);
      luts->get().lutVersion = n == 0 ? std::numeric_limits<std::int32_t>::max() : 2 + n % 5;
      luts->get().gridOrigin[0] = uniform(random, -1e3, 1e3);
      luts->get().gridPitch[1] = uniform(random, 1, 1e3);
    }
    ASSERT_TRUE(DistortLutsManager::storeLutsFile({{"A", a}, {"left", b}}, path().c_str(), n % 2 == 0));
    ASSERT_TRUE(load());
    EXPECT_TRUE(sameSets(*luts_["A"], a.get()));
    EXPECT_TRUE(sameSets(*luts_["left"], b.get()));
    manager().releaseAllDistortLuts();
  }
}

TEST_F(LutFile, KeepsVersionsBelowTwoToo) {
  for (const std::int32_t version : {1, 0, -1, std::numeric_limits<std::int32_t>::min()}) {
    HandMadeLuts a(2, 2, {0});
    a.get().lutVersion = version;
    a.cell(1, 0, 1, 1) = kNaN;
    ASSERT_TRUE(DistortLutsManager::storeLutsFile({{"A", a}}, path().c_str(), true));
    ASSERT_TRUE(load());
    EXPECT_EQ(luts_["A"]->lutVersion, version);
    EXPECT_EQ(luts_["A"]->tables[1][0].rows[1][1], kLargestFloat);
    manager().releaseAllDistortLuts();
  }
}

TEST_F(LutFile, TakesTheReferenceLayerNearestToZeroAndTheFirstOfEquals) {
  const std::pair<std::vector<float>, std::int32_t> cases[] = {
      {{-5, 1, 15}, 1}, {{-3, 3}, 0}, {{-9, -2}, 1}, {{4, 8, 16}, 0}, {{-4, 0, 4}, 1}};
  for (const auto& [depths, expected] : cases) {
    HandMadeLuts a(1, 1, depths);
    ASSERT_TRUE(DistortLutsManager::storeLutsFile({{"A", a}}, path().c_str(), true));
    ASSERT_TRUE(load());
    EXPECT_EQ(luts_["A"]->referenceLayer, expected);
    manager().releaseAllDistortLuts();
  }
}

TEST_F(LutFile, MayHoldNoSetAtAll) {
  ASSERT_TRUE(DistortLutsManager::storeLutsFile({}, path().c_str(), true));
  EXPECT_EQ(readFile(narrowPath()).size(), 32U);
  EXPECT_TRUE(load());
}

TEST_F(LutFile, IsRefusedWhenItEndsEarlyAtAnyByte) {
  const std::string whole = withChecksum(body());
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const std::string has = std::to_string(size);
    expectRefused(whole.substr(0, size),
                  size < 32 ? "it has only " + has + " bytes, less than the header"
                            : "offset 16: it should have " + std::to_string(kFileSize) + " bytes but has " + has);
  }
}

TEST_F(LutFile, IsRefusedWhenABitOfAnyByteIsWrong) {
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

TEST_F(LutFile, NamesTheDamagedPlaceOfItsEnvelope) {
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

TEST_F(LutFile, RefusesBadIdentifiers) {
  expectChangeRefused([](auto& b) { b[24] = '\0'; }, "set 1 (\"\"), offset 24: the identifier is empty");
  expectChangeRefused([](auto& b) { b.replace(64, 24, "abcdefghijklmnopqrstuvwx"); },
                      "set 2 (\"abcdefghijklmnopqrstuvwx\"), offset 64: the identifier is not terminated");
  expectChangeRefused([](auto& b) { b[40] = 'x'; },
                      "set 1 (\"A\"), offset 24: the identifier is not filled up with NUL");
  expectChangeRefused([](auto& b) { b.replace(64, 4, std::string("A\0\0\0", 4)); },
                      "set 2 (\"A\"), offset 64: the identifiers do not ascend");
  expectChangeRefused([](auto& b) { b[64] = '0'; }, "set 2 (\"0eft\"), offset 64: the identifiers do not ascend");
}

TEST_F(LutFile, RefusesOffsetsAndLengthsThatDoNotTileTheFile) {
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

TEST_F(LutFile, RefusesShapesThatAreEmptyAbsurdOrDoNotFitTheirLength) {
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

TEST_F(LutFile, RefusesBadTablesGridsAndDepths) {
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

TEST_F(LutFile, CannotBeLoadedFromWhatIsNoFile) {
  log_.clear();
  EXPECT_FALSE(load());
  EXPECT_THAT(log_.records(),
              ElementsAre(Line(5, "DistortLutsManager",
                               "LUT file " + narrowPath() + ": it cannot be opened: No such file or directory")));
  log_.clear();
  EXPECT_FALSE(manager().loadLutsFile(luts_, directory_.path().u16string().c_str()));
  EXPECT_THAT(log_.records(),
              ElementsAre(Line(5, "DistortLutsManager",
                               "LUT file " + directory_.path().string() + ": it cannot be opened: Is a directory")));
  log_.clear();
  EXPECT_FALSE(manager().loadLutsFile(luts_, nullptr));
  EXPECT_THAT(log_.records(),
              ElementsAre(Line(5, "DistortLutsManager", "LUT file (null): it cannot be opened: Invalid argument")));
}

TEST_F(LutFile, TakesNoMemoryForALargeFileOfAnotherKind) {
  // A sparse file of a tebibyte.
  write(std::string(64, 'x'));
  ASSERT_EQ(truncate(narrowPath().c_str(), std::int64_t{1} << 40), 0);
  log_.clear();
  EXPECT_FALSE(load());
  EXPECT_THAT(log_.records(), ElementsAre(Line(5, "DistortLutsManager",
                                               "LUT file " + narrowPath() + ": offset 0: it is not a LUT file")));
}

TEST_F(LutFile, LoadsWholeOrNotAtAllWhenAnyAllocationFails) {
  write(withChecksum(body()));
  const auto failures = failEachAllocation([this](std::int64_t) {
    log_.clear();
    if (!load()) {
      EXPECT_THAT(log_.records(),
                  ElementsAre(Line(5, "DistortLutsManager", "LUT file " + narrowPath() + ": memory is exhausted")));
      for (const auto& [id, luts] : luts_) EXPECT_EQ(luts, nullptr) << id;
      EXPECT_EQ(distortLutsReferences("A"), -1);
      EXPECT_EQ(distortLutsReferences("left"), -1);
    } else {
      EXPECT_EQ(distortLutsReferences("A"), 1);
    }
    manager().releaseAllDistortLuts();
  });
  EXPECT_EQ(failures, 1 + (2 + 2 + 2) + (2 + 3 + 6)) << "the file; record, depths, tables and images of each set";
}

class LutFileStore : public LutFile {
 protected:
  LutFileStore() : good_(2, 2, {0}) { write("old"); }

  // Expects one log line, and the old file as it was.
  void expectNotStored(const DistortLutsManager::LutList& list, const std::string& why) {
    log_.clear();
    EXPECT_FALSE(DistortLutsManager::storeLutsFile(list, path().c_str(), true));
    EXPECT_THAT(log_.records(), ElementsAre(Line(5, "DistortLutsManager", "LUT file " + narrowPath() + ": " + why)));
    EXPECT_EQ(readFile(narrowPath()), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_.path()), {}), 1) << "a file was left";
  }

  HandMadeLuts good_;
};

TEST_F(LutFileStore, RefusesNullSetsAndBadIdentifiers) {
  expectNotStored({{"A", good_}, {"B", nullptr}}, "set 2 (\"B\"): there is no LUT set");
  expectNotStored({{"", good_}}, "set 1 (\"\"): the identifier is empty");
  expectNotStored(
      {{"abcdefghijklmnopqrstuvwx", good_}},
      "set 1 (\"abcdefghijklmnopqrstuvwx\"): the identifier has more than 23 characters or a NUL among them");
  expectNotStored({{std::string("a\0b", 3), good_}},
                  "set 1 (\"a\"): the identifier has more than 23 characters or a NUL among them");
  expectNotStored({{"B", good_}, {"A", good_}, {"B", good_}}, "the identifier \"B\" is in the list twice");
  EXPECT_TRUE(DistortLutsManager::storeLutsFile({{"abcdefghijklmnopqrstuvw", good_}}, path().c_str(), true));
}

TEST_F(LutFileStore, RefusesSetsThatNoFileMayHold) {
  const auto refused = [this](const tag_qmDistortLuts* luts, const std::string& why) {
    expectNotStored({{"A", luts}}, "set 1 (\"A\"): " + why);
  };
  const tag_qmDistortLuts* created = nullptr;
  ASSERT_TRUE(manager().addDistortLuts("A", &created));
  refused(created, "the table of x or of y displacements is missing");
  HandMadeLuts flat(2, 0, {0}), layerless(2, 2, {}), depths(2, 2, {1, 1}), grid(2, 2, {0});
  refused(flat, "the number of columns or rows is not in 1 to 65536");
  refused(depths, "the layers' depths do not ascend");
  depths.get().layerDepths = nullptr;
  refused(depths, "the layers' depths are missing");
  grid.get().gridPitch[1] = 0;
  refused(grid, "the grid's pitch is not a positive number");
  layerless.get().tableCount = 0;
  EXPECT_FALSE(DistortLutsManager::storeLutsFile({{"A", layerless}}, path().c_str(), true));
  HandMadeLuts uneven(2, 2, {0, 1}), holed(2, 2, {0, 1});
  uneven.get().tables[1][1].width = 1;
  refused(uneven, "the images are not all of one size");
  holed.get().tables[0][1].rows = nullptr;
  refused(holed, "the images are not all of one size");
  EXPECT_EQ(readFile(narrowPath()), "old");
}

TEST_F(LutFileStore, KeepsTheOldFileWhenAnyAllocationFails) {
  EXPECT_EQ(failEachAllocation([this](std::int64_t failing) {
              if (failing == 0) {
                expectNotStored({{"A", good_}}, "memory is exhausted");
              } else {
                EXPECT_TRUE(DistortLutsManager::storeLutsFile({{"A", good_}}, path().c_str(), true));
              }
            }),
            1);
}

TEST_F(LutFileStore, ReportsWhereItCannotWrite) {
  log_.clear();
  EXPECT_FALSE(DistortLutsManager::storeLutsFile({{"A", good_}}, u"/dev/full", true));
  EXPECT_FALSE(DistortLutsManager::storeLutsFile({{"A", good_}}, directory_.wide("none/a.lut").c_str(), true));
  EXPECT_FALSE(DistortLutsManager::storeLutsFile({{"A", good_}}, directory_.path().u16string().c_str(), true));
  EXPECT_FALSE(DistortLutsManager::storeLutsFile({{"A", good_}}, nullptr, true));
  const std::string place = directory_.path().string();
  EXPECT_THAT(log_.records(),
              ElementsAre(Line(5, "DistortLutsManager", "LUT file /dev/full: it cannot be written: Invalid argument"),
                          Line(5, "DistortLutsManager",
                               "LUT file " + place + "/none/a.lut: it cannot be written: No such file or directory"),
                          Line(5, "DistortLutsManager", "LUT file " + place + ": it cannot be written: Is a directory"),
                          Line(5, "DistortLutsManager", "LUT file (null): there is no path")));
}

TEST_F(LutFileStore, KeepsTheOldFileInADirectoryThatCannotBeWritten) {
  ASSERT_EQ(chmod(directory_.path().c_str(), 0555), 0);
  const uid_t user = geteuid();
  if (user == 0 && seteuid(65534) != 0) GTEST_SKIP() << "root writes everywhere, and cannot be anybody else here";
  expectNotStored({{"A", good_}}, "it cannot be written: Permission denied");
  EXPECT_EQ(seteuid(user), 0);
  EXPECT_EQ(chmod(directory_.path().c_str(), 0700), 0);
}

TEST_F(LutFileStore, KeepsTheOldFileWhenTheNewOneCannotBeWrittenToItsEnd) {
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const rlimit small = {100, before.rlim_max};
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  expectNotStored({{"A", good_}}, "it cannot be written: File too large");
  EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  std::signal(SIGXFSZ, handler);
}

}  // namespace
