#include "web/Page.h"

#include <fmt/core.h>

#include "web/Assets.h"
#include "web/Base64.h"
#include "web/Compression.h"
#include "web/Html.h"

namespace queltool {
namespace {

constexpr std::string_view kStyle = "page.css";

// Those of all pages, in the order in which they run.
constexpr std::string_view kScripts[] = {"three.js",    "blocks.js", "numbers.js", "theme.js", "pose.js",
                                         "controls.js", "pacer.js",  "view.js",    "marks.js", "page.js"};

std::vector<std::string_view> scriptsOf(const WebPage& page) {
  std::vector<std::string_view> names(std::begin(kScripts), std::end(kScripts));
  names.insert(names.end(), page.scripts.begin(), page.scripts.end());
  return names;
}

// How the policy names an asset.
std::string source(std::string_view name) { return fmt::format(" 'sha256-{}'", base64OfHex(asset(name).sha256)); }

std::string policyOf(const WebPage& page) {
  std::string scripts;
  for (const std::string_view name : scriptsOf(page)) scripts += source(name);
  return fmt::format("default-src 'none'; script-src{}; style-src{}; base-uri 'none'; form-action 'none'", scripts,
                     source(kStyle));
}

std::string headOf(const WebPage& page) {
  return fmt::format(
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"{}\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta name=\"color-scheme\" content=\"light dark\">\n<meta name=\"referrer\" content=\"no-referrer\">\n"
      "<title>{}</title>\n<style>{}</style>\n</head>\n",
      policyOf(page), escaped(page.title), asset(kStyle).text);
}

std::string headingOf(const WebPage& page) {
  return fmt::format(
      "<body>\n<header class=\"heading\">\n<div>\n<h1>{}</h1>\n<p>{}</p>\n</div>\n"
      "<button type=\"button\" id=\"theme\" class=\"scripted\" hidden>Dark</button>\n</header>\n"
      "<noscript><p class=\"message\">This page needs scripts for its view in 3D. Its tables stand below.</p>"
      "</noscript>\n",
      escaped(page.title), page.lead);
}

std::string aboutPage() {
  return fmt::format(
      "<section class=\"about\">\n<h2>About this page</h2>\n<p>It holds all of its data and scripts, and asks nothing "
      "of the network. The view in 3D is drawn with three.js, whose notice is:</p>\n<pre>{}</pre>\n</section>\n",
      escaped(asset("three-notice.txt").text));
}

std::string dataOf(const WebPage& page) {
  std::string html =
      fmt::format("<script type=\"application/json\" id=\"data\">{}</script>\n", jsonInScript(page.data));
  html += fmt::format("<script type=\"application/json\" id=\"figures\">{}</script>\n", jsonInScript(page.figures));
  for (const PageBlock& block : page.blocks) {
    html += fmt::format("<script type=\"application/octet-stream\" id=\"{}\">", block.id);
    html += base64(deflated(block.bytes)) + "</script>\n";
  }
  return html;
}

}  // namespace

std::string viewHtml(const std::string& label) {
  return fmt::format(
      "<figure class=\"stage\" id=\"stage\">\n"
      "<canvas id=\"view\" tabindex=\"0\" role=\"application\" aria-roledescription=\"view in 3D\" aria-label=\"{}\" "
      "aria-describedby=\"view-keys\"></canvas>\n"
      "<p class=\"message\" id=\"view-message\" role=\"status\" hidden></p>\n"
      "<svg id=\"triad\" class=\"triad\" viewBox=\"-40 -40 80 80\" aria-hidden=\"true\"></svg>\n"
      "<div id=\"scale\" class=\"scale\" hidden><span id=\"scale-text\"></span></div>\n"
      "<div id=\"cross\" class=\"cross\" aria-hidden=\"true\"></div>\n"
      "<div class=\"tools scripted\" id=\"view-tools\" role=\"group\" aria-label=\"View\" hidden>\n"
      "<button type=\"button\" id=\"view-fit\">Fit</button>\n"
      "<button type=\"button\" data-axis=\"0\" aria-label=\"Along X\">X</button>\n"
      "<button type=\"button\" data-axis=\"1\" aria-label=\"Along Y\">Y</button>\n"
      "<button type=\"button\" data-axis=\"2\" aria-label=\"Along Z\">Z</button>\n</div>\n"
      "<figcaption id=\"view-keys\">Drag to turn, with the right button or two fingers to move, wheel or pinch to "
      "zoom. Keys: arrows turn, Shift and arrows move, + and \xE2\x88\x92 zoom, F fits.</figcaption>\n</figure>\n",
      escaped(label));
}

std::string textOf(const WebPage& page) {
  std::string text = headOf(page) + headingOf(page) + page.body + aboutPage() + dataOf(page);
  for (const std::string_view name : scriptsOf(page)) text += fmt::format("<script>{}</script>\n", asset(name).text);
  return text + "</body>\n</html>\n";
}

}  // namespace queltool
