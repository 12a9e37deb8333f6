#include "quelplatform/prim_math/QmProjMat.h"

QmProjMat::QmProjMat(const double left[3][3], const double column[3]) noexcept {
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) rows_[i][j] = left[i][j];
    rows_[i][3] = column[i];
  }
}

void QmProjMat::convert2qmMat4(double matrix[4][4]) const noexcept {
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) matrix[i][j] = i < 3 ? rows_[i][j] : 0.0;
  }
}
