// Families of random quartics for tests and benchmarks, made where solvers break.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <random>

namespace quel::testing {

class QuarticMaker {
 public:
  using Quartic = std::array<double, 5>;  // [i] belongs to x^i
  using Random = std::mt19937_64;

  struct Family {
    const char* name;
    Quartic (*make)(Random&);
    bool slow = false;  // nearly all take the careful way
  };

  static Quartic randomCoefficients(Random& random) {
    Quartic c;
    for (double& x : c) x = uniform(random, -1, 1);
    return c;
  }

  static Quartic fourRealRoots(Random& random) {
    return product(realPair(place(random), place(random)), realPair(place(random), place(random)), random);
  }

  static Quartic complexPairs(Random& random) {
    return product(complexPair(place(random), place(random)), anyPair(random), random);
  }

  /// A pair at a relative distance of 1 to 1e-16, real or not, beside any other pair.
  static Quartic nearlyDouble(Random& random) {
    return product(closePair(random), coin(random) ? closePair(random) : anyPair(random), random);
  }

  /// Three or four roots within a relative distance of 0.1 to 1e-16.
  static Quartic clustered(Random& random) {
    const double at = place(random), spread = powerOfTen(random, -16, -1);
    const auto near = [&] { return at * (1 + spread * uniform(random, -1, 1)); };
    const Factor first = coin(random) ? realPair(near(), near()) : complexPair(near(), spread * uniform(random, -1, 1));
    return product(first, realPair(near(), coin(random) ? near() : place(random)), random);
  }

  /// A root four times, and each coefficient then moved by up to 6 units in the last place.
  static Quartic fourfoldMoved(Random& random) {
    const double at = place(random);
    return movedByUnits(product(realPair(at, at), realPair(at, at), random), random);
  }

  /// A root three times beside any other, likewise moved.
  static Quartic tripleMoved(Random& random) {
    const double at = place(random), other = place(random);
    return movedByUnits(product(realPair(at, at), realPair(at, other), random), random);
  }

  /// A whole number from -9 to 9 three or four times as the root of a quartic of whole numbers, likewise moved.
  static Quartic integerMultipleMoved(Random& random) {
    const double at = wholeNumber(random), other = coin(random) ? at : wholeNumber(random);
    Quartic c = product(realPair(at, at), realPair(at, other), coin(random) ? 1.0 : -1.0);
    return movedByUnits(c, random);
  }

  static Quartic wideScales(Random& random) { return powers(random, -150, 150); }
  static Quartic allOfTheRange(Random& random) { return powers(random, -323, 308); }

  /// Real roots of very different size, some of them nearly double.
  static Quartic scatteredRoots(Random& random) {
    const double width = uniform(random, 0, 30);
    double x[4];
    for (double& root : x) root = sign(random) * powerOfTen(random, -width, width);
    if (coin(random)) x[1] = x[0] * (1 + powerOfTen(random, -16, -5));
    if (coin(random)) x[3] = x[2] * (1 + powerOfTen(random, -16, -5));
    return product(realPair(x[0], x[1]), realPair(x[2], x[3]), random);
  }

  /// Whole numbers from -4 to 4: many zeros and exact multiple roots.
  static Quartic smallIntegers(Random& random) {
    Quartic c;
    do {
      for (double& x : c) x = static_cast<double>(random() % 9) - 4;
    } while (c == Quartic{});
    return c;
  }

  /// What the fit of a correspondence asks for: two cameras see m + lambda e, with noise up to a hundredth of the
  /// image; the quartic is N_b D_c^3 + N_c D_b^3. In one of eight heads the image planes are one, and D is constant.
  static Quartic correspondence(Random& random) {
    const bool common = random() % 8 == 0;
    const double lambda = uniform(random, -0.5, 0.5), noise = coin(random) ? 0.0 : powerOfTen(random, -5, -2);
    Linear n[2], d[2];
    for (int k = 0; k < 2; ++k) {
      const double e[3] = {uniform(random, -1, 1), uniform(random, -1, 1), common ? 0.0 : uniform(random, -0.5, 0.5)};
      const double m[3] = {uniform(random, -1, 1), uniform(random, -1, 1), uniform(random, 0.8, 1.2)};
      const double w = m[2] + lambda * e[2];
      d[k] = {m[2], e[2]};
      n[k] = {0.0, 0.0};
      for (int i = 0; i < 2; ++i) {
        const double seen = (m[i] + lambda * e[i]) / w + noise * uniform(random, -1, 1);
        const double weight = 2 * (e[i] * m[2] - m[i] * e[2]);
        n[k][0] += weight * (m[i] - seen * m[2]);
        n[k][1] += weight * (e[i] - seen * e[2]);
      }
    }
    Quartic c = timesCube(n[0], d[1]);
    const Quartic other = timesCube(n[1], d[0]);
    for (std::size_t i = 0; i < 5; ++i) c[i] += other[i];
    return c;
  }

 private:
  using Extended = long double;
  using Linear = std::array<double, 2>;
  using Factor = std::array<Extended, 3>;

  static double uniform(Random& random, double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  }
  static bool coin(Random& random) { return random() % 2 == 0; }
  static double sign(Random& random) { return coin(random) ? 1.0 : -1.0; }
  static double place(Random& random) { return uniform(random, -2, 2); }
  static double powerOfTen(Random& random, double low, double high) {
    return std::pow(10.0, uniform(random, low, high));
  }

  static Quartic powers(Random& random, double low, double high) {
    Quartic c;
    do {
      for (double& x : c) x = random() % 6 == 0 ? 0.0 : sign(random) * powerOfTen(random, low, high);
    } while (c == Quartic{});
    return c;
  }

  static Factor realPair(double a, double b) {
    const Extended p = Extended(a), q = Extended(b);
    return {p * q, -(p + q), 1};
  }
  static Factor complexPair(double re, double im) {
    const Extended p = Extended(re), q = Extended(im);
    return {p * p + q * q, -2 * p, 1};
  }
  static Factor anyPair(Random& random) {
    const double a = place(random), b = place(random);
    return coin(random) ? realPair(a, b) : complexPair(a, b);
  }
  static Factor closePair(Random& random) {
    const double a = place(random), distance = powerOfTen(random, -16, 0);
    return coin(random) ? realPair(a, a * (1 + distance)) : complexPair(a, a * distance);
  }

  static double wholeNumber(Random& random) { return sign(random) * static_cast<double>(1 + random() % 9); }

  static Quartic movedByUnits(Quartic c, Random& random) {
    for (double& x : c) {
      if (x == 0.0) continue;  // it has no units
      const auto units = static_cast<int>(random() % 13) - 6;
      for (int n = 0; n < std::abs(units); ++n) x = std::nextafter(x, units < 0 ? -HUGE_VAL : HUGE_VAL);
    }
    return c;
  }

  static Quartic product(const Factor& a, const Factor& b, Random& random) {
    return product(a, b, sign(random) * uniform(random, 0.5, 2));
  }

  static Quartic product(const Factor& a, const Factor& b, double leading) {
    std::array<Extended, 5> c = {};
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t j = 0; j < 3; ++j) c[i + j] += a[i] * b[j];
    }
    const Extended lead = Extended(leading);
    Quartic result;
    for (std::size_t i = 0; i < 5; ++i) result[i] = static_cast<double>(lead * c[i]);
    return result;
  }

  static Quartic timesCube(const Linear& n, const Linear& d) {
    const double cube[4] = {d[0] * d[0] * d[0], 3 * d[0] * d[0] * d[1], 3 * d[0] * d[1] * d[1], d[1] * d[1] * d[1]};
    return {n[0] * cube[0], n[0] * cube[1] + n[1] * cube[0], n[0] * cube[2] + n[1] * cube[1],
            n[0] * cube[3] + n[1] * cube[2], n[1] * cube[3]};
  }
};

inline constexpr QuarticMaker::Family kQuarticFamilies[] = {
    {"RandomCoefficients", QuarticMaker::randomCoefficients},
    {"FourRealRoots", QuarticMaker::fourRealRoots},
    {"ComplexPairs", QuarticMaker::complexPairs},
    {"NearlyDouble", QuarticMaker::nearlyDouble},
    {"Clustered", QuarticMaker::clustered},
    {"FourfoldMoved", QuarticMaker::fourfoldMoved, true},
    {"TripleMoved", QuarticMaker::tripleMoved, true},
    {"IntegerMultipleMoved", QuarticMaker::integerMultipleMoved, true},
    {"WideScales", QuarticMaker::wideScales},
    {"AllOfTheRange", QuarticMaker::allOfTheRange},
    {"ScatteredRoots", QuarticMaker::scatteredRoots},
    {"SmallIntegers", QuarticMaker::smallIntegers},
    {"Correspondence", QuarticMaker::correspondence}};

}  // namespace quel::testing
