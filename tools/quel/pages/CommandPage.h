// What there is to tell of a command: for its manual page, and for the shells that complete its lines.
#pragma once

#include <string>
#include <vector>

namespace queltool {

/// What an option takes, as far as a shell may complete it.
struct TakenValues {
  enum class Kind { Anything, Words, Files, Folders };
  Kind kind = Kind::Anything;
  std::vector<std::string> words;  ///< All that it takes, where its kind is words.
};

struct OptionPage {
  std::vector<std::string> names;  ///< With their dashes; one in capitals for a value without an option.
  std::string value;               ///< How the help calls what it takes; empty for a flag.
  std::string help;
  TakenValues takes;

  bool isFlag() const { return value.empty(); }
  bool isPositional() const { return !names.front().starts_with('-'); }
};

struct CommandPage {
  std::string name;
  std::string help;
  std::string usage;   ///< The line that shows how it is called.
  std::string footer;  ///< What stands below the options in the help.
  std::vector<OptionPage> options;
  std::vector<CommandPage> commands;
};

}  // namespace queltool
