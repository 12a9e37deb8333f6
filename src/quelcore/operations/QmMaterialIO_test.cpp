#include "quelcore/operations/QmMaterialIO.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <locale>
#include <string>

#include "quelplatform/qmEnv/qmText.h"
#include "testing/FailingNew.h"
#include "testing/FileSizeLimit.h"
#include "testing/NoDescriptors.h"
#include "testing/Numbers.h"
#include "testing/PeakMemory.h"
#include "testing/Sanitized.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::readFile;
using quel::testing::TempDir;
using quel::testing::testRandom;
using quel::testing::uniform;
using quel::testing::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;

using Params = QmMaterialTable::mapped_type;

constexpr OPTICAL_HEAD head(std::int32_t number) { return static_cast<OPTICAL_HEAD>(number); }
constexpr QmLens lens(std::int32_t number) { return static_cast<QmLens>(number); }

// 16-bit text with its mark, as bytes.
std::string units(const std::string& utf8) {
  std::string bytes = "\xFF\xFE";
  for (const char16_t unit : toWide(utf8)) {
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8);
  }
  return bytes;
}

MATCHER_P4(HasValues, a, b, c, d, "") {
  return arg.value1 == a && arg.value2 == b && arg.value3 == c && arg.value4 == d;
}

class MaterialFile : public testing::Test {
 protected:
  std::filesystem::path path() const { return folder_.path() / "materials.txt"; }
  QmMaterialIO io() const { return QmMaterialIO(folder_.wide("materials.txt").c_str()); }

  // Whether the text reads, as 16-bit units and as 8-bit text alike; the tables go to `tables`.
  bool reads(const std::string& text, QmMaterialTables& tables) const {
    QmMaterialIO wide = io();
    writeFile(path(), units(text));
    const bool wideRead = wide.read();
    QmMaterialIO narrow = io();
    writeFile(path(), text);
    const bool narrowRead = narrow.read();
    EXPECT_EQ(wideRead, narrowRead) << text;
    EXPECT_EQ(namesOf(wide.getMaterialTables()), namesOf(narrow.getMaterialTables())) << text;
    tables = wide.getMaterialTables();
    return wideRead;
  }

  bool reads(const std::string& text) const {
    QmMaterialTables tables;
    return reads(text, tables);
  }

  static std::vector<std::u16string> namesOf(const QmMaterialTables& tables) {
    std::vector<std::u16string> names;
    for (const auto& [pair, table] : tables) {
      names.push_back(u"/");
      for (const auto& row : table) names.push_back(row.first);
    }
    return names;
  }

  TempDir folder_;
};

TEST_F(MaterialFile, WithoutTablesReadsAsTrue) {
  QmMaterialTables tables;
  EXPECT_TRUE(reads("QmM1\n0\n", tables));
  EXPECT_THAT(tables, IsEmpty());
  EXPECT_TRUE(reads("QmM1\n-3\n"));
}

TEST_F(MaterialFile, HoldsRowsByHeadLensAndName) {
  QmMaterialTables tables;
  ASSERT_TRUE(
      reads("QmM1\n2\n3 50 2\n4 17 1\nSteel 0.5 1 2 0\nIron;cast -1e-3 2.5 3 -7\n\xE9\x8B\xBC 1 2 3 4\n", tables));
  EXPECT_THAT(tables, ElementsAre(Key(std::pair(head(3), lens(50))), Key(std::pair(head(4), lens(17)))));
  const QmMaterialTable& first = tables.begin()->second;
  EXPECT_THAT(first, ElementsAre(testing::Pair(u"Iron cast", HasValues(-1e-3, 2.5, 3.0, -7)),
                                 testing::Pair(u"Steel", HasValues(0.5, 1.0, 2.0, 0))));
  EXPECT_THAT(tables.rbegin()->second, ElementsAre(testing::Pair(u"\u92FC", HasValues(1.0, 2.0, 3.0, 4))));
}

TEST_F(MaterialFile, MaySeparateItsTokensByAnyWhiteSpace) {
  QmMaterialTables tables;
  EXPECT_TRUE(reads("\r\n  QmM1\t1\r\n3\n50\v1 a\f1\r\n2 3 4 ", tables));
  EXPECT_THAT(namesOf(tables), ElementsAre(u"/", u"a"));
}

TEST_F(MaterialFile, OfAnyOtherMagicIsRefused) {
  for (const char* magic : {"", "QmM2", "qmm1", "QmM1x", "\xEF\xBB\xBFQmM1", "0"}) {
    EXPECT_FALSE(reads(std::string(magic) + "\n0\n")) << magic;
  }
}

TEST_F(MaterialFile, KeepsTheFirstOfTwoHeaderLinesOfOnePair) {
  QmMaterialTables tables;
  EXPECT_TRUE(reads("QmM1\n2\n3 50 1\n3 50 2\na 1 2 3 4\nb 1 2 3 4\n", tables));
  EXPECT_THAT(namesOf(tables), ElementsAre(u"/", u"a"));
}

TEST_F(MaterialFile, KeepsTheFirstOfTwoRowsOfOneName) {
  QmMaterialTables tables;
  EXPECT_TRUE(reads("QmM1\n1\n3 50 3\na;b 1 2 3 4\na;b 5 6 7 8\nc 1 1 1 1\n", tables));
  EXPECT_THAT(tables.begin()->second, ElementsAre(testing::Pair(u"a b", HasValues(1.0, 2.0, 3.0, 4)), Key(u"c")));
}

// Required: rows follow the sorted pairs, not the header's lines.
TEST_F(MaterialFile, SwapsTheRowsOfHeaderLinesThatDescend) {
  QmMaterialTables tables;
  EXPECT_TRUE(reads("QmM1\n2\n4 50 1\n3 50 1\nof-4 1 2 3 4\nof-3 1 2 3 4\n", tables));
  EXPECT_THAT(tables[std::pair(head(3), lens(50))], ElementsAre(Key(u"of-4")));
  EXPECT_THAT(tables[std::pair(head(4), lens(50))], ElementsAre(Key(u"of-3")));
}

TEST_F(MaterialFile, OrdersPairsByHeadThenLens) {
  QmMaterialIO file = io();
  for (const auto& [h, l] : {std::pair{4, 17}, {3, 50}, {3, -5}, {-1, 99}}) {
    file.getMapMaterial(head(h), lens(l))[u"m"] = {1.0, 2.0, 3.0, h};
  }
  ASSERT_TRUE(file.write());
  EXPECT_EQ(readFile(path()), units("QmM1\n4\n-1 99 1\n3 -5 1\n3 50 1\n4 17 1\n"
                                    "m 1 2 3 -1\nm 1 2 3 3\nm 1 2 3 3\nm 1 2 3 4\n"));
}

TEST_F(MaterialFile, IsWrittenWithSemicolonsForBlanksAndSixDigits) {
  QmMaterialIO file = io();
  QmMaterialTable& table = file.getMapMaterial(head(3), lens(50));
  table[u"b steel  plate"] = {0.1234567, 1e10, -2.0, -5};
  table[u"a"] = {};
  ASSERT_TRUE(file.write());
  EXPECT_EQ(readFile(path()), units("QmM1\n1\n3 50 2\na 1.79769e+308 1.79769e+308 1.79769e+308 0\n"
                                    "b;steel;;plate 0.123457 1e+10 -2 -5\n"));
}

TEST_F(MaterialFile, GivesBackASemicolonAsABlank) {
  QmMaterialIO file = io();
  file.getMapMaterial(head(3), lens(50))[u"a;b c"] = {1.0, 2.0, 3.0, 4};
  ASSERT_TRUE(file.write());
  ASSERT_TRUE(file.read());
  EXPECT_THAT(namesOf(file.getMaterialTables()), ElementsAre(u"/", u"a b c"));
}

TEST_F(MaterialFile, HasNoTableThatWasEmptied) {
  QmMaterialIO file = io();
  file.getMapMaterial(head(3), lens(50))[u"a"] = {1.0, 2.0, 3.0, 4};
  file.getMapMaterial(head(4), lens(50))[u"b"] = {1.0, 2.0, 3.0, 4};
  file.getMapMaterial(head(3), lens(50)).clear();
  ASSERT_TRUE(file.write());
  ASSERT_TRUE(file.read());
  EXPECT_THAT(file.getMaterialTables(), ElementsAre(Key(std::pair(head(4), lens(50)))));
}

TEST_F(MaterialFile, FailsAtItsEndWhereverThatIs) {
  const std::string whole = "QmM1\n2\n3 50 1\n4 50 1\na 1 2 3 4\nb 5 6 7 8\n";
  ASSERT_TRUE(reads(whole));
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_FALSE(reads(whole.substr(0, length))) << length;
  }
}

TEST_F(MaterialFile, FailsWhenItsRowsRunPastTheEnd) {
  QmMaterialTables tables;
  EXPECT_FALSE(reads("QmM1\n1\n3 50 2147483647\na 1 2 3 4\nb 1 2 3 4\n", tables));
  EXPECT_THAT(namesOf(tables), ElementsAre(u"/", u"a", u"b"));
  EXPECT_FALSE(reads("QmM1\n2147483647\n3 50 1\na 1 2 3 4\n"));
  EXPECT_FALSE(reads("QmM1\n99999999999\n3 50 1\na 1 2 3 4\n"));
}

TEST_F(MaterialFile, MakesAnEmptyTableForACountBelowOne) {
  QmMaterialTables tables;
  EXPECT_TRUE(reads("QmM1\n1\n3 50 -4\n", tables));
  EXPECT_THAT(namesOf(tables), ElementsAre(u"/"));
}

TEST_F(MaterialFile, FailsOnTextWhereANumberBelongs) {
  for (const char* row : {"a x 2 3 4", "a 1 2 3 x", "a 1 2 3 99999999999", "a 1,5 2 3 4", "a 1 2 3"}) {
    EXPECT_FALSE(reads("QmM1\n1\n3 50 1\n" + std::string(row) + "\n")) << row;
  }
}

TEST_F(MaterialFile, FailsOnBytesThatAreNoText) {
  writeFile(path(), "QmM1\n1\n3 50 1\nGr\xFCn 1 2 3 4\n");
  EXPECT_FALSE(io().read());
  writeFile(path(), units("QmM1\n0\n") + "x");  // Half a unit behind a file that is whole is never looked at.
  EXPECT_TRUE(io().read());
}

TEST_F(MaterialFile, CarriesAnyUnitInANameAsItIs) {
  const std::u16string name = u"\u00FC\u00A0\u6E2C\U0001F527\xD800\uFFFF\u3000";
  QmMaterialIO file = io();
  file.getMapMaterial(head(3), lens(50))[name] = {1.0, 2.0, 3.0, 4};
  ASSERT_TRUE(file.write());
  ASSERT_TRUE(file.read());
  EXPECT_THAT(namesOf(file.getMaterialTables()), ElementsAre(u"/", name));
}

TEST_F(MaterialFile, ThatIsAbsentOrCannotBeMadeGivesFalse) {
  EXPECT_FALSE(io().read());
  QmMaterialIO nowhere(folder_.wide("no such folder/file").c_str());
  EXPECT_FALSE(nowhere.write());
  EXPECT_FALSE(QmMaterialIO(nullptr).read());
  EXPECT_FALSE(QmMaterialIO(nullptr).write());
}

TEST_F(MaterialFile, TellsOfADiskThatIsFull) {
  QmMaterialIO file(u"/dev/full");
  EXPECT_FALSE(file.write());
  // More than a buffer holds, so that the first failure comes between rows.
  for (int row = 0; row < 20000; ++row) file.getMapMaterial(head(3), lens(row % 5))[toWide(std::to_string(row))] = {};
  EXPECT_FALSE(file.write());
}

TEST_F(MaterialFile, StaysAsItWasWhenTheDiskRunsFull) {
  QmMaterialIO file = io();
  for (int row = 0; row < 20000; ++row) file.getMapMaterial(head(3), lens(row % 5))[toWide(std::to_string(row))] = {};
  for (const rlim_t room : {1, 1000, 300000}) {
    writeFile(path(), "what was there");
    {
      const quel::testing::FileSizeLimit limit(room);
      EXPECT_FALSE(file.write());
    }
    EXPECT_EQ(readFile(path()), "what was there") << room;
  }
  ASSERT_TRUE(file.write());
  EXPECT_GT(readFile(path()).size(), 300000u);
}

TEST_F(MaterialFile, IsTheOldOrTheNewWhereverMemoryRunsOut) {
  QmMaterialIO file = io();
  for (const char16_t* name : {u"a name that is longer than what a text holds in itself", u"b"}) {
    file.getMapMaterial(head(3), lens(50))[name] = {1.0, 2.0, 3.0, 4};
  }
  ASSERT_TRUE(file.write());
  const std::string whole = readFile(path());
  writeFile(path(), "what was there");
  const auto failures = quel::testing::failEachNew([&] { return file.write(); },
                                                   [&](bool written, bool failed) {
                                                     EXPECT_EQ(written, !failed);
                                                     EXPECT_EQ(readFile(path()), written ? whole : "what was there");
                                                   });
  EXPECT_GT(failures, 8);
}

TEST_F(MaterialFile, TakesNoMoreMemoryThanFourTimesItsSizeAndTheNamesThatItHandsOut) {
  constexpr std::int64_t kMiB = 1 << 20;
  // A sanitizer also counts the room that a growing text of 16-bit units has taken and not touched: three times its
  // size while it moves.
  constexpr std::int64_t kTimes = quel::testing::kSanitized ? 3 * 2 : 4;
  const std::string word(8 * kMiB, 'x');
  const std::string digits(8 * kMiB, '1');
  const std::string before = "QmM1\n1\n3 50 1\n";
  for (const std::string& text :
       {word, "QmM1\n" + word, "QmM1\n" + digits, before + word, before + word + " 1 2 3 4\n", before + "a " + digits,
        before + "a 1 2 3 " + digits, "QmM1\n0\n" + word, before + "a 1 2 3 " + digits + "x"}) {
    for (const std::string& bytes : {text, units(text)}) {
      writeFile(path(), bytes);
      const std::int64_t names = bytes == before + word + " 1 2 3 4\n" ? 2 * 8 * kMiB : 0;
      const std::int64_t peak = quel::testing::peakMemoryOf([this] { io().read(); });
      EXPECT_LE(peak, kTimes * static_cast<std::int64_t>(bytes.size()) + names + kMiB)
          << text.substr(0, 30) << " of " << bytes.size();
    }
  }
}

TEST_F(MaterialFile, LeavesTheTablesAsTheyWereWhenNotEvenTheHeaderCanBeRead) {
  for (const char* text : {"QmM2\n0\n", "QmM1\nx\n", "QmM1\n1\n3 50\n"}) {
    writeFile(path(), text);
    QmMaterialIO file = io();
    file.getMapMaterial(head(9), lens(9))[u"old"] = {};
    EXPECT_FALSE(file.read());
    EXPECT_THAT(namesOf(file.getMaterialTables()), ElementsAre(u"/", u"old")) << text;
  }
}

TEST_F(MaterialFile, ForgetsWhatTheTablesHeldBefore) {
  writeFile(path(), "QmM1\n1\n3 50 1\na 1 2 3 4\n");
  QmMaterialIO file = io();
  file.getMapMaterial(head(9), lens(9))[u"old"] = {};
  ASSERT_TRUE(file.read());
  EXPECT_THAT(namesOf(file.getMaterialTables()), ElementsAre(u"/", u"a"));
}

TEST(QmMaterialIO, GivesTheTablesOfOneHeadByLens) {
  QmMaterialIO file(u"");
  file.getMapMaterial(head(3), lens(50))[u"a"] = {};
  file.getMapMaterial(head(3), lens(17));
  file.getMapMaterial(head(4), lens(17));
  std::map<QmLens, QmMaterialTable> tables = {{lens(99), {}}};
  const QmMaterialIO& constant = file;
  EXPECT_EQ(constant.getMaterialTables(head(3), tables), 2);
  EXPECT_THAT(tables, ElementsAre(Key(lens(17)), Key(lens(50))));
  EXPECT_EQ(tables[lens(50)].size(), 1u);
  EXPECT_EQ(constant.getMaterialTables(head(5), tables), 0);
  EXPECT_THAT(tables, IsEmpty());
}

TEST(QmMaterialIO, NewParametersAreTheLargestNumbersAndZero) {
  const double largest = std::numeric_limits<double>::max();
  EXPECT_THAT(Params(), HasValues(largest, largest, largest, 0));
}

TEST(QmMaterialIO, CopiesNameAndTables) {
  QmMaterialIO file(u"a");
  file.getMapMaterial(head(3), lens(50))[u"m"] = {};
  QmMaterialIO copy(file);
  QmMaterialIO assigned(u"b");
  assigned = file;
  file.setFileName(u"c");
  file.getMaterialTables().clear();
  for (QmMaterialIO* each : {&copy, &assigned}) {
    EXPECT_EQ(qmWString(each->getFileName()), u"a");
    EXPECT_EQ(each->getMaterialTables().size(), 1u);
  }
}

TEST_F(MaterialFile, ComesBackToSixDigits) {
  auto random = testRandom();
  QmMaterialIO file = io();
  for (int row = 0; row < 20000; ++row) {
    qmWString name = u"m";
    for (auto n = random() % 20; n > 0; --n) name += static_cast<qmWChar>(u'!' + random() % 90);
    name = name.substr(0, name.find(u';'));
    Params& params = file.getMapMaterial(head(static_cast<std::int32_t>(random() % 3)), lens(50))[name];
    params = {uniform(random, -1, 1), uniform(random, -1e9, 1e9), std::pow(10.0, uniform(random, -300, 300)),
              static_cast<std::int32_t>(random())};
  }
  const QmMaterialTables before = file.getMaterialTables();
  ASSERT_TRUE(file.write());
  ASSERT_TRUE(file.read());
  ASSERT_EQ(namesOf(file.getMaterialTables()), namesOf(before));
  for (const auto& [pair, table] : before) {
    for (const auto& [name, params] : table) {
      const Params& read = file.getMaterialTables()[pair][name];
      EXPECT_LE(std::abs(read.value1 - params.value1), 5e-6 * std::abs(params.value1));
      EXPECT_LE(std::abs(read.value2 - params.value2), 5e-6 * std::abs(params.value2));
      EXPECT_LE(std::abs(read.value3 - params.value3), 5e-6 * std::abs(params.value3));
      EXPECT_EQ(read.value4, params.value4);
    }
  }
}

// A process whose locale has a decimal comma and grouping.
class DecimalComma : public std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  std::string do_grouping() const override { return "\3"; }
};

TEST_F(MaterialFile, KnowsNoLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new DecimalComma));
  QmMaterialIO file = io();
  file.getMapMaterial(head(3), lens(50))[u"a"] = {0.5, 123456.0, 3.0, 1234567};
  const bool done = file.write() && file.read();
  std::locale::global(before);
  EXPECT_TRUE(done);
  EXPECT_EQ(readFile(path()), units("QmM1\n1\n3 50 1\na 0.5 123456 3 1234567\n"));
}

// Opens what derived classes may use.
class OpenIO : public QmMaterialIO {
 public:
  using QmMaterialIO::QmMaterialIO;
  using QmMaterialIO::readHeader1;
  using QmMaterialIO::readTable1;
  using QmMaterialIO::writeHeader1;
  using QmMaterialIO::writeTable1;
};

// A stream buffer in memory that allocates nothing.
class FixedBuf : public std::basic_streambuf<qmWChar> {
 public:
  explicit FixedBuf(const qmWString& text) {
    text.copy(units_, std::size(units_));
    setg(units_, units_, units_ + text.size());
    setp(units_, units_ + std::size(units_));
  }
  std::u16string_view written() const { return {pbase(), pptr()}; }

 private:
  qmWChar units_[200] = {};
};

TEST(QmMaterialIO, ReadsAndWritesItsHalvesOrGivesFalseWhenMemoryIsExhausted) {
  const qmWString header = u"1\n3 50 2\n";
  const qmWString rows = u"a;material;with;a;long;name 1.12345 2.12345 3.12345 1234567890\nb 1 2 3 4\n";
  OpenIO io(u"");
  const auto each = [](auto half) {
    const auto met = quel::testing::failEachNew(half, [](bool done, bool failed) { EXPECT_EQ(done, !failed); });
    EXPECT_GT(met, 0);
  };
  FixedBuf headerIn(header);
  std::basic_istream<qmWChar> in(&headerIn);
  EXPECT_TRUE(io.readHeader1(in));
  each([&] {
    FixedBuf buffer(rows);
    in.rdbuf(&buffer);
    return io.readTable1(in);
  });
  FixedBuf out(u"");
  std::basic_ostream<qmWChar> stream(&out);
  EXPECT_TRUE(io.writeHeader1(stream));
  EXPECT_EQ(out.written(), header);
  qmWString written;
  written.reserve(rows.size());
  each([&] {
    FixedBuf buffer(u"");
    stream.rdbuf(&buffer);
    const bool done = io.writeTable1(stream);
    if (done) written = buffer.written();
    return done;
  });
  EXPECT_EQ(written, rows);
}

TEST_F(MaterialFile, GivesFalseWhenMemoryIsExhausted) {
  writeFile(path(), units("QmM1\n1\n3 50 2\nsteel;that;has;a;long;name 1 2 3 4\nb 1 2 3 4\n"));
  const std::u16string name = folder_.wide("materials.txt");
  QmMaterialIO file(name.c_str());
  const auto met =
      quel::testing::failEachNew([&] { return file.read(); }, [](bool read, bool failed) { EXPECT_EQ(read, !failed); });
  EXPECT_GT(met, 5);
  const auto writing = quel::testing::failEachNew([&] { return file.write(); },
                                                  [](bool written, bool failed) { EXPECT_EQ(written, !failed); });
  EXPECT_GT(writing, 3);
}

TEST_F(MaterialFile, IsNotWrittenOverWhereItCouldNotBeRead) {
  const std::string sound = "QmM1\n1\n3 50 1\nSteel 1 2 3 4\n";
  const auto path = folder_.path() / "materials.txt";
  const std::u16string name = folder_.wide("materials.txt");
  quel::testing::writeFile(path, sound);
  QmMaterialIO file(name.c_str());
  {
    const quel::testing::NoDescriptors none;
    EXPECT_FALSE(file.read());
  }
  file.getMapMaterial(OPTICAL_HEAD_2002_A, static_cast<QmLens>(35))[u"New"] = {};
  EXPECT_FALSE(file.write());
  EXPECT_EQ(quel::testing::readFile(path), sound);
  file.setFileName(folder_.wide("another.txt").c_str());
  EXPECT_TRUE(file.write());
  file.setFileName(name.c_str());
  EXPECT_TRUE(file.read());
  EXPECT_TRUE(file.write());
}

TEST_F(MaterialFile, LosesNoMaterialWhereverMemoryRunsOutWhileItIsRead) {
  const std::string sound = "QmM1\n1\n3 50 2\nA-name-that-is-long-enough 1 2 3 4\nSteel 5 6 7 8\n";
  const auto path = folder_.path() / "materials.txt";
  const std::u16string name = folder_.wide("materials.txt");
  quel::testing::writeFile(path, sound);
  QmMaterialIO file(name.c_str());
  EXPECT_GT(quel::testing::failEachNew([&] { return file.read(); },
                                       [&](bool read, bool failed) {
                                         EXPECT_EQ(read, !failed);
                                         EXPECT_EQ(file.write(), !failed);
                                         if (failed) {
                                           EXPECT_EQ(quel::testing::readFile(path), sound);
                                         }
                                       }),
            5);
}

TEST_F(MaterialFile, IsWrittenWhereItIsNotThereOrDamaged) {
  QmMaterialIO file(folder_.wide("materials.txt").c_str());
  EXPECT_FALSE(file.read());
  EXPECT_TRUE(file.write());
  quel::testing::writeFile(folder_.path() / "materials.txt", "QmM1\n7\n");
  EXPECT_FALSE(file.read());
  EXPECT_TRUE(file.write());
}

}  // namespace
