// A projection of a block taken apart.
#pragma once

#include "quelcore/records/qmReconsTensorData.h"

namespace queltool {

/// K (R X + t)
struct View {
  double k[3][3];
  double kInverse[3][3];
  double r[3][3];
  double t[3];
  bool valid;
};

View viewOf(const tag_qmReconsTensorData& tensor, int camera);

}  // namespace queltool
