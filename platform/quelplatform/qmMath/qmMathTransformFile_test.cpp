#include "quelplatform/qmMath/qmMathTransformFile.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "quelplatform/ground/files/systemErrors.h"
#include "testing/FailingNew.h"
#include "testing/NoDescriptors.h"
#include "testing/Numbers.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::readFile;
using quel::testing::TempDir;
using quel::testing::TempHome;
using quel::testing::testRandom;
using quel::testing::writeFile;

const qmMathTransform kSample = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0.5, -20.25, 1e-300}};

bool sameBits(const qmMathTransform& a, const qmMathTransform& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// CRC-64/XZ bit by bit.
std::uint64_t crcOf(const std::string& text) {
  std::uint64_t crc = ~std::uint64_t{0};
  for (const char c : text) {
    crc ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) ? (crc >> 1) ^ 0xC96C5795D7870F42ULL : crc >> 1;
  }
  return ~crc;
}

std::string withCheck(const std::string& text) {
  char line[32];
  std::snprintf(line, sizeof line, "check %016llx\n", static_cast<unsigned long long>(crcOf(text)));
  return text + line;
}

const std::string kSampleText = withCheck("QuelTransform 1\n1 0 0 0.5\n0 1 0 -20.25\n0 0 1 1e-300\n");

// Number `n` of the twelve: the rotation row by row, then the translation.
double& numberOf(qmMathTransform& transform, int n) {
  return n < 9 ? transform.rotation[n / 3][n % 3] : transform.translation[n - 9];
}

class TransformFile : public testing::Test {
 protected:
  std::u16string wide() const { return folder_.wide("a.trn"); }
  std::filesystem::path path() const { return folder_.path() / "a.trn"; }

  // Whether `text` loads; one that does not leaves the transform alone.
  bool loads(const std::string& text) {
    writeFile(path(), text);
    qmMathTransform read;
    std::memset(&read, 0x5A, sizeof read);
    const qmMathTransform before = read;
    const bool loaded = qmMathTransformLoad(wide().c_str(), &read) == 1;
    EXPECT_TRUE(loaded || sameBits(read, before)) << text;
    return loaded;
  }

  TempDir folder_;
};

TEST_F(TransformFile, IsTextInRowsWithACheck) {
  ASSERT_EQ(qmMathTransformStore(wide().c_str(), &kSample), 1);
  EXPECT_EQ(readFile(path()), kSampleText);
  EXPECT_TRUE(loads(kSampleText));
}

TEST_F(TransformFile, GivesBackEveryBit) {
  auto random = testRandom();
  for (int round = 0; round < 2000; ++round) {
    qmMathTransform transform;
    for (int n = 0; n < 12; ++n) {
      do {
        numberOf(transform, n) = std::bit_cast<double>(random());
      } while (!std::isfinite(numberOf(transform, n)));
    }
    numberOf(transform, round % 12) = round % 2 == 0 ? -0.0 : std::numeric_limits<double>::denorm_min();
    ASSERT_EQ(qmMathTransformStore(wide().c_str(), &transform), 1);
    qmMathTransform read;
    ASSERT_EQ(qmMathTransformLoad(wide().c_str(), &read), 1);
    ASSERT_TRUE(sameBits(read, transform));
  }
}

TEST_F(TransformFile, WithAnyByteChangedIsRefused) {
  for (std::size_t at = 0; at < kSampleText.size(); ++at) {
    for (const char to : {'0', '1', ' ', '\n', 'x'}) {
      std::string text = kSampleText;
      if (text[at] == to) continue;
      text[at] = to;
      EXPECT_FALSE(loads(text)) << at;
    }
  }
}

TEST_F(TransformFile, CutShortOrLengthenedIsRefused) {
  for (std::size_t length = 0; length < kSampleText.size(); ++length) {
    EXPECT_FALSE(loads(kSampleText.substr(0, length))) << length;
  }
  EXPECT_FALSE(loads(kSampleText + "\n"));
  EXPECT_FALSE(loads("\n" + kSampleText));
  EXPECT_FALSE(loads(kSampleText + std::string(100000, ' ')));
}

TEST_F(TransformFile, WithARightCheckMustStillBeInOrder) {
  for (const char* text :
       {"QuelTransform 2\n1 0 0 0.5\n0 1 0 -20.25\n0 0 1 0\n",    // Another version.
        "QuelTransform 1\n1 0 0 0.50\n0 1 0 -20.25\n0 0 1 0\n",   // A digit that need not be.
        "QuelTransform 1\r\n1 0 0 0.5\n0 1 0 -20.25\n0 0 1 0\n",  // Another line end.
        "QuelTransform 1\n1 0 0 0.5\n0 1 0 -20.25\n0 0 1\n",      // A number too few.
        "QuelTransform 1\n1 0 0 0.5\n0 1 0 -20.25\n0 0 1 0 7\n",  // A number too many.
        "QuelTransform 1\n1 0 0 inf\n0 1 0 -20.25\n0 0 1 0\n", "QuelTransform 1\n1 0 0 nan\n0 1 0 -20.25\n0 0 1 0\n",
        "QuelTransform 1\n1 0 0 1e999\n0 1 0 -20.25\n0 0 1 0\n"}) {
    EXPECT_FALSE(loads(withCheck(text))) << text;
  }
}

TEST_F(TransformFile, IsNotWrittenForNumbersThatAreNotFinite) {
  ASSERT_EQ(qmMathTransformStore(wide().c_str(), &kSample), 1);
  for (int n = 0; n < 12; ++n) {
    qmMathTransform transform = kSample;
    numberOf(transform, n) = std::numeric_limits<double>::infinity();
    EXPECT_EQ(qmMathTransformStore(wide().c_str(), &transform), 0);
  }
  EXPECT_EQ(readFile(path()), kSampleText);
}

TEST_F(TransformFile, FailsForNullAndForPathsThatLeadNowhere) {
  qmMathTransform transform = kSample;
  EXPECT_EQ(qmMathTransformLoad(nullptr, &transform), 0);
  EXPECT_EQ(qmMathTransformStore(nullptr, &transform), 0);
  EXPECT_EQ(qmMathTransformLoad(u"", &transform), 0);
  EXPECT_EQ(qmMathTransformStore(u"", &transform), 0);
  EXPECT_EQ(qmMathTransformLoad(wide().c_str(), &transform), 0);
  EXPECT_EQ(qmMathTransformStore(folder_.wide("no such folder/a.trn").c_str(), &transform), 0);
  EXPECT_EQ(qmMathTransformStore(wide().c_str(), nullptr), 0);
  writeFile(path(), kSampleText);
  EXPECT_EQ(qmMathTransformLoad(wide().c_str(), nullptr), 0);
}

TEST_F(TransformFile, LiesInTheHomeDirectoryWhenItsPathIsRootedThere) {
  const TempHome home;
  EXPECT_EQ(qmMathTransformStore(u"\\a.trn", &kSample), 1);
  EXPECT_EQ(readFile(home.path() / "a.trn"), kSampleText);
}

TEST_F(TransformFile, StaysAsItIsWhenMemoryIsExhausted) {
  writeFile(path(), kSampleText);
  const std::u16string name = wide();
  const auto loading = quel::testing::failEachNew(
      [&] {
        qmMathTransform transform;
        return qmMathTransformLoad(name.c_str(), &transform);
      },
      [](std::int32_t result, bool failed) { EXPECT_EQ(result, failed ? 0 : 1); });
  const auto storing = quel::testing::failEachNew([&] { return qmMathTransformStore(name.c_str(), &kSample); },
                                                  [&](std::int32_t result, bool failed) {
                                                    EXPECT_EQ(result, failed ? 0 : 1);
                                                    EXPECT_EQ(readFile(path()), kSampleText);
                                                  });
  EXPECT_GT(loading, 0);
  EXPECT_GT(storing, 0);
}

TEST(qmMathTransformLoad, TellsByTheLastErrorWhetherItIsKnownWhatIsInTheFile) {
  const TempDir dir;
  qmMathTransform read;
  const auto errorOf = [&](const char* name) {
    quelplatform::setLastError(77);
    qmMathTransformLoad(dir.wide(name).c_str(), &read);
    return quelplatform::lastSystemError();
  };
  ASSERT_EQ(qmMathTransformStore(dir.wide("sound").c_str(), &kSample), 1);
  writeFile(dir.path() / "damaged", "QuelTransform");
  writeFile(dir.path() / "large", std::string(5000, 'x'));
  EXPECT_EQ(errorOf("sound"), 0u);
  EXPECT_EQ(errorOf("damaged"), 0u);
  EXPECT_EQ(errorOf("large"), 0u);
  EXPECT_EQ(errorOf("none"), 2u);
  const quel::testing::NoDescriptors none;
  EXPECT_EQ(errorOf("sound"), 4u);
}

}  // namespace
