// The text of the setup map.
#pragma once

#include <string>
#include <vector>

#include "quelcore/base/presence.h"
#include "quelcore/project/QmSetupNumbersManager.h"

namespace quelcore {

/// Reads the map at `path` behind `items`: Present when that worked. Otherwise a problem is noted, and `items` is
/// whatever was read up to there. Throws std::bad_alloc.
Presence readSetupMap(const qmWChar* path, std::vector<QmSetupNumCyclePath>& items);

/// The text of the map: a line for each item with a number. Throws std::bad_alloc.
std::string setupMapText(const std::vector<QmSetupNumCyclePath>& items);

}  // namespace quelcore
