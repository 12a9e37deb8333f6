#include "quelplatform/qmDistort/kernels/lutPixels.h"

#include "quelkernels/Pack.h"

namespace quelplatform::QUEL_WIDTH {

using namespace quelkernels::QUEL_WIDTH;

namespace {

/// What becomes of a pixel without a displacement.
enum class NotGiven { Stays, IsPolynomial };

/// Places between two neighbours, lane by lane: `index`, and the next one where `weight` is not 0.
struct Places {
  IntPack index;
  Pack weight;
  Mask inside;
};

QUEL_INLINE Places placesInGrid(Pack position, const LutView& luts, int axis, std::int32_t cells) {
  const Pack offset = position - luts.origin[axis];
  const double inverse = luts.exactInverse[axis];
  const Pack place = inverse != 0.0 ? offset * inverse : offset / luts.pitch[axis];
  const Mask inside = (place >= Pack{}) & (place <= everyLane(cells - 1));
  const Pack held = select(inside, place, Pack{});
  const IntPack index = truncated(held);
  return {index, (held - widened(index)) + 0.0, inside};  // + 0 takes the sign from a place of -0
}

QUEL_INLINE Places referenceLayer(const LutView& luts) {
  const bool exists = luts.referenceLayer >= 0 && luts.referenceLayer < luts.layers;
  return {IntPack{} + (exists ? luts.referenceLayer : 0), Pack{}, everyLane(exists ? 1.0 : 0.0) > Pack{}};
}

/// The depths of the layers, widened once.
struct LayerDepths {
  double depth[kMostLutLayers];
  std::int32_t last;
};

QUEL_INLINE void widenDepths(const LutView& luts, LayerDepths& layers) {
  layers.last = luts.layers - 1;
  for (std::int32_t n = 0; luts.depths != nullptr && n <= layers.last; ++n) {
    layers.depth[n] = static_cast<double>(luts.depths[n]);
  }
}

QUEL_INLINE Places placesInLayers(const LayerDepths& layers, Pack depth) {
  Pack index = {}, low = everyLane(layers.depth[0]), high = low;
  for (std::int32_t layer = 0; layer < layers.last; ++layer) {
    const Pack here = everyLane(layers.depth[layer]);
    const Mask reached = depth >= here;
    index = select(reached, everyLane(layer), index);
    low = select(reached, here, low);
    high = select(reached, everyLane(layers.depth[layer + 1]), high);
  }
  const Pack top = everyLane(layers.depth[layers.last]);
  const Mask isTop = depth == top;
  const Mask inside = (depth >= everyLane(layers.depth[0])) & (depth <= top);
  const Pack weight = select(isTop, Pack{}, (depth - low) / (high - low));
  return {truncated(select(isTop, everyLane(layers.last), index)), select(inside, weight, Pack{}), inside};
}

/// Pixels that are looked up together: enough for what is written by one step to be read whole by the next.
constexpr int kBlock = 64;

/// Where a block of pixels looks into the LUTs, and what it finds.
struct LutBlock {
  alignas(64) std::int32_t column[kBlock];
  alignas(64) std::int32_t row[kBlock];
  alignas(64) std::int32_t layer[kBlock];
  alignas(64) double columnWeight[kBlock];
  alignas(64) double rowWeight[kBlock];
  alignas(64) double layerWeight[kBlock];
  std::uint8_t inside[kBlock];                  // a bit for each lane, one entry a pack
  alignas(64) float cells[2][2][2][kBlock][2];  // table, layer, row: the two neighbours in the row
};

QUEL_INLINE Places layersOf(const LutView& luts, const LayerDepths& layers, const float* depths, unsigned wanted) {
  if (depths == nullptr) return referenceLayer(luts);
  if (luts.depths == nullptr) return {IntPack{}, Pack{}, Mask{}};
  return placesInLayers(layers, widened(wanted == kAllLanes ? load(depths) : loadFirst(depths, wanted)));
}

QUEL_INLINE void findPlaces(const LutView& luts, const LayerDepths& layers, const LutPixels& pixels, std::int64_t first,
                            int count, LutBlock& block) {
  for (int n = 0; n < count; n += kLanes) {
    const unsigned wanted = firstLanes(count - n);
    const PackOf2 p = loadSomePixels(pixels.ideal + first + n, wanted);
    const Places column = placesInGrid(p.x, luts, 0, luts.columns);
    const Places row = placesInGrid(p.y, luts, 1, luts.rows);
    const float* const depths = pixels.depths == nullptr ? nullptr : pixels.depths + first + n;
    const Places layer = layersOf(luts, layers, depths, wanted);
    store(block.column + n, column.index);
    store(block.row + n, row.index);
    store(block.layer + n, layer.index);
    store(block.columnWeight + n, column.weight);
    store(block.rowWeight + n, row.weight);
    store(block.layerWeight + n, layer.weight);
    block.inside[n / kLanes] = static_cast<std::uint8_t>(bitsOf(column.inside & row.inside & layer.inside) & wanted);
  }
}

QUEL_INLINE bool isInside(const LutBlock& block, int n) { return (block.inside[n / kLanes] >> n % kLanes & 1) != 0; }

/// The cell at `column` and its right neighbour; `AtEnd` of the row, where no neighbour is needed, any.
template <bool AtEnd>
QUEL_INLINE void copyNeighbours(const float* row, std::int32_t column, float to[2]) {
  __builtin_memcpy(to, row + column, (AtEnd ? 1 : 2) * sizeof *to);
  if (AtEnd) to[1] = to[0];
}

/// The eight cells of a pixel and each table. A neighbour whose weight is 0 may not be there, so its own cell stands
/// for it.
template <bool AtEnd>
QUEL_INLINE void fetchCellsOf(const LutView& luts, int n, LutBlock& block) {
  const std::int32_t column = block.column[n], row = block.row[n], layer = block.layer[n];
  const std::int32_t nextRow = row + (block.rowWeight[n] != 0.0), nextLayer = layer + (block.layerWeight[n] != 0.0);
  for (int table = 0; table < 2; ++table) {
    const float* const* const low = luts.tables[table][layer].rows;
    const float* const* const high = luts.tables[table][nextLayer].rows;
    copyNeighbours<AtEnd>(low[row], column, block.cells[table][0][0][n]);
    copyNeighbours<AtEnd>(low[nextRow], column, block.cells[table][0][1][n]);
    copyNeighbours<AtEnd>(high[row], column, block.cells[table][1][0][n]);
    copyNeighbours<AtEnd>(high[nextRow], column, block.cells[table][1][1][n]);
  }
}

QUEL_INLINE void fetchCells(const LutView& luts, int count, LutBlock& block) {
  const std::int32_t last = luts.columns - 1;
  for (int n = 0; n < count; ++n) {
    if (!isInside(block, n)) continue;
    block.column[n] < last ? fetchCellsOf<false>(luts, n, block) : fetchCellsOf<true>(luts, n, block);
  }
}

QUEL_INLINE Pack between(Pack a, Pack b, Pack weight) { return a + weight * (b - a); }

/// The values of a pack of pixels in one image, and in `largest` the largest of their cells so far.
QUEL_INLINE Pack bilinear(const float cells[2][kBlock][2], const LutBlock& block, int n, Pack& largest) {
  const Pack columnWeight = load(block.columnWeight + n);
  Pack rows[2];
  for (int row = 0; row < 2; ++row) {
    const PackOf2 cell = loadPairs(cells[row] + n);
    const Pack right = select(columnWeight == Pack{}, cell.x, cell.y);
    largest = larger(larger(largest, cell.x), right);
    rows[row] = between(cell.x, right, columnWeight);
  }
  return between(rows[0], rows[1], load(block.rowWeight + n));
}

QUEL_INLINE Pack interpolated(const float cells[2][2][kBlock][2], const LutBlock& block, int n, Pack& largest) {
  const Pack layerWeight = load(block.layerWeight + n);
  const Pack low = bilinear(cells[0], block, n, largest);
  const Pack high = bilinear(cells[1], block, n, largest);
  return select(layerWeight == Pack{}, low, between(low, high, layerWeight));
}

/// The nearest cell of the nearest layer, into the place of the first of the eight.
QUEL_INLINE void fetchNearest(const LutView& luts, int count, LutBlock& block) {
  for (int n = 0; n < count; ++n) {
    if (!isInside(block, n)) continue;
    const std::int32_t layer = block.layer[n] + !(block.layerWeight[n] < 0.5);
    const std::int32_t row = block.row[n] + !(block.rowWeight[n] < 0.5);
    const std::int32_t column = block.column[n] + !(block.columnWeight[n] < 0.5);
    for (int table = 0; table < 2; ++table) {
      block.cells[table][0][0][n][0] = luts.tables[table][layer].rows[row][column];
    }
  }
}

/// polynomial + displacement where that is given and finite; elsewhere the polynomial's pixel, or nothing. Returns how
/// many pixels are not given.
QUEL_INLINE std::int64_t writePack(const LutPixels& pixels, std::int64_t n, unsigned wanted, unsigned given,
                                   PackOf2 displacement, NotGiven rule) {
  const PackOf2 plain = loadSomePixels(pixels.polynomial + n, wanted);
  const PackOf2 moved = {plain.x + displacement.x, plain.y + displacement.y};
  given &= bitsOf(isFinite(moved.x) & isFinite(moved.y));
  if (given == kAllLanes) {
    storePixels(pixels.out + n, moved);
  } else {
    storePixelsWhere(given, pixels.out + n, moved);
    if (rule == NotGiven::IsPolynomial) storePixelsWhere(wanted & ~given, pixels.out + n, plain);
  }
  if (pixels.succeeded != nullptr) noteLanes(pixels.succeeded + n, given, wanted);
  return __builtin_popcount(wanted & ~given);
}

/// A pack of displacements, and a bit for each lane that has one.
struct Found {
  PackOf2 displacement;
  unsigned given;
};

QUEL_INLINE Found findInterpolated(const LutBlock& block, int n, Pack noValue) {
  Pack largest = {};
  const PackOf2 displacement = {interpolated(block.cells[0], block, n, largest),
                                interpolated(block.cells[1], block, n, largest)};
  return {displacement, bitsOf(largest < noValue)};
}

QUEL_INLINE Found findNearest(const LutBlock& block, int n, Pack noValue) {
  const PackOf2 cell = {loadPairs(block.cells[0][0][0] + n).x, loadPairs(block.cells[1][0][0] + n).x};
  return {cell, ~bitsOf((cell.x == noValue) | (cell.y == noValue))};
}

using Fetch = void(const LutView& luts, int count, LutBlock& block);
using Find = Found(const LutBlock& block, int n, Pack noValue);

/// Block by block: the places, the cells there, and what these give.
template <Fetch* FetchAll, Find* FindPack>
QUEL_INLINE std::int64_t lookUp(const LutView& luts, const LutPixels& pixels, NotGiven rule) {
  LutBlock block;
  LayerDepths layers;
  widenDepths(luts, layers);
  const Pack noValue = everyLane(static_cast<double>(luts.noValue));
  std::int64_t failed = 0;
  for (std::int64_t first = 0; first < pixels.count; first += kBlock) {
    const int count = static_cast<int>(pixels.count - first < kBlock ? pixels.count - first : kBlock);
    findPlaces(luts, layers, pixels, first, count, block);
    FetchAll(luts, count, block);
    for (int n = 0; n < count; n += kLanes) {
      const Found found = FindPack(block, n, noValue);
      const unsigned given = block.inside[n / kLanes] & found.given;
      failed += writePack(pixels, first + n, firstLanes(count - n), given, found.displacement, rule);
    }
  }
  return failed;
}

}  // namespace

std::int64_t interpolatedLutPixels(const LutView& luts, const LutPixels& pixels) {
  return lookUp<fetchCells, findInterpolated>(luts, pixels, NotGiven::Stays);
}

std::int64_t nearestLutPixels(const LutView& luts, const LutPixels& pixels) {
  return lookUp<fetchNearest, findNearest>(luts, pixels, NotGiven::IsPolynomial);
}

}  // namespace quelplatform::QUEL_WIDTH
