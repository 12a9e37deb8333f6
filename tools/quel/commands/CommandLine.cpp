#include "commands/CommandLine.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <map>
#include <optional>
#include <type_traits>

#include "commands/HelpFormatter.h"
#include "commands/Mistyped.h"
#include "commands/PageOf.h"
#include "files/Progress.h"
#include "files/Texts.h"

namespace queltool {

namespace {

constexpr int kWrongUsage = 2;

// Any enumeration, as the parser sees it.
enum class Chosen : int {};

template <typename Value, typename... Each>
constexpr bool isAnyOf = (std::is_same_v<Value, Each> || ...);

}  // namespace

Option::Option(CLI::Option* option, std::shared_ptr<ValuesOfOptions> values)
    : option_(option), values_(std::move(values)) {}

Option& Option::required() {
  option_->required();
  return *this;
}

Option& Option::showDefault() {
  option_->capture_default_str();
  return *this;
}

Option& Option::within(std::int32_t least, std::int32_t most) {
  option_->check(CLI::Range(least, most));
  return *this;
}

Option& Option::oneOf(const std::vector<std::string>& words) {
  option_->check(CLI::IsMember(words));
  return takes({TakenValues::Kind::Words, words});
}

Option& Option::check(const Check& check, const char* kind) {
  option_->check(CLI::Validator([check](const std::string& text) { return check(text); }, kind));
  return *this;
}

Option& Option::separatedBy(char separator) {
  option_->delimiter(separator);
  return *this;
}

Option& Option::count(int least, int most) {
  option_->expected(least, most);
  return *this;
}

Option& Option::needs(const Option& other) {
  option_->needs(other.option_);
  return *this;
}

Option& Option::takes(TakenValues values) {
  (*values_)[option_] = std::move(values);
  return *this;
}

// The parser would hand on the footer that this command has so far.
Command Command::command(const std::string& name, const std::string& help) {
  app_->require_subcommand(1);
  return Command(app_->add_subcommand(name, help)->footer(""), values_);
}

void Command::mayStandAlone() { app_->require_subcommand(0, 1); }

Command Command::group(const std::string& heading, const std::string& help, std::size_t least, std::size_t most) {
  CLI::Option_group* group = app_->add_option_group(heading, help);
  group->require_option(least, most);
  return Command(group, values_);
}

template <typename Value>
Option Command::option(const std::string& names, Value& value, const std::string& help) {
  constexpr bool kReal = isAnyOf<Value, double, std::vector<double>>;
  constexpr bool kWhole =
      isAnyOf<Value, std::int32_t, std::uint32_t, std::optional<std::int32_t>, std::vector<std::int32_t>>;
  Option option(app_->add_option(names, value, help), values_);
  if (kReal) option.check(whyOtherNumberForm, "");
  if (kWhole) option.check(whyNoWholeNumber, "");
  return option;
}

template Option Command::option(const std::string&, std::string&, const std::string&);
template Option Command::option(const std::string&, std::filesystem::path&, const std::string&);
template Option Command::option(const std::string&, std::int32_t&, const std::string&);
template Option Command::option(const std::string&, std::uint32_t&, const std::string&);
template Option Command::option(const std::string&, double&, const std::string&);
template Option Command::option(const std::string&, std::vector<std::filesystem::path>&, const std::string&);
template Option Command::option(const std::string&, std::vector<std::string>&, const std::string&);
template Option Command::option(const std::string&, std::vector<std::int32_t>&, const std::string&);
template Option Command::option(const std::string&, std::vector<double>&, const std::string&);
template Option Command::option(const std::string&, std::optional<std::string>&, const std::string&);
template Option Command::option(const std::string&, std::optional<std::int32_t>&, const std::string&);

Option Command::input(const std::string& names, InputFile& file, const std::string& help,
                      const std::vector<Format>& formats) {
  uses_->addInput(names, file, formats);
  addFormat(formats);
  return option(names, file.name, help).takes({TakenValues::Kind::Files, {}});
}

Option Command::output(const std::string& names, OutputFile& file, const std::string& help,
                       std::initializer_list<Format> formats) {
  uses_->addOutput(names.substr(0, names.find(',')), file, formats);
  addFormat(formats);
  return option(names, file.name, help).takes({TakenValues::Kind::Files, {}});
}

Option Command::output(const std::string& names, std::filesystem::path& file, const std::string& help,
                       const char* ending, Replaces replaces) {
  uses_->addOutput(names.substr(0, names.find(',')), file, ending, replaces);
  return option(names, file, help).takes({TakenValues::Kind::Files, {}});
}

// One option for all files of the command that may be streams; it knows the words of each.
void Command::addFormat(const std::vector<Format>& formats) {
  CLI::Option* format = app_->get_option_no_throw("--format");
  if (format == nullptr) {
    format = app_->add_option("--format", uses_->format(),
                              "Format of what goes through standard input or output, given as -");
    format->check(
        CLI::Validator([uses = uses_](const std::string& word) { return uses->whyNoFormat(word); }, "FORMAT"));
  }
  uses_->addFormats(formats);
  (*values_)[format] = {TakenValues::Kind::Words, uses_->formatNames()};
}

Option Command::flag(const std::string& names, bool& value, const std::string& help) {
  return Option(app_->add_flag(names, value, help), values_);
}

Option Command::choiceOf(const std::string& names, std::function<void(int)> choose, const std::string& word,
                         const std::string& help, const std::vector<std::pair<std::string, int>>& words) {
  std::map<std::string, Chosen> meanings;
  std::vector<std::string> all;
  for (const auto& [name, number] : words) {
    meanings[name] = static_cast<Chosen>(number);
    all.push_back(name);
  }
  const std::function<void(const Chosen&)> take = [choose](const Chosen& chosen) { choose(static_cast<int>(chosen)); };
  CLI::Option* option =
      app_->add_option_function(names, take, help)->transform(CLI::CheckedTransformer(meanings))->default_str(word);
  option->option_text("TEXT:{" + joined(all, ',') + "}=" + word);
  return Option(option, values_).takes({TakenValues::Kind::Words, all});
}

void Command::showsProgress() {
  app_->add_flag_callback(
      "-q,--quiet", [] { Progress::silence(); }, "Show no progress on the terminal");
}

void Command::footer(const std::string& text) { app_->footer(text); }

void Command::runs(std::function<void()> work) {
  app_->callback([app = app_, uses = uses_, work = std::move(work)] {
    if (!app->get_subcommands().empty()) return;  // That did the work.
    uses->check();
    work();
  });
}

CommandLine::CommandLine(const std::string& program, const std::string& what,
                         const std::function<std::string()>& version, const std::string& footer)
    : app_(std::make_unique<CLI::App>(what, program)) {
  app_->formatter(std::make_shared<HelpFormatter>());
  app_->set_version_flag("--version", version);
  app_->footer(footer);
}

CommandLine::~CommandLine() = default;

Command CommandLine::command(const std::string& name, const std::string& help) {
  return Command(app_.get(), values_).command(name, help);
}

int CommandLine::run(int argc, const char* const* argv) {
  const auto exitCode = [this](const CLI::Error& error) { return app_->exit(error) == 0 ? 0 : kWrongUsage; };
  try {
    app_->parse(argc, argv);
  } catch (const CLI::Success& asked) {
    return exitCode(asked);
  } catch (const CLI::ParseError& error) {
    return exitCode(CLI::Error("Usage", wordsOn(*app_, error), CLI::ExitCodes::BaseClass));
  } catch (const WrongUsage& wrong) {
    return exitCode(CLI::ValidationError(wrong.option(), wrong.what()));
  }
  return 0;
}

CommandPage CommandLine::page() const { return pageOf(*app_, app_->get_name(), *values_); }

}  // namespace queltool
