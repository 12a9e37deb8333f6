// `quel report`: a head as one page for a browser.
#include <fmt/core.h>

#include <memory>

#include "commands/BlockReport.h"
#include "commands/Commands.h"
#include "commands/UncertaintyRun.h"
#include "files/Failure.h"
#include "files/Progress.h"
#include "models/Block.h"
#include "models/HeadIdentity.h"
#include "quel/measure/SharedPole.h"
#include "web/HeadPage.h"
#include "web/Origin.h"

namespace queltool {

namespace {

struct Arguments {
  std::string block;
  std::filesystem::path out;
  UncertaintyArguments asked;
};

std::string nameOfFile(const std::string& file) { return std::filesystem::path(file).filename().string(); }

// A page tells of a head that cannot measure, too, and why.
void measure(const Arguments& arguments, HeadPage& page) {
  page.volume = volumeFor(arguments.asked, page.head.record());
  if (!page.volume) {
    page.whyNotMeasured = "The block " + withoutVolume() + ".";
    return;
  }
  page.measuredWith = whatOf(arguments.asked);
  try {
    page.uncertainty = measured(arguments.asked, page.head, *page.volume);
  } catch (const Failure& failure) {
    page.whyNotMeasured = fmt::format("No uncertainty can be told: {}.", failure.what());
  }
}

std::vector<PageRow> pageRows(const BlockRows& rows) {
  std::vector<PageRow> shown;
  for (const BlockRow& row : rows) shown.push_back({row.name, row.value});
  return shown;
}

std::vector<PageRow> originOf(const Arguments& arguments) {
  std::vector<PageRow> rows = {{"block", arguments.block}};
  for (const PageRow& row : originOfPage()) rows.push_back(row);
  return rows;
}

std::vector<PageSheet> sheetsOf(const Arguments& arguments, const tag_qmReconsTensorData& t) {
  std::vector<PageSheet> sheets = {{"Identity", pageRows(identityRows(t))}, {"Head", pageRows(headRows(t))}};
  for (int i = 0; i < 3; ++i) sheets.push_back({fmt::format("Camera {}", i), pageRows(cameraRows(t, i))});
  sheets.push_back({"Origin", originOf(arguments)});
  return sheets;
}

std::string leadOf(const tag_qmReconsTensorData& t) {
  return fmt::format("Machine {}, block {}: {} cameras of {} \xC3\x97 {} pixels", machineOf(t), t.blockNumber,
                     t.numCameras, t.imageWidth, t.imageHeight);
}

Json jsonOf(const Arguments& arguments, const HeadPage& page) {
  const Json uncertainty =
      page.uncertainty ? jsonOf(arguments.block, arguments.asked, *page.uncertainty) : Json(page.whyNotMeasured);
  return {
      {"block", arguments.block}, {"head", jsonOfBlock(page.head.record(), page.checks)}, {"uncertainty", uncertainty}};
}

void run(const Arguments& arguments) {
  HeadPage page{
      .title = "Head of " + nameOfFile(arguments.block), .head = loadHead(arguments.block), .unit = siteUnit()};
  const tag_qmReconsTensorData& t = page.head.record();
  page.lead = leadOf(t);
  page.checks = during("checking", [&] { return checkHealth(t); });
  during("measuring", [&] { measure(arguments, page); });
  page.sheets = sheetsOf(arguments, t);
  for (const quel::SharedPole& pole : quel::sharedPoles(t)) page.notes.push_back(meaningOf(pole));
  page.json = jsonOf(arguments, page);
  const std::string out = arguments.out.string();
  during("writing " + out, [&] { writeHeadPage(arguments.out, page); });
  fmt::print("{}: written; open it in a browser\n", out);
}

}  // namespace

void defineReport(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  command.input("BLOCK", arguments->block, "Tensor file of the block (.tns)").required();
  command.output("-o,--out", arguments->out, "The page, .html", ".html", Replaces::OtherFiles).required();
  addUncertainty(command, arguments->asked);
  command.showsProgress();
  command.footer(
      "\nThe page holds all that it needs and works without network: the cameras with what they see and the measuring\n"
      "volume in 3D, to be turned; the standard deviation of a point over the volume, as \"quel uncertainty\" tells "
      "it;\n"
      "what each lens does to its image; health and content as \"quel info\" tells them. A head that cannot be "
      "measured\n"
      "with has a page as well, which says why.\n\n"
      "Example:\n  quel report blocks/QUEL0001-1.tns -o head.html");
  command.runs(arguments, run);
}

}  // namespace queltool
