// The table of deviation colours. Input: its file.
//
// Losses: of two entries of one percentage the later; other elements and attributes; a table without entries becomes
// the default.
#include "fuzz/support/Fuzzing.h"
#include "quelcore/presentation/DeviationColorScheme.h"

namespace {

using Table = std::map<std::uint16_t, DeviationColorScheme::ColorInfo>;

bool isSame(const Table& a, const Table& b) {
  if (a.size() != b.size()) return false;
  for (const auto& [percentage, info] : a) {
    const auto found = b.find(percentage);
    if (found == b.end() || found->second.color != info.color || found->second.name != info.name) return false;
  }
  return true;
}

/// Looks colours up: each band's own is found below its bound.
void requireColours(DeviationColorScheme& scheme, const Table& table) {
  std::uint16_t below = 0;
  for (const auto& [percentage, info] : table) {
    if (percentage > below) {
      quelfuzz::require(scheme.getColor(below) == info.color, "a band has its colour from the bound below on");
    }
    below = percentage;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst([] {
    // What lies there cannot be read, so nothing is written over it.
    quelfuzz::makeFolder("legends/DeviationColor.xml");
    DeviationColorScheme* unknown = DeviationColorScheme::GetInstance();
    quelfuzz::require(unknown != nullptr && !unknown->save(), "an unknown table is not replaced");
    quelfuzz::removeFolder("legends/DeviationColor.xml");
  });
  const qmWString path = quelfuzz::makeFile("legends/DeviationColor.xml", quelfuzz::bytesOf(data, size));
  DeviationColorScheme::FreeInstance();
  DeviationColorScheme* scheme = nullptr;
  bool isLegend = false;
  {
    const quelfuzz::MemoryWatch watch;
    scheme = DeviationColorScheme::GetInstance();
    isLegend = qmDeviationColorFileCheck(path.c_str());
    watch.requireAtMost(quelfuzz::kTimesXml, 10, size);
  }
  quelfuzz::require(scheme != nullptr, "there is a table in any case");
  const Table table = *scheme->getColorScheme();
  quelfuzz::require(isLegend == (table.size() > 1), "the check says what the table holds");
  requireColours(*scheme, table);
  if (table.empty()) {
    quelfuzz::require(DeviationColorScheme::GetInstance()->getDevLevelNum() == 2, "an empty table becomes the default");
    return 0;
  }
  quelfuzz::require(scheme->save(), "a table can be saved");
  DeviationColorScheme::FreeInstance();
  scheme = DeviationColorScheme::GetInstance();
  quelfuzz::require(scheme != nullptr && isSame(*scheme->getColorScheme(), table), "a saved table reads as it was");
  return 0;
}
