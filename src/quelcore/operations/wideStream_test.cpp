#include "quelcore/operations/wideStream.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>

#include "testing/Numbers.h"

namespace {

using quel::testing::SameBits;
using quel::testing::testRandom;
using quelcore::extractInteger;
using quelcore::extractReal;
using quelcore::extractToken;
using quelcore::insertInteger;
using quelcore::insertReal;
using quelcore::insertText;
using quelcore::WideIStream;
using quelcore::WideOStream;

// A stream buffer on text in memory.
class TextBuf : public std::basic_streambuf<char16_t> {
 public:
  explicit TextBuf(std::u16string text) : text_(std::move(text)) {
    setg(text_.data(), text_.data(), text_.data() + text_.size());
  }
  std::size_t position() const { return static_cast<std::size_t>(gptr() - eback()); }

 private:
  std::u16string text_;
};

// A stream buffer that keeps what is written.
class KeepBuf : public std::basic_streambuf<char16_t> {
 public:
  std::u16string kept;

 protected:
  int_type overflow(int_type unit) override {
    kept += traits_type::to_char_type(unit);
    return unit;
  }
};

template <typename Value>
struct Extracted {
  Value value;
  std::ios_base::iostate state;
  std::size_t position;  // Only where the stream has not come to its end.
};

// What the standard library extracts from the same text as narrow characters.
template <typename Value>
Extracted<Value> standard(const std::string& text) {
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  Value value{};
  in >> value;
  const auto state = in.rdstate();
  in.clear();
  return {value, state, static_cast<std::size_t>(in.tellg())};
}

template <typename Value, typename Extract>
Extracted<Value> ours(const std::string& text, Extract extract) {
  TextBuf buffer(std::u16string(text.begin(), text.end()));
  WideIStream in(&buffer);
  Value value{};
  extract(in, value);
  return {value, in.rdstate(), buffer.position()};
}

const char* const kTexts[] = {"",
                              " ",
                              "7",
                              "7 ",
                              " \t\n\v\f\r7 ",
                              "+7 ",
                              "-7 ",
                              "+-7 ",
                              "x",
                              "7x",
                              "2147483647 ",
                              "2147483648 ",
                              "-2147483648 ",
                              "-2147483649 ",
                              "99999999999999999999 ",
                              "-",
                              "+ ",
                              "007 ",
                              "1.5 ",
                              ".5 ",
                              "5. ",
                              ". ",
                              "1e3 ",
                              "1E+3 ",
                              "1e-3 ",
                              "1e ",
                              "1e+ ",
                              "e5 ",
                              "1.2.3 ",
                              "-0 ",
                              "-0.0 ",
                              "1e308 ",
                              "1e400 ",
                              "-1e400 ",
                              "inf ",
                              "nan "};

TEST(WideExtraction, OfIntegersIsThatOfTheStandardLibrary) {
  for (const char* text : kTexts) {
    const auto expected = standard<std::int32_t>(text);
    const auto got = ours<std::int32_t>(text, extractInteger);
    EXPECT_EQ(got.value, expected.value) << '"' << text << '"';
    EXPECT_EQ(got.state, expected.state) << '"' << text << '"';
    EXPECT_EQ(got.position, (got.state & std::ios_base::failbit) ? got.position : expected.position) << text;
  }
}

TEST(WideExtraction, OfRealsIsThatOfTheStandardLibrary) {
  for (const char* text : kTexts) {
    const auto expected = standard<double>(text);
    const auto got = ours<double>(text, extractReal);
    EXPECT_THAT(got.value, SameBits(expected.value)) << '"' << text << '"';
    EXPECT_EQ(got.state, expected.state) << '"' << text << '"';
    EXPECT_EQ(got.position, (got.state & std::ios_base::failbit) ? got.position : expected.position) << text;
  }
}

TEST(WideExtraction, OfTokensIsThatOfTheStandardLibrary) {
  for (const char* text : kTexts) {
    const auto expected = standard<std::string>(text);
    const auto got = ours<std::u16string>(text, extractToken);
    EXPECT_EQ(std::string(got.value.begin(), got.value.end()), expected.value) << '"' << text << '"';
    EXPECT_EQ(got.state, expected.state) << '"' << text << '"';
  }
}

TEST(WideExtraction, OfRandomTextIsThatOfTheStandardLibrary) {
  auto random = testRandom();
  const std::string alphabet = "0123456789012345678901234567890123456789+-.eE  \tx";
  for (int round = 0; round < 200000; ++round) {
    std::string text(random() % 12, ' ');
    for (char& unit : text) unit = alphabet[random() % alphabet.size()];
    const auto real = ours<double>(text, extractReal);
    const auto expectedReal = standard<double>(text);
    ASSERT_THAT(real.value, SameBits(expectedReal.value)) << '"' << text << '"';
    ASSERT_EQ(real.state, expectedReal.state) << '"' << text << '"';
    const auto integer = ours<std::int32_t>(text, extractInteger);
    const auto expectedInteger = standard<std::int32_t>(text);
    ASSERT_EQ(integer.value, expectedInteger.value) << '"' << text << '"';
    ASSERT_EQ(integer.state, expectedInteger.state) << '"' << text << '"';
  }
}

TEST(WideExtraction, TellsTooSmallFromTooLargeWhateverTheForm) {
  const auto zeros = std::string(400, '0');
  const auto real = [](const std::string& text) { return ours<double>(text, extractReal); };
  EXPECT_EQ(real("0." + zeros + "1 ").value, 0.0);
  EXPECT_EQ(real("0." + zeros + "1 ").state, std::ios_base::goodbit);
  EXPECT_THAT(real("-1e-99999999999999999999 ").value, SameBits(-0.0));
  EXPECT_EQ(real("1" + zeros + " ").value, std::numeric_limits<double>::max());
  EXPECT_EQ(real("1" + zeros + " ").state, std::ios_base::failbit);
  EXPECT_EQ(real("1" + zeros + "e-10 ").value, std::numeric_limits<double>::max());
  EXPECT_EQ(real("1e99999999999999999999 ").value, std::numeric_limits<double>::max());
  EXPECT_EQ(real("0." + zeros + "1e401 ").value, 1.0);
  // Exponents at the ends of 64 bits.
  EXPECT_EQ(real("1e9223372036854775807 ").value, std::numeric_limits<double>::max());
  EXPECT_EQ(real("1e9223372036854775807 ").state, std::ios_base::failbit);
  EXPECT_EQ(real("1e9223372036854775806 ").state, std::ios_base::failbit);
  EXPECT_THAT(real("-0.001e-9223372036854775808 ").value, SameBits(-0.0));
  EXPECT_EQ(real("0.001e-9223372036854775808 ").state, std::ios_base::goodbit);
}

TEST(WideExtraction, TakesUnitsBeyondAsciiForNoBlanksAndNoDigits) {
  TextBuf buffer(u"a\u00A0b\u3000c\u2003 d");
  WideIStream in(&buffer);
  std::u16string token;
  extractToken(in, token);
  EXPECT_EQ(token, u"a\u00A0b\u3000c\u2003");
  TextBuf digits(u"\u0663 ");
  WideIStream second(&digits);
  std::int32_t value = 5;
  extractInteger(second, value);
  EXPECT_TRUE(second.fail());
  EXPECT_EQ(value, 0);
}

TEST(WideExtraction, FailsOnAStreamThatIsNotGood) {
  TextBuf buffer(u"7 ");
  WideIStream in(&buffer);
  in.setstate(std::ios_base::eofbit);
  std::int32_t value = 0;
  extractInteger(in, value);
  EXPECT_TRUE(in.fail());
  EXPECT_EQ(value, 0);
  EXPECT_EQ(buffer.position(), 0u);
}

std::u16string written(double value) {
  KeepBuf buffer;
  WideOStream out(&buffer);
  insertReal(out, value);
  return buffer.kept;
}

TEST(WideInsertion, OfRealsIsThatOfTheStandardLibrary) {
  auto random = testRandom();
  for (int round = 0; round < 100000; ++round) {
    const double value = std::bit_cast<double>(random());
    if (std::isnan(value)) continue;
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << value;
    const std::string expected = out.str();
    ASSERT_EQ(written(value), std::u16string(expected.begin(), expected.end()));
  }
  EXPECT_EQ(written(0.1234567), u"0.123457");
  EXPECT_EQ(written(-0.0), u"-0");
  EXPECT_EQ(written(std::numeric_limits<double>::max()), u"1.79769e+308");
}

TEST(WideInsertion, WritesTextAndIntegers) {
  KeepBuf buffer;
  WideOStream out(&buffer);
  insertInteger(insertText(out, u"a\u6E2C "), -2147483648LL);
  EXPECT_EQ(buffer.kept, u"a\u6E2C -2147483648");
}

// Extracts from `text` with a stream that throws for `mask`. True when that threw; the state is then as without.
template <typename Value, typename Extract>
bool throwsFor(std::ios_base::iostate mask, const std::u16string& text, Extract extract) {
  TextBuf buffer(text);
  WideIStream in(&buffer);
  in.exceptions(mask);
  Value value{};
  try {
    extract(in, value);
  } catch (const std::ios_base::failure&) {
    EXPECT_EQ(in.rdstate() & mask, mask);
    return true;
  }
  return false;
}

TEST(WideExtraction, ThrowsWhereTheStreamIsToThrow) {
  constexpr auto kFail = std::ios_base::failbit;
  constexpr auto kEnd = std::ios_base::eofbit;
  EXPECT_TRUE(throwsFor<std::int32_t>(kFail, u"x ", extractInteger));
  EXPECT_TRUE(throwsFor<std::int32_t>(kFail, u"99999999999 ", extractInteger));
  EXPECT_TRUE(throwsFor<double>(kFail, u"x ", extractReal));
  EXPECT_TRUE(throwsFor<std::u16string>(kFail, u"", extractToken));
  EXPECT_TRUE(throwsFor<std::int32_t>(kEnd, u"7", extractInteger));
  EXPECT_TRUE(throwsFor<double>(kEnd, u"7", extractReal));
  EXPECT_TRUE(throwsFor<std::u16string>(kEnd, u"a", extractToken));
  EXPECT_FALSE(throwsFor<std::int32_t>(kFail, u"7", extractInteger));
  EXPECT_FALSE(throwsFor<double>(kEnd, u"x ", extractReal));
  EXPECT_FALSE(throwsFor<std::u16string>(kEnd, u"a ", extractToken));
}

// A process whose locale has a decimal comma reads and writes the same text.
class DecimalComma : public std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(WideNumbers, KnowNoLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new DecimalComma));
  EXPECT_EQ(written(1234.5), u"1234.5");
  const auto got = ours<double>("1234.5 ", extractReal);
  std::locale::global(before);
  EXPECT_EQ(got.value, 1234.5);
}

}  // namespace
