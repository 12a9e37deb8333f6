#include "pictures/ColourLegend.h"

#include <fmt/core.h>

#include "models/ColourTable.h"
#include "models/SignedBands.h"
#include "pictures/BandLegend.h"

namespace queltool {

std::vector<std::string> rangesOf(const ColourTable& table) {
  std::vector<std::string> bounds;
  for (const ColourBand& band : table.bands) bounds.push_back(fmt::format("{}", band.bound));
  bounds.pop_back();  // Beyond the last bound its colour holds.
  return rangesBetween(bounds, " %");
}

void drawColourLegend(Picture& picture, const Box& box, const std::vector<std::string>& notes) {
  const ColourTable table = readColourTable();
  const std::vector<std::string> ranges = rangesOf(table);
  std::vector<LegendBand> bands;
  for (std::size_t i = 0; i < table.bands.size(); ++i) {
    bands.push_back({table.bands[i].colour, ranges[i], table.bands[i].name, notes.empty() ? "" : notes[i]});
  }
  drawBands(picture, box, bands);
}

}  // namespace queltool
