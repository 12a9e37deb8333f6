#include "models/DeviationRun.h"

#include <fmt/core.h>

#include <array>
#include <cmath>
#include <utility>

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

Json jsonOf(const FreeMotion& motion) {
  return {{"motion", motion.turns ? "turn" : "shift"},
          {"axis", motion.axis},
          {"through_mm", motion.turns ? Json(motion.through) : Json()},
          {"lead_mm", motion.lead}};
}

Json jsonOf(const Alignment& alignment) {
  Json held = Json::list({});
  for (const FreeMotion& motion : alignment.held) held.add(jsonOf(motion));
  return {{"rotation", alignment.transform.rotation},
          {"translation_mm", alignment.transform.translation},
          {"degrees", alignment.degrees},
          {"shift_mm", alignment.shift},
          {"rms_before_mm", alignment.before.rms},
          {"rms_after_mm", alignment.after.rms},
          {"points", alignment.after.points},
          {"too_far_off", alignment.farOff},
          {"rounds", alignment.rounds},
          {"converged", alignment.converged},
          {"last_step_mm", alignment.lastStep},
          {"held", held}};
}

}  // namespace

Json jsonOf(const DeviationRun& run) {
  Json json = {{"cloud", run.cloud}, {"against", run.nominal}};
  for (const auto& [name, count] : countsOf(run)) json.set(name, count);
  if (run.plane) {
    json.set("normal", run.plane->normal.v);
    json.set("point_of_plane_mm", run.plane->center.v);
  } else {
    json.set("reference", run.reference);
    json.set("remarks", run.remarks);
  }
  if (run.alignment) json.set("alignment", jsonOf(*run.alignment));
  json.set("tolerance_mm", std::array{run.tolerance.lower, run.tolerance.upper});
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

}  // namespace queltool
