#include "quel/formats/Export.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <set>
#include <system_error>

#include "quel/base/Paths.h"
#include "quel/cameras/Distortion.h"
#include "quel/formats/ExportedFiles.h"
#include "quel/formats/LensFit.h"
#include "quelplatform/qmEnv/qmFile.h"

namespace quel {

namespace {

namespace fs = std::filesystem;

// How a format is written, and the coefficients of OpenCV that it knows: the fewest first, of which the exact one holds
// a Brown-Conrady lens.
struct Writer {
  std::vector<NamedText> (*files)(const ExportedThree& cameras);
  std::vector<std::size_t> counts;
};

const Writer& writerOf(CalibrationFormat format) {
  // In the order of CalibrationFormat.
  static const Writer kWriters[] = {{jsonFiles, {5, 8, 12}},  {openCvFiles, {5, 8, 12}}, {rosFiles, {5, 8, 12}},
                                    {mrcalFiles, {5, 8, 12}}, {kalibrFiles, {4}},        {colmapFiles, {4, 8}}};
  return kWriters[static_cast<std::size_t>(format)];
}

bool holdsExactly(CalibrationFormat format, const Head& head, int index, const Camera& camera) {
  if (head.record().distortParams[index].luts != nullptr) return false;
  if (format == CalibrationFormat::Json) return true;
  return isPlain(camera) && (format != CalibrationFormat::Kalibr || camera.k3 == 0.0);
}

std::string text(double value, int digits) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.*f", digits, value);
  return buffer;
}

// A name that may be one of a file.
std::string fileName(std::string name) {
  std::erase(name, ' ');
  const auto isPlainLetter = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
           c == '.';
  };
  std::replace_if(
      name.begin(), name.end(), [&](char c) { return !isPlainLetter(c); }, '_');
  return name.empty() || name.front() == '.' ? "camera" + name : name;
}

Result<std::array<std::string, 3>> namesOf(const Head& head, const ExportOptions& options) {
  std::array<std::string, 3> names;
  if (!options.names.empty() && options.names.size() != 3)
    return Error{"a head has three cameras, so three names are given"};
  for (std::size_t i = 0; i < 3; ++i) {
    const auto camera = head.camera(static_cast<int>(i));
    if (!camera) return camera.error();
    names[i] = fileName(options.names.empty() ? camera->name : options.names[i]);
  }
  if (std::set(names.begin(), names.end()).size() == 3) return names;
  if (!options.names.empty()) return Error{"the names of the cameras must differ, as those of files"};
  return std::array<std::string, 3>{"camera0", "camera1", "camera2"};
}

// Cameras may be called as the files of pairs are, of which one would replace the other.
std::string nameOfTwo(const std::vector<NamedText>& files) {
  std::set<fs::path> names;
  for (const NamedText& file : files) {
    if (!names.insert(file.file).second) return file.file.string();
  }
  return {};
}

// The camera as the format holds it, with a remark about how well.
Result<Camera> writable(CalibrationFormat format, const Head& head, int index, const ExportOptions& options,
                        ExportedCameras& exported) {
  const auto camera = cameraOf(head, index);
  if (!camera) return camera.error();
  const std::string called = "camera " + std::to_string(index);
  if (holdsExactly(format, head, index, *camera)) {
    exported.remarks.push_back(called + ": exact");
    return camera;
  }
  const auto fitted = fittedLens(head, index, writerOf(format).counts);
  if (!fitted) return Error{called + ": the lens cannot be followed over the whole image, so it cannot be fitted"};
  exported.residualPx = std::max(exported.residualPx, fitted->maxPx);
  const std::string how = "fitted by " + std::to_string(fitted->coefficients) + " coefficients, residual " +
                          text(fitted->maxPx, 4) + " px at most";
  if (!(fitted->maxPx <= kGreatestResidual) && !options.allowResidual) {
    return Error{called + ": the format does not hold the lens; " + how + ", more than " + text(kGreatestResidual, 3) +
                 " px; --allow-residual writes it all the same, and json holds every lens without LUTs"};
  }
  exported.remarks.push_back(called + ": " + how);
  return fitted->camera;
}

// A failure leaves the old file.
Result<void> written(const fs::path& file, const std::string& content) {
  if (!isTakenByDoors(file))
    return Error{"cannot be written: a path may hold no '\\' and nothing but UTF-8", file.string()};
  if (qmFileWriteWhole(widePath(file).c_str(), content.data(), content.size()) == 1) return {};
  return Error{"cannot be written: " + std::generic_category().message(errno), file.string()};
}

}  // namespace

Result<ExportedCameras> exportTexts(CalibrationFormat format, const Head& head, const ExportOptions& options) {
  const auto names = namesOf(head, options);
  if (!names) return names.error();
  ExportedCameras exported;
  ExportedThree cameras;
  for (int i = 0; i < 3; ++i) {
    auto camera = writable(format, head, i, options, exported);
    if (!camera) return camera.error();
    cameras[static_cast<std::size_t>(i)] = std::move(*camera);
    cameras[static_cast<std::size_t>(i)].name = (*names)[static_cast<std::size_t>(i)];
  }
  exported.files = writerOf(format).files(cameras);
  const std::string twice = nameOfTwo(exported.files);
  if (!twice.empty()) return Error{"two files would be called " + twice + "; give the cameras other names"};
  return exported;
}

Result<ExportedCameras> exportCameras(CalibrationFormat format, const Head& head, const fs::path& folder,
                                      const ExportOptions& options) {
  auto exported = exportTexts(format, head, options);
  if (!exported) return exported;
  std::error_code failure;
  fs::create_directories(folder, failure);
  if (failure) return Error{"the folder cannot be made: " + failure.message(), folder.string()};
  for (NamedText& file : exported->files) {
    file.file = folder / file.file;
    const auto done = written(file.file, file.text);
    if (!done) return done.error();
    file.text.clear();
  }
  return exported;
}

}  // namespace quel
