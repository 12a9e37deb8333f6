// `quel setups`: the numbers of the setups that this site works with.
#include <fmt/core.h>

#include <memory>

#include "commands/Commands.h"
#include "files/Json.h"
#include "models/Problems.h"
#include "models/SetupList.h"

namespace queltool {

namespace {

constexpr const char* kExample =
    "\nExample:\n"
    "  quel setups add 17 \"$PWD/store/car/door/s1\" --cycle 3\n"
    "  quel setups update 17 --path \"$PWD/store/car/door/s2\"\n"
    "  quel setups remove 17\n"
    "  quel setups list";

struct Arguments {
  std::int32_t number = 0;
  std::string path;
  std::int32_t cycle = -1;
  SetupChange change;
  bool json = false;
};

using SharedArguments = std::shared_ptr<Arguments>;

Json jsonOf(const std::vector<ListedSetup>& setups) {
  Json list = Json::list({});
  for (const ListedSetup& setup : setups) {
    list.add({{"number", setup.number}, {"cycle", setup.cycle}, {"path", setup.path}});
  }
  return {{"file", setupMapFile().string()}, {"setups", list}};
}

void printTable(const std::vector<ListedSetup>& setups) {
  fmt::print("{}\n", setupMapFile().string());
  if (setups.empty()) {
    fmt::print("  no setups yet; \"quel setups add\" adds one\n");
    return;
  }
  fmt::print("  {:>10} {:>10}  {}\n", "number", "cycle", "path");
  for (const ListedSetup& setup : setups) fmt::print("  {:>10} {:>10}  {}\n", setup.number, setup.cycle, setup.path);
}

constexpr std::int32_t kNoCycle = -1;

void addNumber(Command& command, const SharedArguments& arguments) {
  command.option("NUMBER", arguments->number, "Number of the setup").required();
}

void addList(Command& setups) {
  auto arguments = std::make_shared<Arguments>();
  Command command = setups.command("list", "Lists the setups that have a number");
  command.flag("--json", arguments->json, "Print the list as JSON");
  command.runs([arguments] {
    const std::vector<ListedSetup> listed = listSetups();
    tellRemarks();
    arguments->json ? printJson(jsonOf(listed)) : printTable(listed);
  });
}

void addAdd(Command& setups) {
  auto arguments = std::make_shared<Arguments>();
  Command command = setups.command("add", "Gives a setup a number");
  command.option("NUMBER", arguments->number, "The number, from 3 on")
      .required()
      .within(kFirstSetupNumber, kLastSetupNumber);
  command.folder("PATH", arguments->path, "Directory of the setup: root, project, part and setup")
      .required()
      .check(whyNoSetupPath, "PATH");
  command.option("--cycle", arguments->cycle, "Measurement cycle; -1 for none")
      .within(kNoCycle, kLastSetupNumber)
      .showDefault();
  command.runs([arguments] {
    addSetup({arguments->number, arguments->cycle, arguments->path});
    fmt::print("{}: setup {} added\n", setupMapFile().string(), arguments->number);
  });
}

void addUpdate(Command& setups) {
  auto arguments = std::make_shared<Arguments>();
  Command command = setups.command("update", "Changes number, path or cycle of a setup");
  addNumber(command, arguments);
  Command values = command.group("change", "What to change", 1, 3);
  values.option("--number", arguments->change.number, "Its new number").within(kFirstSetupNumber, kLastSetupNumber);
  values.folder("--path", arguments->change.path, "Its new directory").check(whyNoSetupPath, "PATH");
  values.option("--cycle", arguments->change.cycle, "Its new cycle; -1 for none").within(kNoCycle, kLastSetupNumber);
  command.runs([arguments] {
    updateSetup(arguments->number, arguments->change);
    fmt::print("{}: setup {} changed\n", setupMapFile().string(), arguments->number);
  });
}

void addRemove(Command& setups) {
  auto arguments = std::make_shared<Arguments>();
  Command command = setups.command("remove", "Takes the number from a setup; its directory stays");
  addNumber(command, arguments);
  command.runs([arguments] {
    removeSetup(arguments->number);
    fmt::print("{}: setup {} removed\n", setupMapFile().string(), arguments->number);
  });
}

}  // namespace

void defineSetups(Command& command) {
  command.footer(kExample);
  addList(command);
  addAdd(command);
  addUpdate(command);
  addRemove(command);
}

}  // namespace queltool
