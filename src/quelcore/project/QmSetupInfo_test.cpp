#include "quelcore/project/QmSetupInfo.h"

#include "quelcore/base/problems_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "quelplatform/qmEnv/QmWorkPlace.h"
#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"
#include "testing/FailingNew.h"
#include "testing/Numbers.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::failEachNew;
using quel::testing::TempHome;
using quel::testing::testRandom;

static_assert(!std::is_polymorphic_v<QmSetupInfo>);

constexpr qmWChar kCanary = u'#';
const qmWString kJoint(1, QmWorkPlace::path_separator);

QmSetupInfo setupOf(const qmWString& root, const qmWString& project, const qmWString& part, const qmWString& setup) {
  QmSetupInfo info;
  info.SetRoot(root);
  info.SetProject(project);
  info.SetPart(part);
  info.SetSetup(setup);
  return info;
}

QmSetupInfo filled() {
  QmSetupInfo info = setupOf(u"R", u"P", u"Q", u"S");
  info.SetFixtureID(u"F");
  info.SetLoaded(true);
  info.SetTilesNumber(3);
  info.SetFeatsNumber(4);
  info.SetCycleNumber(5);
  info.SetLastModified({6, 7});
  return info;
}

qmWString lineOf(const QmSetupInfo& info) {
  std::vector<qmWChar> buffer(static_cast<std::size_t>(info.SaveToStream(nullptr, 0)));
  info.SaveToStream(buffer.data(), static_cast<std::int32_t>(buffer.size()));
  return buffer.data();
}

// Asks an operation that fills a buffer for `expected` with buffers of every size up to one too many: all of the text
// or nothing is written, and nothing behind it.
template <typename Operation>
void expectText(const Operation& operation, const qmWString& expected) {
  const auto needed = static_cast<std::int32_t>(expected.size());
  EXPECT_EQ(operation(nullptr, 0), needed + 1);
  EXPECT_EQ(operation(nullptr, 1000), needed + 1);
  for (std::int32_t size = -1; size <= needed + 2; ++size) {
    qmWString buffer(expected.size() + 3, kCanary);
    EXPECT_EQ(operation(buffer.data(), size), needed + 1);
    qmWString after(expected.size() + 3, kCanary);
    if (needed < size) after.replace(0, expected.size() + 1, expected + u'\0');
    EXPECT_EQ(buffer, after) << size;
  }
}

TEST(QmSetupInfo, BeginsEmpty) {
  const QmSetupInfo info;
  for (const qmWChar* text :
       {info.GetRoot(), info.GetProject(), info.GetPart(), info.GetSetup(), info.GetFixtureID()}) {
    EXPECT_EQ(qmWString(text), u"");
  }
  EXPECT_FALSE(info.IsRootChosen() || info.IsProjectChosen() || info.IsPartChosen() || info.IsSetupChosen());
  EXPECT_FALSE(info.IsLoaded());
  EXPECT_EQ(info.GetTilesNumber(), 0);
  EXPECT_EQ(info.GetFeatsNumber(), 0);
  EXPECT_EQ(info.GetCycleNumber(), -1);
  EXPECT_EQ(info.GetLastModified().dwLowDateTime, 0u);
  EXPECT_EQ(info.GetLastModified().dwHighDateTime, 0u);
}

TEST(QmSetupInfo, KeepsWhatIsSet) {
  const QmSetupInfo info = filled();
  EXPECT_EQ(qmWString(info.GetRoot()), u"R");
  EXPECT_EQ(qmWString(info.GetProject()), u"P");
  EXPECT_EQ(qmWString(info.GetPart()), u"Q");
  EXPECT_EQ(qmWString(info.GetSetup()), u"S");
  EXPECT_EQ(qmWString(info.GetFixtureID()), u"F");
  EXPECT_TRUE(info.IsRootChosen() && info.IsProjectChosen() && info.IsPartChosen() && info.IsSetupChosen());
  EXPECT_TRUE(info.IsLoaded());
  EXPECT_EQ(info.GetTilesNumber(), 3);
  EXPECT_EQ(info.GetFeatsNumber(), 4);
  EXPECT_EQ(info.GetCycleNumber(), 5);
  EXPECT_EQ(info.GetLastModified().dwLowDateTime, 6u);
  EXPECT_EQ(info.GetLastModified().dwHighDateTime, 7u);
}

TEST(QmSetupInfo, TakesPointersAndNullForEmptyText) {
  QmSetupInfo info = filled();
  const qmWChar* null = nullptr;
  info.SetRoot(u"r");
  info.SetProject(null);
  info.SetPart(null);
  info.SetSetup(null);
  info.SetFixtureID(null);
  EXPECT_EQ(qmWString(info.GetRoot()), u"r");
  EXPECT_FALSE(info.IsProjectChosen() || info.IsPartChosen() || info.IsSetupChosen());
  EXPECT_EQ(qmWString(info.GetFixtureID()), u"");
  info.SetRoot(null);
  EXPECT_FALSE(info.IsRootChosen());
}

TEST(QmSetupInfo, IsValidWithAllFourNames) {
  for (int without = 0; without < 4; ++without) {
    const auto name = [without](int i) { return i == without ? qmWString() : qmWString(u"n"); };
    EXPECT_FALSE(setupOf(name(0), name(1), name(2), name(3)).IsValid()) << without;
  }
  EXPECT_TRUE(setupOf(u"n", u"n", u"n", u"n").IsValid());
}

TEST(QmSetupInfo, ResetsAllButTheTimeOfTheLastModification) {
  QmSetupInfo info = filled();
  info.Reset();
  EXPECT_TRUE(info == QmSetupInfo());
  EXPECT_EQ(qmWString(info.GetFixtureID()), u"");
  EXPECT_FALSE(info.IsLoaded());
  EXPECT_EQ(info.GetTilesNumber(), 0);
  EXPECT_EQ(info.GetFeatsNumber(), 0);
  EXPECT_EQ(info.GetCycleNumber(), -1);
  EXPECT_EQ(info.GetLastModified().dwLowDateTime, 6u);
  EXPECT_EQ(info.GetLastModified().dwHighDateTime, 7u);
}

TEST(QmSetupInfo, ComparesTheFourNamesAlone) {
  const QmSetupInfo info = filled();
  EXPECT_TRUE(info == setupOf(u"R", u"P", u"Q", u"S"));
  EXPECT_FALSE(info == setupOf(u"r", u"P", u"Q", u"S"));
  EXPECT_FALSE(info == setupOf(u"R", u"P2", u"Q", u"S"));
  EXPECT_FALSE(info == setupOf(u"R", u"P", u"", u"S"));
  EXPECT_FALSE(info == setupOf(u"R", u"P", u"Q", u"s"));
}

TEST(QmSetupInfo, CopiesEveryField) {
  const QmSetupInfo source = filled();
  const QmSetupInfo copy(source);
  QmSetupInfo assigned;
  assigned = source;
  const QmSetupInfo* const copies[] = {&copy, &assigned};
  for (const QmSetupInfo* info : copies) {
    EXPECT_TRUE(*info == source);
    EXPECT_EQ(qmWString(info->GetFixtureID()), u"F");
    EXPECT_TRUE(info->IsLoaded());
    EXPECT_EQ(info->GetTilesNumber(), 3);
    EXPECT_EQ(info->GetFeatsNumber(), 4);
    EXPECT_EQ(info->GetCycleNumber(), 5);
    EXPECT_EQ(info->GetLastModified().dwHighDateTime, 7u);
  }
}

TEST(SaveToStream, WritesTheLineWhenItIsShorterThanTheBuffer) {
  const QmSetupInfo info = setupOf(u"D:\\x", u"P", u"Q", u"S");
  expectText([&](qmWChar* buffer, std::int32_t size) { return info.SaveToStream(buffer, size); }, u"P:Q:S:D:\\x");
}

TEST(SaveToStream, ValidatesNothing) {
  EXPECT_EQ(lineOf(QmSetupInfo()), u":::");
  EXPECT_EQ(lineOf(setupOf(u"", u"a:b", u"", u"c")), u"a:b::c:");
}

TEST(FillByStream, ReadsALineWhoseRootHasAColon) {
  QmSetupInfo info = filled();
  EXPECT_TRUE(info.FillByStream(u"P:Q:S:D:\\x"));
  EXPECT_TRUE(info == setupOf(u"D:\\x", u"P", u"Q", u"S"));
  EXPECT_EQ(info.GetCycleNumber(), -1);  // The rest is reset.
  EXPECT_FALSE(info.IsLoaded());
}

TEST(FillByStream, ResetsForNullAndEmptyText) {
  for (const qmWChar* nothing : {static_cast<const qmWChar*>(nullptr), u""}) {
    QmSetupInfo info = filled();
    EXPECT_TRUE(info.FillByStream(nothing));
    EXPECT_TRUE(info == QmSetupInfo());
  }
}

TEST(FillByStream, FailsAtAMissingColonWithTheNamesBeforeItKept) {
  const TempHome home;
  quelplatform::setCurProjRoot(u"current");
  for (const auto& [line, expected] : {std::pair(u"P:Q:S", setupOf(u"current", u"P", u"Q", u"")),
                                       {u"P:Q", setupOf(u"current", u"P", u"", u"")},
                                       {u"P", setupOf(u"current", u"", u"", u"")},
                                       {u":Q:S:R", setupOf(u"current", u"", u"", u"")},
                                       {u"P::S:R", setupOf(u"current", u"P", u"", u"")},
                                       {u"P:Q::R", setupOf(u"current", u"P", u"Q", u"")}}) {
    QmSetupInfo info = filled();
    EXPECT_FALSE(info.FillByStream(line));
    EXPECT_TRUE(info == expected) << testing::PrintToString(qmWString(line));
  }
  quelplatform::setCurProjRoot(u"");
}

TEST(FillByStream, KeepsTheCurrentProjectRootWhereTheLineHasNone) {
  const TempHome home;
  QmSetupInfo info;
  EXPECT_TRUE(info.FillByStream(u"P:Q:S:"));
  EXPECT_TRUE(info == setupOf(home.wide("projects"), u"P", u"Q", u"S"));
  quelplatform::setCurProjRoot(u"E:\\store");
  EXPECT_TRUE(info.FillByStream(u"P:Q:S:\nR"));
  EXPECT_TRUE(info == setupOf(u"E:\\store", u"P", u"Q", u"S"));
  quelplatform::setCurProjRoot(u"");
}

TEST(FillByStream, TakesNamesOf259UnitsAndNoLonger) {
  for (const std::size_t length : {1u, 258u, 259u, 260u, 261u, 1000u}) {
    const qmWString name(length, u'n');
    QmSetupInfo info;
    EXPECT_EQ(info.FillByStream((name + u":Q:S:R").c_str()), length <= 259);
    EXPECT_EQ(info.FillByStream((u"P:" + name + u":S:R").c_str()), length <= 259);
    EXPECT_EQ(info.FillByStream((u"P:Q:" + name + u":R").c_str()), length <= 259);
  }
}

TEST(FillByStream, CutsARootBehind259Units) {
  for (const std::size_t length : {258u, 259u, 260u, 1000u}) {
    QmSetupInfo info;
    EXPECT_TRUE(info.FillByStream((u"P:Q:S:" + qmWString(length, u'r')).c_str()));
    EXPECT_EQ(qmWString(info.GetRoot()), qmWString(std::min<std::size_t>(length, 259), u'r'));
  }
}

TEST(FillByStream, EndsTheRootAtTheLineEndAndNothingElse) {
  QmSetupInfo info;
  EXPECT_TRUE(info.FillByStream(u"P\n:Q\r:S\t:R : x\r\nnext"));
  EXPECT_TRUE(info == setupOf(u"R : x\r", u"P\n", u"Q\r", u"S\t"));
}

TEST(FillByStream, TakesALineThatIsOneOfItsOwnTexts) {
  QmSetupInfo info;
  info.SetProject(u"a long project name:a long part name:a long setup name:a long root");
  EXPECT_TRUE(info.FillByStream(info.GetProject()));
  EXPECT_TRUE(info == setupOf(u"a long root", u"a long project name", u"a long part name", u"a long setup name"));
}

TEST(FillByStream, ReadsBackWhatSaveToStreamWroteOfRandomNames) {
  auto random = testRandom();
  const auto text = [&](std::size_t most, bool colons) {
    qmWString result;
    for (std::size_t n = 1 + random() % most; n > 0; --n) {
      auto unit = static_cast<qmWChar>(random() % 4 == 0 ? random() : u' ' + random() % 95);
      if (unit == 0 || unit == u'\n' || (unit == u':' && !colons)) unit = u'_';
      result += unit;
    }
    return result;
  };
  for (int i = 0; i < 2000; ++i) {
    const QmSetupInfo info = setupOf(text(259, true), text(259, false), text(259, false), text(259, false));
    QmSetupInfo back;
    ASSERT_TRUE(back.FillByStream(lineOf(info).c_str()));
    ASSERT_TRUE(back == info);
  }
}

TEST(GetSetupPath, WritesThePathWhenItIsShorterThanTheBuffer) {
  const QmSetupInfo info = setupOf(u"/r:", u"p\xD800", u"q ", u"s.");
  expectText([&](qmWChar* buffer, std::int32_t size) { return info.GetSetupPath(buffer, size); },
             u"/r:" + kJoint + u"p\xD800" + kJoint + u"q " + kJoint + u"s.");
}

TEST(GetSetupPath, GivesTheStringFormWithoutCountingATerminator) {
  qmWString path = u"before";
  const QmSetupInfo info = setupOf(u"r", u"p", u"q", u"s");
  EXPECT_EQ(info.GetSetupPath(path), 7);
  EXPECT_EQ(path, u"r" + kJoint + u"p" + kJoint + u"q" + kJoint + u"s");
  EXPECT_EQ(info.GetSetupPath(nullptr, 0), 8);
}

TEST(GetSetupPath, AsksTheBufferFormAloneWhetherTheSetupIsValid) {
  const QmSetupInfo info = setupOf(u"r", u"", u"q", u"s");
  qmWChar buffer[] = {kCanary, kCanary, kCanary, kCanary, kCanary, kCanary, kCanary, kCanary};
  EXPECT_EQ(info.GetSetupPath(buffer, 8), 0);
  EXPECT_EQ(buffer[0], kCanary);
  qmWString path;
  EXPECT_EQ(info.GetSetupPath(path), 6);
  EXPECT_EQ(path, u"r" + kJoint + kJoint + u"q" + kJoint + u"s");
}

TEST(MakeSetupFilePath, JoinsTheTailBehindThePath) {
  const QmSetupInfo info = setupOf(u"r", u"p", u"q", u"s");
  const qmWString directory = u"r" + kJoint + u"p" + kJoint + u"q" + kJoint + u"s" + kJoint;
  expectText([&](qmWChar* buffer, std::int32_t size) { return info.MakeSetupFilePath(u"t.x", buffer, size); },
             directory + u"t.x");
  expectText([&](qmWChar* buffer, std::int32_t size) { return info.MakeSetupFilePath(u"", buffer, size); }, directory);
  expectText([&](qmWChar* buffer, std::int32_t size) { return info.GetPreviewFilePath(buffer, size); },
             directory + QmWorkPlace::getPreviewFileTail());
  expectText([&](qmWChar* buffer, std::int32_t size) { return info.GetReadmeFilePath(buffer, size); },
             directory + QmWorkPlace::getReadmeFileTail());
}

TEST(MakeSetupFilePath, Gives0ForANullTailAndASetupThatIsNotValid) {
  qmWChar buffer[32] = {kCanary};
  EXPECT_EQ(setupOf(u"r", u"p", u"q", u"s").MakeSetupFilePath(nullptr, buffer, 32), 0);
  EXPECT_EQ(setupOf(u"r", u"p", u"q", u"").MakeSetupFilePath(u"t", buffer, 32), 0);
  EXPECT_EQ(QmSetupInfo().GetPreviewFilePath(buffer, 32), 0);
  EXPECT_EQ(QmSetupInfo().GetReadmeFilePath(buffer, 32), 0);
  EXPECT_EQ(buffer[0], kCanary);
}

TEST(QmSetupInfo, TellsExhaustedMemoryByItsResults) {
  const qmWString part(100, u'p');
  const QmSetupInfo info = setupOf(part, part, part, part);
  const qmWString line = lineOf(info);
  EXPECT_GT(failEachNew(
                [&] {
                  QmSetupInfo back;
                  return back.FillByStream(line.c_str());
                },
                [](bool result, bool failed) { EXPECT_EQ(result, !failed); }),
            4);
  EXPECT_GT(failEachNew(
                [&] {
                  qmWString path = u"before";
                  const std::int32_t length = info.GetSetupPath(path);
                  return std::pair(length, path.size());
                },
                [](const std::pair<std::int32_t, std::size_t>& result, bool failed) {
                  EXPECT_EQ(result.first, failed ? 0 : 403);
                  EXPECT_EQ(result.second, failed ? 6u : 403u);
                }),
            0);
}

TEST(FillByStream, NamesTheColumnOfTheNameThatIsWrong) {
  using quel::testing::lastProblem;
  QmSetupInfo info;
  EXPECT_TRUE(info.FillByStream(u"P:Q:S:D:\\x"));
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_FALSE(info.FillByStream(u"P:Q:S"));
  EXPECT_EQ(lastProblem(), "line 1, column 5, setup: expected a name of 1 to 259 units and a colon, found \"S\"");
  EXPECT_FALSE(info.FillByStream(u":Q:S:"));
  EXPECT_EQ(lastProblem(), "line 1, column 1, project: expected a name of 1 to 259 units and a colon, found \"\"");
  const std::u16string whole = u"P:QQ:S:";
  for (std::size_t size = 1; size < whole.size(); ++size) {
    EXPECT_FALSE(info.FillByStream(whole.substr(0, size).c_str()));
    const std::string column = size < 2 ? "1" : size < 5 ? "3" : "6";
    EXPECT_THAT(lastProblem(), ::testing::StartsWith("line 1, column " + column + ",")) << size;
  }
}

}  // namespace
