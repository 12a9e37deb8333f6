// The command line: commands with their options, help, checks and exit codes. What stands here and in HelpFormatter.h,
// Mistyped.h and PageOf.h alone knows the parser; everything else describes its commands through this.
//
// A value that an option sets belongs to whoever describes the option. It holds the default until then and must live as
// long as the command line.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "files/FileUses.h"
#include "files/WrongUsage.h"
#include "pages/CommandPage.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace queltool {

/// What the options of a command line take, for who completes a line.
using ValuesOfOptions = std::map<const CLI::Option*, TakenValues>;

/// An option of a command, to say more of it.
class Option {
 public:
  /// Says what is wrong with a text; nothing when it can be taken.
  using Check = std::function<std::string(const std::string& text)>;

  Option(CLI::Option* option, std::shared_ptr<ValuesOfOptions> values);

  Option& required();
  /// The help shows what the value is now.
  Option& showDefault();
  Option& within(std::int32_t least, std::int32_t most);
  Option& oneOf(const std::vector<std::string>& words);
  /// `kind` is what the help calls a text that passes.
  Option& check(const Check& check, const char* kind);
  /// Several values may stand in one text.
  Option& separatedBy(char separator);
  Option& count(int least, int most);
  /// Wrong usage without `other`.
  Option& needs(const Option& other);
  /// What a shell may complete a value to.
  Option& takes(TakenValues values);

 private:
  CLI::Option* option_;
  std::shared_ptr<ValuesOfOptions> values_;
};

/// A command, to describe what it takes and does.
class Command {
 public:
  Command(CLI::App* app, std::shared_ptr<ValuesOfOptions> values)
      : app_(app), values_(std::move(values)), uses_(std::make_shared<FileUses>()) {}

  /// A command below this one, which from then on must be followed by one of them.
  Command command(const std::string& name, const std::string& help);

  /// Says that this command may stand without any of those below it, too.
  void mayStandAlone();

  /// Values that are given together under a heading of the help, at least `least` of them.
  Command group(const std::string& heading, const std::string& help, std::size_t least, std::size_t most);

  /// An option ("-o,--out") or, by a name in capitals, a value without one ("BLOCK"). `Value` is text, a path, int32,
  /// uint32 or double, a vector of texts' kinds (paths, int32, double), or an optional text or int32.
  template <typename Value>
  Option option(const std::string& names, Value& value, const std::string& help);

  Option flag(const std::string& names, bool& value, const std::string& help);

  /// An option or value that names a file that the command reads. Nothing that the command writes may take its place.
  template <typename Value>
  Option input(const std::string& names, Value& value, const std::string& help) {
    uses_->addInput(names, value);
    return option(names, value, help).takes({TakenValues::Kind::Files, {}});
  }

  /// An option or value that names a folder.
  template <typename Value>
  Option folder(const std::string& names, Value& value, const std::string& help) {
    return option(names, value, help).takes({TakenValues::Kind::Folders, {}});
  }

  /// The same for a file that may come from standard input, as `-`, in one of `formats`.
  Option input(const std::string& names, InputFile& file, const std::string& help, const std::vector<Format>& formats);

  /// Says that the command also reads these files, which `option` leads to.
  void reads(const std::string& option, std::function<std::vector<std::filesystem::path>()> files) {
    uses_->addInput(option, std::move(files));
  }

  /// An option that names a file that the command writes, in one of `formats`. Its ending says which; `--format` does
  /// where it goes to standard output, as `-`.
  Option output(const std::string& names, OutputFile& file, const std::string& help,
                std::initializer_list<Format> formats);

  /// The same for a file of one kind, whose name ends in `ending` if it has an ending; any will do for an empty one.
  Option output(const std::string& names, std::filesystem::path& file, const std::string& help, const char* ending,
                Replaces replaces);

  /// An option whose value goes by words, of which the help shows `word`.
  template <typename Enum>
  Option choice(const std::string& names, Enum& value, const std::string& word, const std::string& help,
                std::initializer_list<std::pair<const char*, Enum>> words) {
    std::vector<std::pair<std::string, int>> numbers;
    for (const auto& [name, meaning] : words) numbers.emplace_back(name, static_cast<int>(meaning));
    return choiceOf(
        names, [&value](int number) { value = static_cast<Enum>(number); }, word, help, numbers);
  }

  /// Says that the command also makes this file of a block, whose name follows from what `option` and others say. The
  /// name is empty where it makes none.
  void makesOfBlock(const std::string& option, std::function<std::filesystem::path()> file) {
    uses_->addOutput(option, std::move(file));
  }

  /// Says that the command takes long, so that it shows how far it is, unless `--quiet` is given.
  void showsProgress();

  /// What stands below the options in the help.
  void footer(const std::string& text);

  /// What the command does when it is named and everything that it is given is in order.
  void runs(std::function<void()> work);

  /// The same with the values that its options set, which it keeps.
  template <typename Arguments>
  void runs(std::shared_ptr<Arguments> arguments, void (*work)(const Arguments&)) {
    runs([arguments = std::move(arguments), work] { work(*arguments); });
  }

 private:
  Option choiceOf(const std::string& names, std::function<void(int)> choose, const std::string& word,
                  const std::string& help, const std::vector<std::pair<std::string, int>>& words);

  void addFormat(const std::vector<Format>& formats);

  CLI::App* app_;
  std::shared_ptr<ValuesOfOptions> values_;
  std::shared_ptr<FileUses> uses_;
};

/// The whole command line of a program.
class CommandLine {
 public:
  /// `version` is asked for when somebody asks for it.
  CommandLine(const std::string& program, const std::string& what, const std::function<std::string()>& version,
              const std::string& footer);
  ~CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  Command command(const std::string& name, const std::string& help);

  /// Runs the command that the arguments name. Returns 0, or 2 after telling what is wrong with the usage, and which
  /// command or option may have been meant; what a command throws passes through.
  int run(int argc, const char* const* argv);

  /// The program with all its commands, as its help tells of them.
  CommandPage page() const;

 private:
  std::unique_ptr<CLI::App> app_;
  std::shared_ptr<ValuesOfOptions> values_ = std::make_shared<ValuesOfOptions>();
};

}  // namespace queltool
