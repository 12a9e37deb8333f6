#include "quelcore/patches/QmImage2COP_Data.h"

#include <algorithm>
#include <stdexcept>

#include "quelcore/base/outOfMemory.h"
#include "quelcore/patches/parallelLists.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/img_4_qm/img_4_qm.h"

namespace {

constexpr std::int32_t kNoPoint = -1;

}  // namespace

// By way of the default constructor, so that the image goes back when there is no memory for the points.
QmImage2COP_Data::QmImage2COP_Data(const QmImage2COP_Data& other) : QmImage2COP_Data() { *this = other; }

QmImage2COP_Data& QmImage2COP_Data::operator=(const QmImage2COP_Data& other) {
  if (this == &other) return *this;
  freeMemory();
  alloc();
  if (!isAlloc() || !other.isAlloc()) return *this;
  points = other.points;
  distances = other.distances;
  return *this;
}

QmImage2COP_Data::~QmImage2COP_Data() { freeImage(); }

void QmImage2COP_Data::freeImage() {
  if (isAlloc()) free_image(indexImage, sizeof(**indexImage), Image_border);
  indexImage = nullptr;
}

void QmImage2COP_Data::freeMemory() {
  clear();
  pixels.clear();
  freeImage();
  rows = 0;
  columns = 0;
}

/// Makes an image without points, if there is memory, and room for a point on every other pixel.
void QmImage2COP_Data::alloc() {
  freeImage();
  indexImage = static_cast<std::int32_t**>(alloc_image(columns, rows, sizeof(**indexImage), Image_border));
  if (!isAlloc()) return;
  for (std::int32_t y = 0; y < rows; ++y) std::fill_n(indexImage[y], columns, kNoPoint);
  try {
    points.reserve(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns) / 2);
  } catch (const std::bad_alloc&) {  // The room is for speed alone.
  } catch (const std::length_error&) {
  }
}

void QmImage2COP_Data::initLimageDim(int rowNumber, int columnNumber) {
  freeImage();
  rows = rowNumber;
  columns = columnNumber;
}

void QmImage2COP_Data::add3DPtData(const QmVec3& position, bool from3Images, const QmVec2i& pixel) {
  const QmVec2i copy = pixel;  // It may be one of `pixels`.
  quelcore::makeRoomFor(1, pixels);
  addPoint(position, from3Images);
  pixels.push_back(copy);
}

void QmImage2COP_Data::convertPixArrayToLIMAGE() {
  alloc();
  if (!isAlloc()) return;
  for (std::size_t n = 0; n < pixels.size(); ++n) {
    const QmVec2i& pixel = pixels[n];
    if (checkIndex(pixel.x, pixel.y)) indexImage[pixel.y][pixel.x] = static_cast<std::int32_t>(n);
  }
  pixels.clear();
}

const LSReconsSinglePtData* QmImage2COP_Data::getMatch3DPtData(int x, int y) const {
  if (!isAlloc() || !checkIndex(x, y)) return nullptr;
  const std::int32_t index = getIndex(x, y);
  if (index == kNoPoint || static_cast<std::size_t>(index) >= points.size()) return nullptr;
  return &points[static_cast<std::size_t>(index)];
}

const QmVec3* QmImage2COP_Data::getMatch3DPt(int x, int y) const {
  const LSReconsSinglePtData* found = getMatch3DPtData(x, y);
  return found == nullptr ? nullptr : &found->getPt3D();
}

void QmImage2COP_Data::getReconsPts(std::vector<QmVec3>& out) const {
  quelcore::makeRoomFor(points.size(), out);
  for (const LSReconsSinglePtData& point : points) out.push_back(point.getPt3D());
}

bool QmImage2COP_Data::TransAndProjPoints2ImagesMT(const qmMathTransform* transform,
                                                   const tag_qmReconsTensorData* tensor, _ProjectDistortMode mode,
                                                   int numThreads, double (*const* projected)[2]) const {
  return quelcore::unlessOutOfMemory(false, [&] {
    std::vector<QmVec3> positions;
    positions.reserve(points.size() + 1);  // So that no points are not taken for a missing array.
    getReconsPts(positions);
    const auto* first = reinterpret_cast<const double(*)[3]>(positions.data());
    return qmTransAndProjPoints2ImagesMT(transform, tensor, first, 0, static_cast<std::int64_t>(positions.size()), mode,
                                         numThreads, projected) == 1;
  });
}

void QmImage2COP_Data::unify(const QmImage2COP_Data& other) {
  quelcore::makeRoomFor(other.pixels.size(), pixels);
  LSReconsPtsData::unify(other);
  quelcore::append(other.pixels, pixels);
}
