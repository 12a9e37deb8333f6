#include "benchmarks/nanoflannPeer.h"

#include <nanoflann.hpp>

namespace quel::benchmarks {

namespace {

struct Points {
  const std::vector<QmVec3>& points;

  std::size_t kdtree_get_point_count() const { return points.size(); }
  double kdtree_get_pt(std::size_t n, std::size_t axis) const { return points[n][static_cast<int>(axis)]; }
  template <typename Box>
  bool kdtree_get_bbox(Box&) const {
    return false;
  }
};

}  // namespace

std::size_t buildByNanoflann(const std::vector<QmVec3>& points, std::size_t leaf) {
  const Points adaptor{points};
  using Tree = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, Points>, Points, 3>;
  Tree tree(3, adaptor, nanoflann::KDTreeSingleIndexAdaptorParams(leaf));
  tree.buildIndex();
  return tree.usedMemory(tree);
}

}  // namespace quel::benchmarks
