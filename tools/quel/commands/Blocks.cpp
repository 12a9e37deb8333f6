// `quel blocks`: the block table, which lists the calibration plates that this site works with. To who reads, a block
// is a head's tensor file with its LUTs, so these are plates.
#include <fmt/core.h>

#include <filesystem>
#include <memory>

#include "commands/Commands.h"
#include "files/Json.h"
#include "files/Texts.h"
#include "models/BlockList.h"
#include "models/Problems.h"

namespace queltool {

namespace {

constexpr const char* kExample =
    "\nThe plates are calibration objects; what a head is calibrated to is a calibration block, which \"quel info\" "
    "shows.\n"
    "\nExample:\n"
    "  quel blocks add plate-50 --lens 35,50 --type 2 --map plate-50.map\n"
    "  quel blocks set-active plate-50\n"
    "  quel blocks list";

struct Arguments {
  ListedBlock block{{}, {}, 1, 0.0, {}, false};
  bool json = false;
};

using SharedArguments = std::shared_ptr<Arguments>;

Json jsonOf(const std::vector<ListedBlock>& blocks) {
  Json list = Json::list({});
  for (const ListedBlock& block : blocks) {
    list.add({{"name", block.name},
              {"lenses", block.lenses},
              {"target_type", block.targetType},
              {"expansion_coefficient", block.expansion},
              {"expansion_coefficient_once_stored", expansionOnceStored(block)},
              {"map_file", block.mapFile},
              {"active", block.active}});
  }
  return {{"file", blockListFile().string()}, {"blocks", list}};
}

std::string lensesOf(const ListedBlock& block) {
  std::vector<std::string> lenses;
  for (const int lens : block.lenses) lenses.push_back(std::to_string(lens));
  return joined(lenses, ',');
}

void printTable(const std::vector<ListedBlock>& blocks) {
  fmt::print("{}\n", blockListFile().string());
  if (blocks.empty()) {
    fmt::print("  no plates yet; \"quel blocks add\" adds one\n");
    return;
  }
  fmt::print("    {:<20} {:<14} {:>4} {:>10}  {}\n", "name", "lenses", "type", "expansion", "map file");
  for (const ListedBlock& block : blocks) {
    fmt::print("  {} {:<20} {:<14} {:>4} {:>10.6f}  {}\n", block.active ? '*' : ' ', block.name, lensesOf(block),
               block.targetType, block.expansion, block.mapFile);
  }
  fmt::print("  * is the active plate\n");
  for (const ListedBlock& block : blocks) {
    const std::string loss = lossOnceStored(block);
    if (!loss.empty()) fmt::print("  warning: {}\n", loss);
  }
}

void addName(Command& command, const SharedArguments& arguments) {
  command.option("NAME", arguments->block.name, "Name of the plate").required().check(whyNoBlockName, "NAME");
}

// A table that is there and has no plates may be the beginning of one.
void tellWhatIsWrong() {
  tellRemarks();
  const std::string problem = lastProblem();
  if (!problem.empty() && std::filesystem::exists(blockListFile())) {
    fmt::print(stderr, "quel: warning: {}\n", problem);
  }
}

void addList(Command& blocks) {
  auto arguments = std::make_shared<Arguments>();
  Command command = blocks.command("list", "Lists the plates and shows which one is active");
  command.flag("--json", arguments->json, "Print the list as JSON");
  command.runs([arguments] {
    const std::vector<ListedBlock> listed = listBlocks();
    tellWhatIsWrong();
    arguments->json ? printJson(jsonOf(listed)) : printTable(listed);
  });
}

void addAdd(Command& blocks) {
  auto arguments = std::make_shared<Arguments>();
  Command command = blocks.command("add", "Adds a plate at the end of the table");
  addName(command, arguments);
  command.option("--lens", arguments->block.lenses, "Lenses that the plate serves, such as 35,50")
      .required()
      .separatedBy(',')
      .within(1, 2147483647);
  command.option("--type", arguments->block.targetType, "Type of its target").within(0, 2147483647).showDefault();
  command.option("--map", arguments->block.mapFile, "Its map file").check(whyNotInList, "FILE");
  command.runs([arguments] {
    addBlock(arguments->block);
    fmt::print("{}: plate {} added\n", blockListFile().string(), arguments->block.name);
  });
}

void addSetActive(Command& blocks) {
  auto arguments = std::make_shared<Arguments>();
  Command command = blocks.command("set-active", "Makes a plate the active one");
  addName(command, arguments);
  command.runs([arguments] {
    setActiveBlock(arguments->block.name);
    fmt::print("{}: plate {} is active\n", blockListFile().string(), arguments->block.name);
  });
}

void addMap(Command& blocks) {
  auto arguments = std::make_shared<Arguments>();
  Command command = blocks.command("map", "Sets the map file of a plate");
  addName(command, arguments);
  command.option("FILE", arguments->block.mapFile, "The map file; \"\" for none")
      .required()
      .check(whyNotInList, "FILE");
  command.runs([arguments] {
    setMapFile(arguments->block.name, arguments->block.mapFile);
    fmt::print("{}: map file of plate {} set\n", blockListFile().string(), arguments->block.name);
  });
}

}  // namespace

void defineBlocks(Command& command) {
  command.footer(kExample);
  addList(command);
  addAdd(command);
  addSetActive(command);
  addMap(command);
}

}  // namespace queltool
