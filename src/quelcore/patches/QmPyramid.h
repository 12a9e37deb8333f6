// Image pyramids that free themselves and can copy a plain one in.
//
// Both classes have the layout of the plain record that they convert to, and own its images.
#pragma once

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/img_4_qm/img_4_qm.h"

/// A pyramid of float images, levels 0 to `levels`.
///
/// Required: assignment copies the record as it stands, so that both objects have the same images and only one of them
/// may be destroyed; the images that the target had before are lost.
class QUELCORE_API QmPyramid {
 public:
  /// No images; every level value is -1.
  QmPyramid();

  /// A whole copy of a pyramid, as `setPyramid` makes it. A null one gives an object without images; so does exhausted
  /// memory.
  explicit QmPyramid(const _qmPyramid& source);
  explicit QmPyramid(const _qmPyramid* source);
  QmPyramid& operator=(const QmPyramid& other) = default;
  ~QmPyramid();

  operator _qmPyramid*() { return &record_; }
  operator const _qmPyramid*() const { return &record_; }

 protected:
  QmPyramid(const QmPyramid& other);

  /// Takes over the level count, level values and images of `source`. Unless the level counts are equal, the levels are
  /// made anew, over the size of the source's level 0; a level without an image gets one of the source's size. Of
  /// images of different sizes the common part is copied: where the source's levels do not halve, a level made anew
  /// lacks what its source has beyond half of the level below, and is zero where it has less. False, without any
  /// images, when memory is exhausted and for more levels than a pyramid holds (14).
  bool setPyramid(const _qmPyramid& source);

 private:
  QUELCORE_LOCAL bool failed();

  _qmPyramid record_;
};

/// A pyramid of byte images, levels 1 to `levels`; record 0 is level 1. Assignment as above.
class QUELCORE_API QmMaskPyramid {
 public:
  /// No images.
  QmMaskPyramid();

  /// As those of `QmPyramid`.
  explicit QmMaskPyramid(const _qmBPyramid& source);
  explicit QmMaskPyramid(const _qmBPyramid* source);
  QmMaskPyramid& operator=(const QmMaskPyramid& other) = default;
  ~QmMaskPyramid();

  operator _qmBPyramid*() { return &record_; }
  operator const _qmBPyramid*() const { return &record_; }

 protected:
  QmMaskPyramid(const QmMaskPyramid& other);

  /// As that of `QmPyramid`, over the size of the source's level 1.
  bool setPyramid(const _qmBPyramid& source);

 private:
  QUELCORE_LOCAL bool failed();

  _qmBPyramid record_;
};
