#include "quel/measure/Projection.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "quel/base/Arrays.h"
#include "quel/base/Blocks.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmDistort/qmDistortBatch.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"

namespace quel {

namespace {

bool isFinite(const Vec2& p) { return std::isfinite(p[0]) && std::isfinite(p[1]); }

double determinant(const double (&m)[4][4]) {
  return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
         m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

// A projection is known up to its scale, whose sign is that of the determinant: those of intrinsics and rotation are
// positive.
double forwardOf(const tag_qmReconsTensorData& head, int camera) {
  return determinant(head.projections[camera]) < 0.0 ? -1.0 : 1.0;
}

// Third component of the projected point, positive before the camera.
double depthBefore(const double (&row)[4], double forward, const Vec3& p) {
  return forward * (row[0] * p[0] + row[1] * p[1] + row[2] * p[2] + row[3]);
}

Result<void> refuseCamera(int camera) {
  if (camera >= 0 && camera <= 2) return {};
  return Error{"a head has the cameras 0, 1 and 2, and no " + std::to_string(camera)};
}

Result<void> refuseLength(const char* what, std::size_t length, std::size_t count) {
  if (length == count) return {};
  return Error{std::string(what) + " has room for " + std::to_string(length) + " values, and there are " +
               std::to_string(count)};
}

Result<void> refuseWithoutProjections(const Head& head) {
  if (head.record().projectionsValid == 1) return {};
  return Error{"the head holds no projections; it must be calibrated anew"};
}

// The first of `checks` that failed.
Result<void> firstOf(std::initializer_list<Result<void>> checks) {
  for (const Result<void>& check : checks) {
    if (!check) return check;
  }
  return {};
}

// Blocks of points into one camera.
class Projector {
 public:
  Projector(const tag_qmReconsTensorData& head, int camera, Mode mode)
      : head_(head), camera_(camera), mode_(mode), forward_(forwardOf(head, camera)) {}

  // Without a LUT nothing depends on the depth, so that the lens can follow the pinhole in a call of its own.
  bool needsDepth() const { return head_.distortParams[camera_].luts != nullptr && mode_ != Mode::Pinhole; }

  // From pinhole pixels, NaN where there is none, to the pixels of the mode. Of a camera that needs depths the pixels
  // that stand there play no part.
  void finish(const Vec3* points, std::size_t count, Vec2* pixels, Status* status) const {
    std::fill_n(status, count, Status::Ok);
    if (needsDepth()) {
      oneByOne(points, count, pixels, status);
    } else if (mode_ != Mode::Pinhole) {
      throughLens(count, pixels, status);
    }
    for (std::size_t n = 0; n < count; ++n) judge(points[n], pixels[n], status[n]);
  }

 private:
  // The quick form cannot fail a projection: its pixel is taken as it stands.
  void throughLens(std::size_t count, Vec2* pixels, Status* status) const {
    std::uint8_t succeeded[kBlock];
    const bool fast = mode_ == Mode::Fast || mode_ == Mode::FastWithoutDepth;
    const auto call = fast ? qmDistortDistortPtsFast : qmDistortDistortPts;
    call(rowsOf(pixels), &head_.distortParams[camera_], nullptr, static_cast<std::int64_t>(count), rowsOf(pixels),
         succeeded);
    for (std::size_t n = 0; n < count && !fast; ++n) {
      if (succeeded[n] == 0) status[n] = Status::Distortion;
    }
  }

  void oneByOne(const Vec3* points, std::size_t count, Vec2* pixels, Status* status) const {
    std::fill_n(pixels, count, kNoPixel);
    for (std::size_t n = 0; n < count; ++n) {
      const bool done = qmRTProjectPointtoImage(&head_, points[n].data(), camera_,
                                                static_cast<_ProjectDistortMode>(mode_), pixels[n].data()) == 1;
      if (!done) status[n] = Status::Distortion;
    }
  }

  // A pixel that the lens failed at still is that of the pinhole.
  void judge(const Vec3& point, Vec2& pixel, Status& status) const {
    if (depthBefore(head_.projections[camera_][2], forward_, point) <= 0.0) {
      status = Status::Behind;
    } else if (!isFinite(pixel)) {
      status = Status::Failed;
    } else if (status == Status::Ok && !isInside(pixel)) {
      status = Status::Outside;
    }
    if (!hasValue(status)) pixel = kNoPixel;
  }

  bool isInside(const Vec2& pixel) const {
    if (head_.imageWidth < 1 || head_.imageHeight < 1) return true;
    return pixel[0] >= 0.0 && pixel[1] >= 0.0 && pixel[0] < head_.imageWidth && pixel[1] < head_.imageHeight;
  }

  const tag_qmReconsTensorData& head_;
  int camera_;
  Mode mode_;
  double forward_;
};

// The pinhole pixels of a block in all cameras, NaN where there is none.
void pinholes(const tag_qmReconsTensorData& head, const Vec3* points, std::size_t count, Vec2* const (&images)[3]) {
  qmMathTransform still;
  qmMathIdTransformCreate(&still);
  for (Vec2* image : images) std::fill_n(image, count, kNoPixel);
  double(*const rows[3])[2] = {rowsOf(images[0]), rowsOf(images[1]), rowsOf(images[2])};
  qmTransAndProjPoints2Images(&still, &head, rowsOf(points), 0, static_cast<std::int64_t>(count), PROJECT_PINHOLE,
                              rows);
}

using LensCall = std::int64_t(const double (*)[2], const tag_qmDistortParams*, const float*, std::int64_t,
                              double (*)[2], std::uint8_t*) noexcept;

// A pixel that is not finite has failed before the lens is asked.
void throughLens(LensCall* call, const tag_qmDistortParams& params, std::optional<double> depth, const Vec2* in,
                 std::size_t count, Vec2* out, Status* status) {
  float depths[kBlock] = {};
  std::uint8_t succeeded[kBlock];
  if (depth) std::fill_n(depths, count, static_cast<float>(*depth));
  for (std::size_t n = 0; n < count; ++n) status[n] = isFinite(in[n]) ? Status::Distortion : Status::Failed;
  call(rowsOf(in), &params, depth ? depths : nullptr, static_cast<std::int64_t>(count), rowsOf(out), succeeded);
  for (std::size_t n = 0; n < count; ++n) {
    if (succeeded[n] != 0 && status[n] == Status::Distortion) {
      status[n] = Status::Ok;
    } else {
      out[n] = kNoPixel;
    }
  }
}

struct RayOptions {
  int camera;
  bool distorted;
  bool turns;  // The door gives rays that point out of the scene.
};

// The door refuses a block for one ray that is none; a pixel that has none stands in as one that has.
void raysOfBlock(const tag_qmReconsTensorData& head, const Vec2* pixels, std::size_t count, const RayOptions& options,
                 Vec3* directions, Status* status) {
  Vec2 ideal[kBlock];
  if (options.distorted) {
    throughLens(quelplatform::undistortPts, head.distortParams[options.camera], std::nullopt, pixels, count, ideal,
                status);
  } else {
    std::copy_n(pixels, count, ideal);
    for (std::size_t n = 0; n < count; ++n) status[n] = isFinite(ideal[n]) ? Status::Ok : Status::Failed;
  }
  for (std::size_t n = 0; n < count; ++n) {
    if (status[n] != Status::Ok) ideal[n] = {};
  }
  double origin[3];
  qmRTget3dRaysFromImgPts(&head, count, rowsOf(ideal), options.camera, origin, rowsOf(directions));
  for (std::size_t n = 0; n < count; ++n) {
    for (double& value : directions[n]) value = options.turns ? -value : value;
    if (status[n] != Status::Ok) directions[n] = kNoPoint;
  }
}

Result<void> lens(LensCall* call, const Head& head, std::span<const Vec2> in, int camera, std::optional<double> depth,
                  int threads, std::span<Vec2> out, std::span<Status> status) {
  if (auto fault = firstOf({refuseCamera(camera), refuseLength("the span of pixels", out.size(), in.size()),
                            refuseLength("the span of statuses", status.size(), in.size())});
      !fault) {
    return fault;
  }
  const tag_qmDistortParams& params = head.record().distortParams[camera];
  inBlocks(in.size(), threads, [&](std::size_t first, std::size_t count) {
    throughLens(call, params, depth, &in[first], count, &out[first], &status[first]);
  });
  return {};
}

Result<Pixels> lens(LensCall* call, const Head& head, std::span<const Vec2> in, int camera, std::optional<double> depth,
                    int threads) {
  Pixels made{std::vector<Vec2>(in.size()), std::vector<Status>(in.size())};
  if (auto done = lens(call, head, in, camera, depth, threads, made.pixels, made.status); !done) return done.error();
  return made;
}

}  // namespace

bool isBehind(const tag_qmReconsTensorData& head, int camera, const Vec3& point) {
  return depthBefore(head.projections[camera][2], forwardOf(head, camera), point) <= 0.0;
}

Result<void> project(const Head& head, std::span<const Vec3> points, int camera, Mode mode, int threads,
                     std::span<Vec2> pixels, std::span<Status> status) {
  if (auto fault = firstOf({refuseCamera(camera), refuseWithoutProjections(head),
                            refuseLength("the span of pixels", pixels.size(), points.size()),
                            refuseLength("the span of statuses", status.size(), points.size())});
      !fault) {
    return fault;
  }
  const Projector projector(head.record(), camera, mode);
  inBlocks(points.size(), threads, [&](std::size_t first, std::size_t count) {
    Vec2 unused[kBlock];
    Vec2* images[3] = {unused, unused, unused};
    images[camera] = &pixels[first];
    if (!projector.needsDepth()) pinholes(head.record(), &points[first], count, images);
    projector.finish(&points[first], count, &pixels[first], &status[first]);
  });
  return {};
}

Result<Pixels> project(const Head& head, std::span<const Vec3> points, int camera, Mode mode, int threads) {
  Pixels made{std::vector<Vec2>(points.size()), std::vector<Status>(points.size())};
  if (auto done = project(head, points, camera, mode, threads, made.pixels, made.status); !done) return done.error();
  return made;
}

Result<std::array<Pixels, 3>> projectAll(const Head& head, std::span<const Vec3> points, Mode mode, int threads) {
  if (auto fault = refuseWithoutProjections(head); !fault) return fault.error();
  std::array<Pixels, 3> made;
  for (Pixels& each : made) each = {std::vector<Vec2>(points.size()), std::vector<Status>(points.size())};
  const tag_qmReconsTensorData& record = head.record();
  const Projector projectors[3] = {{record, 0, mode}, {record, 1, mode}, {record, 2, mode}};
  inBlocks(points.size(), threads, [&](std::size_t first, std::size_t count) {
    pinholes(record, &points[first], count, {&made[0].pixels[first], &made[1].pixels[first], &made[2].pixels[first]});
    for (std::size_t k = 0; k < 3; ++k) {
      projectors[k].finish(&points[first], count, &made[k].pixels[first], &made[k].status[first]);
    }
  });
  return made;
}

Result<Vec3> rays(const Head& head, std::span<const Vec2> pixels, int camera, bool distorted, int threads,
                  std::span<Vec3> directions, std::span<Status> status) {
  if (auto fault = firstOf({refuseCamera(camera), refuseWithoutProjections(head),
                            refuseLength("the span of directions", directions.size(), pixels.size()),
                            refuseLength("the span of statuses", status.size(), pixels.size())});
      !fault) {
    return fault.error();
  }
  Vec3 origin{};
  if (qmRTget3dRaysFromImgPts(&head.record(), 0, nullptr, camera, origin.data(), nullptr) != 1) {
    return Error{"the projection of camera " + std::to_string(camera) + " has no inverse"};
  }
  const bool turns = forwardOf(head.record(), camera) < 0.0;
  inBlocks(pixels.size(), threads, [&](std::size_t first, std::size_t count) {
    raysOfBlock(head.record(), &pixels[first], count, {camera, distorted, turns}, &directions[first], &status[first]);
  });
  return origin;
}

Result<Rays> rays(const Head& head, std::span<const Vec2> pixels, int camera, bool distorted, int threads) {
  Rays made{{}, std::vector<Vec3>(pixels.size()), std::vector<Status>(pixels.size())};
  const auto origin = rays(head, pixels, camera, distorted, threads, made.directions, made.status);
  if (!origin) return origin.error();
  made.origin = *origin;
  return made;
}

Result<void> undistort(const Head& head, std::span<const Vec2> pixels, int camera, std::optional<double> depth,
                       int threads, std::span<Vec2> ideal, std::span<Status> status) {
  return lens(quelplatform::undistortPts, head, pixels, camera, depth, threads, ideal, status);
}

Result<Pixels> undistort(const Head& head, std::span<const Vec2> pixels, int camera, std::optional<double> depth,
                         int threads) {
  return lens(quelplatform::undistortPts, head, pixels, camera, depth, threads);
}

Result<void> distort(const Head& head, std::span<const Vec2> pixels, int camera, std::optional<double> depth,
                     int threads, std::span<Vec2> distorted, std::span<Status> status) {
  return lens(qmDistortDistortPts, head, pixels, camera, depth, threads, distorted, status);
}

Result<Pixels> distort(const Head& head, std::span<const Vec2> pixels, int camera, std::optional<double> depth,
                       int threads) {
  return lens(qmDistortDistortPts, head, pixels, camera, depth, threads);
}

}  // namespace quel
