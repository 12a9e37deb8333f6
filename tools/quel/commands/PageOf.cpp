#include "commands/PageOf.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>

#include "commands/HelpFormatter.h"
#include "files/Texts.h"

namespace queltool {

namespace {

constexpr std::size_t kMostWords = 6;  // That a line shows.

// The parser puts the word for a checked value behind that for any value of its kind.
std::string valueOf(const CLI::Option& option, const TakenValues& takes) {
  if (option.get_type_size() == 0) return "";
  switch (takes.kind) {
    case TakenValues::Kind::Words:
      return takes.words.size() > kMostWords ? "WORD" : joined(takes.words, '|');
    case TakenValues::Kind::Files:
      return "FILE";
    case TakenValues::Kind::Folders:
      return "FOLDER";
    case TakenValues::Kind::Anything:
      break;
  }
  const std::string type = option.get_type_name();
  return type.substr(type.rfind(':') + 1);
}

OptionPage pageOf(const CLI::Option& option, const ValuesOfOptions& values) {
  const auto found = values.find(&option);
  const TakenValues takes = found == values.end() ? TakenValues{} : found->second;
  OptionPage page{{}, valueOf(option, takes), option.get_description(), takes};
  for (const std::string& name : option.get_snames()) page.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) page.names.push_back("--" + name);
  if (page.names.empty()) page.names.push_back(option.get_name(true));
  return page;
}

std::string usageOf(const CLI::App& command, const std::string& name) {
  const std::string line = HelpFormatter().make_usage(&command, name);
  const std::size_t begin = line.find(name);
  return line.substr(begin, line.find('\n', begin) - begin);
}

// Each group of options has the option of its command once more.
bool isNoHelp(const OptionPage& option) { return option.names.back() != "--help"; }

}  // namespace

CommandPage pageOf(const CLI::App& command, const std::string& name, const ValuesOfOptions& values) {
  CommandPage page{command.get_name(), command.get_description(), usageOf(command, name), command.get_footer(), {}, {}};
  for (const CLI::Option* option : command.get_options()) page.options.push_back(pageOf(*option, values));
  for (const CLI::App* below : command.get_subcommands([](const CLI::App*) { return true; })) {
    CommandPage each = pageOf(*below, name + " " + below->get_name(), values);
    if (each.name.empty()) {  // A group of options of this command.
      std::copy_if(each.options.begin(), each.options.end(), std::back_inserter(page.options), isNoHelp);
    } else {
      page.commands.push_back(std::move(each));
    }
  }
  return page;
}

}  // namespace queltool
