// What is told of setup maps, of listings of projects and of lines of setups that lack something.
#include "quelcore/base/problems_fixture.h"
#include "quelcore/project/QmProjectInfo.h"
#include "quelcore/project/QmSetupInfo.h"
#include "quelcore/project/QmSetupNumbersManager_fixture.h"
#include "testing/FailingNew.h"

namespace {

using namespace quel::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// --- The setup map -------------------------------------------------------------------------------------------------

class SetupMapProblem : public quelcore::testing::SetupMap {
 protected:
  std::vector<std::string> remarksOn(const std::string& content) const {
    read(content);
    EXPECT_EQ(lastProblem(), "none") << content;
    return lastRemarks();
  }
};

TEST_F(SetupMapProblem, IsThereForNoSoundFile) {
  QmSetupNumbersManager numbers;
  EXPECT_EQ(numbers.Initialize(), SETUPNUM_E_FILE);
  EXPECT_NE(lastProblem(), "none");
  EXPECT_THAT(remarksOn("5 6 a\r\n-7\t8  b\n"), IsEmpty());
  EXPECT_THAT(remarksOn(""), IsEmpty());
}

TEST_F(SetupMapProblem, TellsWhyAFileCannotBeOpened) {
  expectUnreadableTold(file(), kUnopened, [] {
    QmSetupNumbersManager numbers;
    EXPECT_EQ(numbers.Initialize(), SETUPNUM_E_FILE);
  });
}

TEST_F(SetupMapProblem, IsARemarkWhereverTheFileIsCut) {
  const std::string whole = "17 3 a\n5 61 b";
  for (std::size_t size = 8; size < whole.size(); ++size) {
    const std::string text = whole.substr(0, size);
    const std::string kept = text.substr(7);
    const std::vector<std::string> remarks = remarksOn(text);
    const char* part = kept.size() < 3 ? "cycle number" : "path";
    EXPECT_THAT(remarks, ElementsAre(placeBehind(text) + ", " + part + ": nothing, so that of the line before counts"));
  }
  EXPECT_THAT(remarksOn(whole), IsEmpty());
}

TEST_F(SetupMapProblem, IsARemarkOnEachNumberThatIsNone) {
  EXPECT_THAT(remarksOn("1 1 a\n  x 2b c\n\n"),
              ElementsAre("line 2, column 3, setup number: expected a whole number, found \"x\"",
                          "line 2, column 5, cycle number: expected a whole number, found \"2b\"",
                          "line 3, column 2, setup number: nothing, so that of the line before counts"));
}

TEST_F(SetupMapProblem, OfExhaustedMemoryIsThat) {
  writeMap("1 1 a/very/long/path/that/takes/memory/of/its/own\n");
  const auto initialize = [] {
    QmSetupNumbersManager numbers;
    return numbers.Initialize();
  };
  const std::int64_t failures = failEachNew(initialize, [](std::int32_t status, bool failed) {
    EXPECT_TRUE(status == 0 || failed);
    if (status == 0) {
      EXPECT_EQ(lastProblem(), "none");
    } else {
      EXPECT_THAT(lastProblem(), testing::AnyOf("memory is exhausted", "its path is too long, or memory is exhausted"));
    }
  });
  EXPECT_GT(failures, 1);
}

TEST_F(SetupMapProblem, IsEachThreadsOwn) {
  expectThreadsApart("there is no such file", [] {
    QmSetupNumbersManager numbers;
    numbers.Initialize();
  });
}

// --- Listings of projects --------------------------------------------------------------------------------------------

std::string listingProblem(const std::string& text) {
  QmProjectInfo info;
  EXPECT_TRUE(info.InitByXMLHeader(toWide(text).c_str(), QmProjectInfo::FS_SETUP));
  return lastProblem();
}

const std::string kListing =
    "<list>\n<dir name=\"P\">\n<dir name=\"Q\">\n<dir name=\"s1\"/><dir name=\"s2\"/></dir></dir></list>";

TEST(ProjectListingProblem, IsThereForNoSoundListing) {
  EXPECT_NE(listingProblem("x"), "none");
  EXPECT_EQ(listingProblem(kListing), "none");
  EXPECT_THAT(lastRemarks(), IsEmpty());
}

TEST(ProjectListingProblem, TellsThePlaceWhereverTheTextIsCut) {
  for (std::size_t size = 1; size < kListing.size(); ++size) {
    const std::string place = placeOfXmlCut(kListing, size) + ": ";
    EXPECT_EQ(listingProblem(kListing.substr(0, size)).substr(0, place.size()), place) << size;
  }
}

TEST(ProjectListingProblem, NamesTheLevelThatLacksAName) {
  EXPECT_EQ(listingProblem("<list/>"), "project: expected dir, found none");
  EXPECT_STREQ(qmLastProblem()->file, "");
  EXPECT_EQ(listingProblem("<list><dir/></list>"), "dir of the project: expected name, found none");
  EXPECT_EQ(listingProblem("<list><dir name='P'><dir/></dir></list>"), "dir of the part: expected name, found none");
}

TEST(ProjectListingProblem, IsARemarkOnASetupWithoutAName) {
  EXPECT_EQ(listingProblem("<list><dir name='P'><dir name='Q'><dir name='s'/><dir/></dir></dir></list>"), "none");
  EXPECT_THAT(lastRemarks(), ElementsAre("dir of setup 2: expected name, found none"));
}

TEST(ProjectListingProblem, IsEachThreadsOwn) {
  expectThreadsApart("project: expected dir, found none", [] { listingProblem("<list/>"); });
}

// --- Lines of setups -------------------------------------------------------------------------------------------------

std::string lineProblem(const std::u16string& line) {
  QmSetupInfo info;
  const bool filled = info.FillByStream(line.c_str());
  EXPECT_EQ(filled, qmLastProblem() == nullptr);
  return lastProblem();
}

TEST(SetupLineProblem, IsThereForNoSoundLine) {
  const TempHome home;
  EXPECT_NE(lineProblem(u"x"), "none");
  for (const char16_t* line : {u"P:Q:S:D:\\x", u"P:Q:S:", u""}) EXPECT_EQ(lineProblem(line), "none");
  EXPECT_THAT(lastRemarks(), IsEmpty());
}

TEST(SetupLineProblem, NamesTheColumnWhereverTheLineIsCut) {
  const TempHome home;
  const std::string whole = "Pro:Pa:S:R";
  for (std::size_t size = 1; size < 9; ++size) {
    const std::string text = whole.substr(0, size);
    const std::size_t colons = static_cast<std::size_t>(std::count(text.begin(), text.end(), ':'));
    const std::size_t begin = text.rfind(':') + 1;
    const char* const names[] = {"project", "part", "setup"};
    EXPECT_EQ(lineProblem(toWide(text)), "line 1, column " + std::to_string(begin + 1) + ", " + names[colons] +
                                             ": expected a name of 1 to 259 units and a colon, found \"" +
                                             text.substr(begin) + "\"");
  }
}

TEST(SetupLineProblem, CitesTheBeginningOfANameThatIsTooLong) {
  const TempHome home;
  EXPECT_EQ(
      lineProblem(u"P:" + std::u16string(260, u'q') + u":S:R"),
      "line 1, column 3, part: expected a name of 1 to 259 units and a colon, found \"" + std::string(40, 'q') + "\"");
}

TEST(SetupLineProblem, OfExhaustedMemoryIsThat) {
  const TempHome home;
  const std::u16string line = std::u16string(50, u'p') + u":" + std::u16string(50, u'q') + u":s:r";
  const auto fill = [&] { return QmSetupInfo().FillByStream(line.c_str()); };
  const std::int64_t failures = failEachNew(fill, [](bool filled, bool failed) {
    EXPECT_TRUE(filled || failed);
    EXPECT_EQ(lastProblem(), filled ? "none" : "memory is exhausted");
  });
  EXPECT_GT(failures, 2);
}

}  // namespace
