// All automatically made setups under a root directory.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "quelcore/project/QmProjectInfo_fixture.h"
#include "quelcore/project/QmSetupNumbersManager.h"
#include "testing/AsNobody.h"
#include "testing/FailingNew.h"
#include "testing/Sanitized.h"

namespace {

using quel::testing::failEachNew;
using quel::testing::holdsAsNobody;
using quel::testing::kEnterOnly;
using quel::testing::kOpenToAll;
using quelcore::testing::Store;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

/// A list that ends with its setups.
struct List {
  List() = default;
  ~List() { RemoveSetupData(setups); }
  List(const List&) = delete;
  List& operator=(const List&) = delete;

  std::vector<std::string> names() const {
    std::vector<std::string> result;
    for (const QmSetupInfo* setup : setups) {
      EXPECT_FALSE(setup->IsLoaded());
      result.push_back(toNarrow(setup->GetProject()) + "/" + toNarrow(setup->GetPart()) + "/" +
                       toNarrow(setup->GetSetup()));
    }
    return result;
  }

  std::vector<QmSetupInfo*> setups;
};

TEST(GetInitialSetupList, ListsEveryProjectAndPartInTheirOrder) {
  const Store store;
  for (const char* setup : {"b/p/s", "B2/q/t", "a/z/s2", "a/z/s1", "a/A/u", "a/z/S3"}) store.autoSetup(setup);
  store.setup("a/z/marked-otherwise");
  store.autoSetup("a/too-high");
  store.autoSetup("too-high");
  store.autoSetup("a/z/s1/too/deep");
  store.make("a/z/none");
  List list;
  EXPECT_TRUE(GetInitialSetupList(store.root(), list.setups));
  EXPECT_THAT(list.names(), ElementsAre("a/A/u", "a/z/s1", "a/z/s2", "a/z/S3", "b/p/s", "B2/q/t"));
  EXPECT_EQ(list.setups[0]->GetRoot(), store.root());
}

TEST(GetInitialSetupList, GivesTheTimeWhenTheMarkerWasWritten) {
  const Store store;
  store.autoSetup("a/p/s");
  const std::string marker = toNarrow(QmWorkPlace::getAutoSetupFileTail());
  std::string loud = marker;
  std::transform(loud.begin(), loud.end(), loud.begin(), [](char c) { return static_cast<char>(std::toupper(c)); });
  quel::testing::writeFile(store.path() / "a/p/s" / loud, "");  // Another file, though a search takes it for the same.
  const timespec times[] = {{0, 0}, {1'000'000'000, 123'456'700}};
  ASSERT_EQ(utimensat(AT_FDCWD, (store.path() / "a/p/s" / marker).c_str(), times, 0), 0);
  List list;
  EXPECT_TRUE(GetInitialSetupList(store.root(), list.setups));
  const FILETIME& time = list.setups.at(0)->GetLastModified();
  EXPECT_EQ((std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime, 126444736001234567u);
}

TEST(GetInitialSetupList, LeavesTheListWithoutARootOrSubdirectories) {
  const Store store;
  quel::testing::writeFile(store.path() / "file", "");
  List list;
  list.setups.push_back(new QmSetupInfo);
  EXPECT_FALSE(GetInitialSetupList(u"", list.setups));
  EXPECT_FALSE(GetInitialSetupList(store.root(), list.setups));
  EXPECT_FALSE(GetInitialSetupList(store.root() + u"/none", list.setups));
  store.make("dotted.");
  EXPECT_FALSE(GetInitialSetupList(store.root(), list.setups));
  EXPECT_EQ(list.setups.size(), 1u);
}

TEST(GetInitialSetupList, ReplacesTheListEvenByNothing) {
  const Store store;
  store.make("a");
  List list;
  list.setups.push_back(new QmSetupInfo);
  EXPECT_TRUE(GetInitialSetupList(store.root(), list.setups));
  EXPECT_THAT(list.names(), IsEmpty());
}

TEST(GetInitialSetupList, PassesOverNamesThatEndInADot) {
  const Store store;
  for (const char* setup : {"a/p/s.", "a/p./s", "a./p/s", "a/.p/s", "a/p/...", "a/p/s. "}) store.autoSetup(setup);
  List list;
  EXPECT_TRUE(GetInitialSetupList(store.root(), list.setups));
  EXPECT_THAT(list.names(), ElementsAre("a/.p/s", "a/p/s. "));
}

TEST(GetInitialSetupList, TakesNamesOfEveryKind) {
  for (const char* name : {" lead", "trail ", "Bäckerei Groß", "部品", "\xF0\x9F\x98\x80", "a:b", "*", "?"}) {
    const Store store;
    const std::string path = std::string(name) + "/" + name + "/" + name;
    store.autoSetup(path);
    List list;
    EXPECT_TRUE(GetInitialSetupList(store.root(), list.setups));
    EXPECT_THAT(list.names(), ElementsAre(path));
  }
}

TEST(GetInitialSetupList, EndsOnLinksBackIntoTheTree) {
  const Store store;
  store.autoSetup("a/p/s");
  fs::create_directory_symlink(store.path(), store.path() / "loop");
  List list;
  EXPECT_TRUE(GetInitialSetupList(store.root(), list.setups));
  EXPECT_THAT(list.names(), ElementsAre("a/p/s"));
  fs::create_directory_symlink(store.path() / "a/p", store.path() / "a/again");
  EXPECT_TRUE(GetInitialSetupList(store.root(), list.setups));
  EXPECT_THAT(list.names(), ElementsAre("a/again/s", "a/p/s"));
  store.autoSetup("a/p");  // The loop makes a setup of the part.
  EXPECT_TRUE(GetInitialSetupList(store.root(), list.setups));
  EXPECT_THAT(list.names(), ElementsAre("a/again/s", "a/p/s", "loop/a/again", "loop/a/p"));
}

TEST(GetInitialSetupList, CountsADirectoryThatCannotBeListedAsEmpty) {
  const Store store;
  store.autoSetup("a/p/s");
  store.autoSetup("b/p/s");
  fs::permissions(store.path(), kOpenToAll);
  fs::permissions(store.path() / "a/p", fs::perms::none);
  EXPECT_TRUE(holdsAsNobody([&] {
    List list;
    EXPECT_TRUE(GetInitialSetupList(store.root(), list.setups));
    EXPECT_THAT(list.names(), ElementsAre("b/p/s"));
  }));
  fs::permissions(store.path() / "a/p", fs::perms::owner_all);
}

TEST(GetInitialSetupList, FindsTheMarkerInASetupThatMayBeEnteredButNotListed) {
  const Store store;
  store.autoSetup("a/p/s");
  fs::permissions(store.path(), kOpenToAll);
  fs::permissions(store.path() / "a/p/s", kEnterOnly);
  EXPECT_TRUE(holdsAsNobody([&] {
    List list;
    EXPECT_TRUE(GetInitialSetupList(store.root(), list.setups));
    EXPECT_THAT(list.names(), ElementsAre("a/p/s"));
  }));
  fs::permissions(store.path() / "a/p/s", fs::perms::owner_all);
}

TEST(GetInitialSetupList, PassesOverAMarkerThatIsALinkToItself) {
  const Store store;
  store.autoSetup("a/p/s");
  store.make("a/p/t");
  fs::create_symlink("autosetup.qms", store.path() / "a/p/t/autosetup.qms");
  List list;
  EXPECT_TRUE(GetInitialSetupList(store.root(), list.setups));
  EXPECT_THAT(list.names(), ElementsAre("a/p/s"));
}

TEST(GetInitialSetupList, ListsManySetups) {
  const Store store;
  const std::size_t setups = quel::testing::kSanitized ? 300 : 1000;
  for (std::size_t i = 0; i < setups; ++i) store.autoSetup("a/p/" + std::to_string(i));
  List list;
  EXPECT_TRUE(GetInitialSetupList(store.root(), list.setups));
  EXPECT_EQ(list.setups.size(), setups);
}

TEST(GetInitialSetupList, TellsExhaustedMemoryWithTheListAsItWas) {
  const Store store;
  store.autoSetup("a/p/s1");
  store.autoSetup("a/p/s2");
  const qmWString root = store.root();
  const auto failures = failEachNew(
      [&] {
        List list;
        const bool listed = GetInitialSetupList(root, list.setups);
        return std::pair(listed, list.setups.size());
      },
      [](const std::pair<bool, std::size_t>& result, bool failed) {
        EXPECT_EQ(result, failed ? std::pair(false, std::size_t{0}) : std::pair(true, std::size_t{2}));
      });
  EXPECT_GT(failures, 50);
}

TEST(RemoveSetupData, DestroysTheSetupsAndEmptiesTheList) {
  std::vector<QmSetupInfo*> setups = {new QmSetupInfo, nullptr, new QmSetupInfo};
  RemoveSetupData(setups);
  EXPECT_TRUE(setups.empty());
  RemoveSetupData(setups);
}

}  // namespace
