#include "web/PageMaps.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "models/Colour.h"
#include "pictures/ViewMarks.h"
#include "web/Html.h"
#include "web/Planes.h"

namespace queltool {
namespace {

constexpr std::uint16_t kNoValue = 65535;
constexpr double kLastValue = 65534.0;
constexpr int kScaleStops = 16;

// Text is as high as that share of the width on the page, whatever the units of the plane.
constexpr double kTextPixels = 11.0;

double unitsPerPixel(const PageMap& map) { return extentOf(map)[0] / map.width; }

// Where the base of a text about a node lies, the text within the map.
Vec2 labelPlace(const PageMap& map, const Vec2& node) {
  const double text = kTextPixels * unitsPerPixel(map);
  const Vec2 at = placeOnMap(map, node);
  const Vec2 extent = extentOf(map);
  const double x = std::min(std::max(at[0], 1.5 * text), extent[0] - 1.5 * text);
  const double y = std::min(std::max(at[1], 0.7 * text), extent[1] - 0.7 * text);
  return {x, y + 0.35 * text};
}

std::string pointText(const PageMap& map, const Vec2& node) {
  const Vec2 at = placeOnMap(map, node);
  return fmt::format("{:.6g} {:.6g}", at[0], at[1]);
}

void addText(PageMap& map, const Vec2& at, const char* anchor, const std::string& text) {
  map.lines += fmt::format("<text x=\"{:.6g}\" y=\"{:.6g}\" text-anchor=\"{}\" font-size=\"{:.6g}\">{}</text>", at[0],
                           at[1], anchor, kTextPixels * unitsPerPixel(map), escaped(text));
}

void addPath(PageMap& map, const char* kind, const std::string& path) {
  map.lines += fmt::format("<path class=\"{}\" d=\"{}\"/>", kind, path);
}

std::string segment(const PageMap& map, const Vec2& from, const Vec2& to) {
  return fmt::format("M{}L{}", pointText(map, from), pointText(map, to));
}

// The barbs of an arrow, as long as a third of it, and no longer than it takes to see them.
std::string barbs(const PageMap& map, const Vec2& from, const Vec2& to) {
  const Vec2 back = {from[0] - to[0], from[1] - to[1]};
  const double length = std::hypot(back[0], back[1]);
  if (length == 0.0) return "";
  const double share = std::min(0.35, 4.0 * unitsPerPixel(map) / (length * map.pitch[0]));
  std::string path;
  for (const double side : {-0.5, 0.5}) {
    const Vec2 barb = {to[0] + share * (back[0] - side * back[1]), to[1] + share * (back[1] + side * back[0])};
    path += segment(map, to, barb);
  }
  return path;
}

std::string figureHtml(const PageMap& map) {
  const Vec2 extent = extentOf(map);
  return fmt::format(
      "<figure class=\"map\" id=\"{0}\">\n<figcaption><strong>{1}</strong> <span>{2}</span> "
      "<output aria-live=\"off\"></output></figcaption>\n<div class=\"map-stack\">"
      "<canvas width=\"{3}\" height=\"{4}\" role=\"img\" aria-label=\"{5}\"></canvas>"
      "<svg viewBox=\"0 0 {6:.6g} {7:.6g}\" width=\"{8:.0f}\" height=\"{9:.0f}\" aria-hidden=\"true\">{10}</svg>"
      "</div>\n</figure>\n",
      map.id, escaped(map.title), escaped(map.aside), map.field.columns, map.field.rows, escaped(map.label), extent[0],
      extent[1], map.width, map.width * extent[1] / extent[0], map.lines);
}

std::string numberText(double value, const MapUnit& unit) {
  return fmt::format("{:.3g} {}", unit.factor * value, unit.name);
}

std::uint16_t stepsOf(double value, const MapRange& range) {
  if (!std::isfinite(value)) return kNoValue;
  const double share = range.greatest > range.least ? (value - range.least) / (range.greatest - range.least) : 0.0;
  return static_cast<std::uint16_t>(std::lround(kLastValue * std::clamp(share, 0.0, 1.0)));
}

}  // namespace

Vec2 placeOnMap(const PageMap& map, const Vec2& node) {
  const double row = map.rises ? static_cast<double>(map.field.rows - 1) - node[1] : node[1];
  return {(node[0] + 0.5) * map.pitch[0], (row + 0.5) * map.pitch[1]};
}

Vec2 extentOf(const PageMap& map) {
  return {static_cast<double>(map.field.columns) * map.pitch[0], static_cast<double>(map.field.rows) * map.pitch[1]};
}

void addContour(PageMap& map, const std::vector<std::pair<Vec2, Vec2>>& pieces, const Vec2& label,
                const std::string& text) {
  std::string path;
  for (const auto& [from, to] : pieces) path += segment(map, from, to);
  addPath(map, "contour", path);
  addText(map, labelPlace(map, label), "middle", text);
}

void addArrows(PageMap& map, const std::vector<std::pair<Vec2, Vec2>>& arrows) {
  std::string path;
  for (const auto& [from, to] : arrows) path += segment(map, from, to) + barbs(map, from, to);
  addPath(map, "arrows", path);
}

void addCross(PageMap& map, const Vec2& node) {
  const double x = 6.0 * unitsPerPixel(map) / map.pitch[0];
  const double y = 6.0 * unitsPerPixel(map) / map.pitch[1];
  addPath(map, "arrows",
          segment(map, {node[0] - x, node[1]}, {node[0] + x, node[1]}) +
              segment(map, {node[0], node[1] - y}, {node[0], node[1] + y}));
}

void addRuler(PageMap& map, double factor, const std::string& name) {
  const double pixel = unitsPerPixel(map);
  const Vec2 extent = extentOf(map);
  const double length = roundLength(0.2 * extent[0] * factor);
  const double y = extent[1] - 10.0 * pixel;
  const double x = 10.0 * pixel;
  addPath(map, "ruler",
          fmt::format("M{:.6g} {:.6g}v{:.6g}h{:.6g}v{:.6g}", x, y - 4.0 * pixel, 4.0 * pixel, length / factor,
                      -4.0 * pixel));
  addText(map, {x, y - 8.0 * pixel}, "start", fmt::format("{:g} {}", length, name));
}

std::string scaleHtml(const std::string& id, const MapRange& range, const MapUnit& unit) {
  std::string html = fmt::format(
      "<span>{}</span> <svg class=\"map-scale\" viewBox=\"0 0 100 10\" preserveAspectRatio=\"none\" "
      "aria-hidden=\"true\"><defs><linearGradient id=\"{}\">",
      escaped(numberText(range.least, unit)), id);
  for (int i = 0; i <= kScaleStops; ++i) {
    const double share = static_cast<double>(i) / kScaleStops;
    html += fmt::format("<stop offset=\"{:.4g}\" stop-color=\"{}\"/>", share, hexColour(scaleColour(share)));
  }
  return html + fmt::format(
                    "</linearGradient></defs><rect width=\"100\" height=\"10\" fill=\"url(#{})\"/></svg> "
                    "<span>{}</span>",
                    id, escaped(numberText(range.greatest, unit)));
}

std::string mapsHtml(std::span<const PageMap> maps, const MapRange& range, const MapUnit& unit,
                     const std::string& note) {
  std::string html = "<div class=\"maps\">\n";
  for (const PageMap& map : maps) html += figureHtml(map);
  return html + fmt::format("</div>\n<p class=\"map-legend\">{} <span class=\"map-note\">{}</span></p>\n",
                            scaleHtml("scale-of-" + maps.front().id, range, unit), escaped(note));
}

Json jsonOf(std::span<const PageMap> maps, const MapRange& range, const MapUnit& unit) {
  Json list = Json::list({});
  for (const PageMap& map : maps) {
    list.add({{"id", map.id},
              {"columns", map.field.columns},
              {"rows", map.field.rows},
              {"rises", map.rises},
              {"least", range.least},
              {"greatest", range.greatest},
              {"factor", unit.factor},
              {"unit", unit.name}});
  }
  return list;
}

void addBlocks(std::span<const PageMap> maps, const MapRange& range, std::vector<PageBlock>& blocks) {
  for (const PageMap& map : maps) {
    std::vector<std::uint16_t> steps;
    for (const double value : map.field.values) steps.push_back(stepsOf(value, range));
    std::string bytes;
    addPlanes(steps, bytes);
    blocks.push_back({map.id + "-values", std::move(bytes)});
  }
}

Json scaleColours() {
  Json colours = Json::list({});
  for (int i = 0; i < 256; ++i) colours.add(hexColour(scaleColour(i / 255.0)));
  return colours;
}

}  // namespace queltool
