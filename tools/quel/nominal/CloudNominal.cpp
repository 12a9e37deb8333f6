#include "nominal/CloudNominal.h"

#include <fmt/core.h>

#include <Eigen/Eigenvalues>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <nanoflann.hpp>
#include <utility>

#include "files/Failure.h"
#include "nominal/VectorMath.h"

namespace queltool {

namespace {

constexpr std::size_t kNeighbours = 16;

// The nearest points, those of equal distance by their places. The tree compares its bounds, whose roundings are less
// than 2^-43 of them, with the greatest distance that may still be met, and meets less than that only.
template <std::size_t Count>
class NearestOf {
 public:
  using DistanceType = double;

  bool addPoint(double squared, std::size_t place) {
    const Neighbour met = {squared, place};
    if (!(met < best_.back())) return true;
    auto at = best_.end() - 1;
    for (; at != best_.begin() && met < *(at - 1); --at) *at = *(at - 1);
    *at = met;
    size_ = std::min(size_ + 1, Count);
    return true;
  }

  double worstDist() const { return best_.back().squared * (1.0 + 0x1p-40) + std::numeric_limits<double>::min(); }
  bool full() const { return size_ == Count; }
  std::size_t size() const { return size_; }
  std::size_t place(std::size_t n) const { return best_[n].place; }

 private:
  struct Neighbour {
    double squared = std::numeric_limits<double>::infinity();
    std::size_t place = std::numeric_limits<std::size_t>::max();
    auto operator<=>(const Neighbour&) const = default;
  };

  std::array<Neighbour, Count> best_{};
  std::size_t size_ = 0;
};

struct Points {
  const std::vector<Vec3>& points;

  std::size_t kdtree_get_point_count() const { return points.size(); }
  double kdtree_get_pt(std::size_t n, std::size_t axis) const { return points[n][axis]; }
  template <typename Box>
  bool kdtree_get_bbox(Box&) const {
    return false;
  }
};

}  // namespace

struct CloudNominal::Tree {
  using Index = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, Points>, Points, 3>;

  explicit Tree(const std::vector<Vec3>& points) : source{points}, index(3, source) { index.buildIndex(); }

  template <std::size_t Count>
  NearestOf<Count> nearest(const Vec3& p) const {
    NearestOf<Count> found;
    index.findNeighbors(found, p.data(), nanoflann::SearchParams());
    return found;
  }

  Points source;
  Index index;
};

CloudNominal::CloudNominal(quel::Surface&& surface, const std::optional<Vec3>& viewpoint) {
  remarks_ = std::move(surface.remarks);
  if (surface.vertexNormals.empty() && !viewpoint) {
    throw Failure("is a cloud without normals, which does not tell its outside; give --viewpoint X,Y,Z");
  }
  keepFinite(surface);
  if (surface.vertices.empty()) throw Failure("holds no finite points");
  keepPlacesOnce(surface);
  frame_ = NominalFrame(surface.vertices);
  points_ = std::move(surface.vertices);
  normals_ = std::move(surface.vertexNormals);
  for (Vec3& point : points_) point = frame_.into(point);
  if (viewpoint) viewpoint_ = frame_.into(*viewpoint);
  tree_ = std::make_unique<Tree>(points_);
}

CloudNominal::~CloudNominal() = default;

void CloudNominal::keepFinite(quel::Surface& surface) {
  std::size_t kept = 0;
  const std::size_t all = surface.vertices.size();
  for (std::size_t i = 0; i < all; ++i) {
    if (!isFinite(surface.vertices[i])) continue;
    if (!surface.vertexNormals.empty()) surface.vertexNormals[kept] = surface.vertexNormals[i];
    surface.vertices[kept++] = surface.vertices[i];
  }
  surface.vertices.resize(kept);
  if (!surface.vertexNormals.empty()) surface.vertexNormals.resize(kept);
  if (kept != all) remarks_.push_back(fmt::format("{} points are not finite and are left out", all - kept));
}

void CloudNominal::keepPlacesOnce(quel::Surface& surface) {
  const std::vector<std::uint32_t> first = quel::firstAtPlace(surface.vertices);
  std::size_t kept = 0;
  for (std::size_t i = 0; i < first.size(); ++i) {
    if (first[i] != i) continue;
    if (!surface.vertexNormals.empty()) surface.vertexNormals[kept] = surface.vertexNormals[i];
    surface.vertices[kept++] = surface.vertices[i];
  }
  surface.vertices.resize(kept);
  if (!surface.vertexNormals.empty()) surface.vertexNormals.resize(kept);
  if (kept == first.size()) return;
  remarks_.push_back(fmt::format("{} points lie where others do and are left out", first.size() - kept));
}

std::string CloudNominal::title() const { return fmt::format("cloud of {} points", points_.size()); }

// The points of a line, or of a ball, have no plane.
Vec3 CloudNominal::planeNormalAt(std::size_t place) const {
  constexpr double kLeastWidth = 0x1p-40;
  const auto near = tree_->nearest<kNeighbours>(points_[place]);
  Eigen::Matrix<double, 3, kNeighbours> offsets;
  offsets.setZero();
  Eigen::Vector3d mean = Eigen::Vector3d::Zero();
  const auto count = static_cast<Eigen::Index>(near.size());
  for (Eigen::Index n = 0; n < count; ++n) {
    const Vec3 off = minus(points_[near.place(static_cast<std::size_t>(n))], points_[place]);
    offsets.col(n) = Eigen::Vector3d(off.data());
    mean += offsets.col(n);
  }
  mean /= static_cast<double>(count);
  Eigen::Matrix3d spread = Eigen::Matrix3d::Zero();
  for (Eigen::Index n = 0; n < count; ++n) {
    const Eigen::Vector3d off = offsets.col(n) - mean;
    spread += off * off.transpose();
  }
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> found(spread);
  const Eigen::Vector3d& widths = found.eigenvalues();
  if (!(widths[1] - widths[0] > kLeastWidth * widths[2])) return {};
  const Eigen::Vector3d normal = found.eigenvectors().col(0);
  const double towards = normal.dot(Eigen::Vector3d(minus(viewpoint_, points_[place]).data()));
  if (towards == 0.0) return {};
  return times(towards > 0.0 ? 1.0 : -1.0, {normal[0], normal[1], normal[2]});
}

Vec3 CloudNominal::normalAt(std::size_t place) const {
  return normals_.empty() ? planeNormalAt(place) : unit(normals_[place]);
}

void CloudNominal::findNearest(std::span<const Vec3> points, std::span<Nearest> found) const {
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Vec3 p = frame_.into(points[i]);
    const std::size_t place = tree_->nearest<1>(p).place(0);
    const Vec3 offset = minus(p, points_[place]);
    const Vec3 nearest = frame_.out(points_[place]);
    const Vec3 normal = normalAt(place);
    const double distance = frame_.distance(points[i], nearest, std::sqrt(dot(offset, offset)));
    const double side = dot(offset, normal);
    const bool known = side != 0.0 || distance == 0.0;
    found[i] = {nearest, normal, side < 0.0 ? -distance : distance, known ? Side::Known : Side::Unknown};
  }
}

}  // namespace queltool
