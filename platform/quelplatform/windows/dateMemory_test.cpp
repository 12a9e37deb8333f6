// Dates with memory running out, from the first call of a process on. Each attempt is a process of its own, forked off
// this one, which reads no dates itself.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>

#include "quelplatform/windows/calendar.h"
#include "quelplatform/windows/dates.h"
#include "quelplatform/windows/icuMemory.h"
#include "testing/FailingMalloc.h"

namespace {

using quel::testing::kSanitized;
using quel::testing::mallocFailures;
using quel::testing::withFailingMalloc;

constexpr LCID kGerman = 0x0407, kNorwegian = 0x0414;

constexpr int kDone = 1, kFailed = 2, kWrong = 4, kWrongAfterwards = 8, kMetAFailure = 16;

double aprilThird() { return static_cast<double>(quelplatform::variantDay(2026, 4, 3)); }

// kDone for the third of April, kFailed where memory is exhausted and the date stays, else kWrong.
int outcomeOf(const qmWChar* text, LCID locale) {
  double date = 0.25;
  const std::int32_t result = VarDateFromStr(text, locale, 0, &date);
  if (result == S_OK) return date == aprilThird() ? kDone : kWrong;
  return result == E_OUTOFMEMORY && date == 0.25 ? kFailed : kWrong;
}

int readGerman() { return outcomeOf(u"3. April 2026", kGerman); }

// The third of April where it is known that the user is German, and the fourth of March for Americans.
int readAsUser() { return outcomeOf(u"03.04.2026", GetUserDefaultLCID()); }

int inProcess(const std::function<int()>& body) {
  const pid_t child = fork();
  if (child == 0) _exit(body());
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Runs `use` in processes that have not used dates yet, or have read one date if `warm`, in the first with its first
// allocation failing, and so on until none fails. Returns the number of failures met.
int failEachAtFirstUse(int (*use)(), bool allThatFollow, bool warm) {
  for (int n = 0;; ++n) {
    const int outcome = inProcess([=] {
      if (warm) outcomeOf(u"3. april 2026", kNorwegian);
      int found = withFailingMalloc(n, allThatFollow, use);
      if (mallocFailures > 0) found |= kMetAFailure;
      return found | (use() == kDone ? 0 : kWrongAfterwards);
    });
    EXPECT_NE(outcome, -1) << "the process ended when allocation " << n << " failed";
    if (outcome == -1) return n;
    EXPECT_EQ(outcome & (kWrong | kWrongAfterwards), 0) << "allocation " << n;
    if ((outcome & kMetAFailure) != 0) continue;
    EXPECT_EQ(outcome, kDone);
    return n;
  }
}

class DatesWithoutMemory : public ::testing::TestWithParam<std::tuple<bool, bool>> {
 protected:
  DatesWithoutMemory() { setenv("LC_ALL", "de_DE.UTF-8", 1); }
  ~DatesWithoutMemory() override { unsetenv("LC_ALL"); }

  int failEach(int (*use)()) const { return failEachAtFirstUse(use, std::get<0>(GetParam()), std::get<1>(GetParam())); }
};

TEST_P(DatesWithoutMemory, FailAndAreReadAtTheNextCall) {
  const int failures = failEach(readGerman);
  EXPECT_TRUE(kSanitized || failures > 100) << failures;
}

TEST_P(DatesWithoutMemory, AreNeverReadByALocaleThatIsNotTheUsers) {
  const int failures = failEach(readAsUser);
  EXPECT_TRUE(kSanitized || failures > 100) << failures;
}

INSTANTIATE_TEST_SUITE_P(OnceAndFromThenOn, DatesWithoutMemory,
                         ::testing::Combine(::testing::Bool(), ::testing::Bool()));

TEST(VarDateFromStr, TakesHardlyAnyMemoryOnceALocaleIsKnown) {
  const int allocations = inProcess([] {
    if (readGerman() != kDone || withFailingMalloc(100, true, readGerman) != kDone) return 100;
    return kSanitized ? 0 : static_cast<int>(100 - quel::testing::mallocSuccessesLeft);
  });
  EXPECT_GE(allocations, 0);
  EXPECT_LE(allocations, 20);
}

TEST(VarDateFromStr, KeepsSomeOfThePutAsideMemoryForIcu) {
  const int kept = inProcess([] {
    readGerman();
    const std::size_t bytes = quelplatform::bytesKeptForIcu();
    return bytes > 1000 && bytes < (std::size_t{2} << 20) ? 1 : 0;
  });
  EXPECT_EQ(kept, 1);
}

TEST(VarDateFromStr, TakesNoMoreAndMoreMemoryForALocaleThatFails) {
  const int megabytes = inProcess([] {
    readGerman();
    const std::size_t before = quelplatform::bytesKeptForIcu();
    for (int n = 0; n < 300; ++n) {
      withFailingMalloc(n % 50, false, [] { return outcomeOf(u"3. april 2026", kNorwegian); });
    }
    return static_cast<int>((quelplatform::bytesKeptForIcu() - before) >> 20);
  });
  EXPECT_EQ(megabytes, 0);
}

}  // namespace
