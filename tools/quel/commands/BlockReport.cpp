#include "commands/BlockReport.h"

#include <cstring>

#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmEnv/qmCamera.h"
#include "quelplatform/qmEnv/qmText.h"

namespace queltool {

View viewOf(const tag_qmReconsTensorData& tensor, int camera) {
  View view{};
  view.valid = tensor.projectionsValid == 1 &&
               qmRTdecomposeProj(tensor.projections[camera], view.k, view.kInverse, view.r, view.t) == 1;
  return view;
}

std::string machineOf(const tag_qmReconsTensorData& t) {
  std::string id(t.machineId, strnlen(t.machineId, sizeof(t.machineId)));
  for (char& c : id) {
    if (c < ' ' || c > '~') c = '?';
  }
  return id;
}

std::string typeOf(const tag_qmReconsTensorData& t) {
  return toNarrow(getOHCameraName(static_cast<OH_CAMERA_TYPE>(t.ohType)));
}

}  // namespace queltool
