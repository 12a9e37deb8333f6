// The demonstration: three real cameras become a block; real corners and a real scan go through it.
#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "demo/BoardRun.h"
#include "demo/DemoPictures.h"
#include "demo/Drift.h"
#include "demo/FitRun.h"
#include "demo/ScanRun.h"
#include "models/DeviationRun.h"
#include "models/FeatureRun.h"
#include "models/Health.h"
#include "models/Indexing.h"

namespace queltool {

/// Everything that the demonstration found.
struct Demonstration {
  CameraNames names;
  std::filesystem::path block;
  std::array<std::filesystem::path, 2> pages;  ///< For a browser: of the scan, of the head.
  std::vector<Check> health;
  bool compatible;    ///< The block takes an image of its own identity.
  bool otherRefused;  ///< It refuses one of another block.
  std::vector<Corner> corners;
  BoardRun board;
  PlaneFeature plane;  ///< Of the board, through its corners in space.
  FitRun fits;
  ScanRun scan;
  IndexedCloud bySpace;
  IndexedCloud byImage;
  DeviationRun deviations;  ///< Of the scan from a nominal that is made of it.
  DriftRun drift;
};

/// Runs everything on the data of the folder `data`. Block, tables and pictures, whose names end in `extension`, go to
/// the folder `out`, where a block of that name that no demonstration made stays unless `force`. Throws `Failure`.
Demonstration demonstrate(const std::filesystem::path& data, const std::filesystem::path& out, const char* extension,
                          bool force);

}  // namespace queltool
