#include "quel/formats/Import.h"

#include <gmock/gmock.h>

#include <functional>

#include "quel/cameras/CameraFile.h"
#include "quel/cameras/HeadMaker.h"
#include "quel/formats/Poses.h"
#include "quel/formats/rig_fixture.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "testing/Numbers.h"

namespace quel {
namespace {

using quel::testing::imported;
using quel::testing::misses;
using quel::testing::RigCase;
using quel::testing::rigCase;
using quel::testing::rigCases;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// What is said when the files of a case are imported with changes.
std::string complaint(RigCase rig, const std::function<void(RigCase&)>& change) {
  change(rig);
  const auto result = importTexts(rig.format, rig.files, rig.options, rig.poses);
  return result ? "accepted" : result.error().message();
}

void replace(std::string& text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  ASSERT_NE(at, std::string::npos) << from;
  text.replace(at, from.size(), to);
}

TEST(ImportCameras, SeesWhatThePeersSeeInEveryFormat) {
  for (const RigCase& rig : rigCases()) {
    for (const Camera& camera : imported(rig)) EXPECT_LE(misses(camera, rig), 2e-12) << rig.name << ' ' << camera.name;
  }
}

// 54 points in 3 cameras, through the doors of the head.
TEST(ImportCameras, GiveAHeadOfSquarePixelsThatSeesWhatThePeersSee) {
  int found = 0;
  for (const RigCase& rig : rigCases()) {
    if (!rig.name.ends_with("square pixels")) continue;
    ++found;
    const auto cameras = imported(rig);
    const auto head = makeHead(cameras);
    ASSERT_TRUE(head.ok()) << head.error().message();
    double most = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_TRUE(head->distortion[i].exact);
      for (std::size_t n = 0; n < rig.points.size(); ++n) {
        double pixel[2] = {HUGE_VAL, HUGE_VAL};
        ASSERT_EQ(qmRTProjectPointtoImage(&head->tensor, rig.points[n].data(), static_cast<std::int32_t>(i),
                                          PROJECT_EXACT, pixel),
                  1);
        const Vec2 theirs = rig.pixels[cameras[i].name][n].get<Vec2>();
        most = std::max(most, std::hypot(pixel[0] - theirs[0], pixel[1] - theirs[1]));
      }
    }
    EXPECT_LE(most, 1e-12) << rig.name;
  }
  EXPECT_GE(found, 2);
}

// The rig is one that notices.
TEST(ImportCameras, WouldMissTheFiguresByEachMistakeOfAConvention) {
  for (const char* name : {"OpenCV, 5, yml", "mrcal, OPENCV5", "Kalibr, radtan", "ROS, plumb_bob", "COLMAP"}) {
    const RigCase rig = rigCase(name);
    for (const Camera& camera : imported(rig)) {
      Camera wrong = camera;
      const Pose back = inverse({camera.rotation, camera.translation});
      wrong.rotation = back.rotation;
      wrong.translation = back.translation;
      if (camera.name != "cam0") {
        EXPECT_GT(misses(wrong, rig), 1.0) << name << ", an inverted pose";
      }
      wrong = camera;
      wrong.cx += 0.5;
      EXPECT_GT(misses(wrong, rig), 0.4) << name << ", half a pixel";
      wrong = camera;
      std::swap(wrong.p1, wrong.p2);
      if (camera.p1 != 0.0) {
        EXPECT_GT(misses(wrong, rig), 0.3) << name << ", a swapped tangential pair";
      }
    }
  }
}

TEST(ImportCameras, WouldMissTheFiguresByAChainTakenTheWrongWayRound) {
  for (const auto& [name, last] :
       {std::pair("Kalibr, radtan", "cam2"), std::pair("OpenCV, stereo chain", "second-2")}) {
    const RigCase rig = rigCase(name);
    for (const Camera& camera : imported(rig)) {
      if (camera.name != last) continue;
      const auto others = imported(rig);
      const auto middle = std::find_if(others.begin(), others.end(),
                                       [](const Camera& c) { return c.name == "cam1" || c.name == "first-2"; });
      ASSERT_NE(middle, others.end());
      const Pose first = {middle->rotation, middle->translation};
      const Pose step = after({camera.rotation, camera.translation}, inverse(first));
      const Pose reversed = after(first, step);
      Camera wrong = camera;
      wrong.rotation = reversed.rotation;
      wrong.translation = reversed.translation;
      EXPECT_GT(misses(wrong, rig), 1.0) << name;
    }
  }
}

TEST(ImportCameras, PutsTheCamerasIntoTheHeadsOrderAndSaysSo) {
  RigCase rig = rigCase("OpenCV, 5, yml");
  const auto result = importTexts(rig.format, rig.files, rig.options);
  ASSERT_TRUE(result.ok()) << result.error().message();
  EXPECT_EQ(result.value().cameras[0].name, "b");
  EXPECT_EQ(result.value().cameras[1].name, "c");
  EXPECT_EQ(result.value().cameras[2].name, "a");
  EXPECT_THAT(result.value().remarks, Contains("camera 0 (uppermost) is b, at (65.5, -256.0, 17.0) mm"));
  EXPECT_THAT(result.value().remarks, Contains("camera 1 (left) is c, at (-201.5, 137.2, -31.5) mm"));
  EXPECT_THAT(result.value().remarks, Contains("the world is that of the files"));
}

TEST(ImportCameras, PutsTheWorldWhereTheAxesMeetWithYUpAndZToTheCameras) {
  RigCase rig = rigCase("OpenCV, 5, yml");
  const auto kept = imported(rig);
  rig.options.keepWorld = false;
  const auto moved = imported(rig);
  // The same cameras: a point goes along by way of camera 0.
  for (const Vec3& point : rig.points) {
    const Vec3 inside = inCamera(kept[0], point);
    Vec3 from{};
    for (std::size_t i = 0; i < 3; ++i) from[i] = inside[i] - moved[0].translation[i];
    const Vec3 there = times(transposed(moved[0].rotation), from);
    for (std::size_t i = 0; i < 3; ++i) {
      const Vec2 a = idealPixel(kept[i], point), b = idealPixel(moved[i], there);
      EXPECT_LE(std::hypot(a[0] - b[0], a[1] - b[1]), 1e-9);
    }
  }
  EXPECT_GT(centreOf(moved[0])[1], centreOf(moved[1])[1]);
  EXPECT_GT(centreOf(moved[0])[1], centreOf(moved[2])[1]);
  EXPECT_LT(centreOf(moved[1])[0], centreOf(moved[2])[0]);
  Vec3 middle{};
  for (const Camera& camera : moved) {
    for (std::size_t i = 0; i < 3; ++i) middle[i] += centreOf(camera)[i] / 3.0;
    // The axes pass the origin by a few millimetres.
    const Vec3 axis = camera.rotation[2], centre = centreOf(camera);
    const double along = dot(axis, centre);
    EXPECT_LE(std::hypot(centre[0] - along * axis[0], centre[1] - along * axis[1], centre[2] - along * axis[2]), 30.0);
  }
  EXPECT_NEAR(middle[0], 0.0, 1e-9);
  EXPECT_NEAR(middle[1], 0.0, 1e-9);
  EXPECT_GT(middle[2], 800.0);
}

TEST(ImportCameras, GivesCamerasOfWhichAHeadIsMade) {
  for (const char* name : {"OpenCV, 5, yml", "mrcal, PINHOLE", "COLMAP"}) {
    RigCase rig = rigCase(name);
    rig.options.keepWorld = false;
    auto cameras = imported(rig);
    for (Camera& camera : cameras) {
      camera.width = 1624;
      camera.height = 1236;
    }
    const auto head = makeHead(cameras);
    EXPECT_TRUE(head.ok()) << name << ": " << head.error().message();
  }
}

TEST(ImportCameras, ReadsItsOwnFilesBitByBit) {
  for (const RigCase& rig : rigCases()) {
    const auto cameras = imported(rig);
    const std::string text = textOfCameras(cameras);
    const std::vector<NamedText> files = {{"cameras.json", text}};
    ImportOptions options;
    options.keepWorld = true;
    const auto again = importTexts(CalibrationFormat::Json, files, options);
    ASSERT_TRUE(again.ok()) << again.error().message();
    EXPECT_EQ(textOfCameras(again.value().cameras), text) << rig.name;
  }
}

TEST(ImportCameras, ChoosesThreeAmongMoreByTheirNames) {
  const RigCase rig = rigCase("OpenCV, 5, yml");
  const auto withFour = [](RigCase& r) {
    r.files.push_back(r.files[0]);
    r.files.back().file = "d.yml";
  };
  EXPECT_EQ(complaint(rig, withFour), "there are 4 cameras; choose three with --cameras A,B,C among a, b, c, d");
  const auto choosing = [&](std::vector<std::string> names) {
    return complaint(rig, [&](RigCase& r) {
      withFour(r);
      r.options.cameras = std::move(names);
    });
  };
  EXPECT_EQ(choosing({"d", "b", "c"}), "accepted");
  EXPECT_EQ(choosing({"d", "b"}), "a head has three cameras, so three names are chosen, not 2");
  EXPECT_EQ(choosing({"d", "b", "e"}), "there is no camera \"e\"; there are a, b, c, d");
  EXPECT_EQ(choosing({"d", "b", "b"}), "the camera \"b\" is chosen twice");
  EXPECT_EQ(complaint(rig,
                      [](RigCase& r) {
                        r.files.push_back(r.files[0]);
                        r.options.cameras = {"a", "b", "c"};
                      }),
            "there are two cameras \"a\"; give the files other names");
}

TEST(ImportCameras, RefusesAFileThatIsGivenTwice) {
  for (const char* name : {"OpenCV, 5, yml", "mrcal, OPENCV5", "ROS, plumb_bob"}) {
    const auto twice = [](RigCase& r) { r.files[2] = r.files[0]; };
    EXPECT_THAT(complaint(rigCase(name), twice), ::testing::EndsWith(": is given twice")) << name;
  }
}

TEST(ImportCameras, WantsThreeCamerasOfOneSize) {
  const RigCase rig = rigCase("OpenCV, 5, yml");
  EXPECT_THAT(complaint(rig, [](RigCase& r) { r.files.pop_back(); }),
              StartsWith("a head has three cameras, and the files hold 2 (a, b); calibrate all three together"));
  EXPECT_THAT(
      complaint(rig, [](RigCase& r) { replace(r.files[1].text, "1624", "1600"); }),
      StartsWith("the cameras of a head have images of one size, but a has 1624 x 1236 and b has 1600 x 1236 pixels"));
  const auto withoutSize = [](RigCase& r) {
    for (NamedText& file : r.files) {
      replace(file.text, "image_width: 1624", "");
      replace(file.text, "image_height: 1236", "");
    }
  };
  EXPECT_EQ(complaint(rig, withoutSize), "a.yml: does not say how large the images are; say so with --size WxH");
  RigCase sized = rig;
  withoutSize(sized);
  sized.options.size = {1624, 1236};
  EXPECT_EQ(imported(sized)[2].height, 1236);
}

TEST(ImportCameras, RefusesASizeThatContradictsAFile) {
  const RigCase rig = rigCase("OpenCV, 5, yml");
  const auto sized = [&](std::int32_t width, std::int32_t height) {
    return complaint(rig, [&](RigCase& r) { r.options.size = {width, height}; });
  };
  EXPECT_EQ(sized(1624, 1236), "accepted");
  EXPECT_EQ(
      sized(640, 480),
      "a.yml: the images of the camera \"a\" have 1624 x 1236 pixels, and --size says 640 x 480; leave --size out");
  EXPECT_THAT(sized(1624, 1235), HasSubstr("--size says 1624 x 1235"));
}

TEST(ImportCameras, AsksForTheUnitThatAFileDoesNotSay) {
  const RigCase rig = rigCase("COLMAP");
  EXPECT_THAT(complaint(rig, [](RigCase& r) { r.options.millimetresPerUnit.reset(); }),
              StartsWith("the files do not say what their lengths are in; say so with --unit mm, cm, m or in"));
  RigCase scaled = rig;
  scaled.options.millimetresPerUnit.reset();
  scaled.options.baseline = Baseline{"a.png", "b.png", std::hypot(299.5, 460.75, 27.25)};
  for (const Camera& camera : imported(scaled)) EXPECT_LE(misses(camera, scaled), 1e-9);
  scaled.options.baseline->second = "e.png";
  EXPECT_THAT(complaint(scaled, [](RigCase&) {}), StartsWith("--baseline names the camera \"e.png\"; there are a.png"));
  EXPECT_THAT(complaint(rigCase("mrcal, OPENCV5"), [](RigCase& r) { r.options.millimetresPerUnit = 1.0; }),
              StartsWith("the files say what their lengths are in"));
}

TEST(ImportCameras, RefusesAScaleThatIsNoneAndTwoOfThem) {
  const RigCase rig = rigCase("COLMAP");
  for (const double none : {0.0, -1.0, HUGE_VAL, std::nan("")}) {
    EXPECT_EQ(complaint(rig, [&](RigCase& r) { r.options.millimetresPerUnit = none; }),
              "the millimetres of --unit must be a finite number above 0");
    EXPECT_EQ(complaint(rig,
                        [&](RigCase& r) {
                          r.options.millimetresPerUnit.reset();
                          r.options.baseline = Baseline{"a.png", "b.png", none};
                        }),
              "the millimetres of --baseline must be a finite number above 0");
  }
  EXPECT_EQ(complaint(rig,
                      [](RigCase& r) {
                        r.options.baseline = Baseline{"a.png", "b.png", 550.0};
                      }),
            "--baseline says what --unit says too; leave one of them out");
}

TEST(ImportCameras, AsksForPosesWhereAFileHasNone) {
  const RigCase rig = rigCase("ROS, plumb_bob");
  EXPECT_THAT(complaint(rig, [](RigCase& r) { r.options.poses.clear(); }),
              StartsWith("a.yaml: the camera \"a\" has no pose; give the poses with --poses FILE: {\"cameras\":"));
  EXPECT_THAT(complaint(rig, [](RigCase& r) { r.poses = "{\"cameras\": [{\"name\": \"a\"}]}"; }),
              StartsWith("poses.json, line 1: cameras[0]: lacks the key \"rotation\""));
}

// The poses of mrcal are in metres, those of a file of poses in millimetres.
TEST(ImportCameras, TakesNoPoseOfTheCalibrationBesideThoseOfAFileOfPoses) {
  const std::string poses = rigCase("ROS, plumb_bob").poses;
  RigCase rig = rigCase("mrcal, OPENCV5");
  rig.options.poses = "poses.json";
  rig.poses = poses;
  EXPECT_EQ(complaint(rig, [](RigCase&) {}), "accepted");
  EXPECT_THAT(complaint(rig, [](RigCase& r) { replace(r.poses, "\"name\": \"b\"", "\"name\": \"B\""); }),
              StartsWith("b.cameramodel: the camera \"b\" has no pose; give the poses with --poses FILE"));
}

TEST(ImportCameras, RefusesASkewThatOpenCvWouldLeaveOut) {
  const auto skewed = [](RigCase& r) {
    replace(r.files[0].text, r.format == CalibrationFormat::OpenCv ? "1.5102500000000000e+03, 0.," : "1510.25, 0.0,",
            "1510.25, 3.0,");
  };
  EXPECT_THAT(complaint(rigCase("OpenCV, 5, yml"), skewed),
              StartsWith("a.yml, line 5: camera_matrix: has a skew, which OpenCV"));
  EXPECT_THAT(complaint(rigCase("ROS, plumb_bob"), skewed),
              HasSubstr("camera_matrix: has a skew, which OpenCV leaves out"));
  EXPECT_EQ(complaint(rigCase("OpenCV, fisheye, yml"), skewed), "accepted");
}

TEST(ImportCameras, NeverTakesFourCoefficientsForAFisheyeByItself) {
  RigCase rig = rigCase("OpenCV, 4, yml");
  auto result = importTexts(rig.format, rig.files, rig.options);
  ASSERT_TRUE(result.ok());
  EXPECT_THAT(result.value().remarks, Contains(StartsWith("a: the four coefficients count as k1 k2 p1 p2; --fisheye")));
  EXPECT_EQ(result.value().cameras[0].lens.model, LensModel::BrownConrady);
  rig.options.fisheye = true;
  result = importTexts(rig.format, rig.files, rig.options);
  ASSERT_TRUE(result.ok());
  EXPECT_EQ(result.value().cameras[0].lens.model, LensModel::OpenCvFisheye);
  EXPECT_THAT(
      complaint(rigCase("OpenCV, 5, yml"), [](RigCase& r) { r.options.fisheye = true; }),
      StartsWith("a.yml, line 11: distortion_coefficients: must be the 4 coefficients of a fisheye, and holds 5"));
}

TEST(ImportCameras, RefusesLensesThatAreNotReadByTheirNames) {
  const auto renamed = [](const char* from, const char* to) {
    return [=](RigCase& r) { replace(r.files[0].text, from, to); };
  };
  for (const char* lens : {"omni", "ds", "eucm"}) {
    EXPECT_THAT(complaint(rigCase("Kalibr, radtan"),
                          renamed("camera_model: pinhole", ("camera_model: " + std::string(lens)).c_str())),
                HasSubstr("cam0.camera_model: is the lens \"" + std::string(lens) + "\", which is not read"));
  }
  EXPECT_THAT(complaint(rigCase("Kalibr, radtan"), renamed("distortion_model: radtan", "distortion_model: fov")),
              HasSubstr("is the lens \"fov\", which is not read"));
  for (const char* lens : {"LENSMODEL_LONLAT", "LENSMODEL_LATLON", "LENSMODEL_CAHVORE_linearity=0.37"}) {
    EXPECT_THAT(
        complaint(rigCase("mrcal, OPENCV5"), renamed("LENSMODEL_OPENCV5", lens)),
        StartsWith("a.cameramodel, line 2: lensmodel: is the lens \"" + std::string(lens) + "\", which is not read"));
  }
  EXPECT_THAT(complaint(rigCase("COLMAP"), renamed("RADIAL", "RAD_TAN")),
              HasSubstr("is the lens \"RAD_TAN\", which is not read"));
  EXPECT_THAT(complaint(rigCase("ROS, plumb_bob"), renamed("plumb_bob", "ocam")), HasSubstr("is the lens \"ocam\""));
}

TEST(ImportCameras, TellsPairsApartOnlyWhereTheirCamerasDiffer) {
  const RigCase chain = rigCase("OpenCV, stereo chain");
  const auto result = importTexts(chain.format, chain.files, chain.options);
  ASSERT_TRUE(result.ok());
  EXPECT_THAT(result.value().remarks, Contains("second.yml: its first camera is the second one of first.yml"));
  EXPECT_EQ(complaint(rigCase("OpenCV, stereo star"), [](RigCase&) {}), "accepted");
  EXPECT_EQ(complaint(chain, [](RigCase& r) { r.files[1].text = r.files[0].text; }),
            "second.yml: is the pair before once more; give two that share one camera");
  const auto equal = [](RigCase& r) {
    for (NamedText& file : r.files) {
      const std::size_t m1 = file.text.find("M1:"), m2 = file.text.find("M2:"), end = file.text.find("R:");
      std::string twin = file.text.substr(m1, m2 - m1);
      twin.replace(twin.find("M1"), 2, "M2");
      twin.replace(twin.find("D1"), 2, "D2");
      file.text.replace(m2, end - m2, twin);
    }
    r.files[1].text = r.files[0].text;
  };
  EXPECT_THAT(complaint(chain, equal),
              HasSubstr("the cameras of the pairs have one matrix, so it does not show which"));
}

// The part of a camera in a file of a pair, as a file of its own.
NamedText singleOf(const NamedText& pair, const std::string& number, const std::string& name) {
  const std::size_t begin = pair.text.find("M" + number + ":");
  const std::size_t end = pair.text.find(number == "1" ? "M2:" : "R:");
  std::string text = pair.text.substr(0, pair.text.find("M1:")) + pair.text.substr(begin, end - begin);
  replace(text, "M" + number, "K");
  replace(text, "D" + number, "D");
  return {name + ".yml", text};
}

std::string withOtherFocal(std::string text) {
  const std::size_t at = text.find("data: [ ", text.find("K:"));
  return text.insert(at + 8, "1");
}

// The single cameras of the rig, with its pairs behind them.
RigCase singlesWithPairs(const std::string& name) {
  RigCase rig = rigCase(name);
  const NamedText one = rig.files[0], other = rig.files[1];
  rig.files = {singleOf(one, "1", "first-1"), singleOf(one, "2", "first-2"), singleOf(other, "2", "second-2"), one,
               other};
  return rig;
}

TEST(ImportCameras, JoinsSingleCamerasByThePairsThatHaveTheirMatrices) {
  for (const char* name : {"OpenCV, stereo star", "OpenCV, stereo chain"}) {
    RigCase rig = singlesWithPairs(name);
    for (int turn = 0; turn < 2; ++turn) {
      for (const Camera& camera : imported(rig)) EXPECT_LE(misses(camera, rig), 2e-12) << name << ' ' << camera.name;
      std::swap(rig.files[3], rig.files[4]);
    }
  }
}

TEST(ImportCameras, RefusesPairsThatDoNotJoinTheSingleCameras) {
  const RigCase rig = singlesWithPairs("OpenCV, stereo chain");
  const auto other = [](RigCase& r) { r.files[2].text = r.files[1].text; };
  EXPECT_THAT(complaint(rig, other), StartsWith("second.yml: the first camera of the pair has matrix and lens of "
                                                "several of the single cameras"));
  const auto unknown = [](RigCase& r) { r.files[2].text = withOtherFocal(r.files[2].text); };
  EXPECT_EQ(complaint(rig, unknown),
            "second.yml: the second camera of the pair has matrix and lens of none of the single cameras; give the "
            "files of one calibration");
  EXPECT_EQ(complaint(rig, [](RigCase& r) { r.files[4].text = r.files[3].text; }),
            "second.yml: joins the cameras \"first-1\" and \"first-2\", which other pairs join already");
  const auto apart = [](RigCase& r) {
    r.files.push_back(r.files[0]);
    r.files.back().text = withOtherFocal(r.files.back().text);
    r.files.push_back(r.files[4]);
    r.files.erase(r.files.begin() + 3);
    r.files.push_back(r.files[3]);
  };
  EXPECT_EQ(complaint(rig, apart), "second.yml: joins cameras to which no pairs lead from the first camera");
}

TEST(ImportCameras, NamesFileAndPlaceOfWhatIsWrong) {
  EXPECT_EQ(complaint(rigCase("OpenCV, 5, yml"), [](RigCase& r) { replace(r.files[1].text, "rows: 5", "rows: 6"); }),
            "b.yml, line 11: distortion_coefficients: must have rows x cols numbers, and has 5");
  EXPECT_THAT(
      complaint(rigCase("OpenCV, 5, yml"), [](RigCase& r) { replace(r.files[2].text, "data: [", "data: [ nan,"); }),
      StartsWith("c.yml, line 9: camera_matrix.data[0]: must be a finite number, and is \"nan\""));
  EXPECT_THAT(complaint(rigCase("OpenCV, 5, xml"), [](RigCase& r) { replace(r.files[0].text, "</R>", "</S>"); }),
              HasSubstr("a.xml, line "));
  EXPECT_THAT(
      complaint(rigCase("mrcal, CAHVOR"), [](RigCase& r) { replace(r.files[0].text, "'imagersize'", "imagersize"); }),
      HasSubstr("\"imagersize: \" stands where a key belongs"));
  EXPECT_THAT(complaint(rigCase("COLMAP"), [](RigCase& r) { replace(r.files[0].text, "1624", "16x4"); }),
              HasSubstr("a width must be a whole number, and is \"16x4\""));
  EXPECT_THAT(complaint(rigCase("OpenCV, 5, yml"), [](RigCase& r) { replace(r.files[0].text, "R: ", "was: "); }),
              StartsWith("a.yml, line 26: T: stands without a rotation R beside it"));
  const auto turned = [](RigCase& r) {
    const std::size_t at = r.files[0].text.find("data: [", r.files[0].text.find("R:"));
    r.files[0].text.replace(at, 10, "data: [ 0.9");
  };
  EXPECT_THAT(complaint(rigCase("OpenCV, 5, yml"), turned),
              HasSubstr("a.yml: the camera \"a\" has a rotation that is none"));
}

TEST(ImportCameras, SaysWhatIsWrongWithAModelOfColmap) {
  const RigCase rig = rigCase("COLMAP");
  const auto withoutEmptyLines = [](RigCase& r) {
    std::string& text = r.files[1].text;
    for (std::size_t at = text.find("\n\n"); at != std::string::npos; at = text.find("\n\n")) text.erase(at, 1);
  };
  EXPECT_EQ(complaint(rig, withoutEmptyLines),
            "images.txt, line 6: must be the points of the image before it, three numbers each, or be empty");
  const auto numbered = [&](RigCase& r) {
    withoutEmptyLines(r);
    replace(r.files[1].text, "b.png", "b of two.png");
  };
  EXPECT_THAT(complaint(rig, numbered), StartsWith("images.txt, line 6: must be the points"));
  EXPECT_EQ(complaint(rig, [](RigCase& r) { r.files.pop_back(); }), "the model lacks images.txt; give that file too");
  EXPECT_EQ(complaint(rig, [](RigCase& r) { r.files.erase(r.files.begin()); }),
            "the model lacks cameras.txt; give that file too");
  EXPECT_EQ(
      complaint(rigCase("COLMAP, a rig"), [](RigCase& r) { replace(r.files[0].text, "CAMERA 3 1", "CAMERA 1 1"); }),
      "rigs.txt, line 2: the camera 1 stands twice in its rig");
}

TEST(ImportCameras, TakesEveryFormatsFilesInEveryTruncation) {
  for (const char* name :
       {"OpenCV, 5, yml", "OpenCV, 5, xml", "OpenCV, 8, json", "mrcal, OPENCV8", "Kalibr, radtan", "COLMAP"}) {
    const RigCase rig = rigCase(name);
    const std::string whole = rig.files[0].text;
    for (std::size_t size = 0; size + 2 < whole.size(); size += 7) {
      RigCase cut = rig;
      cut.files[0].text = whole.substr(0, size);
      const auto result = importTexts(cut.format, cut.files, cut.options, cut.poses);
      if (!result) {
        EXPECT_NE(result.error().cause, "") << name << " " << size;
      }
    }
  }
}

}  // namespace
}  // namespace quel
