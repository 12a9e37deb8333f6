// The way back: on which ray does the point lie that a camera sees at a pixel?
#include <cstdio>

#include "quelcore/tensor/QmReconsTensor.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"
#include "quelplatform/qmEnv/qmText.h"

int main(int argc, char** argv) {
  QmReconsTensor head;
  if (argc < 2 || !head.LoadFromFile(toWide(argv[1]).c_str())) return 1;  // the log says why
  const int camera = 0;
  const double seen[2] = {320.0, 240.0};  // what the camera measured: a distorted pixel
  double ideal[1][2];
  if (quelplatform::undistortOnePt(seen, &head.distortParams[camera], nullptr, ideal[0]) != 1) return 1;
  double origin[3];
  double ray[1][3];
  if (qmRTget3dRaysFromImgPts(head, 1, ideal, camera, origin, ray) != 1) return 1;
  std::printf("from (%.2f, %.2f, %.2f) mm along (%.6f, %.6f, %.6f)\n", origin[0], origin[1], origin[2], ray[0][0],
              ray[0][1], ray[0][2]);
}
