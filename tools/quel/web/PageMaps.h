// Fields over a plane as a page shows them: colours on a canvas, which assets/maps.js paints, and lines over them.
#pragma once

#include <span>
#include <string>
#include <utility>
#include <vector>

#include "files/Json.h"
#include "files/Values.h"
#include "pictures/Contours.h"
#include "web/Page.h"

namespace queltool {

struct PageMap {
  std::string id;     ///< "section-2"
  std::string title;  ///< "Z = 12.3 mm"
  std::string aside;  ///< What else is said above it.
  std::string label;  ///< All of it in words.
  Field field;        ///< Not finite where there is no value.
  bool rises;         ///< The first row lies at the bottom.
  Vec2 pitch;         ///< Of the nodes, in units of the plane.
  double width;       ///< On the page, in pixels, where there is room.
  std::string lines;  ///< SVG over it, in units of the plane.
};

/// From the least colour to the greatest.
struct MapRange {
  double least;
  double greatest;
};

/// How values of maps are read out: `factor` times the value, with this unit.
struct MapUnit {
  double factor;
  std::string name;
};

/// Where a place in units of the field's grid lies in units of the plane, from the upper left corner of the map: a node
/// lies in the middle of its cell.
Vec2 placeOnMap(const PageMap& map, const Vec2& node);

/// Width and height of the map in units of the plane.
Vec2 extentOf(const PageMap& map);

/// Adds a line of equal value with its label at `label`, in units of the grid.
void addContour(PageMap& map, const std::vector<std::pair<Vec2, Vec2>>& pieces, const Vec2& label,
                const std::string& text);

/// Adds arrows, from and to, in units of the grid.
void addArrows(PageMap& map, const std::vector<std::pair<Vec2, Vec2>>& arrows);

/// Adds a cross, in units of the grid.
void addCross(PageMap& map, const Vec2& node);

/// Adds a bar of a round length in the lower left corner; `factor` of the unit `name` are one unit of the plane.
void addRuler(PageMap& map, double factor, const std::string& name);

/// A bar of the colours between the ends of their range; `id` is its own.
std::string scaleHtml(const std::string& id, const MapRange& range, const MapUnit& unit);

/// Maps of one range side by side, with the scale of their colours below; `note` is said beside it.
std::string mapsHtml(std::span<const PageMap> maps, const MapRange& range, const MapUnit& unit,
                     const std::string& note);

/// What assets/maps.js needs to know of them.
Json jsonOf(std::span<const PageMap> maps, const MapRange& range, const MapUnit& unit);

/// Their values: 16 bits each, from the least to the greatest colour, 65535 where there is none.
void addBlocks(std::span<const PageMap> maps, const MapRange& range, std::vector<PageBlock>& blocks);

/// The colours of the scale, from the least to the greatest.
Json scaleColours();

}  // namespace queltool
