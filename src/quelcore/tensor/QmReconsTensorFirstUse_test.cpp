// A tensor as the first that a process does with the library, with memory running out. Each attempt is a process of its
// own, and the program has its own `main`: the one that tests share sets up home and log before.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "quelcore/tensor/tensorLuts_fixture.h"
#include "testing/FailingMalloc.h"
#include "testing/FailingNew.h"

namespace {

using quel::testing::TempDir;

constexpr int kDone = 1;
constexpr int kMemoryFailed = 2;
constexpr int kWrongAfterwards = 4;

/// Runs `body` in a process that has not used the library yet. What it returned, or -1 when it did not come to its end.
template <typename Body>
int inFreshProcess(Body body) {
  const pid_t child = fork();
  if (child == 0) {
    dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);  // the log's console
    _exit([&]() noexcept { return body(); }());        // an exception ends the process
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Runs `use` in fresh processes, in the first with its first `new` failing, and so on until none fails. `use` tells
/// whether it succeeded, which it may do only without a failure or in spite of it; `worksAfterwards` runs behind it.
/// Returns the number of failures met.
template <typename Use, typename Check>
int failEachNewAtFirstUse(Use use, Check worksAfterwards) {
  for (std::int64_t n = 0;; ++n) {
    const int outcome = inFreshProcess([&] {
      quel::testing::newSuccesses = n;
      const bool done = use();
      quel::testing::newSuccesses = -1;
      const int failed = quel::testing::newFailed ? kMemoryFailed : 0;
      return (done ? kDone : 0) | failed | (worksAfterwards() ? 0 : kWrongAfterwards);
    });
    EXPECT_NE(outcome, -1) << "the process ended when allocation " << n << " failed";
    if (outcome == -1) continue;
    EXPECT_EQ(outcome & kWrongAfterwards, 0) << "after allocation " << n << " failed";
    if ((outcome & kMemoryFailed) != 0) continue;
    EXPECT_EQ(outcome, kDone);
    return static_cast<int>(n);
  }
}

/// A block with LUTs in a directory that is also the home directory.
class TensorAtFirstUse : public ::testing::Test {
 protected:
  TensorAtFirstUse() { setenv("QUEL_HOME", dir_.path().c_str(), 1); }
  ~TensorAtFirstUse() override { unsetenv("QUEL_HOME"); }

  const TempDir dir_;
  const std::u16string file_ = dir_.wide("block.tns");
};

bool makeBlock(const TempDir& dir) {
  quel::testing::SampleHead head;
  tag_qmReconsTensorData& content = *head.tensor();
  quel::testing::fillPreservedFields(content);
  quel::testing::setLut(content.distortLutsInfo[0], quel::testing::kId0);
  quel::testing::writeFile(dir.path() / "block.tns", quel::testing::tensorFileBytes(content, -17));
  quel::testing::writeLuts(dir.wide("ABCD1234-7.lut"), {quel::testing::kId0});
  return !::testing::Test::HasFailure();
}

TEST_F(TensorAtFirstUse, LoadsOrFailsWithoutAnExceptionAndGoesAwayWhereverMemoryRunsOut) {
  ASSERT_EQ(inFreshProcess([&] { return makeBlock(dir_) ? kDone : 0; }), kDone);
  const auto loads = [&] { return QmReconsTensor().LoadFromFile(file_.c_str()); };
  EXPECT_GT(failEachNewAtFirstUse(loads, loads), 20);
}

// Whoever asks for the memory: the language, the C library, a library behind this one.
TEST_F(TensorAtFirstUse, LoadsOrFailsWhicheverAllocationsFailFromOneOn) {
  ASSERT_EQ(inFreshProcess([&] { return makeBlock(dir_) ? kDone : 0; }), kDone);
  const auto loads = [&] { return QmReconsTensor().LoadFromFile(file_.c_str()); };
  for (const bool allThatFollow : {false, true}) {
    for (const bool warm : {false, true}) {
      int failures = 0;
      for (int outcome = kMemoryFailed; (outcome & kMemoryFailed) != 0; ++failures) {
        outcome = inFreshProcess([&] {
          if (warm && !loads()) return kWrongAfterwards;
          const bool done = quel::testing::withFailingMalloc(failures, allThatFollow, loads);
          const int failed = quel::testing::mallocFailures > 0 ? kMemoryFailed : 0;
          return (done ? kDone : 0) | failed | (loads() ? 0 : kWrongAfterwards);
        });
        ASSERT_NE(outcome, -1) << "the process ended when allocation " << failures << " failed";
        EXPECT_EQ(outcome & kWrongAfterwards, 0) << "after allocation " << failures << " failed";
        EXPECT_NE(outcome, 0) << failures;
      }
      EXPECT_TRUE(quel::testing::kSanitized || failures > 30) << failures;
    }
  }
}

TEST_F(TensorAtFirstUse, GoesAwayWithoutMemory) {
  const auto goes = [] {
    QmReconsTensor();
    return true;
  };
  EXPECT_EQ(failEachNewAtFirstUse(goes, goes), 0);
}

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
