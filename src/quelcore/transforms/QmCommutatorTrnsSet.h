// A numbered set of correction pairs, at most one for each source, and its files.
//
// A pair lies in two transform files of the set's directory: pair 7 of set 3 in 3_7_TrackerLeft.trn and
// 3_7_TrackerRight.trn.
#pragma once

#include <vector>

#include "quelcore/QuelCoreApi.h"
#include "quelcore/transforms/QmCommutatorTrns.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Nothing here logs or throws. One thread at a time.
///
/// Required: copies copy the pointers to the pairs, not the pairs, and assignment gives up those that the set had. Both
/// objects then own the same pairs, so that only one of them may be destroyed.
class QUELCORE_API QmCommutatorTrnsSet {
 public:
  /// Number 0 means that the set has no number yet.
  explicit QmCommutatorTrnsSet(std::uint32_t sequentialId = 0) noexcept;
  QmCommutatorTrnsSet(const QmCommutatorTrnsSet&);
  QmCommutatorTrnsSet& operator=(const QmCommutatorTrnsSet&);
  /// Deletes the pairs.
  ~QmCommutatorTrnsSet();

  std::uint32_t getSequentialID() const noexcept { return sequentialId_; }

  /// Makes the set dirty only when the number changes.
  void setSequentialID(std::uint32_t sequentialId) noexcept;

  std::size_t getNumberTrns() const noexcept { return transforms_.size(); }

  /// The pair at `index`, in order of addition; owned by the set. Null beyond the last.
  QmCommutatorTrns* getTrns(std::size_t index) const noexcept;

  /// The first pair of that source; owned by the set. Null when there is none.
  QmCommutatorTrns* findTrns(std::uint32_t sourceId) const noexcept;

  /// Takes over `pair`, which came from `new`, and makes the set dirty. False, with `pair` left to the caller, when its
  /// source has a pair already, for null, and when memory is exhausted; and when the last `loadAllTrns` could not read
  /// the files of that source, or not tell which sources there are, since its pair would be lost.
  bool addTrns(QmCommutatorTrns* pair) noexcept;

  /// Deletes all pairs. The dirty flag stays as it is.
  void clearAllTrns() noexcept;

  /// The set's own flag, or that of any of its pairs.
  bool isDirty() const noexcept;

  /// Appends a pair for each file of a left correction of this set in `dir` whose right one is there too, in the order
  /// of the listing. Source 0, and pairs that cannot be read, are passed over. Returns the number of pairs added. Pairs
  /// that the set has stay, and none is looked for twice: loading again adds all again. Required: the pairs are dirty
  /// afterwards, the set's own flag is as before. Leaves a problem (base/QmProblem.h) only when memory is exhausted;
  /// remarks are files that are passed over.
  std::size_t loadAllTrns(const qmWChar* dir) noexcept;

  /// Writes the pairs into `dir`, which must be there, unless neither they nor the set are dirty. Stops at the first
  /// one that cannot be written. Returns whether all were.
  ///
  /// Required: the set's own flag is cleared by every pair that is written, and by one that cannot be written too. The
  /// pairs' flags are never cleared.
  bool saveAllTrns(const qmWChar* dir) noexcept;

 protected:
  /// Name of the file of one half; empty for null. Throws std::bad_alloc.
  qmWString getTrnFileName(const QmCommutatorTrns* pair, TrnPos pos) const;

  /// Reads both halves into `pair`. False when either cannot be read; the other may have been set then.
  bool loadTrns(QmCommutatorTrns* pair, const qmWChar* dir) noexcept;

  /// Writes both halves of a pair that is dirty; true without a change for one that is not.
  bool saveTrns(const QmCommutatorTrns* pair, const qmWChar* dir) noexcept;

 private:
  QUELCORE_LOCAL bool mayBeOnDisk(std::uint32_t sourceId) const noexcept;
  QUELCORE_LOCAL bool readTrns(QmCommutatorTrns& pair, const qmWChar* dir) const;

  std::uint32_t sequentialId_;
  std::vector<QmCommutatorTrns*> transforms_;
  bool dirty_ = false;
  std::vector<std::uint32_t> unread_;  ///< Sources whose files the last reading could not read.
  bool listed_ = true;                 ///< The last reading, if there was one, saw all files of the set.
};
