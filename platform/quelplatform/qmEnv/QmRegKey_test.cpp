#include "quelplatform/qmEnv/QmRegKey.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <bit>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "quelplatform/ground/files/systemErrors.h"
#include "testing/FailingNew.h"
#include "testing/NoDescriptors.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::failEachNew;
using quel::testing::NoDescriptors;
using quel::testing::readFile;
using quel::testing::TempDir;
using quel::testing::TempHome;
using quel::testing::writeFile;

const qmWChar* const kPath = u"HKEY_LOCAL_MACHINE\\Software\\Quelmetra\\Measurement";
const std::string kHeader = "[HKEY_LOCAL_MACHINE\\Software\\Quelmetra\\Measurement]\r\n";

/// An ini file of its own, and keys on it.
class Store {
 public:
  Store() = default;
  explicit Store(const std::string& values) { writeFile(file(), kHeader + values); }

  fs::path file() const { return dir_.path() / "values.ini"; }
  qmWString path() const { return dir_.wide("values.ini"); }
  std::string content() const { return readFile(file()); }

  QmRegKey key(bool create = true, std::uint32_t access = QmRegKey::kReadWrite) const {
    QmRegKey key;
    EXPECT_TRUE(key.AttachIniFile(path().c_str()));
    EXPECT_TRUE(key.Branch(kPath, create, access));
    return key;
  }

 private:
  TempDir dir_;
};

qmWString textOf(const QmRegKey& key, const qmWChar* name) {
  const qmWChar* text = key[name];
  return text == nullptr ? u"(null)" : text;
}

TEST(QmRegKey, IsNotOpenAtFirstAndDoesNothing) {
  const TempHome home;
  QmRegKey key;
  EXPECT_FALSE(key.IsValid());
  EXPECT_FALSE(key.IsValue(u"a"));
  EXPECT_FALSE(key.IsBranch(kPath, 7));
  EXPECT_EQ(static_cast<std::int32_t>(key[u"a"]), 0);
  EXPECT_EQ(static_cast<double>(key[u"a"]), 0.0);
  EXPECT_EQ(static_cast<const qmWChar*>(key[u"a"]), nullptr);
  EXPECT_EQ(key.LastError(), 0u);
  key[u"a"] = 1;
  EXPECT_EQ(key.LastError(), 6u);
  EXPECT_FALSE(key.DeleteValue(u"a"));
  EXPECT_EQ(key.LastError(), 6u);
  key.Close();
  EXPECT_TRUE(fs::is_empty(home.path()));
}

TEST(QmRegKey, UsesTheHomeDirectorysFileUnlessAnotherIsAttached) {
  const TempHome home;
  QmRegKey key;
  ASSERT_TRUE(key.Branch(kPath, false, 0));
  key[u"a"] = 1;
  EXPECT_EQ(key.LastError(), 0u);
  EXPECT_EQ(readFile(home.path() / "quelmetra.ini"), kHeader + "a=1\r\n");
  EXPECT_TRUE(QmRegKey().IsBranch(kPath, 7));
  ASSERT_TRUE(key.AttachIniFile(home.wide("other.ini").c_str()));
  EXPECT_FALSE(key.IsValid());
  EXPECT_FALSE(key.IsBranch(kPath, 7));
}

TEST(AttachIniFile, RefusesNullAndEmptyPaths) {
  const Store store;
  QmRegKey key = store.key();
  EXPECT_FALSE(key.AttachIniFile(nullptr));
  EXPECT_FALSE(key.AttachIniFile(u""));
  EXPECT_TRUE(key.IsValid());
}

TEST(Branch, WithCreateMakesTheEmptySectionWhateverTheAccess) {
  for (const std::uint32_t access : {QmRegKey::kReadWrite, QmRegKey::kRead}) {
    const Store store;
    EXPECT_TRUE(store.key(true, access).IsValid());
    EXPECT_EQ(store.content(), kHeader);
  }
}

TEST(Branch, WithoutCreateMakesNothingBeforeAValueIsWritten) {
  const Store store;
  QmRegKey key = store.key(false);
  EXPECT_TRUE(key.IsValid());
  EXPECT_FALSE(key.IsValue(u"a"));
  EXPECT_FALSE(key.IsBranch(kPath, 7));
  EXPECT_FALSE(fs::exists(store.file()));
  key[u"a"] = 1;
  EXPECT_EQ(store.content(), kHeader + "a=1\r\n");
}

TEST(Branch, FailsForAPathThatNamesNoSection) {
  const Store store;
  QmRegKey key = store.key();
  for (const qmWChar* path : {u"", u" ", u"a]b", u"a\nb", static_cast<const qmWChar*>(nullptr)}) {
    EXPECT_FALSE(key.Branch(path, true, 0));
    EXPECT_EQ(key.LastError(), 87u);
    EXPECT_FALSE(key.IsValid());
  }
}

TEST(Branch, FailsWithTheNumberWhenTheSectionCannotBeMade) {
  const TempDir dir;
  QmRegKey key;
  ASSERT_TRUE(key.AttachIniFile(dir.wide("none/values.ini").c_str()));
  EXPECT_FALSE(key.Branch(kPath, true, 0));
  EXPECT_EQ(key.LastError(), 3u);
  EXPECT_FALSE(key.IsValid());
  EXPECT_TRUE(key.Branch(kPath, false, 0));
}

TEST(IsBranch, TellsSectionsWithoutRegardToCaseAndMakesNothing) {
  const Store store("");
  const QmRegKey key = store.key();
  EXPECT_TRUE(key.IsBranch(u"hkey_local_machine\\SOFTWARE\\quelmetra\\measurement", 7));
  EXPECT_FALSE(key.IsBranch(u"HKEY_LOCAL_MACHINE\\Software\\Quelmetra", 7));
  EXPECT_FALSE(key.IsBranch(nullptr, 7));
  EXPECT_EQ(store.content(), kHeader);
}

TEST(QmRegValue, KeepsIntegersInDecimal) {
  const Store store;
  QmRegKey key = store.key();
  key[u"i"] = std::numeric_limits<std::int32_t>::min();
  key[u"u"] = std::numeric_limits<std::uint32_t>::max();
  key[u"yes"] = true;
  key[u"no"] = false;
  EXPECT_EQ(store.content(), kHeader + "i=-2147483648\r\nu=4294967295\r\nyes=1\r\nno=0\r\n");
  EXPECT_EQ(static_cast<std::int32_t>(key[u"I"]), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(static_cast<std::uint32_t>(key[u"u"]), std::numeric_limits<std::uint32_t>::max());
  EXPECT_EQ(static_cast<std::int32_t>(key[u"u"]), -1);
  EXPECT_TRUE(static_cast<bool>(key[u"yes"]));
  EXPECT_FALSE(static_cast<bool>(key[u"no"]));
  EXPECT_FALSE(static_cast<bool>(key[u"absent"]));
}

TEST(QmRegValue, ConvertsWithoutACast) {
  const Store store("i=-5\r\nd=2.5\r\n");
  const QmRegKey key = store.key();
  const std::int32_t integer = key[u"i"];
  const std::uint32_t natural = key[u"i"];
  const double real = key[u"d"];
  const bool flag = key[u"i"];
  const qmWChar* text = key[u"d"];
  EXPECT_EQ(integer, -5);
  EXPECT_EQ(natural, 4294967291u);
  EXPECT_EQ(real, 2.5);
  EXPECT_TRUE(flag);
  EXPECT_EQ(qmWString(text), u"2.5");
  EXPECT_EQ(static_cast<std::int32_t>(key[u"d"]), 2);
}

TEST(QmRegValue, KeepsDoublesSoThatTheyReadBackExactly) {
  const Store store;
  QmRegKey key = store.key();
  std::mt19937_64 random(20);
  std::vector<double> values = {0.0, -0.0, 0.1, 1e308, 5e-324, -1.0 / 3.0, std::numeric_limits<double>::infinity()};
  for (int i = 0; i < 50; ++i) {
    const double value = std::bit_cast<double>(random());
    if (!std::isnan(value)) values.push_back(value);
  }
  for (const double value : values) {
    key[u"d"] = value;
    EXPECT_EQ(std::bit_cast<std::uint64_t>(static_cast<double>(key[u"d"])), std::bit_cast<std::uint64_t>(value));
  }
  key[u"d"] = 0.1;
  EXPECT_EQ(store.content(), kHeader + "d=0.1\r\n");
  key[u"d"] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(std::isnan(static_cast<double>(key[u"d"])));
}

TEST(QmRegValue, ReadsTheNumberThatAForeignTextBeginsWith) {
  const Store store("a=1,5\r\nb=text\r\nc=\" +2.5 mm\"\r\nd=\r\n");
  const QmRegKey key = store.key();
  EXPECT_EQ(static_cast<double>(key[u"a"]), 1.0);
  EXPECT_EQ(static_cast<double>(key[u"b"]), 0.0);
  EXPECT_EQ(static_cast<double>(key[u"c"]), 2.5);
  EXPECT_EQ(static_cast<double>(key[u"d"]), 0.0);
  EXPECT_EQ(static_cast<std::int32_t>(key[u"b"]), 0);
}

TEST(QmRegValue, KeepsTextAsItIs) {
  const Store store;
  QmRegKey key = store.key();
  for (const qmWChar* text :
       {u"plain", u"", u" blanks at both ends\t", u"\"quoted\"", u"'", u"\"", u"''", u"\" half", u"a=b;c#d [e]", u"ä€😀",
        u"C:\\maps\\head.map", u" \"both\" ", u"\"\"", u"'single'", u"\vx\f"}) {
    key[u"t"] = text;
    EXPECT_EQ(key.LastError(), 0u);
    EXPECT_EQ(textOf(key, u"t"), text);
  }
  key[u"t"] = u"plain text";
  EXPECT_EQ(store.content(), kHeader + "t=plain text\r\n");
  key[u"t"] = static_cast<const qmWChar*>(nullptr);
  EXPECT_EQ(textOf(key, u"t"), u"");
}

TEST(QmRegValue, GivesNullForTextThatIsAbsentAndEmptyTextForAnEmptyOne) {
  const Store store("empty=\r\n");
  const QmRegKey key = store.key();
  EXPECT_EQ(static_cast<const qmWChar*>(key[u"absent"]), nullptr);
  EXPECT_EQ(static_cast<const qmWChar*>(key[nullptr]), nullptr);
  EXPECT_EQ(textOf(key, u"empty"), u"");
  EXPECT_TRUE(key.IsValue(u"EMPTY"));
  EXPECT_FALSE(key.IsValue(u"absent"));
  EXPECT_FALSE(key.IsValue(nullptr));
}

TEST(QmRegValue, GivesTextThatStaysWhileOtherNamesAreRead) {
  const Store store("a=a long text that needs memory of its own\r\nb=2\r\n");
  QmRegKey key = store.key();
  const qmWChar* text = key[u"a"];
  EXPECT_EQ(textOf(key, u"b"), u"2");
  key[u"b"] = 3;
  EXPECT_TRUE(key.DeleteValue(u"a"));
  EXPECT_EQ(qmWString(text), u"a long text that needs memory of its own");
}

TEST(QmRegValue, RefusesNamesAndTextThatALineCannotHold) {
  const Store store("a=1\r\n");
  QmRegKey key = store.key();
  for (const qmWChar* name : {u"a=b", u"", u";a", u"[a", u"a\nb", static_cast<const qmWChar*>(nullptr)}) {
    key[name] = 1;
    EXPECT_EQ(key.LastError(), 87u);
  }
  key[u"a"] = u"two\nlines";
  EXPECT_EQ(key.LastError(), 87u);
  EXPECT_EQ(store.content(), kHeader + "a=1\r\n");
  key[u"#1"] = 1;
  EXPECT_EQ(key.LastError(), 0u);
  EXPECT_TRUE(key.IsValue(u"#1"));
}

TEST(QmRegValue, CannotBeWrittenThroughAKeyThatReads) {
  const Store store("a=1\r\n");
  QmRegKey key = store.key(false, QmRegKey::kRead);
  key[u"a"] = 2;
  EXPECT_EQ(key.LastError(), 5u);
  EXPECT_FALSE(key.DeleteValue(u"a"));
  EXPECT_EQ(key.LastError(), 5u);
  EXPECT_EQ(static_cast<std::int32_t>(key[u"a"]), 1);
}

TEST(QmRegValue, TellsAWriteThatFailedAndTheNextOneThatTook) {
  const Store store("a=1\r\n");
  QmRegKey key = store.key();
  fs::permissions(store.file(), fs::perms::owner_read);
  key[u"a"] = 2;
  EXPECT_EQ(key.LastError(), 5u);
  EXPECT_EQ(static_cast<std::int32_t>(key[u"a"]), 1);
  EXPECT_EQ(key.LastError(), 5u);
  fs::permissions(store.file(), fs::perms::owner_read | fs::perms::owner_write);
  key[u"a"] = 2;
  EXPECT_EQ(key.LastError(), 0u);
  EXPECT_EQ(static_cast<std::int32_t>(key[u"a"]), 2);
}

TEST(QmRegValue, TellsAnAbsentValueFromAFileThatCannotBeReadForTheMoment) {
  const Store store("a=1\r\n");
  QmRegKey key = store.key();
  EXPECT_FALSE(key.IsValue(u"b"));
  EXPECT_EQ(quelplatform::lastSystemError(), 0u);
  EXPECT_EQ(static_cast<std::int32_t>(key[u"b"]), 0);
  EXPECT_EQ(quelplatform::lastSystemError(), 0u);
  {
    const NoDescriptors none;
    EXPECT_FALSE(key.IsValue(u"a"));
    EXPECT_EQ(quelplatform::lastSystemError(), 4u);
    EXPECT_EQ(static_cast<const qmWChar*>(key[u"a"]), nullptr);
    EXPECT_EQ(quelplatform::lastSystemError(), 4u);
    EXPECT_FALSE(key.IsBranch(u"S", QmRegKey::kRead));
    EXPECT_EQ(quelplatform::lastSystemError(), 4u);
  }
  EXPECT_EQ(static_cast<std::int32_t>(key[u"a"]), 1);
  EXPECT_EQ(quelplatform::lastSystemError(), 0u);
}

TEST(QmRegValue, TellsAFullDisk) {
  const Store store(std::string("a=1\r\n; ").append(std::string(100000, 'f')) + "\r\n");
  QmRegKey key = store.key();
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit tight{70000, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &tight);
  key[u"a"] = 2;
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(key.LastError(), 223u);
  EXPECT_EQ(static_cast<std::int32_t>(key[u"a"]), 1);
}

TEST(DeleteValue, DeletesAndTakesAnAbsentValueForDeleted) {
  const Store store("a=1\r\nb=2\r\n");
  QmRegKey key = store.key();
  EXPECT_TRUE(key.DeleteValue(u"A"));
  EXPECT_TRUE(key.DeleteValue(u"a"));
  EXPECT_TRUE(key.DeleteValue(nullptr));
  EXPECT_EQ(store.content(), kHeader + "b=2\r\n");
  QmRegKey fresh;
  const TempDir dir;
  ASSERT_TRUE(fresh.AttachIniFile(dir.wide("none.ini").c_str()));
  ASSERT_TRUE(fresh.Branch(kPath, false, 0));
  EXPECT_TRUE(fresh.DeleteValue(u"a"));
  EXPECT_TRUE(fs::is_empty(dir.path()));
}

TEST(QmRegKey, CopiesFileBranchAndAccess) {
  const Store store("a=1\r\n");
  const QmRegKey key = store.key(false, QmRegKey::kRead);
  QmRegKey copy(key);
  EXPECT_EQ(static_cast<std::int32_t>(copy[u"a"]), 1);
  copy[u"a"] = 2;
  EXPECT_EQ(copy.LastError(), 5u);
  EXPECT_EQ(key.LastError(), 0u);
  QmRegKey writer(key, QmRegKey::kReadWrite);
  writer[u"a"] = 2;
  EXPECT_EQ(writer.LastError(), 0u);
  EXPECT_EQ(static_cast<std::int32_t>(key[u"a"]), 2);
  const qmWChar* text = writer[u"a"];
  QmRegKey assigned;
  assigned = writer;
  const QmRegKey& self = assigned;
  assigned = self;
  assigned[u"a"] = 3;
  EXPECT_EQ(qmWString(text), u"2");
  EXPECT_EQ(textOf(writer, u"a"), u"3");
  assigned = QmRegKey();
  EXPECT_FALSE(assigned.IsValid());
  EXPECT_FALSE(QmRegKey(assigned, 0).IsValid());
}

TEST(QmRegKey, SeesAtOnceWhatOthersWrite) {
  const Store store;
  QmRegKey first = store.key();
  QmRegKey second = store.key();
  first[u"a"] = 1;
  EXPECT_EQ(static_cast<std::int32_t>(second[u"a"]), 1);
  second[u"b"] = 2;
  first[u"a"] = 3;
  EXPECT_EQ(store.content(), kHeader + "a=3\r\nb=2\r\n");
  writeFile(store.file(), "");
  EXPECT_FALSE(first.IsValue(u"a"));
}

TEST(QmRegKey, FailsAndKeepsTheFileWhenMemoryIsExhausted) {
  const Store store;
  const std::string before = kHeader + "A value with a long name=A text that is long enough\r\n";
  const qmWChar* const name = u"A value with a long name";
  writeFile(store.file(), before);
  const qmWString path = store.path();
  EXPECT_GT(failEachNew([&] { return QmRegKey().AttachIniFile(path.c_str()); },
                        [](bool result, bool failed) { EXPECT_EQ(result, !failed); }),
            0);
  QmRegKey key = store.key();
  const auto noWhenFailed = [](bool result, bool failed) { EXPECT_EQ(result, !failed); };
  EXPECT_GT(failEachNew([&] { return key.IsBranch(kPath, 7); }, noWhenFailed), 0);
  EXPECT_GT(failEachNew([&] { return key.IsValue(name); }, noWhenFailed), 0);
  EXPECT_GT(failEachNew([&] { return static_cast<const qmWChar*>(key[name]) != nullptr; }, noWhenFailed), 0);
  EXPECT_GT(failEachNew(
                [&] {
                  key[name] = u"Another text that is long enough to need memory";
                  return key.LastError();
                },
                [&](std::uint32_t error, bool failed) {
                  EXPECT_EQ(error, failed ? 8u : 0u);
                  EXPECT_EQ(store.content() == before, failed);
                }),
            0);
  EXPECT_GT(failEachNew([&] { return key.DeleteValue(name); }, noWhenFailed), 0);
  EXPECT_EQ(store.content(), kHeader);
  EXPECT_GT(failEachNew([&] { return key.Branch(kPath, true, 0); },
                        [&](bool result, bool failed) {
                          EXPECT_EQ(result, !failed);
                          EXPECT_EQ(key.IsValid(), !failed);
                        }),
            0);
}

}  // namespace
