// `quel deviation`: how far the points of a cloud are off a plane, graded by a tolerance and in colour.
#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <optional>

#include "clouds/Points.h"
#include "commands/Cloud.h"
#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/Json.h"
#include "files/Progress.h"
#include "files/Texts.h"
#include "models/ColourTable.h"
#include "models/FeatureRun.h"
#include "models/SignedBands.h"
#include "models/SiteUnit.h"
#include "pictures/BandLegend.h"
#include "pictures/ColourLegend.h"
#include "pictures/ColouredPly.h"
#include "pictures/FeaturePicture.h"

namespace queltool {
namespace {

// Which colours the points get: those of the table, or by side and size.
enum class Colours { Table, Diverging };

struct Arguments {
  InputFile cloud;
  std::string plane = "fit";
  std::vector<double> tolerance;
  bool oneSided = false;
  Colours colours = Colours::Table;
  OutputFile out;
  OutputFile picture;
  bool json = false;
};

// Points by what the limits say of them, and by the bands of the table.
struct Grades {
  std::size_t below = 0;
  std::size_t within = 0;
  std::size_t above = 0;
  std::vector<std::size_t> bands;
};

std::vector<Vec3> readFinite(const InputFile& file, std::size_t& leftOut) {
  std::vector<Vec3> points = readPoints(file);
  leftOut = removeNotFinite(points);
  if (points.empty()) throw Failure(file.name + ": there are no points");
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
PlaneFeature planeOf(const Arguments& arguments, const std::vector<Vec3>& points) try {
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

std::string whyNoTolerance(const Arguments& arguments) {
  const double lower = arguments.tolerance[0];
  const double upper = arguments.tolerance[1];
  if (!std::isfinite(upper - lower)) return "the limits must be numbers";
  if (!(lower < upper)) return "the lower limit must lie below the upper one";
  return arguments.oneSided && upper == 0.0 ? "an upper limit of 0 has no share; leave --one-sided out" : "";
}

Grades gradesOf(const Arguments& arguments, const std::vector<double>& deviations) {
  const double lower = arguments.tolerance[0];
  const double upper = arguments.tolerance[1];
  Grades grades;
  grades.bands.resize(readColourTable().bands.size());
  for (const double d : deviations) {
    ++(d < lower ? grades.below : d > upper ? grades.above : grades.within);
    ++grades.bands[gradeDeviation(lower, upper, d, arguments.oneSided).level];
  }
  return grades;
}

// With the digits that somebody types, for it is a limit by which points are counted.
std::string lengthText(double millimetres) {
  const SiteUnit unit = siteUnit();
  return fmt::format("{:.12g} {}", unit.perMillimetre * millimetres, unit.name);
}

std::string shareText(std::size_t count, std::size_t all) {
  return fmt::format("{} points, {:.2f} %", count, 100.0 * static_cast<double>(count) / static_cast<double>(all));
}

std::vector<std::string> captionsOf(const Arguments& arguments) {
  const std::string lower = lengthText(arguments.tolerance[0]);
  const std::string upper = lengthText(arguments.tolerance[1]);
  return {"< " + lower, lower + " - " + upper, "> " + upper};
}

// How points are coloured, by the table in force or by side and size, and what is written beside the bands.
class Painter {
 public:
  explicit Painter(const Arguments& arguments)
      : arguments_(arguments), table_(readColourTable()), bands_(arguments.tolerance[0], arguments.tolerance[1]) {}

  Colour operator()(double deviation) const {
    return isSigned() ? SignedBands::colourOf(bands_.bandOf(deviation)) : table_.bands[levelOf(deviation)].colour;
  }

  void drawLegend(Picture& picture, const Box& box, const std::vector<double>& deviations) const {
    std::vector<std::size_t> counts(isSigned() ? SignedBands::kCount : table_.bands.size());
    for (const double d : deviations) ++counts[isSigned() ? bands_.bandOf(d) : levelOf(d)];
    std::vector<std::string> notes;
    for (const std::size_t count : counts) notes.push_back(shareText(count, deviations.size()));
    isSigned() ? drawSignedLegend(picture, box, notes) : drawColourLegend(picture, box, notes);
  }

 private:
  bool isSigned() const { return arguments_.colours == Colours::Diverging; }

  std::size_t levelOf(double deviation) const {
    return gradeDeviation(arguments_.tolerance[0], arguments_.tolerance[1], deviation, arguments_.oneSided).level;
  }

  void drawSignedLegend(Picture& picture, const Box& box, const std::vector<std::string>& notes) const {
    std::vector<double> bounds;
    const SiteUnit unit = siteUnit();
    for (const double bound : bands_.bounds()) bounds.push_back(unit.perMillimetre * bound);
    const std::vector<std::string> ranges = rangesBetween(legendNumbers(bounds, true), " " + unit.name);
    const char* const names[] = {"Below tolerance", "", "", "", "", "", "Above tolerance"};
    std::vector<LegendBand> bands;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
      const std::string name = *names[i] == '\0' ? "Within tolerance" : names[i];
      bands.push_back({SignedBands::colourOf(i), ranges[i], name, notes[i]});
    }
    drawBands(picture, box, bands);
  }

  const Arguments& arguments_;
  ColourTable table_;
  SignedBands bands_;
};

void writeCloud(const Arguments& arguments, const PlaneFeature& plane, const Painter& colourOf) {
  ColouredPly<double> ply(plane.points.size(), "double", "deviation");
  for (std::size_t i = 0; i < plane.points.size(); ++i) {
    const QmVec3& p = plane.points[i];
    const double off = plane.residuals.each[i];
    ply.add({p[0], p[1], p[2]}, colourOf(off), off);
  }
  writeOutput(arguments.out, ply.bytes());
}

void draw(const Arguments& arguments, const PlaneFeature& plane, const Painter& colourOf, const Grades& grades) {
  const std::vector<std::string> captions = captionsOf(arguments);
  const PointColours colours = {
      fmt::format("{}: {}     {}: {}     {}: {}", captions[0], grades.below, captions[1], grades.within, captions[2],
                  grades.above),
      [&](double deviation) { return colourOf(deviation); },
      [&](Picture& picture, const Box& box) { colourOf.drawLegend(picture, box, plane.residuals.each); }};
  drawPlane(arguments.picture, plane, "Deviations of " + arguments.cloud.name, colours);
}

Json jsonOf(const Arguments& arguments, const PlaneFeature& plane, const Grades& grades, std::size_t leftOut) {
  return {{"points", plane.points.size()},
          {"left_out", leftOut},
          {"normal", plane.normal.v},
          {"point_of_plane_mm", plane.center.v},
          {"tolerance_mm", arguments.tolerance},
          {"rms_mm", plane.residuals.rms},
          {"smallest_mm", plane.residuals.smallest},
          {"largest_mm", plane.residuals.largest},
          {"below", grades.below},
          {"within", grades.within},
          {"above", grades.above},
          {"bands", grades.bands}};
}

void printText(const Arguments& arguments, const PlaneFeature& plane, const ColourTable& table, const Grades& grades,
               std::size_t leftOut) {
  const std::size_t all = plane.points.size();
  fmt::print("{}: {} points{}\n", arguments.cloud.name, all,
             leftOut == 0 ? "" : fmt::format(", {} left out that are not finite", leftOut));
  fmt::print("  from {:+.6g} to {:+.6g} mm, {:.6g} mm RMS\n", plane.residuals.smallest, plane.residuals.largest,
             plane.residuals.rms);
  const std::vector<std::string> captions = captionsOf(arguments);
  const std::size_t counts[] = {grades.below, grades.within, grades.above};
  for (std::size_t i = 0; i < 3; ++i) fmt::print("  {:<28} {}\n", captions[i], shareText(counts[i], all));
  for (std::size_t i = 0; i < table.bands.size(); ++i) {
    fmt::print("  {:<28} {}\n", fmt::format("{} (below {} %)", table.bands[i].name, table.bands[i].bound),
               shareText(grades.bands[i], all));
  }
  for (const OutputFile* file : {&arguments.out, &arguments.picture}) {
    if (file->isGiven()) fmt::print("  {}: written\n", file->name);
  }
}

void run(const Arguments& arguments) {
  std::size_t leftOut = 0;
  const std::vector<Vec3> points = readFinite(arguments.cloud, leftOut);
  const PlaneFeature plane = during("fitting", [&] { return planeOf(arguments, points); });
  const ColourTable table = readColourTable();
  const Grades grades = during("grading", [&] { return gradesOf(arguments, plane.residuals.each); });
  const Painter painter(arguments);
  if (arguments.out.isGiven()) during("writing " + arguments.out.name, [&] { writeCloud(arguments, plane, painter); });
  if (arguments.picture.isGiven()) during("drawing", [&] { draw(arguments, plane, painter, grades); });
  if (arguments.json) return printJson(jsonOf(arguments, plane, grades, leftOut));
  printText(arguments, plane, table, grades, leftOut);
}

}  // namespace

void defineDeviation(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  addCloud(command, "CLOUD", arguments->cloud);
  command.option("--plane", arguments->plane, "\"fit\", or a,b,c,d of the plane a x + b y + c z + d = 0")
      .check(whyNoPlane, "fit|a,b,c,d")
      .showDefault();
  command.option("--tolerance", arguments->tolerance, "Lower and upper limit of the deviation, millimetres")
      .required()
      .separatedBy(',')
      .count(2, 2);
  command.flag("--one-sided", arguments->oneSided, "Grade by the share of the upper limit alone");
  command.choice("--colours", arguments->colours, "table",
                 "Of the points: those of the table, or diverging, by side and size: blue below, red above",
                 {{"table", Colours::Table}, {"diverging", Colours::Diverging}});
  command.output("-o,--out", arguments->out, "The points in colour, with their deviations, as PLY", {Format::Ply});
  command.output("--picture", arguments->picture, "Picture of the deviations with its legend, .png or .svg",
                 {Format::Png, Format::Svg});
  command.flag("--json", arguments->json, "Print everything as JSON");
  command.showsProgress();
  command.footer(
      "\nColours are those of \"quel colours show\": 0 % is the middle of the tolerance and 100 % either limit. "
      "Deviations\n"
      "are positive on the side of the normal. With --colours diverging blue is\n"
      "below zero and red above, or below and above the middle of a tolerance without\n"
      "zero, in five bands between the limits and one beyond each. Points that are not finite are left out.\n\n"
      "Example:\n  quel deviation scan.ply --tolerance -0.1,0.1 --picture deviations.png");
  command.runs([arguments] {
    const std::string why = whyNoTolerance(*arguments);
    if (!why.empty()) throw WrongUsage("--tolerance", why);
    if (arguments->oneSided && arguments->colours == Colours::Diverging) {
      throw WrongUsage("--colours", "diverging tells both sides, and --one-sided grades by one");
    }
    run(*arguments);
  });
}

}  // namespace queltool
