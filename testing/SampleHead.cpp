#include "testing/SampleHead.h"

#include <cmath>
#include <stdexcept>

namespace quel::testing {

using quel::dot;
using quel::Result;

namespace {

constexpr double kHalfX = 80.0;
constexpr double kHalfY = 60.0;
constexpr double kHalfZ = 40.0;

Vec3 cross(const Vec3& a, const Vec3& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Vec3 unit(const Vec3& a) {
  const double length = std::sqrt(dot(a, a));
  return {a[0] / length, a[1] / length, a[2] / length};
}

// Stands `camera` at `place`, looking at `target`, with image y downward in the world.
void stand(Camera& camera, const Vec3& place, const Vec3& target) {
  const Vec3 forward = unit({target[0] - place[0], target[1] - place[1], target[2] - place[2]});
  const Vec3 right = unit(cross({0.0, -1.0, 0.0}, forward));
  camera.rotation = {right, cross(forward, right), forward};
  for (std::size_t i = 0; i < 3; ++i) camera.translation[i] = -dot(camera.rotation[i], place);
}

// Nearest multiple of 1/4096: below 4096 that is a number of single precision. (A round trip through float, written
// out for three coordinates, is lost in the vectorised code of GCC 12.)
double onGrid(double value) { return std::round(value * 4096.0) / 4096.0; }

// Moves the camera by less than a thousandth of a millimetre along its axis, so that a point of its principal plane is
// a floating-point number exactly. Returns that point.
Vec3 pinPrincipalPlane(Camera& camera) {
  const Vec3 centre = centreOf(camera);
  Vec3 point{};
  for (std::size_t i = 0; i < 3; ++i) {
    point[i] = onGrid(centre[i] + 100.0 * camera.rotation[0][i] + 50.0 * camera.rotation[1][i]);
  }
  const Vec3& axis = camera.rotation[2];
  camera.translation[2] = -((axis[0] * point[0] + axis[1] * point[1]) + axis[2] * point[2]);
  return point;
}

Camera plainCamera(const char* name) {
  Camera camera;
  camera.name = name;
  camera.width = 1536;
  camera.height = 1024;
  return camera;
}

std::array<Camera, 3> fixedCameras() {
  std::array<Camera, 3> cameras = {plainCamera("upper"), plainCamera("left"), plainCamera("right")};
  const double focal[3] = {5555.5, 5542.25, 5568.75};
  const Vec2 principal[3] = {{771.25, 508.5}, {764.0, 515.75}, {769.5, 505.0}};
  const Vec3 places[3] = {{12.0, 255.0, 1213.0}, {-231.0, -128.0, 1211.0}, {224.0, -135.0, 1214.0}};
  const Vec3 targets[3] = {{2.0, -1.0, 3.0}, {-1.5, 2.0, -2.0}, {0.5, 1.0, 1.0}};
  const double radial[3][3] = {{-0.19, 0.61, -1.2}, {-0.21, 0.55, -0.9}, {-0.17, 0.48, -1.1}};
  const double tangential[3][2] = {{2.1e-4, -1.7e-4}, {-1.4e-4, 2.6e-4}, {1.2e-4, 0.9e-4}};
  for (std::size_t i = 0; i < 3; ++i) {
    Camera& c = cameras[i];
    c.fx = c.fy = focal[i];
    c.cx = principal[i][0];
    c.cy = principal[i][1];
    c.k1 = radial[i][0];
    c.k2 = radial[i][1];
    c.k3 = radial[i][2];
    c.p1 = tangential[i][0];
    c.p2 = tangential[i][1];
    stand(c, places[i], targets[i]);
  }
  return cameras;
}

std::array<Camera, 3> randomCameras(std::uint64_t seed, SampleHead::Kind kind) {
  std::mt19937_64 random(seed);
  const auto vary = [&random](double by) { return std::uniform_real_distribution<double>(-by, by)(random); };
  const bool common = kind == SampleHead::Kind::CommonImagePlane;
  std::array<Camera, 3> cameras = fixedCameras();
  const Vec3 places[3] = {{0.0, 250.0, 1215.0}, {-230.0, -130.0, 1215.0}, {230.0, -130.0, 1215.0}};
  for (std::size_t i = 0; i < 3; ++i) {
    Camera& c = cameras[i];
    // With parallel axes the cameras must stand closer and look wider to share a view.
    c.fx = c.fy = (common ? 2500.0 : 5555.0) + vary(100.0);
    c.cx += vary(15.0);
    c.cy += vary(15.0);
    c.k1 += vary(0.15);
    c.k2 += vary(0.4);
    c.p1 += vary(2e-4);
    c.p2 += vary(2e-4);
    const double spread = common ? 0.5 : 1.0;
    const Vec3 place = {spread * places[i][0] + vary(40.0), spread * places[i][1] + vary(40.0),
                        places[i][2] + (common ? 0.0 : vary(30.0))};
    if (common) {
      stand(c, place, {place[0], place[1], 0.0});
    } else {
      stand(c, place, {vary(8.0), vary(8.0), vary(15.0)});
    }
  }
  return cameras;
}

std::array<Vec3, 3> pinPrincipalPlanes(std::array<Camera, 3>& cameras) {
  return {pinPrincipalPlane(cameras[0]), pinPrincipalPlane(cameras[1]), pinPrincipalPlane(cameras[2])};
}

MadeHead madeFrom(const std::array<Camera, 3>& cameras, const HeadOptions& options) {
  Result<MadeHead> head = makeHead(cameras, options);
  if (!head) throw std::logic_error("no sample head: " + head.error().message());
  return std::move(head.value());
}

const Camera& at(const std::array<Camera, 3>& cameras, int camera) {
  return cameras.at(static_cast<std::size_t>(camera));
}

}  // namespace

SampleHead::SampleHead(const HeadOptions& options)
    : cameras_(fixedCameras()), onPrincipalPlane_(pinPrincipalPlanes(cameras_)), head_(madeFrom(cameras_, options)) {}

SampleHead::SampleHead(std::uint64_t seed, Kind kind, const HeadOptions& options)
    : cameras_(randomCameras(seed, kind)),
      onPrincipalPlane_(pinPrincipalPlanes(cameras_)),
      head_(madeFrom(cameras_, options)) {}

Vec3 SampleHead::point(double u, double v, double w) const { return {kHalfX * u, kHalfY * v, kHalfZ * w}; }

Vec3 SampleHead::randomPoint(std::mt19937_64& random) const {
  std::uniform_real_distribution<double> share(-1.0, 1.0);
  const double u = share(random);
  const double v = share(random);
  const double w = share(random);
  return point(u, v, w);
}

Vec2 SampleHead::pinholePixel(const Vec3& point, int camera) const { return idealPixel(at(cameras_, camera), point); }

Vec2 SampleHead::pixel(const Vec3& point, int camera) const {
  return distortedPixel(at(cameras_, camera), pinholePixel(point, camera));
}

Vec2 SampleHead::normalisedPixel(const Vec3& point, int camera) const {
  const Vec2 pixel = pinholePixel(point, camera);
  const double(&centre)[2] = head_.tensor.imageCentre[camera];
  const double scale = head_.tensor.imageScale[camera];
  return {(pixel[0] - centre[0]) / scale, (pixel[1] - centre[1]) / scale};
}

double SampleHead::depthBefore(const Vec3& point, int camera) const { return inCamera(at(cameras_, camera), point)[2]; }

const Vec3& SampleHead::pointOnPrincipalPlane(int camera) const {
  return onPrincipalPlane_.at(static_cast<std::size_t>(camera));
}

tag_qmRTCorres SampleHead::correspondence(const Vec3& point) const {
  tag_qmRTCorres result{};
  for (int camera = 0; camera < 3; ++camera) {
    const Vec2 pixel = pinholePixel(point, camera);
    result.points[camera] = {pixel[0], pixel[1], 0.0};
  }
  return result;
}

double SampleHead::planarParallax(const Vec3& point, int camera) const {
  Vec3 normal{};
  Vec3 fromCentre{};
  for (std::size_t i = 0; i < 3; ++i) {
    for (const Camera& each : cameras_) normal[i] += each.rotation[2][i];
    fromCentre[i] = point[i] - head_.tensor.worldCentre[i];
  }
  return dot(unit(normal), fromCentre) / depthBefore(point, camera);
}

}  // namespace quel::testing
