// The maps of a head's page: the uncertainty of points in sections of the volume, and what the lenses do to the images.
#pragma once

#include <vector>

#include "models/SiteUnit.h"
#include "models/Uncertainty.h"
#include "quelcore/records/qmReconsTensorData.h"
#include "web/PageMaps.h"

namespace queltool {

/// Maps of one range and unit.
struct MapGroup {
  std::vector<PageMap> maps;
  MapRange range;
  MapUnit unit;
};

/// The sections, side by side in one scale; "section-2" is the one across Z.
MapGroup sectionMaps(const Uncertainty& uncertainty, const SiteUnit& unit);

/// By how much each lens moves pixels. No maps where the size of the images is not known.
MapGroup lensMaps(const tag_qmReconsTensorData& head);

}  // namespace queltool
