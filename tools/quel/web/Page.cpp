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

std::vector<std::string_view> stylesOf(const WebPage& page) {
  std::vector<std::string_view> names = {kStyle};
  names.insert(names.end(), page.styles.begin(), page.styles.end());
  return names;
}

// How the policy names assets.
std::string sources(const std::vector<std::string_view>& names) {
  std::string text;
  for (const std::string_view name : names) text += fmt::format(" 'sha256-{}'", base64OfHex(asset(name).sha256));
  return text;
}

std::string policyOf(const WebPage& page) {
  return fmt::format("default-src 'none'; script-src{}; style-src{}; base-uri 'none'; form-action 'none'",
                     sources(scriptsOf(page)), sources(stylesOf(page)));
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

// The texts of assets, each between tags of that name.
std::string embedded(const char* tag, const std::vector<std::string_view>& names) {
  std::string html;
  for (const std::string_view name : names) html += fmt::format("<{0}>{1}</{0}>\n", tag, asset(name).text);
  return html;
}

}  // namespace

std::string viewHtml(const std::string& label, const std::string& furtherKeys) {
  return filledAsset("view.html", {{"label", escaped(label)}, {"keys", escaped(furtherKeys)}});
}

std::string textOf(const WebPage& page) {
  return filledAsset("page.html", {{"policy", policyOf(page)},
                                   {"title", escaped(page.title)},
                                   {"styles", embedded("style", stylesOf(page))},
                                   {"lead", page.lead},
                                   {"body", page.body},
                                   {"notice", escaped(asset("three-notice.txt").text)},
                                   {"data", dataOf(page)},
                                   {"scripts", embedded("script", scriptsOf(page))}});
}

}  // namespace queltool
