#include "quelcore/tensor/DistortLuts.h"

#include <gtest/gtest.h>

#include "quelplatform/qmDistort/qmDistortEmbedded.h"
#include "testing/RecordingLog.h"

namespace {

using quel::testing::Line;
using quel::testing::RecordingLog;
using quelplatform::distortLutsReferences;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DistortLutsTest : public ::testing::Test {
 protected:
  ~DistortLutsTest() override { releaseAllDistortLuts(); }
};

TEST_F(DistortLutsTest, AreCreatedOnceAndCounted) {
  const tag_qmDistortLuts* first = nullptr;
  const tag_qmDistortLuts* second = nullptr;
  EXPECT_EQ(addDistortLuts("A", &first), 1);
  EXPECT_EQ(addDistortLuts("A", &second), 1);
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(first, second);
  EXPECT_EQ(distortLutsReferences("A"), 2);
}

TEST_F(DistortLutsTest, AreHandedOutWithAReferenceWhereTheyExist) {
  const tag_qmDistortLuts* made = nullptr;
  const tag_qmDistortLuts* found = nullptr;
  ASSERT_EQ(addDistortLuts("A", &made), 1);
  EXPECT_EQ(getExistDistortLuts("A", &found), 1);
  EXPECT_EQ(found, made);
  EXPECT_EQ(distortLutsReferences("A"), 2);
}

TEST_F(DistortLutsTest, ThatDoNotExistAreNull) {
  const tag_qmDistortLuts dummy = {};
  const tag_qmDistortLuts* found = &dummy;
  const RecordingLog log;
  EXPECT_EQ(getExistDistortLuts("nobody", &found), 0);
  EXPECT_EQ(found, nullptr);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(DistortLutsTest, OfANullIdentifierAreNullWithOneLine) {
  const tag_qmDistortLuts dummy = {};
  for (const auto call : {addDistortLuts, getExistDistortLuts}) {
    const tag_qmDistortLuts* out = &dummy;
    const RecordingLog log;
    EXPECT_EQ(call(nullptr, &out), 0);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(call(nullptr, nullptr), 0);
    EXPECT_THAT(log.records(),
                ElementsAre(Line(5, "DistortLuts", "NULL luId pointer"), Line(5, "DistortLuts", "NULL luId pointer")));
  }
}

TEST_F(DistortLutsTest, CountReferencesByTableAndByName) {
  const tag_qmDistortLuts* luts = nullptr;
  ASSERT_EQ(addDistortLuts("A", &luts), 1);
  distortLutsAddRef(luts);
  EXPECT_EQ(distortLutsReferences("A"), 2);
  distortLutsReleaseRef(luts);
  EXPECT_EQ(distortLutsReferences("A"), 1);
  removeDistortLuts("A");
  EXPECT_EQ(distortLutsReferences("A"), 0);
}

TEST_F(DistortLutsTest, LeaveNullAndUnknownAlone) {
  distortLutsAddRef(nullptr);
  distortLutsReleaseRef(nullptr);
  removeDistortLuts(nullptr);
  removeDistortLuts("nobody");
  EXPECT_EQ(distortLutsReferences("nobody"), -1);
}

TEST_F(DistortLutsTest, AreAllFreedAtOnce) {
  const tag_qmDistortLuts* luts = nullptr;
  ASSERT_EQ(addDistortLuts("A", &luts), 1);
  ASSERT_EQ(addDistortLuts("B", &luts), 1);
  releaseAllDistortLuts();
  EXPECT_EQ(distortLutsReferences("A"), -1);
  EXPECT_EQ(distortLutsReferences("B"), -1);
}

}  // namespace
