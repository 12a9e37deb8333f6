#include "quelcore/project/QmProjectInfo.h"

#include "quelcore/base/problems_fixture.h"

#include <gmock/gmock.h>

#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <type_traits>

#include "quelcore/project/QmProjectInfo_fixture.h"
#include "testing/FailingNew.h"

namespace {

using quel::testing::failEachNew;
using quelcore::testing::setupsOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

static_assert(std::has_virtual_destructor_v<QmProjectInfo>);
static_assert(QmProjectInfo::RC_OK == 0 && QmProjectInfo::RC_NULL_DIR == 1 && QmProjectInfo::RC_NO_DIR == 2);
static_assert(QmProjectInfo::FS_SETUP == 0 && QmProjectInfo::FS_AUTO_SETUP == 1);

/// Reaches what is for derived classes.
struct Derived : QmProjectInfo {
  using QmProjectInfo::GetTmpFilePath;
  using QmProjectInfo::ParseDir;
};

/// Counts those that are alive.
QmSetupInfo* newSetup(const qmWChar* name) {
  auto* setup = new QmSetupInfo;
  setup->SetSetup(name);
  return setup;
}

void add(QmProjectInfo& info, const qmWChar* name) { ASSERT_TRUE(info.AddSetupInfo(newSetup(name))); }

void name(QmProjectInfo& info) {
  info.SetRoot(u"R");
  info.SetProjectName(u"P");
  info.SetPartName(u"Q");
  info.SetFilePath(u"F");
}

TEST(QmProjectInfo, BeginsEmpty) {
  const QmProjectInfo info;
  for (const qmWChar* text : {info.GetRoot(), info.GetProjectName(), info.GetPartName(), info.GetFilePath()}) {
    EXPECT_EQ(qmWString(text), u"");
  }
  EXPECT_EQ(info.GetNumSetups(), 0u);
  EXPECT_EQ(info.GetProjectSize(), 0);
  EXPECT_FALSE(info.IsValid());
}

TEST(QmProjectInfo, IsValidWithRootProjectAndPart) {
  for (int without = 0; without < 3; ++without) {
    QmProjectInfo info;
    name(info);
    EXPECT_TRUE(info.IsValid());
    if (without == 0) info.SetRoot(u"");
    if (without == 1) info.SetProjectName(u"");
    if (without == 2) info.SetPartName(u"");
    EXPECT_FALSE(info.IsValid()) << without;
  }
}

TEST(QmProjectInfo, KeepsAProjectSizeOf64Bits) {
  QmProjectInfo info;
  info.SetProjectSize(-0x123456789ABCDEF0);
  EXPECT_EQ(info.GetProjectSize(), -0x123456789ABCDEF0);
}

TEST(QmProjectInfo, WritesNamesIntoEverySetupButNotTheFilePath) {
  QmProjectInfo info;
  add(info, u"a");
  add(info, u"b");
  name(info);
  EXPECT_EQ(qmWString(info.GetFilePath()), u"F");
  for (std::uint32_t i = 0; i < 2; ++i) {
    EXPECT_EQ(qmWString(info.GetSetupInfo(i)->GetRoot()), u"R");
    EXPECT_EQ(qmWString(info.GetSetupInfo(i)->GetProject()), u"P");
    EXPECT_EQ(qmWString(info.GetSetupInfo(i)->GetPart()), u"Q");
  }
  EXPECT_EQ(qmWString(info.GetSetupInfo(1)->GetSetup()), u"b");
}

TEST(QmProjectInfo, TakesNullForEmptyText) {
  QmProjectInfo info;
  add(info, u"a");
  name(info);
  info.SetRoot(nullptr);
  info.SetProjectName(nullptr);
  info.SetPartName(nullptr);
  info.SetFilePath(nullptr);
  for (const qmWChar* text : {info.GetRoot(), info.GetProjectName(), info.GetPartName(), info.GetFilePath()}) {
    EXPECT_EQ(qmWString(text), u"");
  }
  EXPECT_FALSE(info.GetSetupInfo(0)->IsRootChosen());
}

TEST(QmProjectInfo, JoinsFullPathsWithABackslash) {
  QmProjectInfo info;
  name(info);
  EXPECT_EQ(info.GetFullProjPath(), u"R\\P");
  EXPECT_EQ(info.GetFullPartPath(), u"R\\P\\Q");
  EXPECT_EQ(QmProjectInfo().GetFullPartPath(), u"\\\\");
}

TEST(AddSetupInfo, RefusesNullAndANameThatIsThere) {
  QmProjectInfo info;
  add(info, u"a");
  EXPECT_FALSE(info.AddSetupInfo(nullptr));
  const std::unique_ptr<QmSetupInfo> same(newSetup(u"a"));
  EXPECT_FALSE(info.AddSetupInfo(same.get()));
  EXPECT_FALSE(info.AddSetupInfo(info.GetSetupInfo(0)));
  add(info, u"A");
  EXPECT_EQ(info.GetNumSetups(), 2u);
}

TEST(AddSetupInfo, LeavesTheSetupToTheCallerWhenMemoryIsExhausted) {
  const std::unique_ptr<QmSetupInfo> setup(newSetup(u"a"));
  EXPECT_EQ(failEachNew(
                [&] {
                  QmProjectInfo info;
                  const bool added = info.AddSetupInfo(setup.get());
                  if (added) info.RemoveSetupInfo(setup.get(), false);
                  return added;
                },
                [](bool result, bool failed) { EXPECT_EQ(result, !failed); }),
            1);
}

TEST(InsertSetupInfo, PutsASetupInFrontOfAnotherAndNeverAtTheEnd) {
  QmProjectInfo info;
  std::unique_ptr<QmSetupInfo> setup(newSetup(u"c"));
  EXPECT_FALSE(info.InsertSetupInfo(0, setup.get()));
  add(info, u"a");
  add(info, u"b");
  EXPECT_FALSE(info.InsertSetupInfo(2, setup.get()));
  EXPECT_FALSE(info.InsertSetupInfo(0xFFFFFFFF, setup.get()));
  EXPECT_FALSE(info.InsertSetupInfo(0, nullptr));
  EXPECT_TRUE(info.InsertSetupInfo(1, setup.release()));
  EXPECT_FALSE(info.InsertSetupInfo(0, info.GetSetupInfo(1)));
  EXPECT_THAT(setupsOf(info), ElementsAre("//a", "//c", "//b"));
  setup.reset(newSetup(u"d"));
  EXPECT_FALSE(info.InsertSetupInfo(3, setup.get()));
  EXPECT_TRUE(info.AddSetupInfo(setup.release()));
}

TEST(RemoveSetupInfo, TakesOutThisVeryObjectAndKeepsTheOrder) {
  QmProjectInfo info;
  const std::unique_ptr<QmSetupInfo> other(newSetup(u"b"));
  EXPECT_FALSE(info.RemoveSetupInfo(other.get(), true));
  for (const qmWChar* each : {u"a", u"b", u"c"}) add(info, each);
  EXPECT_FALSE(info.RemoveSetupInfo(nullptr, true));
  EXPECT_FALSE(info.RemoveSetupInfo(other.get(), true));
  const std::unique_ptr<QmSetupInfo> second(info.GetSetupInfo(1));
  EXPECT_TRUE(info.RemoveSetupInfo(second.get(), false));
  EXPECT_EQ(qmWString(second->GetSetup()), u"b");
  EXPECT_TRUE(info.RemoveSetupInfo(info.GetSetupInfo(0), true));
  EXPECT_THAT(setupsOf(info), ElementsAre("//c"));
}

TEST(FindSetupInfo, GivesTheFirstOfExactlyThisName) {
  QmProjectInfo info;
  EXPECT_EQ(info.FindSetupInfo(u"a"), nullptr);
  add(info, u"A");
  add(info, u"a");
  EXPECT_EQ(info.FindSetupInfo(u"a"), info.GetSetupInfo(1));
  EXPECT_EQ(info.FindSetupInfo(u"b"), nullptr);
  EXPECT_EQ(info.FindSetupInfo(nullptr), nullptr);
  info.GetSetupInfo(0)->SetSetup(u"a");
  EXPECT_EQ(info.FindSetupInfo(u"a"), info.GetSetupInfo(0));
}

TEST(GetSetupInfo, IsNullForAnIndexThatIsNone) {
  QmProjectInfo info;
  add(info, u"a");
  EXPECT_EQ(info.GetSetupInfo(1), nullptr);
  EXPECT_EQ(info.GetSetupInfo(0xFFFFFFFF), nullptr);
}

TEST(QmProjectInfo, CopiesSetupsDeeplyAndLeavesTheProjectSize) {
  QmProjectInfo source;
  add(source, u"a");
  name(source);
  source.SetProjectSize(9);
  const QmProjectInfo copy(source);
  EXPECT_THAT(setupsOf(copy), ElementsAre("P/Q/a"));
  EXPECT_NE(copy.GetSetupInfo(0), source.GetSetupInfo(0));
  EXPECT_EQ(qmWString(copy.GetFilePath()), u"F");
  EXPECT_EQ(qmWString(copy.GetPartName()), u"Q");
  EXPECT_EQ(copy.GetProjectSize(), 0);
}

TEST(QmProjectInfo, LeaksNothingWhenACopyRunsOutOfMemory) {
  QmProjectInfo source;
  for (const qmWChar* each : {u"a", u"b", u"c"}) add(source, each);
  source.SetRoot(u"a root that is longer than short texts are");
  EXPECT_GT(failEachNew(
                [&] {
                  try {
                    return QmProjectInfo(source).GetNumSetups();
                  } catch (const std::bad_alloc&) {
                    return 0u;
                  }
                },
                [](std::uint32_t setups, bool failed) { EXPECT_EQ(setups, failed ? 0u : 3u); }),
            5);
}

TEST(QmProjectInfo, SharesSetupsOnAssignmentAndCopiesTheProjectSize) {
  QmProjectInfo source;
  add(source, u"a");
  name(source);
  source.SetProjectSize(9);
  QmProjectInfo target;
  target = source;
  EXPECT_EQ(target.GetSetupInfo(0), source.GetSetupInfo(0));
  EXPECT_EQ(target.GetProjectSize(), 9);
  EXPECT_EQ(qmWString(target.GetFilePath()), u"F");
  EXPECT_TRUE(target.RemoveSetupInfo(target.GetSetupInfo(0), false));  // Or both would destroy it.
  EXPECT_EQ(source.GetNumSetups(), 1u);
}

TEST(QmProjectInfo, LetsItsOwnSetupsGoOnAssignment) {
  QmProjectInfo target;
  add(target, u"a");
  const std::unique_ptr<QmSetupInfo> own(target.GetSetupInfo(0));
  target = QmProjectInfo();
  EXPECT_EQ(target.GetNumSetups(), 0u);
  EXPECT_EQ(qmWString(own->GetSetup()), u"a");  // Not destroyed.
}

constexpr const qmWChar* kListing =
    u"<list><dir name='P'><dir name='Q'><dir name='s1'/><dir/><file name='x'/><dir name='s2'><dir name='deep'/></dir>"
    u"</dir><dir name='Q2'><dir name='s3'/></dir></dir><dir name='P2'/></list>";

TEST(InitByXMLHeader, ListsTheSetupsOfTheFirstPartOfTheFirstProject) {
  QmProjectInfo info;
  info.SetRoot(u"R");
  EXPECT_TRUE(info.InitByXMLHeader(kListing, QmProjectInfo::FS_SETUP));
  EXPECT_THAT(setupsOf(info), ElementsAre("P/P/s1", "P/P/s2"));  // The part is the project's name.
  EXPECT_EQ(qmWString(info.GetProjectName()), u"P");
  EXPECT_EQ(qmWString(info.GetPartName()), u"Q");
  EXPECT_TRUE(info.IsValid());
  info.SetPartName(info.GetPartName());
  EXPECT_THAT(setupsOf(info), ElementsAre("P/Q/s1", "P/Q/s2"));
}

TEST(InitByXMLHeader, ListsEverySetupTwiceWhenCalledTwiceWhateverTheFilter) {
  QmProjectInfo info;
  for (const auto filter : {QmProjectInfo::FS_NONE, QmProjectInfo::FS_AUTO_SETUP}) {
    EXPECT_TRUE(info.InitByXMLHeader(kListing, filter));
  }
  EXPECT_THAT(setupsOf(info), ElementsAre("P/P/s1", "P/P/s2", "P/P/s1", "P/P/s2"));
}

TEST(InitByXMLHeader, ChangesNothingWithoutADirectory) {
  for (const qmWChar* text : {static_cast<const qmWChar*>(nullptr), u"", u"no xml", u"<list/>", u"<list><file/></list>",
                              u"<list><dir name='P'>", u"<dir name='P'/>"}) {
    QmProjectInfo info;
    name(info);
    EXPECT_TRUE(info.InitByXMLHeader(text, QmProjectInfo::FS_SETUP));
    EXPECT_EQ(qmWString(info.GetProjectName()), u"P");
    EXPECT_EQ(qmWString(info.GetPartName()), u"Q");
    EXPECT_EQ(info.GetNumSetups(), 0u);
  }
}

TEST(InitByXMLHeader, KeepsWhatWasReadOfANestingThatEndsEarly) {
  struct Case {
    const qmWChar* text;
    const qmWChar* project;
    const qmWChar* part;
  };
  for (const auto& [text, project, part] :
       {Case{u"<list><dir/></list>", u"", u"Q"}, Case{u"<list><dir name='X'/></list>", u"X", u""},
        Case{u"<list><dir name='X'><dir/></dir></list>", u"X", u""},
        Case{u"<list><dir><dir name='Y'><dir name='S'/></dir></dir></list>", u"", u"Q"},
        Case{u"<list><dir name='X'><dir><dir name='S'/></dir></dir></list>", u"X", u""},
        Case{u"<list><dir name='X'><file name='Y'/></dir></list>", u"X", u""},
        Case{u"<list><dir name='X'><dir name='Y'/></dir></list>", u"X", u"Y"}}) {
    QmProjectInfo info;
    name(info);
    EXPECT_TRUE(info.InitByXMLHeader(text, QmProjectInfo::FS_SETUP));
    EXPECT_EQ(qmWString(info.GetProjectName()), project);
    EXPECT_EQ(qmWString(info.GetPartName()), part);
    EXPECT_EQ(info.GetNumSetups(), 0u);
  }
}

TEST(ParseDir, RefusesNullAndWalksWithoutSettingTheRoot) {
  const quelcore::testing::Store store;
  store.setup("s");
  store.part("a/p");
  store.setup("a/p/t");
  Derived info;
  EXPECT_EQ(info.ParseDir(nullptr, QmProjectInfo::FS_SETUP), QmProjectInfo::RC_NULL_DIR);
  EXPECT_EQ(info.ParseDir((store.root() + u"/none").c_str(), QmProjectInfo::FS_SETUP), QmProjectInfo::RC_OK);
  EXPECT_EQ(info.GetNumSetups(), 0u);
  EXPECT_EQ(info.ParseDir(store.root().c_str(), QmProjectInfo::FS_SETUP), QmProjectInfo::RC_OK);
  EXPECT_THAT(setupsOf(info), ElementsAre("//s"));  // Not the root, so there are no projects in it.
}

TEST(GetTmpFilePath, MakesAnEmptyFileOfItsOwn) {
  std::set<qmWString> paths;
  for (int i = 0; i < 5; ++i) {
    qmWChar path[260] = {};
    Derived::GetTmpFilePath(path);
    const fs::path made = toNarrow(path);
    EXPECT_TRUE(made.filename().string().starts_with("qm_"));
    EXPECT_TRUE(fs::equivalent(made.parent_path(), fs::temp_directory_path()));
    EXPECT_EQ(fs::file_size(made), 0u);
    paths.insert(path);
    fs::remove(made);
  }
  EXPECT_EQ(paths.size(), 5u);
  Derived::GetTmpFilePath(nullptr);
}

TEST(GetTmpFilePath, GivesEmptyTextWithoutADirectoryForTemporaryFiles) {
  const char* old = std::getenv("TMPDIR");
  const std::string before = old == nullptr ? "" : old;
  setenv("TMPDIR", "/no/such/directory", 1);
  qmWChar path[260] = {u'x'};
  Derived::GetTmpFilePath(path);
  old == nullptr ? unsetenv("TMPDIR") : setenv("TMPDIR", before.c_str(), 1);
  EXPECT_EQ(path[0], u'\0');
}

TEST(InitByXMLHeader, TellsWhereTheListingEndsTooEarly) {
  const auto problemOf = [](const qmWChar* text) {
    QmProjectInfo info;
    EXPECT_TRUE(info.InitByXMLHeader(text, QmProjectInfo::FS_SETUP));
    return quel::testing::lastProblem();
  };
  EXPECT_EQ(problemOf(kListing), "none");
  EXPECT_THAT(problemOf(u"<a>\n<b></a>"), ::testing::StartsWith("line 2, column "));
  EXPECT_EQ(problemOf(u"<a/>"), "project: expected dir, found none");
  EXPECT_EQ(problemOf(u"<a><dir/></a>"), "dir of the project: expected name, found none");
  EXPECT_EQ(problemOf(u"<a><dir name='p'/></a>"), "dir of the part: expected name, found none");
  EXPECT_EQ(problemOf(u"<a><dir name='p'><dir name='q'><dir/></dir></dir></a>"), "none");
  EXPECT_THAT(quel::testing::lastRemarks(), ::testing::ElementsAre("dir of setup 1: expected name, found none"));
}

}  // namespace
