#include "benchmarks/pclPeer.h"

#include <pcl/common/transforms.h>
#include <pcl/filters/voxel_grid.h>
#include <pcl/octree/octree_search.h>

namespace quel::benchmarks {

struct PclCloud::Parts {
  pcl::PointCloud<pcl::PointXYZ>::Ptr cloud{new pcl::PointCloud<pcl::PointXYZ>};
};

PclCloud::PclCloud(const std::vector<QmVec3>& points) : parts_(new Parts) {
  for (const QmVec3& p : points) {
    parts_->cloud->emplace_back(static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]));
  }
}

PclCloud::~PclCloud() = default;

std::size_t PclCloud::buildOctree(std::size_t leaf) const {
  pcl::octree::OctreePointCloudSearch<pcl::PointXYZ> octree(0.01);
  octree.setInputCloud(parts_->cloud);
  octree.enableDynamicDepth(leaf);
  octree.addPointsFromInputCloud();
  return octree.getLeafCount();
}

std::size_t PclCloud::voxels(float cell) const {
  pcl::VoxelGrid<pcl::PointXYZ> grid;
  grid.setInputCloud(parts_->cloud);
  grid.setLeafSize(cell, cell, cell);
  pcl::PointCloud<pcl::PointXYZ> out;
  grid.filter(out);
  return out.size();
}

void PclCloud::transform(const float rows[3][4]) {
  Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 4; ++column) matrix(row, column) = rows[row][column];
  }
  pcl::transformPointCloud(*parts_->cloud, *parts_->cloud, matrix);
}

}  // namespace quel::benchmarks
