// A run of the tool that is ended by a signal: a file that takes its place is there as a whole, and nothing beside it.
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>

#include "commands/tool_fixture.h"

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

  pid_t startToProject() const {
    const pid_t child = fork();
    if (child != 0) return child;
    if (freopen("/dev/null", "w", stdout) == nullptr || freopen("/dev/null", "w", stderr) == nullptr) _exit(9);
    execl(QUEL_EXECUTABLE, "quel", "project", block_.c_str(), path("points.txt").c_str(), "-o", path("o/o.csv").c_str(),
          nullptr);
    _exit(9);
  }

  std::size_t filesInOut() const {
    const auto all = fs::directory_iterator(path("o"));
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
  }

  // Ends a run as soon as it writes. Returns how it ended.
  int statusOfRunEndedBy(int signal) const {
    const pid_t child = startToProject();
    int status = 0;
    bool sent = false;
    while (waitpid(child, &status, WNOHANG) == 0) {
      if (!sent && filesInOut() > 1) sent = kill(child, signal) == 0;
      std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    return status;
  }

  std::string block_;
};

TEST_F(Signals, LeaveAWholeFileAndNothingBesideIt) {
  fs::create_directory(path("o"));
  int finished = -1;
  waitpid(startToProject(), &finished, 0);
  ASSERT_EQ(finished, 0);
  const std::string whole = readFile(path("o/o.csv"));
  for (const int signal : {SIGINT, SIGTERM}) {
    bool ended = false;
    for (int i = 0; i < kTries && !ended; ++i) {
      fs::remove_all(path("o"));
      fs::create_directory(path("o"));
      writeFile(path("o/o.csv"), "old");
      const int status = statusOfRunEndedBy(signal);
      EXPECT_EQ(filesInOut(), 1u);
      const std::string left = readFile(path("o/o.csv"));
      EXPECT_TRUE(left == "old" || left == whole) << left.size() << " bytes";
      ended = WIFSIGNALED(status) && WTERMSIG(status) == signal;
    }
    EXPECT_TRUE(ended) << "no run was ended by signal " << signal << " while it wrote";
  }
}

}  // namespace
}  // namespace queltool
