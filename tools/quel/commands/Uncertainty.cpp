// `quel uncertainty`: how well a head measures, over its volume.
#include <fmt/core.h>

#include <memory>

#include "commands/Commands.h"
#include "commands/UncertaintyOptions.h"
#include "files/Failure.h"
#include "files/Progress.h"
#include "models/Block.h"
#include "pictures/UncertaintyPicture.h"

namespace queltool {

namespace {

struct Arguments {
  std::string block;
  OutputFile out;
  UncertaintyArguments asked;
  bool json = false;
};

std::string what(const Arguments& arguments) { return arguments.block + ": " + whatOf(arguments.asked); }

void printRow(std::FILE* where, const char* name, const StandardDeviations& d) {
  fmt::print(where, "  {:<10}{:>10.4g}{:>10.4g}{:>10.4g}{:>10.4g}\n", name, d[0], d[1], d[2], d[3]);
}

void printText(std::FILE* where, const Arguments& arguments, const Uncertainty& found) {
  const Volume& volume = found.volume;
  fmt::print(where, "{}\n", what(arguments));
  fmt::print(where, "  volume    {:.4g} x {:.4g} x {:.4g} mm about {:.4g}, {:.4g}, {:.4g}; {:.1f} % of it is seen\n",
             volume.size[0], volume.size[1], volume.size[2], toMicrometre(volume.centre[0]),
             toMicrometre(volume.centre[1]), toMicrometre(volume.centre[2]),
             100.0 * static_cast<double>(found.seen) / static_cast<double>(found.places));
  fmt::print(where, "  {:<10}{:>10}{:>10}{:>10}{:>10}\n", "std. dev.", "X mm", "Y mm", "Z mm", "point mm");
  if (found.centre) printRow(where, "centre", *found.centre);
  printRow(where, "RMS", found.rms);
  printRow(where, "least", found.least);
  printRow(where, "greatest", found.greatest);
}

void run(const Arguments& arguments) {
  const quel::Head head = loadHead(arguments.block);
  const std::optional<Volume> volume = volumeFor(arguments.asked, head.record());
  if (!volume) throw Failure(arguments.block + ": " + withoutVolume());
  const Uncertainty found = during("measuring", [&] {
    try {
      return measured(arguments.asked, head, *volume);
    } catch (const Failure& failure) {
      throw Failure(arguments.block + ": " + failure.what());
    }
  });
  if (arguments.out.isGiven()) during("drawing", [&] { drawUncertainty(arguments.out, found, what(arguments)); });
  if (arguments.json) {
    printJson(jsonOf(arguments.block, arguments.asked, found));
  } else {
    printText(arguments.out.isGiven() ? wordsBeside(arguments.out) : stdout, arguments, found);
  }
}

}  // namespace

void defineUncertainty(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  command.input("BLOCK", arguments->block, "Tensor file of the block (.tns)").required();
  addUncertainty(command, arguments->asked);
  command.output("-o,--out", arguments->out, "PNG or SVG picture of three sections, as its name ends",
                 {Format::Png, Format::Svg});
  command.flag("--json", arguments->json, "Print the figures as JSON");
  command.showsProgress();
  command.footer(
      "\nShown is the standard deviation, to first order, of a point that is measured once, when each pixel "
      "coordinate\n"
      "is off by --noise, independently of all others: along X, Y and Z of the head's world, and of the point, which\n"
      "is the root of their squared sum. Calibration and part play no role in it. The figures go over a grid of\n"
      "21 x 21 x 21 places of the volume, as far as all cameras of the fit see them (the singular fit has two).\n\n"
      "Example:\n  quel uncertainty blocks/QUEL0001-1.tns --noise 0.05 -o map.png");
  command.runs(arguments, run);
}

}  // namespace queltool
