#include "web/Origin.h"

#include <fmt/core.h>

#include "files/Invocation.h"
#include "models/HeadIdentity.h"
#include "models/Versions.h"

namespace queltool {

std::vector<PageRow> originOfPage() {
  std::vector<PageRow> rows = {{"Command", invocation().line}, {"quel", invocation().version}};
  for (const VersionPart& part : partsOfTool()) rows.push_back({part.name, part.version});
  return rows;
}

std::vector<PageRow> identityOf(const std::filesystem::path& file, const tag_qmReconsTensorData& head) {
  return {{"Block", file.string()},
          {"Machine, block number", fmt::format("{}, {}", machineOf(head), head.blockNumber)},
          {"Calibration time stamp", fmt::format("{}", head.calibrationTimeStamp)},
          {"Image tag, words", fmt::format("{}, {} {}", head.imageTag, head.calibWord0, head.calibWord2)},
          {"Cameras", fmt::format("{}, {} x {} px", typeOf(head), head.imageWidth, head.imageHeight)}};
}

}  // namespace queltool
