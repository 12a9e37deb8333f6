// Tensor files of all versions, legacy ones included, taken with the defaults of the oldest. Input: a file.
#include "fuzz/support/Fuzzing.h"
#include "fuzz/support/TensorTrip.h"
#include "quelcore/tensor/QmReconsTensorIO.h"
#include "quelcore/tensor/qmReconsTensorLifecycle.h"
#include "testing/FileSizeLimit.h"

namespace {

/// Files that are not there, and calls without a file or a record.
void requireRefusals() {
  tag_qmReconsTensorData record;
  qmTensorInit(&record);
  const qmWString here = quelfuzz::makeFile("head.tns", "");
  const qmWString folder = quelfuzz::pathOf("legends");
  const qmWString nowhere = quelfuzz::pathOf("nowhere/head.tns");
  for (const qmWChar* path : {folder.c_str(), nowhere.c_str(), static_cast<const qmWChar*>(nullptr)}) {
    quelfuzz::require(qmTensorDataForceLoad(path, &record, 1) == 0, "what is no file is not loaded");
    quelfuzz::require(qmTensorDataStore(path, &record) == 0, "what can be no file is not written");
  }
  quelfuzz::require(qmTensorDataForceLoad(here.c_str(), nullptr, 1) == 0, "nothing is loaded into no record");
  quelfuzz::require(qmTensorDataStore(here.c_str(), nullptr) == 0, "no record is not written");
  {
    const quel::testing::FileSizeLimit full(9000);
    quelfuzz::require(qmTensorDataStore(here.c_str(), &record) == 0, "on a full disk nothing is written");
  }
  record.version = 1;
  quelfuzz::require(qmTensorDataStoreByVersion(here.c_str(), &record, 1) == 0, "no version, no file");
  calcDistortTables(nullptr);
  record.imageWidth = record.imageHeight = 30;
  calcDistortTables(&record);
  calcDistortTables(&record);
  quelfuzz::require(record.distortTables[2].xCols == 2 && record.distortTables[2].xTable != nullptr, "tables are made");
  qmTensorDestruct(&record);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst(requireRefusals);
  const std::string bytes = quelfuzz::withTinyImages(quelfuzz::bytesOf(data, size));
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
