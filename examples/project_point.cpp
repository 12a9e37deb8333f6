// Loads a calibration block and projects one point into its three cameras.
#include <cstdio>

#include "quelcore/tensor/QmReconsTensor.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmEnv/qmText.h"

int main(int argc, char** argv) {
  QmReconsTensor head;
  if (argc < 2 || !head.LoadFromFile(toWide(argv[1]).c_str())) return 1;  // the log says why
  const double point[3] = {100.0, 62.5, 0.0};                             // millimetres, world frame
  for (int camera = 0; camera < 3; ++camera) {
    double pixel[2];
    if (qmRTProjectPointtoImage(head, point, camera, PROJECT_EXACT, pixel) == 1) {
      std::printf("camera %d: %.3f %.3f\n", camera, pixel[0], pixel[1]);
    }
  }
}
