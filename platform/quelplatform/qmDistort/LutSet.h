// A LUT set in memory: what makes one valid, and its allocation.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>

#include "quelplatform/qmDistort/qmDistort.h"

namespace quelplatform {

/// Bytes of an identifier with its terminating NUL.
inline constexpr std::size_t kLutIdSize = 24;

inline constexpr std::size_t kLutTables = 4;

/// Most columns, rows or layers of a set. With it no size of a set overflows 64 bits.
inline constexpr std::int32_t kMaxLutSide = 65536;

/// Sets from this version on may hold NaN cells.
inline constexpr std::int32_t kLutVersionWithNaN = 2;

/// True for 1 to 23 characters without a NUL among them.
bool isLutId(std::string_view id);

/// Everything of a set but its depths and cells.
struct LutShape {
  std::int32_t lutVersion;
  std::int32_t columns, rows, layers;
  std::array<bool, kLutTables> hasTable;
  double origin[2];
  double pitch[2];

  /// Number of cells of one layer of one table.
  std::uint64_t layerCells() const { return static_cast<std::uint64_t>(columns) * static_cast<std::uint64_t>(rows); }

  /// Number of cells of all layers of all tables.
  std::uint64_t cells() const;
};

/// The shape of a set as it stands in memory; all 0 where it has no table.
LutShape shapeOf(const tag_qmDistortLuts& luts);

/// What forbids the shape, as a phrase for a message; null when nothing does.
const char* shapeDefect(const LutShape& shape);

/// What forbids a layer of that depth above one of depth `before` (minus infinity for the first layer); null when it is
/// finite and greater.
const char* depthDefect(float before, float depth);

/// What forbids a set: the above, or tables whose images are missing or not all of one size.
const char* lutDefect(const tag_qmDistortLuts& luts);

struct LutSetDeleter {
  void operator()(tag_qmDistortLuts* luts) const noexcept;
};
using LutSetPointer = std::unique_ptr<tag_qmDistortLuts, LutSetDeleter>;

/// A set without any table; null when memory is exhausted.
LutSetPointer allocateEmptyLutSet() noexcept;

/// A set of a valid shape with all depths and cells 0; null when memory is exhausted.
LutSetPointer allocateLutSet(const LutShape& shape) noexcept;

/// Finds the reference layer, and takes NaN out of a set that may not hold any: the last writes to a set.
void finishLutSet(tag_qmDistortLuts& luts) noexcept;

/// Calls `visit(image)` for every image of the set, in the order of tables, then layers.
template <typename Visit>
void forEachLutImage(const tag_qmDistortLuts& luts, Visit visit) {
  for (qmImageRecord* table : luts.tables) {
    for (std::int32_t layer = 0; table != nullptr && layer < luts.tableCount; ++layer) visit(table[layer]);
  }
}

}  // namespace quelplatform
