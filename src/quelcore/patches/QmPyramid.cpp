#include "quelcore/patches/QmPyramid.h"

#include <algorithm>
#include <cstring>

#include "quelcore/patches/qmPatchBasicFuncs.h"

namespace {

static_assert(sizeof(QmPyramid) == sizeof(_qmPyramid) && sizeof(QmMaskPyramid) == sizeof(_qmBPyramid));

/// Gives a level that has no image one of the size of `source`; `alloc` makes the image of one level.
template <typename Image, typename Alloc>
bool makeMissing(Image& level, const Image& source, Alloc alloc) {
  if (level.rows != nullptr) return true;
  level.width = source.width;
  level.height = source.height;
  return alloc() != 0;
}

/// Copies the common part; an image without rows is left alone.
void copyBytes(const qmByteImageRecord& source, const qmByteImageRecord& destination) {
  if (source.rows == nullptr || destination.rows == nullptr) return;
  const std::int32_t width = std::min(source.width, destination.width);
  const std::int32_t height = std::min(source.height, destination.height);
  if (width <= 0) return;
  for (std::int32_t y = 0; y < height; ++y) {
    std::memmove(destination.rows[y], source.rows[y], static_cast<std::size_t>(width));
  }
}

}  // namespace

QmPyramid::QmPyramid() : record_{} { std::fill(std::begin(record_.levelValues), std::end(record_.levelValues), -1.0F); }

QmPyramid::QmPyramid(const _qmPyramid& source) : record_{} { setPyramid(source); }

QmPyramid::QmPyramid(const _qmPyramid* source) : record_{} {
  if (source != nullptr) setPyramid(*source);
}

QmPyramid::QmPyramid(const QmPyramid& other) : record_{} { setPyramid(other.record_); }

QmPyramid::~QmPyramid() { qmFreePyramid(&record_); }

bool QmPyramid::failed() {
  qmFreePyramid(&record_);
  return false;
}

bool QmPyramid::setPyramid(const _qmPyramid& source) {
  if (source.levels >= kPyramidRecords) return failed();
  if (record_.levels != source.levels) {
    qmFreePyramid(&record_);
    def_fpyr(record_.levelImages, source.levels, source.levelImages[0].width, source.levelImages[0].height, 0);
    if (alloc_fpyr(record_.levelImages, 0, source.levels + 1) == 0) return failed();
  }
  for (std::int32_t n = 0; n <= source.levels; ++n) {
    record_.levelValues[n] = source.levelValues[n];
    const bool made = makeMissing(record_.levelImages[n], source.levelImages[n],
                                  [&] { return alloc_fpyr(record_.levelImages, n, 1); });
    if (!made) return failed();
    fcopy_img(source.levelImages[n], record_.levelImages[n]);
  }
  return true;
}

QmMaskPyramid::QmMaskPyramid() : record_{} {}

QmMaskPyramid::QmMaskPyramid(const _qmBPyramid& source) : record_{} { setPyramid(source); }

QmMaskPyramid::QmMaskPyramid(const _qmBPyramid* source) : record_{} {
  if (source != nullptr) setPyramid(*source);
}

QmMaskPyramid::QmMaskPyramid(const QmMaskPyramid& other) : record_{} { setPyramid(other.record_); }

QmMaskPyramid::~QmMaskPyramid() { qmFreeMaskPyramid(1, &record_); }

bool QmMaskPyramid::failed() {
  qmFreeMaskPyramid(1, &record_);
  return false;
}

bool QmMaskPyramid::setPyramid(const _qmBPyramid& source) {
  if (source.levels >= kPyramidRecords) return failed();
  if (record_.levels != source.levels) {
    qmFreeMaskPyramid(1, &record_);
    def_bpyr(record_.levelImages, source.levels, source.levelImages[0].width, source.levelImages[0].height);
    if (alloc_bpyr(record_.levelImages, 1, source.levels) == 0) return failed();
  }
  for (std::int32_t n = 0; n < source.levels; ++n) {
    const bool made = makeMissing(record_.levelImages[n], source.levelImages[n],
                                  [&] { return alloc_bpyr(record_.levelImages, n + 1, 1); });
    if (!made) return failed();
    copyBytes(source.levelImages[n], record_.levelImages[n]);
  }
  return true;
}
