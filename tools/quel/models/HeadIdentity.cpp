#include "models/HeadIdentity.h"

#include <cstring>

#include "quelplatform/qmEnv/qmCamera.h"
#include "quelplatform/qmEnv/qmText.h"

namespace queltool {

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
