// What is told of a tensor file that does not load: the place and the field, to the byte.
#include <gmock/gmock.h>

#include <string_view>

#include "quelcore/base/QmProblem.h"
#include "quelcore/tensor/tensorFileFormat.h"
#include "quelcore/tensor/tensorFile_fixture.h"
#include "testing/RecordingLog.h"

namespace {

using quel::testing::Loaded;
using quel::testing::lutEntry;
using quel::testing::RecordingLog;
using quel::testing::tensorFileBytes;
using quel::testing::TensorFileTest;
using quelcore::FileField;
using quelcore::kFieldsOfAllVersions;
using quelcore::kVersionRows;
using quelcore::VersionRow;
using ::testing::HasSubstr;

std::string problem() {
  const QmProblem* last = qmLastProblem();
  if (last == nullptr) return {};
  char text[1024];
  qmProblemText(*last, text, sizeof text);
  return text;
}

class TensorFileProblem : public TensorFileTest {
 protected:
  std::string bytes(std::int32_t version = -17) { return tensorFileBytes(content(), version); }

  /// The problem of these bytes, without the name of their file.
  std::string problemOf(const std::string& content, std::int32_t result = 0, std::int32_t force = 0) {
    Loaded loaded;
    const RecordingLog log;
    EXPECT_EQ(load(content, loaded, force), result);
    const std::string text = problem();
    const std::size_t end = text.find(path());
    return end == std::string::npos ? text : text.substr(end + path().size());
  }
};

TEST_F(TensorFileProblem, IsThereForNoSoundFile) {
  EXPECT_NE(problemOf("no head"), "");
  EXPECT_EQ(problemOf(bytes(), 1), "");
  EXPECT_EQ(qmLastRemark(0), nullptr);
}

TEST_F(TensorFileProblem, TellsAMissingFileFromOneThatIsNoFile) {
  Loaded loaded;
  const RecordingLog log;
  EXPECT_EQ(qmTensorDataLoad(widePath().c_str(), &loaded), 0);
  EXPECT_THAT(problem(), HasSubstr("block.tns: there is no such file"));
  EXPECT_EQ(qmTensorDataLoad(dir_.path().u16string().c_str(), &loaded), 0);
  EXPECT_NE(problem(), "");
  EXPECT_THAT(problem(), ::testing::Not(HasSubstr("no such file")));
}

/// Offset and name of each field of a file of version -11, which has no LUT identifiers: by the tables, from the front.
std::vector<std::pair<std::size_t, std::string_view>> fieldsInFront() {
  std::vector<std::pair<std::size_t, std::string_view>> fields = {{0, "version"}};
  std::size_t at = 4;
  const auto add = [&](const FileField& field) {
    fields.emplace_back(at, field.name);
    at += field.size;
  };
  for (const FileField& field : kFieldsOfAllVersions) add(field);
  for (const VersionRow& row : kVersionRows) {
    for (const FileField& field : row.version >= -11 ? row.fields : std::span<const FileField>()) add(field);
  }
  fields.emplace_back(at, "");
  return fields;
}

TEST_F(TensorFileProblem, NamesFieldAndPlaceWhereverTheFileIsCut) {
  const std::string whole = bytes(-11);
  const auto fields = fieldsInFront();
  ASSERT_EQ(fields.back().first, whole.size());
  for (std::size_t n = 0; n + 1 < fields.size(); ++n) {
    const auto [begin, name] = fields[n];
    const std::size_t size = fields[n + 1].first - begin;
    for (const std::size_t cut : {begin, begin + size / 2, begin + size - 1}) {
      const std::string told = problemOf(whole.substr(0, cut));
      EXPECT_EQ(told, ", offset " + std::to_string(begin) + ", " + std::string(name) + ": expected " +
                          std::to_string(size) + " bytes from there on, found the end of the file");
    }
  }
}

TEST_F(TensorFileProblem, SaysThatAVersionIsTooNewOrTooOld) {
  std::string newer = bytes();
  newer[0] = static_cast<char>(-18);
  EXPECT_EQ(problemOf(newer), ", offset 0, version: expected -17 or above, found -18");
  EXPECT_EQ(problemOf(bytes(-4)),
            ", offset 0, version: expected -5 or below, found -4, which lacks the distortion of the lenses");
}

TEST_F(TensorFileProblem, SaysThatCamerasCannotBeLocated) {
  EXPECT_EQ(problemOf(bytes(-3), 0, 1), ", projections: a camera has no inverse projection");
  std::swap(content().projections[0], content().projections[1]);
  EXPECT_EQ(problemOf(bytes(-8)), ", projections: camera 0 is not the uppermost");
}

TEST_F(TensorFileProblem, RemarksOnAnIdentifierThatIsSkipped) {
  std::memset(content().distortLutsInfo, 0, sizeof(content().distortLutsInfo));
  std::string file = bytes();
  file.replace(18046, 2, lutEntry(1000, std::string(1000, 'x')));
  EXPECT_EQ(problemOf(file, 1), "");
  ASSERT_NE(qmLastRemark(0), nullptr);
  EXPECT_EQ(qmLastRemark(0)->offset, 18048);
  EXPECT_STREQ(qmLastRemark(0)->part, "LUT identifier of camera 1");
  EXPECT_STREQ(qmLastRemark(0)->found, "1000 bytes");
  EXPECT_EQ(qmLastRemark(1), nullptr);
}

TEST_F(TensorFileProblem, NamesTheIdentifierInWhichTheFileEnds) {
  std::memset(content().distortLutsInfo, 0, sizeof(content().distortLutsInfo));
  std::string file = bytes(-12);
  ASSERT_EQ(file.size(), 18050U);
  EXPECT_EQ(problemOf(file.substr(0, 18047), 1),
            ", offset 18046, LUT identifier of camera 1: expected 2 bytes from there on, found the end of the file");
  file.replace(18046, 2, lutEntry(24, "short"));
  EXPECT_EQ(problemOf(file.substr(0, 18050), 1),
            ", offset 18048, LUT identifier of camera 1: expected 24 bytes from there on, found the end of the file");
}

}  // namespace
