#include "models/BlockList.h"

#include <fmt/core.h>

#include <algorithm>
#include <string_view>

#include "files/Failure.h"
#include "files/WriteTurn.h"
#include "models/Problems.h"
#include "models/Reasons.h"
#include "quelcore/blocks/QmBlockInfo.h"
#include "quelplatform/qmEnv/QmWorkPlace.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/profile.h"
#include "quelplatform/windows/windows.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

constexpr std::uint32_t kErrorNoBlocks = 0xC41D0001;  // Nobody has told of a block yet.
constexpr std::size_t kMaxText = 259;                 // Units that are read back.
constexpr const qmWChar* kGeneral = u"General";
constexpr const qmWChar* kCount = u"NumberOfBlocks";

qmWString wideListFile() {
  qmWChar path[260] = {};
  if (QmWorkPlace::MakeHomeFullPath(u"blocks.ini", path, 260) == 0) {
    throw Failure("there is no home directory for blocks.ini, or its path is too long; set QUEL_HOME");
  }
  return path;
}

qmWString wide(const std::string& text) { return toWide(text.c_str()); }

qmWString sectionOf(std::uint32_t number) { return wide(fmt::format("Block{}", number)); }

std::uint32_t storedCount(const qmWString& file) { return GetPrivateProfileIntW(kGeneral, kCount, 0, file.c_str()); }

Failure listFailure(const std::string& what) { return Failure(blockListFile().string() + ": " + what); }

// The number of blocks is believed only when the last of them is there.
void checkCount(const qmWString& file) {
  const std::uint32_t count = storedCount(file);
  if (count == 0) return;
  qmWChar keys[8] = {};
  if (GetPrivateProfileStringW(sectionOf(count).c_str(), nullptr, u"", keys, 8, file.c_str()) != 0) return;
  throw listFailure(fmt::format("NumberOfBlocks is {}, and there is no section [Block{}]; correct the number",
                                static_cast<std::int32_t>(count), count));
}

// The table as the files have it now.
QmBlockTable readTable() {
  checkCount(wideListFile());
  const Reasons reasons;
  QmBlockTable::FreeInstance();
  QmBlockTable table;
  if (table.IsInstance() || table.GetError() == 0 || table.GetError() == kErrorNoBlocks) return table;
  throw Failure(std::string(unreadable(blockListFile()).what()) + reasons.text());
}

// The table, for a change by index. Blocks that the table passes over would shift the indices.
QmBlockTable tableToChange() {
  QmBlockTable table = readTable();
  if (static_cast<std::int64_t>(table.GetBlockNumber()) == storedCount(wideListFile())) return table;
  throw listFailure("a section of a plate has a name that begins with 0, so it is passed over; remove or name it");
}

int indexOf(const QmBlockTable& table, const std::string& name) {
  const int index = table.FindByBlockName(wide(name).c_str());
  if (index < 0) throw listFailure("there is no plate named " + name + "; \"quel blocks list\" shows those there are");
  return index;
}

void write(const qmWString& file, const qmWString& section, const qmWChar* key, const qmWString& value) {
  if (WritePrivateProfileStringW(section.c_str(), key, value.c_str(), file.c_str()) == 1) return;
  throw listFailure(fmt::format("cannot be written (system code {})", GetLastError()));
}

QmBlockItem itemOf(const ListedBlock& block) {
  QmBlockItem item;
  for (const int lens : block.lenses) item.AddLensSupport(lens);
  item.SetTargetType(block.targetType);
  return item;
}

// The number of blocks comes last, so that a write that fails adds nothing.
void appendSection(const qmWString& file, const ListedBlock& block) {
  const QmBlockItem item = itemOf(block);
  const std::uint32_t number = storedCount(file) + 1;
  const qmWString section = sectionOf(number);
  WritePrivateProfileStringW(section.c_str(), nullptr, nullptr, file.c_str());  // leftovers of a block removed by hand
  write(file, section, u"BlockName", wide(block.name));
  write(file, section, u"TargetType", wide(std::to_string(item.GetTargetType())));
  write(file, section, u"BlockLens", item.GetLensSupport());
  write(file, kGeneral, kCount, wide(std::to_string(number)));
}

bool isBlank(char c) { return c == ' ' || c == '\t'; }

}  // namespace

double expansionOnceStored(const ListedBlock& block) {
  constexpr double kMillionths = 1000000.0;
  return static_cast<std::int32_t>(block.expansion * kMillionths) / kMillionths;
}

std::string lossOnceStored(const ListedBlock& block) {
  const double after = expansionOnceStored(block);
  if (after == block.expansion) return {};
  return fmt::format("plate {}: its coefficient of expansion, {:.6f}, becomes {:.6f} when the plate is stored",
                     block.name, block.expansion, after);
}

fs::path blockListFile() { return toNarrow(wideListFile()); }

std::vector<ListedBlock> listBlocks() {
  const QmBlockTable table = readTable();
  const int active = table.GetActiveBlock();
  std::vector<ListedBlock> blocks;
  for (int index = 0; index < table.GetBlockNumber(); ++index) {
    const QmBlockItem& item = *table.getBlock(index);
    ListedBlock block{toNarrow(item.GetBlockName()),
                      {},
                      item.GetTargetType(),
                      item.GetExpansionCoef(),
                      toNarrow(item.GetMapFileName()),
                      index == active};
    item.GetLensSupport(block.lenses);
    blocks.push_back(std::move(block));
  }
  return blocks;
}

void addBlock(const ListedBlock& block) {
  if (itemOf(block).GetLensSupport().size() > kMaxText) throw Failure("these are more lenses than a plate can list");
  const WriteTurn writing(blockListFile());
  QmBlockTable table = tableToChange();
  if (table.FindByBlockName(wide(block.name).c_str()) >= 0) {
    throw listFailure("there is a plate named " + block.name + " already");
  }
  const Reasons reasons;
  table.storeBlockInfo(-1);  // Makes the file where there is none.
  appendSection(wideListFile(), block);
  const QmBlockTable after = readTable();
  const int index = after.GetBlockNumber() - 1;
  if (index < 0 || wide(block.name) != after.GetBlockName(index))
    throw listFailure("cannot be written" + reasons.text());
  if (!block.mapFile.empty()) setMapFile(block.name, block.mapFile);
}

void setActiveBlock(const std::string& name) {
  const WriteTurn writing(blockListFile());
  QmBlockTable table = tableToChange();
  const int index = indexOf(table, name);
  const Reasons reasons;
  table.SetActiveBlock(index);
  if (readTable().GetActiveBlock() != index) throw listFailure("cannot be written" + reasons.text());
}

void setMapFile(const std::string& name, const std::string& mapFile) {
  const WriteTurn writing(blockListFile());
  QmBlockTable table = tableToChange();
  const int index = indexOf(table, name);
  const Reasons reasons;
  table.SetMapFileName(index, wide(mapFile).c_str());
  if (readTable().GetMapFileName(index) != wide(mapFile)) throw listFailure("cannot be written" + reasons.text());
}

std::string whyNotInList(const std::string& text) {
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20; };
  if (std::any_of(text.begin(), text.end(), isControl)) return "must not hold control characters";
  if (wide(text).size() > kMaxText) return fmt::format("must not be longer than {} characters", kMaxText);
  if (text.empty()) return {};
  if (isBlank(text.front()) || isBlank(text.back())) return "must not begin or end with a blank";
  if (text.front() == '"' || text.front() == '\'') return "must not begin with a quotation mark";
  return {};
}

std::string whyNoBlockName(const std::string& name) {
  if (name.empty()) return "must not be empty";
  if (name.front() == '0') return "must not begin with 0";
  return whyNotInList(name);
}

}  // namespace queltool
