#include "quelplatform/qmEnv/qmMessageTable.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "quelplatform/qmEnv/qmLog.h"
#include "quelplatform/qmEnv/qmText.h"

namespace {

using quelplatform::messageTable;
using quelplatform::messageText;

constexpr std::uint32_t kCodes[] = {
    0xC4010026, 0xC404000D, 0xC4040066, 0xC4040067, 0xC4060001, 0xC4060002, 0xC4060003, 0xC4060004,
    0xC4060005, 0xC4060006, 0xC4060007, 0xC4060008, 0xC4060009, 0xC4070002, 0xC4070003, 0xC4070004,
    0xC4070005, 0xC4070006, 0xC4070007, 0xC4070009, 0xC407000A, 0xC4070010, 0xC4070011, 0xC4070020,
    0xC4070047, 0xC4070065, 0xC4070066, 0xC4070068, 0xC4070069, 0xC407006A, 0xC407006B, 0xC41D0001,
    0xC41D0002, 0xC41D0006, 0xC41D0007, 0xC43D0001, 0xC43D0003, 0xC43D001E, 0xC43D0030, 0xC43D0324,
};

TEST(messageTable, HoldsEveryCodeOfTheSystemOnceInAscendingOrder) {
  std::vector<std::uint32_t> codes;
  for (const auto& message : messageTable()) codes.push_back(message.code);
  EXPECT_EQ(codes, std::vector<std::uint32_t>(std::begin(kCodes), std::end(kCodes)));
}

TEST(messageTable, HasADifferentTextForEveryCode) {
  std::set<std::string_view> texts;
  for (const auto& message : messageTable()) {
    EXPECT_FALSE(message.text.empty());
    texts.insert(message.text);
  }
  EXPECT_EQ(texts.size(), messageTable().size());
}

TEST(messageText, FillsThePlacesInTheirOwnOrder) {
  EXPECT_EQ(messageText(0xC43D0030, {"load", "/a.tns", "5", "Input/output error"}),
            "load: the file '/a.tns' could not be read or written: Input/output error (error 5). (0xC43D0030)");
}

TEST(messageText, ShowsMissingAndSurplusArguments) {
  EXPECT_EQ(messageText(0xC43D001E, {}), "The file '?' could not be loaded. (0xC43D001E)");
  EXPECT_EQ(messageText(0xC43D001E, {"a", "b", "c"}), "The file 'a' could not be loaded. [b, c] (0xC43D001E)");
}

TEST(messageText, FillsNoPlacesThatAnArgumentBrings) {
  EXPECT_EQ(messageText(0xC4010026, {"%2", "why"}), "The file '%2' could not be copied: why (0xC4010026)");
}

TEST(messageText, SaysSoForAnUnknownCode) {
  EXPECT_EQ(messageText(0xC4FF1234, {}), "There is no text for this message. (0xC4FF1234)");
  EXPECT_EQ(messageText(0xFFFFFFFF, {"x"}), "There is no text for this message. [x] (0xFFFFFFFF)");
}

TEST(messageText, TakesSmallCodesForErrorsOfTheSystem) {
  EXPECT_EQ(messageText(112, {}), "There is not enough room on the disk. (112)");
  EXPECT_EQ(messageText(54321, {}), "The operating system reported error 54321. (54321)");
}

TEST(QmFormatMessageW, HasATextWithoutALineEndForEveryNumber) {
  EXPECT_EQ(QmFormatMessageW(2), u"The file was not found.");
  EXPECT_EQ(QmFormatMessageW(5), u"Access was denied.");
  for (std::uint32_t code = 0; code < 2000; ++code) {
    const std::string text = toNarrow(QmFormatMessageW(code));
    ASSERT_FALSE(text.empty()) << code;
    ASSERT_EQ(text.find('\n'), std::string::npos) << code;
  }
}

}  // namespace
