#include "web/HeadPage.h"

#include <fmt/core.h>

#include <array>

#include "web/HeadMaps.h"
#include "web/HeadScene.h"
#include "web/Page.h"

namespace queltool {
namespace {

// Everything that the parts of the page are made of.
struct Content {
  const HeadPage& page;
  HeadScene scene;
  MapGroup sections;
  MapGroup lenses;
};

Content contentOf(const HeadPage& page) {
  return {page, sceneOf(page.head, page.volume),
          page.uncertainty ? sectionMaps(*page.uncertainty, page.unit) : MapGroup{}, lensMaps(page.head.record())};
}

std::string lengthText(const SiteUnit& unit, double millimetres) {
  return fmt::format("{:.4g}", unit.perMillimetre * millimetres);
}

std::string figureRow(const char* name, const StandardDeviations& deviations, const SiteUnit& unit) {
  std::string html = fmt::format("<tr><th scope=\"row\">{}</th>", name);
  for (const double deviation : deviations) html += fmt::format("<td>{}</td>", lengthText(unit, deviation));
  return html + "</tr>\n";
}

std::string volumeText(const Volume& volume, const SiteUnit& unit) {
  const auto three = [&](const Vec3& v, const char* between) {
    return lengthText(unit, toMicrometre(v[0])) + between + lengthText(unit, toMicrometre(v[1])) + between +
           lengthText(unit, toMicrometre(v[2]));
  };
  return fmt::format("{} {} about {}", three(volume.size, " \xC3\x97 "), unit.name, three(volume.centre, ", "));
}

std::string figuresHtml(const Uncertainty& found, const HeadPage& page) {
  std::string html = fmt::format(
      "<table class=\"grid\" id=\"uncertainty\"><thead><tr><th scope=\"col\">{}</th><th scope=\"col\">X</th><th "
      "scope=\"col\">Y</th><th scope=\"col\">Z</th><th scope=\"col\">Point</th></tr></thead>\n<tbody>\n",
      escaped(page.unit.name));
  if (found.centre) html += figureRow("Centre", *found.centre, page.unit);
  html += figureRow("RMS", found.rms, page.unit) + figureRow("Least", found.least, page.unit) +
          figureRow("Greatest", found.greatest, page.unit);
  return html + "</tbody></table>\n";
}

std::string measuredHtml(const Content& content) {
  const HeadPage& page = content.page;
  const Uncertainty& found = *page.uncertainty;
  return fmt::format(
      "<p class=\"headline\"><strong id=\"rms\">{} {}</strong> RMS of a point</p>\n{}<p class=\"map-legend\">{}</p>\n"
      "<p class=\"said\">Standard deviations of a point that is measured once, with {}. {:.1f} % of the volume is "
      "seen.</p>\n",
      lengthText(page.unit, found.rms[3]), escaped(page.unit.name), figuresHtml(found, page),
      scaleHtml("scale-of-view", content.sections.range, content.sections.unit), escaped(page.measuredWith),
      100.0 * static_cast<double>(found.seen) / static_cast<double>(found.places));
}

std::string uncertaintyPanel(const Content& content) {
  const HeadPage& page = content.page;
  std::string html = "<section class=\"panel\">\n<h2>How well it measures</h2>\n";
  html += page.uncertainty ? measuredHtml(content)
                           : fmt::format("<p id=\"not-measured\">{}</p>\n", escaped(page.whyNotMeasured));
  if (page.volume) {
    html += fmt::format("<p class=\"said\">Volume: <span id=\"volume\">{}</span></p>\n",
                        escaped(volumeText(*page.volume, page.unit)));
  }
  return html + "</section>\n";
}

std::string checkbox(const std::string& what, const std::string& caption) {
  return fmt::format("<label><input type=\"checkbox\" data-show=\"{}\" checked> {}</label>\n", what, escaped(caption));
}

// What may be hidden in the view, and from where it may be seen.
std::string showPanel(const Content& content) {
  if (content.scene.cameras.empty()) return "";
  std::string html =
      "<section class=\"panel on-screen scripted\" hidden>\n<h2>In the view</h2>\n<div class=\"choices\">\n";
  html += checkbox("fields", "Fields of view");
  if (content.page.volume) html += checkbox("volume", "Measuring volume");
  for (const PageMap& map : content.sections.maps) html += checkbox(map.id, "Section " + map.title);
  html +=
      "</div>\n<div class=\"row\" role=\"group\" aria-label=\"Seen from\">\n<span class=\"said\">Seen from "
      "camera</span>\n";
  for (const SceneCamera& camera : content.scene.cameras) {
    html += fmt::format("<button type=\"button\" data-camera=\"{0}\" aria-label=\"Camera {0}\">{0}</button>\n",
                        camera.number);
  }
  html += "</div>\n</section>\n";
  return content.sections.maps.empty() ? html
                                       : html +
                                             "<section class=\"panel on-screen scripted\" hidden>\n<h2>Place</h2>\n"
                                             "<dl id=\"place\" aria-live=\"polite\"></dl>\n</section>\n";
}

constexpr std::array<const char*, 3> kVerdictMarks = {"\xE2\x9C\x93", "!", "\xE2\x9C\x95"};

std::string verdictHtml(Verdict verdict) {
  return fmt::format("<span class=\"verdict verdict-{0}\"><span aria-hidden=\"true\">{1}</span> {0}</span>",
                     nameOf(verdict), kVerdictMarks[static_cast<std::size_t>(verdict)]);
}

// The verdict with what is not good.
std::string healthPanel(const std::vector<Check>& checks) {
  std::string html =
      "<section class=\"panel\" id=\"verdict\">\n<h2>Health</h2>\n<p>" + verdictHtml(worstOf(checks)) + "</p>\n";
  for (const Check& check : checks) {
    if (check.verdict == Verdict::Good) continue;
    html += fmt::format("<p class=\"said\">{}: {}</p>\n", escaped(check.what), escaped(check.finding));
  }
  return html + "</section>\n";
}

std::string healthSheet(const std::vector<Check>& checks) {
  std::string html =
      "<section class=\"wide\">\n<table class=\"rows\" id=\"health\">\n<caption>Health</caption>\n<thead "
      "class=\"unseen\"><tr><th scope=\"col\">Verdict</th><th scope=\"col\">Check</th><th scope=\"col\">Finding</th>"
      "</tr></thead>\n";
  for (const Check& check : checks) {
    html += fmt::format("<tr data-check=\"{}\"><td>{}</td><th scope=\"row\">{}</th><td>{}</td></tr>\n",
                        escaped(check.key), verdictHtml(check.verdict), escaped(check.what), escaped(check.finding));
  }
  return html + "</table>\n</section>\n";
}

std::string groupSection(const char* id, const char* heading, const MapGroup& group, const std::string& note) {
  if (group.maps.empty()) return "";
  return fmt::format("<section class=\"map-group\" id=\"{}\">\n<h2>{}</h2>\n", id, heading) +
         mapsHtml(group.maps, group.range, group.unit, note) + "</section>\n";
}

std::string mapSections(const Content& content) {
  return groupSection("sections", "Standard deviation of a measured point", content.sections,
                      fmt::format("lines of equal deviation, {}; without colour: a camera does not see it, or its LUT "
                                  "ends",
                                  content.page.unit.name)) +
         groupSection(
             "lenses", "Lens distortion: how far each pixel of the ideal image is moved", content.lenses,
             "lines of equal distance, px; arrows in true length, from the ideal to the distorted pixel; cross: "
             "principal point");
}

std::string sheetsHtml(const HeadPage& page) {
  std::string html;
  for (const PageSheet& sheet : page.sheets) {
    html += "<section>\n" + tableOfRows(sheet.caption, sheet.rows) + "</section>\n";
  }
  return html;
}

std::vector<std::string> notesOf(const Content& content) {
  std::vector<std::string> notes = content.page.notes;
  if (!content.scene.missing.empty()) notes.push_back("The view shows no cameras: " + content.scene.missing + ".");
  for (const SceneCamera& camera : content.scene.cameras) {
    if (camera.undistorted) {
      notes.push_back(
          fmt::format("The field of view of camera {} is that of a pinhole: its lens model has no answer "
                      "on the border of the image.",
                      camera.number));
    }
  }
  if (content.lenses.maps.empty()) {
    notes.push_back("The camera type has no known image size: neither fields of view nor lens distortion are shown.");
  }
  return notes;
}

std::string notesHtml(const Content& content) {
  const std::vector<std::string> notes = notesOf(content);
  if (notes.empty()) return "";
  std::string html = "<section>\n<h2>Notes</h2>\n<ul id=\"notes\">\n";
  for (const std::string& note : notes) html += fmt::format("<li>{}</li>\n", escaped(note));
  return html + "</ul>\n</section>\n";
}

std::string bodyOf(const Content& content) {
  const HeadPage& page = content.page;
  return "<main class=\"workspace\">\n" +
         viewHtml("The cameras of the head with what they see, and the measuring volume") + "<div class=\"panels\">\n" +
         healthPanel(page.checks) + uncertaintyPanel(content) + showPanel(content) + "</div>\n</main>\n" +
         mapSections(content) + "<div class=\"sheets\">\n" + healthSheet(page.checks) + sheetsHtml(page) +
         notesHtml(content) + "</div>\n";
}

Json sectionsOf(const Content& content) {
  Json list = Json::list({});
  if (!content.page.uncertainty) return list;
  for (const Section& section : content.page.uncertainty->sections) {
    list.add({{"map", fmt::format("section-{}", 3 - section.u - section.v)}, {"u", section.u}, {"v", section.v}});
  }
  return list;
}

// Lengths are in millimetres; assets/head.js takes it.
Json dataOf(const Content& content) {
  const SiteUnit& unit = content.page.unit;
  return {{"unit", {{"perMillimetre", unit.perMillimetre}, {"name", unit.name}}},
          {"scene", jsonOf(content.scene)},
          {"sections", sectionsOf(content)},
          {"colours", scaleColours()},
          {"sectionMaps", jsonOf(content.sections.maps, content.sections.range, content.sections.unit)},
          {"lensMaps", jsonOf(content.lenses.maps, content.lenses.range, content.lenses.unit)}};
}

}  // namespace

void writeHeadPage(const OutputFile& file, const HeadPage& page) {
  const Content content = contentOf(page);
  WebPage web;
  web.title = page.title;
  web.lead = escaped(page.lead);
  web.body = bodyOf(content);
  web.styles = {"head.css"};
  web.scripts = {"maps.js", "scene.js", "head.js"};
  web.data = dataOf(content);
  web.figures = page.json;
  for (const MapGroup* group : {&content.sections, &content.lenses}) addBlocks(group->maps, group->range, web.blocks);
  writeOutput(file, textOf(web));
}

}  // namespace queltool
