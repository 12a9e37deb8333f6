#include "web/DeviationPage.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>

#include "files/Failure.h"
#include "quelcore/presentation/DeviationColorScheme.h"
#include "testing/TempHome.h"

namespace queltool {
namespace {

using testing::HasSubstr;

class DeviationPageTest : public testing::Test {
 protected:
  DeviationPageTest() {
    DeviationColorScheme::FreeInstance();
    page_.title = "Deviations";
    page_.lower = -0.1;
    page_.upper = 0.1;
    page_.table = readColourTable();
    page_.unit = {1.0, "mm"};
  }
  ~DeviationPageTest() override { DeviationColorScheme::FreeInstance(); }

  std::filesystem::path file() const { return home_.path() / "page.html"; }

  // The page as text, after it was written.
  std::string written() const {
    writeDeviationPage({file()}, page_);
    std::ostringstream text;
    text << std::ifstream(file(), std::ios::binary).rdbuf();
    return text.str();
  }

  void add(const Vec3& point, double deviation) {
    points_.push_back(point);
    deviations_.push_back(deviation);
    page_.points = points_;
    page_.deviations = deviations_;
  }

  quel::testing::TempHome home_;
  std::vector<Vec3> points_;
  std::vector<double> deviations_;
  DeviationPage page_{};
};

std::size_t countOf(const std::string& part, const std::string& text) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

TEST_F(DeviationPageTest, NamesEveryScriptAndStyleInItsPolicyAndNothingUnsafe) {
  const std::string html = written();
  const std::string policy =
      html.substr(html.find("default-src"), html.find("\">", html.find("default-src")) - html.find("default-src"));
  EXPECT_THAT(policy, testing::StartsWith("default-src 'none'; script-src 'sha256-"));
  EXPECT_EQ(countOf("'sha256-", policy), countOf("<script>", html) + countOf("<style>", html));
  EXPECT_EQ(policy.find("unsafe"), std::string::npos);
  EXPECT_EQ(countOf("<script", html), countOf("</script>", html));
  EXPECT_EQ(countOf(" style=", html), 0U);
  EXPECT_EQ(countOf("http://", html.substr(0, html.find("<script>"))), 0U);
}

TEST_F(DeviationPageTest, OfAMillionNoisyPointsIsAtMostEightMegabytes) {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> share(0.0, 1.0);
  std::normal_distribution<double> noise(0.0, 0.03);
  for (int i = 0; i < 1000000; ++i) {
    const double x = 300.0 * share(random);
    const double y = 200.0 * share(random);
    const double off = noise(random);
    add({x, y, 40.0 * std::sin(x / 40.0) * std::cos(y / 50.0) + off}, off);
  }
  writeDeviationPage({file()}, page_);
  EXPECT_LE(std::filesystem::file_size(file()), 8'000'000U);
}

// All around, and with noise that is wide beside the tolerance.
TEST_F(DeviationPageTest, OfAMillionPointsAroundABallIsAtMostEightMegabytes) {
  std::mt19937_64 random(2);
  std::normal_distribution<double> normal(0.0, 1.0);
  page_.lower = -0.01;
  page_.upper = 0.01;
  for (int i = 0; i < 1000000; ++i) {
    const Vec3 way = {normal(random), normal(random), normal(random)};
    const double off = 0.05 * normal(random);
    const double scale = (50.0 + off) / std::hypot(way[0], way[1], way[2]);
    add({scale * way[0], scale * way[1], scale * way[2]}, off);
  }
  writeDeviationPage({file()}, page_);
  EXPECT_LE(std::filesystem::file_size(file()), 8'000'000U);
}

TEST_F(DeviationPageTest, SaysWhatItShowsOtherwiseThanItIs) {
  add({0.0, 0.0, 0.0}, 0.05);
  add({100.0, 0.0, 0.0}, HUGE_VAL);
  add({std::numeric_limits<double>::quiet_NaN(), 0.0, 0.0}, 0.05);
  page_.notes = {"The nominal is <one> of many."};
  const std::string html = written();
  EXPECT_THAT(html, HasSubstr("<li>The nominal is &lt;one&gt; of many.</li>"));
  EXPECT_THAT(html, HasSubstr("<li>Not shown, for they are not finite: 1 point.</li>"));
  EXPECT_THAT(html, HasSubstr("<li>Farther off than 107374 mm, and shown as if that far off: 1 point.</li>"));
  EXPECT_THAT(
      html,
      HasSubstr("<li>Positions are shown in steps of 0.00153 mm, deviations in steps of 0.0001 mm, by which points "
                "are counted at other tolerances.</li>"));
}

TEST_F(DeviationPageTest, WritesStepsWithoutNeedlessDigits) {
  page_.unit = {1000.0, "um"};
  add({0.0, 0.0, 0.0}, 0.05);
  add({655.35, 0.0, 0.0}, 0.05);
  EXPECT_THAT(written(), HasSubstr("Positions are shown in steps of 10 um, deviations in steps of 0.1 um, by which"));
}

TEST_F(DeviationPageTest, WritesHugeStepsWithAnExponent) {
  add({-1e300, 0.0, 0.0}, 0.05);
  add({1e300, 0.0, 0.0}, 0.05);
  EXPECT_THAT(written(), HasSubstr("Positions are shown in steps of 3.05e+295 mm"));
}

TEST_F(DeviationPageTest, ShowsLengthsInTheUnitOfTheSite) {
  page_.unit = {1.0 / 25.4, "in"};
  page_.lower = -2.54;
  page_.upper = 5.08;
  add({0.0, 0.0, 0.0}, 0.05);
  EXPECT_THAT(written(), HasSubstr("1 point, tolerance \xE2\x88\x92"
                                   "0.1 to 0.2 in"));
}

TEST_F(DeviationPageTest, CountsForThoseWithoutScripts) {
  for (const double deviation : {-0.2, 0.0, 0.05, 0.3, 0.4, 0.5}) add({10.0 * deviation, 0.0, 0.0}, deviation);
  const std::string html = written();
  EXPECT_THAT(html, HasSubstr("<strong id=\"within-share\">33.33 %</strong> <span id=\"places\">within \xE2\x88\x92"
                              "0.1 to 0.1 mm, 1 below, 3 above</span>"));
  EXPECT_THAT(html, HasSubstr("<td class=\"count\">4</td><td class=\"share\">66.67 %</td>"));
}

TEST_F(DeviationPageTest, IsTheSameFileTwice) {
  for (int i = 0; i < 1000; ++i) add({1.0 * (i % 37), 1.0 * (i % 11), 0.1 * i}, 0.001 * (i % 200));
  EXPECT_EQ(written(), written());
}

TEST_F(DeviationPageTest, FailsWhereItCannotBeWritten) {
  EXPECT_THROW(writeDeviationPage({home_.path() / "none" / "page.html"}, page_), Failure);
}

}  // namespace
}  // namespace queltool
