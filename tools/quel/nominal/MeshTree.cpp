#include "nominal/MeshTree.h"

#include <fmt/core.h>

#include <cmath>
#include <limits>
#include <new>
#include <tuple>

#include "files/Failure.h"

namespace queltool {

namespace {

constexpr double kRounding = 0x1p-24;  // Of single precision.
constexpr float kInfinity = std::numeric_limits<float>::infinity();

float below(double value) { return std::nextafter(static_cast<float>(value), -kInfinity); }
float above(double value) { return std::nextafter(static_cast<float>(value), kInfinity); }

}  // namespace

// What is known while the tree is walked.
struct MeshTree::Search {
  const MeshShape& shape;
  const Vec3& p;
  double shift;  // Of the point, by its rounding.
  Hit hit;

  static Hit hitOf(const MeshShape& shape, const Vec3& p, std::uint32_t triangle) {
    const Foot foot = footOn(shape.triangle(triangle), p);
    return {foot, triangle, shape.featureOf(triangle, foot.part)};
  }

  // Takes the triangle if it is nearer.
  bool take(std::uint32_t triangle) {
    const Foot foot = footOn(shape.triangle(triangle), p);
    if (foot.squared > hit.foot.squared) return false;
    const Hit met = {foot, triangle, shape.featureOf(triangle, foot.part)};
    const auto key = [](const Hit& each) { return std::tuple(each.foot.squared, each.feature, each.triangle); };
    if (!(key(met) < key(hit))) return false;
    hit = met;
    return true;
  }

  float radius() const { return above((std::sqrt(hit.foot.squared) + shift + 0x1p-40) * (1.0 + 16.0 * kRounding)); }
};

MeshTree::MeshTree(const MeshShape& shape, const Vec3& middle)
    : shape_(shape), middle_(middle), device_(rtcNewDevice("threads=1")) {
  demandNoError();
  scene_.reset(rtcNewScene(device_.get()));
  demandNoError();
  const RTCGeometry triangles = rtcNewGeometry(device_.get(), RTC_GEOMETRY_TYPE_USER);
  demandNoError();
  rtcSetGeometryUserPrimitiveCount(triangles, shape.countOfTriangles());
  rtcSetGeometryUserData(triangles, this);
  rtcSetGeometryBoundsFunction(triangles, giveBounds, nullptr);
  rtcSetGeometryPointQueryFunction(triangles, meet);
  rtcCommitGeometry(triangles);
  rtcAttachGeometry(scene_.get(), triangles);
  rtcReleaseGeometry(triangles);
  demandNoError();
  rtcCommitScene(scene_.get());
  demandNoError();
}

// Without a device Embree tells why there is none.
void MeshTree::demandNoError() const {
  const RTCError error = rtcGetDeviceError(device_.get());
  if (error == RTC_ERROR_NONE) return;
  if (error == RTC_ERROR_OUT_OF_MEMORY) throw std::bad_alloc();
  throw Failure(fmt::format("Embree fails with error {}", static_cast<int>(error)));
}

void MeshTree::giveBounds(const RTCBoundsFunctionArguments* arguments) {
  const auto& tree = *static_cast<const MeshTree*>(arguments->geometryUserPtr);
  const Triangle t = tree.shape_.triangle(arguments->primID);
  float low[3], high[3];
  for (std::size_t axis = 0; axis < 3; ++axis) {
    low[axis] = below(std::min({t.a[axis], t.b[axis], t.c[axis]}) - tree.middle_[axis]);
    high[axis] = above(std::max({t.a[axis], t.b[axis], t.c[axis]}) - tree.middle_[axis]);
  }
  RTCBounds& bounds = *arguments->bounds_o;
  bounds = {low[0], low[1], low[2], 0.0f, high[0], high[1], high[2], 0.0f};
}

bool MeshTree::meet(RTCPointQueryFunctionArguments* arguments) {
  auto& search = *static_cast<Search*>(arguments->userPtr);
  if (!search.take(arguments->primID)) return false;
  arguments->query->radius = search.radius();
  return true;
}

MeshTree::Hit MeshTree::nearest(const Vec3& p, std::uint32_t hint) const {
  const Vec3 off = minus(p, middle_);
  const double shift = 1.01 * kRounding * (std::abs(off[0]) + std::abs(off[1]) + std::abs(off[2]));
  Search search = {shape_, p, shift, Search::hitOf(shape_, p, hint)};
  RTCPointQuery query{};
  query.x = static_cast<float>(off[0]);
  query.y = static_cast<float>(off[1]);
  query.z = static_cast<float>(off[2]);
  query.radius = search.radius();
  RTCPointQueryContext context;
  rtcInitPointQueryContext(&context);
  rtcPointQuery(scene_.get(), &query, &context, nullptr, &search);
  return search.hit;
}

}  // namespace queltool
