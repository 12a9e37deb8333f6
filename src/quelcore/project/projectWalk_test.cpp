// Walks through trees of projects.
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <functional>
#include <iterator>
#include <new>
#include <string>
#include <vector>

#include "quelcore/project/QmProjectInfo_fixture.h"
#include "testing/FailingNew.h"
#include "testing/Sanitized.h"

namespace {

using quel::testing::failEachNew;
using quelcore::testing::setupsOf;
using quelcore::testing::Store;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

using Info = QmProjectInfo;

constexpr auto kAnything = static_cast<Info::FilterSetup>(77);

std::vector<std::string> walked(const Store& store, Info::FilterSetup filter = Info::FS_SETUP,
                                const qmWChar* project = u"", const qmWChar* part = u"") {
  Info info;
  info.SetProjectName(project);
  info.SetPartName(part);
  EXPECT_EQ(info.InitFromDir(store.root().c_str(), filter), Info::RC_OK);
  return setupsOf(info);
}

/// Two projects; the first has two parts.
class TwoProjects : public ::testing::Test {
 protected:
  TwoProjects() {
    store.part("a/p");
    store.setup("a/p/s2");
    store.setup("a/p/s1");
    store.autoSetup("a/p/auto");
    store.make("a/p/none");
    store.infoPart("a/q");
    store.setup("a/q/s3");
    store.make("a/x");
    store.setup("a/x/unseen");
    store.part("b/p");
    store.setup("b/p/s4");
  }

  Store store;
};

TEST_F(TwoProjects, GivesTheSetupsOfTheFirstPartOfTheFirstProject) {
  Info info;
  EXPECT_EQ(info.InitFromDir(store.root().c_str(), Info::FS_SETUP), Info::RC_OK);
  EXPECT_THAT(setupsOf(info), ElementsAre("a/p/s1", "a/p/s2"));
  EXPECT_EQ(info.GetRoot(), store.root());
  EXPECT_EQ(qmWString(info.GetProjectName()), u"a");
  EXPECT_EQ(qmWString(info.GetPartName()), u"p");
  EXPECT_TRUE(info.IsValid());
}

TEST_F(TwoProjects, TestsTheMarkerOfTheFilter) {
  EXPECT_THAT(walked(store, Info::FS_AUTO_SETUP), ElementsAre("a/p/auto"));
  EXPECT_THAT(walked(store, Info::FS_NONE), IsEmpty());
  EXPECT_THAT(walked(store, kAnything), IsEmpty());
}

TEST_F(TwoProjects, WalksTheProjectAndPartThatWereSetBeforehand) {
  EXPECT_THAT(walked(store, Info::FS_SETUP, u"b"), ElementsAre("b/p/s4"));
  EXPECT_THAT(walked(store, Info::FS_SETUP, u"a", u"q"), ElementsAre("a/q/s3"));
  EXPECT_THAT(walked(store, Info::FS_SETUP, u"", u"q"), ElementsAre("a/q/s3"));
  EXPECT_THAT(walked(store, Info::FS_SETUP, u"b", u"q"), IsEmpty());
  EXPECT_THAT(walked(store, Info::FS_SETUP, u"A"), IsEmpty());  // Unit by unit.
  EXPECT_THAT(walked(store, Info::FS_SETUP, u"none"), IsEmpty());
}

TEST_F(TwoProjects, AddsToTheListOfAnEarlierWalk) {
  Info info;
  for (int walk = 0; walk < 2; ++walk) EXPECT_EQ(info.InitFromDir(store.root().c_str(), Info::FS_SETUP), Info::RC_OK);
  EXPECT_THAT(setupsOf(info), ElementsAre("a/p/s1", "a/p/s2", "a/p/s1", "a/p/s2"));
}

TEST_F(TwoProjects, TakesTheRootWithASeparatorAtItsEndOnlyAsItStands) {
  Info info;
  const qmWString root = store.root() + u"/";
  EXPECT_EQ(info.InitFromDir(root.c_str(), Info::FS_SETUP), Info::RC_OK);
  EXPECT_EQ(qmWString(info.GetRoot()), root);
  EXPECT_EQ(info.GetNumSetups(), 2u);
}

TEST_F(TwoProjects, RefusesNullAndWhatIsNoDirectory) {
  Info info;
  EXPECT_EQ(info.InitFromDir(nullptr, Info::FS_SETUP), Info::RC_NO_DIR);
  const qmWString missing = store.root() + u"/missing";
  EXPECT_EQ(info.InitFromDir(missing.c_str(), Info::FS_SETUP), Info::RC_NO_DIR);
  EXPECT_EQ(qmWString(info.GetRoot()), missing);
  const qmWString file = store.root() + u"/a/p/" + QmWorkPlace::getPartFileTail(false);
  EXPECT_EQ(info.InitFromDir(file.c_str(), Info::FS_SETUP), Info::RC_NO_DIR);
  EXPECT_EQ(info.InitFromDir(u"", Info::FS_SETUP), Info::RC_NO_DIR);
  info.SetRoot(store.root().c_str());
  EXPECT_EQ(info.InitFromDir(nullptr, Info::FS_SETUP), Info::RC_NULL_DIR);
  EXPECT_EQ(info.GetRoot(), store.root());
  EXPECT_EQ(info.GetNumSetups(), 0u);
}

TEST_F(TwoProjects, TakesTheObjectsOwnRootForADirectory) {
  Info info;
  info.SetRoot(store.root().c_str());
  EXPECT_EQ(info.InitFromDir(info.GetRoot(), Info::FS_SETUP), Info::RC_OK);
  EXPECT_EQ(info.GetNumSetups(), 2u);
}

TEST_F(TwoProjects, RunsOutOfMemoryWithoutLosingWhatItListed) {
  const qmWString root = store.root();
  const auto failures = failEachNew(
      [&] {
        Info info;
        try {
          return info.InitFromDir(root.c_str(), Info::FS_SETUP) == Info::RC_OK ? setupsOf(info).size() : 99u;
        } catch (const std::bad_alloc&) {
          EXPECT_LE(info.GetNumSetups(), 2u);
          return std::size_t{100};
        }
      },
      [](std::size_t result, bool failed) {
        // A test for a directory or a marker that memory does not suffice for finds none.
        EXPECT_TRUE(result == 2u || (failed && (result < 2u || result >= 99u))) << result;
      });
  EXPECT_GT(failures, 50);
}

TEST(ProjectWalk, FindsNothingInAnEmptyRoot) {
  const Store store;
  Info info;
  EXPECT_EQ(info.InitFromDir(store.root().c_str(), Info::FS_SETUP), Info::RC_OK);
  EXPECT_EQ(info.GetNumSetups(), 0u);
  EXPECT_EQ(qmWString(info.GetProjectName()), u"");
  EXPECT_EQ(qmWString(info.GetPartName()), u"");
}

TEST(ProjectWalk, TakesSetupsAtAnyLevelWithTheNamesOfThatMoment) {
  const Store store;
  store.setup("0");  // Before any project is known.
  store.setup("m/2");
  store.part("m/p");
  store.setup("m/p/3");
  store.setup("m/z");
  store.setup("z");
  EXPECT_THAT(walked(store), ElementsAre("//0", "m//2", "m/p/3", "m/p/z", "m/p/z"));
}

TEST(ProjectWalk, DoesNotLookIntoASetup) {
  const Store store;
  store.part("a/p");
  store.setup("a/p/s");
  store.setup("a/p/s/inner");
  store.setup("a/p/s/p/inner");
  EXPECT_THAT(walked(store), ElementsAre("a/p/s"));
}

TEST(ProjectWalk, WalksTwiceWhatIsPartAndProject) {
  const Store store;
  store.part("both");
  store.setup("both/s");
  EXPECT_THAT(walked(store), ElementsAre("/both/s", "both/both/s"));
}

TEST(ProjectWalk, WalksAPartInTheRootWithoutItsBeingTheProject) {
  const Store store;
  store.make("a");
  store.part("p");
  store.setup("p/s");
  EXPECT_THAT(walked(store), ElementsAre("a/p/s"));
}

TEST(ProjectWalk, TestsAPartsMarkersAsFiles) {
  const Store store;
  store.make("a/p");
  fs::create_directory(store.path() / "a/p" / toNarrow(QmWorkPlace::getPartFileTail(false)));
  store.setup("a/p/s");
  EXPECT_THAT(walked(store), IsEmpty());
  store.infoPart("a/p");
  EXPECT_THAT(walked(store), ElementsAre("a/p/s"));
}

TEST(ProjectWalk, WalksAPartInAPartOfTheSameName) {
  const Store store;
  store.part("a/p/p/p");
  store.part("a/p/p");
  store.part("a/p");
  store.setup("a/p/p/p/s");
  EXPECT_THAT(walked(store), ElementsAre("a/p/s"));
}

TEST(ProjectWalk, TakesNamesOfEveryKind) {
  for (const char* name :
       {"trail.", "two..", "...", " lead", "trail ", "Bäckerei Groß", "部品", "\xF0\x9F\x98\x80", "a:b", "*", "?"}) {
    const Store store;
    const std::string directory = name;
    store.part(directory + "/" + directory);
    store.setup(directory + "/" + directory + "/" + directory);
    EXPECT_THAT(walked(store), ElementsAre(directory + "/" + directory + "/" + directory));
  }
}

TEST(ProjectWalk, PassesOverNamesThatNoPathLeadsTo) {
  const Store store;
  store.part("\xED\xA0\x80/p");  // A lone surrogate.
  store.setup("\xED\xA0\x80/p/s");
  store.part("z/p");
  store.setup("z/p/s");
  EXPECT_THAT(walked(store), ElementsAre("z/p/s"));
}

TEST(ProjectWalk, CountsADirectoryThatCannotBeListedAsEmpty) {
  const Store store;
  store.part("a/p");
  store.setup("a/p/s");
  fs::permissions(store.path() / "a", fs::perms::none);
  if (access((store.path() / "a").c_str(), R_OK) != 0) {
    EXPECT_THAT(walked(store), IsEmpty());
  }
  fs::permissions(store.path() / "a", fs::perms::owner_all);
  EXPECT_THAT(walked(store), ElementsAre("a/p/s"));
}

TEST(ProjectWalk, FollowsLinksToProjectsAndParts) {
  const Store store, elsewhere;
  elsewhere.part("parts/p");
  elsewhere.setup("setups/s");
  elsewhere.setup("parts/p/own");
  store.make("real");
  fs::create_directory_symlink(elsewhere.path() / "parts", store.path() / "linked");
  EXPECT_THAT(walked(store, Info::FS_SETUP, u"linked"), ElementsAre("linked/p/own"));
  fs::create_directory_symlink(elsewhere.path() / "parts/p", store.path() / "real/p");
  fs::create_directory_symlink(elsewhere.path() / "setups/s", store.path() / "real/p/linked-setup");
  EXPECT_THAT(walked(store, Info::FS_SETUP, u"real"), ElementsAre("real/p/linked-setup", "real/p/own"));
}

TEST(ProjectWalk, EndsOnLinksBackIntoTheTree) {
  const Store store;
  store.part("a/p");
  store.setup("a/p/s");
  fs::create_directory_symlink(store.path() / "a/p", store.path() / "a/p/p");
  EXPECT_THAT(walked(store), ElementsAre("a/p/s"));
  fs::create_directory_symlink(store.path(), store.path() / "a/p/a");
  fs::create_directory_symlink(store.path(), store.path() / "loop");
  fs::create_directory_symlink("self", store.path() / "self");
  EXPECT_THAT(walked(store), ElementsAre("a/p/s"));
  EXPECT_THAT(walked(store, Info::FS_SETUP, u"loop", u"p"), IsEmpty());
  EXPECT_THAT(walked(store, Info::FS_SETUP, u"self"), IsEmpty());
  store.part("");  // The root itself is a part now, and the link to it the part of that name.
  EXPECT_EQ(walked(store, Info::FS_SETUP, u"loop", u"loop").size(), 0u);
}

TEST(ProjectWalk, LeavesNoDirectoryOpen) {
  const auto openDescriptors = [] {
    const fs::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
  };
  const Store store;
  store.part("a/p");
  for (int i = 0; i < 20; ++i) store.setup("a/p/s" + std::to_string(i));
  const auto before = openDescriptors();
  for (int walk = 0; walk < 100; ++walk) walked(store);
  EXPECT_EQ(openDescriptors(), before);
}

TEST(ProjectWalk, ListsAHundredThousandEntries) {
  const Store store;
  const int files = quel::testing::kSanitized ? 3000 : 99000, directories = files / 99;
  store.part("a/p");
  quel::testing::makeManyFiles(store.path() / "a/p", files);
  for (int i = 0; i < directories; ++i) fs::create_directory(store.path() / "a/p" / std::to_string(i));
  store.setup("a/p/" + std::to_string(directories / 2));
  EXPECT_THAT(walked(store), ElementsAre("a/p/" + std::to_string(directories / 2)));
}

TEST(ProjectWalk, GoesAsDeepAsPathsReach) {
  const Store store;
  store.part("p");
  int deep = 0;  // Parts in parts, made from within, since the whole path is too long to be named.
  const fs::path before = fs::current_path();
  fs::current_path(store.path() / "p");
  const std::string marker = toNarrow(QmWorkPlace::getPartFileTail(false));
  for (; deep < 2100; ++deep) {
    ASSERT_EQ(mkdir("p", 0777), 0);
    ASSERT_EQ(chdir("p"), 0);
    quel::testing::writeFile(marker, "");
  }
  fs::current_path(before);
  EXPECT_THAT(walked(store), IsEmpty());
  EXPECT_EQ(std::system(("rm -rf '" + (store.path() / "p").string() + "'").c_str()), 0);
}

}  // namespace
