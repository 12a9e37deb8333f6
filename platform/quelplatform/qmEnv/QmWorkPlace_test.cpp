#include "quelplatform/qmEnv/QmWorkPlace.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"
#include "quelplatform/qmEnv/qmText.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::TempHome;
using quelplatform::homeDirectory;
using quelplatform::setHomeDirectory;

/// Sets an environment variable, or removes it when `value` is null, until the end of its life.
class Environment {
 public:
  Environment(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    set(value);
  }
  ~Environment() { set(old_ ? old_->c_str() : nullptr); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  void set(const char* value) {
    if (value == nullptr) {
      unsetenv(name_);
    } else {
      setenv(name_, value, 1);
    }
  }

  const char* name_;
  std::optional<std::string> old_;
};

/// Goes back to the environment's home directory until the end of its life.
class NoChosenHome {
 public:
  NoChosenHome() : before_(homeDirectory()) { setHomeDirectory(""); }
  ~NoChosenHome() { setHomeDirectory(before_); }
  NoChosenHome(const NoChosenHome&) = delete;
  NoChosenHome& operator=(const NoChosenHome&) = delete;

 private:
  std::string before_;
};

TEST(homeDirectory, PrefersQuelHomeThenXdgThenTheUsersDirectory) {
  const NoChosenHome none;
  const Environment quel("QUEL_HOME", "/q");
  const Environment xdg("XDG_DATA_HOME", "/x");
  const Environment home("HOME", "/h");
  EXPECT_EQ(homeDirectory(), "/q");
  const Environment noQuel("QUEL_HOME", nullptr);
  EXPECT_EQ(homeDirectory(), "/x/quelmetra");
  const Environment noXdg("XDG_DATA_HOME", nullptr);
  EXPECT_EQ(homeDirectory(), "/h/.local/share/quelmetra");
}

TEST(homeDirectory, TakesEmptyVariablesAndARelativeXdgDirectoryForUnset) {
  const NoChosenHome none;
  const Environment quel("QUEL_HOME", "");
  const Environment xdg("XDG_DATA_HOME", "relative");
  const Environment home("HOME", "/h");
  EXPECT_EQ(homeDirectory(), "/h/.local/share/quelmetra");
}

TEST(homeDirectory, AsksTheUserTableWhenHomeIsUnset) {
  const NoChosenHome none;
  const Environment quel("QUEL_HOME", nullptr);
  const Environment xdg("XDG_DATA_HOME", nullptr);
  const Environment home("HOME", nullptr);
  EXPECT_TRUE(homeDirectory().ends_with("/.local/share/quelmetra")) << homeDirectory();
}

TEST(homeDirectory, AsksTheUserTableWhenHomeIsRelative) {
  const NoChosenHome none;
  const Environment quel("QUEL_HOME", nullptr);
  const Environment xdg("XDG_DATA_HOME", nullptr);
  for (const char* relative : {"relative", ".", ""}) {
    const Environment home("HOME", relative);
    EXPECT_TRUE(homeDirectory().starts_with("/")) << homeDirectory();
    EXPECT_TRUE(homeDirectory().ends_with("/.local/share/quelmetra")) << homeDirectory();
  }
}

TEST(homeDirectory, IsTheOneThatWasSet) {
  const TempHome home;
  const Environment quel("QUEL_HOME", "/q");
  EXPECT_EQ(homeDirectory(), home.path().string());
}

TEST(homeDirectory, MayBeSetAndAskedForByManyThreads) {
  const TempHome home;
  const std::string first(100, 'a');
  const std::string second(200, 'b');
  setHomeDirectory(first);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 500; ++i) {
        if (t == 0) setHomeDirectory(i % 2 == 0 ? second : first);
        const std::string seen = homeDirectory();
        EXPECT_TRUE(seen == first || seen == second) << seen;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(MakeHomeFullPath, JoinsHomeAndNameAndCreatesNothing) {
  const TempHome home;
  const std::string missing = (home.path() / "missing").string();
  setHomeDirectory(missing);
  std::array<qmWChar, 260> buffer{};
  const qmWString expected = toWide(missing + "/blocks.ini");
  EXPECT_EQ(QmWorkPlace::MakeHomeFullPath(u"blocks.ini", buffer.data(), 260), static_cast<int>(expected.size()));
  EXPECT_EQ(qmWString(buffer.data()), expected);
  EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST(MakeHomeFullPath, DoublesNoSeparator) {
  const TempHome home;
  setHomeDirectory("/somewhere/");
  std::array<qmWChar, 64> buffer{};
  QmWorkPlace::MakeHomeFullPath(u"a", buffer.data(), 64);
  EXPECT_EQ(qmWString(buffer.data()), u"/somewhere/a");
}

TEST(MakeHomeFullPath, NeedsRoomForTheTerminator) {
  const TempHome home;
  setHomeDirectory("/h");
  std::array<qmWChar, 8> buffer{};
  EXPECT_EQ(QmWorkPlace::MakeHomeFullPath(u"abc", buffer.data(), 7), 6);
  EXPECT_EQ(qmWString(buffer.data()), u"/h/abc");
  EXPECT_EQ(QmWorkPlace::MakeHomeFullPath(u"abc", buffer.data(), 6), 0);
  EXPECT_EQ(buffer[0], u'\0');
}

TEST(MakeHomeFullPath, GivesEmptyTextForANullName) {
  std::array<qmWChar, 8> buffer{u'x'};
  EXPECT_EQ(QmWorkPlace::MakeHomeFullPath(nullptr, buffer.data(), 8), 0);
  EXPECT_EQ(buffer[0], u'\0');
}

TEST(MakeHomeFullPath, LeavesABufferThatIsNoneAlone) {
  qmWChar unit = u'x';
  EXPECT_EQ(QmWorkPlace::MakeHomeFullPath(u"a", nullptr, 10), 0);
  EXPECT_EQ(QmWorkPlace::MakeHomeFullPath(u"a", &unit, 0), 0);
  EXPECT_EQ(QmWorkPlace::MakeHomeFullPath(u"a", &unit, -1), 0);
  EXPECT_EQ(unit, u'x');
}

TEST(getQmIniFilePath, IsQuelmetraIniOfTheHomeDirectory) {
  const TempHome home;
  std::array<qmWChar, 260> buffer{};
  EXPECT_GT(QmWorkPlace::getQmIniFilePath(buffer.data(), 260), 0);
  EXPECT_EQ(qmWString(buffer.data()), home.wide("quelmetra.ini"));
}

TEST(getSetupMapFilePath, IsSetupMapTxtOfTheHomeDirectory) {
  const TempHome home;
  std::array<qmWChar, 260> buffer{};
  const qmWString expected = home.wide("SetupMap.txt");
  EXPECT_EQ(QmWorkPlace::getSetupMapFilePath(buffer.data(), 260), static_cast<int>(expected.size()));
  EXPECT_EQ(qmWString(buffer.data()), expected);
  EXPECT_EQ(QmWorkPlace::getSetupMapFilePath(buffer.data(), static_cast<int>(expected.size())), 0);
  EXPECT_EQ(buffer[0], u'\0');
}

TEST(QmWorkPlace, NamesTheFilesOfTheProjectStoreApart) {
  const std::set<qmWString> names = {QmWorkPlace::getSetupFileTail(),     QmWorkPlace::getAutoSetupFileTail(),
                                     QmWorkPlace::getPartFileTail(false), QmWorkPlace::getPartInfoFileTail(),
                                     QmWorkPlace::getPreviewFileTail(),   QmWorkPlace::getReadmeFileTail()};
  EXPECT_EQ(names.size(), 6u);
  for (const qmWString& name : names) EXPECT_EQ(name.find_first_of(u"\\/*? "), qmWString::npos);
  EXPECT_EQ(QmWorkPlace::getPartFileTail(true), QmWorkPlace::path_separator + qmWString(u"part.qmp"));
}

TEST(getCurProjRoot, IsWhatTheApplicationSetOrTheHomesProjects) {
  const TempHome home;
  EXPECT_EQ(QmWorkPlace::getCurProjRoot(), home.wide("projects"));
  quelplatform::setCurProjRoot(u"D:\\parts");
  EXPECT_EQ(qmWString(QmWorkPlace::getCurProjRoot()), u"D:\\parts");
  quelplatform::setCurProjRoot(u"");
  EXPECT_EQ(QmWorkPlace::getCurProjRoot(), home.wide("projects"));
}

TEST(getCurProjRoot, GivesEachThreadATextOfItsOwn) {
  quelplatform::setCurProjRoot(u"one");
  const qmWChar* mine = QmWorkPlace::getCurProjRoot();
  std::thread([] {
    quelplatform::setCurProjRoot(u"two");
    EXPECT_EQ(qmWString(QmWorkPlace::getCurProjRoot()), u"two");
  }).join();
  EXPECT_EQ(qmWString(mine), u"one");
  quelplatform::setCurProjRoot(u"");
}

TEST(MakeMultiStageCalibFullPath, NamesOneFileForEachCameraType) {
  const TempHome home;
  std::array<qmWChar, 260> buffer{};
  const qmWString path = home.wide("multistage/4.ini");
  EXPECT_EQ(QmWorkPlace::MakeMultiStageCalibFullPath(OH_CAMERA_DEFAULT, buffer.data(), 260),
            static_cast<std::int32_t>(path.size()));
  EXPECT_EQ(qmWString(buffer.data()), path);
  EXPECT_GT(QmWorkPlace::MakeMultiStageCalibFullPath(static_cast<OH_CAMERA_TYPE>(2147483647), buffer.data(), 260), 0);
  EXPECT_EQ(qmWString(buffer.data()), home.wide("multistage/2147483647.ini"));
  EXPECT_FALSE(std::filesystem::exists(home.path() / "multistage"));
}

TEST(MakeMultiStageCalibFullPath, FailsWithEmptyTextWhereThereIsNoPath) {
  const TempHome home;
  std::array<qmWChar, 260> buffer{};
  for (const std::int32_t type : {0, -1, -2147483647 - 1}) {
    buffer[0] = u'x';
    EXPECT_EQ(QmWorkPlace::MakeMultiStageCalibFullPath(static_cast<OH_CAMERA_TYPE>(type), buffer.data(), 260), 0);
    EXPECT_EQ(buffer[0], u'\0') << type;
  }
  const auto length = static_cast<std::int32_t>(home.wide("multistage/4.ini").size());
  buffer[0] = u'x';
  EXPECT_EQ(QmWorkPlace::MakeMultiStageCalibFullPath(OH_CAMERA_DEFAULT, buffer.data(), length), 0);
  EXPECT_EQ(buffer[0], u'\0');
  EXPECT_EQ(QmWorkPlace::MakeMultiStageCalibFullPath(OH_CAMERA_DEFAULT, buffer.data(), length + 1), length);
  EXPECT_EQ(QmWorkPlace::MakeMultiStageCalibFullPath(OH_CAMERA_DEFAULT, nullptr, 260), 0);
  EXPECT_EQ(QmWorkPlace::MakeMultiStageCalibFullPath(OH_CAMERA_DEFAULT, buffer.data(), 0), 0);
}

TEST(MakeLegendFullPath, LeadsIntoTheFolderOfLegends) {
  const TempHome home;
  char16_t buffer[260];
  const std::u16string expected = home.wide("legends/DeviationColor.xml");
  EXPECT_EQ(QmWorkPlace::MakeLegendFullPath(u"DeviationColor.xml", buffer, 260),
            static_cast<std::int32_t>(expected.size()));
  EXPECT_EQ(std::u16string(buffer), expected);
  EXPECT_EQ(QmWorkPlace::MakeLegendFullPath(nullptr, buffer, 260), 0);
  EXPECT_EQ(buffer[0], u'\0');
  EXPECT_EQ(QmWorkPlace::MakeLegendFullPath(u"DeviationColor.xml", buffer, static_cast<std::int32_t>(expected.size())),
            0);
  EXPECT_EQ(buffer[0], u'\0');
}

}  // namespace
