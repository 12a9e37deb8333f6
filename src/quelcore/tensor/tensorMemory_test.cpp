// Exhausted memory of the language's `new` under the fits and the compensation. In a program of its own, since it
// replaces the operators that the thread sanitizer has its own of.
#include <gtest/gtest.h>

#include <utility>

#include "quelcore/blocks/QmBlockCorrectionParameters.h"
#include "quelcore/tensor/QmReconsTensor.h"
#include "quelcore/tensor/qmReconsFitCorresToTensor.h"
#include "testing/FailingNew.h"
#include "testing/SampleHead.h"
#include "testing/TensorFile.h"

namespace {

using quel::testing::differingFields;
using quel::testing::failEachNew;
using quel::testing::SampleHead;

TEST(AllFits, NeedNoMemory) {
  const SampleHead head;
  const tag_qmReconsTensorData& tensor = *head.tensor();
  const tag_qmRTCorres corres = head.correspondence(head.point(0.2, 0.3, 0.4));
  double ref[2], b[2], c[2], error = 0.0, depth = 0.0;
  const auto failures = failEachNew(
      [&] {
        return qmRTFitCorresToTensorPlanar(tensor, corres, 0, 1, 2, ref, b, c, error, depth) == 1 &&
               qmRTFitCorresToTensorPlanarLinear(tensor, corres, 0, 1, 2, ref, b, c, error, depth) == 1 &&
               qmRTFitCorresToTensorSingular(tensor, corres, 0, 1, b, error, depth) == 1;
      },
      [](bool fitted, bool) { EXPECT_TRUE(fitted); });
  EXPECT_EQ(failures, 0);
}

TEST(Compensation, IsWholeOrFailsWhereverMemoryRunsOut) {
  const SampleHead head(5);
  const QmReconsTensor tensor(*head.tensor());
  QmBlockCorrectionParameters table;
  table.insertParameterValue(u"ax", 0, 0.1);
  table.insertParameterValue(u"d12", 1, 0.02);
  table.insertParameterValue(u"rz", 2, 0.2);
  table.insertParameterValue(u"k1", 2, 1e-9);
  QmReconsTensor corrected;
  ASSERT_TRUE(tensor.BuildCorrectedTensor(33.0, table, corrected));
  for (const bool inPlace : {false, true}) {
    QmReconsTensor copy;
    const auto failures = failEachNew(
        [&] {
          const std::int64_t later = std::exchange(quel::testing::newSuccesses, -1);
          copy = inPlace ? tensor : QmReconsTensor();
          quel::testing::newSuccesses = later;
          return (inPlace ? copy : tensor).BuildCorrectedTensor(33.0, table, copy);
        },
        [&](bool built, bool failed) {
          EXPECT_TRUE(built || failed);
          EXPECT_EQ(built ? differingFields(copy, corrected) : "", "");
        });
    EXPECT_GT(failures, 0);
  }
}

}  // namespace
