#include <fmt/core.h>

#include <algorithm>
#include <string_view>

#include "files/Texts.h"
#include "pages/Completion.h"
#include "pages/Walk.h"

namespace queltool {

namespace {

// For text between single quotes that _arguments or _describe reads.
std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (std::string_view("[]:\\").find(c) != std::string_view::npos) result += '\\';
    result += c == '\'' ? "'\\''" : std::string(1, c);
  }
  return result;
}

std::string actionOf(const TakenValues& takes) {
  switch (takes.kind) {
    case TakenValues::Kind::Words:
      return fmt::format("({})", joined(takes.words, ' '));
    case TakenValues::Kind::Files:
      return "_files";
    case TakenValues::Kind::Folders:
      return "_files -/";
    case TakenValues::Kind::Anything:
      break;
  }
  return " ";
}

std::string valueOf(const OptionPage& option) {
  return option.isFlag() ? "" : fmt::format(":{}:{}", escaped(option.value), actionOf(option.takes));
}

std::string specificationOf(const OptionPage& option) {
  const std::string value = valueOf(option);
  if (option.isPositional()) return fmt::format("'*{}'", value);
  const std::string help = fmt::format("[{}]{}'", escaped(option.help), value);
  if (option.names.size() == 1) return fmt::format("'{}{}", option.names.front(), help);
  return fmt::format("'({})'{{{}}}'{}", joined(option.names, ' '), joined(option.names, ','), help);
}

// One for all values without an option, as the first of them that can be completed says.
std::string argumentsOf(const CommandPage& command) {
  std::string text = "      _arguments -s";
  bool hasPositional = false;
  for (const OptionPage& option : command.options) {
    if (option.isPositional() && (hasPositional || option.takes.kind == TakenValues::Kind::Anything)) continue;
    hasPositional |= option.isPositional();
    text += " \\\n        " + specificationOf(option);
  }
  return text + "\n";
}

bool takesFiles(const CommandPage& command) {
  return std::any_of(command.options.begin(), command.options.end(),
                     [](const OptionPage& option) { return option.isPositional(); });
}

std::string commandsOf(const CommandPage& command) {
  std::string text = "      below=(";
  for (const CommandPage& below : command.commands) {
    text += "\n        '" + below.name + ":" + escaped(below.help) + "'";
  }
  text += ")\n      [[ $words[CURRENT] == -* ]] || ";
  const std::string offer = "_describe -t commands 'command' below";
  return text + (takesFiles(command) ? offer : "{ " + offer + "; return; }") + "\n";
}

constexpr const char* kBegin = R"(#compdef quel
# Completion of quel for zsh.

_quel() {
  local place='' first=1 n
  local -a places below
)";

constexpr const char* kWalk = R"(  for ((n = 2; n < CURRENT; n++)); do
    (( ${places[(Ie)$place/$words[n]]} )) || continue
    place+=/$words[n]
    first=$n
  done
  words=("${(@)words[first,-1]}")
  (( CURRENT -= first - 1 ))
  case $place in
)";

constexpr const char* kEnd = R"(  esac
}

if [[ $funcstack[1] == _quel ]]; then
  _quel "$@"
else
  compdef _quel quel
fi
)";

}  // namespace

std::string zshCompletionOf(const CommandPage& program) {
  std::vector<std::string> places;
  std::string cases;
  walk(program, [&](const CommandPage& command, const std::string& place) {
    if (!place.empty()) places.push_back(place);
    cases += "    '" + place + "')\n" + (command.commands.empty() ? "" : commandsOf(command)) + argumentsOf(command) +
             "      ;;\n";
  });
  return kBegin + ("  places=(" + joined(places, ' ') + ")\n") + kWalk + cases + kEnd;
}

}  // namespace queltool
