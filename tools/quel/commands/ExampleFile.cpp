// `quel example`, and the same commands by other names: a file of each kind that commands take.
#include "commands/ExampleFile.h"

#include <fmt/core.h>

#include <memory>

#include "clouds/NumberTable.h"
#include "commands/Commands.h"
#include "files/Files.h"
#include "models/Examples.h"

namespace queltool {

namespace {

namespace fs = std::filesystem;

struct TextKind {
  const char* help;
  const char* ending;
  std::string (*text)();
};

TextKind kindOf(Example kind) {
  switch (kind) {
    case Example::Cameras:
      return {"Makes a file of three cameras, for make-block", ".json", exampleCameras};
    case Example::Corrections:
      return {"Makes a correction table, for compensate", ".xml", exampleCorrections};
    case Example::Materials:
      return {"Makes a material file", "", exampleMaterials};
    case Example::GlobalMaterials:
      return {"Makes a file of global materials", ".xml", exampleGlobalMaterials};
    case Example::Operations:
      break;
  }
  return {"Makes an operations file", ".xml", exampleOperations};
}

void tellWritten(const fs::path& file) { fmt::print("{}: written\n", file.string()); }

NumberTable tableOf(const std::vector<Vec3>& points) {
  NumberTable table{{"x", "y", "z"}, {}};
  for (const Vec3& point : points) table.values.insert(table.values.end(), point.begin(), point.end());
  return table;
}

void addCloudExample(Command& example) {
  Command command = example.command("cloud", "Makes a cloud, which the cameras see, for most commands");
  auto out = std::make_shared<OutputFile>();
  command.output("-o,--out", *out, "PLY or CSV file to write, as its name ends", {Format::Ply, Format::Csv}).required();
  command.runs([out] {
    writeTable(tableOf(exampleCloud()), *out);
    fmt::print(wordsBeside(*out), "{}: written\n", out->name);
  });
}

void addStoreExample(Command& example) {
  Command command = example.command("store", "Makes a project store, for project-tree and setups");
  auto folder = std::make_shared<fs::path>();
  command.folder("-o,--out", *folder, "The root directory; what is in it already stays").required();
  command.runs([folder] {
    makeExampleStore(*folder);
    tellWritten(*folder);
  });
}

}  // namespace

void addExample(Command& command, Example kind, const char* name) {
  const TextKind text = kindOf(kind);
  Command example = command.command(name, text.help);
  auto file = std::make_shared<fs::path>();
  example.output("-o,--out", *file, "The file to write", text.ending, Replaces::OtherFiles).required();
  example.runs([file, text] {
    writeWholeFile(*file, text.text());
    tellWritten(*file);
  });
}

void defineExample(Command& command) {
  addExample(command, Example::Cameras, "cameras");
  addCloudExample(command);
  addExample(command, Example::Corrections, "corrections");
  addExample(command, Example::Materials, "materials");
  addExample(command, Example::GlobalMaterials, "global-materials");
  addExample(command, Example::Operations, "operations");
  addStoreExample(command);
  command.footer(
      "\nSmall and sound files, to try a command or to begin from. Blocks come from make-block, correspondences from "
      "project, transforms from \"trn make\", and the table of deviation colours from \"colours export\".\n\n"
      "Example:\n"
      "  quel example cameras -o cameras.json\n"
      "  quel example cloud -o cloud.csv");
}

}  // namespace queltool
