// `quel deviation`: how far the points of a cloud are off a plane, a mesh or another cloud, graded by a tolerance and
// in colour.
#include <algorithm>
#include <cmath>
#include <memory>

#include "commands/Cloud.h"
#include "commands/Commands.h"
#include "commands/DeviationWork.h"
#include "commands/Units.h"
#include "files/Progress.h"
#include "files/Transforms.h"
#include "models/Block.h"
#include "pictures/DeviationPicture.h"
#include "web/DeviationReport.h"

namespace queltool {
namespace {

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

void write(const DeviationArguments& arguments, const DeviationRun& run) {
  if (run.alignment) writeTransform(arguments.align, run.alignment->transform);
  if (arguments.out.isGiven()) {
    during("writing " + arguments.out.name, [&] { writePoints(arguments.out, run, arguments); });
  }
  if (arguments.picture.isGiven())
    during("drawing", [&] { drawDeviations(arguments.picture, run, arguments.palette); });
  if (arguments.figures.isGiven()) writeOutput(arguments.figures, csvOf(run));
  if (!arguments.html.empty())
    during("writing " + arguments.html.string(), [&] { writeDeviationReport(arguments.html, run, arguments.block); });
}

void run(const DeviationArguments& arguments) {
  if (!arguments.block.empty()) loadHead(arguments.block);  // A page that cannot be made is refused before all else.
  const DeviationRun found = compared(arguments);
  write(arguments, found);
  if (arguments.json) return printJson(jsonOf(found));
  printDeviations(arguments, found);
}

void addOutputs(Command& command, DeviationArguments& arguments) {
  command.output("-o,--out", arguments.out, "The points with their deviations, as PLY in colour or as CSV with bands",
                 {Format::Ply, Format::Csv});
  command.output("--picture", arguments.picture, "Picture of the deviations with its legend, .png or .svg",
                 {Format::Png, Format::Svg});
  command.output("--figures", arguments.figures, "The figures as a table, .csv", {Format::Csv});
  command.output("--html", arguments.html, "A page for a browser: the points in 3D, the figures and their origin",
                 ".html", Replaces::OtherFiles);
  command.input("--block", arguments.block, "Tensor file (.tns) of the head that measured, for the page to name");
  command.flag("--json", arguments.json, "Print everything as JSON");
}

void addNominal(Command& command, DeviationArguments& arguments) {
  command.option("--plane", arguments.plane, "\"fit\", or a,b,c,d of the plane a x + b y + c z + d = 0")
      .check(whyNoPlane, "fit|a,b,c,d")
      .showDefault();
  const Option reference = command.input(
      "--reference", arguments.reference,
      "Compare with the nominal of this file instead: a mesh (STL, PLY, OBJ, OFF) or a cloud (any format)");
  command
      .option("--viewpoint", arguments.viewpoint,
              "Where the outer side of a reference cloud without normals is seen from, millimetres")
      .separatedBy(',')
      .count(3, 3)
      .needs(reference);
  command.option("--unit", arguments.unit, "What lengths are in, where the files do not say; else millimetres")
      .oneOf(namesOfUnits());
  command
      .output("--align", arguments.align,
              "Align the cloud with the reference first, and write the transform that does it (.trn)", ".trn",
              Replaces::OtherFiles)
      .needs(reference);
}

void check(const DeviationArguments& arguments) {
  const std::string why = whyNoTolerance(arguments.tolerance());
  if (!why.empty()) throw WrongUsage("--tolerance", why);
  if (arguments.oneSided && arguments.palette == DeviationPalette::Diverging) {
    throw WrongUsage("--colours", "diverging tells both sides, and --one-sided grades by one");
  }
  if (!arguments.reference.empty() && arguments.plane != "fit") {
    throw WrongUsage("--plane", "says what to compare with, and so does --reference");
  }
  if (!std::all_of(arguments.viewpoint.begin(), arguments.viewpoint.end(), [](double v) { return std::isfinite(v); })) {
    throw WrongUsage("--viewpoint", "takes three numbers, millimetres");
  }
  if (!arguments.block.empty() && arguments.html.empty()) {
    throw WrongUsage("--block", "is for the page of --html");
  }
}

}  // namespace

void defineDeviation(Command& command) {
  auto arguments = std::make_shared<DeviationArguments>();
  addCloud(command, "CLOUD", arguments->cloud);
  addNominal(command, *arguments);
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
      "\nDeviations are positive on the side of the plane's normal, or outside of the reference: where the corners of "
      "a\n"
      "facet go round counter-clockwise, or where the normals of a cloud point. Points nearest to an open border of a\n"
      "mesh, and those where it tells no side, are counted apart; points that are not finite are left out. --align\n"
      "finds the rigid motion of least squares, at most 10 degrees and a tenth of the reference's size away; what the\n"
      "shape leaves free is named and held. With --transform it begins there, and writes both in one.\n\n"
      "Colours are those of \"quel colours show\": 0 % is the middle of the tolerance and 100 % either limit. With\n"
      "--colours diverging blue is below zero and red above, or below and above the middle of a tolerance without\n"
      "zero, in five bands between the limits and one beyond each.\n\n"
      "Example:\n  quel deviation scan.ply --tolerance -0.1,0.1 --picture deviations.png\n"
      "  quel deviation scan.ply --tolerance -0.1,0.1 --html deviations.html");
  command.runs([arguments] {
    check(*arguments);
    if (!arguments->unit.empty()) arguments->cloud.millimetresPerUnit = millimetresOf(arguments->unit);
    run(*arguments);
  });
}

}  // namespace queltool
