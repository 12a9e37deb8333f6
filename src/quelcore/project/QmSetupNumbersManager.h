// Numbers for setups: the setup map, a list of setup number, cycle number and setup path that one text file keeps
// (`QmWorkPlace::getSetupMapFilePath`; its layout is in docs/formats.md). Besides, all setups under a root directory.
//
//   QmSetupNumbersManager numbers;
//   const std::int32_t status = numbers.Initialize();
//   if (status == 0 || status == SETUPNUM_E_FILE) numbers.AddItem(17, u"/data/doors/left/s1", -1);
//   numbers.Uninitialize();  // saves
//
// Indices count from 0 in the order of the list; paths compare unit by unit. Nothing here logs. Objects are for one
// thread at a time; of processes that save at the same time the last one's map stands, whole.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "quelcore/QuelCoreApi.h"
#include "quelcore/project/QmSetupInfo.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// What operations of `QmSetupNumbersManager` return when they fail; 0 is success.
inline constexpr std::int32_t SETUPNUM_E_RESERVED = static_cast<std::int32_t>(0xC4060001);     ///< Reserved number.
inline constexpr std::int32_t SETUPNUM_E_NO_NUMBER = static_cast<std::int32_t>(0xC4060002);    ///< Nobody has it.
inline constexpr std::int32_t SETUPNUM_E_NUMBER_USED = static_cast<std::int32_t>(0xC4060003);  ///< Another item has it.
inline constexpr std::int32_t SETUPNUM_E_NO_PATH = static_cast<std::int32_t>(0xC4060004);    ///< No item has the path.
inline constexpr std::int32_t SETUPNUM_E_PATH_USED = static_cast<std::int32_t>(0xC4060005);  ///< Another item has it.
/// The path is null, or has too few levels to be split.
inline constexpr std::int32_t SETUPNUM_E_BAD_PATH = static_cast<std::int32_t>(0xC4060006);
/// The map could not be read or written; also when memory is exhausted.
inline constexpr std::int32_t SETUPNUM_E_FILE = static_cast<std::int32_t>(0xC4060007);
inline constexpr std::int32_t SETUPNUM_E_BAD_INDEX = static_cast<std::int32_t>(0xC4060008);  ///< No such index.
/// An index just found has no item, which cannot happen.
inline constexpr std::int32_t SETUPNUM_E_NO_ITEM = static_cast<std::int32_t>(0xC4060009);

/// One item of the map. A value. Null counts as empty text.
namespace quelcore {
class SetupIndex;
}

class QUELCORE_API QmSetupNumCyclePath {
 public:
  /// Numbers -1, empty path.
  QmSetupNumCyclePath() = default;
  QmSetupNumCyclePath(std::int32_t setupNumber, std::int32_t cycleNumber, const qmWChar* path);
  /// Numbers -1, the path of the setup (`SetPath`).
  explicit QmSetupNumCyclePath(const QmSetupInfo& setup);

  /// -1: no number; such an item is not saved.
  std::int32_t GetSetupNumber() const { return setupNumber_; }
  void SetSetupNumber(std::int32_t number) { setupNumber_ = number; }
  std::int32_t GetCycleNumber() const { return cycleNumber_; }
  void SetCycleNumber(std::int32_t number) { cycleNumber_ = number; }

  const qmWChar* GetPath() const { return path_.c_str(); }
  /// Copies the path to `buffer` when it is not null and the path is shorter than `size`. Returns the size that it
  /// takes, its NUL counted; 0 for an empty path, which is not copied.
  std::int32_t GetPath(qmWChar* buffer, std::int32_t size) const;

  void SetPath(const qmWString& path) { path_ = path; }
  void SetPath(const qmWChar* path);
  /// As `QmSetupInfo::GetSetupPath` joins its names, valid or not.
  void SetPath(const QmSetupInfo& setup);

  /// The stored path is exactly this one. Null is none.
  bool ComparePath(const qmWChar* path) const;

  /// Splits the path at its last three separators, '\' or '/', and sets root, project, part and setup of `setup`;
  /// nothing else of it. False when there are fewer, with the names behind those that there are set; and when memory is
  /// exhausted.
  bool FillSetupInfo(QmSetupInfo& setup) const;

 private:
  std::int32_t setupNumber_ = -1;
  std::int32_t cycleNumber_ = -1;
  qmWString path_;
};

class QUELCORE_API QmSetupNumbersManager {
 public:
  QmSetupNumbersManager();
  /// Copies share nothing; each saves the map when it ends, if it was changed. One thread uses a manager at a time,
  /// also for questions.
  QmSetupNumbersManager(const QmSetupNumbersManager& other);
  QmSetupNumbersManager& operator=(const QmSetupNumbersManager& other);
  /// As `Uninitialize`.
  ~QmSetupNumbersManager();

  /// Reads the map. SETUPNUM_E_FILE with an empty list when there is none or it cannot be read.
  /// Required: nothing in the file is refused. Reserved and equal numbers come as they stand; a missing piece of a line
  /// is that of the line before, so an empty line is one more item; what is no number is 0; a path ends at its first
  /// blank. Leaves a problem (base/QmProblem.h); remarks are pieces that are missing or no numbers, with their line
  /// and column.
  std::int32_t Initialize();

  /// Saves and empties the list. Returns how the save went.
  std::int32_t Uninitialize();

  /// Writes all items with a number, in the order of the list. The file is replaced as a whole: when that fails, at
  /// whatever point, the old map stays and SETUPNUM_E_FILE is returned.
  /// Required: writes nothing when nothing was changed or the list is empty, so that the removal of the last item never
  /// reaches the file. Once something was changed, every save writes.
  ///
  /// SETUPNUM_E_FILE, with the map as it is, when the last `Initialize` found one that it could not read: what is in it
  /// would be lost. A map that is not there, and a manager that was never initialised, hinder no save.
  std::int32_t SaveSetupList();

  /// Appends an item. In this order: a reserved number, a null path, a number that is in use, a path that is in use are
  /// refused (SETUPNUM_E_RESERVED, _BAD_PATH, _NUMBER_USED, _PATH_USED). SETUPNUM_E_FILE when memory is exhausted.
  std::int32_t AddItem(std::int32_t setupNumber, const qmWChar* path, std::int32_t cycleNumber);

  /// Changes an item; null leaves a value alone. A number or path that an item at another index has is refused
  /// (SETUPNUM_E_NUMBER_USED, _PATH_USED) with nothing changed. Reserved numbers are taken.
  std::int32_t UpdateItem(std::int32_t index, const std::int32_t* setupNumber, const std::int32_t* cycleNumber,
                          const qmWChar* path);

  /// Removes the items with this number. Returns 0.
  /// Required: of two neighbours with this number only the first goes. Does not count as a change, so a removal alone
  /// is not saved; `CleanSetupNumber` is.
  std::int32_t RemoveItem(std::int32_t setupNumber);

  /// Takes the number from the first item that has it: it stays in the list and is not saved any more.
  std::int32_t CleanSetupNumber(std::int32_t setupNumber);

  /// The index of the first such item; -1 with SETUPNUM_E_NO_NUMBER or SETUPNUM_E_NO_PATH when there is none.
  std::int32_t FindItemBySetupNumber(std::int32_t setupNumber, std::int32_t& index) const;
  std::int32_t FindItemByPath(const qmWChar* path, std::int32_t& index) const;

  /// The item, valid until the list changes; null with SETUPNUM_E_BAD_INDEX.
  std::int32_t GetItemByIndex(std::int32_t index, QmSetupNumCyclePath*& item);
  std::int32_t GetItemCount() const { return static_cast<std::int32_t>(items_.size()); }

  /// Splits the path of the item at `index`, which is no setup number (`QmSetupNumCyclePath::FillSetupInfo`).
  std::int32_t FillSetupInfo(std::int32_t index, QmSetupInfo& setup) const;

  /// Appends an item without numbers for each setup whose path no item has; null entries are passed over.
  /// Required: a setup that is not valid or whose path has 260 units or more has the empty path here. Does not count as
  /// a change.
  void FillDataBySetupInfoVec(const std::vector<QmSetupInfo*>& setups);

  /// Sorts by setup number (0), cycle number (1) or path (2), ascending, equal ones in the order that they had. Any
  /// other key does nothing. Does not count as a change.
  void Sort(std::int32_t key);

  /// Numbers up to 2 are reserved.
  static bool IsReserved(std::int32_t setupNumber) { return setupNumber <= 2; }

 protected:
  /// -1 when there is none.
  std::int32_t FindItemBySetupNumber(std::int32_t setupNumber) const;
  std::int32_t FindItemByPath(const qmWChar* path) const;
  /// Null when there is none.
  QmSetupNumCyclePath* GetItemByIndex(std::int32_t index);

 private:
  QUELCORE_LOCAL quelcore::SetupIndex& index() const;

  bool dirty_ = false;
  bool unknown_ = false;  ///< The last reading could not tell what is in the map.
  std::vector<QmSetupNumCyclePath> items_;
  mutable std::unique_ptr<quelcore::SetupIndex> index_;  ///< Made when needed; never copied.
};

/// Lists every automatically made setup (`QmWorkPlace::getAutoSetupFileTail`) of every project and part under `root`,
/// in the order of the directories, not loaded, with the time when its marker was written last. What `list` held is
/// destroyed first. True also when no setup is found; what may not be looked into counts as empty. False, with `list`
/// as it was, for an empty root, a root without subdirectories, when memory is exhausted, and when a part of what there
/// is cannot be looked at for another reason. Required: directories whose names end in a dot are passed over, at every
/// level.
QUELCORE_API bool GetInitialSetupList(const qmWString& root, std::vector<QmSetupInfo*>& list);

/// Destroys the setups and empties the list.
QUELCORE_API void RemoveSetupData(std::vector<QmSetupInfo*>& list);
