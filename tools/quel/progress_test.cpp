// How far long work is shows on a terminal, and nowhere else.
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
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

class ProgressTool : public Quel {
 protected:
  ProgressTool() : block_(makeBlock()) {}

  // A run whose standard error is a terminal, and whose standard output is that terminal or a file.
  pid_t startAt(int& terminal, const std::string& arguments, bool alsoOutput) const {
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child != 0) return child;
    const std::string to = alsoOutput ? "" : " >" + path("out.txt");
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
  bool toldMore = false;
  for (int i = 0; i < 40 && !toldMore; ++i) {
    int terminal = -1;
    bool held = false;
    const pid_t child =
        startAt(terminal, "project " + block_ + " " + path("points.txt") + " -o " + path("p.csv"), false);
    const std::string shown = readTo(terminal, [&](const std::string& sofar) {
      if (held || sofar.find("projecting") == sofar.npos) return;
      held = true;
      kill(child, SIGSTOP);
      usleep(150000);
      kill(child, SIGCONT);
    });
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    toldMore = shown.find("projecting [#") != shown.npos;
  }
  EXPECT_TRUE(toldMore);
}

TEST_F(ProgressTool, ClearsTheTerminalWhereASignalEndsTheRun) {
  writeManyPoints();
  int status = 0;
  for (int i = 0; i < 40 && !WIFSIGNALED(status); ++i) {
    int terminal = -1;
    const pid_t child =
        startAt(terminal, "project " + block_ + " " + path("points.txt") + " -o " + path("p.csv"), false);
    const std::string shown = readTo(terminal, [child](const std::string& sofar) {
      if (sofar.find("projecting") != sofar.npos) kill(child, SIGINT);
    });
    waitpid(child, &status, 0);
    EXPECT_THAT(shown, ::testing::EndsWith(kCleared));
  }
  EXPECT_TRUE(WIFSIGNALED(status)) << "no run was ended while it showed something";
}

}  // namespace
}  // namespace queltool
