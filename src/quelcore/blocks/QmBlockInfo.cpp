#include "quelcore/blocks/QmBlockInfo.h"

#include <algorithm>
#include <limits>
#include <new>

#include "quelcore/base/ModuleLog.h"
#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/problems.h"
#include "quelcore/base/wideNumber.h"
#include "quelcore/blocks/blockStores.h"
#include "quelplatform/qmEnv/qmParam.h"
#include "quelplatform/windows/wideText.h"

using quelcore::BlocksIni;
using quelcore::MeasurementSettings;
using quelcore::Presence;
using quelcore::ProblemText;
using quelcore::refuse;
using quelcore::remark;
using quelcore::WriteFailure;

namespace {

constexpr quelcore::ModuleLog kLog{"QmBlockInfo"};

constexpr std::uint32_t kErrorNoBlocks = 0xC41D0001;
constexpr std::uint32_t kErrorNoLenses = 0xC41D0002;

constexpr double kMillionths = 1000000.0;
constexpr int kNoStoredValue = -1;

/// More blocks than any head has; a larger number is damage, and would keep the reader busy for days.
constexpr std::int32_t kMostBlocks = 10000;

/// The operating-system code of exhausted memory.
constexpr std::uint32_t kErrorNotEnoughMemory = 8;

/// The table. It counts as loaded exactly when `lenses` is not empty.
struct Table {
  std::vector<QmBlockItem> blocks;
  std::vector<int> lenses;
  std::uint32_t error = 0;
  WriteFailure unread;  ///< Why, in this loading, a store could not be read; the first cause.
};

Table& table() {
  static Table theTable;
  return theTable;
}

/// `value`, as it was read from a store just now; notes when nobody knows what is in that store.
template <typename Value>
Value known(Value value) {
  if (quelcore::presenceByLastError() == Presence::Unknown && !table().unread) table().unread = GetLastError();
  return value;
}

/// Whether there is such a store; notes when nobody knows, be it for want of memory for its path.
template <typename Store>
bool isThere(const Store& store) {
  const Presence presence = store.presence();
  if (presence == Presence::Unknown && !table().unread) {
    table().unread = quelcore::presenceByLastError() == Presence::Unknown ? GetLastError() : kErrorNotEnoughMemory;
  }
  return presence == Presence::Present;
}

bool isIndex(int index) { return index >= 0 && static_cast<std::size_t>(index) < table().blocks.size(); }

bool checkedIndex(int index, quelcore::LogPlace place = quelcore::LogPlace(quelcore::kLogError, __builtin_LINE())) {
  if (isIndex(index)) return true;
  kLog.write(place, "Invalid block index (%d).", index);
  return false;
}

/// True when the store took the value; a failure is logged under the system's code.
bool took(WriteFailure failure, quelcore::LogPlace place = quelcore::LogPlace(quelcore::kLogError, __builtin_LINE())) {
  if (failure) kLog.message(place, *failure);
  return !failure;
}

/// The same, and the code becomes the table's error.
bool tookOrError(WriteFailure failure,
                 quelcore::LogPlace place = quelcore::LogPlace(quelcore::kLogError, __builtin_LINE())) {
  if (failure) table().error = *failure;
  return took(failure, place);
}

/// The coefficient in millionths, truncated toward zero; the nearest that 32 bits hold.
std::int32_t inMillionths(double coefficient) {
  const double scaled = coefficient * kMillionths;
  if (!(scaled == scaled)) return 0;
  constexpr double kLeast = std::numeric_limits<std::int32_t>::min();
  constexpr double kMost = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::clamp(scaled, kLeast, kMost));
}

/// A name or list that begins with "0" stands for none.
bool standsForNone(const qmString& text) { return text.isNull() || text.c_str()[0] == '0'; }

std::string numbered(const char* parameter, int number) { return parameter + std::to_string(number); }

ProblemText partOf(const qmWString& section, const char* key) {
  return ProblemText::printed("%s of [%.40s]", key, ProblemText::plain(section).text);
}

/// Whether each piece of a text such as 35;50 is a number.
bool isLensList(std::u16string_view list) {
  for (std::size_t end = 0; end != list.npos;) {
    end = list.find(u';');
    if (!quelcore::isWholeNumber(list.substr(0, end))) return false;
    if (end != list.npos) list.remove_prefix(end + 1);
  }
  return true;
}

int firstWhere(const qmWChar* name, const qmWChar* (QmBlockItem::*nameOf)() const) {
  if (name == nullptr) return -1;
  const std::vector<QmBlockItem>& blocks = table().blocks;
  const auto found = std::find_if(blocks.begin(), blocks.end(),
                                  [&](const QmBlockItem& block) { return _wcsicmp((block.*nameOf)(), name) == 0; });
  return found == blocks.end() ? -1 : static_cast<int>(found - blocks.begin());
}

int storedActiveBlock() {
  if (table().blocks.size() == 1) return 0;
  if (table().blocks.empty()) return -1;
  const BlocksIni ini;
  if (isThere(ini)) {
    const int index = known(ini.readInt(BlocksIni::kGeneral, u"ActiveBlockIndex", kNoStoredValue));
    if (index != kNoStoredValue) return index;
  }
  MeasurementSettings settings;
  if (!isThere(settings)) return -1;
  return firstWhere(known(static_cast<const qmWChar*>(settings.key()[u"CurrentMappingFile"])),
                    &QmBlockItem::GetMapFileName);
}

int storedMappingId() {
  const BlocksIni ini;
  if (isThere(ini)) {
    const int id = known(ini.readInt(BlocksIni::kGeneral, u"LastMappingID", kNoStoredValue));
    if (id != kNoStoredValue) return id;
  }
  MeasurementSettings settings;
  if (!isThere(settings) || !known(settings.key().IsValue(u"LastMappingID"))) return 0;
  return known(static_cast<std::int32_t>(settings.key()[u"LastMappingID"]));
}

void refuseUnread(std::uint32_t code) {
  if (code == kErrorNotEnoughMemory) {
    quelcore::refuseForMemory();
  } else {
    refuse({}, "", ProblemText::printed("it cannot be read (system code %u)", code));
  }
}

void writeIdentity(const BlocksIni& ini, std::int64_t index, const QmBlockItem& block) {
  const qmWString section = BlocksIni::sectionOf(index);
  ini.write(section, u"BlockName", qmWString(block.GetBlockName()));
  ini.write(section, u"TargetType", static_cast<std::int32_t>(block.GetTargetType()));
  ini.write(section, u"ExpCoef", inMillionths(block.GetExpansionCoef()));
}

}  // namespace

// --- Loading -------------------------------------------------------------------------------------------------------

QmBlockTable::QmBlockTable() {
  if (IsInstance()) return;
  const std::size_t before = table().blocks.size();
  table().unread.reset();
  try {
    InitInstance();
  } catch (const std::bad_alloc&) {
    table().unread = kErrorNotEnoughMemory;
  }
  if (!table().unread) return;
  table().blocks.resize(before);  // half a table must not pass for a loaded one
  table().lenses.clear();
  tookOrError(table().unread);
  refuseUnread(*table().unread);
}

void QmBlockTable::FreeInstance() { table() = Table(); }

void QmBlockTable::InitInstance() {
  const BlocksIni ini;
  quelcore::beginReading(ini.path());
  if (isThere(ini)) {
    kLog.write(quelcore::kLogProgress, "Load QmBlockTable from %s", ini.path());
    return loadFromIniFile(ini);
  }
  if (table().unread) return;
  kLog.write(quelcore::kLogProgress, "Does not exist %s Load QmBlockTable from config", ini.path());
  quelcore::goOnReading(nullptr);  // Parameters are asked for by name.
  if (!loadFromConfig()) return;
  UpdateMapInfo();
  const int lastMappingId = storedMappingId();
  const int active = storedActiveBlock();
  if (!table().unread) MakeBlockIniFile(ini, lastMappingId, active);
}

void QmBlockTable::loadFromIniFile(const BlocksIni& ini) {
  const int promised = known(ini.readInt(BlocksIni::kGeneral, u"NumberOfBlocks", 0));
  if (table().unread) return;
  if (promised < 1) refuse({}, "NumberOfBlocks of [General]", ProblemText::printed("%d", promised), "1 or more");
  if (promised > kMostBlocks) {
    remark({}, "NumberOfBlocks of [General]", ProblemText::printed("%d", promised), "at most 10000, which are read");
  }
  const int count = std::min(promised, kMostBlocks);
  for (int index = 0; index < count && !table().unread; ++index) {
    const qmWString section = BlocksIni::sectionOf(index);
    QmBlockItem block;
    const qmWString name = known(ini.readText(section, u"BlockName"));
    if (name.starts_with(u'0')) {
      remark({}, partOf(section, "BlockName"), ProblemText::quoted(name), "a name, which does not begin with 0");
      continue;
    }
    block.SetBlockName(name);
    const qmWString lenses = known(ini.readText(section, u"BlockLens"));
    if (!isLensList(lenses)) {
      remark({}, partOf(section, "BlockLens"), ProblemText::quoted(lenses), "whole numbers, with ; between");
    }
    if (block.SetLensSupport2(lenses.c_str()) == 0) continue;
    block.SetTargetType(static_cast<std::uint32_t>(known(ini.readInt(section, u"TargetType", 1))));
    block.SetExpansionCoef(known(ini.readInt(section, u"ExpCoef", 0)) / kMillionths);
    block.SetMapFileName(known(ini.readText(section, u"MapFile")));
    table().blocks.push_back(block);
    UpdateLensArray(block);
  }
}

bool QmBlockTable::loadFromConfig() {
  std::int32_t count = 0;
  known(qmEnvGetParam2int("QmMappingBlock.NumberOfBlocks", 0, &count));
  if (table().unread) return false;
  if (count < 1) {
    table().error = kErrorNoBlocks;
    refuse({}, "QmMappingBlock.NumberOfBlocks", ProblemText::printed("%d", count), "1 or more");
    kLog.error(quelcore::kLogError, kErrorNoBlocks);
    return false;
  }
  double coefficient = 0.0;
  GetExpansionCoef(coefficient);
  for (int number = 1; number <= std::min(count, kMostBlocks); ++number) {
    if (!loadBlockFromConfig(number, coefficient)) return false;
  }
  return true;
}

bool QmBlockTable::loadBlockFromConfig(int number, double coefficient) {
  qmString name;
  known(qmEnvGetParam2qmString(numbered("QmMappingBlock.BlockName", number).c_str(), "", name));
  if (table().unread) return false;
  if (standsForNone(name)) {
    remark({}, numbered("QmMappingBlock.BlockName", number).c_str(), "none, so the block is passed over");
    return true;
  }
  QmBlockItem block;
  block.SetBlockName(name.c_str());
  qmString lenses;
  known(qmEnvGetParam2qmString(numbered("QmMappingBlock.BlockLens", number).c_str(), "", lenses));
  if (table().unread) return false;
  if (standsForNone(lenses)) {
    table().error = kErrorNoLenses;
    refuse({}, numbered("QmMappingBlock.BlockLens", number).c_str(), "none", "whole numbers, with ; between");
    kLog.error(quelcore::kLogError, kErrorNoLenses);
    return false;
  }
  if (block.SetLensSupport1(lenses.c_str()) == 0) return true;
  std::int32_t targetType = 1;
  known(qmEnvGetParam2int(numbered("QmMappingBlock.TargetType", number).c_str(), 1, &targetType));
  block.SetTargetType(static_cast<std::uint32_t>(targetType));
  block.SetExpansionCoef(coefficient);
  table().blocks.push_back(block);
  UpdateLensArray(block);
  return true;
}

bool QmBlockTable::GetExpansionCoef(double& coefficient) const {
  MeasurementSettings settings;
  if (!known(settings.key().IsValue(u"BlockExpCoef"))) return false;
  coefficient = known(static_cast<std::int32_t>(settings.key()[u"BlockExpCoef"])) / 1e6;
  return true;
}

void QmBlockTable::UpdateMapInfo() {
  MeasurementSettings settings;
  for (QmBlockItem& block : table().blocks) {
    const bool there = known(settings.key().IsValue(block.GetBlockName()));
    block.SetMapFileName(there ? known(static_cast<const qmWChar*>(settings.key()[block.GetBlockName()])) : u"");
  }
}

void QmBlockTable::MakeBlockIniFile(const BlocksIni& ini, int lastMappingId, int active) {
  ini.createIfMissing();
  ini.write(BlocksIni::kGeneral, u"NumberOfBlocks", GetBlockNumber());
  ini.write(BlocksIni::kGeneral, u"LastMappingID", lastMappingId);
  ini.write(BlocksIni::kGeneral, u"ActiveBlockIndex", active);
  for (std::size_t index = 0; index < table().blocks.size(); ++index) {
    const QmBlockItem& block = table().blocks[index];
    const auto place = static_cast<std::int64_t>(index);
    writeIdentity(ini, place, block);
    ini.write(BlocksIni::sectionOf(place), u"BlockLens", block.GetLensSupport());
    ini.write(BlocksIni::sectionOf(place), u"MapFile", qmWString(block.GetMapFileName()));
  }
}

void QmBlockTable::UpdateLensArray(const QmBlockItem& block) {
  std::vector<int> lenses;
  block.GetLensSupport(lenses);
  UpdateLensArray(lenses);
}

void QmBlockTable::UpdateLensArray(const std::vector<int>& lenses) {
  std::vector<int>& all = table().lenses;
  if (all.empty()) {
    all = lenses;  // as it stands: sorted and unique only from the second block on
    return;
  }
  all.insert(all.end(), lenses.begin(), lenses.end());
  std::sort(all.begin(), all.end());
  all.erase(std::unique(all.begin(), all.end()), all.end());
}

// --- Looking -------------------------------------------------------------------------------------------------------

bool QmBlockTable::IsInstance() const { return !table().lenses.empty(); }

int QmBlockTable::GetBlockNumber() const { return static_cast<int>(table().blocks.size()); }

std::uint32_t QmBlockTable::GetError() const { return table().error; }

const QmBlockItem* QmBlockTable::getBlock(int index) const {
  return checkedIndex(index) ? &table().blocks[static_cast<std::size_t>(index)] : nullptr;
}

QmBlockItem* QmBlockTable::getBlock(int index) {
  return checkedIndex(index) ? &table().blocks[static_cast<std::size_t>(index)] : nullptr;
}

const qmWChar* QmBlockTable::GetBlockName(int index) const {
  const QmBlockItem* block = getBlock(index);
  return block == nullptr ? nullptr : block->GetBlockName();
}

const qmWChar* QmBlockTable::GetMapFileName(int index) const {
  const QmBlockItem* block = getBlock(index);
  return block == nullptr ? nullptr : block->GetMapFileName();
}

int QmBlockTable::FindByBlockName(const qmWChar* name) const { return firstWhere(name, &QmBlockItem::GetBlockName); }

int QmBlockTable::FindByMapFile(const qmWChar* name) const { return firstWhere(name, &QmBlockItem::GetMapFileName); }

int QmBlockTable::GetLensSupport(std::vector<int>& lenses) const {
  lenses = table().lenses;
  return static_cast<int>(lenses.size());
}

bool QmBlockTable::GetLensSupport(int index, std::vector<int>& lenses) const {
  return quelcore::unlessOutOfMemory(false, [&] {
    const QmBlockItem* block = getBlock(index);
    if (block == nullptr) return false;
    block->GetLensSupport(lenses);
    return true;
  });
}

bool QmBlockTable::IsLensSupport(int index, int lens) const {
  const QmBlockItem* block = getBlock(index);
  return block != nullptr && block->IsLensSupport(lens);
}

// --- Stored settings -----------------------------------------------------------------------------------------------

int QmBlockTable::GetActiveBlock() const { return quelcore::unlessOutOfMemory(-1, storedActiveBlock); }

bool QmBlockTable::SetActiveBlock(int index) {
  return quelcore::unlessOutOfMemory(false, [&] {
    if (!checkedIndex(index)) return false;
    bool stored = false;
    const BlocksIni ini;
    if (ini.exists()) stored = took(ini.write(BlocksIni::kGeneral, u"ActiveBlockIndex", index));
    MeasurementSettings settings;
    if (settings.exists()) {
      const qmWChar* mapFile = table().blocks[static_cast<std::size_t>(index)].GetMapFileName();
      stored = tookOrError(settings.write(u"CurrentMappingFile", mapFile)) || stored;
    }
    return stored;
  });
}

int QmBlockTable::GetLastMappingID() const { return quelcore::unlessOutOfMemory(0, storedMappingId); }

bool QmBlockTable::SetLastMappingID(int id) {
  return quelcore::unlessOutOfMemory(false, [&] {
    bool stored = false;
    const BlocksIni ini;
    if (ini.exists()) stored = tookOrError(ini.write(BlocksIni::kGeneral, u"LastMappingID", id));
    MeasurementSettings settings;
    if (settings.exists()) stored = tookOrError(settings.write(u"LastMappingID", id)) || stored;
    return stored;
  });
}

bool QmBlockTable::SetMapFileName(int index, const qmWChar* name) {
  return quelcore::unlessOutOfMemory(false, [&] {
    if (!checkedIndex(index)) return false;
    QmBlockItem& block = table().blocks[static_cast<std::size_t>(index)];
    block.SetMapFileName(name);
    bool stored = false;
    const BlocksIni ini;
    if (ini.exists()) {
      stored = tookOrError(ini.write(BlocksIni::sectionOf(index), u"MapFile", qmWString(block.GetMapFileName())));
    }
    MeasurementSettings settings;
    if (settings.exists()) stored = tookOrError(settings.write(block.GetBlockName(), block.GetMapFileName())) || stored;
    return stored;
  });
}

bool QmBlockTable::storeBlockInfo(int index) {
  return quelcore::unlessOutOfMemory(false, [&] {
    // Required: the two halves of this test never hold together, so no index is rejected here.
    if (index < 0 && index >= GetBlockNumber()) {
      kLog.write(quelcore::kLogError, "Invalid block index (%d).", index);
      return false;
    }
    const BlocksIni ini;
    ini.createIfMissing();
    if (isIndex(index)) writeIdentity(ini, index, table().blocks[static_cast<std::size_t>(index)]);
    return true;
  });
}
