// `quel colours`: the table that turns deviations into colours.
#include <fmt/core.h>

#include <cmath>
#include <memory>

#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/Files.h"
#include "files/Json.h"
#include "models/ColourTable.h"
#include "models/FileChecks.h"
#include "models/Problems.h"
#include "pictures/ColourLegend.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLargestFile = std::uintmax_t{16} << 20;
constexpr const char* kExample =
    "\nExample:\n"
    "  quel colours show\n"
    "  quel colours export -o legend.svg\n"
    "  quel colours export -o DeviationColor.xml\n"
    "  quel colours check DeviationColor.xml";

std::string hexOf(const Colour& colour) {
  const auto byte = [](double share) { return static_cast<int>(std::lround(255.0 * share)); };
  return fmt::format("#{:02x}{:02x}{:02x}", byte(colour.red), byte(colour.green), byte(colour.blue));
}

Json jsonOf(const ColourTable& table) {
  Json bands = Json::list({});
  for (const ColourBand& band : table.bands) {
    bands.add({{"below_percent", band.bound}, {"colour", hexOf(band.colour)}, {"name", band.name}});
  }
  return {{"file", table.file.string()}, {"default", table.isDefault}, {"bands", bands}};
}

void show(bool asJson) {
  const ColourTable table = readColourTable();
  if (asJson) {
    printJson(jsonOf(table));
    return;
  }
  fmt::print("{}{}\n", table.file.string(), table.isDefault ? ": no entries, so the default holds" : "");
  for (const ColourBand& band : table.bands) {
    fmt::print("  below {:>5} %  {}  {}\n", band.bound, hexOf(band.colour), band.name);
  }
  fmt::print("  Beyond the last bound its colour holds.\n");
}

void drawLegend(const OutputFile& file) {
  const ColourTable table = readColourTable();
  const double height = 70.0 * static_cast<double>(table.bands.size());
  Picture picture(file, 300.0, height + 90.0);
  picture.text({24.0, 36.0}, "Deviation, share of the tolerance", 14.0, kInk, Align::Left, true);
  drawColourLegend(picture, {24.0, 60.0, 252.0, height}, {});
  picture.finish();
}

void exportTable(const OutputFile& file) {
  file.format == Format::Xml ? writeOutput(file, fileOfColourTable()) : drawLegend(file);
  fmt::print(wordsBeside(file), "{}: written\n", file.name);
}

void check(const fs::path& file) {
  readWholeFile(file, kLargestFile);  // A file that is not there, or none at all, is told as everywhere.
  const std::vector<std::string> problems = checkColours(file).all();
  for (const std::string& problem : problems) fmt::print("  {}\n", problem);
  if (problems.size() >= kMostRemarks) fmt::print("  There may be more.\n");
  if (!problems.empty()) throw Failure(fmt::format("{}: {} problems", file.string(), problems.size()));
  fmt::print("{}: sound\n", file.string());
}

}  // namespace

void defineColours(Command& command) {
  command.footer(kExample);
  auto asJson = std::make_shared<bool>(false);
  Command shows = command.command("show", "Shows the bands and where they come from");
  shows.flag("--json", *asJson, "Print them as JSON");
  shows.runs([asJson] { show(*asJson); });

  auto file = std::make_shared<fs::path>();
  Command exports = command.command("export", "Writes the table to a file, or draws its legend");
  auto picture = std::make_shared<OutputFile>();
  exports
      .output("-o,--out", *picture, "File of the table, .xml, or picture of its legend, .png or .svg",
              {Format::Xml, Format::Png, Format::Svg})
      .required();
  exports.runs([picture] { exportTable(*picture); });

  Command checks = command.command("check", "Tells what is wrong with a table's file");
  checks.input("FILE", *file, "The file").required();
  checks.runs([file] { check(*file); });
}

}  // namespace queltool
