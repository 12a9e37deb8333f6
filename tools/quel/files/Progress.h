// How far long work is: a line on standard error, nothing where that is no terminal, or where the tool is to be quiet.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace queltool {

/// One part of the work, shown from its beginning to its end. They come one after the other.
class Progress {
 public:
  /// Work of which nobody knows how far it is.
  explicit Progress(const std::string& what);

  /// Work on `total` of something, shown as a bar.
  Progress(std::string what, std::size_t total);

  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Tells that `done` of the total are done. Draws at most ten times a second.
  void show(std::size_t done);

  /// Shows nothing from now on: somebody wants it so, or the terminal shows something else.
  static void silence();

  /// Clears what is shown without waiting for whoever is about to show more: for who ends the tool in the midst of it.
  static void clearAtOnce() noexcept;

 private:
  void draw(std::size_t done) const;

  std::string what_;
  std::size_t total_;
  std::size_t next_ = 0;  // Looks at the clock are worth their time from here on.
  std::chrono::steady_clock::time_point last_;
};

/// What `work` gives, which is shown as `what` while it lasts.
template <typename Work>
auto during(const std::string& what, Work work) {
  const Progress progress(what);
  return work();
}

}  // namespace queltool
