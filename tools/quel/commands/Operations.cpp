// `quel operations`: what an operations file holds.
#include <fmt/core.h>

#include <filesystem>
#include <memory>

#include "commands/Commands.h"
#include "commands/ExampleFile.h"
#include "files/Failure.h"
#include "files/Json.h"
#include "quel/store/Operations.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;

Json jsonOf(const quel::OperationList& file) {
  Json list = Json::list({});
  for (const quel::Operation& operation : file.operations) {
    list.add({{"id", operation.id}, {"type", operation.type}, {"tiles", operation.tiles}});
  }
  return {{"version", file.version}, {"operations", list}};
}

void printOperations(const fs::path& path, const quel::OperationList& file) {
  fmt::print("{}: version {}, {} operations\n", path.string(), file.version, file.operations.size());
  for (const quel::Operation& operation : file.operations) {
    fmt::print("  {:>10}  {:<8}  {}\n", operation.id, operation.type, operation.tiles);
  }
}

}  // namespace

void defineOperations(Command& command) {
  struct Arguments {
    fs::path file;
    bool json = false;
  };
  auto arguments = std::make_shared<Arguments>();
  command.input("FILE", arguments->file, "The file");
  command.flag("--json", arguments->json, "Print the list as JSON");
  command.footer(
      "\nExample:\n"
      "  quel operations example -o operations.xml\n"
      "  quel operations operations.xml");
  addExample(command, Example::Operations, "example");
  command.mayStandAlone();
  command.runs([arguments] {
    if (arguments->file.empty()) throw WrongUsage("FILE", "is required");
    const quel::OperationList file = orFail(quel::readOperations(arguments->file));
    if (!arguments->json) return printOperations(arguments->file, file);
    printJson(jsonOf(file));
  });
}

}  // namespace queltool
