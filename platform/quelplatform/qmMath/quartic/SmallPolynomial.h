// Polynomials of degree up to 4 and their real roots: what the parts of the quartic solver hand to each other.
#pragma once

namespace quelplatform {

/// The sum of c[i] x^i for i from 0 to `degree`; neither c[0] nor c[degree] is 0.
struct SmallPolynomial {
  int degree = 0;
  double c[5] = {};
};

/// Real roots, ascending, equal ones repeated.
struct RealRoots {
  int count = 0;
  double at[4] = {};
  double change = 0.0;  ///< Largest change of a coefficient that these roots took, in units in its last place.

  /// There must be room.
  void insert(double root) {
    int i = count++;
    for (; i > 0 && at[i - 1] > root; --i) at[i] = at[i - 1];
    at[i] = root;
  }
};

/// i over k.
inline constexpr double kBinomial[5][5] = {
    {1, 0, 0, 0, 0}, {1, 1, 0, 0, 0}, {1, 2, 1, 0, 0}, {1, 3, 3, 1, 0}, {1, 4, 6, 4, 1}};

/// A number between `low` and `high` that halves the distance, or, where that spans orders of magnitude, the number of
/// doubles between them.
double middle(double low, double high);

/// The real roots of `polynomial`, all of which lie within -bound and bound, each rounded from the exact one; false,
/// with `roots` undefined, when a pair of roots is so close to being equal that rounding of the coefficients could
/// decide whether it is real. Degree 2 to 4.
bool clearRoots(const SmallPolynomial& polynomial, double bound, RealRoots* roots);

/// The same for any polynomial of degree 2 to 4, by slower and wider arithmetic. The roots are those of a polynomial
/// whose coefficients lie within 4 units in the last place of the given ones; among these one with the most real roots
/// is taken.
RealRoots nearMultipleRoots(const SmallPolynomial& polynomial);

}  // namespace quelplatform
