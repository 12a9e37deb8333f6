// A 3x4 projection matrix.
#pragma once

#include "quelplatform/QuelPlatformApi.h"

class QUELPLATFORM_API QmProjMat {
 public:
  /// [`left` | `column`], row-major.
  QmProjMat(const double left[3][3], const double column[3]) noexcept;

  /// Writes the matrix to rows 0 to 2 of `matrix` and zeros to row 3.
  void convert2qmMat4(double matrix[4][4]) const noexcept;

 private:
  double rows_[3][4];
};
