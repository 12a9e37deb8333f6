#include "demo/Demonstration.h"

#include <cstring>

#include "clouds/Points.h"
#include "demo/DemoReport.h"
#include "demo/ScanDeviations.h"
#include "files/Failure.h"
#include "files/Files.h"
#include "files/TemporaryFolder.h"
#include "models/Block.h"
#include "pictures/DeviationPicture.h"
#include "pictures/FeaturePicture.h"
#include "pictures/IndexPicture.h"
#include "quel/cameras/CameraFile.h"
#include "web/DeviationReport.h"
#include "web/HeadReport.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLargestBlock = std::uintmax_t{1} << 20;

std::array<quel::Camera, 3> camerasOf(const fs::path& cameraFile, CameraNames& names) {
  const auto cameras = quel::readCameras(cameraFile);
  if (!cameras) throw Failure(cameras.error().message());
  for (std::size_t i = 0; i < 3; ++i) names[i] = cameras.value()[i].name;
  return cameras.value();
}

quel::Head headOf(const fs::path& cameraFile, const std::array<quel::Camera, 3>& cameras) {
  quel::HeadOptions options;
  options.machineId = "DEMO";
  const auto head = quel::Head::fromCameras(cameras, options);
  if (!head) throw Failure(cameraFile.string() + ": " + head.error().message());
  return head.value();
}

// A block under the name of the demonstration's stays, unless it is what an earlier demonstration made.
fs::path storeDemoBlock(const quel::Head& head, const fs::path& out, bool force) {
  const TemporaryFolder temporary;
  const fs::path made = storeBlock(head, temporary.path(), true);
  const fs::path there = out / made.filename();
  const bool isSame = fs::is_regular_file(there) && fs::file_size(there) == fs::file_size(made) &&
                      readWholeFile(there, kLargestBlock) == readWholeFile(made, kLargestBlock);
  if (fs::exists(there) && !isSame && !force) {
    throw Failure(there.string() +
                  ": this block is there already and stays; give another --out, or --force to replace it");
  }
  return storeBlock(head, out, true);
}

// Whether the block takes an image of its own identity, and refuses one of another block.
void tryIdentity(const QmReconsTensor& block, Demonstration& found) {
  tag_qmImageID image{};
  std::memcpy(image.machineId, block.machineId, sizeof(image.machineId));
  image.blockNumber = block.blockNumber;
  image.calibrationTimeStamp = block.calibrationTimeStamp;
  found.compatible = block.IsCompatibleToImage(image);
  image.blockNumber += 1;
  found.otherRefused = !block.IsCompatibleToImage(image);
  if (!found.compatible || !found.otherRefused) throw Failure("the block does not know its own images");
}

void drawAll(const fs::path& folder, const QmReconsTensor& block, const Demonstration& found, const char* extension) {
  drawBoard(folder / (std::string("board-views") + extension), block, found.corners, found.board, found.names);
  drawPlane(folder / (std::string("board-plane") + extension), found.plane,
            "The board's plane through its corners in space");
  drawField(folder / (std::string("distortion-field") + extension), block, found.names);
  drawScan(folder / (std::string("scan-views") + extension), block, found.scan, found.names);
  drawDeviations(folder / (std::string("scan-deviations") + extension), found.deviations, DeviationPalette::Diverging);
  drawIndex(folder / (std::string("scan-index") + extension),
            {{&found.bySpace, "By space", 0, 0},
             {&found.byImage, "By cells of the image of camera 0", block.imageWidth, block.imageHeight}});
}

}  // namespace

Demonstration demonstrate(const fs::path& data, const fs::path& out, const char* extension, bool force) {
  const fs::path boardFile = data / "board-three-views.json";
  makeFolder(out);
  Demonstration found{};
  const std::array<quel::Camera, 3> cameras = camerasOf(boardFile, found.names);
  found.block = storeDemoBlock(headOf(boardFile, cameras), out, force);
  const auto block = loadBlock(found.block);
  found.health = checkHealth(*block);
  tryIdentity(*block, found);
  found.corners = readCorners(boardFile);
  found.board = runBoard(*block, found.corners);
  found.plane = fitPlane(found.board.points);
  found.fits = runFits(*block, found.corners);
  const fs::path scanFile = data / "scan-20k.ply";
  const std::vector<Vec3> scan = readPoints({scanFile.string()});
  found.scan = runScan(*block, scan);
  found.bySpace = indexBySpace(found.scan.points);
  found.byImage = indexByImage(*block, found.scan.points, 0, PROJECT_FAST);
  found.deviations = runDeviations(scan, scanFile, out / "scan-nominal.ply");
  found.drift = runDrift(cameras, *block, found.corners, out / "drift-table.xml");

  writeWholeFile(out / "corners.csv", cornersCsv(found));
  writeWholeFile(out / "modes.csv", modesCsv(found));
  drawAll(out, *block, found, extension);
  found.pages = {out / "scan-deviations.html", out / "head.html"};
  writeDeviationReport(found.pages[0], found.deviations, found.block, notesOnNominal());
  writeHeadReport(found.pages[1], found.block);
  return found;
}

}  // namespace queltool
