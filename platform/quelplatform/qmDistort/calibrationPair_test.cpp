// A tensor file and its LUT file as one calibration.
#include "quelplatform/qmDistort/calibrationPairEmbedded.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "quelplatform/qmDistort/LutFile.h"
#include "quelplatform/qmDistort/LutFileSamples_fixture.h"
#include "testing/AsNobody.h"
#include "testing/BeforeCalls.h"
#include "testing/FailingMemory.h"
#include "testing/FailingNew.h"
#include "testing/FileSizeLimit.h"
#include "testing/Sanitized.h"

namespace {

using namespace quel::testing;
using quelplatform::CalibrationFiles;
using quelplatform::compareLutStamp;
using quelplatform::LutStamp;
using quelplatform::replaceCalibration;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace fs = std::filesystem;

// A LUT file as it stands beside a tensor file of these bytes.
std::string stamped(const std::string& tensor) {
  std::string bytes = body();
  setNumber<std::uint32_t>(bytes, 8, 0x10001);
  setNumber<std::uint64_t>(bytes, 16, kFileSize + 8);
  return withChecksum(bytes + number(crcBitByBit(tensor), 8));
}

// Others are one cell apart from those of `body`.
std::string otherLuts() {
  std::string bytes = body();
  setNumber(bytes, kFirstSet + 64, 0.5F);
  return withChecksum(bytes);
}

class calibrationPair : public LutFileTest {
 protected:
  calibrationPair() {
    put("from.tns", "new tensor");
    put("from.lut", withChecksum(body()));
    put("a.tns", "old tensor");
    put("a.lut", otherLuts());
  }

  void put(const std::string& name, const std::string& bytes) const { writeFile(directory_.path() / name, bytes); }
  std::string content(const std::string& name) const { return readFile(directory_.path() / name); }

  bool replace(const std::string& tensor = "a.tns", const std::string& luts = "a.lut") const {
    const std::u16string from[] = {directory_.wide("from.tns"), directory_.wide("from.lut")};
    const std::u16string to[] = {directory_.wide(tensor), directory_.wide(luts)};
    return replaceCalibration({from[0].c_str(), from[1].c_str()}, {to[0].c_str(), to[1].c_str()});
  }

  LutStamp compared(const std::string& luts, const std::string& tensor) const {
    LutStamp stamp = LutStamp::kForeign;
    EXPECT_TRUE(compareLutStamp(directory_.wide(luts).c_str(), directory_.wide(tensor).c_str(), stamp));
    return stamp;
  }

  void expectOldPair() const {
    EXPECT_EQ(content("a.tns"), "old tensor");
    EXPECT_EQ(content("a.lut"), otherLuts());
  }

  void expectNewPair() const {
    EXPECT_EQ(content("a.tns"), "new tensor");
    EXPECT_EQ(content("a.lut"), stamped("new tensor"));
  }

  auto filesThere() const { return std::distance(fs::directory_iterator(directory_.path()), {}); }
};

TEST_F(calibrationPair, IsStoredWithTheDigestOfItsTensor) {
  ASSERT_TRUE(replace());
  expectNewPair();
  EXPECT_EQ(filesThere(), 4);
  EXPECT_THAT(log_.records(), IsEmpty());
  ASSERT_TRUE(replace());  // over itself
  expectNewPair();
  ASSERT_TRUE(replace("none.tns", "none.lut"));
  EXPECT_EQ(content("none.lut"), stamped("new tensor"));
}

TEST_F(calibrationPair, IsTakenFromAPairThatIsStampedAlready) {
  put("from.lut", stamped("some tensor"));
  ASSERT_TRUE(replace());
  expectNewPair();
}

TEST_F(calibrationPair, IsToldByItsStamp) {
  ASSERT_TRUE(replace());
  EXPECT_EQ(compared("a.lut", "a.tns"), LutStamp::kOwn);
  put("a.tns", "new tensor, changed");
  EXPECT_EQ(compared("a.lut", "a.tns"), LutStamp::kForeign);
  EXPECT_EQ(compared("from.lut", "a.tns"), LutStamp::kNone);
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(calibrationPair, CannotBeToldOfFilesThatAreDamagedOrNotThere) {
  put("damaged.lut", "QLUT");
  const std::u16string good = directory_.wide("from.lut"), tensor = directory_.wide("a.tns");
  const std::u16string damaged = directory_.wide("damaged.lut"), none = directory_.wide("none");
  LutStamp stamp = LutStamp::kOwn;
  EXPECT_FALSE(compareLutStamp(damaged.c_str(), tensor.c_str(), stamp));
  EXPECT_FALSE(compareLutStamp(none.c_str(), tensor.c_str(), stamp));
  EXPECT_FALSE(compareLutStamp(good.c_str(), none.c_str(), stamp));
  EXPECT_FALSE(compareLutStamp(good.c_str(), nullptr, stamp));
  EXPECT_FALSE(compareLutStamp(nullptr, tensor.c_str(), stamp));
  EXPECT_EQ(stamp, LutStamp::kOwn);
  EXPECT_EQ(log_.records().size(), 5u);
}

TEST_F(calibrationPair, LoadsAsAnyLutFileDoes) {
  write(stamped("t"));
  ASSERT_TRUE(load());
  EXPECT_EQ(luts_["A"]->tables[0][0].rows[0][0], 0.25F);
  EXPECT_NE(luts_["left"], nullptr);
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(calibrationPair, IsRefusedWhereverItsLutFileIsCutOrChanged) {
  const std::string whole = stamped("t");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    write(whole.substr(0, size));
    EXPECT_FALSE(load()) << size;
  }
  for (std::size_t at = 0; at < whole.size(); ++at) {
    std::string changed = whole;
    changed[at] = static_cast<char>(changed[at] ^ 1);
    write(changed);
    EXPECT_FALSE(load()) << at;
  }
}

TEST_F(calibrationPair, IsRefusedWithAFlagThatIsNotKnownOrAStampTooMany) {
  for (const std::uint32_t version : {0x20001U, 0x30001U, 0x10002U, 0x10000U}) {
    std::string bytes = stamped("t");
    setNumber(bytes, 8, version);
    write(withChecksum(bytes.substr(0, bytes.size() - 8)));
    EXPECT_FALSE(load()) << version;
  }
  std::string bytes = stamped("t");
  setNumber<std::uint32_t>(bytes, 8, 1);  // the stamp stands there, and nothing says so
  expectRefused(withChecksum(bytes.substr(0, bytes.size() - 8)),
                "offset " + std::to_string(kFileSize - 8) + ": bytes follow the last set");
}

TEST_F(calibrationPair, IsRefusedWithoutRoomForTheStampThatItsHeaderTellsOf) {
  std::string bytes = body().substr(0, 24);
  setNumber<std::uint32_t>(bytes, 8, 0x10001);
  setNumber<std::uint32_t>(bytes, 12, 0);
  setNumber<std::uint64_t>(bytes, 16, 32);
  expectRefused(withChecksum(bytes), "offset 12: the file is too short for 0 sets");
}

// What cannot be read could not be put back.
TEST_F(calibrationPair, KeepsALutFileThatMayBeWrittenAndNotRead) {
  fs::permissions(directory_.path(), fs::perms::all);
  fs::permissions(directory_.path() / "a.tns", static_cast<fs::perms>(0666));
  fs::permissions(directory_.path() / "a.lut", static_cast<fs::perms>(0222));
  EXPECT_TRUE(holdsAsNobody([this] { EXPECT_FALSE(replace()); }));
  fs::permissions(directory_.path() / "a.lut", static_cast<fs::perms>(0666));
  expectOldPair();
}

TEST_F(calibrationPair, KeepsTheOldOneWhereOneOfTheFilesCannotBeWritten) {
  fs::create_directory(directory_.path() / "folder");
  EXPECT_FALSE(replace("folder", "a.lut"));
  EXPECT_FALSE(replace("a.tns", "folder"));
  EXPECT_FALSE(replace("none/a.tns", "a.lut"));
  EXPECT_FALSE(replace("a.tns", "none/a.lut"));
  EXPECT_EQ(log_.records().size(), 4u);
  expectOldPair();
  {
    const FileSizeLimit limit(100);
    EXPECT_FALSE(replace());
  }
  expectOldPair();
  put("from.tns", std::string(5000, 't'));
  {
    const FileSizeLimit limit(1000);  // room for the LUT file alone
    EXPECT_FALSE(replace());
  }
  expectOldPair();
  put("from.lut", "damaged");
  EXPECT_FALSE(replace());
  fs::remove(directory_.path() / "from.tns");
  EXPECT_FALSE(replace());
  expectOldPair();
}

// This one never ends: what is read of it would fill the memory.
TEST_F(calibrationPair, IsNotStoredOnADevice) {
  fs::create_symlink("/dev/zero", directory_.path() / "zero");
  fs::permissions(directory_.path(), fs::perms::all);
  EXPECT_TRUE(holdsAsNobody([this] {
    const rlimit limit{std::size_t{1} << 30, std::size_t{1} << 30};
    EXPECT_TRUE(kSanitized || setrlimit(RLIMIT_AS, &limit) == 0);
    EXPECT_FALSE(replace("zero", "b.lut"));
    EXPECT_FALSE(replace("b.tns", "zero"));
    for (const auto& record : log_.records()) EXPECT_THAT(record.message, HasSubstr("it cannot be written"));
    EXPECT_EQ(log_.records().size(), 2u);
  }));
  EXPECT_FALSE(fs::exists(directory_.path() / "b.tns") || fs::exists(directory_.path() / "b.lut"));
}

// Closes a folder to everybody who writes as soon as a new file is made beside the one that is in it.
void closeOnceAFileIsMade(const fs::path& folder) {
  quel::testing::beforeFlushing = [folder](int) {
    if (std::distance(fs::directory_iterator(folder), fs::directory_iterator()) == 1) {
      closeOnceAFileIsMade(folder);
    } else {
      fs::permissions(folder, static_cast<fs::perms>(0555));
    }
  };
}

TEST_F(calibrationPair, PutsTheLutFileBackWhenTheTensorFileCannotTakeItsPlace) {
  fs::permissions(directory_.path() / "a.lut", static_cast<fs::perms>(0666));
  fs::permissions(directory_.path(), fs::perms::all);
  EXPECT_TRUE(holdsAsNobody([this] {
    const fs::path folder = directory_.path() / "closed";
    fs::create_directory(folder);
    put("closed/a.tns", "old tensor");
    for (const char* luts : {"a.lut", "none.lut"}) {
      closeOnceAFileIsMade(folder);
      EXPECT_FALSE(replace("closed/a.tns", luts)) << luts;
      fs::permissions(folder, fs::perms::all);
      for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().filename() != "a.tns") fs::remove(entry.path());  // It could not be removed either.
      }
      EXPECT_EQ(content("closed/a.tns"), "old tensor");
    }
    EXPECT_EQ(content("a.lut"), otherLuts());
    EXPECT_FALSE(fs::exists(directory_.path() / "none.lut"));
  }));
}

TEST_F(calibrationPair, IsTheOldOrTheNewOrForeignWhenTheProcessIsKilledAtAnyTime) {
  put("from.lut", stamped("some tensor"));
  for (int microseconds = 0; microseconds < 3000; microseconds += 50) {
    put("a.tns", "old tensor");
    put("a.lut", stamped("old tensor"));
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      replace();
      pause();
    }
    usleep(static_cast<useconds_t>(microseconds));
    kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    const bool isOld = content("a.tns") == "old tensor" && content("a.lut") == stamped("old tensor");
    const bool isNew = content("a.tns") == "new tensor" && content("a.lut") == stamped("new tensor");
    EXPECT_TRUE(isOld || isNew || compared("a.lut", "a.tns") == LutStamp::kForeign) << microseconds;
  }
}

TEST_F(calibrationPair, IsTheOldOrTheNewWhereverMemoryRunsOut) {
  const auto check = [&](bool replaced, bool failed) {
    EXPECT_EQ(replaced, !failed);
    replaced ? expectNewPair() : expectOldPair();
    put("a.tns", "old tensor");
    put("a.lut", otherLuts());
  };
  const std::u16string from[] = {directory_.wide("from.tns"), directory_.wide("from.lut")};
  const std::u16string to[] = {directory_.wide("a.tns"), directory_.wide("a.lut")};
  const CalibrationFiles source = {from[0].c_str(), from[1].c_str()}, target = {to[0].c_str(), to[1].c_str()};
  EXPECT_GT(failEachNew([&] { return replaceCalibration(source, target); }, check), 5);
  const auto failures = failEachAllocation([&](std::int64_t) {
    const bool replaced = replace();
    replaced ? expectNewPair() : expectOldPair();
    put("a.tns", "old tensor");
    put("a.lut", otherLuts());
  });
  EXPECT_EQ(failures, 2);  // the bytes of the LUT file, as it was and stamped
}

TEST_F(calibrationPair, LosesItsStampWhereTensorFilesShareTheLuts) {
  put("a.lut", stamped("t"));
  ASSERT_TRUE(quelplatform::removeLutStamp(directory_.wide("a.lut").c_str()));
  EXPECT_EQ(content("a.lut"), withChecksum(body()));
  ASSERT_TRUE(quelplatform::removeLutStamp(directory_.wide("a.lut").c_str()));
  EXPECT_EQ(content("a.lut"), withChecksum(body()));
  EXPECT_FALSE(quelplatform::removeLutStamp(directory_.wide("none.lut").c_str()));
  EXPECT_EQ(log_.records().size(), 1u);
}

TEST_F(calibrationPair, WithoutLutsLeavesALutFileAlone) {
  const std::u16string from = directory_.wide("from.tns"), to = directory_.wide("a.tns");
  ASSERT_TRUE(replaceCalibration({from.c_str(), nullptr}, {to.c_str(), nullptr}));
  EXPECT_EQ(content("a.tns"), "new tensor");
  EXPECT_EQ(content("a.lut"), otherLuts());
}

}  // namespace
