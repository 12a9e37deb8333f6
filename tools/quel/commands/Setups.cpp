// `quel setups`: the numbers of the setups that this site works with.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "models/SetupList.h"

namespace queltool {

namespace {

using nlohmann::ordered_json;

constexpr const char* kExample =
    "\nExample:\n"
    "  quel setups add 17 /data/doors/left/s1 --cycle 3\n"
    "  quel setups update 17 --path /data/doors/left/s2\n"
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

void printJson(const std::vector<ListedSetup>& setups) {
  ordered_json json = {{"file", setupMapFile().string()}, {"setups", ordered_json::array()}};
  for (const ListedSetup& setup : setups) {
    json["setups"].push_back({{"number", setup.number}, {"cycle", setup.cycle}, {"path", setup.path}});
  }
  fmt::print("{}\n", json.dump(1, ' ', false, ordered_json::error_handler_t::replace));
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

CLI::Range numberRange() { return CLI::Range(kFirstSetupNumber, kLastSetupNumber); }
CLI::Range cycleRange() { return CLI::Range(-1, kLastSetupNumber); }

void addNumber(CLI::App& command, const SharedArguments& arguments) {
  command.add_option("NUMBER", arguments->number, "Number of the setup")->required();
}

void addList(CLI::App& setups) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* command = setups.add_subcommand("list", "Lists the setups that have a number");
  command->add_flag("--json", arguments->json, "Print the list as JSON");
  command->callback([arguments] { (arguments->json ? printJson : printTable)(listSetups()); });
}

void addAdd(CLI::App& setups) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* command = setups.add_subcommand("add", "Gives a setup a number");
  command->add_option("NUMBER", arguments->number, "The number, from 3 on")->required()->check(numberRange());
  command->add_option("PATH", arguments->path, "Directory of the setup: root, project, part and setup")
      ->required()
      ->check(CLI::Validator(whyNoSetupPath, "PATH"));
  command->add_option("--cycle", arguments->cycle, "Measurement cycle; -1 for none")
      ->check(cycleRange())
      ->capture_default_str();
  command->callback([arguments] {
    addSetup({arguments->number, arguments->cycle, arguments->path});
    fmt::print("{}: setup {} added\n", setupMapFile().string(), arguments->number);
  });
}

void addUpdate(CLI::App& setups) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* command = setups.add_subcommand("update", "Changes number, path or cycle of a setup");
  addNumber(*command, arguments);
  auto* values = command->add_option_group("change", "What to change");
  values->require_option(1, 3);
  values->add_option("--number", arguments->change.number, "Its new number")->check(numberRange());
  values->add_option("--path", arguments->change.path, "Its new directory")
      ->check(CLI::Validator(whyNoSetupPath, "PATH"));
  values->add_option("--cycle", arguments->change.cycle, "Its new cycle; -1 for none")->check(cycleRange());
  command->callback([arguments] {
    updateSetup(arguments->number, arguments->change);
    fmt::print("{}: setup {} changed\n", setupMapFile().string(), arguments->number);
  });
}

void addRemove(CLI::App& setups) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* command = setups.add_subcommand("remove", "Takes the number from a setup; its directory stays");
  addNumber(*command, arguments);
  command->callback([arguments] {
    removeSetup(arguments->number);
    fmt::print("{}: setup {} removed\n", setupMapFile().string(), arguments->number);
  });
}

}  // namespace

void addSetups(CLI::App& app) {
  CLI::App* command = app.add_subcommand("setups", "Lists and changes the numbers of setups");
  command->require_subcommand(1);
  command->footer(kExample);
  addList(*command);
  addAdd(*command);
  addUpdate(*command);
  addRemove(*command);
}

}  // namespace queltool
