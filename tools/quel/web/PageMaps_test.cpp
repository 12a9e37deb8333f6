#include "web/PageMaps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "web/Planes.h"

namespace queltool {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Three columns and two rows, 10 by 5 a cell.
PageMap mapThatRises(bool rises) {
  PageMap map;
  map.id = "map";
  map.title = "A < B";
  map.aside = "said";
  map.label = "\"in words\"";
  map.field = {3, 2, {0.0, 1.0, 2.0, kNaN, 4.0, 5.0}};
  map.rises = rises;
  map.pitch = {10.0, 5.0};
  map.width = 300.0;
  return map;
}

TEST(PageMaps, PutNodesInTheMiddleOfTheirCells) {
  const PageMap falls = mapThatRises(false);
  EXPECT_EQ(placeOnMap(falls, {0.0, 0.0}), (Vec2{5.0, 2.5}));
  EXPECT_EQ(placeOnMap(falls, {2.0, 1.0}), (Vec2{25.0, 7.5}));
  EXPECT_EQ(extentOf(falls), (Vec2{30.0, 10.0}));
}

TEST(PageMaps, RiseFromTheBottomWhereTheyAreSections) {
  const PageMap rises = mapThatRises(true);
  EXPECT_EQ(placeOnMap(rises, {0.0, 0.0}), (Vec2{5.0, 7.5}));
  EXPECT_EQ(placeOnMap(rises, {2.0, 1.0}), (Vec2{25.0, 2.5}));
}

TEST(PageMaps, KeepValuesAsSharesOfTheirRange) {
  const PageMap map = mapThatRises(true);
  std::vector<PageBlock> blocks;
  addBlocks({&map, 1}, {1.0, 5.0}, blocks);
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(blocks[0].id, "map-values");
  const std::vector<std::uint16_t> steps = {0, 0, 16384, 65535, 49151, 65534};  // What is less is as the least.
  std::string bytes;
  addPlanes(steps, bytes);
  EXPECT_EQ(blocks[0].bytes, bytes);
}

TEST(PageMaps, HaveNoValueWhereItIsNotFinite) {
  PageMap map = mapThatRises(true);
  map.field.values.assign(map.field.values.size(), HUGE_VAL);
  std::vector<PageBlock> blocks;
  addBlocks({&map, 1}, {1.0, 5.0}, blocks);
  std::string bytes;
  addPlanes(std::vector<std::uint16_t>(map.field.values.size(), 65535), bytes);
  EXPECT_EQ(blocks[0].bytes, bytes);
}

TEST(PageMaps, OfOneValueHaveTheLeastColour) {
  const PageMap map = mapThatRises(true);
  std::vector<PageBlock> blocks;
  addBlocks({&map, 1}, {2.0, 2.0}, blocks);
  std::string bytes;
  addPlanes(std::vector<std::uint16_t>{0, 0, 0, 65535, 0, 0}, bytes);
  EXPECT_EQ(blocks[0].bytes, bytes);
}

TEST(PageMaps, DrawLinesInUnitsOfThePlane) {
  PageMap map = mapThatRises(true);
  addContour(map, {{{0.0, 0.0}, {1.0, 1.0}}}, {1.0, 0.0}, "<0.5>");
  EXPECT_THAT(map.lines, AllOf(HasSubstr("<path class=\"contour\" d=\"M5 7.5L15 2.5\"/>"), HasSubstr("x=\"15\""),
                               HasSubstr(">&lt;0.5&gt;</text>")));
}

// 11 of 300 pixels are 1.1 of 30 units.
TEST(PageMaps, KeepLabelsWithin) {
  PageMap map = mapThatRises(true);
  map.pitch = {10.0, 20.0};
  addContour(map, {{{2.4, -0.4}, {2.5, -0.4}}}, {2.5, -0.5}, "9");
  EXPECT_THAT(map.lines, HasSubstr("<text x=\"28.35\" y=\"39.615\""));
}

TEST(PageMaps, DrawArrowsWithBarbsAndNoneWithoutLength) {
  PageMap map = mapThatRises(false);
  addArrows(map, {{{0.0, 0.0}, {2.0, 0.0}}});
  EXPECT_THAT(map.lines, HasSubstr("d=\"M5 2.5L25 2.5M25 2.5L"));
  map.lines.clear();
  addArrows(map, {{{1.0, 1.0}, {1.0, 1.0}}});
  EXPECT_EQ(map.lines, "<path class=\"arrows\" d=\"M15 7.5L15 7.5\"/>");
}

TEST(PageMaps, HaveARulerOfARoundLength) {
  PageMap map = mapThatRises(false);
  addRuler(map, 0.1, "cm");  // 3 cm wide.
  EXPECT_THAT(map.lines, AllOf(HasSubstr("h5v"), HasSubstr(">0.5 cm</text>")));
}

TEST(PageMaps, EscapeWhatTheySay) {
  const PageMap map = mapThatRises(true);
  const std::string html = mapsHtml({&map, 1}, {0.0, 5.0}, {2.0, "\xC2\xB5m"}, "a & b");
  EXPECT_THAT(html, AllOf(HasSubstr("<strong>A &lt; B</strong>"), HasSubstr("aria-label=\"&quot;in words&quot;\""),
                          HasSubstr("viewBox=\"0 0 30 10\" width=\"300\" height=\"100\""), HasSubstr("a &amp; b"),
                          HasSubstr("<span>0 \xC2\xB5m</span>"), HasSubstr("<span>10 \xC2\xB5m</span>"),
                          Not(HasSubstr("style="))));
}

}  // namespace
}  // namespace queltool
