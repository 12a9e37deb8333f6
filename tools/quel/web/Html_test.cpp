#include "web/Html.h"

#include <gtest/gtest.h>

namespace queltool {
namespace {

TEST(Escaped, WritesOutWhatMeansSomethingToHtml) {
  EXPECT_EQ(escaped("a<b>&\"c'd"), "a&lt;b&gt;&amp;&quot;c&#39;d");
  EXPECT_EQ(escaped("&amp;"), "&amp;amp;");
  EXPECT_EQ(escaped("mm, \xC2\xB5m\tand\n\xF0\x9F\x94\xAD"), "mm, \xC2\xB5m\tand\n\xF0\x9F\x94\xAD");
}

TEST(Escaped, ReplacesWhatIsNoText) {
  EXPECT_EQ(escaped("a\xFF"
                    "b"),
            "a\xEF\xBF\xBD"
            "b");
  EXPECT_EQ(escaped("\xC3"), "\xEF\xBF\xBD");
  EXPECT_EQ(escaped("a\x01\x7F\r"), "a\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
  EXPECT_EQ(escaped(std::string("\0", 1)), "\xEF\xBF\xBD");
}

TEST(JsonInScript, CannotEndItsScriptAndMeansTheSame) {
  const Json json = {{"name</script>", "<!--<script>&\xFF"}};
  EXPECT_EQ(jsonInScript(json), "{\n \"name\\u003c/script>\": \"\\u003c!--\\u003cscript>&\xEF\xBF\xBD\"\n}");
}

TEST(HexColour, RoundsSharesToBytes) {
  EXPECT_EQ(hexColour({0.0, 0.5, 1.0}), "#0080ff");
  EXPECT_EQ(hexColour({156 / 255.0, 255 / 255.0, 102 / 255.0}), "#9cff66");
}

TEST(TableOfRows, EscapesNamesAndValues) {
  EXPECT_EQ(tableOfRows("A&B", {{"<x>", "\"1\""}}),
            "<table class=\"rows\">\n<caption>A&amp;B</caption>\n"
            "<tr><th scope=\"row\">&lt;x&gt;</th><td>&quot;1&quot;</td></tr>\n</table>\n");
}

TEST(TableOfRows, SaysThatThereAreNone) { EXPECT_EQ(tableOfRows("Origin", {}), "<h2>Origin</h2>\n<p>None.</p>\n"); }

TEST(FilledAsset, PutsValuesInTheirPlacesAsTheyAre) {
  const std::string html = filledAsset("view.html", {{"label", "{keys} {0} {"}, {"keys", ", and"}});
  EXPECT_NE(html.find("aria-label=\"{keys} {0} {\""), std::string::npos);
  EXPECT_NE(html.find("F fits, and."), std::string::npos);
}

}  // namespace
}  // namespace queltool
