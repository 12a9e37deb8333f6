// Which names a pattern finds, and in which order.
#include <gmock/gmock.h>

#include <algorithm>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/search_fixture.h"
#include "quelplatform/windows/wildcard.h"
#include "testing/FailingNew.h"
#include "testing/Numbers.h"
#include "testing/Sanitized.h"

namespace {

using quel::testing::failEachNew;
using quel::testing::TempDir;
using quel::testing::testRandom;
using quel::testing::writeFile;
using quelplatform::capitals;
using quelplatform::testing::found;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

bool fits(const qmWString& pattern, const qmWString& name) {
  return quelplatform::matchesPattern(capitals(pattern), capitals(name));
}

TEST(FileSearchOrder, IsByNameWithoutRegardToCase) {
  const TempDir dir;
  for (const char* name : {"b", "A", "c", "B2", "a2", "Z", "_", "1", "-", "a b", "A_B", "ab"}) {
    writeFile(dir.path() / name, "");
  }
  // '_' stands behind the capital letters, where NTFS has it.
  EXPECT_THAT(found(dir.wide("*")),
              ElementsAre(u".", u"..", u"-", u"1", u"A", u"a b", u"a2", u"ab", u"A_B", u"b", u"B2", u"c", u"Z", u"_"));
}

TEST(FileSearchOrder, PutsTheTwoDotsFirstWhateverElseThereIs) {
  const TempDir dir;
  for (const char* name : {" blank", "!", "...", ".hidden", "#"}) writeFile(dir.path() / name, "");
  EXPECT_THAT(found(dir.wide("*")), ElementsAre(u".", u"..", u" blank", u"!", u"#", u"...", u".hidden"));
}

TEST(FileSearchOrder, OrdersUmlautsCjkAndSurrogatesByUnits) {
  const TempDir dir;
  // In 16-bit units the pair of U+1F600 (D83D...) stands before U+FF21, though its character stands behind.
  for (const char* name : {"äb", "Ä", "ÄC", "z", "ö", "測定", "部品", "\xF0\x9F\x98\x80", "\xEF\xBC\xA1"}) {
    writeFile(dir.path() / name, "");
  }
  EXPECT_THAT(found(dir.wide("*")),
              ElementsAre(u".", u"..", u"z", u"Ä", u"äb", u"ÄC", u"ö", u"測定", u"部品", u"\U0001F600", u"\uFF21"));
}

TEST(FileSearchOrder, OrdersNamesThatDifferInCaseAloneByTheirUnits) {
  const TempDir dir;
  for (const char* name : {"ab", "AB", "aB", "Ab"}) writeFile(dir.path() / name, "");
  EXPECT_THAT(found(dir.wide("a*")), ElementsAre(u"AB", u"Ab", u"aB", u"ab"));
}

TEST(FileSearchOrder, ListsNamesWithBlanksAndDotsAtTheirEnds) {
  const TempDir dir;
  for (const char* name : {"end.", "end ", " end", "end. "}) writeFile(dir.path() / name, "");
  EXPECT_THAT(found(dir.wide("*end*")), ElementsAre(u" end", u"end ", u"end.", u"end. "));
}

TEST(FileSearchOrder, ListsTheLongestNamesWhole) {
  const TempDir dir;
  const std::string longest(255, 'n');
  writeFile(dir.path() / longest, "");
  EXPECT_THAT(found(dir.wide("n*")), ElementsAre(toWide(longest.c_str())));
}

TEST(FileSearchPattern, FindsANameWithoutWildcardsInAnyCase) {
  const TempDir dir;
  writeFile(dir.path() / "Some Näme.TXT", "");
  EXPECT_THAT(found(dir.wide("sOME nÄmE.txt")), ElementsAre(u"Some Näme.TXT"));
  EXPECT_THAT(found(dir.wide("some n")), IsEmpty());
}

TEST(FileSearchPattern, TakesAsteriskForAnyCharacters) {
  EXPECT_TRUE(fits(u"*", u"a"));
  EXPECT_TRUE(fits(u"*.*", u"no dot"));
  EXPECT_TRUE(fits(u"7_*_TrackerLeft.trn", u"7_12_trackerleft.TRN"));
  EXPECT_TRUE(fits(u"7_*_TrackerLeft.trn", u"7__TrackerLeft.trn"));
  EXPECT_TRUE(fits(u"7_*_TrackerLeft.trn", u"7_a_TrackerLeft.trn_TrackerLeft.trn"));
  EXPECT_FALSE(fits(u"7_*_TrackerLeft.trn", u"7_TrackerLeft.trn"));
  EXPECT_FALSE(fits(u"7_*_TrackerLeft.trn", u"7_1_TrackerLeft.trn2"));
  EXPECT_TRUE(fits(u"**a**", u"bab"));
}

TEST(FileSearchPattern, TakesQuestionMarkForOneCharacterOrNoneAtAnEnd) {
  EXPECT_TRUE(fits(u"a?c", u"abc"));
  EXPECT_FALSE(fits(u"a?c", u"ac"));
  EXPECT_FALSE(fits(u"a?c", u"a.c"));
  EXPECT_TRUE(fits(u"a??.txt", u"a.txt"));
  EXPECT_TRUE(fits(u"a??.txt", u"ab.txt"));
  EXPECT_FALSE(fits(u"a??.txt", u"abcd.txt"));
  EXPECT_TRUE(fits(u"a??", u"a"));
}

TEST(FileSearchPattern, LetsADotInFrontOfAWildcardStandForTheEnd) {
  EXPECT_TRUE(fits(u"abc.*", u"abc"));
  EXPECT_TRUE(fits(u"abc.???", u"abc"));
  EXPECT_FALSE(fits(u"abc.", u"abc"));
  EXPECT_FALSE(fits(u"abc.x", u"abc"));
}

// Without dots the rules are those of '*' and '?' everywhere, but for '?' at the end.
TEST(FileSearchPattern, AgreesWithRegularExpressionsOnNamesWithoutDots) {
  auto random = testRandom();
  const auto text = [&](std::string_view letters, std::size_t most) {
    std::string result;
    for (std::size_t n = random() % (most + 1); n > 0; --n) result += letters[random() % letters.size()];
    return result;
  };
  const int cases = quel::testing::kSanitized ? 500 : 5000;
  for (int i = 0; i < cases; ++i) {
    const std::string pattern = text("ab*?", 6), name = text("ab", 6);
    std::string expression;
    const std::size_t lastPlain = pattern.find_last_not_of("*?");
    for (std::size_t at = 0; at < pattern.size(); ++at) {
      const bool atEnd = lastPlain == std::string::npos || at > lastPlain;
      expression += pattern[at] == '*' ? ".*" : pattern[at] == '?' ? (atEnd ? ".?" : ".") : std::string(1, pattern[at]);
    }
    EXPECT_EQ(fits(toWide(pattern.c_str()), toWide(name.c_str())), std::regex_match(name, std::regex(expression)))
        << pattern << " " << name;
  }
}

TEST(FileSearchPattern, TakesNoLongerThanTheProductOfTheLengths) {
  qmWString pattern;
  for (int i = 0; i < 1000; ++i) pattern += u"*a";
  EXPECT_FALSE(fits(pattern + u"b", qmWString(255, u'a')));
}

TEST(FileSearchOrder, ListsAHundredThousandEntriesOnceAndInOrder) {
  const TempDir dir;
  const int entries = quel::testing::kSanitized ? 5000 : 100000;
  quel::testing::makeManyFiles(dir.path(), entries);
  const std::vector<qmWString> names = found(dir.wide("E*"));
  EXPECT_EQ(names.size(), static_cast<std::size_t>(entries));
  EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
  EXPECT_EQ(std::set<qmWString>(names.begin(), names.end()).size(), names.size());
}

TEST(FindFirstFileW, FailsCleanlyAtEveryAllocation) {
  const TempDir dir;
  for (const char* name : {"a name longer than short text", "b"}) writeFile(dir.path() / name, "");
  const qmWString pattern = dir.wide("*");
  const auto failures = failEachNew(
      [&] {
        WIN32_FIND_DATAW entry;
        entry.cFileName[0] = u'?';
        const HANDLE search = FindFirstFileW(pattern.c_str(), &entry);
        if (search != INVALID_HANDLE_VALUE) FindClose(search);
        return std::pair(search != INVALID_HANDLE_VALUE, entry.cFileName[0]);
      },
      [](const std::pair<bool, qmWChar>& result, bool failed) {
        EXPECT_EQ(result.first, !failed);
        EXPECT_EQ(result.second, failed ? u'?' : u'.');
        if (failed) {
          EXPECT_EQ(GetLastError(), 8u);
        }
      });
  EXPECT_GT(failures, 5);
}

TEST(FindNextFileW, LosesNoEntryToExhaustedMemory) {
  const TempDir dir;
  const std::string name(100, 'n');
  writeFile(dir.path() / name, "");
  WIN32_FIND_DATAW entry{};
  const HANDLE search = FindFirstFileW(dir.wide("*").c_str(), &entry);
  FindNextFileW(search, &entry);
  const auto failures = failEachNew([&] { return FindNextFileW(search, &entry); },
                                    [&](std::int32_t result, bool failed) {
                                      EXPECT_EQ(result, failed ? 0 : 1);
                                      if (failed) {
                                        EXPECT_EQ(GetLastError(), 8u);
                                      }
                                    });
  EXPECT_GT(failures, 0);
  EXPECT_EQ(qmWString(entry.cFileName), toWide(name.c_str()));
  FindClose(search);
}

}  // namespace
