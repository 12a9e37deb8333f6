#include "quel/store/Plates.h"

#include "quel/base/Readings.h"
#include "quelcore/blocks/QmBlockInfo.h"
#include "quelplatform/qmEnv/QmWorkPlace.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/profile.h"

namespace quel {

namespace {

constexpr std::uint32_t kNobodyToldOfPlates = 0xC41D0001;

// The number of plates is believed only when the last of them is there.
Result<void> checkCount(const std::filesystem::path& file) {
  const qmWString path = toWide(file.string().c_str());
  const std::uint32_t count = GetPrivateProfileIntW(u"General", u"NumberOfBlocks", 0, path.c_str());
  if (count == 0) return {};
  const std::string section = "Block" + std::to_string(count);
  qmWChar keys[8] = {};
  if (GetPrivateProfileStringW(toWide(section.c_str()).c_str(), nullptr, u"", keys, 8, path.c_str()) != 0) return {};
  return Error{"NumberOfBlocks is " + std::to_string(static_cast<std::int32_t>(count)) + ", and there is no section [" +
                   section + "]; correct the number",
               file.string()};
}

Plate plateOf(const QmBlockItem& item, bool active) {
  Plate plate{toNarrow(item.GetBlockName()),   {},    item.GetTargetType(), item.GetExpansionCoef(),
              toNarrow(item.GetMapFileName()), active};
  item.GetLensSupport(plate.lenses);
  return plate;
}

}  // namespace

Result<std::filesystem::path> plateFile() {
  qmWChar path[260] = {};
  if (QmWorkPlace::MakeHomeFullPath(u"blocks.ini", path, 260) == 0) {
    return Error{"there is no home directory for blocks.ini, or its path is too long; set QUEL_HOME"};
  }
  return std::filesystem::path(toNarrow(path));
}

Result<std::vector<Plate>> plates() {
  const auto file = plateFile();
  if (!file) return file.error();
  if (const auto counted = checkCount(*file); !counted) return counted.error();
  const Reasons reasons;
  QmBlockTable::FreeInstance();
  const QmBlockTable table;
  if (!table.IsInstance() && table.GetError() != 0 && table.GetError() != kNobodyToldOfPlates) {
    return unreadable(*file, reasons);
  }
  std::vector<Plate> listed;
  const int active = table.GetActiveBlock();
  for (int index = 0; index < table.GetBlockNumber(); ++index) {
    listed.push_back(plateOf(*table.getBlock(index), index == active));
  }
  return listed;
}

}  // namespace quel
