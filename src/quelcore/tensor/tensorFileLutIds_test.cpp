// The LUT identifiers in a tensor file: of every length, cut off, too long.
#include <gtest/gtest.h>

#include <cstring>

#include "quelcore/tensor/tensorFile_fixture.h"
#include "testing/RecordingLog.h"

namespace {

using quel::testing::BareTrace;
using quel::testing::Line;
using quel::testing::Loaded;
using quel::testing::lutEntry;
using quel::testing::RecordingLog;
using quel::testing::tensorFileBytes;
using quel::testing::TensorFileTest;
using ::testing::ElementsAre;

constexpr const char* kModule = "QmReconsTensorIO";

class LutIdentifierTest : public TensorFileTest {
 protected:
  /// A file whose identifier of camera 1, type 0, is `entry`.
  std::string fileWith(const std::string& entry, std::int32_t version = -17) {
    std::memset(content().distortLutsInfo, 0, sizeof(content().distortLutsInfo));
    useLut(content().distortLutsInfo[2], "behind");
    std::string bytes = tensorFileBytes(content(), version);
    return bytes.replace(18046, 2, entry);
  }
};

TEST_F(LutIdentifierTest, AreReadWithTheirLength) {
  for (std::size_t length = 1; length < 24; ++length) {
    const std::string id(length, 'q');
    Loaded loaded;
    const RecordingLog log;
    ASSERT_EQ(load(fileWith(lutEntry(static_cast<std::uint16_t>(length + 1), id + '\0')), loaded), 1);
    EXPECT_EQ(loaded->distortLutsInfo[1].useLut, 1);
    EXPECT_STREQ(loaded->distortLutsInfo[1].lutId, id.c_str());
    EXPECT_STREQ(loaded->distortLutsInfo[2].lutId, "behind");
    EXPECT_EQ(log.records().size(), 2U);
  }
}

TEST_F(LutIdentifierTest, OfLengthZeroMeansNoLut) {
  Loaded loaded;
  ASSERT_EQ(load(fileWith(lutEntry(0, "")), loaded), 1);
  EXPECT_EQ(loaded->distortLutsInfo[1].useLut, 0);
  EXPECT_STREQ(loaded->distortLutsInfo[2].lutId, "behind");
}

TEST_F(LutIdentifierTest, OfTwentyFourBytesWithoutANulIsCutToTwentyThree) {
  Loaded loaded;
  ASSERT_EQ(load(fileWith(lutEntry(24, std::string(24, 'z'))), loaded), 1);
  EXPECT_EQ(loaded->distortLutsInfo[1].useLut, 1);
  EXPECT_STREQ(loaded->distortLutsInfo[1].lutId, std::string(23, 'z').c_str());
  EXPECT_STREQ(loaded->distortLutsInfo[2].lutId, "behind");
}

TEST_F(LutIdentifierTest, OfFewerBytesWithoutANulIsKeptWhole) {
  Loaded loaded;
  ASSERT_EQ(load(fileWith(lutEntry(3, "abc")), loaded), 1);
  EXPECT_EQ(loaded->distortLutsInfo[1].useLut, 1);
  EXPECT_STREQ(loaded->distortLutsInfo[1].lutId, "abc");
  EXPECT_STREQ(loaded->distortLutsInfo[2].lutId, "behind");
}

TEST_F(LutIdentifierTest, ThatIsTooLongIsSkippedWithOneLine) {
  for (const std::uint16_t length : {std::uint16_t{25}, std::uint16_t{1000}, std::uint16_t{0x7FFF}}) {
    Loaded loaded;
    const RecordingLog log;
    ASSERT_EQ(load(fileWith(lutEntry(length, std::string(length, 'x'))), loaded), 1);
    EXPECT_EQ(loaded->distortLutsInfo[1].useLut, 0);
    EXPECT_STREQ(loaded->distortLutsInfo[1].lutId, "");
    EXPECT_STREQ(loaded->distortLutsInfo[2].lutId, "behind");
    EXPECT_EQ(loaded->distortParams[0].distortOption, 3);
    EXPECT_THAT(log.records().front(), Line(5, kModule,
                                            "cannot read lutId for camera 1 : skipped valUseLut = " +
                                                std::to_string(length) + " LUT_ID_SIZE = 24 lutType = 0\n"));
    EXPECT_EQ(log.records().size(), 3U);
  }
}

// Such a length asks for more bytes than any file holds, so the read of the text meets the end of the file.
TEST_F(LutIdentifierTest, OfANegativeLengthEndTheFile) {
  for (const std::uint16_t length : {std::uint16_t{0x8000}, std::uint16_t{0x8001}, std::uint16_t{0xFFFF}}) {
    for (const std::size_t bytesBehind : {std::size_t{0}, std::size_t{100}, std::size_t{0x10000}}) {
      const std::string entry = lutEntry(length, std::string(bytesBehind, 'x'));
      Loaded loaded;
      const RecordingLog log;
      EXPECT_EQ(load(fileWith(entry, -12), loaded), 1);  // nothing behind them that could fail
      EXPECT_EQ(loaded->distortLutsInfo[1].useLut, 0);
      EXPECT_EQ(loaded->distortLutsInfo[2].useLut, 0);
      EXPECT_STREQ(loaded->distortLutsInfo[1].lutId, "");
      EXPECT_THAT(log.records().front(), Line(5, kModule, "cannot read lutId for camera 1 lutType 0"));
    }
  }
}

TEST_F(LutIdentifierTest, OfANegativeLengthFailVersionsWithFieldsBehind) {
  for (const std::int32_t version : {-13, -14, -15, -16, -17}) {
    for (const std::size_t bytesBehind : {std::size_t{0}, std::size_t{0xFFFF}}) {
      const std::string entry = lutEntry(0xFFFF, std::string(bytesBehind, 'x'));
      Loaded loaded;
      const RecordingLog log;
      EXPECT_EQ(load(fileWith(entry, version), loaded), 0) << version;
      EXPECT_EQ(loaded->distortLutsInfo[1].useLut, 0);
      EXPECT_EQ(loaded->distortParams[0].distortExtra[0], 0.0);  // what stood behind was not taken for a field
      EXPECT_THAT(log.records(), ElementsAre(Line(5, kModule, "cannot read lutId for camera 1 lutType 0"),
                                             BareTrace(kModule), BareTrace(kModule)));
    }
  }
}

TEST_F(LutIdentifierTest, CutOffInsideItsLengthIsLoggedAndTheNextFieldFails) {
  const std::string bytes = fileWith(lutEntry(0, ""));
  Loaded loaded;
  const RecordingLog log;
  EXPECT_EQ(load(bytes.substr(0, 18047), loaded), 0);
  EXPECT_THAT(log.records(), ElementsAre(Line(5, kModule, "cannot read valUseLut for camera 1 lutType 0"),
                                         BareTrace(kModule), BareTrace(kModule)));
}

TEST_F(LutIdentifierTest, CutOffInsideItsTextIsLoggedAndTheNextFieldFails) {
  const std::string bytes = fileWith(lutEntry(10, "123456789" + std::string(1, '\0')));
  Loaded loaded;
  const RecordingLog log;
  EXPECT_EQ(load(bytes.substr(0, 18053), loaded), 0);
  EXPECT_EQ(loaded->distortLutsInfo[1].useLut, 0);
  EXPECT_THAT(log.records(), ElementsAre(Line(5, kModule, "cannot read lutId for camera 1 lutType 0"),
                                         BareTrace(kModule), BareTrace(kModule)));
}

TEST_F(LutIdentifierTest, CutOffInsideATextThatIsTooLongIsLoggedInItsOwnWords) {
  const std::string bytes = fileWith(lutEntry(500, std::string(500, 'x')));
  Loaded loaded;
  const RecordingLog log;
  EXPECT_EQ(load(bytes.substr(0, 18148), loaded), 0);
  EXPECT_THAT(log.records(), ElementsAre(Line(5, kModule, "cannot read lutId for camera 1 = lutType 0"),
                                         BareTrace(kModule), BareTrace(kModule)));
}

TEST_F(LutIdentifierTest, OfTheSecondTypeNamesItsTypeInTheLog) {
  std::memset(content().distortLutsInfo2, 0, sizeof(content().distortLutsInfo2));
  const std::string bytes = tensorFileBytes(content(), -15);
  Loaded loaded;
  const RecordingLog log;
  EXPECT_EQ(load(bytes.substr(0, bytes.size() - 1), loaded), 1);  // -15 has no field behind them that could fail
  EXPECT_THAT(log.records().front(), Line(5, kModule, "cannot read valUseLut for camera 2 lutType 1"));
}

TEST_F(LutIdentifierTest, CutOffAtTheEndOfAMinusTwelveFileStillLoads) {
  const std::string bytes = tensorFileBytes(content(), -12);
  for (std::size_t size = 18044; size < bytes.size(); ++size) {
    Loaded loaded;
    EXPECT_EQ(load(bytes.substr(0, size), loaded), 1) << size;
  }
}

}  // namespace
