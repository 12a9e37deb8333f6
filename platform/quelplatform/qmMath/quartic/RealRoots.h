// The real roots of a polynomial of degree up to 4: what the parts of the quartic solver hand to each other.
#pragma once

namespace quelplatform {

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

}  // namespace quelplatform
