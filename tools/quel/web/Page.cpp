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
constexpr std::string_view kScripts[] = {"three.js", "blocks.js", "numbers.js", "theme.js", "pose.js", "controls.js",
                                         "pacer.js", "still.js",  "view.js",    "marks.js", "page.js"};

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

std::string scriptHtml(const WebPage& page) {
  std::string html;
  for (const std::string_view name : scriptsOf(page)) html += fmt::format("<script>{}</script>\n", asset(name).text);
  return html;
}

}  // namespace

std::string viewHtml(const std::string& label, const std::string& furtherKeys) {
  return filledAsset("view.html", {{"label", escaped(label)}, {"keys", escaped(furtherKeys)}});
}

std::string textOf(const WebPage& page) {
  return filledAsset("page.html", {{"policy", policyOf(page)},
                                   {"title", escaped(page.title)},
                                   {"style", std::string(asset(kStyle).text)},
                                   {"lead", page.lead},
                                   {"body", page.body},
                                   {"notice", escaped(asset("three-notice.txt").text)},
                                   {"data", dataOf(page)},
                                   {"scripts", scriptHtml(page)}});
}

}  // namespace queltool
