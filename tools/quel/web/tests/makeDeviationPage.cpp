// Writes pages of deviations whose content tests know:
//   makeDeviationPage KIND POINTS FILE.html
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "models/ColourTable.h"
#include "quelcore/presentation/DeviationColorScheme.h"
#include "quelplatform/qmEnv/qmText.h"
#include "web/DeviationPage.h"

namespace {

using queltool::DeviationPage;
using queltool::Json;
using queltool::Vec3;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Made {
  std::vector<Vec3> points;
  std::vector<double> deviations;
};

// A wavy plate of 200 by 120 mm, scanned with noise.
Made surface(std::size_t count) {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> share(0.0, 1.0);
  std::normal_distribution<double> noise(0.0, 0.02);
  Made made;
  for (std::size_t i = 0; i < count; ++i) {
    const double x = 200.0 * share(random);
    const double y = 120.0 * share(random);
    const double z = 8.0 * std::sin(x / 30.0) * std::cos(y / 25.0);
    const double off = noise(random) + 0.09 * std::sin(x / 47.0) * std::sin(y / 31.0);
    made.points.push_back({x, y, z + off});
    made.deviations.push_back(i % 97 == 0 ? kNaN : off);
  }
  return made;
}

// A flat plate of 90 by 30 mm in three fields of one deviation each, from left to right.
Made plate(const std::array<double, 3>& fields) {
  Made made;
  for (std::size_t row = 0; row <= 120; ++row) {
    for (std::size_t column = 0; column < 360; ++column) {
      made.points.push_back({0.25 * static_cast<double>(column), 0.25 * static_cast<double>(row), 0.0});
      made.deviations.push_back(fields[column / 120]);
    }
  }
  return made;
}

// Deviations halfway between the steps of typed tolerances, so that no page has to round them.
Made rounded(std::size_t count) {
  Made made = surface(count);
  for (double& off : made.deviations) off = (std::floor(off / 1e-3) + 0.5) * 1e-3;
  return made;
}

Made one(std::size_t) { return {{{12.5, -3.0, 480.25}}, {0.0625}}; }

Made allOut(std::size_t count) {
  Made made = surface(count);
  for (double& off : made.deviations) off = 3.0 + off;
  return made;
}

Made allEqual(std::size_t count) {
  Made made = surface(count);
  for (double& off : made.deviations) off = 0.1;
  return made;
}

Made noneGraded(std::size_t count) {
  Made made = surface(count);
  for (double& off : made.deviations) off = kNaN;
  return made;
}

Made madeOf(const std::string& kind, std::size_t count) {
  if (kind == "surface" || kind == "hostile" || kind == "skewed" || kind == "one-sided") return surface(count);
  if (kind == "fields") return plate({0.05, -0.25, kNaN});
  if (kind == "limits") return plate({0.1 - 5e-5, 0.1, -0.1});  // A step of the page from a limit, and on both.
  if (kind == "many-bands" || kind == "one-band") return plate({0.00555, 0.2705, -0.3});
  if (kind == "rounded" || kind == "rounded-wide") return rounded(count);
  if (kind == "one") return one(count);
  if (kind == "all-out") return allOut(count);
  if (kind == "all-equal") return allEqual(count);
  if (kind == "none-graded") return noneGraded(count);
  return {};
}

// One band for each percent, whose colour tells which; or one alone.
void useBands(std::uint16_t count) {
  DeviationColorScheme& table = queltool::deviationColours();
  table.clear();
  for (std::uint16_t i = 0; i < count; ++i) {
    const std::uint32_t colour = 0x070000U | (i / 256U * 100U) << 8 | i % 256U;
    table.add(static_cast<std::uint16_t>(i + 1), {colour, u"band " + toWide(std::to_string(i))});
  }
}

// As a command counts them.
std::vector<std::size_t> bandCounts(const DeviationPage& page) {
  std::vector<std::size_t> counts(page.table.bands.size());
  for (const double off : page.deviations) {
    if (!std::isnan(off)) ++counts[queltool::gradeDeviation(page.lower, page.upper, off, page.oneSided).level];
  }
  return counts;
}

// Of the first deviations, what share of the tolerance they are.
Json percentsOf(const DeviationPage& page) {
  Json percents = Json::list({});
  for (const double off : page.deviations.first(std::min<std::size_t>(page.deviations.size(), 500))) {
    if (std::isnan(off)) continue;
    percents.add(Json::list({off, queltool::gradeDeviation(page.lower, page.upper, off, page.oneSided).percent}));
  }
  return percents;
}

// What of a page is text.
void addTexts(const std::string& kind, DeviationPage& page) {
  const std::string name = kind == "hostile" ? "</script><img onerror=alert(1) src=x>&amp;\"'\x01\xFF.ply" : "scan.ply";
  page.title = "Deviations of " + name;
  page.figures = {{"Points", std::to_string(page.points.size())}, {"Mean", "0.0123 mm"}, {"RMS", "0.0456 mm"}};
  page.origin = {{"Cloud", name}, {"Nominal", "plate.stl, mesh of 200000 triangles"}, {"quel", "1.0"}};
  page.notes = {"The nominal of " + name + " is a smoothed copy of the scan."};
  page.json = {
      {"cloud", name}, {"points", page.points.size()}, {"bands", bandCounts(page)}, {"percents", percentsOf(page)}};
  if (kind == "hostile") page.table.bands.front().name = "</td><script>document.title = 'broken'</script>";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return std::fputs("usage: makeDeviationPage KIND POINTS FILE.html\n", stderr), 2;
  const std::string kind = argv[1];
  const Made made = madeOf(kind, std::strtoull(argv[2], nullptr, 10));
  DeviationPage page{};
  page.points = made.points;
  page.deviations = made.deviations;
  page.lower = kind == "skewed" ? -0.03 : -0.1;
  page.upper = 0.1;
  if (kind == "rounded-wide") std::tie(page.lower, page.upper) = std::pair(-0.05, 0.12);
  page.oneSided = kind == "one-sided";
  if (kind == "many-bands") useBands(300);
  if (kind == "one-band") useBands(1);
  page.table = queltool::readColourTable();
  page.unit = queltool::siteUnit();
  addTexts(kind, page);
  queltool::writeDeviationPage({argv[3]}, page);
  return 0;
}
