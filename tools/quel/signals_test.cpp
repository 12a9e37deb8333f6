// A run of the tool that is ended by a signal: a file that takes its place is there as a whole, and nothing beside it.
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "commands/tool_fixture.h"
#include "quelplatform/qmEnv/qmFileTurnEmbedded.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;
using quel::testing::readFile;
using quel::testing::writeFile;

constexpr int kTries = 40;

class Signals : public Quel {
 protected:
  Signals() : block_(makeBlock()) {
    std::string points;
    for (int i = 0; i < 200000; ++i) points += std::to_string(0.001 * i) + " 1.2345678 2.3456789\n";
    writeFile(path("points.txt"), points);
  }

  static pid_t start(std::vector<std::string> arguments) {
    const pid_t child = fork();
    if (child != 0) return child;
    if (freopen("/dev/null", "w", stdout) == nullptr || freopen("/dev/null", "w", stderr) == nullptr) _exit(9);
    arguments.insert(arguments.begin(), "quel");
    std::vector<char*> words;
    for (std::string& word : arguments) words.push_back(word.data());
    words.push_back(nullptr);
    execv(QUEL_EXECUTABLE, words.data());
    _exit(9);
  }

  // Row by row, and as one piece.
  std::vector<std::string> projects() const { return {"project", block_, path("points.txt"), "-o", path("o/o.csv")}; }
  std::vector<std::string> indexes() const { return {"index", path("points.txt"), "-o", path("o/o.ply")}; }

  std::size_t filesInOut() const {
    const auto all = fs::directory_iterator(path("o"));
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
  }

  // Ends a run as soon as it writes. Returns how it ended.
  int statusOfRunEndedBy(int signal, const std::vector<std::string>& arguments) const {
    const pid_t child = start(arguments);
    int status = 0;
    bool sent = false;
    while (waitpid(child, &status, WNOHANG) == 0) {
      if (!sent && filesInOut() > 1) sent = kill(child, signal) == 0;
      std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    return status;
  }

  // Ends runs by either signal until one of each ended by it while it wrote. Whatever the moment, the old file is there
  // or the new one, and nothing else; and of each signal a run leaves the old one.
  void expectWholeFiles(const std::vector<std::string>& arguments) const {
    const std::string out = arguments.back();
    fs::create_directory(path("o"));
    int finished = -1;
    waitpid(start(arguments), &finished, 0);
    ASSERT_EQ(finished, 0);
    const std::string whole = readFile(out);
    for (const int signal : {SIGINT, SIGTERM}) {
      bool leftOld = false;
      for (int i = 0; i < kTries && !leftOld; ++i) {
        fs::remove_all(path("o"));
        fs::create_directory(path("o"));
        writeFile(out, "old");
        const int status = statusOfRunEndedBy(signal, arguments);
        EXPECT_EQ(filesInOut(), 1u);
        const std::string left = readFile(out);
        EXPECT_TRUE(left == "old" || left == whole) << left.size() << " bytes";
        leftOld = WIFSIGNALED(status) && WTERMSIG(status) == signal && left == "old";
      }
      EXPECT_TRUE(leftOld) << "no run was ended by signal " << signal << " while it wrote";
    }
  }

  std::string block_;
};

TEST_F(Signals, LeaveTheOldFileWholeWhereRowsAreWritten) { expectWholeFiles(projects()); }

TEST_F(Signals, LeaveTheOldFileWholeWhereOnePieceIsWritten) { expectWholeFiles(indexes()); }

TEST_F(Signals, LeaveNothingOfATurnAtTheBlockTable) {
  ASSERT_EQ(run("blocks add first --lens 35").code, 0);
  bool anyEnded = false;
  for (int i = 0; i < kTries; ++i) {
    const pid_t child = start({"blocks", "add", "p" + std::to_string(i), "--lens", "35"});
    std::this_thread::sleep_for(std::chrono::microseconds(500 * i));
    kill(child, SIGINT);
    int status = 0;
    waitpid(child, &status, 0);
    anyEnded |= WIFSIGNALED(status);
    for (const auto& entry : fs::directory_iterator(path("home"))) {
      EXPECT_FALSE(entry.path().filename().string().starts_with(".quel-")) << entry.path();
    }
    EXPECT_EQ(run("blocks list").code, 0);
  }
  EXPECT_TRUE(anyEnded);
}

// Others may have it for as long as they like.
TEST_F(Signals, EndARunThatWaitsForItsTurn) {
  ASSERT_EQ(run("blocks add first --lens 35").code, 0);
  const quelplatform::FileTurn turn(dir_.wide("home/blocks.ini").c_str());
  ASSERT_TRUE(turn.isMine());
  const pid_t child = start({"blocks", "add", "second", "--lens", "35"});
  int status = 0;
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_EQ(waitpid(child, &status, WNOHANG), 0) << "it waits";
  kill(child, SIGTERM);
  const auto begin = std::chrono::steady_clock::now();
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15)) << "it gave up by itself";
}

}  // namespace
}  // namespace queltool
