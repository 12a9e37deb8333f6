// The deviations of a cloud as text, JSON, tables and pictures.
#include <fmt/core.h>

#include <array>
#include <cmath>

#include "clouds/NumberTable.h"
#include "commands/DeviationWork.h"
#include "models/DeviationTexts.h"
#include "pictures/ColouredPly.h"

namespace queltool {

namespace {

std::string spreadText(double deviation) {
  return std::isnan(deviation) ? "of one point alone there is none" : fmt::format("{:.6g} mm", deviation);
}

void printCounts(const DeviationRun& run) {
  const Deviations& off = run.off;
  fmt::print("{}: {} points{}\n", run.cloud, off.each.size(),
             off.notFinite == 0 ? "" : fmt::format(", {} left out that are not finite", off.notFinite));
  if (off.atBorder > 0) fmt::print("  {} points nearest to an open border are not judged\n", off.atBorder);
  if (off.withoutSide > 0) fmt::print("  {} points without a side are not judged\n", off.withoutSide);
}

void printBands(const DeviationFigures& figures) {
  const ColourTable table = readColourTable();
  for (std::size_t i = 0; i < table.bands.size(); ++i) {
    fmt::print("  {:<28} {}\n", fmt::format("{} (below {} %)", table.bands[i].name, table.bands[i].bound),
               shareText(figures.bands[i], figures.count));
  }
}

void writePly(const OutputFile& file, const DeviationRun& run, const DeviationColours& colourOf) {
  ColouredPly<double> ply(run.off.points.size(), "double", "deviation");
  for (std::size_t i = 0; i < run.off.points.size(); ++i) {
    ply.add(run.off.points[i], colourOf(run.off.each[i]), run.off.each[i]);
  }
  writeOutput(file, ply.bytes());
}

void writeCsv(const OutputFile& file, const DeviationRun& run, const Tolerance& tolerance) {
  TableWriter table(file, {"x", "y", "z", "deviation", "band"}, run.off.points.size());
  for (std::size_t i = 0; i < run.off.points.size(); ++i) {
    const Vec3& p = run.off.points[i];
    const double d = run.off.each[i];
    const double band =
        std::isnan(d)
            ? d
            : static_cast<double>(gradeDeviation(tolerance.lower, tolerance.upper, d, tolerance.oneSided).level);
    table.add(std::array{p[0], p[1], p[2], d, band});
  }
  table.finish();
}

void printAlignment(const DeviationArguments& arguments, const Alignment& alignment) {
  fmt::print(
      "  aligned by {:.6g} degrees and {:.6g} mm in {} rounds{}\n", alignment.degrees, alignment.shift,
      alignment.rounds,
      alignment.converged ? "" : fmt::format("; NOT at rest: the last moved a point by {:.3g} mm", alignment.lastStep));
  fmt::print("  residual {:.6g} mm RMS before, {:.6g} mm after, over {} points; {} too far off\n", alignment.before.rms,
             alignment.after.rms, alignment.after.points, alignment.farOff);
  for (const FreeMotion& motion : alignment.held)
    fmt::print("  left free by the shape, and held: {}\n", nameOf(motion));
  fmt::print("  {}: written\n", arguments.align.string());
}

}  // namespace

void printDeviations(const DeviationArguments& arguments, const DeviationRun& run) {
  const DeviationFigures& figures = run.figures;
  printCounts(run);
  if (!run.plane) fmt::print("  against {}: {}\n", run.reference, run.nominal);
  if (run.alignment) printAlignment(arguments, *run.alignment);
  fmt::print("  from {:+.6g} to {:+.6g} mm, {:.6g} mm RMS\n", figures.smallest, figures.largest, figures.rms);
  fmt::print("  mean {:+.6g} mm, standard deviation {}\n", figures.mean, spreadText(figures.standardDeviation));
  fmt::print("  95 % are off by at most {:.6g} mm, 99 % by at most {:.6g} mm\n", figures.quantile95,
             figures.quantile99);
  const auto captions = captionsOf(run.tolerance);
  const std::size_t counts[] = {figures.below, figures.within, figures.above};
  for (std::size_t i = 0; i < 3; ++i) {
    fmt::print("  {:<28} {}\n", captions[i], shareText(counts[i], figures.count));
  }
  printBands(figures);
  for (const OutputFile* file : {&arguments.out, &arguments.picture, &arguments.figures}) {
    if (file->isGiven()) fmt::print("  {}: written\n", file->name);
  }
  if (!arguments.html.empty()) fmt::print("  {}: written\n", arguments.html.string());
}

void writePoints(const OutputFile& file, const DeviationRun& run, const DeviationArguments& arguments) {
  if (file.format == Format::Csv) return writeCsv(file, run, run.tolerance);
  writePly(file, run, DeviationColours(run.tolerance, arguments.palette));
}

}  // namespace queltool
