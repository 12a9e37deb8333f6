#include "benchmarks/cgalPeer.h"

#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Kd_tree.h>
#include <CGAL/Search_traits_3.h>
#include <CGAL/Simple_cartesian.h>
#include <CGAL/convex_hull_2.h>
#include <CGAL/linear_least_squares_fitting_3.h>

namespace quel::benchmarks {

namespace {

using Plain = CGAL::Simple_cartesian<double>;
using Exact = CGAL::Exact_predicates_inexact_constructions_kernel;

// QmVec3 and CGAL's points are three doubles each.
const Plain::Point_3* pointsOf(const std::vector<QmVec3>& points) {
  static_assert(sizeof(Plain::Point_3) == sizeof(QmVec3));
  return reinterpret_cast<const Plain::Point_3*>(points.data());
}

PeerFeature feature(const Plain::Vector_3& axis, const Plain::Point_3& point) {
  const double length = std::sqrt(axis.squared_length());
  return {{axis.x() / length, axis.y() / length, axis.z() / length}, {point.x(), point.y(), point.z()}};
}

}  // namespace

PeerFeature planeByCgal(const std::vector<QmVec3>& points) {
  Plain::Plane_3 plane;
  Plain::Point_3 centroid;
  const Plain::Point_3* first = pointsOf(points);
  linear_least_squares_fitting_3(first, first + points.size(), plane, centroid, CGAL::Dimension_tag<0>());
  return feature(plane.orthogonal_vector(), centroid);
}

PeerFeature lineByCgal(const std::vector<QmVec3>& points) {
  Plain::Line_3 line;
  Plain::Point_3 centroid;
  const Plain::Point_3* first = pointsOf(points);
  linear_least_squares_fitting_3(first, first + points.size(), line, centroid, CGAL::Dimension_tag<0>());
  return feature(line.to_vector(), centroid);
}

std::size_t cornersByCgal(const std::vector<QmVec3>& points) {
  std::vector<Exact::Point_2> flat, hull;
  flat.reserve(points.size());
  for (const QmVec3& p : points) flat.emplace_back(p[0], p[1]);
  CGAL::convex_hull_2(flat.begin(), flat.end(), std::back_inserter(hull));
  return hull.size();
}

std::size_t treeByCgal(const std::vector<QmVec3>& points, unsigned leaf) {
  using Traits = CGAL::Search_traits_3<Plain>;
  using Splitter = CGAL::Sliding_midpoint<Traits>;
  const Plain::Point_3* first = pointsOf(points);
  CGAL::Kd_tree<Traits, Splitter> tree(first, first + points.size(), Splitter(leaf));
  tree.build();
  return tree.size();
}

}  // namespace quel::benchmarks
