// The page of a head, as it stands in its file; tests in a browser look at what it shows.
#include <cmath>
#include <filesystem>
#include <memory>

#include "commands/tool_fixture.h"
#include "quel/head/Head.h"
#include "quel/measure/Projection.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class ReportTool : public Quel {
 protected:
  std::string pageOf(const std::string& block, const std::string& more = "") const {
    const Outcome done = run("report '" + block + "' -o " + path("head.html") + " " + more);
    EXPECT_EQ(done.code, 0) << done.error;
    EXPECT_THAT(done.out, HasSubstr("head.html: written"));
    return readFile(path("head.html"));
  }

  // Of the block with another record.
  template <typename Change>
  std::string changed(const Change& change) const {
    const auto head = quel::Head::load(block_);
    auto record = std::make_unique<tag_qmReconsTensorData>(head->record());
    change(*record);
    const auto stored = quel::Head::fromRecord(*record).store(dir_.path() / "changed", true);
    EXPECT_TRUE(stored);
    return stored->string();
  }

  std::string block_ = makeBlock();
};

json jsonIn(const std::string& page, const std::string& id) {
  const std::string begin = "<script type=\"application/json\" id=\"" + id + "\">";
  const std::size_t from = page.find(begin) + begin.size();
  return json::parse(page.substr(from, page.find("</script>", from) - from));
}

TEST_F(ReportTool, TellsTheFiguresOfOtherCommands) {
  const std::string page = pageOf(block_, "--noise 0.1 --fit rays --size 100,80,40");
  const json figures = jsonIn(page, "figures");
  EXPECT_EQ(figures["block"], block_);
  EXPECT_EQ(figures["head"], json::parse(run("info --json " + block_).out));
  EXPECT_EQ(figures["uncertainty"],
            json::parse(run("uncertainty --json --noise 0.1 --fit rays --size 100,80,40 " + block_).out));
  EXPECT_THAT(page, AllOf(HasSubstr("with 0.1 px of noise in each coordinate, rays fit"),
                          HasSubstr("100 \xC3\x97 80 \xC3\x97 40 mm about"), HasSubstr("Machine LAB7, block 12")));
}

TEST_F(ReportTool, ShowsWhereTheCamerasStandAndWhatTheySee) {
  const json scene = jsonIn(pageOf(block_), "data")["scene"];
  const json info = json::parse(run("info --json " + block_).out);
  for (std::size_t camera = 0; camera < 3; ++camera) {
    const json& seen = scene["cameras"][camera];
    EXPECT_EQ(seen["rim"].size(), 32u);
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_NEAR(seen["place"][i], info["cameras"][camera]["location_mm"][i].get<double>(), 1e-9);
      EXPECT_NEAR(seen["forward"][i], info["cameras"][camera]["rotation"][2][i].get<double>(), 1e-12);
    }
  }
  EXPECT_EQ(scene["volume"]["centre"], info["head"]["box_centre_mm"]);
  EXPECT_NEAR(scene["volume"]["size"][2], 2.0 * info["head"]["box_half_size_mm"][2].get<double>(), 1e-12);
}

// The corners of a field of view are seen at the corners of the image.
TEST_F(ReportTool, EndsFieldsOfViewAtTheCornersOfImages) {
  const json scene = jsonIn(pageOf(block_), "data")["scene"];
  const auto head = quel::Head::load(block_);
  const double corners[4][2] = {{-0.5, -0.5}, {639.5, -0.5}, {639.5, 479.5}, {-0.5, 479.5}};
  for (int camera = 0; camera < 3; ++camera) {
    for (std::size_t corner = 0; corner < 4; ++corner) {
      const quel::Vec3 at[] = {scene["cameras"][camera]["rim"][8 * corner].get<quel::Vec3>()};
      const auto pixel = quel::project(*head, at, camera);
      ASSERT_TRUE(pixel);
      EXPECT_NEAR(pixel->pixels[0][0], corners[corner][0], 1e-6);
      EXPECT_NEAR(pixel->pixels[0][1], corners[corner][1], 1e-6);
    }
  }
}

TEST_F(ReportTool, SaysThatABlockTellsNoVolume) {
  const std::string block = changed([](tag_qmReconsTensorData& t) { t.reconstBoxHalfSizeX = -1.0; });
  const std::string page = pageOf(block);
  EXPECT_THAT(page,
              HasSubstr("The block does not tell its measuring volume; give its size, such as --size 200,150,100."));
  EXPECT_TRUE(jsonIn(page, "data")["scene"]["volume"].is_null());
  EXPECT_EQ(jsonIn(page, "data")["scene"]["cameras"][0]["rim"].size(), 32u);
  EXPECT_THAT(pageOf(block, "--size 100,100,50"), Not(HasSubstr("does not tell its measuring volume")));
}

TEST_F(ReportTool, SaysWhyNoUncertaintyCanBeTold) {
  const std::string page = pageOf(changed([](tag_qmReconsTensorData& t) { t.reconstBoxCenterX = 1e6; }));
  EXPECT_THAT(page, HasSubstr("No uncertainty can be told: no place of the volume is seen by the cameras."));
  EXPECT_EQ(jsonIn(page, "data")["sectionMaps"], json::array());
}

TEST_F(ReportTool, TellsOfAHeadThatIsNotToBeMeasuredWith) {
  const std::string page = pageOf(changed([](tag_qmReconsTensorData& t) { t.projections[0][0][0] = std::nan(""); }));
  EXPECT_THAT(page, AllOf(HasSubstr("</span> bad</span>"), HasSubstr("not finite: projections"),
                          HasSubstr("The view shows no cameras: ")));
  EXPECT_EQ(jsonIn(page, "data")["scene"]["cameras"], json::array());
}

TEST_F(ReportTool, SaysThatALensHasNoAnswerOnTheBorder) {
  const std::string page = pageOf(changed([](tag_qmReconsTensorData& t) { t.distortParams[1].k1 *= 8.0; }));
  EXPECT_THAT(page, HasSubstr("The field of view of camera 1 is that of a pinhole"));
  EXPECT_THAT(page, Not(HasSubstr("The field of view of camera 0 is that of a pinhole")));
}

TEST_F(ReportTool, KeepsNamesFromMeaningAnythingToABrowser) {
  const std::string block = path("<img src=x onerror=alert(1)>&.tns");
  fs::copy_file(block_, block);
  const std::string page = pageOf(block);
  EXPECT_THAT(page, AllOf(HasSubstr("<title>Head of &lt;img src=x onerror=alert(1)&gt;&amp;.tns</title>"),
                          Not(HasSubstr("<img"))));
  EXPECT_EQ(jsonIn(page, "figures")["block"], block);
}

TEST_F(ReportTool, RefusesWhatItCannotShow) {
  expectFailure(run("report " + path("none.tns") + " -o " + path("a.html")), "none.tns: there is no such file");
  EXPECT_FALSE(fs::exists(path("a.html")));
  EXPECT_EQ(run("report " + block_).code, 2);
  EXPECT_EQ(run("report " + block_ + " -o a.htm").code, 2);
  EXPECT_EQ(run("report " + block_ + " -o a.html --size 1,0,1").code, 2);
  expectFailure(run("report " + block_ + " -o " + path("no/a.html")), "a.html");
}

}  // namespace
}  // namespace queltool
