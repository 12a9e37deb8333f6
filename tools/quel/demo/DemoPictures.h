// The pictures of the demonstration, as PNG or SVG by the name of `file`. All throw `Failure` when one cannot be
// written.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "demo/BoardData.h"
#include "demo/BoardRun.h"
#include "demo/ScanRun.h"

namespace queltool {

using CameraNames = std::array<std::string, 3>;

/// The three views of the board: measured corners, projected corners, and what is between them, enlarged.
void drawBoard(const std::filesystem::path& file, const QmReconsTensor& head, const std::vector<Corner>& corners,
               const BoardRun& run, const CameraNames& names);

/// How far and where the lens of each camera moves pixels.
void drawField(const std::filesystem::path& file, const QmReconsTensor& head, const CameraNames& names);

/// The scan as the three cameras would see it, coloured by depth.
void drawScan(const std::filesystem::path& file, const QmReconsTensor& head, const ScanRun& run,
              const CameraNames& names);

}  // namespace queltool
