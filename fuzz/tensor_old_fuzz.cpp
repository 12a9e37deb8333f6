// Tensor files of all versions, legacy ones included, taken with the defaults of the oldest. Input: a file.
#include "fuzz/support/Fuzzing.h"
#include "fuzz/support/TensorTrip.h"
#include "quelcore/tensor/QmReconsTensorIO.h"
#include "quelcore/tensor/qmReconsTensorLifecycle.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = quelfuzz::bytesOf(data, size);
  const qmWString path = quelfuzz::makeFile("head.tns", bytes);
  tag_qmReconsTensorData record;
  qmTensorInit(&record);
  std::int32_t loaded = 0;
  {
    const quelfuzz::MemoryWatch watch;
    loaded = qmTensorDataForceLoad(path.c_str(), &record, 1);
    watch.requireAtMost(quelfuzz::kTimesFile, 4, size);
  }
  if (loaded != 0) quelfuzz::requireTensorTrip(bytes, record);
  qmTensorDestruct(&record);

  // Without the defaults the same file gives the same or nothing.
  const std::int32_t taken = qmTensorDataLoad(path.c_str(), &record);
  quelfuzz::require(taken == 0 || loaded != 0, "defaults take no file away");
  qmTensorDestruct(&record);
  return 0;
}
