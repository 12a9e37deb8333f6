#include "pictures/DeviationColours.h"

#include <cmath>

#include "models/DeviationTexts.h"
#include "models/SiteUnit.h"
#include "pictures/BandLegend.h"
#include "pictures/ColourLegend.h"

namespace queltool {

namespace {

constexpr Colour kNoDeviation = {0.6, 0.6, 0.6};

}  // namespace

Colour DeviationColours::operator()(double deviation) const {
  if (std::isnan(deviation)) return kNoDeviation;
  return isSigned() ? SignedBands::colourOf(bands_.bandOf(deviation)) : table_.bands[levelOf(deviation)].colour;
}

void DeviationColours::drawLegend(Picture& picture, const Box& box, std::span<const double> deviations) const {
  std::vector<std::size_t> counts(isSigned() ? SignedBands::kCount : table_.bands.size());
  for (const double d : deviations) ++counts[isSigned() ? bands_.bandOf(d) : levelOf(d)];
  std::vector<std::string> notes;
  for (const std::size_t count : counts) notes.push_back(shareText(count, deviations.size()));
  isSigned() ? drawSignedLegend(picture, box, notes) : drawColourLegend(picture, box, notes);
}

std::size_t DeviationColours::levelOf(double deviation) const {
  return gradeDeviation(tolerance_.lower, tolerance_.upper, deviation, tolerance_.oneSided).level;
}

void DeviationColours::drawSignedLegend(Picture& picture, const Box& box, const std::vector<std::string>& notes) const {
  std::vector<double> bounds;
  const SiteUnit unit = siteUnit();
  for (const double bound : bands_.bounds()) bounds.push_back(unit.perMillimetre * bound);
  const std::vector<std::string> ranges = rangesBetween(legendNumbers(bounds, true), " " + unit.name);
  const char* const names[] = {"Below tolerance", "", "", "", "", "", "Above tolerance"};
  std::vector<LegendBand> bands;
  for (std::size_t i = 0; i < ranges.size(); ++i) {
    const std::string name = *names[i] == '\0' ? "Within tolerance" : names[i];
    bands.push_back({SignedBands::colourOf(i), ranges[i], name, notes[i]});
  }
  drawBands(picture, box, bands);
}

}  // namespace queltool
