// `quel materials`: material files and the global materials configuration.
#include <fmt/core.h>
#include <unistd.h>

#include <filesystem>
#include <memory>

#include "commands/Commands.h"
#include "commands/ExampleFile.h"
#include "files/Failure.h"
#include "files/Files.h"
#include "files/Json.h"
#include "files/Temporaries.h"
#include "models/FileChecks.h"
#include "models/FileKinds.h"
#include "models/FileSample.h"
#include "models/MaterialText.h"
#include "models/Problems.h"
#include "models/Reasons.h"
#include "quelcore/operations/QmMaterialIO.h"
#include "quelcore/operations/QmXmlMaterialIO.h"
#include "quelplatform/qmEnv/qmText.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLargestFile = std::uintmax_t{256} << 20;
constexpr const char* kExample =
    "\nExample:\n"
    "  quel materials example -o materials.txt\n"
    "  quel materials show materials.txt\n"
    "  quel materials global-example -o GlobalMaterials.xml\n"
    "  quel materials show GlobalMaterials.xml --head 3\n"
    "  quel materials convert materials.txt --to utf8 -o editable.txt\n"
    "  quel materials check editable.txt";

struct Arguments {
  fs::path file;
  fs::path out;
  std::string encoding = "wide";
  std::int32_t head = OPTICAL_HEAD_2002_A;
  bool json = false;
};

using SharedArguments = std::shared_ptr<Arguments>;

QmMaterialIO readMaterials(const fs::path& file) {
  readWholeFile(file, kLargestFile);  // A file that is not there, or none at all, is told as everywhere.
  QmMaterialIO materials(widePath(file).c_str());
  if (!materials.read()) throw unreadable(file);
  tellRemarks();
  return materials;
}

std::string headName(OPTICAL_HEAD head) { return toNarrow(getOH_Name(head)); }
std::string lensName(QmLens lens) { return toNarrow(getLensName(lens)); }

Json jsonOf(QmMaterialTables& tables) {
  Json json = Json::list({});
  for (const auto& [pair, table] : tables) {
    Json rows = Json::list({});
    for (const auto& [name, params] : table) {
      rows.add({{"name", toNarrow(name)},
                {"values", Json::list({params.value1, params.value2, params.value3, params.value4})}});
    }
    json.add({{"head", static_cast<int>(pair.first)}, {"lens", static_cast<int>(pair.second)}, {"materials", rows}});
  }
  return json;
}

void printTables(QmMaterialTables& tables) {
  for (const auto& [pair, table] : tables) {
    fmt::print("head {} ({}), lens {} ({}): {} materials\n", static_cast<int>(pair.first), headName(pair.first),
               static_cast<int>(pair.second), lensName(pair.second), table.size());
    for (const auto& [name, params] : table) {
      fmt::print("  {:<30} {:>14g} {:>14g} {:>14g} {:>8}\n", toNarrow(name), params.value1, params.value2,
                 params.value3, params.value4);
    }
  }
}

void showMaterials(const Arguments& arguments) {
  QmMaterialIO materials = readMaterials(arguments.file);
  QmMaterialTables& tables = materials.getMaterialTables();
  if (arguments.json) return printJson({{"file", arguments.file.string()}, {"tables", jsonOf(tables)}});
  fmt::print("{}: {} tables\n", arguments.file.string(), tables.size());
  printTables(tables);
}

QmGlobalMaterialTable readGlobal(const Arguments& arguments) {
  const Reasons reasons;
  QmXmlGlobalMaterialIO document;
  QmGlobalMaterialTable table;
  if (!document.Open(widePath(arguments.file).c_str())) throw unreadable(arguments.file);
  if (!document.Read(static_cast<OPTICAL_HEAD>(arguments.head), table)) {
    throw Failure(fmt::format("{}; no global materials for head {}, --head chooses another{}",
                              unreadable(arguments.file).what(), arguments.head, reasons.text()));
  }
  tellRemarks();
  return table;
}

void showGlobal(const Arguments& arguments) {
  Json lenses = Json::list({});
  for (const auto& [lens, materials] : readGlobal(arguments)) {
    Json list = Json::list({});
    if (!arguments.json)
      fmt::print("lens {} ({}): {} materials\n", static_cast<int>(lens), lensName(lens), materials.size());
    for (const auto& [material, processes] : materials) {
      for (const auto& [process, params] : processes) {
        list.add({{"material", toNarrow(material)},
                  {"process", toNarrow(process)},
                  {"params", Json::list({params.Param1, params.Param2, params.Param3})}});
        if (arguments.json) continue;
        fmt::print("  {:<24} {:<20} {:>12g} {:>12g} {:>12g}\n", toNarrow(material), toNarrow(process), params.Param1,
                   params.Param2, params.Param3);
      }
    }
    lenses.add({{"lens", static_cast<int>(lens)}, {"processes", list}});
  }
  if (arguments.json) printJson({{"file", arguments.file.string()}, {"head", arguments.head}, {"lenses", lenses}});
}

bool isXml(const fs::path& file) {
  const std::string text = utf8OfMaterials(readWholeFile(file, kLargestFile));
  const std::size_t first = text.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
  return first != text.npos && text[first] == '<';
}

// What the library writes, by way of a file beside `out` that is of this process alone.
std::string bytesOf(QmMaterialIO& materials, const fs::path& out) {
  const Temporary beside([&] {
    const fs::path path = out.string() + fmt::format(".{}.wide", getpid());
    materials.setFileName(widePath(path).c_str());
    if (materials.write()) return path;
    std::remove(path.c_str());
    throw Failure(out.string() + ": cannot be written");
  });
  return readWholeFile(beside.path(), 4 * kLargestFile);
}

void convert(const Arguments& arguments) {
  QmMaterialIO materials = readMaterials(arguments.file);
  const std::string bytes = bytesOf(materials, arguments.out);
  writeWholeFile(arguments.out, arguments.encoding == "utf8" ? utf8OfMaterials(bytes) : bytes);
  fmt::print("{}: written\n", arguments.out.string());
}

/// What is wrong with a material file, and how far it can be read.
struct MaterialReport {
  bool isWide;
  std::size_t tables;
  std::size_t rows;
  FileProblems problems;
};

MaterialReport reportOn(const fs::path& file) {
  MaterialReport report{isWideText(readWholeFile(file, kLargestFile)), 0, 0, checkMaterials(file)};
  QmMaterialIO materials(widePath(file).c_str());
  materials.read();
  report.tables = materials.getMaterialTables().size();
  for (const auto& each : materials.getMaterialTables()) report.rows += each.second.size();
  return report;
}

void printProblems(const FileProblems& problems) {
  for (const std::string& error : problems.errors) fmt::print("  error: {}\n", error);
  for (const std::string& warning : problems.remarks) fmt::print("  warning: {}\n", warning);
  if (problems.remarks.size() == kMostRemarks) fmt::print("  These are the first warnings; there may be more.\n");
}

FileProblems checkMaterialTables(const Arguments& arguments) {
  const MaterialReport report = reportOn(arguments.file);
  if (arguments.json) {
    printJson({{"file", arguments.file.string()},
               {"encoding", report.isWide ? "wide" : "utf8"},
               {"tables", report.tables},
               {"rows", report.rows},
               {"errors", report.problems.errors},
               {"warnings", report.problems.remarks}});
    return report.problems;
  }
  fmt::print("{}: {}, {} tables, {} rows\n", arguments.file.string(), report.isWide ? "16-bit text" : "UTF-8 text",
             report.tables, report.rows);
  printProblems(report.problems);
  return report.problems;
}

FileProblems checkGlobal(const Arguments& arguments) {
  FileProblems problems = checkGlobalMaterials(arguments.file);
  if (arguments.json) {
    printJson({{"file", arguments.file.string()}, {"errors", problems.errors}, {"warnings", problems.remarks}});
    return problems;
  }
  fmt::print("{}: global materials\n", arguments.file.string());
  printProblems(problems);
  return problems;
}

void check(const Arguments& arguments) {
  const bool isGlobal = kindOf(sampleOf(arguments.file)) == kindNamed("global-materials");
  const FileProblems problems = isGlobal ? checkGlobal(arguments) : checkMaterialTables(arguments);
  const std::size_t count = problems.all().size();
  if (count != 0) throw Failure(fmt::format("{}: {} problems", arguments.file.string(), count));
}

SharedArguments addFile(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  command.input("FILE", arguments->file, "The file").required();
  return arguments;
}

void addShow(Command& materials) {
  Command command = materials.command("show", "Shows a material file or a global materials configuration");
  const SharedArguments arguments = addFile(command);
  command.option("--head", arguments->head, "Head whose global materials to show").showDefault();
  command.flag("--json", arguments->json, "Print it as JSON");
  command.runs([arguments] { isXml(arguments->file) ? showGlobal(*arguments) : showMaterials(*arguments); });
}

void addConvert(Command& materials) {
  Command command =
      materials.command("convert", "Writes a material file anew, in either encoding; its numbers get six digits");
  const SharedArguments arguments = addFile(command);
  command.option("--to", arguments->encoding, "wide: 16-bit text, as the system writes it; utf8: for an editor")
      .oneOf({"wide", "utf8"})
      .showDefault();
  command.output("-o,--out", arguments->out, "The file to write", "", Replaces::OtherFiles).required();
  command.runs(arguments, convert);
}

void addCheck(Command& materials) {
  Command command =
      materials.command("check", "Tells what is wrong with a material file or a global materials configuration");
  const SharedArguments arguments = addFile(command);
  command.flag("--json", arguments->json, "Print the report as JSON");
  command.runs(arguments, check);
}

}  // namespace

void defineMaterials(Command& command) {
  command.footer(kExample);
  addShow(command);
  addConvert(command);
  addCheck(command);
  addExample(command, Example::Materials, "example");
  addExample(command, Example::GlobalMaterials, "global-example");
}

}  // namespace queltool
