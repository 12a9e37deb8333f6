// Projecting a cloud into three images: every distortion mode on 1 and 2 threads, beside plain loops over the same
// numbers, the same written for AVX2 by hand, the memory alone that a projection reads and writes, Eigen point by
// point, and OpenCV and mrcal where they are installed.
#include <benchmark/benchmark.h>

#include <Eigen/Geometry>
#include <memory>

#include "benchmarks/BenchmarkCloud.h"
#include "benchmarks/avx2References.h"
#include "benchmarks/mrcalPeer.h"
#include "benchmarks/opencvPeer.h"
#include "quelcore/tensor/qmReconsTensorCore.h"

namespace {

using namespace quel;
using benchmarks::asPoints;
using benchmarks::demand;

constexpr std::size_t kPoints = 1000000;

struct Scene {
  explicit Scene(bool withLuts) : head(optionsFor(withLuts)), cloud(benchmarks::cloudBefore(head, kPoints)) {
    for (int camera = 0; camera < 3; ++camera) {
      pixels[camera].resize(2 * kPoints);
      images[camera] = reinterpret_cast<double(*)[2]>(pixels[camera].data());
    }
  }

  static quel::HeadOptions optionsFor(bool withLuts) {
    quel::HeadOptions options;
    if (withLuts) options.luts = quel::LutOptions{};
    return options;
  }

  testing::SampleHead head;
  std::vector<quel::Vec3> cloud;
  std::vector<double> pixels[3];
  double (*images[3])[2];
};

Scene& scene(bool withLuts) {
  static Scene plain(false);
  static Scene luts(true);
  return withLuts ? luts : plain;
}

const qmMathTransform kMotion = {{{0.8, -0.6, 0.0}, {0.6, 0.8, 0.0}, {0.0, 0.0, 1.0}}, {1.0, 2.0, 3.0}};

/// The pinhole pixels of one point, written out; what the projection would be without a tensor around it.
void plainPixels(const tag_qmReconsTensorData& tensor, const double p[3], std::int64_t n,
                 double (*const images[3])[2]) {
  double q[3];
  for (int i = 0; i < 3; ++i) {
    const double* r = kMotion.rotation[i];
    q[i] = ((r[0] * p[0] + r[1] * p[1]) + r[2] * p[2]) + kMotion.translation[i];
  }
  for (int camera = 0; camera < 3; ++camera) {
    const auto& P = tensor.projections[camera];
    double uvw[3];
    for (int i = 0; i < 3; ++i) uvw[i] = ((P[i][0] * q[0] + P[i][1] * q[1]) + P[i][2] * q[2]) + P[i][3];
    images[camera][n][0] = uvw[0] / uvw[2];
    images[camera][n][1] = uvw[1] / uvw[2];
  }
}

/// The same with the lens polynomial of each camera.
void plainDistortedPixels(const tag_qmReconsTensorData& tensor, const double p[3], std::int64_t n,
                          double (*const images[3])[2]) {
  plainPixels(tensor, p, n, images);
  for (int camera = 0; camera < 3; ++camera) {
    const tag_qmDistortParams& m = tensor.distortParams[camera];
    const double* e = m.distortExtra;
    double* pixel = images[camera][n];
    const double dx = pixel[0] - m.xp, dy = pixel[1] - m.yp, xx = dx * dx, yy = dy * dy, xy = dx * dy, r2 = xx + yy;
    const double s = r2 * (m.k1 + r2 * (m.k2 + r2 * (m.k3 + r2 * (e[2] + r2 * e[3]))));
    pixel[0] += dx * s + m.p1 * (r2 + 2 * xx) + 2 * m.p2 * xy + e[0] * dx + e[1] * dy;
    pixel[1] += dy * s + m.p2 * (r2 + 2 * yy) + 2 * m.p1 * xy;
  }
}

using PlainPixels = void(const tag_qmReconsTensorData& tensor, const double p[3], std::int64_t n,
                         double (*const images[3])[2]);

PlainPixels* plainFormOf(int mode) { return mode == PROJECT_PINHOLE ? plainPixels : plainDistortedPixels; }

/// What a loop does to the whole cloud must give these pixels to the last bit.
template <typename Project>
void checkAgainstPlainLoop(Scene& s, int mode, Project project) {
  project();
  const std::vector<double> fast[3] = {s.pixels[0], s.pixels[1], s.pixels[2]};
  for (std::size_t n = 0; n < kPoints; ++n) {
    plainFormOf(mode)(*s.head.tensor(), s.cloud[n].data(), static_cast<std::int64_t>(n), s.images);
  }
  for (int camera = 0; camera < 3; ++camera) {
    demand(fast[camera] == s.pixels[camera], "pixels differ from the plain loop");
  }
}

/// Times `project` over `count` points at a time.
template <typename Project>
void timed(benchmark::State& state, std::int64_t count, Project project) {
  for (auto _ : state) {
    project();
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * count);
}

void Project(benchmark::State& state) {
  Scene& s = scene(state.range(2) != 0);
  const auto mode = static_cast<_ProjectDistortMode>(state.range(0));
  const auto threads = static_cast<std::int32_t>(state.range(1));
  const auto project = [&](std::int64_t count) {
    qmTransAndProjPoints2ImagesMT(&kMotion, s.head.tensor(), asPoints(s.cloud), 0, count, mode, threads, s.images);
  };
  if (state.range(2) == 0) checkAgainstPlainLoop(s, mode, [&] { project(kPoints); });
  timed(state, state.range(3), [&] { project(state.range(3)); });
}
BENCHMARK(Project)
    ->ArgNames({"mode", "threads", "luts", "points"})
    ->ArgsProduct({{0, 1, 2, 3, 4}, {1}, {0}, {1000000}})
    ->ArgsProduct({{0, 1}, {1}, {0}, {1000, 8192, 100000}})
    ->ArgsProduct({{0, 1}, {2}, {0}, {100, 8192, 1000000}})
    ->ArgsProduct({{0, 1}, {1}, {0}, {100}})
    ->ArgsProduct({{1, 2}, {1, 2}, {1}, {1000000}})
    ->UseRealTime();

void PlainLoop(benchmark::State& state) {
  Scene& s = scene(false);
  const auto plain = plainFormOf(static_cast<int>(state.range(0)));
  timed(state, state.range(1), [&] {
    for (std::int64_t n = 0; n < state.range(1); ++n) {
      plain(*s.head.tensor(), s.cloud[static_cast<std::size_t>(n)].data(), n, s.images);
    }
  });
}
BENCHMARK(PlainLoop)->ArgNames({"mode", "points"})->ArgsProduct({{0, 1}, {8192, 1000000}})->UseRealTime();

#ifdef QUEL_HAS_AVX2
void HandWrittenAvx2(benchmark::State& state) {
  Scene& s = scene(false);
  if (!benchmarks::runsAvx2()) return state.SkipWithError("this machine has no AVX2");
  double motion[3][4];
  for (int i = 0; i < 3; ++i) {
    std::copy_n(kMotion.rotation[i], 3, motion[i]);
    motion[i][3] = kMotion.translation[i];
  }
  const auto project = [&](std::int64_t count) {
    benchmarks::projectByAvx2(*s.head.tensor(), motion, asPoints(s.cloud), count, state.range(0) != 0, s.images);
  };
  checkAgainstPlainLoop(s, static_cast<int>(state.range(0)), [&] { project(kPoints); });
  timed(state, state.range(1), [&] { project(state.range(1)); });
}
/// What no projection of so many points can be faster than: their pixels written past the caches, the points read.
void MemoryAlone(benchmark::State& state) {
  Scene& s = scene(false);
  if (!benchmarks::runsAvx2()) return state.SkipWithError("this machine has no AVX2");
  timed(state, kPoints, [&] { benchmarks::readAndWriteByAvx2(asPoints(s.cloud), kPoints, s.images); });
}
BENCHMARK(MemoryAlone)->UseRealTime();

void DivisionsAlone(benchmark::State& state) {
  if (!benchmarks::runsAvx2()) return state.SkipWithError("this machine has no AVX2");
  timed(state, kPoints, [] { benchmark::DoNotOptimize(benchmarks::divideByAvx2(kPoints)); });
}
BENCHMARK(DivisionsAlone)->UseRealTime();

BENCHMARK(HandWrittenAvx2)->ArgNames({"mode", "points"})->ArgsProduct({{0, 1}, {8192, 1000000}})->UseRealTime();
#endif

void EigenPointByPoint(benchmark::State& state) {
  Scene& s = scene(false);
  using Rows = Eigen::Matrix<double, 3, 4, Eigen::RowMajor>;
  Eigen::Matrix<double, 3, 3, Eigen::RowMajor> R(&kMotion.rotation[0][0]);
  const Eigen::Vector3d t(kMotion.translation);
  Rows P[3];
  for (int camera = 0; camera < 3; ++camera)
    P[camera] = Eigen::Map<const Rows>(&s.head.tensor()->projections[camera][0][0]);
  timed(state, kPoints, [&] {
    for (std::size_t n = 0; n < kPoints; ++n) {
      const Eigen::Vector3d moved = R * Eigen::Map<const Eigen::Vector3d>(s.cloud[n].data()) + t;
      for (int camera = 0; camera < 3; ++camera) {
        const Eigen::Vector3d uvw = P[camera] * moved.homogeneous();
        Eigen::Map<Eigen::Vector2d>(s.images[camera][n]) = uvw.hnormalized();
      }
    }
  });
}
BENCHMARK(EigenPointByPoint)->UseRealTime();

#ifdef QUEL_HAS_OPENCV
void OpenCv(benchmark::State& state) {
  Scene& s = scene(false);
  const auto mode = static_cast<int>(state.range(0));
  std::vector<std::unique_ptr<benchmarks::OpenCvCamera>> cameras;
  for (int camera = 0; camera < 3; ++camera) {
    cameras.push_back(std::make_unique<benchmarks::OpenCvCamera>(*s.head.tensor(), camera));
  }
  for (std::size_t n = 0; n < 1000; ++n) {  // without the motion, which OpenCV takes as a part of the pose
    double expected[2], actual[1][2];
    const double(*point)[3] = asPoints(s.cloud) + n;
    qmRTProjectPointtoImage(s.head.tensor(), *point, 1, static_cast<_ProjectDistortMode>(mode), expected);
    cameras[1]->project(point, 1, mode != 0, actual);
    demand(std::abs(actual[0][0] - expected[0]) + std::abs(actual[0][1] - expected[1]) < 1e-6, "OpenCV differs");
  }
  timed(state, kPoints, [&] {
    for (int camera = 0; camera < 3; ++camera) {
      cameras[static_cast<std::size_t>(camera)]->project(asPoints(s.cloud), kPoints, mode != 0, s.images[camera]);
    }
  });
}
BENCHMARK(OpenCv)->ArgName("mode")->Arg(0)->Arg(1)->UseRealTime();
#endif

#ifdef QUEL_HAS_MRCAL
void Mrcal(benchmark::State& state) {
  Scene& s = scene(false);
  const bool withLens = state.range(0) != 0;
  std::vector<benchmarks::MrcalCamera> cameras;
  for (int camera = 0; camera < 3; ++camera) {
    cameras.emplace_back(*s.head.tensor(), camera, asPoints(s.cloud), kPoints);
  }
  cameras[1].project(1000, withLens, s.images[1]);
  for (std::size_t n = 0; n < 1000; ++n) {  // without the motion, as for OpenCV
    double expected[2];
    const auto mode = static_cast<_ProjectDistortMode>(state.range(0));
    qmRTProjectPointtoImage(s.head.tensor(), asPoints(s.cloud)[n], 1, mode, expected);
    const double* actual = s.images[1][n];
    demand(std::abs(actual[0] - expected[0]) + std::abs(actual[1] - expected[1]) < 1e-6, "mrcal differs");
  }
  timed(state, kPoints, [&] {
    for (std::size_t camera = 0; camera < 3; ++camera) cameras[camera].project(kPoints, withLens, s.images[camera]);
  });
}
BENCHMARK(Mrcal)->ArgName("mode")->Arg(0)->Arg(1)->UseRealTime();
#endif

void ProjectOnePoint(benchmark::State& state) {
  Scene& s = scene(state.range(1) != 0);
  const auto mode = static_cast<_ProjectDistortMode>(state.range(0));
  std::size_t n = 0;
  for (auto _ : state) {
    qmRTProjectPointtoImage(s.head.tensor(), s.cloud[n].data(), 1, mode, s.images[1][n]);
    n = n + 1 < kPoints ? n + 1 : 0;
  }
}
BENCHMARK(ProjectOnePoint)->ArgNames({"mode", "luts"})->ArgsProduct({{0, 1, 2}, {0, 1}});

}  // namespace
