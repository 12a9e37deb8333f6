// Which width the kernels run at: decided once in a process, so each claim has a process of its own.
#include "quelcore/base/kernelWidth.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "quelcore/base/ModuleLog.h"
#include "quelcore/base/QmKernels.h"
#include "testing/RecordingLog.h"
#include "testing/Widths.h"

namespace {

using quel::testing::Line;
using quel::testing::RecordingLog;
using quelkernels::nameOf;
using quelkernels::Width;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

template <typename Check>
void inAProcessThatAsksFor(const char* width, Check check) {
  EXPECT_EXIT(
      {
        setenv("QUEL_KERNELS", width, 1);
        const RecordingLog log;
        check(log);
        std::fputs(qmKernelsInUse(), stderr);
        std::exit(::testing::Test::HasFailure() ? 1 : 0);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST(KernelWidth, IsWhatTheEnvironmentAsksForWithoutAWord) {
  for (const Width width : quel::testing::widthsOfThisMachine()) {
    inAProcessThatAsksFor(nameOf(width), [&](const RecordingLog& log) {
      EXPECT_STREQ(qmKernelsInUse(), nameOf(width));
      EXPECT_THAT(log.records(), IsEmpty());
    });
  }
}

TEST(KernelWidth, IsTheWidestThatTheMachineRunsWhenNothingIsAskedFor) {
  inAProcessThatAsksFor("", [](const RecordingLog& log) {
    EXPECT_STREQ(qmKernelsInUse(), nameOf(quel::testing::widthsOfThisMachine().back()));
    EXPECT_THAT(log.records(), IsEmpty());
  });
  inAProcessThatAsksFor("plain", [](const RecordingLog&) {
    unsetenv("QUEL_KERNELS");
    EXPECT_STREQ(qmKernelsInUse(), nameOf(quelkernels::widest()));
  });
}

TEST(KernelWidth, SaysOnceThatARequestCannotBeMet) {
  for (const char* const unknown : {"avx1024", "AVX2", "avx2 ", "1"}) {
    inAProcessThatAsksFor(unknown, [&](const RecordingLog& log) {
      const std::string best = nameOf(quelkernels::widest());
      EXPECT_EQ(qmKernelsInUse(), best);
      EXPECT_EQ(qmKernelsInUse(), best);
      EXPECT_THAT(log.records(),
                  ElementsAre(Line(quelcore::kLogWarning, "kernelWidth",
                                   std::string("QUEL_KERNELS is \"") + unknown +
                                       "\", which this machine does not run; \"" + best + "\" is used")));
    });
  }
}

TEST(KernelWidth, StaysAsItWasFirstDecided) {
  inAProcessThatAsksFor("plain", [](const RecordingLog&) {
    EXPECT_STREQ(qmKernelsInUse(), "plain");
    setenv("QUEL_KERNELS", nameOf(quelkernels::widest()), 1);
    EXPECT_STREQ(qmKernelsInUse(), "plain");
  });
}

}  // namespace
