#include <gmock/gmock.h>

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "quelcore/project/QmSetupNumbersManager.h"
#include "quelplatform/qmEnv/QmWorkPlace.h"
#include "testing/FailingNew.h"

namespace {

using quel::testing::failEachNew;

static_assert(!std::is_polymorphic_v<QmSetupNumCyclePath>);

QmSetupInfo setupOf(const qmWChar* root, const qmWChar* project, const qmWChar* part, const qmWChar* setup) {
  QmSetupInfo info;
  info.SetRoot(root);
  info.SetProject(project);
  info.SetPart(part);
  info.SetSetup(setup);
  return info;
}

QmSetupNumCyclePath itemOf(const qmWChar* path) { return {1, 2, path}; }

TEST(QmSetupNumCyclePath, BeginsWithoutNumbersAndPath) {
  const QmSetupNumCyclePath item;
  EXPECT_EQ(item.GetSetupNumber(), -1);
  EXPECT_EQ(item.GetCycleNumber(), -1);
  EXPECT_EQ(qmWString(item.GetPath()), u"");
}

TEST(QmSetupNumCyclePath, KeepsWhatIsSet) {
  QmSetupNumCyclePath item(7, 8, u"path");
  EXPECT_EQ(item.GetSetupNumber(), 7);
  EXPECT_EQ(item.GetCycleNumber(), 8);
  EXPECT_EQ(qmWString(item.GetPath()), u"path");
  item.SetSetupNumber(9);
  item.SetCycleNumber(10);
  item.SetPath(qmWString(u"other"));
  const QmSetupNumCyclePath copy(item);
  EXPECT_EQ(copy.GetSetupNumber(), 9);
  EXPECT_EQ(copy.GetCycleNumber(), 10);
  EXPECT_EQ(qmWString(copy.GetPath()), u"other");
  item.SetPath(static_cast<const qmWChar*>(nullptr));
  EXPECT_EQ(qmWString(item.GetPath()), u"");
  EXPECT_EQ(qmWString(QmSetupNumCyclePath(1, 2, nullptr).GetPath()), u"");
}

TEST(QmSetupNumCyclePath, TakesThePathOfASetupValidOrNot) {
  const qmWString joint(1, QmWorkPlace::path_separator);
  const QmSetupNumCyclePath item(setupOf(u"r", u"p", u"q", u"s"));
  EXPECT_EQ(item.GetSetupNumber(), -1);
  EXPECT_EQ(item.GetCycleNumber(), -1);
  EXPECT_EQ(item.GetPath(), u"r" + joint + u"p" + joint + u"q" + joint + u"s");
  QmSetupNumCyclePath other(3, 4, u"x");
  other.SetPath(setupOf(u"r", u"", u"q", u""));
  EXPECT_EQ(other.GetPath(), u"r" + joint + joint + u"q" + joint);
  EXPECT_EQ(other.GetSetupNumber(), 3);
}

TEST(QmSetupNumCyclePath, CopiesThePathWhenItIsShorterThanTheBuffer) {
  const QmSetupNumCyclePath item = itemOf(u"abc");
  EXPECT_EQ(item.GetPath(nullptr, 0), 4);
  for (std::int32_t size = -1; size <= 5; ++size) {
    qmWChar buffer[] = {u'#', u'#', u'#', u'#', u'#', u'\0'};
    EXPECT_EQ(item.GetPath(buffer, size), 4);
    EXPECT_EQ(qmWString(buffer), size > 3 ? u"abc" : u"#####") << size;
    EXPECT_EQ(buffer[4], u'#');
  }
}

TEST(QmSetupNumCyclePath, Gives0ForAnEmptyPath) {
  qmWChar buffer[] = {u'#', u'\0'};
  EXPECT_EQ(QmSetupNumCyclePath().GetPath(buffer, 2), 0);
  EXPECT_EQ(buffer[0], u'#');
}

TEST(QmSetupNumCyclePath, ComparesPathsExactly) {
  EXPECT_TRUE(itemOf(u"abc").ComparePath(u"abc"));
  EXPECT_FALSE(itemOf(u"abc").ComparePath(u"ABC"));
  EXPECT_FALSE(itemOf(u"abc").ComparePath(u"ab"));
  EXPECT_FALSE(itemOf(u"abc").ComparePath(nullptr));
  EXPECT_FALSE(itemOf(u"").ComparePath(nullptr));
  EXPECT_TRUE(itemOf(u"").ComparePath(u""));
}

TEST(FillSetupInfo, SplitsAPathFromItsEnd) {
  for (const auto& [path, expected] : {std::pair(u"D:\\r\\p\\q\\s", setupOf(u"D:\\r", u"p", u"q", u"s")),
                                       {u"/r/t/p\\q/s", setupOf(u"/r/t", u"p", u"q", u"s")},
                                       {u"\\p/q\\s", setupOf(u"", u"p", u"q", u"s")},
                                       {u"////", setupOf(u"/", u"", u"", u"")},
                                       {u"r/p/q/", setupOf(u"r", u"p", u"q", u"")}}) {
    QmSetupInfo info = setupOf(u"1", u"2", u"3", u"4");
    info.SetCycleNumber(5);
    info.SetFixtureID(u"6");
    info.SetLoaded(true);
    EXPECT_TRUE(itemOf(path).FillSetupInfo(info));
    EXPECT_TRUE(info == expected) << testing::PrintToString(qmWString(path));
    EXPECT_EQ(info.GetCycleNumber(), 5);
    EXPECT_EQ(qmWString(info.GetFixtureID()), u"6");
    EXPECT_TRUE(info.IsLoaded());
  }
}

TEST(FillSetupInfo, KeepsTheNamesOfAPathWithTooFewLevels) {
  for (const auto& [path, expected] : {std::pair(u"s", setupOf(u"1", u"2", u"3", u"4")),
                                       {u"", setupOf(u"1", u"2", u"3", u"4")},
                                       {u"q/s", setupOf(u"1", u"2", u"3", u"s")},
                                       {u"p/q/s", setupOf(u"1", u"2", u"q", u"s")}}) {
    QmSetupInfo info = setupOf(u"1", u"2", u"3", u"4");
    EXPECT_FALSE(itemOf(path).FillSetupInfo(info));
    EXPECT_TRUE(info == expected) << testing::PrintToString(qmWString(path));
  }
}

TEST(FillSetupInfo, TellsExhaustedMemory) {
  const qmWString name(50, u'n');
  const QmSetupNumCyclePath item = itemOf((name + u"/" + name + u"/" + name + u"/" + name).c_str());
  EXPECT_GT(failEachNew(
                [&] {
                  QmSetupInfo info;
                  return item.FillSetupInfo(info);
                },
                [](bool result, bool failed) { EXPECT_EQ(result, !failed); }),
            3);
}

}  // namespace
