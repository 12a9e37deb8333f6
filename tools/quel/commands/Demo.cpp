// `quel demo`: a real head from file to figures. Three real cameras become a block; real corners and a real scan go
// through it.
#include <fmt/core.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

#include "commands/Commands.h"
#include "demo/DataFolder.h"
#include "demo/DemoPictures.h"
#include "demo/Drift.h"
#include "demo/FitRun.h"
#include "files/Failure.h"
#include "files/Files.h"
#include "files/Json.h"
#include "files/Points.h"
#include "headmaker/CameraFile.h"
#include "models/Block.h"
#include "models/FeatureRun.h"
#include "models/Health.h"
#include "pictures/FeaturePicture.h"
#include "pictures/IndexPicture.h"

namespace queltool {

namespace {

namespace fs = std::filesystem;

struct Arguments {
  std::string out = "quel-demo";
  std::string json;
  std::string data;
  bool svg = false;
};

// Everything that the demonstration found.
struct Found {
  CameraNames names;
  fs::path block;
  std::vector<Check> health;
  bool compatible;
  bool otherRefused;
  std::vector<Corner> corners;
  BoardRun board;
  PlaneFeature plane;  // Of the board, through its corners in space.
  FitRun fits;
  ScanRun scan;
  IndexedCloud bySpace;
  IndexedCloud byImage;
  DriftRun drift;
};

constexpr const char* kModeNames[kModes] = {"0 no distortion", "1 exact", "2 fast", "3 exact, or no depth",
                                            "4 fast, no depth"};

std::array<headmaker::Camera, 3> camerasOf(const fs::path& cameraFile, CameraNames& names) {
  const auto cameras = headmaker::readCameras(cameraFile);
  if (!cameras) throw Failure(cameras.error());
  for (std::size_t i = 0; i < 3; ++i) names[i] = cameras.value()[i].name;
  return cameras.value();
}

headmaker::Head headOf(const fs::path& cameraFile, const std::array<headmaker::Camera, 3>& cameras) {
  headmaker::HeadOptions options;
  options.machineId = "DEMO";
  Result<headmaker::Head> head = headmaker::makeHead(cameras, options);
  if (!head) throw Failure(cameraFile.string() + ": " + head.error());
  return std::move(head.value());
}

// Whether the block takes an image of its own identity, and refuses one of another block.
void tryIdentity(const QmReconsTensor& block, Found& found) {
  tag_qmImageID image{};
  std::memcpy(image.machineId, block.machineId, sizeof(image.machineId));
  image.blockNumber = block.blockNumber;
  image.calibrationTimeStamp = block.calibrationTimeStamp;
  found.compatible = block.IsCompatibleToImage(image);
  image.blockNumber += 1;
  found.otherRefused = !block.IsCompatibleToImage(image);
  if (!found.compatible || !found.otherRefused) throw Failure("the block does not know its own images");
}

std::string cornersCsv(const Found& found) {
  std::string csv = "corner,check,board_x_mm,board_y_mm,board_z_mm,point_x_mm,point_y_mm,point_z_mm";
  for (int i = 0; i < 3; ++i)
    csv += fmt::format(",measured_x{0}_px,measured_y{0}_px,residual_x{0}_px,residual_y{0}_px", i);
  csv += '\n';
  const auto out = std::back_inserter(csv);
  for (std::size_t n = 0; n < found.corners.size(); ++n) {
    const Corner& corner = found.corners[n];
    fmt::format_to(out, "{},{},{:.4f},{:.4f},{:.4f},{:.4f},{:.4f},{:.4f}", n, corner.check ? 1 : 0, corner.board[0],
                   corner.board[1], corner.board[2], found.board.points[n][0], found.board.points[n][1],
                   found.board.points[n][2]);
    for (std::size_t i = 0; i < 3; ++i) {
      const Vec2& measured = corner.pixels[i];
      const Vec2& projected = found.board.projected[n][i];
      fmt::format_to(out, ",{:.4f},{:.4f},{:.4f},{:.4f}", measured[0], measured[1], measured[0] - projected[0],
                     measured[1] - projected[1]);
    }
    csv += '\n';
  }
  return csv;
}

std::string modesCsv(const Found& found) {
  std::string csv = "mode,all_0_px,all_1_px,all_2_px,check_0_px,check_1_px,check_2_px\n";
  for (std::size_t mode = 0; mode < kModes; ++mode) {
    const ModeResult& r = found.board.modes[mode];
    csv += fmt::format("{},{:.5f},{:.5f},{:.5f},{:.5f},{:.5f},{:.5f}\n", mode, r.allRms[0], r.allRms[1], r.allRms[2],
                       r.checkRms[0], r.checkRms[1], r.checkRms[2]);
  }
  return csv;
}

Json boardJson(const Found& found) {
  const BoardRun& run = found.board;
  const auto checks =
      std::count_if(found.corners.begin(), found.corners.end(), [](const Corner& c) { return c.check; });
  Json modes = Json::list({});
  for (std::size_t mode = 0; mode < kModes; ++mode) {
    modes.add({{"mode", mode}, {"check_rms_px", run.modes[mode].checkRms}, {"all_rms_px", run.modes[mode].allRms}});
  }
  return {{"corners", found.corners.size()},
          {"check_corners", checks},
          {"check_rms_px", run.modes[PROJECT_EXACT].checkRms},
          {"all_rms_px", run.modes[PROJECT_EXACT].allRms},
          {"check_rms_mm", run.checkRmsMm},
          {"check_max_mm", run.checkMaxMm},
          {"all_rms_mm", run.allRmsMm},
          {"check_flatness_mm", run.checkFlatnessMm},
          {"modes", modes}};
}

Json planeJson(const PlaneFeature& plane) {
  const Residuals& off = plane.residuals;
  return {{"center_mm", plane.center.v}, {"normal", plane.normal.v},  {"rms_mm", off.rms},
          {"smallest_mm", off.smallest}, {"largest_mm", off.largest}, {"outline_corners", plane.outline.size()}};
}

Json fitsJson(const FitRun& fits) {
  Json choices = Json::list({});
  for (const FitCameras& c : kFitChoices) choices.add(Json::list({c.reference, c.firstTarget, c.secondTarget}));
  Json json = {{"choices", choices}};
  for (std::size_t method = 0; method < kFitMethods.size(); ++method) {
    json.set(fmt::format("{}_check_rms_mm", nameOf(kFitMethods[method])), fits.checkRmsMm[method]);
  }
  return json;
}

Json indexJson(const IndexedCloud& cloud) {
  return {{"points", cloud.points.size()},
          {"bins", cloud.bins.size()},
          {"smallest_bin", cloud.smallestBin()},
          {"largest_bin", cloud.largestBin()},
          {"milliseconds", cloud.seconds * 1e3}};
}

std::string figuresJson(const Found& found) {
  const ScanRun& scan = found.scan;
  const Json block = {{"file", found.block.string()},
                      {"takes_its_image", found.compatible},
                      {"refuses_another", found.otherRefused},
                      {"health", nameOf(worstOf(found.health))}};
  const Json speeds = {{"points", scan.points.size()},
                       {"in_image", scan.inImage},
                       {"threads", scan.threads},
                       {"points_per_second", scan.pointsPerSecond()},
                       {"points_per_second_all_threads", scan.pointsPerSecondAllThreads},
                       {"points_per_second_one_thread", scan.pointsPerSecondOneThread}};
  const Json drift = {
      {"degrees", found.drift.degrees}, {"before_px", found.drift.before}, {"after_px", found.drift.after}};
  const Json index = {{"by_space", indexJson(found.bySpace)}, {"by_image", indexJson(found.byImage)}};
  const Json json = {{"block", block},
                     {"board", boardJson(found)},
                     {"plane", planeJson(found.plane)},
                     {"fits", fitsJson(found.fits)},
                     {"scan", speeds},
                     {"index", index},
                     {"drift", drift}};
  return json.text() + "\n";
}

void drawAll(const fs::path& folder, const QmReconsTensor& block, const Found& found, const char* extension) {
  drawBoard(folder / (std::string("board-views") + extension), block, found.corners, found.board, found.names);
  drawPlane(folder / (std::string("board-plane") + extension), found.plane,
            "The board's plane through its corners in space");
  drawField(folder / (std::string("distortion-field") + extension), block, found.names);
  drawScan(folder / (std::string("scan-views") + extension), block, found.scan, found.names);
  drawIndex(folder / (std::string("scan-index") + extension),
            {{&found.bySpace, "By space", 0, 0},
             {&found.byImage, "By cells of the image of camera 0", block.imageWidth, block.imageHeight}});
}

void printPlane(const PlaneFeature& plane) {
  const Residuals& off = plane.residuals;
  fmt::print("The board's plane through all its corners in space\n");
  fmt::print("  {:<22}{:>10.5f}{:>10.5f}{:>10.5f}\n", "normal", plane.normal[0], plane.normal[1], plane.normal[2]);
  fmt::print("  {:<22}{:>10.3f} mm RMS   {:+.3f} to {:+.3f} mm\n\n", "corners off it", off.rms, off.smallest,
             off.largest);
}

void printFits(const FitRun& fits) {
  fmt::print("Board in space, from each fit of a correspondence, check corners, mm RMS\n");
  fmt::print("  {:<22}{:>10}{:>10}{:>10}\n", "reference, targets", "linear", "planar", "singular");
  for (std::size_t choice = 0; choice < kFitChoices.size(); ++choice) {
    const FitCameras& c = kFitChoices[choice];
    fmt::print("  {:<22}", fmt::format("{}, {} {}", c.reference, c.firstTarget, c.secondTarget));
    for (const auto& rms : fits.checkRmsMm) fmt::print("{:>10.3f}", rms[choice]);
    fmt::print("\n");
  }
  fmt::print("  (the singular fit sees the reference and the first target alone)\n\n");
}

void printIndex(const char* by, const IndexedCloud& cloud) {
  fmt::print("  {:<22}{:>10} bins of {} to {} points, {} points in {:.2f} ms\n", by, cloud.bins.size(),
             cloud.smallestBin(), cloud.largestBin(), cloud.points.size(), cloud.seconds * 1e3);
}

void printDrift(const DriftRun& drift) {
  fmt::print("\nHead that drifts by known rates, {:g} degrees warmer, RMS in px\n", drift.degrees);
  fmt::print("  {:<22}{:>10}{:>10}{:>10}\n", "", "view 0", "view 1", "view 2");
  fmt::print("  {:<22}{:>10.3f}{:>10.3f}{:>10.3f}\n", "as calibrated", drift.before[0], drift.before[1],
             drift.before[2]);
  fmt::print("  {:<22}{:>10.1e}{:>10.1e}{:>10.1e}\n", "compensated", drift.after[0], drift.after[1], drift.after[2]);
}

void printReport(const Found& found) {
  const BoardRun& board = found.board;
  const ScanRun& scan = found.scan;
  fmt::print("Block       {}   health: {}\n", found.block.string(), nameOf(worstOf(found.health)));
  fmt::print("Identity    takes its own image, refuses that of another block\n\n");
  fmt::print("Board corners, projected against measured, RMS in px\n");
  fmt::print("  {:<22}{:>30}{:>30}\n", "", "check corners", "all corners");
  fmt::print("  {:<22}{:>10}{:>10}{:>10}{:>10}{:>10}{:>10}\n", "distortion mode", "view 0", "view 1", "view 2",
             "view 0", "view 1", "view 2");
  for (std::size_t mode = 0; mode < kModes; ++mode) {
    const ModeResult& r = board.modes[mode];
    fmt::print("  {:<22}{:>10.3f}{:>10.3f}{:>10.3f}{:>10.3f}{:>10.3f}{:>10.3f}\n", kModeNames[mode], r.checkRms[0],
               r.checkRms[1], r.checkRms[2], r.allRms[0], r.allRms[1], r.allRms[2]);
  }
  fmt::print("\nBoard in space, from three rays a corner\n");
  fmt::print("  {:<22}{:>10.3f} mm RMS   {:.3f} mm at most\n", "check corners", board.checkRmsMm, board.checkMaxMm);
  fmt::print("  {:<22}{:>10.3f} mm RMS\n", "all corners", board.allRmsMm);
  fmt::print("  {:<22}{:>10.3f} mm RMS\n\n", "flatness of check", board.checkFlatnessMm);
  printPlane(found.plane);
  printFits(found.fits);
  fmt::print("Scan of {} points, transformed and projected into three images\n", scan.points.size());
  fmt::print("  {:<22}{:>10.2f} million points/s\n", "1 thread", scan.pointsPerSecondOneThread / 1e6);
  fmt::print("  {:<22}{:>10.2f} million points/s\n", fmt::format("{} threads", scan.threads),
             scan.pointsPerSecondAllThreads / 1e6);
  fmt::print("  {:<22}{:>10} {:>8} {:>8}\n", "in the images", scan.inImage[0], scan.inImage[1], scan.inImage[2]);
  fmt::print("\nScan in bins\n");
  printIndex("by space", found.bySpace);
  printIndex("by image of camera 0", found.byImage);
  printDrift(found.drift);
}

void run(const Arguments& arguments) {
  const fs::path data = dataFolder(arguments.data);
  const fs::path boardFile = data / "board-three-views.json";
  const fs::path out = arguments.out;
  makeFolder(out);
  Found found{};
  const std::array<headmaker::Camera, 3> cameras = camerasOf(boardFile, found.names);
  found.block = storeBlock(headOf(boardFile, cameras), out, true);
  const auto block = loadBlock(found.block);
  found.health = checkHealth(*block);
  tryIdentity(*block, found);
  found.corners = readCorners(boardFile);
  found.board = runBoard(*block, found.corners);
  found.plane = fitPlane(found.board.points);
  found.fits = runFits(*block, found.corners);
  found.scan = runScan(*block, readPoints(data / "scan-20k.ply"));
  found.bySpace = indexBySpace(found.scan.points);
  found.byImage = indexByImage(*block, found.scan.points, 0, PROJECT_FAST);
  found.drift = runDrift(cameras, *block, found.corners, out / "drift-table.xml");

  writeWholeFile(out / "corners.csv", cornersCsv(found));
  writeWholeFile(out / "modes.csv", modesCsv(found));
  drawAll(out, *block, found, arguments.svg ? ".svg" : ".png");
  if (!arguments.json.empty()) writeWholeFile(arguments.json, figuresJson(found));
  printReport(found);
  fmt::print("\nPictures and tables  {}\n", out.string());
}

}  // namespace

void defineDemo(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  command.option("-o,--out", arguments->out, "Folder for the block, pictures and tables").showDefault();
  command.option("--json", arguments->json, "Also write every figure to this JSON file");
  command.option("--data", arguments->data, "Folder of board-three-views.json and scan-20k.ply");
  command.flag("--svg", arguments->svg, "Draw pictures as SVG instead of PNG");
  command.footer(
      "\nThree real cameras become a block, which is stored and loaded again. The corners of a real calibration board "
      "are\n"
      "projected in every mode and compared with the measured ones; check corners are those that no estimate has "
      "seen.\n"
      "The measured pixels become rays that meet in space, where a plane is fitted to them, and points by each of the\n"
      "closed-form fits. A real scan is projected to see how fast that is, and sorted into bins by space and by the "
      "cells\n"
      "of an image. At last the cameras drift with temperature by known rates, and the block is compensated by "
      "them.\n\n"
      "Example:\n  quel demo --out demo --json demo/figures.json");
  command.runs(arguments, run);
}

}  // namespace queltool
