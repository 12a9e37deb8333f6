// A grid whose cells hold up to four sample indices each: which samples of a cloud lie on a position.
//
// Storage is sparse: a cell gets four slots of a common pool when its first sample comes. The file is described in
// docs/formats.md. Log lines bear the name QmTargetCopMask.
#pragma once

#include <cstdint>
#include <vector>

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Positions are (a, b) with a below the first dimension and b below the second.
///
/// Required: the entry of a position is firstDim * a + b in every operation. Where the first dimension is below the
/// second, positions share entries ((0, 2) and (1, 0) for a first dimension of 2), and samples show under each of them.
///
/// One thread uses a mask at a time.
class QUELCORE_API QmTargetCopMask {
 public:
  /// Not initialised: there is no grid.
  QmTargetCopMask() = default;
  QmTargetCopMask(const QmTargetCopMask&) = delete;
  QmTargetCopMask& operator=(const QmTargetCopMask&) = delete;
  ~QmTargetCopMask();

  /// Makes an empty grid with slots for `maxCells` cells. False, with the mask cleared, when memory is exhausted, and
  /// for a size that no memory holds. A grid without positions succeeds.
  bool init(std::uint32_t firstDim, std::uint32_t secondDim, std::uint32_t maxCells);

  /// Back to the state of a new mask.
  void clear();

  /// Notes a sample at a position. True when it is there now; false when the mask is not initialised, silently, when
  /// the cell holds four others, silently, and for a position outside the grid or a cell that finds the pool exhausted,
  /// both with "Invalid index." at level 5. Required: a sample of 0x8000 or above is never found again, so each repeat
  /// takes another slot; 0xFFFF takes none.
  bool addIndex(std::uint32_t a, std::uint32_t b, std::uint16_t sample);
  /// The same for the lower 16 bits of `sample`.
  bool addIndex(std::uint32_t a, std::uint32_t b, std::uint32_t sample);

  /// Replaces `samples` by those of a position, in the order in which they came; empty for a position outside the grid.
  /// Required: samples of 0x8000 and above come out with the upper 16 bits set.
  void getIndexArray(std::uint32_t a, std::uint32_t b, std::vector<std::uint32_t>& samples) const;

  /// The largest sample, by signed comparison; -1 when there is none.
  std::int16_t maxSamleIndex() const;

  /// Writes the mask; an empty file when it is not initialised. False when the file cannot be opened or memory is
  /// exhausted. Required: true also when writing fails later, which leaves the old file.
  bool storeToFile(const qmWChar* path) const;

  /// Replaces the mask by that of a file. False when the file cannot be opened, with the mask as it was, and when
  /// `init` fails, with the mask cleared. Required: a file that ends early gives what was read, and true. Memory is
  /// reserved as the header asks, and taken as samples come, so that a damaged header costs nothing. Leaves a problem
  /// (base/QmProblem.h), for a file that ends early too.
  bool loadFromFile(const qmWChar* path);

 private:
  QUELCORE_LOCAL std::int32_t& cellOf(std::uint32_t a, std::uint32_t b) const;
  const std::uint16_t* slotsOf(std::uint32_t a, std::uint32_t b) const;
  bool isInside(std::uint32_t a, std::uint32_t b) const;

  std::uint32_t firstDim_ = 0;
  std::uint32_t secondDim_ = 0;
  std::int32_t slotCount_ = 0;
  std::int32_t nextFreeSlot_ = 0;
  std::int32_t* cells_ = nullptr;
  std::uint16_t* slots_ = nullptr;
};

static_assert(sizeof(QmTargetCopMask) == 32);
