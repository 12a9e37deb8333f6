// The quartic under the closed-form fits: time per call over 4096 different quartics, beside the eigenvalues of the
// companion matrix. Before timing, the root count is compared with the roots that the quartics were made from, and each
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

#include "benchmarks/BenchmarkCloud.h"
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
void run(benchmark::State& state, const QuarticMaker::Family& family, Solve solve) {
  const std::vector<Quartic> quartics = inputs(family);
  demand(countsAreTrue(), "the count is not that of the roots the quartics were made from");
  demand(worstResidual(quartics) <= 0x1p-49, "a root is none");
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(solve(quartics[i]));
    i = (i + 1) % kInputs;
  }
}

// Registers a benchmark per family; the companion matrix, which needs a leading coefficient and a modest scale, only
// joins in where it can.
const bool kRegistered = [] {
  for (const QuarticMaker::Family& family : kQuarticFamilies) {
    const std::string name = family.name;
    benchmark::RegisterBenchmark(("SolveQuartic/" + name).c_str(),
                                 [family](benchmark::State& state) { run(state, family, byQuelCore); });
    if (name != "RandomCoefficients" && name != "FourRealRoots" && name != "ComplexPairs" && name != "NearlyDouble") {
      continue;
    }
    benchmark::RegisterBenchmark(("CompanionMatrix/" + name).c_str(),
                                 [family](benchmark::State& state) { run(state, family, byCompanionMatrix); });
  }
  return true;
}();

}  // namespace
