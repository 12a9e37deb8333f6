// The door that every file of a command goes through: what it reads, what it writes, and in which formats.
#pragma once

#include <cstdio>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "files/Formats.h"

namespace queltool {

/// A file to read; `-` is standard input.
struct InputFile {
  std::string name;
  std::optional<Format> format = {};      ///< What standard input is said to hold; a file tells by its content.
  std::vector<std::string> columns = {};  ///< The columns of a text that are taken, by name or place; empty: the usual.
  std::filesystem::path transform = {};   ///< Moves the points that are read; empty for none.
  double millimetresPerUnit = 1.0;        ///< Of coordinates whose unit the file does not tell.
};

/// A file to write; `-` is standard output, which an empty name stands for where the command says so.
struct OutputFile {
  std::string name;
  Format format = Format::Csv;

  OutputFile() = default;
  /// The file of this name in the format that its ending says, CSV where it says none.
  OutputFile(const std::filesystem::path& file);

  bool isGiven() const { return !name.empty(); }
  bool isStandardOutput() const { return name == "-"; }
};

/// Writes the whole of `file`. Throws `Failure`.
void writeOutput(const OutputFile& file, std::string_view content);

/// Where a command that writes `file` says what it did: standard output unless the file goes there for want of a name.
std::FILE* wordsBeside(const OutputFile& file);

/// What a command may put its output in the place of.
enum class Replaces {
  OtherFiles,  ///< Neither what it reads nor a block.
  Blocks       ///< Blocks but those that it reads: it makes them and asks for --force itself.
};

/// The files that the options of one command name. The values stand with whoever describes the options.
class FileUses {
 public:
  /// `option` is how the command line calls the file: "-t,--table" or "BLOCK".
  void addInput(const std::string& option, const std::string& file);
  void addInput(const std::string& option, const std::filesystem::path& file);
  void addInput(const std::string& option, const std::vector<std::filesystem::path>& files);
  void addInput(const std::string& option, std::function<std::vector<std::filesystem::path>()> files);
  void addInput(const std::string& option, InputFile& file, std::vector<Format> formats);
  void addOutput(const std::string& option, OutputFile& file, std::vector<Format> formats);
  void addOutput(const std::string& option, const std::filesystem::path& file, const char* ending, Replaces replaces);
  /// A file of a block whose name the command makes itself, below what `option` says; empty for none.
  void addOutput(const std::string& option, std::function<std::filesystem::path()> file);

  /// Formats that the option `--format` of the command knows from now on.
  void addFormats(const std::vector<Format>& formats);

  /// Their names.
  std::vector<std::string> formatNames() const;

  /// What the option `--format` says.
  std::string& format() { return format_; }

  /// Why `--format` cannot be `word`; empty where it can.
  std::string whyNoFormat(const std::string& word) const;

  /// Resolves the formats and refuses what must not be. Throws `Failure` or `WrongUsage`.
  void check();

 private:
  struct Input {
    std::string option;
    std::string what;
    std::function<std::vector<std::filesystem::path>()> files;
    bool mayBeStream = false;
  };
  struct Output {
    std::string option;
    std::function<std::filesystem::path()> file;
    std::string ending;  // The only one that it may have; empty where any will do, or formats tell.
    Replaces replaces;
    bool mayBeStream = false;
  };
  struct FormattedInput {
    InputFile* file;
    std::vector<Format> formats;
  };
  struct FormattedOutput {
    std::string option;
    OutputFile* file;
    std::vector<Format> formats;
  };

  Format streamFormat(const std::string& option, const std::string& name, const std::vector<Format>& formats) const;
  void resolve(const FormattedInput& input) const;
  void resolve(const FormattedOutput& output) const;
  void refuseStreams() const;
  void refuseIdleFormat() const;
  void refuseTwoToOnePlace() const;
  void refuseEnding(const Output& output) const;
  void refuseToReplace(const Output& output) const;

  std::vector<Input> inputs_;
  std::vector<Output> outputs_;
  std::vector<FormattedInput> formattedInputs_;
  std::vector<FormattedOutput> formattedOutputs_;
  std::vector<Format> formats_;
  std::string format_;
};

}  // namespace queltool
