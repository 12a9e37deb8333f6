#include "web/DeviationPage.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "pictures/ColourLegend.h"
#include "web/Page.h"
#include "web/PageCloud.h"

namespace queltool {
namespace {

// Everything that the parts of the page are made of.
struct Content {
  const DeviationPage& page;
  GradedBy limits;
  DeviationSteps steps;
  PageCloud cloud;
  GradeCounts counts;
};

Content contentOf(const DeviationPage& page) {
  const GradedBy limits{page.lower, page.upper, page.oneSided};
  const DeviationSteps steps(limits);
  return {page, limits, steps, pageCloudOf(page.points, page.deviations, steps),
          countGrades(page.points, page.deviations, limits, page.table.bands.size())};
}

// With the digits that somebody types.
std::string lengthText(const Content& content, double millimetres) {
  const double value = content.page.unit.perMillimetre * millimetres;
  return fmt::format("{}{:.12g}", value < 0.0 ? "\xE2\x88\x92" : "", std::abs(value));
}

// With three digits, and no exponent where there are not many more.
std::string stepText(const Content& content, double millimetres) {
  const double value = content.page.unit.perMillimetre * millimetres;
  const double decimals = 2.0 - std::floor(std::log10(value));
  if (!(decimals > -10.0 && decimals < 15.0)) return fmt::format("{:.3g} {}", value, content.page.unit.name);
  std::string digits = fmt::format("{:.{}f}", value, static_cast<int>(std::max(decimals, 0.0)));
  if (digits.find('.') != std::string::npos) digits.erase(digits.find_last_not_of('0') + 1);
  if (digits.back() == '.') digits.pop_back();
  return digits + " " + content.page.unit.name;
}

std::string pointsText(std::size_t count) { return fmt::format("{} point{}", count, count == 1 ? "" : "s"); }

std::string shareText(std::size_t count, std::size_t all) {
  return all == 0 ? "" : fmt::format("{:.2f} %", 100.0 * static_cast<double>(count) / static_cast<double>(all));
}

std::size_t gradedOf(const Content& content) {
  const auto& places = content.counts.places;
  return places[0] + places[1] + places[2];
}

std::string limitsText(const Content& content) {
  return fmt::format("{} to {} {}", lengthText(content, content.limits.lower),
                     lengthText(content, content.limits.upper), content.page.unit.name);
}

std::string leadOf(const Content& content) {
  return fmt::format("{}, tolerance {}{}", pointsText(content.cloud.points), escaped(limitsText(content)),
                     content.page.oneSided ? ", graded by the upper limit alone" : "");
}

// A swatch by attributes: the page's policy knows no styles of elements.
std::string swatch(const std::string& colour) {
  return fmt::format(
      "<svg class=\"swatch\" viewBox=\"0 0 16 16\" aria-hidden=\"true\"><rect width=\"16\" height=\"16\" "
      "fill=\"{}\"/></svg>",
      colour);
}

std::string legendRow(const Content& content, std::size_t band, const std::string& range) {
  const ColourBand& entry = content.page.table.bands[band];
  const std::size_t count = content.counts.bands[band];
  return fmt::format(
      "<tr data-band=\"{}\"><td>{}</td><th scope=\"row\"><span class=\"name\">{}</span><span "
      "class=\"range\">{}</span></th><td class=\"count\">{}</td><td class=\"share\">{}</td></tr>\n",
      band, swatch(hexColour(entry.colour)), escaped(entry.name), escaped(range), count,
      shareText(count, gradedOf(content)));
}

// The highest band on top, as in pictures.
std::string bandsHtml(const Content& content) {
  const std::vector<std::string> ranges = rangesOf(content.page.table);
  std::string html;
  for (std::size_t i = ranges.size(); i-- > 0;) html += legendRow(content, i, ranges[i]);
  return html;
}

std::string ungradedHtml(const Content& content) {
  if (content.counts.none == 0) return {};
  return fmt::format(
      "<p class=\"ungraded\"><label><input type=\"checkbox\" id=\"ungraded-shown\" checked> {} {} without a "
      "deviation</label></p>\n",
      swatch("none"), pointsText(content.counts.none));
}

std::string placesText(const Content& content) {
  return fmt::format("within {}, {} below, {} above", limitsText(content), content.counts.places[0],
                     content.counts.places[2]);
}

// What this page itself has to tell.
std::vector<std::string> notesOf(const Content& content) {
  const PageCloud& cloud = content.cloud;
  std::vector<std::string> notes = content.page.notes;
  const std::size_t shown = cloud.graded + cloud.ungraded;
  if (shown < cloud.points) {
    notes.push_back(fmt::format(
        "{} of {} points are shown: evenly many along a curve that fills the space. The figures are of all points; "
        "counts at another tolerance are of those that are shown.",
        shown, cloud.points));
  }
  if (cloud.notFinite > 0) notes.push_back("Not shown, for they are not finite: " + pointsText(cloud.notFinite) + ".");
  if (cloud.beyond > 0) {
    notes.push_back(fmt::format("Farther off than {}, and shown as if that far off: {}.",
                                stepText(content, DeviationSteps::kMost * content.steps.step()),
                                pointsText(cloud.beyond)));
  }
  notes.push_back(
      fmt::format("Positions are shown in steps of {}, deviations in steps of {}, by which points are "
                  "counted at other tolerances.",
                  stepText(content, cloud.cellStep), stepText(content, content.steps.step())));
  return notes;
}

std::string notesHtml(const Content& content) {
  std::string html;
  for (const std::string& note : notesOf(content)) html += fmt::format("<li>{}</li>\n", escaped(note));
  return html;
}

std::string bodyOf(const Content& content) {
  const DeviationPage& page = content.page;
  return filledAsset(
      "deviation.html",
      {{"view", viewHtml("Measured points, coloured by their deviations", ", Enter chooses the point in the middle")},
       {"withinShare", shareText(content.counts.places[1], gradedOf(content))},
       {"places", escaped(placesText(content))},
       {"unit", escaped(page.unit.name)},
       {"bands", bandsHtml(content)},
       {"ungraded", ungradedHtml(content)},
       {"figures", tableOfRows("Figures", page.figures)},
       {"origin", tableOfRows("Origin", page.origin)},
       {"notes", notesHtml(content)}});
}

Json bandsOf(const ColourTable& table) {
  Json bands = Json::list({});
  for (const ColourBand& band : table.bands) {
    bands.add({{"bound", band.bound}, {"name", band.name}, {"colour", hexColour(band.colour)}});
  }
  return bands;
}

Json countsOf(const GradeCounts& counts) {
  return {{"bands", counts.bands},
          {"below", counts.places[0]},
          {"within", counts.places[1]},
          {"above", counts.places[2]},
          {"none", counts.none}};
}

// Lengths are in millimetres; assets/deviation.js takes it.
Json dataOf(const Content& content) {
  const SiteUnit& unit = content.page.unit;
  return {
      {"origin", content.cloud.origin},       {"cell", content.cloud.cellStep},
      {"points", content.cloud.points},       {"graded", content.cloud.graded},
      {"ungraded", content.cloud.ungraded},   {"centre", content.steps.centre()},
      {"step", content.steps.step()},         {"usual", content.cloud.usualSteps},
      {"lower", content.limits.lower},        {"upper", content.limits.upper},
      {"oneSided", content.limits.oneSided},  {"unit", {{"perMillimetre", unit.perMillimetre}, {"name", unit.name}}},
      {"bands", bandsOf(content.page.table)}, {"counts", countsOf(content.counts)}};
}

}  // namespace

void writeDeviationPage(const OutputFile& file, const DeviationPage& page) {
  Content content = contentOf(page);
  WebPage web;
  web.title = page.title;
  web.lead = leadOf(content);
  web.body = bodyOf(content);
  web.scripts = {"grading.js", "cloud.js", "tolerance.js", "legend.js", "histogram.js", "picking.js", "deviation.js"};
  web.data = dataOf(content);
  web.figures = page.json;
  web.blocks = {{"graded", std::move(content.cloud.gradedPlanes)},
                {"ungraded", std::move(content.cloud.ungradedPlanes)}};
  writeOutput(file, textOf(web));
}

}  // namespace queltool
