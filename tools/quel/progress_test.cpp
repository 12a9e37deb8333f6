// How far long work is shows on a terminal, and nowhere else.
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "commands/tool_fixture.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;
using quel::testing::readFile;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* kCleared = "\r\x1b[K";

/// A pipe for the output of a run. What nobody takes out holds the run up, however fast or slow the machine is.
class HeldOutput {
 public:
  HeldOutput() { EXPECT_EQ(pipe2(ends_, O_CLOEXEC), 0); }
  HeldOutput(const HeldOutput&) = delete;
  HeldOutput& operator=(const HeldOutput&) = delete;
  ~HeldOutput() {
    close(ends_[0]);
    closeInput();
  }

  int input() const { return ends_[1]; }

  /// From then on the output ends where the run does.
  void closeInput() {
    if (ends_[1] >= 0) close(ends_[1]);
    ends_[1] = -1;
  }

  /// Returns once the run waits, for it has no room to write into.
  void waitUntilFull() const {
    for (pollfd input = {ends_[1], POLLOUT, 0}; poll(&input, 1, 0) != 0;) std::this_thread::sleep_for(kMoment);
  }

  /// Takes so many bytes out, or all until the end; how many there were.
  std::size_t take(std::size_t most) const {
    std::vector<char> part(65536);
    std::size_t taken = 0;
    while (taken < most) {
      const ssize_t size = read(ends_[0], part.data(), std::min(part.size(), most - taken));
      if (size <= 0) break;
      taken += static_cast<std::size_t>(size);
    }
    return taken;
  }

 private:
  static constexpr auto kMoment = std::chrono::milliseconds(1);
  int ends_[2] = {-1, -1};
};

class ProgressTool : public Quel {
 protected:
  ProgressTool() : block_(makeBlock()) {}

  // A run whose standard error is a terminal, and whose standard output is that terminal, a file, or `output`.
  pid_t startAt(int& terminal, const std::string& arguments, bool alsoOutput, int output = -1) const {
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child != 0) return child;
    if (output >= 0) dup2(output, STDOUT_FILENO);
    const std::string to = alsoOutput || output >= 0 ? "" : " >" + path("out.txt");
    const std::string command = std::string("exec ") + QUEL_EXECUTABLE + " " + arguments + to;
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    _exit(9);
  }

  // What a terminal shows until its end; `look` is told all that it shows so far.
  static std::string readTo(int terminal, const std::function<void(const std::string& shown)>& look) {
    std::string shown;
    char part[4096];
    for (ssize_t size = 0; (size = read(terminal, part, sizeof part)) > 0; look(shown)) {
      shown.append(part, static_cast<std::size_t>(size));
    }
    close(terminal);
    return shown;
  }

  // All that a terminal shows of a run that must end well.
  std::string shownBy(const std::string& arguments, bool alsoOutput = false) const {
    int terminal = -1;
    const pid_t child = startAt(terminal, arguments, alsoOutput);
    const std::string shown = readTo(terminal, [](const std::string&) {});
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << arguments << "\n" << shown;
    return shown;
  }

  void writeManyPoints() const {
    std::string points;
    for (int i = 0; i < 200000; ++i) points += std::to_string(0.001 * i) + " 1.2345678 2.3456789\n";
    quel::testing::writeFile(path("points.txt"), points);
  }

  // What each command that may take long does here.
  std::vector<std::string> longCommands() const {
    const std::string scan = std::string(QUEL_TEST_DATA) + "/scan-20k.ply";
    return {"project " + block_ + " " + scan + " -o " + path("p.csv"),
            "index " + scan + " -o " + path("i.png"),
            "feature plane " + scan + " -o " + path("f.png"),
            "feature line " + scan + " --table " + path("f.csv"),
            "deviation " + scan + " --tolerance -1,1 -o " + path("d.ply"),
            "fit " + block_ + " " + path("p.csv") + " -o " + path("f.ply"),
            "make-block " + kBoard + " -o " + path("b") + " --machine A1 --force"};
  }

  std::string block_;
};

TEST_F(ProgressTool, ShowsOnATerminalWhatItDoesAndClearsIt) {
  for (const std::string& command : longCommands()) {
    const std::string shown = shownBy(command);
    EXPECT_THAT(shown, ::testing::EndsWith(kCleared)) << command;
    EXPECT_TRUE(shown.find(" ...") != shown.npos || shown.find("0 %") != shown.npos) << command << "\n" << shown;
  }
}

TEST_F(ProgressTool, NamesTheParts) {
  const std::string scan = std::string(QUEL_TEST_DATA) + "/scan-20k.ply";
  EXPECT_THAT(shownBy("index " + scan + " -o " + path("i.png")),
              AllOf(HasSubstr("\rreading scan-20k.ply [........................................]   0 %"),
                    HasSubstr("sorting into bins ..."), HasSubstr("writing " + path("i.png") + " ...")));
  EXPECT_THAT(shownBy("deviation " + scan + " --tolerance -1,1 --picture " + path("d.png")),
              AllOf(HasSubstr("fitting ..."), HasSubstr("grading ..."), HasSubstr("drawing ...")));
}

TEST_F(ProgressTool, ShowsNothingWhereStandardErrorIsNoTerminal) {
  for (const std::string& command : longCommands()) {
    const Outcome outcome = run(command);
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.error, Not(HasSubstr("\r"))) << command;
    EXPECT_THAT(outcome.error, Not(HasSubstr(" ..."))) << command;
  }
}

TEST_F(ProgressTool, ShowsNothingWhereItIsToBeQuiet) {
  for (const std::string& command : longCommands()) {
    EXPECT_THAT(shownBy(command + " --quiet"), ::testing::AnyOf("", HasSubstr("warning"))) << command;
  }
}

TEST_F(ProgressTool, GivesWayToOutputOnTheSameTerminal) {
  quel::testing::writeFile(path("points.txt"), "1 2 3\n4 5 6\n");
  const std::string shown = shownBy("project " + block_ + " " + path("points.txt"), true);
  const std::size_t begins = shown.find("x,y,z,");
  ASSERT_NE(begins, shown.npos);
  EXPECT_TRUE(shown.substr(0, begins).ends_with(kCleared)) << shown;
  EXPECT_EQ(shown.find('\x1b', begins), shown.npos);
}

// A run that is held up for longer than two drawings are apart goes on to draw how far it is.
TEST_F(ProgressTool, TellsHowFarItIs) {
  writeManyPoints();
  HeldOutput output;
  int terminal = -1;
  const pid_t child = startAt(terminal, "project " + block_ + " " + path("points.txt"), false, output.input());
  output.closeInput();
  constexpr std::size_t kPart = 6000000;
  std::size_t rest = 0;
  std::thread reader([&output, &rest] {
    output.take(kPart);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    rest = output.take(SIZE_MAX);
  });
  const std::string shown = readTo(terminal, [](const std::string&) {});
  reader.join();
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_GT(rest, kPart) << "the run was done before it was held up";
  EXPECT_THAT(shown, HasSubstr("projecting [#"));
}

TEST_F(ProgressTool, ClearsTheTerminalWhereASignalEndsTheRun) {
  writeManyPoints();
  const HeldOutput output;
  int terminal = -1;
  const pid_t child = startAt(terminal, "project " + block_ + " " + path("points.txt"), false, output.input());
  const std::string shown = readTo(terminal, [&output, child](const std::string& sofar) {
    if (sofar.find("projecting") == sofar.npos) return;
    output.waitUntilFull();
    kill(child, SIGINT);
  });
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << status;
  EXPECT_THAT(shown, AllOf(HasSubstr("projecting ["), ::testing::EndsWith(kCleared)));
}

}  // namespace
}  // namespace queltool
