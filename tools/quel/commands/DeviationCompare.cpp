// The points of a cloud against what `quel deviation` is asked to compare them with.
#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "clouds/Points.h"
#include "commands/DeviationWork.h"
#include "files/Failure.h"
#include "files/Progress.h"
#include "files/Texts.h"
#include "files/Transforms.h"
#include "nominal/NominalFile.h"

namespace queltool {

namespace {

struct Points {
  std::vector<Vec3> finite;
  std::size_t leftOut;
};

Points readFinite(const InputFile& file) {
  Points points{readPoints(file), 0};
  points.leftOut = removeNotFinite(points.finite);
  if (!points.finite.empty()) return points;
  throw Failure(file.name + (points.leftOut == 0 ? ": there are no points" : ": none of its points is finite"));
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

// Moves the points onto the nominal; its transform moves the cloud of the file there.
Alignment align(const DeviationArguments& arguments, const Nominal& nominal, std::vector<Vec3>& points) {
  Alignment alignment = during("aligning", [&] { return alignTo(nominal, points); });
  for (Vec3& point : points) point = transformed(alignment.transform, point);
  if (!arguments.cloud.transform.empty()) {
    const qmMathTransform before = readTransform(arguments.cloud.transform);
    qmMathTransform& both = alignment.transform;
    if (qmMathTransformMultTransform(&both, &before, &both) != 1) {
      throw Failure(arguments.cloud.transform.string() + ": is too large to be refined");
    }
  }
  return alignment;
}

std::optional<Vec3> viewpointOf(const DeviationArguments& arguments) {
  const std::vector<double>& v = arguments.viewpoint;
  if (v.empty()) return std::nullopt;
  return Vec3{v[0], v[1], v[2]};
}

// Of a cloud of which no point has a deviation, why.
Failure noDeviation(const DeviationArguments& arguments, const Deviations& off) {
  return Failure(fmt::format("{}: no point has a deviation from {}: {} are nearest to an open border, {} have no side",
                             arguments.cloud.name, arguments.reference, off.atBorder, off.withoutSide));
}

DeviationRun begun(const DeviationArguments& arguments) {
  DeviationRun run;
  run.cloud = arguments.cloud.name;
  run.transform = arguments.cloud.transform;
  run.tolerance = arguments.tolerance();
  return run;
}

DeviationRun comparedWithNominal(const DeviationArguments& arguments, Points points) {
  const auto nominal = during("reading " + arguments.reference, [&] {
    return readNominal({arguments.reference, arguments.cloud.millimetresPerUnit, viewpointOf(arguments)});
  });
  DeviationRun run = begun(arguments);
  run.reference = arguments.reference;
  run.nominal = nominal->title();
  run.remarks = nominal->remarks();
  for (const std::string& remark : run.remarks) {
    fmt::print(stderr, "quel: warning: {}: {}\n", arguments.reference, remark);
  }
  if (!arguments.align.empty()) run.alignment = align(arguments, *nominal, points.finite);
  run.off = during("comparing", [&] { return deviationsFrom(*nominal, std::move(points.finite), points.leftOut, 0); });
  if (run.off.judged() == 0) throw noDeviation(arguments, run.off);
  return run;
}

DeviationRun comparedWithPlane(const DeviationArguments& arguments, Points points) {
  DeviationRun run = begun(arguments);
  run.plane = during("fitting", [&] { return planeOf(arguments, points.finite); });
  run.off = {std::move(points.finite), run.plane->residuals.each, points.leftOut};
  run.nominal = arguments.plane == "fit" ? "the plane through the points" : "a plane";
  return run;
}

}  // namespace

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

DeviationRun compared(const DeviationArguments& arguments) {
  Points points = readFinite(arguments.cloud);
  DeviationRun run = arguments.reference.empty() ? comparedWithPlane(arguments, std::move(points))
                                                 : comparedWithNominal(arguments, std::move(points));
  run.figures = during("grading", [&] { return figuresOf(run.off.each, run.tolerance); });
  return run;
}

}  // namespace queltool
