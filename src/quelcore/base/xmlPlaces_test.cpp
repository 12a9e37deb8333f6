#include "quelcore/base/xmlPlaces.h"

#include <gmock/gmock.h>

#include "testing/TempHome.h"

namespace {

using quel::testing::TempDir;
using quel::testing::TempHome;
using quel::testing::writeFile;
using quelcore::Place;
using quelcore::placeOfElement;

constexpr std::u16string_view kPath[] = {u"Root", u"Table", u"Value"};

std::pair<int, int> placeOf(std::u16string_view text, int number) {
  const Place place = placeOfElement(text, kPath, number);
  EXPECT_EQ(place.offset, -1);
  return {place.line, place.column};
}

using At = std::pair<int, int>;

TEST(placeOfElement, FindsLineAndColumnOfTheNumberedElement) {
  const std::u16string_view text = u"<?xml version='1.0'?>\n<Root><Table>\n  <Value a='>'/><Value/>\n<Value></Value>";
  EXPECT_EQ(placeOf(text, 1), At(3, 3));
  EXPECT_EQ(placeOf(text, 2), At(3, 17));
  EXPECT_EQ(placeOf(text, 3), At(4, 1));
  EXPECT_EQ(placeOf(text, 4), At(0, 0));
}

TEST(placeOfElement, LooksIntoTheFirstElementsOfThePathOnly) {
  EXPECT_EQ(placeOf(u"<Root><Value/><Other><Table><Value/></Table></Other><Table x='1'><Value/></Table></Root>", 1),
            At(1, 66));
  EXPECT_EQ(placeOf(u"<Root><Table/><Table><Value/></Table></Root>", 1), At(0, 0));
  EXPECT_EQ(placeOf(u"<Root><Table><Other><Value/></Other><Value><Value/></Value><Value\n/></Table></Root>", 2),
            At(1, 60));
  EXPECT_EQ(placeOf(u"<Other><Table><Value/></Table></Other>", 1), At(0, 0));
}

TEST(placeOfElement, PassesOverCommentsSectionsAndInstructions) {
  EXPECT_EQ(placeOf(u"<!--<Root>--><Root><Table><![CDATA[<Value/>]]><?p <Value/>?><Value/></Table></Root>", 1),
            At(1, 61));
}

TEST(placeOfElement, FindsNothingInTextThatIsCutAnywhere) {
  const std::u16string whole = u"<!--a--><Root><?b?><Table a=\"b\"><![CDATA[c]]><Value/>";
  for (std::size_t size = 0; size < whole.find(u"<Value"); ++size)
    EXPECT_EQ(placeOf(whole.substr(0, size), 1), At(0, 0));
}

class XmlElementTest : public ::testing::Test {
 protected:
  At remarkAt(const std::string& bytes) {
    writeFile(dir_.path() / "a.xml", bytes);
    quelcore::beginReading(u"a.xml");
    const std::u16string path = dir_.wide("a.xml");
    quelcore::XmlElement{path.c_str(), kPath, 1}.remark("x");
    const QmProblem* remark = qmLastRemark(0);
    EXPECT_NE(remark, nullptr);
    EXPECT_STREQ(remark->part, "Value 1");
    return {remark->line, remark->column};
  }

  TempHome home_;
  TempDir dir_;
};

TEST_F(XmlElementTest, HasItsPlaceInFilesOfEveryEncoding) {
  const std::pair<std::string, At> texts[] = {{"<Root>\n<Table><Value/></Table></Root>", At(2, 8)},
                                              {"<Root><Table><Value/></Table></Root>", At(1, 14)}};
  for (const auto& [text, place] : texts) {
    std::string low = "\xFF\xFE", high = "\xFE\xFF";
    for (const char c : text) {
      low += {c, '\0'};
      high += {'\0', c};
    }
    for (const std::string& bytes : {text, "\xEF\xBB\xBF" + text, low, high}) EXPECT_EQ(remarkAt(bytes), place);
  }
}

TEST_F(XmlElementTest, HasNoPlaceInAFileThatIsNotThere) {
  quelcore::beginReading(u"a.xml");
  quelcore::XmlElement{u"/nowhere/a.xml", kPath, 1}.remark("x");
  ASSERT_NE(qmLastRemark(0), nullptr);
  EXPECT_EQ(qmLastRemark(0)->line, 0);
}

}  // namespace
