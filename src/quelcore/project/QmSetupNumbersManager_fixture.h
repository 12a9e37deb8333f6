// A setup map in a home directory of its own.
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <tuple>
#include <vector>

#include "quelcore/project/QmSetupNumbersManager.h"
#include "quelplatform/qmEnv/qmText.h"
#include "testing/TempHome.h"

namespace quelcore::testing {

/// Setup number, cycle number, path.
using Row = std::tuple<std::int32_t, std::int32_t, std::string>;

/// Reaches what is for derived classes.
struct Numbers : QmSetupNumbersManager {
  using QmSetupNumbersManager::FindItemByPath;
  using QmSetupNumbersManager::FindItemBySetupNumber;
  using QmSetupNumbersManager::GetItemByIndex;
};

inline std::vector<Row> rowsOf(QmSetupNumbersManager& numbers) {
  std::vector<Row> rows;
  for (std::int32_t i = 0; i < numbers.GetItemCount(); ++i) {
    QmSetupNumCyclePath* item = nullptr;
    EXPECT_EQ(numbers.GetItemByIndex(i, item), 0);
    rows.emplace_back(item->GetSetupNumber(), item->GetCycleNumber(), toNarrow(item->GetPath()));
  }
  return rows;
}

class SetupMap : public ::testing::Test {
 protected:
  std::string map() const { return quel::testing::readFile(file()); }
  void writeMap(const std::string& content) const { quel::testing::writeFile(file(), content); }
  std::filesystem::path file() const { return home_.path() / "SetupMap.txt"; }

  /// What a manager reads of such a map.
  std::vector<Row> read(const std::string& content) const {
    writeMap(content);
    QmSetupNumbersManager numbers;
    EXPECT_EQ(numbers.Initialize(), 0);
    return rowsOf(numbers);
  }

  quel::testing::TempHome home_;
};

}  // namespace quelcore::testing
