#include "web/Page.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "web/Assets.h"
#include "web/Base64.h"
#include "web/Compression.h"

namespace queltool {
namespace {

using testing::HasSubstr;
using testing::Not;

WebPage smallPage() {
  WebPage page;
  page.title = "A <part>";
  page.lead = "<em>lead</em>";
  page.body = "<main>{braces}</main>\n";
  page.data = {{"name", "</script>"}};
  page.figures = {{"count", 3}};
  page.blocks = {{"one", "bytes"}};
  return page;
}

TEST(TextOf, EscapesTheTitleAndTakesHtmlAsItIs) {
  const std::string html = textOf(smallPage());
  EXPECT_THAT(html, HasSubstr("<title>A &lt;part&gt;</title>"));
  EXPECT_THAT(html, HasSubstr("<h1>A &lt;part&gt;</h1>"));
  EXPECT_THAT(html, HasSubstr("<p><em>lead</em></p>"));
  EXPECT_THAT(html, HasSubstr("<main>{braces}</main>"));
}

TEST(TextOf, KeepsDataWhereNoBrowserRunsThem) {
  const std::string html = textOf(smallPage());
  EXPECT_THAT(html,
              HasSubstr("<script type=\"application/json\" id=\"data\">{\n \"name\": \"\\u003c/script>\"\n}</script>"));
  EXPECT_THAT(html, HasSubstr("<script type=\"application/json\" id=\"figures\">{\n \"count\": 3\n}</script>"));
  EXPECT_THAT(html, HasSubstr("<script type=\"application/octet-stream\" id=\"one\">" + base64(deflated("bytes")) +
                              "</script>"));
}

// Scripts of the page come last, for they use those of all pages.
TEST(TextOf, RunsTheScriptsOfAllPagesAndThoseThatItNames) {
  WebPage page = smallPage();
  const std::string own = "<script>" + std::string(asset("deviation.js").text) + "</script>";
  const std::string common = "<script>" + std::string(asset("page.js").text) + "</script>";
  EXPECT_THAT(textOf(page), Not(HasSubstr(own)));
  page.scripts = {"deviation.js"};
  const std::string html = textOf(page);
  EXPECT_LT(html.find(common), html.find(own));
  EXPECT_THAT(html, HasSubstr("'sha256-" + base64OfHex(asset("deviation.js").sha256) + "'"));
}

TEST(TextOf, CarriesTheNoticeOfWhatDrawsItsView) {
  const std::string html = textOf(smallPage());
  EXPECT_THAT(html, HasSubstr("three.js authors"));
  EXPECT_THAT(html, HasSubstr("The above copyright notice and this permission notice shall be included"));
}

TEST(ViewHtml, EscapesItsLabel) { EXPECT_THAT(viewHtml("a \"b\""), HasSubstr("aria-label=\"a &quot;b&quot;\"")); }

TEST(Asset, IsKnownByItsName) {
  EXPECT_THAT(std::string(asset("three.js").text), HasSubstr("REVISION"));
  EXPECT_EQ(asset("page.css").sha256.size(), 64U);
  EXPECT_THROW(asset("none.js"), std::logic_error);
}

TEST(Notice, NamesAllWhoseWorkTheToolCarries) {
  std::ostringstream notice;
  notice << std::ifstream(QUEL_NOTICE).rdbuf();
  for (const char* const owner :
       {"three.js authors", "University of Cincinnati", "Benoit Jacob", "Marius Muja", "Niels Lohmann"}) {
    EXPECT_THAT(notice.str(), HasSubstr(owner));
  }
}

}  // namespace
}  // namespace queltool
