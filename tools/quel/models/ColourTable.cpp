#include "models/ColourTable.h"

#include <fmt/core.h>

#include <algorithm>
#include <iterator>
#include <set>

#include "files/Failure.h"
#include "files/Files.h"
#include "quelcore/presentation/DeviationColorScheme.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "quelplatform/qmEnv/QmWorkPlace.h"
#include "quelplatform/qmEnv/qmFile.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/wideText.h"

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

// Text of an attribute as a whole number within limits; what is wrong with it goes to `problems`.
bool isNumber(const std::string& text, long long most) {
  if (text.empty() || text.size() > 10 || text.find_first_not_of("0123456789") != text.npos) return false;
  return std::stoll(text) <= most;
}

void checkValue(const CMarkupSTL& xml, std::size_t number, std::set<long long>& seen,
                std::vector<std::string>& problems) {
  const std::string percentage = toNarrow(xml.GetAttrib(u"Percentage"));
  const std::string color = toNarrow(xml.GetAttrib(u"Color"));
  if (!isNumber(percentage, 65535)) {
    problems.push_back(fmt::format("Value {}: Percentage must be 0 to 65535, and is \"{}\"", number, percentage));
  } else if (!seen.insert(std::stoll(percentage)).second) {
    problems.push_back(
        fmt::format("Value {}: percentage {} stands in an earlier Value, which counts", number, percentage));
  }
  if (!isNumber(color, 0xFFFFFF)) {
    problems.push_back(fmt::format("Value {}: Color must be 0 to 16777215, and is \"{}\"", number, color));
  }
  if (xml.GetAttrib(u"Name").empty()) problems.push_back(fmt::format("Value {}: there is no Name", number));
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

std::vector<std::string> checkColourTable(const std::filesystem::path& file) {
  std::vector<std::string> problems;
  CMarkupSTL xml;
  if (!xml.Load(widePath(file).c_str())) return {toNarrow(xml.GetError())};
  if (!xml.FindElem(u"QuelmetraDataFile")) return {"the root is not QuelmetraDataFile"};
  xml.IntoElem();
  if (!xml.FindElem(u"DeviationColorTable")) return {"there is no DeviationColorTable in the root"};
  xml.IntoElem();
  std::set<long long> seen;
  std::size_t count = 0;
  while (xml.FindElem(u"Value")) checkValue(xml, ++count, seen, problems);
  if (count == 0) problems.emplace_back("there is no Value in DeviationColorTable");
  if (count == 1) problems.emplace_back("there is one Value; a legend needs two");
  return problems;
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
