// What each format's own words become.
#include <gmock/gmock.h>

#include <map>

#include "quel/formats/Import.h"
#include "quel/formats/Poses.h"
#include "quel/formats/rig_fixture.h"

namespace quel {
namespace {

using quel::testing::misses;
using quel::testing::RigCase;
using quel::testing::rigCase;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

using Texts = std::vector<NamedText>;

// The cameras by their names, in the world of the files.
std::map<std::string, Camera> camerasOf(CalibrationFormat format, const Texts& files, ImportOptions options = {}) {
  options.keepWorld = true;
  const auto imported = importTexts(format, files, options);
  if (!imported) ADD_FAILURE() << imported.error().message();
  std::map<std::string, Camera> cameras;
  if (!imported) return cameras;
  for (const Camera& camera : imported->cameras) cameras[camera.name] = camera;
  return cameras;
}

std::string complaint(CalibrationFormat format, const Texts& files, ImportOptions options = {}) {
  const auto imported = importTexts(format, files, options);
  return imported ? "accepted" : imported.error().message();
}

ImportOptions inMillimetres() {
  ImportOptions options;
  options.millimetresPerUnit = 1.0;
  return options;
}

// Three cameras of COLMAP that stand beside each other, a with the line `lens` behind its number.
Texts colmapWith(const std::string& lens, const std::string& more = "") {
  return {
      {"cameras.txt", "# cameras\n1 " + lens + "\n2 PINHOLE 640 480 500 501 320 240\n" + more},
      {"images.txt", "1 1 0 0 0 0 0 900 1 a\n\n2 1 0 0 0 -90 0 900 2 b\n1 2 -1 3 4 -1\n3 1 0 0 0 0 80 900 2 c c\n"}};
}

Camera colmapCamera(const std::string& lens) {
  return camerasOf(CalibrationFormat::Colmap, colmapWith(lens), inMillimetres())["a"];
}

TEST(ColmapFiles, GiveEveryModelItsParametersInItsOrder) {
  const Camera simple = colmapCamera("SIMPLE_PINHOLE 640 480 500 321 241");
  EXPECT_THAT(std::vector({simple.fx, simple.fy, simple.cx, simple.cy}), ElementsAre(500.0, 500.0, 320.5, 240.5));
  const Camera pinhole = colmapCamera("PINHOLE 640 480 500 501 321 241");
  EXPECT_THAT(std::vector({pinhole.fx, pinhole.fy, pinhole.cx, pinhole.cy}), ElementsAre(500.0, 501.0, 320.5, 240.5));
  const Camera radial = colmapCamera("RADIAL 640 480 500 320 240 0.1 0.2");
  EXPECT_THAT(std::vector({radial.k1, radial.k2, radial.p1, radial.p2, radial.k3}), ElementsAre(0.1, 0.2, 0, 0, 0));
  const Camera simpleRadial = colmapCamera("SIMPLE_RADIAL 640 480 500 320 240 0.1");
  EXPECT_THAT(std::vector({simpleRadial.fy, simpleRadial.k1, simpleRadial.k2}), ElementsAre(500.0, 0.1, 0.0));
  const Camera openCv = colmapCamera("OPENCV 640 480 500 501 320 240 0.1 0.2 0.3 0.4");
  EXPECT_THAT(std::vector({openCv.k1, openCv.k2, openCv.p1, openCv.p2, openCv.k3}), ElementsAre(0.1, 0.2, 0.3, 0.4, 0));
  const Camera k3 = colmapCamera("FULL_OPENCV 640 480 500 501 320 240 0.1 0.2 0.3 0.4 0.5 0 0 0");
  EXPECT_THAT(std::vector({k3.k1, k3.k2, k3.p1, k3.p2, k3.k3}), ElementsAre(0.1, 0.2, 0.3, 0.4, 0.5));
  const Camera full = colmapCamera("FULL_OPENCV 640 480 500 501 320 240 0.1 0.2 0.3 0.4 0.5 0.6 0.7 0.8");
  EXPECT_EQ(full.lens.model, LensModel::OpenCv);
  EXPECT_THAT(full.lens.parameters, ElementsAre(0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0, 0, 0, 0, 0, 0));
}

TEST(ColmapFiles, GiveEveryFisheyeItsParametersInItsOrder) {
  const Camera fisheye = colmapCamera("OPENCV_FISHEYE 640 480 500 501 320 240 0.1 0.2 0.3 0.4");
  EXPECT_EQ(fisheye.lens.model, LensModel::OpenCvFisheye);
  EXPECT_THAT(fisheye.lens.parameters, ElementsAre(0.1, 0.2, 0.3, 0.4));
  EXPECT_THAT(colmapCamera("SIMPLE_RADIAL_FISHEYE 640 480 500 320 240 0.1").lens.parameters, ElementsAre(0.1, 0, 0, 0));
  EXPECT_THAT(colmapCamera("RADIAL_FISHEYE 640 480 500 320 240 0.1 0.2").lens.parameters, ElementsAre(0.1, 0.2, 0, 0));
  const Camera fov = colmapCamera("FOV 640 480 500 501 320 240 0.9");
  EXPECT_EQ(fov.lens.model, LensModel::Fov);
  EXPECT_THAT(fov.lens.parameters, ElementsAre(0.9));
  const Camera prism = colmapCamera("THIN_PRISM_FISHEYE 640 480 500 501 320 240 0.1 0.2 0.3 0.4 0.5 0.6 0.7 0.8");
  EXPECT_EQ(prism.lens.model, LensModel::ThinPrismFisheye);
  EXPECT_THAT(prism.lens.parameters, ElementsAre(0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8));
}

TEST(ColmapFiles, SayWhatALineLacks) {
  const auto with = [](const std::string& lens, const std::string& more = "") {
    return complaint(CalibrationFormat::Colmap, colmapWith(lens, more), inMillimetres());
  };
  EXPECT_EQ(with("PINHOLE 640 480 500 501 320"), "cameras.txt, line 2: a camera PINHOLE has 4 parameters, not 3");
  EXPECT_EQ(with("PINHOLE 640"), "cameras.txt, line 2: ends where a height belongs");
  EXPECT_EQ(with("PINHOLE 640 0 1 1 1 1"), "cameras.txt, line 2: a side of an image must be 1 to 65535 pixels");
  EXPECT_EQ(with("PINHOLE 640 480 1 1 1 x"), "cameras.txt, line 2: a parameter must be a finite number, and is \"x\"");
  EXPECT_EQ(with("PINHOLE 640 480 1 1 1 1", "1 PINHOLE 640 480 1 1 1 1\n"),
            "cameras.txt, line 4: the camera 1 stands twice");
  Texts files = colmapWith("PINHOLE 640 480 500 501 320 240");
  files[1].text = "1 0 0 0 0 0 0 900 1 a\n";
  EXPECT_EQ(complaint(CalibrationFormat::Colmap, files), "images.txt, line 1: has a quaternion of length 0");
  files[1].text = "1 1 0 0 0 0 0 900 7 a\n\n";
  EXPECT_EQ(complaint(CalibrationFormat::Colmap, files), "a has the camera 7, which cameras.txt does not have");
}

TEST(ColmapFiles, TakeTheCamerasOfOneRigWithoutImages) {
  const Texts files = {
      {"rigs.txt", "1 4 CAMERA 2 IMU 9 0 CAMERA 1 1 1 0 0 0 -90 0 0 CAMERA 3 1 1 0 0 0 0 80 0\n"},
      {"cameras.txt",
       "1 PINHOLE 640 480 500 501 320 240\n2 PINHOLE 640 480 500 501 320 240\n3 PINHOLE 640 480 500 501 320 240\n"}};
  auto cameras = camerasOf(CalibrationFormat::Colmap, files, inMillimetres());
  EXPECT_THAT(cameras["camera1"].translation, ElementsAre(-90, 0, 0));
  EXPECT_THAT(cameras["camera2"].translation, ElementsAre(0, 0, 0));
  EXPECT_THAT(cameras["camera3"].translation, ElementsAre(0, 80, 0));
}

TEST(ColmapFiles, SayWhatARigOrAFrameLacks) {
  RigCase rig = rigCase("COLMAP, a rig");
  const auto changed = [&](const char* file, const std::string& text) {
    RigCase copy = rig;
    for (NamedText& each : copy.files) {
      if (each.file == file) each.text = text;
    }
    return complaint(copy.format, copy.files, copy.options);
  };
  EXPECT_EQ(changed("rigs.txt", "1 2 CAMERA 2 CAMERA 1 0\n"), "rigs.txt, line 1: the camera 1 has no pose in its rig");
  EXPECT_EQ(changed("rigs.txt", "1 2 LIDAR 2\n"), "rigs.txt, line 1: a sensor must be CAMERA or IMU, and is \"LIDAR\"");
  EXPECT_EQ(changed("frames.txt", "7 2 1 0 0 0 0 0 0 0\n"),
            "frames.txt, line 1: names a rig that rigs.txt does not have");
  EXPECT_EQ(changed("frames.txt", "7 1 1 0 0 0 0 0 0 1 CAMERA 9 11\n"),
            "frames.txt, line 1: names a camera that its rig does not have");
  EXPECT_EQ(changed("frames.txt", "7 1 1 0 0 0 0 0 0 1 CAMERA 1 99\n"),
            "frames.txt, line 1: names an image that images.txt does not have");
}

// The files of a rig's three cameras without their poses.
Texts withoutPoses(RigCase rig) {
  for (NamedText& file : rig.files) file.text.resize(file.text.find("R: "));
  return rig.files;
}

std::string poseOf(const Camera& from, const Camera& to, bool asVector) {
  const Pose pose = after({to.rotation, to.translation}, inverse({from.rotation, from.translation}));
  const Vec3 r = rodriguesOf(pose.rotation);
  nlohmann::json json;
  json[asVector ? "rvec" : "R"] = asVector ? nlohmann::json(r) : nlohmann::json(pose.rotation);
  json[asVector ? "tvec" : "T"] = pose.translation;
  return json.dump();
}

TEST(OpenCvFiles, TakePosesFromFilesBehindTheCameras) {
  RigCase rig = rigCase("OpenCV, 5, yml");
  auto cameras = camerasOf(rig.format, rig.files, rig.options);
  for (const bool asVector : {false, true}) {
    Texts files = withoutPoses(rig);
    files.push_back({"ab.json", poseOf(cameras["a"], cameras["b"], asVector)});
    files.push_back({"ac.json", poseOf(cameras["a"], cameras["c"], asVector)});
    auto again = camerasOf(rig.format, files, rig.options);
    RigCase inA = rig;
    for (Vec3& point : inA.points) point = inCamera(cameras["a"], point);
    for (const auto& [name, camera] : again) EXPECT_LE(misses(camera, inA), 1e-9) << name;
    files.pop_back();
    EXPECT_EQ(complaint(rig.format, files, rig.options),
              "there are 3 files of cameras and 1 of poses; give one less of these, each from the first camera to the "
              "next one");
  }
  EXPECT_THAT(complaint(rig.format, withoutPoses(rig), rig.options),
              StartsWith("a.yml: the camera \"a\" has no pose; give"));
}

TEST(OpenCvFiles, TakeThePoseOfAPairFromTheFileBehindIt) {
  const RigCase rig = rigCase("OpenCV, stereo star");
  Texts files;
  for (const NamedText& file : rig.files) {
    const std::size_t at = file.text.find("R: ");
    files.push_back({file.file, file.text.substr(0, at)});
    files.push_back({"extrinsics.yml", "%YAML:1.0\n---\n" + file.text.substr(at)});
  }
  for (const auto& [name, camera] : camerasOf(rig.format, files, rig.options))
    EXPECT_LE(misses(camera, rig), 2e-12) << name;
  files.pop_back();
  EXPECT_EQ(complaint(rig.format, files, rig.options),
            "second.yml: the pair has no pose; give the file with its R and T behind it");
  EXPECT_THAT(complaint(rig.format, {rig.files[0]}, rig.options),
              StartsWith("a head has three cameras, and the files hold 2 (first-1, first-2)"));
  RigCase other = rig;
  other.files[1].text.replace(other.files[1].text.find("1.5102500000000000e+03"), 3, "1.6");
  EXPECT_THAT(complaint(rig.format, other.files, rig.options),
              HasSubstr("the first camera of this pair is none of the pair before"));
}

Texts rosWith(const std::string& model, const std::string& coefficients) {
  Texts files;
  for (const char* name : {"a", "b", "c"}) {
    files.push_back({std::string(name) + ".yaml", "height: 480\nwidth: 640\ndistortion_model: \"" + model + "\"\nd: [" +
                                                      coefficients + "]\nk: [500, 0, 320, 0, 501, 240, 0, 0, 1]\n"});
  }
  return files;
}

TEST(RosFiles, TakeMessagesAndLensesOfEveryLength) {
  ImportOptions options;
  options.poses = "poses.json";
  const std::string turn = "\"rotation\": [[1, 0, 0], [0, 1, 0], [0, 0, 1]], ";
  const std::string poses = "{\"cameras\": [{\"name\": \"a\", " + turn +
                            "\"translation\": [0, 0, 0]}, {\"name\": \"b\", " + turn +
                            "\"translation\": [9, 0, 0]}, {\"name\": \"c\", " + turn + "\"translation\": [0, 9, 0]}]}";
  const auto lensOf = [&](const std::string& model, const std::string& coefficients) {
    const auto imported = importTexts(CalibrationFormat::Ros, rosWith(model, coefficients), options, poses);
    if (!imported) ADD_FAILURE() << imported.error().message();
    return imported.value().cameras[0];
  };
  EXPECT_EQ(lensOf("", "").k1, 0.0);
  EXPECT_EQ(lensOf("plumb_bob", "0.1, 0.2, 0.3, 0.4").p2, 0.4);
  EXPECT_EQ(lensOf("plumb_bob", "0.1, 0.2, 0.3, 0.4, 0.5").k3, 0.5);
  EXPECT_EQ(lensOf("rational_polynomial", "1, 2, 3, 4, 5, 6, 7, 8").lens.parameters[7], 8.0);
  EXPECT_EQ(lensOf("rational_polynomial", "1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0.1, 0.2").lens.parameters[13], 0.2);
  EXPECT_EQ(lensOf("equidistant", "1, 2, 3, 4").lens.model, LensModel::OpenCvFisheye);
  EXPECT_THAT(complaint(CalibrationFormat::Ros, rosWith("plumb_bob", "1, 2, 3, 4, 5, 6, 7, 8")),
              HasSubstr("must be 4 or 5 coefficients"));
  EXPECT_THAT(complaint(CalibrationFormat::Ros, rosWith("equidistant", "1, 2, 3, 4, 5")),
              HasSubstr("must be the 4 coefficients of a fisheye"));
}

Texts mrcalWith(const std::string& model, const std::string& intrinsics, const std::string& size = "[ 640, 480 ]") {
  Texts files;
  for (const char* name : {"a", "b", "c"}) {
    files.push_back(
        {std::string(name) + ".cameramodel", "{ 'lensmodel': 'LENSMODEL_" + model + "', 'intrinsics': [ " + intrinsics +
                                                 ",], 'rt_cam_ref': [0, 0, 0, 0.25, 0, 0],\n'imagersize': " + size +
                                                 ", 'optimization_inputs': b'{#[x' }"});
  }
  return files;
}

TEST(MrcalFiles, TakeThePoseByEitherNameInMetres) {
  auto cameras = camerasOf(CalibrationFormat::Mrcal, mrcalWith("PINHOLE", "500, 501, 320, 240"));
  EXPECT_THAT(cameras["b"].translation, ElementsAre(250.0, 0.0, 0.0));
}

TEST(MrcalFiles, SayWhatALensLacks) {
  const auto with = [](const std::string& model, const std::string& intrinsics,
                       const std::string& size = "[ 640, 480 ]") {
    return complaint(CalibrationFormat::Mrcal, mrcalWith(model, intrinsics, size));
  };
  EXPECT_EQ(with("OPENCV8", "1, 2, 3, 4"), "a.cameramodel, line 1: intrinsics: must be 12 numbers, and holds 4");
  EXPECT_THAT(with("SPLINED_STEREOGRAPHIC_order=3_Nx=4_fov_x_deg=90", "1, 2, 3, 4"),
              HasSubstr("lensmodel: must have \"Ny=\" and a whole number in its name"));
  EXPECT_THAT(with("SPLINED_STEREOGRAPHIC_order=3_Nx=4x_Ny=4_fov_x_deg=90", "1, 2, 3, 4"),
              HasSubstr("must have \"Nx=\""));
  EXPECT_THAT(with("SPLINED_STEREOGRAPHIC_order=3_Nx=4_Ny=4_fov_x_deg=90", "1, 2, 3, 4"),
              HasSubstr("has no sound lens: a lens \"splined-stereographic\" has 32 parameters, not 0"));
  EXPECT_THAT(with("PINHOLE", "1, 2, 3, 4", "[640]"), HasSubstr("line 2: imagersize: must be two numbers of pixels"));
  EXPECT_THAT(with("PINHOLE", "0, 2, 3, 4"), HasSubstr("has a focal length that is not greater than 0"));
}

TEST(KalibrFile, SaysWhatAChainLacks) {
  const RigCase rig = rigCase("Kalibr, radtan");
  const auto replaced = [&](const std::string& from, const std::string& to) {
    RigCase copy = rig;
    std::string& text = copy.files[0].text;
    text.replace(text.find(from), from.size(), to);
    return complaint(copy.format, copy.files, copy.options);
  };
  EXPECT_THAT(replaced("T_cn_cnm1", "T_cam_imu"), HasSubstr("cam1: lacks the key \"T_cn_cnm1\""));
  EXPECT_THAT(replaced("[0.0, 0.0, 0.0, 1.0]", "[0.0, 0.0, 1.0, 1.0]"),
              HasSubstr("cam1.T_cn_cnm1: must end in the row 0 0 0 1"));
  EXPECT_THAT(replaced("  - [0.0, 0.0, 0.0, 1.0]\n", ""), HasSubstr("cam1.T_cn_cnm1: must be 4 rows of 4 numbers"));
  EXPECT_THAT(replaced("cam0:", "camera0:"), HasSubstr("has no key cam0"));
  EXPECT_THAT(replaced("[1624, 1236]", "[1624]"), HasSubstr("cam0.resolution: must be two numbers of pixels"));
  EXPECT_EQ(complaint(rig.format, {rig.files[0], rig.files[0]}), "a camchain is one file, and 2 are given");
  RigCase none = rig;
  std::string& text = none.files[0].text;
  for (std::size_t at = text.find("radtan"); at != std::string::npos; at = text.find("radtan"))
    text.replace(at, 6, "none");
  EXPECT_EQ(camerasOf(none.format, none.files)["cam2"].k1, 0.0);
}

}  // namespace
}  // namespace quel
