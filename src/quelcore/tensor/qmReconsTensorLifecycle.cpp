#include "quelcore/tensor/qmReconsTensorLifecycle.h"

#include <cstring>
#include <type_traits>

#include "quelcore/base/ModuleLog.h"
#include "quelplatform/img_4_qm/img_4_qm.h"

namespace {

constexpr quelcore::ModuleLog kLog{"qmReconsTensorLifecycle"};

static_assert(std::is_trivially_copyable_v<tag_qmReconsTensorData>,
              "a record is cleared by filling it with zero bytes");

/// Error codes of the statuses 0 to 22. 15 belongs to another family than its neighbours.
constexpr std::uint32_t kErrorOfStatus[] = {
    0,           // 0
    0xc4070047,  // 1
    0xc4070002,  // 2: the 3x3 part of a projection has no inverse
    0xc4070002,  // 3
    0xc4070003,  // 4
    0xc4070004,  // 5
    0xc4070005,  // 6
    0xc4070006,  // 7
    0xc4070007,  // 8: camera 0 is not the uppermost
    0xc4070020,  // 9
    0xc4070009,  // 10
    0xc4070010,  // 11
    0xc407000a,  // 12
    0xc4070065,  // 13
    0xc4070066,  // 14
    0xc404000d,  // 15
    0xc4070068,  // 16
    0xc4070004,  // 17
    0xc4070069,  // 18
    0xc407006a,  // 19
    0xc407006b,  // 20
    0xc4070004,  // 21
    0xc4070004,  // 22
};
constexpr std::uint32_t kErrorOfUnknownStatus = 0xc4070011;

void freeTable(float**& table) {
  if (table == nullptr) return;
  free_image(table, sizeof(float), Image_border);
  table = nullptr;
}

}  // namespace

std::int32_t qmTensorInit(tag_qmReconsTensorData* tensor) {
  if (tensor == nullptr) {
    kLog.write(quelcore::kLogError, "NULL pointer");
    return 1;
  }
  std::memset(tensor, 0, sizeof(*tensor));
  return 1;
}

std::int32_t qmTensorDestruct(tag_qmReconsTensorData* tensor) {
  if (tensor == nullptr) {
    kLog.write(quelcore::kLogError, "NULL pointer");
    return 1;
  }
  for (qmDistortTableSet& tables : tensor->distortTables) {
    freeTable(tables.xTable);
    freeTable(tables.yTable);
  }
  return qmTensorInit(tensor);
}

std::uint32_t rtStatus2Error(std::int32_t status) {
  const auto index = static_cast<std::uint32_t>(status);
  return index < std::size(kErrorOfStatus) ? kErrorOfStatus[index] : kErrorOfUnknownStatus;
}
