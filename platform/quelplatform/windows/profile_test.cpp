#include "quelplatform/windows/profile.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/windows/windows.h"
#include "testing/AsNobody.h"
#include "testing/NoDescriptors.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::NoDescriptors;
using quel::testing::readFile;
using quel::testing::TempDir;
using quel::testing::TempHome;
using quel::testing::writeFile;

constexpr std::uint32_t kUnset = 0xABCD;

/// A profile file "p.ini" in a directory of its own.
class Profile {
 public:
  Profile() = default;
  explicit Profile(const std::string& content) { writeFile(file(), content); }

  fs::path file() const { return dir_.path() / "p.ini"; }
  const TempDir& dir() const { return dir_; }
  qmWString path() const { return dir_.wide("p.ini"); }
  std::string content() const { return readFile(file()); }

  qmWString text(const qmWChar* section, const qmWChar* key, const qmWChar* otherwise = u"(none)") const {
    std::array<qmWChar, 260> buffer;
    const std::uint32_t length = GetPrivateProfileStringW(section, key, otherwise, buffer.data(), 260, path().c_str());
    EXPECT_EQ(buffer[length], u'\0');
    return qmWString(buffer.data(), length);
  }

  std::int32_t integer(const qmWChar* key, std::int32_t otherwise = -77) const {
    return static_cast<std::int32_t>(GetPrivateProfileIntW(u"S", key, otherwise, path().c_str()));
  }

  // 0, or the last error of a write that failed.
  std::uint32_t write(const qmWChar* section, const qmWChar* key, const qmWChar* value) const {
    quelplatform::setLastError(kUnset);
    if (WritePrivateProfileStringW(section, key, value, path().c_str()) == 1) {
      EXPECT_EQ(GetLastError(), kUnset);
      return 0;
    }
    return GetLastError();
  }

  std::size_t filesBeside() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(dir_.path()), fs::directory_iterator()));
  }

 private:
  TempDir dir_;
};

std::string utf16(const std::u16string& text, bool big = false) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char low = static_cast<char>(unit & 0xFF), high = static_cast<char>(unit >> 8);
    bytes += big ? std::string{high, low} : std::string{low, high};
  }
  return bytes;
}

// Promise 1.
TEST(GetPrivateProfileStringW, FindsNamesWithoutRegardToCaseAndTheFirstOfEqualOnes) {
  const Profile profile(
      "[Other]\nKey=0\n[S]\nKey=1\nkey=2\n[s]\nKey=3\nLast=4\n\n[Stra\xC3\x9F"
      "e \xC3\x84]\n\xC3\x96L=5\n");
  EXPECT_EQ(profile.text(u"S", u"Key"), u"1");
  EXPECT_EQ(profile.text(u"s", u"KEY"), u"1");
  EXPECT_EQ(profile.text(u"S", u"Last"), u"(none)");
  EXPECT_EQ(profile.text(u"other", u"key"), u"0");
  EXPECT_EQ(profile.text(u"STRAße ä", u"öl"), u"5");
  EXPECT_EQ(profile.text(u"STRAße", u"öl"), u"(none)");
}

// Promise 2.
TEST(GetPrivateProfileStringW, DropsBlanksAroundNamesAndValues) {
  const Profile profile(" \t[ S \t] x\r\n \tKey one\t = \t a b \t\r\nEmpty =  \r\n");
  EXPECT_EQ(profile.text(u"S", u"Key one"), u"a b");
  EXPECT_EQ(profile.text(u" S\t", u"  Key one "), u"a b");
  EXPECT_EQ(profile.text(u"S", u"Empty"), u"");
}

// Promise 2.
TEST(GetPrivateProfileStringW, DropsOnePairOfEnclosingQuotationMarks) {
  const Profile profile(
      "[S]\na=\" x \"\nb=' x '\nc=\"\"x\"\"\nd=\"x'\ne=\"\nf=\"\"\ng=\"a\" b\nh='\"'\ni=a\"b\"\nj=\"a\" b\"\n");
  EXPECT_EQ(profile.text(u"S", u"a"), u" x ");
  EXPECT_EQ(profile.text(u"S", u"b"), u" x ");
  EXPECT_EQ(profile.text(u"S", u"c"), u"\"x\"");
  EXPECT_EQ(profile.text(u"S", u"d"), u"\"x'");
  EXPECT_EQ(profile.text(u"S", u"e"), u"\"");
  EXPECT_EQ(profile.text(u"S", u"f"), u"");
  EXPECT_EQ(profile.text(u"S", u"g"), u"\"a\" b");
  EXPECT_EQ(profile.text(u"S", u"h"), u"\"");
  EXPECT_EQ(profile.text(u"S", u"i"), u"a\"b\"");
  EXPECT_EQ(profile.text(u"S", u"j"), u"a\" b");
}

TEST(GetPrivateProfileStringW, TakesSemicolonLinesAsCommentsAndNothingElse) {
  const Profile profile("[S]\n;a=1\n  ; b=2\n#c=3\nd=4 ; e\nf\n=g\nh=i=j\n[broken\nk=5\n");
  EXPECT_EQ(profile.text(u"S", u";a"), u"(none)");
  EXPECT_EQ(profile.text(u"S", u"b"), u"(none)");
  EXPECT_EQ(profile.text(u"S", u"#c"), u"3");
  EXPECT_EQ(profile.text(u"S", u"d"), u"4 ; e");
  EXPECT_EQ(profile.text(u"S", u"f"), u"(none)");
  EXPECT_EQ(profile.text(u"S", u""), u"(none)");
  EXPECT_EQ(profile.text(u"S", u"h"), u"i=j");
  EXPECT_EQ(profile.text(u"S", u"k"), u"5");
}

TEST(GetPrivateProfileStringW, GivesTheDefaultWithoutItsTrailingBlanks) {
  const Profile profile("Free=1\n[S]\nKey=1\n");
  EXPECT_EQ(profile.text(u"S", u"None", u"  default \t "), u"  default");
  EXPECT_EQ(profile.text(u"None", u"Key", u"default"), u"default");
  EXPECT_EQ(profile.text(u"S", u"None", nullptr), u"");
  EXPECT_EQ(profile.text(u"", u"Free"), u"(none)");
}

TEST(GetPrivateProfileStringW, CutsTextThatDoesNotFitToSizeLessOne) {
  const Profile profile("[S]\nKey=abcdef\n");
  const auto read = [&](std::uint32_t size, const qmWChar* key) {
    std::array<qmWChar, 10> buffer;
    buffer.fill(u'#');
    const std::uint32_t length =
        GetPrivateProfileStringW(u"S", key, u"ABCDEF", buffer.data(), size, profile.path().c_str());
    EXPECT_EQ(buffer[size], u'#');
    return std::pair(length, qmWString(buffer.data(), size));
  };
  EXPECT_EQ(read(7, u"Key"), std::pair(6u, qmWString(u"abcdef\0", 7)));
  EXPECT_EQ(read(6, u"Key"), std::pair(5u, qmWString(u"abcde\0", 6)));
  EXPECT_EQ(read(4, u"None"), std::pair(3u, qmWString(u"ABC\0", 4)));
  EXPECT_EQ(read(1, u"Key"), std::pair(0u, qmWString(u"\0", 1)));
  EXPECT_EQ(read(0, u"Key"), std::pair(0u, qmWString()));
  EXPECT_EQ(GetPrivateProfileStringW(u"S", u"Key", u"", nullptr, 5, profile.path().c_str()), 0u);
}

TEST(GetPrivateProfileStringW, ListsTheNamesOfSectionsAndKeys) {
  const Profile profile("x=0\n[S]\na=1\n;c\nbc=2\nno entry\n[T]\n[Empty]\n");
  const auto list = [&](const qmWChar* section, std::uint32_t size) {
    std::array<qmWChar, 20> buffer;
    buffer.fill(u'#');
    const std::uint32_t length =
        GetPrivateProfileStringW(section, nullptr, u"default", buffer.data(), size, profile.path().c_str());
    return std::pair(length, qmWString(buffer.data(), buffer.size()).substr(0, size));
  };
  EXPECT_EQ(list(u"S", 6), std::pair(5u, qmWString(u"a\0bc\0\0", 6)));
  EXPECT_EQ(list(u"s", 5), std::pair(3u, qmWString(u"a\0b\0\0", 5)));
  EXPECT_EQ(list(u"S", 3), std::pair(1u, qmWString(u"a\0\0", 3)));
  EXPECT_EQ(list(u"S", 1), std::pair(0u, qmWString(u"\0", 1)));
  EXPECT_EQ(list(nullptr, 11), std::pair(10u, qmWString(u"S\0T\0Empty\0\0", 11)));
  EXPECT_EQ(list(u"Empty", 2), std::pair(0u, qmWString(u"\0\0", 2)));
  EXPECT_EQ(list(u"None", 2), std::pair(0u, qmWString(u"\0\0", 2)));
}

// Promise 3.
TEST(GetPrivateProfileStringW, ReadsUtf8AndUtf16WithTheirMarks) {
  const std::u16string text = u"[Sä]\r\nKey=a€😀\r\n";
  const std::string narrow = "[S\xC3\xA4]\r\nKey=a\xE2\x82\xAC\xF0\x9F\x98\x80\r\n";
  for (const std::string& content : {utf16(u"\uFEFF" + text), utf16(u"\uFEFF" + text, true), "\xEF\xBB\xBF" + narrow,
                                     narrow, utf16(u"\uFEFF" + text) + "x"}) {
    EXPECT_EQ(Profile(content).text(u"sÄ", u"key"), u"a€😀");
  }
}

TEST(GetPrivateProfileStringW, TellsAnAbsentEntryFromAFileThatCannotBeReadForTheMoment) {
  const Profile profile("[S]\nKey=1\n");
  for (const auto age : {0, 2100}) {  // The second time the entries are kept, since the file has settled.
    std::this_thread::sleep_for(std::chrono::milliseconds(age));
    EXPECT_EQ(profile.text(u"S", u"Key", u"default"), u"1");
    quelplatform::setLastError(kUnset);
    EXPECT_EQ(profile.text(u"S", u"None", u"default"), u"default");
    EXPECT_EQ(GetLastError(), 0u);
    EXPECT_EQ(profile.text(u"S", u"Key", u"default"), u"1");
    EXPECT_EQ(GetLastError(), 0u);
  }
  const Profile other("[S]\nKey=1\n");
  const NoDescriptors none;
  EXPECT_EQ(other.text(u"S", u"Key", u"default"), u"default");
  EXPECT_EQ(GetLastError(), 4u);
  EXPECT_EQ(GetPrivateProfileIntW(u"S", u"Key", 7, other.path().c_str()), 7u);
  EXPECT_EQ(GetLastError(), 4u);
}

TEST(WritePrivateProfileStringW, LeavesAFileThatCannotBeReadForTheMoment) {
  const Profile profile("[S]\nKey=1\n");
  {
    const NoDescriptors none;
    EXPECT_EQ(profile.write(u"S", u"Other", u"2"), 4u);
  }
  EXPECT_EQ(profile.content(), "[S]\nKey=1\n");
}

TEST(WritePrivateProfileStringW, LeavesAFileThatItMayReplaceButNotRead) {
  const Profile profile("[S]\nKey=1\n");
  fs::permissions(profile.dir().path(), static_cast<fs::perms>(0777));
  fs::permissions(profile.file(), static_cast<fs::perms>(0222));
  EXPECT_TRUE(quel::testing::holdsAsNobody([&] { EXPECT_EQ(profile.write(u"S", u"Other", u"2"), 5u); }));
  EXPECT_EQ(profile.content(), "[S]\nKey=1\n");
}

TEST(GetPrivateProfileStringW, TellsAFileThatIsNotThereOrCannotBeRead) {
  const Profile profile;
  EXPECT_EQ(profile.text(u"S", u"Key", u"default"), u"default");
  EXPECT_EQ(GetLastError(), 2u);
  fs::create_directory(profile.file());
  EXPECT_EQ(profile.text(u"S", u"Key", u"default"), u"default");
  EXPECT_EQ(GetLastError(), 5u);
  std::array<qmWChar, 9> buffer;
  EXPECT_EQ(GetPrivateProfileStringW(u"S", u"Key", u"default", buffer.data(), 9, nullptr), 7u);
  EXPECT_EQ(GetLastError(), 87u);
  EXPECT_EQ(GetPrivateProfileStringW(u"S", u"Key", u"default", buffer.data(), 9, u""), 7u);
  EXPECT_EQ(GetLastError(), 2u);
}

TEST(GetPrivateProfileIntW, TakesASignAndStopsAtTheFirstCharacterThatIsNoDigit) {
  const Profile profile(
      "[S]\na=12\nb=-1\nc=+7 apples\nd=3.9\ne=0x10\nf=text\ng=\nh=\"42\"\ni=- 5\nj=--5\nk=4294967295\n"
      "l=4294967297\nm=-2147483648\nn= \t8\n");
  const std::vector<std::pair<const qmWChar*, std::int32_t>> expected = {{u"a", 12},
                                                                         {u"b", -1},
                                                                         {u"c", 7},
                                                                         {u"d", 3},
                                                                         {u"e", 0},
                                                                         {u"f", 0},
                                                                         {u"g", 0},
                                                                         {u"h", 42},
                                                                         {u"i", 0},
                                                                         {u"j", 0},
                                                                         {u"k", -1},
                                                                         {u"l", 1},
                                                                         {u"m", -2147483647 - 1},
                                                                         {u"n", 8},
                                                                         {u"none", -77}};
  for (const auto& [key, value] : expected) EXPECT_EQ(profile.integer(key), value) << static_cast<char>(key[0]);
  EXPECT_EQ(GetPrivateProfileIntW(u"S", u"k", 0, profile.path().c_str()), 4294967295u);
  EXPECT_EQ(GetPrivateProfileIntW(u"S", nullptr, 5, profile.path().c_str()), 5u);
  EXPECT_EQ(GetPrivateProfileIntW(nullptr, u"a", 5, profile.path().c_str()), 5u);
}

TEST(WritePrivateProfileStringW, MakesTheFileTheSectionAndTheKey) {
  const Profile profile;
  EXPECT_EQ(profile.write(u"Ä", u"Key", u"a€😀"), 0u);
  EXPECT_EQ(profile.content(), "[\xC3\x84]\r\nKey=a\xE2\x82\xAC\xF0\x9F\x98\x80\r\n");
  EXPECT_EQ(profile.write(u"ä", u"Second", u""), 0u);
  EXPECT_EQ(profile.write(u"T", u" Third ", u"\"3\""), 0u);
  EXPECT_EQ(profile.content(), "[\xC3\x84]\r\nKey=a\xE2\x82\xAC\xF0\x9F\x98\x80\r\nSecond=\r\n[T]\r\nThird=\"3\"\r\n");
  EXPECT_EQ(profile.text(u"Ä", u"Second"), u"");
  EXPECT_EQ(profile.filesBeside(), 1u);
}

// Promise 5.
TEST(WritePrivateProfileStringW, ChangesNothingButTheValue) {
  const std::string before =
      "; top\n\n[S] note\n  Key \t= \told value \t\r\nKey=second\n\xFF\xFE junk\nlast=1\n\n; T's\n[T]";
  const Profile profile(before);
  EXPECT_EQ(profile.write(u"s", u"KEY", u"new"), 0u);
  std::string expected = before;
  expected.replace(expected.find("old value \t"), 11, "new");
  EXPECT_EQ(profile.content(), expected);
}

// Promise 5.
TEST(WritePrivateProfileStringW, KeepsEveryBlankBetweenTheEqualsSignAndTheValue) {
  const Profile profile("[S]\nk =\t \v\fold\n");
  EXPECT_EQ(profile.write(u"S", u"k", u"new"), 0u);
  EXPECT_EQ(profile.content(), "[S]\nk =\t \v\fnew\n");
}

TEST(WritePrivateProfileStringW, AddsAKeyBehindTheSectionsLastLineThatIsNotBlank) {
  const Profile profile("[S]\na=1\n; end\n\n[T]\nb=2");
  EXPECT_EQ(profile.write(u"S", u"new", u"x"), 0u);
  EXPECT_EQ(profile.write(u"T", u"new", u"y"), 0u);
  EXPECT_EQ(profile.write(u"U", u"new", u"z"), 0u);
  EXPECT_EQ(profile.content(), "[S]\na=1\n; end\nnew=x\n\n[T]\nb=2\nnew=y\n[U]\nnew=z\n");
}

// Promise 3.
TEST(WritePrivateProfileStringW, WritesUtf16FilesAsUtf16AndKeepsMarks) {
  for (const bool big : {false, true}) {
    const Profile profile(utf16(u"\uFEFF", big));
    EXPECT_EQ(profile.write(u"General", u"Name", u"a€\xD800"), 0u);
    EXPECT_EQ(profile.write(u"general", u"Name", u"b€\xD800"), 0u);
    EXPECT_EQ(profile.content(), utf16(u"\uFEFF[General]\r\nName=b€\xD800\r\n", big));
  }
  const Profile marked("\xEF\xBB\xBF[S]\n");
  EXPECT_EQ(marked.write(u"S", u"k", u"ä"), 0u);
  EXPECT_EQ(marked.content(), "\xEF\xBB\xBF[S]\nk=\xC3\xA4\n");
}

TEST(WritePrivateProfileStringW, WritesALoneSurrogateToUtf8AsTheReplacementCharacter) {
  const Profile profile;
  EXPECT_EQ(profile.write(u"S", u"k\xD800", u"\xDC00"), 0u);
  EXPECT_EQ(profile.write(u"S", u"k\xD800", u"2"), 0u);
  EXPECT_EQ(profile.content(), "[S]\r\nk\xEF\xBF\xBD=2\r\n");
  EXPECT_EQ(profile.text(u"S", u"k\xD800"), u"2");
}

TEST(WritePrivateProfileStringW, DeletesTheFirstEntryOrTheFirstSection) {
  const Profile profile("[S]\na=1\n;c\nA=2\n[T]\nb=1\n;d\n\n[t]\nb=2\n");
  EXPECT_EQ(profile.write(u"S", u"a", nullptr), 0u);
  EXPECT_EQ(profile.content(), "[S]\n;c\nA=2\n[T]\nb=1\n;d\n\n[t]\nb=2\n");
  EXPECT_EQ(profile.write(u"T", nullptr, nullptr), 0u);
  EXPECT_EQ(profile.content(), "[S]\n;c\nA=2\n[t]\nb=2\n");
  EXPECT_EQ(profile.write(u"S", nullptr, u"ignored"), 0u);
  EXPECT_EQ(profile.content(), "[t]\nb=2\n");
}

TEST(WritePrivateProfileStringW, MakesNoFileToDeleteFromIt) {
  const Profile profile;
  EXPECT_EQ(profile.write(u"S", u"a", nullptr), 0u);
  EXPECT_EQ(profile.write(u"S", nullptr, nullptr), 0u);
  EXPECT_EQ(profile.filesBeside(), 0u);
}

TEST(WritePrivateProfileStringW, RefusesWhatWouldNotBeReadBack) {
  const std::string before = "[S]\na=1\n";
  const Profile profile(before);
  for (const qmWChar* section : {u"a]b", u"a\nb", u"", u"  ", static_cast<const qmWChar*>(nullptr)}) {
    EXPECT_EQ(profile.write(section, u"k", u"v"), 87u);
  }
  for (const qmWChar* key : {u"a=b", u";a", u"[a", u"a\rb", u"", u" \t"})
    EXPECT_EQ(profile.write(u"S", key, u"v"), 87u);
  for (const qmWChar* value : {u"a\nb", u"\r", u"v\n[S]"}) EXPECT_EQ(profile.write(u"S", u"k", value), 87u);
  quelplatform::setLastError(kUnset);
  EXPECT_EQ(WritePrivateProfileStringW(u"S", u"k", u"v", nullptr), 0);
  EXPECT_EQ(GetLastError(), 87u);
  EXPECT_EQ(profile.content(), before);
}

TEST(WritePrivateProfileStringW, DoesNothingWhenAllIsNull) {
  const Profile profile("[S]\n");
  quelplatform::setLastError(kUnset);
  EXPECT_EQ(WritePrivateProfileStringW(nullptr, nullptr, nullptr, profile.path().c_str()), 0);
  EXPECT_EQ(GetLastError(), kUnset);
  EXPECT_EQ(profile.content(), "[S]\n");
}

TEST(WritePrivateProfileStringW, FailsWithTheNumberOfWhatIsInTheWay) {
  const Profile profile("[S]\na=1\n");
  fs::permissions(profile.file(), fs::perms::owner_read);
  EXPECT_EQ(profile.write(u"S", u"a", u"2"), 5u);
  EXPECT_EQ(profile.content(), "[S]\na=1\n");
  EXPECT_EQ(profile.filesBeside(), 1u);

  const qmWString below = profile.dir().wide("none/p.ini");
  EXPECT_EQ(WritePrivateProfileStringW(u"S", u"a", u"2", below.c_str()), 0);
  EXPECT_EQ(GetLastError(), 3u);
  EXPECT_EQ(WritePrivateProfileStringW(u"S", u"a", u"2", profile.dir().wide("").c_str()), 0);
  EXPECT_EQ(GetLastError(), 5u);
  EXPECT_EQ(WritePrivateProfileStringW(u"S", u"a", u"2", u""), 0);
  EXPECT_EQ(GetLastError(), 3u);
}

TEST(WritePrivateProfileStringW, FollowsASymbolicLinkAndKeepsPermissions) {
  const Profile profile("[S]\na=1\n");
  fs::permissions(profile.file(), fs::perms::owner_read | fs::perms::owner_write);
  fs::create_directory(profile.dir().path() / "other");
  fs::create_symlink(profile.file(), profile.dir().path() / "other" / "link");
  EXPECT_EQ(WritePrivateProfileStringW(u"S", u"a", u"2", profile.dir().wide("other/link").c_str()), 1);
  EXPECT_TRUE(fs::is_symlink(profile.dir().path() / "other" / "link"));
  EXPECT_EQ(profile.content(), "[S]\na=2\n");
  EXPECT_EQ(fs::status(profile.file()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST(WritePrivateProfileStringW, MakesTheHomeDirectory) {
  const TempHome home;
  fs::remove(home.path());
  EXPECT_EQ(WritePrivateProfileStringW(u"S", u"a", u"1", u"\\p.ini"), 1);
  EXPECT_EQ(readFile(home.path() / "p.ini"), "[S]\r\na=1\r\n");
}

TEST(WritePrivateProfileStringW, WorksOnFilesOfTenMegabytesAndLinesOfOne) {
  std::string content = std::string("; ").append(std::string(1 << 20, 'c')) + "\n[S]\n";
  for (int i = 0; content.size() < 10u << 20; ++i)
    content += std::string("Key").append(std::to_string(i)) + "=" + std::string(40, 'v') + "\n";
  const std::string line(1 << 20, 'x');
  const Profile profile(content + "Long=" + line + "\n");
  EXPECT_EQ(profile.write(u"S", u"long", (qmWString(line.begin(), line.end()) + u"y").c_str()), 0u);
  EXPECT_EQ(profile.write(u"S", u"new", u"1"), 0u);
  EXPECT_EQ(profile.content(), content + "Long=" + line + "y\nnew=1\n");
  std::vector<qmWChar> buffer((1 << 20) + 10);
  EXPECT_EQ(GetPrivateProfileStringW(u"S", u"Long", u"", buffer.data(), static_cast<std::uint32_t>(buffer.size()),
                                     profile.path().c_str()),
            (1u << 20) + 1);
}

// Promise 5.
TEST(WritePrivateProfileStringW, LosesNothingOnDamagedFiles) {
  for (const std::string& content :
       {std::string("\0\0[S]\0=\n=\n[[\n]]\n", 16), std::string("\xFF\xFE", 2), std::string("\xEF\xBB"),
        std::string("[S"), std::string("\n\n\n"), std::string("\xFF\xFE\x5B", 3), std::string(1000, '[')}) {
    const Profile profile(content);
    EXPECT_EQ(profile.write(u"Added", u"k", u"v"), 0u);
    EXPECT_EQ(profile.text(u"Added", u"k"), u"v");
    const bool wide = content.starts_with("\xFF\xFE");
    EXPECT_EQ(profile.content().substr(0, content.size() & (wide ? ~std::size_t{1} : ~std::size_t{0})),
              content.substr(0, content.size() & (wide ? ~std::size_t{1} : ~std::size_t{0})));
  }
}

// Promise 6.
TEST(WritePrivateProfileStringW, LosesNoEntryOfManyThreads) {
  const Profile profile("; top\n");
  constexpr int kThreads = 4, kKeys = 10;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&profile, t] {
      for (int k = 0; k < kKeys; ++k) {
        const std::string key = std::string("k").append(std::to_string(t * kKeys + k));
        EXPECT_EQ(profile.write(u"S", qmWString(key.begin(), key.end()).c_str(), u"v"), 0u);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int k = 0; k < kThreads * kKeys; ++k) {
    const std::string key = std::string("k").append(std::to_string(k));
    EXPECT_EQ(profile.text(u"S", qmWString(key.begin(), key.end()).c_str()), u"v") << key;
  }
  EXPECT_EQ(profile.filesBeside(), 1u);
}

}  // namespace
