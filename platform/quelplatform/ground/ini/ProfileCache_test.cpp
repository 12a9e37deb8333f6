#include "quelplatform/ground/ini/ProfileCache.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <random>
#include <thread>
#include <vector>

#include "quelplatform/ground/text/conversion.h"
#include "testing/Numbers.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::TempDir;
using quel::testing::testRandom;
using quel::testing::writeFile;
using quelplatform::ProfileCache;
using quelplatform::ProfileEntries;
using quelplatform::ProfileFile;
using namespace std::chrono_literals;

struct CachedFile {
  explicit CachedFile(const std::string& content) { writeFile(path, content); }

  TempDir dir;
  std::string path = (dir.path() / "profile.ini").string();
};

TEST(ProfileEntries, HoldTheFirstOfEqualNamesWithoutRegardToCase) {
  const ProfileEntries entries(ProfileFile::decode("k = none\n[A]\nKey = \"1\"\nkey = 2\n[a]\nother = 3\n[b]\nKEY=4"));
  ASSERT_NE(entries.value(u"a", u"KEY"), nullptr);
  EXPECT_EQ(*entries.value(u"a", u"KEY"), u"1");
  EXPECT_EQ(entries.value(u"a", u"other"), nullptr);
  EXPECT_EQ(*entries.value(u"B", u"key"), u"4");
  EXPECT_EQ(entries.value(u"", u"k"), nullptr);
  EXPECT_EQ(entries.value(u"c", u"key"), nullptr);
}

// Random files of few names in both encodings: the same answers as the search through the text.
TEST(ProfileEntries, AnswerAsTheTextDoes) {
  auto random = testRandom();
  const std::vector<std::u16string> names = {u"a", u"A", u"\u00C4", u"\u00E4", u"b c", u"\uFFFD", u"\xD800", u"k"};
  for (int round = 0; round < 400; ++round) {
    std::u16string text;
    for (int line = 0; line < 12; ++line) {
      const std::u16string& name = names[random() % names.size()];
      const std::u16string& value = names[random() % names.size()];
      switch (random() % 5) {
        case 0:
          text += u"[" + name + u"]\n";
          break;
        case 1:
          text += u"; " + name + u" = " + value + u"\r\n";
          break;
        default:
          text += name + u" = '" + value + u"'\n";
      }
    }
    std::string wide = "\xFF\xFE";
    for (const char16_t unit : text) wide.append({static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)});
    for (const std::string& bytes : {quelplatform::utf8Of(text), wide}) {
      const ProfileFile file = ProfileFile::decode(bytes);
      const ProfileEntries entries(file);
      for (const std::u16string& section : names) {
        for (const std::u16string& key : names) {
          const std::u16string* value = entries.value(section, key);
          const std::optional<std::u16string> found = value ? std::optional(*value) : std::nullopt;
          ASSERT_EQ(found, file.value(section, key)) << bytes;
        }
      }
    }
  }
}

TEST(ProfileCache, KeepsASettledFileUntilItChanges) {
  const CachedFile file("[s]\nk=1\n");
  ProfileCache cache(0ns);
  const auto first = cache.entriesOf(file.path);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(cache.entriesOf(file.path), first);
  writeFile(file.path, "[s]\nk=22\n");
  const auto second = cache.entriesOf(file.path);
  ASSERT_NE(second, nullptr);
  EXPECT_NE(second, first);
  EXPECT_EQ(*second->value(u"s", u"k"), u"22");
  EXPECT_EQ(*first->value(u"s", u"k"), u"1");  // Whoever asked before keeps what he got.
}

TEST(ProfileCache, NoticesAFileOfTheSameSizeThatTakesTheOthersPlace) {
  const CachedFile file("[s]\nk=1\n");
  ProfileCache cache(0ns);
  EXPECT_EQ(*cache.entriesOf(file.path)->value(u"s", u"k"), u"1");
  writeFile(file.path + ".new", "[s]\nk=2\n");
  std::filesystem::rename(file.path + ".new", file.path);
  EXPECT_EQ(*cache.entriesOf(file.path)->value(u"s", u"k"), u"2");
}

TEST(ProfileCache, KeepsNoFileThatWasChangedAMomentAgo) {
  const CachedFile file("[s]\nk=1\n");
  ProfileCache cache(1h);
  EXPECT_EQ(cache.entriesOf(file.path), nullptr);
}

TEST(ProfileCache, KeepsNoFileWhoseTimesLieInTheFuture) {
  const CachedFile file("[s]\nk=1\n");
  std::filesystem::last_write_time(file.path, std::filesystem::file_time_type::clock::now() + 1h);
  ProfileCache cache(0ns);
  EXPECT_EQ(cache.entriesOf(file.path), nullptr);
}

TEST(ProfileCache, KeepsNothingOfFilesThatAreNotThereOrLarge) {
  const CachedFile file("[s]\nk=1\n" + std::string(4 << 20, ';'));
  ProfileCache cache(0ns);
  EXPECT_EQ(cache.entriesOf(file.path), nullptr);
  EXPECT_EQ(cache.entriesOf(file.path + ".missing"), nullptr);
  EXPECT_EQ(cache.entriesOf(""), nullptr);
  EXPECT_EQ(cache.entriesOf(file.dir.path().string()), nullptr);
}

TEST(ProfileCache, ServesSeveralFilesAndThreads) {
  const CachedFile one("[s]\nk=1\n");
  const CachedFile two("[s]\nk=2\n");
  ProfileCache cache(0ns);
  std::vector<std::thread> threads;
  for (const CachedFile* file : {&one, &two, &one, &two}) {
    threads.emplace_back([&cache, file, expected = file == &one ? u"1" : u"2"] {
      for (int n = 0; n < 500; ++n) EXPECT_EQ(*cache.entriesOf(file->path)->value(u"s", u"k"), expected);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
