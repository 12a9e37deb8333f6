#include "commands/Commands.h"

#include "commands/Versions.h"

namespace queltool {

// What a newcomer tries first stands first.
const std::vector<CommandEntry>& allCommands() {
  static const std::vector<CommandEntry> kCommands = {
      {"demo", defineDemo, "Runs a real head on real data and shows what comes out",
       "demo --out demo   # a real head at work"},
      {"make-block", defineMakeBlock, "Makes a calibration block from three calibrated cameras",
       "make-block cameras.json -o blocks --machine QUEL0001"},
      {"info", defineInfo, "Shows what a calibration block holds and checks it",
       "info blocks/QUEL0001-1.tns   # what it holds, and if it is sound"},
      {"check", defineCheck, "Tells whether files of the library are sound",
       "check blocks/*.tns   # whether files of the library are sound"},
      {"project", defineProject, "Projects points into the images of a head",
       "project blocks/QUEL0001-1.tns scan.ply -o pixels.csv"},
      {"fit", defineFit, "Fits correspondences of three images to points in space",
       "fit blocks/QUEL0001-1.tns pixels.csv -o points.ply"},
      {"compensate", defineCompensate, "Makes a block as its head is at another temperature",
       "compensate blocks/QUEL0001-1.tns -t drift.xml -T 31.5 -o warm.tns"},
      {"index", defineIndex, "Sorts a cloud into bins with boxes",
       "index scan.ply -o bins.png   # sort a cloud into bins and look at them"},
      {"feature", defineFeature, "Fits a plane or a line through points",
       "feature plane scan.ply -o plane.png   # the deviations from a plane"},
      {"blocks", defineBlocks, "Lists and changes the calibration blocks of this site",
       "blocks list   # the block table of this site"},
      {"materials", defineMaterials, "Shows, converts and checks material files", nullptr},
      {"operations", defineOperations, "Lists the operations of an operations file", nullptr},
      {"trn", defineTrn, "Shows, makes, inverts and composes transform files", nullptr},
      {"colours", defineColours, "Shows and checks the table of deviation colours", nullptr},
      {"deviation", defineDeviation, "Grades the points of a cloud by how far they are off a plane", nullptr},
      {"project-tree", defineProjectTree, "Shows the projects, parts and setups under a root directory",
       "project-tree /data/projects   # what is stored under a root directory"},
      {"setups", defineSetups, "Lists and changes the numbers of setups", "setups list   # the numbers of setups"}};
  return kCommands;
}

std::string examplesOfCommands() {
  std::string text = "\nExamples:\n";
  for (const CommandEntry& command : allCommands()) {
    if (command.example != nullptr) text += std::string("  quel ") + command.example + '\n';
  }
  return text + "\nquel COMMAND --help tells more. Exit codes: 0 done, 1 failed, 2 wrong usage.";
}

ToolLine::ToolLine(const std::string& version)
    : CommandLine("quel", "Works with the calibration blocks of three-camera heads", versionsOf(version),
                  examplesOfCommands()) {
  for (const CommandEntry& entry : allCommands()) {
    Command each = command(entry.name, entry.help);
    entry.define(each);
  }
}

}  // namespace queltool
