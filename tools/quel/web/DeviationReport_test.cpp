#include "web/DeviationReport.h"

#include <gmock/gmock.h>

#include "testing/TempHome.h"

namespace queltool {
namespace {

using quel::testing::readFile;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

// Of a site that measures in inches.
class DeviationReport : public ::testing::Test {
 protected:
  DeviationReport() {
    quel::testing::writeFile(home_.path() / "params.ini", "QmEnv.Units = 3\n");
    run_.cloud = "scan.ply";
    run_.reference = "part.stl";
    run_.nominal = "mesh of 12 triangles";
    run_.tolerance = {-25.4, 25.4};
    run_.off = {{{0, 0, 0}, {254, 0, 0}}, {12.7, -12.7}};
    run_.figures = figuresOf(run_.off.each, run_.tolerance);
  }

  std::string written() const {
    writeDeviationReport(home_.path() / "page.html", run_);
    const std::string html = readFile(home_.path() / "page.html");
    return html.substr(0, html.find("<script"));
  }

  quel::testing::TempHome home_;
  DeviationRun run_;
};

TEST_F(DeviationReport, TellsEveryLengthInTheUnitOfTheSite) {
  Alignment alignment{};
  alignment.degrees = 1.5;
  alignment.shift = 50.8;
  alignment.before = {25.4, 2};
  alignment.after = {2.54, 2};
  alignment.converged = true;
  run_.alignment = alignment;
  EXPECT_THAT(written(),
              AllOf(HasSubstr("turned by 1.5 degrees, moved by 2 in; 1 in RMS before, 0.1 in after"),
                    HasSubstr("<td>+0.5 in</td>"), HasSubstr("part.stl, mesh of 12 triangles"), Not(HasSubstr(" mm"))));
}

TEST_F(DeviationReport, TellsOfAnAlignmentThatDidNotComeToRestAndOfWhatWasHeld) {
  run_.alignment = Alignment{};
  run_.alignment->lastStep = 25.4;
  run_.alignment->held = {{false, {0, 0, 1}, {}, 0.0}};
  EXPECT_THAT(written(),
              AllOf(HasSubstr("The alignment did not come to rest: its last round moved a point by 1 in."),
                    HasSubstr("The shape leaves a shift along 0.00, 0.00, 1.00 free; the alignment made none.")));
}

TEST_F(DeviationReport, SaysNothingOfAnAlignmentThatWasNotMade) {
  EXPECT_THAT(written(), AllOf(Not(HasSubstr("Aligned")), Not(HasSubstr("come to rest"))));
}

TEST_F(DeviationReport, TellsOfOnePointThatItHasNoSpread) {
  run_.off = {{{0, 0, 0}}, {12.7}};
  run_.figures = figuresOf(run_.off.each, run_.tolerance);
  EXPECT_THAT(written(), HasSubstr("<td>none, of one point alone</td>"));
}

}  // namespace
}  // namespace queltool
