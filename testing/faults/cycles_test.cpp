// Loading and storing again and again costs neither memory nor descriptors.
//
// A share of the cycles runs by default; with QUEL_FAULTS=whole in the environment a hundred thousand do.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>

#include "quelcore/tensor/QmReconsTensor.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"
#include "quelplatform/qmEnv/qmMemoryEmbedded.h"
#include "testing/SampleHead.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::HeadOptions;
using quel::testing::SampleHead;

int cycles() {
  const char* value = std::getenv("QUEL_FAULTS");
  return value != nullptr && std::string(value) == "whole" ? 100000 : 400;
}

std::ptrdiff_t openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

void cycle(const quel::testing::TempDir& dir) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(dir.wide("block.tns").c_str()));
  ASSERT_TRUE(tensor.StoreToFile(dir.wide("block.tns").c_str()));
}

TEST(LoadingAndStoring, AgainAndAgainKeepsMemoryAndDescriptorsFlat) {
  const quel::testing::TempHome home;
  const quel::testing::TempDir dir;
  HeadOptions options;
  options.luts.emplace();
  options.luts->pitch = 256.0;
  options.luts->layers = 2;
  const SampleHead head(options);
  ASSERT_TRUE(QmReconsTensor(*head.tensor()).StoreToFile(dir.wide("block.tns").c_str()));
  for (int i = 0; i < 50; ++i) cycle(dir);
  const std::ptrdiff_t descriptors = openDescriptors();
  const std::int64_t blocks = quelplatform::allocatedBlocks();
  const std::size_t bytes = mallinfo2().uordblks;
  for (int i = 0; i < cycles(); ++i) cycle(dir);
  EXPECT_EQ(openDescriptors(), descriptors);
  EXPECT_EQ(quelplatform::allocatedBlocks(), blocks);
  EXPECT_LE(mallinfo2().uordblks, bytes + 4096);
}

}  // namespace
