#include "quelcore/project/QmSetupNumbersManager.h"

#include <algorithm>
#include <memory>
#include <new>

#include "quelcore/project/QmSetupNumbersManager_fixture.h"
#include "quelplatform/qmEnv/QmWorkPlace.h"
#include "testing/FailingNew.h"
#include "testing/NoDescriptors.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::failEachNew;
using quel::testing::testRandom;
using quelcore::testing::Numbers;
using quelcore::testing::Row;
using quelcore::testing::rowsOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(!std::is_polymorphic_v<QmSetupNumbersManager>);
static_assert(SETUPNUM_E_RESERVED == -1006239743 && SETUPNUM_E_NO_ITEM == SETUPNUM_E_RESERVED + 8);

class QmSetupNumbers : public quelcore::testing::SetupMap {
 protected:
  void add(std::int32_t number, const qmWChar* path, std::int32_t cycle = -1) {
    ASSERT_EQ(numbers.AddItem(number, path, cycle), 0);
  }

  /// The map that a save writes now; "unsaved" when it writes none.
  std::string saved() {
    writeMap("unsaved");
    EXPECT_EQ(numbers.SaveSetupList(), 0);
    return map();
  }

  Numbers numbers;
};

TEST_F(QmSetupNumbers, BeginsEmpty) {
  EXPECT_EQ(numbers.GetItemCount(), 0);
  EXPECT_EQ(numbers.FindItemBySetupNumber(3), -1);
  EXPECT_EQ(saved(), "unsaved");
}

TEST_F(QmSetupNumbers, ReservesNumbersUpTo2) {
  EXPECT_TRUE(numbers.IsReserved(2));
  EXPECT_TRUE(numbers.IsReserved(0));
  EXPECT_TRUE(numbers.IsReserved(-2147483647 - 1));
  EXPECT_FALSE(numbers.IsReserved(3));
  EXPECT_EQ(numbers.AddItem(2, u"p", 0), SETUPNUM_E_RESERVED);
  EXPECT_EQ(numbers.AddItem(3, u"p", 0), 0);
}

TEST_F(QmSetupNumbers, RefusesItemsInTheOrderOfTheTests) {
  add(3, u"a");
  EXPECT_EQ(numbers.AddItem(2, nullptr, 0), SETUPNUM_E_RESERVED);
  EXPECT_EQ(numbers.AddItem(3, nullptr, 0), SETUPNUM_E_BAD_PATH);
  EXPECT_EQ(numbers.AddItem(3, u"a", 0), SETUPNUM_E_NUMBER_USED);
  EXPECT_EQ(numbers.AddItem(4, u"a", 0), SETUPNUM_E_PATH_USED);
  EXPECT_EQ(numbers.AddItem(4, u"A", 5), 0);
  EXPECT_THAT(rowsOf(numbers), ElementsAre(Row(3, -1, "a"), Row(4, 5, "A")));
}

TEST_F(QmSetupNumbers, TakesAPathThatIsAnItemsOwn) {
  for (std::int32_t number = 3; number < 40; ++number) {
    qmWString path(30, u'p');
    path += static_cast<qmWChar>(u'0' + number);
    add(number, path.c_str());
  }
  QmSetupNumCyclePath* item = numbers.GetItemByIndex(0);
  EXPECT_EQ(numbers.UpdateItem(0, nullptr, nullptr, item->GetPath() + 1), 0);
  EXPECT_EQ(numbers.AddItem(50, numbers.GetItemByIndex(0)->GetPath() + 1, 0), 0);
  EXPECT_EQ(qmWString(numbers.GetItemByIndex(0)->GetPath()).size(), 30u);
  EXPECT_EQ(qmWString(numbers.GetItemByIndex(37)->GetPath()).size(), 29u);
}

TEST_F(QmSetupNumbers, UpdatesWhatIsGiven) {
  add(3, u"a", 1);
  const std::int32_t reserved = 0, cycle = 9;
  EXPECT_EQ(numbers.UpdateItem(0, nullptr, nullptr, nullptr), 0);
  EXPECT_THAT(rowsOf(numbers), ElementsAre(Row(3, 1, "a")));
  EXPECT_EQ(numbers.UpdateItem(0, &reserved, nullptr, nullptr), 0);
  EXPECT_EQ(numbers.UpdateItem(0, nullptr, &cycle, nullptr), 0);
  EXPECT_EQ(numbers.UpdateItem(0, nullptr, nullptr, u"b"), 0);
  EXPECT_THAT(rowsOf(numbers), ElementsAre(Row(0, 9, "b")));
  EXPECT_EQ(numbers.UpdateItem(0, &reserved, &cycle, u"b"), 0);  // What it has itself is free.
}

TEST_F(QmSetupNumbers, RefusesUpdatesToWhatAnotherItemHas) {
  add(3, u"a", 1);
  add(4, u"b", 2);
  const std::int32_t three = 3, four = 4, five = 5;
  EXPECT_EQ(numbers.UpdateItem(0, &four, &five, u"c"), SETUPNUM_E_NUMBER_USED);
  EXPECT_EQ(numbers.UpdateItem(1, &three, &five, u"a"), SETUPNUM_E_NUMBER_USED);
  EXPECT_EQ(numbers.UpdateItem(0, &five, &five, u"b"), SETUPNUM_E_PATH_USED);
  EXPECT_EQ(numbers.UpdateItem(-1, &five, &five, u"c"), SETUPNUM_E_BAD_INDEX);
  EXPECT_EQ(numbers.UpdateItem(2, &five, &five, u"c"), SETUPNUM_E_BAD_INDEX);
  EXPECT_THAT(rowsOf(numbers), ElementsAre(Row(3, 1, "a"), Row(4, 2, "b")));
}

TEST_F(QmSetupNumbers, RefusesAnUpdateToANumberThatALaterItemHasToo) {
  writeMap("5 1 a\n5 1 b\n");
  ASSERT_EQ(numbers.Initialize(), 0);
  const std::int32_t five = 5;
  EXPECT_EQ(numbers.UpdateItem(0, &five, nullptr, nullptr), SETUPNUM_E_NUMBER_USED);
}

TEST_F(QmSetupNumbers, CountsEachUpdateAsAChange) {
  const std::int32_t number = 7;
  for (int what = 0; what < 4; ++what) {
    writeMap("3 1 a\n");
    ASSERT_EQ(numbers.Initialize(), 0);
    EXPECT_EQ(
        numbers.UpdateItem(0, what == 1 ? &number : nullptr, what == 2 ? &number : nullptr, what == 3 ? u"x" : nullptr),
        0);
    EXPECT_EQ(saved() != "unsaved", what != 0) << what;
  }
}

TEST_F(QmSetupNumbers, FindsTheFirstItem) {
  writeMap("5 1 a\n6 1 b\n5 2 b\n");
  ASSERT_EQ(numbers.Initialize(), 0);
  std::int32_t index = 77;
  EXPECT_EQ(numbers.QmSetupNumbersManager::FindItemBySetupNumber(5, index), 0);
  EXPECT_EQ(index, 0);
  EXPECT_EQ(numbers.QmSetupNumbersManager::FindItemByPath(u"b", index), 0);
  EXPECT_EQ(index, 1);
  EXPECT_EQ(numbers.QmSetupNumbersManager::FindItemBySetupNumber(7, index), SETUPNUM_E_NO_NUMBER);
  EXPECT_EQ(index, -1);
  index = 77;
  EXPECT_EQ(numbers.QmSetupNumbersManager::FindItemByPath(u"B", index), SETUPNUM_E_NO_PATH);
  EXPECT_EQ(index, -1);
  EXPECT_EQ(numbers.QmSetupNumbersManager::FindItemByPath(nullptr, index), SETUPNUM_E_NO_PATH);
}

TEST_F(QmSetupNumbers, GivesItemsByIndex) {
  add(3, u"a");
  QmSetupNumCyclePath dummy, *item = &dummy;
  EXPECT_EQ(numbers.QmSetupNumbersManager::GetItemByIndex(1, item), SETUPNUM_E_BAD_INDEX);
  EXPECT_EQ(item, nullptr);
  item = &dummy;
  EXPECT_EQ(numbers.QmSetupNumbersManager::GetItemByIndex(-1, item), SETUPNUM_E_BAD_INDEX);
  EXPECT_EQ(item, nullptr);
  EXPECT_EQ(numbers.QmSetupNumbersManager::GetItemByIndex(0, item), 0);
  EXPECT_EQ(item, numbers.GetItemByIndex(0));
  EXPECT_EQ(numbers.GetItemByIndex(1), nullptr);
}

TEST_F(QmSetupNumbers, SplitsThePathOfAnItemByIndex) {
  add(3, u"r/p/q/s");
  add(4, u"q/s");
  QmSetupInfo info;
  EXPECT_EQ(numbers.FillSetupInfo(0, info), 0);
  EXPECT_EQ(qmWString(info.GetProject()), u"p");
  EXPECT_EQ(numbers.FillSetupInfo(1, info), SETUPNUM_E_BAD_PATH);
  EXPECT_EQ(numbers.FillSetupInfo(3, info), SETUPNUM_E_BAD_INDEX);  // No setup number.
  EXPECT_EQ(numbers.FillSetupInfo(-1, info), SETUPNUM_E_BAD_INDEX);
}

TEST_F(QmSetupNumbers, RemovesOnlyTheFirstOfTwoNeighbours) {
  writeMap("5 0 a\n5 0 b\n6 0 c\n5 0 d\n5 0 e\n5 0 f\n");
  ASSERT_EQ(numbers.Initialize(), 0);
  EXPECT_EQ(numbers.RemoveItem(5), 0);
  EXPECT_THAT(rowsOf(numbers), ElementsAre(Row(5, 0, "b"), Row(6, 0, "c"), Row(5, 0, "e")));
  EXPECT_EQ(numbers.RemoveItem(99), 0);
  EXPECT_EQ(numbers.GetItemCount(), 3);
}

// Against a scan that erases as it goes.
TEST_F(QmSetupNumbers, RemovesAsAScanWouldOverRandomLists) {
  auto random = testRandom();
  for (int i = 0; i < 200; ++i) {
    std::string content;
    for (std::size_t n = random() % 12; n > 0; --n) content += std::to_string(5 + random() % 2) + " 0 x\n";
    writeMap(content);
    ASSERT_EQ(numbers.Initialize(), 0);
    std::vector<Row> expected = rowsOf(numbers);
    for (std::size_t at = 0; at < expected.size(); ++at) {
      if (std::get<0>(expected[at]) == 5) expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(at));
    }
    EXPECT_EQ(numbers.RemoveItem(5), 0);
    EXPECT_EQ(rowsOf(numbers), expected) << content;
  }
}

TEST_F(QmSetupNumbers, DoesNotCountARemovalAsAChange) {
  writeMap("5 1 a\n6 1 b\n");
  ASSERT_EQ(numbers.Initialize(), 0);
  EXPECT_EQ(numbers.RemoveItem(5), 0);
  EXPECT_EQ(saved(), "unsaved");
  EXPECT_EQ(numbers.CleanSetupNumber(7), SETUPNUM_E_NO_NUMBER);
  EXPECT_EQ(saved(), "unsaved");
}

TEST_F(QmSetupNumbers, NeverSavesAListEmptiedByARemoval) {
  add(5, u"a");
  EXPECT_NE(saved(), "unsaved");
  EXPECT_EQ(numbers.RemoveItem(5), 0);
  EXPECT_EQ(saved(), "unsaved");
}

TEST_F(QmSetupNumbers, TakesTheNumberFromAnItemThatStaysInTheListButNotInTheMap) {
  add(5, u"a", 1);
  add(6, u"b", 2);
  EXPECT_EQ(numbers.CleanSetupNumber(5), 0);
  EXPECT_THAT(rowsOf(numbers), ElementsAre(Row(-1, 1, "a"), Row(6, 2, "b")));
  EXPECT_EQ(saved(), "6         2         b\n");
  EXPECT_EQ(numbers.GetItemCount(), 2);
  EXPECT_EQ(numbers.Initialize(), 0);
  EXPECT_EQ(numbers.GetItemCount(), 1);
}

TEST_F(QmSetupNumbers, CountsACleanedNumberAsAChange) {
  writeMap("5 1 a\n6 1 b\n");
  ASSERT_EQ(numbers.Initialize(), 0);
  EXPECT_EQ(numbers.CleanSetupNumber(5), 0);
  EXPECT_EQ(saved(), "6         1         b\n");
}

std::unique_ptr<QmSetupInfo> setupOf(const qmWString& root, const qmWChar* setup) {
  auto info = std::make_unique<QmSetupInfo>();
  info->SetRoot(root);
  info->SetProject(u"p");
  info->SetPart(u"q");
  info->SetSetup(setup);
  return info;
}

TEST_F(QmSetupNumbers, AppendsSetupsThatNoItemHasTheirPathOf) {
  add(3, u"r/p/q/s");
  const auto known = setupOf(u"r", u"s"), fresh = setupOf(u"r", u"t"), again = setupOf(u"r", u"t");
  numbers.FillDataBySetupInfoVec({known.get(), nullptr, fresh.get(), again.get()});
  EXPECT_THAT(rowsOf(numbers), ElementsAre(Row(3, -1, "r/p/q/s"), Row(-1, -1, "r/p/q/t")));
}

TEST_F(QmSetupNumbers, GivesTheEmptyPathToSetupsThatAreNotValidOrTooLong) {
  const auto invalid = setupOf(u"", u"s"), fits = setupOf(qmWString(253, u'r'), u"s");
  const auto tooLong = setupOf(qmWString(254, u'r'), u"s");
  numbers.FillDataBySetupInfoVec({fits.get()});
  EXPECT_EQ(std::get<2>(rowsOf(numbers)[0]).size(), 259u);
  numbers.FillDataBySetupInfoVec({tooLong.get(), invalid.get()});
  ASSERT_EQ(numbers.GetItemCount(), 2);
  EXPECT_EQ(rowsOf(numbers)[1], Row(-1, -1, ""));
}

TEST_F(QmSetupNumbers, DoesNotCountAppendedSetupsAsAChange) {
  writeMap("5 1 a\n");
  ASSERT_EQ(numbers.Initialize(), 0);
  const auto setup = setupOf(u"r", u"s");
  numbers.FillDataBySetupInfoVec({setup.get()});
  EXPECT_EQ(saved(), "unsaved");
  const std::int32_t number = 8;
  EXPECT_EQ(numbers.UpdateItem(1, &number, nullptr, nullptr), 0);
  EXPECT_EQ(saved(), "5         1         a\n8         -1        r/p/q/s\n");
}

TEST_F(QmSetupNumbers, SortsByNumberCycleOrPath) {
  writeMap("7 1 b\n5 3 ab\n-2 2 a\n6 1 B\n");
  ASSERT_EQ(numbers.Initialize(), 0);
  numbers.Sort(0);
  EXPECT_THAT(rowsOf(numbers), ElementsAre(Row(-2, 2, "a"), Row(5, 3, "ab"), Row(6, 1, "B"), Row(7, 1, "b")));
  numbers.Sort(1);
  EXPECT_THAT(rowsOf(numbers), ElementsAre(Row(6, 1, "B"), Row(7, 1, "b"), Row(-2, 2, "a"), Row(5, 3, "ab")));
  numbers.Sort(2);
  EXPECT_THAT(rowsOf(numbers), ElementsAre(Row(6, 1, "B"), Row(-2, 2, "a"), Row(5, 3, "ab"), Row(7, 1, "b")));
  for (const std::int32_t key : {-1, 3, 2147483647}) {
    numbers.Sort(0);
    numbers.Sort(key);
    EXPECT_EQ(std::get<0>(rowsOf(numbers)[0]), -2);
  }
  EXPECT_EQ(saved(), "unsaved");
}

TEST_F(QmSetupNumbers, KeepsTheOrderOfEqualItemsWhenItSortsManyOfThem) {
  std::string map;
  std::vector<Row> byNumber, byCycle;
  for (std::int32_t n = 0; n < 500; ++n) {
    const Row row(n / 50 % 2, n % 3, "p" + std::to_string(n));
    map += std::to_string(std::get<0>(row)) + " " + std::to_string(std::get<1>(row)) + " " + std::get<2>(row) + "\n";
    byNumber.push_back(row);
  }
  byCycle = byNumber;
  const auto zerosFirst = [](const Row& row) { return std::get<0>(row) == 0; };
  std::stable_partition(byNumber.begin(), byNumber.end(), zerosFirst);
  writeMap(map);
  ASSERT_EQ(numbers.Initialize(), 0);
  numbers.Sort(0);
  EXPECT_EQ(rowsOf(numbers), byNumber);
  ASSERT_EQ(numbers.Initialize(), 0);
  numbers.Sort(1);
  const auto upTo = [](std::int32_t cycle) { return [=](const Row& row) { return std::get<1>(row) <= cycle; }; };
  std::stable_partition(byCycle.begin(), byCycle.end(), upTo(1));
  std::stable_partition(byCycle.begin(), byCycle.end(), upTo(0));
  EXPECT_EQ(rowsOf(numbers), byCycle);
}

TEST_F(QmSetupNumbers, SortsPathsByUnits) {
  writeMap("5 0 \xEF\xBC\xA1\n6 0 \xF0\x9F\x98\x80\n");  // U+FF21 and the pair D83D DE00.
  ASSERT_EQ(numbers.Initialize(), 0);
  numbers.Sort(2);
  EXPECT_EQ(std::get<0>(rowsOf(numbers)[0]), 6);
}

TEST_F(QmSetupNumbers, CopiesTheListAndWhetherItWasChanged) {
  add(3, u"a");
  {
    QmSetupNumbersManager copy(numbers), assigned;
    assigned = numbers;
    EXPECT_EQ(copy.AddItem(4, u"b", 0), 0);
    EXPECT_EQ(numbers.GetItemCount(), 1);
    EXPECT_EQ(assigned.GetItemCount(), 1);
    EXPECT_EQ(assigned.Uninitialize(), 0);
    EXPECT_EQ(map(), "3         -1        a\n");
  }
  EXPECT_EQ(map(), "3         -1        a\n4         0         b\n");  // The copy saved when it ended.
}

TEST_F(QmSetupNumbers, TellsExhaustedMemoryWithTheListAsItWas) {
  const qmWString longPath(100, u'p');
  EXPECT_GT(failEachNew(
                [&] {
                  QmSetupNumbersManager fresh;
                  const std::int32_t status = fresh.AddItem(3, longPath.c_str(), 0);
                  const std::int32_t count = fresh.GetItemCount();
                  fresh.RemoveItem(3);  // So that its end saves nothing.
                  return std::pair(status, count);
                },
                [](const std::pair<std::int32_t, std::int32_t>& result, bool failed) {
                  EXPECT_EQ(result.first, failed ? SETUPNUM_E_FILE : 0);
                  EXPECT_EQ(result.second, failed ? 0 : 1);
                }),
            1);
  add(3, u"a");
  const std::int32_t four = 4;
  EXPECT_GT(failEachNew([&] { return numbers.UpdateItem(0, &four, nullptr, longPath.c_str()); },
                        [&](std::int32_t status, bool failed) {
                          EXPECT_EQ(status, failed ? SETUPNUM_E_FILE : 0);
                          EXPECT_EQ(numbers.GetItemByIndex(0)->GetSetupNumber(), failed ? 3 : 4);
                        }),
            0);
}

/// What a manager holds, found by looking at one item after the other.
struct PlainList {
  std::vector<QmSetupNumCyclePath> items;

  std::int32_t number(std::int32_t wanted) const {
    for (std::size_t i = 0; i < items.size(); ++i) {
      if (items[i].GetSetupNumber() == wanted) return static_cast<std::int32_t>(i);
    }
    return -1;
  }
  std::int32_t path(const qmWString& wanted) const {
    for (std::size_t i = 0; i < items.size(); ++i) {
      if (items[i].GetPath() == wanted) return static_cast<std::int32_t>(i);
    }
    return -1;
  }
};

// Every kind of change, in random order: what is found is what stands there, however it came there.
TEST_F(QmSetupNumbers, AreFoundAsInAPlainListWhateverHappened) {
  auto random = testRandom();
  const auto below = [&](int n) { return static_cast<std::int32_t>(random() % static_cast<unsigned>(n)); };
  for (int round = 0; round < 20; ++round) {
    QmSetupNumbersManager manager;
    PlainList plain;
    for (int step = 0; step < 120; ++step) {
      const std::int32_t number = 3 + below(12);
      const qmWString path = u"/s" + qmWString(1, static_cast<qmWChar>(u'a' + below(12)));
      const std::int32_t at = plain.items.empty() ? -1 : below(static_cast<int>(plain.items.size()));
      QmSetupNumCyclePath* item = nullptr;
      switch (std::min(below(20) / 3, 6)) {
        case 0:
        case 1:
          if (manager.AddItem(number, path.c_str(), step) == 0) plain.items.emplace_back(number, step, path.c_str());
          break;
        case 2:
          if (manager.UpdateItem(at, &number, nullptr, nullptr) == 0)
            plain.items[static_cast<std::size_t>(at)].SetSetupNumber(number);
          break;
        case 3:
          if (manager.GetItemByIndex(at, item) == 0) {  // Behind the manager's back.
            item->SetPath(path);
            plain.items[static_cast<std::size_t>(at)].SetPath(path);
          }
          break;
        case 4:
          manager.Sort(2);
          std::stable_sort(plain.items.begin(), plain.items.end(), [](const auto& a, const auto& b) {
            return qmWString(a.GetPath()) < qmWString(b.GetPath());
          });
          break;
        case 5:
          if (manager.CleanSetupNumber(number) == 0)
            plain.items[static_cast<std::size_t>(plain.number(number))].SetSetupNumber(-1);
          break;
        default: {
          const QmSetupNumbersManager copy(manager);
          manager = copy;
        }
      }
      for (std::int32_t wanted = -1; wanted < 16; ++wanted) {
        std::int32_t found = -9;
        manager.FindItemBySetupNumber(wanted, found);
        ASSERT_EQ(found, plain.number(wanted)) << round << ' ' << step;
      }
      for (qmWChar letter = u'a'; letter < u'n'; ++letter) {
        const qmWString wanted = u"/s" + qmWString(1, letter);
        std::int32_t found = -9;
        manager.FindItemByPath(wanted.c_str(), found);
        ASSERT_EQ(found, plain.path(wanted)) << round << ' ' << step;
      }
    }
  }
}

// --- A map that could not be read ----------------------------------------------------------------------------------

constexpr const char* kTwoSetups = "7         1         /a\n8         2         /b\n";

TEST_F(QmSetupNumbers, WritesNothingOverAMapThatCouldNotBeRead) {
  writeMap(kTwoSetups);
  EXPECT_EQ(numbers.Initialize(), 0);
  {
    const quel::testing::NoDescriptors none;
    EXPECT_EQ(numbers.Initialize(), SETUPNUM_E_FILE);
  }
  add(17, u"/c");
  const QmSetupNumbersManager copy = numbers;
  EXPECT_EQ(numbers.SaveSetupList(), SETUPNUM_E_FILE);
  EXPECT_EQ(QmSetupNumbersManager(copy).SaveSetupList(), SETUPNUM_E_FILE);
  EXPECT_EQ(map(), kTwoSetups);
  EXPECT_EQ(numbers.Initialize(), 0);
  add(17, u"/c", 3);
  EXPECT_EQ(numbers.SaveSetupList(), 0);
  EXPECT_EQ(map(), std::string(kTwoSetups) + "17        3         /c\n");
}

TEST_F(QmSetupNumbers, LosesNoSetupWhereverMemoryRunsOutWhileTheMapIsRead) {
  const auto addOne = [&](std::int32_t status, bool failed) {
    EXPECT_EQ(status == 0, !failed);
    add(17, u"/c", 3);
    const bool saved = numbers.SaveSetupList() == 0;
    EXPECT_EQ(saved, !failed);
    EXPECT_EQ(map(), std::string(kTwoSetups) + (saved ? "17        3         /c\n" : ""));
    writeMap(kTwoSetups);
  };
  writeMap(kTwoSetups);
  EXPECT_GT(failEachNew([&] { return numbers.Initialize(); }, addOne), 2);
}

TEST_F(QmSetupNumbers, MakesAMapWhereThereIsNone) {
  EXPECT_EQ(numbers.Initialize(), SETUPNUM_E_FILE);
  add(17, u"/c", 3);
  EXPECT_EQ(numbers.SaveSetupList(), 0);
  EXPECT_EQ(map(), "17        3         /c\n");
}

}  // namespace
