#include "web/HeadReport.h"

#include <fmt/core.h>

#include "files/Failure.h"
#include "models/Block.h"
#include "models/BlockJson.h"
#include "models/BlockRows.h"
#include "models/HeadIdentity.h"
#include "quel/measure/SharedPole.h"
#include "web/HeadPage.h"
#include "web/Origin.h"

namespace queltool {

namespace {

// A page tells of a head that cannot measure, too, and why.
void measure(const UncertaintyArguments& asked, HeadPage& page) {
  page.volume = volumeFor(asked, page.head.record());
  if (!page.volume) {
    page.whyNotMeasured = "The block " + withoutVolume() + ".";
    return;
  }
  page.measuredWith = whatOf(asked);
  try {
    page.uncertainty = measured(asked, page.head, *page.volume);
  } catch (const Failure& failure) {
    page.whyNotMeasured = fmt::format("No uncertainty can be told: {}.", failure.what());
  }
}

std::vector<PageRow> pageRows(const BlockRows& rows) {
  std::vector<PageRow> shown;
  for (const BlockRow& row : rows) shown.push_back({row.name, row.value});
  return shown;
}

std::vector<PageRow> originOf(const std::string& block) {
  std::vector<PageRow> rows = {{"Block", block}};
  for (const PageRow& row : originOfPage()) rows.push_back(row);
  return rows;
}

std::vector<PageSheet> sheetsOf(const std::string& block, const tag_qmReconsTensorData& t) {
  std::vector<PageSheet> sheets = {{"Identity", pageRows(identityRows(t))}, {"Head", pageRows(headRows(t))}};
  for (int i = 0; i < 3; ++i) sheets.push_back({fmt::format("Camera {}", i), pageRows(cameraRows(t, i))});
  sheets.push_back({"Origin", originOf(block)});
  return sheets;
}

std::string leadOf(const tag_qmReconsTensorData& t) {
  return fmt::format("Machine {}, block {}: {} cameras of {} \xC3\x97 {} pixels", machineOf(t), t.blockNumber,
                     t.numCameras, t.imageWidth, t.imageHeight);
}

Json jsonOf(const std::string& block, const UncertaintyArguments& asked, const HeadPage& page) {
  const Json uncertainty = page.uncertainty ? jsonOf(block, asked, *page.uncertainty) : Json(page.whyNotMeasured);
  return {{"block", block}, {"head", jsonOfBlock(page.head.record(), page.checks)}, {"uncertainty", uncertainty}};
}

}  // namespace

void writeHeadReport(const std::filesystem::path& file, const std::filesystem::path& block,
                     const UncertaintyArguments& asked) {
  HeadPage page{.title = "Head of " + block.filename().string(), .head = loadHead(block), .unit = siteUnit()};
  const tag_qmReconsTensorData& t = page.head.record();
  page.lead = leadOf(t);
  page.checks = checkHealth(t);
  measure(asked, page);
  page.sheets = sheetsOf(block.string(), t);
  for (const quel::SharedPole& pole : quel::sharedPoles(t)) page.notes.push_back(meaningOf(pole));
  page.json = jsonOf(block.string(), asked, page);
  writeHeadPage(file, page);
}

}  // namespace queltool
