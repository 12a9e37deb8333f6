// The table of calibration blocks. Input: blocks.ini.
//
// Losses: what stands behind the 259th unit; a coefficient that falls short of its millionths by one when it is stored;
// names in quotation marks or with blanks at their ends, which the table stores as they are and reads without. Tables
// of many blocks are left out: each question reads a file that has just been written.
#include <cmath>
#include <vector>

#include "fuzz/support/Fuzzing.h"
#include "quelcore/blocks/QmBlockInfo.h"
#include "quelplatform/ground/ini/ProfileText.h"
#include "quelplatform/windows/profile.h"

namespace {

constexpr std::uint32_t kMostBlocks = 6;

struct Block {
  qmWString name;
  qmWString mapFile;
  std::vector<int> lenses;
  std::uint32_t targetType;
  double expansion;
};

std::vector<Block> blocksOf(const QmBlockTable& table) {
  std::vector<Block> blocks;
  for (int index = 0; index < table.GetBlockNumber(); ++index) {
    const QmBlockItem& item = *table.getBlock(index);
    Block block = {item.GetBlockName(), item.GetMapFileName(), {}, item.GetTargetType(), item.GetExpansionCoef()};
    item.GetLensSupport(block.lenses);
    quelfuzz::require(!block.lenses.empty(), "a block has a lens");
    quelfuzz::require(!block.name.starts_with(u'0'), "a block that is none is dropped");
    quelfuzz::require(block.name.size() < 260 && block.mapFile.size() < 260, "texts end at 259 units");
    blocks.push_back(block);
  }
  return blocks;
}

/// Whether a name is read back as it was written.
bool isPlain(const qmWString& name) {
  const std::u16string_view text = name;
  return quelplatform::withoutQuotes(quelplatform::trimmed(text)) == text && text.find_first_of(u"\r\n") == text.npos &&
         text.find(u'\xFFFD') == text.npos;
}

void requireSame(const Block& before, const Block& after) {
  quelfuzz::require(after.lenses == before.lenses && after.mapFile == before.mapFile, "lenses and map file stay");
  quelfuzz::require(after.targetType == before.targetType, "the target type stays");
  quelfuzz::require(std::abs(after.expansion - before.expansion) < 1.5e-6, "the coefficient stays to a millionth");
  if (isPlain(before.name)) quelfuzz::require(after.name == before.name, "the name stays");
}

/// A table that is made from parameters where it has no file yet, and one without any.
void requireParameters() {
  quelfuzz::removeFile("blocks.ini");
  QmBlockTable::FreeInstance();
  quelfuzz::require(QmBlockTable().GetError() == 0xC41D0001, "without parameters there is no number of blocks");
  quelfuzz::makeFolder("blocks.ini");
  QmBlockTable::FreeInstance();
  quelfuzz::require(!QmBlockTable().IsInstance(), "a folder holds no table");
  quelfuzz::removeFolder("blocks.ini");
  quelfuzz::makeFile("blocks.ini", "[General]\nNumberOfBlocks=2\n[Block1]\nBlockLens=35\n[Block2]\nBlockLens=50\n");
  QmBlockTable::FreeInstance();
  QmBlockTable two;
  quelfuzz::require(two.GetActiveBlock() == -1, "without a file that says so no block is active");
  quelfuzz::makeFile("quelmetra.ini", "");
  quelfuzz::require(two.GetLastMappingID() == 0, "without a file that says so there was no mapping");
  two.getBlock(1)->SetExpansionCoef(std::nan(""));
  quelfuzz::require(two.storeBlockInfo(1) && two.getBlock(0)->SetLensSupport2(nullptr) == 2, "no number is 0");
  quelfuzz::removeFile("blocks.ini");
  quelfuzz::makeFile("params.ini",
                     "QmMappingBlock.NumberOfBlocks=1\nQmMappingBlock.BlockName1=bench\n"
                     "QmMappingBlock.BlockLens1=35;50\n");
  quelfuzz::makeFile("quelmetra.ini",
                     "[HKEY_LOCAL_MACHINE\\Software\\Quelmetra\\Measurement]\nLastMappingID=4\n"
                     "CurrentMappingFile=/maps/bench.map\nbench=/maps/bench.map\n");
  QmBlockTable::FreeInstance();
  const QmBlockTable table;
  quelfuzz::require(table.IsInstance() && table.GetLastMappingID() == 4, "parameters make a table");
  quelfuzz::require(quelfuzz::contentOf("blocks.ini").starts_with("\xFF\xFE"), "which is written");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst(requireParameters);
  const qmWString path = quelfuzz::makeFile("blocks.ini", quelfuzz::bytesOf(data, size));
  const std::uint32_t promised = GetPrivateProfileIntW(u"General", u"NumberOfBlocks", 0, path.c_str());
  if (promised > kMostBlocks && promised < 0x80000000) return 0;
  QmBlockTable::FreeInstance();
  std::vector<Block> blocks;
  {
    const quelfuzz::MemoryWatch watch;
    const QmBlockTable table;
    watch.requireAtMost(2 * quelfuzz::kTimesFile, 100, size);
    blocks = blocksOf(table);
    table.GetActiveBlock();
    table.GetLastMappingID();
  }
  // Behind a block that is dropped the numbers of sections are not those of the table any more.
  if (blocks.size() != promised || blocks.empty()) return 0;
  const std::size_t changed = size % blocks.size();
  {
    QmBlockTable table;
    quelfuzz::require(table.storeBlockInfo(static_cast<int>(changed)), "a block can be stored");
    quelfuzz::require(table.SetActiveBlock(static_cast<int>(changed)), "a block can be made the active one");
  }
  QmBlockTable::FreeInstance();
  const QmBlockTable again;
  const std::vector<Block> after = blocksOf(again);
  if (blocks[changed].name.empty() || !isPlain(blocks[changed].name)) return 0;
  quelfuzz::require(after.size() == blocks.size(), "as many blocks are read again");
  for (std::size_t i = 0; i < blocks.size(); ++i) requireSame(blocks[i], after[i]);
  if (blocks.size() > 1)
    quelfuzz::require(again.GetActiveBlock() == static_cast<int>(changed), "the active block stays");
  return 0;
}
