#include "commands/Commands.h"

#include "models/Versions.h"

namespace queltool {

namespace {

// What a newcomer tries first stands first.
const std::vector<CommandEntry> kCommands = {
    {"demo",
     defineDemo,
     "Runs a real head on real data and shows what comes out",
     {"demo --out demo   # a real head at work"}},
    {"example",
     defineExample,
     "Makes a file of each kind that commands take",
     {"example cameras -o cameras.json", "example cloud -o scan.ply", "example corrections -o drift.xml",
      "example store -o store"}},
    {"import",
     defineImport,
     "Makes a file of cameras from a calibration of another program",
     {"import json cameras.json -o own.json   # or opencv, ros, mrcal, ..."}},
    {"make-block",
     defineMakeBlock,
     "Makes a calibration block from three calibrated cameras",
     {"make-block cameras.json -o blocks --machine QUEL0001"}},
    {"info",
     defineInfo,
     "Shows what a calibration block holds and checks it",
     {"info blocks/QUEL0001-1.tns   # what it holds, and if it is sound"}},
    {"export",
     defineExport,
     "Writes the cameras of a block as other programs read them",
     {"export blocks/QUEL0001-1.tns opencv -o opencv"}},
    {"check",
     defineCheck,
     "Tells whether files of the library are sound",
     {"check blocks/*.tns cameras.json   # whether files of any format are sound"}},
    {"project",
     defineProject,
     "Projects points into the images of a head",
     {"project blocks/QUEL0001-1.tns scan.ply -o pixels.csv"}},
    {"fit",
     defineFit,
     "Fits correspondences of three images to points in space",
     {"fit blocks/QUEL0001-1.tns pixels.csv --distorted -o points.ply"}},
    {"uncertainty",
     defineUncertainty,
     "Shows how well a head measures over its volume",
     {"uncertainty blocks/QUEL0001-1.tns --noise 0.05 -o map.png"}},
    {"report",
     defineReport,
     "Shows a head on one page for a browser: cameras, volume, uncertainty, lenses, health",
     {"report blocks/QUEL0001-1.tns -o head.html"}},
    {"compensate",
     defineCompensate,
     "Makes a block as its head is at another temperature",
     {"compensate blocks/QUEL0001-1.tns -t drift.xml -T 31.5 -o warm.tns"}},
    {"index",
     defineIndex,
     "Sorts a cloud into bins with boxes",
     {"index scan.ply -o bins.png   # sort a cloud into bins and look at them"}},
    {"feature",
     defineFeature,
     "Fits a plane or a line through points",
     {"feature plane scan.ply -o plane.png   # the deviations from a plane"}},
    {"deviation",
     defineDeviation,
     "Grades the points of a cloud by how far they are off a plane",
     {"deviation scan.ply --tolerance -0.1,0.1 -o coloured.ply"}},
    {"trn", defineTrn, "Shows, makes, inverts and composes transform files", {}},
    {"colours", defineColours, "Shows, exports and checks the table of deviation colours", {}},
    {"blocks",
     defineBlocks,
     "Lists and changes the block table: the calibration plates of this site",
     {"blocks list   # the block table of this site"}},
    {"materials", defineMaterials, "Shows, converts and checks material files", {}},
    {"operations", defineOperations, "Lists the operations of an operations file", {}},
    {"project-tree",
     defineProjectTree,
     "Shows the projects, parts and setups under a root directory",
     {"project-tree store   # what is stored under a root directory"}},
    {"setups", defineSetups, "Lists and changes the numbers of setups", {"setups list   # the numbers of setups"}}};

}  // namespace

const std::vector<CommandEntry>& allCommands() { return kCommands; }

std::string examplesOfCommands() {
  std::string text = "\nExamples:\n";
  for (const CommandEntry& command : allCommands()) {
    for (const char* example : command.examples) text += std::string("  quel ") + example + '\n';
  }
  return text + "\nquel COMMAND --help tells more. Exit codes: 0 done, 1 failed, 2 wrong usage.";
}

ToolLine::ToolLine(const std::string& version)
    : CommandLine(
          "quel", "Works with the calibration blocks of three-camera heads", [version] { return versionsOf(version); },
          examplesOfCommands()) {
  for (const CommandEntry& entry : allCommands()) {
    Command each = command(entry.name, entry.help);
    entry.define(each);
  }
}

}  // namespace queltool
