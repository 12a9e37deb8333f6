// The text of the setup map.
#pragma once

#include <string>
#include <vector>

#include "quelcore/project/QmSetupNumbersManager.h"

namespace quelcore {

/// Reads the map at `path` behind `items`. False, with whatever was read up to there, when it cannot be read. Throws
/// std::bad_alloc.
bool readSetupMap(const qmWChar* path, std::vector<QmSetupNumCyclePath>& items);

/// The text of the map: a line for each item with a number. Throws std::bad_alloc.
std::string setupMapText(const std::vector<QmSetupNumCyclePath>& items);

}  // namespace quelcore
