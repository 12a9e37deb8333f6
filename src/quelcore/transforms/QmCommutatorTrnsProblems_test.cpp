// What is told of a list of sets and of the files of a set that do not load.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "quelcore/base/problems_fixture.h"
#include "quelcore/transforms/QmCommutatorTrnsMan.h"
#include "quelcore/transforms/QmCommutatorTrns_fixture.h"
#include "testing/FailingNew.h"

namespace {

using namespace quel::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct OwnManager : QmCommutatorTrnsMan {
  OwnManager() = default;
};

const std::string kSound =
    "<CommutatorTrns currentSequentialID=\"3\" nextSequentialID=\"6\">\n<TrnsSet sequentialID=\"3\"/>\n<TrnsSet "
    "sequentialID=\"5\"/>\n</CommutatorTrns>";

class TransformsProblem : public testing::Test {
 protected:
  /// The problem of a list, of which `sets` are read.
  std::string problemOf(const std::string& text, std::size_t sets) {
    writeFile(list(), text);
    EXPECT_EQ(manager_.loadAllTrnsSets(), sets) << text;
    return lastProblem();
  }

  std::size_t loadSet() {
    set_.clearAllTrns();
    return set_.loadAllTrns(home_.path().u16string().c_str());
  }

  std::filesystem::path list() const { return home_.path() / "CommutatorTrnsManager.xml"; }
  std::filesystem::path left() const { return home_.path() / "3_7_TrackerLeft.trn"; }
  std::filesystem::path right() const { return home_.path() / "3_7_TrackerRight.trn"; }

  TempHome home_;
  OwnManager manager_;
  QmCommutatorTrnsSet set_{3};
};

TEST_F(TransformsProblem, IsThereForNoSoundListAndForNone) {
  EXPECT_NE(problemOf("x", 0), "none");
  EXPECT_EQ(problemOf(kSound, 2), "none");
  EXPECT_THAT(lastRemarks(), IsEmpty());
  std::filesystem::remove(list());
  EXPECT_EQ(manager_.loadAllTrnsSets(), 0u);  // A manager without sets yet.
  EXPECT_EQ(lastProblem(), "none");
}

TEST_F(TransformsProblem, TellsWhyAListCannotBeRead) {
  std::filesystem::create_directory(list());
  EXPECT_EQ(manager_.loadAllTrnsSets(), 0u);
  EXPECT_EQ(lastProblem(), "cannot be read: Access was denied.");
  std::filesystem::remove(list());
  writeFile(list(), kSound);
  std::filesystem::permissions(home_.path(), kOpenToAll);
  std::filesystem::permissions(list(), std::filesystem::perms::none);
  EXPECT_TRUE(holdsAsNobody([this] {
    EXPECT_EQ(manager_.loadAllTrnsSets(), 0u);
    EXPECT_EQ(lastProblem(), "cannot be read: Access was denied.");
  }));
}

TEST_F(TransformsProblem, TellsThePlaceWhereverTheListIsCut) {
  expectEveryXmlCutTold(kSound, [this](const std::string& text) { problemOf(text, 0); });
}

TEST_F(TransformsProblem, SaysThatTheRootOfAListIsAnother) {
  EXPECT_EQ(problemOf("<Others/>", 0), "root: expected CommutatorTrns, found another one");
  EXPECT_STREQ(qmLastProblem()->file, "\\CommutatorTrnsManager.xml");  // In the home directory.
}

TEST_F(TransformsProblem, RemarksOnNumbersThatAreNoneWithTheirPlace) {
  EXPECT_EQ(problemOf("<CommutatorTrns currentSequentialID=\"x\">\n  <TrnsSet/><TrnsSet sequentialID=\"5-\"/>"
                      "</CommutatorTrns>",
                      2),
            "none");
  EXPECT_THAT(
      lastRemarks(),
      ElementsAre("line 1, column 1, CommutatorTrns 1: expected a whole number as currentSequentialID, found \"x\"",
                  "line 1, column 1, CommutatorTrns 1: expected a whole number as nextSequentialID, found \"\"",
                  "line 2, column 3, TrnsSet 1: expected a whole number as sequentialID, found \"\"",
                  "line 2, column 13, TrnsSet 2: expected a whole number as sequentialID, found \"5-\""));
}

TEST_F(TransformsProblem, IsThereForNoSoundSet) {
  writePair(home_.path(), "3_7");
  EXPECT_EQ(loadSet(), 1u);
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_THAT(lastRemarks(), IsEmpty());
}

TEST_F(TransformsProblem, OfASetIsARemarkOnEachFileThatIsMissingOrNone) {
  writeMove(left(), 1.0);
  EXPECT_EQ(loadSet(), 0u);
  EXPECT_THAT(lastRemarks(), ElementsAre("there is no such file"));
  EXPECT_EQ(std::filesystem::path(qmLastRemark(0)->file).filename(),
            home_.path().filename().string() + "\\3_7_TrackerRight.trn");
  writeMove(right(), 1.0);
  const std::string whole = readFile(right());
  for (std::size_t size = 0; size < whole.size(); ++size) {
    writeFile(right(), whole.substr(0, size));
    EXPECT_EQ(loadSet(), 0u);
    EXPECT_THAT(lastRemarks(), ElementsAre("it is no sound transform file")) << size;
    EXPECT_EQ(std::filesystem::path(qmLastRemark(0)->file).filename(),
              home_.path().filename().string() + "\\3_7_TrackerRight.trn");
  }
}

TEST_F(TransformsProblem, OfASetIsARemarkOnANameWithoutASource) {
  writePair(home_.path(), "3_x");
  EXPECT_EQ(loadSet(), 0u);
  EXPECT_THAT(lastRemarks(), ElementsAre("expected a name with the number of its source, found "
                                         "\"3_x_TrackerLeft.trn\""));
}

TEST_F(TransformsProblem, OfExhaustedMemoryIsThat) {
  writeFile(list(), kSound);
  const auto load = [this] { return manager_.loadAllTrnsSets() == 2; };
  const std::int64_t failures = failEachNew(load, [](bool loaded, bool failed) {
    EXPECT_TRUE(loaded || failed);
    if (loaded) {
      EXPECT_EQ(lastProblem(), "none");
    } else {  // A document without the memory to look for an element says that there is none.
      EXPECT_THAT(lastProblem(),
                  testing::AnyOf("memory is exhausted", "none", "root: expected CommutatorTrns, found another one"));
    }
  });
  EXPECT_GT(failures, 3);
}

TEST_F(TransformsProblem, IsEachThreadsOwn) {
  writeFile(list(), "<Others/>");
  expectThreadsApart("root: expected CommutatorTrns, found another one", [this] { manager_.loadAllTrnsSets(); });
}

}  // namespace
