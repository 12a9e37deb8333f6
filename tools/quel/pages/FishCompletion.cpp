#include "files/Texts.h"
#include "pages/Completion.h"
#include "pages/Walk.h"

namespace queltool {

namespace {

std::string quoted(const std::string& text) {
  std::string result = "'";
  for (const char c : text) {
    if (c == '\'' || c == '\\') result += '\\';
    result += c;
  }
  return result + "'";
}

std::string valueOf(const OptionPage& option) {
  switch (option.takes.kind) {
    case TakenValues::Kind::Words:
      return " -x -a " + quoted(joined(option.takes.words, ' '));
    case TakenValues::Kind::Files:
      return " -r -F";
    case TakenValues::Kind::Folders:
      return " -x -a '(__fish_complete_directories (commandline -ct))'";
    case TakenValues::Kind::Anything:
      break;
  }
  return option.isFlag() ? "" : " -x";
}

std::string namesOf(const OptionPage& option) {
  std::string text;
  for (const std::string& name : option.names) {
    text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  return text;
}

std::string lineOf(const OptionPage& option, const std::string& at) {
  if (!option.isPositional()) return at + namesOf(option) + valueOf(option) + " -d " + quoted(option.help) + "\n";
  if (option.takes.kind == TakenValues::Kind::Files) return at + " -F\n";
  return option.takes.kind == TakenValues::Kind::Folders ? at + valueOf(option) + "\n" : "";
}

std::string linesOf(const CommandPage& command, const std::string& place) {
  const std::string at = "complete -c quel -n " + quoted("__quel_is_at " + quoted(place));
  std::string text;
  for (const CommandPage& below : command.commands) {
    text += at + " -a " + below.name + " -d " + quoted(below.help) + "\n";
  }
  for (const OptionPage& option : command.options) text += lineOf(option, at);
  return text;
}

}  // namespace

std::string fishCompletionOf(const CommandPage& program) {
  std::string places, lines;
  walk(program, [&](const CommandPage& command, const std::string& place) {
    if (!place.empty()) places += " " + place;
    lines += linesOf(command, place);
  });
  return "# Completion of quel for fish.\n\nset -g __quel_places" + places + R"(

function __quel_is_at -a wanted
    set -l place ''
    for word in (commandline -opc)[2..-1]
        contains -- "$place/$word" $__quel_places; and set place "$place/$word"
    end
    test "$place" = "$wanted"
end

complete -c quel -f
)" + lines;
}

}  // namespace queltool
