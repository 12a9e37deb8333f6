#include "quelcore/patches/patchBins.h"

#include <algorithm>
#include <cmath>

#include "quelcore/base/GrowingBox.h"
#include "quelcore/base/MemoryBlock.h"
#include "quelcore/features/QmCOPBSP.h"

namespace quelcore {
namespace {

constexpr float kCellsPerPixel = 0.03125F;  // a cell is 32 pixels wide and high
constexpr std::int32_t kLeafLimit = 500;

/// The grid of cells over an image: column by column, each from low y to high y.
struct CellGrid {
  std::int64_t rows;
  std::int64_t cells;
};

std::int64_t cellsAlong(std::uint32_t pixels) {
  return static_cast<std::int64_t>(std::ceil(static_cast<float>(pixels) * kCellsPerPixel));
}

CellGrid gridOver(const SubPatch& points) {
  const std::int64_t rows = cellsAlong(points.imageHeight);
  return {rows, cellsAlong(points.imageWidth) * rows};
}

/// Number of the cell at an image position; negative for one outside the cells. A position beside the image can fall
/// into a cell of the neighbouring column.
std::int32_t cellAt(const CellGrid& grid, const double (&position)[2]) {
  constexpr double kFarthest = 2147483647.0;
  const double x = position[0] * 0.03125;
  const double y = position[1] * 0.03125;
  if (!(std::abs(x) < kFarthest && std::abs(y) < kFarthest)) return -1;
  const std::int64_t cell =
      std::int64_t{static_cast<std::int32_t>(x)} * grid.rows + std::int64_t{static_cast<std::int32_t>(y)};
  return cell >= 0 && cell < grid.cells ? static_cast<std::int32_t>(cell) : -1;
}

/// Notes the cell of each point and counts the points of each cell; false for a position outside the cells.
bool countByCell(const SubPatch& points, const CellGrid& grid, std::int32_t* cellOfPoint, std::uint32_t* counts) {
  for (std::uint32_t n = 0; n < points.count; ++n) {
    const std::int32_t cell = cellAt(grid, points.points2D[n]);
    if (cell < 0) return false;
    cellOfPoint[n] = cell;
    ++counts[cell];
  }
  return true;
}

/// Makes an empty bin for each cell that has points and leaves the bin's number in place of the cell's count.
bool makeBins(const CellGrid& grid, std::uint8_t tag, std::uint32_t* countsThenBins, qmvector<qmPatchBinInfo>& bins) {
  qmPatchBinInfo bin;
  bin.subPatchTag = tag;
  for (std::int64_t cell = 0; cell < grid.cells; ++cell) {
    const std::uint32_t count = countsThenBins[cell];
    if (count == 0) continue;
    countsThenBins[cell] = static_cast<std::uint32_t>(bins.size());
    if (!bins.push_back(bin)) return false;
    bin.start += count;
  }
  return true;
}

QmBBox boxAround(const QmVec3* points, std::uint32_t count) {
  GrowingBox box(points[0]);
  for (std::uint32_t n = 1; n < count; ++n) box.extend(points[n]);
  return box.box();
}

/// What the walk over the leaves fills.
struct LeafWalk {
  const QmCOPBSP* tree;
  std::uint8_t tag;
  qmvector<qmPatchBinInfo>* bins;
  bool complete;
};

bool visitNode(void* context, QmCOPBSP::BSP_treeNode* node) {
  auto& walk = *static_cast<LeafWalk*>(context);
  if (node->left != nullptr || node->right != nullptr) return true;
  qmPatchBinInfo bin;
  bin.start = static_cast<std::uint32_t>(node->pointIndices - walk.tree->indices);
  bin.count = static_cast<std::uint32_t>(node->pointCount);
  bin.box = node->box;
  bin.subPatchTag = walk.tag;
  walk.complete = walk.complete && walk.bins->push_back(bin);
  return false;
}

}  // namespace

bool binByImageCells(const SubPatch& points, std::int32_t* scratch, std::uint32_t* order,
                     qmvector<qmPatchBinInfo>& bins) {
  const CellGrid grid = gridOver(points);
  // Cells are numbered in 32 bits; an image that needs more of them is none.
  if (points.count == 0 || grid.cells == 0 || grid.cells > 0x7fffffff) return false;
  // Zeroed by the system, so that the cells which no point falls into cost no memory.
  const auto counts = MemoryBlock<std::uint32_t>::zeroed(static_cast<std::size_t>(grid.cells));
  if (!counts || !countByCell(points, grid, scratch, counts.data())) return false;
  if (!makeBins(grid, points.tag, counts.data(), bins)) return false;
  for (std::uint32_t n = 0; n < points.count; ++n) {
    qmPatchBinInfo& bin = bins[counts.data()[scratch[n]]];
    order[bin.start + bin.count++] = n;
  }
  return true;
}

void boxBins(const double (*points3D)[3], qmPatchBinInfo* bins, std::size_t count) {
  const auto* points = reinterpret_cast<const QmVec3*>(points3D);
  for (std::size_t n = 0; n < count; ++n) bins[n].box = boxAround(points + bins[n].start, bins[n].count);
}

bool binBySpace(const SubPatch& points, std::uint32_t* order, qmvector<qmPatchBinInfo>& bins) {
  if (points.count == 0) return false;
  const auto* at = reinterpret_cast<const QmVec3*>(points.points3D);
  QmCOPBSP tree;
  tree.build(at, static_cast<std::int32_t>(points.count), boxAround(at, points.count), kLeafLimit);
  if (tree.root == nullptr) return false;
  std::copy(tree.indices, tree.indices + points.count, order);
  LeafWalk walk{&tree, points.tag, &bins, true};
  tree.traverseBSP(visitNode, &walk);
  return walk.complete;
}

}  // namespace quelcore
