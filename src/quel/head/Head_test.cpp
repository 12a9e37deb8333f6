#include "quel/head/Head.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <thread>

#include "quel/head/BlockFiles.h"
#include "quelcore/blocks/QmBlockCorrectionParameters.h"
#include "quelcore/tensor/QmReconsTensor.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "testing/Numbers.h"
#include "testing/SampleHead.h"
#include "testing/TempHome.h"

namespace quel {
namespace {

namespace fs = std::filesystem;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

using quel::testing::readFile;
using quel::testing::SameBits;
using quel::testing::SampleHead;
using quel::testing::TempDir;
using quel::testing::TempHome;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

HeadOptions named(const char* machine, std::int32_t number, bool luts = false) {
  HeadOptions options;
  options.machineId = machine;
  options.blockNumber = number;
  options.imageTag = 7;
  options.calibrationTimeStamp = 1234;
  if (luts) options.luts = LutOptions{64.0, 2, 2};
  return options;
}

Head headOf(const HeadOptions& options) {
  const auto head = Head::fromCameras(SampleHead().cameras(), options);
  EXPECT_TRUE(head) << head.error().message();
  return head.value();
}

std::array<Camera, 3> camerasOfSize(std::int32_t width, std::int32_t height) {
  std::array<Camera, 3> cameras = SampleHead().cameras();
  for (Camera& camera : cameras) {
    camera.width = width;
    camera.height = height;
  }
  return cameras;
}

Vec2 seen(const Head& head, const Vec3& point, int camera) {
  Vec2 pixel = {kNaN, kNaN};
  qmRTProjectPointtoImage(&head.record(), point.data(), camera, PROJECT_EXACT, pixel.data());
  return pixel;
}

TEST(Head, StoresAndLoadsItselfToTheBit) {
  const TempHome home;
  for (const bool luts : {false, true}) {
    const Head made = headOf(named("LAB7", luts ? 13 : 12, luts));
    const auto file = made.store(home.path() / "blocks" / "new");
    ASSERT_TRUE(file) << file.error().message();
    EXPECT_EQ(file.value(), home.path() / "blocks" / "new" / (luts ? "LAB7-13.tns" : "LAB7-12.tns"));
    EXPECT_EQ(fs::exists(home.path() / "blocks/new/LAB7-13.lut"), luts);
    const auto loaded = Head::load(file.value());
    ASSERT_TRUE(loaded) << loaded.error().message();
    EXPECT_EQ(loaded->identity(), made.identity());
    std::mt19937_64 random = quel::testing::testRandom();
    const SampleHead sample;
    for (int n = 0; n < 100; ++n) {
      const Vec3 point = sample.randomPoint(random);
      for (int camera = 0; camera < 3; ++camera) {
        EXPECT_THAT(seen(*loaded, point, camera), SameBits(seen(made, point, camera)));
      }
    }
    const auto again = loaded->store(home.path() / "copy");
    ASSERT_TRUE(again);
    EXPECT_EQ(readFile(again.value()), readFile(file.value()));
  }
}

TEST(Head, OfTheTwoHundredFamilyIsStoredWithItsLuts) {
  const TempHome home;
  const auto made = Head::fromCameras(camerasOfSize(2448, 2048), named("BIG", 1, true));
  ASSERT_TRUE(made) << made.error().message();
  const auto file = made->store(home.path());
  ASSERT_TRUE(file) << file.error().message();
  const auto loaded = Head::load(file.value());
  ASSERT_TRUE(loaded) << loaded.error().message();
  const Vec3 point = SampleHead().point(0.3, 0.2, 0.1);
  EXPECT_THAT(seen(*loaded, point, 1), SameBits(seen(*made, point, 1)));
  EXPECT_TRUE(usesLuts(loaded->record()));
}

TEST(Head, LeavesABlockThatIsThereUnlessItIsToReplaceIt) {
  const TempHome home;
  const Head head = headOf(named("LAB7", 12));
  const auto file = head.store(home.path());
  ASSERT_TRUE(file);
  std::ofstream(file.value()) << "other";
  const auto refused = head.store(home.path());
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().file, file.value());
  EXPECT_EQ(refused.error().cause, "this block is there already and stays");
  EXPECT_EQ(readFile(file.value()), "other");
  ASSERT_TRUE(head.store(home.path(), true));
  EXPECT_TRUE(Head::load(file.value()));
}

// A file may name any machine.
TEST(Head, DoesNotLeaveItsFolderForAName) {
  const TempHome home;
  fs::create_directories(home.path() / "a" / "b");
  tag_qmReconsTensorData record = headOf(named("LAB7", 1)).record();
  for (const std::string machine : {"../../e", "..", ".", "a\\b", "/"}) {
    std::memset(record.machineId, 0, sizeof record.machineId);
    machine.copy(record.machineId, sizeof record.machineId);
    const auto stored = Head::fromRecord(record).store(home.path() / "a" / "b", true);
    ASSERT_FALSE(stored) << machine;
    EXPECT_THAT(stored.error().cause, HasSubstr("which is no name of a file"));
  }
  EXPECT_TRUE(fs::is_empty(home.path() / "a" / "b"));
  EXPECT_EQ(std::distance(fs::directory_iterator(home.path()), fs::directory_iterator()), 1);
}

TEST(Head, TakesOtherNamesOfItsCamerasAndStaysTheSame) {
  const Head head = headOf(named("LAB7", 1));
  const Head other = head.withCameraNames({"a", "b", "c"});
  EXPECT_EQ(other.camera(1)->name, "b");
  EXPECT_NE(head.camera(1)->name, "b");
  EXPECT_EQ(std::memcmp(&other.record(), &head.record(), sizeof other.record().projections), 0);
  EXPECT_EQ(other.distortionFit().has_value(), head.distortionFit().has_value());
}

TEST(Head, TellsWhyItCannotBeStored) {
  const TempHome home;
  const Head head = headOf(named("LAB7", 12));
  std::ofstream(home.path() / "file") << "x";
  const auto noFolder = head.store(home.path() / "file" / "blocks");
  ASSERT_FALSE(noFolder);
  EXPECT_THAT(noFolder.error().message(), HasSubstr("the folder cannot be made"));
  const auto otherPath = head.store(home.path() / "a\\b");
  ASSERT_FALSE(otherPath);
  EXPECT_THAT(otherPath.error().cause, HasSubstr("no '\\'"));
  EXPECT_FALSE(fs::exists(home.path() / "a\\b"));
  fs::create_directories(home.path() / "taken" / "LAB7-12.tns" / "full");
  const auto taken = head.store(home.path() / "taken", true);
  ASSERT_FALSE(taken);
  EXPECT_THAT(taken.error().message(), HasSubstr("LAB7-12.tns: the block cannot be stored"));
}

TEST(Head, TellsFilePlaceAndCauseWhereItCannotBeLoaded) {
  const TempHome home;
  const fs::path file = home.path() / "broken.tns";
  const auto none = Head::load(file);
  ASSERT_FALSE(none);
  EXPECT_EQ(none.error().file, file);
  EXPECT_THAT(none.error().cause, StartsWith("there is no such file"));
  const auto folder = Head::load(home.path());
  ASSERT_FALSE(folder);
  EXPECT_THAT(folder.error().message(), HasSubstr(": is no regular file; give the tensor file of a block"));
  const std::string whole = readFile(headOf(named("LAB7", 12)).store(home.path()).value());
  std::ofstream(file, std::ios::binary) << whole.substr(0, 5000);
  const auto cut = Head::load(file);
  ASSERT_FALSE(cut);
  EXPECT_EQ(cut.error().file, file);
  EXPECT_THAT(cut.error().place, StartsWith("offset "));
  EXPECT_THAT(cut.error().cause, HasSubstr("expected "));
}

TEST(Head, RefusesLutsThatWereStoredWithAnotherTensorFile) {
  const TempHome home;
  const fs::path file = headOf(named("LAB7", 12, true)).store(home.path() / "a").value();
  HeadOptions later = named("LAB7", 12, true);
  later.calibrationTimeStamp = 1;
  headOf(later).store(home.path() / "b").value();
  fs::copy_file(home.path() / "b" / "LAB7-12.lut", home.path() / "a" / "LAB7-12.lut",
                fs::copy_options::overwrite_existing);
  const auto foreign = Head::load(file);
  ASSERT_FALSE(foreign);
  EXPECT_THAT(foreign.error().file, EndsWith("LAB7-12.lut"));
  EXPECT_THAT(foreign.error().cause, HasSubstr("was stored with another tensor file"));
  fs::remove(home.path() / "a" / "LAB7-12.lut");
  EXPECT_FALSE(Head::load(file));
}

TEST(Head, TellsTheCamerasThatItWasMadeOf) {
  const SampleHead sample;
  const auto head = Head::fromCameras(sample.cameras());
  ASSERT_TRUE(head);
  for (int k = 0; k < 3; ++k) {
    const Camera& given = sample.cameras()[static_cast<std::size_t>(k)];
    const auto camera = head->camera(k);
    ASSERT_TRUE(camera) << camera.error().message();
    EXPECT_EQ(camera->name, given.name);
    EXPECT_EQ(camera->width, given.width);
    EXPECT_EQ(camera->height, given.height);
    EXPECT_NEAR(camera->K[0][0], given.fx, 1e-7);
    EXPECT_NEAR(camera->K[1][1], given.fy, 1e-7);
    EXPECT_NEAR(camera->K[0][2], given.cx, 1e-7);
    EXPECT_NEAR(camera->K[1][2], given.cy, 1e-7);
    EXPECT_NEAR(camera->K[0][1], given.skew, 1e-7);
    EXPECT_EQ(camera->K[2][2], 1.0);
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_NEAR(camera->t[i], given.translation[i], 1e-7);
      for (std::size_t j = 0; j < 3; ++j) EXPECT_NEAR(camera->R[i][j], given.rotation[i][j], 1e-10);
    }
    EXPECT_NEAR(camera->distortion.k1 * given.fx * given.fx, given.k1, 1e-12);
    EXPECT_EQ(camera->distortion.centre, (Vec2{given.cx, given.cy}));
    EXPECT_FALSE(camera->distortion.usesLut);
  }
  ASSERT_TRUE(head->distortionFit());
  EXPECT_TRUE((*head->distortionFit())[0].exact);
  EXPECT_FALSE(head->camera(3));
  EXPECT_FALSE(head->camera(-1));
}

TEST(Head, TellsWhyACameraCannotBeHad) {
  QmReconsTensor record(*SampleHead().tensor());
  record.projectionsValid = 0;
  EXPECT_THAT(Head::fromRecord(record).camera(0).error().cause, HasSubstr("no projections"));
  record.projectionsValid = 1;
  std::memset(record.projections, 0, sizeof record.projections);
  EXPECT_THAT(Head::fromRecord(record).camera(1).error().cause, HasSubstr("none of a camera"));
}

TEST(Head, TellsWhyCamerasMakeNone) {
  std::array<Camera, 3> cameras = SampleHead().cameras();
  cameras[1].fx = kNaN;
  const auto head = Head::fromCameras(cameras);
  ASSERT_FALSE(head);
  EXPECT_FALSE(head.error().cause.empty());
}

TEST(Head, KnowsTheImagesThatWereTakenWithIt) {
  const Head head = headOf(named("LAB7", 12));
  EXPECT_EQ(head.identity(), (HeadIdentity{"LAB7", 12, 0, 7, 0, 1234}));
  EXPECT_TRUE(head.belongsTo({"LAB7", 99, 1234, 12}));
  EXPECT_TRUE(head.belongsTo({"LAB7", 99, 0, 12}));
  EXPECT_FALSE(head.belongsTo({"LAB7", 99, 1235, 12}));
  EXPECT_FALSE(head.belongsTo({"LAB7", 99, 1234, 13}));
  EXPECT_FALSE(head.belongsTo({"LAB8", 99, 1234, 12}));
  EXPECT_TRUE(headOf(named("EIGHTLTR", 12)).belongsTo({"EIGHTLTR", 0, 0, 12}));
  EXPECT_FALSE(headOf(named("EIGHTLTR", 12)).belongsTo({"EIGHTLTRS", 0, 0, 12}));
}

TEST(Head, SharesItsStateWithCopies) {
  std::optional<Head> first = headOf(named("LAB7", 12, true));
  const Head copy = *first;
  EXPECT_EQ(&copy.record(), &first->record());
  Head moved = std::move(*first);
  EXPECT_EQ(&first->record(), &moved.record()) << "a head that was moved from is still one";
  first.reset();
  EXPECT_THAT(seen(copy, {0, 0, 0}, 0)[0], ::testing::Not(::testing::IsNan()));
}

TEST(Head, KeepsALutSetAliveThatItsMakerLetGo) {
  std::optional<SampleHead> sample(named("LAB7", 3, true));
  const Head head = Head::fromRecord(*sample->tensor());
  const Vec2 before = seen(head, {1, 2, 3}, 2);
  sample.reset();
  EXPECT_THAT(seen(head, {1, 2, 3}, 2), SameBits(before));
}

class CompensatedHead : public ::testing::Test {
 protected:
  fs::path write(const std::string& rates) const {
    const fs::path file = home_.path() / "table.xml";
    std::ofstream(file) << "<BlockCorrectionParameters>" << rates << "</BlockCorrectionParameters>";
    return file;
  }

  TempHome home_;
  Head head_ = headOf(named("LAB7", 12));
};

TEST_F(CompensatedHead, IsWhatTheDoorMakes) {
  const fs::path file = write(
      R"(<BlockParameter Name="ax" CameraId="0" Value="0.5"/><BlockParameter Name="rx" CameraId="1" Value="0.001"/>)");
  const auto warm = head_.compensated(file, 31.5);
  ASSERT_TRUE(warm) << warm.error().message();
  QmBlockCorrectionParameters table;
  ASSERT_TRUE(table.Initialize(file.u16string()));
  QmReconsTensor expected;
  ASSERT_TRUE(QmReconsTensor(head_.record()).BuildCorrectedTensor(31.5, table, expected));
  EXPECT_EQ(std::memcmp(warm->record().projections, expected.projections, sizeof expected.projections), 0);
  EXPECT_NEAR(warm->camera(0)->K[0][0], head_.camera(0)->K[0][0] + 0.5 * 11.5, 1e-6);
  EXPECT_EQ(warm->record().temperature[TEMPERATURE_REFERENCE], 31.5);
  EXPECT_EQ(head_.record().temperature[TEMPERATURE_REFERENCE], 20.0) << "the head itself never changes";
  const auto same = warm->compensated(file, 31.5);
  ASSERT_TRUE(same);
  EXPECT_NEAR(same->camera(0)->K[0][0], warm->camera(0)->K[0][0], 1e-6) << "no degree counts twice";
}

TEST_F(CompensatedHead, TellsWhatItsTableHolds) {
  const auto table = CorrectionTable::load(write(
      R"(<BlockParameter Name="AX" CameraId="0" Value="1"/><BlockParameter Name="D01" CameraId="1" Value="2"/>)"
      R"(<BlockParameter Name="focus" CameraId="1" Value="3"/><BlockParameter Name="k1" CameraId="7" Value="3"/>)"));
  ASSERT_TRUE(table) << table.error().message();
  EXPECT_EQ(table->rates(), 2U);
  EXPECT_THAT(table->leftOut(), ::testing::ElementsAre("focus of camera 1", "k1 of camera 7"));
}

TEST_F(CompensatedHead, TellsWhyThereIsNone) {
  const auto why = [&](const Head& head, const fs::path& file, double temperature) {
    const auto warm = head.compensated(file, temperature);
    return warm ? std::string() : warm.error().message();
  };
  EXPECT_THAT(why(head_, home_.path() / "none.xml", 30), HasSubstr("none.xml"));
  EXPECT_THAT(why(head_, home_.path(), 30), HasSubstr("is no regular file"));
  EXPECT_THAT(why(head_, write(""), 30), HasSubstr("holds no rate of camera 0, 1 or 2"));
  EXPECT_THAT(why(head_, write(R"(<BlockParameter Name="ax" CameraId="0" Value="much"/>)"), 30), HasSubstr("\"much\""));
  const fs::path file = write(R"(<BlockParameter Name="ax" CameraId="0" Value="1"/>)");
  EXPECT_THAT(why(head_, file, kNaN), HasSubstr("no finite number"));
  EXPECT_THAT(why(head_, file, std::numeric_limits<double>::infinity()), HasSubstr("no finite number"));
  QmReconsTensor record(head_.record());
  record.temperature[TEMPERATURE_REFERENCE] = -273.0;
  EXPECT_THAT(why(Head::fromRecord(record), file, 30), HasSubstr("does not tell the temperature"));
  record.projectionsValid = 0;
  EXPECT_THAT(why(Head::fromRecord(record), file, 30), HasSubstr("no projections"));
  EXPECT_THAT(why(head_, write(R"(<BlockParameter Name="ax" CameraId="0" Value="1e308"/>)"), 1e10),
              HasSubstr("table.xml: a camera that is compensated by these rates is no camera any more"));
}

TEST(Head, LoadsOnSeveralThreadsAtOnce) {
  const TempHome home;
  const fs::path file = headOf(named("LAB7", 12, true)).store(home.path()).value();
  std::vector<std::thread> threads;
  std::atomic<int> loaded = 0;
  for (int n = 0; n < 4; ++n) {
    threads.emplace_back([&] {
      for (int i = 0; i < 5; ++i) loaded += Head::load(file).ok() ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(loaded, 20);
}

}  // namespace
}  // namespace quel
