// The table of calibration blocks: named mappings of a head, each with the lenses that it serves.
//
// The table is read once from blocks.ini of the home directory. Where that file does not exist yet, it is made from the
// parameters QmMappingBlock.* and the values of quelmetra.ini, and blocks.ini is written, which is the source from then
// on. The layout of blocks.ini is in docs/formats.md.
//
// The table is static state of the process, without a lock: load and change it from one thread at a time. Log lines
// bear the name QmBlockInfo.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

namespace quelcore {
class BlocksIni;
}

/// One block. A value: copies are independent.
class QUELCORE_API QmBlockItem {
 public:
  /// Empty names, no lens, target type 0, coefficient 0.
  QmBlockItem() = default;

  const qmWChar* GetBlockName() const { return blockName_.c_str(); }
  void GetBlockName(qmWString& name) const { name = blockName_; }
  /// Narrow text is UTF-8. Null gives an empty name.
  void SetBlockName(const char* name);
  void SetBlockName(const qmWChar* name);
  void SetBlockName(const qmWString& name) { blockName_ = name; }

  const qmWChar* GetMapFileName() const { return mapFileName_.c_str(); }
  void GetMapFileName(qmWString& name) const { name = mapFileName_; }
  /// Null gives an empty name.
  void SetMapFileName(const qmWChar* name);
  void SetMapFileName(const qmWString& name) { mapFileName_ = name; }

  std::uint32_t GetTargetType() const { return targetType_; }
  void SetTargetType(std::uint32_t type) { targetType_ = type; }

  double GetExpansionCoef() const { return expansionCoef_; }
  void SetExpansionCoef(double coefficient) { expansionCoef_ = coefficient; }

  /// Appends the lens unless the list holds it already.
  void AddLensSupport(int lens);
  bool IsLensSupport(int lens) const;
  int GetLensSupportCount() const { return static_cast<int>(lenses_.size()); }
  /// The list as text, such as 35;50; empty for an empty list.
  qmWString GetLensSupport() const;
  /// Copies the list and returns its size.
  int GetLensSupport(std::vector<int>& lenses) const;
  void SetLensSupport(const std::vector<int>& lenses) { lenses_ = lenses; }
  /// Replaces the list by `count` lenses. A null array and a count below 1 leave it empty.
  void SetLensSupport(const int* lenses, int count);
  /// Appends the numbers of a text such as 35;50 and returns the size of the list.
  /// Required: nothing is removed first, duplicates stay, a piece that is no number counts as 0, and so does empty
  /// text. Null is empty text.
  int SetLensSupport1(const char* list);
  int SetLensSupport2(const qmWChar* list);

 private:
  qmWString blockName_;
  qmWString mapFileName_;
  std::vector<int> lenses_;
  std::uint32_t targetType_ = 0;
  double expansionCoef_ = 0.0;
};

/// The one table of the process; its objects hold nothing. Indices count from 0 in the order of the table; an operation
/// that is given another logs "Invalid block index (%d)." at level 5.
class QUELCORE_API QmBlockTable {
 public:
  /// Loads the table when it is not loaded; `IsInstance` and `GetError` tell how that went. At most 10000 blocks are
  /// read. When memory runs out the table is what it was before, and the error is 8.
  /// Required: a table without a lens counts as not loaded, so an empty file is read again by every object, and a load
  /// that failed is tried again on top of the blocks that it left. An object that loads leaves a problem
  /// (base/QmProblem.h) where there is no table then; remarks are blocks that are passed over.
  QmBlockTable();

  /// Empties the table and sets the error to 0: the only way to have a table read again that loaded well.
  static void FreeInstance();

  /// True when the table is loaded.
  bool IsInstance() const;
  int GetBlockNumber() const;

  /// The last error: 0xC41D0001 (no number of blocks in the parameters), 0xC41D0002 (a block without lenses there), or
  /// the operating-system code of a write that failed or of a load that ran out of memory (8); 0 when there was none.
  std::uint32_t GetError() const;

  /// The block, or null for a bad index. Valid until the table changes.
  const QmBlockItem* getBlock(int index) const;
  QmBlockItem* getBlock(int index);
  /// Null for a bad index. Valid until the table changes.
  const qmWChar* GetBlockName(int index) const;
  const qmWChar* GetMapFileName(int index) const;

  /// First block of that name, or with that map file, without regard to case; -1 for null and where there is none.
  int FindByBlockName(const qmWChar* name) const;
  int FindByMapFile(const qmWChar* name) const;

  /// Copies the lenses of all blocks and returns their number.
  /// Required: sorted and without duplicates only when there are two blocks or more; the list of a single block stands
  /// as it is.
  int GetLensSupport(std::vector<int>& lenses) const;
  /// Copies the lenses of one block; false for a bad index.
  bool GetLensSupport(int index, std::vector<int>& lenses) const;
  bool IsLensSupport(int index, int lens) const;

  /// The active block: 0 for a single one, -1 without blocks; else the stored index, which is not compared with the
  /// number of blocks; else that of the current mapping file of quelmetra.ini; else -1.
  int GetActiveBlock() const;
  /// Stores the active block in each of the two ini files that exists. True when at least one took it; false for a bad
  /// index. Required: a write to blocks.ini that fails is logged without becoming the table's error.
  bool SetActiveBlock(int index);

  /// The stored mapping number: of blocks.ini unless it is -1 there, else of quelmetra.ini, else 0.
  int GetLastMappingID() const;
  /// Stores it in each of the two ini files that exists. True when at least one took it.
  bool SetLastMappingID(int id);

  /// Sets the map file of a block, empty for null, in the table and in each of the two ini files that exists. True when
  /// at least one took it; false for a bad index.
  bool SetMapFileName(int index, const qmWChar* name);

  /// Writes name, target type and coefficient of a block to blocks.ini, which is made if need be. Returns true,
  /// and false only when memory runs out.
  /// Required: rejects no index; one outside the table writes nothing. Lenses, map file and number of blocks are not
  /// written. The coefficient is truncated to millionths behind a product that can fall short of them: 249 millionths,
  /// read from a file, are 248 once they are stored.
  bool storeBlockInfo(int index);

 private:
  QUELCORE_LOCAL void InitInstance();
  QUELCORE_LOCAL void loadFromIniFile(const quelcore::BlocksIni& ini);
  QUELCORE_LOCAL bool loadFromConfig();
  QUELCORE_LOCAL bool loadBlockFromConfig(int number, double coefficient);
  QUELCORE_LOCAL void UpdateMapInfo();
  QUELCORE_LOCAL void MakeBlockIniFile(const quelcore::BlocksIni& ini, int lastMappingId, int active);
  QUELCORE_LOCAL bool GetExpansionCoef(double& coefficient) const;
  QUELCORE_LOCAL void UpdateLensArray(const QmBlockItem& block);
  QUELCORE_LOCAL void UpdateLensArray(const std::vector<int>& lenses);
};
