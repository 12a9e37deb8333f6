#include "quelcore/operations/NullCodecvt.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "quelcore/operations/WideFileBuf.h"
#include "quelcore/operations/wideStream.h"
#include "testing/Numbers.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::readFile;
using quel::testing::TempDir;
using quel::testing::testRandom;
using quel::testing::writeFile;
using quelcore::NullCodecvt;
using quelcore::WideFileBuf;
using Facet = std::codecvt<char16_t, char, std::mbstate_t>;

std::u16string anyUnits(std::size_t count) {
  auto random = testRandom();
  std::u16string units(count, u'\0');
  for (char16_t& unit : units) unit = static_cast<char16_t>(random());
  return units;
}

// The units as a little-endian host holds them.
std::string bytesOf(const std::u16string& units) {
  std::string bytes(2 * units.size(), '\0');
  std::memcpy(bytes.data(), units.data(), bytes.size());
  return bytes;
}

std::locale withNullCodecvt() { return {std::locale::classic(), new NullCodecvt}; }

TEST(NullCodecvt, IsTheFacetForUnitsOfALocaleMadeWithIt) {
  const std::locale locale = withNullCodecvt();
  const auto& facet = std::use_facet<Facet>(locale);
  EXPECT_EQ(facet.encoding(), 2);
  EXPECT_EQ(facet.max_length(), 2);
  EXPECT_FALSE(facet.always_noconv());
}

TEST(NullCodecvt, CarriesEveryUnitToTwoBytesAndBack) {
  const std::locale locale = withNullCodecvt();
  const auto& facet = std::use_facet<Facet>(locale);
  std::u16string all(65536, u'\0');
  for (std::size_t unit = 0; unit < all.size(); ++unit) all[unit] = static_cast<char16_t>(unit);
  std::string bytes(2 * all.size(), 'x');
  std::mbstate_t state{};
  const char16_t* fromNext = nullptr;
  char* toNext = nullptr;
  EXPECT_EQ(facet.out(state, all.data(), all.data() + all.size(), fromNext, bytes.data(), bytes.data() + bytes.size(),
                      toNext),
            Facet::ok);
  EXPECT_TRUE(bytes == bytesOf(all));

  std::u16string back(all.size(), u'x');
  const char* next = nullptr;
  char16_t* made = nullptr;
  EXPECT_EQ(
      facet.in(state, bytes.data(), bytes.data() + bytes.size(), next, back.data(), back.data() + back.size(), made),
      Facet::ok);
  EXPECT_TRUE(back == all);
}

TEST(NullCodecvt, StopsWhereTheRoomEndsAndInFrontOfHalfAUnit) {
  const std::locale locale = withNullCodecvt();
  const auto& facet = std::use_facet<Facet>(locale);
  std::mbstate_t state{};
  const char16_t units[] = {1, 2, 3};
  char bytes[5];
  const char16_t* fromNext = nullptr;
  char* toNext = nullptr;
  EXPECT_EQ(facet.out(state, units, units + 3, fromNext, bytes, bytes + 5, toNext), Facet::partial);
  EXPECT_EQ(fromNext, units + 2);
  EXPECT_EQ(toNext, bytes + 4);

  char16_t made[3];
  const char* next = nullptr;
  char16_t* madeNext = nullptr;
  const char odd[] = {1, 0, 2, 0, 3};
  EXPECT_EQ(facet.in(state, odd, odd + 5, next, made, made + 3, madeNext), Facet::partial);
  EXPECT_EQ(next, odd + 4);
  EXPECT_EQ(madeNext, made + 2);
  EXPECT_EQ(facet.length(state, odd, odd + 5, 9), 4);
  EXPECT_EQ(facet.length(state, odd, odd + 5, 1), 2);
  EXPECT_EQ(facet.unshift(state, bytes, bytes + 5, toNext), Facet::noconv);
}

class UnitFile : public testing::Test {
 protected:
  std::u16string wide() const { return folder_.wide("units"); }
  std::filesystem::path path() const { return folder_.path() / "units"; }

  std::u16string readAll(const qmWChar* mode, bool& damaged) const {
    WideFileBuf file(wide().c_str(), mode);
    quelcore::WideIStream in(&file);
    in.imbue(withNullCodecvt());
    std::u16string units(400000, u'\0');
    in.read(units.data(), static_cast<std::streamsize>(units.size()));
    units.resize(static_cast<std::size_t>(in.gcount()));
    damaged = file.isDamaged();
    return units;
  }

  TempDir folder_;
};

// Sizes about the block of the buffer, and several of them.
constexpr std::size_t kCounts[] = {0, 1, 32767, 32768, 32769, 65536, 65537, 300001};

TEST_F(UnitFile, HoldsTwoBytesForEveryUnitHoweverManyThereAre) {
  for (const std::size_t count : kCounts) {
    const std::u16string units = anyUnits(count);
    {
      WideFileBuf file(wide().c_str(), u"wb");
      quelcore::WideOStream out(&file);
      out.imbue(withNullCodecvt());
      out.write(units.data(), static_cast<std::streamsize>(units.size()));
      EXPECT_TRUE(file.close());
    }
    EXPECT_TRUE(readFile(path()) == bytesOf(units)) << count;
    bool damaged = true;
    EXPECT_TRUE(readAll(u"rb", damaged) == units) << count;
    EXPECT_FALSE(damaged);
  }
}

TEST_F(UnitFile, EndsInFrontOfHalfAUnit) {
  writeFile(path(), bytesOf(u"abc") + "d");
  bool damaged = false;
  EXPECT_EQ(readAll(u"rb", damaged), u"abc");
  EXPECT_TRUE(damaged);
}

TEST_F(UnitFile, IsUtf8InTextModeWhateverTheLocale) {
  std::string bytes;
  std::u16string units;
  for (int i = 0; i < 30000; ++i) {  // Characters of 1 to 4 bytes, so that every cut of a block falls within one.
    bytes += "a\xC3\xA4\xE6\xB8\xAC\xF0\x9F\x94\xA7";
    units += u"a\u00E4\u6E2C\U0001F527";
  }
  writeFile(path(), bytes);
  bool damaged = true;
  EXPECT_TRUE(readAll(u"r", damaged) == units);
  EXPECT_FALSE(damaged);
}

TEST_F(UnitFile, EndsInFrontOfBytesThatAreNoText) {
  for (const char* tail : {"\xFFmore", "\xC3", "\xE6\xB8"}) {
    writeFile(path(), std::string("abc") + tail);
    bool damaged = false;
    EXPECT_EQ(readAll(u"r", damaged), u"abc") << tail;
    EXPECT_TRUE(damaged) << tail;
  }
}

TEST_F(UnitFile, IsFlushedOnDemand) {
  WideFileBuf file(wide().c_str(), u"wb");
  quelcore::WideOStream out(&file);
  out.imbue(withNullCodecvt());
  out.put(u'a').flush();
  // What is written takes its name when it is closed; until then it is the only file there.
  EXPECT_EQ(readFile(*std::filesystem::directory_iterator(path().parent_path())), bytesOf(u"a"));
  EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(UnitFile, ThatIsAbsentGivesNoUnits) {
  WideFileBuf file(wide().c_str(), u"rb");
  EXPECT_FALSE(file.isOpen());
  EXPECT_FALSE(file.close());
  EXPECT_EQ(file.sgetc(), std::char_traits<char16_t>::eof());
}

TEST_F(UnitFile, TellsOfADiskThatIsFull) {
  WideFileBuf file(u"/dev/full", u"wb");
  ASSERT_TRUE(file.isOpen());
  quelcore::WideOStream(&file).put(u'a');
  EXPECT_FALSE(file.close());
}

TEST_F(UnitFile, TakesNoUnitsWhenItIsRead) {
  writeFile(path(), bytesOf(u"abc"));
  WideFileBuf file(wide().c_str(), u"rb");
  EXPECT_EQ(file.sputc(u'x'), std::char_traits<char16_t>::eof());
}

}  // namespace
