// `quel report`: a head as one page for a browser.
#include <fmt/core.h>

#include <memory>

#include "commands/Commands.h"
#include "commands/UncertaintyOptions.h"
#include "files/Progress.h"
#include "web/HeadReport.h"

namespace queltool {

namespace {

struct Arguments {
  std::string block;
  std::filesystem::path out;
  UncertaintyArguments asked;
};

void run(const Arguments& arguments) {
  const std::string out = arguments.out.string();
  during("writing " + out, [&] { writeHeadReport(arguments.out, arguments.block, arguments.asked); });
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
      "\nThe page holds all that it needs and works without network: the cameras with what they see and the\n"
      "measuring volume in 3D, to be turned; the standard deviation of a point over the volume, as\n"
      "\"quel uncertainty\" tells it; what each lens does to its image; health and content as \"quel info\" tells\n"
      "them. A head that cannot be measured with has a page as well, which says why.\n\n"
      "Example:\n  quel report blocks/QUEL0001-1.tns -o head.html");
  command.runs(arguments, run);
}

}  // namespace queltool
