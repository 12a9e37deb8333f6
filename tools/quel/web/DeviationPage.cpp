#include "web/DeviationPage.h"

#include <fmt/core.h>

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

std::string stepText(const Content& content, double millimetres) {
  return fmt::format("{:.3g} {}", content.page.unit.perMillimetre * millimetres, content.page.unit.name);
}

std::string shareText(std::size_t count, std::size_t all) {
  return all == 0 ? "" : fmt::format("{:.2f} %", 100.0 * static_cast<double>(count) / static_cast<double>(all));
}

std::size_t gradedOf(const Content& content) {
  const auto& places = content.counts.places;
  return places[0] + places[1] + places[2];
}

std::string leadOf(const Content& content) {
  const std::string limits = fmt::format("{} to {} {}", lengthText(content, content.limits.lower),
                                         lengthText(content, content.limits.upper), content.page.unit.name);
  return fmt::format("{} points, tolerance {}{}", content.cloud.points, escaped(limits),
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
std::string legendHtml(const Content& content) {
  const std::vector<std::string> ranges = rangesOf(content.page.table);
  std::string html =
      "<section class=\"panel\">\n<h2 id=\"legend-title\">Share of the tolerance</h2>\n"
      "<table class=\"legend\" id=\"legend\" aria-labelledby=\"legend-title\">\n<thead class=\"unseen\"><tr><td></td>"
      "<th scope=\"col\">Band</th><th scope=\"col\">Points</th><th scope=\"col\">Share</th></tr></thead>\n<tbody>\n";
  for (std::size_t i = ranges.size(); i-- > 0;) html += legendRow(content, i, ranges[i]);
  html += "</tbody>\n</table>\n";
  if (content.counts.none > 0) {
    html += fmt::format(
        "<p><label><input type=\"checkbox\" id=\"ungraded-shown\" checked> <svg class=\"swatch ungraded\" viewBox=\"0 "
        "0 16 16\" "
        "aria-hidden=\"true\"><rect width=\"16\" height=\"16\"/></svg> {} points without a deviation</label></p>\n",
        content.counts.none);
  }
  return html + "</section>\n";
}

std::string limitField(const char* id, const char* label, const std::string& unit) {
  return fmt::format(
      "<label>{} <span class=\"field\"><input type=\"text\" inputmode=\"decimal\" id=\"{}\" size=\"9\" "
      "autocomplete=\"off\"> {}</span></label>\n",
      label, id, escaped(unit));
}

std::string toleranceHtml(const Content& content) {
  const std::string& unit = content.page.unit.name;
  const std::size_t within = content.counts.places[1];
  return fmt::format(
      "<section class=\"panel\" id=\"tolerance\">\n<h2>Tolerance</h2>\n"
      "<p class=\"headline\"><strong id=\"within-share\">{}</strong> <span id=\"places\">within: {} below, {} within, "
      "{} "
      "above</span></p>\n<div class=\"scripted\" hidden>\n"
      "<input type=\"range\" id=\"factor\" min=\"-100\" max=\"100\" step=\"1\" value=\"0\" aria-label=\"Tolerance, "
      "from "
      "a tenth to ten times the given one\">\n<div class=\"limits\">\n{}{}"
      "<button type=\"button\" id=\"given\">As given</button>\n</div>\n"
      "<p class=\"fault\" id=\"fault\" role=\"alert\"></p>\n</div>\n</section>\n",
      shareText(within, gradedOf(content)), content.counts.places[0], within, content.counts.places[2],
      limitField("lower", "Lower", unit), limitField("upper", "Upper", unit));
}

std::string interactiveHtml() {
  return "<section class=\"panel scripted\" hidden>\n<h2 id=\"histogram-title\">Distribution</h2>\n"
         "<div class=\"histogram\" id=\"histogram\" role=\"group\" aria-labelledby=\"histogram-title\"></div>\n"
         "<div class=\"ends\" id=\"histogram-ends\"><span></span><span></span></div>\n"
         "<p id=\"highlight\" role=\"status\">Choose a bar, or a band above, to see its points.</p>\n</section>\n"
         "<section class=\"panel scripted\" hidden>\n<h2>Point</h2>\n"
         "<dl id=\"point\" aria-live=\"polite\"></dl>\n<div class=\"row\">\n"
         "<button type=\"button\" id=\"smallest\">Smallest</button>\n"
         "<button type=\"button\" id=\"largest\">Largest</button>\n"
         "<button type=\"button\" id=\"no-point\">None</button>\n</div>\n</section>\n";
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
  if (cloud.notFinite > 0)
    notes.push_back(fmt::format("{} points are not shown: they are not finite.", cloud.notFinite));
  if (cloud.beyond > 0) {
    notes.push_back(fmt::format("{} points are farther off than {}, and shown as if they were that far off.",
                                cloud.beyond, stepText(content, DeviationSteps::kMost * content.steps.step())));
  }
  notes.push_back(fmt::format("Positions are shown in steps of {}, deviations in steps of {}.",
                              stepText(content, cloud.cellStep), stepText(content, content.steps.step())));
  return notes;
}

std::string notesHtml(const Content& content) {
  std::string html = "<h2>Notes</h2>\n<ul id=\"notes\">\n";
  for (const std::string& note : notesOf(content)) html += fmt::format("<li>{}</li>\n", escaped(note));
  return html + "</ul>\n";
}

std::string bodyOf(const Content& content) {
  return "<main class=\"workspace\">\n" + viewHtml("Measured points, coloured by their deviations") +
         "<div class=\"panels\">\n" + toleranceHtml(content) + legendHtml(content) + interactiveHtml() +
         "</div>\n</main>\n<div class=\"sheets\">\n<section id=\"figures-table\">\n" +
         tableOfRows("Figures", content.page.figures) + "</section>\n<section id=\"origin\">\n" +
         tableOfRows("Origin", content.page.origin) + "</section>\n<section>\n" + notesHtml(content) +
         "</section>\n</div>\n";
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
