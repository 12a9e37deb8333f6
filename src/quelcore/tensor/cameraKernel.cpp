#include "quelcore/tensor/cameraKernel.h"

#include <cmath>

#include "quelcore/tensor/smallAlgebra.h"

namespace quelcore {

namespace {

double determinant(const double m[3][3]) {
  return (m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0])) +
         m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

/// K from S = A At, each of whose terms is divided by S[2][2]. False where a square comes out negative.
bool intrinsicsFromGram(const double S[3][3], double K[3][3]) {
  const double xp = S[2][0] / S[2][2];
  const double yp = S[2][1] / S[2][2];
  const double aySquared = S[1][1] / S[2][2] - yp * yp;
  if (aySquared < 0.0) return false;
  const double ay = std::sqrt(aySquared);
  const double skew = (S[1][0] / S[2][2] - xp * yp) / ay;  // not finite for ay = 0; the inverse of K then refuses
  const double axSquared = (S[0][0] / S[2][2] - skew * skew) - xp * xp;
  if (axSquared < 0.0) return false;
  const double intrinsics[3][3] = {{std::sqrt(axSquared), skew, xp}, {0.0, ay, yp}, {0.0, 0.0, 1.0}};
  copyMat3(intrinsics, K);
  return true;
}

void gram(const double A[3][3], double S[3][3]) {
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) S[row][column] = dot(A[row], A[column]);
  }
}

void divide(double A[3][3], double b[3], double n) {
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) A[row][column] /= n;
    b[row] /= n;
  }
}

void negate(double R[3][3], double t[3]) {
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) R[row][column] = -R[row][column];
    t[row] = -t[row];
  }
}

}  // namespace

void splitProjection(const double projection[4][4], double A[3][3], double b[3]) {
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) A[row][column] = projection[row][column];
    b[row] = projection[row][3];
  }
}

Decomposed decompose(const double projection[4][4], CameraModel& model) {
  double A[3][3];
  double b[3];
  splitProjection(projection, A, b);
  double S[3][3];
  gram(A, S);
  const double n = std::sqrt(S[2][2]);
  if (n == 0.0) return Decomposed::Nothing;
  divide(A, b, n);
  if (!intrinsicsFromGram(S, model.K)) return Decomposed::Nothing;
  if (qmMathMat3Inv(model.K, model.Kinv) == 0) return Decomposed::Intrinsics;
  multiply(model.Kinv, b, model.t);
  multiply(model.Kinv, A, model.R);
  if (determinant(model.R) < 0.0) negate(model.R, model.t);
  return Decomposed::Everything;
}

bool rayThrough(const double M[3][3], const double pixel[2], double ray[3]) {
  const double p[3] = {pixel[0], pixel[1], 1.0};
  double d[3];
  multiply(M, p, d);
  const double l = length(d);
  if (l == 0.0) return false;
  for (int i = 0; i < 3; ++i) ray[i] = d[i] / l;
  return true;
}

double pixelToWorldRatio(double workingDistance, double focalLength, double ccdPixelSize) {
  const double W = workingDistance;
  const double f = focalLength;
  return ((W - 2.0 * f - std::sqrt(W * W - 4.0 * W * f)) / (2.0 * f)) / ccdPixelSize;
}

}  // namespace quelcore
