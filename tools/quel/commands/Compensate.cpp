// `quel compensate`: a block as its head is at another temperature.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/Files.h"
#include "files/TemporaryFolder.h"
#include "files/Texts.h"
#include "files/Values.h"
#include "models/Block.h"
#include "models/Compensation.h"
#include "models/Reasons.h"
#include "quelcore/tensor/QmReconsTensorIO.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmDistort/calibrationPairEmbedded.h"

namespace queltool {

namespace {

namespace fs = std::filesystem;

constexpr double kTemperatureUnknown = -273.0;

struct Arguments {
  std::string block;
  std::string table;
  fs::path out;
  double temperature = 0.0;
  bool force = false;
  bool unusual = false;
};

constexpr double kColdest = -60.0;
constexpr double kHottest = 150.0;

void refuseUnusual(const Arguments& arguments) {
  if (arguments.unusual || (arguments.temperature >= kColdest && arguments.temperature <= kHottest)) return;
  throw WrongUsage(
      "--temperature",
      fmt::format("{} is not between -60 and 150 degrees; give --unusual if this is meant", arguments.temperature));
}

std::string finiteNumber(const std::string& text) {
  const std::optional<double> value = numberOf(text);
  return value && std::isfinite(*value) ? "" : "must be a finite number of degrees, and is " + text;
}

void refuseToReplace(const fs::path& file, bool force) {
  if (!force && fs::exists(file)) {
    throw Failure(file.string() + ": is there already and stays; give another --out, or --force to replace it");
  }
}

// In the version that the block came in: a newer one would tell of fields that it never held.
void writeTensor(QmReconsTensor& block, const fs::path& file, const fs::path& out) {
  const Reasons reasons;
  if (qmTensorDataStoreByVersion(widePath(file).c_str(), block, 1) == 1) return;
  throw Failure(out.string() + ": the block cannot be stored" + reasons.text());
}

// Two tensor files of one folder and one name of LUTs share the LUT file, which can be stamped for neither.
void shareLuts(const fs::path& luts) {
  const Reasons reasons;
  if (quelplatform::removeLutStamp(widePath(luts).c_str())) return;
  throw Failure(luts.string() + ": cannot be shared with the compensated block" + reasons.text());
}

// Compensation leaves LUTs alone, so the block's LUT file goes along as it is but for its stamp.
void storeWithLuts(const QmReconsTensor& block, const fs::path& made, const Arguments& arguments) {
  const fs::path from = lutsBeside(arguments.block, block);
  const fs::path to = lutsBeside(arguments.out, block);
  std::error_code error;
  if (fs::equivalent(from, to, error)) {
    shareLuts(from);
    return replaceBlock({made, {}}, {arguments.out, {}});
  }
  refuseToReplace(to, arguments.force);
  if (fs::equivalent(to, arguments.table, error)) {
    throw Failure(to.string() + ": is the table itself, which stays; give another --table or -o");
  }
  replaceBlock({made, from}, {arguments.out, to});
}

void store(QmReconsTensor& block, const Arguments& arguments) {
  const fs::path out = arguments.out;
  refuseToReplace(out, arguments.force);
  if (out.has_parent_path()) makeFolder(out.parent_path());
  const TemporaryFolder temporary;
  const fs::path made = temporary.path() / out.filename();
  writeTensor(block, made, out);
  usesLuts(block) ? storeWithLuts(block, made, arguments) : replaceBlock({made, {}}, {out, {}});
}

Vec2 seen(const QmReconsTensor& head, const double (&point)[3], int camera) {
  Vec2 pixel = {NAN, NAN};
  qmRTProjectPointtoImage(head, point, camera, PROJECT_EXACT_OR_WITHOUT_DEPTH, pixel.data());
  return pixel;
}

// As it is printed, and never -0.
double inThousandths(double value) { return std::round(value * 1000.0) / 1000.0 + 0.0; }

void tellDrift(const QmReconsTensor& before, const QmReconsTensor& after) {
  const double centre[3] = {before.reconstBoxCenterX, before.reconstBoxCenterY, before.reconstBoxCenterZ};
  for (int camera = 0; camera < 3; ++camera) {
    const Vec2 from = seen(before, centre, camera);
    const Vec2 to = seen(after, centre, camera);
    fmt::print("  camera {}  centre of the box moves {:+.3f} {:+.3f} px\n", camera, inThousandths(to[0] - from[0]),
               inThousandths(to[1] - from[1]));
  }
}

void run(const Arguments& arguments) {
  refuseUnusual(arguments);
  const auto block = loadBlock(arguments.block);
  if (block->projectionsValid != 1) {
    throw Failure(arguments.block + ": holds no projections; the head must be calibrated anew");
  }
  const double reference = block->temperature[TEMPERATURE_REFERENCE];
  if (!std::isfinite(reference) || reference <= kTemperatureUnknown) {
    throw Failure(arguments.block + ": does not tell the temperature of its calibration; it cannot be compensated");
  }
  const Compensated compensated = compensate(*block, arguments.table, arguments.temperature);
  store(*compensated.block, arguments);
  fmt::print("{}: from {} to {} degrees by {} rates\n", arguments.out.string(), reference, arguments.temperature,
             compensated.rates);
  if (!compensated.leftOut.empty()) fmt::print("  left out of the table: {}\n", fmt::join(compensated.leftOut, ", "));
  tellDrift(*block, *compensated.block);
  fmt::print("  the tables of transfer and reconstruction stay those of {} degrees\n", reference);
}

}  // namespace

void defineCompensate(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  command.input("BLOCK", arguments->block, "Tensor file of the block (.tns)").required();
  command.input("-t,--table", arguments->table, "Correction table of the block (XML): rates per degree").required();
  command.option("-T,--temperature", arguments->temperature, "Temperature of the head, degrees Celsius")
      .required()
      .check(finiteNumber, "DEGREES");
  command.output("-o,--out", arguments->out, "Tensor file of the compensated block", ".tns", Replaces::Blocks)
      .required();
  command.flag("--unusual", arguments->unusual, "Take temperatures below -60 or above 150 degrees");
  command.flag("--force", arguments->force, "Replace files that are there already");
  command.footer(
      "\nProjections, distortion and camera locations are compensated, and the reference temperature becomes that of "
      "the\n"
      "new block; the tables of transfer and reconstruction, which the fits use, stay those of the old temperature. "
      "A LUT\n"
      "file goes along. The table, of which \"quel example corrections\" makes one, holds lines such as\n"
      "  <BlockParameter Name=\"ax\" CameraId=\"0\" Value=\"0.0125\"/>\n\n"
      "Example:\n"
      "  quel compensate blocks/QUEL0001-1.tns -t drift.xml -T 31.5 -o w.tns");
  command.runs(arguments, run);
}

}  // namespace queltool
