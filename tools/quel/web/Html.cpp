#include "web/Html.h"

#include <fmt/args.h>
#include <fmt/core.h>

#include <cmath>
#include <functional>

#include "quelplatform/qmEnv/qmText.h"
#include "web/Assets.h"

namespace queltool {
namespace {

// How `c` stands in HTML.
std::string_view written(const char& c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    default:
      break;
  }
  const auto byte = static_cast<unsigned char>(c);
  const bool isControl = (byte < 0x20 && c != '\n' && c != '\t') || byte == 0x7F;
  return isControl ? "\xEF\xBF\xBD" : std::string_view(&c, 1);
}

}  // namespace

std::string escaped(std::string_view text) {
  std::string html;
  for (const char& c : toNarrow(toWide(std::string(text)))) html += written(c);
  return html;
}

// Within JSON a "<" stands in texts alone, where it may be written by its number.
std::string jsonInScript(const Json& json) {
  std::string script;
  for (const char& c : json.text()) script += c == '<' ? std::string_view("\\u003c") : std::string_view(&c, 1);
  return script;
}

std::string hexColour(const Colour& colour) {
  const auto byte = [](double share) { return static_cast<int>(std::lround(255.0 * share)); };
  return fmt::format("#{:02x}{:02x}{:02x}", byte(colour.red), byte(colour.green), byte(colour.blue));
}

std::string filledAsset(std::string_view name, const std::vector<std::pair<std::string_view, std::string>>& values) {
  fmt::dynamic_format_arg_store<fmt::format_context> store;
  for (const auto& [key, value] : values) store.push_back(fmt::arg(key.data(), std::cref(value)));
  return fmt::vformat(asset(name).text, store);
}

std::string tableOfRows(const std::string& caption, const std::vector<PageRow>& rows) {
  const std::string title = escaped(caption);
  if (rows.empty()) return fmt::format("<h2>{}</h2>\n<p>None.</p>\n", title);
  std::string html = fmt::format("<table class=\"rows\">\n<caption>{}</caption>\n", title);
  for (const PageRow& row : rows) {
    html += fmt::format("<tr><th scope=\"row\">{}</th><td>{}</td></tr>\n", escaped(row.name), escaped(row.value));
  }
  return html + "</table>\n";
}

}  // namespace queltool
