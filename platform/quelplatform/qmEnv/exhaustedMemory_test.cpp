// What the environment does when the memory of the standard library is exhausted.
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <string>

#include "quelplatform/ground/files/atomicFile.h"
#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/qmEnv/QmWorkPlace.h"
#include "quelplatform/qmEnv/qmCamera.h"
#include "quelplatform/qmEnv/qmFile.h"
#include "quelplatform/qmEnv/qmLog.h"
#include "quelplatform/qmEnv/qmLogEmbedded.h"
#include "quelplatform/qmEnv/qmParam.h"
#include "quelplatform/windows/windows.h"
#include "testing/FailingNew.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::failEachNew;
using quel::testing::readFile;
using quel::testing::TempHome;
using quel::testing::writeFile;

// Enough text that no small-string buffer holds it.
const qmWString kLongName(60, u'n');

TEST(exhaustedMemory, FailsOpeningAFileWithItsNumber) {
  const TempHome home;
  const qmWString path = home.wide("") + kLongName;
  std::FILE* file = nullptr;
  const std::int64_t failures = failEachNew([&] { return qmFileOpen(path.c_str(), u"wb", &file); },
                                            [&](std::int32_t result, bool failed) {
                                              EXPECT_EQ(result, failed ? 0 : 1);
                                              EXPECT_EQ(file != nullptr, !failed);
                                              if (failed) {
                                                EXPECT_EQ(errno, ENOMEM);
                                              }
                                              qmFileClose(nullptr, &file);
                                            });
  EXPECT_GT(failures, 0);
}

TEST(exhaustedMemory, MakesQuestionsAboutFilesAnswerNo) {
  const TempHome home;
  const qmWString path = home.wide("") + kLongName;
  const qmWString directory = home.wide("");
  const qmWString added = home.wide(std::string(50, 'd') + "/e");
  writeFile(home.path() / std::string(60, 'n'), "");
  const auto noWhenFailed = [](bool result, bool failed) { EXPECT_EQ(result, !failed); };
  EXPECT_GT(failEachNew([&] { return QmFileExist(path.c_str()); }, noWhenFailed), 0);
  EXPECT_GT(failEachNew([&] { return QmDirectoryExist(directory.c_str()); }, noWhenFailed), 0);
  EXPECT_GT(failEachNew([&] { return QmMakeDirectory(added.c_str()); }, noWhenFailed), 0);
  EXPECT_TRUE(fs::is_directory(home.path() / std::string(50, 'd') / "e"));
}

TEST(exhaustedMemory, FailsHomePathsWithEmptyText) {
  const TempHome home;
  std::array<qmWChar, 260> buffer{};
  const std::int64_t failures =
      failEachNew([&] { return QmWorkPlace::MakeHomeFullPath(kLongName.c_str(), buffer.data(), 260); },
                  [&](std::int32_t length, bool failed) { EXPECT_EQ(failed, length == 0 && buffer[0] == u'\0'); });
  EXPECT_GT(failures, 0);
}

TEST(exhaustedMemory, LeavesTheOldFileWhenAWriteFails) {
  const TempHome home;
  const std::string path = (home.path() / std::string(60, 'n')).string();
  writeFile(path, "old");
  const std::string text = "new";
  int error = 0;
  const std::int64_t failures =
      failEachNew([&] { return quelplatform::writeFileAtomically(path, std::as_bytes(std::span(text)), error); },
                  [&](bool good, bool failed) {
                    EXPECT_EQ(good, !failed);
                    EXPECT_EQ(error, failed ? ENOMEM : 0);
                    EXPECT_EQ(readFile(path), failed ? "old" : "new");
                  });
  EXPECT_GT(failures, 0);
  EXPECT_EQ(std::distance(fs::directory_iterator(home.path()), fs::directory_iterator()), 1);
}

TEST(exhaustedMemory, FailsFileServicesWithTheirNumber) {
  const TempHome home;
  writeFile(home.path() / "a", "text");
  const qmWString source = home.wide("a");
  const qmWString target = home.wide("") + kLongName;
  const auto checkError = [](bool good, bool failed) {
    EXPECT_EQ(good, !failed);
    if (failed) {
      EXPECT_EQ(GetLastError(), quelplatform::kErrorNotEnoughMemory);
    }
  };
  EXPECT_GT(failEachNew([&] { return CopyFileW(source.c_str(), target.c_str(), 1) == 1; }, checkError), 0);
  EXPECT_EQ(readFile(home.path() / std::string(60, 'n')), "text");
  EXPECT_GT(failEachNew([&] { return GetFileAttributesW(target.c_str()) != INVALID_FILE_ATTRIBUTES; }, checkError), 0);
  EXPECT_EQ(std::distance(fs::directory_iterator(home.path()), fs::directory_iterator()), 2);
}

TEST(exhaustedMemory, GivesTheDefaultsOfParameters) {
  const TempHome home;
  const std::string key(40, 'k');
  writeFile(home.path() / "params.ini", key + "=2\nwrong line\n" + key + "f=1\n");
  double value = 0.0;
  EXPECT_GT(failEachNew([&] { return qmEnvGetParam2double(key.c_str(), 1.0, &value); },
                        [&](std::int32_t result, bool failed) {
                          // A line of the log that found no room fails nothing.
                          EXPECT_EQ(value, result == 1 ? 2.0 : 1.0);
                          EXPECT_TRUE(failed || result == 1);
                        }),
            0);
  _qmBool flag = 7;
  const std::string flagKey = key + "f";
  EXPECT_GT(failEachNew([&] { return qmEnvGetParam2qmBool(flagKey.c_str(), 0, &flag); }, [&](std::int32_t, bool) {}),
            0);
  EXPECT_EQ(flag, 1);
  qmString text;
  EXPECT_GT(failEachNew([&] { return qmEnvGetParam2qmString(key.c_str(), "a default that needs memory", text); },
                        [&](std::int32_t result, bool failed) {
                          EXPECT_EQ(result == 1, !text.isNull());
                          EXPECT_TRUE(failed || result == 1);
                        }),
            0);
}

TEST(exhaustedMemory, HidesAddedCamerasAndTheMachineUntilThereIsMemoryAgain) {
  const TempHome home;
  writeFile(home.path() / "cameras.ini", "[Camera 42]\nName = A name that is long enough\nWidth=3\nHeight=4\n");
  writeFile(home.path() / "quelmetra.ini", "[Machine]\nMachineID = M7\n");
  const auto type = static_cast<OH_CAMERA_TYPE>(42);
  CameraInfo info{};
  EXPECT_GT(
      failEachNew([&] { return getCameraInfo(type, info); }, [](bool good, bool failed) { EXPECT_EQ(good, !failed); }),
      0);
  EXPECT_EQ(info.width, 3);
  writeFile(home.path() / "cameras.ini", "[Camera 42]\nName = Another name that is long\nWidth=3\nHeight=4\n");
  EXPECT_GT(failEachNew([&] { return getOHCameraName(type); },
                        [](const qmWChar* name, bool failed) {
                          EXPECT_EQ(qmWString(name), failed ? u"Unknown" : u"Another name that is long");
                        }),
            0);
  std::array<char, 8> id{};
  EXPECT_GT(failEachNew([&] { return qmEnvMachineID(id.data(), 8); },
                        [](std::int32_t length, bool failed) { EXPECT_EQ(length, failed ? 0 : 8); }),
            0);
  EXPECT_EQ(std::string(id.data(), 8), "000000M7");
}

TEST(exhaustedMemory, LosesLogLinesAndNothingElse) {
  const TempHome home;
  quelplatform::enableLogFile(true);
  const std::string text(100, 't');
  const auto nothing = [](int, bool) {};
  const auto attempt = [&] {
    writeLogF(3, 1, "a module with a long name", "d", "%s %s %d", text, u"wide", 1);
    writeLogI(5, 1, "a module with a long name", "d", 0xC43D0030, text, u"wide", 1, 2.5);
    sendError(5, 1, "a module with a long name", "d", 0xC41D0001);
    return 0;
  };
  EXPECT_GT(failEachNew(attempt, nothing), 0);
  quelplatform::enableLogFile(false);
  EXPECT_NE(readFile(home.path() / "log" / "quelmetra.log").find(text), std::string::npos);
}

}  // namespace
