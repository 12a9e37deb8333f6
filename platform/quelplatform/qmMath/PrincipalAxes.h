// Eigenvectors of symmetric 3x3 matrices.
#pragma once

namespace quelplatform {

/// Eigenvalues in descending order, and the unit vectors that belong to them.
struct PrincipalAxes {
  double value[3];
  double axis[3][3];
};

/// Cyclic Jacobi rotations until each off-diagonal entry is a rounding error of the diagonal entries beside it. A
/// matrix that is graded along its diagonal so keeps the digits of its small eigenvalues. Entries are finite; only the
/// upper triangle is read.
PrincipalAxes principalAxes(const double (&matrix)[3][3]) noexcept;

}  // namespace quelplatform
