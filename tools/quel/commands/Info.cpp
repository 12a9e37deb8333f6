// `quel info`: every group of a tensor file in human form, and whether the head can be trusted.
#include <fmt/core.h>

#include <memory>

#include "commands/BlockReport.h"
#include "commands/Commands.h"
#include "files/Failure.h"
#include "models/Block.h"
#include "models/BlockJson.h"

namespace queltool {

namespace {

struct Arguments {
  std::string block;
  bool json = false;
};

void run(const Arguments& arguments) {
  const auto block = loadBlock(arguments.block);
  const tag_qmReconsTensorData& t = *block;
  const std::vector<Check> checks = checkHealth(t);
  if (arguments.json) {
    printJson(jsonOfBlock(t, checks));
  } else {
    fmt::print("{}\n", arguments.block);
    printBlock(t, checks);
  }
  if (worstOf(checks) == Verdict::Bad) {
    throw Failure(arguments.block + ": this head is not to be measured with; see \"Health\"");
  }
}

}  // namespace

void defineInfo(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  command.input("BLOCK", arguments->block, "Tensor file of the block (.tns)").required();
  command.flag("--json", arguments->json, "Print everything as JSON");
  command.footer(
      "\nChecked are: finite numbers, proper rotations, the order of the cameras, agreement of metric tables and of "
      "both\n"
      "transfer tables with the projections, and whether the distortion can be undone over the whole image. A bad\n"
      "finding gives exit code 1; a warning does not.\n\n"
      "Example:\n  quel info blocks/QUEL0001-1.tns");
  command.runs(arguments, run);
}

}  // namespace queltool
