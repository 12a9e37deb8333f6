#include "models/ColourTable.h"

#include <algorithm>
#include <iterator>

#include "files/Failure.h"
#include "files/Files.h"
#include "models/TemporaryHome.h"
#include "quelcore/presentation/DeviationColorScheme.h"
#include "quelplatform/qmEnv/QmWorkPlace.h"
#include "quelplatform/qmEnv/qmFile.h"
#include "quelplatform/qmEnv/qmText.h"

namespace queltool {
namespace {

std::u16string tablePath() {
  qmWChar path[1024];
  if (QmWorkPlace::MakeLegendFullPath(u"DeviationColor.xml", path, 1024) == 0) {
    throw Failure("the home directory is not known; set QUEL_HOME");
  }
  return path;
}

Colour colourOf(std::uint32_t packed) {
  const auto share = [&](int shift) { return ((packed >> shift) & 0xFF) / 255.0; };
  return {share(0), share(8), share(16)};
}

}  // namespace

// The table of the process. A file without entries gives an empty table first and the default next.
DeviationColorScheme& deviationColours() {
  DeviationColorScheme* table = DeviationColorScheme::GetInstance();
  if (table != nullptr && table->getDevLevelNum() == 0) table = DeviationColorScheme::GetInstance();
  if (table == nullptr) throw std::bad_alloc();
  return *table;
}

ColourTable readColourTable() {
  const std::u16string path = tablePath();
  ColourTable table{toNarrow(path), true, {}};
  DeviationColorScheme* loaded = DeviationColorScheme::GetInstance();
  table.isDefault = !QmFileExist(path.c_str()) || (loaded != nullptr && loaded->getDevLevelNum() == 0);
  for (const auto& [bound, info] : *deviationColours().getColorScheme()) {
    table.bands.push_back({bound, toNarrow(info.name), colourOf(info.color)});
  }
  return table;
}

// The library writes it to the home directory alone.
std::string fileOfColourTable() {
  constexpr std::uintmax_t kLargestFile = std::uintmax_t{64} << 20;
  const std::filesystem::path site = toNarrow(tablePath());
  const DeviationColorScheme& table = deviationColours();
  const TemporaryHome home;
  const std::filesystem::path file = toNarrow(tablePath());
  makeFolder(file.parent_path());
  if (!table.save()) throw Failure(site.string() + ": cannot be read, so it is not known what is in it");
  return readWholeFile(file, kLargestFile);
}

Graded gradeDeviation(double lower, double upper, double deviation, bool oneSided) {
  constexpr double kMostPercent = 65535.0;
  DeviationColorScheme& table = deviationColours();
  const double percent = table.calcPercentDouble(lower, upper, deviation, oneSided, 1.0);
  // By a percentage that stops at the largest, where the table's own calls begin again at 0: what is far out of
  // tolerance must not be shown as good.
  const auto& bands = *table.getColorScheme();
  const auto above = bands.upper_bound(static_cast<std::uint16_t>(percent < kMostPercent ? percent : kMostPercent));
  const auto level = static_cast<std::size_t>(std::distance(bands.begin(), above));
  return {percent, std::min(level, bands.size() - 1)};
}

}  // namespace queltool
