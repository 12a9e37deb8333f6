// Images as tables of row pointers, and image pyramids.
#pragma once

#include <cstdint>

#include "quelplatform/QuelPlatformApi.h"

/// Border argument of `alloc_image` and `free_image`: images have no border, and one with another border is refused.
inline constexpr std::int32_t Image_border = 0;

/// Image of 4-byte floats: `height` row pointers to `width` floats each.
struct qmImageRecord {
  float** rows;
  std::int32_t width;
  std::int32_t height;
};

/// Image of bytes.
struct qmByteImageRecord {
  std::uint8_t** rows;
  std::int32_t width;
  std::int32_t height;
};

inline constexpr std::int32_t kPyramidRecords = 15;

/// Pyramid of float images. `levels` is the number of the top level: record n is level n, 0 to `levels`.
struct _qmPyramid {
  std::int32_t levels;
  float levelValues[kPyramidRecords];
  qmImageRecord levelImages[kPyramidRecords];
};

/// Pyramid of byte images, levels 1 to `levels`. Record 0 is level 1.
struct _qmBPyramid {
  std::int32_t levels;
  qmByteImageRecord levelImages[kPyramidRecords];
};

/// A zero-filled image of `columns` x `rows` elements of `elementSize` bytes: a table of row pointers, to be cast to
/// that of its element type. A size of 0 gives an empty, non-null table. Returns null when memory is exhausted, and for
/// a negative size. Rows follow one another without gaps, the first aligned to 16 bytes. Free with `free_image`.
QUELPLATFORM_API void* alloc_image(std::int32_t columns, std::int32_t rows, std::int32_t elementSize,
                                   std::int32_t border) noexcept;

/// Frees an image of `alloc_image`, given with the same element size and border. Null is left alone.
QUELPLATFORM_API void free_image(void* image, std::int32_t elementSize, std::int32_t border) noexcept;

/// Copies the common part of two float images; an image without rows is left alone.
QUELPLATFORM_API void fcopy_img(qmImageRecord source, qmImageRecord destination) noexcept;

/// Defines a pyramid of float images over a base of `width` x `height` pixels: each level is half as wide and high as
/// the one below it, rounded up, so that no pixel goes without a parent. `levelImages` must be that member of a
/// `_qmPyramid`, whose level count becomes `levels`; the sizes of levels 0 to `levels` are set, images stay as they
/// are. The last argument is reserved, 0. Null, and a top level that the record has no room for, changes nothing.
QUELPLATFORM_API void def_fpyr(qmImageRecord* levelImages, std::int32_t levels, std::int32_t width, std::int32_t height,
                               std::int32_t reserved) noexcept;

/// As above for byte images: `levelImages` is the member of a `_qmBPyramid`, and the base is its level 1.
QUELPLATFORM_API void def_bpyr(qmByteImageRecord* levelImages, std::int32_t levels, std::int32_t width,
                               std::int32_t height) noexcept;

/// Makes zero-filled images, of the sizes that they are defined with, for `count` levels from level `first` on of a
/// table whose record 0 is level 0; images that are there already are freed. Returns 1, also for a count below 1; or 0
/// with no image in any of these levels when memory is exhausted or a size is negative, and 0 with nothing changed for
/// null and for levels outside the table.
QUELPLATFORM_API std::int32_t alloc_fpyr(qmImageRecord* levelImages, std::int32_t first, std::int32_t count) noexcept;

/// As above for a table whose record 0 is level 1.
QUELPLATFORM_API std::int32_t alloc_bpyr(qmByteImageRecord* levelImages, std::int32_t first,
                                         std::int32_t count) noexcept;

/// Frees the images of `count` levels from level `first` on of a table whose record 0 is level 0, and nulls them.
/// Levels outside the table, and a count below 1, are ignored.
QUELPLATFORM_API void free_fpyr(qmImageRecord* levelImages, std::int32_t first, std::int32_t count) noexcept;

/// As above for a table whose record 0 is level 1.
QUELPLATFORM_API void free_bpyr(qmByteImageRecord* levelImages, std::int32_t first, std::int32_t count) noexcept;
