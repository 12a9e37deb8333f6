// Many runs of the tool at once, some of which are killed: what each says that it did is there.
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "commands/tool_fixture.h"

namespace queltool {
namespace {

using quel::testing::readFile;
using ::testing::HasSubstr;

constexpr int kRuns = 20;

class Parallel : public Quel {
 protected:
  /// Starts the tool with these arguments, without waiting for it.
  pid_t start(const std::vector<std::string>& arguments) const {
    std::vector<char*> words;
    std::string tool = QUEL_EXECUTABLE;
    words.push_back(tool.data());
    std::vector<std::string> copies = arguments;
    for (std::string& word : copies) words.push_back(word.data());
    words.push_back(nullptr);
    const pid_t child = fork();
    if (child != 0) return child;
    if (freopen(path("said.txt").c_str(), "a", stdout) == nullptr) _exit(9);
    if (freopen(path("complaints.txt").c_str(), "a", stderr) == nullptr) _exit(9);
    execv(tool.c_str(), words.data());
    _exit(9);
  }

  /// Whether the process ended well; false for one that was killed.
  bool ended(pid_t child) const {
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) || status == 0) << readFile(path("complaints.txt"));
    return status == 0;
  }

  /// Starts a run for each number from 0 on and waits for all of them. Returns the numbers of those that ended well.
  template <typename Arguments>
  std::vector<int> all(int runs, const Arguments& argumentsOf) const {
    std::vector<pid_t> children;
    for (int i = 0; i < runs; ++i) children.push_back(start(argumentsOf(i)));
    std::vector<int> well;
    for (int i = 0; i < runs; ++i) {
      if (ended(children[static_cast<std::size_t>(i)])) well.push_back(i);
    }
    return well;
  }

  /// The same, but every third run is killed at some moment.
  template <typename Arguments>
  std::vector<int> allWithSomeKilled(int runs, const Arguments& argumentsOf) const {
    std::mt19937 random(20261122);
    std::uniform_int_distribution<int> microseconds(0, 40000);
    std::vector<pid_t> children;
    for (int i = 0; i < runs; ++i) children.push_back(start(argumentsOf(i)));
    for (int i = 0; i < runs; i += 3) {
      std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
      kill(children[static_cast<std::size_t>(i)], SIGKILL);
    }
    std::vector<int> well;
    for (int i = 0; i < runs; ++i) {
      if (ended(children[static_cast<std::size_t>(i)])) well.push_back(i);
    }
    return well;
  }

  static std::vector<std::string> addBlock(int i) {
    return {"blocks", "add", "plate-" + std::to_string(i), "--lens", "35,50", "--map", "m" + std::to_string(i)};
  }

  static std::vector<std::string> addSetup(int i) {
    return {"setups", "add", std::to_string(10 + i), "/data/car/door/s" + std::to_string(i)};
  }

  nlohmann::json listed(const std::string& what) const {
    const Outcome outcome = run(what + " list --json");
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    return nlohmann::json::parse(outcome.out)[what];
  }

  /// How often a list has an element whose `key` is `value`.
  template <typename Value>
  static int times(const nlohmann::json& list, const char* key, const Value& value) {
    int count = 0;
    for (const auto& element : list) count += element[key] == value;
    return count;
  }
};

TEST_F(Parallel, BlocksAreAllAdded) {
  EXPECT_EQ(all(kRuns, addBlock).size(), std::size_t{kRuns});
  const nlohmann::json blocks = listed("blocks");
  EXPECT_EQ(blocks.size(), std::size_t{kRuns});
  for (int i = 0; i < kRuns; ++i) {
    EXPECT_EQ(times(blocks, "name", "plate-" + std::to_string(i)), 1) << i;
    EXPECT_EQ(times(blocks, "map_file", "m" + std::to_string(i)), 1) << i;
  }
}

TEST_F(Parallel, BlocksWhoseRunEndedWellAreThereWhoeverElseIsKilled) {
  const std::vector<int> well = allWithSomeKilled(kRuns, addBlock);
  const nlohmann::json blocks = listed("blocks");
  for (const int i : well) EXPECT_EQ(times(blocks, "name", "plate-" + std::to_string(i)), 1) << i;
  for (const auto& block : blocks) EXPECT_EQ(block["lenses"], (std::vector<int>{35, 50})) << block;
  EXPECT_EQ(run("blocks add last --lens 7").code, 0);
}

TEST_F(Parallel, SetupsAreAllAdded) {
  EXPECT_EQ(all(kRuns, addSetup).size(), std::size_t{kRuns});
  const nlohmann::json setups = listed("setups");
  EXPECT_EQ(setups.size(), std::size_t{kRuns});
  for (int i = 0; i < kRuns; ++i) EXPECT_EQ(times(setups, "number", 10 + i), 1) << i;
}

TEST_F(Parallel, SetupsWhoseRunEndedWellAreThereWhoeverElseIsKilled) {
  const std::vector<int> well = allWithSomeKilled(kRuns, addSetup);
  const nlohmann::json setups = listed("setups");
  for (const int i : well) EXPECT_EQ(times(setups, "number", 10 + i), 1) << i;
  for (const auto& setup : setups) EXPECT_THAT(setup["path"].get<std::string>(), HasSubstr("/data/car/door/s"));
}

TEST_F(Parallel, ChangesOfOneSetupAndAdditionsOfOthersAllCount) {
  ASSERT_EQ(run("setups add 3 /data/car/door/first").code, 0);
  const auto mixed = [](int i) {
    if (i % 2 == 0) return addSetup(i);
    return std::vector<std::string>{"setups", "update", "3", "--cycle", std::to_string(i)};
  };
  EXPECT_EQ(all(kRuns, mixed).size(), std::size_t{kRuns});
  EXPECT_EQ(listed("setups").size(), std::size_t{kRuns / 2 + 1});
}

TEST_F(Parallel, ConversionsToOneMaterialFileLeaveItWhole) {
  quel::testing::writeFile(path("m.txt"), "QmM1\n1\n3 50 1\nSteel 1 2 3 4\n");
  const auto convert = [this](int i) {
    return std::vector<std::string>{"materials", "convert",       path("m.txt"), "--to", i % 2 == 0 ? "utf8" : "wide",
                                    "-o",        path("made.txt")};
  };
  EXPECT_EQ(all(kRuns, convert).size(), std::size_t{kRuns});
  const Outcome shown = run("materials show " + path("made.txt"));
  EXPECT_EQ(shown.code, 0) << shown.error;
  EXPECT_THAT(shown.out, HasSubstr("Steel"));
}

}  // namespace
}  // namespace queltool
