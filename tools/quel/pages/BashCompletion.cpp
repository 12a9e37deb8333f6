#include "files/Texts.h"
#include "pages/Completion.h"
#include "pages/Walk.h"

namespace queltool {

namespace {

std::string placesOf(const CommandPage& program) {
  std::vector<std::string> places;
  walk(program, [&](const CommandPage&, const std::string& place) {
    if (!place.empty()) places.push_back(place);
  });
  return joined(places, '|');
}

// What stands between `compgen` and the letters typed so far.
std::string generatorOf(const TakenValues& takes) {
  switch (takes.kind) {
    case TakenValues::Kind::Words:
      return "_quel_words '" + joined(takes.words, ' ') + "'";
    case TakenValues::Kind::Files:
      return "_quel_names -f";
    case TakenValues::Kind::Folders:
      return "_quel_names -d";
    case TakenValues::Kind::Anything:
      break;
  }
  return ":";
}

std::string valuesOf(const CommandPage& command, const std::string& place) {
  std::string text;
  for (const OptionPage& option : command.options) {
    if (option.isFlag() || option.isPositional()) continue;
    std::vector<std::string> patterns;
    for (const std::string& name : option.names) patterns.push_back("'" + place + " " + name + "'");
    text += "    " + joined(patterns, '|') + ") " + generatorOf(option.takes) + "; return ;;\n";
  }
  return text;
}

std::string optionsOf(const CommandPage& command) {
  std::vector<std::string> names;
  for (const OptionPage& option : command.options) {
    if (!option.isPositional()) names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return joined(names, ' ');
}

// What may stand at a place without an option: the commands below it, and the files that it takes.
std::string wordsOf(const CommandPage& command, const std::string& place) {
  std::vector<std::string> names;
  for (const CommandPage& below : command.commands) names.push_back(below.name);
  std::string text = "    '" + place + "')\n      options='" + optionsOf(command) + "'\n";
  if (!names.empty()) text += "      commands='" + joined(names, ' ') + "'\n";
  for (const OptionPage& option : command.options) {
    if (!option.isPositional() || option.takes.kind == TakenValues::Kind::Anything) continue;
    text += "      others=\"" + generatorOf(option.takes) + "\"\n";
    break;
  }
  return text + "      ;;\n";
}

constexpr const char* kBegin = R"(# Completion of quel for bash.

_quel_words() { mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -W "$1" -- "$current"); }

_quel_names() {
  mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen "$1" -- "$current")
  compopt -o filenames 2>/dev/null
}

_quel() {
  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  local place='' options='' commands='' others=: word
  COMPREPLY=()
  # An equals sign is a word of its own here.
  if [[ $current == '=' ]]; then
    current=
  elif [[ $before == '=' ]]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  for word in "${COMP_WORDS[@]:1:COMP_CWORD - 1}"; do
    case $place/$word in
)";

constexpr const char* kEnd = R"(  if [[ $current == -* ]]; then
    _quel_words "$options"
  else
    [[ -z $commands ]] || _quel_words "$commands"
    $others
  fi
}

complete -F _quel quel
)";

}  // namespace

std::string bashCompletionOf(const CommandPage& program) {
  std::string values, words;
  walk(program, [&](const CommandPage& command, const std::string& place) {
    values += valuesOf(command, place);
    words += wordsOf(command, place);
  });
  return kBegin + ("      " + placesOf(program) + ") place=$place/$word ;;\n    esac\n  done\n") +
         "  case \"$place $before\" in\n" + values + "  esac\n  case $place in\n" + words + "  esac\n" + kEnd;
}

}  // namespace queltool
