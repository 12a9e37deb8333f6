// `quel make-block`: from three calibrated cameras to a calibration block.
#include <fmt/core.h>

#include <memory>

#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/Files.h"
#include "files/Json.h"
#include "files/Progress.h"
#include "files/Values.h"
#include "models/Block.h"
#include "models/CameraTypes.h"
#include "quel/cameras/CameraFile.h"
#include "quel/measure/SharedPole.h"
#include "quelplatform/qmEnv/qmCamera.h"

namespace queltool {

namespace {

struct Arguments {
  std::string cameras;
  std::string out = ".";
  std::int32_t number = 1;
  std::string machine;
  std::filesystem::path report;
  bool luts = false;
  bool force = false;
  bool unusual = false;
  bool addCameraType = false;
};

constexpr double kLeastDistance = 10.0;  // Millimetres.
constexpr double kGreatestDistance = 1.0e5;

// A head that works at less than a finger's breadth is one whose file is in metres.
void refuseUnusual(const Arguments& arguments, double workingDistance) {
  if (arguments.unusual || (workingDistance >= kLeastDistance && workingDistance <= kGreatestDistance)) return;
  throw Failure(
      fmt::format("{}: the working distance is {:.6g} mm, not between 10 mm and 100 m{}; give translations in "
                  "millimetres, or --unusual if this is meant",
                  arguments.cameras, workingDistance,
                  workingDistance < kLeastDistance ? ", as where translations are in metres" : ""));
}

std::string thisMachine() {
  char id[8] = {};
  const std::int32_t size = qmEnvMachineID(id, sizeof(id));
  return std::string(id, static_cast<std::size_t>(size));
}

std::string machineOf(const Arguments& arguments) {
  return arguments.machine.empty() ? thisMachine() : arguments.machine;
}

quel::BlockFiles pathsOf(const Arguments& arguments) {
  return quel::filesOfBlock(arguments.out, machineOf(arguments), arguments.number);
}

bool hasNoDistortion(const quel::Camera& c) {
  return c.lens.model == quel::LensModel::BrownConrady && c.k1 == 0.0 && c.k2 == 0.0 && c.k3 == 0.0 && c.p1 == 0.0 &&
         c.p2 == 0.0;
}

std::string distortionOf(const quel::Head& head, const quel::Camera& camera, std::size_t i) {
  const quel::DistortionFit& fit = (*head.distortionFit())[i];
  if (fit.lutPitch > 0.0) {
    return fmt::format("in LUTs, cells {:.3g} px apart, error {:.4f} px RMS, {:.4f} px at most", fit.lutPitch,
                       fit.rmsPx, fit.maxPx);
  }
  if (hasNoDistortion(camera)) return "none: the file gives this camera no distortion";
  if (head.record().distortParams[i].luts != nullptr)
    return fmt::format("k1 in the polynomial, up to {:.3f} px in LUTs", fit.maxPx);
  if (fit.exact) return "exact";
  return fmt::format("fitted, residual {:.4f} px RMS, {:.4f} px at most", fit.rmsPx, fit.maxPx);
}

void tellDistortion(const quel::Head& head, const std::array<quel::Camera, 3>& cameras) {
  for (std::size_t i = 0; i < 3; ++i) {
    fmt::print("  camera {} {:<12} distortion {}\n", i, cameras[i].name, distortionOf(head, cameras[i], i));
  }
}

Json jsonOf(const quel::DistortionFit& fit, const quel::Camera& camera) {
  return {{"name", camera.name},
          {"lens", std::string(quel::lensModelName(camera.lens.model))},
          {"exact", fit.exact && fit.lutPitch == 0.0},
          {"rms_px", fit.rmsPx},
          {"max_px", fit.maxPx},
          {"lut_pitch_px", fit.lutPitch}};
}

void writeReport(const Arguments& arguments, const std::filesystem::path& block, const quel::Head& head,
                 const std::array<quel::Camera, 3>& cameras) {
  Json list = Json::list({});
  for (std::size_t i = 0; i < 3; ++i) list.add(jsonOf((*head.distortionFit())[i], cameras[i]));
  writeWholeFile(arguments.report, Json({{"block", block.string()}, {"cameras", list}}).text() + "\n");
}

// Whether LUTs are needed shows only when the head is made.
void refuseToReplaceCameras(const Arguments& arguments, const quel::Head& head) {
  std::error_code none;
  if (!quel::usesLuts(head.record()) || !std::filesystem::equivalent(arguments.cameras, pathsOf(arguments).luts, none))
    return;
  throw Failure(arguments.cameras + ": is the file of the cameras itself, which stays; give another -o");
}

void run(const Arguments& arguments) {
  const auto cameras = quel::readCameras(arguments.cameras);
  if (!cameras) throw Failure(cameras.error().message());
  if (arguments.addCameraType) addCameraType(cameras.value()[0].width, cameras.value()[0].height);
  quel::HeadOptions options;
  options.machineId = machineOf(arguments);
  options.blockNumber = arguments.number;
  if (arguments.luts) options.luts = quel::LutOptions{};
  const auto head = during("fitting the head", [&] { return quel::Head::fromCameras(cameras.value(), options); });
  if (!head) throw Failure(arguments.cameras + ": " + head.error().message());
  refuseUnusual(arguments, head.value().record().workingDistance);
  refuseToReplaceCameras(arguments, head.value());
  const std::filesystem::path file = storeBlock(head.value(), arguments.out, arguments.force);
  fmt::print("{}\n", file.string());
  tellDistortion(head.value(), cameras.value());
  if (!arguments.report.empty()) writeReport(arguments, file, head.value(), cameras.value());
  for (const quel::SharedPole& pole : quel::sharedPoles(head.value().record())) {
    fmt::print("  {}\n", meaningOf(pole));
  }
}

}  // namespace

void defineMakeBlock(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  command.input("CAMERAS", arguments->cameras, "JSON file of the cameras: intrinsics, distortion, pose").required();
  command.folder("-o,--out", arguments->out, "Folder for the block").showDefault();
  command.makesOfBlock("-o", [arguments] { return pathsOf(*arguments).tensor; });
  command.makesOfBlock("-o",
                       [arguments] { return arguments->luts ? pathsOf(*arguments).luts : std::filesystem::path(); });
  command.option("-n,--number", arguments->number, "Number of the block, from 1 on")
      .within(1, 2147483647)
      .showDefault();
  command.option("-m,--machine", arguments->machine, "Machine, 1 to 8 letters and digits; else this one");
  command.flag("--luts", arguments->luts, "Put all distortion beyond k1 into look-up tables (a .lut file)");
  command.flag("--unusual", arguments->unusual, "Take working distances below 10 mm or above 100 m");
  command.flag("--add-camera-type", arguments->addCameraType,
               "Add the size of the images to the camera types, if there is none of it");
  command.output("--json", arguments->report, "Also write to this JSON file how well the head stands for each lens",
                 ".json", Replaces::OtherFiles);
  command.flag("--force", arguments->force, "Replace a block that is there already");
  command.showsProgress();
  command.footer(
      "\nThe file is named MACHINE-NUMBER.tns. CAMERAS holds {\"cameras\": [three of them]}, each with name, "
      "width,\n"
      "height, fx, fy, cx, cy, skew, distortion {k1, k2, k3, p1, p2}, rotation (3 rows) and translation, where a\n"
      "world point X stands at rotation X + translation before the camera; \"quel example cameras\" makes one. Lenses "
      "of\n"
      "other models, which \"quel import\" writes, go into look-up tables where no polynomial is as close as 0.005 "
      "px.\n\n"
      "Example:\n  quel make-block cameras.json -o blocks --machine LAB00001 "
      "--number 12");
  command.runs(arguments, run);
}

}  // namespace queltool
