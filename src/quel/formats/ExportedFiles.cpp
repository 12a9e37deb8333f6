#include "quel/formats/ExportedFiles.h"

#include <algorithm>
#include <charconv>

#include "quel/cameras/CameraFile.h"
#include "quel/formats/Poses.h"

namespace quel {

namespace {

constexpr double kMetresPerMillimetre = 1e-3;

Pose poseOf(const Camera& camera) { return {camera.rotation, camera.translation}; }

std::vector<double> flat(const Mat3& m) {
  std::vector<double> values;
  for (const Vec3& row : m) values.insert(values.end(), row.begin(), row.end());
  return values;
}

std::vector<double> matrixOf(const Camera& c) { return {c.fx, c.skew, c.cx, 0.0, c.fy, c.cy, 0.0, 0.0, 1.0}; }

Vec3 inMetres(const Vec3& v) {
  return {kMetresPerMillimetre * v[0], kMetresPerMillimetre * v[1], kMetresPerMillimetre * v[2]};
}

std::string storedMatrix(const char* name, std::size_t rows, std::size_t columns, const std::vector<double>& values) {
  return std::string(name) + ": !!opencv-matrix\n   rows: " + std::to_string(rows) +
         "\n   cols: " + std::to_string(columns) + "\n   dt: d\n   data: [ " + listText(values) + " ]\n";
}

std::string storedPose(const Pose& pose) {
  return storedMatrix("R", 3, 3, flat(pose.rotation)) +
         storedMatrix("T", 3, 1, {pose.translation.begin(), pose.translation.end()});
}

std::string storedLens(const char* matrix, const char* distortion, const Camera& camera) {
  const std::vector<double> coefficients = openCvCoefficients(camera);
  return storedMatrix(matrix, 3, 3, matrixOf(camera)) + storedMatrix(distortion, 1, coefficients.size(), coefficients);
}

std::string storedSize(const Camera& camera) {
  return "image_width: " + std::to_string(camera.width) + "\nimage_height: " + std::to_string(camera.height) + "\n";
}

constexpr const char* kStorage = "%YAML:1.0\n---\n";

NamedText stereoFile(const ExportedThree& cameras, std::size_t other) {
  const Pose pose = after(poseOf(cameras[other]), inverse(poseOf(cameras[0])));
  return {"stereo-0-" + std::to_string(other) + ".yml", kStorage + storedSize(cameras[0]) +
                                                            storedLens("M1", "D1", cameras[0]) +
                                                            storedLens("M2", "D2", cameras[other]) + storedPose(pose)};
}

std::string rosMatrix(const char* name, std::size_t rows, std::size_t columns, const std::vector<double>& values) {
  return std::string(name) + ":\n  rows: " + std::to_string(rows) + "\n  cols: " + std::to_string(columns) +
         "\n  data: [" + listText(values) + "]\n";
}

std::string rosText(const Camera& camera) {
  const std::vector<double> coefficients = openCvCoefficients(camera);
  const std::vector<double> k = matrixOf(camera);
  return storedSize(camera) + "camera_name: \"" + camera.name + "\"\n" + rosMatrix("camera_matrix", 3, 3, k) +
         "distortion_model: " + (coefficients.size() == 5 ? "plumb_bob" : "rational_polynomial") + "\n" +
         rosMatrix("distortion_coefficients", 1, coefficients.size(), coefficients) +
         rosMatrix("rectification_matrix", 3, 3, {1, 0, 0, 0, 1, 0, 0, 0, 1}) +
         rosMatrix("projection_matrix", 3, 4, {k[0], 0, k[2], 0, 0, k[4], k[5], 0, 0, 0, 1, 0});
}

std::string posesText(const ExportedThree& cameras) {
  std::string text = "{\"cameras\": [";
  for (const Camera& camera : cameras) {
    text += (&camera == &cameras[0] ? "\n" : ",\n");
    text += "  {\"name\": \"" + camera.name + "\",\n   \"rotation\": [";
    for (std::size_t i = 0; i < 3; ++i) text += (i == 0 ? "[" : ", [") + listText(camera.rotation[i]) + "]";
    text += "],\n   \"translation\": [" + listText(camera.translation) + "]}";
  }
  return text + "\n]}\n";
}

std::string mrcalText(const Camera& camera) {
  const std::vector<double> coefficients = openCvCoefficients(camera);
  std::vector<double> intrinsics = {camera.fx, camera.fy, camera.cx, camera.cy};
  intrinsics.insert(intrinsics.end(), coefficients.begin(), coefficients.end());
  const Vec3 r = rodriguesOf(camera.rotation), t = inMetres(camera.translation);
  return "{\n    'lensmodel':  'LENSMODEL_OPENCV" + std::to_string(coefficients.size()) + "',\n\n    'intrinsics': [ " +
         listText(intrinsics) + ",],\n\n    'extrinsics': [ " + listText(r) + ", " + listText(t) +
         ",],\n\n    'imagersize': [ " + std::to_string(camera.width) + ", " + std::to_string(camera.height) +
         ",],\n}\n";
}

std::string kalibrPose(const Pose& pose) {
  const Vec3 t = inMetres(pose.translation);
  std::string text = "  T_cn_cnm1:\n";
  for (std::size_t i = 0; i < 3; ++i) text += "  - [" + listText(pose.rotation[i]) + ", " + exactText(t[i]) + "]\n";
  return text + "  - [0.0, 0.0, 0.0, 1.0]\n";
}

}  // namespace

std::string exactText(double value) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  std::string text(digits, end);
  return text.find_first_of(".en") == std::string::npos ? text + ".0" : text;
}

std::string listText(std::span<const double> values) {
  std::string text;
  for (const double value : values) text += (text.empty() ? "" : ", ") + exactText(value);
  return text;
}

std::vector<double> openCvCoefficients(const Camera& camera) {
  if (camera.lens.model == LensModel::BrownConrady) return {camera.k1, camera.k2, camera.p1, camera.p2, camera.k3};
  std::vector<double> k = camera.lens.parameters;
  for (const std::size_t count : {std::size_t{5}, std::size_t{8}, std::size_t{12}}) {
    const auto rest = k.begin() + static_cast<std::ptrdiff_t>(count);
    if (std::any_of(rest, k.end(), [](double value) { return value != 0.0; })) continue;
    k.resize(count);
    break;
  }
  return k;
}

std::vector<NamedText> jsonFiles(const ExportedThree& cameras) { return {{"cameras.json", textOfCameras(cameras)}}; }

std::vector<NamedText> openCvFiles(const ExportedThree& cameras) {
  std::vector<NamedText> files;
  for (const Camera& camera : cameras) {
    files.push_back({camera.name + ".yml", kStorage + storedSize(camera) +
                                               storedLens("camera_matrix", "distortion_coefficients", camera) +
                                               storedPose(poseOf(camera))});
  }
  for (const std::size_t other : {std::size_t{1}, std::size_t{2}}) files.push_back(stereoFile(cameras, other));
  return files;
}

std::vector<NamedText> rosFiles(const ExportedThree& cameras) {
  std::vector<NamedText> files;
  for (const Camera& camera : cameras) files.push_back({camera.name + ".yaml", rosText(camera)});
  files.push_back({"poses.json", posesText(cameras)});
  return files;
}

std::vector<NamedText> mrcalFiles(const ExportedThree& cameras) {
  std::vector<NamedText> files;
  for (const Camera& camera : cameras) files.push_back({camera.name + ".cameramodel", mrcalText(camera)});
  return files;
}

std::vector<NamedText> kalibrFiles(const ExportedThree& cameras) {
  std::string text;
  for (std::size_t i = 0; i < 3; ++i) {
    const Camera& c = cameras[i];
    std::vector<double> coefficients = openCvCoefficients(c);
    coefficients.resize(4);
    const std::vector<double> intrinsics = {c.fx, c.fy, c.cx, c.cy};
    text += "cam" + std::to_string(i) + ":\n";
    if (i > 0) text += kalibrPose(after(poseOf(c), inverse(poseOf(cameras[i - 1]))));
    text += "  cam_overlaps: [" +
            std::string(i == 0   ? "1, 2"
                        : i == 1 ? "0, 2"
                                 : "0, 1") +
            "]\n  camera_model: pinhole\n  distortion_coeffs: [" + listText(coefficients) +
            "]\n  distortion_model: radtan\n  intrinsics: [" + listText(intrinsics) + "]\n  resolution: [" +
            std::to_string(c.width) + ", " + std::to_string(c.height) + "]\n  rostopic: /" + c.name + "/image_raw\n";
  }
  return {{"camchain.yaml", text}};
}

std::vector<NamedText> colmapFiles(const ExportedThree& cameras) {
  constexpr double kHalfPixel = 0.5;
  std::string lenses = "# CAMERA_ID, MODEL, WIDTH, HEIGHT, PARAMS[]\n";
  std::string images = "# IMAGE_ID, QW, QX, QY, QZ, TX, TY, TZ, CAMERA_ID, NAME, then a line of its points\n";
  for (std::size_t i = 0; i < 3; ++i) {
    const Camera& c = cameras[i];
    std::vector<double> k = openCvCoefficients(c);
    const bool isShort = std::all_of(k.begin() + 4, k.end(), [](double value) { return value == 0.0; });
    k.resize(isShort ? 4 : 8, 0.0);
    std::vector<double> values = {c.fx, c.fy, c.cx + kHalfPixel, c.cy + kHalfPixel};
    values.insert(values.end(), k.begin(), k.end());
    const std::string number = std::to_string(i + 1);
    lenses +=
        number + (isShort ? " OPENCV " : " FULL_OPENCV ") + std::to_string(c.width) + " " + std::to_string(c.height);
    for (const double value : values) lenses += " " + exactText(value);
    lenses += "\n";
    images += number;
    for (const double value : quaternionOf(c.rotation)) images += " " + exactText(value);
    for (const double value : c.translation) images += " " + exactText(value);
    images += " " + number + " " + c.name + "\n\n";
  }
  return {{"cameras.txt", lenses}, {"images.txt", images}, {"points3D.txt", "# There are no points.\n"}};
}

}  // namespace quel
