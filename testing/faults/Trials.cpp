#include "testing/faults/Trials.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>

#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"
#include "quelplatform/qmEnv/qmLogEmbedded.h"
#include "testing/FailingMalloc.h"
#include "testing/TempHome.h"
#include "testing/faults/Snapshot.h"
#include "testing/faults/SystemCalls.h"

namespace quel::faults {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kNoConsole = 6;
constexpr unsigned kPatience = 5;  // seconds that a run may take before it counts as hanging
constexpr std::size_t kMostFindings = 12;

// What a run tells through its pipe.
struct Report {
  bool acted = false;  // came to the end
  bool success = false;
  std::int64_t met = 0;  // allocations that failed, or the number of system calls
  long call = -1;        // the system call that the plan met
  char note[200] = {};   // what does not agree
};

struct Outcome {
  Report report;
  int signal = 0;  // that ended the process
};

// Arms a fault in the child, and tells afterwards what it met.
struct Fault {
  std::function<void()> arm;
  std::function<void(Report&)> disarm;
};

void readAll(int descriptor, void* data, std::size_t size) {
  auto* to = static_cast<char*>(data);
  while (size > 0) {
    const ssize_t count = read(descriptor, to, size);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;
    to += count;
    size -= static_cast<std::size_t>(count);
  }
}

class Stage {
 public:
  explicit Stage(const Scenario& scenario) : scenario_(scenario) {
    quelplatform::setConsoleLogLevel(kNoConsole);
    quelplatform::enableLogFile(false);
    inChild([this] {
      enter();
      scenario_.prepare();
    });
    old_ = snapshotOf(home_.path());
    const Outcome plain = act({[] {}, [](Report&) {}});
    if (!plain.report.acted || !plain.report.success || plain.report.note[0] != '\0') {
      throw std::runtime_error(scenario.name + " fails without a fault: " + plain.report.note);
    }
    new_ = snapshotOf(home_.path());
    if (areSame(new_, old_) && scenario.agrees == nullptr) throw std::runtime_error(scenario.name + " changes nothing");
  }

  // One run from the old state on.
  Outcome act(const Fault& fault) {
    reset();
    return inChild([&] { actHere(fault); });
  }

  void reset() { restore(home_.path(), old_); }

  void actHere(const Fault& fault) {
    enter();
    Report report;
    fault.arm();
    report.success = scenario_.act();
    fault.disarm(report);
    report.acted = true;
    if (scenario_.agrees) std::strncpy(report.note, scenario_.agrees(report.success).c_str(), sizeof report.note - 1);
    tell(report);
  }

  // Runs in a child process; what that tells comes back.
  Outcome inChild(const std::function<void()>& work) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no child process");
    if (child == 0) {
      close(ends[0]);
      pipe_ = ends[1];
      const rlimit noCore = {0, 0};
      setrlimit(RLIMIT_CORE, &noCore);
      alarm(kPatience);
      work();
      _exit(0);
    }
    close(ends[1]);
    Outcome outcome;
    readAll(ends[0], &outcome.report, sizeof outcome.report);
    close(ends[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFSIGNALED(status)) outcome.signal = WTERMSIG(status);
    return outcome;
  }

  // What is wrong with a state that is neither the old one nor the new one.
  std::string wrongBetween() {
    if (!scenario_.accepts) return "leaves " + state();
    const Outcome outcome = inChild([this] {
      enter();
      Report report;
      std::strncpy(report.note, scenario_.accepts().c_str(), sizeof report.note - 1);
      tell(report);
    });
    return outcome.signal != 0 ? "makes readers crash" : outcome.report.note;
  }

  // In the child: acts once without a fault, so that all that is set up at first use is there.
  void warmUp() {
    enter();
    scenario_.act();
    reset();
  }

  bool isOld() const { return areSame(snapshotOf(home_.path()), old_); }
  bool isNew() const { return areSame(snapshotOf(home_.path()), new_); }
  std::string state() const {
    const Snapshot now = snapshotOf(home_.path());
    return "from old: " + difference(old_, now) + "from new: " + difference(new_, now);
  }
  fs::path home() const { return home_.path(); }
  const Scenario& scenario() const { return scenario_; }

 private:
  void enter() const {
    quelplatform::setHomeDirectory(home_.path().string());
    fs::current_path(home_.path());
  }

  void tell(const Report& report) const {
    if (write(pipe_, &report, sizeof report) != static_cast<ssize_t>(sizeof report)) _exit(1);
  }

  const Scenario& scenario_;
  quel::testing::TempHome home_;
  Snapshot old_, new_;
  int pipe_ = -1;
};

bool isRemoval(long call) { return call == SYS_unlink || call == SYS_unlinkat; }

// What is wrong after a fault that the process survived, or should have.
std::string wrongAfter(const Stage& stage, const Outcome& outcome) {
  const Scenario& scenario = stage.scenario();
  if (outcome.signal == SIGALRM) return "hangs";
  if (outcome.signal != 0) return std::string("is ended by signal ") + strsignal(outcome.signal);
  if (!outcome.report.acted) return "ends the process";
  if (outcome.report.note[0] != '\0') return outcome.report.note;
  const bool isOld = stage.isOld(), isNew = stage.isNew();
  const std::string left = leftovers(stage.home());
  if (!left.empty() && !isRemoval(outcome.report.call)) return "leaves " + left;
  if (scenario.reportsBlindly) return isOld || isNew || scenario.inSteps ? "" : "damages: " + stage.state();
  if (outcome.report.success) return isNew ? "" : "reports success, but " + stage.state();
  if (isOld || scenario.mayLeavePart || scenario.inSteps) return "";
  if (isNew) return scenario.mayTryAgain ? "" : "reports a failure of what is done";
  return "damages: " + stage.state();
}

class Findings {
 public:
  explicit Findings(Trials& trials) : trials_(trials) {}

  bool areEnough() const { return trials_.findings.size() > kMostFindings; }

  void look(const std::string& fault, const std::string& wrong) {
    ++trials_.runs;
    if (wrong.empty()) return;
    if (trials_.findings.size() < kMostFindings) trials_.findings.push_back(fault + ": " + wrong);
    if (trials_.findings.size() == kMostFindings) trials_.findings.push_back("and more");
  }

 private:
  Trials& trials_;
};

Fault allocationFault(std::int64_t n, bool goOn) {
  return {[n, goOn] { quel::testing::failMalloc(n, goOn); },
          [](Report& report) { report.met = quel::testing::stopFailingMalloc(); }};
}

Fault callFault(const CallPlan& plan, bool inPlace = false) {
  return {[plan, inPlace] {
            if (!trapSystemCalls()) std::abort();
            if (inPlace) renameInPlace();
            planSystemCalls(plan);
          },
          [](Report& report) {
            report.met = stopSystemCallPlan();
            report.call = callMet();
          }};
}

// All allocations in turn, in this process or in one that it makes.
void allocationsInTurn(Stage& stage, bool goOn, const Share& share, const std::string& kind, Findings findings) {
  for (std::int64_t n = share.first;; n += share.step) {
    const Outcome outcome = stage.act(allocationFault(n, goOn));
    const bool isOver = outcome.report.acted && outcome.report.met == 0;
    findings.look(kind + (goOn ? " from " : " ") + std::to_string(n), wrongAfter(stage, outcome));
    if (isOver || findings.areEnough()) return;
  }
}

// The trials of a child process, told through a file, since there may be many findings.
void passOn(const fs::path& path, Trials& trials) {
  std::string text = quel::testing::readFile(path);
  std::size_t at = text.find('\n');
  trials.runs += std::stoll(text.substr(0, at));
  for (std::size_t next; (next = text.find('\n', at + 1)) != text.npos; at = next) {
    trials.findings.push_back(text.substr(at + 1, next - at - 1));
  }
}

std::string asText(const Trials& trials) {
  std::string text = std::to_string(trials.runs) + "\n";
  for (const std::string& finding : trials.findings) text += finding + "\n";
  return text;
}

std::int64_t numberOfCalls(Stage& stage, bool inPlace = false) { return stage.act(callFault({}, inPlace)).report.met; }

// What is wrong after a stop, also for whoever comes next.
std::string wrongAfterStop(Stage& stage, const Outcome& stopped) {
  const bool inSteps = stage.scenario().inSteps, wasOld = stage.isOld();
  if (stopped.signal != SIGKILL) return "is not killed";
  if (!wasOld && !stage.isNew() && !inSteps) {
    if (const std::string wrong = stage.wrongBetween(); !wrong.empty()) return wrong;
  }
  const Clock::time_point begin = Clock::now();
  const Outcome next = stage.inChild([&] { stage.actHere({[] {}, [](Report&) {}}); });
  if (wasOld && !stage.isNew() && !inSteps) return "hinders whoever comes next: " + stage.state();
  if (next.signal != 0) return "makes whoever comes next crash";
  return Clock::now() - begin > std::chrono::seconds(kPatience) ? "lets whoever comes next wait" : "";
}

Trials stopsInTurn(const Scenario& scenario, const Share& share, bool inPlace) {
  Trials trials;
  Findings findings(trials);
  Stage stage(scenario);
  const std::int64_t count = numberOfCalls(stage, inPlace);
  for (std::int64_t n = share.first; n < count && !findings.areEnough(); n += share.step) {
    const Outcome outcome = stage.act(callFault({n, CallFault::Kill, 0}, inPlace));
    findings.look("killed before call " + std::to_string(n), wrongAfterStop(stage, outcome));
  }
  return trials;
}

}  // namespace

Trials tryAllocations(const Scenario& scenario, const Share& share) {
  Trials trials;
  Stage stage(scenario);
  for (const bool goOn : {false, true}) allocationsInTurn(stage, goOn, share, "allocation", Findings(trials));
  if (scenario.onlyOnce) return trials;
  const quel::testing::TempDir results;
  const fs::path result = results.path() / "trials";
  stage.inChild([&] {
    alarm(0);
    stage.warmUp();
    Trials warm;
    for (const bool goOn : {false, true}) allocationsInTurn(stage, goOn, share, "warm allocation", Findings(warm));
    quel::testing::writeFile(result, asText(warm));
  });
  passOn(result, trials);
  return trials;
}

Trials trySystemCalls(const Scenario& scenario, const Share& share) {
  Trials trials;
  Findings findings(trials);
  Stage stage(scenario);
  const std::int64_t count = numberOfCalls(stage);
  if (count == 0) throw std::runtime_error(scenario.name + " makes no system call");
  struct Kind {
    const char* name;
    CallFault fault;
    int error;
  };
  constexpr Kind kinds[] = {{"ENOSPC", CallFault::Error, ENOSPC}, {"EIO", CallFault::Error, EIO},
                            {"EACCES", CallFault::Error, EACCES}, {"EMFILE", CallFault::Error, EMFILE},
                            {"EINTR", CallFault::Error, EINTR},   {"short", CallFault::Short, 0}};
  std::int64_t number = 0;
  for (std::int64_t n = 0; n < count; ++n) {
    for (const Kind& kind : kinds) {
      if (number++ % share.step != share.first) continue;
      const Outcome outcome = stage.act(callFault({n, kind.fault, kind.error}));
      findings.look(std::string(kind.name) + " at call " + std::to_string(n) + " (number " +
                        std::to_string(outcome.report.call) + ")",
                    wrongAfter(stage, outcome));
    }
  }
  return trials;
}

Trials tryStops(const Scenario& scenario, const Share& share) { return stopsInTurn(scenario, share, false); }

Trials tryStopsInPlace(const Scenario& scenario) { return stopsInTurn(scenario, {}, true); }

Trials tryCrashingAllocations(const Scenario& scenario) {
  Trials trials;
  Findings findings(trials);
  Stage stage(scenario);
  const Outcome outcome = stage.act({[] {
                                       quel::testing::mallocCrashes = true;
                                       quel::testing::failMalloc(0, false);
                                     },
                                     [](Report& report) { report.met = quel::testing::stopFailingMalloc(); }});
  findings.look("the first allocation", wrongAfter(stage, outcome));
  return trials;
}

Trials tryLies(const Scenario& scenario) {
  Trials trials;
  Findings findings(trials);
  Stage stage(scenario);
  const std::int64_t count = numberOfCalls(stage);
  for (std::int64_t n = 0; n < count && trials.findings.empty(); ++n) {
    const Outcome outcome = stage.act(callFault({n, CallFault::Lie, 0}));
    findings.look("a lie at call " + std::to_string(n), wrongAfter(stage, outcome));
  }
  return trials;
}

}  // namespace quel::faults
