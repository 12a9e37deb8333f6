#include "quel/measure/Triangulation.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "quel/base/Arrays.h"
#include "quel/base/Blocks.h"
#include "quel/measure/Projection.h"
#include "quel/measure/fitSlopes.h"

namespace quel {

namespace {

constexpr Mat3 kNoCovariance = {kNoPoint, kNoPoint, kNoPoint};

// Pixels to each side, by which the derivatives of the way back from the lens are told.
constexpr double kStep = 0.05;

// How an ideal pixel moves with the measured one: [measured axis] is the movement of the ideal pixel.
using LensSlopes = std::array<Vec2, 2>;
constexpr LensSlopes kNoLens = {{{1.0, 0.0}, {0.0, 1.0}}};

Result<FitCameras> camerasOf(const TriangulateOptions& options) {
  const int r = options.reference;
  if (r < 0 || r > 2) return Error{"the reference camera is 0, 1 or 2, and is " + std::to_string(r)};
  const std::array<int, 2> others = {r == 0 ? 1 : 0, r == 2 ? 1 : 2};
  const std::array<int, 2> targets = options.targets.value_or(others);
  if (targets == others || targets == std::array<int, 2>{others[1], others[0]}) {
    return FitCameras{r, targets[0], targets[1]};
  }
  return Error{"the targets are the two cameras beside the reference " + std::to_string(r) + ", and are " +
               std::to_string(targets[0]) + " and " + std::to_string(targets[1])};
}

std::string whyNoHead(const tag_qmReconsTensorData& head, Fit fit) {
  if (head.projectionsValid != 1) return "the head holds no projections; it must be calibrated anew";
  if (fit != Fit::Rays && head.reconsFlag != 1) return "the head holds no metric tables; it must be calibrated anew";
  return {};
}

// Triangulates blocks of correspondences.
class Triangulator {
 public:
  Triangulator(const Head& head, const std::array<std::span<const Vec2>, 3>& pixels, const TriangulateOptions& options,
               const FitCameras& cameras)
      : head_(head), record_(head.record()), pixels_(pixels), options_(options), cameras_(cameras) {}

  bool isUsed(int camera) const { return options_.fit != Fit::Singular || camera != cameras_.secondTarget; }

  void run(std::size_t first, std::size_t count, const TriangulatedSpans& result) const {
    Ideal ideal;
    makeIdeal(first, count, ideal);
    for (std::size_t n = 0; n < count; ++n) {
      result.status[first + n] = fitOne(ideal, n, result.points[first + n]);
      result.residuals[first + n] = 0.0;
    }
    compare(first, count, result);
    if (options_.noise) spread(first, count, ideal, result);
  }

 private:
  struct Ideal {
    Vec2 pixels[3][kBlock];
    Status status[3][kBlock];
  };

  void undistort(std::span<const Vec2> in, int camera, Vec2* out, Status* status) const {
    if (options_.distorted) {
      static_cast<void>(quel::undistort(head_, in, camera, std::nullopt, 1, {out, in.size()}, {status, in.size()}));
      return;
    }
    std::copy(in.begin(), in.end(), out);
    for (std::size_t n = 0; n < in.size(); ++n) {
      status[n] = std::isfinite(in[n][0]) && std::isfinite(in[n][1]) ? Status::Ok : Status::Failed;
    }
  }

  void makeIdeal(std::size_t first, std::size_t count, Ideal& ideal) const {
    for (int camera = 0; camera < 3; ++camera) {
      const auto k = static_cast<std::size_t>(camera);
      if (isUsed(camera)) {
        undistort(pixels_[k].subspan(first, count), camera, ideal.pixels[k], ideal.status[k]);
      } else {
        std::fill_n(ideal.pixels[k], count, Vec2{});
        std::fill_n(ideal.status[k], count, Status::Ok);
      }
    }
  }

  static tag_qmRTCorres correspondence(const Ideal& ideal, std::size_t n) {
    return correspondenceOf({ideal.pixels[0][n], ideal.pixels[1][n], ideal.pixels[2][n]});
  }

  Status fitOne(const Ideal& ideal, std::size_t n, Vec3& point) const {
    point = kNoPoint;
    for (const auto& status : ideal.status) {
      if (status[n] != Status::Ok) return status[n];
    }
    Status status = Status::Ok;
    const tag_qmRTCorres corres = correspondence(ideal, n);
    auto fitted = fitPoint(options_.fit, record_, corres, cameras_);
    if (!fitted && options_.fit == Fit::Planar) {
      fitted = fitPoint(Fit::Linear, record_, corres, cameras_);
      status = Status::LinearInstead;
    }
    if (!fitted) return Status::Failed;
    point = fitted->point;
    return status;
  }

  // Residuals, and what the cameras say of the points.
  void compare(std::size_t first, std::size_t count, const TriangulatedSpans& result) const {
    Vec2 seen[kBlock];
    Status status[kBlock];
    const Mode mode = options_.distorted ? Mode::ExactOrWithoutDepth : Mode::Pinhole;
    int used = 0;
    for (int camera = 0; camera < 3; ++camera) {
      if (!isUsed(camera)) continue;
      ++used;
      static_cast<void>(
          project(head_, result.points.subspan(first, count), camera, mode, 1, {seen, count}, {status, count}));
      for (std::size_t n = 0; n < count; ++n) {
        const Vec2& measured = pixels_[static_cast<std::size_t>(camera)][first + n];
        const double dx = seen[n][0] - measured[0];
        const double dy = seen[n][1] - measured[1];
        result.residuals[first + n] += dx * dx + dy * dy;
        Status& own = result.status[first + n];
        if (hasValue(own) && !hasValue(status[n])) own = status[n];
      }
    }
    for (std::size_t n = first; n < first + count; ++n) {
      const bool known = hasValue(result.status[n]);
      result.residuals[n] = known ? std::sqrt(result.residuals[n] / used) : kNan;
      if (!known) result.points[n] = kNoPoint;
    }
  }

  // The four pixels around each one in one call. Where one of them has no ideal pixel the slopes are NaN.
  void lensSlopes(std::size_t first, std::size_t count, int camera, LensSlopes* slopes) const {
    Vec2 moved[kBlock], ahead[kBlock], behind[kBlock];
    Status status[kBlock];
    const Vec2* in = &pixels_[static_cast<std::size_t>(camera)][first];
    for (std::size_t axis = 0; axis < 2; ++axis) {
      for (const double step : {kStep, -kStep}) {
        std::copy_n(in, count, moved);
        for (std::size_t n = 0; n < count; ++n) moved[n][axis] += step;
        undistort({moved, count}, camera, step > 0.0 ? ahead : behind, status);
      }
      for (std::size_t n = 0; n < count; ++n) {
        slopes[n][axis] = {(ahead[n][0] - behind[n][0]) / (2.0 * kStep), (ahead[n][1] - behind[n][1]) / (2.0 * kStep)};
      }
    }
  }

  void spread(std::size_t first, std::size_t count, const Ideal& ideal, const TriangulatedSpans& result) const {
    LensSlopes lens[3][kBlock];
    for (int camera = 0; camera < 3; ++camera) {
      LensSlopes* own = lens[camera];
      std::fill_n(own, count, kNoLens);
      if (options_.distorted && isUsed(camera)) lensSlopes(first, count, camera, own);
    }
    for (std::size_t n = 0; n < count; ++n) {
      const Status status = result.status[first + n];
      const Fit fit = status == Status::LinearInstead ? Fit::Linear : options_.fit;
      const auto slopes = hasValue(status) ? slopesOf(fit, record_, correspondence(ideal, n), cameras_) : std::nullopt;
      result.covariance[first + n] =
          slopes ? covarianceOf(*slopes, {lens[0][n], lens[1][n], lens[2][n]}) : kNoCovariance;
    }
  }

  // Summed camera by camera, x before y.
  Mat3 covarianceOf(const FitSlopes& fit, const std::array<LensSlopes, 3>& lens) const {
    Mat3 sum{};
    for (std::size_t camera = 0; camera < 3; ++camera) {
      for (const Vec2& ideal : lens[camera]) {
        Vec3 moves{};
        for (std::size_t i = 0; i < 3; ++i) {
          moves[i] = *options_.noise * (fit[camera][0][i] * ideal[0] + fit[camera][1][i] * ideal[1]);
        }
        for (std::size_t i = 0; i < 3; ++i) {
          for (std::size_t k = 0; k < 3; ++k) sum[i][k] += moves[i] * moves[k];
        }
      }
    }
    return sum;
  }

  const Head& head_;
  const tag_qmReconsTensorData& record_;
  const std::array<std::span<const Vec2>, 3>& pixels_;
  const TriangulateOptions& options_;
  FitCameras cameras_;
};

// What is wrong with the lengths of the arrays; empty where nothing is.
std::string whyNoRoom(std::size_t count, const TriangulateOptions& options, const TriangulatedSpans& result) {
  const auto fault = [count](const char* what, std::size_t length) {
    return std::string("the span of ") + what + " has room for " + std::to_string(length) + " values, and there are " +
           std::to_string(count);
  };
  if (result.points.size() != count) return fault("points", result.points.size());
  if (result.residuals.size() != count) return fault("residuals", result.residuals.size());
  if (result.status.size() != count) return fault("statuses", result.status.size());
  if (options.noise && result.covariance.size() != count) return fault("covariances", result.covariance.size());
  return {};
}

std::string whyNotAlike(const Triangulator& work, const std::array<std::span<const Vec2>, 3>& pixels,
                        std::size_t count) {
  for (int camera = 0; camera < 3; ++camera) {
    const std::size_t own = pixels[static_cast<std::size_t>(camera)].size();
    if (work.isUsed(camera) && own != count) {
      return "camera " + std::to_string(camera) + " has " + std::to_string(own) + " pixels, and the reference camera " +
             std::to_string(count);
    }
  }
  return {};
}

}  // namespace

Result<void> triangulate(const Head& head, const std::array<std::span<const Vec2>, 3>& pixels,
                         const TriangulateOptions& options, const TriangulatedSpans& result) {
  const auto cameras = camerasOf(options);
  if (!cameras) return cameras.error();
  if (options.noise && !(*options.noise >= 0.0 && std::isfinite(*options.noise))) {
    return Error{"the noise is a finite number of pixels from 0 on"};
  }
  const Triangulator work(head, pixels, options, *cameras);
  const std::size_t count = pixels[static_cast<std::size_t>(options.reference)].size();
  std::string fault = whyNoHead(head.record(), options.fit);
  if (fault.empty()) fault = whyNotAlike(work, pixels, count);
  if (fault.empty()) fault = whyNoRoom(count, options, result);
  if (!fault.empty()) return Error{fault};
  inBlocks(count, options.threads, [&](std::size_t first, std::size_t many) { work.run(first, many, result); });
  return {};
}

Result<Triangulated> triangulate(const Head& head, const std::array<std::span<const Vec2>, 3>& pixels,
                                 const TriangulateOptions& options) {
  const std::size_t count =
      options.reference < 0 || options.reference > 2 ? 0 : pixels[static_cast<std::size_t>(options.reference)].size();
  Triangulated made{std::vector<Vec3>(count), std::vector<double>(count), std::vector<Status>(count),
                    std::vector<Mat3>(options.noise ? count : 0)};
  const auto done = triangulate(head, pixels, options, {made.points, made.residuals, made.status, made.covariance});
  if (!done) return done.error();
  return made;
}

}  // namespace quel
