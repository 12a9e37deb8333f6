#include <cstdlib>

#include "quelcore/base/problems_fixture.h"
#include "quelcore/presentation/DeviationColorScheme_fixture.h"
#include "quelcore/presentation/clock.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"

namespace {

using quel::testing::ColorScheme;
using quel::testing::OwnScheme;
using quel::testing::readFile;
using quel::testing::writeFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

/// What stands behind the home directory in the path of the file.
constexpr std::size_t kTail = std::string_view("/legends/DeviationColor.xml").size();

class ColorFile : public ColorScheme {
 protected:
  ColorFile() {
    setenv("TZ", "UTC0", 1);
    tzset();
    quelcore::stopClock(951782400 + 3661);
  }
  ~ColorFile() override {
    quelcore::stopClock(std::nullopt);
    unsetenv("TZ");
    tzset();
  }
};

TEST_F(ColorFile, IsWrittenWithItsHeaderInOrder) {
  OwnScheme scheme;
  scheme.initDefault();
  scheme.add(50, {0x010203, u"a<b"});
  EXPECT_TRUE(scheme.save());
  EXPECT_EQ(readFile(file()),
            "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n"
            "<QuelmetraDataFile VersionProduct=\"1.0\" VersionCreate=\"1.0\" VersionFile=\"1.0\" ComponentType=\"All\" "
            "TimeStamp=\"951786061\" LastUpdate=\"Tue Feb 29 01:01:01 2000\">\r\n"
            "  <DeviationColorTable Version=\"1.0\">\r\n"
            "    <Value Percentage=\"50\" Color=\"66051\" Name=\"a&lt;b\"/>\r\n"
            "    <Value Percentage=\"100\" Color=\"6750108\" Name=\"Within tolerance\"/>\r\n"
            "    <Value Percentage=\"1000\" Color=\"5263615\" Name=\"Out of tolerance\"/>\r\n"
            "  </DeviationColorTable>\r\n"
            "</QuelmetraDataFile>\r\n");
}

TEST_F(ColorFile, StatesTimesBeyond2038In32Bits) {
  quelcore::stopClock(std::time_t{1} << 31);
  EXPECT_TRUE(OwnScheme().save());
  EXPECT_THAT(readFile(file()), HasSubstr("TimeStamp=\"-2147483648\" LastUpdate=\"Tue Jan 19 03:14:08 2038\""));
}

TEST_F(ColorFile, GivesBackWhatWasSaved) {
  OwnScheme scheme;
  scheme.add(0, {0xFFFFFF, u""});
  scheme.add(65535, {0, u"\u00FC \u6E2C \U0001F527"});
  ASSERT_TRUE(scheme.save());
  DeviationColorScheme* read = DeviationColorScheme::GetInstance();
  EXPECT_THAT(entriesOf(*read), ElementsAre(Pair(0, 0xFFFFFFu), Pair(65535, 0u)));
  EXPECT_EQ(read->getColorScheme()->at(65535).name, u"\u00FC \u6E2C \U0001F527");
}

TEST_F(ColorFile, HoldsColoursBeyond31BitsAsNegativeNumbers) {
  OwnScheme scheme;
  scheme.add(5, {0x80000000, u"a"});
  scheme.add(6, {0xFF010203, u"b"});
  ASSERT_TRUE(scheme.save());
  EXPECT_THAT(readFile(file()), HasSubstr("<Value Percentage=\"5\" Color=\"-2147483648\" Name=\"a\"/>"));
  EXPECT_THAT(readFile(file()), HasSubstr("<Value Percentage=\"6\" Color=\"-16711165\" Name=\"b\"/>"));
  EXPECT_THAT(entriesOf(*DeviationColorScheme::GetInstance()), ElementsAre(Pair(5, 0x80000000), Pair(6, 0xFF010203)));
}

// Required: a path is read up to 1023 units long and written up to 259.
TEST_F(ColorFile, IsReadWhereItsPathIsTooLongToWriteIt) {
  const auto inHomeWithPathOf = [&](std::size_t length) {
    std::filesystem::path home = home_.path();
    while (home.native().size() + 201 < length - kTail) home /= std::string(100, 'd');
    home /= std::string(length - kTail - home.native().size() - 1, 'e');
    std::filesystem::create_directories(home / "legends");
    writeFile(home / "legends" / "DeviationColor.xml",
              "<QuelmetraDataFile><DeviationColorTable><Value Percentage=\"7\" Color=\"1\"/></DeviationColorTable>"
              "</QuelmetraDataFile>");
    quelplatform::setHomeDirectory(home.string());
    OwnScheme scheme;
    return std::pair(scheme.load(), scheme.save());
  };
  EXPECT_EQ(inHomeWithPathOf(259), std::pair(true, true));
  EXPECT_EQ(inHomeWithPathOf(260), std::pair(true, false));
  EXPECT_EQ(inHomeWithPathOf(1023), std::pair(true, false));
  EXPECT_EQ(inHomeWithPathOf(1024), std::pair(false, false));
}

TEST_F(ColorFile, CountsInsteadOfTheDefault) {
  writeValues("<Value Percentage=\"7\" Color=\"9\" Name=\"n\"/>");
  EXPECT_THAT(entriesOf(*DeviationColorScheme::GetInstance()), ElementsAre(Pair(7, 9u)));
}

TEST_F(ColorFile, KeepsTheFirstOfTwoEntriesOfOnePercentage) {
  writeValues(
      "<Value Percentage=\"7\" Color=\"1\" Name=\"first\"/><Value Percentage=\"7\" Color=\"2\" Name=\"second\"/>");
  DeviationColorScheme* scheme = DeviationColorScheme::GetInstance();
  EXPECT_THAT(entriesOf(*scheme), ElementsAre(Pair(7, 1u)));
  EXPECT_EQ(scheme->getColorScheme()->at(7).name, u"first");
}

TEST_F(ColorFile, LooksAtNoAttributeOfItsHeader) {
  writeTable(
      "<QuelmetraDataFile VersionFile=\"99\"><Other/><DeviationColorTable Version=\"x\"><Other/>"
      "<Value Percentage=\"7\" Color=\"1\"/></DeviationColorTable></QuelmetraDataFile>");
  EXPECT_THAT(entriesOf(*DeviationColorScheme::GetInstance()), ElementsAre(Pair(7, 1u)));
}

TEST_F(ColorFile, ReadsNumbersAsFarAsTheyGo) {
  writeValues(
      "<Value Percentage=\" 12x\" Color=\"-1\"/><Value Percentage=\"x\" Color=\"5\"/><Value Percentage=\"65546\" "
      "Color=\"99999999999\"/>");
  EXPECT_THAT(entriesOf(*DeviationColorScheme::GetInstance()),
              ElementsAre(Pair(0, 5u), Pair(10, 2147483647u), Pair(12, 4294967295u)));
}

// Required: a bad file gives an empty table first and the default next.
TEST_F(ColorFile, ThatIsBadGivesAnEmptyTableFirstAndTheDefaultNext) {
  for (const char* text :
       {"", "<QuelmetraDataFile", "<Other/>", "<QuelmetraDataFile/>",
        "<Other><DeviationColorTable><Value Percentage=\"7\" Color=\"1\"/></DeviationColorTable></Other>",
        "<QuelmetraDataFile><DeviationColorTable/></QuelmetraDataFile>"}) {
    DeviationColorScheme::FreeInstance();
    writeTable(text);
    DeviationColorScheme* scheme = DeviationColorScheme::GetInstance();
    EXPECT_THAT(entriesOf(*scheme), IsEmpty()) << text;
    EXPECT_EQ(DeviationColorScheme::GetInstance(), scheme);
    EXPECT_EQ(scheme->getDevLevelNum(), 2) << text;
    OwnScheme own;
    EXPECT_TRUE(own.load()) << text;
    EXPECT_TRUE(own.init());
    EXPECT_THAT(entriesOf(own), IsEmpty());
  }
}

TEST_F(ColorFile, JoinsWhatIsThereWhenLoadedAndTakesItsPlaceAtTheStart) {
  writeValues("<Value Percentage=\"7\" Color=\"1\"/><Value Percentage=\"9\" Color=\"2\"/>");
  OwnScheme scheme;
  scheme.add(9, {3, u""});
  scheme.add(11, {4, u""});
  EXPECT_TRUE(scheme.load());
  EXPECT_THAT(entriesOf(scheme), ElementsAre(Pair(7, 1u), Pair(9, 3u), Pair(11, 4u)));
  EXPECT_TRUE(scheme.init());
  EXPECT_THAT(entriesOf(scheme), ElementsAre(Pair(7, 1u), Pair(9, 2u)));
  EXPECT_TRUE(scheme.initDefault());
  EXPECT_THAT(entriesOf(scheme), ElementsAre(Pair(100, 6750108u), Pair(1000, 5263615u)));
}

TEST_F(ColorFile, ThatIsAbsentIsNotLoaded) {
  OwnScheme scheme;
  EXPECT_FALSE(scheme.load());
  EXPECT_TRUE(scheme.init());
  EXPECT_EQ(scheme.getDevLevelNum(), 2);
}

TEST_F(ColorFile, StaysWhenItCannotBeReplaced) {
  OwnScheme scheme;
  scheme.initDefault();
  std::filesystem::create_directories(file());
  EXPECT_FALSE(scheme.save());
  std::filesystem::remove(file());
  EXPECT_TRUE(scheme.save());
  const std::string before = readFile(file());
  scheme.add(5, {0, u"a\u0001b"});  // Nothing that XML can hold.
  EXPECT_FALSE(scheme.save());
  EXPECT_EQ(readFile(file()), before);
}

TEST_F(ColorFile, WritesAHeaderThatTheCursorStaysOn) {
  CMarkupSTL xml;
  EXPECT_TRUE(OwnScheme().writeHeader(xml));
  EXPECT_EQ(xml.GetTagName(), u"QuelmetraDataFile");
  EXPECT_EQ(xml.GetAttrib(u"ComponentType"), u"All");
}

using quel::testing::lastProblem;
using quel::testing::lastRemarks;

TEST_F(ColorFile, TellsWhyItGivesNoEntries) {
  const auto problemOf = [&](const std::string& text) {
    writeTable(text);
    OwnScheme scheme;
    EXPECT_TRUE(scheme.load());
    EXPECT_EQ(scheme.getDevLevelNum() == 0, lastProblem() != "none");
    return lastProblem();
  };
  EXPECT_THAT(problemOf("<a"), testing::StartsWith("line 1, column "));
  EXPECT_EQ(problemOf("<a/>"), "root: expected QuelmetraDataFile, found another one");
  EXPECT_EQ(problemOf("<QuelmetraDataFile/>"), "QuelmetraDataFile: expected DeviationColorTable, found none");
  EXPECT_EQ(problemOf("<QuelmetraDataFile><DeviationColorTable/></QuelmetraDataFile>"),
            "DeviationColorTable: expected Value, found none");
  EXPECT_EQ(problemOf("<QuelmetraDataFile><DeviationColorTable><Value Percentage='1' Color='2' Name='a'/>"
                      "</DeviationColorTable></QuelmetraDataFile>"),
            "none");
  EXPECT_THAT(lastRemarks(), IsEmpty());
}

TEST_F(ColorFile, IsNoProblemWhereItIsNotThere) {
  EXPECT_NE(DeviationColorScheme::GetInstance(), nullptr);
  EXPECT_EQ(lastProblem(), "none");
}

TEST_F(ColorFile, IsCheckedWithLineAndColumnOfEachValue) {
  writeTable(
      "<QuelmetraDataFile>\n<DeviationColorTable>\n"
      "<Value Percentage=\"01\" Color=\"1\" Name=\"a\"/><Value Percentage=\"1\" Color=\"1\" Name=\"a\"/>\n"
      "  <Value Percentage=\"65536\" Color=\"x\"/>\n</DeviationColorTable>\n</QuelmetraDataFile>");
  EXPECT_TRUE(qmDeviationColorFileCheck(home_.wide("legends/DeviationColor.xml").c_str()));
  EXPECT_THAT(lastRemarks(),
              ElementsAre("line 3, column 44, Value 2: expected a percentage that no earlier Value has, found 1",
                          "line 4, column 3, Value 3: expected Percentage from 0 to 65535, found \"65536\"",
                          "line 4, column 3, Value 3: expected Color from 0 to 16777215, found \"x\"",
                          "line 4, column 3, Value 3: expected Name, found none"));
}

TEST_F(ColorFile, IsNoLegendWithOneValue) {
  const std::u16string path = home_.wide("legends/DeviationColor.xml");
  writeValues("<Value Percentage=\"1\" Color=\"1\" Name=\"a\"/>");
  EXPECT_FALSE(qmDeviationColorFileCheck(path.c_str()));
  EXPECT_EQ(lastProblem(), "DeviationColorTable: expected two or more, as a legend needs, found one Value");
  EXPECT_FALSE(qmDeviationColorFileCheck(home_.wide("absent").c_str()));
  EXPECT_NE(lastProblem(), "none");
}

}  // namespace
