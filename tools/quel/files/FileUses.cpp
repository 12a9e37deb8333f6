#include "files/FileUses.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstdio>

#include "files/Failure.h"
#include "files/Files.h"
#include "files/StandardOutput.h"
#include "files/Texts.h"
#include "files/WrongUsage.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

const std::vector<Format> kAllFormats = {Format::Csv, Format::Ply, Format::Png, Format::Svg};

// A pipe or a device: what is written to it replaces nothing, and its name says nothing.
bool isStream(const fs::path& file) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  return fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
}

bool isSameFile(const fs::path& a, const fs::path& b) {
  std::error_code error;
  return !isStream(a) &&
         (fs::equivalent(a, b, error) || fs::weakly_canonical(a, error) == fs::weakly_canonical(b, error));
}

// By the name and by what it leads to, as a link does.
bool isNamedAsBlock(const fs::path& file) {
  std::error_code error;
  const auto named = [](const fs::path& each) { return endingOf(each) == ".tns" || endingOf(each) == ".lut"; };
  return named(file) || named(fs::weakly_canonical(file, error));
}

// What a sentence calls the file of an option: "the table" for "-t,--table", "the file of the points" for "POINTS".
std::string wordOf(const std::string& option) {
  const std::string word = lowerCase(option.substr(option.find_last_of(",-") + 1));
  return (word.ends_with('s') ? "the file of the " : "the ") + word;
}

// The option as a person writes it: "--table" for "-t,--table".
std::string nameOf(const std::string& option) { return option.substr(option.find_last_of(',') + 1); }

}  // namespace

OutputFile::OutputFile(const fs::path& file)
    : name(file.string()), format(formatByEnding(file, kAllFormats).value_or(Format::Csv)) {}

void writeOutput(const OutputFile& file, std::string_view content) {
  file.isGiven() && !file.isStandardOutput() ? writeWholeFile(file.name, content) : writeData(content);
}

std::FILE* wordsBeside(const OutputFile& file) { return file.isGiven() ? stdout : stderr; }

void FileUses::addInput(const std::string& option, const std::string& file) {
  addInput(option, [&file] { return std::vector<fs::path>{file}; });
}

void FileUses::addInput(const std::string& option, const fs::path& file) {
  addInput(option, [&file] { return std::vector<fs::path>{file}; });
}

void FileUses::addInput(const std::string& option, const std::vector<fs::path>& files) {
  addInput(option, [&files] { return files; });
}

void FileUses::addInput(const std::string& option, std::function<std::vector<fs::path>()> files) {
  inputs_.push_back({option, wordOf(option), std::move(files)});
}

void FileUses::addInput(const std::string& option, InputFile& file, std::vector<Format> formats) {
  addInput(option, file.name);
  inputs_.back().mayBeStream = true;
  formattedInputs_.push_back({&file, std::move(formats)});
}

void FileUses::addOutput(const std::string& option, OutputFile& file, std::vector<Format> formats) {
  outputs_.push_back({option, [&file] { return fs::path(file.name); }, "", Replaces::OtherFiles, true});
  formattedOutputs_.push_back({option, &file, std::move(formats)});
}

void FileUses::addOutput(const std::string& option, const fs::path& file, const char* ending, Replaces replaces) {
  outputs_.push_back({option, [&file] { return file; }, ending, replaces});
}

void FileUses::addOutput(const std::string& option, std::function<fs::path()> file) {
  outputs_.push_back({option, std::move(file), "", Replaces::Blocks});
}

void FileUses::addFormats(const std::vector<Format>& formats) {
  for (const Format format : formats) {
    if (std::find(formats_.begin(), formats_.end(), format) == formats_.end()) formats_.push_back(format);
  }
}

std::vector<std::string> FileUses::formatNames() const {
  std::vector<std::string> names;
  for (const Format format : formats_) names.emplace_back(nameOf(format));
  return names;
}

std::string FileUses::whyNoFormat(const std::string& word) const {
  return formatNamed(word, formats_) ? "" : fmt::format("must be {}, and is \"{}\"", namesOf(formats_), word);
}

Format FileUses::streamFormat(const std::string& option, const std::string& name,
                              const std::vector<Format>& formats) const {
  if (format_.empty()) {
    throw WrongUsage(option,
                     fmt::format("{} has no ending that says its format; --format does: {}", name, namesOf(formats)));
  }
  const std::optional<Format> format = formatNamed(format_, formats);
  if (format) return *format;
  throw WrongUsage("--format", fmt::format("{} must be {} here, and is to be {}", name, namesOf(formats), format_));
}

void FileUses::resolve(const FormattedInput& input) const {
  if (input.file->name == "-") input.file->format = streamFormat("-", "standard input", input.formats);
}

// A pipe whose name has no ending holds what the command writes without -o, unless --format says another.
void FileUses::resolve(const FormattedOutput& output) const {
  OutputFile& file = *output.file;
  if (!file.isGiven()) return;
  const bool mayDefault = output.formats.front() == Format::Csv && format_.empty();
  if (file.isStandardOutput()) {
    file.format = streamFormat(output.option, "standard output", output.formats);
  } else if (const auto format = formatByEnding(file.name, output.formats)) {
    file.format = *format;
  } else if (isStream(file.name)) {
    file.format = mayDefault ? Format::Csv : streamFormat(output.option, file.name, output.formats);
  } else {
    const std::string ending = endingOf(file.name);
    throw WrongUsage(output.option,
                     fmt::format("{} {}; the ending says the format and must be that of {}", file.name,
                                 ending.empty() ? "has no ending" : "ends in " + ending, namesOf(output.formats)));
  }
}

void FileUses::refuseIdleFormat() const {
  if (format_.empty()) return;
  const auto in = [](const FormattedInput& each) { return each.file->name == "-"; };
  const auto out = [](const FormattedOutput& each) {
    return each.file->isStandardOutput() || isStream(each.file->name);
  };
  if (std::any_of(formattedInputs_.begin(), formattedInputs_.end(), in) ||
      std::any_of(formattedOutputs_.begin(), formattedOutputs_.end(), out)) {
    return;
  }
  throw WrongUsage("--format", "is for standard input and output, given as -; the ending of a file says its format");
}

void FileUses::refuseTwoToOnePlace() const {
  for (auto a = outputs_.begin(); a != outputs_.end(); ++a) {
    for (auto b = a + 1; b != outputs_.end(); ++b) {
      if (a->file().empty() || b->file().empty() || !isSameFile(a->file(), b->file())) continue;
      throw WrongUsage(b->option, b->file().string() + " is what " + a->option + " writes as well; give another name");
    }
  }
}

void FileUses::refuseToReplace(const Output& output) const {
  const fs::path file = output.file();
  if (file.empty() || file == "-" || isStream(file)) return;
  for (const Input& each : inputs_) {
    for (const fs::path& input : each.files()) {
      if (!isSameFile(file, input)) continue;
      throw Failure(
          fmt::format("{}: is {} itself, which stays; give another {}", file.string(), each.what, output.option));
    }
  }
  if (output.replaces != Replaces::Blocks && isNamedAsBlock(file)) {
    throw Failure(
        fmt::format("{}: is the name of a calibration block's file, which this command does not make; give "
                    "another name with {}",
                    file.string(), output.option));
  }
}

void FileUses::refuseEnding(const Output& output) const {
  const fs::path file = output.file();
  const std::string ending = endingOf(file);
  if (output.ending.empty() || ending.empty() || ending == output.ending) return;
  throw WrongUsage(output.option, fmt::format("{} ends in {}; the ending says the format and must be {}", file.string(),
                                              ending, output.ending));
}

// A dash stands for a stream where streams are offered; elsewhere it is no name that anybody means.
void FileUses::refuseStreams() const {
  const std::string advice = " is not offered here; give the name of a file, ./- for one that is called -";
  for (const Input& input : inputs_) {
    const std::vector<fs::path> files = input.mayBeStream ? std::vector<fs::path>() : input.files();
    if (std::find(files.begin(), files.end(), "-") == files.end()) continue;
    throw WrongUsage(nameOf(input.option), "standard input" + advice);
  }
  for (const Output& output : outputs_) {
    if (!output.mayBeStream && output.file() == "-") throw WrongUsage(output.option, "standard output" + advice);
  }
}

void FileUses::check() {
  refuseStreams();
  for (const Output& output : outputs_) {
    refuseToReplace(output);
    refuseEnding(output);
  }
  refuseIdleFormat();
  for (const FormattedInput& input : formattedInputs_) resolve(input);
  for (const FormattedOutput& output : formattedOutputs_) resolve(output);
  refuseTwoToOnePlace();
  const auto toData = [](const FormattedOutput& each) { return each.file->isStandardOutput(); };
  if (std::any_of(formattedOutputs_.begin(), formattedOutputs_.end(), toData)) keepStandardOutputForData();
}

}  // namespace queltool
