// The deviations of a cloud as text, JSON, tables and pictures.
#include <fmt/core.h>

#include <array>
#include <cmath>

#include "clouds/NumberTable.h"
#include "commands/DeviationRun.h"
#include "files/Failure.h"
#include "models/DeviationTexts.h"
#include "pictures/ColouredPly.h"
#include "pictures/FeaturePicture.h"

namespace queltool {

namespace {

// A figure under its name in tables and JSON.
struct Figure {
  const char* name;
  double value;
};

std::vector<Figure> lengthsOf(const DeviationFigures& figures) {
  return {{"mean_mm", figures.mean},
          {"rms_mm", figures.rms},
          {"standard_deviation_mm", figures.standardDeviation},
          {"smallest_mm", figures.smallest},
          {"largest_mm", figures.largest},
          {"quantile_95_mm", figures.quantile95},
          {"quantile_99_mm", figures.quantile99}};
}

std::vector<std::pair<const char*, std::size_t>> countsOf(const DeviationRun& run) {
  return {{"points", run.off.each.size()},       {"left_out", run.off.notFinite}, {"at_border", run.off.atBorder},
          {"without_side", run.off.withoutSide}, {"judged", run.figures.count},   {"below", run.figures.below},
          {"within", run.figures.within},        {"above", run.figures.above}};
}

std::string spreadText(double deviation) {
  return std::isnan(deviation) ? "of one point alone there is none" : fmt::format("{:.6g} mm", deviation);
}

void printCounts(const DeviationArguments& arguments, const DeviationRun& run) {
  const Deviations& off = run.off;
  fmt::print("{}: {} points{}\n", arguments.cloud.name, off.each.size(),
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

// The points that have a deviation, in the plane through them, whose view shows most of them.
PlaneFeature viewOf(const DeviationRun& run) {
  std::vector<Vec3> points;
  std::vector<double> each;
  for (std::size_t i = 0; i < run.off.points.size(); ++i) {
    if (std::isnan(run.off.each[i])) continue;
    points.push_back(run.off.points[i]);
    each.push_back(run.off.each[i]);
  }
  PlaneFeature view;
  try {
    view = fitPlane(points);
  } catch (const Failure&) {  // Points on a line, which any view shows from the side.
    view = againstPlane(points, {0.0, 0.0, 1.0}, 0.0);
  }
  view.residuals.each = std::move(each);
  return view;
}

}  // namespace

void printDeviations(const DeviationArguments& arguments, const DeviationRun& run) {
  const DeviationFigures& figures = run.figures;
  printCounts(arguments, run);
  if (!run.plane) fmt::print("  against {}: {}\n", arguments.reference, run.nominal);
  fmt::print("  from {:+.6g} to {:+.6g} mm, {:.6g} mm RMS\n", figures.smallest, figures.largest, figures.rms);
  fmt::print("  mean {:+.6g} mm, standard deviation {}\n", figures.mean, spreadText(figures.standardDeviation));
  fmt::print("  95 % are off by at most {:.6g} mm, 99 % by at most {:.6g} mm\n", figures.quantile95,
             figures.quantile99);
  const auto captions = captionsOf(arguments.tolerance());
  const std::size_t counts[] = {figures.below, figures.within, figures.above};
  for (std::size_t i = 0; i < 3; ++i) {
    fmt::print("  {:<28} {}\n", captions[i], shareText(counts[i], figures.count));
  }
  printBands(figures);
  for (const OutputFile* file : {&arguments.out, &arguments.picture, &arguments.figures}) {
    if (file->isGiven()) fmt::print("  {}: written\n", file->name);
  }
}

Json jsonOf(const DeviationArguments& arguments, const DeviationRun& run) {
  Json json = {{"cloud", arguments.cloud.name}, {"against", run.nominal}};
  for (const auto& [name, count] : countsOf(run)) json.set(name, count);
  if (run.plane) {
    json.set("normal", run.plane->normal.v);
    json.set("point_of_plane_mm", run.plane->center.v);
  } else {
    json.set("reference", arguments.reference);
    json.set("remarks", run.remarks);
  }
  json.set("tolerance_mm", arguments.limits);
  for (const Figure& figure : lengthsOf(run.figures)) json.set(figure.name, figure.value);
  json.set("share_within", run.figures.shareWithin());
  json.set("bands", run.figures.bands);
  return json;
}

std::string csvOf(const DeviationRun& run) {
  std::string csv = "name,value,unit\n";
  for (const auto& [name, count] : countsOf(run)) csv += fmt::format("{},{},points\n", name, count);
  for (const Figure& figure : lengthsOf(run.figures)) {
    const std::string name = figure.name;
    csv += fmt::format("{},{},mm\n", name.substr(0, name.size() - 3),
                       std::isnan(figure.value) ? "" : fmt::format("{}", figure.value));
  }
  csv += fmt::format("share_within,{},1\n", run.figures.shareWithin());
  for (std::size_t i = 0; i < run.figures.bands.size(); ++i) {
    csv += fmt::format("band_{},{},points\n", i, run.figures.bands[i]);
  }
  return csv;
}

void writePoints(const OutputFile& file, const DeviationRun& run, const DeviationArguments& arguments) {
  if (file.format == Format::Csv) return writeCsv(file, run, arguments.tolerance());
  writePly(file, run, DeviationColours(arguments.tolerance(), arguments.palette));
}

void drawDeviations(const OutputFile& file, const DeviationRun& run, const DeviationArguments& arguments) {
  const auto captions = captionsOf(arguments.tolerance());
  const DeviationColours colourOf(arguments.tolerance(), arguments.palette);
  const PlaneFeature view = run.plane ? *run.plane : viewOf(run);
  const PointColours colours = {
      fmt::format("{}: {}     {}: {}     {}: {}", captions[0], run.figures.below, captions[1], run.figures.within,
                  captions[2], run.figures.above),
      [&](double deviation) { return colourOf(deviation); },
      [&](Picture& picture, const Box& box) { colourOf.drawLegend(picture, box, view.residuals.each); }};
  drawPlane(file, view, "Deviations of " + arguments.cloud.name, colours);
}

}  // namespace queltool
