// `quel deviation`: how far the points of a cloud are off a plane, a mesh or another cloud, graded by a tolerance and
// in colour.
#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <optional>

#include "clouds/Points.h"
#include "commands/Cloud.h"
#include "commands/Commands.h"
#include "commands/DeviationRun.h"
#include "files/Failure.h"
#include "files/Progress.h"
#include "files/Texts.h"

namespace queltool {
namespace {

struct Points {
  std::vector<Vec3> finite;
  std::size_t leftOut;
};

Points readFinite(const InputFile& file) {
  Points points{readPoints(file), 0};
  points.leftOut = removeNotFinite(points.finite);
  if (points.finite.empty()) throw Failure(file.name + ": there are no points");
  return points;
}

// The numbers of a plane a x + b y + c z + d = 0, separated by commas.
std::optional<std::array<double, 4>> planeNumbers(const std::string& text) {
  const std::vector<std::string> parts = partsOf(text, ',');
  std::array<double, 4> numbers{};
  if (parts.size() != numbers.size()) return std::nullopt;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (!whyOtherNumberForm(parts[i]).empty()) return std::nullopt;
    numbers[i] = numberOf(parts[i]).value_or(NAN);
    if (!std::isfinite(numbers[i])) return std::nullopt;
  }
  return numbers;
}

// The plane of the points, or the one that is given.
PlaneFeature planeOf(const DeviationArguments& arguments, const std::vector<Vec3>& points) try {
  if (arguments.plane == "fit") return fitPlane(points);
  const std::array<double, 4> n = planeNumbers(arguments.plane).value();
  const double largest = std::max({std::abs(n[0]), std::abs(n[1]), std::abs(n[2])});  // Any multiple is the same plane.
  return againstPlane(points, {n[0] / largest, n[1] / largest, n[2] / largest}, n[3] / largest);
} catch (const Failure& failure) {
  throw Failure(arguments.cloud.name + ": " + failure.what());
}

std::string whyNoPlane(const std::string& text) {
  if (text == "fit") return {};
  const auto n = planeNumbers(text);
  if (!n) return "must be \"fit\" or four numbers a,b,c,d of a x + b y + c z + d = 0";
  return (*n)[0] == 0.0 && (*n)[1] == 0.0 && (*n)[2] == 0.0 ? "has no normal: a, b and c are 0" : "";
}

std::string whyNoTolerance(const Tolerance& tolerance) {
  if (!std::isfinite(tolerance.upper - tolerance.lower)) return "the limits must be numbers";
  if (!(tolerance.lower < tolerance.upper)) return "the lower limit must lie below the upper one";
  return tolerance.oneSided && tolerance.upper == 0.0 ? "an upper limit of 0 has no share; leave --one-sided out" : "";
}

DeviationRun comparedWithPlane(const DeviationArguments& arguments, Points points) {
  DeviationRun run;
  run.plane = during("fitting", [&] { return planeOf(arguments, points.finite); });
  run.off = {std::move(points.finite), run.plane->residuals.each, points.leftOut};
  run.nominal = arguments.plane == "fit" ? "the plane through the points" : "a plane";
  return run;
}

void write(const DeviationArguments& arguments, const DeviationRun& run) {
  if (arguments.out.isGiven()) {
    during("writing " + arguments.out.name, [&] { writePoints(arguments.out, run, arguments); });
  }
  if (arguments.picture.isGiven()) during("drawing", [&] { drawDeviations(arguments.picture, run, arguments); });
  if (arguments.figures.isGiven()) writeOutput(arguments.figures, csvOf(run));
}

void run(const DeviationArguments& arguments) {
  DeviationRun found = comparedWithPlane(arguments, readFinite(arguments.cloud));
  found.figures = during("grading", [&] { return figuresOf(found.off.each, arguments.tolerance()); });
  write(arguments, found);
  if (arguments.json) return printJson(jsonOf(arguments, found));
  printDeviations(arguments, found);
}

void addOutputs(Command& command, DeviationArguments& arguments) {
  command.output("-o,--out", arguments.out, "The points with their deviations, as PLY in colour or as CSV with bands",
                 {Format::Ply, Format::Csv});
  command.output("--picture", arguments.picture, "Picture of the deviations with its legend, .png or .svg",
                 {Format::Png, Format::Svg});
  command.output("--figures", arguments.figures, "The figures as a table, .csv", {Format::Csv});
  command.flag("--json", arguments.json, "Print everything as JSON");
}

}  // namespace

void defineDeviation(Command& command) {
  auto arguments = std::make_shared<DeviationArguments>();
  addCloud(command, "CLOUD", arguments->cloud);
  command.option("--plane", arguments->plane, "\"fit\", or a,b,c,d of the plane a x + b y + c z + d = 0")
      .check(whyNoPlane, "fit|a,b,c,d")
      .showDefault();
  command.option("--tolerance", arguments->limits, "Lower and upper limit of the deviation, millimetres")
      .required()
      .separatedBy(',')
      .count(2, 2);
  command.flag("--one-sided", arguments->oneSided, "Grade by the share of the upper limit alone");
  command.choice("--colours", arguments->palette, "table",
                 "Of the points: those of the table, or diverging, by side and size: blue below, red above",
                 {{"table", DeviationPalette::Table}, {"diverging", DeviationPalette::Diverging}});
  addOutputs(command, *arguments);
  command.showsProgress();
  command.footer(
      "\nColours are those of \"quel colours show\": 0 % is the middle of the tolerance and 100 % either limit. "
      "Deviations\n"
      "are positive on the side of the normal. With --colours diverging blue is\n"
      "below zero and red above, or below and above the middle of a tolerance without\n"
      "zero, in five bands between the limits and one beyond each. Points that are not finite are left out.\n\n"
      "Example:\n  quel deviation scan.ply --tolerance -0.1,0.1 --picture deviations.png");
  command.runs([arguments] {
    const std::string why = whyNoTolerance(arguments->tolerance());
    if (!why.empty()) throw WrongUsage("--tolerance", why);
    if (arguments->oneSided && arguments->palette == DeviationPalette::Diverging) {
      throw WrongUsage("--colours", "diverging tells both sides, and --one-sided grades by one");
    }
    run(*arguments);
  });
}

}  // namespace queltool
