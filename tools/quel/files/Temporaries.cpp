#include "files/Temporaries.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>

#include "files/Progress.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

// Never destroyed: the thread that waits for signals may look at it until the very end of the process.
struct Known {
  std::recursive_mutex lock;
  std::atomic<bool> isToEnd = false;  // A signal has come.
  std::multiset<fs::path> paths;
};

Known& known() {
  static Known* const kKnown = new Known;
  return *kKnown;
}

void removeAll() {
  std::error_code error;
  for (const fs::path& path : known().paths) fs::remove_all(path, error);
}

// The lock stays taken: nothing more is begun.
[[noreturn]] void endBy(int signal) {
  known().isToEnd = true;
  known().lock.lock();
  removeAll();
  Progress::clearAtOnce();
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, signal);
  std::signal(signal, SIG_DFL);
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
  std::raise(signal);
  _Exit(128 + signal);
}

// What the parent told the tool to ignore, as a shell does behind &, stays ignored.
bool isIgnored(int signal) {
  struct sigaction action {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

Temporary::Temporary(const std::function<fs::path()>& make) {
  const std::lock_guard<std::recursive_mutex> lock(known().lock);
  path_ = make();
  known().paths.insert(path_);
}

Temporary::~Temporary() {
  const std::lock_guard<std::recursive_mutex> lock(known().lock);
  std::error_code error;
  fs::remove_all(path_, error);
  known().paths.erase(known().paths.find(path_));
}

Undisturbed::Undisturbed() { known().lock.lock(); }
Undisturbed::~Undisturbed() { known().lock.unlock(); }

void Undisturbed::giveWay(const std::function<void()>& undo) {
  if (!known().isToEnd) return;
  undo();
  known().lock.unlock();
  while (true) pause();
}

void removeTemporariesOnSignals() {
  sigset_t set;
  sigemptyset(&set);
  bool any = false;
  for (const int signal : {SIGINT, SIGTERM}) {
    if (isIgnored(signal)) continue;
    sigaddset(&set, signal);
    any = true;
  }
  if (!any || pthread_sigmask(SIG_BLOCK, &set, nullptr) != 0) return;
  known();
  std::thread([set] {
    int signal = 0;
    while (sigwait(&set, &signal) != 0) {
    }
    endBy(signal);
  }).detach();
}

}  // namespace queltool
