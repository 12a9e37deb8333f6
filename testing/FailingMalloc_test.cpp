#include "testing/FailingMalloc.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace {

using quel::testing::failMalloc;
using quel::testing::stopFailingMalloc;

TEST(FailingMalloc, FailsTheOneThatIsMeantOrAllFromThereOn) {
  if (quel::testing::kSanitized) return;  // Nothing fails there.
  for (const bool goOn : {false, true}) {
    failMalloc(2, goOn);
    bool got[5];
    for (bool& one : got) {
      void* volatile memory = std::malloc(10);
      one = memory != nullptr;
      std::free(memory);
    }
    EXPECT_EQ(stopFailingMalloc(), goOn ? 3 : 1);
    EXPECT_EQ((std::vector<bool>(got, got + 5)), (std::vector<bool>{true, true, false, !goOn, !goOn}));
  }
}

}  // namespace
