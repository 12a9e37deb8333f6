#include "commands/Mistyped.h"

#include <optional>
#include <string>
#include <vector>

#include "files/NearestWord.h"

namespace queltool {

namespace {

// A command of the line as far as it was understood.
struct Reached {
  const CLI::App* command;
  std::string name;  // With those above it.
};

Reached reachedBy(const CLI::App& program) {
  Reached reached{&program, program.get_name()};
  for (auto below = program.get_subcommands(); !below.empty(); below = reached.command->get_subcommands()) {
    reached.command = below.front();
    reached.name += " " + reached.command->get_name();
  }
  return reached;
}

std::vector<std::string> commandsOf(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::App* each : command.get_subcommands([](const CLI::App*) { return true; })) {
    if (!each->get_name().empty()) names.push_back(each->get_name());
  }
  return names;
}

std::vector<std::string> optionsOf(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

std::string wordsOnCommand(const Reached& reached, const std::string& word) {
  const std::optional<std::string> nearest = nearestWord(word, commandsOf(*reached.command));
  const std::string what = "there is no command \"" + reached.name + " " + word + "\"";
  return what + (nearest ? "; the nearest is \"" + reached.name + " " + *nearest + "\"" : "");
}

// The first argument that begins as an option and is none, though nearly one.
std::string nearestOption(const Reached& reached, const std::vector<std::string>& arguments) {
  for (const std::string& argument : arguments) {
    if (!argument.starts_with("--")) continue;
    const std::string word = argument.substr(0, argument.find('='));
    const std::optional<std::string> nearest = nearestWord(word, optionsOf(*reached.command));
    if (nearest) return "; instead of " + word + " the nearest is " + *nearest;
  }
  return "";
}

}  // namespace

std::string wordsOn(const CLI::App& program, const CLI::ParseError& error) {
  const Reached reached = reachedBy(program);
  const std::vector<std::string> left = reached.command->remaining();
  if (left.empty()) return error.what();
  if (!commandsOf(*reached.command).empty() && !left.front().starts_with('-'))
    return wordsOnCommand(reached, left.front());
  return error.what() + nearestOption(reached, left);
}

}  // namespace queltool
