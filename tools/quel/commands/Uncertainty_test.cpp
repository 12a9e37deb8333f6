// How well a head measures, as a user sees it.
#include <algorithm>
#include <cmath>
#include <memory>

#include "commands/tool_fixture.h"
#include "models/Uncertainty.h"
#include "pictures/pictures_fixture.h"
#include "quel/head/Head.h"
#include "quel/measure/ExpectedCovariance.h"

namespace queltool {
namespace {

using nlohmann::json;
using ::testing::AllOf;
using ::testing::HasSubstr;

class UncertaintyTool : public Quel {
 protected:
  json figures(const std::string& more) const {
    const Outcome done = run("uncertainty " + block_ + " --json " + more);
    EXPECT_EQ(done.code, 0) << done.error;
    return json::parse(done.out);
  }

  std::string block_ = makeBlock();
};

TEST_F(UncertaintyTool, TellsTheDeviationsAtTheCentreOfTheVolume) {
  const auto head = quel::Head::load(block_);
  ASSERT_TRUE(head);
  const tag_qmReconsTensorData& record = head->record();
  const quel::Vec3 centre[] = {{record.reconstBoxCenterX, record.reconstBoxCenterY, record.reconstBoxCenterZ}};
  for (const auto& [name, fit] : {std::pair("linear", quel::Fit::Linear), std::pair("planar", quel::Fit::Planar),
                                  std::pair("singular", quel::Fit::Singular), std::pair("rays", quel::Fit::Rays)}) {
    const json told = figures(std::string("--noise 0.2 --fit ") + name);
    const auto expected = quel::expectedCovariance(*head, centre, {.fit = fit, .noise = 0.2});
    ASSERT_TRUE(expected);
    const quel::Mat3& c = expected->covariance[0];
    EXPECT_EQ(told["fit"], name);
    EXPECT_DOUBLE_EQ(told["centre"]["x_mm"], std::sqrt(c[0][0]));
    EXPECT_DOUBLE_EQ(told["centre"]["z_mm"], std::sqrt(c[2][2]));
    EXPECT_DOUBLE_EQ(told["centre"]["point_mm"], std::sqrt(c[0][0] + c[1][1] + c[2][2]));
    EXPECT_LE(told["least"]["point_mm"], told["centre"]["point_mm"]);
    EXPECT_LE(told["centre"]["point_mm"], told["greatest"]["point_mm"]);
    EXPECT_LE(told["least"]["y_mm"], told["rms"]["y_mm"]);
    EXPECT_LE(told["rms"]["y_mm"], told["greatest"]["y_mm"]);
  }
}

TEST_F(UncertaintyTool, GrowsWithTheNoiseAndAsksForTheVolume) {
  const json one = figures("--noise 0.1 --size 10,20,30");
  const json two = figures("--noise 0.2 --size 10,20,30");
  EXPECT_NEAR(two["rms"]["point_mm"], 2.0 * one["rms"]["point_mm"].get<double>(), 1e-12);
  EXPECT_EQ(one["volume"]["size_mm"], json::parse("[10.0, 20.0, 30.0]"));
  EXPECT_EQ(one["places"], 21 * 21 * 21);
  EXPECT_EQ(one["seen"], one["places"]);
  EXPECT_EQ(figures("")["noise_px"], 0.05);
}

TEST_F(UncertaintyTool, CountsWhatTheCamerasDoNotSee) {
  const json wide = figures("--size 2000,2000,50");
  EXPECT_LT(wide["seen"], wide["places"]);
  EXPECT_GT(wide["seen"], 0);
  EXPECT_THAT(run("uncertainty " + block_ + " --size 2000,2000,50").out, HasSubstr("% of it is seen"));
}

TEST_F(UncertaintyTool, DrawsThreeSections) {
  const Outcome done = run("uncertainty " + block_ + " --noise 0.05 -o " + path("map.png"));
  ASSERT_EQ(done.code, 0) << done.error;
  EXPECT_THAT(done.out, AllOf(HasSubstr("0.05 px of noise"), HasSubstr("centre"), HasSubstr("greatest")));
  const ReadPicture picture(path("map.png"));
  EXPECT_EQ(picture.width(), 2680);
  // A section has many shades, of which the darkest and the lightest stand far apart.
  const auto sum = [](const Rgb& c) { return c[0] + c[1] + c[2]; };
  const auto [dark, light] = std::minmax_element(picture.pixels().begin(), picture.pixels().end(),
                                                 [&](const Rgb& a, const Rgb& b) { return sum(a) < sum(b); });
  EXPECT_GT(sum(*light) - sum(*dark), 400);
  ASSERT_EQ(run("uncertainty " + block_ + " --size 100,1,1 -o " + path("flat.svg")).code, 0);
}

TEST_F(UncertaintyTool, RefusesWhatItCannotShow) {
  expectFailure(run("uncertainty " + path("none.tns")), "none.tns: there is no such file");
  for (const char* noise : {"0", "-1", "nan", "inf", "x"}) {
    EXPECT_EQ(run("uncertainty " + block_ + " --noise " + noise).code, 2) << noise;
  }
  EXPECT_EQ(run("uncertainty " + block_ + " --reference 3").code, 2);
  EXPECT_EQ(run("uncertainty " + block_ + " --size 1,2").code, 2);
  EXPECT_EQ(run("uncertainty " + block_ + " --size 1,0,2").code, 2);
  EXPECT_EQ(run("uncertainty " + block_ + " --fit square").code, 2);
  EXPECT_EQ(run("uncertainty " + block_ + " -o map.csv").code, 2);
}

TEST_F(UncertaintyTool, TellsOfABlockThatKnowsNoVolume) {
  const auto head = quel::Head::load(block_);
  ASSERT_TRUE(head);
  auto record = std::make_unique<tag_qmReconsTensorData>(head->record());
  record->reconstBoxHalfSizeX = -1.0;
  const auto stored = quel::Head::fromRecord(*record).store(dir_.path() / "other");
  ASSERT_TRUE(stored) << stored.error().message();
  expectFailure(run("uncertainty " + stored->string()), "does not tell its measuring volume; give its size, such as");
  EXPECT_EQ(run("uncertainty " + stored->string() + " --size 100,100,50").code, 0);
  record->reconstBoxCenterX = 1e6;
  const auto far = quel::Head::fromRecord(*record).store(dir_.path() / "far");
  expectFailure(run("uncertainty " + far->string() + " --size 1,1,1"), "no place of the volume is seen");
}

// The centre of an imported head is 0 but for rounding.
TEST(Uncertainty, ShowsPlacesToTheMicrometre) {
  EXPECT_EQ(toMicrometre(1.23449), 1.234);
  EXPECT_EQ(toMicrometre(-17.0), -17.0);
  EXPECT_FALSE(std::signbit(toMicrometre(-2.3e-14)));
}

}  // namespace
}  // namespace queltool
