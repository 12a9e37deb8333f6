#include "quelplatform/prim_math/QmProjMat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr double kLeft[3][3] = {{1, 2, 3}, {5, 6, 7}, {9, 10, 11}};
constexpr double kColumn[3] = {4, 8, 12};

TEST(QmProjMat, PutsTheColumnBesideTheMatrixAndZerosBelow) {
  double matrix[4][4] = {};
  for (auto& row : matrix) {
    for (double& entry : row) entry = -1.0;
  }
  QmProjMat(kLeft, kColumn).convert2qmMat4(matrix);
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 4; ++j) EXPECT_EQ(matrix[i][j], 4 * i + j + 1);
  }
  for (const double entry : matrix[3]) {
    EXPECT_EQ(entry, 0.0);
    EXPECT_FALSE(std::signbit(entry));
  }
}

TEST(QmProjMat, KeepsACopyOfWhatItIsMadeFrom) {
  double left[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  double column[3] = {7, 8, 9};
  const QmProjMat projection(left, column);
  left[0][0] = column[0] = std::numeric_limits<double>::quiet_NaN();
  double matrix[4][4];
  projection.convert2qmMat4(matrix);
  EXPECT_EQ(matrix[0][0], 1.0);
  EXPECT_EQ(matrix[0][3], 7.0);
}

TEST(QmProjMat, PassesValuesThatAreNotFiniteThrough) {
  const double infinity = std::numeric_limits<double>::infinity();
  const double left[3][3] = {{infinity, 0, 0}, {0, std::numeric_limits<double>::quiet_NaN(), 0}, {0, 0, 1}};
  double matrix[4][4];
  QmProjMat(left, kColumn).convert2qmMat4(matrix);
  EXPECT_EQ(matrix[0][0], infinity);
  EXPECT_TRUE(std::isnan(matrix[1][1]));
  EXPECT_EQ(matrix[3][0], 0.0);
}

}  // namespace
