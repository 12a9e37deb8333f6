// Characters are looked at eight at a time; every byte at every place must be seen as if each were looked at alone.
#include "quelplatform/ground/xml/xmlCharacters.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using quelplatform::firstNoXmlCharacter;
using quelplatform::xmlNameLength;

constexpr std::size_t kPlaces = 20;

bool isAsciiOfXml(unsigned char byte) {
  return byte == '\t' || byte == '\n' || byte == '\r' || (byte >= ' ' && byte < 0x80);
}

TEST(FirstNoXmlCharacter, FindsEveryByteThatIsNoneAtEveryPlace) {
  for (int byte = 0; byte < 256; ++byte) {
    for (std::size_t place = 0; place < kPlaces; ++place) {
      std::string text(kPlaces, 'x');
      text[place] = static_cast<char>(byte);
      const bool isOne = isAsciiOfXml(static_cast<unsigned char>(byte));
      EXPECT_EQ(firstNoXmlCharacter(text), isOne ? kPlaces : place) << byte;
    }
  }
}

TEST(FirstNoXmlCharacter, FindsTheFirstOfSeveralAndGoesOnBehindLetters) {
  EXPECT_EQ(firstNoXmlCharacter("\xC3\xA4\t\n\r abcdefgh\xE6\xB8\xAC\x01ijklmnop\x02"), 17u);
  EXPECT_EQ(firstNoXmlCharacter("abcdefgh\xC3"), 8u);
  EXPECT_EQ(firstNoXmlCharacter("abcdefgh\x7F\xEF\xBF\xBD"), 12u);
  EXPECT_EQ(firstNoXmlCharacter("abcdefgh\xEF\xBF\xBE"), 8u);
}

TEST(FirstNoXmlCharacter, LooksAtNothingBehindTheText) {
  for (std::size_t size = 0; size <= kPlaces; ++size) {
    for (const char behind : {'x', '\x01', '\x80'}) {
      const std::string memory = std::string(size, 'x') + std::string(kPlaces, behind);
      EXPECT_EQ(firstNoXmlCharacter(std::string_view(memory).substr(0, size)), size);
    }
  }
}

TEST(XmlNameLength, EndsAtWhatNamesDoNotHave) {
  EXPECT_EQ(xmlNameLength(""), 0u);
  EXPECT_EQ(xmlNameLength("a>"), 1u);
  EXPECT_EQ(xmlNameLength("a-1.b:_ c"), 7u);
  EXPECT_EQ(xmlNameLength("1a"), 0u);
  EXPECT_EQ(xmlNameLength("-a"), 0u);
  EXPECT_EQ(xmlNameLength("\xC3\xA4"
                          "1>"),
            3u);
  EXPECT_EQ(xmlNameLength("a\xC3\xA4=\xC3\xA4"), 3u);
  EXPECT_EQ(xmlNameLength("a\xC2\xB7"
                          "b"),
            4u);  // a middle dot, which does not begin a name
  EXPECT_EQ(xmlNameLength("\xC2\xB7"
                          "b"),
            0u);
  EXPECT_EQ(xmlNameLength("a\xC3\x97"
                          "b"),
            1u);  // a multiplication sign
}

}  // namespace
