#include "quel/formats/Export.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "quel/cameras/CameraFile.h"
#include "quel/formats/LensFit.h"
#include "quel/formats/rig_fixture.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"
#include "testing/Numbers.h"
#include "testing/SampleHead.h"
#include "testing/TempHome.h"

namespace quel {
namespace {

using quel::testing::SampleHead;
using quel::testing::testRandom;
using quel::testing::uniform;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

Head headOf(const std::array<Camera, 3>& cameras, const HeadOptions& options = {}) {
  auto head = Head::fromCameras(cameras, options);
  if (!head) ADD_FAILURE() << head.error().message();
  return std::move(head).value();
}

// The sample head with all five coefficients.
std::array<Camera, 3> bentCameras() {
  std::array<Camera, 3> cameras = SampleHead().cameras();
  for (std::size_t i = 0; i < 3; ++i) {
    cameras[i].name = std::string(1, static_cast<char>('a' + i));
    cameras[i].k1 = -0.11 - 0.01 * static_cast<double>(i);
    cameras[i].k2 = 0.21;
    cameras[i].k3 = -0.4;
    cameras[i].p1 = 1.7e-3;
    cameras[i].p2 = -9.1e-4;
  }
  return cameras;
}

std::array<Camera, 3> withLens(std::array<Camera, 3> cameras, const Lens& lens) {
  for (Camera& camera : cameras) {
    camera.k1 = camera.k2 = camera.k3 = camera.p1 = camera.p2 = 0.0;
    camera.lens = lens;
  }
  return cameras;
}

Lens headPolynomialOf(double e0, double e2, double option) {
  return {LensModel::HeadPolynomial, {-4e-9, 2e-16, 0, 3e-8, -5e-8, 770, 505, e0, 0.5 * e0, e2, 0, option}, {}};
}

Vec2 seenBy(const Head& head, int index, const Vec3& point) {
  const HeadCamera camera = head.camera(index).value();
  Vec3 inside{};
  for (std::size_t i = 0; i < 3; ++i) inside[i] = dot(camera.R[i], point) + camera.t[i];
  const Vec2 ideal = {dot(camera.K[0], inside) / inside[2], dot(camera.K[1], inside) / inside[2]};
  Vec2 seen = {HUGE_VAL, HUGE_VAL};
  const auto depth = static_cast<float>(point[2]);
  qmDistortDistortOnePt(ideal.data(), &head.record().distortParams[index], &depth, seen.data());
  return seen;
}

// The largest distance between what `cameras` and `head` see in the head's world, where they see something.
double differs(const std::array<Camera, 3>& cameras, const Head& head) {
  std::mt19937_64 random = testRandom();
  double most = 0.0;
  for (int n = 0; n < 2000; ++n) {
    const Vec3 point = {uniform(random, -120.0, 120.0), uniform(random, -80.0, 80.0), uniform(random, -40.0, 40.0)};
    for (int i = 0; i < 3; ++i) {
      const Camera& camera = cameras[static_cast<std::size_t>(i)];
      const Vec2 a = distortedPixel(camera, idealPixel(camera, point)), b = seenBy(head, i, point);
      const double distance = std::hypot(a[0] - b[0], a[1] - b[1]);
      if (!(distance <= most)) most = distance;
    }
  }
  return most;
}

// What was exported, read again. The order of the head stays, which is that of the names.
std::array<Camera, 3> readAgain(CalibrationFormat format, const std::vector<NamedText>& files) {
  ImportOptions options;
  options.keepWorld = true;
  if (format == CalibrationFormat::OpenCv || format == CalibrationFormat::Colmap) options.millimetresPerUnit = 1.0;
  std::vector<NamedText> taken;
  std::string poses;
  for (const NamedText& file : files) {
    if (file.file == "poses.json") {
      options.poses = file.file;
      poses = file.text;
    } else if (file.file != "points3D.txt") {
      taken.push_back(file);
    }
  }
  const auto imported = importTexts(format, taken, options, poses);
  if (!imported) ADD_FAILURE() << imported.error().message();
  std::array<Camera, 3> cameras = imported.value().cameras;
  std::sort(cameras.begin(), cameras.end(), [](const Camera& a, const Camera& b) { return a.name < b.name; });
  return cameras;
}

ExportedCameras exported(CalibrationFormat format, const Head& head, const ExportOptions& options = {}) {
  const auto result = exportTexts(format, head, options);
  if (!result) ADD_FAILURE() << result.error().message();
  return result.value();
}

TEST(ExportTexts, HoldAHeadExactlyInEveryFormat) {
  const Head bent = headOf(bentCameras());
  auto few = bentCameras();
  for (Camera& camera : few) camera.k3 = 0.0;
  const Head withoutK3 = headOf(few);
  for (const CalibrationFormat format : calibrationFormats()) {
    // The world of Kalibr is that of its first camera.
    if (format == CalibrationFormat::Kalibr) continue;
    for (const Head& head : {bent, withoutK3}) {
      const ExportedCameras files = exported(format, head);
      EXPECT_EQ(files.residualPx, 0.0);
      EXPECT_THAT(files.remarks, Each(EndsWith(": exact")));
      EXPECT_LE(differs(readAgain(format, files.files), head), 1e-9) << calibrationFormatName(format);
    }
  }
}

TEST(ExportTexts, HoldAHeadExactlyInKalibrsChain) {
  auto cameras = bentCameras();
  for (Camera& camera : cameras) camera.k3 = 0.0;
  const Head head = headOf(cameras);
  const ExportedCameras files = exported(CalibrationFormat::Kalibr, head);
  EXPECT_EQ(files.residualPx, 0.0);
  const auto again = readAgain(CalibrationFormat::Kalibr, files.files);
  // A point goes along by way of the first camera, whose world it is.
  const HeadCamera first = head.camera(0).value();
  std::mt19937_64 random = testRandom();
  for (int n = 0; n < 300; ++n) {
    const Vec3 point = {uniform(random, -120.0, 120.0), uniform(random, -80.0, 80.0), uniform(random, -40.0, 40.0)};
    Vec3 inside{};
    for (std::size_t i = 0; i < 3; ++i) inside[i] = dot(first.R[i], point) + first.t[i];
    for (int i = 0; i < 3; ++i) {
      const Camera& camera = again[static_cast<std::size_t>(i)];
      const Vec2 a = distortedPixel(camera, idealPixel(camera, inside)), b = seenBy(head, i, point);
      ASSERT_LE(std::hypot(a[0] - b[0], a[1] - b[1]), 1e-9);
    }
  }
}

TEST(ExportTexts, HoldEveryLensWithoutLutsInTheOwnFile) {
  for (const Lens& lens :
       {headPolynomialOf(0.0, 0.0, 1.0), headPolynomialOf(1e-3, 1e-24, 1.0), headPolynomialOf(-2e-3, 0.0, 2.0)}) {
    const Head head = headOf(withLens(bentCameras(), lens));
    const ExportedCameras files = exported(CalibrationFormat::Json, head);
    EXPECT_EQ(files.residualPx, 0.0);
    const auto cameras = readAgain(CalibrationFormat::Json, files.files);
    EXPECT_LE(differs(cameras, head), 1e-9);
    EXPECT_LE(differs(cameras, headOf(cameras)), 1e-9) << "a block of it";
  }
}

TEST(ExportTexts, FitWhatAFormatDoesNotHoldAndSayHowWell) {
  for (const Lens& lens : {headPolynomialOf(1e-3, 1e-24, 1.0), headPolynomialOf(2e-4, 0.0, 2.0)}) {
    const Head head = headOf(withLens(bentCameras(), lens));
    for (const CalibrationFormat format :
         {CalibrationFormat::OpenCv, CalibrationFormat::Ros, CalibrationFormat::Mrcal, CalibrationFormat::Colmap}) {
      ExportOptions options;
      options.allowResidual = true;
      const ExportedCameras files = exported(format, head, options);
      EXPECT_THAT(files.remarks,
                  Each(AllOf(StartsWith("camera "), HasSubstr(": fitted by "), HasSubstr(" px at most"))));
      EXPECT_GT(files.residualPx, 0.0);
      EXPECT_LE(differs(readAgain(format, files.files), head), 1.05 * files.residualPx + 1e-6)
          << calibrationFormatName(format);
    }
  }
}

TEST(ExportTexts, RefuseAFitThatIsWorseThanAllowed) {
  // A shear is no camera's of these formats.
  Lens sheared = headPolynomialOf(0.0, 0.0, 1.0);
  sheared.parameters[8] = 1e-3;
  const Head head = headOf(withLens(bentCameras(), sheared));
  const auto refused = exportTexts(CalibrationFormat::OpenCv, head);
  ASSERT_FALSE(refused.ok());
  EXPECT_THAT(refused.error().message(),
              AllOf(StartsWith("camera 0: the format does not hold the lens; fitted by "),
                    HasSubstr(", more than 0.005 px; --allow-residual writes it all the same, and json holds")));
  ExportOptions options;
  options.allowResidual = true;
  EXPECT_GT(exported(CalibrationFormat::OpenCv, head, options).residualPx, 0.005);
}

TEST(ExportTexts, FitALensOfLutsCloselyEnough) {
  auto cameras = withLens(bentCameras(), {LensModel::OpenCvFisheye, {-0.031, 0.0124, -0.0087, 0.0021}, {}});
  for (Camera& camera : cameras) camera.fx = camera.fy = 1300.0;
  const Head head = headOf(cameras);
  ASSERT_NE(head.record().distortParams[0].luts, nullptr);
  for (const CalibrationFormat format : {CalibrationFormat::Json, CalibrationFormat::OpenCv}) {
    ExportOptions options;
    options.allowResidual = true;
    const ExportedCameras files = exported(format, head, options);
    EXPECT_GT(files.residualPx, 0.0);
    EXPECT_LE(files.residualPx, 0.05);
    EXPECT_LE(differs(readAgain(format, files.files), head), 1.1 * files.residualPx);
  }
}

TEST(ExportTexts, NameFilesByTheCameras) {
  auto cameras = bentCameras();
  cameras[1].name = "left eye/1";
  ExportOptions options;
  const Head head = headOf(cameras);
  const auto names = [&](CalibrationFormat format) {
    std::vector<std::string> result;
    for (const NamedText& file : exported(format, head, options).files) result.push_back(file.file.string());
    return result;
  };
  EXPECT_THAT(names(CalibrationFormat::OpenCv),
              ::testing::ElementsAre("a.yml", "lefteye_1.yml", "c.yml", "stereo-0-1.yml", "stereo-0-2.yml"));
  options.names = {"x", "y", "z"};
  EXPECT_THAT(names(CalibrationFormat::Mrcal),
              ::testing::ElementsAre("x.cameramodel", "y.cameramodel", "z.cameramodel"));
  EXPECT_THAT(names(CalibrationFormat::Ros), Contains("poses.json"));
  options.names = {"x", "y", "x"};
  EXPECT_EQ(exportTexts(CalibrationFormat::Ros, head, options).error().message(),
            "the names of the cameras must differ, as those of files");
  options.names = {"x", "y"};
  EXPECT_EQ(exportTexts(CalibrationFormat::Ros, head, options).error().message(),
            "a head has three cameras, so three names are given");
}

TEST(ExportTexts, RefuseACameraThatIsCalledAsThePairsAre) {
  const Head head = headOf(bentCameras());
  ExportOptions options;
  options.names = {"left", "stereo-0-1", "right"};
  const auto refused = exportTexts(CalibrationFormat::OpenCv, head, options);
  ASSERT_FALSE(refused.ok());
  EXPECT_EQ(refused.error().message(), "two files would be called stereo-0-1.yml; give the cameras other names");
  EXPECT_TRUE(exportTexts(CalibrationFormat::Ros, head, options).ok());
}

TEST(ExportTexts, OfRosQuoteNamesThatYamlTakesForOtherThings) {
  ExportOptions options;
  options.names = {"null", "1.0", "-"};
  const ExportedCameras files = exported(CalibrationFormat::Ros, headOf(bentCameras()), options);
  EXPECT_THAT(files.files[0].text, HasSubstr("\ncamera_name: \"null\"\n"));
  EXPECT_EQ(readAgain(CalibrationFormat::Ros, files.files)[2].name, "null");
}

TEST(ExportTexts, OfStereoPairsLeadFromTheFirstCameraToTheOthers) {
  const Head head = headOf(bentCameras());
  const ExportedCameras files = exported(CalibrationFormat::OpenCv, head);
  const std::vector<NamedText> pairs = {files.files[3], files.files[4]};
  ImportOptions options;
  options.keepWorld = true;
  options.millimetresPerUnit = 1.0;
  const auto imported = importTexts(CalibrationFormat::OpenCv, pairs, options);
  ASSERT_TRUE(imported.ok()) << imported.error().message();
  const HeadCamera a = head.camera(0).value(), c = head.camera(2).value();
  for (const Camera& camera : imported.value().cameras) {
    if (camera.name != "stereo-0-2-2") continue;
    // R2 = R21 R1 and t2 = R21 t1 + t21.
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(dot(camera.rotation[i], a.t) + camera.translation[i], c.t[i], 1e-9);
  }
}

constexpr CalibrationFormat kFormatsOfPeers[] = {CalibrationFormat::OpenCv, CalibrationFormat::Mrcal,
                                                 CalibrationFormat::Colmap};

// The largest distance between what the peers saw by some files and what `cameras` see.
double missesOfPeers(const nlohmann::json& figures, const std::string& format, const std::array<Camera, 3>& cameras) {
  const auto points = figures["points"].get<std::vector<Vec3>>();
  double most = 0.0;
  std::size_t counted = 0;
  for (const auto& [name, pixels] : figures["formats"][format]["pixels"].items()) {
    const auto camera = std::find_if(cameras.begin(), cameras.end(),
                                     [&, n = name](const Camera& c) { return c.name == n.substr(0, 1); });
    for (std::size_t n = 0; n < points.size(); ++n) {
      const Vec2 seen = distortedPixel(*camera, idealPixel(*camera, points[n]));
      const Vec2 theirs = pixels[n].get<Vec2>();
      const double distance = std::hypot(seen[0] - theirs[0], seen[1] - theirs[1]);
      if (!(distance <= most)) most = distance;
      ++counted;
    }
  }
  EXPECT_GE(counted, 3 * 54u);
  return most;
}

TEST(ExportTexts, AreSeenByThePeersAsTheHeadSees) {
  const Head head = headOf(bentCameras());
  const quel::testing::TempDir dir;
  const char* const kept = std::getenv("QUEL_KEEP_EXPORTED");
  const std::filesystem::path folder = kept != nullptr ? std::filesystem::path(kept) : dir.path() / "exported";
  for (const CalibrationFormat format : kFormatsOfPeers) {
    ASSERT_TRUE(exportCameras(format, head, folder / calibrationFormatName(format)).ok());
  }
  const std::string fresh = (dir.path() / "fresh.json").string();
  if (quel::testing::askPeers(QUEL_PEERS, "exported", folder.string() + " " + fresh)) {
    const auto figures = nlohmann::json::parse(quel::testing::readFile(fresh));
    for (const CalibrationFormat format : kFormatsOfPeers) {
      EXPECT_LE(missesOfPeers(figures, std::string(calibrationFormatName(format)), bentCameras()), 2e-11)
          << calibrationFormatName(format);
    }
  }
  // Files as these were, as the peers saw them.
  const auto figures = nlohmann::json::parse(quel::testing::readFile(QUEL_PEERS "/exported.json"));
  for (const CalibrationFormat format : kFormatsOfPeers) {
    const std::string name(calibrationFormatName(format));
    std::vector<NamedText> files;
    for (const auto& file : figures["formats"][name]["files"])
      files.push_back({file["name"].get<std::string>(), file["text"]});
    const auto then = readAgain(format, files);
    EXPECT_LE(missesOfPeers(figures, name, then), 2e-11) << name;
    EXPECT_LE(differs(then, head), 1e-9) << name;
  }
}

TEST(ExportCameras, WritesTheFilesIntoTheFolder) {
  const quel::testing::TempDir dir;
  const Head head = headOf(bentCameras());
  const auto written = exportCameras(CalibrationFormat::Json, head, dir.path() / "deep" / "down");
  ASSERT_TRUE(written.ok()) << written.error().message();
  EXPECT_EQ(written->files[0].file, dir.path() / "deep" / "down" / "cameras.json");
  EXPECT_EQ(quel::testing::readFile(written->files[0].file), exported(CalibrationFormat::Json, head).files[0].text);
  EXPECT_TRUE(exportCameras(CalibrationFormat::Json, head, dir.path() / "deep" / "down").ok()) << "once more";
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path() / "deep" / "down"), {}), 1);
  quel::testing::writeFile(dir.path() / "file", "");
  EXPECT_THAT(exportCameras(CalibrationFormat::Json, head, dir.path() / "file").error().message(),
              HasSubstr("file: the folder cannot be made"));
  std::filesystem::create_directories(dir.path() / "b" / "cameras.json" / "x");
  EXPECT_THAT(exportCameras(CalibrationFormat::Json, head, dir.path() / "b").error().message(),
              HasSubstr("b/cameras.json: cannot be written"));
}

TEST(ExportCameras, TouchesNoFileBesideItsOwn) {
  const quel::testing::TempDir dir;
  quel::testing::writeFile(dir.path() / "cameras.json", "old");
  quel::testing::writeFile(dir.path() / "cameras.json.new", "somebody's");
  const Head head = headOf(bentCameras());
  ASSERT_TRUE(exportCameras(CalibrationFormat::Json, head, dir.path()).ok());
  EXPECT_EQ(quel::testing::readFile(dir.path() / "cameras.json"),
            exported(CalibrationFormat::Json, head).files[0].text);
  EXPECT_EQ(quel::testing::readFile(dir.path() / "cameras.json.new"), "somebody's");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 2);
}

}  // namespace
}  // namespace quel
