// Trees of projects for tests.
#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "quelcore/project/QmProjectInfo.h"
#include "quelplatform/qmEnv/QmWorkPlace.h"
#include "quelplatform/qmEnv/qmText.h"
#include "testing/TempHome.h"

namespace quelcore::testing {

namespace fs = std::filesystem;

/// A root directory in which a test makes projects, parts and setups.
class Store : public quel::testing::TempDir {
 public:
  std::u16string root() const { return path().u16string(); }

  /// A directory with the file `marker` in it, unless that is null.
  void make(const std::string& directory, const qmWChar* marker = nullptr) const {
    fs::create_directories(path() / directory);
    if (marker != nullptr) quel::testing::writeFile(path() / directory / toNarrow(marker), "");
  }
  void project(const std::string& directory) const { make(directory); }
  void part(const std::string& directory) const { make(directory, QmWorkPlace::getPartFileTail(false)); }
  void infoPart(const std::string& directory) const { make(directory, QmWorkPlace::getPartInfoFileTail()); }
  void setup(const std::string& directory) const { make(directory, QmWorkPlace::getSetupFileTail()); }
  void autoSetup(const std::string& directory) const { make(directory, QmWorkPlace::getAutoSetupFileTail()); }
};

/// "project/part/setup" of each setup, in the order of the list.
inline std::vector<std::string> setupsOf(const QmProjectInfo& info) {
  std::vector<std::string> setups;
  for (std::uint32_t i = 0; i < info.GetNumSetups(); ++i) {
    const QmSetupInfo& setup = *info.GetSetupInfo(i);
    EXPECT_FALSE(setup.IsLoaded());
    EXPECT_EQ(qmWString(setup.GetRoot()), info.GetRoot());
    setups.push_back(toNarrow(setup.GetProject()) + "/" + toNarrow(setup.GetPart()) + "/" + toNarrow(setup.GetSetup()));
  }
  return setups;
}

}  // namespace quelcore::testing
