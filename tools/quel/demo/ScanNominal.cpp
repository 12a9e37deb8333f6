#include "demo/ScanNominal.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace queltool {

namespace {

// Farther apart in depth than this, neighbours do not lie on one surface.
constexpr double kJump = 10.0;

// Where the scanner sees a point, to the right and up.
Vec2 directionOf(const Vec3& p) { return {p[0] / -p[2], p[1] / -p[2]}; }

// The cells of the scanner's image, row by row from below.
class Cells {
 public:
  Cells(const std::vector<Vec3>& scan, std::size_t columns) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    Vec2 high = {-kInfinity, -kInfinity};
    low_ = {kInfinity, kInfinity};
    for (const Vec3& p : scan) {
      const Vec2 d = directionOf(p);
      for (std::size_t i = 0; i < 2; ++i) {
        low_[i] = std::min(low_[i], d[i]);
        high[i] = std::max(high[i], d[i]);
      }
    }
    perCell_ = std::max(high[0] - low_[0], high[1] - low_[1]) / static_cast<double>(columns);
    columns_ = placeAlong(0, high) + 1;
    rows_ = placeAlong(1, high) + 1;
  }

  std::size_t columns() const { return columns_; }
  std::size_t rows() const { return rows_; }
  std::size_t count() const { return columns_ * rows_; }
  std::size_t placeOf(const Vec3& p) const {
    const Vec2 d = directionOf(p);
    return placeAlong(1, d) * columns_ + placeAlong(0, d);
  }

 private:
  std::size_t placeAlong(std::size_t axis, const Vec2& d) const {
    return perCell_ > 0.0 ? static_cast<std::size_t>((d[axis] - low_[axis]) / perCell_) : 0;
  }

  Vec2 low_{};
  double perCell_ = 0.0;
  std::size_t columns_ = 0;
  std::size_t rows_ = 0;
};

using Places = std::vector<std::optional<Vec3>>;

bool areNear(const Vec3& a, const Vec3& b) { return std::abs(a[2] - b[2]) < kJump; }

// The mean of those of `points` that are near the one `of`.
std::optional<Vec3> meanNear(const std::vector<Vec3>& points, const Vec3& of) {
  Vec3 sum{};
  double count = 0.0;
  for (const Vec3& p : points) {
    if (!areNear(p, of)) continue;
    for (std::size_t i = 0; i < 3; ++i) sum[i] += p[i];
    ++count;
  }
  if (count == 0.0) return std::nullopt;
  return Vec3{sum[0] / count, sum[1] / count, sum[2] / count};
}

// Of the point in the midst by depth and those near it: what two surfaces leave in one cell is not mixed.
std::optional<Vec3> placeOf(std::vector<Vec3>& points) {
  if (points.empty()) return std::nullopt;
  const auto midst = points.begin() + static_cast<std::ptrdiff_t>(points.size() / 2);
  std::nth_element(points.begin(), midst, points.end(), [](const Vec3& a, const Vec3& b) { return a[2] < b[2]; });
  return meanNear(points, *midst);
}

Places placesOf(const std::vector<Vec3>& scan, const Cells& cells) {
  std::vector<std::vector<Vec3>> inCell(cells.count());
  for (const Vec3& p : scan) inCell[cells.placeOf(p)].push_back(p);
  Places places;
  for (std::vector<Vec3>& points : inCell) places.push_back(placeOf(points));
  return places;
}

Places smoothed(const Places& places, const Cells& cells) {
  Places result(places.size());
  for (std::size_t row = 0; row < cells.rows(); ++row) {
    for (std::size_t column = 0; column < cells.columns(); ++column) {
      const std::size_t at = row * cells.columns() + column;
      if (!places[at]) continue;
      std::vector<Vec3> around;
      for (std::size_t r = row - std::min<std::size_t>(row, 1); r < std::min(row + 2, cells.rows()); ++r) {
        for (std::size_t c = column - std::min<std::size_t>(column, 1); c < std::min(column + 2, cells.columns());
             ++c) {
          if (const auto& place = places[r * cells.columns() + c]) around.push_back(*place);
        }
      }
      result[at] = meanNear(around, *places[at]);
    }
  }
  return result;
}

// Numbers the vertices that facets use.
class MeshMaker {
 public:
  explicit MeshMaker(const Places& places) : places_(places), numbers_(places.size()) {}

  void add(std::size_t a, std::size_t b, std::size_t c) {
    if (!places_[a] || !places_[b] || !places_[c]) return;
    if (*places_[a] == *places_[b] || *places_[b] == *places_[c] || *places_[c] == *places_[a]) return;
    if (!areNear(*places_[a], *places_[b]) || !areNear(*places_[b], *places_[c]) ||
        !areNear(*places_[c], *places_[a])) {
      return;
    }
    mesh_.facets.push_back({numberOf(a), numberOf(b), numberOf(c)});
  }

  ScanMesh take() { return std::move(mesh_); }

 private:
  std::uint32_t numberOf(std::size_t at) {
    if (!numbers_[at]) {
      numbers_[at] = static_cast<std::uint32_t>(mesh_.vertices.size());
      mesh_.vertices.push_back(*places_[at]);
    }
    return *numbers_[at];
  }

  const Places& places_;
  std::vector<std::optional<std::uint32_t>> numbers_;
  ScanMesh mesh_;
};

}  // namespace

ScanMesh nominalOf(const std::vector<Vec3>& scan, std::size_t columns) {
  if (scan.empty()) return {};
  const Cells cells(scan, columns);
  const Places places = smoothed(placesOf(scan, cells), cells);
  MeshMaker maker(places);
  for (std::size_t row = 0; row + 1 < cells.rows(); ++row) {
    for (std::size_t column = 0; column + 1 < cells.columns(); ++column) {
      const std::size_t at = row * cells.columns() + column;
      maker.add(at, at + 1, at + 1 + cells.columns());
      maker.add(at, at + 1 + cells.columns(), at + cells.columns());
    }
  }
  return maker.take();
}

std::string plyOf(const ScanMesh& mesh) {
  std::string ply = fmt::format(
      "ply\nformat ascii 1.0\ncomment a smoothed, thinned copy of a scan, millimetres\nelement vertex {}\n"
      "property double x\nproperty double y\nproperty double z\nelement face {}\n"
      "property list uchar uint vertex_indices\nend_header\n",
      mesh.vertices.size(), mesh.facets.size());
  for (const Vec3& v : mesh.vertices) ply += fmt::format("{} {} {}\n", v[0], v[1], v[2]);
  for (const auto& f : mesh.facets) ply += fmt::format("3 {} {} {}\n", f[0], f[1], f[2]);
  return ply;
}

}  // namespace queltool
