// `quel check`: whether files of the library are sound.
#include <fmt/core.h>

#include <filesystem>
#include <memory>
#include <optional>

#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/Json.h"
#include "files/Texts.h"
#include "models/FileKinds.h"

namespace queltool {

namespace {

namespace fs = std::filesystem;

struct Arguments {
  std::vector<fs::path> files;
  std::string kind;
  bool json = false;
};

struct Report {
  fs::path file;
  const FileKind* kind;  // Null where none is known.
  FileProblems problems;
};

std::string knownKinds() {
  std::string text;
  for (const FileKind& kind : fileKinds()) {
    text += fmt::format("{}{} ({})", text.empty() ? "" : ", ", kind.word, kind.name);
  }
  return text;
}

std::vector<std::string> words() {
  std::vector<std::string> all;
  for (const FileKind& kind : fileKinds()) all.emplace_back(kind.word);
  return all;
}

std::string whyNoKind(const std::string& word) {
  return kindNamed(word) != nullptr ? "" : fmt::format("must be one of {}, and is \"{}\"", joined(words(), ','), word);
}

Report reportOn(const fs::path& file, const FileKind* meant) try {
  const FileSample sample = sampleOf(file);
  const FileKind* kind = meant != nullptr ? meant : kindOf(sample);
  if (kind != nullptr) return {file, kind, kind->check(file)};
  return {file, nullptr, {{file.string() + ": is of no format that is known here; --as names those that are"}, {}}};
} catch (const Failure& failure) {
  return {file, meant, {{failure.what()}, {}}};
}

Json jsonOf(const Report& report) {
  return {{"file", report.file.string()},
          {"format", report.kind == nullptr ? Json() : Json(report.kind->word)},
          {"sound", report.problems.areNone()},
          {"problems", report.problems.all()}};
}

void print(const Report& report) {
  const std::string kind = report.kind == nullptr ? "" : std::string(": ") + report.kind->name;
  fmt::print("{}{}{}\n", report.file.string(), kind, report.problems.areNone() ? ", sound" : "");
  for (const std::string& problem : report.problems.all()) fmt::print("  {}\n", problem);
}

void run(const Arguments& arguments) {
  std::size_t bad = 0;
  Json json = Json::list({});
  for (const fs::path& file : arguments.files) {
    const Report report = reportOn(file, kindNamed(arguments.kind));
    bad += report.problems.areNone() ? 0 : 1;
    arguments.json ? json.add(jsonOf(report)) : print(report);
  }
  if (arguments.json) printJson({{"files", json}});
  if (bad != 0) throw Failure(fmt::format("{} of {} files are not sound", bad, arguments.files.size()));
}

}  // namespace

void defineCheck(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  command.input("FILE", arguments->files, "The files").required().count(1, 100000);
  command.option("--as", arguments->kind, "What the files are; else each is known by its content")
      .check(whyNoKind, "FORMAT")
      .takes({TakenValues::Kind::Words, words()});
  command.flag("--json", arguments->json, "Print the reports as JSON");
  command.showsProgress();
  command.footer("\nKnown are, with their words for --as: " + knownKinds() +
                 ". Each file is read by the library's own reader, and what that finds is told with its place, the "
                 "problem because of which a file cannot be read first. Exit code 1 if one is not sound.\n\n"
                 "Example:\n  quel check blocks/*.tns cameras.json");
  command.runs(arguments, run);
}

}  // namespace queltool
