// `quel export`: from a calibration block to the files of other programs.
#include <fmt/core.h>

#include <memory>

#include "commands/Calibrations.h"
#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/Files.h"
#include "files/Progress.h"
#include "models/Block.h"
#include "quel/formats/Export.h"

namespace queltool {

namespace {

struct Arguments {
  std::string block;
  std::string format;
  std::filesystem::path out;
  std::vector<std::string> names;
  bool allowResidual = false;
};

void refuseToReplaceBlock(const std::filesystem::path& file, const std::string& block) {
  std::error_code none;
  if (!std::filesystem::equivalent(file, block, none)) return;
  throw Failure(file.string() + ": is the block itself, which stays; give another -o");
}

void run(const Arguments& arguments) {
  const quel::Head head = loadHead(arguments.block);
  quel::ExportOptions options;
  options.names = arguments.names;
  options.allowResidual = arguments.allowResidual;
  const auto exported =
      during("fitting the lenses", [&] { return quel::exportTexts(formatNamed(arguments.format), head, options); });
  if (!exported) throw Failure(arguments.block + ": " + exported.error().message());
  makeFolder(arguments.out);
  for (const quel::NamedText& file : exported->files) refuseToReplaceBlock(arguments.out / file.file, arguments.block);
  for (const quel::NamedText& file : exported->files) {
    writeWholeFile(arguments.out / file.file, file.text);
    fmt::print("{}: written\n", (arguments.out / file.file).string());
  }
  for (const std::string& remark : exported->remarks) fmt::print("  {}\n", remark);
}

}  // namespace

void defineExport(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  command.input("BLOCK", arguments->block, "Tensor file of a calibration block (.tns)").required();
  command.option("FORMAT", arguments->format, "What is to read the calibration").required().oneOf(namesOfFormats());
  command.folder("-o,--out", arguments->out, "Folder for the files").required();
  command.option("--names", arguments->names, "What the three cameras, and files of one, are called")
      .separatedBy(',')
      .count(3, 3);
  command.flag("--allow-residual", arguments->allowResidual, "Write lenses that the format meets worse than 0.005 px");
  command.showsProgress();
  command.footer(
      "\nFORMAT is json (cameras.json), opencv (a .yml for each camera, with R and T from the head's world, and two "
      "stereo\n"
      "pairs), ros (camera_info, and poses.json), mrcal (.cameramodel, in metres), kalibr (camchain.yaml, in metres) "
      "or\n"
      "colmap (cameras.txt, images.txt, points3D.txt). What a format does not hold is fitted, which is said with the "
      "largest\n"
      "error over the image: look-up tables, lenses that go from distorted to ideal pixels, skew and the further\n"
      "coefficients. json holds every lens but look-up tables.\n\n"
      "Example:\n"
      "  quel export blocks/QUEL0001-1.tns opencv -o opencv");
  command.runs(arguments, run);
}

}  // namespace queltool
