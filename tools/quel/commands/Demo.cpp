// `quel demo`: a real head from file to figures.
#include <fmt/core.h>

#include <memory>

#include "commands/Commands.h"
#include "demo/DataFolder.h"
#include "demo/DemoReport.h"
#include "demo/Demonstration.h"
#include "files/Files.h"
#include "files/Progress.h"

namespace queltool {

namespace {

struct Arguments {
  std::string out = "quel-demo";
  std::filesystem::path json;
  std::string data;
  bool svg = false;
  bool force = false;
};

void run(const Arguments& arguments) {
  const Demonstration found = during("showing a head at work", [&] {
    return demonstrate(dataFolder(arguments.data), arguments.out, arguments.svg ? ".svg" : ".png", arguments.force);
  });
  if (!arguments.json.empty()) writeWholeFile(arguments.json, figuresOf(found).text() + "\n");
  printReport(found);
  fmt::print("\nPictures and tables  {}\n", arguments.out);
  fmt::print("Pages for a browser  {}\n", found.pages[0].string());
  fmt::print("                     {}\n", found.pages[1].string());
}

}  // namespace

void defineDemo(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  command.folder("-o,--out", arguments->out, "Folder for the block, pictures and tables").showDefault();
  command.output("--json", arguments->json, "Also write every figure to this JSON file", ".json", Replaces::OtherFiles);
  command.folder("--data", arguments->data, "Folder of board-three-views.json and scan-20k.ply");
  command.reads("--data", [arguments] {
    const std::filesystem::path folder = dataFolder(arguments->data);
    return std::vector{folder / "board-three-views.json", folder / "scan-20k.ply"};
  });
  command.flag("--svg", arguments->svg, "Draw pictures as SVG instead of PNG");
  command.flag("--force", arguments->force, "Replace a block that no demonstration made");
  command.showsProgress();
  command.footer(
      "\nThree real cameras become a block, which is stored and loaded again. The corners of a real calibration board "
      "are\n"
      "projected in every mode and compared with the measured ones; check corners are those that no estimate has "
      "seen.\n"
      "The measured pixels become rays that meet in space, where a plane is fitted to them, and points by each of the\n"
      "closed-form fits. A real scan is projected to see how fast that is, sorted into bins by space and by the cells\n"
      "of an image, and compared with a mesh of a smoothed, thinned copy of itself. At last the cameras drift with\n"
      "temperature by known rates, and the block is compensated by them. Two pages for a browser show the scan and "
      "the\n"
      "head.\n\n"
      "Example:\n  quel demo --out demo --json demo/figures.json");
  command.runs(arguments, run);
}

}  // namespace queltool
