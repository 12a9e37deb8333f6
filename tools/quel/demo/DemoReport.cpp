#include "demo/DemoReport.h"

#include <fmt/core.h>

namespace queltool {

namespace {

constexpr const char* kModeNames[kModes] = {"0 no distortion", "1 exact", "2 fast", "3 exact, or no depth",
                                            "4 fast, no depth"};

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
  for (std::size_t choice = 0; choice < quel::kFitChoices.size(); ++choice) {
    const quel::FitCameras& c = quel::kFitChoices[choice];
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

void printDeviations(const DeviationRun& run) {
  const DeviationFigures& f = run.figures;
  fmt::print("\nScan against a mesh of a smoothed, thinned copy of it ({})\n", run.nominal);
  fmt::print("  {:<22}{:>10.3f} mm RMS   95 % are off by at most {:.3f} mm\n", "deviations", f.rms, f.quantile95);
  fmt::print("  {:<22}{:>10} of {} points\n", "within +-1 mm", f.within, f.count);
  fmt::print("  {:<22}{:>10} nearest to its border, {} where it has no side\n", "not judged", run.off.atBorder,
             run.off.withoutSide);
}

void printDrift(const DriftRun& drift) {
  fmt::print("\nHead that drifts by known rates, {:g} degrees warmer, RMS in px\n", drift.degrees);
  fmt::print("  {:<22}{:>10}{:>10}{:>10}\n", "", "view 0", "view 1", "view 2");
  fmt::print("  {:<22}{:>10.3f}{:>10.3f}{:>10.3f}\n", "as calibrated", drift.before[0], drift.before[1],
             drift.before[2]);
  fmt::print("  {:<22}{:>10.1e}{:>10.1e}{:>10.1e}\n", "compensated", drift.after[0], drift.after[1], drift.after[2]);
}

}  // namespace

void printReport(const Demonstration& found) {
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
  printDeviations(found.deviations);
  printDrift(found.drift);
}

}  // namespace queltool
