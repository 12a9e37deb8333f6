// The tables of the demonstration, and its figures as JSON.
#include <fmt/core.h>

#include <algorithm>

#include "demo/DemoReport.h"

namespace queltool {

namespace {

Json boardJson(const Demonstration& found) {
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
  for (const quel::FitCameras& c : quel::kFitChoices)
    choices.add(Json::list({c.reference, c.firstTarget, c.secondTarget}));
  Json json = {{"choices", choices}};
  for (std::size_t method = 0; method < quel::kClosedFits.size(); ++method) {
    json.set(fmt::format("{}_check_rms_mm", quel::nameOf(quel::kClosedFits[method])), fits.checkRmsMm[method]);
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

}  // namespace

std::string cornersCsv(const Demonstration& found) {
  std::string csv = "corner,check,board_x_mm,board_y_mm,board_z_mm,point_x_mm,point_y_mm,point_z_mm";
  for (int i = 0; i < 3; ++i)
    csv += fmt::format(",measured_x{0}_px,measured_y{0}_px,residual_x{0}_px,residual_y{0}_px", i);
  csv += '\n';
  for (std::size_t n = 0; n < found.corners.size(); ++n) {
    const Corner& corner = found.corners[n];
    csv += fmt::format("{},{},{:.4f},{:.4f},{:.4f},{:.4f},{:.4f},{:.4f}", n, corner.check ? 1 : 0, corner.board[0],
                       corner.board[1], corner.board[2], found.board.points[n][0], found.board.points[n][1],
                       found.board.points[n][2]);
    for (std::size_t i = 0; i < 3; ++i) {
      const Vec2& measured = corner.pixels[i];
      const Vec2& projected = found.board.projected[n][i];
      csv += fmt::format(",{:.4f},{:.4f},{:.4f},{:.4f}", measured[0], measured[1], measured[0] - projected[0],
                         measured[1] - projected[1]);
    }
    csv += '\n';
  }
  return csv;
}

std::string modesCsv(const Demonstration& found) {
  std::string csv = "mode,all_0_px,all_1_px,all_2_px,check_0_px,check_1_px,check_2_px\n";
  for (std::size_t mode = 0; mode < kModes; ++mode) {
    const ModeResult& r = found.board.modes[mode];
    csv += fmt::format("{},{:.5f},{:.5f},{:.5f},{:.5f},{:.5f},{:.5f}\n", mode, r.allRms[0], r.allRms[1], r.allRms[2],
                       r.checkRms[0], r.checkRms[1], r.checkRms[2]);
  }
  return csv;
}

Json figuresOf(const Demonstration& found) {
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
  return {{"block", block},
          {"board", boardJson(found)},
          {"plane", planeJson(found.plane)},
          {"fits", fitsJson(found.fits)},
          {"scan", speeds},
          {"index", index},
          {"deviations", jsonOf(found.deviations)},
          {"drift", drift}};
}

}  // namespace queltool
