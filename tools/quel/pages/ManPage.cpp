#include "pages/ManPage.h"

#include <fmt/core.h>

#include <sstream>

namespace queltool {

namespace {

// A dash that is typed is not one that hyphenates, and what begins a line must not be taken for a request.
std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    const bool begins = result.empty() || result.back() == '\n';
    if (begins && (c == '.' || c == '\'')) result += "\\&";
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else {
      result += c;
    }
  }
  return result;
}

std::string quoted(const std::string& text) { return '"' + escaped(text) + '"'; }

std::string capitals(std::string text) {
  for (char& c : text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  return text;
}

std::string section(const std::string& name) { return ".SH " + name + "\n"; }

std::string head(const std::string& name, const std::string& help, const std::string& version) {
  return fmt::format(".TH {} 1 \"\" {} QuelCore\n.nh\n.ad l\n", quoted(capitals(name)), quoted("quel " + version)) +
         section("NAME") + escaped(name) + " \\- " + escaped(help) + "\n";
}

std::string synopsis(const CommandPage& command) {
  std::string text = ".nf\n" + escaped(command.usage) + "\n";
  for (const CommandPage& below : command.commands) text += escaped(below.usage) + "\n";
  return section("SYNOPSIS") + text + ".fi\n";
}

std::string option(const OptionPage& option) {
  std::string names;
  for (const std::string& name : option.names) names += (names.empty() ? "\\fB" : ", \\fB") + escaped(name) + "\\fR";
  if (!option.isFlag() && !option.isPositional()) names += " \\fI" + escaped(option.value) + "\\fR";
  return ".TP\n" + names + "\n" + escaped(option.help) + "\n";
}

std::string options(const CommandPage& command) {
  std::string text;
  for (const OptionPage& each : command.options) text += option(each);
  return text;
}

std::string example(const std::string& line) { return ".EX\n" + escaped(line) + "\n.EE\n"; }

// Paragraphs, and lines that are shown as they are.
std::string paragraphs(const std::string& words) {
  std::string text;
  std::istringstream lines(words);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty()) {
      text += ".PP\n";
    } else {
      text += line.starts_with("  ") ? example(line.substr(2)) : escaped(line) + "\n";
    }
  }
  return text;
}

// What stands below the options of the help: words, and behind a line of its own the examples.
struct Footer {
  std::string words;
  std::string examples;
};

Footer footerOf(const CommandPage& command) {
  Footer footer;
  std::istringstream lines(command.footer);
  bool inExamples = false;
  for (std::string line; std::getline(lines, line);) {
    if (line == "Example:" || line == "Examples:") {
      inExamples = true;
    } else {
      (inExamples ? footer.examples : footer.words) += line + "\n";
    }
  }
  return footer;
}

std::string description(const CommandPage& command) {
  return section("DESCRIPTION") + escaped(command.help) + ".\n" + paragraphs(footerOf(command).words);
}

std::string examples(const CommandPage& command) {
  const std::string lines = footerOf(command).examples;
  return lines.empty() ? "" : section("EXAMPLES") + paragraphs(lines);
}

std::string foot(const std::string& others) {
  return section("EXIT STATUS") + "0 done, 1 failed, 2 wrong usage.\n" + section("SEE ALSO") + others + "\n";
}

std::string reference(const std::string& name) { return "\\fB" + escaped(name) + "\\fR(1)"; }

std::string below(const CommandPage& command) {
  const Footer footer = footerOf(command);
  return ".SS " + quoted(command.usage) + "\n" + escaped(command.help) + ".\n" + options(command) +
         paragraphs(footer.words) + paragraphs(footer.examples);
}

}  // namespace

std::string manPageOf(const CommandPage& program, const std::string& version) {
  std::string commands, others;
  for (const CommandPage& command : program.commands) {
    commands += ".TP\n\\fB" + escaped(command.name) + "\\fR\n" + escaped(command.help) + "\n";
    others += (others.empty() ? "" : ",\n") + reference(program.name + "-" + command.name);
  }
  return head(program.name, program.help, version) + synopsis({"", "", program.usage, "", {}, {}}) +
         description(program) + section("OPTIONS") + options(program) + section("COMMANDS") + commands +
         examples(program) + foot(others);
}

std::string manPageOf(const CommandPage& program, const CommandPage& command, const std::string& version) {
  std::string commands = command.commands.empty() ? "" : section("COMMANDS");
  for (const CommandPage& each : command.commands) commands += below(each);
  return head(program.name + "-" + command.name, command.help, version) + synopsis(command) + description(command) +
         section("OPTIONS") + options(command) + commands + examples(command) + foot(reference(program.name));
}

}  // namespace queltool
