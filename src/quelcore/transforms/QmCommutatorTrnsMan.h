// The manager of all sets of correction pairs, one of which is current.
//
// The list of sets is the XML file CommutatorTrnsManager.xml of the root directory:
//
//   <CommutatorTrns currentSequentialID="3" nextSequentialID="4">
//     <TrnsSet sequentialID="3"/>
//   </CommutatorTrns>
//
// The pairs of a set are read from their files when the set is first asked for.
#pragma once

#include <vector>

#include "quelcore/QuelCoreApi.h"
#include "quelcore/transforms/QmCommutatorTrnsSet.h"

/// Nothing here logs; nothing throws but std::bad_alloc where there is no result to tell a failure by. To be used from
/// one thread: a call that only looks at a set may read files and change the manager.
///
/// Required: copies copy the pointers to the sets, not the sets, and assignment gives up those that the manager had.
/// Both objects then own the same sets, so that only one of them may be destroyed.
class QUELCORE_API QmCommutatorTrnsMan {
 public:
  QmCommutatorTrnsMan(const QmCommutatorTrnsMan&);
  QmCommutatorTrnsMan& operator=(const QmCommutatorTrnsMan&);
  /// Deletes the sets.
  ~QmCommutatorTrnsMan();

  /// The one manager of the process, made by the first call, which reads the list of sets. Nothing deletes it, and
  /// nothing sets its root directory: that is empty, so that the files are those whose paths begin with "\", in the
  /// home directory. Throws std::bad_alloc.
  static QmCommutatorTrnsMan* createInstance();

  const qmWChar* getRootDir() const noexcept { return rootDir_.c_str(); }

  std::size_t getNumberTrnsSets() const noexcept { return sets_.size(); }

  /// The set at `index`, read from its files if need be; owned by the manager. Null beyond the last. A set without any
  /// pair on disk is looked for again at each request. Required: the manager is dirty after every such reading.
  QmCommutatorTrnsSet* getTrnsSet(std::size_t index) noexcept;

  /// The current set, as above; null when none is.
  QmCommutatorTrnsSet* getCurTrnsSet() noexcept;

  /// The first set of that number, as above, but reading leaves the manager's dirty flag alone. Null when there is
  /// none.
  QmCommutatorTrnsSet* findTrnsSet(std::uint32_t sequentialId) noexcept;

  /// The pair of that source in the first set of that number; null when there is none.
  QmCommutatorTrns* findTrns(std::uint32_t sequentialId, std::uint32_t sourceId) noexcept;

  /// Takes over `set`, which came from `new`, and makes the manager dirty; one without a number gets the next. False,
  /// with the set left to the caller, when its number is taken, for null, and when memory is exhausted. With
  /// `makeCurrent` the set of that number becomes current, whether it is the new one or another.
  bool addTrnsSet(QmCommutatorTrnsSet* set, bool makeCurrent) noexcept;

  /// Makes the set of that number current and the manager dirty; changes nothing when it is current already. False when
  /// there is none.
  bool setCurTrnsSet(std::uint32_t sequentialId) noexcept;

  /// Deletes all sets; none is current then, and the next number is 1. The dirty flag stays as it is.
  void clearAllTrnsSets() noexcept;

  /// The manager's own flag, or that of any set that was read or added.
  bool isDirty() const noexcept;

  /// Replaces the list by that of the file and returns the number of its sets; 0, with an empty list, when it cannot be
  /// read, which a file that is missing is no error of. Numbers that are none read as 0; a next number that is none
  /// leaves 1. Required: a next number below the highest of the sets is raised to that, not beyond, so that the next
  /// set may collide with it; and the manager is dirty when a set is current. Leaves a problem (base/QmProblem.h);
  /// remarks are numbers that are none.
  std::size_t loadAllTrnsSets() noexcept;

  /// Makes the root directory if it is not there; then, if the manager is dirty, saves the sets that were read or added
  /// and writes the list. The next number in it is the highest of the sets plus 1. False when the directory cannot be
  /// made or the list cannot be written, and when memory does not suffice for the list: the old file stays then.
  /// Without a current set the list states number 0, which no set has. False, with all files as they are, when the last
  /// `loadAllTrnsSets` found a list that it could not read: the sets in it would be lost, and their numbers given
  /// again.
  ///
  /// Required: when a set cannot be saved the list ends in front of it and is written all the same, and the result does
  /// not tell. The manager's own flag is cleared whether or not the list could be written.
  bool saveAllTrnsSets() noexcept;

 protected:
  /// An empty manager: no sets, next number 1, empty root directory, not dirty.
  QmCommutatorTrnsMan() noexcept;

 private:
  struct Entry {
    bool loaded;
    QmCommutatorTrnsSet* set;
  };

  Entry* findEntry(std::uint32_t sequentialId) noexcept;
  std::uint32_t highestId() const noexcept;
  bool loadOnDemand(Entry& entry) noexcept;
  qmWString listPath() const;
  bool append(QmCommutatorTrnsSet* set) noexcept;
  bool readList();

  std::vector<Entry> sets_;
  std::uint32_t currentIndex_ = 0xFFFFFFFF;
  std::uint32_t nextSequentialId_ = 1;
  qmWString rootDir_;
  bool dirty_ = false;
  bool unknown_ = false;  ///< The last reading could not tell what is in the list.
  static QmCommutatorTrnsMan* me_;
};
