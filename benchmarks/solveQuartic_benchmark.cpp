// The quartic under the closed-form fits: time per call over 4096 different quartics, beside the eigenvalues of the
// companion matrix and, for those of a head, beside Ferrari's solution with two steps of Newton's method, which
// promises nothing. Before timing, the root count is compared with the roots that the quartics were made from, and each
// root with the quartic itself.
#include <benchmark/benchmark.h>

#include <Eigen/Eigenvalues>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <unsupported/Eigen/Polynomials>

#include "benchmarks/BenchmarkCloud.h"
#include "benchmarks/opencvPeer.h"
#include "quelcore/records/qmRTCorres.h"
#include "quelcore/records/qmReconsTensorData.h"
#include "quelplatform/qmMath/qmMathSolve.h"
#include "quelplatform/qmMath/quartic/QuarticFamilies_fixture.h"

namespace {

using quel::benchmarks::demand;
using quel::testing::kQuarticFamilies;
using quel::testing::QuarticMaker;
using Quartic = QuarticMaker::Quartic;

constexpr std::size_t kInputs = 4096;

struct Roots {
  std::int32_t count = 0;
  std::array<double, 4> at = {};
};

Roots byQuelCore(const Quartic& c) {
  Roots roots;
  std::int32_t kind;
  double degree, change;
  qmMathSolveQuartic(c[4], c[3], c[2], c[1], c[0], &roots.count, &kind, &degree, &change, roots.at.data());
  return roots;
}

// The usual rule for the real ones: an imaginary part of at most 1e-8 of the size.
Roots byCompanionMatrix(const Quartic& c) {
  Eigen::Matrix4d companion = Eigen::Matrix4d::Zero();
  companion.bottomLeftCorner<3, 3>().setIdentity();
  for (int i = 0; i < 4; ++i) companion(i, 3) = -c[static_cast<std::size_t>(i)] / c[4];
  const Eigen::Vector4cd values = Eigen::EigenSolver<Eigen::Matrix4d>(companion, false).eigenvalues();
  Roots roots;
  for (const std::complex<double> x : values) {
    if (!(std::abs(x.imag()) <= 1e-8 * std::abs(x))) continue;
    roots.at[static_cast<std::size_t>(roots.count++)] = x.real();
  }
  return roots;
}

Roots byPolynomialSolver(const Quartic& c) {
  Eigen::Matrix<double, 5, 1> coefficients;
  for (int i = 0; i < 5; ++i) coefficients[i] = c[static_cast<std::size_t>(i)];
  Roots roots;
  const Eigen::PolynomialSolver<double, 4> solver(coefficients);
  for (const std::complex<double> x : solver.roots()) {
    if (std::abs(x.imag()) <= 1e-8 * std::abs(x)) roots.at[static_cast<std::size_t>(roots.count++)] = x.real();
  }
  return roots;
}

double newtonTwice(const Quartic& c, double x) {
  for (int step = 0; step < 2; ++step) {
    double value = c[4], slope = 0.0;
    for (std::size_t i = 4; i-- > 0;) {
      slope = slope * x + value;
      value = value * x + c[i];
    }
    x -= value / slope;
  }
  return x;
}

// The largest root of T^3 - 3 I T - J.
double largestResolvent(double I, double J) {
  const double square = J * J - 4 * I * I * I;
  if (square < 0) return 2 * std::sqrt(I) * std::cos(std::acos(J / (2 * I * std::sqrt(I))) / 3);
  const double cube = std::cbrt((J + std::copysign(std::sqrt(square), J)) / 2);
  return cube + I / cube;
}

// Ferrari, for a leading coefficient other than 0.
Roots byClosedForm(const Quartic& p) {
  const double a = std::abs(p[4]), sign = p[4] < 0 ? -1 : 1;
  const double b = sign * p[3], c = sign * p[2], d = sign * p[1], e = sign * p[0];
  const double I = 12 * a * e - 3 * b * d + c * c;
  const double J = 27 * (a * d * d + e * b * b) - c * (72 * a * e + 9 * b * d - 2 * c * c);
  const double P = 8 * a * c - 3 * b * b, R = b * (b * b - 4 * a * c) + 8 * a * a * d;
  const double ss = (4 * a * largestResolvent(I, J) - P) / 3, s = std::sqrt(ss);
  Roots roots;
  for (const double side : {-s, s}) {
    const double square = -2 * R / side - ss - P;
    if (!(square >= 0)) continue;
    for (const double root : {-std::sqrt(square), std::sqrt(square)}) {
      roots.at[static_cast<std::size_t>(roots.count++)] = newtonTwice(p, (side - b + root) / (4 * a));
    }
  }
  return roots;
}

// |p(x)| as a part of the sum of |c[i] x^i|, in the processor's extended format; 0 for a subnormal x, which has too few
// digits to tell.
double residual(const Quartic& c, double x) {
  if (std::abs(x) < std::numeric_limits<double>::min()) return 0.0;
  using Extended = long double;
  Extended value = 0, size = 0;
  for (std::size_t i = 5; i-- > 0;) {
    value = value * Extended(x) + Extended(c[i]);
    size = size * Extended(std::abs(x)) + Extended(std::abs(c[i]));
  }
  return static_cast<double>(std::abs(value) / size);
}

std::vector<Quartic> inputs(const QuarticMaker::Family& family) {
  std::mt19937_64 random(2024);
  std::vector<Quartic> result(kInputs);
  for (Quartic& c : result) c = family.make(random);
  return result;
}

struct Line {
  double constant, slope;
};

// What the planar fit of a correspondence solves: N_b D_c^3 + N_c D_b^3, with D the third component of the place in a
// camera and N / D^3 the derivative of its squared distance from the measured one.
Quartic quarticOf(const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres) {
  const auto normal = [&](std::size_t k, double& x, double& y) {
    x = (corres.points[k].x - head.imageCentre[k][0]) / head.imageScale[k];
    y = (corres.points[k].y - head.imageCentre[k][1]) / head.imageScale[k];
  };
  double px, py;
  normal(0, px, py);
  Line N[2], D[2];
  for (std::size_t k = 0; k < 2; ++k) {
    const auto& H = head.planarTransfer[0][k + 1];
    const double* e = head.epipole[0][k + 1];
    double m[3], qx, qy;
    for (int i = 0; i < 3; ++i) m[i] = H[i][0] * px + H[i][1] * py + H[i][2];
    normal(k + 1, qx, qy);
    const double wx = e[0] * m[2] - m[0] * e[2], wy = e[1] * m[2] - m[1] * e[2];
    N[k] = {2 * (wx * (m[0] - qx * m[2]) + wy * (m[1] - qy * m[2])),
            2 * (wx * (e[0] - qx * e[2]) + wy * (e[1] - qy * e[2]))};
    D[k] = {m[2], e[2]};
  }
  Quartic c = {};
  for (std::size_t k = 0; k < 2; ++k) {
    const Line d = D[1 - k];
    const double cube[4] = {d.constant * d.constant * d.constant, 3 * d.constant * d.constant * d.slope,
                            3 * d.constant * d.slope * d.slope, d.slope * d.slope * d.slope};
    for (std::size_t i = 0; i < 4; ++i) {
      c[i] += N[k].constant * cube[i];
      c[i + 1] += N[k].slope * cube[i];
    }
  }
  return c;
}

// Those of points before a head whose positions are off by up to a fifth of a pixel.
std::vector<Quartic> quarticsOfAHead() {
  const quel::testing::SampleHead head;
  std::mt19937_64 random(20261121);
  std::uniform_real_distribution<double> noise(-0.2, 0.2);
  std::vector<Quartic> result;
  for (const auto& point : quel::benchmarks::cloudBefore(head, kInputs)) {
    tag_qmRTCorres corres = head.correspondence(point);
    for (qmRTCorresPoint& seen : corres.points) {
      seen.x += noise(random);
      seen.y += noise(random);
    }
    result.push_back(quarticOf(*head.tensor(), corres));
  }
  return result;
}

// The closed form finds the same roots of them, but for rounding.
bool closedFormAgrees(const std::vector<Quartic>& quartics) {
  for (const Quartic& c : quartics) {
    const Roots ours = byQuelCore(c), plain = byClosedForm(c);
    if (ours.count != plain.count) return false;
    for (std::size_t i = 0; i < static_cast<std::size_t>(ours.count); ++i) {
      if (!(std::abs(ours.at[i] - plain.at[i]) <= 1e-3 * std::abs(ours.at[i]))) return false;
    }
  }
  return true;
}

// The real roots that well separated quartics were made with: four, or two or none.
bool countsAreTrue() {
  for (const Quartic& c : inputs({"", QuarticMaker::fourRealRoots})) {
    if (byQuelCore(c).count != 4) return false;
  }
  for (const Quartic& c : inputs({"", QuarticMaker::complexPairs})) {
    const std::int32_t count = byQuelCore(c).count;
    if (count != 0 && count != 2) return false;
  }
  return true;
}

double worstResidual(const std::vector<Quartic>& quartics) {
  double worst = 0.0;
  for (const Quartic& c : quartics) {
    const Roots roots = byQuelCore(c);
    for (std::int32_t i = 0; i < roots.count; ++i) {
      worst = std::fmax(worst, residual(c, roots.at[static_cast<std::size_t>(i)]));
    }
  }
  return worst;
}

template <typename Solve>
void run(benchmark::State& state, const std::vector<Quartic>& quartics, Solve solve) {
  demand(countsAreTrue(), "the count is not that of the roots the quartics were made from");
  demand(worstResidual(quartics) <= 0x1p-49, "a root is none");
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(solve(quartics[i]));
    i = (i + 1) % kInputs;
  }
}

template <typename Solve>
void runOfAHead(benchmark::State& state, Solve solve) {
  const std::vector<Quartic> quartics = quarticsOfAHead();
  demand(closedFormAgrees(quartics), "the closed form has other roots");
  run(state, quartics, solve);
}

void QuarticsOfAHead(benchmark::State& state) { runOfAHead(state, byQuelCore); }
void QuarticsOfAHeadByClosedForm(benchmark::State& state) { runOfAHead(state, byClosedForm); }
void QuarticsOfAHeadByCompanionMatrix(benchmark::State& state) { runOfAHead(state, byCompanionMatrix); }
void QuarticsOfAHeadByPolynomialSolver(benchmark::State& state) { runOfAHead(state, byPolynomialSolver); }
BENCHMARK(QuarticsOfAHeadByPolynomialSolver);
#ifdef QUEL_HAS_OPENCV
Roots byOpenCv(const Quartic& c) {
  Roots roots;
  roots.count = quel::benchmarks::realRootsByOpenCv(c.data(), roots.at.data());
  return roots;
}
void QuarticsOfAHeadByOpenCv(benchmark::State& state) { runOfAHead(state, byOpenCv); }
BENCHMARK(QuarticsOfAHeadByOpenCv);
#endif
BENCHMARK(QuarticsOfAHead);
BENCHMARK(QuarticsOfAHeadByClosedForm);
BENCHMARK(QuarticsOfAHeadByCompanionMatrix);

// Registers a benchmark per family; the companion matrix, which needs a leading coefficient and a modest scale, only
// joins in where it can.
const bool kRegistered = [] {
  for (const QuarticMaker::Family& family : kQuarticFamilies) {
    const std::string name = family.name;
    benchmark::RegisterBenchmark(("SolveQuartic/" + name).c_str(),
                                 [family](benchmark::State& state) { run(state, inputs(family), byQuelCore); });
    if (name != "RandomCoefficients" && name != "FourRealRoots" && name != "ComplexPairs" && name != "NearlyDouble") {
      continue;
    }
    benchmark::RegisterBenchmark(("CompanionMatrix/" + name).c_str(),
                                 [family](benchmark::State& state) { run(state, inputs(family), byCompanionMatrix); });
  }
  return true;
}();

}  // namespace
