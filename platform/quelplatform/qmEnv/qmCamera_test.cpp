#include "quelplatform/qmEnv/qmCamera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <ostream>
#include <set>
#include <string>

#include "quelplatform/qmEnv/machineId.h"
#include "testing/RecordingLog.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::Line;
using quel::testing::RecordingLog;
using quel::testing::TempHome;
using quel::testing::writeFile;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;

constexpr auto kBench = static_cast<OH_CAMERA_TYPE>(42);

std::array<int, 4> infoOf(std::int32_t type) {
  CameraInfo info{-1, -1, -1, -1};
  const bool known = getCameraInfo(static_cast<OH_CAMERA_TYPE>(type), info);
  EXPECT_EQ(known, info.type != -1) << type;
  return {info.type, info.isQuelHead200, info.width, info.height};
}

constexpr std::array<int, 4> kUntouched = {-1, -1, -1, -1};

qmWString nameOf(std::int32_t type) { return getOHCameraName(static_cast<OH_CAMERA_TYPE>(type)); }

std::string benchSection(const std::string& width, const std::string& height) {
  return "[Camera 42]\nName = Bench head\nWidth = " + width + "\nHeight = " + height + "\n";
}

TEST(getCameraInfo, KnowsTheBuiltInTypes) {
  const TempHome home;
  EXPECT_EQ(infoOf(1), (std::array{1, 0, 1536, 1024}));
  EXPECT_EQ(infoOf(2), (std::array{2, 0, 1280, 1024}));
  EXPECT_EQ(infoOf(3), (std::array{3, 0, 1624, 1236}));
  EXPECT_EQ(infoOf(4), (std::array{4, 0, 1536, 1024}));
  EXPECT_EQ(infoOf(5), (std::array{5, 0, 640, 480}));
  EXPECT_EQ(infoOf(6), (std::array{6, 0, 2048, 1536}));
  EXPECT_EQ(infoOf(7), (std::array{7, 1, 2448, 2048}));
  EXPECT_EQ(infoOf(8), (std::array{8, 1, 4096, 3000}));
}

TEST(getCameraInfo, LeavesTheRecordOfATypeWithoutSizeUntouched) {
  const TempHome home;
  for (const std::int32_t type : {0, -1, 9, 42, 2147483647}) EXPECT_EQ(infoOf(type), kUntouched) << type;
}

TEST(getOHCameraName, NamesEveryType) {
  const TempHome home;
  EXPECT_EQ(nameOf(1), u"QuelHead 100");
  std::set<qmWString> names;
  for (std::int32_t type = 1; type <= 8; ++type) names.insert(nameOf(type));
  EXPECT_EQ(names.size(), 8u);
  EXPECT_FALSE(names.contains(u"Unknown"));
  for (const std::int32_t type : {0, 9, -5}) EXPECT_EQ(nameOf(type), u"Unknown");
}

TEST(getDefCameraType, IsFour) { EXPECT_EQ(getDefCameraType(), 4); }

TEST(isQuelHead200, HoldsForSevenAndEight) {
  for (std::int32_t type = -1; type < 12; ++type) {
    EXPECT_EQ(isQuelHead200(static_cast<OH_CAMERA_TYPE>(type)), type == 7 || type == 8) << type;
  }
}

TEST(camerasIni, AddsTypes) {
  const TempHome home;
  writeFile(home.path() / "cameras.ini",
            benchSection("1920", "1200") + "[ camera 100 ]\nname=\xC3\xA9\nWIDTH=1\nheight=100000\n");
  EXPECT_EQ(infoOf(42), (std::array{42, 0, 1920, 1200}));
  EXPECT_EQ(nameOf(42), u"Bench head");
  EXPECT_EQ(infoOf(100), (std::array{100, 0, 1, 100000}));
  EXPECT_EQ(nameOf(100), u"\u00E9");
}

TEST(camerasIni, IsReadAgainWhileNamesHandedOutStayValid) {
  const TempHome home;
  writeFile(home.path() / "cameras.ini", benchSection("1920", "1200"));
  const qmWChar* name = getOHCameraName(kBench);
  writeFile(home.path() / "cameras.ini", "[Camera 42]\nName=Other\nWidth=10\nHeight=20\n");
  EXPECT_EQ(infoOf(42), (std::array{42, 0, 10, 20}));
  EXPECT_EQ(nameOf(42), u"Other");
  EXPECT_EQ(qmWString(name), u"Bench head");
}

struct BadSection {
  const char* text;
  const char* cause;
};

void PrintTo(const BadSection& section, std::ostream* out) { *out << section.text; }

class BadSections : public ::testing::TestWithParam<BadSection> {};

constexpr BadSection kBadSections[] = {
    {"[Camera 42]\nWidth=1\nHeight=1", ":1: [Camera 42] has no Name"},
    {"[Camera 42]\nName=\nWidth=1\nHeight=1", ":1: [Camera 42] has no Name"},
    {"[Camera 42]\nName=a\nHeight=1", ":1: [Camera 42]: Width must be a whole number from 1 to 100000"},
    {"[Camera 42]\nName=a\nWidth=0\nHeight=1", ":1: [Camera 42]: Width must be a whole number from 1 to 100000"},
    {"[Camera 42]\nName=a\nWidth=1.5\nHeight=1", ":1: [Camera 42]: Width must be a whole number from 1 to 100000"},
    {"[Camera 42]\nName=a\nWidth=-3\nHeight=1", ":1: [Camera 42]: Width must be a whole number from 1 to 100000"},
    {"[Camera 42]\nName=a\nWidth=1\nHeight=100001", ":1: [Camera 42]: Height must be a whole number from 1 to 100000"},
    {"[Camera 42]\nName=a\nWidth=1\nHeight=x", ":1: [Camera 42]: Height must be a whole number from 1 to 100000"},
    {"[Camera 4]\nName=a\nWidth=1\nHeight=1", ":1: camera type 4 is built in and stays as it is"},
    {"\n[Camera 0]\nName=a\nWidth=1\nHeight=1", ":2: [Camera 0] is no section \"Camera\" with a positive number"},
    {"[Camera -2]", ":1: [Camera -2] is no section \"Camera\" with a positive number"},
    {"[Camera 99999999999]", ":1: [Camera 99999999999] is no section \"Camera\" with a positive number"},
    {"[Camera]", ":1: [Camera] is no section \"Camera\" with a positive number"},
    {"[]", ":1: [] is no section \"Camera\" with a positive number"},
    {"[Lens 42]\nName=a\nWidth=1\nHeight=1", ":1: [Lens 42] is no section \"Camera\" with a positive number"},
    {"stray", ":1: neither a comment nor a section nor a key with a value"},
};
INSTANTIATE_TEST_SUITE_P(camerasIni, BadSections, ::testing::ValuesIn(kBadSections));

TEST_P(BadSections, AreReportedOnceAndSkippedWhileOthersHold) {
  const TempHome home;
  const RecordingLog log;
  const std::string path = (home.path() / "cameras.ini").string();
  writeFile(path, std::string(GetParam().text) + "\n[Camera 50]\nName=Good\nWidth=5\nHeight=6\n");
  EXPECT_EQ(infoOf(42), kUntouched);
  EXPECT_EQ(infoOf(4), (std::array{4, 0, 1536, 1024}));
  EXPECT_EQ(infoOf(50), (std::array{50, 0, 5, 6}));
  EXPECT_THAT(log.records(), ElementsAre(Line(3, "qmCamera", path + GetParam().cause)));
}

TEST(camerasIni, KeepsTheFirstOfTwoSectionsOfOneType) {
  const TempHome home;
  const RecordingLog log;
  const std::string path = (home.path() / "cameras.ini").string();
  writeFile(path, benchSection("10", "20") + benchSection("30", "40"));
  EXPECT_EQ(infoOf(42), (std::array{42, 0, 10, 20}));
  EXPECT_THAT(log.records(), ElementsAre(Line(3, "qmCamera", path + ":5: camera type 42 has a section above")));
}

TEST(camerasIni, ReportsEntriesOutsideOfASection) {
  const TempHome home;
  const RecordingLog log;
  const std::string path = (home.path() / "cameras.ini").string();
  writeFile(path, "Name=a\n");
  EXPECT_EQ(infoOf(42), kUntouched);
  EXPECT_THAT(log.records(), ElementsAre(Line(3, "qmCamera", path + ":1: stands in no section")));
}

TEST(camerasIni, IsReportedWhenADirectoryIsInItsPlace) {
  const TempHome home;
  const RecordingLog log;
  const std::string path = (home.path() / "cameras.ini").string();
  std::filesystem::create_directory(path);
  EXPECT_EQ(infoOf(42), kUntouched);
  EXPECT_EQ(nameOf(42), u"Unknown");
  EXPECT_THAT(log.records(), ElementsAre(Line(3, "qmCamera", path + ": cannot be read: Is a directory")));
}

std::string machineIdOf(std::int32_t size) {
  std::array<char, 12> buffer;
  buffer.fill('#');
  const std::int32_t written = qmEnvMachineID(buffer.data(), size);
  for (std::size_t i = static_cast<std::size_t>(written); i < buffer.size(); ++i) EXPECT_EQ(buffer[i], '#') << i;
  return std::string(buffer.data(), static_cast<std::size_t>(written));
}

TEST(qmEnvMachineID, IsEightCharactersThatStayTheSame) {
  const TempHome home;
  const std::string id = machineIdOf(8);
  EXPECT_THAT(id, MatchesRegex("[0-9A-Z]+"));
  EXPECT_EQ(id.size(), 8u);
  const TempHome other;
  EXPECT_EQ(machineIdOf(12), id);
  EXPECT_EQ(machineIdOf(3), id.substr(0, 3));
}

TEST(qmEnvMachineID, WritesNothingWithoutABuffer) {
  EXPECT_EQ(machineIdOf(0), "");
  EXPECT_EQ(machineIdOf(-1), "");
  EXPECT_EQ(qmEnvMachineID(nullptr, 8), 0);
}

TEST(qmEnvMachineID, IsWhatQuelmetraIniSays) {
  const TempHome home;
  const auto idSetTo = [&home](const std::string& text) {
    writeFile(home.path() / "quelmetra.ini", "[other]\nMachineID=wrong\n[machine]\nmachineid = " + text + "\n");
    return machineIdOf(8);
  };
  EXPECT_EQ(idSetTo("HEAD0042"), "HEAD0042");
  EXPECT_EQ(idSetTo("ab-7"), "0000ab-7");
  EXPECT_EQ(idSetTo("ABCDEFGHIJ"), "ABCDEFGH");
}

TEST(qmEnvMachineID, KeepsTheDerivedOneWhenTheTextCannotStandInFileNames) {
  const TempHome home;
  const std::string derived = machineIdOf(8);
  const std::string path = (home.path() / "quelmetra.ini").string();
  writeFile(path, "[Machine]\nMachineID=\n");
  EXPECT_EQ(machineIdOf(8), derived);
  for (const char* text : {"../etc", "a b", "a\\b", "\xC3\xA9"}) {
    const RecordingLog log;
    std::filesystem::remove(path);
    machineIdOf(8);
    writeFile(path, "[Machine]\nMachineID=" + std::string(text) + "\n");
    EXPECT_EQ(machineIdOf(8), derived);
    EXPECT_THAT(log.records(), ElementsAre(Line(3, "qmCamera",
                                                path + ":2: MachineID may hold printable ASCII characters other than "
                                                       "blanks, '/' and '\\' only")));
  }
}

TEST(machineIdFrom, TellsSimilarMachinesApart) {
  std::set<std::string> ids;
  for (int i = 0; i < 20000; ++i) ids.insert(quelplatform::machineIdFrom("machine-" + std::to_string(i)));
  EXPECT_EQ(ids.size(), 20000u);
  for (const std::string& id : ids) {
    ASSERT_EQ(id.size(), 8u);
    ASSERT_EQ(id.find_first_not_of("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"), std::string::npos) << id;
  }
}

}  // namespace
