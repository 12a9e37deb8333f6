// Files in the making: when the user or the system ends the tool by SIGINT or SIGTERM, they are removed first.
#pragma once

#include <filesystem>
#include <functional>

namespace queltool {

/// Removes what it names at the end of its life, or when the tool is ended by a signal.
class Temporary {
 public:
  /// `make` makes the file or folder and tells its path; no signal ends the tool in its midst.
  explicit Temporary(const std::function<std::filesystem::path()>& make);
  ~Temporary();
  Temporary(const Temporary&) = delete;
  Temporary& operator=(const Temporary&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// While it lives no signal ends the tool; one that comes does at the end of its life. For what the library stores,
/// whose own files in the making nobody else knows.
class Undisturbed {
 public:
  Undisturbed();
  ~Undisturbed();
  Undisturbed(const Undisturbed&) = delete;
  Undisturbed& operator=(const Undisturbed&) = delete;

  /// For work that takes long: where a signal has come, takes back by `undo` what was begun and ends the tool.
  void giveWay(const std::function<void()>& undo);
};

/// Starts to wait for the signals. To be called before any other thread begins.
void removeTemporariesOnSignals();

}  // namespace queltool
