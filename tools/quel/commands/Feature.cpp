// `quel feature`: the plane or line through the points of a file, and how far the points are off.
#include <fmt/core.h>

#include <memory>

#include "clouds/NumberTable.h"
#include "clouds/Points.h"
#include "commands/Cloud.h"
#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/Json.h"
#include "files/Progress.h"
#include "models/FeatureRun.h"
#include "pictures/DeviationScale.h"
#include "pictures/FeaturePicture.h"

namespace queltool {

namespace {

struct Arguments {
  InputFile points;
  OutputFile picture;
  OutputFile table;
  bool json = false;
};

struct Cloud {
  std::vector<Vec3> points;
  std::size_t leftOut;  // Points with a coordinate that is no finite number.
};

Cloud readCloud(const InputFile& file) {
  Cloud cloud{readPoints(file), 0};
  cloud.leftOut = removeNotFinite(cloud.points);
  return cloud;
}

Json residualsJson(const Residuals& off) {
  return {{"rms_mm", off.rms},
          {"mean_mm", off.mean},
          {"smallest_mm", off.smallest},
          {"largest_mm", off.largest},
          {"std_of_size_mm", off.stdOfSize}};
}

void line(const char* name, const std::string& value) { fmt::print("  {:<22}{}\n", name, value); }

std::string three(const QmVec3& v, int digits) {
  return fmt::format("{:.{}f} {:.{}f} {:.{}f}", v[0], digits, v[1], digits, v[2], digits);
}

void printTitle(const Arguments& arguments, const Cloud& cloud, const char* what) {
  fmt::print("{}: {} through {} points\n", arguments.points.name, what, cloud.points.size());
  if (cloud.leftOut > 0) line("left out", fmt::format("{} points that are not finite", cloud.leftOut));
}

void writeDeviations(const Arguments& arguments, const std::vector<QmVec3>& points, const Residuals& off) {
  if (!arguments.table.isGiven()) return;
  const Progress progress("writing " + arguments.table.name);
  NumberTable table{{"x", "y", "z", "deviation"}, {}};
  for (std::size_t n = 0; n < points.size(); ++n) {
    const QmVec3& p = points[n];
    table.values.insert(table.values.end(), {p[0], p[1], p[2], off.each[n]});
  }
  writeTable(table, arguments.table);
}

// Fits that fail name the file that the points came from.
template <typename Fit>
auto fitted(const Arguments& arguments, const Cloud& cloud, Fit fit) {
  try {
    return during("fitting", [&] { return fit(cloud.points); });
  } catch (const Failure& failure) {
    throw Failure(arguments.points.name + ": " + failure.what());
  }
}

void printPlane(const PlaneFeature& plane) {
  const Residuals& off = plane.residuals;
  const DeviationScale scale(off.each);
  const DistCOPCADparms& analysis = scale.analysis();
  line("centre", three(plane.center, 4) + " mm");
  line("normal", three(plane.normal, 9));
  line("deviation, RMS", fmt::format("{:.6g} mm", off.rms));
  line("std. dev. of its size", fmt::format("{:.6g} mm", off.stdOfSize));
  line("from, to", fmt::format("{:+.6g} to {:+.6g} mm", off.smallest, off.largest));
  line("above", fmt::format("{} points, mean {:+.6g} mm, std. dev. {:.6g} mm", analysis.posCount, analysis.posStats[3],
                            analysis.pos_std()));
  line("below", fmt::format("{} points, mean {:+.6g} mm, std. dev. {:.6g} mm", analysis.negCount, analysis.negStats[3],
                            analysis.neg_std()));
  line("outline", fmt::format("{} corners", plane.outline.size()));
}

void runPlane(const Arguments& arguments) {
  const Cloud cloud = readCloud(arguments.points);
  const PlaneFeature plane = fitted(arguments, cloud, fitPlane);
  writeDeviations(arguments, plane.points, plane.residuals);
  if (arguments.picture.isGiven()) {
    during("drawing", [&] { drawPlane(arguments.picture, plane, "Plane through " + arguments.points.name); });
  }
  if (arguments.json) {
    Json outline = Json::list({});
    for (const QmVec3& corner : plane.outline) outline.add(corner.v);
    const Json json = {{"feature", "plane"},        {"points", cloud.points.size()},
                       {"left_out", cloud.leftOut}, {"center_mm", plane.center.v},
                       {"normal", plane.normal.v},  {"deviation", residualsJson(plane.residuals)},
                       {"outline_mm", outline}};
    printJson(json);
    return;
  }
  printTitle(arguments, cloud, "plane");
  printPlane(plane);
  if (arguments.picture.isGiven()) line("picture", arguments.picture.name);
}

void runLine(const Arguments& arguments) {
  const Cloud cloud = readCloud(arguments.points);
  const LineFeature feature = fitted(arguments, cloud, fitLine);
  const Residuals& off = feature.residuals;
  writeDeviations(arguments, feature.points, off);
  if (arguments.picture.isGiven()) {
    during("drawing", [&] { drawLine(arguments.picture, feature, "Line through " + arguments.points.name); });
  }
  if (arguments.json) {
    const Json json = {{"feature", "line"},
                       {"points", cloud.points.size()},
                       {"left_out", cloud.leftOut},
                       {"point_mm", feature.point.v},
                       {"direction", feature.direction.v},
                       {"ends_mm", Json::list({feature.ends[0].v, feature.ends[1].v})},
                       {"length_mm", feature.length},
                       {"deviation", residualsJson(off)}};
    printJson(json);
    return;
  }
  printTitle(arguments, cloud, "line");
  line("point", three(feature.point, 4) + " mm");
  line("direction", three(feature.direction, 9));
  line("from", three(feature.ends[0], 4) + " mm");
  line("to", three(feature.ends[1], 4) + " mm");
  line("length", fmt::format("{:.4f} mm", feature.length));
  line("distance, RMS", fmt::format("{:.6g} mm", off.rms));
  line("its mean, std. dev.", fmt::format("{:.6g}, {:.6g} mm", off.mean, off.stdOfSize));
  line("at most", fmt::format("{:.6g} mm", off.largest));
  if (arguments.picture.isGiven()) line("picture", arguments.picture.name);
}

void addKind(Command& parent, const char* name, const char* what, const char* deviation,
             void (*run)(const Arguments&)) {
  auto arguments = std::make_shared<Arguments>();
  Command command = parent.command(name, what);
  addCloud(command, "CLOUD", arguments->points);
  command.output("-o,--out", arguments->picture, "Picture of the deviations in colour, .png or .svg",
                 {Format::Png, Format::Svg});
  command.output("--table", arguments->table, std::string("Each point with its ") + deviation + ", .csv or .ply",
                 {Format::Csv, Format::Ply});
  command.flag("--json", arguments->json, "Print everything as JSON");
  command.showsProgress();
  command.footer(fmt::format("\nExample:\n  quel feature {} scan.ply -o {}.png", name, name));
  command.runs(arguments, run);
}

}  // namespace

void defineFeature(Command& command) {
  addKind(command, "plane", "The plane of least squares, its outline and the deviations on both sides", "deviation",
          runPlane);
  addKind(command, "line", "The line of least squares, its ends and the distances from it", "distance", runLine);
  command.footer(
      "\nFits minimise the sum of squared distances from the feature. Of the two signs of a normal or direction the "
      "one is\n"
      "taken whose largest component is positive. Points that are not finite are left out.\n\n"
      "Example:\n  quel feature plane scan.ply -o deviations.png --table deviations.csv");
}

}  // namespace queltool
