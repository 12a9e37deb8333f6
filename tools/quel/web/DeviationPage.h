// Deviations of a cloud as one page for a browser, which needs no network and nothing beside it.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "files/FileUses.h"
#include "files/Json.h"
#include "files/Values.h"
#include "models/ColourTable.h"
#include "models/SiteUnit.h"
#include "web/Html.h"

namespace queltool {

struct DeviationPage {
  std::string title;                   ///< "Deviations of scan.ply"
  std::span<const Vec3> points;        ///< In millimetres; those that are not finite are not shown.
  std::span<const double> deviations;  ///< In millimetres, one a point; NaN for a point that has none.
  double lower;                        ///< Limits of the tolerance, millimetres.
  double upper;
  bool oneSided;                   ///< Graded by the share of the upper limit alone.
  ColourTable table;               ///< That grades them.
  SiteUnit unit;                   ///< In which lengths are shown.
  std::vector<PageRow> figures;    ///< What the points are by numbers.
  std::vector<PageRow> origin;     ///< Files, head, command and versions behind the page.
  std::vector<std::string> notes;  ///< Sentences that readers must know.
  Json json;                       ///< Every figure, as the command prints them.
};

/// Throws `Failure` when the file cannot be written.
void writeDeviationPage(const OutputFile& file, const DeviationPage& page);

}  // namespace queltool
