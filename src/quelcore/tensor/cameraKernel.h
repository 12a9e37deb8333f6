// One camera taken by itself, without logging: what its projection splits into, the rays of its pixels, and how much of
// the world one of them sees.
#pragma once

#include "quelplatform/qmMath/qmMath.h"

namespace quelcore {

/// P = scale K [R | t], with K upper triangular, K[2][2] = 1, and R a rotation.
struct CameraModel {
  double K[3][3];
  double Kinv[3][3];
  double R[3][3];
  double t[3];
};

/// How far a decomposition came; what the earlier steps gave stands in the model.
enum class Decomposed { Nothing, Intrinsics, Everything };

/// K from the Gram matrix of the left 3x3 block of P, then [R | t] = K^-1 P. Nothing where the third row of that block
/// is zero or a squared focal length comes out negative; K alone where it is singular.
Decomposed decompose(const double projection[4][4], CameraModel& model);

/// The left 3x3 block and the fourth column of a projection.
void splitProjection(const double projection[4][4], double A[3][3], double b[3]);

/// The unit direction M (pixel, 1), M the inverse of the left 3x3 block; false, with `ray` untouched, where it is zero.
bool rayThrough(const double M[3][3], const double pixel[2], double ray[3]);

/// Millimetres of the world that a pixel sees: for an object at distance W from its image through a thin lens of focal
/// length f (all in millimetres) the magnification is ((W - 2 f) - sqrt(W^2 - 4 W f)) / (2 f), over the size of a
/// pixel.
double pixelToWorldRatio(double workingDistance, double focalLength, double ccdPixelSize);

}  // namespace quelcore
